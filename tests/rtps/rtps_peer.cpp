// The peers of the RTPS process tests and the program's entry: a copy of
// the program started with "--peer" plays a peer's role instead of running
// tests.
#include "rtps_peer.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

#include "vurncore/dds_string.h"
#include "zel_dds_monitoring.h"

extern char **environ;

namespace rtpstest {

using namespace std::chrono_literals;

namespace {
int32_t g_testDomain = 10 + static_cast<int32_t>(getpid() % 100);
}  // namespace

int32_t testDomain() { return g_testDomain; }
int32_t monitoringDomain() { return g_testDomain + 100; }

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

Application::Application(int32_t domain, const std::vector<std::pair<std::string, std::string>> &properties) {
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

Application::~Application() {
    if (participant != nullptr) {
        DDS_DomainParticipant_delete_contained_entities(participant);
        DDS_DomainParticipantFactory_delete_participant(DDS_DomainParticipantFactory_get_instance(), participant);
    }
}

DDS_Duration_t durationOf(int milliseconds) {
    return DDS_Duration_t{milliseconds / 1000, static_cast<DDS_UnsignedLong>(milliseconds % 1000) * 1000000u};
}

dp_ShapeDataWriter *Application::createWriter(const std::function<void(DDS_DataWriterQos &)> &adjust) {
    DDS_DataWriterQos qos = DDS_DataWriterQos_INITIALIZER;
    DDS_Publisher_get_default_datawriter_qos(publisher, &qos);
    qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
    qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    qos.history.kind = DDS_KEEP_LAST_HISTORY_QOS;
    qos.history.depth = 1;
    if (adjust) {
        adjust(qos);
    }
    DDS_DataWriter *writer = DDS_Publisher_create_datawriter(publisher, topic, &qos, nullptr, 0);
    DDS_DataWriterQos_finalize(&qos);
    return dp_ShapeDataWriter_narrow(writer);
}

dp_ShapeDataReader *Application::createReader(const std::function<void(DDS_DataReaderQos &)> &adjust) {
    DDS_DataReaderQos qos = DDS_DataReaderQos_INITIALIZER;
    DDS_Subscriber_get_default_datareader_qos(subscriber, &qos);
    qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
    qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    qos.history.kind = DDS_KEEP_LAST_HISTORY_QOS;
    qos.history.depth = 10;
    if (adjust) {
        adjust(qos);
    }
    DDS_DataReader *reader =
            DDS_Subscriber_create_datareader(subscriber, DDS_Topic_as_topicdescription(topic), &qos, nullptr, 0);
    DDS_DataReaderQos_finalize(&qos);
    return dp_ShapeDataReader_narrow(reader);
}

// This program's path: a launcher runs it by name, where /proc/self/exe
// would name the launcher.
static std::string selfPath() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path) - 1);
    return std::string(path, length > 0 ? static_cast<size_t>(length) : 0);
}

Peer::Peer(std::vector<std::string> args, std::vector<std::string> launcher) {
    args.insert(args.begin(), {selfPath(), "--peer", std::to_string(testDomain())});
    args.insert(args.begin(), launcher.begin(), launcher.end());
    std::vector<char *> argv;
    for (std::string &arg : args) {
        argv.push_back(arg.data());
    }
    argv.push_back(nullptr);
    if (posix_spawnp(&pid_, argv[0], nullptr, nullptr, argv.data(), environ) != 0) {
        pid_ = -1;
    }
}

Peer::~Peer() {
    if (pid_ > 0) {
        kill9();
    }
}

void Peer::kill9() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

