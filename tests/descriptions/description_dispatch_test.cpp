// The description builders and event dispatch driven directly, as the
// middleware would call them: the conditions under which an event publishes
// nothing, the failures and their exact lines, and allocation failures.
#include "description_fixture.h"
#include "entity_description.h"
#include "entity_set.h"

namespace {

using zeltest::recordText;

const char *const kNotify = "ZELDefaultMonitorPublisher_onEventNotify";
const char *const kParticipantBuilder = "ZELDefaultMonitorParticipantObject_sampleAndPublishParticipantDesc";
const char *const kTopicBuilder = "ZELDefaultMonitorParticipantObject_sampleAndPublishTopicDesc";
const char *const kWriterBuilder = "ZELDefaultMonitorParticipantObject_sampleAndPublishWriterDesc";

class DescriptionDispatchTest : public zeltest::PlugInTest {
protected:
    void SetUp() override {
        PlugInTest::SetUp();
        DDS_UnsignedLong result = 0;
        publisher_ = ZELDefaultMonitorPublisher_create(&result, factory_, zeltest::kVersion);
        ASSERT_NE(publisher_, nullptr);
    }

    void TearDown() override {
        observer_.reset();
        for (ZELDefaultMonitorParticipantObject *object : objects_) {
            EXPECT_EQ(ZELDefaultMonitorPublisher_onDomainParticipantDetach(object), ZEL_MONITOR_RESULT_OK);
        }
        EXPECT_EQ(ZELDefaultMonitorPublisher_delete(publisher_), ZEL_MONITOR_RESULT_OK);
        PlugInTest::TearDown();
    }

    ZELDefaultMonitorParticipantObject *attach(DDS_DomainParticipant *participant) {
        DDS_UnsignedLong result = 0;
        ZELDefaultMonitorParticipantObject *object =
                ZELDefaultMonitorPublisher_onDomainParticipantAttach(&result, publisher_, participant);
        EXPECT_EQ(result, ZEL_MONITOR_RESULT_OK);
        objects_.push_back(object);
        return object;
    }

    // An attached participant with the keyed test type registered, and its
    // monitoring entities enabled unless `enable` is false.
    ZELDefaultMonitorParticipantObject *monitor(DDS_DomainParticipant *participant, bool enable = true) {
        EXPECT_EQ(dt_ReadingTypeSupport_register_type(participant, dt_ReadingTypeSupport_get_type_name()),
                  DDS_RETCODE_OK);
        ZELDefaultMonitorParticipantObject *object = attach(participant);
        if (enable) {
            EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_PARTICIPANT_ENABLE_AFTER,
                             DDS_DomainParticipant_as_entity(participant)),
                      ZEL_MONITOR_RESULT_OK);
        }
        return object;
    }

    static DDS_UnsignedLong notify(ZELDefaultMonitorParticipantObject *object, DDS_Long code, DDS_Entity *entity,
                                   const void *eventData = nullptr) {
        return ZELDefaultMonitorPublisher_onEventNotify(object, code, entity, eventData);
    }

    static DDS_Topic *createTopic(DDS_DomainParticipant *participant, const char *name) {
        DDS_Topic *topic = DDS_DomainParticipant_create_topic(participant, name, dt_ReadingTypeSupport_get_type_name(),
                                                              &DDS_TOPIC_QOS_DEFAULT, nullptr, DDS_STATUS_MASK_NONE);
        EXPECT_NE(topic, nullptr);
        return topic;
    }

    static DDS_DataWriter *createWriter(DDS_DomainParticipant *participant, DDS_Topic *topic) {
        DDS_Publisher *publisher =
                DDS_DomainParticipant_create_publisher(participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
        DDS_DataWriter *writer = DDS_Publisher_create_datawriter(publisher, topic, &DDS_DATAWRITER_QOS_DEFAULT,
                                                                 nullptr, DDS_STATUS_MASK_NONE);
        EXPECT_NE(writer, nullptr);
        return writer;
    }

    // The lines logged under the event dispatch's and the builders' names.
    static std::vector<zeltest::CapturedLine> dispatchLines(const zeltest::LogCapture &capture) {
        std::vector<zeltest::CapturedLine> lines;
        for (const zeltest::CapturedLine &line : capture.lines()) {
            if (line.context == kNotify || line.context.find("sampleAndPublish") != std::string::npos) {
                lines.push_back(line);
            }
        }
        return lines;
    }

    static zeltest::CapturedLine received(const char *event) {
        return zeltest::expectedLine(kNotify, ZEL_MONITOR_LOG_ENTITY_EVENT_s,
                                     std::string("receive event ") + event + "\n");
    }

    ZELDefaultMonitorPublisher *publisher_ = nullptr;
    std::vector<ZELDefaultMonitorParticipantObject *> objects_;
    std::unique_ptr<zeltest::DescriptionObserver> observer_;
};

