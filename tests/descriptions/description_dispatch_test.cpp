// The description builders and event dispatch driven directly, as the
// middleware would call them: the conditions under which an event publishes
// nothing, the failures and their exact lines, and allocation failures.
#include "entity_description.h"
#include "entity_set.h"
#include "monitor_fixture.h"

namespace {

using zeltest::recordText;

const char *const kNotify = "ZELDefaultMonitorPublisher_onEventNotify";
const char *const kParticipantBuilder = "ZELDefaultMonitorParticipantObject_sampleAndPublishParticipantDesc";
const char *const kTopicBuilder = "ZELDefaultMonitorParticipantObject_sampleAndPublishTopicDesc";
const char *const kWriterBuilder = "ZELDefaultMonitorParticipantObject_sampleAndPublishWriterDesc";

class DescriptionDispatchTest : public zeltest::MonitorTest {
protected:
    // An attached participant with the keyed test type registered, and its
    // monitoring entities enabled unless `enabled` is false.
    ZELDefaultMonitorParticipantObject *monitor(DDS_DomainParticipant *participant, bool enabled = true) {
        EXPECT_EQ(app_ReadingTypeSupport_register_type(participant, nullptr), DDS_RETCODE_OK);
        ZELDefaultMonitorParticipantObject *object = attach(participant);
        if (enabled) {
            EXPECT_EQ(enable(object), ZEL_MONITOR_RESULT_OK);
        }
        return object;
    }

    static DDS_DataWriter *createWriter(DDS_DomainParticipant *participant, DDS_Topic *topic) {
        return MonitorTest::createWriter(
                DDS_DomainParticipant_create_publisher(participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0), topic);
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
    ASSERT_EQ(enable(object), ZEL_MONITOR_RESULT_OK);
    capture.clear();
    // The topic itself is not enabled: its QoS change is not published, its
    // enabling is.
    ASSERT_FALSE(DDS_Entity_is_enabled(topic));
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_TOPIC_QOS_CHANGE_AFTER, topic), ZEL_MONITOR_RESULT_OK);
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_TOPIC_ENABLE_AFTER, topic), ZEL_MONITOR_RESULT_OK);
    // Without its writer (its topic not selected) an entity kind is not
    // described at all.
    EXPECT_EQ(notify(writersOnlyObject, DDS_MONITOR_EVENT_TOPIC_ENABLE_AFTER, DDS_Topic_as_entity(writersOnlyTopic)),
              ZEL_MONITOR_RESULT_OK);
    const std::vector<zeltest::CapturedLine> expected = {
            received("TOPIC_QOS_CHANGE_AFTER"),
            received("TOPIC_ENABLE_AFTER"),
            zeltest::expectedLine(kTopicBuilder, ZEL_MONITOR_LOG_PUBLISH_ENTITY_DATA_sxxxx,
                                  "publish topic data with key " + zeltest::keyText(zeltest::keyOf(square)) + "\n"),
            received("TOPIC_ENABLE_AFTER"),
    };
    EXPECT_EQ(dispatchLines(capture), expected);
}