int Peer::wait(std::chrono::milliseconds limit) {
    int status = 0;
    if (!waitFor([&] { return waitpid(pid_, &status, WNOHANG) != 0; }, limit)) {
        kill9();
        return -1;
    }
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

namespace {

// Takes each sample `reader` holds, one at a time, and hands the valid ones
// to `visit`.
template <typename Reader, typename Sample, typename Visit>
void takeEach(Reader *reader, DDS_ReturnCode_t (*takeNext)(Reader *, Sample *, DDS_SampleInfo *),
              DDS_Boolean (*initialize)(Sample *), void (*finalize)(Sample *), Visit visit) {
    Sample sample;
    initialize(&sample);
    DDS_SampleInfo info{};
    while (takeNext(reader, &sample, &info) == DDS_RETCODE_OK) {
        if (info.valid_data) {
            visit(sample);
        }
    }
    finalize(&sample);
}

DDS_InstanceHandle_t handleOfKey(const DDSMonitoring_BuiltinTopicKey_t &key) {
    DDS_InstanceHandle_t handle{};
    for (int word = 0; word < 4; ++word) {
        for (int octet = 0; octet < 4; ++octet) {
            handle.value[word * 4 + octet] =
                    static_cast<DDS_Octet>(static_cast<uint32_t>(key.value[word]) >> (24 - 8 * octet));
        }
    }
    handle.length = 16;
    handle.isValid = DDS_BOOLEAN_TRUE;
    return handle;
}

bool sameHandle(const DDS_Octet (&a)[16], const DDS_Octet (&b)[16]) { return std::memcmp(a, b, 16) == 0; }

// A reader of monitoring topic `name`, whose type `typeName` is registered
// by `registerType`, matching the monitoring writers: reliable and
// transient-local for descriptions, written once, best-effort and volatile
// for statistics, written every period.
DDS_DataReader *monitoringReader(DDS_DomainParticipant *tool, DDS_Subscriber *subscriber, const char *name,
                                 const char *typeName,
                                 DDS_ReturnCode_t (*registerType)(DDS_DomainParticipant *, const char *),
                                 bool description) {
    if (registerType(tool, typeName) != DDS_RETCODE_OK) {
        return nullptr;
    }
    DDS_Topic *topic = DDS_DomainParticipant_create_topic(tool, name, typeName, &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
    DDS_DataReaderQos qos = DDS_DataReaderQos_INITIALIZER;
    DDS_Subscriber_get_default_datareader_qos(subscriber, &qos);
    qos.reliability.kind = description ? DDS_RELIABLE_RELIABILITY_QOS : DDS_BEST_EFFORT_RELIABILITY_QOS;
    qos.durability.kind = description ? DDS_TRANSIENT_LOCAL_DURABILITY_QOS : DDS_VOLATILE_DURABILITY_QOS;
    qos.history.depth = 16;
    DDS_DataReader *reader = topic != nullptr
                                     ? DDS_Subscriber_create_datareader(
                                               subscriber, DDS_Topic_as_topicdescription(topic), &qos, nullptr, 0)
                                     : nullptr;
    DDS_DataReaderQos_finalize(&qos);
    return reader;
}

// The tool's checks, with the application's shapes reader and the tool's
// participant made.
std::string checkMonitoringData(dp_ShapeDataReader *shapes, DDS_DomainParticipant *tool, pid_t applicationPid) {
    DDS_Subscriber *subscriber = DDS_DomainParticipant_create_subscriber(tool, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
    auto *descriptions = zel_dds_monitoring_DataWriterDescriptionDataReader_narrow(
            monitoringReader(tool, subscriber, "zel/dds/monitoring/dataWriterDescription",
                             zel_dds_monitoring_DataWriterDescriptionTypeSupport_get_type_name(),
                             zel_dds_monitoring_DataWriterDescriptionTypeSupport_register_type, true));
    auto *matches = zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatisticsDataReader_narrow(monitoringReader(
            tool, subscriber, "zel/dds/monitoring/dataWriterEntityMatchedSubscriptionStatistics",
            zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatisticsTypeSupport_get_type_name(),
            zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatisticsTypeSupport_register_type, false));
    if (shapes == nullptr || descriptions == nullptr || matches == nullptr) {
        return "the tool's readers could not be made";
    }

    std::vector<std::string> topics;
    DDS_InstanceHandle_t writerKey{};
    pid_t processId = 0;
    if (!waitFor(
                [&] {
                    takeEach(descriptions, zel_dds_monitoring_DataWriterDescriptionDataReader_take_next_sample,
                             zel_dds_monitoring_DataWriterDescription_initialize,
                             zel_dds_monitoring_DataWriterDescription_finalize,
                             [&](const zel_dds_monitoring_DataWriterDescription &description) {
                                 topics.emplace_back(description.topic_name);
                                 processId = static_cast<pid_t>(description.process_id);
                                 writerKey = handleOfKey(description.entity_key);
                             });
                    return !topics.empty();
                },
                20s)) {
        return "no writer description arrived";
    }
    std::ostringstream failure;
    if (topics != std::vector<std::string>{"Squares"} || processId != applicationPid) {
        failure << "described " << topics.size() << " writers, the first of topic " << topics[0] << " in process "
                << processId << "; expected one of Squares in process " << applicationPid << ". ";
    }

    // The shapes reader sees the described writer under the described key,
    // and the writer's statistics name this reader by its own key.
    DDS_InstanceHandleSeq matched = ZEL_SEQUENCE_INITIALIZER;
    DDS_DataReader *reader = dp_ShapeDataReader_as_datareader(shapes);
    if (!waitFor(
                [&] {
                    DDS_DataReader_get_matched_publications(reader, &matched);
                    return DDS_InstanceHandleSeq_get_length(&matched) == 1;
                },
                10s)) {
        failure << "the shapes reader matched " << DDS_InstanceHandleSeq_get_length(&matched) << " writers. ";
    } else if (!sameHandle(DDS_InstanceHandleSeq_get_reference(&matched, 0)->value, writerKey.value)) {
        failure << "the shapes reader's matched writer is not the described one. ";
    }
    DDS_InstanceHandleSeq_finalize(&matched);
    const DDS_InstanceHandle_t readerKey = DDS_Entity_get_instance_handle(DDS_DataReader_as_entity(reader));
    bool joined = false;
    if (!waitFor(
                [&] {
                    takeEach(
                            matches,
                            zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatisticsDataReader_take_next_sample,
                            zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatistics_initialize,
                            zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatistics_finalize,
                            [&](const zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatistics &statistics) {
                                joined = joined ||
                                         (sameHandle(handleOfKey(statistics.datawriter_key).value, writerKey.value) &&
                                          sameHandle(statistics.subscription_handle.value, readerKey.value));
                            });
                    return joined;
                },
                20s)) {
        failure << "no statistics of the described writer's match with the shapes reader arrived. ";
    }
    return failure.str();
}

// The peer: writes red 1, blue 4 and red 7 once a reader matched, disposes
// blue, then stays for `linger` milliseconds. With a monitoring domain,
// monitoring is on in a domain of its own, published every second.
int runShapesPeer(int linger, const char *monitoring) {
    std::vector<std::pair<std::string, std::string>> properties;
    if (monitoring != nullptr) {
        properties = {{"zel.monitor.library", ZELTEST_MONITOR_LIBRARY},
                      {"zel.monitor.create_function", "ZELDefaultMonitor_create"},
                      {"zel.monitor.config.new_participant_domain_id", monitoring},
                      {"zel.monitor.config.publish_period", "1"}};
    }
    Application app(testDomain(), properties);
    dp_ShapeDataWriter *writer = app.ready() ? app.createWriter() : nullptr;
    if (writer == nullptr) {
        return 2;
    }
    if (!waitFor(
                [&] {
                    DDS_PublicationMatchedStatus status{};
                    DDS_DataWriter_get_publication_matched_status(dp_ShapeDataWriter_as_datawriter(writer), &status);
                    return status.current_count > 0;
                },
                20s)) {
        return 3;
    }
    for (const auto &[color, x] : {std::pair{"RED", 1}, {"BLUE", 4}, {"RED", 7}, {"BLUE", -1}}) {
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
        std::this_thread::sleep_for(50ms);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(linger));
    return 0;
}

// The peer: a writer of manual-by-topic liveliness with a lease of `lease`
// milliseconds and a deadline of a third of it (volatile, so that a new
// reader is sent nothing that asserts it) writes once a reader matched and
// asserts its liveliness (and its participant's) every quarter lease until
// a second reader matches. Then it falls silent until it has lost its
// liveliness and missed a deadline, and writes again once a third reader
// matched. Exits with 3 when a step before the silence failed, 6 after.
int runSilentWriterPeer(int lease) {
    Application app(testDomain());
    dp_ShapeDataWriter *shapes = app.ready() ? app.createWriter([&](DDS_DataWriterQos &qos) {
        qos.liveliness.kind = DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS;
        qos.liveliness.lease_duration = durationOf(lease);
        qos.deadline.period = durationOf(lease / 3);
        qos.durability.kind = DDS_VOLATILE_DURABILITY_QOS;
    })
                                             : nullptr;
    DDS_DataWriter *writer = dp_ShapeDataWriter_as_datawriter(shapes);
    const auto matched = [&] {
        DDS_PublicationMatchedStatus status{};
        DDS_DataWriter_get_publication_matched_status(writer, &status);
        return status.current_count;
    };
    dp_Shape shape;
    dp_Shape_initialize(&shape);
    const auto write = [&] { return dp_ShapeDataWriter_write(shapes, &shape, &DDS_HANDLE_NIL) == DDS_RETCODE_OK; };
    const bool asserted =
            shapes != nullptr && waitFor([&] { return matched() == 1; }, 20s) && write() &&
            waitFor(
                    [&] {
                        std::this_thread::sleep_for(std::chrono::milliseconds(lease / 4));
                        return DDS_DataWriter_assert_liveliness(writer) != DDS_RETCODE_OK ||
                               DDS_DomainParticipant_assert_liveliness(app.participant) != DDS_RETCODE_OK ||
                               matched() == 2;
                    },
                    60s) &&
            matched() == 2;
    const auto lostAndMissed = [&] {
        DDS_LivelinessLostStatus lost{};
        DDS_OfferedDeadlineMissedStatus missed{};
        DDS_DataWriter_get_liveliness_lost_status(writer, &lost);
        DDS_DataWriter_get_offered_deadline_missed_status(writer, &missed);
        return lost.total_count > 0 && missed.total_count > 0;
    };
    const bool silent = asserted && waitFor(lostAndMissed, 10s);
    const bool wroteAgain = silent && waitFor([&] { return matched() == 3; }, 20s) && write();
    dp_Shape_finalize(&shape);
    waitFor([&] { return matched() == 0; }, 60s);
    return !silent ? 3 : wroteAgain ? 0 : 6;
}

// The peer: a reader of shapes that stays for `linger` milliseconds.
int runReaderPeer(int linger) {
    Application app(testDomain());
    if (!app.ready() || app.createReader() == nullptr) {
        return 2;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(linger));
    return 0;
}

// A peer's role: "shapes <linger> [<monitoring domain>]", "silent <lease>",
// "reader <linger>" or "tool <application pid>", which prints what failed.
int runPeer(int argc, char **argv) {
    int result = 1;
    if (argc > 1 && std::strcmp(argv[0], "shapes") == 0) {
        result = runShapesPeer(std::atoi(argv[1]), argc > 2 ? argv[2] : nullptr);
    } else if (argc > 1 && std::strcmp(argv[0], "silent") == 0) {
        result = runSilentWriterPeer(std::atoi(argv[1]));
    } else if (argc > 1 && std::strcmp(argv[0], "reader") == 0) {
        result = runReaderPeer(std::atoi(argv[1]));
    } else if (argc > 1 && std::strcmp(argv[0], "tool") == 0) {
        const std::string failure = monitoringToolFailure(static_cast<pid_t>(std::atol(argv[1])));
        std::cerr << failure << "\n";
        result = failure.empty() ? 0 : 5;
    }
    return DDS_DomainParticipantFactory_finalize_instance() == DDS_RETCODE_OK ? result : 4;
}

}  // namespace

std::string monitoringToolFailure(pid_t applicationPid) {
    Application app(testDomain());
    if (!app.ready()) {
        return "the shapes application could not be made";
    }
    dp_ShapeDataReader *shapes = app.createReader();
    DDS_DomainParticipantFactory *factory = DDS_DomainParticipantFactory_get_instance();
    DDS_DomainParticipant *tool = DDS_DomainParticipantFactory_create_participant(
            factory, monitoringDomain(), &DDS_PARTICIPANT_QOS_DEFAULT, nullptr, 0);
    if (tool == nullptr) {
        return "the tool's participant could not be made";
    }
    std::string failure = checkMonitoringData(shapes, tool, applicationPid);
    if (DDS_DomainParticipant_delete_contained_entities(tool) != DDS_RETCODE_OK ||
        DDS_DomainParticipantFactory_delete_participant(factory, tool) != DDS_RETCODE_OK) {
        failure += "the tool's participant could not be deleted";
    }
    return failure;
}

}  // namespace rtpstest

int main(int argc, char **argv) {
    if (argc > 2 && std::strcmp(argv[1], "--peer") == 0) {
        setenv("ZEL_WIRE", "cyclone", 1);
        rtpstest::g_testDomain = std::atoi(argv[2]);
        return rtpstest::runPeer(argc - 3, argv + 3);
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
