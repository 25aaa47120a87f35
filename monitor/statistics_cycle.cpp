// The statistics events that the publishing thread runs once per period.
#include "entity_set.h"
#include "publisher_thread.h"

namespace {

// Statistics are not gathered yet: until the statistics walk over the
// participant objects comes, each event only runs again one period later.
ZELBoolean ZELDefaultMonitorParticipantObject_rescheduleI(const ZELDefaultMonitorEntitySet *set, ZELNtpTime *newTime,
                                                         const ZELNtpTime *now) {
    ZELNtpTime delay{};
    ZELDefaultMonitorPublisherThread_durationToTimeI(&delay, &set->period);
    ZELDefaultMonitorPublisherThread_addTimeI(newTime, now, &delay);
    return ZEL_TRUE;
}

}  // namespace

extern "C" {

ZELBoolean ZELDefaultMonitorParticipantObject_onCommonStatsEventI(void *param, ZELNtpTime *newTime,
                                                                  const ZELNtpTime *now, const ZELNtpTime *,
                                                                  ZELEventData *, REDAWorker *) {
    const auto *publisher = static_cast<const ZELDefaultMonitorPublisher *>(param);
    return ZELDefaultMonitorParticipantObject_rescheduleI(publisher->sharedEntities, newTime, now);
}

ZELBoolean ZELDefaultMonitorParticipantObject_onPerParticipantStatsEventI(void *param, ZELNtpTime *newTime,
                                                                          const ZELNtpTime *now, const ZELNtpTime *,
                                                                          ZELEventData *, REDAWorker *) {
    const auto *participantObject = static_cast<const ZELDefaultMonitorParticipantObject *>(param);
    return ZELDefaultMonitorParticipantObject_rescheduleI(participantObject->entities, newTime, now);
}

}  // extern "C"
