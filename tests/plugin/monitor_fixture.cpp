#include "monitor_fixture.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

#include "vurncore/dds_string.h"

namespace zeltest {

EntityKey keyOf(const DDS_BuiltinTopicKey_t &key) { return {key.value[0], key.value[1], key.value[2], key.value[3]}; }
EntityKey keyOf(const DDSMonitoring_BuiltinTopicKey_t &key) {
    return {key.value[0], key.value[1], key.value[2], key.value[3]};
}
EntityKey keyOf(DDS_DomainParticipant *participant) {
    DDS_BuiltinTopicKey_t key{};
    DDS_DomainParticipant_get_builtin_topic_key(participant, &key);
    return keyOf(key);
}
EntityKey keyOf(DDS_Topic *topic) { return keyOf(*DDS_Topic_get_builtin_topic_key(topic)); }
EntityKey keyOf(DDS_Publisher *publisher) { return keyOf(*DDS_Publisher_get_builtin_topic_key(publisher)); }
EntityKey keyOf(DDS_Subscriber *subscriber) { return keyOf(*DDS_Subscriber_get_builtin_topic_key(subscriber)); }
EntityKey keyOf(DDS_DataWriter *writer) { return keyOf(*DDS_DataWriter_get_builtin_topic_key(writer)); }
EntityKey keyOf(DDS_DataReader *reader) { return keyOf(*DDS_DataReader_get_builtin_topic_key(reader)); }

std::string keyText(const EntityKey &key) {
    char text[64];
    std::snprintf(text, sizeof text, "{%x %x %x %x}", static_cast<unsigned>(key[0]), static_cast<unsigned>(key[1]),
                  static_cast<unsigned>(key[2]), static_cast<unsigned>(key[3]));
    return text;
}

Properties withLinkedPlugIn(Properties properties) {
    char address[32];
    std::snprintf(address, sizeof address, "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(&ZELDefaultMonitor_create));
    properties.emplace_back("zel.monitor.create_function_ptr", address);
    return properties;
}

void MonitorTest::SetUp() {
    HeapCheckedTest::SetUp();
    ZEL_Monitor_Log_getBitmaps(&submoduleMask_, &instrumentationMask_);
    factory_ = DDS_DomainParticipantFactory_get_instance();
    ASSERT_NE(factory_, nullptr);
}

void MonitorTest::TearDown() {
    for (ZELDefaultMonitorParticipantObject *object : objects_) {
        EXPECT_EQ(ZELDefaultMonitorPublisher_onDomainParticipantDetach(object), ZEL_MONITOR_RESULT_OK);
    }
    if (publisher_ != nullptr) {
        EXPECT_EQ(ZELDefaultMonitorPublisher_delete(publisher_), ZEL_MONITOR_RESULT_OK);
    }
    for (DDS_DomainParticipant *participant : participants_) {
        EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(participant), DDS_RETCODE_OK);
        EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, participant), DDS_RETCODE_OK);
    }
    EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
    ZEL_Monitor_Log_setBitmaps(submoduleMask_, instrumentationMask_);
    HeapCheckedTest::TearDown();
}

DDS_DomainParticipant *MonitorTest::createParticipant(const Properties &properties, DDS_DomainId_t domain,
                                                      bool enabled, const char *name) {
    DDS_DomainParticipant *participant = createUnownedParticipant(properties, domain, enabled, name);
    if (participant != nullptr) {
        participants_.push_back(participant);
    }
    return participant;
}

