/* The OS layer: the only place where the platform touches the operating
 * system (POSIX and Windows implementations behind one interface). */
#ifndef VURNCORE_OSAPI_H
#define VURNCORE_OSAPI_H

#include "vurncore/dll.h"
#include "vurncore/types.h"

ZEL_EXTERN_C_BEGIN

/* ---- identities ---- */

/* An id of this host, stable for the process's lifetime and never 0: its
 * first IPv4 address that is up and not a loopback, else a hash of its
 * name. And the id of this process. */
VURNCORE_API uint32_t ZELOsapiHost_getId(void);
VURNCORE_API uint32_t ZELOsapiProcess_getId(void);

/* ---- clocks ---- */

/* Monotonic time in nanoseconds since an arbitrary origin. */
VURNCORE_API ZELBoolean ZELOsapiClock_getMonotonicNanoseconds(uint64_t *nanoseconds);
/* Wall-clock time in nanoseconds since 1970-01-01 UTC. */
VURNCORE_API ZELBoolean ZELOsapiClock_getRealtimeNanoseconds(uint64_t *nanoseconds);

/* ---- semaphores and mutexes ---- */

enum ZELOsapiSemaphoreKind {
    ZEL_OSAPI_SEMAPHORE_KIND_BINARY = 0, /* given at most once until taken */
    ZEL_OSAPI_SEMAPHORE_KIND_MUTEX = 1   /* recursive, owned by the taking thread */
};

enum ZELOsapiSemaphoreStatus {
    ZEL_OSAPI_SEMAPHORE_STATUS_OK = 0,
    ZEL_OSAPI_SEMAPHORE_STATUS_TIMEOUT = 1,
    ZEL_OSAPI_SEMAPHORE_STATUS_ERROR = 2
};

/* No attributes are defined yet; pass NULL. */
struct ZELOsapiSemaphoreProperty;
struct ZELOsapiSemaphore;

VURNCORE_API struct ZELOsapiSemaphore *ZELOsapiSemaphore_new(enum ZELOsapiSemaphoreKind kind,
                                                             const struct ZELOsapiSemaphoreProperty *property);
VURNCORE_API void ZELOsapiSemaphore_delete(struct ZELOsapiSemaphore *semaphore);
/* Waits at most `timeout` (relative; NULL or infinite waits for ever, a
 * negative one is an error). A mutex may be taken again by its owner. */
VURNCORE_API enum ZELOsapiSemaphoreStatus ZELOsapiSemaphore_take(struct ZELOsapiSemaphore *semaphore,
                                                                 const struct ZELNtpTime *timeout);
/* A binary semaphore keeps one give until taken; a mutex is given back once
 * per take and only by its owner (ERROR otherwise). */
VURNCORE_API enum ZELOsapiSemaphoreStatus ZELOsapiSemaphore_give(struct ZELOsapiSemaphore *semaphore);

/* ---- threads ---- */

/* Kind mask bits of thread settings. */
#define ZEL_OSAPI_THREAD_OPTION_FLOATING_POINT 0x01u
#define ZEL_OSAPI_THREAD_OPTION_STDIO 0x02u
#define ZEL_OSAPI_THREAD_OPTION_REALTIME_PRIORITY 0x08u
#define ZEL_OSAPI_THREAD_OPTION_PRIORITY_ENFORCE 0x10u
#define ZEL_OSAPI_THREAD_OPTION_DEFAULT (ZEL_OSAPI_THREAD_OPTION_FLOATING_POINT | ZEL_OSAPI_THREAD_OPTION_STDIO)

/* Priority and stack size of a new thread; stackSize 0 takes the system's
 * default, a smaller non-zero one is raised to the system's minimum, a
 * negative one is refused. The priority is applied only with
 * REALTIME_PRIORITY or PRIORITY_ENFORCE, as a fixed (first-in first-out)
 * priority clamped into the system's range; where the process may not use
 * fixed priorities the thread runs at the normal priority, except with
 * PRIORITY_ENFORCE, which then makes creation fail. FLOATING_POINT and STDIO
 * change nothing on this system. */
struct ZELOsapiThreadSettings {
    int32_t priority;
    int32_t stackSize;
    uint32_t options;
};
#define ZEL_OSAPI_THREAD_SETTINGS_DEFAULT \
    { -2, 0, ZEL_OSAPI_THREAD_OPTION_DEFAULT }

struct ZELOsapiThread;
typedef void *(*ZELOsapiThreadFunction)(void *param);

/* Starts `function(param)` on a new thread named `name` (truncated to what
 * the system keeps). NULL on failure. */
VURNCORE_API struct ZELOsapiThread *ZELOsapiThread_new(const char *name, const struct ZELOsapiThreadSettings *settings,
                                                       ZELOsapiThreadFunction function, void *param);
/* Waits for the thread to end and frees it. Fails, freeing nothing, for
 * the calling thread itself. */
VURNCORE_API ZELBoolean ZELOsapiThread_join(struct ZELOsapiThread *thread);
/* The calling thread's system id, unique among the process's live threads. */
VURNCORE_API uint64_t ZELOsapiThread_getCurrentId(void);
/* Sleeps for `duration` (relative; NULL or negative returns at once). */
VURNCORE_API void ZELOsapiThread_sleep(const struct ZELNtpTime *duration);

/* ---- thread-local storage ---- */

struct ZELOsapiThreadLocal;
/* `destructor` (may be NULL) runs with the thread's non-NULL value when a
 * thread that set one ends. */
VURNCORE_API struct ZELOsapiThreadLocal *ZELOsapiThreadLocal_new(void (*destructor)(void *value));
/* Values still set are left to their owners: no destructor runs for them. */
VURNCORE_API void ZELOsapiThreadLocal_delete(struct ZELOsapiThreadLocal *local);
VURNCORE_API void *ZELOsapiThreadLocal_get(const struct ZELOsapiThreadLocal *local);
VURNCORE_API ZELBoolean ZELOsapiThreadLocal_set(struct ZELOsapiThreadLocal *local, void *value);

/* ---- dynamic loading ---- */

struct ZELOsapiLibrary;
/* Opens a shared library by path (any name containing a directory separator
 * or a suffix) or by plain name without prefix and suffix ("zelmonitoring"
 * is libzelmonitoring.so here, zelmonitoring.dll on Windows). A plain name
 * is looked for along the system's search path, then beside the running
 * program. On failure returns NULL and, when `error` is not NULL, the
 * system's reason (of the search path, for a plain name). */
VURNCORE_API struct ZELOsapiLibrary *ZELOsapiLibrary_open(const char *name, char *error, size_t errorSize);
VURNCORE_API void *ZELOsapiLibrary_getSymbol(struct ZELOsapiLibrary *library, const char *symbol);
VURNCORE_API void ZELOsapiLibrary_close(struct ZELOsapiLibrary *library);

ZEL_EXTERN_C_END

#endif
