// Workers and exclusive areas.
//
// A worker is made the first time a thread asks a factory for one and is
// kept in that factory's thread-local slot. It is freed by whichever comes
// first: the end of its thread (the slot's destructor) or the deletion of
// the factory. Both free under g_registryMutex, and the destructor frees
// only a worker that it still finds registered for its own thread, so a
// worker is never freed twice, and a destructor that runs while its factory
// is being deleted never touches freed memory.
#include "vurncore/lock_order.h"
#include "vurncore/worker.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <mutex>

#include "vurncore/heap.h"
#include "vurncore/log.h"
#include "vurncore/osapi.h"

namespace {

// Names longer than this are cut. A worker's name is its factory's, a dot
// and its thread's id.
constexpr size_t kNameSize = 48;
constexpr size_t kWorkerNameSize = kNameSize + 24;

}  // namespace

struct REDAWorkerFactory {
    struct ZELOsapiThreadLocal *workerSlot;  // this factory's worker of each thread
    char name[kNameSize];
};

struct REDAWorker {
    struct REDAWorkerFactory *factory;
    uint64_t threadId;
    struct REDAWorker *registryPrevious;   // guarded by g_registryMutex
    struct REDAWorker *registryNext;       // guarded by g_registryMutex
    struct REDAExclusiveArea *lowestHeld;  // only its own thread uses it
    char name[kWorkerNameSize];
};

struct REDAExclusiveArea {
    int level;
    struct ZELOsapiSemaphore *lock;
    // The worker holding the area. Other threads read it only to learn that
    // they are not the holder, so relaxed loads suffice.
    std::atomic<struct REDAWorker *> owner;
    uint32_t depth;  // guarded by lock
    // The area of the next higher level that the holder entered before
    // this one; guarded by lock.
    struct REDAExclusiveArea *nextHeld;
};

namespace {

ZELOrderedMutex<ZEL_LOCK_LEVEL_WORKER_REGISTRY> g_registryMutex{"worker registry"};
struct REDAWorker *g_registryHead = nullptr;  // every live worker; guarded by g_registryMutex

void REDAWorker_registerI(struct REDAWorker *worker) {
    std::lock_guard guard(g_registryMutex);
    worker->registryNext = g_registryHead;
    if (g_registryHead != nullptr) {
        g_registryHead->registryPrevious = worker;
    }
    g_registryHead = worker;
}

// Caller holds g_registryMutex.
void REDAWorker_unregisterAndFreeI(struct REDAWorker *worker) {
    if (worker->registryPrevious != nullptr) {
        worker->registryPrevious->registryNext = worker->registryNext;
    } else {
        g_registryHead = worker->registryNext;
    }
    if (worker->registryNext != nullptr) {
        worker->registryNext->registryPrevious = worker->registryPrevious;
    }
    ZELOsapiHeap_freeStructure(worker);
}

// Thread end. `value` may already have been freed by the deletion of its
// factory: it is only compared until found in the registry.
void REDAWorker_onThreadEndI(void *value) {
    const uint64_t self = ZELOsapiThread_getCurrentId();
    std::lock_guard guard(g_registryMutex);
    for (struct REDAWorker *worker = g_registryHead; worker != nullptr; worker = worker->registryNext) {
        if (worker == value && worker->threadId == self) {
            REDAWorker_unregisterAndFreeI(worker);
            return;
        }
    }
}

ZELBoolean REDAWorker_failI(const char *context, const char **failReason, const ZELLogMessage *message,
                            const char *reason) {
    if (failReason != nullptr) {
        *failReason = reason;
    }
    ZELLog_printContextAndMsg(context, message, reason);
    return ZEL_FALSE;
}

}  // namespace