TEST_F(DescriptionDispatchTest, NothingIsPublishedBeforeEnablingForDisabledEntitiesOrWithoutTheWriter) {
    DDS_DomainParticipant *participant = createParticipant({}, 0, false);
    ZELDefaultMonitorParticipantObject *object = monitor(participant, false);
    DDS_Topic *square = createTopic(participant, "Square");
    DDS_Entity *topic = DDS_Topic_as_entity(square);
    DDS_DomainParticipant *writersOnly =
            createParticipant({{"zel.monitor.config.topics", "zel/dds/monitoring/dataWriterDescription"}});
    ZELDefaultMonitorParticipantObject *writersOnlyObject = monitor(writersOnly);
    DDS_Topic *writersOnlyTopic = createTopic(writersOnly, "Square");
    ZEL_Monitor_Log_setVerbosity(0xFFFFu, 2);
    zeltest::LogCapture capture;

    // The monitoring entities are not enabled yet.
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_TOPIC_ENABLE_AFTER, topic), ZEL_MONITOR_RESULT_OK);
    EXPECT_EQ(dispatchLines(capture), std::vector<zeltest::CapturedLine>{received("TOPIC_ENABLE_AFTER")});
    ASSERT_EQ(DDS_Entity_enable(DDS_DomainParticipant_as_entity(participant)), DDS_RETCODE_OK);
    ASSERT_EQ(notify(object, DDS_MONITOR_EVENT_PARTICIPANT_ENABLE_AFTER, DDS_DomainParticipant_as_entity(participant)),
              ZEL_MONITOR_RESULT_OK);
    capture.clear();
    // The topic itself is not enabled: its QoS change is not published, its
    // enabling is.
    ASSERT_FALSE(DDS_Entity_is_enabled(topic));
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_TOPIC_QOS_CHANGE_AFTER, topic), ZEL_MONITOR_RESULT_OK);
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_TOPIC_ENABLE_AFTER, topic), ZEL_MONITOR_RESULT_OK);
    const DDS_BuiltinTopicKey_t *key = DDS_Topic_get_builtin_topic_key(square);
    char keyText[64];
    std::snprintf(keyText, sizeof keyText, "{%x %x %x %x}", static_cast<unsigned>(key->value[0]),
                  static_cast<unsigned>(key->value[1]), static_cast<unsigned>(key->value[2]),
                  static_cast<unsigned>(key->value[3]));
    // Without its writer (its topic not selected) an entity kind is not
    // described at all.
    EXPECT_EQ(notify(writersOnlyObject, DDS_MONITOR_EVENT_TOPIC_ENABLE_AFTER, DDS_Topic_as_entity(writersOnlyTopic)),
              ZEL_MONITOR_RESULT_OK);
    const std::vector<zeltest::CapturedLine> expected = {
            received("TOPIC_QOS_CHANGE_AFTER"),
            received("TOPIC_ENABLE_AFTER"),
            zeltest::expectedLine(kTopicBuilder, ZEL_MONITOR_LOG_PUBLISH_ENTITY_DATA_sxxxx,
                                  std::string("publish topic data with key ") + keyText + "\n"),
            received("TOPIC_ENABLE_AFTER"),
    };
    EXPECT_EQ(dispatchLines(capture), expected);
}

