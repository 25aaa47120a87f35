// Applications in separate processes over the RTPS wire: keyed samples and
// disposes arrive as written, late joiners get each instance's last sample,
// matches follow the peer process (also when it is killed), and a
// monitoring tool in one process reads another process's monitoring data,
// whose keys are the ones its own entities see. And how a factory chooses
// its wire.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "log_capture.h"
#include "plain_cyclone.h"
#include "rtps_peer.h"

namespace {

using namespace std::chrono_literals;
using rtpstest::Application;
using rtpstest::Peer;
using rtpstest::testDomain;
using rtpstest::waitFor;

struct Shape {
    std::string color;
    int x, y, size;
    bool disposed;
    bool operator==(const Shape &) const = default;
};

void PrintTo(const Shape &shape, std::ostream *out) {
    *out << shape.color << (shape.disposed ? " disposed" : "") << " " << shape.x << "," << shape.y << "," << shape.size;
}

// Everything the reader holds now, taken.
std::vector<Shape> takeAll(dp_ShapeDataReader *reader) {
    std::vector<Shape> taken;
    dp_ShapeSeq samples = ZEL_SEQUENCE_INITIALIZER;
    DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
    if (dp_ShapeDataReader_take(reader, &samples, &infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                                DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE) == DDS_RETCODE_OK) {
        for (DDS_Long i = 0; i < dp_ShapeSeq_get_length(&samples); ++i) {
            const DDS_SampleInfo *info = DDS_SampleInfoSeq_get_reference(&infos, i);
            const dp_Shape *shape = dp_ShapeSeq_get_reference(&samples, i);
            if (info->valid_data) {
                taken.push_back({shape->color, shape->x, shape->y, shape->size, false});
            } else if (info->instance_state == DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE) {
                dp_Shape key;
                dp_Shape_initialize(&key);
                dp_ShapeDataReader_get_key_value(reader, &key, &info->instance_handle);
                taken.push_back({key.color, 0, 0, 0, true});
                dp_Shape_finalize(&key);
            }
        }
        dp_ShapeDataReader_return_loan(reader, &samples, &infos);
    }
    return taken;
}

int matchedCount(dp_ShapeDataReader *reader) {
    DDS_SubscriptionMatchedStatus status{};
    DDS_DataReader_get_subscription_matched_status(dp_ShapeDataReader_as_datareader(reader), &status);
    return status.current_count;
}

class RtpsProcessTest : public ::testing::Test {
protected:
    void SetUp() override { setenv("ZEL_WIRE", "cyclone", 1); }
    void TearDown() override { EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK); }
};

TEST_F(RtpsProcessTest, KeyedSamplesDisposesAndLateJoinersCrossProcesses) {
    auto app = std::make_unique<Application>(testDomain());
    ASSERT_TRUE(app->ready());
    dp_ShapeDataReader *reader = app->createReader();
    ASSERT_NE(reader, nullptr);
    Peer peer({"shapes", "3000"});
    ASSERT_GT(peer.pid(), 0);

    // A writer keeping one sample per instance may replace a sample not yet
    // delivered, so each instance shows what was written, in order, with
    // gaps at most, and always its last state; the peer's leaving disposes
    // red.
    const std::vector<Shape> red = {{"RED", 1, 2, 3, false}, {"RED", 7, 8, 9, false}, {"RED", 0, 0, 0, true}};
    const std::vector<Shape> blue = {{"BLUE", 4, 5, 6, false}, {"BLUE", 0, 0, 0, true}};
    std::vector<Shape> received;
    auto has = [&](const Shape &shape) { return std::find(received.begin(), received.end(), shape) != received.end(); };
    ASSERT_TRUE(waitFor(
            [&] {
                for (const Shape &shape : takeAll(reader)) {
                    received.push_back(shape);
                }
                return has(red[1]) && has(blue[1]);
            },
            20s))
            << ::testing::PrintToString(received);
    for (const std::vector<Shape> &written : {red, blue}) {
        auto next = written.begin();
        for (const Shape &shape : received) {
            if (shape.color == written[0].color) {
                next = std::find(next, written.end(), shape);
                ASSERT_NE(next, written.end()) << "out of order or never written: " << ::testing::PrintToString(shape);
                ++next;
            }
        }
    }
    EXPECT_EQ(matchedCount(reader), 1);

    // A reader that joins late gets the last red sample, not the first.
    dp_ShapeDataReader *late = app->createReader();
    ASSERT_NE(late, nullptr);
    std::vector<Shape> lateReceived;
    ASSERT_TRUE(waitFor(
            [&] {
                for (const Shape &shape : takeAll(late)) {
                    lateReceived.push_back(shape);
                }
                return std::find(lateReceived.begin(), lateReceived.end(), Shape{"RED", 7, 8, 9, false}) !=
                       lateReceived.end();
            },
            10s));
    EXPECT_EQ(std::count(lateReceived.begin(), lateReceived.end(), Shape{"RED", 1, 2, 3, false}), 0);

    // The peer leaves on its own: its writer is unmatched.
    EXPECT_EQ(peer.wait(), 0);
    EXPECT_TRUE(waitFor([&] { return matchedCount(reader) == 0; }, 10s));
}