extern "C" {

struct REDAWorkerFactory *REDAWorkerFactory_new(const char *name) {
    auto *factory = static_cast<REDAWorkerFactory *>(ZELOsapiHeap_allocateStructure(sizeof(REDAWorkerFactory), "RWFC"));
    if (factory == nullptr) {
        return nullptr;
    }
    factory->workerSlot = ZELOsapiThreadLocal_new(&REDAWorker_onThreadEndI);
    if (factory->workerSlot == nullptr) {
        ZELOsapiHeap_freeStructure(factory);
        return nullptr;
    }
    std::snprintf(factory->name, sizeof(factory->name), "%s", name != nullptr ? name : "");
    return factory;
}

void REDAWorkerFactory_delete(struct REDAWorkerFactory *factory) {
    if (factory == nullptr) {
        return;
    }
    {
        std::lock_guard guard(g_registryMutex);
        struct REDAWorker *worker = g_registryHead;
        while (worker != nullptr) {
            struct REDAWorker *next = worker->registryNext;
            if (worker->factory == factory) {
                REDAWorker_unregisterAndFreeI(worker);
            }
            worker = next;
        }
    }
    ZELOsapiThreadLocal_delete(factory->workerSlot);
    ZELOsapiHeap_freeStructure(factory);
}

struct REDAWorker *REDAWorkerFactory_getWorker(struct REDAWorkerFactory *factory) {
    if (factory == nullptr) {
        return nullptr;
    }
    // Only this thread sets its slot, so the common path needs no lock.
    auto *worker = static_cast<REDAWorker *>(ZELOsapiThreadLocal_get(factory->workerSlot));
    if (worker != nullptr) {
        return worker;
    }
    worker = static_cast<REDAWorker *>(ZELOsapiHeap_allocateStructure(sizeof(REDAWorker), "RWRK"));
    if (worker == nullptr) {
        return nullptr;
    }
    worker->factory = factory;
    worker->threadId = ZELOsapiThread_getCurrentId();
    std::snprintf(worker->name, sizeof(worker->name), "%s.%llu", factory->name,
                  static_cast<unsigned long long>(worker->threadId));
    if (!ZELOsapiThreadLocal_set(factory->workerSlot, worker)) {
        ZELOsapiHeap_freeStructure(worker);
        return nullptr;
    }
    REDAWorker_registerI(worker);
    return worker;
}

const char *REDAWorker_getName(const struct REDAWorker *worker) { return worker != nullptr ? worker->name : ""; }

struct REDAExclusiveArea *REDAWorkerFactory_createExclusiveArea(struct REDAWorkerFactory *factory, int level) {
    if (factory == nullptr) {
        return nullptr;
    }
    auto *area = static_cast<REDAExclusiveArea *>(ZELOsapiHeap_allocateStructure(sizeof(REDAExclusiveArea), "REXA"));
    if (area == nullptr) {
        return nullptr;
    }
    area->lock = ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_MUTEX, nullptr);
    if (area->lock == nullptr) {
        ZELOsapiHeap_freeStructure(area);
        return nullptr;
    }
    area->level = level;
    area->owner.store(nullptr);
    return area;
}

void REDAWorkerFactory_destroyExclusiveArea(struct REDAWorkerFactory *factory, struct REDAExclusiveArea *area) {
    (void)factory;  // areas keep nothing in their factory
    if (area == nullptr) {
        return;
    }
    ZELOsapiSemaphore_delete(area->lock);
    ZELOsapiHeap_freeStructure(area);
}

ZELBoolean REDAWorker_enterExclusiveArea(struct REDAWorker *worker, const char **failReason,
                                         struct REDAExclusiveArea *area) {
    static const char *const kContext = "REDAWorker_enterExclusiveArea";
    if (worker == nullptr || area == nullptr) {
        return REDAWorker_failI(kContext, failReason, &ZEL_LOG_BAD_PARAMETER_s, "no worker or exclusive area");
    }
    if (area->owner.load(std::memory_order_relaxed) == worker) {
        area->depth += 1;
        return ZEL_TRUE;
    }
    // Areas held form a chain of strictly decreasing levels, so the one
    // entered last has the lowest level.
    if (worker->lowestHeld != nullptr && area->level >= worker->lowestHeld->level) {
        return REDAWorker_failI(kContext, failReason, &ZEL_LOG_PRECONDITION_NOT_MET_s,
                                "exclusive area level not below the lowest level held");
    }
    // Checked once more against every lock of the thread, of every worker.
    ZELLockOrder_enter(area, area->level, "exclusive area");
    if (ZELOsapiSemaphore_take(area->lock, nullptr) != ZEL_OSAPI_SEMAPHORE_STATUS_OK) {
        ZELLockOrder_leave(area);
        return REDAWorker_failI(kContext, failReason, &ZEL_LOG_ANY_FAILURE_s, "take exclusive area lock");
    }
    area->owner.store(worker, std::memory_order_relaxed);
    area->depth = 1;
    area->nextHeld = worker->lowestHeld;
    worker->lowestHeld = area;
    return ZEL_TRUE;
}

ZELBoolean REDAWorker_leaveExclusiveArea(struct REDAWorker *worker, const char **failReason,
                                         struct REDAExclusiveArea *area) {
    static const char *const kContext = "REDAWorker_leaveExclusiveArea";
    if (worker == nullptr || area == nullptr) {
        return REDAWorker_failI(kContext, failReason, &ZEL_LOG_BAD_PARAMETER_s, "no worker or exclusive area");
    }
    if (area->owner.load(std::memory_order_relaxed) != worker) {
        return REDAWorker_failI(kContext, failReason, &ZEL_LOG_PRECONDITION_NOT_MET_s,
                                "exclusive area not held by this worker");
    }
    area->depth -= 1;
    if (area->depth > 0) {
        return ZEL_TRUE;
    }
    // Areas may be left in any order: unlink this one wherever it is.
    struct REDAExclusiveArea **link = &worker->lowestHeld;
    while (*link != area) {
        link = &(*link)->nextHeld;
    }
    *link = area->nextHeld;
    area->nextHeld = nullptr;
    area->owner.store(nullptr, std::memory_order_relaxed);
    ZELLockOrder_leave(area);
    if (ZELOsapiSemaphore_give(area->lock) != ZEL_OSAPI_SEMAPHORE_STATUS_OK) {
        return REDAWorker_failI(kContext, failReason, &ZEL_LOG_ANY_FAILURE_s, "give exclusive area lock");
    }
    return ZEL_TRUE;
}

int REDAExclusiveArea_getLevel(const struct REDAExclusiveArea *area) { return area != nullptr ? area->level : 0; }

}  // extern "C"
