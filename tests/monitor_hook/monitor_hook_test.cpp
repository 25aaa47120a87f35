// The monitoring hook as an application meets it: participants that name a
// plug-in are attached to one monitor per factory, hear of every entity
// event, are detached when deleted, and the monitor is deleted when the
// factory is finalized.
#include <cinttypes>
#include <cstdio>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "heap_check.h"
#include "hook_types.h"
#include "log_capture.h"
#include "record_text.h"
#include "recording_monitor.h"
#include "vurncore/osapi.h"
#include "zel_dds_monitoring.h"

// A create function of the program itself, named to the hook by address.
extern "C" DDS_Monitor *LinkedMonitor_create(DDS_UnsignedLong *result, DDS_DomainParticipantFactory *factory,
                                             DDS_MonitorVersion version) {
    return RecordingMonitor_create(result, factory, version);
}

namespace recording {
void PrintTo(const Call &call, std::ostream *out) {
    *out << call.name << "(" << call.participant << ", 0x" << std::hex << call.eventKind << std::dec << ", kind "
         << call.entityKind << (call.vendorSpecific ? ", vendor-specific" : "") << ")";
}
}  // namespace recording

namespace {

using Properties = std::vector<std::pair<std::string, std::string>>;
using recording::Call;

const Properties kByName = {{"zel.monitor.library", "recording_monitor"},
                            {"zel.monitor.create_function", "RecordingMonitor_create"}};
const char *const kLoadContext = "DDS_MonitorHook_obtainMonitorI";

std::string addressText(const char *format) {
    char text[64];
    std::snprintf(text, sizeof text, format, reinterpret_cast<uintptr_t>(&LinkedMonitor_create));
    return text;
}

Call about(const char *name, DDS_DomainParticipant *participant, bool vendorSpecific = false) {
    return Call{name, participant, 0, DDS_DOMAINPARTICIPANT_ENTITY_KIND, vendorSpecific};
}

// Attach, these events (code and entity kind) and detach of `participant`.
std::vector<Call> lifeOf(DDS_DomainParticipant *participant,
                         const std::vector<std::pair<DDS_Long, DDS_EntityKind_t>> &events) {
    std::vector<Call> calls{about("attach", participant)};
    for (const auto &[eventKind, entityKind] : events) {
        calls.push_back(Call{"event", participant, eventKind, entityKind, false});
    }
    calls.push_back(about("detach", participant));
    return calls;
}

std::vector<int> createdWithVersion() {
    const DDS_MonitorVersion version = recording::createdWithVersion();
    return {version.major, version.minor, version.release, version.revision};
}

std::vector<Call> callsOf(DDS_DomainParticipant *participant) {
    std::vector<Call> calls;
    for (const Call &call : recording::calls()) {
        if (call.participant == participant) {
            calls.push_back(call);
        }
    }
    return calls;
}

long countOf(const char *name) {
    long count = 0;
    for (const Call &call : recording::calls()) {
        count += call.name == name ? 1 : 0;
    }
    return count;
}

// Sets an entity's QoS to what it already is: a QoS change all the same.
#define TOUCH_QOS(Kind, entity)                                        \
    do {                                                               \
        DDS_##Kind##Qos qos = DDS_##Kind##Qos_INITIALIZER;             \
        ASSERT_EQ(DDS_##Kind##_get_qos(entity, &qos), DDS_RETCODE_OK); \
        EXPECT_EQ(DDS_##Kind##_set_qos(entity, &qos), DDS_RETCODE_OK); \
        DDS_##Kind##Qos_finalize(&qos);                                \
    } while (0)

// Every test runs on a factory of its own, finalized at its end, over
// which no platform block may leak.
class MonitorHookTest : public zeltest::HeapCheckedTest {
protected:
    void SetUp() override {
        HeapCheckedTest::SetUp();
        recording::reset();
        factory_ = DDS_DomainParticipantFactory_get_instance();
        ASSERT_NE(factory_, nullptr);
    }

    void TearDown() override {
        EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
        HeapCheckedTest::TearDown();
    }

    DDS_DomainParticipant *create(const Properties &properties, DDS_DomainId_t domain = 0) {
        DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
        DDS_DomainParticipantFactory_get_default_participant_qos(factory_, &qos);
        for (const auto &[name, value] : properties) {
            DDS_PropertyQosPolicyHelper_add_property(&qos.property, name.c_str(), value.c_str(), DDS_BOOLEAN_FALSE);
        }
        DDS_DomainParticipant *participant =
                DDS_DomainParticipantFactory_create_participant(factory_, domain, &qos, nullptr, DDS_STATUS_MASK_NONE);
        DDS_DomainParticipantQos_finalize(&qos);
        return participant;
    }

    // True when the participant reports an event of a topic it creates.
    bool isMonitored(DDS_DomainParticipant *participant) {
        const size_t before = callsOf(participant).size();
        DDS_Publisher *publisher = DDS_DomainParticipant_create_publisher(participant, &DDS_PUBLISHER_QOS_DEFAULT,
                                                                          nullptr, DDS_STATUS_MASK_NONE);
        EXPECT_EQ(DDS_DomainParticipant_delete_publisher(participant, publisher), DDS_RETCODE_OK);
        return callsOf(participant).size() > before;
    }

    // The topic "Shapes" of the test type.
    static DDS_Topic *createShapes(DDS_DomainParticipant *participant) {
        EXPECT_EQ(hook_ShapeTypeSupport_register_type(participant, "Shape"), DDS_RETCODE_OK);
        DDS_Topic *topic = DDS_DomainParticipant_create_topic(participant, "Shapes", "Shape", &DDS_TOPIC_QOS_DEFAULT,
                                                              nullptr, DDS_STATUS_MASK_NONE);
        EXPECT_NE(topic, nullptr);
        return topic;
    }

    DDS_DomainParticipantFactory *factory_ = nullptr;
};

TEST_F(MonitorHookTest, TwoParticipantsReportEveryEntityEventBetweenAttachAndDetach) {
    DDS_DomainParticipant *writing = create(kByName);
    DDS_DomainParticipant *reading = create(kByName);
    ASSERT_TRUE(writing != nullptr && reading != nullptr);
    DDS_Topic *writerTopic = createShapes(writing);
    DDS_Topic *readerTopic = createShapes(reading);
    DDS_ContentFilteredTopic *bigShapes =
            DDS_DomainParticipant_create_contentfilteredtopic(reading, "BigShapes", readerTopic, "x > 10", nullptr);
    DDS_Publisher *publisher = DDS_DomainParticipant_create_publisher(writing, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
    DDS_Subscriber *subscriber =
            DDS_DomainParticipant_create_subscriber(reading, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
    ASSERT_TRUE(bigShapes != nullptr && publisher != nullptr && subscriber != nullptr);
    DDS_DataWriter *writer =
            DDS_Publisher_create_datawriter(publisher, writerTopic, &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
    DDS_DataReader *reader =
            DDS_Subscriber_create_datareader(subscriber, DDS_ContentFilteredTopic_as_topicdescription(bigShapes),
                                             &DDS_DATAREADER_QOS_DEFAULT, nullptr, 0);
    ASSERT_TRUE(writer != nullptr && reader != nullptr);

    TOUCH_QOS(DomainParticipant, writing);
    TOUCH_QOS(Topic, writerTopic);
    TOUCH_QOS(Publisher, publisher);
    TOUCH_QOS(DataWriter, writer);
    TOUCH_QOS(Subscriber, subscriber);
    TOUCH_QOS(DataReader, reader);

    EXPECT_EQ(DDS_Subscriber_delete_datareader(subscriber, reader), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_Publisher_delete_contained_entities(publisher), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipant_delete_publisher(writing, publisher), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipant_delete_subscriber(reading, subscriber), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipant_delete_contentfilteredtopic(reading, bigShapes), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipant_delete_topic(writing, writerTopic), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipant_delete_topic(reading, readerTopic), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(writing), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, writing), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, reading), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);

    const DDS_EntityKind_t P = DDS_DOMAINPARTICIPANT_ENTITY_KIND, T = DDS_TOPIC_ENTITY_KIND,
                           G = DDS_PUBLISHER_ENTITY_KIND, S = DDS_SUBSCRIBER_ENTITY_KIND,
                           W = DDS_DATAWRITER_ENTITY_KIND, R = DDS_DATAREADER_ENTITY_KIND;
    // The writer matches (then gains the reader's locator) when the reader
    // is enabled, and loses the locator, then the match, when it goes; the
    // reader matches while it is being enabled.
    const std::vector<Call> expectedWriting =
            lifeOf(writing, {{0x10, P},  {0x100, T}, {0x110, T}, {0x200, G}, {0x210, G}, {0x400, W}, {0x410, W},
                             {0x700, W}, {0x600, W}, {0x20, P},  {0x120, T}, {0x220, G}, {0x420, W}, {0x630, W},
                             {0x730, W}, {0x241, G}, {0x431, W}, {0x231, G}, {0x131, T}, {0x41, P}});
    const std::vector<std::pair<DDS_Long, DDS_EntityKind_t>> readingEvents = {
            {0x10, P},  {0x100, T}, {0x110, T}, {0x300, S}, {0x310, S}, {0x500, R}, {0x700, R},
            {0x510, R}, {0x320, S}, {0x520, R}, {0x531, R}, {0x730, R}, {0x331, S}, {0x131, T}};
    const std::vector<Call> expectedReading = lifeOf(reading, readingEvents);
    EXPECT_EQ(callsOf(writing), expectedWriting);
    EXPECT_EQ(callsOf(reading), expectedReading);
    // One create first and one delete last around them, with the default
    // version.
    const std::vector<Call> calls = recording::calls();
    ASSERT_EQ(calls.size(), expectedWriting.size() + expectedReading.size() + 2);
    EXPECT_EQ(calls.front(), Call{"create"});
    EXPECT_EQ(calls.back(), Call{"delete"});
    EXPECT_EQ(createdWithVersion(), (std::vector<int>{5, 1, 0, 0}));
}

TEST_F(MonitorHookTest, LinkedInPlugInIsCreatedOnceByAddressWithTheConfiguredVersion) {
    ASSERT_EQ(DDS_DomainParticipantFactory_set_monitor_versionI(factory_, DDS_MonitorVersion{4, 5, 'c', 7}),
              DDS_RETCODE_OK);
    // Hexadecimal and decimal name the same function: one monitor.
    DDS_DomainParticipant *first = create({{"zel.monitor.create_function_ptr", addressText("0x%" PRIxPTR)}});
    DDS_DomainParticipant *second = create({{"zel.monitor.create_function_ptr", addressText("%" PRIuPTR)}});
    zeltest::LogCapture capture;
    DDS_DomainParticipant *other = create(kByName);
    DDS_DomainParticipant *unasked = create({});
    ASSERT_TRUE(first != nullptr && second != nullptr && other != nullptr && unasked != nullptr);

    EXPECT_EQ(countOf("create"), 1);
    EXPECT_EQ(createdWithVersion(), (std::vector<int>{4, 5, 99, 7}));
    EXPECT_TRUE(isMonitored(first));
    EXPECT_TRUE(isMonitored(second));
    // Another plug-in is refused while one is loaded; a participant that
    // names none is left alone.
    EXPECT_TRUE(capture.contains(kLoadContext, ZEL_LOG_PRECONDITION_NOT_MET_s,
                                 zeltest::recordText(ZEL_LOG_PRECONDITION_NOT_MET_s,
                                                     "monitor recording_monitor: another monitor is loaded")));
    EXPECT_FALSE(isMonitored(other));
    EXPECT_FALSE(isMonitored(unasked));
    EXPECT_EQ(DDS_DomainParticipantFactory_set_monitor_versionI(nullptr, DDS_MonitorVersion{}),
              DDS_RETCODE_BAD_PARAMETER);

    for (DDS_DomainParticipant *participant : {first, second, other, unasked}) {
        EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, participant), DDS_RETCODE_OK);
    }
    EXPECT_EQ(countOf("detach"), 2);
}

TEST_F(MonitorHookTest, FailuresAreLoggedAndLeaveTheParticipantUnmonitored) {
    char reason[256] = "";
    EXPECT_EQ(ZELOsapiLibrary_open("no_such_monitor", reason, sizeof reason), nullptr);
    struct Case {
        Properties properties;
        const ZELLogMessage *message;
        std::string text;
        long creates = 0;
        recording::Script script = {};
    };
    recording::Script createFails;
    createFails.createFails = true;
    createFails.createResult = DDS_MONITOR_RESULT_FAILURE;
    recording::Script versionRefused = createFails;
    versionRefused.createResult = DDS_MONITOR_RESULT_VERSION_NOT_SUPPORTED;
    const char *const library = "zel.monitor.library";
    const char *const function = "zel.monitor.create_function";
    const char *const address = "zel.monitor.create_function_ptr";
    const std::vector<Case> cases = {
            {{{library, "no_such_monitor"}, {function, "RecordingMonitor_create"}},
             &ZEL_LOG_GET_FAILURE_s,
             std::string("monitor library no_such_monitor: ") + reason},
            {{{library, "recording_monitor"}, {function, "NoSuchCreate"}},
             &ZEL_LOG_GET_FAILURE_s,
             "monitor create function NoSuchCreate in recording_monitor"},
            {{{library, "recording_monitor"}},
             &ZEL_LOG_PRECONDITION_NOT_MET_s,
             "zel.monitor.library without zel.monitor.create_function"},
            {{{function, "RecordingMonitor_create"}},
             &ZEL_LOG_PRECONDITION_NOT_MET_s,
             "zel.monitor.create_function without zel.monitor.library"},
            {{{address, "0x12g"}}, &ZEL_LOG_BAD_PARAMETER_s, "zel.monitor.create_function_ptr \"0x12g\""},
            {{{address, "-12"}}, &ZEL_LOG_BAD_PARAMETER_s, "zel.monitor.create_function_ptr \"-12\""},
            {kByName, &ZEL_LOG_CREATION_FAILURE_s, "monitor", 1, createFails},
            {kByName, &ZEL_LOG_CREATION_FAILURE_s, "monitor: version 5.1.0.0 not supported", 1, versionRefused},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        recording::reset();
        recording::script() = c.script;
        zeltest::LogCapture capture;
        DDS_DomainParticipant *participant = create(c.properties);
        ASSERT_NE(participant, nullptr);
        EXPECT_EQ(capture.lines(),
                  (std::vector<zeltest::CapturedLine>{zeltest::expectedLine(
                          kLoadContext, *c.message, zeltest::recordText(*c.message, c.text.c_str()))}));
        EXPECT_EQ(countOf("create"), c.creates);
        EXPECT_EQ(countOf("attach"), 0);
        EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, participant), DDS_RETCODE_OK);
    }

