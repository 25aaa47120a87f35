// Statistics of one data reader, and of what it knows of each matched
// publication.
#include <cstring>

#include "entity_statistics.h"
#include "related_topic.h"
#include "statistics_sampling.h"

extern "C" {

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleReaderStatsI(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DataReader *reader, DDS_Boolean keyOnly,
        zel_dds_monitoring_DataReaderEntityStatistics *sample) {
    if (!ZELDefaultMonitorEntity_copyKeyI(__func__, reader, &sample->datareader_key)) {
        return DDS_BOOLEAN_FALSE;
    }
    ZELDefaultMonitorParticipantObject_samplePeriodI(participantObject, &sample->period);
    DDS_Octet isContentFiltered = 0;
    DDS_Topic *topic = ZELDefaultMonitorParticipantObject_getActualReaderTopicI(reader, &isContentFiltered);
    if (topic == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "related topic");
        return DDS_BOOLEAN_FALSE;
    }
    DDS_TopicDescription *description = DDS_Topic_as_topicdescription(topic);
    if (description == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "topicdescription");
        return DDS_BOOLEAN_FALSE;
    }
    if (keyOnly) {
        return DDS_BOOLEAN_TRUE;
    }
    DDS_Subscriber *subscriber = DDS_DataReader_get_subscriber(reader);
    if (!ZELDefaultMonitorEntity_copyParentKeyI(__func__, "subscriber", subscriber, &sample->subscriber_key) ||
        !ZELDefaultMonitorEntity_copyKeyI(__func__, topic, &sample->topic_key)) {
        return DDS_BOOLEAN_FALSE;
    }
    sample->is_content_filtered = isContentFiltered;
    ZELDefaultMonitorStatistics_copyNameI(sample->topic_name, 256, DDS_TopicDescription_get_name(description));
    if (!ZELDefaultMonitorEntity_copyParentKeyI(__func__, "participant", DDS_Subscriber_get_participant(subscriber),
                                                &sample->participant_key)) {
        return DDS_BOOLEAN_FALSE;
    }
    ZELDefaultMonitorSample_fillOriginI(*sample, participantObject);

    // In this order, stopping at the first failure; a reader not enabled yet
    // has no cache or protocol figures to give.
    const DDS_Boolean reset = participantObject->resetStatusChangeCounts;
    const bool ok =
            ZELDefaultMonitorStatistics_readStatusI(__func__, "SampleRejectedStatus",
                                                    &DDS_DataReader_get_sample_rejected_status_ex, reader,
                                                    &sample->sample_rejected_status.status, reset) &&
            ZELDefaultMonitorStatistics_readStatusI(__func__, "LivelinessChangedStatus",
                                                    &DDS_DataReader_get_liveliness_changed_status_ex, reader,
                                                    &sample->liveliness_changed_status.status, reset) &&
            ZELDefaultMonitorStatistics_readStatusI(__func__, "RequestedDeadlineMissedStatus",
                                                    &DDS_DataReader_get_requested_deadline_missed_status_ex, reader,
                                                    &sample->requested_deadline_missed_status.status, reset) &&
            ZELDefaultMonitorStatistics_readStatusI(__func__, "RequestedIncompatibleQosStatus",
                                                    &DDS_DataReader_get_requested_incompatible_qos_status_ex, reader,
                                                    &sample->requested_incompatible_qos_status.status, reset) &&
            ZELDefaultMonitorStatistics_readStatusI(__func__, "SampleLostStatus",
                                                    &DDS_DataReader_get_sample_lost_status_ex, reader,
                                                    &sample->sample_lost_status.status, reset) &&
            ZELDefaultMonitorStatistics_readStatusI(__func__, "SubscriptionMatchedStatus",
                                                    &DDS_DataReader_get_subscription_matched_status_ex, reader,
                                                    &sample->subscription_matched_status.status, reset) &&
            ZELDefaultMonitorStatistics_readStatusI(__func__, "DataReaderCacheStatus",
                                                    &DDS_DataReader_get_datareader_cache_status_ex, reader,
                                                    &sample->datareader_cache_status.status, reset, true) &&
            ZELDefaultMonitorStatistics_readStatusI(__func__, "DataReaderProtocolStatus",
                                                    &DDS_DataReader_get_datareader_protocol_status_ex, reader,
                                                    &sample->datareader_protocol_status.status, reset, true);
    return ok ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleReaderMatchedStatsI(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DataReader *reader,
        const DDS_InstanceHandle_t *publication, DDS_Boolean keyOnly,
        zel_dds_monitoring_DataReaderEntityMatchedPublicationStatistics *sample) {
    if (!ZELDefaultMonitorEntity_copyKeyI(__func__, reader, &sample->datareader_key)) {
        return DDS_BOOLEAN_FALSE;
    }
    static_assert(sizeof(sample->publication_handle) == sizeof(*publication));
    std::memcpy(&sample->publication_handle, publication, sizeof(sample->publication_handle));
    ZELDefaultMonitorParticipantObject_samplePeriodI(participantObject, &sample->period);
    if (keyOnly) {
        return DDS_BOOLEAN_TRUE;
    }
    if (DDS_DataReader_get_matched_publication_datareader_protocol_status_ex(
                reader,
                ZELDefaultMonitorStatistics_asStatusI<DDS_DataReaderProtocolStatus>(
                        &sample->datareader_protocol_status.status),
                publication, participantObject->resetStatusChangeCounts) != DDS_RETCODE_OK) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "DataReaderProtocolStatus");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishReaderStats(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DataReader *reader, DDS_Boolean dispose) {
    return ZELDefaultMonitorStatistics_sampleAndPublishI<ZELDefaultMonitorReaderStatsKindI>(
            __func__, participantObject, dispose, [&](auto *sample) {
                return ZELDefaultMonitorParticipantObject_sampleReaderStatsI(participantObject, reader, dispose,
                                                                             sample);
            });
}

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishReaderMatchedStats(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DataReader *reader,
        const DDS_InstanceHandle_t *publication, DDS_Boolean dispose) {
    return ZELDefaultMonitorStatistics_sampleAndPublishI<ZELDefaultMonitorReaderMatchedStatsKindI>(
            __func__, participantObject, dispose, [&](auto *sample) {
                return ZELDefaultMonitorParticipantObject_sampleReaderMatchedStatsI(participantObject, reader,
                                                                                    publication, dispose, sample);
            });
}

}  // extern "C"
