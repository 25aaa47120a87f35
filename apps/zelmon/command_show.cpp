// zelmon show: one entity with its whole description (QoS included) and its
// newest statistics and matches, chosen by key, by a unique key prefix or
// suffix, or by names: participant[/topic[/writer|reader]].
#include <cstdio>

#include "console.h"

namespace zelmon {
namespace {

std::vector<std::string> split(const std::string &text, char separator) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t at; (at = text.find(separator, start)) != std::string::npos; start = at + 1) {
        parts.push_back(text.substr(start, at - start));
    }
    parts.push_back(text.substr(start));
    return parts;
}

std::vector<const Entity *> select(const SystemModel &model, const std::string &selector) {
    std::vector<const Entity *> found;
    for (const auto &[key, entity] : model.entities()) {
        if (key == selector) {
            return {&entity};
        }
        if (key.starts_with(selector) || key.ends_with(selector)) {
            found.push_back(&entity);
        }
    }
    if (!found.empty()) {
        return found;
    }
    const std::vector<std::string> names = split(selector, '/');
    for (const auto &[key, entity] : model.entities()) {
        const Entity *participant = model.participantOf(entity);
        if (participant == nullptr || participant->name() != names[0]) {
            continue;
        }
        const bool matches =
                names.size() == 1   ? entity.kind == EntityKind::Participant
                : names.size() == 2 ? entity.kind == EntityKind::Topic && entity.topicName() == names[1]
                                    : (entity.kind == EntityKind::Writer || entity.kind == EntityKind::Reader) &&
                                              entity.topicName() == names[1] && names[2] == entityKindName(entity.kind);
        if (matches) {
            found.push_back(&entity);
        }
    }
    return found;
}

}  // namespace

int commandShow(Console &console) {
    if (!console.gather(6.0)) {
        return kExitError;
    }
    const SystemModel &model = console.model();
    const std::vector<const Entity *> found = select(model, console.options().selector);
    if (found.size() != 1) {
        std::fprintf(stderr, "zelmon: %s \"%s\"%s\n", found.empty() ? "no entity matches" : "several entities match",
                     console.options().selector.c_str(),
                     found.empty() ? " (zelmon ls lists the keys and names)" : "; give more of the key");
        for (const Entity *entity : found) {
            std::fprintf(stderr, "  %s %s\n", entityKindName(entity->kind), entity->key.c_str());
        }
        return kExitError;
    }
    const Entity &entity = *found.front();
    nlohmann::json out = {{"kind", entityKindName(entity.kind)},
                          {"key", entity.key},
                          {"stale", model.isStale(entity, Clock::now())},
                          {"description", entity.description},
                          {"statistics", entity.statistics},
                          {"matches", entity.matches}};
    std::printf("%s\n", out.dump(console.options().json ? -1 : 2).c_str());
    return kExitOk;
}

}  // namespace zelmon