    // Nothing stays loaded after a failure: the next participant tries
    // again. Its attach fails: the participant is kept, unmonitored.
    recording::reset();
    recording::script().attachFails = true;
    zeltest::LogCapture capture;
    DDS_DomainParticipant *participant = create(kByName);
    ASSERT_NE(participant, nullptr);
    EXPECT_EQ(capture.lines(), (std::vector<zeltest::CapturedLine>{zeltest::expectedLine(
                                       "DDS_MonitorHook_attachI", ZEL_LOG_ANY_FAILURE_s,
                                       zeltest::recordText(ZEL_LOG_ANY_FAILURE_s, "attach participant: result 1"))}));
    EXPECT_EQ(countOf("create"), 1);
    EXPECT_FALSE(isMonitored(participant));
    EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, participant), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
    EXPECT_EQ(countOf("detach"), 0);
    EXPECT_EQ(countOf("delete"), 1);
}

TEST_F(MonitorHookTest, PlugInCallsBackIntoTheApiFromInsideItsCalls) {
    recording::script().ownParticipantDomain = 9;
    DDS_DomainParticipant *participant = create(kByName);
    ASSERT_NE(participant, nullptr);
    // The monitor's own participant, made inside attach, was offered to it
    // and refused.
    DDS_DomainParticipant *own = DDS_DomainParticipantFactory_lookup_participant(factory_, 9);
    ASSERT_NE(own, nullptr);
    EXPECT_TRUE(DDS_Entity_is_vendor_specific(DDS_DomainParticipant_as_entity(own)));
    EXPECT_EQ(callsOf(own), std::vector<Call>{about("attach", own, true)});
    EXPECT_FALSE(isMonitored(own));
    EXPECT_TRUE(isMonitored(participant));
    TOUCH_QOS(DomainParticipant, participant);

    // Participants created at once on several threads share one monitor.
    std::vector<DDS_DomainParticipant *> concurrent(4, nullptr);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < concurrent.size(); ++i) {
        threads.emplace_back([this, &concurrent, i] { concurrent[i] = create(kByName, 1); });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(countOf("create"), 1);
    for (DDS_DomainParticipant *created : concurrent) {
        ASSERT_NE(created, nullptr);
        EXPECT_EQ(callsOf(created).front(), about("attach", created));
        EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, created), DDS_RETCODE_OK);
    }
    EXPECT_GT(callsOf(participant).size(), 3u);
    EXPECT_EQ(recording::qosReadFailures(), 0);

    // The application's participants must go first; the monitor then
    // deletes its own at finalization.
    EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, participant), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
    EXPECT_EQ(countOf("delete"), 1);
    EXPECT_EQ(recording::calls().back(), Call{"delete"});
}

