/* The smart timer and the active event generator: a thread of its own that
 * runs posted events when they fall due. */
#ifndef VURNCORE_EVENT_H
#define VURNCORE_EVENT_H

#include "vurncore/dll.h"
#include "vurncore/types.h"
#include "vurncore/clock.h"
#include "vurncore/worker.h"

ZEL_EXTERN_C_BEGIN

/* ---- smart timer: sleeps on a clock until a due time or a wake-up ---- */

struct ZELEventSmartTimer;
VURNCORE_API struct ZELEventSmartTimer *ZELEventSmartTimer_new(struct ZELHighResolutionClock *clock);
VURNCORE_API void ZELEventSmartTimer_delete(struct ZELEventSmartTimer *timer);
/* Sleeps until `due` (absolute, on the timer's clock; infinite sleeps until
 * woken). Returns ZEL_TRUE when the due time was reached, ZEL_FALSE when
 * woken early (a wake-up given while not sleeping ends the next sleep). */
VURNCORE_API ZELBoolean ZELEventSmartTimer_sleepUntil(struct ZELEventSmartTimer *timer, const struct ZELNtpTime *due);
VURNCORE_API void ZELEventSmartTimer_wakeup(struct ZELEventSmartTimer *timer);

/* ---- events ---- */

/* Two words that the poster hands to its callback unchanged. */
struct ZELEventData {
    void *field[2];
};

/* Runs on the generator's thread when the event falls due. `time` is the
 * due time it was posted with, `now` the clock's reading. Return ZEL_TRUE to
 * have the event run again at *newTime (preset to `time`), ZEL_FALSE to drop
 * it. `data` may be changed and is handed to the next run. */
typedef ZELBoolean (*ZELEventCallback)(void *param, struct ZELNtpTime *newTime, const struct ZELNtpTime *now,
                                       const struct ZELNtpTime *time, struct ZELEventData *data,
                                       struct REDAWorker *worker);

/* Called once from the generator's thread as it ends. */
struct ZELEventGeneratorListener {
    void (*onStopped)(void *param);
    void *param;
};

/* Thread properties of a generator. domainId and participantId only name
 * the thread (they do not change its behaviour). */
struct ZELEventThreadProperties {
    int32_t priority;
    int32_t stackSize;
    uint32_t options;
    int32_t domainId;
    int32_t participantId;
};

struct ZELEventActiveGenerator;

/* Starts the generator's thread and returns once it runs with its worker.
 * clock and timer stay the caller's and must outlive the generator; the
 * timer serves this one generator (its wake-ups are the generator's).
 * NULL on failure. */
VURNCORE_API struct ZELEventActiveGenerator *ZELEventActiveGenerator_new(
        struct REDAWorkerFactory *workerFactory, struct ZELHighResolutionClock *clock, struct ZELEventSmartTimer *timer,
        const struct ZELEventGeneratorListener *listener, const struct ZELEventThreadProperties *properties);

/* Queues one run of callback(param) at `due` (absolute, on the generator's
 * clock). Events with the same due time run in the order posted. Fails
 * after shutdown or when out of heap. Any thread may post. */
VURNCORE_API ZELBoolean ZELEventActiveGenerator_postEvent(struct ZELEventActiveGenerator *generator,
                                                          const struct ZELNtpTime *due, ZELEventCallback callback,
                                                          void *param, const struct ZELEventData *data);

/* Asks the thread to stop: events still pending are dropped, a running one
 * completes, then the listener's onStopped is called from the thread and
 * the thread ends. Returns at once. */
VURNCORE_API ZELBoolean ZELEventActiveGenerator_shutdown(struct ZELEventActiveGenerator *generator);

/* Waits for the thread to end (shutting it down if needed) and frees the
 * generator. Called from the generator's own thread (a callback or
 * onStopped) it cannot wait: it logs the failure and frees nothing. */
VURNCORE_API void ZELEventActiveGenerator_delete(struct ZELEventActiveGenerator *generator);

VURNCORE_API int ZELEventActiveGenerator_getPendingEventCount(struct ZELEventActiveGenerator *generator);

ZEL_EXTERN_C_END

#endif
