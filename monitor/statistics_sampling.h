// The pieces of the per-entity statistics operations: for each kind, the
// filling of its sample and the writing or disposing of it, and what the
// seven kinds share (the kind's writer, its log word and labels, the key
// that the log lines show).
#pragma once

#include <cstdio>

#include "entity_set.h"
#include "log/monitor_log_macros.h"
#include "zel_dds_monitoring.h"
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

// Write the sample, or with `dispose` dispose its instance, on the kind's
// statistics writer. False (logged) when the writer is of another type or
// the write or dispose fails.
DDS_Boolean ZELDefaultMonitorParticipantObject_publishParticipantStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_Boolean dispose,
        const zel_dds_monitoring_DomainParticipantEntityStatistics *sample);
DDS_Boolean ZELDefaultMonitorParticipantObject_publishTopicStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_Boolean dispose,
        const zel_dds_monitoring_TopicEntityStatistics *sample);
DDS_Boolean ZELDefaultMonitorParticipantObject_publishWriterStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_Boolean dispose,
        const zel_dds_monitoring_DataWriterEntityStatistics *sample);
DDS_Boolean ZELDefaultMonitorParticipantObject_publishReaderStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_Boolean dispose,
        const zel_dds_monitoring_DataReaderEntityStatistics *sample);
DDS_Boolean ZELDefaultMonitorParticipantObject_publishWriterMatchedStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_Boolean dispose,
        const zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatistics *sample);
DDS_Boolean ZELDefaultMonitorParticipantObject_publishWriterMatchedWithLocatorStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_Boolean dispose,
        const zel_dds_monitoring_DataWriterEntityMatchedSubscriptionWithLocatorStatistics *sample);
DDS_Boolean ZELDefaultMonitorParticipantObject_publishReaderMatchedStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_Boolean dispose,
        const zel_dds_monitoring_DataReaderEntityMatchedPublicationStatistics *sample);

ZEL_EXTERN_C_END

// The period every statistics sample is keyed by: the set's publish period.
inline void ZELDefaultMonitorParticipantObject_samplePeriodI(
        const ZELDefaultMonitorParticipantObject *participantObject, DDSMonitoring_Duration_t *period) {
    const ZELDefaultMonitorEntitySet *set = participantObject->entities;
    period->sec = set != nullptr ? set->period.sec : 0;
    period->nanosec = set != nullptr ? set->period.nanosec : 0u;
}

// The domain, host and process that every sample names.
template <typename Sample>
void ZELDefaultMonitorParticipantObject_sampleIdsI(const ZELDefaultMonitorParticipantObject *participantObject,
                                                   Sample *sample) {
    sample->domain_id = participantObject->domainId;
    sample->host_id = participantObject->publisher->hostId;
    sample->process_id = participantObject->publisher->processId;
}

inline void ZELDefaultMonitorStatistics_copyKeyI(DDSMonitoring_BuiltinTopicKey_t *to,
                                                 const DDS_BuiltinTopicKey_t *from) {
    for (int word = 0; word < 4; ++word) {
        to->value[word] = from->value[word];
    }
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

// What the publish step of one kind needs: its writer slot and typed
// writer, the word its log lines name it by, and its sample's key.
template <typename Kind>
DDS_Boolean ZELDefaultMonitorStatistics_publishI(const char *context,
                                                 ZELDefaultMonitorParticipantObject *participantObject,
                                                 DDS_Boolean dispose, const typename Kind::Sample *sample) {
    typename Kind::Writer *writer =
            Kind::narrow(ZELDefaultMonitorEntitySet_writerI(participantObject->entities, Kind::kSlot));
    if (writer == nullptr) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s, "narrow");
        return DDS_BOOLEAN_FALSE;
    }
    const DDSMonitoring_BuiltinTopicKey_t &key = Kind::key(*sample);
    const auto word = [&key](int index) { return static_cast<unsigned int>(key.value[index]); };
    if (dispose) {
        ZELMonitorLog_printI(context, ZEL_MONITOR_LOG_LEVEL_INFO, ZEL_MONITOR_LOG_DISPOSE_ENTITY_STAT_sxxxx,
                             Kind::kWord, word(0), word(1), word(2), word(3));
        if (Kind::dispose(writer, sample, &DDS_HANDLE_NIL) != DDS_RETCODE_OK) {
            ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s, "dispose");
            return DDS_BOOLEAN_FALSE;
        }
        return DDS_BOOLEAN_TRUE;
    }
    ZELMonitorLog_printI(context, ZEL_MONITOR_LOG_LEVEL_INFO, ZEL_MONITOR_LOG_PUBLISH_ENTITY_STAT_sxxxx, Kind::kWord,
                         word(0), word(1), word(2), word(3));
    if (Kind::write(writer, sample, &DDS_HANDLE_NIL) != DDS_RETCODE_OK) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s, "write");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