TEST_F(DescriptionDispatchTest, TheUserTopicFilterJudgesWritersByTheirTopicAndReportsAMissingOne) {
    DDS_DomainParticipant *participant = createParticipant({{"zel.monitor.config.usertopics", "Square"}});
    ZELDefaultMonitorParticipantObject *object = monitor(participant);
    DDS_DataWriter *circleWriter = createWriter(participant, createTopic(participant, "Circle"));
    zeltest::LogCapture capture;

    // Neither the description nor the statistics of a filtered writer are
    // disposed.
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_DATAWRITER_ENABLE_AFTER, DDS_DataWriter_as_entity(circleWriter)),
              ZEL_MONITOR_RESULT_OK);
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_DATAWRITER_DELETE_BEFORE, DDS_DataWriter_as_entity(circleWriter)),
              ZEL_MONITOR_RESULT_OK);
    // A writer event whose entity has no topic cannot be judged.
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_DATAWRITER_ENABLE_AFTER, DDS_DomainParticipant_as_entity(participant)),
              ZEL_MONITOR_RESULT_FAILURE);
    const std::vector<zeltest::CapturedLine> expected = {
            zeltest::expectedLine(kNotify, ZEL_LOG_GET_FAILURE_s, recordText(ZEL_LOG_GET_FAILURE_s, "related topic")),
    };
    EXPECT_EQ(dispatchLines(capture), expected);
}

TEST_F(DescriptionDispatchTest, AFailedDescriptionDisposeSkipsTheStatisticsAndWrongKindsAreRefusedFirst) {
    DDS_DomainParticipant *participant = createParticipant({});
    ZELDefaultMonitorParticipantObject *object = monitor(participant, false);
    DDS_Topic *square = createTopic(participant, "Square");
    zeltest::LogCapture capture;

    // A match of a topic is refused even before the monitoring is enabled.
    const uint32_t guid[4] = {0x01020304u, 0x05060708u, 0x090A0B0Cu, 0x0D0E0F10u};
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_CREATE_AFTER, DDS_Topic_as_entity(square), guid),
              ZEL_MONITOR_RESULT_FAILURE);
    ASSERT_EQ(notify(object, DDS_MONITOR_EVENT_PARTICIPANT_ENABLE_AFTER, DDS_DomainParticipant_as_entity(participant)),
              ZEL_MONITOR_RESULT_OK);
    // A writer deletion reported for something that is no writer: its
    // description cannot be disposed, so its statistics are not tried.
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_DATAWRITER_DELETE_BEFORE, DDS_Topic_as_entity(square)),
              ZEL_MONITOR_RESULT_FAILURE);
    const std::vector<zeltest::CapturedLine> expected = {
            zeltest::expectedLine(kNotify, ZEL_LOG_ANY_FAILURE_s,
                                  recordText(ZEL_LOG_ANY_FAILURE_s, "wrong entity kind in matched stats")),
            zeltest::expectedLine(kWriterBuilder, ZEL_LOG_GET_FAILURE_s,
                                  recordText(ZEL_LOG_GET_FAILURE_s, "BuiltinTopicKey")),
            zeltest::expectedLine(kNotify, ZEL_LOG_ANY_FAILURE_s,
                                  recordText(ZEL_LOG_ANY_FAILURE_s, "dispose writer desc")),
    };
    EXPECT_EQ(dispatchLines(capture), expected);
}

TEST_F(DescriptionDispatchTest, MatchedStatisticsNameTheRemoteReaderByTheHandleOfItsGuid) {
    DDS_DomainParticipant *participant = createParticipant({});
    ZELDefaultMonitorParticipantObject *object = monitor(participant, false);
    DDS_Topic *square = createTopic(participant, "Square");
    DDS_DataWriter *writer = createWriter(participant, square);
    DDS_Subscriber *subscriber =
            DDS_DomainParticipant_create_subscriber(participant, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
    DDS_DataReader *reader = DDS_Subscriber_create_datareader(subscriber, DDS_Topic_as_topicdescription(square),
                                                              &DDS_DATAREADER_QOS_DEFAULT, nullptr, 0);
    ASSERT_NE(reader, nullptr);
    ASSERT_EQ(notify(object, DDS_MONITOR_EVENT_PARTICIPANT_ENABLE_AFTER, DDS_DomainParticipant_as_entity(participant)),
              ZEL_MONITOR_RESULT_OK);

    // The middleware reports the remote endpoint's GUID as four words in
    // host order, which are the words of its builtin-topic key.
    const DDS_BuiltinTopicKey_t *readerKey = DDS_DataReader_get_builtin_topic_key(reader);
    uint32_t guid[4];
    for (size_t i = 0; i < 4; ++i) {
        guid[i] = static_cast<uint32_t>(readerKey->value[i]);
    }
    ZEL_Monitor_Log_setVerbosity(0xFFFFu, 2);
    zeltest::LogCapture capture;
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_CREATE_AFTER, DDS_DataWriter_as_entity(writer), guid),
              ZEL_MONITOR_RESULT_OK);
    // And the reader's match of the writer, by the writer's GUID.
    const DDS_BuiltinTopicKey_t *writerKey = DDS_DataWriter_get_builtin_topic_key(writer);
    for (size_t i = 0; i < 4; ++i) {
        guid[i] = static_cast<uint32_t>(writerKey->value[i]);
    }
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_CREATE_AFTER, DDS_DataReader_as_entity(reader), guid),
              ZEL_MONITOR_RESULT_OK);
    // The statistics read the endpoint's protocol status for that handle,
    // which only the matched endpoint's own handle has.
    int published = 0;
    for (const zeltest::CapturedLine &line : capture.lines()) {
        published += line.messageId == ZEL_MONITOR_LOG_PUBLISH_ENTITY_STAT_sxxxx.id ? 1 : 0;
    }
    EXPECT_EQ(published, 2);
}

