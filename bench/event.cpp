// Costs of the core's event and locking services.
#include <benchmark/benchmark.h>

#include "vurncore/event.h"
#include "vurncore/osapi.h"
#include "vurncore/worker.h"

namespace {

// An uncontended exclusive area entered and left through the thread's worker.
void BM_ExclusiveAreaEnterLeave(benchmark::State &state) {
    REDAWorkerFactory *factory = REDAWorkerFactory_new("bench");
    REDAExclusiveArea *area = REDAWorkerFactory_createExclusiveArea(factory, 5);
    REDAWorker *worker = REDAWorkerFactory_getWorker(factory);
    for (auto _ : state) {
        REDAWorker_enterExclusiveArea(worker, nullptr, area);
        REDAWorker_leaveExclusiveArea(worker, nullptr, area);
    }
    REDAWorkerFactory_destroyExclusiveArea(factory, area);
    REDAWorkerFactory_delete(factory);
}
BENCHMARK(BM_ExclusiveAreaEnterLeave);

// The common path of getWorker: the thread already has its worker.
void BM_GetWorker(benchmark::State &state) {
    REDAWorkerFactory *factory = REDAWorkerFactory_new("bench");
    for (auto _ : state) {
        benchmark::DoNotOptimize(REDAWorkerFactory_getWorker(factory));
    }
    REDAWorkerFactory_delete(factory);
}
BENCHMARK(BM_GetWorker);

struct Generator {
    REDAWorkerFactory *factory = REDAWorkerFactory_new("bench");
    ZELHighResolutionClock *clock = ZELHighResolutionClock_new();
    ZELEventSmartTimer *timer = ZELEventSmartTimer_new(clock);
    ZELEventActiveGenerator *generator = ZELEventActiveGenerator_new(factory, clock, timer, nullptr, nullptr);
    ~Generator() {
        ZELEventActiveGenerator_delete(generator);
        ZELEventSmartTimer_delete(timer);
        ZELHighResolutionClock_delete(clock);
        REDAWorkerFactory_delete(factory);
    }
};

ZELBoolean giveSemaphore(void *param, ZELNtpTime *, const ZELNtpTime *, const ZELNtpTime *, ZELEventData *,
                         REDAWorker *) {
    ZELOsapiSemaphore_give(static_cast<ZELOsapiSemaphore *>(param));
    return ZEL_FALSE;
}

// From posting an event due at once to its callback having run.
void BM_PostAndRunDueEvent(benchmark::State &state) {
    Generator g;
    ZELOsapiSemaphore *ran = ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_BINARY, nullptr);
    const ZELNtpTime due = ZEL_NTP_TIME_ZERO;
    for (auto _ : state) {
        ZELEventActiveGenerator_postEvent(g.generator, &due, &giveSemaphore, ran, nullptr);
        ZELOsapiSemaphore_take(ran, nullptr);
    }
    ZELOsapiSemaphore_delete(ran);
}
BENCHMARK(BM_PostAndRunDueEvent);

// Posting events that are not yet due, in time order, onto a growing queue.
void BM_PostFutureEvents(benchmark::State &state) {
    Generator g;
    ZELNtpTime due{1000000, 0};
    for (auto _ : state) {
        due.frac += 1;
        ZELEventActiveGenerator_postEvent(g.generator, &due, &giveSemaphore, nullptr, nullptr);
    }
}
BENCHMARK(BM_PostFutureEvents);

}  // namespace

BENCHMARK_MAIN();
