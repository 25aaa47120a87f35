// The statistics walk over one monitored participant's entities, kind by
// kind. Each walk goes on past a failed entity, logs it, and returns false
// when anything failed; the participant is locked by the caller.
#pragma once

#include "vurnc/dds_c.h"
#include "zelmonitoring/monitor.h"

ZEL_EXTERN_C_BEGIN

// One full walk: topics, readers, writers, then the participant itself,
// under the participant's lock.
DDS_Boolean ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject);

// Every topic that the user-topic filter keeps.
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishAllTopicsStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject);

// Every data reader of every subscriber, each subscriber locked while its
// readers are visited, with the matched publications of enabled readers.
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishAllReadersStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishAllReaderMatchedStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DataReader *reader, DDS_Boolean keyOnly);

// Every data writer of every publisher, each publisher locked while its
// writers are visited, with the matched subscriptions and their locators of
// enabled writers.
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishAllWritersStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishAllWriterMatchedStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer, DDS_Boolean keyOnly);
DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishAllWriterMatchedWithLocatorStatsI(
        struct ZELDefaultMonitorParticipantObject *participantObject, DDS_DataWriter *writer, DDS_Boolean keyOnly);

ZEL_EXTERN_C_END
