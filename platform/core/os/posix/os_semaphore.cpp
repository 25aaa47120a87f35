// Binary semaphores and recursive mutexes, both made of one pthread mutex
// and one condition variable on the monotonic clock, so that both kinds can
// be taken with a timeout.
#include <pthread.h>

#include <cerrno>
#include <cstdint>

#include "os/posix/os_posix.h"
#include "vurncore/clock.h"
#include "vurncore/heap.h"
#include "vurncore/osapi.h"

struct ZELOsapiSemaphore {
    enum ZELOsapiSemaphoreKind kind;
    pthread_mutex_t mutex;
    pthread_cond_t condition;
    bool given;        // binary kind; guarded by mutex
    uint64_t owner;    // mutex kind: taking thread's id; guarded by mutex
    uint32_t depth;    // mutex kind: takes not yet given back; guarded by mutex
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
    semaphore->kind = kind;
    pthread_condattr_t attributes;
    if (pthread_condattr_init(&attributes) != 0) {
        ZELOsapiHeap_freeStructure(semaphore);
        return nullptr;
    }
    const bool conditionMade = pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC) == 0 &&
                               pthread_cond_init(&semaphore->condition, &attributes) == 0;
    pthread_condattr_destroy(&attributes);
    if (!conditionMade) {
        ZELOsapiHeap_freeStructure(semaphore);
        return nullptr;
    }
    if (pthread_mutex_init(&semaphore->mutex, nullptr) != 0) {
        pthread_cond_destroy(&semaphore->condition);
        ZELOsapiHeap_freeStructure(semaphore);
        return nullptr;
    }
    return semaphore;
}

void ZELOsapiSemaphore_delete(struct ZELOsapiSemaphore *semaphore) {
    if (semaphore == nullptr) {
        return;
    }
    pthread_mutex_destroy(&semaphore->mutex);
    pthread_cond_destroy(&semaphore->condition);
    ZELOsapiHeap_freeStructure(semaphore);
}

enum ZELOsapiSemaphoreStatus ZELOsapiSemaphore_take(struct ZELOsapiSemaphore *semaphore,
                                                    const struct ZELNtpTime *timeout) {
    if (semaphore == nullptr || (timeout != nullptr && timeout->sec < 0)) {
        return ZEL_OSAPI_SEMAPHORE_STATUS_ERROR;
    }
    const bool forever = timeout == nullptr || ZELNtpTime_isInfinite(timeout);
    struct timespec deadline {};
    if (!forever) {
        deadline = ZELOsapiClock_monotonicDeadlineI(timeout);
    }
    const uint64_t self = ZELOsapiThread_getCurrentId();
    if (pthread_mutex_lock(&semaphore->mutex) != 0) {
        return ZEL_OSAPI_SEMAPHORE_STATUS_ERROR;
    }
    enum ZELOsapiSemaphoreStatus status = ZEL_OSAPI_SEMAPHORE_STATUS_OK;
    while (!ZELOsapiSemaphore_tryTakeLockedI(semaphore, self)) {
        if (semaphore->kind == ZEL_OSAPI_SEMAPHORE_KIND_MUTEX && semaphore->owner == self) {
            status = ZEL_OSAPI_SEMAPHORE_STATUS_ERROR;  // the recursion counter is full
            break;
        }
        const int result = forever ? pthread_cond_wait(&semaphore->condition, &semaphore->mutex)
                                   : pthread_cond_timedwait(&semaphore->condition, &semaphore->mutex, &deadline);
        if (result == ETIMEDOUT) {
            // The semaphore may have been given just as the wait expired.
            status = ZELOsapiSemaphore_tryTakeLockedI(semaphore, self) ? ZEL_OSAPI_SEMAPHORE_STATUS_OK
                                                                       : ZEL_OSAPI_SEMAPHORE_STATUS_TIMEOUT;
            break;
        }
        if (result != 0) {
            status = ZEL_OSAPI_SEMAPHORE_STATUS_ERROR;
            break;
        }
    }
    pthread_mutex_unlock(&semaphore->mutex);
    return status;
}

enum ZELOsapiSemaphoreStatus ZELOsapiSemaphore_give(struct ZELOsapiSemaphore *semaphore) {
    if (semaphore == nullptr) {
        return ZEL_OSAPI_SEMAPHORE_STATUS_ERROR;
    }
    if (pthread_mutex_lock(&semaphore->mutex) != 0) {
        return ZEL_OSAPI_SEMAPHORE_STATUS_ERROR;
    }
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
    if (wake) {
        pthread_cond_signal(&semaphore->condition);
    }
    pthread_mutex_unlock(&semaphore->mutex);
    return status;
}

}  // extern "C"
