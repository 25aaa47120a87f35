/* What a semaphore of either kind holds, and its rules, shared by the
 * POSIX and Windows implementations; each guards the state with its own
 * lock and waits on its own condition variable. */
#ifndef VURNCORE_OS_SEMAPHORE_STATE_H
#define VURNCORE_OS_SEMAPHORE_STATE_H

#include <cstdint>

#include "vurncore/osapi.h"

struct ZELOsapiSemaphoreStateI {
    enum ZELOsapiSemaphoreKind kind;
    bool given;     /* binary kind */
    uint64_t owner; /* mutex kind: taking thread's id */
    uint32_t depth; /* mutex kind: takes not yet given back */
};

/* True when thread `self` may take the semaphore now; takes it then. */
inline bool ZELOsapiSemaphoreState_tryTakeI(ZELOsapiSemaphoreStateI *state, uint64_t self) {
    if (state->kind == ZEL_OSAPI_SEMAPHORE_KIND_BINARY) {
        if (!state->given) {
            return false;
        }
        state->given = false;
        return true;
    }
    if (state->depth != 0 && state->owner != self) {
        return false;
    }
    // A recursive take beyond what the counter holds is refused rather
    // than wrapped to zero.
    if (state->depth == UINT32_MAX) {
        return false;
    }
    state->owner = self;
    state->depth += 1;
    return true;
}

/* True when waiting cannot help: `self` owns the mutex and its recursion
 * counter is full. */
inline bool ZELOsapiSemaphoreState_isFullI(const ZELOsapiSemaphoreStateI *state, uint64_t self) {
    return state->kind == ZEL_OSAPI_SEMAPHORE_KIND_MUTEX && state->owner == self;
}

/* Gives the semaphore back on behalf of `self`; `*wake` tells whether a
 * waiter may now take it. Only the owner gives a mutex back. */
inline enum ZELOsapiSemaphoreStatus ZELOsapiSemaphoreState_giveI(ZELOsapiSemaphoreStateI *state, uint64_t self,
                                                                 bool *wake) {
    *wake = false;
    if (state->kind == ZEL_OSAPI_SEMAPHORE_KIND_BINARY) {
        state->given = true;
        *wake = true;
        return ZEL_OSAPI_SEMAPHORE_STATUS_OK;
    }
    if (state->depth == 0 || state->owner != self) {
        return ZEL_OSAPI_SEMAPHORE_STATUS_ERROR;
    }
    state->depth -= 1;
    *wake = state->depth == 0;
    return ZEL_OSAPI_SEMAPHORE_STATUS_OK;
}

#endif
