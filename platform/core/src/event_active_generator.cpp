// The active event generator: a thread of its own that runs posted events
// when they fall due, in due-time order (ties in posting order).
#include <cstdio>
#include <mutex>
#include <new>

#include "vurncore/clock.h"
#include "vurncore/event.h"
#include "vurncore/heap.h"
#include "vurncore/lock_order.h"
#include "vurncore/log.h"
#include "vurncore/osapi.h"

namespace {

struct ZELEventNode {
    struct ZELEventNode *next;
    struct ZELNtpTime due;
    ZELEventCallback callback;
    void *param;
    struct ZELEventData data;
};

}  // namespace

struct ZELEventActiveGenerator {
    struct REDAWorkerFactory *workerFactory;  // the caller's
    struct ZELHighResolutionClock *clock;     // the caller's
    struct ZELEventSmartTimer *timer;         // the caller's
    struct ZELEventGeneratorListener listener;
    struct ZELOsapiThread *thread;
    // Given by the thread once it knows whether it can run; startedOk is
    // written before the give and read after the take.
    struct ZELOsapiSemaphore *startedSemaphore;
    bool startedOk;
    ZELOrderedMutex<ZEL_LOCK_LEVEL_EVENT_QUEUE> mutex{"event queue"};
    struct ZELEventNode *pendingHead;  // sorted by due time, ties in posting order; guarded by mutex
    struct ZELEventNode *pendingTail;  // last of pendingHead's list; guarded by mutex
    int pendingCount;                  // guarded by mutex
    bool shutdownRequested;            // guarded by mutex
};

namespace {

const char *const kRunContext = "ZELEventActiveGenerator_runI";

// Caller holds generator->mutex. After every event due at the same time or
// earlier, so that ties run in the order posted.
void ZELEventActiveGenerator_insertI(struct ZELEventActiveGenerator *generator, struct ZELEventNode *node) {
    // Events mostly come in time order (periodic ones are re-posted later
    // each time): those are appended without a walk.
    struct ZELEventNode **link = &generator->pendingHead;
    if (generator->pendingTail != nullptr && ZELNtpTime_compare(&generator->pendingTail->due, &node->due) <= 0) {
        link = &generator->pendingTail->next;
    }
    while (*link != nullptr && ZELNtpTime_compare(&(*link)->due, &node->due) <= 0) {
        link = &(*link)->next;
    }
    node->next = *link;
    *link = node;
    if (node->next == nullptr) {
        generator->pendingTail = node;
    }
    generator->pendingCount += 1;
}

// Caller holds generator->mutex; the list is not empty.
struct ZELEventNode *ZELEventActiveGenerator_popI(struct ZELEventActiveGenerator *generator) {
    struct ZELEventNode *node = generator->pendingHead;
    generator->pendingHead = node->next;
    if (generator->pendingHead == nullptr) {
        generator->pendingTail = nullptr;
    }
    generator->pendingCount -= 1;
    return node;
}

// Caller holds generator->mutex.
void ZELEventActiveGenerator_dropPendingI(struct ZELEventActiveGenerator *generator) {
    while (generator->pendingHead != nullptr) {
        ZELOsapiHeap_freeStructure(ZELEventActiveGenerator_popI(generator));
    }
}

// Runs `node`, then queues it again at the time its callback asks for, or
// frees it.
void ZELEventActiveGenerator_fireI(struct ZELEventActiveGenerator *generator, struct ZELEventNode *node,
                                   const struct ZELNtpTime &now, struct REDAWorker *worker) {
    const struct ZELNtpTime time = node->due;
    struct ZELNtpTime newTime = time;
    const ZELBoolean again = node->callback(node->param, &newTime, &now, &time, &node->data, worker);
    if (again) {
        std::lock_guard guard(generator->mutex);
        // After a shutdown that came while the callback ran, it stays dropped.
        if (!generator->shutdownRequested) {
            node->due = newTime;
            ZELEventActiveGenerator_insertI(generator, node);
            return;
        }
    }
    ZELOsapiHeap_freeStructure(node);
}

void *ZELEventActiveGenerator_runI(void *param) {
    auto *generator = static_cast<ZELEventActiveGenerator *>(param);
    struct REDAWorker *worker = REDAWorkerFactory_getWorker(generator->workerFactory);
    generator->startedOk = worker != nullptr;
    ZELOsapiSemaphore_give(generator->startedSemaphore);
    if (worker == nullptr) {
        return nullptr;
    }
    for (;;) {
        struct ZELNtpTime now {};
        const bool haveNow = generator->clock->getTime(generator->clock, &now) != ZEL_FALSE;
        struct ZELEventNode *due = nullptr;
        struct ZELNtpTime wake = ZEL_NTP_TIME_INFINITE;
        {
            std::lock_guard guard(generator->mutex);
            if (generator->shutdownRequested) {
                break;
            }
            struct ZELEventNode *head = generator->pendingHead;
            if (head != nullptr && haveNow && ZELNtpTime_compare(&head->due, &now) <= 0) {
                due = ZELEventActiveGenerator_popI(generator);
            } else if (head != nullptr) {
                wake = head->due;
            }
        }
        if (due != nullptr) {
            ZELEventActiveGenerator_fireI(generator, due, now, worker);
            continue;
        }
        // Without a reading no event can be judged due; the timer waits a
        // while before the next attempt.
        if (!haveNow) {
            ZELLog_printContextAndMsg(kRunContext, &ZEL_LOG_GET_FAILURE_s, "time");
        }
        ZELEventSmartTimer_sleepUntil(generator->timer, &wake);
    }
    if (generator->listener.onStopped != nullptr) {
        generator->listener.onStopped(generator->listener.param);
    }
    return nullptr;
}

// Frees what new made, in reverse order; the thread has ended or never ran.
void ZELEventActiveGenerator_freeI(struct ZELEventActiveGenerator *generator) {
    ZELOsapiSemaphore_delete(generator->startedSemaphore);
    generator->~ZELEventActiveGenerator();
    ZELOsapiHeap_freeStructure(generator);
}

}  // namespace

