// Dispatch of the middleware's entity events: one table of the event codes
// the plug-in knows, with the name it logs and the action it takes. Each
// action publishes or disposes one description or statistics sample, under
// shared conditions: the monitoring entities are enabled, the sample's
// writer exists, an entity whose QoS changed is enabled, and the entity's
// topic passes the user-topic filter.
#include <cstring>

#include "entity_description.h"
#include "entity_set.h"
#include "entity_statistics.h"
#include "log/monitor_log_macros.h"
#include "related_topic.h"
#include "vurnc/dds_monitor.h"
#include "vurncore/netio_locator.h"

namespace {

const char *const kContext = "ZELDefaultMonitorPublisher_onEventNotify";

typedef DDS_UnsignedLong (*ZELDefaultMonitorEventAction)(ZELDefaultMonitorParticipantObject *participantObject,
                                                         DDS_Entity *entity, const void *eventData);

struct ZELDefaultMonitorEvent {
    DDS_Long code;
    const char *name;  // logged as it stands, misspelling included
    ZELDefaultMonitorEventAction action;
};

// The topic by whose name the user-topic filter judges an event.
enum class ZELDefaultMonitorRelatedTopic {
    NONE,          // participant, publisher and subscriber events are never filtered
    TOPIC,         // the topic itself
    WRITER_TOPIC,  // the writer's topic
    READER_TOPIC,  // the reader's topic, or the related topic of its content filter
};

// One publish or dispose step and the conditions under which it runs.
struct ZELDefaultMonitorEventStep {
    ZELDefaultMonitorTopic slot;
    bool requiresEnabledEntity;  // QoS changes of entities not yet enabled are not published
    ZELDefaultMonitorRelatedTopic related;
    const char *failure;  // logged when the operation fails
};

enum class ZELDefaultMonitorGate { RUN, SKIP, FAIL };

ZELDefaultMonitorGate ZELDefaultMonitorEvent_checkI(ZELDefaultMonitorParticipantObject *participantObject,
                                                    DDS_Entity *entity, const ZELDefaultMonitorEventStep &step) {
    const ZELDefaultMonitorEntitySet *set = participantObject->entities;
    if (set == nullptr || !ZELDefaultMonitorEntitySet_isStarted(set) ||
        ZELDefaultMonitorEntitySet_writerI(set, step.slot) == nullptr) {
        return ZELDefaultMonitorGate::SKIP;
    }
    if (step.requiresEnabledEntity && !DDS_Entity_is_enabled(entity)) {
        return ZELDefaultMonitorGate::SKIP;
    }
    if (participantObject->userTopics == nullptr || step.related == ZELDefaultMonitorRelatedTopic::NONE) {
        return ZELDefaultMonitorGate::RUN;
    }
    DDS_Topic *topic = nullptr;
    switch (step.related) {
    case ZELDefaultMonitorRelatedTopic::TOPIC:
        // A topic that cannot be had is reported by the filter and kept.
        topic = DDS_Topic_narrow_from_entity(entity);
        break;
    case ZELDefaultMonitorRelatedTopic::WRITER_TOPIC:
        topic = DDS_DataWriter_get_topic(DDS_DataWriter_narrow(entity));
        break;
    case ZELDefaultMonitorRelatedTopic::READER_TOPIC:
        topic = ZELDefaultMonitorParticipantObject_getActualReaderTopicI(DDS_DataReader_narrow(entity), nullptr);
        break;
    case ZELDefaultMonitorRelatedTopic::NONE:
        break;
    }
    if (topic == nullptr && step.related != ZELDefaultMonitorRelatedTopic::TOPIC) {
        ZELMonitorLog_errorWithContext(kContext, ZEL_LOG_GET_FAILURE_s, "related topic");
        return ZELDefaultMonitorGate::FAIL;
    }
    return ZELDefaultMonitorParticipantObject_isTopicFilteredI(topic, participantObject->userTopics)
                   ? ZELDefaultMonitorGate::SKIP
                   : ZELDefaultMonitorGate::RUN;
}

// Runs `operation` (returning a boolean) when the step's conditions hold.
template <typename Operation>
DDS_UnsignedLong ZELDefaultMonitorEvent_runI(ZELDefaultMonitorParticipantObject *participantObject, DDS_Entity *entity,
                                             const ZELDefaultMonitorEventStep &step, Operation operation) {
    switch (ZELDefaultMonitorEvent_checkI(participantObject, entity, step)) {
    case ZELDefaultMonitorGate::SKIP:
        return ZEL_MONITOR_RESULT_OK;
    case ZELDefaultMonitorGate::FAIL:
        return ZEL_MONITOR_RESULT_FAILURE;
    case ZELDefaultMonitorGate::RUN:
        break;
    }
    if (!operation()) {
        ZELMonitorLog_errorWithContext(kContext, ZEL_LOG_ANY_FAILURE_s, step.failure);
        return ZEL_MONITOR_RESULT_FAILURE;
    }
    return ZEL_MONITOR_RESULT_OK;
}

// ---- descriptions ----

template <bool requiresEnabledEntity>
DDS_UnsignedLong ZELDefaultMonitorEvent_participantDescI(ZELDefaultMonitorParticipantObject *participantObject,
                                                         DDS_Entity *entity, const void *) {
    static constexpr ZELDefaultMonitorEventStep step = {ZEL_MONITOR_TOPIC_PARTICIPANT_DESCRIPTION,
                                                        requiresEnabledEntity, ZELDefaultMonitorRelatedTopic::NONE,
                                                        "publish participant desc"};
    return ZELDefaultMonitorEvent_runI(participantObject, entity, step, [&] {
        return ZELDefaultMonitorParticipantObject_sampleAndPublishParticipantDesc(
                participantObject, DDS_DomainParticipant_narrow(entity), DDS_BOOLEAN_FALSE);
    });
}

// The monitored participant was enabled: the monitoring entities follow
// (once; a shared set is enabled again harmlessly by each participant),
// then the participant is described.
DDS_UnsignedLong ZELDefaultMonitorEvent_onParticipantEnableI(ZELDefaultMonitorParticipantObject *participantObject,
                                                             DDS_Entity *entity, const void *eventData) {
    const ZELDefaultMonitorEntitySet *set = participantObject->entities;
    if (set == nullptr || !ZELDefaultMonitorEntitySet_isStarted(set)) {
        if (!ZELDefaultMonitorPublisher_enableEntitiesAndStartThreadI(participantObject)) {
            ZELMonitorLog_errorWithContext(kContext, ZEL_LOG_CREATION_FAILURE_s, "enable entities");
            return ZEL_MONITOR_RESULT_FAILURE;
        }
    }
    return ZELDefaultMonitorEvent_participantDescI<false>(participantObject, entity, eventData);
}

template <bool dispose, bool requiresEnabledEntity>
DDS_UnsignedLong ZELDefaultMonitorEvent_topicDescI(ZELDefaultMonitorParticipantObject *participantObject,
                                                   DDS_Entity *entity, const void *) {
    static constexpr ZELDefaultMonitorEventStep step = {ZEL_MONITOR_TOPIC_TOPIC_DESCRIPTION, requiresEnabledEntity,
                                                        ZELDefaultMonitorRelatedTopic::TOPIC,
                                                        dispose ? "dispose topic desc" : "publish topic desc"};
    return ZELDefaultMonitorEvent_runI(participantObject, entity, step, [&] {
        return ZELDefaultMonitorParticipantObject_sampleAndPublishTopicDesc(
                participantObject, DDS_Topic_narrow_from_entity(entity), dispose);
    });
}

template <bool dispose, bool requiresEnabledEntity>
DDS_UnsignedLong ZELDefaultMonitorEvent_publisherDescI(ZELDefaultMonitorParticipantObject *participantObject,
                                                       DDS_Entity *entity, const void *) {
    static constexpr ZELDefaultMonitorEventStep step = {ZEL_MONITOR_TOPIC_PUBLISHER_DESCRIPTION, requiresEnabledEntity,
                                                        ZELDefaultMonitorRelatedTopic::NONE,
                                                        dispose ? "dispose publisher desc" : "publish publisher desc"};
    return ZELDefaultMonitorEvent_runI(participantObject, entity, step, [&] {
        return ZELDefaultMonitorParticipantObject_sampleAndPublishPublisherDesc(participantObject,
                                                                                DDS_Publisher_narrow(entity), dispose);
    });
}

template <bool dispose, bool requiresEnabledEntity>
DDS_UnsignedLong ZELDefaultMonitorEvent_subscriberDescI(ZELDefaultMonitorParticipantObject *participantObject,
                                                        DDS_Entity *entity, const void *) {
    static constexpr ZELDefaultMonitorEventStep step = {
            ZEL_MONITOR_TOPIC_SUBSCRIBER_DESCRIPTION, requiresEnabledEntity, ZELDefaultMonitorRelatedTopic::NONE,
            dispose ? "dispose subscriber desc" : "publish subscriber desc"};
    return ZELDefaultMonitorEvent_runI(participantObject, entity, step, [&] {
        return ZELDefaultMonitorParticipantObject_sampleAndPublishSubscriberDesc(
                participantObject, DDS_Subscriber_narrow(entity), dispose);
    });
}

template <bool dispose, bool requiresEnabledEntity>
DDS_UnsignedLong ZELDefaultMonitorEvent_writerDescI(ZELDefaultMonitorParticipantObject *participantObject,
                                                    DDS_Entity *entity, const void *) {
    static constexpr ZELDefaultMonitorEventStep step = {ZEL_MONITOR_TOPIC_DATAWRITER_DESCRIPTION, requiresEnabledEntity,
                                                        ZELDefaultMonitorRelatedTopic::WRITER_TOPIC,
                                                        dispose ? "dispose writer desc" : "publish writer desc"};
    return ZELDefaultMonitorEvent_runI(participantObject, entity, step, [&] {
        return ZELDefaultMonitorParticipantObject_sampleAndPublishWriterDesc(participantObject,
                                                                             DDS_DataWriter_narrow(entity), dispose);
    });
}

template <bool dispose, bool requiresEnabledEntity>
DDS_UnsignedLong ZELDefaultMonitorEvent_readerDescI(ZELDefaultMonitorParticipantObject *participantObject,
                                                    DDS_Entity *entity, const void *) {
    static constexpr ZELDefaultMonitorEventStep step = {ZEL_MONITOR_TOPIC_DATAREADER_DESCRIPTION, requiresEnabledEntity,
                                                        ZELDefaultMonitorRelatedTopic::READER_TOPIC,
                                                        dispose ? "dispose reader desc" : "publish reader desc"};
    return ZELDefaultMonitorEvent_runI(participantObject, entity, step, [&] {
        return ZELDefaultMonitorParticipantObject_sampleAndPublishReaderDesc(participantObject,
                                                                             DDS_DataReader_narrow(entity), dispose);
    });
}

// ---- statistics ----

// Deleting a topic, writer or reader disposes its description, then (when
// that succeeded or was skipped) its statistics.
template <DDS_UnsignedLong (*describe)(ZELDefaultMonitorParticipantObject *, DDS_Entity *, const void *),
          DDS_UnsignedLong (*forget)(ZELDefaultMonitorParticipantObject *, DDS_Entity *, const void *)>
DDS_UnsignedLong ZELDefaultMonitorEvent_deleteI(ZELDefaultMonitorParticipantObject *participantObject,
                                                DDS_Entity *entity, const void *eventData) {
    if (describe(participantObject, entity, eventData) != ZEL_MONITOR_RESULT_OK) {
        return ZEL_MONITOR_RESULT_FAILURE;
    }
    return forget(participantObject, entity, eventData);
}

DDS_UnsignedLong ZELDefaultMonitorEvent_disposeTopicStatsI(ZELDefaultMonitorParticipantObject *participantObject,
                                                           DDS_Entity *entity, const void *) {
    static constexpr ZELDefaultMonitorEventStep step = {ZEL_MONITOR_TOPIC_TOPIC_STATISTICS, false,
                                                        ZELDefaultMonitorRelatedTopic::TOPIC, "dispose topic stats"};
    return ZELDefaultMonitorEvent_runI(participantObject, entity, step, [&] {
        return ZELDefaultMonitorParticipantObject_sampleAndPublishTopicStats(
                participantObject, DDS_Topic_narrow_from_entity(entity), DDS_BOOLEAN_TRUE);
    });
}

DDS_UnsignedLong ZELDefaultMonitorEvent_disposeWriterStatsI(ZELDefaultMonitorParticipantObject *participantObject,
                                                            DDS_Entity *entity, const void *) {
    static constexpr ZELDefaultMonitorEventStep step = {ZEL_MONITOR_TOPIC_DATAWRITER_STATISTICS, false,
                                                        ZELDefaultMonitorRelatedTopic::WRITER_TOPIC,
                                                        "dispose writer stats"};
    return ZELDefaultMonitorEvent_runI(participantObject, entity, step, [&] {
        return ZELDefaultMonitorParticipantObject_sampleAndPublishWriterStats(
                participantObject, DDS_DataWriter_narrow(entity), DDS_BOOLEAN_TRUE);
    });
}

DDS_UnsignedLong ZELDefaultMonitorEvent_disposeReaderStatsI(ZELDefaultMonitorParticipantObject *participantObject,
                                                            DDS_Entity *entity, const void *) {
    static constexpr ZELDefaultMonitorEventStep step = {ZEL_MONITOR_TOPIC_DATAREADER_STATISTICS, false,
                                                        ZELDefaultMonitorRelatedTopic::READER_TOPIC,
                                                        "dispose reader stats"};
    return ZELDefaultMonitorEvent_runI(participantObject, entity, step, [&] {
        return ZELDefaultMonitorParticipantObject_sampleAndPublishReaderStats(
                participantObject, DDS_DataReader_narrow(entity), DDS_BOOLEAN_TRUE);
    });
}

// The locator of a locator-pair event: the invalid locator with the
// event's kind, port and address.
DDS_Locator_t ZELDefaultMonitorEvent_toLocatorI(const ZELNetioLocator &address) {
    DDS_Locator_t locator = DDS_LOCATOR_INVALID;
    locator.kind = address.kind;
    locator._port = address.port;
    std::memcpy(locator.address, address.address, sizeof(locator.address));
    return locator;
}

template <bool dispose>
DDS_UnsignedLong ZELDefaultMonitorEvent_writerLocatorStatsI(ZELDefaultMonitorParticipantObject *participantObject,
                                                            DDS_Entity *entity, const void *eventData) {
    static constexpr ZELDefaultMonitorEventStep step = {
            ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_WITH_LOCATOR_STATISTICS, false,
            ZELDefaultMonitorRelatedTopic::WRITER_TOPIC,
            dispose ? "dispose writer matched with locator stat" : "publish writer stats with locator"};
    return ZELDefaultMonitorEvent_runI(participantObject, entity, step, [&] {
        if (eventData == nullptr) {
            return false;
        }
        const DDS_Locator_t locator =
                ZELDefaultMonitorEvent_toLocatorI(*static_cast<const ZELNetioLocator *>(eventData));
        return ZELDefaultMonitorParticipantObject_sampleAndPublishWriterMatchedWithLocatorStats(
                       participantObject, DDS_DataWriter_narrow(entity), &locator, dispose) != DDS_BOOLEAN_FALSE;
    });
}

// The remote endpoint of a match-pair event: its GUID words, each most
// significant octet first, as a valid handle.
DDS_InstanceHandle_t ZELDefaultMonitorEvent_toRemoteHandleI(const void *eventData) {
    uint32_t words[4];
    std::memcpy(words, eventData, sizeof(words));
    DDS_InstanceHandle_t handle = DDS_HANDLE_NIL;
    for (size_t word = 0; word < 4; ++word) {
        for (size_t octet = 0; octet < 4; ++octet) {
            handle.value[word * 4 + octet] = static_cast<DDS_Octet>(words[word] >> (24 - 8 * octet));
        }
    }
    handle.length = 16;
    handle.isValid = DDS_BOOLEAN_TRUE;
    return handle;
}

template <bool dispose>
DDS_UnsignedLong ZELDefaultMonitorEvent_matchedStatsI(ZELDefaultMonitorParticipantObject *participantObject,
                                                      DDS_Entity *entity, const void *eventData) {
    static constexpr ZELDefaultMonitorEventStep writerStep = {
            ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_STATISTICS, false,
            ZELDefaultMonitorRelatedTopic::WRITER_TOPIC,
            dispose ? "dispose writer matched stats" : "publish writer matched stats"};
    static constexpr ZELDefaultMonitorEventStep readerStep = {
            ZEL_MONITOR_TOPIC_DATAREADER_MATCHED_PUBLICATION_STATISTICS, false,
            ZELDefaultMonitorRelatedTopic::READER_TOPIC,
            dispose ? "dispose reader matched stats" : "publish reader matched stats"};
    // The kind is checked first: a wrong one is reported whatever the state.
    switch (DDS_Entity_get_entity_kind(entity)) {
    case DDS_DATAWRITER_ENTITY_KIND:
        return ZELDefaultMonitorEvent_runI(participantObject, entity, writerStep, [&] {
            if (eventData == nullptr) {
                return false;
            }
            const DDS_InstanceHandle_t subscription = ZELDefaultMonitorEvent_toRemoteHandleI(eventData);
            return ZELDefaultMonitorParticipantObject_sampleAndPublishWriterMatchedStats(
                           participantObject, DDS_DataWriter_narrow(entity), &subscription, dispose) !=
                   DDS_BOOLEAN_FALSE;
        });
    case DDS_DATAREADER_ENTITY_KIND:
        return ZELDefaultMonitorEvent_runI(participantObject, entity, readerStep, [&] {
            if (eventData == nullptr) {
                return false;
            }
            const DDS_InstanceHandle_t publication = ZELDefaultMonitorEvent_toRemoteHandleI(eventData);
            return ZELDefaultMonitorParticipantObject_sampleAndPublishReaderMatchedStats(
                           participantObject, DDS_DataReader_narrow(entity), &publication, dispose) !=
                   DDS_BOOLEAN_FALSE;
        });
    default:
        ZELMonitorLog_errorWithContext(kContext, ZEL_LOG_ANY_FAILURE_s, "wrong entity kind in matched stats");
        return ZEL_MONITOR_RESULT_FAILURE;
    }
}

// Events that need no action of the plug-in.
DDS_UnsignedLong ZELDefaultMonitorEvent_ignoreI(ZELDefaultMonitorParticipantObject *, DDS_Entity *, const void *) {
    return ZEL_MONITOR_RESULT_OK;
}

constexpr ZELDefaultMonitorEvent kEvents[] = {
        {DDS_MONITOR_EVENT_PARTICIPANT_ENABLE_AFTER, "PARTICIPANT_ENABLE_AFTER",
         &ZELDefaultMonitorEvent_onParticipantEnableI},
        {DDS_MONITOR_EVENT_PARTICIPANT_QOS_CHANGE_AFTER, "PARTICIPANT_QOS_CHANGE_AFTER",
         &ZELDefaultMonitorEvent_participantDescI<true>},
        {DDS_MONITOR_EVENT_PARTICIPANT_DELETE_CONTAINED_ENTITIES_BEFORE, "PARTICIPANT_DELETE_CONTAINED_ENTITIES_BEFORE",
         &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_TOPIC_CREATE_AFTER, "TOPIC_CREATE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_TOPIC_ENABLE_AFTER, "TOPIC_ENABLE_AFTER", &ZELDefaultMonitorEvent_topicDescI<false, false>},
        {DDS_MONITOR_EVENT_TOPIC_QOS_CHANGE_AFTER, "TOPIC_QOS_CHANGE_AFTER",
         &ZELDefaultMonitorEvent_topicDescI<false, true>},
        {DDS_MONITOR_EVENT_TOPIC_DELETE_BEFORE, "TOPIC_DELETE_BEFORE",
         &ZELDefaultMonitorEvent_deleteI<&ZELDefaultMonitorEvent_topicDescI<true, false>,
                                         &ZELDefaultMonitorEvent_disposeTopicStatsI>},
        {DDS_MONITOR_EVENT_PUBLISHER_CREATE_AFTER, "PUBLISHER_CREATE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_PUBLISHER_ENABLE_AFTER, "PUBLISHER_ENABLE_AFTER",
         &ZELDefaultMonitorEvent_publisherDescI<false, false>},
        {DDS_MONITOR_EVENT_PUBLISHER_QOS_CHANGE_AFTER, "PUBLISHER_QOS_CHANGE_AFTER",
         &ZELDefaultMonitorEvent_publisherDescI<false, true>},
        {DDS_MONITOR_EVENT_PUBLISHER_DELETE_BEFORE, "PUBLISHER_DELETE_BEFORE",
         &ZELDefaultMonitorEvent_publisherDescI<true, false>},
        {DDS_MONITOR_EVENT_PUBLISHER_DELETE_CONTAINED_ENTITIES_BEFORE, "PUBLISHER_DELETE_CONTAINED_ENTITIES_BEFORE",
         &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_SUBSCRIBER_CREATE_AFTER, "SUBSCRIBER_CREATE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_SUBSCRIBER_ENABLE_AFTER, "SUBSCRIBER_ENABLE_AFTER",
         &ZELDefaultMonitorEvent_subscriberDescI<false, false>},
        {DDS_MONITOR_EVENT_SUBSCRIBER_QOS_CHANGE_AFTER, "SUBSCRIBER_QOS_CHANGE_AFTER",
         &ZELDefaultMonitorEvent_subscriberDescI<false, true>},
        {DDS_MONITOR_EVENT_SUBSCRIBER_DELETE_BEFORE, "SUBSCRIBER_DELETE_BEFORE",
         &ZELDefaultMonitorEvent_subscriberDescI<true, false>},
        {DDS_MONITOR_EVENT_SUBSCRIBER_DELETE_CONTAINED_ENTITIES_BEFORE, "SUBSCRIBER_DELETE_CONTAINED_ENTITIES_BEFORE",
         &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_DATAWRITER_CREATE_AFTER, "DATAWRITER_CREATE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_DATAWRITER_ENABLE_AFTER, "DATAWRITER_ENABLE_AFTER",
         &ZELDefaultMonitorEvent_writerDescI<false, false>},
        {DDS_MONITOR_EVENT_DATAWRITER_QOS_CHANGE_AFTER, "DATAWRITER_QOS_CHANGE_AFTER",
         &ZELDefaultMonitorEvent_writerDescI<false, true>},
        {DDS_MONITOR_EVENT_DATAWRITER_DELETE_BEFORE, "DATAWRITER_DELETE_BEFORE",
         &ZELDefaultMonitorEvent_deleteI<&ZELDefaultMonitorEvent_writerDescI<true, false>,
                                         &ZELDefaultMonitorEvent_disposeWriterStatsI>},
        {DDS_MONITOR_EVENT_DATAREADER_CREATE_AFTER, "DATAREADER_CREATE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_DATAREADER_ENABLE_AFTER, "DATAREADER_ENABLE_AFTER",
         &ZELDefaultMonitorEvent_readerDescI<false, false>},
        {DDS_MONITOR_EVENT_DATAREADER_QOS_CHANGE_AFTER, "DATAREADER_QOS_CHANGE_AFTER",
         &ZELDefaultMonitorEvent_readerDescI<false, true>},
        {DDS_MONITOR_EVENT_DATAREADER_DELETE_BEFORE, "DATAREADER_DELETE_BEFORE",
         &ZELDefaultMonitorEvent_deleteI<&ZELDefaultMonitorEvent_readerDescI<true, false>,
                                         &ZELDefaultMonitorEvent_disposeReaderStatsI>},
        {DDS_MONITOR_EVENT_DATAWRITER_LOCATOR_PAIR_CREATE_AFTER, "DATAWRITER_LOCATOR_PAIR_CREATE_AFTER",
         &ZELDefaultMonitorEvent_writerLocatorStatsI<false>},
        {DDS_MONITOR_EVENT_DATAWRITER_LOCATOR_PAIR_DELETE_AFTER, "DATAWRITER_LOCATOR_PARI_DELETE_AFTER",
         &ZELDefaultMonitorEvent_writerLocatorStatsI<true>},
        {DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_CREATE_AFTER, "ENTITY_MATCH_PAIR_CREATE_AFTER",
         &ZELDefaultMonitorEvent_matchedStatsI<false>},
        {DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_DELETE_AFTER, "ENTITY_MATCH_PAIR_DELETE_AFTER",
         &ZELDefaultMonitorEvent_matchedStatsI<true>},
};

const ZELDefaultMonitorEvent *ZELDefaultMonitorEvent_findI(DDS_Long code) {
    for (const ZELDefaultMonitorEvent &event : kEvents) {
        if (event.code == code) {
            return &event;
        }
    }
    return nullptr;
}

}  // namespace

extern "C" {

ZELMONITOR_API DDS_UnsignedLong
ZELDefaultMonitorPublisher_onEventNotify(ZELDefaultMonitorParticipantObject *participantObject, DDS_Long eventKind,
                                         DDS_Entity *entity, const void *eventData) {
    // The monitoring entities themselves (and the middleware's own) are
    // not watched, not even logged.
    if (participantObject == nullptr || DDS_Entity_is_vendor_specific(entity)) {
        return ZEL_MONITOR_RESULT_OK;
    }
    const ZELDefaultMonitorEvent *event = ZELDefaultMonitorEvent_findI(eventKind);
    if (event == nullptr) {
        return ZEL_MONITOR_RESULT_OK;
    }
    ZELMonitorLog_info(ZEL_MONITOR_LOG_ENTITY_EVENT_s, event->name);
    return event->action(participantObject, entity, eventData);
}

}  // extern "C"
