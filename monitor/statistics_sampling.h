// The pieces of the per-entity statistics operations: for each kind, the
// filling of its sample, and what the seven kinds share (the kind's writer,
// its log word, labels and publish context, the key that the log lines
// show) on the way through the common sample and publication step.
#pragma once

#include <cstdio>

#include "entity_key.h"
#include "sample_publication.h"
#include "zelmonitoring/monitor.h"

ZEL_EXTERN_C_BEGIN

// Fill the sample's key and period; unless `keyOnly`, the rest too. Each
// returns false (logged) when a key or status could not be read.
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleParticipantStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DomainParticipant *participant,
        DDS_Boolean keyOnly, zel_dds_monitoring_DomainParticipantEntityStatistics *sample);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleTopicStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_Topic *topic, DDS_Boolean keyOnly,
        zel_dds_monitoring_TopicEntityStatistics *sample);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleWriterStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer, DDS_Boolean keyOnly,
        zel_dds_monitoring_DataWriterEntityStatistics *sample);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleReaderStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DataReader *reader, DDS_Boolean keyOnly,
        zel_dds_monitoring_DataReaderEntityStatistics *sample);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleWriterMatchedStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer,
        const DDS_InstanceHandle_t *subscription, DDS_Boolean keyOnly,
        zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatistics *sample);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleWriterMatchedWithLocatorStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer,
        const DDS_Locator_t *locator, DDS_Boolean keyOnly,
        zel_dds_monitoring_DataWriterEntityMatchedSubscriptionWithLocatorStatistics *sample);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleReaderMatchedStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DataReader *reader,
        const DDS_InstanceHandle_t *publication, DDS_Boolean keyOnly,
        zel_dds_monitoring_DataReaderEntityMatchedPublicationStatistics *sample);

ZEL_EXTERN_C_END

// The period every statistics sample is keyed by: the set's publish period.
inline void ZELDefaultMonitorParticipantObject_samplePeriodI(
        const ZELDefaultMonitorParticipantObject *participantObject, DDSMonitoring_Duration_t *period) {
    const ZELDefaultMonitorEntitySet *set = participantObject->entities;
    period->sec = set != nullptr ? set->period.sec : 0;
    period->nanosec = set != nullptr ? set->period.nanosec : 0u;
}

// A bounded sample string holds its bound from initialization on; longer
// names are cut.
inline void ZELDefaultMonitorStatistics_copyNameI(DDS_Char *to, size_t bound, const char *from) {
    std::snprintf(to, bound + 1, "%s", from != nullptr ? from : "");
}

// A status getter writes straight into the sample's mirrored status, which
// has the middleware status's layout.
template <typename Status, typename Mirror>
Status *ZELDefaultMonitorStatistics_asStatusI(Mirror *mirror) {
    static_assert(sizeof(Status) == sizeof(Mirror) && alignof(Status) == alignof(Mirror));
    return reinterpret_cast<Status *>(mirror);
}

// Reads one status of the entity into the sample's mirrored status; false
// (logged with the status's name) when the getter fails. `acceptNotEnabled`
// lets an entity not enabled yet through with the member as the getter
// left it.
template <typename Entity, typename Status, typename Mirror>
bool ZELDefaultMonitorStatistics_readStatusI(const char *context, const char *label,
                                             DDS_ReturnCode_t (*getter)(Entity *, Status *, DDS_Boolean),
                                             Entity *entity, Mirror *mirror, DDS_Boolean reset,
                                             bool acceptNotEnabled = false) {
    const DDS_ReturnCode_t result = getter(entity, ZELDefaultMonitorStatistics_asStatusI<Status>(mirror), reset);
    if (result == DDS_RETCODE_OK || (acceptNotEnabled && result == DDS_RETCODE_NOT_ENABLED)) {
        return true;
    }
    ZELMonitorLog_errorWithContext(context, ZEL_LOG_GET_FAILURE_s, label);
    return false;
}

