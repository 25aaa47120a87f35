// The statistics walk over the data readers of one monitored participant.
#include "entity_set.h"
#include "entity_statistics.h"
#include "log/monitor_log_macros.h"
#include "statistics_group_walk.h"
#include "statistics_walk.h"

namespace {

const char *const kAllReaders = "ZELDefaultMonitorParticipantObject_sampleAndPublishAllReadersStatsI";

// What one reader contributes: its own statistics and, once it is enabled,
// those of its matches.
bool ZELDefaultMonitorParticipantObject_sampleAndPublishReaderAndMatchesI(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DataReader *reader, bool withReader,
        bool withMatched) {
    bool ok = true;
    if (withReader &&
        !ZELDefaultMonitorParticipantObject_sampleAndPublishReaderStats(participantObject, reader, DDS_BOOLEAN_FALSE)) {
        ZELMonitorLog_errorWithContext(kAllReaders, ZEL_LOG_ANY_FAILURE_s, "sample and publish reader stats");
        ok = false;
    }
    if (!DDS_Entity_is_enabled(DDS_DataReader_as_entity(reader))) {
        return ok;
    }
    if (withMatched && !ZELDefaultMonitorParticipantObject_sampleAndPublishAllReaderMatchedStatsI(
                               participantObject, reader, DDS_BOOLEAN_FALSE)) {
        ZELMonitorLog_errorWithContext(kAllReaders, ZEL_LOG_ANY_FAILURE_s,
                                       "sample and publish all reader matched stats");
        ok = false;
    }
    return ok;
}

}  // namespace

extern "C" {

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishAllReadersStatsI(
        ZELDefaultMonitorParticipantObject *participantObject) {
    const ZELDefaultMonitorEntitySet *set = participantObject->entities;
    const bool withReader = ZELDefaultMonitorEntitySet_writerI(set, ZEL_MONITOR_TOPIC_DATAREADER_STATISTICS) != nullptr;
    const bool withMatched = ZELDefaultMonitorEntitySet_writerI(
                                     set, ZEL_MONITOR_TOPIC_DATAREADER_MATCHED_PUBLICATION_STATISTICS) != nullptr;
    const bool ok = ZELDefaultMonitorParticipantObject_walkGroupsI<ZELDefaultMonitorSubscribersI>(
            participantObject, __func__, [&](DDS_DataReader *reader) {
                return ZELDefaultMonitorParticipantObject_sampleAndPublishReaderAndMatchesI(participantObject, reader,
                                                                                            withReader, withMatched);
            });
    return ok ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishAllReaderMatchedStatsI(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DataReader *reader, DDS_Boolean keyOnly) {
    const bool ok = ZELDefaultMonitorParticipantObject_walkMatchedI(
            __func__, reader, &DDS_DataReader_get_matched_publications, "sample and publish reader match stats",
            [&](const DDS_InstanceHandle_t *handle) {
                return ZELDefaultMonitorParticipantObject_sampleAndPublishReaderMatchedStats(
                               participantObject, reader, handle, keyOnly) != DDS_BOOLEAN_FALSE;
            });
    return ok ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

}  // extern "C"
