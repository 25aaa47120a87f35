// CPU cost of one statistics period of a monitored participant with N data
// writers and N data readers, each writer matched to one reader, over the
// in-process wire; and the heap that the monitoring keeps per monitored
// entity once a period has published every entity's statistics.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "entity_set.h"
#include "statistics_walk.h"
#include "vurnc/dds_c.h"
#include "vurnc/dds_monitor.h"
#include "vurncore/heap.h"
#include "zel_dds_monitoring.h"
#include "zelmonitoring/monitor.h"

namespace {

constexpr ZELDefaultMonitorVersion kVersion = {5, 1, 'c', 2};
constexpr const char *kTypeName = "BenchReading";

// The monitored participant with its monitor attached and enabled, and
// N topics, each with one writer and one reader.
struct ZELBench_System {
    DDS_DomainParticipantFactory *factory = nullptr;
    DDS_DomainParticipant *participant = nullptr;
    ZELDefaultMonitorPublisher *monitor = nullptr;
    ZELDefaultMonitorParticipantObject *object = nullptr;
    bool ok = false;
};

ZELBench_System ZELBench_createSystemI(long count) {
    ZELBench_System system;
    system.factory = DDS_DomainParticipantFactory_get_instance();
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    DDS_DomainParticipantFactory_get_default_participant_qos(system.factory, &qos);
    // An hour: the benchmark runs the periods itself.
    DDS_PropertyQosPolicyHelper_add_property(&qos.property, "zel.monitor.config.publish_period", "3600",
                                             DDS_BOOLEAN_FALSE);
    system.participant =
            DDS_DomainParticipantFactory_create_participant(system.factory, 9, &qos, nullptr, DDS_STATUS_MASK_NONE);
    DDS_DomainParticipantQos_finalize(&qos);
    DDS_UnsignedLong result = 0;
    system.monitor = ZELDefaultMonitorPublisher_create(&result, system.factory, kVersion);
    if (system.participant == nullptr || system.monitor == nullptr) {
        return system;
    }
    system.object = ZELDefaultMonitorPublisher_onDomainParticipantAttach(&result, system.monitor, system.participant);
    if (system.object == nullptr ||
        ZELDefaultMonitorPublisher_onEventNotify(system.object, DDS_MONITOR_EVENT_PARTICIPANT_ENABLE_AFTER,
                                                 DDS_DomainParticipant_as_entity(system.participant),
                                                 nullptr) != ZEL_MONITOR_RESULT_OK ||
        zel_dds_monitoring_TopicEntityStatisticsTypeSupport_register_type(system.participant, kTypeName) !=
                DDS_RETCODE_OK) {
        return system;
    }
    DDS_Publisher *publisher =
            DDS_DomainParticipant_create_publisher(system.participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
    DDS_Subscriber *subscriber =
            DDS_DomainParticipant_create_subscriber(system.participant, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
    if (publisher == nullptr || subscriber == nullptr) {
        return system;
    }
    for (long i = 0; i < count; ++i) {
        const std::string name = "Reading" + std::to_string(i);
        DDS_Topic *topic = DDS_DomainParticipant_create_topic(system.participant, name.c_str(), kTypeName,
                                                              &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
        if (topic == nullptr ||
            DDS_Publisher_create_datawriter(publisher, topic, &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0) == nullptr ||
            DDS_Subscriber_create_datareader(subscriber, DDS_Topic_as_topicdescription(topic),
                                             &DDS_DATAREADER_QOS_DEFAULT, nullptr, 0) == nullptr) {
            return system;
        }
    }
    system.ok = true;
    return system;
}

void ZELBench_deleteSystemI(ZELBench_System &system) {
    if (system.object != nullptr) {
        ZELDefaultMonitorPublisher_onDomainParticipantDetach(system.object);
    }
    if (system.participant != nullptr) {
        DDS_DomainParticipant_delete_contained_entities(system.participant);
        DDS_DomainParticipantFactory_delete_participant(system.factory, system.participant);
    }
    ZELDefaultMonitorPublisher_delete(system.monitor);
    DDS_DomainParticipantFactory_finalize_instance();
}

// One period: every topic, writer, reader, match and the participant.
void BM_StatisticsPeriod(benchmark::State &state) {
    const long count = state.range(0);
    ZELBench_System system = ZELBench_createSystemI(count);
    if (!system.ok) {
        state.SkipWithError("the monitored system could not be built");
        ZELBench_deleteSystemI(system);
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
    ZELBench_deleteSystemI(system);
}
BENCHMARK(BM_StatisticsPeriod)->Arg(10)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
