// Statistics of one monitored participant: what it has discovered of its
// domain and, when asked for, the process's CPU time and memory.
#include "entity_statistics.h"
#include "process_statistics.h"
#include "statistics_sampling.h"

namespace {

// The handles of `handles` that name an entity of the application: with
// `skipMonitorEntities`, those whose entity kind (the last octet) marks a
// vendor-specific entity, such as the monitoring writers, are left out.
DDS_Long ZELDefaultMonitorParticipantObject_countEndpointsI(DDS_InstanceHandleSeq *handles,
                                                            DDS_Boolean skipMonitorEntities) {
    const DDS_Long length = DDS_InstanceHandleSeq_get_length(handles);
    if (!skipMonitorEntities) {
        return length;
    }
    DDS_Long count = 0;
    for (DDS_Long i = 0; i < length; ++i) {
        if ((DDS_InstanceHandleSeq_get_reference(handles, i)->value[15] & 0x40u) == 0u) {
            ++count;
        }
    }
    return count;
}

}  // namespace

extern "C" {

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleParticipantStatsI(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DomainParticipant *participant, DDS_Boolean keyOnly,
        zel_dds_monitoring_DomainParticipantEntityStatistics *sample) {
    if (!ZELDefaultMonitorEntity_copyKeyI(__func__, participant, &sample->participant_key)) {
        return DDS_BOOLEAN_FALSE;
    }
    ZELDefaultMonitorParticipantObject_samplePeriodI(participantObject, &sample->period);
    if (keyOnly) {
        return DDS_BOOLEAN_TRUE;
    }
    ZELDefaultMonitorSample_fillOriginI(*sample, participantObject);
    if (participantObject->getProcessStatistics) {
        // A failure is logged where it happens; the sample goes out without
        // the figures that could not be read.
        ZELDefaultMonitorProcess_getProcessInfo(&sample->process, &participantObject->previousCpuReading);
    }

    // What could not be counted is logged; the sample goes out with the
    // counts obtained.
    DDS_InstanceHandleSeq handles = ZEL_SEQUENCE_INITIALIZER;
    bool counted = DDS_DomainParticipant_get_discovered_participants(participant, &handles) == DDS_RETCODE_OK;
    if (!counted) {
        ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "get discovered participants");
    } else {
        sample->remoteParticipantCount = DDS_InstanceHandleSeq_get_length(&handles);
        counted = DDS_DomainParticipant_get_publications(participant, &handles) == DDS_RETCODE_OK;
        if (!counted) {
            ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "get publications");
        }
    }
    if (counted) {
        sample->remoteWriterCount =
                ZELDefaultMonitorParticipantObject_countEndpointsI(&handles, participantObject->skipMonitorEntities);
        if (DDS_DomainParticipant_get_subscriptions(participant, &handles) != DDS_RETCODE_OK) {
            ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "get subscriptions");
        } else {
            sample->remoteReaderCount = ZELDefaultMonitorParticipantObject_countEndpointsI(
                    &handles, participantObject->skipMonitorEntities);
        }
    }
    DDS_InstanceHandleSeq_finalize(&handles);
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishParticipantStats(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DomainParticipant *participant,
        DDS_Boolean dispose) {
    return ZELDefaultMonitorStatistics_sampleAndPublishI<ZELDefaultMonitorParticipantStatsKindI>(
            __func__, participantObject, dispose, [&](auto *sample) {
                return ZELDefaultMonitorParticipantObject_sampleParticipantStatsI(participantObject, participant,
                                                                                  dispose, sample);
            });
}

}  // extern "C"