TEST_F(MonitorHookTest, EveryAllocationFailureLeavesNothingBehind) {
    ASSERT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
    zeltest::LogCapture capture;
    const Properties byAddress = {{"zel.monitor.create_function_ptr", addressText("0x%" PRIxPTR)}};
    const long allocations = zeltest::forEachAllocationFailure([&](long) {
        recording::reset();
        factory_ = DDS_DomainParticipantFactory_get_instance();
        if (factory_ == nullptr) {
            return;
        }
        DDS_DomainParticipant *participant = create(byAddress);
        if (participant != nullptr) {
            EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, participant), DDS_RETCODE_OK);
        }
        EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
    });
    EXPECT_GT(allocations, 1);
    factory_ = DDS_DomainParticipantFactory_get_instance();
    ASSERT_NE(factory_, nullptr);
}

TEST_F(MonitorHookTest, RealPlugInPublishesOnTheParticipantUntilItIsDeleted) {
    // Its entry points are plain, undecorated symbols of the library.
    char error[256] = "";
    ZELOsapiLibrary *library = ZELOsapiLibrary_open("zelmonitoring", error, sizeof error);
    ASSERT_NE(library, nullptr) << error;
    for (const char *name :
         {"ZELDefaultMonitor_create", "ZELDefaultMonitorPublisher_create", "ZELDefaultMonitorPublisher_delete",
          "ZELDefaultMonitorPublisher_onDomainParticipantAttach",
          "ZELDefaultMonitorPublisher_onDomainParticipantDetach", "ZELDefaultMonitorPublisher_onEventNotify"}) {
        EXPECT_NE(ZELOsapiLibrary_getSymbol(library, name), nullptr) << name;
    }
    ZELOsapiLibrary_close(library);

    DDS_DomainParticipant *participant = create({{"zel.monitor.library", "zelmonitoring"},
                                                 {"zel.monitor.create_function", "ZELDefaultMonitor_create"},
                                                 {"zel.monitor.config.publish_period", "0"}});
    ASSERT_NE(participant, nullptr);
    EXPECT_NE(DDS_DomainParticipant_lookup_topicdescription(participant, "zel/dds/monitoring/dataWriterDescription"),
              nullptr);
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    ASSERT_EQ(DDS_DomainParticipant_get_qos(participant, &qos), DDS_RETCODE_OK);
    const DDS_Property_t *version = DDS_PropertyQosPolicyHelper_lookup_property(&qos.property, "zel/dds/version");
    ASSERT_NE(version, nullptr);
    EXPECT_STREQ(version->value, "5.1.0.rev0");
    DDS_DomainParticipantQos_finalize(&qos);

    // The topic's description reaches a reader of the monitoring topic.
    DDS_Subscriber *subscriber =
            DDS_DomainParticipant_create_subscriber(participant, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
    DDS_DataReaderQos readerQos = DDS_DataReaderQos_INITIALIZER;
    DDS_Subscriber_get_default_datareader_qos(subscriber, &readerQos);
    readerQos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
    readerQos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    auto *descriptions = zel_dds_monitoring_TopicDescriptionDataReader_narrow(DDS_Subscriber_create_datareader(
            subscriber,
            DDS_DomainParticipant_lookup_topicdescription(participant, "zel/dds/monitoring/topicDescription"),
            &readerQos, nullptr, 0));
    DDS_DataReaderQos_finalize(&readerQos);
    ASSERT_NE(descriptions, nullptr);
    DDS_Topic *topic = createShapes(participant);
    zel_dds_monitoring_TopicDescriptionSeq samples = ZEL_SEQUENCE_INITIALIZER;
    DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_EQ(zel_dds_monitoring_TopicDescriptionDataReader_take(descriptions, &samples, &infos, DDS_LENGTH_UNLIMITED,
                                                                 DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                                                                 DDS_ANY_INSTANCE_STATE),
              DDS_RETCODE_OK);
    ASSERT_EQ(zel_dds_monitoring_TopicDescriptionSeq_get_length(&samples), 1);
    EXPECT_STREQ(zel_dds_monitoring_TopicDescriptionSeq_get_reference(&samples, 0)->topic_name, "Shapes");
    EXPECT_EQ(zel_dds_monitoring_TopicDescriptionDataReader_return_loan(descriptions, &samples, &infos),
              DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipant_delete_topic(participant, topic), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(participant), DDS_RETCODE_OK);
    // Detach removes the monitor's entities, so the participant can go.
    EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, participant), DDS_RETCODE_OK);
}

}  // namespace
