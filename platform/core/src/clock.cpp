// The high-resolution clock and the arithmetic of its time form: seconds and
// a 32-bit binary fraction of a second.
#include "vurncore/clock.h"

#include <cstdint>

#include "vurncore/heap.h"
#include "vurncore/osapi.h"

namespace {

constexpr uint64_t kNanosecondsPerSecond = 1000000000u;

ZELBoolean ZELHighResolutionClock_getMonotonicTimeI(struct ZELHighResolutionClock *, struct ZELNtpTime *now) {
    uint64_t nanoseconds = 0;
    if (now == nullptr || !ZELOsapiClock_getMonotonicNanoseconds(&nanoseconds)) {
        return ZEL_FALSE;
    }
    ZELNtpTime_fromNanoseconds(now, nanoseconds);
    return ZEL_TRUE;
}

}  // namespace

extern "C" {

struct ZELHighResolutionClock *ZELHighResolutionClock_new(void) {
    auto *clock = static_cast<ZELHighResolutionClock *>(
            ZELOsapiHeap_allocateStructure(sizeof(ZELHighResolutionClock), "HRCK"));
    if (clock == nullptr) {
        return nullptr;
    }
    clock->getTime = &ZELHighResolutionClock_getMonotonicTimeI;
    clock->userData = nullptr;
    return clock;
}

void ZELHighResolutionClock_delete(struct ZELHighResolutionClock *clock) { ZELOsapiHeap_freeStructure(clock); }

int ZELNtpTime_compare(const struct ZELNtpTime *left, const struct ZELNtpTime *right) {
    if (left->sec != right->sec) {
        return left->sec < right->sec ? -1 : 1;
    }
    if (left->frac != right->frac) {
        return left->frac < right->frac ? -1 : 1;
    }
    return 0;
}

ZELBoolean ZELNtpTime_isInfinite(const struct ZELNtpTime *time) {
    return time->sec == ZEL_NTP_TIME_SEC_MAX ? ZEL_TRUE : ZEL_FALSE;
}

// The fraction is the largest that does not exceed the nanoseconds:
// floor(remainder * 2^32 / 10^9).
void ZELNtpTime_fromNanoseconds(struct ZELNtpTime *time, uint64_t nanoseconds) {
    const uint64_t seconds = nanoseconds / kNanosecondsPerSecond;
    if (seconds >= static_cast<uint64_t>(ZEL_NTP_TIME_SEC_MAX)) {
        time->sec = ZEL_NTP_TIME_SEC_MAX;
        time->frac = ZEL_NTP_TIME_FRAC_MAX;
        return;
    }
    const uint64_t remainder = nanoseconds % kNanosecondsPerSecond;
    time->sec = static_cast<int32_t>(seconds);
    time->frac = static_cast<uint32_t>((remainder << 32) / kNanosecondsPerSecond);
}

// Rounded up, so that nanoseconds turned into a time and back come out
// unchanged. Infinite gives UINT64_MAX, a time before the origin 0.
uint64_t ZELNtpTime_toNanoseconds(const struct ZELNtpTime *time) {
    if (ZELNtpTime_isInfinite(time)) {
        return UINT64_MAX;
    }
    if (time->sec < 0) {
        return 0;
    }
    const uint64_t fraction = (static_cast<uint64_t>(time->frac) * kNanosecondsPerSecond + 0xffffffffu) >> 32;
    return static_cast<uint64_t>(time->sec) * kNanosecondsPerSecond + fraction;
}

}  // extern "C"
