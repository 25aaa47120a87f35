// CPU cost of one statistics period of a monitored participant with N data
// writers and N data readers, each writer matched to one reader, over the
// wire that ZEL_WIRE chooses; and the heap that the monitoring keeps per monitored
// entity once a period has published every entity's statistics.
#include <benchmark/benchmark.h>

#include "monitored_system.h"
#include "vurncore/heap.h"

namespace {

// One period: every topic, writer, reader, match and the participant.
void BM_StatisticsPeriod(benchmark::State &state) {
    const long count = state.range(0);
    // An hour: the benchmark runs the periods itself.
    zelbench::MonitoredSystem system =
            zelbench::MonitoredSystem_create(9, count, {{"zel.monitor.config.publish_period", "3600"}});
    if (!system.ok || !zelbench::MonitoredSystem_attachMonitor(system)) {
        state.SkipWithError("the monitored system could not be built");
        zelbench::MonitoredSystem_delete(system);
        DDS_DomainParticipantFactory_finalize_instance();
        return;
    }
    // The first period creates every statistics instance in the monitoring
    // writers; what the heap holds more afterwards stays with the entities.
    const size_t before = ZELOsapiHeap_getLiveByteCount();
    ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI(system.object);
    const size_t after = ZELOsapiHeap_getLiveByteCount();

    for (auto _ : state) {
        benchmark::DoNotOptimize(ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI(system.object));
    }
    const double entities = 2.0 * static_cast<double>(count);
    state.counters["per_entity"] =
            benchmark::Counter(entities, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.counters["heap_bytes_per_entity"] = static_cast<double>(after - before) / entities;
    zelbench::MonitoredSystem_delete(system);
    DDS_DomainParticipantFactory_finalize_instance();
}
BENCHMARK(BM_StatisticsPeriod)->Arg(10)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
