// The publishing thread: an active event generator with its own clock and
// timer that runs the statistics event of a monitoring entity set once per
// period.
#pragma once

#include "vurnc/dds_domain.h"
#include "vurncore/event.h"
#include "vurncore/osapi.h"
#include "zelmonitoring/monitor.h"

ZEL_EXTERN_C_BEGIN

struct ZELDefaultMonitorPublisherThread {
    struct ZELEventActiveGenerator *generator;   // the thread and its event queue
    struct ZELHighResolutionClock *clock;        // time source of due times
    struct ZELEventSmartTimer *timer;            // made on the clock
    struct ZELOsapiSemaphore *stoppedSemaphore;  // binary; given as the generator's thread ends
    void (*onStopped)(void *param);              // ZELDefaultMonitorPublisherThread_onStoppedI
    void *onStoppedParam;                        // stoppedSemaphore
    void *reserved[2];
};

// Starts a generator thread with the given settings, named after the
// participant's domain and participant id. NULL (logged) on failure, with
// whatever was made already finalized.
struct ZELDefaultMonitorPublisherThread *ZELDefaultMonitorPublisherThread_create(
        DDS_DomainParticipantFactory *factory, DDS_DomainParticipant *participant,
        const struct ZELOsapiThreadSettings *settings);

// Stops the thread, waiting at most 10 seconds for it to end, and frees the
// object. False (logged) when the thread could not be stopped: the object
// is then left alive.
DDS_Boolean ZELDefaultMonitorPublisherThread_finalize(struct ZELDefaultMonitorPublisherThread *self);

// Schedules one run of callback(param) `delay` from now on the thread's
// clock. False (logged) when the clock cannot be read or the event cannot
// be queued.
DDS_Boolean ZELDefaultMonitorPublisherThread_postEvent(struct ZELDefaultMonitorPublisherThread *self,
                                                       const struct ZELNtpTime *delay, ZELEventCallback callback,
                                                       void *param);

// Gives the semaphore that `param` is; a failed give is logged.
void ZELDefaultMonitorPublisherThread_onStoppedI(void *param);

// A duration as a delay: the nanoseconds become a 32-bit binary fraction,
// (ns * 2305843009) >> 29. Infinite seconds stay infinite.
void ZELDefaultMonitorPublisherThread_durationToTimeI(struct ZELNtpTime *time, const struct DDS_Duration_t *duration);

// due = now + delay, seconds and fractions added separately with a carry;
// infinite when either is infinite or the sum would reach infinite seconds.
void ZELDefaultMonitorPublisherThread_addTimeI(struct ZELNtpTime *due, const struct ZELNtpTime *now,
                                               const struct ZELNtpTime *delay);

// Post the first statistics event of the shared entity set (parameter the
// publisher, so that one run serves every attached participant) or of a
// participant's own set (parameter the participant object), one period
// from now. False (logged "start thread") on failure.
DDS_Boolean ZELDefaultMonitorParticipantObject_startCommonThread(struct ZELDefaultMonitorPublisher *publisher);
DDS_Boolean ZELDefaultMonitorParticipantObject_startParticipantThread(
        struct ZELDefaultMonitorParticipantObject *participantObject);

// The statistics events, run on the publishing thread once per period.
ZELBoolean ZELDefaultMonitorParticipantObject_onCommonStatsEventI(void *param, struct ZELNtpTime *newTime,
                                                                  const struct ZELNtpTime *now,
                                                                  const struct ZELNtpTime *time,
                                                                  struct ZELEventData *data, struct REDAWorker *worker);
ZELBoolean ZELDefaultMonitorParticipantObject_onPerParticipantStatsEventI(void *param, struct ZELNtpTime *newTime,
                                                                          const struct ZELNtpTime *now,
                                                                          const struct ZELNtpTime *time,
                                                                          struct ZELEventData *data,
                                                                          struct REDAWorker *worker);

ZEL_EXTERN_C_END
