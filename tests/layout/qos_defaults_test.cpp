// The default entity QoS and the constants that designate no locator and no
// instance.
#include <cstring>

#include <gtest/gtest.h>

#include "heap_check.h"
#include "log_capture.h"
#include "vurnc/dds_qos_defaults.h"

namespace {

using QosDefaultsTest = zeltest::HeapCheckedTest;

bool isInfinite(const DDS_Duration_t &duration) {
    return duration.sec == DDS_DURATION_INFINITE_SEC && duration.nanosec == DDS_DURATION_INFINITE_NSEC;
}

// Initializes `qos`, then fills its defaults with every allocation failing:
// filling defaults must need no heap.
template <typename Qos>
void defaultsWithoutHeap(Qos *qos, DDS_Boolean (*initialize)(Qos *), DDS_ReturnCode_t (*setDefaults)(Qos *)) {
    ASSERT_TRUE(initialize(qos));
    ZELOsapiHeap_failAllocation(1, ZEL_TRUE);
    const DDS_ReturnCode_t result = setDefaults(qos);
    ZELOsapiHeap_failAllocation(0, ZEL_TRUE);
    ASSERT_EQ(result, DDS_RETCODE_OK);
}

TEST_F(QosDefaultsTest, WritersAreReliableAndReadersAndTopicsBestEffortOverTheSameSharedPolicies) {
    DDS_DataWriterQos writer;
    DDS_DataReaderQos reader;
    DDS_TopicQos topic;
    defaultsWithoutHeap(&writer, DDS_DataWriterQos_initialize, DDS_DataWriterQos_set_defaultsI);
    defaultsWithoutHeap(&reader, DDS_DataReaderQos_initialize, DDS_DataReaderQos_set_defaultsI);
    defaultsWithoutHeap(&topic, DDS_TopicQos_initialize, DDS_TopicQos_set_defaultsI);

    EXPECT_EQ(writer.reliability.kind, DDS_RELIABLE_RELIABILITY_QOS);
    EXPECT_EQ(writer.reliability.max_blocking_time.sec, 0);
    EXPECT_EQ(writer.reliability.max_blocking_time.nanosec, 100000000u);
    EXPECT_EQ(reader.reliability.kind, DDS_BEST_EFFORT_RELIABILITY_QOS);
    EXPECT_EQ(topic.reliability.kind, DDS_BEST_EFFORT_RELIABILITY_QOS);

    // What a topic shares with its endpoints is the same on all three.
    EXPECT_EQ(std::memcmp(&writer.durability, &topic.durability, sizeof topic.durability), 0);
    EXPECT_EQ(std::memcmp(&reader.history, &topic.history, sizeof topic.history), 0);
    EXPECT_EQ(std::memcmp(&writer.resource_limits, &reader.resource_limits, sizeof reader.resource_limits), 0);
    EXPECT_EQ(std::memcmp(&writer.liveliness, &reader.liveliness, sizeof reader.liveliness), 0);

    EXPECT_EQ(topic.durability.kind, DDS_VOLATILE_DURABILITY_QOS);
    EXPECT_EQ(topic.history.kind, DDS_KEEP_LAST_HISTORY_QOS);
    EXPECT_EQ(topic.history.depth, 1);
    EXPECT_EQ(writer.resource_limits.max_samples, DDS_LENGTH_UNLIMITED);
    EXPECT_EQ(writer.resource_limits.max_instances, DDS_LENGTH_UNLIMITED);
    EXPECT_EQ(writer.resource_limits.max_samples_per_instance, DDS_LENGTH_UNLIMITED);
    EXPECT_GT(writer.resource_limits.initial_samples, 0);
    EXPECT_EQ(writer.liveliness.kind, DDS_AUTOMATIC_LIVELINESS_QOS);
    EXPECT_TRUE(isInfinite(writer.liveliness.lease_duration));
    EXPECT_TRUE(isInfinite(reader.deadline.period));
    EXPECT_TRUE(isInfinite(topic.lifespan.duration));
    EXPECT_TRUE(isInfinite(writer.lifespan.duration));
    EXPECT_EQ(reader.ownership.kind, DDS_SHARED_OWNERSHIP_QOS);
    EXPECT_EQ(reader.destination_order.kind, DDS_BY_RECEPTION_TIMESTAMP_DESTINATIONORDER_QOS);
    EXPECT_TRUE(writer.writer_data_lifecycle.autodispose_unregistered_instances);
    EXPECT_TRUE(isInfinite(reader.reader_data_lifecycle.autopurge_nowriter_samples_delay));
    EXPECT_TRUE(isInfinite(reader.reader_data_lifecycle.autopurge_disposed_samples_delay));
    EXPECT_EQ(writer.publish_mode.kind, DDS_SYNCHRONOUS_PUBLISH_MODE_QOS);
    EXPECT_FALSE(writer.batch.enable);
    EXPECT_TRUE(writer.protocol.push_on_write);
    // The reliability protocol's window and heartbeat make sense together.
    EXPECT_LE(writer.protocol.rtps_reliable_writer.low_watermark,
              writer.protocol.rtps_reliable_writer.high_watermark);
    EXPECT_GT(writer.protocol.rtps_reliable_writer.heartbeat_period.sec, 0);

    DDS_DataWriterQos_finalize(&writer);
    DDS_DataReaderQos_finalize(&reader);
    DDS_TopicQos_finalize(&topic);
}

TEST_F(QosDefaultsTest, ParticipantChoosesItsIdsAndUsesTheWellKnownPortsAndEnablesWhatItCreates) {
    DDS_DomainParticipantFactoryQos factory;
    DDS_DomainParticipantQos participant;
    DDS_PublisherQos publisher;
    DDS_SubscriberQos subscriber;
    defaultsWithoutHeap(&factory, DDS_DomainParticipantFactoryQos_initialize,
                        DDS_DomainParticipantFactoryQos_set_defaultsI);
    defaultsWithoutHeap(&participant, DDS_DomainParticipantQos_initialize, DDS_DomainParticipantQos_set_defaultsI);
    defaultsWithoutHeap(&publisher, DDS_PublisherQos_initialize, DDS_PublisherQos_set_defaultsI);
    defaultsWithoutHeap(&subscriber, DDS_SubscriberQos_initialize, DDS_SubscriberQos_set_defaultsI);

    EXPECT_TRUE(factory.entity_factory.autoenable_created_entities);
    EXPECT_TRUE(participant.entity_factory.autoenable_created_entities);
    EXPECT_TRUE(publisher.entity_factory.autoenable_created_entities);
    EXPECT_TRUE(subscriber.entity_factory.autoenable_created_entities);

    EXPECT_EQ(participant.wire_protocol.participant_id, -1);
    EXPECT_EQ(participant.wire_protocol.rtps_host_id, DDS_RTPS_AUTO_ID);
    const DDS_RtpsWellKnownPorts_t &ports = participant.wire_protocol.rtps_well_known_ports;
    EXPECT_EQ(ports.port_base, 7400);
    EXPECT_EQ(ports.domain_id_gain, 250);
    EXPECT_EQ(ports.participant_id_gain, 2);
    EXPECT_EQ(ports.builtin_unicast_port_offset, 10);
    EXPECT_EQ(ports.user_unicast_port_offset, 11);
    EXPECT_EQ(participant.discovery_config.builtin_discovery_plugins, DDS_DISCOVERYCONFIG_BUILTIN_SDP);
    // A participant asserts its liveliness well within its lease.
    EXPECT_LT(participant.discovery_config.participant_liveliness_assert_period.sec,
              participant.discovery_config.participant_liveliness_lease_duration.sec);
    EXPECT_EQ(participant.receiver_pool.thread.stack_size, -1);
    EXPECT_EQ(publisher.presentation.access_scope, DDS_INSTANCE_PRESENTATION_QOS);
    EXPECT_FALSE(subscriber.presentation.coherent_access);
    // Sequences stay empty.
    EXPECT_EQ(DDS_PropertySeq_get_length(&participant.property.value), 0);
    EXPECT_EQ(DDS_StringSeq_get_length(&publisher.partition.name), 0);

    DDS_DomainParticipantFactoryQos_finalize(&factory);
    DDS_DomainParticipantQos_finalize(&participant);
    DDS_PublisherQos_finalize(&publisher);
    DDS_SubscriberQos_finalize(&subscriber);
}

TEST_F(QosDefaultsTest, MissingQosIsABadParameter) {
    zeltest::LogCapture log;
    EXPECT_EQ(DDS_DomainParticipantFactoryQos_set_defaultsI(nullptr), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_DomainParticipantQos_set_defaultsI(nullptr), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_TopicQos_set_defaultsI(nullptr), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_PublisherQos_set_defaultsI(nullptr), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_SubscriberQos_set_defaultsI(nullptr), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_DataWriterQos_set_defaultsI(nullptr), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_DataReaderQos_set_defaultsI(nullptr), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(log.lines().size(), 7u);
    EXPECT_TRUE(log.contains("DDS_DataWriterQos_set_defaultsI", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: qos\n"));
}

TEST(DdsConstants, InvalidLocatorAndNilHandleDesignateNothing) {
    EXPECT_EQ(DDS_LOCATOR_INVALID.kind, DDS_LOCATOR_KIND_INVALID);
    EXPECT_EQ(DDS_LOCATOR_INVALID._port, 0u);
    EXPECT_EQ(DDS_EncapsulationIdSeq_get_length(&DDS_LOCATOR_INVALID.encapsulations), 0);
    const DDS_Octet zeros[16] = {};
    EXPECT_EQ(std::memcmp(DDS_LOCATOR_INVALID.address, zeros, sizeof zeros), 0);

    EXPECT_EQ(std::memcmp(DDS_HANDLE_NIL.value, zeros, sizeof zeros), 0);
    EXPECT_EQ(DDS_HANDLE_NIL.length, 16u);
    EXPECT_FALSE(DDS_HANDLE_NIL.isValid);
    const DDS_InstanceHandle_t nil = DDS_HANDLE_NIL_INITIALIZER;
    EXPECT_EQ(std::memcmp(nil.value, DDS_HANDLE_NIL.value, sizeof nil.value), 0);
    EXPECT_EQ(nil.length, DDS_HANDLE_NIL.length);
    EXPECT_EQ(nil.isValid, DDS_HANDLE_NIL.isValid);
}

}  // namespace
