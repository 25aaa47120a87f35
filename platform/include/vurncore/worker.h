/* Workers and exclusive areas. A worker is the calling thread's identity
 * towards the platform, made on demand, one per thread and worker factory.
 * Exclusive areas are recursive locks with a level: a worker holding areas
 * may enter another area only of a strictly lower level (or one it already
 * holds), which makes every lock order explicit and checked. */
#ifndef VURNCORE_WORKER_H
#define VURNCORE_WORKER_H

#include "vurncore/dll.h"
#include "vurncore/types.h"

ZEL_EXTERN_C_BEGIN

struct REDAWorkerFactory;
struct REDAWorker;
struct REDAExclusiveArea;

VURNCORE_API struct REDAWorkerFactory *REDAWorkerFactory_new(const char *name);
/* Frees the factory and every worker it made (threads must no longer use them). */
VURNCORE_API void REDAWorkerFactory_delete(struct REDAWorkerFactory *factory);

/* The calling thread's worker of this factory, made on first use and freed
 * when the thread ends or the factory is deleted. NULL when out of heap. */
VURNCORE_API struct REDAWorker *REDAWorkerFactory_getWorker(struct REDAWorkerFactory *factory);
VURNCORE_API const char *REDAWorker_getName(const struct REDAWorker *worker);

VURNCORE_API struct REDAExclusiveArea *REDAWorkerFactory_createExclusiveArea(struct REDAWorkerFactory *factory,
                                                                             int level);
VURNCORE_API void REDAWorkerFactory_destroyExclusiveArea(struct REDAWorkerFactory *factory,
                                                         struct REDAExclusiveArea *area);

/* Enter and leave. Entering fails (and logs) when the order of levels would
 * be broken; leaving fails when the worker does not hold the area.
 * `failReason` may be NULL; on failure it receives a static explanation. */
VURNCORE_API ZELBoolean REDAWorker_enterExclusiveArea(struct REDAWorker *worker, const char **failReason,
                                                      struct REDAExclusiveArea *area);
VURNCORE_API ZELBoolean REDAWorker_leaveExclusiveArea(struct REDAWorker *worker, const char **failReason,
                                                      struct REDAExclusiveArea *area);
VURNCORE_API int REDAExclusiveArea_getLevel(const struct REDAExclusiveArea *area);

ZEL_EXTERN_C_END

#endif
