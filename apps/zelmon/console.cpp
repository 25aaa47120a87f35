#include "console.h"

#include <cstdio>
#include <thread>

#include "vurncore/reda_string.h"

namespace zelmon {

std::atomic<bool> g_stop{false};

std::unique_ptr<Console> Console::open(const Options &options) {
    std::unique_ptr<Console> console(new Console());
    console->options_ = options;
    std::string error;
    console->session_ = MonitoringSession::open(options.domain, &error);
    if (console->session_ == nullptr) {
        std::fprintf(stderr, "zelmon: %s\n", error.c_str());
        return nullptr;
    }
    return console;
}

void Console::run(double seconds, const std::function<void(const MonitoringSample &)> &onSample) {
    const Clock::time_point end =
            Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    do {
        const Clock::time_point now = Clock::now();
        for (const MonitoringSample &sample : session_->poll()) {
            heard_ = true;
            model_.apply(sample, now);
            if (onSample) {
                onSample(sample);
            }
        }
        if (Clock::now() >= end) {
            break;
        }
        std::this_thread::sleep_for(std::min<Clock::duration>(std::chrono::milliseconds(50), end - Clock::now()));
    } while (!g_stop);
}

bool Console::gather(double defaultSeconds) {
    const double seconds = options_.seconds >= 0 ? options_.seconds : defaultSeconds;
    const Clock::time_point start = Clock::now();
    auto elapsed = [&] { return std::chrono::duration<double>(Clock::now() - start).count(); };
    while (!heard_ && !g_stop && elapsed() < options_.timeout) {
        run(0.1);
    }
    if (!heard_) {
        printNothingReceived();
        return false;
    }
    run(std::max(0.0, seconds - elapsed()));
    return true;
}

bool Console::matchesFilter(const std::string &name) const {
    if (options_.filter.find_first_of("*?[") != std::string::npos) {
        return REDAString_fnmatch(options_.filter.c_str(), name.c_str(), 0) == 0;
    }
    return name.find(options_.filter) != std::string::npos;
}

bool Console::passesFilter(const Entity &entity) const {
    if (options_.filter.empty()) {
        return true;
    }
    const Entity *participant = model_.participantOf(entity);
    return matchesFilter(entity.topicName()) || (participant != nullptr && matchesFilter(participant->name()));
}

void Console::printNothingReceived() const {
    std::fprintf(stderr,
                 "zelmon: no monitoring data received in domain %d within %g s. Check that:\n"
                 "  - the applications publish monitoring to domain %d (their property "
                 "\"zel.monitor.config.new_participant_domain_id\", or their own domain when it is not set);\n"
                 "  - monitoring is switched on in them (property \"zel.monitor.library\" = \"zelmonitoring\" and "
                 "\"zel.monitor.create_function\" = \"ZELDefaultMonitor_create\") and the library was found;\n"
                 "  - this host reaches theirs (same network, multicast or peers in CYCLONEDDS_URI, "
                 "ZEL_WIRE alike on both sides).\n",
                 options_.domain, options_.timeout, options_.domain);
}

}  // namespace zelmon
