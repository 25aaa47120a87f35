// The console and the demo in processes of their own over the RTPS wire:
// what ls, top, echo and check print about a running demo, a demo process
// that is killed, a real terminal, and corrupt samples on a monitoring topic.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "catalogue.h"
#include "datapath_types.h"
#include "sample_json.h"
#include "vurnc/dds_c.h"

extern char **environ;

namespace {

using namespace std::chrono_literals;
using nlohmann::json;

// Domains of this test process only, apart from the other RTPS tests'.
const int kShapesDomain = 210 + static_cast<int>(getpid() % 11);
const int kMonitoringDomain = 221 + static_cast<int>(getpid() % 11);

// A program with its standard output read line by line; killed when it
// goes out of scope.
class Program {
public:
    explicit Program(std::vector<std::string> args) {
        int pipeFds[2];
        if (pipe(pipeFds) != 0) {
            return;
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
        posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
        std::vector<char *> argv;
        for (std::string &arg : args) {
            argv.push_back(arg.data());
        }
        argv.push_back(nullptr);
        if (posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ) != 0) {
            pid_ = -1;
        }
        posix_spawn_file_actions_destroy(&actions);
        close(pipeFds[1]);
        out_ = pipeFds[0];
    }
    ~Program() {
        signal(SIGKILL);
        wait();
        close(out_);
    }
    pid_t pid() const { return pid_; }
    void signal(int number) {
        if (pid_ > 0) {
            kill(pid_, number);
        }
    }
    // The exit status, or -1 when killed by a signal.
    int wait() {
        int status = 0;
        if (pid_ > 0) {
            waitpid(pid_, &status, 0);
            pid_ = -1;
            status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        }
        return status_;
    }
    // The next line, or nothing when none comes within `limit`.
    std::optional<std::string> readLine(std::chrono::milliseconds limit) {
        const auto end = std::chrono::steady_clock::now() + limit;
        for (;;) {
            if (const size_t newline = buffer_.find('\n'); newline != std::string::npos) {
                std::string line = buffer_.substr(0, newline);
                buffer_.erase(0, newline + 1);
                return line;
            }
            const auto left =
                    std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
            pollfd fd{out_, POLLIN, 0};
            if (left.count() <= 0 || poll(&fd, 1, static_cast<int>(left.count())) <= 0) {
                return std::nullopt;
            }
            char chunk[65536];
            const ssize_t got = read(out_, chunk, sizeof(chunk));
            if (got <= 0) {
                return std::nullopt;
            }
            buffer_.append(chunk, static_cast<size_t>(got));
        }
    }
    // Everything until the program exits.
    std::string readAll() {
        std::string all;
        while (std::optional<std::string> line = readLine(60s)) {
            all += *line + "\n";
        }
        return all;
    }

private:
    pid_t pid_ = -1;
    int out_ = -1;
    int status_ = -1;
    std::string buffer_;
};

std::vector<std::string> zelmon(std::initializer_list<std::string> args) {
    std::vector<std::string> all = {ZELTEST_ZELMON};
    all.insert(all.end(), args);
    all.insert(all.end(), {"-d", std::to_string(kMonitoringDomain), "--timeout", "20"});
    return all;
}

std::unique_ptr<Program> startDemo(const char *role, bool clean = false) {
    // Ends by itself too, should this test die before it stops the demo.
    std::vector<std::string> args = {ZELTEST_ZELDEMO,
                                     role,
                                     "-d",
                                     std::to_string(kShapesDomain),
                                     "-m",
                                     std::to_string(kMonitoringDomain),
                                     "-p",
                                     "1",
                                     "-t",
                                     "120"};
    if (clean) {
        args.emplace_back("--clean");
    }
    return std::make_unique<Program>(args);
}

class ZelmonTest : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("ZEL_WIRE", "cyclone", 1);
        // The default configuration with a domain tag of this test's own:
        // what other tests' demos leave behind (a killed one lives on until
        // its lease ends) stays out of sight. Console and demos inherit it.
        const std::string config =
                "<CycloneDDS><Domain Id=\"any\"><General><Interfaces><NetworkInterface address=\"127.0.0.1\"/>"
                "</Interfaces><AllowMulticast>false</AllowMulticast></General><Discovery><Tag>zelmon-test-" +
                std::to_string(getpid()) +
                "</Tag><ParticipantIndex>auto</ParticipantIndex><MaxAutoParticipantIndex>60</MaxAutoParticipantIndex>"
                "<Peers><Peer address=\"127.0.0.1\"/></Peers></Discovery><Internal><GenerateKeyhash>true"
                "</GenerateKeyhash></Internal></Domain></CycloneDDS>";
        setenv("CYCLONEDDS_URI", config.c_str(), 1);
    }
    void startDemos(bool clean = false) {
        publisher_ = startDemo("publisher", clean);
        subscriber_ = startDemo("subscriber", clean);
        ASSERT_GT(publisher_->pid(), 0);
        ASSERT_GT(subscriber_->pid(), 0);
    }
    // Stopped as a user would: their entities are disposed on the way out.
    void stopDemos() {
        for (Program *demo : {publisher_.get(), subscriber_.get()}) {
            demo->signal(SIGTERM);
            EXPECT_EQ(demo->wait(), 0);
        }
    }
    std::unique_ptr<Program> publisher_, subscriber_;
};

