// The platform's default QoS of each entity kind: created entities are
// enabled with their factory, histories keep the last sample, resources are
// unlimited and durations infinite where a policy waits.
#include "entity_private.h"

namespace {
constexpr DDS_Long kLengthUnlimited = -1;
constexpr DDS_Duration_t kInfinite = DDS_DURATION_INFINITE;

void DDS_HistoryQosPolicy_setDefaultI(DDS_HistoryQosPolicy *history) {
    history->kind = DDS_KEEP_LAST_HISTORY_QOS;
    history->depth = 1;
}

void DDS_ResourceLimitsQosPolicy_setDefaultI(DDS_ResourceLimitsQosPolicy *limits) {
    limits->max_samples = kLengthUnlimited;
    limits->max_instances = kLengthUnlimited;
    limits->max_samples_per_instance = kLengthUnlimited;
    limits->initial_samples = 32;
    limits->initial_instances = 32;
    limits->instance_hash_buckets = 1;
}

// Writer and reader policies that every topic-related QoS shares.
template <typename Q> void DDS_EndpointQos_setDefaultI(Q *qos) {
    qos->durability.kind = DDS_VOLATILE_DURABILITY_QOS;
    qos->deadline.period = kInfinite;
    qos->liveliness.kind = DDS_AUTOMATIC_LIVELINESS_QOS;
    qos->liveliness.lease_duration = kInfinite;
    qos->destination_order.kind = DDS_BY_RECEPTION_TIMESTAMP_DESTINATIONORDER_QOS;
    qos->ownership.kind = DDS_SHARED_OWNERSHIP_QOS;
    DDS_HistoryQosPolicy_setDefaultI(&qos->history);
    DDS_ResourceLimitsQosPolicy_setDefaultI(&qos->resource_limits);
}

template <typename Q> bool DDS_Qos_resetI(Q *qos) {
    Q fresh;
    if (!DDS_QosOpsI<Q>::initialize(&fresh)) {
        return false;
    }
    Q old = *qos;
    *qos = fresh;
    DDS_QosOpsI<Q>::finalize(&old);
    return true;
}
} // namespace

bool DDS_DomainParticipantFactoryQos_get_defaultI(DDS_DomainParticipantFactoryQos *qos) {
    if (!DDS_Qos_resetI(qos)) {
        return false;
    }
    qos->entity_factory.autoenable_created_entities = DDS_BOOLEAN_TRUE;
    return true;
}

bool DDS_DomainParticipantQos_get_defaultI(DDS_DomainParticipantQos *qos) {
    if (!DDS_Qos_resetI(qos)) {
        return false;
    }
    qos->entity_factory.autoenable_created_entities = DDS_BOOLEAN_TRUE;
    return true;
}

bool DDS_TopicQos_get_defaultI(DDS_TopicQos *qos) {
    if (!DDS_Qos_resetI(qos)) {
        return false;
    }
    DDS_EndpointQos_setDefaultI(qos);
    qos->reliability.kind = DDS_BEST_EFFORT_RELIABILITY_QOS;
    qos->lifespan.duration = kInfinite;
    return true;
}

bool DDS_PublisherQos_get_defaultI(DDS_PublisherQos *qos) {
    if (!DDS_Qos_resetI(qos)) {
        return false;
    }
    qos->entity_factory.autoenable_created_entities = DDS_BOOLEAN_TRUE;
    return true;
}

bool DDS_SubscriberQos_get_defaultI(DDS_SubscriberQos *qos) {
    if (!DDS_Qos_resetI(qos)) {
        return false;
    }
    qos->entity_factory.autoenable_created_entities = DDS_BOOLEAN_TRUE;
    return true;
}

bool DDS_DataWriterQos_get_defaultI(DDS_DataWriterQos *qos) {
    if (!DDS_Qos_resetI(qos)) {
        return false;
    }
    DDS_EndpointQos_setDefaultI(qos);
    qos->reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
    qos->reliability.max_blocking_time = DDS_Duration_t{0, 100000000u};
    qos->lifespan.duration = kInfinite;
    qos->writer_data_lifecycle.autodispose_unregistered_instances = DDS_BOOLEAN_TRUE;
    qos->writer_data_lifecycle.autopurge_unregistered_instances_delay = kInfinite;
    return true;
}

bool DDS_DataReaderQos_get_defaultI(DDS_DataReaderQos *qos) {
    if (!DDS_Qos_resetI(qos)) {
        return false;
    }
    DDS_EndpointQos_setDefaultI(qos);
    qos->reliability.kind = DDS_BEST_EFFORT_RELIABILITY_QOS;
    qos->reader_data_lifecycle.autopurge_nowriter_samples_delay = kInfinite;
    qos->reader_data_lifecycle.autopurge_disposed_samples_delay = kInfinite;
    return true;
}

bool DDS_DomainParticipantFactory_initializeDefaultsI(DDS_DomainParticipantFactory *factory) {
    return DDS_DomainParticipantFactoryQos_get_defaultI(&factory->qos) &&
           DDS_DomainParticipantQos_get_defaultI(&factory->defaultParticipantQos) &&
           DDS_TopicQos_get_defaultI(&factory->defaultTopicQos) &&
           DDS_PublisherQos_get_defaultI(&factory->defaultPublisherQos) &&
           DDS_SubscriberQos_get_defaultI(&factory->defaultSubscriberQos) &&
           DDS_DataWriterQos_get_defaultI(&factory->defaultWriterQos) &&
           DDS_DataReaderQos_get_defaultI(&factory->defaultReaderQos);
}
