// The process's CPU time and memory use, as the participant statistics
// carry them, read from the operating system.
#pragma once

#include "vurncore/types.h"
#include "zel_dds_monitoring.h"
#include "zelmonitoring/monitor.h"

ZEL_EXTERN_C_BEGIN

// The process's user and kernel CPU time so far. False (logged "process
// times") when the system cannot tell.
DDS_Boolean ZELDefaultMonitorProcess_getCpuUsage(struct ZELDefaultMonitorCpuReading *reading);

// The physical and committed memory in use, in bytes, into the last two
// figures of `statistics`. False (logged) when the system cannot tell.
DDS_Boolean ZELDefaultMonitorProcess_getMemoryUsage(zel_dds_monitoring_ProcessStatistics *statistics);

// All six figures: the CPU totals, the CPU time since `previous` (which
// then becomes the current reading) and the memory. False (logged) when the
// CPU time cannot be read (nothing changed) or the memory cannot (the CPU
// figures and `previous` are updated already).
DDS_Boolean ZELDefaultMonitorProcess_getProcessInfo(zel_dds_monitoring_ProcessStatistics *statistics,
                                                    struct ZELDefaultMonitorCpuReading *previous);

// A CPU time of seconds and binary fraction as a duration: infinite seconds
// (or no time at all) give an infinite duration; the fraction rounds up to
// whole nanoseconds, carrying into the seconds.
void ZELDefaultMonitorProcess_fractionToDuration(DDSMonitoring_Duration_t *duration, const struct ZELNtpTime *time);

// Microseconds below one second as a binary fraction of a second, in
// integer arithmetic (r * 2^32 / 10^6).
uint32_t ZELDefaultMonitorProcess_microsecondsToFractionI(uint32_t microseconds);

// A time counted in microseconds as seconds and fraction.
void ZELDefaultMonitorProcess_microsecondsToTimeI(uint64_t microseconds, uint32_t *sec, uint32_t *fraction);

// current - previous, with a borrow from the seconds when the fraction
// wraps; 0 when the previous reading is infinite.
void ZELDefaultMonitorProcess_subtractTimeI(uint32_t *sec, uint32_t *fraction, uint32_t currentSec,
                                            uint32_t currentFraction, uint32_t previousSec, uint32_t previousFraction);

ZEL_EXTERN_C_END
