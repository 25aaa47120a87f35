// The active event generator driven by a clock that the test sets by hand.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "heap_check.h"
#include "vurncore/event.h"
#include "vurncore/osapi.h"

namespace {

struct EventRun {
    std::string label;
    ZELNtpTime time;
    ZELNtpTime now;
    void *data;
    REDAWorker *worker;
    uint64_t threadId;
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

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<EventRun> runs_;  // guarded by mutex_
};

// One posted event: a label and where to record its runs; `repeat` more
// runs are asked for, each a second later and with the data's first word
// counting up.
struct EventSpec {
    Recorder *recorder;
    std::string label;
    int repeat = 0;
};

ZELBoolean recordEvent(void *param, ZELNtpTime *newTime, const ZELNtpTime *now, const ZELNtpTime *time,
                       ZELEventData *data, REDAWorker *worker) {
    auto *spec = static_cast<EventSpec *>(param);
    spec->recorder->add(EventRun{spec->label, *time, *now, data->field[0], worker, ZELOsapiThread_getCurrentId()});
    if (spec->repeat == 0) {
        return ZEL_FALSE;
    }
    spec->repeat -= 1;
    newTime->sec += 1;
    data->field[0] = static_cast<char *>(data->field[0]) + 1;
    return ZEL_TRUE;
}

class EventGeneratorTest : public zeltest::HeapCheckedTest {
public:
    bool post(EventSpec *spec, int32_t dueSeconds, void *data = nullptr) {
        const ZELNtpTime due{dueSeconds, 0};
        const ZELEventData eventData{{data, nullptr}};
        return ZELEventActiveGenerator_postEvent(generator_, &due, &recordEvent, spec, &eventData);
    }

protected:
    void SetUp() override {
        zeltest::HeapCheckedTest::SetUp();
        factory_ = REDAWorkerFactory_new("events");
        clock_ = ZELHighResolutionClock_new();
        ASSERT_TRUE(factory_ && clock_);
        clock_->userData = &manualSeconds_;
        clock_->getTime = [](ZELHighResolutionClock *self, ZELNtpTime *now) -> ZELBoolean {
            *now = ZELNtpTime{static_cast<std::atomic<int32_t> *>(self->userData)->load(), 0};
            return ZEL_TRUE;
        };
        timer_ = ZELEventSmartTimer_new(clock_);
        ASSERT_NE(timer_, nullptr);
        const ZELEventGeneratorListener listener{&EventGeneratorTest::onStopped, this};
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
    static void onStopped(void *param) {
        auto *self = static_cast<EventGeneratorTest *>(param);
        self->stopped_.add(EventRun{"stopped", {}, {}, nullptr, nullptr, ZELOsapiThread_getCurrentId()});
    }

    std::atomic<int32_t> manualSeconds_{0};
    REDAWorkerFactory *factory_ = nullptr;
    ZELHighResolutionClock *clock_ = nullptr;
    ZELEventSmartTimer *timer_ = nullptr;
    ZELEventActiveGenerator *generator_ = nullptr;
    Recorder recorder_;
    Recorder stopped_;
};

std::vector<std::string> labels(const std::vector<EventRun> &runs) {
    std::vector<std::string> result;
    for (const EventRun &run : runs) {
        result.push_back(run.label);
    }
    return result;
}

TEST_F(EventGeneratorTest, EventsRunWhenDueInDueTimeOrderAndTiesInPostingOrder) {
    EventSpec c{&recorder_, "c"}, a{&recorder_, "a"}, b{&recorder_, "b"}, a2{&recorder_, "a2"};
    ASSERT_TRUE(post(&c, 3) && post(&a, 1) && post(&b, 2) && post(&a2, 1));
    EXPECT_EQ(ZELEventActiveGenerator_getPendingEventCount(generator_), 4);

    setClock(2);
    EXPECT_EQ(labels(recorder_.waitFor(3)), (std::vector<std::string>{"a", "a2", "b"}));
    setClock(10);
    const std::vector<EventRun> runs = recorder_.waitFor(4);
    ASSERT_EQ(labels(runs), (std::vector<std::string>{"a", "a2", "b", "c"}));
    EXPECT_EQ(runs[3].time.sec, 3);
    EXPECT_EQ(runs[3].now.sec, 10);
    for (const EventRun &run : runs) {
        EXPECT_NE(run.worker, nullptr);
        EXPECT_EQ(run.worker, runs[0].worker);
        EXPECT_NE(run.threadId, ZELOsapiThread_getCurrentId());
    }
    EXPECT_EQ(ZELEventActiveGenerator_getPendingEventCount(generator_), 0);
}

TEST_F(EventGeneratorTest, CallbackReschedulesWithItsNewTimeAndData) {
    EventSpec repeating{&recorder_, "r", 2};
    EventSpec late{&recorder_, "late"};
    ASSERT_TRUE(post(&repeating, 1) && post(&late, 5));
    setClock(4);
    const std::vector<EventRun> runs = recorder_.waitFor(3);
    ASSERT_EQ(labels(runs), (std::vector<std::string>{"r", "r", "r"}));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(runs[static_cast<size_t>(i)].time.sec, i + 1);
        EXPECT_EQ(runs[static_cast<size_t>(i)].data, static_cast<char *>(nullptr) + i);
    }
    // Dropped after its last run; only the late one waits.
    EXPECT_EQ(ZELEventActiveGenerator_getPendingEventCount(generator_), 1);
}

TEST_F(EventGeneratorTest, EventsPostedFromManyThreadsAndFromCallbacksAllRunOnce) {
    constexpr int kThreads = 4;
    constexpr int kPerThread = 50;
    struct Poster {
        EventGeneratorTest *test;
        std::vector<EventSpec> specs;
        std::atomic<int> failures{0};
    };
    std::vector<Poster> posters(kThreads);
    std::vector<ZELOsapiThread *> threads;
    for (int t = 0; t < kThreads; ++t) {
        posters[static_cast<size_t>(t)].test = this;
        for (int i = 0; i < kPerThread; ++i) {
            posters[static_cast<size_t>(t)].specs.push_back(
                    EventSpec{&recorder_, std::to_string(t) + "." + std::to_string(i)});
        }
        threads.push_back(ZELOsapiThread_new("poster", nullptr, [](void *param) -> void * {
            auto *poster = static_cast<Poster *>(param);
            for (EventSpec &spec : poster->specs) {
                poster->failures += poster->test->post(&spec, 0) ? 0 : 1;
            }
            return nullptr;
        }, &posters[static_cast<size_t>(t)]));
        ASSERT_NE(threads.back(), nullptr);
    }
    // A callback posting a follow-up event for the same time.
    struct Chain {
        EventGeneratorTest *test;
        EventSpec followUp;
    } chain{this, EventSpec{&recorder_, "follow-up"}};
    const ZELNtpTime now{0, 0};
    ASSERT_TRUE(ZELEventActiveGenerator_postEvent(generator_, &now,
            [](void *param, ZELNtpTime *, const ZELNtpTime *, const ZELNtpTime *, ZELEventData *,
               REDAWorker *) -> ZELBoolean {
                auto *c = static_cast<Chain *>(param);
                EXPECT_TRUE(c->test->post(&c->followUp, 0));
                return ZEL_FALSE;
            }, &chain, nullptr));
    for (ZELOsapiThread *thread : threads) {
        ASSERT_TRUE(ZELOsapiThread_join(thread));
    }
    const std::vector<EventRun> runs = recorder_.waitFor(kThreads * kPerThread + 1);
    ASSERT_EQ(runs.size(), size_t{kThreads * kPerThread + 1});
    std::vector<std::string> seen = labels(runs);
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(std::adjacent_find(seen.begin(), seen.end()), seen.end());
    for (const Poster &poster : posters) {
        EXPECT_EQ(poster.failures, 0);
    }
}

TEST_F(EventGeneratorTest, ShutdownDropsPendingEventsLetsTheRunningOneEndThenStops) {
    struct Blocker {
        ZELOsapiSemaphore *entered;
        ZELOsapiSemaphore *release;
    } blocker{ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_BINARY, nullptr),
              ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_BINARY, nullptr)};
    ASSERT_TRUE(blocker.entered && blocker.release);
    EventSpec pending{&recorder_, "pending"};
    ASSERT_TRUE(post(&pending, 100) && post(&pending, 200) && post(&pending, 300));
    const ZELNtpTime now{0, 0};
    ASSERT_TRUE(ZELEventActiveGenerator_postEvent(generator_, &now,
            [](void *param, ZELNtpTime *, const ZELNtpTime *, const ZELNtpTime *, ZELEventData *,
               REDAWorker *) -> ZELBoolean {
                auto *b = static_cast<Blocker *>(param);
                ZELOsapiSemaphore_give(b->entered);
                ZELOsapiSemaphore_take(b->release, nullptr);
                return ZEL_TRUE;  // asks for another run, which shutdown refuses
            }, &blocker, nullptr));
    ASSERT_EQ(ZELOsapiSemaphore_take(blocker.entered, nullptr), ZEL_OSAPI_SEMAPHORE_STATUS_OK);

    EXPECT_TRUE(ZELEventActiveGenerator_shutdown(generator_));
    EXPECT_EQ(ZELEventActiveGenerator_getPendingEventCount(generator_), 0);
    EXPECT_FALSE(post(&pending, 0));
    ZELOsapiSemaphore_give(blocker.release);

    const std::vector<EventRun> stops = stopped_.waitFor(1);
    ASSERT_EQ(stops.size(), 1u);
    EXPECT_NE(stops[0].threadId, ZELOsapiThread_getCurrentId());
    ZELEventActiveGenerator_delete(generator_);
    generator_ = nullptr;
    EXPECT_EQ(stopped_.waitFor(1).size(), 1u);
    EXPECT_EQ(recorder_.waitFor(0).size(), 0u);
    ZELOsapiSemaphore_delete(blocker.release);
    ZELOsapiSemaphore_delete(blocker.entered);
}

