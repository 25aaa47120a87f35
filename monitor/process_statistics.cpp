// Process statistics: the conversions of CPU time, and the figures of one
// participant statistics sample. Reading the system is per platform.
#include "process_statistics.h"

#include "log/monitor_log_macros.h"
#include "vurnc/dds_types.h"

namespace {

// 2^61 / 10^9, truncated: (fraction << 29) / it is nanoseconds.
constexpr uint64_t kFractionDivisor = 2305843009u;
constexpr uint32_t kInfiniteSec = 0x7fffffffu;

}  // namespace

extern "C" {

uint32_t ZELDefaultMonitorProcess_microsecondsToFractionI(uint32_t microseconds) {
    const uint64_t r = microseconds;
    return static_cast<uint32_t>(r * 4294u + ((r * 15u + ((r * 61u) >> 7)) >> 4));
}

void ZELDefaultMonitorProcess_microsecondsToTimeI(uint64_t microseconds, uint32_t *sec, uint32_t *fraction) {
    *sec = static_cast<uint32_t>(microseconds / 1000000u);
    *fraction = ZELDefaultMonitorProcess_microsecondsToFractionI(static_cast<uint32_t>(microseconds % 1000000u));
}

void ZELDefaultMonitorProcess_fractionToDuration(DDSMonitoring_Duration_t *duration, const ZELNtpTime *time) {
    if (time == nullptr || static_cast<uint32_t>(time->sec) == kInfiniteSec) {
        duration->sec = DDS_DURATION_INFINITE_SEC;
        duration->nanosec = DDS_DURATION_INFINITE_NSEC;
        return;
    }
    uint64_t nanoseconds = (static_cast<uint64_t>(time->frac) << 29) / kFractionDivisor;
    // Truncation would make every exact time a nanosecond short; 0 and the
    // fraction of exactly one nanosecond's multiple are the exceptions.
    if (time->frac != 0u && time->frac != kFractionDivisor) {
        nanoseconds += 1u;
    }
    duration->sec = time->sec;
    if (nanoseconds >= 1000000000u) {
        nanoseconds -= 1000000000u;
        duration->sec += 1;
    }
    duration->nanosec = static_cast<DDS_UnsignedLong>(nanoseconds);
}

void ZELDefaultMonitorProcess_subtractTimeI(uint32_t *sec, uint32_t *fraction, uint32_t currentSec,
                                            uint32_t currentFraction, uint32_t previousSec, uint32_t previousFraction) {
    if (previousSec == kInfiniteSec) {
        *sec = 0u;
        *fraction = 0u;
        return;
    }
    *sec = currentSec - previousSec;
    *fraction = currentFraction - previousFraction;
    if (*fraction > currentFraction) {
        *sec -= 1u;
    }
}

DDS_Boolean ZELDefaultMonitorProcess_getProcessInfo(zel_dds_monitoring_ProcessStatistics *statistics,
                                                    ZELDefaultMonitorCpuReading *previous) {
    ZELDefaultMonitorCpuReading current{};
    if (!ZELDefaultMonitorProcess_getCpuUsage(&current)) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "CPU usage");
        return DDS_BOOLEAN_FALSE;
    }
    const auto asTime = [](uint32_t sec, uint32_t fraction) { return ZELNtpTime{static_cast<int32_t>(sec), fraction}; };
    ZELNtpTime time = asTime(current.userSec, current.userFraction);
    ZELDefaultMonitorProcess_fractionToDuration(&statistics->user_cpu_time, &time);
    time = asTime(current.kernelSec, current.kernelFraction);
    ZELDefaultMonitorProcess_fractionToDuration(&statistics->kernel_cpu_time, &time);

    uint32_t sec = 0u;
    uint32_t fraction = 0u;
    ZELDefaultMonitorProcess_subtractTimeI(&sec, &fraction, current.userSec, current.userFraction, previous->userSec,
                                           previous->userFraction);
    time = asTime(sec, fraction);
    ZELDefaultMonitorProcess_fractionToDuration(&statistics->user_cpu_time_change, &time);
    ZELDefaultMonitorProcess_subtractTimeI(&sec, &fraction, current.kernelSec, current.kernelFraction,
                                           previous->kernelSec, previous->kernelFraction);
    time = asTime(sec, fraction);
    ZELDefaultMonitorProcess_fractionToDuration(&statistics->kernel_cpu_time_change, &time);
    *previous = current;

    if (!ZELDefaultMonitorProcess_getMemoryUsage(statistics)) {
        ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, "memory usage");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

}  // extern "C"
