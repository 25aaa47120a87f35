// Binary semaphores and recursive mutexes, both made of one slim lock and
// one condition variable, so that both kinds can be taken with a timeout
// measured on the monotonic clock.
#include <windows.h>

#include <cstdint>

#include "os/windows/os_windows.h"
#include "os/os_semaphore_state.h"
#include "vurncore/clock.h"
#include "vurncore/heap.h"
#include "vurncore/osapi.h"

struct ZELOsapiSemaphore {
    SRWLOCK lock;
    CONDITION_VARIABLE condition;
    ZELOsapiSemaphoreStateI state;  // guarded by lock
};

extern "C" {

struct ZELOsapiSemaphore *ZELOsapiSemaphore_new(enum ZELOsapiSemaphoreKind kind,
                                                const struct ZELOsapiSemaphoreProperty *property) {
    (void)property;  // no attributes are defined
    if (kind != ZEL_OSAPI_SEMAPHORE_KIND_BINARY && kind != ZEL_OSAPI_SEMAPHORE_KIND_MUTEX) {
        return nullptr;
    }
    auto *semaphore =
            static_cast<ZELOsapiSemaphore *>(ZELOsapiHeap_allocateStructure(sizeof(ZELOsapiSemaphore), "OSEM"));
    if (semaphore == nullptr) {
        return nullptr;
    }
    // Slim locks and condition variables need no resources of their own:
    // nothing here can fail.
    semaphore->state = ZELOsapiSemaphoreStateI{kind, false, 0, 0};
    InitializeSRWLock(&semaphore->lock);
    InitializeConditionVariable(&semaphore->condition);
    return semaphore;
}

void ZELOsapiSemaphore_delete(struct ZELOsapiSemaphore *semaphore) {
    if (semaphore != nullptr) {
        ZELOsapiHeap_freeStructure(semaphore);
    }
}

enum ZELOsapiSemaphoreStatus ZELOsapiSemaphore_take(struct ZELOsapiSemaphore *semaphore,
                                                    const struct ZELNtpTime *timeout) {
    if (semaphore == nullptr || (timeout != nullptr && timeout->sec < 0)) {
        return ZEL_OSAPI_SEMAPHORE_STATUS_ERROR;
    }
    const bool forever = timeout == nullptr || ZELNtpTime_isInfinite(timeout);
    const uint64_t deadline = forever ? 0 : ZELOsapiClock_monotonicDeadlineI(timeout);
    const uint64_t self = ZELOsapiThread_getCurrentId();
    AcquireSRWLockExclusive(&semaphore->lock);
    enum ZELOsapiSemaphoreStatus status = ZEL_OSAPI_SEMAPHORE_STATUS_OK;
    while (!ZELOsapiSemaphoreState_tryTakeI(&semaphore->state, self)) {
        if (ZELOsapiSemaphoreState_isFullI(&semaphore->state, self)) {
            status = ZEL_OSAPI_SEMAPHORE_STATUS_ERROR;  // the recursion counter is full
            break;
        }
        const DWORD wait = forever ? INFINITE : ZELOsapiClock_millisecondsUntilI(deadline);
        if (wait == 0 || !SleepConditionVariableSRW(&semaphore->condition, &semaphore->lock, wait, 0)) {
            if (wait != 0 && GetLastError() != ERROR_TIMEOUT) {
                status = ZEL_OSAPI_SEMAPHORE_STATUS_ERROR;
                break;
            }
            // The wait may end a little early by the system's clock: only
            // the monotonic deadline says that time is up. The semaphore
            // may also have been given just as the wait expired.
            if (ZELOsapiClock_millisecondsUntilI(deadline) == 0) {
                status = ZELOsapiSemaphoreState_tryTakeI(&semaphore->state, self) ? ZEL_OSAPI_SEMAPHORE_STATUS_OK
                                                                                  : ZEL_OSAPI_SEMAPHORE_STATUS_TIMEOUT;
                break;
            }
        }
    }
    ReleaseSRWLockExclusive(&semaphore->lock);
    return status;
}

enum ZELOsapiSemaphoreStatus ZELOsapiSemaphore_give(struct ZELOsapiSemaphore *semaphore) {
    if (semaphore == nullptr) {
        return ZEL_OSAPI_SEMAPHORE_STATUS_ERROR;
    }
    AcquireSRWLockExclusive(&semaphore->lock);
    bool wake = false;
    const enum ZELOsapiSemaphoreStatus status =
            ZELOsapiSemaphoreState_giveI(&semaphore->state, ZELOsapiThread_getCurrentId(), &wake);
    ReleaseSRWLockExclusive(&semaphore->lock);
    if (wake) {
        WakeConditionVariable(&semaphore->condition);
    }
    return status;
}

}  // extern "C"