// One sample of the kind: initialized, filled by `fill(Sample *)`, written or
// with `dispose` disposed under the kind's publish context, and finalized. A
// kind whose topic was left out does nothing.
template <typename Kind, typename Fill>
DDS_Boolean ZELDefaultMonitorStatistics_sampleAndPublishI(const char *context,
                                                          const ZELDefaultMonitorParticipantObject *participantObject,
                                                          DDS_Boolean dispose, Fill &&fill) {
    static constexpr ZELDefaultMonitorSampleLines kLines = {&ZEL_MONITOR_LOG_PUBLISH_ENTITY_STAT_sxxxx,
                                                            &ZEL_MONITOR_LOG_DISPOSE_ENTITY_STAT_sxxxx};
    if (ZELDefaultMonitorEntitySet_writerI(participantObject->entities, Kind::kSlot) == nullptr) {
        return DDS_BOOLEAN_TRUE;
    }
    return ZELDefaultMonitorSample_useI<Kind>(context, [&](typename Kind::Sample &sample) {
        if (!fill(&sample)) {
            ZELMonitorLog_errorWithContext(context, ZEL_LOG_GET_FAILURE_s, Kind::kSampleLabel);
            return false;
        }
        auto *writer = ZELDefaultMonitorSample_writerI<Kind>(Kind::kPublishContext, participantObject, Kind::kSlot);
        if (writer == nullptr || !ZELDefaultMonitorSample_publishI<Kind>(Kind::kPublishContext, writer, dispose, sample,
                                                                         kLines, Kind::kWord, Kind::key(sample))) {
            ZELMonitorLog_errorWithContext(context, ZEL_LOG_GET_FAILURE_s, Kind::kPublishLabel);
            return false;
        }
        return true;
    });
}

// The seven kinds; each publishes under the name of its own publish step.
#define ZEL_MONITOR_STATISTICS_KIND_I(Name, Type, slot, word, label, keyMember, publishContext)              \
    ZEL_MONITOR_SAMPLE_SUPPORT(Name##Support, Type);                                                         \
    struct Name : Name##Support {                                                                            \
        static constexpr int kSlot = slot;                                                                   \
        static constexpr const char *kWord = word;                                                           \
        static constexpr const char *kSampleLabel = "sample " label;                                         \
        static constexpr const char *kPublishLabel = "publish " label;                                       \
        static constexpr const char *kPublishContext = publishContext;                                       \
        static const DDSMonitoring_BuiltinTopicKey_t &key(const Sample &sample) { return sample.keyMember; } \
    }

ZEL_MONITOR_STATISTICS_KIND_I(ZELDefaultMonitorParticipantStatsKindI, DomainParticipantEntityStatistics,
                              ZEL_MONITOR_TOPIC_PARTICIPANT_STATISTICS, "participant", "participant stats",
                              participant_key, "ZELDefaultMonitorParticipantObject_publishParticipantStatsI");
ZEL_MONITOR_STATISTICS_KIND_I(ZELDefaultMonitorTopicStatsKindI, TopicEntityStatistics,
                              ZEL_MONITOR_TOPIC_TOPIC_STATISTICS, "topic", "topic stats", topic_key,
                              "ZELDefaultMonitorParticipantObject_publishTopicStatsI");
ZEL_MONITOR_STATISTICS_KIND_I(ZELDefaultMonitorWriterStatsKindI, DataWriterEntityStatistics,
                              ZEL_MONITOR_TOPIC_DATAWRITER_STATISTICS, "writer", "writer stats", datawriter_key,
                              "ZELDefaultMonitorParticipantObject_publishWriterStatsI");
ZEL_MONITOR_STATISTICS_KIND_I(ZELDefaultMonitorReaderStatsKindI, DataReaderEntityStatistics,
                              ZEL_MONITOR_TOPIC_DATAREADER_STATISTICS, "reader", "reader stats", datareader_key,
                              "ZELDefaultMonitorParticipantObject_publishReaderStatsI");
ZEL_MONITOR_STATISTICS_KIND_I(ZELDefaultMonitorWriterMatchedStatsKindI, DataWriterEntityMatchedSubscriptionStatistics,
                              ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_STATISTICS, "writer matched",
                              "writer matched stats", datawriter_key,
                              "ZELDefaultMonitorParticipantObject_publishWriterMatchedStatsI");
ZEL_MONITOR_STATISTICS_KIND_I(ZELDefaultMonitorWriterMatchedWithLocatorStatsKindI,
                              DataWriterEntityMatchedSubscriptionWithLocatorStatistics,
                              ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_WITH_LOCATOR_STATISTICS,
                              "writer matched with locator", "writer matched with locator stats", datawriter_key,
                              "ZELDefaultMonitorParticipantObject_publishWriterMatchedWithLocatorStatsI");
ZEL_MONITOR_STATISTICS_KIND_I(ZELDefaultMonitorReaderMatchedStatsKindI, DataReaderEntityMatchedPublicationStatistics,
                              ZEL_MONITOR_TOPIC_DATAREADER_MATCHED_PUBLICATION_STATISTICS, "reader matched",
                              "reader matched stats", datareader_key,
                              "ZELDefaultMonitorParticipantObject_publishReaderMatchedStatsI");

#undef ZEL_MONITOR_STATISTICS_KIND_I
