// The QoS of the monitoring writers.
//
// Three writer-protocol settings are the plug-in's choice:
// - protocol.vendor_specific_entity is set on every monitoring writer,
//   whatever the QoS source: the middleware then reports the writer as
//   vendor-specific, so its events are ignored and it is never described;
// - protocol.serialize_key_with_dispose is set on description writers (with
//   the default QoS): a description is disposed when its entity goes away,
//   and a dispose that carries the key can be matched to its instance by a
//   late-joining reader that has only the replayed history;
// - protocol.disable_positive_acks is cleared with the default QoS: reliable
//   description samples stay in the writer's history until every reader has
//   acknowledged them, which is what repairs for late joiners draw on.
#include "entity_set.h"
#include "log/monitor_log_macros.h"
#include "vurncore/reda_string.h"

namespace {

const char *const kDescriptionTopicPattern = "zel/dds/monitoring/*Description";
const char *const kPoolBufferMaxSizeProperty = "dds.data_writer.history.memory_manager.fast_pool.pool_buffer_max_size";

constexpr DDS_Duration_t kInfinite = DDS_DURATION_INFINITE;
constexpr DDS_Duration_t kMaxBlockingTime = {0, 100000000u};

// The monitoring overrides of the publisher's default writer QoS: one
// sample per instance, kept for late joiners (descriptions, reliable and
// transient-local) or sent once (statistics, best-effort and volatile).
void ZELDefaultMonitorPublisher_overrideWriterQosI(DDS_DataWriterQos *qos, bool description) {
    qos->durability.kind = description ? DDS_TRANSIENT_LOCAL_DURABILITY_QOS : DDS_VOLATILE_DURABILITY_QOS;
    qos->deadline.period = kInfinite;
    qos->liveliness.kind = DDS_AUTOMATIC_LIVELINESS_QOS;
    qos->reliability.kind = description ? DDS_RELIABLE_RELIABILITY_QOS : DDS_BEST_EFFORT_RELIABILITY_QOS;
    if (!description) {
        qos->reliability.acknowledgementKind = DDS_PROTOCOL_ACKNOWLEDGEMENT_MODE;
    }
    qos->reliability.max_blocking_time = kMaxBlockingTime;
    qos->destination_order.kind = DDS_BY_RECEPTION_TIMESTAMP_DESTINATIONORDER_QOS;
    qos->history.kind = DDS_KEEP_LAST_HISTORY_QOS;
    qos->history.depth = 1;
    qos->resource_limits.max_samples_per_instance = 1;
    qos->resource_limits.initial_samples = 1;
    qos->resource_limits.initial_instances = 1;
    qos->lifespan.duration = kInfinite;
    DDS_OctetSeq_set_length(&qos->user_data.value, 0);
    qos->ownership.kind = DDS_SHARED_OWNERSHIP_QOS;
    qos->writer_data_lifecycle.autodispose_unregistered_instances = DDS_BOOLEAN_TRUE;
    qos->writer_data_lifecycle.autopurge_unregistered_instances_delay = kInfinite;
    if (description) {
        qos->protocol.serialize_key_with_dispose = DDS_BOOLEAN_TRUE;
    }
    qos->protocol.disable_positive_acks = DDS_BOOLEAN_FALSE;
}

}  // namespace

extern "C" {

DDS_Boolean ZELDefaultMonitorPublisher_get_writer_qosI(DDS_DataWriterQos *qos, DDS_DomainParticipantFactory *factory,
                                                       DDS_Publisher *publisher, const char *topicName,
                                                       const ZELDefaultMonitorEntitySettings *settings) {
    if (ZELDefaultMonitorEntitySettings_hasQosProfile(settings)) {
        // Per topic name, so that a profile can tell the topics apart.
        if (DDS_DomainParticipantFactory_get_datawriter_qos_from_profile_w_topic_name(
                    factory, qos, settings->qosLibrary, settings->qosProfile, topicName) != DDS_RETCODE_OK) {
            return DDS_BOOLEAN_FALSE;
        }
    } else {
        if (DDS_Publisher_get_default_datawriter_qos(publisher, qos) != DDS_RETCODE_OK) {
            return DDS_BOOLEAN_FALSE;
        }
        ZELDefaultMonitorPublisher_overrideWriterQosI(qos,
                                                      REDAString_fnmatch(kDescriptionTopicPattern, topicName, 0) == 0);
    }
    qos->protocol.vendor_specific_entity = DDS_BOOLEAN_TRUE;
    if (DDS_PropertyQosPolicyHelper_add_property(&qos->property, "zel/dds/monitor/entity", "DataWriter",
                                                 DDS_BOOLEAN_TRUE) != DDS_RETCODE_OK) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "monitoring entity property");
        return DDS_BOOLEAN_FALSE;
    }
    if (settings->writerPoolBufferMaxSize != nullptr &&
        DDS_PropertyQosPolicyHelper_add_property(&qos->property, kPoolBufferMaxSizeProperty,
                                                 settings->writerPoolBufferMaxSize,
                                                 DDS_BOOLEAN_TRUE) != DDS_RETCODE_OK) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "pool buffer max size property");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

}  // extern "C"