TEST_F(RtpsProcessTest, AKilledPeerIsUnmatchedOnceItsLeaseEnds) {
    Application app(testDomain());
    ASSERT_TRUE(app.ready());
    dp_ShapeDataReader *reader = app.createReader();
    Peer peer({"shapes", "60000"});
    ASSERT_TRUE(waitFor([&] { return matchedCount(reader) == 1; }, 20s));
    peer.kill9();
    EXPECT_TRUE(waitFor([&] { return matchedCount(reader) == 0; }, 30s));
}

// A reliable writer whose reader stops acknowledging (its process is
// stopped) blocks once it has sent enough, and a write then times out.
TEST_F(RtpsProcessTest, AWriteToAStoppedReaderTimesOut) {
    Application app(testDomain());
    ASSERT_TRUE(app.ready());
    dp_ShapeDataWriter *writer =
            app.createWriter([](DDS_DataWriterQos &qos) { qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS; });
    ASSERT_NE(writer, nullptr);
    Peer peer({"reader", "60000"});
    ASSERT_TRUE(waitFor(
            [&] {
                DDS_PublicationMatchedStatus status{};
                DDS_DataWriter_get_publication_matched_status(dp_ShapeDataWriter_as_datawriter(writer), &status);
                return status.current_count == 1;
            },
            20s));
    ASSERT_EQ(kill(peer.pid(), SIGSTOP), 0);
    dp_Shape shape;
    dp_Shape_initialize(&shape);
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    for (int i = 0; i < 100000 && result == DDS_RETCODE_OK; ++i) {
        shape.x = i;
        result = dp_ShapeDataWriter_write(writer, &shape, &DDS_HANDLE_NIL);
    }
    dp_Shape_finalize(&shape);
    EXPECT_EQ(result, DDS_RETCODE_TIMEOUT);
    kill(peer.pid(), SIGCONT);
}

// A plain Cyclone application in the same domain discovers the participant
// under the key the participant reports: its GUID on the network.
TEST_F(RtpsProcessTest, AParticipantsKeyIsItsGuidOnTheNetwork) {
    Application app(testDomain());
    ASSERT_TRUE(app.ready());
    DDS_BuiltinTopicKey_t key{};
    ASSERT_EQ(DDS_DomainParticipant_get_builtin_topic_key(app.participant, &key), DDS_RETCODE_OK);
    uint8_t guid[16];
    for (int octet = 0; octet < 16; ++octet) {
        guid[octet] = static_cast<uint8_t>(static_cast<uint32_t>(key.value[octet / 4]) >> (24 - 8 * (octet % 4)));
    }
    EXPECT_TRUE(rtpstest::plainCycloneDiscoversParticipant(testDomain(), guid, 20s));
}

