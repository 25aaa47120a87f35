// QoS consistency (policies that contradict each other) and immutability
// (policies fixed once an entity is enabled).
#include <cstring>

#include "entity_private.h"

namespace {
constexpr DDS_Long kLengthUnlimited = -1;

bool DDS_Duration_isValidI(const DDS_Duration_t &d) {
    return d.nanosec < 1000000000u || (d.sec == DDS_DURATION_INFINITE_SEC && d.nanosec == DDS_DURATION_INFINITE_NSEC);
}

bool DDS_Duration_equalsI(const DDS_Duration_t &a, const DDS_Duration_t &b) {
    return a.sec == b.sec && a.nanosec == b.nanosec;
}

// History and resource limits that every topic-related QoS shares.
template <typename Q>
DDS_ReturnCode_t DDS_EndpointQos_checkI(const Q *qos, const char *context) {
    const char *reason = nullptr;
    const DDS_ResourceLimitsQosPolicy &limits = qos->resource_limits;
    if (qos->history.kind == DDS_KEEP_LAST_HISTORY_QOS && qos->history.depth <= 0) {
        reason = "history depth";
    } else if (qos->history.kind == DDS_KEEP_LAST_HISTORY_QOS && limits.max_samples_per_instance != kLengthUnlimited &&
               qos->history.depth > limits.max_samples_per_instance) {
        reason = "history depth above max_samples_per_instance";
    } else if (limits.max_samples != kLengthUnlimited && limits.max_samples_per_instance != kLengthUnlimited &&
               limits.max_samples < limits.max_samples_per_instance) {
        reason = "max_samples below max_samples_per_instance";
    } else if (!DDS_Duration_isValidI(qos->deadline.period) || !DDS_Duration_isValidI(qos->liveliness.lease_duration)) {
        reason = "duration";
    }
    if (reason != nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, reason);
        return DDS_RETCODE_INCONSISTENT_POLICY;
    }
    return DDS_RETCODE_OK;
}

// Whether a publisher or subscriber QoS changes a policy fixed at enable:
// presentation and the vendor-specific mark.
template <typename Q>
const char *DDS_GroupQos_changedImmutableI(const Q *a, const Q *b) {
    if (a->presentation.access_scope != b->presentation.access_scope ||
        a->presentation.coherent_access != b->presentation.coherent_access ||
        a->presentation.ordered_access != b->presentation.ordered_access) {
        return "presentation";
    }
    if (a->protocol.vendor_specific_entity != b->protocol.vendor_specific_entity) {
        return "protocol";
    }
    return nullptr;
}

// Whether an endpoint or topic QoS changes a policy fixed at enable.
template <typename Q>
const char *DDS_EndpointQos_changedImmutableI(const Q *a, const Q *b) {
    if (a->durability.kind != b->durability.kind) {
        return "durability";
    }
    if (a->history.kind != b->history.kind || a->history.depth != b->history.depth) {
        return "history";
    }
    if (std::memcmp(&a->resource_limits, &b->resource_limits, sizeof(a->resource_limits)) != 0) {
        return "resource_limits";
    }
    if (a->reliability.kind != b->reliability.kind) {
        return "reliability";
    }
    if (a->ownership.kind != b->ownership.kind) {
        return "ownership";
    }
    if (a->liveliness.kind != b->liveliness.kind ||
        !DDS_Duration_equalsI(a->liveliness.lease_duration, b->liveliness.lease_duration)) {
        return "liveliness";
    }
    if (a->destination_order.kind != b->destination_order.kind) {
        return "destination_order";
    }
    if (a->protocol.vendor_specific_entity != b->protocol.vendor_specific_entity) {
        return "protocol";
    }
    return nullptr;
}

bool DDS_Qos_reportImmutableI(const char *policy, const char *context) {
    if (policy == nullptr) {
        return false;
    }
    ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, policy);
    return true;
}
}  // namespace

DDS_ReturnCode_t DDS_DomainParticipantQos_checkI(const DDS_DomainParticipantQos *, const char *) {
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDS_TopicQos_checkI(const DDS_TopicQos *qos, const char *context) {
    return DDS_EndpointQos_checkI(qos, context);
}

DDS_ReturnCode_t DDS_PublisherQos_checkI(const DDS_PublisherQos *, const char *) { return DDS_RETCODE_OK; }

DDS_ReturnCode_t DDS_SubscriberQos_checkI(const DDS_SubscriberQos *, const char *) { return DDS_RETCODE_OK; }

DDS_ReturnCode_t DDS_DataWriterQos_checkI(const DDS_DataWriterQos *qos, const char *context) {
    return DDS_EndpointQos_checkI(qos, context);
}

DDS_ReturnCode_t DDS_DataReaderQos_checkI(const DDS_DataReaderQos *qos, const char *context) {
    DDS_ReturnCode_t result = DDS_EndpointQos_checkI(qos, context);
    if (result == DDS_RETCODE_OK && qos->deadline.period.sec != DDS_DURATION_INFINITE_SEC &&
        (qos->deadline.period.sec < qos->time_based_filter.minimum_separation.sec ||
         (qos->deadline.period.sec == qos->time_based_filter.minimum_separation.sec &&
          qos->deadline.period.nanosec < qos->time_based_filter.minimum_separation.nanosec))) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "deadline below time_based_filter");
        return DDS_RETCODE_INCONSISTENT_POLICY;
    }
    return result;
}

bool DDS_DomainParticipantQos_changesImmutableI(const DDS_DomainParticipantQos *a, const DDS_DomainParticipantQos *b,
                                                const char *context) {
    const char *policy = nullptr;
    if (a->protocol.vendor_specific_entity != b->protocol.vendor_specific_entity) {
        policy = "protocol";
    } else if (a->wire_protocol.participant_id != b->wire_protocol.participant_id ||
               a->wire_protocol.rtps_host_id != b->wire_protocol.rtps_host_id ||
               a->wire_protocol.rtps_app_id != b->wire_protocol.rtps_app_id ||
               a->wire_protocol.rtps_instance_id != b->wire_protocol.rtps_instance_id) {
        policy = "wire_protocol";
    }
    return DDS_Qos_reportImmutableI(policy, context);
}

bool DDS_TopicQos_changesImmutableI(const DDS_TopicQos *a, const DDS_TopicQos *b, const char *context) {
    return DDS_Qos_reportImmutableI(DDS_EndpointQos_changedImmutableI(a, b), context);
}

bool DDS_PublisherQos_changesImmutableI(const DDS_PublisherQos *a, const DDS_PublisherQos *b, const char *context) {
    return DDS_Qos_reportImmutableI(DDS_GroupQos_changedImmutableI(a, b), context);
}

bool DDS_SubscriberQos_changesImmutableI(const DDS_SubscriberQos *a, const DDS_SubscriberQos *b, const char *context) {
    return DDS_Qos_reportImmutableI(DDS_GroupQos_changedImmutableI(a, b), context);
}

bool DDS_DataWriterQos_changesImmutableI(const DDS_DataWriterQos *a, const DDS_DataWriterQos *b, const char *context) {
    return DDS_Qos_reportImmutableI(DDS_EndpointQos_changedImmutableI(a, b), context);
}

bool DDS_DataReaderQos_changesImmutableI(const DDS_DataReaderQos *a, const DDS_DataReaderQos *b, const char *context) {
    return DDS_Qos_reportImmutableI(DDS_EndpointQos_changedImmutableI(a, b), context);
}
