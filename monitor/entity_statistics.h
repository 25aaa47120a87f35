// Statistics of one entity: fill one statistics sample and write it on the
// entity kind's statistics writer, or dispose its instance. The gathering
// cycle publishes every period; entity deletion and participant detach
// dispose, for which the key alone is filled and no status is read.
#pragma once

#include "vurnc/dds_c.h"
#include "zelmonitoring/monitor.h"

ZEL_EXTERN_C_BEGIN

// Each returns true on success; failures are logged under the operation's
// name. `dispose` false fills the whole sample and writes it; true fills
// the key only and disposes the instance.
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishParticipantStats(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DomainParticipant *participant,
        DDS_Boolean dispose);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishTopicStats(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_Topic *topic, DDS_Boolean dispose);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishWriterStats(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer, DDS_Boolean dispose);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishReaderStats(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DataReader *reader, DDS_Boolean dispose);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishWriterMatchedStats(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer,
        const DDS_InstanceHandle_t *subscription, DDS_Boolean dispose);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishWriterMatchedWithLocatorStats(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer,
        const DDS_Locator_t *locator, DDS_Boolean dispose);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishReaderMatchedStats(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DataReader *reader,
        const DDS_InstanceHandle_t *publication, DDS_Boolean dispose);

ZEL_EXTERN_C_END
