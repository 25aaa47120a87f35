// The monitoring entity set: creation, enabling and tear-down.
#include "entity_set.h"

#include <atomic>

#include "log/monitor_log_macros.h"
#include "monitor_publisher.h"

namespace {

// Status mask of every monitoring entity: all but the data-on-readers bit.
constexpr DDS_StatusMask kStatusMask = 0xBFFFFFFFu;

// A slot with the phrase that names it in a failure line.
struct ZELDefaultMonitorSlotText {
    ZELDefaultMonitorTopic slot;
    const char *text;  // NULL: a failure of this slot is not logged
};

// Indexed by slot.
constexpr const char *kRegisterTypeTexts[ZEL_MONITOR_TOPIC_COUNT] = {
        "register participant description type",
        "register topic description type",
        "register publisher description type",
        "register subscriber description type",
        "register reader description type",
        "register writer description type",
        "register participant stat type",
        "register reader stat type",
        "register writer stat type",
        "register topic stat type",
        "register reader matched stat type",
        "register writer matched stat type",
        "register writer matched with locator stat type",
};

// The orders and phrases below are each their operation's own.
constexpr ZELDefaultMonitorSlotText kCreateTopicOrder[] = {
        {ZEL_MONITOR_TOPIC_PARTICIPANT_DESCRIPTION, "participant desc topic"},
        {ZEL_MONITOR_TOPIC_PUBLISHER_DESCRIPTION, "publisher desc topic"},
        {ZEL_MONITOR_TOPIC_SUBSCRIBER_DESCRIPTION, "subscriber desc topic"},
        {ZEL_MONITOR_TOPIC_TOPIC_DESCRIPTION, "topic desc topic"},
        {ZEL_MONITOR_TOPIC_DATAREADER_DESCRIPTION, "reader desc topic"},
        {ZEL_MONITOR_TOPIC_DATAWRITER_DESCRIPTION, "writer desc topic"},
        {ZEL_MONITOR_TOPIC_PARTICIPANT_STATISTICS, "participant stat topic"},
        {ZEL_MONITOR_TOPIC_DATAREADER_STATISTICS, "reader stat topic"},
        {ZEL_MONITOR_TOPIC_DATAWRITER_STATISTICS, "writer stat topic"},
        {ZEL_MONITOR_TOPIC_TOPIC_STATISTICS, "topic stat topic"},
        {ZEL_MONITOR_TOPIC_DATAREADER_MATCHED_PUBLICATION_STATISTICS, "reader match topic"},
        {ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_STATISTICS, "writer match topic"},
        {ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_WITH_LOCATOR_STATISTICS, "writer match with locaotr topic"},
};

constexpr ZELDefaultMonitorSlotText kCreateWriterOrder[] = {
        {ZEL_MONITOR_TOPIC_PARTICIPANT_DESCRIPTION, "participant desc writer"},
        {ZEL_MONITOR_TOPIC_PUBLISHER_DESCRIPTION, "publisher desc writer"},
        {ZEL_MONITOR_TOPIC_SUBSCRIBER_DESCRIPTION, "subscriber desc writer"},
        {ZEL_MONITOR_TOPIC_TOPIC_DESCRIPTION, "topic desc writer"},
        {ZEL_MONITOR_TOPIC_DATAWRITER_DESCRIPTION, "writer desc writer"},
        {ZEL_MONITOR_TOPIC_DATAREADER_DESCRIPTION, "reader desc writer"},
        {ZEL_MONITOR_TOPIC_PARTICIPANT_STATISTICS, "participant stat writer"},
        {ZEL_MONITOR_TOPIC_DATAREADER_STATISTICS, "reader stat writer"},
        {ZEL_MONITOR_TOPIC_DATAWRITER_STATISTICS, "writer stat writer"},
        {ZEL_MONITOR_TOPIC_TOPIC_STATISTICS, "topic stat writer"},
        {ZEL_MONITOR_TOPIC_DATAREADER_MATCHED_PUBLICATION_STATISTICS, "reader matched stat writer"},
        {ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_STATISTICS, "writer matched stat writer"},
        {ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_WITH_LOCATOR_STATISTICS,
         "writer matched with locator stat writer"},
};

constexpr ZELDefaultMonitorSlotText kEnableTopicOrder[] = {
        {ZEL_MONITOR_TOPIC_PARTICIPANT_DESCRIPTION, "enable partiicpant desc topic"},
        {ZEL_MONITOR_TOPIC_TOPIC_DESCRIPTION, "enable topic desc topic"},
        {ZEL_MONITOR_TOPIC_PUBLISHER_DESCRIPTION, "enable publisher desc topic"},
        {ZEL_MONITOR_TOPIC_SUBSCRIBER_DESCRIPTION, nullptr},
        {ZEL_MONITOR_TOPIC_DATAREADER_DESCRIPTION, "enable reader desc topic"},
        {ZEL_MONITOR_TOPIC_DATAWRITER_DESCRIPTION, "enable writer desc topic"},
        {ZEL_MONITOR_TOPIC_PARTICIPANT_STATISTICS, "enable participant stat topic"},
        {ZEL_MONITOR_TOPIC_DATAREADER_STATISTICS, "enable reader stat topic"},
        {ZEL_MONITOR_TOPIC_DATAWRITER_STATISTICS, "enable writer stat topic"},
        {ZEL_MONITOR_TOPIC_TOPIC_STATISTICS, "enable writer stat topic"},
        {ZEL_MONITOR_TOPIC_DATAREADER_MATCHED_PUBLICATION_STATISTICS, "enable reader matched topic"},
        {ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_STATISTICS, "enable writer matched topic"},
        {ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_WITH_LOCATOR_STATISTICS,
         "enable writer matched with locator  topic"},
};

constexpr ZELDefaultMonitorSlotText kDeleteTopicOrder[] = {
        {ZEL_MONITOR_TOPIC_DATAREADER_MATCHED_PUBLICATION_STATISTICS, "reader matched stat topic"},
        {ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_STATISTICS, "writer matched stat topic"},
        {ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_WITH_LOCATOR_STATISTICS,
         "writer matched with locator stat topic"},
        {ZEL_MONITOR_TOPIC_PARTICIPANT_STATISTICS, "particiant stat topic"},
        {ZEL_MONITOR_TOPIC_DATAREADER_STATISTICS, "reader stat topic"},
        {ZEL_MONITOR_TOPIC_DATAWRITER_STATISTICS, "writer stat topic"},
        {ZEL_MONITOR_TOPIC_TOPIC_STATISTICS, "topic stat topic"},
        {ZEL_MONITOR_TOPIC_PARTICIPANT_DESCRIPTION, "participant desc topic"},
        {ZEL_MONITOR_TOPIC_PUBLISHER_DESCRIPTION, "publisher desc topic"},
        {ZEL_MONITOR_TOPIC_SUBSCRIBER_DESCRIPTION, "subscriber desc topic"},
        {ZEL_MONITOR_TOPIC_TOPIC_DESCRIPTION, "topic desc topic"},
        {ZEL_MONITOR_TOPIC_DATAREADER_DESCRIPTION, "reader desc topic"},
        {ZEL_MONITOR_TOPIC_DATAWRITER_DESCRIPTION, "writer desc topic"},
};

DDS_Boolean ZELDefaultMonitorEntitySet_registerTypeI(DDS_DomainParticipant *participant,
                                                     const ZELDefaultMonitorCatalogueEntry &entry) {
    PRESTypePlugin *plugin = entry.newPlugin();
    if (plugin == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    // The participant keeps its own copy of the plug-in record.
    const DDS_ReturnCode_t result = DDS_DomainParticipant_register_type(participant, entry.typeName, plugin, nullptr);
    entry.deletePlugin(plugin);
    return result == DDS_RETCODE_OK ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

// Creates the writers of the selected topics, each with its own QoS.
DDS_Boolean ZELDefaultMonitorEntitySet_createWritersI(ZELDefaultMonitorEntitySet *self,
                                                      DDS_DomainParticipantFactory *factory,
                                                      const ZELDefaultMonitorEntitySettings *settings) {
    const char *const context = "ZELDefaultMonitorPublisher_createEntitiesAndThreadI";
    for (const ZELDefaultMonitorSlotText &order : kCreateWriterOrder) {
        const char *topicName = ZELDefaultMonitorCatalogue_g_entries[order.slot].topicName;
        if (!ZELDefaultMonitorEntitySettings_isTopicSelected(settings, topicName)) {
            continue;
        }
        DDS_DataWriterQos qos = DDS_DataWriterQos_INITIALIZER;
        if (!ZELDefaultMonitorPublisher_get_writer_qosI(&qos, factory, self->publisher, topicName, settings)) {
            ZELMonitorLog_errorWithContext(context, ZEL_LOG_CREATION_FAILURE_s, "get default writer qos");
            DDS_DataWriterQos_finalize(&qos);
            return DDS_BOOLEAN_FALSE;
        }
        self->writers[order.slot] =
                DDS_Publisher_create_datawriter(self->publisher, self->topics[order.slot], &qos, nullptr, kStatusMask);
        DDS_DataWriterQos_finalize(&qos);
        if (self->writers[order.slot] == nullptr) {
            ZELMonitorLog_errorWithContext(context, ZEL_LOG_CREATION_FAILURE_s, order.text);
            return DDS_BOOLEAN_FALSE;
        }
    }
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELDefaultMonitorEntitySet_enableI(DDS_Entity *entity) {
    return DDS_Entity_enable(entity) == DDS_RETCODE_OK ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

// Step 4 of enabling: the set's thread starts once, under the publisher's
// list lock, which the shared set's participants contend for.
DDS_Boolean ZELDefaultMonitorEntitySet_startThreadOnceI(ZELDefaultMonitorParticipantObject *participantObject) {
    const char *const context = "ZELDefaultMonitorPublisher_enableEntitiesAndStartThreadI";
    ZELDefaultMonitorPublisher *publisher = participantObject->publisher;
    ZELDefaultMonitorEntitySet *set = participantObject->entities;
    if (publisher->factory == nullptr) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_CREATION_FAILURE_s, "factory");
        return DDS_BOOLEAN_FALSE;
    }
    REDAWorker *worker = DDS_DomainParticipantFactory_get_workerI(publisher->factory);
    if (worker == nullptr) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_CREATION_FAILURE_s, "worker");
        return DDS_BOOLEAN_FALSE;
    }
    if (!REDAWorker_enterExclusiveArea(worker, nullptr, publisher->listEA)) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_CREATION_FAILURE_s, "ea");
        return DDS_BOOLEAN_FALSE;
    }
    bool started = true;
    if (!ZELDefaultMonitorEntitySet_isStarted(set)) {
        started = publisher->sharedEntities != nullptr
                          ? ZELDefaultMonitorParticipantObject_startCommonThread(publisher)
                          : ZELDefaultMonitorParticipantObject_startParticipantThread(participantObject);
        if (started) {
            std::atomic_ref<DDS_Boolean>(set->started).store(DDS_BOOLEAN_TRUE, std::memory_order_release);
        } else {
            ZELMonitorLog_errorWithContext(context, ZEL_LOG_CREATION_FAILURE_s, "start thread");
        }
    }
    if (!REDAWorker_leaveExclusiveArea(worker, nullptr, publisher->listEA)) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_CREATION_FAILURE_s, "ea");
        return DDS_BOOLEAN_FALSE;
    }
    return started ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

}  // namespace

