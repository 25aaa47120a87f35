/* Log control of the monitoring plug-in: two masks decide which of the
 * plug-in's messages reach the middleware's log service, and nine message
 * records describe the plug-in's own messages. */
#ifndef ZELMONITORING_MONITOR_LOG_H
#define ZELMONITORING_MONITOR_LOG_H

#include "vurncore/log.h"
#include "vurncore/types.h"
#include "zelmonitoring/dll.h"

ZEL_EXTERN_C_BEGIN

/* The plug-in's only submodule: its bit in the submodule mask. */
#define ZEL_MONITOR_LOG_SUBMODULE_MONITOR 0x1u

/* Levels, as bits of the instrumentation mask and as the value handed to
 * the middleware's log-level hook. */
#define ZEL_MONITOR_LOG_LEVEL_ERROR 0x1u
#define ZEL_MONITOR_LOG_LEVEL_INFO 0x4u

/* Masks as the process starts: every submodule, errors only. */
#define ZEL_MONITOR_LOG_SUBMODULE_MASK_DEFAULT 0x0000FFFFu
#define ZEL_MONITOR_LOG_INSTRUMENTATION_MASK_DEFAULT 0x00000001u

/* A message is printed when its level is in the instrumentation mask and
 * the plug-in's submodule bit is in the submodule mask. A change of either
 * mask takes effect for the next message. */
ZELMONITOR_API extern uint32_t ZEL_Monitor_Log_g_submoduleMask;
ZELMONITOR_API extern uint32_t ZEL_Monitor_Log_g_instrumentationMask;

/* Stores both masks through the pointers (a NULL pointer is skipped). */
ZELMONITOR_API void ZEL_Monitor_Log_getBitmaps(uint32_t *submoduleMask, uint32_t *instrumentationMask);

/* Sets both masks as given. */
ZELMONITOR_API void ZEL_Monitor_Log_setBitmaps(uint32_t submoduleMask, uint32_t instrumentationMask);

/* Sets the submodule mask as given and the instrumentation mask from a
 * verbosity: none below 0, else the low (verbosity + 1) bits, the shift
 * counted modulo 32: 0 errors (0x1), 2 errors and information (0x7),
 * 30 gives 0x7FFFFFFF and 31 gives 0. */
ZELMONITOR_API void ZEL_Monitor_Log_setVerbosity(uint32_t submoduleMask, int32_t verbosity);

/* The plug-in's message records. The suffix names the arguments: _s one
 * string, _sxxxx a string and the four words of an entity key. */
ZELMONITOR_API extern const struct ZELLogMessage ZEL_MONITOR_LOG_INFO_s;
ZELMONITOR_API extern const struct ZELLogMessage ZEL_MONITOR_LOG_ENTITY_EVENT_s;
ZELMONITOR_API extern const struct ZELLogMessage ZEL_MONITOR_LOG_STAT_EVENT;
ZELMONITOR_API extern const struct ZELLogMessage ZEL_MONITOR_LOG_PUBLISH_ENTITY_DATA_sxxxx;
ZELMONITOR_API extern const struct ZELLogMessage ZEL_MONITOR_LOG_DISPOSE_ENTITY_DATA_sxxxx;
ZELMONITOR_API extern const struct ZELLogMessage ZEL_MONITOR_LOG_SAMPLE_ENTITY_STAT_sxxxx;
ZELMONITOR_API extern const struct ZELLogMessage ZEL_MONITOR_LOG_PUBLISH_ENTITY_STAT_sxxxx;
ZELMONITOR_API extern const struct ZELLogMessage ZEL_MONITOR_LOG_DISPOSE_ENTITY_STAT_sxxxx;
ZELMONITOR_API extern const struct ZELLogMessage ZEL_MONITOR_LOG_VERSION_MISMATCH;

ZEL_EXTERN_C_END

#endif
