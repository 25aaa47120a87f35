// An application with monitoring switched on, seen by a monitoring tool
// that reads the description topics: one live description per live entity,
// with the keys, names, sizes and QoS the application gave, updated on QoS
// changes and disposed on deletion.
#include <set>

#include "monitor_fixture.h"
#include "vurncore/dds_string.h"
#include "vurncore/osapi.h"
#include "vurncore/typecode.h"

namespace {

using zeltest::aliveIn;
using zeltest::EntityKey;
using zeltest::keyOf;
using zeltest::recordText;

// The value of a property in a description's property list, or "<absent>".
std::string propertyIn(const DDSMonitoring_PropertyQosPolicy &policy, const char *name) {
    for (DDS_Long i = 0; i < DDSMonitoring_Property_tSeq_get_length(&policy.value); ++i) {
        const DDSMonitoring_Property_t *property =
                DDSMonitoring_Property_tSeq_get_reference(const_cast<DDSMonitoring_Property_tSeq *>(&policy.value), i);
        if (std::string(property->name) == name) {
            return property->value;
        }
    }
    return "<absent>";
}

class DescribedApplicationTest : public zeltest::MonitorTest {
protected:
    // An entity name of a QoS, which owns its strings.
    static void setName(char **field, const char *value) {
        DDS_String_free(*field);
        *field = DDS_String_dup(value);
    }

    static void addProperties(DDS_PropertyQosPolicy *policy, int count) {
        for (int i = 0; i < count; ++i) {
            const std::string name = "app.p" + std::to_string(i);
            DDS_PropertyQosPolicyHelper_add_property(policy, name.c_str(), "v", DDS_BOOLEAN_FALSE);
        }
    }

    void observeDescriptions(DDS_DomainId_t domain = zeltest::kDomain) {
        observe<zeltest::ParticipantDescriptions, zeltest::TopicDescriptions, zeltest::PublisherDescriptions,
                zeltest::SubscriberDescriptions, zeltest::ReaderDescriptions, zeltest::WriterDescriptions>(domain);
    }

    // A participant named "shapes" that the middleware attaches to the
    // plug-in, configured by `properties`, with both test types registered.
    DDS_DomainParticipant *createApplication(const zeltest::Properties &properties) {
        DDS_DomainParticipant *participant =
                createParticipant(zeltest::withLinkedPlugIn(properties), zeltest::kDomain, true, "shapes");
        EXPECT_NE(participant, nullptr);
        if (participant != nullptr) {
            EXPECT_EQ(app_ReadingTypeSupport_register_type(participant, nullptr), DDS_RETCODE_OK);
            EXPECT_EQ(app_NoteTypeSupport_register_type(participant, nullptr), DDS_RETCODE_OK);
        }
        return participant;
    }

    static DDS_Publisher *createPublisher(DDS_DomainParticipant *participant, const char *name) {
        DDS_PublisherQos qos = DDS_PublisherQos_INITIALIZER;
        DDS_DomainParticipant_get_default_publisher_qos(participant, &qos);
        setName(&qos.publisher_name.name, name);
        DDS_Publisher *publisher =
                DDS_DomainParticipant_create_publisher(participant, &qos, nullptr, DDS_STATUS_MASK_NONE);
        DDS_PublisherQos_finalize(&qos);
        EXPECT_NE(publisher, nullptr);
        return publisher;
    }

    static DDS_Subscriber *createSubscriber(DDS_DomainParticipant *participant, const char *name) {
        DDS_SubscriberQos qos = DDS_SubscriberQos_INITIALIZER;
        DDS_DomainParticipant_get_default_subscriber_qos(participant, &qos);
        setName(&qos.subscriber_name.name, name);
        DDS_Subscriber *subscriber =
                DDS_DomainParticipant_create_subscriber(participant, &qos, nullptr, DDS_STATUS_MASK_NONE);
        DDS_SubscriberQos_finalize(&qos);
        EXPECT_NE(subscriber, nullptr);
        return subscriber;
    }

    // A writer named `name` with `propertyCount` properties "app.pN".
    static DDS_DataWriter *createWriter(DDS_Publisher *publisher, DDS_Topic *topic, const char *name,
                                        int propertyCount = 0, DDS_Long depth = 1) {
        return MonitorTest::createWriter(publisher, topic, [=](DDS_DataWriterQos &qos) {
            setName(&qos.publication_name.name, name);
            qos.history.depth = depth;
            addProperties(&qos.property, propertyCount);
        });
    }

