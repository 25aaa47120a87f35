// Monotonic and wall-clock readings.
#include <windows.h>

#include <cstdint>

#include "os/windows/os_windows.h"
#include "vurncore/clock.h"
#include "vurncore/osapi.h"

namespace {

constexpr uint64_t kNanosecondsPerSecond = 1000000000u;
// FILETIME counts 100-nanosecond units from 1601-01-01.
constexpr uint64_t kUnixEpochInFileTime = 116444736000000000u;

}  // namespace

uint32_t ZELOsapiClock_millisecondsUntilI(uint64_t deadline) {
    uint64_t now = 0;
    if (!ZELOsapiClock_getMonotonicNanoseconds(&now) || now >= deadline) {
        return 0;
    }
    const uint64_t milliseconds = (deadline - now + 999999u) / 1000000u;
    // INFINITE is 0xFFFFFFFF: a finite wait stays below it.
    return milliseconds >= INFINITE ? INFINITE - 1 : static_cast<uint32_t>(milliseconds);
}

uint64_t ZELOsapiClock_monotonicDeadlineI(const struct ZELNtpTime *timeout) {
    uint64_t now = 0;
    ZELOsapiClock_getMonotonicNanoseconds(&now);
    const uint64_t wait = ZELNtpTime_toNanoseconds(timeout);
    return wait > UINT64_MAX - now ? UINT64_MAX : now + wait;
}

extern "C" {

ZELBoolean ZELOsapiClock_getMonotonicNanoseconds(uint64_t *nanoseconds) {
    if (nanoseconds == nullptr) {
        return ZEL_FALSE;
    }
    LARGE_INTEGER frequency, counter;
    if (!QueryPerformanceFrequency(&frequency) || !QueryPerformanceCounter(&counter) || frequency.QuadPart <= 0) {
        return ZEL_FALSE;
    }
    // Seconds and remainder apart, so the product does not overflow.
    const uint64_t ticks = static_cast<uint64_t>(counter.QuadPart);
    const uint64_t perSecond = static_cast<uint64_t>(frequency.QuadPart);
    *nanoseconds = ticks / perSecond * kNanosecondsPerSecond + ticks % perSecond * kNanosecondsPerSecond / perSecond;
    return ZEL_TRUE;
}

ZELBoolean ZELOsapiClock_getRealtimeNanoseconds(uint64_t *nanoseconds) {
    if (nanoseconds == nullptr) {
        return ZEL_FALSE;
    }
    FILETIME now;
    GetSystemTimePreciseAsFileTime(&now);
    const uint64_t units = (static_cast<uint64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime;
    if (units < kUnixEpochInFileTime) {
        return ZEL_FALSE;
    }
    *nanoseconds = (units - kUnixEpochInFileTime) * 100u;
    return ZEL_TRUE;
}

}  // extern "C"
