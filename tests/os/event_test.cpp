// The active event generator, mostly driven by a clock set by hand.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "heap_check.h"
#include "log_capture.h"
#include "test_thread.h"
#include "vurncore/event.h"

namespace {

struct EventRun {
    std::string label;
    ZELNtpTime time;
    ZELNtpTime now;
    void *data;
    REDAWorker *worker;
    std::string threadName;
};

// What the callbacks saw, in order.
class Recorder {
public:
    void add(EventRun run) {
        std::lock_guard<std::mutex> guard(mutex_);
        runs_.push_back(std::move(run));
        changed_.notify_all();
    }
    // Waits (generously) until `count` runs were recorded; returns them.
    std::vector<EventRun> waitFor(size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait_for(lock, std::chrono::seconds(10), [&] { return runs_.size() >= count; });
        return runs_;
    }
    std::vector<std::string> labels(size_t count) {
        std::vector<std::string> result;
        for (const EventRun &run : waitFor(count)) {
            result.push_back(run.label);
        }
        return result;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<EventRun> runs_;  // guarded by mutex_
};

// A posted event records its runs and posts `followUp`, if any, due at
// once; while `repeat` is positive it asks for another run a second later,
// with the data's first word counting up.
struct EventSpec {
    Recorder *recorder;
    std::string label;
    int repeat = 0;
    ZELEventActiveGenerator *generator = nullptr;
    EventSpec *followUp = nullptr;
};

ZELBoolean recordEvent(void *param, ZELNtpTime *newTime, const ZELNtpTime *now, const ZELNtpTime *time,
                       ZELEventData *data, REDAWorker *worker) {
    auto *spec = static_cast<EventSpec *>(param);
    EventRun run{spec->label, *time, *now, data->field[0], worker, zeltest::currentThreadName()};
    if (spec->followUp != nullptr) {
        EXPECT_TRUE(ZELEventActiveGenerator_postEvent(spec->generator, now, &recordEvent, spec->followUp, nullptr));
    }
    const bool again = spec->repeat-- > 0;
    if (again) {
        newTime->sec += 1;
        data->field[0] = static_cast<char *>(data->field[0]) + 1;
    }
    // Last: a test that saw the run may end and take `spec` with it.
    spec->recorder->add(std::move(run));
    return again ? ZEL_TRUE : ZEL_FALSE;
}

class EventGeneratorTest : public zeltest::HeapCheckedTest {
public:
    bool post(EventSpec *spec, int32_t dueSeconds) {
        const ZELNtpTime due{dueSeconds, 0};
        return ZELEventActiveGenerator_postEvent(generator_, &due, &recordEvent, spec, nullptr);
    }

protected:
    void SetUp() override {
        zeltest::HeapCheckedTest::SetUp();
        factory_ = REDAWorkerFactory_new("events");
        clock_ = ZELHighResolutionClock_new();
        ASSERT_TRUE(factory_ && clock_);
        clock_->userData = this;
        clock_->getTime = [](ZELHighResolutionClock *self, ZELNtpTime *now) -> ZELBoolean {
            auto *test = static_cast<EventGeneratorTest *>(self->userData);
            *now = ZELNtpTime{test->manualSeconds_.load(), 0};
            return test->clockFails_ ? ZEL_FALSE : ZEL_TRUE;
        };
        timer_ = ZELEventSmartTimer_new(clock_);
        ASSERT_NE(timer_, nullptr);
        const ZELEventGeneratorListener listener{[](void *param) {
                                                     static_cast<Recorder *>(param)->add(EventRun{
                                                             "stopped", {}, {}, {}, {}, zeltest::currentThreadName()});
                                                 },
                                                 &stopped_};
        generator_ = ZELEventActiveGenerator_new(factory_, clock_, timer_, &listener, nullptr);
        ASSERT_NE(generator_, nullptr);
    }
    void TearDown() override {
        ZELEventActiveGenerator_delete(generator_);
        ZELEventSmartTimer_delete(timer_);
        ZELHighResolutionClock_delete(clock_);
        REDAWorkerFactory_delete(factory_);
        zeltest::HeapCheckedTest::TearDown();
    }
    void setClock(int32_t seconds) {
        manualSeconds_ = seconds;
        ZELEventSmartTimer_wakeup(timer_);
    }

