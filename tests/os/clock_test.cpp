// The clock's time form: seconds and a binary fraction of a second.
#include <gtest/gtest.h>

#include "vurncore/clock.h"

namespace {

TEST(NtpTime, NanosecondsBecomeTheFractionRoundedDownAndComeBackUnchanged) {
    struct Case {
        uint64_t nanoseconds;
        int32_t sec;
        uint32_t frac;
    };
    const Case cases[] = {{0, 0, 0},
                          {1, 0, 4},
                          {500000000, 0, 0x80000000u},
                          {999999999, 0, 0xfffffffbu},
                          {5000000001ull, 5, 4},
                          {0x7fffffffull * 1000000000ull - 1, 0x7ffffffe, 0xfffffffbu}};
    for (const Case &c : cases) {
        ZELNtpTime time{};
        ZELNtpTime_fromNanoseconds(&time, c.nanoseconds);
        EXPECT_EQ(time.sec, c.sec) << c.nanoseconds;
        EXPECT_EQ(time.frac, c.frac) << c.nanoseconds;
        EXPECT_EQ(ZELNtpTime_toNanoseconds(&time), c.nanoseconds);
    }
    ZELNtpTime infinite{};
    ZELNtpTime_fromNanoseconds(&infinite, 0x7fffffffull * 1000000000ull);
    EXPECT_TRUE(ZELNtpTime_isInfinite(&infinite));
    EXPECT_EQ(infinite.frac, ZEL_NTP_TIME_FRAC_MAX);
    EXPECT_EQ(ZELNtpTime_toNanoseconds(&infinite), UINT64_MAX);
}

}  // namespace
