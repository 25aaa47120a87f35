/* The core log service. A message record fixes an identifier and a
 * printf-style format; a caller passes its own function name as context and
 * the record's arguments. Every line goes to one replaceable log device. */
#ifndef VURNCORE_LOG_H
#define VURNCORE_LOG_H

#include "vurncore/dll.h"
#include "vurncore/types.h"

ZEL_EXTERN_C_BEGIN

struct ZELLogMessage {
    uint32_t id;
    const char *format;
};

/* Levels that the log-level hook is given. */
#define ZEL_LOG_LEVEL_ERROR 0x1
#define ZEL_LOG_LEVEL_WARNING 0x2
#define ZEL_LOG_LEVEL_LOCAL 0x4

/* One line as the device receives it. `context` and `message` are NULL for
 * lines printed with ZELLog_debug; `text` is the formatted message (for
 * ZELLog_debug, the formatted line). */
struct ZELLogLine {
    const char *context;
    const struct ZELLogMessage *message;
    const char *text;
};

/* A log device. `write` is called once per line, never concurrently (the
 * service serialises calls); it must not log itself. */
struct ZELLogDevice {
    void (*write)(void *param, const struct ZELLogLine *line);
    void *param;
};

/* Formats `message` with the arguments and hands the line to the device. */
VURNCORE_API void ZELLog_printContextAndMsg(const char *context, const struct ZELLogMessage *message, ...);

/* Prints a free-form line (its own format, no context) to the device. */
VURNCORE_API void ZELLog_debug(const char *format, ...);

/* Installs `device` (NULL: the default device, which writes "context: text"
 * to the standard error stream). The previous device is stored through
 * `previous` when that is not NULL, so a test can put it back. */
VURNCORE_API void ZELLog_setDevice(const struct ZELLogDevice *device, struct ZELLogDevice *previous);

/* Log-level hook: when set, loggers that filter by level call it with the
 * level of the message they are about to print. NULL by default. */
typedef void (*ZELLogSetLogLevelFunction)(int level);
VURNCORE_API extern ZELLogSetLogLevelFunction ZELLog_setLogLevel;

/* The core's message records. */
VURNCORE_API extern const struct ZELLogMessage ZEL_LOG_GET_FAILURE_s;
VURNCORE_API extern const struct ZELLogMessage ZEL_LOG_CREATION_FAILURE_s;
VURNCORE_API extern const struct ZELLogMessage ZEL_LOG_DESTRUCTION_FAILURE_s;
VURNCORE_API extern const struct ZELLogMessage ZEL_LOG_ANY_FAILURE_s;
VURNCORE_API extern const struct ZELLogMessage ZEL_LOG_ADD_FAILURE_s;
VURNCORE_API extern const struct ZELLogMessage ZEL_LOG_INIT_FAILURE_s;
VURNCORE_API extern const struct ZELLogMessage ZEL_LOG_SEMAPHORE_GIVE_FAILURE;
VURNCORE_API extern const struct ZELLogMessage ZEL_LOG_SEMAPHORE_TAKE_FAILURE;
VURNCORE_API extern const struct ZELLogMessage ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d;
VURNCORE_API extern const struct ZELLogMessage ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_ARRAY_dd;
VURNCORE_API extern const struct ZELLogMessage ZEL_LOG_BAD_PARAMETER_s;
VURNCORE_API extern const struct ZELLogMessage ZEL_LOG_PRECONDITION_NOT_MET_s;

ZEL_EXTERN_C_END

#endif
