// The plug-in's configuration: every setting is a property of the monitored
// participant whose name begins "zel.monitor.config.". The readers here turn
// a property list into plain settings at the moment each group is needed:
// once per process at the first attach, per participant at its attach, and
// when a monitoring entity set is created. A property that is present with
// no value (NULL or "") counts as absent; malformed numbers are not
// reported (they read as their longest valid prefix, or 0).
#pragma once

#include "vurnc/dds_basic.h"
#include "vurnc/dds_property.h"
#include "vurncore/osapi.h"

#define ZEL_MONITOR_CONFIG_NEW_PARTICIPANT_DOMAIN_ID "zel.monitor.config.new_participant_domain_id"
#define ZEL_MONITOR_CONFIG_VERBOSITY "zel.monitor.config.verbosity"
#define ZEL_MONITOR_CONFIG_USERTOPICS "zel.monitor.config.usertopics"
#define ZEL_MONITOR_CONFIG_GET_PROCESS_STATISTICS "zel.monitor.config.get_process_statistics"
#define ZEL_MONITOR_CONFIG_SKIP_PARTICIPANT_PROPERTIES "zel.monitor.config.skip_participant_properties"
#define ZEL_MONITOR_CONFIG_SKIP_WRITER_PROPERTIES "zel.monitor.config.skip_writer_properties"
#define ZEL_MONITOR_CONFIG_SKIP_READER_PROPERTIES "zel.monitor.config.skip_reader_properties"
#define ZEL_MONITOR_CONFIG_SKIP_MONITOR_ENTITIES "zel.monitor.config.skip_monitor_entities"
#define ZEL_MONITOR_CONFIG_RESET_STATUS_CHANGE_COUNTS "zel.monitor.config.reset_status_change_counts"
#define ZEL_MONITOR_CONFIG_TOPICS "zel.monitor.config.topics"
#define ZEL_MONITOR_CONFIG_QOS_LIBRARY "zel.monitor.config.qos_library"
#define ZEL_MONITOR_CONFIG_QOS_PROFILE "zel.monitor.config.qos_profile"
#define ZEL_MONITOR_CONFIG_WRITER_POOL_BUFFER_MAX_SIZE "zel.monitor.config.writer_pool_buffer_max_size"
#define ZEL_MONITOR_CONFIG_PUBLISH_PERIOD "zel.monitor.config.publish_period"
#define ZEL_MONITOR_CONFIG_PUBLISH_THREAD_PRIORITY "zel.monitor.config.publish_thread_priority"
#define ZEL_MONITOR_CONFIG_PUBLISH_THREAD_STACKSIZE "zel.monitor.config.publish_thread_stacksize"
#define ZEL_MONITOR_CONFIG_PUBLISH_THREAD_OPTIONS "zel.monitor.config.publish_thread_options"

// Defaults of the entity-set settings.
#define ZEL_MONITOR_CONFIG_PUBLISH_PERIOD_DEFAULT_SEC 5
#define ZEL_MONITOR_CONFIG_PUBLISH_THREAD_PRIORITY_DEFAULT (-2)
#define ZEL_MONITOR_CONFIG_PUBLISH_THREAD_STACKSIZE_DEFAULT 0
#define ZEL_MONITOR_CONFIG_PUBLISH_THREAD_OPTIONS_DEFAULT ZEL_OSAPI_THREAD_OPTION_DEFAULT

ZEL_EXTERN_C_BEGIN

// Settings that only the first participant ever attached can give. Both
// numbers are read base 10.
struct ZELDefaultMonitorFirstAttachSettings {
    DDS_Boolean hasNewParticipantDomainId;  // a separate monitoring participant is wanted
    DDS_Long newParticipantDomainId;        // its domain; -1 when not wanted
    DDS_Boolean hasVerbosity;               // the log masks are to be set
    DDS_Long verbosity;                     // for ZEL_Monitor_Log_setVerbosity; 0 when absent
};

