// The plug-in's log masks, their control functions and its message records.
#include "zelmonitoring/monitor_log.h"

#include <atomic>

#include "monitor_log_macros.h"

namespace {

// Writers use the same atomic view as the logging macros, so a change made
// on one thread is seen whole by the next message on any other.
void ZELMonitorLog_storeMaskI(uint32_t &mask, uint32_t value) {
    std::atomic_ref<uint32_t>(mask).store(value, std::memory_order_relaxed);
}

}  // namespace

extern "C" {

uint32_t ZEL_Monitor_Log_g_submoduleMask = ZEL_MONITOR_LOG_SUBMODULE_MASK_DEFAULT;
uint32_t ZEL_Monitor_Log_g_instrumentationMask = ZEL_MONITOR_LOG_INSTRUMENTATION_MASK_DEFAULT;

// Identifiers 0x2131000 onwards belong to the plug-in.
const ZELLogMessage ZEL_MONITOR_LOG_INFO_s = {0x2131000, "monitor info: %s\n"};
const ZELLogMessage ZEL_MONITOR_LOG_ENTITY_EVENT_s = {0x2131001, "receive event %s\n"};
const ZELLogMessage ZEL_MONITOR_LOG_STAT_EVENT = {0x2131002, "calculating statistic\n"};
const ZELLogMessage ZEL_MONITOR_LOG_PUBLISH_ENTITY_DATA_sxxxx = {0x2131003, "publish %s data with key {%x %x %x %x}\n"};
const ZELLogMessage ZEL_MONITOR_LOG_DISPOSE_ENTITY_DATA_sxxxx = {0x2131004, "dispose %s data with key {%x %x %x %x}\n"};
const ZELLogMessage ZEL_MONITOR_LOG_SAMPLE_ENTITY_STAT_sxxxx = {0x2131005,
                                                                "sample %s statistics with key {%x %x %x %x}\n"};
const ZELLogMessage ZEL_MONITOR_LOG_PUBLISH_ENTITY_STAT_sxxxx = {0x2131006,
                                                                 "publish %s statistics with key {%x %x %x %x}\n"};
const ZELLogMessage ZEL_MONITOR_LOG_DISPOSE_ENTITY_STAT_sxxxx = {0x2131007,
                                                                 "dispose %s statistics with key {%x %x %x %x}\n"};
const ZELLogMessage ZEL_MONITOR_LOG_VERSION_MISMATCH = {0x2131008, "version mismatch\n"};

void ZEL_Monitor_Log_getBitmaps(uint32_t *submoduleMask, uint32_t *instrumentationMask) {
    if (submoduleMask != nullptr) {
        *submoduleMask = ZELMonitorLog_loadMaskI(ZEL_Monitor_Log_g_submoduleMask);
    }
    if (instrumentationMask != nullptr) {
        *instrumentationMask = ZELMonitorLog_loadMaskI(ZEL_Monitor_Log_g_instrumentationMask);
    }
}

void ZEL_Monitor_Log_setBitmaps(uint32_t submoduleMask, uint32_t instrumentationMask) {
    ZELMonitorLog_storeMaskI(ZEL_Monitor_Log_g_submoduleMask, submoduleMask);
    ZELMonitorLog_storeMaskI(ZEL_Monitor_Log_g_instrumentationMask, instrumentationMask);
}

void ZEL_Monitor_Log_setVerbosity(uint32_t submoduleMask, int32_t verbosity) {
    ZELMonitorLog_storeMaskI(ZEL_Monitor_Log_g_submoduleMask, submoduleMask);
    uint32_t instrumentationMask = 0u;
    if (verbosity >= 0) {
        // The shift count wraps modulo 32, so verbosity 31 yields 0: an
        // all-bits mask is reached only by setBitmaps.
        const uint32_t shift = (static_cast<uint32_t>(verbosity) + 1u) & 31u;
        instrumentationMask = ~(0xFFFFFFFFu << shift);
    }
    ZELMonitorLog_storeMaskI(ZEL_Monitor_Log_g_instrumentationMask, instrumentationMask);
}

}  // extern "C"
