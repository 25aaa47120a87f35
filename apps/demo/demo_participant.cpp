#include "demo_participant.h"

#include <cstdio>

#include "vurncore/dds_string.h"

namespace zeldemo {
namespace {

const char *const kTopicNames[] = {"Square", "Circle", "Triangle"};

}  // namespace

DemoParticipant::DemoParticipant(int domain, const std::string &name, const MonitoringSettings &monitoring) {
    DDS_DomainParticipantFactory *factory = DDS_DomainParticipantFactory_get_instance();
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    DDS_DomainParticipantFactory_get_default_participant_qos(factory, &qos);
    std::snprintf(qos.participant_name.name, 256, "%s", name.c_str());
    if (monitoring.domain >= 0) {
        // Monitoring switched on as in any application: the library found
        // beside the program (or on the library path), its creation
        // function, and where and how often it publishes.
        const std::string domainText = std::to_string(monitoring.domain);
        const std::string periodText = std::to_string(monitoring.periodSeconds);
        const std::pair<const char *, const char *> properties[] = {
                {"zel.monitor.library", "zelmonitoring"},
                {"zel.monitor.create_function", "ZELDefaultMonitor_create"},
                {"zel.monitor.config.new_participant_domain_id", domainText.c_str()},
                {"zel.monitor.config.publish_period", periodText.c_str()}};
        for (const auto &[property, value] : properties) {
            DDS_PropertyQosPolicyHelper_add_property(&qos.property, property, value, DDS_BOOLEAN_FALSE);
        }
    }
    participant_ = DDS_DomainParticipantFactory_create_participant(factory, domain, &qos, nullptr, 0);
    DDS_DomainParticipantQos_finalize(&qos);
    if (participant_ == nullptr || demo_ShapeTypeSupport_register_type(participant_, nullptr) != DDS_RETCODE_OK) {
        return;
    }
    publisher_ = DDS_DomainParticipant_create_publisher(participant_, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
    subscriber_ = DDS_DomainParticipant_create_subscriber(participant_, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
    for (int i = 0; i < 3; ++i) {
        topics_[i] =
                DDS_DomainParticipant_create_topic(participant_, kTopicNames[i], demo_ShapeTypeSupport_get_type_name(),
                                                   &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
    }
}

DemoParticipant::~DemoParticipant() {
    if (participant_ != nullptr) {
        DDS_DomainParticipant_delete_contained_entities(participant_);
        DDS_DomainParticipantFactory_delete_participant(DDS_DomainParticipantFactory_get_instance(), participant_);
    }
}

DDS_Topic *DemoParticipant::topic(const std::string &name) const {
    for (int i = 0; i < 3; ++i) {
        if (name == kTopicNames[i]) {
            return topics_[i];
        }
    }
    return nullptr;
}

demo_ShapeDataWriter *DemoParticipant::createWriter(const std::string &topic, DDS_ReliabilityQosPolicyKind reliability,
                                                    DDS_DurabilityQosPolicyKind durability, DDS_Long depth) {
    DDS_DataWriterQos qos = DDS_DataWriterQos_INITIALIZER;
    DDS_Publisher_get_default_datawriter_qos(publisher_, &qos);
    qos.reliability.kind = reliability;
    qos.durability.kind = durability;
    qos.history.kind = DDS_KEEP_LAST_HISTORY_QOS;
    qos.history.depth = depth;
    DDS_DataWriter *writer = DDS_Publisher_create_datawriter(publisher_, this->topic(topic), &qos, nullptr, 0);
    DDS_DataWriterQos_finalize(&qos);
    return demo_ShapeDataWriter_narrow(writer);
}

void DemoParticipant::deleteWriter(demo_ShapeDataWriter *writer) {
    DDS_Publisher_delete_datawriter(publisher_, demo_ShapeDataWriter_as_datawriter(writer));
}

demo_ShapeDataReader *DemoParticipant::createReader(DDS_TopicDescription *topic,
                                                    DDS_ReliabilityQosPolicyKind reliability,
                                                    DDS_DurabilityQosPolicyKind durability, DDS_Long depth) {
    DDS_DataReaderQos qos = DDS_DataReaderQos_INITIALIZER;
    DDS_Subscriber_get_default_datareader_qos(subscriber_, &qos);
    qos.reliability.kind = reliability;
    qos.durability.kind = durability;
    qos.history.kind = DDS_KEEP_LAST_HISTORY_QOS;
    qos.history.depth = depth;
    DDS_DataReader *reader = DDS_Subscriber_create_datareader(subscriber_, topic, &qos, nullptr, 0);
    DDS_DataReaderQos_finalize(&qos);
    return demo_ShapeDataReader_narrow(reader);
}

demo_ShapeDataReader *DemoParticipant::createFilteredReader(const std::string &name, const std::string &topic,
                                                            const char *expression) {
    DDS_ContentFilteredTopic *filtered = DDS_DomainParticipant_create_contentfilteredtopic(
            participant_, name.c_str(), this->topic(topic), expression, nullptr);
    if (filtered == nullptr) {
        return nullptr;
    }
    return createReader(DDS_ContentFilteredTopic_as_topicdescription(filtered), DDS_RELIABLE_RELIABILITY_QOS,
                        DDS_VOLATILE_DURABILITY_QOS, 8);
}

}  // namespace zeldemo
