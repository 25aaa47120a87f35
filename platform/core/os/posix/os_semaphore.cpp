// Binary semaphores and recursive mutexes, both made of one pthread mutex
// and one condition variable on the monotonic clock, so that both kinds can
// be taken with a timeout.
#include <pthread.h>

#include <cerrno>
#include <cstdint>

#include "os/posix/os_posix.h"
#include "os/os_semaphore_state.h"
#include "vurncore/clock.h"
#include "vurncore/heap.h"
#include "vurncore/osapi.h"

struct ZELOsapiSemaphore {
    pthread_mutex_t mutex;
    pthread_cond_t condition;
    ZELOsapiSemaphoreStateI state;  // guarded by mutex
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
    semaphore->state = ZELOsapiSemaphoreStateI{kind, false, 0, 0};
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
    while (!ZELOsapiSemaphoreState_tryTakeI(&semaphore->state, self)) {
        if (ZELOsapiSemaphoreState_isFullI(&semaphore->state, self)) {
            status = ZEL_OSAPI_SEMAPHORE_STATUS_ERROR;  // the recursion counter is full
            break;
        }
        const int result = forever ? pthread_cond_wait(&semaphore->condition, &semaphore->mutex)
                                   : pthread_cond_timedwait(&semaphore->condition, &semaphore->mutex, &deadline);
        if (result == ETIMEDOUT) {
            // The semaphore may have been given just as the wait expired.
            status = ZELOsapiSemaphoreState_tryTakeI(&semaphore->state, self) ? ZEL_OSAPI_SEMAPHORE_STATUS_OK
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
    bool wake = false;
    const enum ZELOsapiSemaphoreStatus status =
            ZELOsapiSemaphoreState_giveI(&semaphore->state, ZELOsapiThread_getCurrentId(), &wake);
    if (wake) {
        pthread_cond_signal(&semaphore->condition);
    }
    pthread_mutex_unlock(&semaphore->mutex);
    return status;
}

}  // extern "C"
