// Statistics of one data writer: its parents and its communication
// statuses.
#include "entity_statistics.h"
#include "statistics_sampling.h"

extern "C" {

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleWriterStatsI(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer, DDS_Boolean keyOnly,
        zel_dds_monitoring_DataWriterEntityStatistics *sample) {
    if (!ZELDefaultMonitorEntity_copyKeyI(__func__, writer, &sample->datawriter_key)) {
        return DDS_BOOLEAN_FALSE;
    }
    ZELDefaultMonitorParticipantObject_samplePeriodI(participantObject, &sample->period);
    if (keyOnly) {
        return DDS_BOOLEAN_TRUE;
    }
    DDS_Publisher *publisher = DDS_DataWriter_get_publisher(writer);
    if (!ZELDefaultMonitorEntity_copyParentKeyI(__func__, "publisher", publisher, &sample->publisher_key)) {
        return DDS_BOOLEAN_FALSE;
    }
    DDS_Topic *topic = DDS_DataWriter_get_topic(writer);
    if (!ZELDefaultMonitorEntity_copyParentKeyI(__func__, "topic", topic, &sample->topic_key) ||
        !ZELDefaultMonitorEntity_copyParentKeyI(__func__, "participant", DDS_Publisher_get_participant(publisher),
                                                &sample->participant_key)) {
        return DDS_BOOLEAN_FALSE;
    }
    ZELDefaultMonitorStatistics_copyNameI(sample->topic_name, 256,
                                          DDS_TopicDescription_get_name(DDS_Topic_as_topicdescription(topic)));
    ZELDefaultMonitorSample_fillOriginI(*sample, participantObject);

    // In this order, stopping at the first failure; a writer not enabled yet
    // has no cache or protocol figures to give.
    const DDS_Boolean reset = participantObject->resetStatusChangeCounts;
    const bool ok =
            ZELDefaultMonitorStatistics_readStatusI(__func__, "LivelinessLostStatus",
                                                    &DDS_DataWriter_get_liveliness_lost_status_ex, writer,
                                                    &sample->liveliness_lost_status.status, reset) &&
            ZELDefaultMonitorStatistics_readStatusI(__func__, "OfferedDeadlineMissedStatus",
                                                    &DDS_DataWriter_get_offered_deadline_missed_status_ex, writer,
                                                    &sample->offered_deadline_missed_status.status, reset) &&
            ZELDefaultMonitorStatistics_readStatusI(__func__, "OfferedIncompatibleQosStatus",
                                                    &DDS_DataWriter_get_offered_incompatible_qos_status_ex, writer,
                                                    &sample->offered_incompatible_qos_status.status, reset) &&
            ZELDefaultMonitorStatistics_readStatusI(__func__, "PublicationMatchedStatus",
                                                    &DDS_DataWriter_get_publication_matched_status_ex, writer,
                                                    &sample->publication_matched_status.status, reset) &&
            ZELDefaultMonitorStatistics_readStatusI(__func__, "ReliableWriterCacheChangedStatus",
                                                    &DDS_DataWriter_get_reliable_writer_cache_changed_status_ex, writer,
                                                    &sample->reliable_writer_cache_changed_status.status, reset) &&
            ZELDefaultMonitorStatistics_readStatusI(__func__, "ReliableReaderActivityChangedStatus",
                                                    &DDS_DataWriter_get_reliable_reader_activity_changed_status_ex,
                                                    writer, &sample->reliable_reader_activity_changed_status.status,
                                                    reset) &&
            ZELDefaultMonitorStatistics_readStatusI(__func__, "DataWriterCacheStatus",
                                                    &DDS_DataWriter_get_datawriter_cache_status_ex, writer,
                                                    &sample->datawriter_cache_status.status, reset, true) &&
            ZELDefaultMonitorStatistics_readStatusI(__func__, "DataWriterProtocolStatus",
                                                    &DDS_DataWriter_get_datawriter_protocol_status_ex, writer,
                                                    &sample->datawriter_protocol_status.status, reset, true);
    return ok ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishWriterStats(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer, DDS_Boolean dispose) {
    return ZELDefaultMonitorStatistics_sampleAndPublishI<ZELDefaultMonitorWriterStatsKindI>(
            __func__, participantObject, dispose, [&](auto *sample) {
                return ZELDefaultMonitorParticipantObject_sampleWriterStatsI(participantObject, writer, dispose,
                                                                             sample);
            });
}

}  // extern "C"
