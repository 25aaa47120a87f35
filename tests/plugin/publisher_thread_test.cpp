// The publishing thread: due-time arithmetic, running and stopping events,
// and the failures of create and post.
#include <future>

#include "entity_set.h"
#include "monitor_fixture.h"
#include "publisher_thread.h"
#include "vurncore/event.h"

namespace {

using zeltest::recordText;

class PublisherThreadTest : public zeltest::MonitorTest {
protected:
    ZELDefaultMonitorPublisherThread *createThread(DDS_DomainParticipant *participant) {
        const ZELOsapiThreadSettings settings = ZEL_OSAPI_THREAD_SETTINGS_DEFAULT;
        return ZELDefaultMonitorPublisherThread_create(factory_, participant, &settings);
    }
};

ZELNtpTime timeOf(int32_t sec, uint32_t frac) { return ZELNtpTime{sec, frac}; }

void expectTime(const ZELNtpTime &time, int32_t sec, uint32_t frac) {
    EXPECT_EQ(time.sec, sec);
    EXPECT_EQ(time.frac, frac);
}

TEST(PublisherThreadTimeTest, DelaysAddWithACarryAndStayInfinite) {
    const ZELNtpTime end = {ZEL_NTP_TIME_SEC_MAX, ZEL_NTP_TIME_FRAC_MAX};
    const std::pair<DDS_Duration_t, ZELNtpTime> durations[] = {
            {{1, 500000000u}, {1, 0x7fffffffu}}, {{0, 999999999u}, {0, 0xfffffffbu}}, {DDS_DURATION_INFINITE, end}};
    for (const auto &[duration, expected] : durations) {
        ZELNtpTime time{};
        ZELDefaultMonitorPublisherThread_durationToTimeI(&time, &duration);
        expectTime(time, expected.sec, expected.frac);
    }
    const ZELNtpTime now = timeOf(10, 0xf0000000u);
    const ZELNtpTime infinite = ZEL_NTP_TIME_INFINITE;
    const std::array<ZELNtpTime, 3> sums[] = {{now, timeOf(1, 0x20000000u), timeOf(12, 0x10000000u)},
                                              {now, timeOf(2, 0x0fffffffu), timeOf(12, 0xffffffffu)},
                                              {now, infinite, end},
                                              {infinite, timeOf(1, 0u), end},
                                              {timeOf(ZEL_NTP_TIME_SEC_MAX - 1, 0xffffffffu), timeOf(0, 1u), end}};
    for (const auto &[left, right, expected] : sums) {
        ZELNtpTime time{};
        ZELDefaultMonitorPublisherThread_addTimeI(&time, &left, &right);
        expectTime(time, expected.sec, expected.frac);
    }
}

ZELBoolean fulfil(void *param, ZELNtpTime *, const ZELNtpTime *, const ZELNtpTime *, ZELEventData *, REDAWorker *) {
    static_cast<std::promise<void> *>(param)->set_value();
    return ZEL_FALSE;
}

ZELBoolean failingClock(ZELHighResolutionClock *, ZELNtpTime *) { return ZEL_FALSE; }

TEST_F(PublisherThreadTest, PostedEventsRunOnTheThreadUntilItIsFinalized) {
    zeltest::LogCapture capture;
    ZEL_Monitor_Log_setVerbosity(0xFFFFu, 2);
    DDS_DomainParticipant *participant = createParticipant({});
    ZELDefaultMonitorPublisherThread *thread = createThread(participant);
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(thread->onStopped, &ZELDefaultMonitorPublisherThread_onStoppedI);
    EXPECT_EQ(thread->onStoppedParam, thread->stoppedSemaphore);

    std::promise<void> ran;
    const ZELNtpTime now = ZEL_NTP_TIME_ZERO;
    ASSERT_TRUE(ZELDefaultMonitorPublisherThread_postEvent(thread, &now, &fulfil, &ran));
    ran.get_future().wait();
    EXPECT_TRUE(capture.contains("ZELDefaultMonitorPublisherThread_postEvent", ZEL_MONITOR_LOG_INFO_s,
                                 "monitor info: posting event\n"));

    // An event that is not due yet is dropped when the thread stops.
    const ZELNtpTime later = {3600, 0u};
    std::promise<void> never;
    ASSERT_TRUE(ZELDefaultMonitorPublisherThread_postEvent(thread, &later, &fulfil, &never));

    // A clock that cannot be read (the generator's own clock is read by its
    // thread, so a stand-in object carries the failing one).
    ZELHighResolutionClock failing{&failingClock, nullptr};
    ZELDefaultMonitorPublisherThread standIn{};
    standIn.clock = &failing;
    EXPECT_FALSE(ZELDefaultMonitorPublisherThread_postEvent(&standIn, &later, &fulfil, &never));
    EXPECT_TRUE(capture.contains("ZELDefaultMonitorPublisherThread_postEvent", ZEL_LOG_ANY_FAILURE_s,
                                 recordText(ZEL_LOG_ANY_FAILURE_s, "getTime")));

    ASSERT_TRUE(ZELEventActiveGenerator_shutdown(thread->generator));
    EXPECT_FALSE(ZELDefaultMonitorPublisherThread_postEvent(thread, &later, &fulfil, &never));
    EXPECT_TRUE(capture.contains("ZELDefaultMonitorPublisherThread_postEvent", ZEL_LOG_ADD_FAILURE_s,
                                 recordText(ZEL_LOG_ADD_FAILURE_s, "event")));
    EXPECT_TRUE(ZELDefaultMonitorPublisherThread_finalize(thread));
    EXPECT_TRUE(capture.contains("ZELDefaultMonitorPublisherThread_finalize", ZEL_MONITOR_LOG_INFO_s,
                                 "monitor info: shutdown thread\n"));
}

TEST_F(PublisherThreadTest, CreateFinalizesWhatItMadeWhenAStepFails) {
    zeltest::LogCapture capture;
    DDS_DomainParticipant *participant = createParticipant({});
    ZELDefaultMonitorPublisherThread_finalize(createThread(participant));  // makes the thread's worker
    zeltest::forEachAllocationFailure([&](long) {
        ZELDefaultMonitorPublisherThread *thread = createThread(participant);
        if (thread != nullptr) {
            EXPECT_TRUE(ZELDefaultMonitorPublisherThread_finalize(thread));
        }
    });
    EXPECT_TRUE(capture.contains("ZELDefaultMonitorPublisherThread_create", ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                 recordText(ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                            static_cast<int>(sizeof(ZELDefaultMonitorPublisherThread)))));
    EXPECT_TRUE(capture.contains("ZELDefaultMonitorPublisherThread_create", ZEL_LOG_CREATION_FAILURE_s,
                                 recordText(ZEL_LOG_CREATION_FAILURE_s, "eventGenerator")));

    const ZELOsapiThreadSettings settings = ZEL_OSAPI_THREAD_SETTINGS_DEFAULT;
    EXPECT_EQ(ZELDefaultMonitorPublisherThread_create(nullptr, participant, &settings), nullptr);
    EXPECT_TRUE(capture.contains("ZELDefaultMonitorPublisherThread_create", ZEL_LOG_GET_FAILURE_s,
                                 recordText(ZEL_LOG_GET_FAILURE_s, "worker factory")));
}

// A walk that cannot run (a participant that cannot be locked, a list that
// cannot be entered) is logged, and the event still comes back a period later.
TEST_F(PublisherThreadTest, StatisticsEventsComeBackOnePeriodLaterEvenWhenTheirWalkFails) {
    zeltest::LogCapture capture;
    ZELDefaultMonitorEntitySet set{};
    set.period = DDS_Duration_t{5, 250000000u};
    ZELDefaultMonitorPublisher publisher{};
    publisher.sharedEntities = &set;
    ZELDefaultMonitorParticipantObject object{};
    object.entities = &set;
    const ZELNtpTime now = timeOf(100, 0xe0000000u);
    ZELNtpTime newTime = now;
    EXPECT_TRUE(
            ZELDefaultMonitorParticipantObject_onCommonStatsEventI(&publisher, &newTime, &now, &now, nullptr, nullptr));
    expectTime(newTime, 106, 0x1fffffffu);
    EXPECT_TRUE(capture.contains("ZELDefaultMonitorParticipantObject_onCommonStatsEventI", ZEL_LOG_CREATION_FAILURE_s,
                                 recordText(ZEL_LOG_CREATION_FAILURE_s, "ea")));
    newTime = now;
    EXPECT_TRUE(ZELDefaultMonitorParticipantObject_onPerParticipantStatsEventI(&object, &newTime, &now, &now, nullptr,
                                                                               nullptr));
    expectTime(newTime, 106, 0x1fffffffu);
    EXPECT_TRUE(capture.contains("ZELDefaultMonitorParticipantObject_gatherAndPublishStatsI", ZEL_LOG_ANY_FAILURE_s,
                                 recordText(ZEL_LOG_ANY_FAILURE_s, "lock participant")));
}

}  // namespace
