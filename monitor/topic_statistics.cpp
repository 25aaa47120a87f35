// Statistics of one topic: its names, its participant and how many
// topics of the same name and another type the domain has.
#include "entity_statistics.h"
#include "statistics_sampling.h"

extern "C" {

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleTopicStatsI(ZELDefaultMonitorParticipantObject *participantObject,
                                                                 DDS_Topic *topic, DDS_Boolean keyOnly,
                                                                 zel_dds_monitoring_TopicEntityStatistics *sample) {
    if (!ZELDefaultMonitorEntity_copyKeyI(__func__, topic, &sample->topic_key)) {
        return DDS_BOOLEAN_FALSE;
    }
    ZELDefaultMonitorParticipantObject_samplePeriodI(participantObject, &sample->period);
    if (keyOnly) {
        return DDS_BOOLEAN_TRUE;
    }
    DDS_TopicDescription *description = DDS_Topic_as_topicdescription(topic);
    if (description == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "topicdescription");
        return DDS_BOOLEAN_FALSE;
    }
    if (!ZELDefaultMonitorEntity_copyParentKeyI(
                __func__, "participant", DDS_TopicDescription_get_participant(description), &sample->participant_key)) {
        return DDS_BOOLEAN_FALSE;
    }
    ZELDefaultMonitorStatistics_copyNameI(sample->topic_name, 256, DDS_TopicDescription_get_name(description));
    ZELDefaultMonitorStatistics_copyNameI(sample->type_name, 256, DDS_TopicDescription_get_type_name(description));
    ZELDefaultMonitorSample_fillOriginI(*sample, participantObject);
    if (DDS_Topic_get_inconsistent_topic_status_ex(topic,
                                                   ZELDefaultMonitorStatistics_asStatusI<DDS_InconsistentTopicStatus>(
                                                           &sample->inconsistent_topic_status.status),
                                                   participantObject->resetStatusChangeCounts) != DDS_RETCODE_OK) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "InconsistentTopicStatus");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishTopicStats(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_Topic *topic, DDS_Boolean dispose) {
    return ZELDefaultMonitorStatistics_sampleAndPublishI<ZELDefaultMonitorTopicStatsKindI>(
            __func__, participantObject, dispose, [&](auto *sample) {
                return ZELDefaultMonitorParticipantObject_sampleTopicStatsI(participantObject, topic, dispose, sample);
            });
}

}  // extern "C"
