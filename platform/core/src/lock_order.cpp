// The per-thread record of the locks held, and the check of their order.
#include "vurncore/lock_order.h"

#include <cstdio>
#include <cstdlib>

#include "vurncore/log.h"

namespace {

// Deeper nesting than this is a fault of its own; what is beyond it is not
// checked.
constexpr int kMaxHeld = 32;

struct HeldLock {
    const void *lock;
    int level;
    const char *name;
};

// Trivially destructible, so that locks taken by thread-exit destructors
// still find it.
struct HeldLocks {
    int count;
    HeldLock held[kMaxHeld];
    bool reporting;  // a report is being logged: its own locks are not checked
};

thread_local HeldLocks t_locks;

void ZELLockOrder_reportI(const HeldLock &taken, const HeldLock &held) {
    char text[256];
    std::snprintf(text, sizeof text, "lock order: %s (level %d) taken while %s (level %d) is held", taken.name,
                  taken.level, held.name, held.level);
    t_locks.reporting = true;
    ZELLog_printContextAndMsg("ZELLockOrder_enter", &ZEL_LOG_PRECONDITION_NOT_MET_s, text);
    t_locks.reporting = false;
#ifndef NDEBUG
    std::abort();
#endif
}

}  // namespace

ZELBoolean ZELLockOrder_enter(const void *lock, int level, const char *name) {
    HeldLocks &locks = t_locks;
    if (locks.reporting) {
        return ZEL_TRUE;
    }
    const HeldLock taken{lock, level, name};
    const HeldLock *lowest = nullptr;
    bool again = false;
    for (int i = 0; i < locks.count; ++i) {
        again = again || locks.held[i].lock == lock;
        if (lowest == nullptr || locks.held[i].level < lowest->level) {
            lowest = &locks.held[i];
        }
    }
    const bool ordered = again || lowest == nullptr || level < lowest->level;
    if (!ordered) {
        ZELLockOrder_reportI(taken, *lowest);
    }
    if (locks.count < kMaxHeld) {
        locks.held[locks.count++] = taken;
    }
    return ordered ? ZEL_TRUE : ZEL_FALSE;
}

void ZELLockOrder_leave(const void *lock) {
    HeldLocks &locks = t_locks;
    for (int i = locks.count - 1; i >= 0; --i) {
        if (locks.held[i].lock == lock) {
            for (int j = i; j + 1 < locks.count; ++j) {
                locks.held[j] = locks.held[j + 1];
            }
            --locks.count;
            return;
        }
    }
}