DDS_DomainParticipant *MonitorTest::createUnownedParticipant(const Properties &properties, DDS_DomainId_t domain,
                                                             bool enabled, const char *name) {
    const DDS_Boolean autoenable = enabled ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
    DDS_DomainParticipantFactoryQos factoryQos = DDS_DomainParticipantFactoryQos_INITIALIZER;
    DDS_DomainParticipantFactory_get_qos(factory_, &factoryQos);
    factoryQos.entity_factory.autoenable_created_entities = autoenable;
    DDS_DomainParticipantFactory_set_qos(factory_, &factoryQos);
    DDS_DomainParticipantFactoryQos_finalize(&factoryQos);
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    DDS_DomainParticipantFactory_get_default_participant_qos(factory_, &qos);
    qos.entity_factory.autoenable_created_entities = autoenable;
    if (name != nullptr) {
        DDS_String_free(qos.participant_name.name);
        qos.participant_name.name = DDS_String_dup(name);
    }
    for (const auto &[key, value] : properties) {
        DDS_PropertyQosPolicyHelper_add_property(&qos.property, key.c_str(), value.c_str(), DDS_BOOLEAN_FALSE);
    }
    DDS_DomainParticipant *participant =
            DDS_DomainParticipantFactory_create_participant(factory_, domain, &qos, nullptr, DDS_STATUS_MASK_NONE);
    DDS_DomainParticipantQos_finalize(&qos);
    return participant;
}

void MonitorTest::deleteParticipant(DDS_DomainParticipant *participant) {
    std::erase(participants_, participant);
    ASSERT_EQ(DDS_DomainParticipant_delete_contained_entities(participant), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, participant), DDS_RETCODE_OK);
}

std::string MonitorTest::propertyOf(DDS_DomainParticipant *participant, const char *name) {
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    DDS_DomainParticipant_get_qos(participant, &qos);
    const DDS_Property_t *property = DDS_PropertyQosPolicyHelper_lookup_property(&qos.property, name);
    std::string value = property != nullptr ? property->value : "<absent>";
    DDS_DomainParticipantQos_finalize(&qos);
    return value;
}

ZELDefaultMonitorPublisher *MonitorTest::publisher() {
    if (publisher_ == nullptr) {
        DDS_UnsignedLong result = 0;
        publisher_ = ZELDefaultMonitorPublisher_create(&result, factory_, kVersion);
        EXPECT_EQ(result, ZEL_MONITOR_RESULT_OK);
    }
    return publisher_;
}

ZELDefaultMonitorParticipantObject *MonitorTest::attach(DDS_DomainParticipant *participant) {
    DDS_UnsignedLong result = 0;
    ZELDefaultMonitorParticipantObject *object =
            ZELDefaultMonitorPublisher_onDomainParticipantAttach(&result, publisher(), participant);
    EXPECT_EQ(result, ZEL_MONITOR_RESULT_OK);
    EXPECT_NE(object, nullptr);
    if (object != nullptr) {
        objects_.push_back(object);
    }
    return object;
}

DDS_UnsignedLong MonitorTest::notify(ZELDefaultMonitorParticipantObject *object, DDS_Long eventKind,
                                     DDS_Entity *entity, const void *eventData) {
    return ZELDefaultMonitorPublisher_onEventNotify(object, eventKind, entity, eventData);
}

DDS_UnsignedLong MonitorTest::enable(ZELDefaultMonitorParticipantObject *object) {
    return notify(object, DDS_MONITOR_EVENT_PARTICIPANT_ENABLE_AFTER,
                  DDS_DomainParticipant_as_entity(object->participant));
}