extern "C" {

DDS_Boolean ZELDefaultMonitorEntitySet_isStarted(const ZELDefaultMonitorEntitySet *self) {
    return std::atomic_ref<DDS_Boolean>(const_cast<DDS_Boolean &>(self->started)).load(std::memory_order_acquire);
}

DDS_Boolean ZELDefaultMonitorPublisher_createEntitiesAndThreadI(ZELDefaultMonitorEntitySet *self,
                                                                DDS_DomainParticipantFactory *factory,
                                                                DDS_DomainParticipant *participant,
                                                                const DDS_DomainParticipantQos *configQos) {
    ZELMonitorLog_info(ZEL_MONITOR_LOG_INFO_s, "creating entities");
    ZELDefaultMonitorEntitySettings settings{};
    ZELDefaultMonitorEntitySettings_read(&settings, &configQos->property);

    DDS_PublisherQos publisherQos = DDS_PublisherQos_INITIALIZER;
    const DDS_ReturnCode_t publisherQosResult =
            ZELDefaultMonitorEntitySettings_hasQosProfile(&settings)
                    ? DDS_DomainParticipantFactory_get_publisher_qos_from_profile(
                              factory, &publisherQos, settings.qosLibrary, settings.qosProfile)
                    : DDS_DomainParticipant_get_default_publisher_qos(participant, &publisherQos);
    if (publisherQosResult != DDS_RETCODE_OK) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "get default publisher qos");
        DDS_PublisherQos_finalize(&publisherQos);
        return DDS_BOOLEAN_FALSE;
    }
    // The monitor's own publisher and topics are vendor-specific, like its
    // writers: the application's delete_contained_entities leaves them to
    // the monitor, and their events are not described.
    publisherQos.protocol.vendor_specific_entity = DDS_BOOLEAN_TRUE;
    self->publisher = DDS_DomainParticipant_create_publisher(participant, &publisherQos, nullptr, kStatusMask);
    DDS_PublisherQos_finalize(&publisherQos);
    if (self->publisher == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "publisher");
        return DDS_BOOLEAN_FALSE;
    }

    for (int slot = 0; slot < ZEL_MONITOR_TOPIC_COUNT; ++slot) {
        const ZELDefaultMonitorCatalogueEntry &entry = ZELDefaultMonitorCatalogue_g_entries[slot];
        if (ZELDefaultMonitorEntitySettings_isTopicSelected(&settings, entry.topicName) &&
            !ZELDefaultMonitorEntitySet_registerTypeI(participant, entry)) {
            ZELMonitorLog_error(ZEL_LOG_ANY_FAILURE_s, kRegisterTypeTexts[slot]);
            return DDS_BOOLEAN_FALSE;
        }
    }

    DDS_TopicQos topicQos = DDS_TopicQos_INITIALIZER;
    if (DDS_DomainParticipant_get_default_topic_qos(participant, &topicQos) != DDS_RETCODE_OK) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "get default topic qos");
        DDS_TopicQos_finalize(&topicQos);
        return DDS_BOOLEAN_FALSE;
    }
    topicQos.protocol.vendor_specific_entity = DDS_BOOLEAN_TRUE;
    for (const ZELDefaultMonitorSlotText &order : kCreateTopicOrder) {
        const ZELDefaultMonitorCatalogueEntry &entry = ZELDefaultMonitorCatalogue_g_entries[order.slot];
        if (!ZELDefaultMonitorEntitySettings_isTopicSelected(&settings, entry.topicName)) {
            continue;
        }
        self->topics[order.slot] = DDS_DomainParticipant_create_topic(participant, entry.topicName, entry.typeName,
                                                                      &topicQos, nullptr, kStatusMask);
        if (self->topics[order.slot] == nullptr) {
            ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, order.text);
            DDS_TopicQos_finalize(&topicQos);
            return DDS_BOOLEAN_FALSE;
        }
    }
    DDS_TopicQos_finalize(&topicQos);

    if (!ZELDefaultMonitorEntitySet_createWritersI(self, factory, &settings)) {
        return DDS_BOOLEAN_FALSE;
    }

    ZELDefaultMonitorPublishSettings publish{};
    ZELDefaultMonitorPublishSettings_read(&publish, &configQos->property);
    self->period = publish.period;
    if (self->period.sec < 1) {
        return DDS_BOOLEAN_TRUE;  // no statistics: entities without a thread
    }
    self->thread = ZELDefaultMonitorPublisherThread_create(factory, participant, &publish.thread);
    if (self->thread == nullptr) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "thread");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELDefaultMonitorPublisher_enableEntitiesAndStartThreadI(
        ZELDefaultMonitorParticipantObject *participantObject) {
    ZELMonitorLog_info(ZEL_MONITOR_LOG_INFO_s, "enable entities");
    ZELDefaultMonitorEntitySet *set = participantObject->entities;
    if (set == nullptr) {
        return DDS_BOOLEAN_FALSE;  // attach failed before the set existed
    }
    DDS_DomainParticipant *monitoringParticipant = participantObject->publisher->monitoringParticipant;
    if (monitoringParticipant != nullptr &&
        !ZELDefaultMonitorEntitySet_enableI(DDS_DomainParticipant_as_entity(monitoringParticipant))) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "enable participant");
        return DDS_BOOLEAN_FALSE;
    }
    for (const ZELDefaultMonitorSlotText &order : kEnableTopicOrder) {
        DDS_Topic *topic = set->topics[order.slot];
        if (topic != nullptr && !ZELDefaultMonitorEntitySet_enableI(DDS_Topic_as_entity(topic))) {
            if (order.text != nullptr) {
                ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, order.text);
            }
            return DDS_BOOLEAN_FALSE;
        }
    }
    if (!ZELDefaultMonitorEntitySet_enableI(DDS_Publisher_as_entity(set->publisher))) {
        ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "enable publisher");
        return DDS_BOOLEAN_FALSE;
    }
    for (DDS_DataWriter *writer : set->writers) {
        if (writer != nullptr && !ZELDefaultMonitorEntitySet_enableI(DDS_DataWriter_as_entity(writer))) {
            ZELMonitorLog_error(ZEL_LOG_CREATION_FAILURE_s, "enable writer");
            return DDS_BOOLEAN_FALSE;
        }
    }
    if (set->thread == nullptr) {
        // Without statistics there is no thread to start; descriptions
        // still flow once the set counts as started.
        std::atomic_ref<DDS_Boolean>(set->started).store(DDS_BOOLEAN_TRUE, std::memory_order_release);
        return DDS_BOOLEAN_TRUE;
    }
    return ZELDefaultMonitorEntitySet_startThreadOnceI(participantObject);
}

