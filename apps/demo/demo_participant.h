// A participant of the shapes demo: the three shape topics, one publisher
// and one subscriber, with monitoring switched on through its properties the
// way any application does it.
#pragma once

#include <string>

#include "shapes.h"
#include "vurnc/dds_c.h"

namespace zeldemo {

struct MonitoringSettings {
    int domain;  // where the monitoring data goes; < 0: monitoring off
    int periodSeconds;
};

class DemoParticipant {
public:
    DemoParticipant(int domain, const std::string &name, const MonitoringSettings &monitoring);
    ~DemoParticipant();
    DemoParticipant(const DemoParticipant &) = delete;
    DemoParticipant &operator=(const DemoParticipant &) = delete;

    bool ready() const { return topics_[2] != nullptr && publisher_ != nullptr && subscriber_ != nullptr; }
    DDS_Topic *topic(const std::string &name) const;

    demo_ShapeDataWriter *createWriter(const std::string &topic, DDS_ReliabilityQosPolicyKind reliability,
                                       DDS_DurabilityQosPolicyKind durability, DDS_Long depth);
    void deleteWriter(demo_ShapeDataWriter *writer);
    demo_ShapeDataReader *createReader(DDS_TopicDescription *topic, DDS_ReliabilityQosPolicyKind reliability,
                                       DDS_DurabilityQosPolicyKind durability, DDS_Long depth);
    // A reader of a content-filtered topic named `name` over `topic`.
    demo_ShapeDataReader *createFilteredReader(const std::string &name, const std::string &topic,
                                               const char *expression);

private:
    DDS_DomainParticipant *participant_ = nullptr;
    DDS_Topic *topics_[3] = {};
    DDS_Publisher *publisher_ = nullptr;
    DDS_Subscriber *subscriber_ = nullptr;
};

}  // namespace zeldemo
