// The core log service: formats a message record and hands the line to the
// current log device.
#include "vurncore/log.h"

#include "vurncore/lock_order.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>

namespace {

void defaultDeviceWrite(void *, const ZELLogLine *line) {
    if (line->context != nullptr) {
        std::fprintf(stderr, "%s: %s", line->context, line->text);
    } else {
        std::fputs(line->text, stderr);
    }
    std::fflush(stderr);
}

const ZELLogDevice kDefaultDevice{&defaultDeviceWrite, nullptr};

ZELOrderedMutex<ZEL_LOCK_LEVEL_LOG_DEVICE> g_deviceMutex{"log device"};
ZELLogDevice g_device = kDefaultDevice;  // guarded by g_deviceMutex

// Formats into a std::string (not the platform heap: a log line must never
// consume an injected allocation failure).
std::string formatText(const char *format, va_list args) {
    va_list measure;
    va_copy(measure, args);
    const int length = std::vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    if (length <= 0) {
        return std::string();
    }
    std::string text(static_cast<size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, args);
    return text;
}

void deviceWrite(const char *context, const ZELLogMessage *message, const std::string &text) {
    const ZELLogLine line{context, message, text.c_str()};
    std::lock_guard guard(g_deviceMutex);
    g_device.write(g_device.param, &line);
}

}  // namespace

extern "C" {

ZELLogSetLogLevelFunction ZELLog_setLogLevel = nullptr;

// Identifiers 0x1000000 onwards belong to the core.
const ZELLogMessage ZEL_LOG_GET_FAILURE_s = {0x1000001, "failed to get %s\n"};
const ZELLogMessage ZEL_LOG_CREATION_FAILURE_s = {0x1000002, "failed to create %s\n"};
const ZELLogMessage ZEL_LOG_DESTRUCTION_FAILURE_s = {0x1000003, "failed to destroy %s\n"};
const ZELLogMessage ZEL_LOG_ANY_FAILURE_s = {0x1000004, "failure: %s\n"};
const ZELLogMessage ZEL_LOG_ADD_FAILURE_s = {0x1000005, "failed to add %s\n"};
const ZELLogMessage ZEL_LOG_INIT_FAILURE_s = {0x1000006, "failed to initialize %s\n"};
const ZELLogMessage ZEL_LOG_SEMAPHORE_GIVE_FAILURE = {0x1000007, "failed to give semaphore\n"};
const ZELLogMessage ZEL_LOG_SEMAPHORE_TAKE_FAILURE = {0x1000008, "failed to take semaphore\n"};
const ZELLogMessage ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d = {0x1000009, "out of heap: structure of %d octets\n"};
const ZELLogMessage ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_ARRAY_dd = {0x100000A,
                                                                 "out of heap: array of %d elements of %d octets\n"};
const ZELLogMessage ZEL_LOG_BAD_PARAMETER_s = {0x100000B, "bad parameter: %s\n"};
const ZELLogMessage ZEL_LOG_PRECONDITION_NOT_MET_s = {0x100000C, "precondition not met: %s\n"};

void ZELLog_printContextAndMsg(const char *context, const ZELLogMessage *message, ...) {
    if (message == nullptr || message->format == nullptr) {
        return;
    }
    va_list args;
    va_start(args, message);
    const std::string text = formatText(message->format, args);
    va_end(args);
    deviceWrite(context, message, text);
}

void ZELLog_debug(const char *format, ...) {
    if (format == nullptr) {
        return;
    }
    va_list args;
    va_start(args, format);
    const std::string text = formatText(format, args);
    va_end(args);
    deviceWrite(nullptr, nullptr, text);
}

void ZELLog_setDevice(const ZELLogDevice *device, ZELLogDevice *previous) {
    std::lock_guard guard(g_deviceMutex);
    if (previous != nullptr) {
        *previous = g_device;
    }
    g_device = (device != nullptr && device->write != nullptr) ? *device : kDefaultDevice;
}

}  // extern "C"
