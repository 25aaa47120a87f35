// The process's CPU time and memory as Windows accounts them.
#if defined(_WIN32)

#include <windows.h>
#include <psapi.h>

#include "log/monitor_log_macros.h"
#include "process_statistics.h"

namespace {

// FILETIME counts 100-nanosecond units.
uint64_t ZELDefaultMonitorProcess_microsecondsOfI(const FILETIME &time) {
    const uint64_t units = (static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
    return units / 10u;
}

}  // namespace

extern "C" {

DDS_Boolean ZELDefaultMonitorProcess_getCpuUsage(ZELDefaultMonitorCpuReading *reading) {
    FILETIME creation{};
    FILETIME exit{};
    FILETIME kernel{};
    FILETIME user{};
    if (!GetProcessTimes(GetCurrentProcess(), &creation, &exit, &kernel, &user)) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "process times");
        return DDS_BOOLEAN_FALSE;
    }
    ZELDefaultMonitorProcess_microsecondsToTimeI(ZELDefaultMonitorProcess_microsecondsOfI(user), &reading->userSec,
                                                 &reading->userFraction);
    ZELDefaultMonitorProcess_microsecondsToTimeI(ZELDefaultMonitorProcess_microsecondsOfI(kernel), &reading->kernelSec,
                                                 &reading->kernelFraction);
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELDefaultMonitorProcess_getMemoryUsage(zel_dds_monitoring_ProcessStatistics *statistics) {
    PROCESS_MEMORY_COUNTERS counters{};
    static_assert(sizeof(counters) == 72, "the counters of a 64-bit process");
    counters.cb = sizeof(counters);
    if (!GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters))) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "process memory info (winapi)");
        return DDS_BOOLEAN_FALSE;
    }
    statistics->physical_memory_bytes = counters.WorkingSetSize;
    statistics->total_memory_bytes = counters.PagefileUsage;
    return DDS_BOOLEAN_TRUE;
}

}  // extern "C"

#endif