extern "C" {

struct ZELEventActiveGenerator *ZELEventActiveGenerator_new(struct REDAWorkerFactory *workerFactory,
                                                            struct ZELHighResolutionClock *clock,
                                                            struct ZELEventSmartTimer *timer,
                                                            const struct ZELEventGeneratorListener *listener,
                                                            const struct ZELEventThreadProperties *properties) {
    if (workerFactory == nullptr || clock == nullptr || clock->getTime == nullptr || timer == nullptr) {
        return nullptr;
    }
    void *memory = ZELOsapiHeap_allocateStructure(sizeof(ZELEventActiveGenerator), "EAGN");
    if (memory == nullptr) {
        return nullptr;
    }
    auto *generator = new (memory) ZELEventActiveGenerator{};
    generator->workerFactory = workerFactory;
    generator->clock = clock;
    generator->timer = timer;
    if (listener != nullptr) {
        generator->listener = *listener;
    }
    generator->startedSemaphore = ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_BINARY, nullptr);
    if (generator->startedSemaphore == nullptr) {
        ZELEventActiveGenerator_freeI(generator);
        return nullptr;
    }
    struct ZELOsapiThreadSettings settings = ZEL_OSAPI_THREAD_SETTINGS_DEFAULT;
    char name[32] = "zelEvt";
    if (properties != nullptr) {
        settings.priority = properties->priority;
        settings.stackSize = properties->stackSize;
        settings.options = properties->options;
        std::snprintf(name, sizeof(name), "zelEvt.d%dp%d", static_cast<int>(properties->domainId),
                      static_cast<int>(properties->participantId));
    }
    generator->thread = ZELOsapiThread_new(name, &settings, &ZELEventActiveGenerator_runI, generator);
    if (generator->thread == nullptr) {
        ZELEventActiveGenerator_freeI(generator);
        return nullptr;
    }
    // Waits until the thread has its worker, so that a generator handed out
    // is one that runs events.
    const bool started =
            ZELOsapiSemaphore_take(generator->startedSemaphore, nullptr) == ZEL_OSAPI_SEMAPHORE_STATUS_OK &&
            generator->startedOk;
    if (!started) {
        ZELEventActiveGenerator_shutdown(generator);
        ZELOsapiThread_join(generator->thread);
        ZELEventActiveGenerator_freeI(generator);
        return nullptr;
    }
    return generator;
}

ZELBoolean ZELEventActiveGenerator_postEvent(struct ZELEventActiveGenerator *generator, const struct ZELNtpTime *due,
                                             ZELEventCallback callback, void *param, const struct ZELEventData *data) {
    if (generator == nullptr || due == nullptr || callback == nullptr) {
        return ZEL_FALSE;
    }
    auto *node = static_cast<ZELEventNode *>(ZELOsapiHeap_allocateStructure(sizeof(ZELEventNode), "EVNT"));
    if (node == nullptr) {
        return ZEL_FALSE;
    }
    node->due = *due;
    node->callback = callback;
    node->param = param;
    if (data != nullptr) {
        node->data = *data;
    }
    bool first = false;
    {
        std::lock_guard guard(generator->mutex);
        if (generator->shutdownRequested) {
            ZELOsapiHeap_freeStructure(node);
            return ZEL_FALSE;
        }
        ZELEventActiveGenerator_insertI(generator, node);
        first = generator->pendingHead == node;
    }
    // Only an event that is now the earliest changes how long the thread
    // should sleep.
    if (first) {
        ZELEventSmartTimer_wakeup(generator->timer);
    }
    return ZEL_TRUE;
}

ZELBoolean ZELEventActiveGenerator_shutdown(struct ZELEventActiveGenerator *generator) {
    if (generator == nullptr) {
        return ZEL_FALSE;
    }
    {
        std::lock_guard guard(generator->mutex);
        generator->shutdownRequested = true;
        ZELEventActiveGenerator_dropPendingI(generator);
    }
    ZELEventSmartTimer_wakeup(generator->timer);
    return ZEL_TRUE;
}

void ZELEventActiveGenerator_delete(struct ZELEventActiveGenerator *generator) {
    if (generator == nullptr) {
        return;
    }
    ZELEventActiveGenerator_shutdown(generator);
    // Joining fails only from the generator's own thread; the generator is
    // then left alive rather than freed under the running thread.
    if (!ZELOsapiThread_join(generator->thread)) {
        ZELLog_printContextAndMsg("ZELEventActiveGenerator_delete", &ZEL_LOG_DESTRUCTION_FAILURE_s, "thread");
        return;
    }
    ZELEventActiveGenerator_freeI(generator);
}

int ZELEventActiveGenerator_getPendingEventCount(struct ZELEventActiveGenerator *generator) {
    if (generator == nullptr) {
        return 0;
    }
    std::lock_guard guard(generator->mutex);
    return generator->pendingCount;
}

}  // extern "C"