// A writer in another process stays alive while it asserts its liveliness;
// silent, it loses it and misses its deadlines, as it counts them (the peer
// checks) and as this process's reader sees them, until it writes again.
TEST_F(RtpsProcessTest, AWriterAssertingStaysAliveAndSilentLosesLivelinessAndDeadlines) {
    constexpr int lease = 1000;
    auto app = std::make_unique<Application>(testDomain());
    ASSERT_TRUE(app->ready());
    const auto volatileReader = [](DDS_DataReaderQos &qos) { qos.durability.kind = DDS_VOLATILE_DURABILITY_QOS; };
    dp_ShapeDataReader *shapes = app->createReader([&](DDS_DataReaderQos &qos) {
        volatileReader(qos);
        qos.deadline.period = rtpstest::durationOf(lease / 3);
    });
    DDS_DataReader *reader = dp_ShapeDataReader_as_datareader(shapes);
    Peer peer({"silent", std::to_string(lease)});
    // Alive and not alive writers.
    const auto liveliness = [&] {
        DDS_LivelinessChangedStatus status{};
        DDS_DataReader_get_liveliness_changed_status(reader, &status);
        return std::pair{status.alive_count, status.not_alive_count};
    };
    ASSERT_TRUE(waitFor([&] { return matchedCount(shapes) == 1; }, 20s));
    // Three leases of assertions every quarter lease.
    std::this_thread::sleep_for(std::chrono::milliseconds(3 * lease));
    EXPECT_EQ(liveliness(), (std::pair{1, 0}));

    // Each further reader's match is the peer's cue: to fall silent, then to write.
    ASSERT_NE(app->createReader(volatileReader), nullptr);
    EXPECT_TRUE(waitFor(
            [&] {
                return liveliness() == std::pair{0, 1};
            },
            10s))
            << ::testing::PrintToString(liveliness());
    DDS_RequestedDeadlineMissedStatus missed{};
    DDS_DataReader_get_requested_deadline_missed_status(reader, &missed);
    EXPECT_GT(missed.total_count, 0);
    ASSERT_NE(app->createReader(volatileReader), nullptr);
    EXPECT_TRUE(waitFor(
            [&] {
                return liveliness() == std::pair{1, 0};
            },
            10s))
            << ::testing::PrintToString(liveliness());
    app.reset();
    EXPECT_EQ(peer.wait(), 0);
}

// Monitoring data read in another process: the peer's writer description
// names the writer by the key that this process's reader sees it under,
// its statistics name that reader by its key, and the peer's monitoring
// entities are not described.
TEST_F(RtpsProcessTest, MonitoringDataOfAnotherProcessJoinsOnKeys) {
    Peer peer({"shapes", "20000", std::to_string(rtpstest::monitoringDomain())});
    EXPECT_EQ(rtpstest::monitoringToolFailure(peer.pid()), "");
}

// The factory's wire: "zel.wire" in its default participant QoS wins over
// ZEL_WIRE; a wire is never changed under participants, and a name that no
// wire has changes nothing.
struct WireChoice {
    const char *environment;  // ZEL_WIRE; NULL: unset
    const char *property;     // "zel.wire" set in the default participant QoS; NULL: not set
    bool participantExists;   // a participant exists when it is set
    DDS_ReturnCode_t result;
    const char *wire;    // the factory's wire afterwards; NULL: no factory
    const char *logged;  // the text of the line logged, "" for none
};

void PrintTo(const WireChoice &choice, std::ostream *out) {
    *out << "ZEL_WIRE " << (choice.environment != nullptr ? choice.environment : "unset") << ", zel.wire "
         << (choice.property != nullptr ? choice.property : "unset")
         << (choice.participantExists ? ", with a participant" : "");
}

class WireChoiceTest : public ::testing::TestWithParam<WireChoice> {
protected:
    void TearDown() override { EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK); }
};

