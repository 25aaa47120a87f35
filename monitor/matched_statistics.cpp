// Statistics of what a data writer knows of each matched subscription:
// by the subscription's handle, and by each locator it sends to.
#include <cstring>

#include "entity_statistics.h"
#include "statistics_sampling.h"

extern "C" {

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleWriterMatchedStatsI(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer,
        const DDS_InstanceHandle_t *subscription, DDS_Boolean keyOnly,
        zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatistics *sample) {
    if (!ZELDefaultMonitorEntity_copyKeyI(__func__, writer, &sample->datawriter_key)) {
        return DDS_BOOLEAN_FALSE;
    }
    static_assert(sizeof(sample->subscription_handle) == sizeof(*subscription));
    std::memcpy(&sample->subscription_handle, subscription, sizeof(sample->subscription_handle));
    ZELDefaultMonitorParticipantObject_samplePeriodI(participantObject, &sample->period);
    if (keyOnly) {
        return DDS_BOOLEAN_TRUE;
    }
    if (DDS_DataWriter_get_matched_subscription_datawriter_protocol_status_ex(
                writer,
                ZELDefaultMonitorStatistics_asStatusI<DDS_DataWriterProtocolStatus>(
                        &sample->datawriter_protocol_status.status),
                subscription, participantObject->resetStatusChangeCounts) != DDS_RETCODE_OK) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "DataWriterProtocolStatus");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleWriterMatchedWithLocatorStatsI(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer, const DDS_Locator_t *locator,
        DDS_Boolean keyOnly, zel_dds_monitoring_DataWriterEntityMatchedSubscriptionWithLocatorStatistics *sample) {
    if (!ZELDefaultMonitorEntity_copyKeyI(__func__, writer, &sample->datawriter_key)) {
        return DDS_BOOLEAN_FALSE;
    }
    sample->subscription_locator.kind = locator->kind;
    sample->subscription_locator._port = locator->_port;
    std::memcpy(sample->subscription_locator.address, locator->address, sizeof(locator->address));
    ZELDefaultMonitorParticipantObject_samplePeriodI(participantObject, &sample->period);
    if (keyOnly) {
        return DDS_BOOLEAN_TRUE;
    }
    // Never reset: the change counts of a locator are shared by every
    // subscription that it serves, so they are left to the application.
    if (DDS_DataWriter_get_matched_subscription_datawriter_protocol_status_by_locator_ex(
                writer,
                ZELDefaultMonitorStatistics_asStatusI<DDS_DataWriterProtocolStatus>(
                        &sample->datawriter_protocol_status.status),
                locator, DDS_BOOLEAN_FALSE) != DDS_RETCODE_OK) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "DataWriterProtocolStatus");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishWriterMatchedStats(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer,
        const DDS_InstanceHandle_t *subscription, DDS_Boolean dispose) {
    return ZELDefaultMonitorStatistics_sampleAndPublishI<ZELDefaultMonitorWriterMatchedStatsKindI>(
            __func__, participantObject, dispose, [&](auto *sample) {
                return ZELDefaultMonitorParticipantObject_sampleWriterMatchedStatsI(participantObject, writer,
                                                                                    subscription, dispose, sample);
            });
}

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishWriterMatchedWithLocatorStats(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer, const DDS_Locator_t *locator,
        DDS_Boolean dispose) {
    return ZELDefaultMonitorStatistics_sampleAndPublishI<ZELDefaultMonitorWriterMatchedWithLocatorStatsKindI>(
            __func__, participantObject, dispose, [&](auto *sample) {
                return ZELDefaultMonitorParticipantObject_sampleWriterMatchedWithLocatorStatsI(
                        participantObject, writer, locator, dispose, sample);
            });
}

}  // extern "C"