    static DDS_DataReader *createReader(DDS_Subscriber *subscriber, DDS_TopicDescription *topic, const char *name,
                                        int propertyCount = 0) {
        return MonitorTest::createReader(subscriber, topic, [=](DDS_DataReaderQos &qos) {
            setName(&qos.subscription_name.name, name);
            addProperties(&qos.property, propertyCount);
        });
    }
};

TEST_F(DescribedApplicationTest, EveryApplicationEntityIsDescribedOnceWithItsKeysNamesSizesAndQos) {
    observeDescriptions();
    zeltest::LogCapture capture;
    DDS_DomainParticipant *app = createApplication({{"app.tag", "alpha"}, {"zel.monitor.config.verbosity", "2"}});
    ASSERT_NE(app, nullptr);
    DDS_Topic *square = createTopic(app, "Square");
    DDS_Topic *circle = createTopic(app, "Circle");
    DDS_Topic *notes = createTopic(app, "Notes", "app::Note");
    DDS_ContentFilteredTopic *bigSquares =
            DDS_DomainParticipant_create_contentfilteredtopic(app, "BigSquares", square, "value > 10", nullptr);
    ASSERT_NE(bigSquares, nullptr);
    DDS_Publisher *publisher = createPublisher(app, "sensors");
    DDS_Subscriber *subscriber = createSubscriber(app, "console");
    DDS_Subscriber *spare = createSubscriber(app, "spare");
    DDS_DataWriter *squareWriter = createWriter(publisher, square, "squareWriter", 3, 7);
    DDS_DataWriter *noteWriter = createWriter(publisher, notes, "noteWriter");
    DDS_DataReader *circleReader = createReader(subscriber, DDS_Topic_as_topicdescription(circle), "circleReader", 2);
    DDS_DataReader *bigReader =
            createReader(subscriber, DDS_ContentFilteredTopic_as_topicdescription(bigSquares), "bigReader");

    // The participant, as the application configured it, and as the plug-in
    // announced it.
    const EntityKey appKey = keyOf(app);
    auto participants = described<zeltest::ParticipantDescriptions>();
    ASSERT_EQ(aliveIn(participants), std::set<EntityKey>{appKey});
    const auto &participant = *participants[appKey].last;
    EXPECT_EQ(participant.domain_id, zeltest::kDomain);
    EXPECT_EQ(participant.host_id, ZELOsapiHost_getId());
    EXPECT_EQ(participant.process_id, ZELOsapiProcess_getId());
    EXPECT_STREQ(participant.qos.participant_name.name, "shapes");
    EXPECT_EQ(propertyIn(participant.qos.property, "app.tag"), "alpha");
    EXPECT_EQ(propertyIn(participant.qos.property, "zel/dds/monitor/appname"), "monitoring application");

    // Topics: the application's three, none of the monitoring topics that
    // live on the same participant.
    auto topics = described<zeltest::TopicDescriptions>();
    const EntityKey squareKey = keyOf(square);
    EXPECT_EQ(aliveIn(topics), (std::set<EntityKey>{squareKey, keyOf(circle), keyOf(notes)}));
    const auto &squareDescription = *topics[squareKey].last;
    EXPECT_EQ(keyOf(squareDescription.participant_entity_key), appKey);
    EXPECT_STREQ(squareDescription.topic_name, "Square");
    EXPECT_STREQ(squareDescription.type_name, "app::Reading");
    EXPECT_EQ(squareDescription.tc_serialized_size, DDS_TypeCode_get_serialized_size(app_Reading_get_typecode()));
    EXPECT_GT(squareDescription.tc_serialized_size, 0u);

    // Publishers and subscribers: the application's, not the monitoring one.
    auto publishers = described<zeltest::PublisherDescriptions>();
    const EntityKey publisherKey = keyOf(publisher);
    ASSERT_EQ(aliveIn(publishers), std::set<EntityKey>{publisherKey});
    EXPECT_STREQ(publishers[publisherKey].last->qos.publisher_name.name, "sensors");
    EXPECT_EQ(keyOf(publishers[publisherKey].last->participant_entity_key), appKey);
    auto subscribers = described<zeltest::SubscriberDescriptions>();
    const EntityKey subscriberKey = keyOf(subscriber);
    const EntityKey spareKey = keyOf(spare);
    ASSERT_EQ(aliveIn(subscribers), (std::set<EntityKey>{subscriberKey, spareKey}));
    EXPECT_STREQ(subscribers[subscriberKey].last->qos.subscriber_name.name, "console");

    // Writers: parents, QoS, and the sizes of the type with a 4-octet
    // little-endian encapsulation header: Reading is a long and an 8-aligned
    // double (20 octets), its key the long (8); Note a string of 0 to 32
    // characters with its length and NUL (9 to 41), without a key.
    auto writers = described<zeltest::WriterDescriptions>();
    const EntityKey squareWriterKey = keyOf(squareWriter);
    const EntityKey noteWriterKey = keyOf(noteWriter);
    ASSERT_EQ(aliveIn(writers), (std::set<EntityKey>{squareWriterKey, noteWriterKey}));
    const auto &squareWriterDescription = *writers[squareWriterKey].last;
    EXPECT_EQ(keyOf(squareWriterDescription.publisher_entity_key), publisherKey);
    EXPECT_EQ(keyOf(squareWriterDescription.topic_entity_key), squareKey);
    EXPECT_EQ(squareWriterDescription.domain_id, zeltest::kDomain);
    EXPECT_STREQ(squareWriterDescription.topic_name, "Square");
    EXPECT_STREQ(squareWriterDescription.type_name, "app::Reading");
    EXPECT_EQ(squareWriterDescription.qos.history.depth, 7);
    EXPECT_STREQ(squareWriterDescription.qos.publication_name.name, "squareWriter");
    EXPECT_EQ(DDSMonitoring_Property_tSeq_get_length(&squareWriterDescription.qos.property.value), 3);
    EXPECT_EQ(propertyIn(squareWriterDescription.qos.property, "app.p2"), "v");
    EXPECT_EQ(squareWriterDescription.serialized_sample_max_size, 20);
    EXPECT_EQ(squareWriterDescription.serialized_sample_min_size, 20);
    EXPECT_EQ(squareWriterDescription.serialized_key_max_size, 8);
    const auto &noteWriterDescription = *writers[noteWriterKey].last;
    EXPECT_STREQ(noteWriterDescription.topic_name, "Notes");
    EXPECT_EQ(noteWriterDescription.serialized_sample_max_size, 41);
    EXPECT_EQ(noteWriterDescription.serialized_sample_min_size, 9);
    EXPECT_EQ(noteWriterDescription.serialized_key_max_size, 0);

    // Readers: a filtered reader is described under the topic its filter reads.
    auto readers = described<zeltest::ReaderDescriptions>();
    const EntityKey circleReaderKey = keyOf(circleReader);
    const EntityKey bigReaderKey = keyOf(bigReader);
    ASSERT_EQ(aliveIn(readers), (std::set<EntityKey>{circleReaderKey, bigReaderKey}));
    const auto &bigReaderDescription = *readers[bigReaderKey].last;
    EXPECT_TRUE(bigReaderDescription.is_content_filtered);
    EXPECT_EQ(keyOf(bigReaderDescription.topic_entity_key), squareKey);
    EXPECT_STREQ(bigReaderDescription.topic_name, "Square");
    EXPECT_STREQ(bigReaderDescription.type_name, "app::Reading");
    EXPECT_EQ(keyOf(bigReaderDescription.subscriber_entity_key), subscriberKey);
    EXPECT_EQ(bigReaderDescription.serialized_key_max_size, 8);
    const auto &circleReaderDescription = *readers[circleReaderKey].last;
    EXPECT_FALSE(circleReaderDescription.is_content_filtered);
    EXPECT_EQ(keyOf(circleReaderDescription.topic_entity_key), keyOf(circle));
    EXPECT_STREQ(circleReaderDescription.qos.subscription_name.name, "circleReader");
    EXPECT_EQ(propertyIn(circleReaderDescription.qos.property, "app.p1"), "v");

    // A QoS change is described again, under the same instance.
    DDS_DataWriterQos writerQos = DDS_DataWriterQos_INITIALIZER;
    ASSERT_EQ(DDS_DataWriter_get_qos(squareWriter, &writerQos), DDS_RETCODE_OK);
    writerQos.ownership_strength.value = 9;
    ASSERT_EQ(DDS_DataWriter_set_qos(squareWriter, &writerQos), DDS_RETCODE_OK);
    DDS_DataWriterQos_finalize(&writerQos);
    DDS_PublisherQos publisherQos = DDS_PublisherQos_INITIALIZER;
    ASSERT_EQ(DDS_Publisher_get_qos(publisher, &publisherQos), DDS_RETCODE_OK);
    setName(&publisherQos.publisher_name.name, "field sensors");
    ASSERT_EQ(DDS_Publisher_set_qos(publisher, &publisherQos), DDS_RETCODE_OK);
    DDS_PublisherQos_finalize(&publisherQos);
    writers = described<zeltest::WriterDescriptions>();
    EXPECT_EQ(writers[squareWriterKey].samples, 2);
    EXPECT_EQ(writers[squareWriterKey].last->qos.ownership_strength.value, 9);
    publishers = described<zeltest::PublisherDescriptions>();
    EXPECT_STREQ(publishers[publisherKey].last->qos.publisher_name.name, "field sensors");
    EXPECT_EQ(aliveIn(publishers), std::set<EntityKey>{publisherKey});

    // Deleted entities are disposed; the others stay described.
    ASSERT_EQ(DDS_Subscriber_delete_datareader(subscriber, circleReader), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_Publisher_delete_datawriter(publisher, noteWriter), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_DomainParticipant_delete_topic(app, notes), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_DomainParticipant_delete_subscriber(app, spare), DDS_RETCODE_OK);
    readers = described<zeltest::ReaderDescriptions>();
    EXPECT_EQ(aliveIn(readers), std::set<EntityKey>{bigReaderKey});
    EXPECT_EQ(readers.size(), 2u);
    writers = described<zeltest::WriterDescriptions>();
    EXPECT_EQ(aliveIn(writers), std::set<EntityKey>{squareWriterKey});
    EXPECT_EQ(writers.size(), 2u);
    topics = described<zeltest::TopicDescriptions>();
    EXPECT_EQ(aliveIn(topics), (std::set<EntityKey>{squareKey, keyOf(circle)}));
    EXPECT_EQ(topics.size(), 3u);
    subscribers = described<zeltest::SubscriberDescriptions>();
    EXPECT_EQ(aliveIn(subscribers), std::set<EntityKey>{subscriberKey});
    EXPECT_EQ(subscribers.size(), 2u);

    // Each publish and dispose is logged with the entity's key. Every event
    // on the way was handled without a failure, the matches and locators of
    // endpoints still being enabled included.
    const std::string writerBuilder = "ZELDefaultMonitorParticipantObject_sampleAndPublishWriterDesc";
    EXPECT_TRUE(capture.contains("ZELDefaultMonitorParticipantObject_sampleAndPublishTopicDesc",
                                 ZEL_MONITOR_LOG_PUBLISH_ENTITY_DATA_sxxxx,
                                 "publish topic data with key " + zeltest::keyText(squareKey) + "\n"));
    EXPECT_TRUE(capture.contains(writerBuilder, ZEL_MONITOR_LOG_PUBLISH_ENTITY_DATA_sxxxx,
                                 "publish writer data with key " + zeltest::keyText(noteWriterKey) + "\n"));
    EXPECT_TRUE(capture.contains(writerBuilder, ZEL_MONITOR_LOG_DISPOSE_ENTITY_DATA_sxxxx,
                                 "dispose writer data with key " + zeltest::keyText(noteWriterKey) + "\n"));
    for (const zeltest::CapturedLine &line : capture.lines()) {
        EXPECT_TRUE(line.context != "ZELDefaultMonitorPublisher_onEventNotify" ||
                    line.messageId == ZEL_MONITOR_LOG_ENTITY_EVENT_s.id)
                << line;
    }
}

// Only entities whose related topic the user-topic list names are
// described; a property list beyond the bound withholds a description
// unless the properties are skipped.
TEST_F(DescribedApplicationTest, UserTopicsAndPropertyListsDecideWhatIsDescribed) {
    observeDescriptions();
    DDS_DomainParticipant *app = createApplication(
            {{"zel.monitor.config.usertopics", "Square"}, {"zel.monitor.config.skip_reader_properties", "true"}});
    ASSERT_NE(app, nullptr);
    DDS_Topic *square = createTopic(app, "Square");
    DDS_Topic *circle = createTopic(app, "Circle");
    DDS_ContentFilteredTopic *bigSquares =
            DDS_DomainParticipant_create_contentfilteredtopic(app, "BigSquares", square, "value > 10", nullptr);
    DDS_Publisher *publisher = createPublisher(app, "sensors");
    DDS_Subscriber *subscriber = createSubscriber(app, "console");
    DDS_DataWriter *full = createWriter(publisher, square, "full", 64);
    DDS_DataWriter *circleWriter = createWriter(publisher, circle, "circleWriter");
    DDS_DataReader *circleReader = createReader(subscriber, DDS_Topic_as_topicdescription(circle), "circleReader");
    DDS_DataReader *bigReader =
            createReader(subscriber, DDS_ContentFilteredTopic_as_topicdescription(bigSquares), "bigReader", 100);
    zeltest::LogCapture capture;
    DDS_DataWriter *tooMany = createWriter(publisher, square, "tooMany", 65);

    EXPECT_EQ(aliveIn(described<zeltest::TopicDescriptions>()), std::set<EntityKey>{keyOf(square)});
    const auto writers = described<zeltest::WriterDescriptions>();
    EXPECT_EQ(aliveIn(writers), std::set<EntityKey>{keyOf(full)});
    EXPECT_EQ(writers.count(keyOf(tooMany)), 0u);
    EXPECT_EQ(DDSMonitoring_Property_tSeq_get_length(&writers.at(keyOf(full)).last->qos.property.value), 64);
    EXPECT_TRUE(capture.contains("", ZELLogMessage{},
                                 "ZELDefaultMonitorParticipantObject_sampleAndPublishWriterDesc: "
                                 "PropertyQosPolicy sequence length (65) exceeds maximum (64)\n"));
    EXPECT_TRUE(capture.contains("ZELDefaultMonitorPublisher_onEventNotify", ZEL_LOG_ANY_FAILURE_s,
                                 recordText(ZEL_LOG_ANY_FAILURE_s, "publish writer desc")));
    const auto readers = described<zeltest::ReaderDescriptions>();
    ASSERT_EQ(aliveIn(readers), std::set<EntityKey>{keyOf(bigReader)});
    EXPECT_EQ(DDSMonitoring_Property_tSeq_get_length(&readers.at(keyOf(bigReader)).last->qos.property.value), 0);
    // Publishers, subscribers and the participant are never filtered.
    EXPECT_EQ(aliveIn(described<zeltest::PublisherDescriptions>()).size(), 1u);
    EXPECT_EQ(aliveIn(described<zeltest::SubscriberDescriptions>()).size(), 1u);
    EXPECT_EQ(aliveIn(described<zeltest::ParticipantDescriptions>()).size(), 1u);

    // Deleting filtered entities sends nothing either.
    ASSERT_EQ(DDS_Publisher_delete_datawriter(publisher, circleWriter), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_Subscriber_delete_datareader(subscriber, circleReader), DDS_RETCODE_OK);
    EXPECT_EQ(described<zeltest::WriterDescriptions>().size(), 1u);
    EXPECT_EQ(described<zeltest::ReaderDescriptions>().size(), 1u);
}

TEST_F(DescribedApplicationTest, DeletingAParticipantDisposesAllItsDescriptionsOnTheSharedMonitoringParticipant) {
    observeDescriptions(9);
    DDS_DomainParticipant *app = createApplication({{"zel.monitor.config.new_participant_domain_id", "9"}});
    ASSERT_NE(app, nullptr);
    DDS_Topic *square = createTopic(app, "Square");
    DDS_Publisher *publisher = createPublisher(app, "sensors");
    createWriter(publisher, square, "squareWriter");
    EXPECT_EQ(aliveIn(described<zeltest::ParticipantDescriptions>()), std::set<EntityKey>{keyOf(app)});
    EXPECT_EQ(aliveIn(described<zeltest::WriterDescriptions>()).size(), 1u);

    deleteParticipant(app);
    const auto participants = described<zeltest::ParticipantDescriptions>();
    EXPECT_EQ(participants.size(), 1u);
    EXPECT_TRUE(aliveIn(participants).empty());
    EXPECT_EQ(described<zeltest::TopicDescriptions>().size(), 1u);
    EXPECT_TRUE(aliveIn(described<zeltest::TopicDescriptions>()).empty());
    EXPECT_TRUE(aliveIn(described<zeltest::PublisherDescriptions>()).empty());
    EXPECT_TRUE(aliveIn(described<zeltest::WriterDescriptions>()).empty());
}

}  // namespace
