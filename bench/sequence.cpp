// Costs of the shared sequence implementation, the property helpers and the
// topic-list matcher.
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "vurnc/dds_property.h"
#include "vurncore/reda_string.h"
#include "vurncore/sequence_define.hpp"

extern "C" {
ZEL_SEQUENCE_DECLARE(, BenchLongSeq, DDS_Long);
ZEL_SEQUENCE_DECLARE(, BenchStringSeq, char *);
}

ZEL_SEQUENCE_DEFINE(, BenchLongSeq, DDS_Long, &zel::plainSequenceElementType<DDS_Long>);
ZEL_SEQUENCE_DEFINE(, BenchStringSeq, char *, &zel::stringSequenceElementType);

namespace {

void BM_CopyLongs(benchmark::State &state) {
    const auto count = static_cast<DDS_Long>(state.range(0));
    std::vector<DDS_Long> values(static_cast<size_t>(count), 42);
    BenchLongSeq source = ZEL_SEQUENCE_INITIALIZER;
    BenchLongSeq copy = ZEL_SEQUENCE_INITIALIZER;
    BenchLongSeq_from_array(&source, values.data(), count);
    BenchLongSeq_set_maximum(&copy, count);
    for (auto _ : state) {
        benchmark::DoNotOptimize(BenchLongSeq_copy(&copy, &source));
    }
    BenchLongSeq_finalize(&copy);
    BenchLongSeq_finalize(&source);
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(BM_CopyLongs)->Arg(16)->Arg(1024);

void BM_CopyStrings(benchmark::State &state) {
    const auto count = static_cast<DDS_Long>(state.range(0));
    std::vector<const char *> texts(static_cast<size_t>(count), "dds.transport.UDPv4.builtin.parent.message_size_max");
    BenchStringSeq source = ZEL_SEQUENCE_INITIALIZER;
    BenchStringSeq copy = ZEL_SEQUENCE_INITIALIZER;
    BenchStringSeq_from_array(&source, texts.data(), count);
    for (auto _ : state) {
        benchmark::DoNotOptimize(BenchStringSeq_copy(&copy, &source));
    }
    BenchStringSeq_finalize(&copy);
    BenchStringSeq_finalize(&source);
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(BM_CopyStrings)->Arg(16)->Arg(64);

// Building a participant's property list as the monitor's configuration
// reading sees it, then looking up every entry once.
void BM_AddAndLookUpProperties(benchmark::State &state) {
    const auto count = static_cast<int>(state.range(0));
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) {
        names.push_back("zel.monitor.config.key" + std::to_string(i));
    }
    for (auto _ : state) {
        DDS_PropertyQosPolicy policy = DDS_PROPERTY_QOS_POLICY_DEFAULT;
        for (const std::string &name : names) {
            DDS_PropertyQosPolicyHelper_add_property(&policy, name.c_str(), "value", DDS_BOOLEAN_FALSE);
        }
        for (const std::string &name : names) {
            benchmark::DoNotOptimize(DDS_PropertyQosPolicyHelper_lookup_property(&policy, name.c_str()));
        }
        DDS_PropertyQosPolicy_finalize(&policy);
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(BM_AddAndLookUpProperties)->Arg(8)->Arg(64);

void BM_MatchTopicList(benchmark::State &state) {
    const char *list =
            "zel/dds/monitoring/domainParticipantDescription, zel/dds/monitoring/topicDescription,"
            " zel/dds/monitoring/*Statistics";
    for (auto _ : state) {
        benchmark::DoNotOptimize(
                REDAString_hasMatchingElement(list, "zel/dds/monitoring/dataWriterMatchedEntityStatistics", ','));
    }
}
BENCHMARK(BM_MatchTopicList);

}  // namespace

BENCHMARK_MAIN();
