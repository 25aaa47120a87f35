// The conversions of process CPU time, on every platform, and the figures
// the system gives.
#include <chrono>

#include <gtest/gtest.h>

#include "process_statistics.h"
#include "vurnc/dds_types.h"

namespace {

DDSMonitoring_Duration_t durationOf(int32_t sec, uint32_t frac) {
    DDSMonitoring_Duration_t duration{};
    const ZELNtpTime time{sec, frac};
    ZELDefaultMonitorProcess_fractionToDuration(&duration, &time);
    return duration;
}

TEST(ProcessStatisticsTest, FractionsRoundUpToNanosecondsAndCarryIntoSeconds) {
    // Exactly one 2^-32 multiple of a nanosecond is not rounded; just below a
    // second rounds up to the next; an infinite time stays infinite.
    const struct {
        int32_t sec;
        uint32_t frac;
        int32_t expectedSec;
        uint32_t expectedNanosec;
    } cases[] = {{3, 0u, 3, 0u},
                 {0, 2305843009u, 0, 536870912u},
                 {0, 1u, 0, 1u},
                 {4, 0xFFFFFFFFu, 5, 0u},
                 {0x7fffffff, 5u, DDS_DURATION_INFINITE_SEC, DDS_DURATION_INFINITE_NSEC}};
    for (const auto &c : cases) {
        EXPECT_EQ(durationOf(c.sec, c.frac).sec, c.expectedSec) << c.sec << "." << c.frac;
        EXPECT_EQ(durationOf(c.sec, c.frac).nanosec, c.expectedNanosec) << c.sec << "." << c.frac;
    }
    DDSMonitoring_Duration_t absent{};
    ZELDefaultMonitorProcess_fractionToDuration(&absent, nullptr);
    EXPECT_TRUE(absent.sec == DDS_DURATION_INFINITE_SEC && absent.nanosec == DDS_DURATION_INFINITE_NSEC);
}

TEST(ProcessStatisticsTest, CpuTimesInMicrosecondsBecomeSecondsAndFractions) {
    // 1.5 s, as 15000000 units of 100 ns.
    uint32_t sec = 0;
    uint32_t fraction = 0;
    ZELDefaultMonitorProcess_microsecondsToTimeI(15000000u / 10u, &sec, &fraction);
    EXPECT_EQ(sec, 1u);
    EXPECT_EQ(fraction, 2147483642u);
    const DDSMonitoring_Duration_t duration = durationOf(static_cast<int32_t>(sec), fraction);
    EXPECT_EQ(duration.sec, 1);
    EXPECT_EQ(duration.nanosec, 499999999u);

    // Every microsecond comes back as itself, give or take the rounding.
    for (uint32_t micro : {0u, 1u, 999u, 123456u, 999999u}) {
        const DDSMonitoring_Duration_t back = durationOf(0, ZELDefaultMonitorProcess_microsecondsToFractionI(micro));
        EXPECT_NEAR(static_cast<double>(back.nanosec), micro * 1000.0, 1000.0) << micro;
    }
}

TEST(ProcessStatisticsTest, DeltasBorrowFromTheSecondsAndStartFromAnInfiniteReading) {
    uint32_t sec = 0;
    uint32_t fraction = 0;
    ZELDefaultMonitorProcess_subtractTimeI(&sec, &fraction, 5u, 0x10u, 3u, 0x20u);
    EXPECT_EQ(sec, 1u);
    EXPECT_EQ(fraction, 0xFFFFFFF0u);
    ZELDefaultMonitorProcess_subtractTimeI(&sec, &fraction, 5u, 0x20u, 3u, 0x10u);
    EXPECT_EQ(sec, 2u);
    EXPECT_EQ(fraction, 0x10u);
    ZELDefaultMonitorProcess_subtractTimeI(&sec, &fraction, 5u, 0x20u, 0x7fffffffu, 0u);
    EXPECT_EQ(sec, 0u);
    EXPECT_EQ(fraction, 0u);
}

TEST(ProcessStatisticsTest, EachParticipantKeepsItsOwnPreviousReading) {
    ZELDefaultMonitorCpuReading first{};
    ZELDefaultMonitorCpuReading second{};
    zel_dds_monitoring_ProcessStatistics statistics{};
    ASSERT_TRUE(ZELDefaultMonitorProcess_getProcessInfo(&statistics, &first));
    EXPECT_GT(statistics.physical_memory_bytes, 0u);
    EXPECT_GT(statistics.total_memory_bytes, 0u);
    const auto nanoseconds = [](const DDSMonitoring_Duration_t &d) {
        return static_cast<int64_t>(d.sec) * 1000000000 + d.nanosec;
    };
    // Burn CPU until the process's CPU clock, which may tick coarsely (by
    // 10 ms or more on some systems), has counted some.
    ZELDefaultMonitorCpuReading probe{};
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    do {
        volatile double burn = 0;
        for (int i = 0; i < 3000000; ++i) {
            burn = burn + i * 0.5;
        }
        ASSERT_TRUE(ZELDefaultMonitorProcess_getProcessInfo(&statistics, &probe));
    } while (nanoseconds(statistics.user_cpu_time) == 0 && std::chrono::steady_clock::now() < end);
    ASSERT_TRUE(ZELDefaultMonitorProcess_getProcessInfo(&statistics, &first));
    const DDSMonitoring_Duration_t sinceFirst = statistics.user_cpu_time_change;
    // The second reading starts from zero: its change is the whole total.
    ASSERT_TRUE(ZELDefaultMonitorProcess_getProcessInfo(&statistics, &second));
    EXPECT_EQ(statistics.user_cpu_time_change.sec, statistics.user_cpu_time.sec);
    EXPECT_EQ(statistics.user_cpu_time_change.nanosec, statistics.user_cpu_time.nanosec);
    // With a coarse CPU clock the first reading may still have been zero.
    EXPECT_GT(nanoseconds(statistics.user_cpu_time), 0);
    EXPECT_LE(nanoseconds(sinceFirst), nanoseconds(statistics.user_cpu_time));
    const auto asFixedPoint = [](const ZELDefaultMonitorCpuReading &r) {
        return (static_cast<uint64_t>(r.userSec) << 32) | r.userFraction;
    };
    EXPECT_GE(asFixedPoint(second), asFixedPoint(first));
}

}  // namespace
