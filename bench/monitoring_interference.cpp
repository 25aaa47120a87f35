// What monitoring takes from the application it watches: how long creating
// and deleting a data writer waits while a statistics period walks the
// participant, and the application's write throughput with monitoring on
// against the same application with it off, measured in alternating slices.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <thread>

#include "monitored_system.h"
#include "ratio_lines.h"

namespace {

using Clock = std::chrono::steady_clock;

double microsecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

// The properties that switch monitoring on through the plug-in linked into
// this program: its statistics on a participant of their own, every second.
std::vector<std::pair<std::string, std::string>> monitoringProperties() {
    char address[32];
    std::snprintf(address, sizeof address, "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(&ZELDefaultMonitor_create));
    return {{"zel.monitor.create_function_ptr", address},
            {"zel.monitor.config.new_participant_domain_id", "41"},
            {"zel.monitor.config.publish_period", "1"}};
}

// Creating and deleting one data writer, with a thread running statistics
// periods 10 ms apart (range(1) = 1) or without one (0). The waits that
// count are the longest ones: an application blocked behind a walk.
void BM_WriterCreateDeleteDuringPeriods(benchmark::State &state) {
    const long count = state.range(0);
    const bool walking = state.range(1) != 0;
    zelbench::MonitoredSystem system =
            zelbench::MonitoredSystem_create(40, count, {{"zel.monitor.config.publish_period", "3600"}});
    if (!system.ok || !zelbench::MonitoredSystem_attachMonitor(system)) {
        state.SkipWithError("the monitored system could not be built");
    } else {
        ZELDefaultMonitorParticipantObject *object = system.object;
        std::atomic<bool> stop{false};
        std::atomic<long> periods{0};
        std::thread walker([&] {
            // A short pause between periods, as the real ones are seconds
            // apart: a lock that is never free would measure starvation.
            while (walking && !stop.load()) {
                ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI(object);
                periods.fetch_add(1);
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
        });
        double longest = 0;
        double total = 0;
        long operations = 0;
        // Each iteration creates and deletes writers for 10 ms, so that the
        // run spans many periods.
        for (auto _ : state) {
            const Clock::time_point batchEnd = Clock::now() + std::chrono::milliseconds(10);
            while (Clock::now() < batchEnd) {
                const Clock::time_point start = Clock::now();
                DDS_DataWriter *writer = DDS_Publisher_create_datawriter(system.publisher, system.topics[0],
                                                                         &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
                if (writer == nullptr || DDS_Publisher_delete_datawriter(system.publisher, writer) != DDS_RETCODE_OK) {
                    state.SkipWithError("a writer could not be created or deleted");
                    break;
                }
                const double waited = microsecondsSince(start);
                longest = std::max(longest, waited);
                total += waited;
                ++operations;
            }
        }
        stop.store(true);
        walker.join();
        state.counters["longest_us"] = longest;
        if (walking) {
            zelbench::addRatioLine(("ratio longest writer create+delete while periods walk " + std::to_string(count) +
                                    " writers + readers: %.1f ms")
                                           .c_str(),
                                   longest / 1000.0);
        }
        state.counters["mean_us"] = operations > 0 ? total / static_cast<double>(operations) : 0.0;
        state.counters["periods"] = static_cast<double>(periods.load());
    }
    zelbench::MonitoredSystem_delete(system);
    DDS_DomainParticipantFactory_finalize_instance();
}
BENCHMARK(BM_WriterCreateDeleteDuringPeriods)
        ->ArgsProduct({{1000, 10000}, {0, 1}})
        ->Iterations(100)
        ->Unit(benchmark::kMillisecond);

// Writes `count` samples round robin over the system's writers; the CPU
// seconds they took.
double writeSamples(zelbench::MonitoredSystem &system, long count) {
    zel_dds_monitoring_TopicEntityStatistics sample{};
    zel_dds_monitoring_TopicEntityStatistics_initialize(&sample);
    const double start = zelbench::threadCpuSeconds();
    for (long written = 0; written < count; ++written) {
        sample.topic_key.value[0] = static_cast<DDS_Long>(written);
        auto *writer = zel_dds_monitoring_TopicEntityStatisticsDataWriter_narrow(
                system.writers[static_cast<size_t>(written) % system.writers.size()]);
        zel_dds_monitoring_TopicEntityStatisticsDataWriter_write(writer, &sample, &DDS_HANDLE_NIL);
    }
    const double spent = zelbench::threadCpuSeconds() - start;
    zel_dds_monitoring_TopicEntityStatistics_finalize(&sample);
    return spent;
}

// The same application twice, one participant monitored (the plug-in's own
// thread publishing every second), one not; each iteration writes a slice
// on one, then on the other, and the writing thread's CPU time is counted.
// A ratio of 1 means monitoring costs the application's writes nothing;
// the plug-in thread's own CPU is what one statistics period costs.
void BM_WriteThroughputMonitoredOverPlain(benchmark::State &state) {
    const long count = state.range(0);
    zelbench::MonitoredSystem plain = zelbench::MonitoredSystem_create(42, count, {});
    zelbench::MonitoredSystem monitored = zelbench::MonitoredSystem_create(43, count, monitoringProperties());
    if (!plain.ok || !monitored.ok) {
        state.SkipWithError("the applications could not be built");
    } else {
        constexpr long kSlice = 2000;
        double plainSeconds = 0;
        double monitoredSeconds = 0;
        for (auto _ : state) {
            plainSeconds += writeSamples(plain, kSlice);
            monitoredSeconds += writeSamples(monitored, kSlice);
        }
        const double writes = static_cast<double>(state.iterations() * kSlice);
        state.counters["plain_writes_per_cpu_s"] = writes / plainSeconds;
        state.counters["monitored_writes_per_cpu_s"] = writes / monitoredSeconds;
        state.counters["ratio"] = plainSeconds / monitoredSeconds;
        zelbench::addRatioLine(("ratio write throughput monitored/plain at " + std::to_string(count) +
                                " writers + readers (1 = no cost): %.3f")
                                       .c_str(),
                               plainSeconds / monitoredSeconds);
    }
    zelbench::MonitoredSystem_delete(monitored);
    zelbench::MonitoredSystem_delete(plain);
    DDS_DomainParticipantFactory_finalize_instance();
}
BENCHMARK(BM_WriteThroughputMonitoredOverPlain)->Arg(100)->Arg(1000)->Iterations(20)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char **argv) { return zelbench::runAndPrintRatios(argc, argv); }