TEST_P(WireChoiceTest, TheFactoryUsesTheWireItsPropertyOrTheEnvironmentNames) {
    const WireChoice &choice = GetParam();
    if (choice.environment != nullptr) {
        setenv("ZEL_WIRE", choice.environment, 1);
    } else {
        unsetenv("ZEL_WIRE");
    }
    zeltest::LogCapture log;
    DDS_DomainParticipantFactory *factory = DDS_DomainParticipantFactory_get_instance();
    const char *context = choice.property != nullptr ? "DDS_DomainParticipantFactory_set_default_participant_qos"
                                                     : "DDS_DomainParticipantFactory_get_instance";
    if (choice.wire == nullptr) {
        EXPECT_EQ(factory, nullptr);
        EXPECT_TRUE(log.contains(context, ZEL_LOG_BAD_PARAMETER_s, choice.logged))
                << ::testing::PrintToString(log.lines());
        return;
    }
    ASSERT_NE(factory, nullptr);
    DDS_DomainParticipant *first = nullptr;
    if (choice.participantExists) {
        first = DDS_DomainParticipantFactory_create_participant(factory, testDomain(), &DDS_PARTICIPANT_QOS_DEFAULT,
                                                                nullptr, 0);
        ASSERT_NE(first, nullptr);
    }
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    if (choice.property != nullptr) {
        DDS_DomainParticipantFactory_get_default_participant_qos(factory, &qos);
        DDS_PropertyQosPolicyHelper_add_property(&qos.property, "zel.wire", choice.property, DDS_BOOLEAN_FALSE);
        EXPECT_EQ(DDS_DomainParticipantFactory_set_default_participant_qos(factory, &qos), choice.result);
    }
    EXPECT_STREQ(DDS_DomainParticipantFactory_get_wire_nameI(factory), choice.wire);
    if (choice.logged[0] == '\0') {
        EXPECT_EQ(log.lines(), std::vector<zeltest::CapturedLine>{});
    } else {
        const ZELLogMessage &message =
                choice.result == DDS_RETCODE_BAD_PARAMETER ? ZEL_LOG_BAD_PARAMETER_s : ZEL_LOG_PRECONDITION_NOT_MET_s;
        EXPECT_TRUE(log.contains(context, message, choice.logged)) << ::testing::PrintToString(log.lines());
    }
    // The default QoS keeps the property only when it was accepted.
    DDS_DomainParticipantFactory_get_default_participant_qos(factory, &qos);
    EXPECT_EQ(DDS_PropertyQosPolicyHelper_lookup_property(&qos.property, "zel.wire") != nullptr,
              choice.property != nullptr && choice.result == DDS_RETCODE_OK);

    // A participant may name its factory's wire, not another one.
    const char *other = std::string(choice.wire) == "cyclone" ? "loopback" : "cyclone";
    DDS_PropertyQosPolicyHelper_assert_property(&qos.property, "zel.wire", choice.wire, DDS_BOOLEAN_FALSE);
    DDS_DomainParticipant *second =
            DDS_DomainParticipantFactory_create_participant(factory, testDomain(), &qos, nullptr, 0);
    EXPECT_NE(second, nullptr);
    log.clear();
    DDS_PropertyQosPolicyHelper_assert_property(&qos.property, "zel.wire", other, DDS_BOOLEAN_FALSE);
    EXPECT_EQ(DDS_DomainParticipantFactory_create_participant(factory, testDomain(), &qos, nullptr, 0), nullptr);
    EXPECT_TRUE(log.contains("DDS_DomainParticipantFactory_create_participant", ZEL_LOG_PRECONDITION_NOT_MET_s,
                             "precondition not met: zel.wire \"" + std::string(other) +
                                     "\" is not the factory's wire, " + choice.wire + "\n"))
            << ::testing::PrintToString(log.lines());
    DDS_DomainParticipantQos_finalize(&qos);
    for (DDS_DomainParticipant *participant : {first, second}) {
        if (participant != nullptr) {
            EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory, participant), DDS_RETCODE_OK);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
        Choices, WireChoiceTest,
        ::testing::Values(
                WireChoice{nullptr, nullptr, false, DDS_RETCODE_OK, "cyclone", ""},
                WireChoice{"loopback", nullptr, false, DDS_RETCODE_OK, "loopback", ""},
                WireChoice{"loopback", "cyclone", false, DDS_RETCODE_OK, "cyclone", ""},
                WireChoice{"cyclone", "loopback", false, DDS_RETCODE_OK, "loopback", ""},
                WireChoice{"loopback", "loopback", true, DDS_RETCODE_OK, "loopback", ""},
                WireChoice{"cyclone", "loopback", true, DDS_RETCODE_PRECONDITION_NOT_MET, "cyclone",
                           "precondition not met: participants use the cyclone wire: it cannot change to loopback\n"},
                WireChoice{"loopback", "pigeon", false, DDS_RETCODE_BAD_PARAMETER, "loopback",
                           "bad parameter: zel.wire \"pigeon\" names no wire (known: cyclone, loopback)\n"},
                WireChoice{"pigeon", nullptr, false, DDS_RETCODE_OK, nullptr,
                           "bad parameter: ZEL_WIRE \"pigeon\" names no wire (known: cyclone, loopback)\n"}));

}  // namespace