    std::atomic<int32_t> manualSeconds_{0};
    std::atomic<bool> clockFails_{false};
    REDAWorkerFactory *factory_ = nullptr;
    ZELHighResolutionClock *clock_ = nullptr;
    ZELEventSmartTimer *timer_ = nullptr;
    ZELEventActiveGenerator *generator_ = nullptr;
    Recorder recorder_;
    Recorder stopped_;
};

using Labels = std::vector<std::string>;

// A callback that asks for another run is rescheduled with its new time and
// data, and dropped after its last run.
TEST_F(EventGeneratorTest, EventsRunWhenDueInDueTimeOrderTiesInPostingOrderAndReschedule) {
    EventSpec c{&recorder_, "c"}, a{&recorder_, "a"}, b{&recorder_, "b"}, a2{&recorder_, "a2"}, c2{&recorder_, "c2"};
    EventSpec repeating{&recorder_, "r", 2};
    ASSERT_TRUE(post(&c, 30) && post(&a, 10) && post(&b, 20) && post(&a2, 10) && post(&c2, 30) && post(&repeating, 10));
    EXPECT_EQ(ZELEventActiveGenerator_getPendingEventCount(generator_), 6);
    setClock(20);
    EXPECT_EQ(recorder_.labels(6), (Labels{"a", "a2", "r", "r", "r", "b"}));
    EXPECT_EQ(ZELEventActiveGenerator_getPendingEventCount(generator_), 2);
    setClock(100);
    EXPECT_EQ(recorder_.labels(8), (Labels{"a", "a2", "r", "r", "r", "b", "c", "c2"}));
    const std::vector<EventRun> runs = recorder_.waitFor(8);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(runs[2 + i].time.sec, static_cast<int32_t>(10 + i));
        EXPECT_EQ(runs[2 + i].data, static_cast<char *>(nullptr) + i);
    }
    EXPECT_TRUE(runs[6].time.sec == 30 && runs[6].now.sec == 100 && runs[6].worker != nullptr);
    EXPECT_EQ(runs[6].threadName, "zelEvt");
}

TEST_F(EventGeneratorTest, EventsPostedFromManyThreadsAndFromCallbacksAllRunOnce) {
    constexpr int kThreads = 4, kPerThread = 50;
    std::vector<EventSpec> specs;
    for (int i = 0; i < kThreads * kPerThread; ++i) {
        specs.push_back(EventSpec{&recorder_, std::to_string(i)});
    }
    EventSpec followUp{&recorder_, "follow-up"};
    EventSpec leader{&recorder_, "leader", 0, generator_, &followUp};
    ASSERT_TRUE(post(&leader, 0));
    {
        std::vector<std::unique_ptr<zeltest::TestThread>> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.push_back(std::make_unique<zeltest::TestThread>("poster", [&, t] {
                for (int i = t * kPerThread; i < (t + 1) * kPerThread; ++i) {
                    EXPECT_TRUE(post(&specs[static_cast<size_t>(i)], 0));
                }
            }));
        }
    }
    Labels seen = recorder_.labels(kThreads * kPerThread + 2);
    ASSERT_EQ(seen.size(), size_t{kThreads * kPerThread + 2});
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(std::adjacent_find(seen.begin(), seen.end()), seen.end());
}

TEST_F(EventGeneratorTest, ShutdownDropsPendingEventsLetsTheRunningOneEndThenStops) {
    ZELOsapiSemaphore *entered = ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_BINARY, nullptr);
    ZELOsapiSemaphore *release = ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_BINARY, nullptr);
    ZELOsapiSemaphore *blocker[2] = {entered, release};
    EventSpec pending{&recorder_, "pending"};
    ASSERT_TRUE(post(&pending, 100) && post(&pending, 200));
    const ZELNtpTime now{0, 0};
    ASSERT_TRUE(ZELEventActiveGenerator_postEvent(
            generator_, &now,
            [](void *param, ZELNtpTime *, const ZELNtpTime *, const ZELNtpTime *, ZELEventData *,
               REDAWorker *) -> ZELBoolean {
                auto **semaphores = static_cast<ZELOsapiSemaphore **>(param);
                ZELOsapiSemaphore_give(semaphores[0]);
                ZELOsapiSemaphore_take(semaphores[1], nullptr);
                return ZEL_TRUE;  // asks for another run, which shutdown refuses
            },
            blocker, nullptr));
    ASSERT_EQ(ZELOsapiSemaphore_take(entered, nullptr), ZEL_OSAPI_SEMAPHORE_STATUS_OK);

    EXPECT_TRUE(ZELEventActiveGenerator_shutdown(generator_));
    EXPECT_EQ(ZELEventActiveGenerator_getPendingEventCount(generator_), 0);
    EXPECT_FALSE(post(&pending, 0));
    ZELOsapiSemaphore_give(release);
    const std::vector<EventRun> stops = stopped_.waitFor(1);
    ASSERT_EQ(stops.size(), 1u);
    EXPECT_EQ(stops[0].threadName, "zelEvt");
    ZELEventActiveGenerator_delete(generator_);
    generator_ = nullptr;
    EXPECT_EQ(stopped_.waitFor(1).size(), 1u);
    EXPECT_TRUE(recorder_.waitFor(0).empty());
    ZELOsapiSemaphore_delete(release);
    ZELOsapiSemaphore_delete(entered);
}

