// The process's CPU time and memory as a POSIX system accounts them: the
// resource usage of the process, and on Linux its page counts.
#if !defined(_WIN32)

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>

#include "log/monitor_log_macros.h"
#include "process_statistics.h"

namespace {

uint64_t ZELDefaultMonitorProcess_microsecondsOfI(const timeval &time) {
    return static_cast<uint64_t>(time.tv_sec) * 1000000u + static_cast<uint64_t>(time.tv_usec);
}

}  // namespace

extern "C" {

DDS_Boolean ZELDefaultMonitorProcess_getCpuUsage(ZELDefaultMonitorCpuReading *reading) {
    rusage usage{};
    if (getrusage(RUSAGE_SELF, &usage) != 0) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "process times");
        return DDS_BOOLEAN_FALSE;
    }
    ZELDefaultMonitorProcess_microsecondsToTimeI(ZELDefaultMonitorProcess_microsecondsOfI(usage.ru_utime),
                                                 &reading->userSec, &reading->userFraction);
    ZELDefaultMonitorProcess_microsecondsToTimeI(ZELDefaultMonitorProcess_microsecondsOfI(usage.ru_stime),
                                                 &reading->kernelSec, &reading->kernelFraction);
    return DDS_BOOLEAN_TRUE;
}

// Resident pages are the physical memory; the private data and stack
// pages are what the process has committed, as the paging-file usage is
// on Windows.
DDS_Boolean ZELDefaultMonitorProcess_getMemoryUsage(zel_dds_monitoring_ProcessStatistics *statistics) {
    const long pageSize = sysconf(_SC_PAGESIZE);
    FILE *statm = std::fopen("/proc/self/statm", "r");
    unsigned long long size = 0;
    unsigned long long resident = 0;
    unsigned long long shared = 0;
    unsigned long long text = 0;
    unsigned long long library = 0;
    unsigned long long data = 0;
    const bool read = statm != nullptr && std::fscanf(statm, "%llu %llu %llu %llu %llu %llu", &size, &resident, &shared,
                                                      &text, &library, &data) == 6;
    if (statm != nullptr) {
        std::fclose(statm);
    }
    if (!read || pageSize <= 0) {
        ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "process memory info (statm)");
        return DDS_BOOLEAN_FALSE;
    }
    statistics->physical_memory_bytes = resident * static_cast<unsigned long long>(pageSize);
    statistics->total_memory_bytes = data * static_cast<unsigned long long>(pageSize);
    return DDS_BOOLEAN_TRUE;
}

}  // extern "C"

#endif
