// A participant with N topics, each with one data writer and one data
// reader, for the benchmarks of what monitoring costs. Monitored either by
// a monitor publisher the benchmark attaches itself (and whose periods it
// runs), or through the participant's properties (the plug-in's own thread
// then runs them), or not at all.
#pragma once

#include <time.h>

#include <string>
#include <vector>

#include "statistics_walk.h"
#include "vurnc/dds_c.h"
#include "vurnc/dds_monitor.h"
#include "zel_dds_monitoring.h"
#include "zelmonitoring/monitor.h"

namespace zelbench {

constexpr const char *kTypeName = "BenchReading";

struct MonitoredSystem {
    DDS_DomainParticipantFactory *factory = nullptr;
    DDS_DomainParticipant *participant = nullptr;
    DDS_Publisher *publisher = nullptr;
    DDS_Subscriber *subscriber = nullptr;
    std::vector<DDS_Topic *> topics;
    std::vector<DDS_DataWriter *> writers;
    ZELDefaultMonitorPublisher *monitor = nullptr;
    ZELDefaultMonitorParticipantObject *object = nullptr;  // attached and enabled
    bool ok = false;
};

// The participant in `domain` with its `properties`, then `count` topics,
// writers and readers. `ok` tells whether all of it could be made.
// The CPU time of the calling thread, in seconds: what the benchmarked work
// costs, whatever else the machine runs meanwhile.
inline double threadCpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

inline MonitoredSystem MonitoredSystem_create(int domain, long count,
                                              const std::vector<std::pair<std::string, std::string>> &properties) {
    MonitoredSystem system;
    system.factory = DDS_DomainParticipantFactory_get_instance();
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    DDS_DomainParticipantFactory_get_default_participant_qos(system.factory, &qos);
    for (const auto &[name, value] : properties) {
        DDS_PropertyQosPolicyHelper_add_property(&qos.property, name.c_str(), value.c_str(), DDS_BOOLEAN_FALSE);
    }
    system.participant = DDS_DomainParticipantFactory_create_participant(system.factory, domain, &qos, nullptr,
                                                                         DDS_STATUS_MASK_NONE);
    DDS_DomainParticipantQos_finalize(&qos);
    if (system.participant == nullptr || zel_dds_monitoring_TopicEntityStatisticsTypeSupport_register_type(
                                                 system.participant, kTypeName) != DDS_RETCODE_OK) {
        return system;
    }
    system.publisher =
            DDS_DomainParticipant_create_publisher(system.participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
    system.subscriber =
            DDS_DomainParticipant_create_subscriber(system.participant, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
    if (system.publisher == nullptr || system.subscriber == nullptr) {
        return system;
    }
    for (long i = 0; i < count; ++i) {
        const std::string name = "Reading" + std::to_string(i);
        DDS_Topic *topic = DDS_DomainParticipant_create_topic(system.participant, name.c_str(), kTypeName,
                                                              &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
        DDS_DataWriter *writer = topic == nullptr
                                         ? nullptr
                                         : DDS_Publisher_create_datawriter(system.publisher, topic,
                                                                           &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
        if (writer == nullptr ||
            DDS_Subscriber_create_datareader(system.subscriber, DDS_Topic_as_topicdescription(topic),
                                             &DDS_DATAREADER_QOS_DEFAULT, nullptr, 0) == nullptr) {
            return system;
        }
        system.topics.push_back(topic);
        system.writers.push_back(writer);
    }
    system.ok = true;
    return system;
}

// Attaches a monitor publisher of the benchmark's own to the participant and
// enables it, as the middleware would; false when that fails.
inline bool MonitoredSystem_attachMonitor(MonitoredSystem &system) {
    constexpr ZELDefaultMonitorVersion kVersion = {5, 1, 'c', 2};
    DDS_UnsignedLong result = 0;
    system.monitor = ZELDefaultMonitorPublisher_create(&result, system.factory, kVersion);
    if (system.monitor == nullptr || system.participant == nullptr) {
        return false;
    }
    system.object = ZELDefaultMonitorPublisher_onDomainParticipantAttach(&result, system.monitor, system.participant);
    return system.object != nullptr &&
           ZELDefaultMonitorPublisher_onEventNotify(system.object, DDS_MONITOR_EVENT_PARTICIPANT_ENABLE_AFTER,
                                                    DDS_DomainParticipant_as_entity(system.participant),
                                                    nullptr) == ZEL_MONITOR_RESULT_OK;
}

// Detaches the monitor, deletes every entity and the monitor publisher.
inline void MonitoredSystem_delete(MonitoredSystem &system) {
    if (system.object != nullptr) {
        ZELDefaultMonitorPublisher_onDomainParticipantDetach(system.object);
        system.object = nullptr;
    }
    if (system.participant != nullptr) {
        DDS_DomainParticipant_delete_contained_entities(system.participant);
        DDS_DomainParticipantFactory_delete_participant(system.factory, system.participant);
        system.participant = nullptr;
    }
    ZELDefaultMonitorPublisher_delete(system.monitor);
    system.monitor = nullptr;
}

}  // namespace zelbench
