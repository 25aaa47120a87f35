// What the six description builders share: the description writer, the
// entity's key, then either a dispose of the instance or the filled sample
// written; every failure logged under the builder's name.
#pragma once

#include "entity_key.h"
#include "sample_publication.h"

// The most properties a description carries: the bound of the monitoring
// type's property sequence.
#define ZEL_MONITOR_DESCRIPTION_PROPERTY_MAX 64

// Which description a builder makes.
struct ZELDefaultMonitorDescriptionKind {
    const char *context;     // the builder's name, under which it logs
    const char *entityWord;  // in the publish and dispose lines
    ZELDefaultMonitorTopic slot;
};

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

// Reads the entity's QoS with `getQos` straight into the sample's mirrored
// QoS, laid out member for member like the middleware's; false, logged
// under `context`, when the getter fails.
template <typename Entity, typename PlatformQos, typename MirroredQos>
bool ZELDefaultMonitorDescription_readQosI(const char *context, DDS_ReturnCode_t (*getQos)(Entity *, PlatformQos *),
                                           Entity *entity, MirroredQos *qos) {
    static_assert(sizeof(PlatformQos) == sizeof(MirroredQos), "mirrored QoS must match the middleware's");
    if (getQos(entity, reinterpret_cast<PlatformQos *>(qos)) != DDS_RETCODE_OK) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_GET_FAILURE_s, "qos");
        return false;
    }
    return true;
}

// The sample is keyed by `entity`; `fill(Sample &)` fills the rest of a
// published sample and logs its own failures under kind.context.
template <typename Support, typename Entity, typename Fill>
DDS_Boolean ZELDefaultMonitorDescription_sampleAndPublishI(ZELDefaultMonitorParticipantObject *participantObject,
                                                           const ZELDefaultMonitorDescriptionKind &kind,
                                                           DDS_Boolean dispose, Entity *entity, Fill fill) {
    static constexpr ZELDefaultMonitorSampleLines kLines = {&ZEL_MONITOR_LOG_PUBLISH_ENTITY_DATA_sxxxx,
                                                            &ZEL_MONITOR_LOG_DISPOSE_ENTITY_DATA_sxxxx};
    return ZELDefaultMonitorSample_useI<Support>(kind.context, [&](typename Support::Sample &sample) {
        auto *writer = ZELDefaultMonitorSample_writerI<Support>(kind.context, participantObject, kind.slot);
        if (writer == nullptr) {
            return false;
        }
        return ZELDefaultMonitorEntity_copyKeyI(kind.context, entity, &sample.entity_key) &&
               (dispose || fill(sample)) &&
               ZELDefaultMonitorSample_publishI<Support>(kind.context, writer, dispose, sample, kLines, kind.entityWord,
                                                         sample.entity_key);
    });
}
