// The builtin-topic keys by which descriptions and statistics name an
// entity and its parents (publisher or subscriber, topic, participant): one
// getter per entity kind, and one copy into the sample that logs what could
// not be had.
#pragma once

#include "log/monitor_log_macros.h"
#include "vurnc/dds_c.h"
#include "zel_dds_monitoring.h"

// The entity's key, or NULL when it cannot be had. A participant's is read
// into `scratch`; the other kinds hold theirs.
inline const DDS_BuiltinTopicKey_t *ZELDefaultMonitorEntity_builtinKeyI(DDS_DomainParticipant *participant,
                                                                        DDS_BuiltinTopicKey_t *scratch) {
    return DDS_DomainParticipant_get_builtin_topic_key(participant, scratch) == DDS_RETCODE_OK ? scratch : nullptr;
}
inline const DDS_BuiltinTopicKey_t *ZELDefaultMonitorEntity_builtinKeyI(DDS_Topic *topic, DDS_BuiltinTopicKey_t *) {
    return DDS_Topic_get_builtin_topic_key(topic);
}
inline const DDS_BuiltinTopicKey_t *ZELDefaultMonitorEntity_builtinKeyI(DDS_Publisher *publisher,
                                                                        DDS_BuiltinTopicKey_t *) {
    return DDS_Publisher_get_builtin_topic_key(publisher);
}
inline const DDS_BuiltinTopicKey_t *ZELDefaultMonitorEntity_builtinKeyI(DDS_Subscriber *subscriber,
                                                                        DDS_BuiltinTopicKey_t *) {
    return DDS_Subscriber_get_builtin_topic_key(subscriber);
}
inline const DDS_BuiltinTopicKey_t *ZELDefaultMonitorEntity_builtinKeyI(DDS_DataWriter *writer,
                                                                        DDS_BuiltinTopicKey_t *) {
    return DDS_DataWriter_get_builtin_topic_key(writer);
}
inline const DDS_BuiltinTopicKey_t *ZELDefaultMonitorEntity_builtinKeyI(DDS_DataReader *reader,
                                                                        DDS_BuiltinTopicKey_t *) {
    return DDS_DataReader_get_builtin_topic_key(reader);
}

// Copies the entity's key into the sample word by word; false, logged under
// `context`, when the key cannot be had.
template <typename Entity>
bool ZELDefaultMonitorEntity_copyKeyI(const char *context, Entity *entity, DDSMonitoring_BuiltinTopicKey_t *target) {
    DDS_BuiltinTopicKey_t scratch{};
    const DDS_BuiltinTopicKey_t *key = ZELDefaultMonitorEntity_builtinKeyI(entity, &scratch);
    if (key == nullptr) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_GET_FAILURE_s, "BuiltinTopicKey");
        return false;
    }
    for (int word = 0; word < 4; ++word) {
        target->value[word] = key->value[word];
    }
    return true;
}

// The same for a parent or topic that was looked up first: one that could
// not be had is logged by `label`.
template <typename Entity>
bool ZELDefaultMonitorEntity_copyParentKeyI(const char *context, const char *label, Entity *parent,
                                            DDSMonitoring_BuiltinTopicKey_t *target) {
    if (parent == nullptr) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_GET_FAILURE_s, label);
        return false;
    }
    return ZELDefaultMonitorEntity_copyKeyI(context, parent, target);
}
