// What the RTPS process tests share: domains of their own, an application
// with a topic of shapes, peers (copies of this program, started directly or
// through a launcher such as `ip netns exec`) and the monitoring tool that
// reads another process's monitoring data.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "datapath_types.h"
#include "vurnc/dds_c.h"

namespace rtpstest {

// Each test process uses domains of its own, so that tests run in parallel
// do not see each other; its peers are told the domain.
int32_t testDomain();
int32_t monitoringDomain();

bool waitFor(const std::function<bool()> &condition, std::chrono::milliseconds limit);
// A duration of `milliseconds`.
DDS_Duration_t durationOf(int milliseconds);

// A participant with one topic of shapes, a publisher and a subscriber.
struct Application {
    DDS_DomainParticipant *participant = nullptr;
    DDS_Topic *topic = nullptr;
    DDS_Publisher *publisher = nullptr;
    DDS_Subscriber *subscriber = nullptr;

    explicit Application(int32_t domain, const std::vector<std::pair<std::string, std::string>> &properties = {});
    ~Application();
    bool ready() const { return topic != nullptr && publisher != nullptr && subscriber != nullptr; }
    // Reliable, transient-local endpoints keeping the last sample (writer) or
    // ten (reader) per instance, with what `adjust` changes of that QoS.
    dp_ShapeDataWriter *createWriter(const std::function<void(DDS_DataWriterQos &)> &adjust = {});
    dp_ShapeDataReader *createReader(const std::function<void(DDS_DataReaderQos &)> &adjust = {});
};

// A copy of this program in the role `args` names (see runPeer), until it
// exits or is killed. A launcher runs it: its arguments come first.
class Peer {
public:
    explicit Peer(std::vector<std::string> args, std::vector<std::string> launcher = {});
    ~Peer();
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;
    pid_t pid() const { return pid_; }
    void kill9();
    // The exit status; -1 when killed, also by the end of `limit`.
    int wait(std::chrono::milliseconds limit = std::chrono::minutes(2));

private:
    pid_t pid_ = -1;
};

// Reads, as a monitoring tool in this process, the monitoring data that the
// application process `applicationPid` publishes for its shapes writer
// while a shapes reader of this process is matched with it: its writer
// description (and no other: monitoring entities are not described) and
// its statistics for that match. Empty when they arrive and their keys join
// with what this process sees, else what went wrong.
std::string monitoringToolFailure(pid_t applicationPid);

}  // namespace rtpstest
