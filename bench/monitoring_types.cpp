// The generated monitoring types at work: serialize, deserialize and key
// hash of a writer's statistics, of a writer's description with a realistic
// QoS, and of a small final type, each beside a memcpy of the same octets.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "monitoring_samples.h"

namespace {

const TypeOps kDuration = BENCH_OPS(DDSMonitoring_Duration_t, nullptr, nullptr, fillDuration);

void BM_Serialize(benchmark::State &state, const TypeOps *ops) {
    Fixture f(*ops);
    for (auto _ : state) {
        ZELCdrStream_resetPosition(&f.stream);
        benchmark::DoNotOptimize(ops->serialize(f.sample, &f.stream));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * f.length);
    state.counters["octets"] = f.length;
}

void BM_Deserialize(benchmark::State &state, const TypeOps *ops) {
    Fixture f(*ops);
    ZELCdrStream in;
    ZELCdrStream_init(&in, f.octets(), f.length, ZEL_CDR_BIG_ENDIAN);
    void *target = ops->create();
    for (auto _ : state) {
        ZELCdrStream_resetPosition(&in);
        benchmark::DoNotOptimize(ops->deserialize(target, &in));
    }
    ops->destroy(target);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * f.length);
}

void BM_KeyHash(benchmark::State &state, const TypeOps *ops) {
    Fixture f(*ops);
    PRESTypePlugin *plugin = ops->pluginNew();
    PRESTypePluginParticipantData participant = plugin->onParticipantAttachedFnc(plugin);
    const PRESTypePluginEndpointInfo info{PRES_TYPEPLUGIN_ENDPOINT_WRITER};
    PRESTypePluginEndpointData endpoint = plugin->onEndpointAttachedFnc(participant, &info);
    DDS_KeyHash_t hash{};
    for (auto _ : state) {
        benchmark::DoNotOptimize(plugin->instanceToKeyHashFnc(endpoint, &hash, f.sample));
    }
    plugin->onEndpointDetachedFnc(endpoint);
    plugin->onParticipantDetachedFnc(participant);
    ops->pluginDelete(plugin);
}

// The floor: copying the serialized octets.
void BM_Memcpy(benchmark::State &state, const TypeOps *ops) {
    Fixture f(*ops);
    std::vector<char> target(f.length);
    for (auto _ : state) {
        std::memcpy(target.data(), f.octets(), f.length);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * f.length);
}

BENCHMARK_CAPTURE(BM_Serialize, Duration_t, &kDuration);
BENCHMARK_CAPTURE(BM_Deserialize, Duration_t, &kDuration);
BENCHMARK_CAPTURE(BM_Memcpy, Duration_t, &kDuration);
BENCHMARK_CAPTURE(BM_Serialize, DataWriterEntityStatistics, &kWriterStatistics);
BENCHMARK_CAPTURE(BM_Deserialize, DataWriterEntityStatistics, &kWriterStatistics);
BENCHMARK_CAPTURE(BM_KeyHash, DataWriterEntityStatistics, &kWriterStatistics);
BENCHMARK_CAPTURE(BM_Memcpy, DataWriterEntityStatistics, &kWriterStatistics);
BENCHMARK_CAPTURE(BM_Serialize, DataWriterDescription, &kWriterDescription);
BENCHMARK_CAPTURE(BM_Deserialize, DataWriterDescription, &kWriterDescription);
BENCHMARK_CAPTURE(BM_KeyHash, DataWriterDescription, &kWriterDescription);
BENCHMARK_CAPTURE(BM_Memcpy, DataWriterDescription, &kWriterDescription);

}  // namespace

BENCHMARK_MAIN();
