// zelmon echo: every monitoring sample as it arrives, one JSON object per
// line with every member of its type.
#include <cstdio>

#include "console.h"

namespace zelmon {
namespace {

const char *instanceStateName(uint32_t state) {
    switch (state) {
    case DDS_ALIVE_INSTANCE_STATE:
        return "ALIVE";
    case DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE:
        return "NOT_ALIVE_DISPOSED";
    case DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE:
        return "NOT_ALIVE_NO_WRITERS";
    default:
        return "UNKNOWN";
    }
}

}  // namespace

int commandEcho(Console &console) {
    const Options &options = console.options();
    const Clock::time_point start = Clock::now();
    auto print = [&](const MonitoringSample &sample) {
        const char *topic = MonitoringSession::topicName(sample.topic);
        const std::string topicName = sample.data.is_object() ? sample.data.value("topic_name", "") : "";
        if (!options.filter.empty() && !console.matchesFilter(topic) && !console.matchesFilter(topicName)) {
            return;
        }
        const nlohmann::json line = {{"topic", topic},
                                     {"valid_data", sample.valid},
                                     {"instance_state", instanceStateName(sample.instanceState)},
                                     {"source_timestamp_ns", sample.sourceTimeNs},
                                     {"data", sample.data}};
        std::printf("%s\n", line.dump().c_str());
        std::fflush(stdout);
    };
    while (!g_stop) {
        console.run(0.5, print);
        const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
        if (!console.heardAnything() && elapsed > options.timeout) {
            console.printNothingReceived();
            return kExitError;
        }
        if (options.seconds >= 0 && elapsed >= options.seconds) {
            break;
        }
    }
    return kExitOk;
}

}  // namespace zelmon
