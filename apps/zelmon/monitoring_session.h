// The console's window on a monitoring domain: one participant with a reader
// of each of the thirteen monitoring topics, and every sample taken from
// them as JSON.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "catalogue.h"
#include "vurnc/dds_c.h"

namespace zelmon {

struct MonitoringSample {
    int topic;               // index into ZELDefaultMonitorCatalogue_g_entries
    bool valid;              // false: an end-of-instance notice, only the key members are set
    uint32_t instanceState;  // DDS_*_INSTANCE_STATE
    int64_t sourceTimeNs;    // when the monitored application published it
    nlohmann::json data;
};

class MonitoringSession {
public:
    // A session on `domain`, or null with `error` saying why.
    static std::unique_ptr<MonitoringSession> open(int32_t domain, std::string *error);
    ~MonitoringSession();
    MonitoringSession(const MonitoringSession &) = delete;
    MonitoringSession &operator=(const MonitoringSession &) = delete;

    // Everything received since the last call, oldest first per topic.
    std::vector<MonitoringSample> poll();

    // Samples that arrived and could not be read (corrupt or hostile
    // octets), over all topics since the session opened.
    int64_t malformedSamples() const;

    static const char *topicName(int topic) { return ZELDefaultMonitorCatalogue_g_entries[topic].topicName; }

private:
    MonitoringSession() = default;
    void takeFrom(int topic, std::vector<MonitoringSample> *out);

    DDS_DomainParticipant *participant_ = nullptr;
    DDS_DataReader *readers_[ZEL_MONITOR_TOPIC_COUNT] = {};
};

}  // namespace zelmon
