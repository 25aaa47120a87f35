// What the six description builders share: a sample on the stack for one
// call, the description writer, the entity's key, then either a dispose of
// the instance or the filled sample written; every failure logged under the
// builder's name and the sample finalized on every exit.
#pragma once

#include "entity_set.h"
#include "log/monitor_log_macros.h"
#include "zel_dds_monitoring.h"

// The most properties a description carries: the bound of the monitoring
// type's property sequence.
#define ZEL_MONITOR_DESCRIPTION_PROPERTY_MAX 64

// The generated support of one description type under common names.
#define ZEL_MONITOR_DESCRIPTION_SUPPORT(NAME, TYPE)                                            \
    struct NAME {                                                                              \
        using Sample = zel_dds_monitoring_##TYPE;                                              \
        static constexpr auto initialize = &zel_dds_monitoring_##TYPE##_initialize;            \
        static constexpr auto finalize = &zel_dds_monitoring_##TYPE##_finalize;                \
        static constexpr auto narrow = &zel_dds_monitoring_##TYPE##DataWriter_narrow;          \
        static constexpr auto write = &zel_dds_monitoring_##TYPE##DataWriter_write;            \
        static constexpr auto dispose = &zel_dds_monitoring_##TYPE##DataWriter_dispose;        \
    }

// Which description a builder makes.
struct ZELDefaultMonitorDescriptionKind {
    const char *context;     // the builder's name, under which it logs
    const char *entityWord;  // in the publish and dispose lines
    ZELDefaultMonitorTopic slot;
};

// Copies a builtin-topic key word by word; false for a key that could not
// be had.
bool ZELDefaultMonitorDescription_copyKeyI(DDSMonitoring_BuiltinTopicKey_t *target, const DDS_BuiltinTopicKey_t *key);

// Copies a topic or type name into the sample's preallocated string. A
// name longer than the string's bound is not cut: it gets a string of its
// own, which the writer then refuses to serialize. False only when that
// copy cannot be allocated (logged under `context`).
bool ZELDefaultMonitorDescription_copyNameI(char **target, const char *name, const char *context);

// The property list of a participant, writer or reader description: emptied
// when the skip setting is on; otherwise a list longer than the type's bound
// withholds the description (printed under `context`) rather than being cut.
bool ZELDefaultMonitorDescription_applyPropertyRuleI(DDSMonitoring_Property_tSeq *properties, DDS_Boolean skip,
                                                      const char *context);

// The middleware's get-QoS operations fill the sample's mirrored QoS in
// place: both are laid out member for member alike.
template <typename PlatformQos, typename MirroredQos>
PlatformQos *ZELDefaultMonitorDescription_asPlatformQosI(MirroredQos *qos) {
    static_assert(sizeof(PlatformQos) == sizeof(MirroredQos), "mirrored QoS must match the middleware's");
    return reinterpret_cast<PlatformQos *>(qos);
}

// Where the entity lives.
template <typename Sample>
void ZELDefaultMonitorDescription_fillOriginI(Sample &sample, const ZELDefaultMonitorParticipantObject *object) {
    sample.domain_id = object->domainId;
    sample.host_id = object->publisher->hostId;
    sample.process_id = object->publisher->processId;
}

// `getKey(DDSMonitoring_BuiltinTopicKey_t *)` reads the entity's key;
// `fill(Sample &)` fills the rest of a published sample and logs its own
// failures under kind.context.
template <typename Support, typename GetKey, typename Fill>
DDS_Boolean ZELDefaultMonitorDescription_sampleAndPublishI(ZELDefaultMonitorParticipantObject *participantObject,
                                                           const ZELDefaultMonitorDescriptionKind &kind,
                                                           DDS_Boolean dispose, GetKey getKey, Fill fill) {
    typename Support::Sample sample{};
    if (!Support::initialize(&sample)) {
        ZELMonitorLog_errorWithContext(kind.context, ZEL_LOG_INIT_FAILURE_s, "sample");
        return DDS_BOOLEAN_FALSE;
    }
    struct Finalizer {
        typename Support::Sample *sample;
        ~Finalizer() { Support::finalize(sample); }
    } finalizer{&sample};

    auto *writer = Support::narrow(ZELDefaultMonitorEntitySet_writerI(participantObject->entities, kind.slot));
    if (writer == nullptr) {
        ZELMonitorLog_errorWithContext(kind.context, ZEL_LOG_ANY_FAILURE_s, "narrow");
        return DDS_BOOLEAN_FALSE;
    }
    if (!getKey(&sample.entity_key)) {
        ZELMonitorLog_errorWithContext(kind.context, ZEL_LOG_GET_FAILURE_s, "BuiltinTopicKey");
        return DDS_BOOLEAN_FALSE;
    }
    const DDS_Long *key = sample.entity_key.value;
    if (dispose) {
        ZELMonitorLog_infoWithContext(kind.context, ZEL_MONITOR_LOG_DISPOSE_ENTITY_DATA_sxxxx, kind.entityWord,
                                      static_cast<unsigned>(key[0]), static_cast<unsigned>(key[1]),
                                      static_cast<unsigned>(key[2]), static_cast<unsigned>(key[3]));
        if (Support::dispose(writer, &sample, &DDS_HANDLE_NIL) != DDS_RETCODE_OK) {
            ZELMonitorLog_errorWithContext(kind.context, ZEL_LOG_ANY_FAILURE_s, "dispose");
            return DDS_BOOLEAN_FALSE;
        }
        return DDS_BOOLEAN_TRUE;
    }
    if (!fill(sample)) {
        return DDS_BOOLEAN_FALSE;
    }
    ZELMonitorLog_infoWithContext(kind.context, ZEL_MONITOR_LOG_PUBLISH_ENTITY_DATA_sxxxx, kind.entityWord,
                                  static_cast<unsigned>(key[0]), static_cast<unsigned>(key[1]),
                                  static_cast<unsigned>(key[2]), static_cast<unsigned>(key[3]));
    if (Support::write(writer, &sample, &DDS_HANDLE_NIL) != DDS_RETCODE_OK) {
        ZELMonitorLog_errorWithContext(kind.context, ZEL_LOG_ANY_FAILURE_s, "write");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}
