// Workers (one per thread and factory) and exclusive areas (levelled,
// recursive locks entered through a worker).
#include <atomic>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "heap_check.h"
#include "log_capture.h"
#include "vurncore/osapi.h"
#include "vurncore/worker.h"

namespace {

class WorkerTest : public zeltest::HeapCheckedTest {
protected:
    void SetUp() override {
        zeltest::HeapCheckedTest::SetUp();
        factory_ = REDAWorkerFactory_new("test");
        ASSERT_NE(factory_, nullptr);
    }
    void TearDown() override {
        REDAWorkerFactory_delete(factory_);
        zeltest::HeapCheckedTest::TearDown();
    }

    // Runs `function(param)` on a new thread and waits for its end.
    static void runOnThread(ZELOsapiThreadFunction function, void *param) {
        ZELOsapiThread *thread = ZELOsapiThread_new("worker", nullptr, function, param);
        ASSERT_NE(thread, nullptr);
        ASSERT_TRUE(ZELOsapiThread_join(thread));
    }

    REDAWorkerFactory *factory_ = nullptr;
};

TEST_F(WorkerTest, EachThreadHasItsOwnWorkerFreedAtItsEnd) {
    REDAWorker *mine = REDAWorkerFactory_getWorker(factory_);
    ASSERT_NE(mine, nullptr);
    EXPECT_EQ(REDAWorkerFactory_getWorker(factory_), mine);

    REDAWorkerFactory *other = REDAWorkerFactory_new("other");
    ASSERT_NE(other, nullptr);
    EXPECT_NE(REDAWorkerFactory_getWorker(other), mine);

    struct Context {
        REDAWorkerFactory *factory;
        REDAWorker *first;
        REDAWorker *second;
        std::string name;
        long liveBlocks;
    } context{factory_, nullptr, nullptr, {}, 0};
    const long liveBlocksBefore = ZELOsapiHeap_getLiveBlockCount();
    runOnThread([](void *param) -> void * {
        auto *c = static_cast<Context *>(param);
        c->first = REDAWorkerFactory_getWorker(c->factory);
        c->second = REDAWorkerFactory_getWorker(c->factory);
        c->name = REDAWorker_getName(c->first);
        c->liveBlocks = ZELOsapiHeap_getLiveBlockCount();
        return nullptr;
    }, &context);
    ASSERT_NE(context.first, nullptr);
    EXPECT_EQ(context.second, context.first);
    EXPECT_NE(context.first, mine);
    EXPECT_EQ(context.name.rfind("test.", 0), 0u);
    EXPECT_GT(context.liveBlocks, liveBlocksBefore);
    EXPECT_EQ(ZELOsapiHeap_getLiveBlockCount(), liveBlocksBefore);

    // The other factory's worker of this thread goes with its factory.
    REDAWorkerFactory_delete(other);
}

TEST_F(WorkerTest, FactoryDeletionFreesWorkersOfThreadsStillRunning) {
    struct Context {
        REDAWorkerFactory *factory;
        ZELOsapiSemaphore *haveWorker;
        ZELOsapiSemaphore *factoryDeleted;
    } context{REDAWorkerFactory_new("doomed"), ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_BINARY, nullptr),
              ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_BINARY, nullptr)};
    const long liveBlocksBefore = ZELOsapiHeap_getLiveBlockCount();
    ZELOsapiThread *thread = ZELOsapiThread_new("holder", nullptr, [](void *param) -> void * {
        auto *c = static_cast<Context *>(param);
        REDAWorkerFactory_getWorker(c->factory);
        ZELOsapiSemaphore_give(c->haveWorker);
        ZELOsapiSemaphore_take(c->factoryDeleted, nullptr);
        return nullptr;  // its end must not free the worker again
    }, &context);
    ASSERT_NE(thread, nullptr);
    ASSERT_EQ(ZELOsapiSemaphore_take(context.haveWorker, nullptr), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    REDAWorkerFactory_delete(context.factory);
    ZELOsapiSemaphore_give(context.factoryDeleted);
    ASSERT_TRUE(ZELOsapiThread_join(thread));
    EXPECT_EQ(ZELOsapiHeap_getLiveBlockCount(), liveBlocksBefore - 2);  // the factory and its worker
    ZELOsapiSemaphore_delete(context.factoryDeleted);
    ZELOsapiSemaphore_delete(context.haveWorker);
}

TEST_F(WorkerTest, AreaKeepsAnUnguardedCounterExactUnderContention) {
    constexpr int kThreads = 4;
    constexpr int kIncrements = 20000;
    struct Context {
        REDAWorkerFactory *factory;
        REDAExclusiveArea *area;
        long counter;  // guarded by area, deliberately not atomic
        std::atomic<int> failures;
    } context{factory_, REDAWorkerFactory_createExclusiveArea(factory_, 5), 0, {0}};
    ASSERT_NE(context.area, nullptr);
    std::vector<ZELOsapiThread *> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.push_back(ZELOsapiThread_new("inc", nullptr, [](void *param) -> void * {
            auto *c = static_cast<Context *>(param);
            REDAWorker *worker = REDAWorkerFactory_getWorker(c->factory);
            for (int n = 0; n < kIncrements; ++n) {
                // Entered twice: recursion must not release the lock early.
                if (!REDAWorker_enterExclusiveArea(worker, nullptr, c->area) ||
                    !REDAWorker_enterExclusiveArea(worker, nullptr, c->area)) {
                    c->failures += 1;
                    continue;
                }
                const long seen = c->counter;
                REDAWorker_leaveExclusiveArea(worker, nullptr, c->area);
                c->counter = seen + 1;
                if (!REDAWorker_leaveExclusiveArea(worker, nullptr, c->area)) {
                    c->failures += 1;
                }
            }
            return nullptr;
        }, &context));
        ASSERT_NE(threads.back(), nullptr);
    }
    for (ZELOsapiThread *thread : threads) {
        ASSERT_TRUE(ZELOsapiThread_join(thread));
    }
    EXPECT_EQ(context.failures, 0);
    EXPECT_EQ(context.counter, long{kThreads} * kIncrements);
    REDAWorkerFactory_destroyExclusiveArea(factory_, context.area);
}

