// Readers of the "zel.monitor.config." properties.
#include "config.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "log/monitor_log_macros.h"
#include "vurncore/dds_string.h"
#include "vurncore/reda_string.h"

namespace {

struct ZELDefaultMonitorThreadOption {
    const char *spelling;
    DDS_UnsignedLong bit;
};

// Every accepted spelling of every option, compared without regard to case.
constexpr ZELDefaultMonitorThreadOption kThreadOptions[] = {
        {"MASK_DEFAULT", 0u},
        {"DDS_THREAD_SETTINGS_KIND_MASK_DEFAULT", 0u},
        {"THREAD_SETTINGS_KIND_MASK_DEFAULT", 0u},
        {"FLOATING_POINT", ZEL_OSAPI_THREAD_OPTION_FLOATING_POINT},
        {"DDS_THREAD_SETTINGS_FLOATING_POINT", ZEL_OSAPI_THREAD_OPTION_FLOATING_POINT},
        {"THREAD_SETTINGS_FLOATING_POINT", ZEL_OSAPI_THREAD_OPTION_FLOATING_POINT},
        {"STDIO", ZEL_OSAPI_THREAD_OPTION_STDIO},
        {"DDS_THREAD_SETTINGS_STDIO", ZEL_OSAPI_THREAD_OPTION_STDIO},
        {"THREAD_SETTINGS_STDIO", ZEL_OSAPI_THREAD_OPTION_STDIO},
        {"REALTIME_PRIORITY", ZEL_OSAPI_THREAD_OPTION_REALTIME_PRIORITY},
        {"DDS_THREAD_SETTINGS_REALTIME_PRIORITY", ZEL_OSAPI_THREAD_OPTION_REALTIME_PRIORITY},
        {"THREAD_SETTINGS_REALTIME_PRIORITY", ZEL_OSAPI_THREAD_OPTION_REALTIME_PRIORITY},
        {"PRIORITY_ENFORCE", ZEL_OSAPI_THREAD_OPTION_PRIORITY_ENFORCE},
        {"DDS_THREAD_SETTINGS_PRIORITY_ENFORCE", ZEL_OSAPI_THREAD_OPTION_PRIORITY_ENFORCE},
        {"THREAD_SETTINGS_PRIORITY_ENFORCE", ZEL_OSAPI_THREAD_OPTION_PRIORITY_ENFORCE},
};

const ZELDefaultMonitorThreadOption *ZELDefaultMonitorThreadOption_findI(const char *spelling) {
    for (const ZELDefaultMonitorThreadOption &option : kThreadOptions) {
        if (REDAString_iCompare(spelling, option.spelling) == 0) {
            return &option;
        }
    }
    return nullptr;
}

// The value of a property, or NULL when the property is missing or has no
// value: an empty value counts as absent.
const char *ZELDefaultMonitorConfig_lookupValueI(const DDS_PropertyQosPolicy *policy, const char *name) {
    if (policy == nullptr) {
        return nullptr;
    }
    const DDS_Property_t *property = DDS_PropertyQosPolicyHelper_lookup_property(policy, name);
    if (property == nullptr || property->value == nullptr || property->value[0] == '\0') {
        return nullptr;
    }
    return property->value;
}

// strtol, saturated to 32 bits: where long is 32 bits wide strtol saturates
// there itself, so a value out of range reads the same on every platform.
DDS_Long ZELDefaultMonitorConfig_parseIntegerI(const char *value, int base) {
    const long parsed = std::strtol(value, nullptr, base);
    if (parsed > INT32_MAX) {
        return INT32_MAX;
    }
    if (parsed < INT32_MIN) {
        return INT32_MIN;
    }
    return static_cast<DDS_Long>(parsed);
}

// Base 16 only for a value that begins "0x" or "0X" (so " 0x10" and "-0x10"
// read base 10, as 0); never octal.
DDS_Long ZELDefaultMonitorConfig_parseNumberI(const char *value) {
    const bool hexadecimal = value[0] == '0' && (value[1] == 'x' || value[1] == 'X');
    return ZELDefaultMonitorConfig_parseIntegerI(value, hexadecimal ? 16 : 10);
}

DDS_Long ZELDefaultMonitorConfig_readNumberI(const DDS_PropertyQosPolicy *policy, const char *name,
                                             DDS_Long defaultValue) {
    const char *value = ZELDefaultMonitorConfig_lookupValueI(policy, name);
    return value != nullptr ? ZELDefaultMonitorConfig_parseNumberI(value) : defaultValue;
}

// Deliberately asymmetric: only the one word that contradicts the default
// changes the setting, so a typo never flips a setting by accident.
DDS_Boolean ZELDefaultMonitorConfig_readBooleanI(const DDS_PropertyQosPolicy *policy, const char *name,
                                                 DDS_Boolean defaultValue) {
    const char *value = ZELDefaultMonitorConfig_lookupValueI(policy, name);
    if (value == nullptr) {
        return defaultValue;
    }
    if (defaultValue) {
        return REDAString_iCompare(value, "false") == 0 ? DDS_BOOLEAN_FALSE : DDS_BOOLEAN_TRUE;
    }
    return REDAString_iCompare(value, "true") == 0 ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

}  // namespace

extern "C" {

void ZELDefaultMonitorFirstAttachSettings_read(ZELDefaultMonitorFirstAttachSettings *self,
                                               const DDS_PropertyQosPolicy *policy) {
    const char *domainId = ZELDefaultMonitorConfig_lookupValueI(policy, ZEL_MONITOR_CONFIG_NEW_PARTICIPANT_DOMAIN_ID);
    self->hasNewParticipantDomainId = domainId != nullptr ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
    self->newParticipantDomainId = domainId != nullptr ? ZELDefaultMonitorConfig_parseIntegerI(domainId, 10) : -1;

    const char *verbosity = ZELDefaultMonitorConfig_lookupValueI(policy, ZEL_MONITOR_CONFIG_VERBOSITY);
    self->hasVerbosity = verbosity != nullptr ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
    self->verbosity = verbosity != nullptr ? ZELDefaultMonitorConfig_parseIntegerI(verbosity, 10) : 0;
}

DDS_Boolean ZELDefaultMonitorParticipantSettings_read(ZELDefaultMonitorParticipantSettings *self,
                                                      const DDS_PropertyQosPolicy *policy) {
    self->userTopics = nullptr;
    self->getProcessStatistics = DDS_BOOLEAN_TRUE;
    self->skipParticipantProperties = DDS_BOOLEAN_FALSE;
    self->skipWriterProperties = DDS_BOOLEAN_FALSE;
    self->skipReaderProperties = DDS_BOOLEAN_FALSE;
    self->skipMonitorEntities = DDS_BOOLEAN_TRUE;
    self->resetStatusChangeCounts = DDS_BOOLEAN_FALSE;

    const char *userTopics = ZELDefaultMonitorConfig_lookupValueI(policy, ZEL_MONITOR_CONFIG_USERTOPICS);
    if (userTopics != nullptr) {
        self->userTopics = DDS_String_dup(userTopics);
        if (self->userTopics == nullptr) {
            ZELMonitorLog_error(ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_ARRAY_dd,
                                static_cast<int>(std::strlen(userTopics) + 1u), static_cast<int>(sizeof(char)));
            return DDS_BOOLEAN_FALSE;
        }
    }
    self->getProcessStatistics = ZELDefaultMonitorConfig_readBooleanI(policy, ZEL_MONITOR_CONFIG_GET_PROCESS_STATISTICS,
                                                                      self->getProcessStatistics);
    self->skipParticipantProperties = ZELDefaultMonitorConfig_readBooleanI(
            policy, ZEL_MONITOR_CONFIG_SKIP_PARTICIPANT_PROPERTIES, self->skipParticipantProperties);
    self->skipWriterProperties = ZELDefaultMonitorConfig_readBooleanI(policy, ZEL_MONITOR_CONFIG_SKIP_WRITER_PROPERTIES,
                                                                      self->skipWriterProperties);
    self->skipReaderProperties = ZELDefaultMonitorConfig_readBooleanI(policy, ZEL_MONITOR_CONFIG_SKIP_READER_PROPERTIES,
                                                                      self->skipReaderProperties);
    self->skipMonitorEntities = ZELDefaultMonitorConfig_readBooleanI(policy, ZEL_MONITOR_CONFIG_SKIP_MONITOR_ENTITIES,
                                                                     self->skipMonitorEntities);
    self->resetStatusChangeCounts = ZELDefaultMonitorConfig_readBooleanI(
            policy, ZEL_MONITOR_CONFIG_RESET_STATUS_CHANGE_COUNTS, self->resetStatusChangeCounts);
    return DDS_BOOLEAN_TRUE;
}

void ZELDefaultMonitorParticipantSettings_finalize(ZELDefaultMonitorParticipantSettings *self) {
    DDS_String_free(self->userTopics);
    self->userTopics = nullptr;
}

void ZELDefaultMonitorEntitySettings_read(ZELDefaultMonitorEntitySettings *self, const DDS_PropertyQosPolicy *policy) {
    self->topics = ZELDefaultMonitorConfig_lookupValueI(policy, ZEL_MONITOR_CONFIG_TOPICS);
    self->qosLibrary = ZELDefaultMonitorConfig_lookupValueI(policy, ZEL_MONITOR_CONFIG_QOS_LIBRARY);
    self->qosProfile = ZELDefaultMonitorConfig_lookupValueI(policy, ZEL_MONITOR_CONFIG_QOS_PROFILE);
    self->writerPoolBufferMaxSize =
            ZELDefaultMonitorConfig_lookupValueI(policy, ZEL_MONITOR_CONFIG_WRITER_POOL_BUFFER_MAX_SIZE);
}

DDS_Boolean ZELDefaultMonitorEntitySettings_isTopicSelected(const ZELDefaultMonitorEntitySettings *self,
                                                            const char *topicName) {
    if (self->topics == nullptr) {
        return DDS_BOOLEAN_TRUE;
    }
    return REDAString_hasMatchingElement(self->topics, topicName, ',') ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

DDS_Boolean ZELDefaultMonitorEntitySettings_hasQosProfile(const ZELDefaultMonitorEntitySettings *self) {
    return (self->qosLibrary != nullptr && self->qosProfile != nullptr) ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

void ZELDefaultMonitorPublishSettings_read(ZELDefaultMonitorPublishSettings *self,
                                           const DDS_PropertyQosPolicy *policy) {
    self->period.sec = ZELDefaultMonitorConfig_readNumberI(policy, ZEL_MONITOR_CONFIG_PUBLISH_PERIOD,
                                                           ZEL_MONITOR_CONFIG_PUBLISH_PERIOD_DEFAULT_SEC);
    self->period.nanosec = 0u;
    self->thread.priority = ZELDefaultMonitorConfig_readNumberI(policy, ZEL_MONITOR_CONFIG_PUBLISH_THREAD_PRIORITY,
                                                                ZEL_MONITOR_CONFIG_PUBLISH_THREAD_PRIORITY_DEFAULT);
    self->thread.stackSize = ZELDefaultMonitorConfig_readNumberI(policy, ZEL_MONITOR_CONFIG_PUBLISH_THREAD_STACKSIZE,
                                                                 ZEL_MONITOR_CONFIG_PUBLISH_THREAD_STACKSIZE_DEFAULT);
    const char *options = ZELDefaultMonitorConfig_lookupValueI(policy, ZEL_MONITOR_CONFIG_PUBLISH_THREAD_OPTIONS);
    self->thread.options = options != nullptr ? ZELDefaultMonitorPublisher_parseThreadOptions(options)
                                              : ZEL_MONITOR_CONFIG_PUBLISH_THREAD_OPTIONS_DEFAULT;
}

DDS_UnsignedLong ZELDefaultMonitorPublisher_parseThreadOptions(const char *options) {
    // Trimming works in place, so it works on a copy. A copy that could not
    // be made (out of heap) is NULL, which trimming refuses.
    char *copy = DDS_String_dup(options);
    char *text = ZELXMLHelper_strTrim(copy);
    if (text == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "element");
        DDS_String_free(copy);
        return 0u;
    }
    DDS_UnsignedLong mask = 0u;
    if (text[0] == '\0') {
        DDS_String_free(copy);
        return mask;
    }
    for (char *token = text;;) {
        char *bar = std::strchr(token, '|');
        if (bar != nullptr) {
            *bar = '\0';
        }
        char *trimmed = ZELXMLHelper_strTrim(token);
        if (trimmed == nullptr) {
            ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "trim string");
            trimmed = token;
        }
        const ZELDefaultMonitorThreadOption *option = ZELDefaultMonitorThreadOption_findI(trimmed);
        if (option == nullptr) {
            // The options after an unknown one are ignored.
            ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "trim string");
            break;
        }
        mask |= option->bit;
        if (bar == nullptr) {
            break;
        }
        token = bar + 1;
    }
    DDS_String_free(copy);
    return mask;
}

}  // extern "C"
