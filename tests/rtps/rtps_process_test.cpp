// Applications in separate processes over the RTPS wire: keyed samples and
// disposes arrive as written, late joiners get each instance's last sample,
// matches follow the peer process (also when it is killed), and a
// monitoring tool in one process reads another process's monitoring data,
// whose keys are the ones its own entities see.
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "datapath_types.h"
#include "vurnc/dds_c.h"
#include "vurncore/dds_string.h"
#include "zel_dds_monitoring.h"

extern char **environ;

namespace {

using namespace std::chrono_literals;

// Each test process uses domains of its own, so that tests run in parallel
// do not see each other; its peers are told the domain.
int32_t g_testDomain = 10 + static_cast<int32_t>(getpid() % 100);
int32_t testDomain() { return g_testDomain; }
int32_t monitoringDomain() { return 110 + static_cast<int32_t>(getpid() % 100); }

bool waitFor(const std::function<bool()> &condition, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(20ms);
    }
    return true;
}

// A participant with one topic of shapes, a publisher and a subscriber.
struct Application {
    DDS_DomainParticipant *participant = nullptr;
    DDS_Topic *topic = nullptr;
    DDS_Publisher *publisher = nullptr;
    DDS_Subscriber *subscriber = nullptr;

    explicit Application(int32_t domain, const std::vector<std::pair<std::string, std::string>> &properties = {}) {
        DDS_DomainParticipantFactory *factory = DDS_DomainParticipantFactory_get_instance();
        DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
        DDS_DomainParticipantFactory_get_default_participant_qos(factory, &qos);
        for (const auto &[name, value] : properties) {
            DDS_PropertyQosPolicyHelper_add_property(&qos.property, name.c_str(), value.c_str(), DDS_BOOLEAN_FALSE);
        }
        participant = DDS_DomainParticipantFactory_create_participant(factory, domain, &qos, nullptr, 0);
        DDS_DomainParticipantQos_finalize(&qos);
        if (participant == nullptr) {
            return;
        }
        dp_ShapeTypeSupport_register_type(participant, nullptr);
        topic = DDS_DomainParticipant_create_topic(participant, "Squares", dp_ShapeTypeSupport_get_type_name(),
                                                   &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
        publisher = DDS_DomainParticipant_create_publisher(participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
        subscriber = DDS_DomainParticipant_create_subscriber(participant, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
    }

    ~Application() {
        if (participant != nullptr) {
            DDS_DomainParticipant_delete_contained_entities(participant);
            DDS_DomainParticipantFactory_delete_participant(DDS_DomainParticipantFactory_get_instance(),
                                                            participant);
        }
    }

    bool ready() const { return topic != nullptr && publisher != nullptr && subscriber != nullptr; }

    dp_ShapeDataWriter *createWriter() {
        DDS_DataWriterQos qos = DDS_DataWriterQos_INITIALIZER;
        DDS_Publisher_get_default_datawriter_qos(publisher, &qos);
        qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
        qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
        qos.history.kind = DDS_KEEP_LAST_HISTORY_QOS;
        qos.history.depth = 1;
        DDS_DataWriter *writer = DDS_Publisher_create_datawriter(publisher, topic, &qos, nullptr, 0);
        DDS_DataWriterQos_finalize(&qos);
        return dp_ShapeDataWriter_narrow(writer);
    }

    dp_ShapeDataReader *createReader() {
        DDS_DataReaderQos qos = DDS_DataReaderQos_INITIALIZER;
        DDS_Subscriber_get_default_datareader_qos(subscriber, &qos);
        qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
        qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
        qos.history.kind = DDS_KEEP_LAST_HISTORY_QOS;
        qos.history.depth = 10;
        DDS_DataReader *reader =
                DDS_Subscriber_create_datareader(subscriber, DDS_Topic_as_topicdescription(topic), &qos, nullptr, 0);
        DDS_DataReaderQos_finalize(&qos);
        return dp_ShapeDataReader_narrow(reader);
    }
};

struct Shape {
    std::string color;
    int x, y, size;
    bool disposed;
    bool operator==(const Shape &) const = default;
};

void PrintTo(const Shape &shape, std::ostream *out) {
    *out << shape.color << (shape.disposed ? " disposed" : "") << " " << shape.x << "," << shape.y << ","
         << shape.size;
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

// A copy of this program in the role of a peer, until it exits or is killed.
class Peer {
public:
    explicit Peer(std::vector<std::string> args) {
        args.insert(args.begin(), {"/proc/self/exe", "--peer", std::to_string(testDomain())});
        std::vector<char *> argv;
        for (std::string &arg : args) {
            argv.push_back(arg.data());
        }
        argv.push_back(nullptr);
        if (posix_spawn(&pid_, "/proc/self/exe", nullptr, nullptr, argv.data(), environ) != 0) {
            pid_ = -1;
        }
    }
    ~Peer() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
    }
    pid_t pid() const { return pid_; }
    void kill9() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }
    int wait() {
        int status = 0;
        waitpid(pid_, &status, 0);
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t pid_ = -1;
};

void writeShape(dp_ShapeDataWriter *writer, const char *color, int x) {
    dp_Shape shape;
    dp_Shape_initialize(&shape);
    DDS_String_free(shape.color);
    shape.color = DDS_String_dup(color);
    shape.x = x;
    shape.y = x + 1;
    shape.size = x + 2;
    if (x < 0) {
        dp_ShapeDataWriter_dispose(writer, &shape, &DDS_HANDLE_NIL);
    } else {
        dp_ShapeDataWriter_write(writer, &shape, &DDS_HANDLE_NIL);
    }
    dp_Shape_finalize(&shape);
}

// The peer: writes red 1, blue 4 and red 7 once a reader matched, disposes
// blue, then stays for `linger` milliseconds. With a monitoring domain,
// monitoring is on in a domain of its own, published every second.
int runPeer(int argc, char **argv) {
    const int linger = argc > 2 ? std::atoi(argv[2]) : 0;
    std::vector<std::pair<std::string, std::string>> properties;
    if (argc > 3) {
        properties = {{"zel.monitor.library", ZELTEST_MONITOR_LIBRARY},
                      {"zel.monitor.create_function", "ZELDefaultMonitor_create"},
                      {"zel.monitor.config.new_participant_domain_id", argv[3]},
                      {"zel.monitor.config.publish_period", "1"}};
    }
    {
        Application app(testDomain(), properties);
        dp_ShapeDataWriter *writer = app.ready() ? app.createWriter() : nullptr;
        if (writer == nullptr) {
            return 2;
        }
        if (!waitFor(
                    [&] {
                        DDS_PublicationMatchedStatus status{};
                        DDS_DataWriter_get_publication_matched_status(dp_ShapeDataWriter_as_datawriter(writer),
                                                                      &status);
                        return status.current_count > 0;
                    },
                    20s)) {
            return 3;
        }
        for (const auto &[color, x] : {std::pair{"RED", 1}, {"BLUE", 4}, {"RED", 7}, {"BLUE", -1}}) {
            writeShape(writer, color, x);
            std::this_thread::sleep_for(50ms);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(linger));
    }
    return DDS_DomainParticipantFactory_finalize_instance() == DDS_RETCODE_OK ? 0 : 4;
}

class RtpsProcessTest : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("ZEL_WIRE", "cyclone", 1);
    }
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

// Monitoring data read in another process: the peer's writer description
// names the writer by the key that this process's reader sees it under,
// and the peer's monitoring entities are not described.
TEST_F(RtpsProcessTest, MonitoringDataOfAnotherProcessJoinsOnKeys) {
    Application app(testDomain());
    ASSERT_TRUE(app.ready());
    dp_ShapeDataReader *reader = app.createReader();
    DDS_DomainParticipantFactory *factory = DDS_DomainParticipantFactory_get_instance();
    DDS_DomainParticipant *tool = DDS_DomainParticipantFactory_create_participant(
            factory, monitoringDomain(), &DDS_PARTICIPANT_QOS_DEFAULT, nullptr, 0);
    ASSERT_NE(tool, nullptr);
    const char *typeName = zel_dds_monitoring_DataWriterDescriptionTypeSupport_get_type_name();
    ASSERT_EQ(zel_dds_monitoring_DataWriterDescriptionTypeSupport_register_type(tool, typeName), DDS_RETCODE_OK);
    DDS_Topic *topic = DDS_DomainParticipant_create_topic(tool, "zel/dds/monitoring/dataWriterDescription", typeName,
                                                          &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
    DDS_Subscriber *subscriber = DDS_DomainParticipant_create_subscriber(tool, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
    DDS_DataReaderQos qos = DDS_DataReaderQos_INITIALIZER;
    DDS_Subscriber_get_default_datareader_qos(subscriber, &qos);
    qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
    qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    qos.history.depth = 16;
    auto *descriptions = zel_dds_monitoring_DataWriterDescriptionDataReader_narrow(
            DDS_Subscriber_create_datareader(subscriber, DDS_Topic_as_topicdescription(topic), &qos, nullptr, 0));
    DDS_DataReaderQos_finalize(&qos);
    ASSERT_NE(descriptions, nullptr);

    Peer peer({"shapes", "20000", std::to_string(monitoringDomain())});
    std::vector<std::string> topics;
    std::vector<DDS_InstanceHandle_t> keys;
    pid_t processId = 0;
    ASSERT_TRUE(waitFor(
            [&] {
                zel_dds_monitoring_DataWriterDescriptionSeq samples = ZEL_SEQUENCE_INITIALIZER;
                DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
                if (zel_dds_monitoring_DataWriterDescriptionDataReader_take(
                            descriptions, &samples, &infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                            DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE) == DDS_RETCODE_OK) {
                    for (DDS_Long i = 0; i < zel_dds_monitoring_DataWriterDescriptionSeq_get_length(&samples); ++i) {
                        const auto *d = zel_dds_monitoring_DataWriterDescriptionSeq_get_reference(&samples, i);
                        if (!DDS_SampleInfoSeq_get_reference(&infos, i)->valid_data) {
                            continue;
                        }
                        topics.emplace_back(d->topic_name);
                        processId = static_cast<pid_t>(d->process_id);
                        DDS_InstanceHandle_t handle{};
                        for (int word = 0; word < 4; ++word) {
                            for (int octet = 0; octet < 4; ++octet) {
                                handle.value[word * 4 + octet] = static_cast<DDS_Octet>(
                                        static_cast<uint32_t>(d->entity_key.value[word]) >> (24 - 8 * octet));
                            }
                        }
                        handle.length = 16;
                        handle.isValid = DDS_BOOLEAN_TRUE;
                        keys.push_back(handle);
                    }
                    zel_dds_monitoring_DataWriterDescriptionDataReader_return_loan(descriptions, &samples, &infos);
                }
                return !topics.empty();
            },
            20s));
    EXPECT_EQ(topics, std::vector<std::string>{"Squares"});
    EXPECT_EQ(processId, peer.pid());

    DDS_InstanceHandleSeq matched = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_TRUE(waitFor(
            [&] {
                DDS_DataReader_get_matched_publications(dp_ShapeDataReader_as_datareader(reader), &matched);
                return DDS_InstanceHandleSeq_get_length(&matched) == 1;
            },
            10s));
    const DDS_InstanceHandle_t *seen = DDS_InstanceHandleSeq_get_reference(&matched, 0);
    ASSERT_EQ(keys.size(), 1u);
    EXPECT_EQ(std::memcmp(seen->value, keys[0].value, 16), 0);
    DDS_InstanceHandleSeq_finalize(&matched);
    EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(tool), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory, tool), DDS_RETCODE_OK);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc > 1 && std::strcmp(argv[1], "--peer") == 0) {
        setenv("ZEL_WIRE", "cyclone", 1);
        g_testDomain = argc > 2 ? std::atoi(argv[2]) : 0;
        return runPeer(argc - 2, argv + 2);
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