DDS_Boolean ZELDefaultMonitorPublisher_stopThreadAndDeleteEntitiesI(DDS_DomainParticipant *participant,
                                                                    ZELDefaultMonitorEntitySet *self) {
    ZELMonitorLog_info(ZEL_MONITOR_LOG_INFO_s, "delete entities");
    if (self->thread != nullptr) {
        if (!ZELDefaultMonitorPublisherThread_finalize(self->thread)) {
            ZELMonitorLog_error(ZEL_LOG_DESTRUCTION_FAILURE_s, "thread");
            return DDS_BOOLEAN_FALSE;
        }
        self->thread = nullptr;
    }
    if (self->publisher != nullptr) {
        if (DDS_Publisher_delete_contained_entities(self->publisher) != DDS_RETCODE_OK) {
            ZELMonitorLog_error(ZEL_LOG_DESTRUCTION_FAILURE_s, "writers");
            return DDS_BOOLEAN_FALSE;
        }
        for (DDS_DataWriter *&writer : self->writers) {
            writer = nullptr;
        }
    }
    for (const ZELDefaultMonitorSlotText &order : kDeleteTopicOrder) {
        DDS_Topic *&topic = self->topics[order.slot];
        if (topic == nullptr) {
            continue;
        }
        if (DDS_DomainParticipant_delete_topic(participant, topic) != DDS_RETCODE_OK) {
            ZELMonitorLog_error(ZEL_LOG_DESTRUCTION_FAILURE_s, order.text);
            return DDS_BOOLEAN_FALSE;
        }
        topic = nullptr;
    }
    if (self->publisher != nullptr) {
        if (DDS_DomainParticipant_delete_publisher(participant, self->publisher) != DDS_RETCODE_OK) {
            ZELMonitorLog_error(ZEL_LOG_DESTRUCTION_FAILURE_s, "publisher");
            return DDS_BOOLEAN_FALSE;
        }
        self->publisher = nullptr;
    }
    return DDS_BOOLEAN_TRUE;
}

}  // extern "C"