// One sample of the kind on the stack: initialized, filled by `fill`,
// published by `publish`, finalized on every exit. A kind whose topic was
// left out does nothing.
template <typename Kind, typename Fill, typename Publish>
DDS_Boolean ZELDefaultMonitorStatistics_sampleAndPublishI(const char *context,
                                                          const ZELDefaultMonitorParticipantObject *participantObject,
                                                          Fill &&fill, Publish &&publish) {
    if (ZELDefaultMonitorEntitySet_writerI(participantObject->entities, Kind::kSlot) == nullptr) {
        return DDS_BOOLEAN_TRUE;
    }
    typename Kind::Sample sample{};
    if (!Kind::initialize(&sample)) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_INIT_FAILURE_s, "sample");
        Kind::finalize(&sample);
        return DDS_BOOLEAN_FALSE;
    }
    DDS_Boolean ok = DDS_BOOLEAN_TRUE;
    if (!fill(&sample)) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_GET_FAILURE_s, Kind::kSampleLabel);
        ok = DDS_BOOLEAN_FALSE;
    } else if (!publish(&sample)) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_GET_FAILURE_s, Kind::kPublishLabel);
        ok = DDS_BOOLEAN_FALSE;
    }
    Kind::finalize(&sample);
    return ok;
}

// The seven kinds.
#define ZEL_MONITOR_STATISTICS_KIND_I(Name, Type, slot, word, label, keyMember)                        \
    struct Name {                                                                                       \
        using Sample = zel_dds_monitoring_##Type;                                                       \
        using Writer = zel_dds_monitoring_##Type##DataWriter;                                           \
        static constexpr int kSlot = slot;                                                              \
        static constexpr const char *kWord = word;                                                      \
        static constexpr const char *kSampleLabel = "sample " label;                                    \
        static constexpr const char *kPublishLabel = "publish " label;                                  \
        static DDS_Boolean initialize(Sample *sample) { return zel_dds_monitoring_##Type##_initialize(sample); } \
        static void finalize(Sample *sample) { zel_dds_monitoring_##Type##_finalize(sample); }          \
        static Writer *narrow(DDS_DataWriter *writer) {                                                 \
            return zel_dds_monitoring_##Type##DataWriter_narrow(writer);                                \
        }                                                                                               \
        static DDS_ReturnCode_t write(Writer *writer, const Sample *sample, const DDS_InstanceHandle_t *handle) { \
            return zel_dds_monitoring_##Type##DataWriter_write(writer, sample, handle);                 \
        }                                                                                               \
        static DDS_ReturnCode_t dispose(Writer *writer, const Sample *sample, const DDS_InstanceHandle_t *handle) { \
            return zel_dds_monitoring_##Type##DataWriter_dispose(writer, sample, handle);               \
        }                                                                                               \
        static const DDSMonitoring_BuiltinTopicKey_t &key(const Sample &sample) { return sample.keyMember; } \
    }

ZEL_MONITOR_STATISTICS_KIND_I(ZELDefaultMonitorParticipantStatsKindI, DomainParticipantEntityStatistics,
                              ZEL_MONITOR_TOPIC_PARTICIPANT_STATISTICS, "participant", "participant stats",
                              participant_key);
ZEL_MONITOR_STATISTICS_KIND_I(ZELDefaultMonitorTopicStatsKindI, TopicEntityStatistics,
                              ZEL_MONITOR_TOPIC_TOPIC_STATISTICS, "topic", "topic stats", topic_key);
ZEL_MONITOR_STATISTICS_KIND_I(ZELDefaultMonitorWriterStatsKindI, DataWriterEntityStatistics,
                              ZEL_MONITOR_TOPIC_DATAWRITER_STATISTICS, "writer", "writer stats", datawriter_key);
ZEL_MONITOR_STATISTICS_KIND_I(ZELDefaultMonitorReaderStatsKindI, DataReaderEntityStatistics,
                              ZEL_MONITOR_TOPIC_DATAREADER_STATISTICS, "reader", "reader stats", datareader_key);
ZEL_MONITOR_STATISTICS_KIND_I(ZELDefaultMonitorWriterMatchedStatsKindI, DataWriterEntityMatchedSubscriptionStatistics,
                              ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_STATISTICS, "writer matched",
                              "writer matched stats", datawriter_key);
ZEL_MONITOR_STATISTICS_KIND_I(ZELDefaultMonitorWriterMatchedWithLocatorStatsKindI,
                              DataWriterEntityMatchedSubscriptionWithLocatorStatistics,
                              ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_WITH_LOCATOR_STATISTICS,
                              "writer matched with locator", "writer matched with locator stats", datawriter_key);
ZEL_MONITOR_STATISTICS_KIND_I(ZELDefaultMonitorReaderMatchedStatsKindI, DataReaderEntityMatchedPublicationStatistics,
                              ZEL_MONITOR_TOPIC_DATAREADER_MATCHED_PUBLICATION_STATISTICS, "reader matched",
                              "reader matched stats", datareader_key);

#undef ZEL_MONITOR_STATISTICS_KIND_I