TEST_F(WorkerTest, AreasAreEnteredOnlyInDescendingLevelsAndLeftOnlyWhenHeld) {
    zeltest::LogCapture log;
    REDAWorker *worker = REDAWorkerFactory_getWorker(factory_);
    REDAExclusiveArea *five = REDAWorkerFactory_createExclusiveArea(factory_, 5);
    REDAExclusiveArea *fiveToo = REDAWorkerFactory_createExclusiveArea(factory_, 5);
    REDAExclusiveArea *four = REDAWorkerFactory_createExclusiveArea(factory_, 4);
    REDAExclusiveArea *three = REDAWorkerFactory_createExclusiveArea(factory_, 3);
    ASSERT_TRUE(worker && five && fiveToo && four && three);
    EXPECT_EQ(REDAExclusiveArea_getLevel(four), 4);
    const char *orderReason = "exclusive area level not below the lowest level held";
    const char *notHeldReason = "exclusive area not held by this worker";

    const char *reason = nullptr;
    EXPECT_FALSE(REDAWorker_leaveExclusiveArea(worker, &reason, five));
    EXPECT_STREQ(reason, notHeldReason);

    ASSERT_TRUE(REDAWorker_enterExclusiveArea(worker, nullptr, five));
    ASSERT_TRUE(REDAWorker_enterExclusiveArea(worker, nullptr, three));
    // Re-entering a held area is allowed whatever its level.
    EXPECT_TRUE(REDAWorker_enterExclusiveArea(worker, nullptr, five));
    EXPECT_TRUE(REDAWorker_leaveExclusiveArea(worker, nullptr, five));
    // Same level and higher levels than the lowest held are refused.
    reason = nullptr;
    EXPECT_FALSE(REDAWorker_enterExclusiveArea(worker, &reason, fiveToo));
    EXPECT_STREQ(reason, orderReason);
    EXPECT_FALSE(REDAWorker_enterExclusiveArea(worker, nullptr, four));

    // Leaving the lowest area makes the next one the bound again.
    EXPECT_TRUE(REDAWorker_leaveExclusiveArea(worker, nullptr, three));
    EXPECT_TRUE(REDAWorker_enterExclusiveArea(worker, nullptr, four));
    // Areas may be left out of order.
    EXPECT_TRUE(REDAWorker_leaveExclusiveArea(worker, nullptr, five));
    EXPECT_FALSE(REDAWorker_enterExclusiveArea(worker, nullptr, fiveToo));
    EXPECT_TRUE(REDAWorker_enterExclusiveArea(worker, nullptr, three));
    EXPECT_TRUE(REDAWorker_leaveExclusiveArea(worker, nullptr, four));
    EXPECT_TRUE(REDAWorker_leaveExclusiveArea(worker, nullptr, three));
    EXPECT_TRUE(REDAWorker_enterExclusiveArea(worker, nullptr, fiveToo));
    EXPECT_TRUE(REDAWorker_leaveExclusiveArea(worker, nullptr, fiveToo));
    EXPECT_FALSE(REDAWorker_leaveExclusiveArea(worker, nullptr, five));

    const std::vector<zeltest::CapturedLine> expected = {
            zeltest::expectedLine("REDAWorker_leaveExclusiveArea", ZEL_LOG_PRECONDITION_NOT_MET_s,
                                  std::string("precondition not met: ") + notHeldReason + "\n"),
            zeltest::expectedLine("REDAWorker_enterExclusiveArea", ZEL_LOG_PRECONDITION_NOT_MET_s,
                                  std::string("precondition not met: ") + orderReason + "\n"),
            zeltest::expectedLine("REDAWorker_enterExclusiveArea", ZEL_LOG_PRECONDITION_NOT_MET_s,
                                  std::string("precondition not met: ") + orderReason + "\n"),
            zeltest::expectedLine("REDAWorker_enterExclusiveArea", ZEL_LOG_PRECONDITION_NOT_MET_s,
                                  std::string("precondition not met: ") + orderReason + "\n"),
            zeltest::expectedLine("REDAWorker_leaveExclusiveArea", ZEL_LOG_PRECONDITION_NOT_MET_s,
                                  std::string("precondition not met: ") + notHeldReason + "\n"),
    };
    EXPECT_EQ(log.lines(), expected);
    for (REDAExclusiveArea *area : {three, four, fiveToo, five}) {
        REDAWorkerFactory_destroyExclusiveArea(factory_, area);
    }
}

TEST_F(WorkerTest, EveryAllocationFailureLeavesNothingBehind) {
    zeltest::forEachAllocationFailure([](long) {
        REDAWorkerFactory *factory = REDAWorkerFactory_new("failing");
        if (factory == nullptr) {
            return;
        }
        REDAExclusiveArea *area = REDAWorkerFactory_createExclusiveArea(factory, 1);
        REDAWorker *worker = REDAWorkerFactory_getWorker(factory);
        if (area != nullptr && worker != nullptr) {
            EXPECT_TRUE(REDAWorker_enterExclusiveArea(worker, nullptr, area));
            EXPECT_TRUE(REDAWorker_leaveExclusiveArea(worker, nullptr, area));
        }
        REDAWorkerFactory_destroyExclusiveArea(factory, area);
        REDAWorkerFactory_delete(factory);
    });
}

}  // namespace