TEST_F(DescriptionDispatchTest, AWriterEventWithoutATopicCannotBeJudgedByTheUserTopicFilter) {
    DDS_DomainParticipant *participant = createParticipant({{"zel.monitor.config.usertopics", "Square"}});
    ZELDefaultMonitorParticipantObject *object = monitor(participant);
    zeltest::LogCapture capture;
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_DATAWRITER_ENABLE_AFTER, DDS_DomainParticipant_as_entity(participant)),
              ZEL_MONITOR_RESULT_FAILURE);
    EXPECT_EQ(dispatchLines(capture),
              (std::vector<zeltest::CapturedLine>{zeltest::expectedLine(
                      kNotify, ZEL_LOG_GET_FAILURE_s, recordText(ZEL_LOG_GET_FAILURE_s, "related topic"))}));
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
    ASSERT_EQ(enable(object), ZEL_MONITOR_RESULT_OK);
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
    DDS_DataReader *reader =
            createReader(DDS_DomainParticipant_create_subscriber(participant, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0),
                         DDS_Topic_as_topicdescription(square));
    ASSERT_EQ(enable(object), ZEL_MONITOR_RESULT_OK);

    // The middleware reports the remote endpoint's GUID as four words in
    // host order, which are the words of its builtin-topic key.
    const auto guidOf = [](const zeltest::EntityKey &key) {
        return std::array<uint32_t, 4>{static_cast<uint32_t>(key[0]), static_cast<uint32_t>(key[1]),
                                       static_cast<uint32_t>(key[2]), static_cast<uint32_t>(key[3])};
    };
    ZEL_Monitor_Log_setVerbosity(0xFFFFu, 2);
    zeltest::LogCapture capture;
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_CREATE_AFTER, DDS_DataWriter_as_entity(writer),
                     guidOf(zeltest::keyOf(reader)).data()),
              ZEL_MONITOR_RESULT_OK);
    // And the reader's match of the writer, by the writer's GUID.
    EXPECT_EQ(notify(object, DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_CREATE_AFTER, DDS_DataReader_as_entity(reader),
                     guidOf(zeltest::keyOf(writer)).data()),
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
    EXPECT_EQ(enable(object), ZEL_MONITOR_RESULT_FAILURE);
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
    EXPECT_TRUE(
            ZELDefaultMonitorParticipantObject_sampleAndPublishParticipantDesc(object, participant, DDS_BOOLEAN_FALSE));
}

TEST_F(DescriptionDispatchTest, TopicsAreDescribedByThePlugInTheMonitoredParticipantRegisteredWithinTheNameBound) {
    observe<zeltest::TopicDescriptions>();
    DDS_DomainParticipant *participant = createParticipant({});
    ZELDefaultMonitorParticipantObject *object = monitor(participant);

    // A type registered without a type code has a type code size of 0.
    PRESTypePlugin *plugin = app_ReadingPlugin_new();
    plugin->typeCode = nullptr;
    ASSERT_EQ(DDS_DomainParticipant_register_type(participant, "app::Bare", plugin, nullptr), DDS_RETCODE_OK);
    app_ReadingPlugin_delete(plugin);
    DDS_Topic *bare = createTopic(participant, "Bare", "app::Bare");
    EXPECT_TRUE(ZELDefaultMonitorParticipantObject_sampleAndPublishTopicDesc(object, bare, DDS_BOOLEAN_FALSE));
    auto topics = described<zeltest::TopicDescriptions>();
    const zeltest::EntityKey bareKey = zeltest::keyOf(bare);
    ASSERT_EQ(topics.count(bareKey), 1u);
    EXPECT_EQ(topics[bareKey].last->tc_serialized_size, 0u);
    EXPECT_STREQ(topics[bareKey].last->type_name, "app::Bare");

    // A topic of a participant whose type the monitored one lacks.
    DDS_DomainParticipant *other = createParticipant({});
    ASSERT_EQ(app_ReadingTypeSupport_register_type(other, "app::Elsewhere"), DDS_RETCODE_OK);
    DDS_Topic *elsewhere = createTopic(other, "Elsewhere", "app::Elsewhere");
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
    EXPECT_FALSE(described<zeltest::TopicDescriptions>()[bareKey].alive);

    // A topic name beyond the description's bound is refused whole.
    EXPECT_TRUE(ZELDefaultMonitorParticipantObject_sampleAndPublishTopicDesc(
            object, createTopic(participant, std::string(256, 'n').c_str()), DDS_BOOLEAN_FALSE));
    capture.clear();
    EXPECT_FALSE(ZELDefaultMonitorParticipantObject_sampleAndPublishTopicDesc(
            object, createTopic(participant, std::string(257, 'n').c_str()), DDS_BOOLEAN_FALSE));
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
