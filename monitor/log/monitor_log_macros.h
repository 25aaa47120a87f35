// The one logging pattern of the plug-in. Every message goes through these
// macros: both mask tests come first, so a disabled message costs two bit
// tests and none of its arguments is evaluated; an enabled one calls the
// middleware's log-level hook (when set) with the level, then prints the
// record with the calling function's own name as context.
#pragma once

#include <atomic>
#include <cstdint>

#include "vurncore/log.h"
#include "zelmonitoring/monitor_log.h"

// The masks are plain exported words that any thread may change while
// others log; reading them through an atomic view keeps that a benign,
// well-defined race.
inline uint32_t ZELMonitorLog_loadMaskI(uint32_t &mask) {
    return std::atomic_ref<uint32_t>(mask).load(std::memory_order_relaxed);
}

#define ZELMonitorLog_printI(context, level, message, ...)                                                          \
    do {                                                                                                            \
        const uint32_t zelMonitorLogLevel_ = (level);                                                               \
        if ((ZELMonitorLog_loadMaskI(ZEL_Monitor_Log_g_instrumentationMask) & zelMonitorLogLevel_) != 0u &&         \
            (ZELMonitorLog_loadMaskI(ZEL_Monitor_Log_g_submoduleMask) & ZEL_MONITOR_LOG_SUBMODULE_MONITOR) != 0u) { \
            const ZELLogSetLogLevelFunction zelMonitorLogHook_ = ZELLog_setLogLevel;                                \
            if (zelMonitorLogHook_ != nullptr) {                                                                    \
                zelMonitorLogHook_(static_cast<int>(zelMonitorLogLevel_));                                          \
            }                                                                                                       \
            ZELLog_printContextAndMsg((context), &(message)__VA_OPT__(, ) __VA_ARGS__);                             \
        }                                                                                                           \
    } while (0)

// Failures: a middleware failure record and a short fixed phrase, or an
// out-of-heap record and a size.
#define ZELMonitorLog_error(message, ...) \
    ZELMonitorLog_printI(__func__, ZEL_MONITOR_LOG_LEVEL_ERROR, message __VA_OPT__(, ) __VA_ARGS__)

// Progress: ZEL_MONITOR_LOG_INFO_s with a verb, and the entity records.
#define ZELMonitorLog_info(message, ...) \
    ZELMonitorLog_printI(__func__, ZEL_MONITOR_LOG_LEVEL_INFO, message __VA_OPT__(, ) __VA_ARGS__)

// For a helper that works on behalf of an exported operation and must
// report under that operation's name rather than its own.
#define ZELMonitorLog_errorWithContext(context, message, ...) \
    ZELMonitorLog_printI(context, ZEL_MONITOR_LOG_LEVEL_ERROR, message __VA_OPT__(, ) __VA_ARGS__)

// Progress reported under an operation's name from a helper working for it.
#define ZELMonitorLog_infoWithContext(context, message, ...) \
    ZELMonitorLog_printI(context, ZEL_MONITOR_LOG_LEVEL_INFO, message __VA_OPT__(, ) __VA_ARGS__)

// True when failures of the plug-in are printed at all, for lines that go
// straight to ZELLog_debug.
inline bool ZELMonitorLog_isErrorEnabledI() {
    return (ZELMonitorLog_loadMaskI(ZEL_Monitor_Log_g_instrumentationMask) & ZEL_MONITOR_LOG_LEVEL_ERROR) != 0u &&
           (ZELMonitorLog_loadMaskI(ZEL_Monitor_Log_g_submoduleMask) & ZEL_MONITOR_LOG_SUBMODULE_MONITOR) != 0u;
}