Application MonitorTest::application(const Properties &properties, DDS_DomainId_t domain, const char *name) {
    Application app;
    app.participant = createParticipant(properties, domain, true, name);
    EXPECT_NE(app.participant, nullptr);
    if (app.participant == nullptr) {
        return app;
    }
    EXPECT_EQ(app_ReadingTypeSupport_register_type(app.participant, nullptr), DDS_RETCODE_OK);
    EXPECT_EQ(app_NoteTypeSupport_register_type(app.participant, nullptr), DDS_RETCODE_OK);
    app.topic = createTopic(app.participant, "Readings");
    app.publisher = DDS_DomainParticipant_create_publisher(app.participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
    app.subscriber = DDS_DomainParticipant_create_subscriber(app.participant, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
    EXPECT_TRUE(app.publisher != nullptr && app.subscriber != nullptr);
    return app;
}

Application MonitorTest::monitoredApplication(Properties properties) {
    if (std::none_of(properties.begin(), properties.end(),
                     [](const auto &property) { return property.first == "zel.monitor.config.publish_period"; })) {
        properties.emplace_back("zel.monitor.config.publish_period", "3600");
    }
    Application app = application(properties);
    app.object = attach(app.participant);
    if (app.object != nullptr) {
        EXPECT_EQ(enable(app.object), ZEL_MONITOR_RESULT_OK);
    }
    return app;
}

DDS_Topic *MonitorTest::createTopic(DDS_DomainParticipant *participant, const char *name, const char *typeName) {
    DDS_Topic *topic = DDS_DomainParticipant_create_topic(participant, name, typeName, &DDS_TOPIC_QOS_DEFAULT, nullptr,
                                                          DDS_STATUS_MASK_NONE);
    EXPECT_NE(topic, nullptr);
    return topic;
}

DDS_DataWriter *MonitorTest::createWriter(DDS_Publisher *publisher, DDS_Topic *topic,
                                          const WriterQosAdjustment &adjust) {
    DDS_DataWriterQos qos = DDS_DataWriterQos_INITIALIZER;
    DDS_Publisher_get_default_datawriter_qos(publisher, &qos);
    qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
    if (adjust) {
        adjust(qos);
    }
    DDS_DataWriter *writer = DDS_Publisher_create_datawriter(publisher, topic, &qos, nullptr, DDS_STATUS_MASK_NONE);
    DDS_DataWriterQos_finalize(&qos);
    EXPECT_NE(writer, nullptr);
    return writer;
}

DDS_DataReader *MonitorTest::createReader(DDS_Subscriber *subscriber, DDS_TopicDescription *topic,
                                          const ReaderQosAdjustment &adjust) {
    DDS_DataReaderQos qos = DDS_DataReaderQos_INITIALIZER;
    DDS_Subscriber_get_default_datareader_qos(subscriber, &qos);
    qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
    if (adjust) {
        adjust(qos);
    }
    DDS_DataReader *reader = DDS_Subscriber_create_datareader(subscriber, topic, &qos, nullptr, DDS_STATUS_MASK_NONE);
    DDS_DataReaderQos_finalize(&qos);
    EXPECT_NE(reader, nullptr);
    return reader;
}

DDS_ReturnCode_t MonitorTest::write(DDS_DataWriter *writer, DDS_Long sensor) {
    app_Reading reading = app_Reading_INITIALIZER;
    reading.sensor = sensor;
    reading.value = 1.5;
    return app_ReadingDataWriter_write(app_ReadingDataWriter_narrow(writer), &reading, &DDS_HANDLE_NIL);
}

void MonitorTest::observeTopic(const char *topicName, const char *typeName,
                               DDS_ReturnCode_t (*registerType)(DDS_DomainParticipant *, const char *),
                               bool description, DDS_DomainId_t domain) {
    if (observer_ == nullptr) {
        observer_ = createParticipant({}, domain);
        ASSERT_NE(observer_, nullptr);
        observerSubscriber_ = DDS_DomainParticipant_create_subscriber(observer_, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
        ASSERT_NE(observerSubscriber_, nullptr);
    }
    ASSERT_EQ(registerType(observer_, typeName), DDS_RETCODE_OK);
    DDS_Topic *topic = createTopic(observer_, topicName, typeName);
    DDS_DataReaderQos qos = DDS_DataReaderQos_INITIALIZER;
    DDS_Subscriber_get_default_datareader_qos(observerSubscriber_, &qos);
    qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
    if (description) {
        qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
        qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
    }
    DDS_DataReader *reader = DDS_Subscriber_create_datareader(observerSubscriber_, DDS_Topic_as_topicdescription(topic),
                                                              &qos, nullptr, DDS_STATUS_MASK_NONE);
    DDS_DataReaderQos_finalize(&qos);
    ASSERT_NE(reader, nullptr);
    observerReaders_[topicName] = reader;
}

}  // namespace zeltest
