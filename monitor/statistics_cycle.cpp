// The statistics cycle: the events that the publishing thread runs once per
// period, and one walk over a monitored participant's entities.
#include "entity_set.h"
#include "entity_statistics.h"
#include "log/monitor_log_macros.h"
#include "publisher_thread.h"
#include "statistics_walk.h"
#include "vurncore/worker.h"

namespace {

// The next run one period after this one; an infinite time or period
// never comes back.
void ZELDefaultMonitorParticipantObject_rescheduleI(const ZELDefaultMonitorEntitySet *set, ZELNtpTime *newTime,
                                                    const ZELNtpTime *now) {
    ZELNtpTime delay{};
    ZELDefaultMonitorPublisherThread_durationToTimeI(&delay, &set->period);
    ZELDefaultMonitorPublisherThread_addTimeI(newTime, now, &delay);
}

}  // namespace

extern "C" {

DDS_Boolean ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI(
        ZELDefaultMonitorParticipantObject *participantObject) {
    const auto has = [participantObject](int slot) {
        return ZELDefaultMonitorEntitySet_writerI(participantObject->entities, slot) != nullptr;
    };
    DDS_Entity *participant = DDS_DomainParticipant_as_entity(participantObject->participant);
    // Entities cannot be created or deleted under the walk.
    if (DDS_Entity_lock(participant) != DDS_RETCODE_OK) {
        ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "lock participant");
        return DDS_BOOLEAN_FALSE;
    }
    bool ok = true;
    if (has(ZEL_MONITOR_TOPIC_TOPIC_STATISTICS) &&
        !ZELDefaultMonitorParticipantObject_sampleAndPublishAllTopicsStatsI(participantObject)) {
        ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "sample and publish all topics stats");
        ok = false;
    }
    if ((has(ZEL_MONITOR_TOPIC_DATAREADER_STATISTICS) ||
         has(ZEL_MONITOR_TOPIC_DATAREADER_MATCHED_PUBLICATION_STATISTICS)) &&
        !ZELDefaultMonitorParticipantObject_sampleAndPublishAllReadersStatsI(participantObject)) {
        ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "sample and publish all readers stats");
        ok = false;
    }
    if ((has(ZEL_MONITOR_TOPIC_DATAWRITER_STATISTICS) ||
         has(ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_STATISTICS) ||
         has(ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_WITH_LOCATOR_STATISTICS)) &&
        !ZELDefaultMonitorParticipantObject_sampleAndPublishAllWritersStatsI(participantObject)) {
        ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "sample and publish all writers stats");
        ok = false;
    }
    // Last, so that a period's participant sample follows its entities'.
    if (has(ZEL_MONITOR_TOPIC_PARTICIPANT_STATISTICS) &&
        !ZELDefaultMonitorParticipantObject_sampleAndPublishParticipantStats(
                participantObject, participantObject->participant, DDS_BOOLEAN_FALSE)) {
        ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "publish participant stats");
        ok = false;
    }
    if (DDS_Entity_unlock(participant) != DDS_RETCODE_OK) {
        ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "unlock participant");
    }
    return ok ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

// One run serves every participant object of the publisher; the list
// cannot change under it.
ZELBoolean ZELDefaultMonitorParticipantObject_onCommonStatsEventI(void *param, ZELNtpTime *newTime,
                                                                  const ZELNtpTime *now, const ZELNtpTime *,
                                                                  ZELEventData *, REDAWorker *worker) {
    auto *publisher = static_cast<ZELDefaultMonitorPublisher *>(param);
    bool areaFailed = !REDAWorker_enterExclusiveArea(worker, nullptr, publisher->listEA);
    if (!areaFailed) {
        for (ZELDefaultMonitorParticipantObject *object = publisher->participantList.first; object != nullptr;
             object = object->node.next) {
            if (!ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI(object)) {
                ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "statistics");
            }
        }
        areaFailed = !REDAWorker_leaveExclusiveArea(worker, nullptr, publisher->listEA);
    }
    if (areaFailed) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "ea");
    }
    ZELDefaultMonitorParticipantObject_rescheduleI(publisher->sharedEntities, newTime, now);
    return ZEL_TRUE;
}

ZELBoolean ZELDefaultMonitorParticipantObject_onPerParticipantStatsEventI(void *param, ZELNtpTime *newTime,
                                                                          const ZELNtpTime *now, const ZELNtpTime *,
                                                                          ZELEventData *, REDAWorker *) {
    auto *participantObject = static_cast<ZELDefaultMonitorParticipantObject *>(param);
    ZELMonitorLog_info(ZEL_MONITOR_LOG_STAT_EVENT);
    if (!ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI(participantObject)) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "statistics");
    }
    ZELDefaultMonitorParticipantObject_rescheduleI(participantObject->entities, newTime, now);
    return ZEL_TRUE;
}

}  // extern "C"
