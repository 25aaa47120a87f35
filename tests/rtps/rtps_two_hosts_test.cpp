// Monitoring across hosts: two network namespaces joined by a veth pair
// stand for two hosts. A monitored application runs in one, a monitoring
// tool in the other, each a copy of this program on the RTPS wire with a
// Cyclone configuration for its own interface and the other host as its
// only (unicast) peer.
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "rtps_peer.h"

extern char **environ;

namespace {

using namespace std::chrono_literals;

// Runs `ip` with `args`; its exit status, -1 when it cannot run.
int ip(std::vector<std::string> args) {
    args.insert(args.begin(), "ip");
    std::vector<char *> argv;
    for (std::string &arg : args) {
        argv.push_back(arg.data());
    }
    argv.push_back(nullptr);
    pid_t pid = -1;
    int status = 0;
    if (posix_spawnp(&pid, "ip", nullptr, nullptr, argv.data(), environ) != 0 || waitpid(pid, &status, 0) != pid) {
        return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// A host: a namespace, and the end of the veth pair in it, named after this
// process so that test processes running at the same time do not collide.
// The addresses are seen inside the two namespaces only.
struct Host {
    std::string name;
    std::string address;
    std::string peerAddress;

    std::string cycloneConfig() const {
        return "<CycloneDDS><Domain Id=\"any\"><General><Interfaces><NetworkInterface name=\"" + name +
               "\"/></Interfaces><AllowMulticast>false</AllowMulticast></General>"
               "<Discovery><ParticipantIndex>auto</ParticipantIndex><MaxAutoParticipantIndex>30"
               "</MaxAutoParticipantIndex><Peers><Peer address=\"" +
               peerAddress +
               "\"/></Peers></Discovery><Internal><GenerateKeyhash>true</GenerateKeyhash></Internal>"
               "</Domain></CycloneDDS>";
    }
    // Runs a peer in this host's namespace with its Cyclone configuration.
    std::vector<std::string> launcher() const {
        return {"ip", "netns", "exec", name, "env", "CYCLONEDDS_URI=" + cycloneConfig()};
    }
};

class TwoHostsTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (Host &host : hosts_) {
            if (ip({"netns", "add", host.name}) != 0) {
                GTEST_SKIP() << "network namespaces cannot be made here (needs `ip` and CAP_NET_ADMIN, e.g. root)";
            }
            made_.push_back(host.name);
        }
        if (ip({"netns", "exec", hosts_[0].name, "true"}) != 0) {
            GTEST_SKIP() << "programs cannot be run in a network namespace here (needs CAP_SYS_ADMIN)";
        }
        // Each end of the pair is made in its namespace, so no interface of
        // this host is touched.
        const Host &a = hosts_[0];
        const Host &b = hosts_[1];
        if (ip({"link", "add", a.name, "netns", a.name, "type", "veth", "peer", "name", b.name, "netns", b.name}) !=
            0) {
            GTEST_SKIP() << "a veth pair cannot be made here";
        }
        for (const Host &host : hosts_) {
            ASSERT_EQ(ip({"-n", host.name, "address", "add", host.address + "/24", "dev", host.name}), 0);
            ASSERT_EQ(ip({"-n", host.name, "link", "set", "lo", "up"}), 0);
            ASSERT_EQ(ip({"-n", host.name, "link", "set", host.name, "up"}), 0);
        }
    }
    // Deleting a namespace deletes its end of the pair, and the pair with it.
    void TearDown() override {
        for (const std::string &name : made_) {
            EXPECT_EQ(ip({"netns", "delete", name}), 0) << name;
        }
    }

    const std::string prefix_ = "zel" + std::to_string(getpid());
    Host hosts_[2] = {{prefix_ + "a", "10.213.0.1", "10.213.0.2"}, {prefix_ + "b", "10.213.0.2", "10.213.0.1"}};
    std::vector<std::string> made_;
};

TEST_F(TwoHostsTest, AToolOnAnotherHostReadsAndJoinsTheApplicationsMonitoringData) {
    rtpstest::Peer application({"shapes", "40000", std::to_string(rtpstest::monitoringDomain())}, hosts_[0].launcher());
    ASSERT_GT(application.pid(), 0);
    rtpstest::Peer tool({"tool", std::to_string(application.pid())}, hosts_[1].launcher());
    EXPECT_EQ(tool.wait(90s), 0) << "the tool printed what failed";
}

}  // namespace
