// Monotonic and wall-clock readings.
#include <cstdint>
#include <ctime>

#include "os/posix/os_posix.h"
#include "vurncore/clock.h"
#include "vurncore/osapi.h"

namespace {

constexpr uint64_t kNanosecondsPerSecond = 1000000000u;

ZELBoolean ZELOsapiClock_readI(clockid_t clockId, uint64_t *nanoseconds) {
    if (nanoseconds == nullptr) {
        return ZEL_FALSE;
    }
    struct timespec now {};
    if (clock_gettime(clockId, &now) != 0 || now.tv_sec < 0) {
        return ZEL_FALSE;
    }
    *nanoseconds = static_cast<uint64_t>(now.tv_sec) * kNanosecondsPerSecond + static_cast<uint64_t>(now.tv_nsec);
    return ZEL_TRUE;
}

}  // namespace

struct timespec ZELOsapiClock_monotonicDeadlineI(const struct ZELNtpTime *timeout) {
    struct timespec deadline {};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    // A timeout beyond what time_t holds from now is as good as for ever;
    // callers treat an infinite timeout separately, this only keeps the
    // arithmetic from overflowing.
    const uint64_t wait = ZELNtpTime_toNanoseconds(timeout);
    const uint64_t maxSeconds = static_cast<uint64_t>(INT32_MAX);
    uint64_t seconds = wait / kNanosecondsPerSecond;
    if (seconds > maxSeconds) {
        seconds = maxSeconds;
    }
    deadline.tv_sec += static_cast<time_t>(seconds);
    deadline.tv_nsec += static_cast<long>(wait % kNanosecondsPerSecond);
    if (deadline.tv_nsec >= static_cast<long>(kNanosecondsPerSecond)) {
        deadline.tv_nsec -= static_cast<long>(kNanosecondsPerSecond);
        deadline.tv_sec += 1;
    }
    return deadline;
}

extern "C" {

ZELBoolean ZELOsapiClock_getMonotonicNanoseconds(uint64_t *nanoseconds) {
    return ZELOsapiClock_readI(CLOCK_MONOTONIC, nanoseconds);
}

ZELBoolean ZELOsapiClock_getRealtimeNanoseconds(uint64_t *nanoseconds) {
    return ZELOsapiClock_readI(CLOCK_REALTIME, nanoseconds);
}

}  // extern "C"