void ZELDefaultMonitorFirstAttachSettings_read(struct ZELDefaultMonitorFirstAttachSettings *self,
                                               const struct DDS_PropertyQosPolicy *policy);

// Settings of one monitored participant. A boolean that defaults to true
// turns false only on "false", one that defaults to false turns true only on
// "true", both compared without regard to case; any other text keeps the
// default.
struct ZELDefaultMonitorParticipantSettings {
    // Owned copy of the user-topic filter (DDS_String_dup), NULL when absent.
    // Freed by ZELDefaultMonitorParticipantSettings_finalize, or by whoever
    // takes the pointer over (with DDS_String_free).
    char *userTopics;
    DDS_Boolean getProcessStatistics;       // default true
    DDS_Boolean skipParticipantProperties;  // default false
    DDS_Boolean skipWriterProperties;       // default false
    DDS_Boolean skipReaderProperties;       // default false
    DDS_Boolean skipMonitorEntities;        // default true
    DDS_Boolean resetStatusChangeCounts;    // default false
};

// Fills every field (defaults first). Fails only when the user-topic copy
// cannot be allocated: logs the out-of-heap record and returns false, with
// userTopics NULL and the booleans at their defaults.
DDS_Boolean ZELDefaultMonitorParticipantSettings_read(struct ZELDefaultMonitorParticipantSettings *self,
                                                      const struct DDS_PropertyQosPolicy *policy);

// Frees the user-topic copy, if any, and clears the pointer.
void ZELDefaultMonitorParticipantSettings_finalize(struct ZELDefaultMonitorParticipantSettings *self);

// What an entity set is made of. The strings are borrowed from the policy
// that was read and stay valid while that policy is unchanged; NULL means
// absent.
struct ZELDefaultMonitorEntitySettings {
    const char *topics;  // comma-separated monitoring topic names; NULL: all
    const char *qosLibrary;
    const char *qosProfile;
    const char *writerPoolBufferMaxSize;  // passed on to the writers unparsed
};

void ZELDefaultMonitorEntitySettings_read(struct ZELDefaultMonitorEntitySettings *self,
                                          const struct DDS_PropertyQosPolicy *policy);

// True when the monitoring topic of that name is to be created: the topic
// list is absent, or some element of it matches the name.
DDS_Boolean ZELDefaultMonitorEntitySettings_isTopicSelected(const struct ZELDefaultMonitorEntitySettings *self,
                                                            const char *topicName);

// True when QoS are to come from a profile: both library and profile given.
DDS_Boolean ZELDefaultMonitorEntitySettings_hasQosProfile(const struct ZELDefaultMonitorEntitySettings *self);

// The statistics period and the publishing thread's settings. Numbers that
// begin "0x" or "0X" are read base 16, others base 10 (leading blanks and a
// sign accepted, reading stops at the first bad character); values beyond
// 32 bits saturate. A period below 1 second means no publishing thread.
struct ZELDefaultMonitorPublishSettings {
    struct DDS_Duration_t period;          // whole seconds; default 5 s
    struct ZELOsapiThreadSettings thread;  // defaults -2, 0, FLOATING_POINT | STDIO
};

// Logs only through the thread-options parser, and never fails.
void ZELDefaultMonitorPublishSettings_read(struct ZELDefaultMonitorPublishSettings *self,
                                           const struct DDS_PropertyQosPolicy *policy);

// Thread options as text ("STDIO | FLOATING_POINT", any case, with or
// without the "DDS_THREAD_SETTINGS_" or "THREAD_SETTINGS_" prefix) to a
// thread kind mask. Blank or empty text gives 0. An unknown option stops
// the parse: it is logged ("trim string") and the options before it are
// returned. Out of heap for the working copy: logged ("element"), 0.
DDS_UnsignedLong ZELDefaultMonitorPublisher_parseThreadOptions(const char *options);

ZEL_EXTERN_C_END
