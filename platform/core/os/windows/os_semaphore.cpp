// Binary semaphores and recursive mutexes, both made of one slim lock and
// one condition variable, so that both kinds can be taken with a timeout
// measured on the monotonic clock.
#include <windows.h>

#include <cstdint>

#include "os/windows/os_windows.h"
#include "vurncore/clock.h"
#include "vurncore/heap.h"
#include "vurncore/osapi.h"

struct ZELOsapiSemaphore {
    enum ZELOsapiSemaphoreKind kind;
    SRWLOCK lock;
    CONDITION_VARIABLE condition;
    bool given;        // binary kind; guarded by lock
    uint64_t owner;    // mutex kind: taking thread's id; guarded by lock
    uint32_t depth;    // mutex kind: takes not yet given back; guarded by lock
};

namespace {

// True when the calling thread may take `semaphore` now; takes it then.
bool ZELOsapiSemaphore_tryTakeLockedI(struct ZELOsapiSemaphore *semaphore, uint64_t self) {
    if (semaphore->kind == ZEL_OSAPI_SEMAPHORE_KIND_BINARY) {
        if (!semaphore->given) {
            return false;
        }
        semaphore->given = false;
        return true;
    }
    if (semaphore->depth != 0 && semaphore->owner != self) {
        return false;
    }
    // A recursive take beyond what the counter holds is refused rather
    // than wrapped to zero.
    if (semaphore->depth == UINT32_MAX) {
        return false;
    }
    semaphore->owner = self;
    semaphore->depth += 1;
    return true;
}

}  // namespace

extern "C" {

struct ZELOsapiSemaphore *ZELOsapiSemaphore_new(enum ZELOsapiSemaphoreKind kind,
                                                const struct ZELOsapiSemaphoreProperty *property) {
    (void)property;  // no attributes are defined
    if (kind != ZEL_OSAPI_SEMAPHORE_KIND_BINARY && kind != ZEL_OSAPI_SEMAPHORE_KIND_MUTEX) {
        return nullptr;
    }
    auto *semaphore = static_cast<ZELOsapiSemaphore *>(
            ZELOsapiHeap_allocateStructure(sizeof(ZELOsapiSemaphore), "OSEM"));
    if (semaphore == nullptr) {
        return nullptr;
    }
    // Slim locks and condition variables need no resources of their own:
    // nothing here can fail.
    semaphore->kind = kind;
    InitializeSRWLock(&semaphore->lock);
    InitializeConditionVariable(&semaphore->condition);
    semaphore->given = false;
    semaphore->owner = 0;
    semaphore->depth = 0;
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
    while (!ZELOsapiSemaphore_tryTakeLockedI(semaphore, self)) {
        if (semaphore->kind == ZEL_OSAPI_SEMAPHORE_KIND_MUTEX && semaphore->owner == self) {
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
                status = ZELOsapiSemaphore_tryTakeLockedI(semaphore, self) ? ZEL_OSAPI_SEMAPHORE_STATUS_OK
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
    enum ZELOsapiSemaphoreStatus status = ZEL_OSAPI_SEMAPHORE_STATUS_OK;
    bool wake = false;
    if (semaphore->kind == ZEL_OSAPI_SEMAPHORE_KIND_BINARY) {
        semaphore->given = true;
        wake = true;
    } else if (semaphore->depth == 0 || semaphore->owner != ZELOsapiThread_getCurrentId()) {
        // Only the owner gives a mutex back.
        status = ZEL_OSAPI_SEMAPHORE_STATUS_ERROR;
    } else {
        semaphore->depth -= 1;
        wake = semaphore->depth == 0;
    }
    ReleaseSRWLockExclusive(&semaphore->lock);
    if (wake) {
        WakeConditionVariable(&semaphore->condition);
    }
    return status;
}

}  // extern "C"
