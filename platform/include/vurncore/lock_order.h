/* The order in which a thread takes the platform's locks, for the whole
 * process in one place. A thread holding locks may take another only of a
 * strictly lower level, or again one that it holds (a recursive lock). Every
 * exclusive area and every lock of the platform's own data structures is
 * checked on entry against what its thread holds, so an order that could
 * deadlock is reported the first time it happens, not when two threads
 * happen to meet.
 *
 * Exclusive areas keep the levels they are created with (1 to 5, see the
 * entity locks and the monitor's list). The platform's other locks are
 * placed around them: above them those held while entities are created or
 * deleted, below them those that the data paths, the wires and the core
 * services take while an entity is locked, down to the log device, which any
 * code may take last. */
#ifndef VURNCORE_LOCK_ORDER_H
#define VURNCORE_LOCK_ORDER_H

#include "vurncore/dll.h"
#include "vurncore/types.h"

ZEL_EXTERN_C_BEGIN

enum ZELLockLevel {
    /* Loading the monitoring library; its create function makes entities. */
    ZEL_LOCK_LEVEL_MONITOR_LOAD = 200,
    /* The factory singleton, held while the factory is made or finalized. */
    ZEL_LOCK_LEVEL_FACTORY_INSTANCE = 100,
    /* Exclusive areas: 5 to 1. */
    /* A topic's record of inconsistent topics, held across the wire's walk. */
    ZEL_LOCK_LEVEL_TOPIC_INCONSISTENT = -10,
    /* A content-filtered topic's filter, held while a reader evaluates it. */
    ZEL_LOCK_LEVEL_CONTENT_FILTER = -20,
    /* The in-process wire. */
    ZEL_LOCK_LEVEL_LOOPBACK_WIRE = -60,
    /* The event generator's queue. */
    ZEL_LOCK_LEVEL_EVENT_QUEUE = -70,
    /* The registry of every thread's workers. */
    ZEL_LOCK_LEVEL_WORKER_REGISTRY = -80,
    /* A type plug-in's pools of samples and buffers. */
    ZEL_LOCK_LEVEL_TYPE_POOL = -85,
    /* The filling of a type's cached sizes. */
    ZEL_LOCK_LEVEL_TYPE_CACHE = -90,
    /* The log device: any code may log. */
    ZEL_LOCK_LEVEL_LOG_DEVICE = -100
};

/* Records that the calling thread takes `lock` at `level`, named `name`, and
 * checks the order first. ZEL_FALSE when the order is broken: that is logged
 * with both locks and their levels, and a build with assertions stops there;
 * the caller takes the lock anyway. */
VURNCORE_API ZELBoolean ZELLockOrder_enter(const void *lock, int level, const char *name);
/* Records that the calling thread gave `lock` back (locks may be given back
 * in any order). */
VURNCORE_API void ZELLockOrder_leave(const void *lock);

ZEL_EXTERN_C_END

#ifdef __cplusplus
#include <mutex>

/* For the platform's own C++: a mutex that takes its place in the order.
 * Usable with std::lock_guard and std::unique_lock. */
template <class Mutex, int Level>
class ZELOrderedLock {
public:
    explicit ZELOrderedLock(const char *name) : name_(name) {}
    ZELOrderedLock(const ZELOrderedLock &) = delete;
    ZELOrderedLock &operator=(const ZELOrderedLock &) = delete;
    void lock() {
        ZELLockOrder_enter(this, Level, name_);
        mutex_.lock();
    }
    void unlock() {
        mutex_.unlock();
        ZELLockOrder_leave(this);
    }

private:
    Mutex mutex_;
    const char *name_;
};

template <int Level>
using ZELOrderedMutex = ZELOrderedLock<std::mutex, Level>;
template <int Level>
using ZELOrderedRecursiveMutex = ZELOrderedLock<std::recursive_mutex, Level>;
#endif

#endif
