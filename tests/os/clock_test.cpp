// The clock's time form: seconds and a binary fraction of a second.
#include <gtest/gtest.h>

#include "heap_check.h"
#include "vurncore/clock.h"

namespace {

class ClockTest : public zeltest::HeapCheckedTest {};

TEST_F(ClockTest, NanosecondsBecomeTheFractionRoundedDownAndComeBackUnchanged) {
    struct Case {
        uint64_t nanoseconds;
        int32_t sec;
        uint32_t frac;
    };
    const Case cases[] = {
            {0, 0, 0},
            {1, 0, 4},                     // 4.29 rounded down
            {500000000, 0, 0x80000000u},   // exactly half a second
            {999999999, 0, 0xfffffffbu},
            {5000000001ull, 5, 4},
    };
    for (const Case &c : cases) {
        ZELNtpTime time{};
        ZELNtpTime_fromNanoseconds(&time, c.nanoseconds);
        EXPECT_EQ(time.sec, c.sec) << c.nanoseconds;
        EXPECT_EQ(time.frac, c.frac) << c.nanoseconds;
        EXPECT_EQ(ZELNtpTime_toNanoseconds(&time), c.nanoseconds);
    }
}

TEST_F(ClockTest, TimesBeyondTheSecondsRangeAreInfiniteBothWays) {
    ZELNtpTime time{};
    ZELNtpTime_fromNanoseconds(&time, 0x7fffffffull * 1000000000ull);
    EXPECT_TRUE(ZELNtpTime_isInfinite(&time));
    EXPECT_EQ(time.frac, ZEL_NTP_TIME_FRAC_MAX);
    EXPECT_EQ(ZELNtpTime_toNanoseconds(&time), UINT64_MAX);

    ZELNtpTime_fromNanoseconds(&time, (0x7fffffffull * 1000000000ull) - 1);
    EXPECT_FALSE(ZELNtpTime_isInfinite(&time));
}

TEST_F(ClockTest, CompareOrdersBySecondsThenFraction) {
    const ZELNtpTime early{1, 0xffffffffu};
    const ZELNtpTime late{2, 0};
    const ZELNtpTime lateToo{2, 0};
    const ZELNtpTime negative{-1, 5};
    EXPECT_LT(ZELNtpTime_compare(&early, &late), 0);
    EXPECT_GT(ZELNtpTime_compare(&late, &early), 0);
    EXPECT_EQ(ZELNtpTime_compare(&late, &lateToo), 0);
    EXPECT_LT(ZELNtpTime_compare(&negative, &early), 0);
}

TEST_F(ClockTest, HighResolutionClockNeverRunsBackwards) {
    ZELHighResolutionClock *clock = ZELHighResolutionClock_new();
    ASSERT_NE(clock, nullptr);
    ZELNtpTime previous{};
    ASSERT_TRUE(clock->getTime(clock, &previous));
    for (int i = 0; i < 1000; ++i) {
        ZELNtpTime now{};
        ASSERT_TRUE(clock->getTime(clock, &now));
        ASSERT_LE(ZELNtpTime_compare(&previous, &now), 0);
        previous = now;
    }
    ZELHighResolutionClock_delete(clock);
}

}  // namespace
