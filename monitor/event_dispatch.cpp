// Dispatch of the middleware's entity events: one table of the event codes
// the plug-in knows, with the name it logs and the action it takes.
#include "entity_set.h"
#include "log/monitor_log_macros.h"
#include "vurnc/dds_monitor.h"

namespace {

const char *const kContext = "ZELDefaultMonitorPublisher_onEventNotify";

typedef DDS_UnsignedLong (*ZELDefaultMonitorEventAction)(ZELDefaultMonitorParticipantObject *participantObject,
                                                          DDS_Entity *entity, const void *eventData);

struct ZELDefaultMonitorEvent {
    DDS_Long code;
    const char *name;  // logged as it stands, misspelling included
    ZELDefaultMonitorEventAction action;
};

// The monitored participant was enabled: the monitoring entities follow
// (once; a shared set is enabled again harmlessly by each participant).
DDS_UnsignedLong ZELDefaultMonitorEvent_onParticipantEnableI(ZELDefaultMonitorParticipantObject *participantObject,
                                                            DDS_Entity *, const void *) {
    const ZELDefaultMonitorEntitySet *set = participantObject->entities;
    if (set == nullptr || !ZELDefaultMonitorEntitySet_isStarted(set)) {
        if (!ZELDefaultMonitorPublisher_enableEntitiesAndStartThreadI(participantObject)) {
            ZELMonitorLog_errorWithContext(kContext, ZEL_LOG_CREATION_FAILURE_s, "enable entities");
            return ZEL_MONITOR_RESULT_FAILURE;
        }
    }
    return ZEL_MONITOR_RESULT_OK;
}

// Events that need no action of the plug-in, and those whose descriptions
// and statistics are not published yet.
DDS_UnsignedLong ZELDefaultMonitorEvent_ignoreI(ZELDefaultMonitorParticipantObject *, DDS_Entity *, const void *) {
    return ZEL_MONITOR_RESULT_OK;
}

// The description and statistics work fills in the actions that publish
// and dispose samples: the participant description after enabling, QoS
// changes, enabling and deletion of topics, publishers, subscribers,
// writers and readers, and the locator-pair and match-pair statistics.
constexpr ZELDefaultMonitorEvent kEvents[] = {
        {DDS_MONITOR_EVENT_PARTICIPANT_ENABLE_AFTER, "PARTICIPANT_ENABLE_AFTER",
         &ZELDefaultMonitorEvent_onParticipantEnableI},
        {DDS_MONITOR_EVENT_PARTICIPANT_QOS_CHANGE_AFTER, "PARTICIPANT_QOS_CHANGE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_PARTICIPANT_DELETE_CONTAINED_ENTITIES_BEFORE, "PARTICIPANT_DELETE_CONTAINED_ENTITIES_BEFORE",
         &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_TOPIC_CREATE_AFTER, "TOPIC_CREATE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_TOPIC_ENABLE_AFTER, "TOPIC_ENABLE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_TOPIC_QOS_CHANGE_AFTER, "TOPIC_QOS_CHANGE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_TOPIC_DELETE_BEFORE, "TOPIC_DELETE_BEFORE", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_PUBLISHER_CREATE_AFTER, "PUBLISHER_CREATE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_PUBLISHER_ENABLE_AFTER, "PUBLISHER_ENABLE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_PUBLISHER_QOS_CHANGE_AFTER, "PUBLISHER_QOS_CHANGE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_PUBLISHER_DELETE_BEFORE, "PUBLISHER_DELETE_BEFORE", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_PUBLISHER_DELETE_CONTAINED_ENTITIES_BEFORE, "PUBLISHER_DELETE_CONTAINED_ENTITIES_BEFORE",
         &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_SUBSCRIBER_CREATE_AFTER, "SUBSCRIBER_CREATE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_SUBSCRIBER_ENABLE_AFTER, "SUBSCRIBER_ENABLE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_SUBSCRIBER_QOS_CHANGE_AFTER, "SUBSCRIBER_QOS_CHANGE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_SUBSCRIBER_DELETE_BEFORE, "SUBSCRIBER_DELETE_BEFORE", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_SUBSCRIBER_DELETE_CONTAINED_ENTITIES_BEFORE, "SUBSCRIBER_DELETE_CONTAINED_ENTITIES_BEFORE",
         &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_DATAWRITER_CREATE_AFTER, "DATAWRITER_CREATE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_DATAWRITER_ENABLE_AFTER, "DATAWRITER_ENABLE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_DATAWRITER_QOS_CHANGE_AFTER, "DATAWRITER_QOS_CHANGE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_DATAWRITER_DELETE_BEFORE, "DATAWRITER_DELETE_BEFORE", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_DATAREADER_CREATE_AFTER, "DATAREADER_CREATE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_DATAREADER_ENABLE_AFTER, "DATAREADER_ENABLE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_DATAREADER_QOS_CHANGE_AFTER, "DATAREADER_QOS_CHANGE_AFTER", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_DATAREADER_DELETE_BEFORE, "DATAREADER_DELETE_BEFORE", &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_DATAWRITER_LOCATOR_PAIR_CREATE_AFTER, "DATAWRITER_LOCATOR_PAIR_CREATE_AFTER",
         &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_DATAWRITER_LOCATOR_PAIR_DELETE_AFTER, "DATAWRITER_LOCATOR_PARI_DELETE_AFTER",
         &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_CREATE_AFTER, "ENTITY_MATCH_PAIR_CREATE_AFTER",
         &ZELDefaultMonitorEvent_ignoreI},
        {DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_DELETE_AFTER, "ENTITY_MATCH_PAIR_DELETE_AFTER",
         &ZELDefaultMonitorEvent_ignoreI},
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

ZELMONITOR_API DDS_UnsignedLong ZELDefaultMonitorPublisher_onEventNotify(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_Long eventKind, DDS_Entity *entity,
        const void *eventData) {
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
