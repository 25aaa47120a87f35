// The smart timer: sleeps until a due time on its clock, or until woken.
#include <cstdint>

#include "vurncore/clock.h"
#include "vurncore/event.h"
#include "vurncore/heap.h"
#include "vurncore/osapi.h"

struct ZELEventSmartTimer {
    struct ZELHighResolutionClock *clock;  // the caller's
    struct ZELOsapiSemaphore *wakeup;      // binary: a wake-up not yet consumed
};

namespace {

// While the clock cannot be read, the timer waits this long before it lets
// its caller look again.
constexpr struct ZELNtpTime kClockRetryWait = {1, 0};

// later - earlier, for later > earlier.
struct ZELNtpTime ZELEventSmartTimer_differenceI(const struct ZELNtpTime &later, const struct ZELNtpTime &earlier) {
    struct ZELNtpTime difference {};
    difference.sec = later.sec - earlier.sec;
    difference.frac = later.frac - earlier.frac;
    if (later.frac < earlier.frac) {
        difference.sec -= 1;
    }
    return difference;
}

}  // namespace

extern "C" {

struct ZELEventSmartTimer *ZELEventSmartTimer_new(struct ZELHighResolutionClock *clock) {
    if (clock == nullptr || clock->getTime == nullptr) {
        return nullptr;
    }
    auto *timer = static_cast<ZELEventSmartTimer *>(ZELOsapiHeap_allocateStructure(sizeof(ZELEventSmartTimer), "ESTM"));
    if (timer == nullptr) {
        return nullptr;
    }
    timer->wakeup = ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_BINARY, nullptr);
    if (timer->wakeup == nullptr) {
        ZELOsapiHeap_freeStructure(timer);
        return nullptr;
    }
    timer->clock = clock;
    return timer;
}

void ZELEventSmartTimer_delete(struct ZELEventSmartTimer *timer) {
    if (timer == nullptr) {
        return;
    }
    ZELOsapiSemaphore_delete(timer->wakeup);
    ZELOsapiHeap_freeStructure(timer);
}

ZELBoolean ZELEventSmartTimer_sleepUntil(struct ZELEventSmartTimer *timer, const struct ZELNtpTime *due) {
    if (timer == nullptr || due == nullptr) {
        return ZEL_FALSE;
    }
    if (ZELNtpTime_isInfinite(due)) {
        ZELOsapiSemaphore_take(timer->wakeup, nullptr);
        return ZEL_FALSE;
    }
    // The clock may not run at the pace of the system's waits (a test may
    // drive it by hand): after each wait the clock decides whether the due
    // time has come.
    for (;;) {
        struct ZELNtpTime now {};
        if (!timer->clock->getTime(timer->clock, &now)) {
            ZELOsapiSemaphore_take(timer->wakeup, &kClockRetryWait);
            return ZEL_FALSE;
        }
        if (ZELNtpTime_compare(&now, due) >= 0) {
            return ZEL_TRUE;
        }
        const struct ZELNtpTime wait = ZELEventSmartTimer_differenceI(*due, now);
        if (ZELOsapiSemaphore_take(timer->wakeup, &wait) != ZEL_OSAPI_SEMAPHORE_STATUS_TIMEOUT) {
            return ZEL_FALSE;  // woken, or the wait failed: the caller looks again either way
        }
    }
}

void ZELEventSmartTimer_wakeup(struct ZELEventSmartTimer *timer) {
    if (timer != nullptr) {
        ZELOsapiSemaphore_give(timer->wakeup);
    }
}

}  // extern "C"