TEST_F(DescriptionDispatchTest, TransportsThatCannotBeQueriedWithholdTheParticipantDescription) {
    const zeltest::Properties badTransport = {{"dds.transport.UDPv4.builtin.parent.message_size_max", "big"}};
    DDS_DomainParticipant *participant = createParticipant(badTransport);
    ZELDefaultMonitorParticipantObject *object = attach(participant);
    zeltest::LogCapture capture;
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_PARTICIPANT_ENABLE_AFTER, DDS_DomainParticipant_as_entity(participant)),
              ZEL_MONITOR_RESULT_FAILURE);
    const std::vector<zeltest::CapturedLine> expected = {
            zeltest::expectedLine("ZELDefaultMonitorParticipantObject_getTransportsInfo", ZEL_LOG_GET_FAILURE_s,
                                  recordText(ZEL_LOG_GET_FAILURE_s, "transport property")),
            zeltest::expectedLine(kParticipantBuilder, ZEL_LOG_GET_FAILURE_s,
                                  recordText(ZEL_LOG_GET_FAILURE_s, "type info")),
            zeltest::expectedLine(kNotify, ZEL_LOG_ANY_FAILURE_s,
                                  recordText(ZEL_LOG_ANY_FAILURE_s, "publish participant desc")),
    };
    std::vector<zeltest::CapturedLine> logged;
    for (const zeltest::CapturedLine &line : capture.lines()) {
        if (line.context.rfind("ZELDefaultMonitor", 0) == 0) {
            logged.push_back(line);
        }
    }
    EXPECT_EQ(logged, expected);

    // Without built-in transports nothing is queried, and the same
    // properties do no harm.
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    ASSERT_EQ(DDS_DomainParticipant_get_qos(participant, &qos), DDS_RETCODE_OK);
    qos.transport_builtin.mask = 0;
    ASSERT_EQ(DDS_DomainParticipant_set_qos(participant, &qos), DDS_RETCODE_OK);
    DDS_DomainParticipantQos_finalize(&qos);
    EXPECT_TRUE(ZELDefaultMonitorParticipantObject_sampleAndPublishParticipantDesc(object, participant,
                                                                                  DDS_BOOLEAN_FALSE));
}