TEST_F(EventGeneratorTest, ClockFailureIsLoggedAndEventsRunOnceItRecovers) {
    zeltest::LogCapture log;
    clockFails_ = true;
    EventSpec spec{&recorder_, "e"};
    ASSERT_TRUE(post(&spec, 0));
    for (int i = 0; i < 1000 && log.lines().empty(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ASSERT_FALSE(log.lines().empty());
    EXPECT_EQ(log.lines()[0],
              zeltest::expectedLine("ZELEventActiveGenerator_runI", ZEL_LOG_GET_FAILURE_s, "failed to get time\n"));
    EXPECT_EQ(ZELEventActiveGenerator_getPendingEventCount(generator_), 1);
    clockFails_ = false;
    setClock(0);
    EXPECT_EQ(recorder_.labels(1), Labels{"e"});
}

TEST_F(EventGeneratorTest, EveryAllocationFailureOfCreateAndPostLeavesNothingBehind) {
    // Every thread counts: the generator's thread makes its worker.
    zeltest::forEachAllocationFailure(
            [this](long) {
                ZELEventSmartTimer *timer = ZELEventSmartTimer_new(clock_);
                ZELEventActiveGenerator *generator =
                        ZELEventActiveGenerator_new(factory_, clock_, timer, nullptr, nullptr);
                if (generator != nullptr) {
                    EventSpec spec{&recorder_, "never due"};
                    const ZELNtpTime due{1000, 0};
                    ZELEventActiveGenerator_postEvent(generator, &due, &recordEvent, &spec, nullptr);
                    ZELEventActiveGenerator_delete(generator);
                }
                ZELEventSmartTimer_delete(timer);
            },
            false);
}

class EventGeneratorOnSystemClock : public zeltest::HeapCheckedTest {};

TEST_F(EventGeneratorOnSystemClock, RunsEventOnItsNamedThreadWhenDue) {
    REDAWorkerFactory *factory = REDAWorkerFactory_new("events");
    ZELHighResolutionClock *clock = ZELHighResolutionClock_new();
    ZELEventSmartTimer *timer = ZELEventSmartTimer_new(clock);
    const ZELEventThreadProperties properties{-2, 0, ZEL_OSAPI_THREAD_OPTION_DEFAULT, 3, 7};
    ZELEventActiveGenerator *generator = ZELEventActiveGenerator_new(factory, clock, timer, nullptr, &properties);
    ASSERT_NE(generator, nullptr);
    Recorder recorder;
    ZELNtpTime due{};
    ASSERT_TRUE(clock->getTime(clock, &due));
    due = ZELNtpTime{due.sec + 1, 0};
    EventSpec spec{&recorder, "e"};
    ASSERT_TRUE(ZELEventActiveGenerator_postEvent(generator, &due, &recordEvent, &spec, nullptr));
    const std::vector<EventRun> runs = recorder.waitFor(1);
    ASSERT_EQ(runs.size(), 1u);
    EXPECT_EQ(runs[0].threadName, "zelEvt.d3p7");
    EXPECT_GE(ZELNtpTime_compare(&runs[0].now, &due), 0);
    ZELEventActiveGenerator_delete(generator);
    ZELEventSmartTimer_delete(timer);
    ZELHighResolutionClock_delete(clock);
    REDAWorkerFactory_delete(factory);
}

}  // namespace