const json *findEntity(const json &entities, const std::string &kind, const std::string &participant,
                       const std::string &topic, const std::string &reliability = "") {
    for (const json &entity : entities) {
        if (entity["kind"] == kind && entity.value("participant_name", "") == participant &&
            entity.value("topic_name", "") == topic &&
            (reliability.empty() || entity["qos"]["reliability"]["kind"].get<std::string>().starts_with(reliability))) {
            return &entity;
        }
    }
    return nullptr;
}

// One console process watching all along: rates follow what the demo
// writes, the Triangle writer that comes and goes disappears when deleted,
// corrupt samples are counted, and a killed process is marked stale rather
// than shown alive.
TEST_F(ZelmonTest, TopFollowsRatesDeletionsCorruptSamplesAndAKilledProcess) {
    startDemos();
    Program top(zelmon({"top", "--json", "-t", "60"}));
    json frame;
    auto writer = [&](const std::string &topic) -> const json * {
        for (const json &row : frame["writers"]) {
            if (row["topic_name"] == topic) {
                return &row;
            }
        }
        return nullptr;
    };
    auto countWriters = [&](const std::string &topic) {
        return std::count_if(frame["writers"].begin(), frame["writers"].end(),
                             [&](const json &row) { return row["topic_name"] == topic; });
    };
    // Rates over the 5 s window once it is full.
    const auto start = std::chrono::steady_clock::now();
    std::vector<long> triangleWriters;
    while (std::chrono::steady_clock::now() - start < 9s) {
        std::optional<std::string> line = top.readLine(10s);
        ASSERT_TRUE(line.has_value());
        frame = json::parse(*line);
        triangleWriters.push_back(countWriters("Triangle"));
    }
    for (const auto &[topic, rate] : {std::pair{"Square", 10.0}, {"Circle", 20.0}}) {
        const json *row = writer(topic);
        ASSERT_NE(row, nullptr) << topic;
        EXPECT_NEAR((*row)["samples_per_s_5s"].get<double>(), rate, rate * 0.1) << topic;
        EXPECT_GT((*row)["bytes_per_s"].get<double>(), 0) << topic;
    }
    ASSERT_EQ(frame["processes"].size(), 2u);
    for (const json &process : frame["processes"]) {
        EXPECT_GT(process["cpu_percent"].get<double>(), 0);
        EXPECT_GT(process["memory_bytes"].get<int64_t>(), 0);
        EXPECT_FALSE(process["stale"].get<bool>());
    }
    // The second Triangle writer lives for 10 s from the start, then is
    // deleted.
    while (std::chrono::steady_clock::now() - start < 20s && triangleWriters.back() == 2) {
        std::optional<std::string> line = top.readLine(10s);
        ASSERT_TRUE(line.has_value());
        frame = json::parse(*line);
        triangleWriters.push_back(countWriters("Triangle"));
    }
    EXPECT_EQ(std::count(triangleWriters.begin(), triangleWriters.end(), 2), triangleWriters.size() - 1)
            << "the writer was there before it left";
    EXPECT_EQ(triangleWriters.back(), 1);

    // Samples of another type sent under a monitoring topic's type name
    // arrive as octets that do not parse: the console counts them and goes on.
    DDS_DomainParticipantFactory *factory = DDS_DomainParticipantFactory_get_instance();
    DDS_DomainParticipant *hostile = DDS_DomainParticipantFactory_create_participant(
            factory, kMonitoringDomain, &DDS_PARTICIPANT_QOS_DEFAULT, nullptr, 0);
    ASSERT_NE(hostile, nullptr);
    const ZELDefaultMonitorCatalogueEntry &entry =
            ZELDefaultMonitorCatalogue_g_entries[ZEL_MONITOR_TOPIC_DATAWRITER_STATISTICS];
    ASSERT_EQ(dp_ShapeTypeSupport_register_type(hostile, entry.typeName), DDS_RETCODE_OK);
    DDS_Topic *topic = DDS_DomainParticipant_create_topic(hostile, entry.topicName, entry.typeName,
                                                          &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
    DDS_Publisher *publisher = DDS_DomainParticipant_create_publisher(hostile, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
    auto *corrupt = dp_ShapeDataWriter_narrow(
            DDS_Publisher_create_datawriter(publisher, topic, &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0));
    ASSERT_NE(corrupt, nullptr);
    DDS_PublicationMatchedStatus matched{};
    for (int attempt = 0; attempt < 200 && matched.current_count == 0; ++attempt) {
        std::this_thread::sleep_for(50ms);
        DDS_DataWriter_get_publication_matched_status(dp_ShapeDataWriter_as_datawriter(corrupt), &matched);
    }
    ASSERT_EQ(matched.current_count, 1);
    // The shape's color arrives where the statistics' key is expected: a
    // parameter far too short for it.
    dp_Shape shape;
    dp_Shape_initialize(&shape);
    shape.color[0] = 'X';
    shape.color[1] = '\0';
    int64_t malformed = 0;
    for (int frames = 0; frames < 20 && malformed == 0; ++frames) {
        dp_ShapeDataWriter_write(corrupt, &shape, &DDS_HANDLE_NIL);
        std::optional<std::string> line = top.readLine(25s);
        ASSERT_TRUE(line.has_value());
        malformed = json::parse(*line)["malformed_samples"];
    }
    dp_Shape_finalize(&shape);
    EXPECT_GT(malformed, 0);

    const pid_t killed = publisher_->pid();
    publisher_->signal(SIGKILL);
    bool stale = false;
    while (!stale) {
        std::optional<std::string> line = top.readLine(10s);
        ASSERT_TRUE(line.has_value()) << "the killed process is never marked stale";
        frame = json::parse(*line);
        for (const json &process : frame["processes"]) {
            stale = stale || (process["process_id"] == killed && process["stale"] == true);
        }
    }
    top.signal(SIGTERM);
    EXPECT_EQ(top.wait(), 0);
    EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(hostile), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory, hostile), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
}

// One pair of demos seen by ls (every entity under its parents with topic,
// type and QoS), echo (every member of every sample type), top in a real
// terminal, and check.
TEST_F(ZelmonTest, LsEchoTopInATerminalAndCheckDescribeTheRunningDemo) {
    startDemos();
    Program ls(zelmon({"ls", "--json", "-t", "4"}));
    const json entities = json::parse(ls.readAll())["entities"];
    ASSERT_EQ(ls.wait(), 0);

    struct Expected {
        const char *kind, *participant, *topic, *reliability, *durability;
        int matched;
    };
    const Expected expected[] = {
            {"writer", "shapes-publisher", "Square", "RELIABLE", "TRANSIENT_LOCAL", 2},
            {"writer", "shapes-publisher", "Circle", "BEST_EFFORT", "VOLATILE", 1},
            {"reader", "shapes-subscriber", "Square", "RELIABLE", "TRANSIENT_LOCAL", 1},
            {"reader", "shapes-subscriber", "Circle", "BEST_EFFORT", "VOLATILE", 1},
            {"reader", "shapes-subscriber", "Circle", "RELIABLE", "VOLATILE", 0},
    };
    for (const Expected &e : expected) {
        SCOPED_TRACE(std::string(e.kind) + " " + e.topic + " " + e.reliability);
        const json *endpoint = findEntity(entities, e.kind, e.participant, e.topic, e.reliability);
        ASSERT_NE(endpoint, nullptr);
        EXPECT_EQ((*endpoint)["type_name"], "demo::Shape");
        EXPECT_TRUE((*endpoint)["qos"]["durability"]["kind"].get<std::string>().starts_with(e.durability));
        EXPECT_EQ((*endpoint)["matched"], e.matched);
        // writer -> publisher -> participant; the topic is the participant's.
        const auto group = std::find_if(entities.begin(), entities.end(),
                                        [&](const json &entity) { return entity["key"] == (*endpoint)["parent"]; });
        ASSERT_NE(group, entities.end());
        EXPECT_EQ((*group)["kind"], e.kind == std::string("writer") ? "publisher" : "subscriber");
        EXPECT_EQ((*group)["parent"], (*endpoint)["participant"]);
        const json *topic = findEntity(entities, "topic", e.participant, e.topic);
        ASSERT_NE(topic, nullptr);
        EXPECT_EQ((*topic)["key"], (*endpoint)["topic"]);
    }
    const auto filtered = std::find_if(entities.begin(), entities.end(), [](const json &entity) {
        return entity["kind"] == "reader" && entity["content_filtered"] == true;
    });
    ASSERT_NE(filtered, entities.end());
    EXPECT_EQ((*filtered)["topic_name"], "Square");

    Program echo(zelmon({"echo", "-t", "4"}));
    std::map<std::string, json> firstOf;
    for (std::optional<std::string> line; (line = echo.readLine(20s));) {
        const json sample = json::parse(*line);
        if (sample["valid_data"] == true) {
            firstOf.try_emplace(sample["topic"], sample["data"]);
        }
    }
    EXPECT_EQ(echo.wait(), 0);
    // The RTPS wire tells no locators of matched readers, so there is no
    // per-locator statistics sample.
    EXPECT_EQ(firstOf.size(), ZEL_MONITOR_TOPIC_COUNT - 1u);
    for (const ZELDefaultMonitorCatalogueEntry &entry : ZELDefaultMonitorCatalogue_g_entries) {
        auto at = firstOf.find(entry.topicName);
        if (at == firstOf.end()) {
            continue;
        }
        std::vector<std::string> paths;
        zelmon::typeLeafPaths(entry.type, "", &paths);
        for (const std::string &path : paths) {
            EXPECT_TRUE(at->second.contains(json::json_pointer(path))) << entry.topicName << path;
        }
    }

    const std::string socket = "zelmon-test-" + std::to_string(getpid());
    std::string command;
    for (const std::string &arg : zelmon({"top"})) {
        command += arg + " ";
    }
    ASSERT_EQ(std::system(("tmux -L " + socket + " new-session -d -x 150 -y 40 '" + command + "'").c_str()), 0);
    std::string screen;
    // Entities show up as their descriptions arrive: wait for the last one looked for.
    const auto shown = [&screen] {
        return screen.find("shapes-publisher") != std::string::npos && screen.find("Square") != std::string::npos;
    };
    for (int attempt = 0; attempt < 40 && !shown(); ++attempt) {
        std::this_thread::sleep_for(500ms);
        Program capture({"/usr/bin/tmux", "-L", socket, "capture-pane", "-p"});
        screen = capture.readAll();
    }
    std::system(("tmux -L " + socket + " kill-server").c_str());
    EXPECT_NE(screen.find("WRITER TOPIC"), std::string::npos) << screen;
    EXPECT_NE(screen.find("Square"), std::string::npos) << screen;
    EXPECT_NE(screen.find("shapes-publisher"), std::string::npos) << screen;
    // check names the incompatible reader; against demos without it, it passes.
    for (const bool clean : {false, true}) {
        SCOPED_TRACE(clean ? "clean" : "incompatible reader");
        if (clean) {
            stopDemos();
            startDemos(true);
        }
        Program check(zelmon({"check", "--json", "-t", "4"}));
        const json problems = json::parse(check.readAll())["problems"];
        EXPECT_EQ(check.wait(), clean ? 0 : 1) << problems.dump(2);
        const bool named = std::any_of(problems.begin(), problems.end(), [](const json &problem) {
            const std::string message = problem["message"];
            return problem["kind"] == "incompatible-qos" && message.find("reader") == 0 &&
                   message.find("RELIABILITY (policy id 11)") != std::string::npos;
        });
        EXPECT_EQ(named, !clean) << problems.dump(2);
    }
    stopDemos();
}

}  // namespace
