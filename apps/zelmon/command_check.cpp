// zelmon check: the problems a person or a script should hear about, one
// per line (or as JSON), exit status 1 when there is any.
#include <cstdio>

#include "console.h"

namespace zelmon {

int commandCheck(Console &console) {
    // Two default statistics periods: every endpoint has reported its
    // statuses at least once.
    if (!console.gather(11.0)) {
        return kExitError;
    }
    std::vector<Problem> problems;
    for (Problem &problem : console.model().problems()) {
        const Entity *entity = console.model().find(problem.entity);
        if (entity == nullptr || console.passesFilter(*entity)) {
            problems.push_back(std::move(problem));
        }
    }
    const Clock::time_point now = Clock::now();
    for (const Entity *participant : console.model().ofKind(EntityKind::Participant)) {
        if (console.model().isStale(*participant, now)) {
            problems.push_back(
                    {"process-gone", participant->key,
                     "participant \"" + participant->name() + "\" of process " +
                             std::to_string(participant->get(participant->description, "/process_id", int64_t{0})) +
                             " stopped publishing monitoring data without leaving"});
        }
    }
    if (const int64_t malformed = console.session().malformedSamples(); malformed > 0) {
        problems.push_back({"malformed-monitoring-samples", "",
                            std::to_string(malformed) +
                                    " monitoring samples could not be read (corrupt or foreign data "
                                    "on the monitoring topics)"});
    }
    if (console.options().json) {
        nlohmann::json out = nlohmann::json::array();
        for (const Problem &problem : problems) {
            out.push_back({{"kind", problem.kind}, {"entity", problem.entity}, {"message", problem.message}});
        }
        std::printf("%s\n", nlohmann::json{{"problems", out}}.dump().c_str());
    } else if (problems.empty()) {
        std::printf("no problems found\n");
    } else {
        for (const Problem &problem : problems) {
            std::printf("%s: %s\n", problem.kind.c_str(), problem.message.c_str());
        }
    }
    return problems.empty() ? kExitOk : kExitProblems;
}

}  // namespace zelmon
