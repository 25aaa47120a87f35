// Workers (one per thread and factory) and exclusive areas (levelled,
// recursive locks entered through a worker).
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "heap_check.h"
#include "log_capture.h"
#include "test_thread.h"
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

    REDAWorkerFactory *factory_ = nullptr;
};

TEST_F(WorkerTest, EachThreadHasItsOwnWorkerFreedAtItsEndOrWithItsFactory) {
    REDAWorker *mine = REDAWorkerFactory_getWorker(factory_);
    ASSERT_NE(mine, nullptr);
    EXPECT_EQ(REDAWorkerFactory_getWorker(factory_), mine);

    const long liveBlocksBefore = ZELOsapiHeap_getLiveBlockCount();
    REDAWorker *first = nullptr, *second = nullptr;
    EXPECT_TRUE(zeltest::TestThread("own", [&] {
                    first = REDAWorkerFactory_getWorker(factory_);
                    second = REDAWorkerFactory_getWorker(factory_);
                }).join());
    EXPECT_TRUE(first != nullptr && first == second && first != mine);
    EXPECT_EQ(ZELOsapiHeap_getLiveBlockCount(), liveBlocksBefore);

    // A factory deleted while a thread still runs frees that thread's
    // worker; the thread's end must not free it again.
    REDAWorkerFactory *doomed = REDAWorkerFactory_new("doomed");
    ZELOsapiSemaphore *haveWorker = ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_BINARY, nullptr);
    ZELOsapiSemaphore *factoryDeleted = ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_BINARY, nullptr);
    EXPECT_NE(REDAWorkerFactory_getWorker(doomed), mine);
    zeltest::TestThread holder("holder", [&] {
        REDAWorkerFactory_getWorker(doomed);
        ZELOsapiSemaphore_give(haveWorker);
        ZELOsapiSemaphore_take(factoryDeleted, nullptr);
    });
    ASSERT_EQ(ZELOsapiSemaphore_take(haveWorker, nullptr), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    REDAWorkerFactory_delete(doomed);
    ZELOsapiSemaphore_give(factoryDeleted);
    EXPECT_TRUE(holder.join());
    ZELOsapiSemaphore_delete(factoryDeleted);
    ZELOsapiSemaphore_delete(haveWorker);
}

TEST_F(WorkerTest, AreaKeepsAnUnguardedCounterExactUnderContention) {
    constexpr int kThreads = 4;
    constexpr int kIncrements = 20000;
    REDAExclusiveArea *area = REDAWorkerFactory_createExclusiveArea(factory_, 5);
    ASSERT_NE(area, nullptr);
    long counter = 0;  // guarded by area, deliberately not atomic
    std::atomic<int> failures{0};
    {
        std::vector<std::unique_ptr<zeltest::TestThread>> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.push_back(std::make_unique<zeltest::TestThread>("inc", [&] {
                REDAWorker *worker = REDAWorkerFactory_getWorker(factory_);
                for (int n = 0; n < kIncrements; ++n) {
                    // Entered twice: leaving the inner entry must not unlock.
                    if (!REDAWorker_enterExclusiveArea(worker, nullptr, area) ||
                        !REDAWorker_enterExclusiveArea(worker, nullptr, area)) {
                        failures += 1;
                        continue;
                    }
                    const long seen = counter;
                    REDAWorker_leaveExclusiveArea(worker, nullptr, area);
                    counter = seen + 1;
                    failures += REDAWorker_leaveExclusiveArea(worker, nullptr, area) ? 0 : 1;
                }
            }));
        }
    }
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(counter, long{kThreads} * kIncrements);
    REDAWorkerFactory_destroyExclusiveArea(factory_, area);
}

TEST_F(WorkerTest, AreasAreEnteredOnlyInDescendingLevelsAndLeftOnlyWhenHeld) {
    zeltest::LogCapture log;
    REDAWorker *worker = REDAWorkerFactory_getWorker(factory_);
    REDAExclusiveArea *five = REDAWorkerFactory_createExclusiveArea(factory_, 5);
    REDAExclusiveArea *fiveToo = REDAWorkerFactory_createExclusiveArea(factory_, 5);
    REDAExclusiveArea *four = REDAWorkerFactory_createExclusiveArea(factory_, 4);
    REDAExclusiveArea *three = REDAWorkerFactory_createExclusiveArea(factory_, 3);
    ASSERT_TRUE(worker && five && fiveToo && four && three);
    auto enter = [&](REDAExclusiveArea *area) { return REDAWorker_enterExclusiveArea(worker, nullptr, area); };
    auto leave = [&](REDAExclusiveArea *area) { return REDAWorker_leaveExclusiveArea(worker, nullptr, area); };

    const char *reason = nullptr;
    EXPECT_FALSE(REDAWorker_leaveExclusiveArea(worker, &reason, five));
    EXPECT_STREQ(reason, "exclusive area not held by this worker");
    EXPECT_TRUE(enter(five) && enter(three));
    EXPECT_TRUE(enter(five) && leave(five));  // a held area may be entered again
    EXPECT_FALSE(REDAWorker_enterExclusiveArea(worker, &reason, fiveToo));
    EXPECT_STREQ(reason, "exclusive area level not below the lowest level held");
    EXPECT_FALSE(enter(four));
    // Leaving the lowest area makes the next one the bound; areas may be
    // left out of order.
    EXPECT_TRUE(leave(three) && enter(four) && leave(five));
    EXPECT_FALSE(enter(fiveToo));
    EXPECT_TRUE(enter(three) && leave(four) && leave(three) && enter(fiveToo) && leave(fiveToo));
    EXPECT_FALSE(leave(five));

    EXPECT_EQ(log.lines().size(), 5u);
    EXPECT_TRUE(log.contains("REDAWorker_enterExclusiveArea", ZEL_LOG_PRECONDITION_NOT_MET_s,
                             "precondition not met: exclusive area level not below the lowest level held\n"));
    for (REDAExclusiveArea *area : {three, four, fiveToo, five}) {
        REDAWorkerFactory_destroyExclusiveArea(factory_, area);
    }
}

TEST_F(WorkerTest, EveryAllocationFailureLeavesNothingBehind) {
    zeltest::forEachAllocationFailure([](long) {
        REDAWorkerFactory *factory = REDAWorkerFactory_new("failing");
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