TEST_F(EventGeneratorTest, EveryAllocationFailureOfCreateAndPostLeavesNothingBehind) {
    // Every thread counts: the generator's thread makes its worker.
    zeltest::forEachAllocationFailure([this](long) {
        ZELEventSmartTimer *timer = ZELEventSmartTimer_new(clock_);
        ZELEventActiveGenerator *generator = ZELEventActiveGenerator_new(factory_, clock_, timer, nullptr, nullptr);
        if (generator != nullptr) {
            EventSpec spec{&recorder_, "never due"};
            const ZELNtpTime due{1000, 0};
            ZELEventActiveGenerator_postEvent(generator, &due, &recordEvent, &spec, nullptr);
            ZELEventActiveGenerator_delete(generator);
        }
        ZELEventSmartTimer_delete(timer);
    }, false);
}

TEST(EventGeneratorOnSystemClock, RunsEventOnItsNamedThreadWhenDue) {
    const long liveBlocksBefore = ZELOsapiHeap_getLiveBlockCount();
    REDAWorkerFactory *factory = REDAWorkerFactory_new("events");
    ZELHighResolutionClock *clock = ZELHighResolutionClock_new();
    ZELEventSmartTimer *timer = ZELEventSmartTimer_new(clock);
    const ZELEventThreadProperties properties{-2, 0, ZEL_OSAPI_THREAD_OPTION_DEFAULT, 3, 7};
    ZELEventActiveGenerator *generator = ZELEventActiveGenerator_new(factory, clock, timer, nullptr, &properties);
    ASSERT_NE(generator, nullptr);

    Recorder recorder;
    ZELNtpTime due{};
    ASSERT_TRUE(clock->getTime(clock, &due));
    due.frac += 0x04000000u;  // about 16 ms later
    due.sec += due.frac < 0x04000000u ? 1 : 0;
    ASSERT_TRUE(ZELEventActiveGenerator_postEvent(generator, &due,
            [](void *param, ZELNtpTime *, const ZELNtpTime *now, const ZELNtpTime *time, ZELEventData *,
               REDAWorker *) -> ZELBoolean {
                std::string name;
                std::ifstream("/proc/thread-self/comm") >> name;
                static_cast<Recorder *>(param)->add(EventRun{name, *time, *now, nullptr, nullptr, 0});
                return ZEL_FALSE;
            }, &recorder, nullptr));
    const std::vector<EventRun> runs = recorder.waitFor(1);
    ASSERT_EQ(runs.size(), 1u);
    EXPECT_EQ(runs[0].label, "zelEvt.d3p7");
    EXPECT_GE(ZELNtpTime_compare(&runs[0].now, &runs[0].time), 0);

    ZELEventActiveGenerator_delete(generator);
    ZELEventSmartTimer_delete(timer);
    ZELHighResolutionClock_delete(clock);
    REDAWorkerFactory_delete(factory);
    EXPECT_EQ(ZELOsapiHeap_getLiveBlockCount(), liveBlocksBefore);
}

}  // namespace