TEST_F(DescriptionDispatchTest, TopicsAreDescribedByThePlugInTheMonitoredParticipantRegistered) {
    observer_ = std::make_unique<zeltest::DescriptionObserver>(factory_, 0);
    DDS_DomainParticipant *participant = createParticipant({});
    ZELDefaultMonitorParticipantObject *object = monitor(participant);

    // A type registered without a type code has a type code size of 0.
    PRESTypePlugin *plugin = dt_ReadingPlugin_new();
    plugin->typeCode = nullptr;
    ASSERT_EQ(DDS_DomainParticipant_register_type(participant, "dt::Bare", plugin, nullptr), DDS_RETCODE_OK);
    dt_ReadingPlugin_delete(plugin);
    DDS_Topic *bare = DDS_DomainParticipant_create_topic(participant, "Bare", "dt::Bare", &DDS_TOPIC_QOS_DEFAULT,
                                                         nullptr, DDS_STATUS_MASK_NONE);
    ASSERT_NE(bare, nullptr);
    EXPECT_TRUE(ZELDefaultMonitorParticipantObject_sampleAndPublishTopicDesc(object, bare, DDS_BOOLEAN_FALSE));
    auto topics = observer_->described<zeltest::TopicDescriptions>();
    const zeltest::EntityKey bareKey = zeltest::keyOf(DDS_Topic_get_builtin_topic_key(bare));
    ASSERT_EQ(topics.count(bareKey), 1u);
    EXPECT_EQ(topics[bareKey].last->tc_serialized_size, 0u);
    EXPECT_STREQ(topics[bareKey].last->type_name, "dt::Bare");

    // A topic of a participant whose type the monitored one lacks.
    DDS_DomainParticipant *other = createParticipant({});
    ASSERT_EQ(dt_ReadingTypeSupport_register_type(other, "dt::Elsewhere"), DDS_RETCODE_OK);
    DDS_Topic *elsewhere = DDS_DomainParticipant_create_topic(other, "Elsewhere", "dt::Elsewhere",
                                                              &DDS_TOPIC_QOS_DEFAULT, nullptr, DDS_STATUS_MASK_NONE);
    ASSERT_NE(elsewhere, nullptr);
    zeltest::LogCapture capture;
    EXPECT_FALSE(ZELDefaultMonitorParticipantObject_sampleAndPublishTopicDesc(object, elsewhere, DDS_BOOLEAN_FALSE));
    const std::vector<zeltest::CapturedLine> expected = {
            zeltest::expectedLine("ZELDefaultMonitorParticipantObject_getTypeInfo", ZEL_LOG_GET_FAILURE_s,
                                  recordText(ZEL_LOG_GET_FAILURE_s, "plugin")),
            zeltest::expectedLine(kTopicBuilder, ZEL_LOG_GET_FAILURE_s, recordText(ZEL_LOG_GET_FAILURE_s, "type info")),
    };
    EXPECT_EQ(capture.lines(), expected);
    // Disposing the described topic needs its key only.
    EXPECT_TRUE(ZELDefaultMonitorParticipantObject_sampleAndPublishTopicDesc(object, bare, DDS_BOOLEAN_TRUE));
    EXPECT_FALSE(observer_->described<zeltest::TopicDescriptions>()[bareKey].alive);
}

TEST_F(DescriptionDispatchTest, ATopicNameBeyondTheDescriptionBoundIsRefusedWhole) {
    DDS_DomainParticipant *participant = createParticipant({});
    ZELDefaultMonitorParticipantObject *object = monitor(participant);
    const std::string longest(256, 'n');
    const std::string tooLong(257, 'n');
    EXPECT_TRUE(ZELDefaultMonitorParticipantObject_sampleAndPublishTopicDesc(
            object, createTopic(participant, longest.c_str()), DDS_BOOLEAN_FALSE));
    zeltest::LogCapture capture;
    EXPECT_FALSE(ZELDefaultMonitorParticipantObject_sampleAndPublishTopicDesc(
            object, createTopic(participant, tooLong.c_str()), DDS_BOOLEAN_FALSE));
    EXPECT_TRUE(capture.contains(kTopicBuilder, ZEL_LOG_ANY_FAILURE_s, recordText(ZEL_LOG_ANY_FAILURE_s, "write")));
}

TEST_F(DescriptionDispatchTest, EveryAllocationFailureOfAWriterDescriptionIsLoggedAndLeaksNothing) {
    DDS_DomainParticipant *participant = createParticipant({});
    ZELDefaultMonitorParticipantObject *object = monitor(participant);
    DDS_DataWriter *writer = createWriter(participant, createTopic(participant, "Square"));
    // The instance exists before the loop, so that a successful write only
    // replaces its sample.
    ASSERT_TRUE(ZELDefaultMonitorParticipantObject_sampleAndPublishWriterDesc(object, writer, DDS_BOOLEAN_FALSE));
    zeltest::LogCapture capture;
    const long allocations = zeltest::forEachAllocationFailure([&](long) {
        capture.clear();
        if (ZELDefaultMonitorParticipantObject_sampleAndPublishWriterDesc(object, writer, DDS_BOOLEAN_FALSE)) {
            return;
        }
        bool logged = false;
        for (const zeltest::CapturedLine &line : capture.lines()) {
            logged = logged || line.context == kWriterBuilder;
        }
        EXPECT_TRUE(logged) << "a failure without a line of the builder";
    });
    EXPECT_GT(allocations, 1);
}

}  // namespace
