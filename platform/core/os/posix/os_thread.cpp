// Threads: creation with name, stack and scheduling settings, join, sleep.
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <ctime>

#include "vurncore/clock.h"
#include "vurncore/heap.h"
#include "vurncore/osapi.h"

namespace {

// Linux keeps 15 characters of a thread name.
constexpr size_t kThreadNameSize = 16;

}  // namespace

struct ZELOsapiThread {
    pthread_t handle;
    ZELOsapiThreadFunction function;
    void *param;
    char name[kThreadNameSize];
};

namespace {

void *ZELOsapiThread_startI(void *argument) {
    auto *thread = static_cast<ZELOsapiThread *>(argument);
    // Naming is a courtesy to debuggers; a refusal changes nothing else.
    if (thread->name[0] != '\0') {
        pthread_setname_np(pthread_self(), thread->name);
    }
    return thread->function(thread->param);
}

// Fills `attributes` from `settings`; false when a setting is invalid.
// `realtime` asks for fixed-priority scheduling at the given priority,
// clamped into the range the system allows.
bool ZELOsapiThread_setAttributesI(pthread_attr_t *attributes, const struct ZELOsapiThreadSettings *settings,
                                   bool realtime) {
    if (settings->stackSize < 0) {
        return false;
    }
    if (settings->stackSize > 0) {
        // The thread's static TLS comes out of its stack too, and the RTPS
        // library with its dependencies (and the sanitizers) take hundreds
        // of kilobytes of it: below this floor thread creation is refused.
        constexpr size_t floor = 1024 * 1024;
        const long systemMinimum = sysconf(_SC_THREAD_STACK_MIN);
        const size_t minimum = systemMinimum > 0 && static_cast<size_t>(systemMinimum) > floor
                                       ? static_cast<size_t>(systemMinimum)
                                       : floor;
        size_t stackSize = static_cast<size_t>(settings->stackSize);
        if (stackSize < minimum) {
            stackSize = minimum;
        }
        if (pthread_attr_setstacksize(attributes, stackSize) != 0) {
            return false;
        }
    }
    if (!realtime) {
        return true;
    }
    const int lowest = sched_get_priority_min(SCHED_FIFO);
    const int highest = sched_get_priority_max(SCHED_FIFO);
    struct sched_param parameter {};
    parameter.sched_priority = settings->priority < lowest    ? lowest
                               : settings->priority > highest ? highest
                                                              : settings->priority;
    return pthread_attr_setinheritsched(attributes, PTHREAD_EXPLICIT_SCHED) == 0 &&
           pthread_attr_setschedpolicy(attributes, SCHED_FIFO) == 0 &&
           pthread_attr_setschedparam(attributes, &parameter) == 0;
}

// Starts the thread with the given scheduling choice; returns the system's
// error number (0 on success).
int ZELOsapiThread_startWithI(struct ZELOsapiThread *thread, const struct ZELOsapiThreadSettings *settings,
                              bool realtime) {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) {
        return EAGAIN;
    }
    int result = EINVAL;
    if (ZELOsapiThread_setAttributesI(&attributes, settings, realtime)) {
        result = pthread_create(&thread->handle, &attributes, &ZELOsapiThread_startI, thread);
    }
    pthread_attr_destroy(&attributes);
    return result;
}

}  // namespace

extern "C" {

struct ZELOsapiThread *ZELOsapiThread_new(const char *name, const struct ZELOsapiThreadSettings *settings,
                                          ZELOsapiThreadFunction function, void *param) {
    if (function == nullptr) {
        return nullptr;
    }
    const struct ZELOsapiThreadSettings defaults = ZEL_OSAPI_THREAD_SETTINGS_DEFAULT;
    if (settings == nullptr) {
        settings = &defaults;
    }
    auto *thread = static_cast<ZELOsapiThread *>(ZELOsapiHeap_allocateStructure(sizeof(ZELOsapiThread), "OTHR"));
    if (thread == nullptr) {
        return nullptr;
    }
    thread->function = function;
    thread->param = param;
    if (name != nullptr) {
        std::snprintf(thread->name, sizeof(thread->name), "%s", name);
    }
    const bool enforce = (settings->options & ZEL_OSAPI_THREAD_OPTION_PRIORITY_ENFORCE) != 0;
    const bool realtime = enforce || (settings->options & ZEL_OSAPI_THREAD_OPTION_REALTIME_PRIORITY) != 0;
    int result = ZELOsapiThread_startWithI(thread, settings, realtime);
    // Fixed priorities need privileges that most processes lack: without
    // PRIORITY_ENFORCE the thread then runs at the normal priority.
    if (result == EPERM && realtime && !enforce) {
        result = ZELOsapiThread_startWithI(thread, settings, false);
    }
    if (result != 0) {
        ZELOsapiHeap_freeStructure(thread);
        return nullptr;
    }
    return thread;
}

ZELBoolean ZELOsapiThread_join(struct ZELOsapiThread *thread) {
    if (thread == nullptr) {
        return ZEL_FALSE;
    }
    // Joining itself or a thread already joined fails; the object is then
    // left alone.
    if (pthread_join(thread->handle, nullptr) != 0) {
        return ZEL_FALSE;
    }
    ZELOsapiHeap_freeStructure(thread);
    return ZEL_TRUE;
}

uint64_t ZELOsapiThread_getCurrentId(void) {
    // Asked on every lock and unlock: the system call is made once a thread.
    static thread_local uint64_t id = 0;
    if (id == 0) {
        id = static_cast<uint64_t>(gettid());
    }
    return id;
}

void ZELOsapiThread_sleep(const struct ZELNtpTime *duration) {
    if (duration == nullptr || duration->sec < 0) {
        return;
    }
    const uint64_t nanoseconds = ZELNtpTime_toNanoseconds(duration);
    struct timespec remaining {};
    remaining.tv_sec = static_cast<time_t>(nanoseconds / 1000000000u);
    remaining.tv_nsec = static_cast<long>(nanoseconds % 1000000000u);
    // A signal cuts nanosleep short; sleep the rest.
    while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
    }
}

}  // extern "C"
