// CPU cost of one statistics period of a monitored participant with N data
// writers and N data readers, each writer matched to one reader, over the
// wire that ZEL_WIRE chooses; and the heap that the monitoring keeps per monitored
// entity once a period has published every entity's statistics.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <map>

#include "monitored_system.h"
#include "ratio_lines.h"
#include "vurncore/heap.h"

namespace {

// Per N: CPU seconds of one period per writer or reader, heap octets kept per one.
std::map<long, double> g_perEntitySeconds;
std::map<long, double> g_heapPerEntity;

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

    const double cpuBefore = zelbench::threadCpuSeconds();
    for (auto _ : state) {
        benchmark::DoNotOptimize(ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI(system.object));
    }
    const double entities = 2.0 * static_cast<double>(count);
    const double perEntity =
            (zelbench::threadCpuSeconds() - cpuBefore) / static_cast<double>(state.iterations()) / entities;
    state.counters["per_entity"] =
            benchmark::Counter(entities, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.counters["heap_bytes_per_entity"] = static_cast<double>(after - before) / entities;
    g_perEntitySeconds[count] = perEntity;
    g_heapPerEntity[count] = static_cast<double>(after - before) / entities;
    zelbench::MonitoredSystem_delete(system);
    DDS_DomainParticipantFactory_finalize_instance();
}
// 5000 as well: the RTPS wire cannot make 10,000 writer and reader pairs
// in one process (its library keeps some 16,000 entities in all).
BENCHMARK(BM_StatisticsPeriod)->Arg(10)->Arg(100)->Arg(1000)->Arg(5000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char **argv) {
    const int result = zelbench::runAndPrintRatios(argc, argv);
    const char *wire = std::getenv("ZEL_WIRE");
    std::printf("ratio wire: %s\n", wire != nullptr ? wire : "default");
    for (const auto &[count, seconds] : g_perEntitySeconds) {
        std::printf("ratio period CPU per entity at %ld writers + %ld readers: %.2f us, heap kept %.0f octets\n", count,
                    count, seconds * 1e6, g_heapPerEntity[count]);
    }
    for (const long largest : {10000L, 5000L}) {
        if (g_perEntitySeconds.count(100) != 0 && g_perEntitySeconds.count(largest) != 0) {
            std::printf("ratio period CPU per entity %ld/100 (1 = flat): %.2f\n", largest,
                        g_perEntitySeconds[largest] / g_perEntitySeconds[100]);
            break;
        }
    }
    return result;
}
