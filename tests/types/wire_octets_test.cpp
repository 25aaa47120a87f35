// The monitoring types on the wire, octet by octet: final types in both byte
// orders, a statistics topic type with short parameter headers and a nested
// status wrapper, alignment that runs on across parameters, a description
// with extended headers, and bounds that a writer and a reader enforce.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "DDSMonitoring.h"
#include "heap_check.h"
#include "log_capture.h"
#include "types_test_support.h"
#include "vurncore/dds_string.h"
#include "zel_dds_monitoring.h"

namespace {

using typestest::Buffer;
using typestest::cat;
using typestest::Octets;
using typestest::zeros;

class WireOctetsTest : public zeltest::HeapCheckedTest {};

TEST_F(WireOctetsTest, FinalTypesArePlainCdrInEitherByteOrder)
{
    DDSMonitoring_Duration_t duration{-2, 0x01020304u};
    DDSMonitoring_BuiltinTopicKey_t key{{0x01020304, -1, 0, 0x7fffffff}};
    struct Case {
        DDS_UnsignedShort id;
        Octets duration;
        Octets key;
    };
    const Case cases[] = {
        {0,
         {0x00, 0x00, 0x00, 0x00, 0xff, 0xff, 0xff, 0xfe, 0x01, 0x02, 0x03, 0x04},
         {0x00, 0x00, 0x00, 0x00, 0x01, 0x02, 0x03, 0x04, 0xff, 0xff, 0xff, 0xff, 0x00, 0x00, 0x00, 0x00, 0x7f, 0xff,
          0xff, 0xff}},
        {1,
         {0x00, 0x01, 0x00, 0x00, 0xfe, 0xff, 0xff, 0xff, 0x04, 0x03, 0x02, 0x01},
         {0x00, 0x01, 0x00, 0x00, 0x04, 0x03, 0x02, 0x01, 0xff, 0xff, 0xff, 0xff, 0x00, 0x00, 0x00, 0x00, 0xff, 0xff,
          0xff, 0x7f}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.id);
        Buffer out(64);
        ASSERT_TRUE(DDSMonitoring_Duration_tPlugin_serialize(nullptr, &duration, &out.stream, 1, c.id, 1, nullptr));
        EXPECT_EQ(out.written(), c.duration);
        EXPECT_EQ(DDSMonitoring_Duration_tPlugin_get_serialized_sample_size(nullptr, 1, c.id, 0, &duration),
                  c.duration.size());

        Buffer keyOut(64);
        ASSERT_TRUE(
                DDSMonitoring_BuiltinTopicKey_tPlugin_serialize(nullptr, &key, &keyOut.stream, 1, c.id, 1, nullptr));
        EXPECT_EQ(keyOut.written(), c.key);

        DDSMonitoring_Duration_t durationBack{};
        Buffer in(c.duration);
        ASSERT_TRUE(DDSMonitoring_Duration_tPlugin_deserialize(nullptr, &durationBack, &in.stream, 1, 1, nullptr));
        EXPECT_EQ(durationBack.sec, -2);
        EXPECT_EQ(durationBack.nanosec, 0x01020304u);
        DDSMonitoring_BuiltinTopicKey_t keyBack{};
        Buffer keyIn(c.key);
        ASSERT_TRUE(DDSMonitoring_BuiltinTopicKey_tPlugin_deserialize(nullptr, &keyBack, &keyIn.stream, 1, 1, nullptr));
        EXPECT_EQ(0, std::memcmp(keyBack.value, key.value, sizeof key.value));
    }
}

// Every member behind a short header with its declaration index as id and
// the must-understand bit clear; strings padded inside their parameter; the
// status wrapper is a parameter list of its own closed by its own sentinel.
TEST_F(WireOctetsTest, StatisticsTopicTypeIsAShortHeaderParameterList)
{
    zel_dds_monitoring_TopicEntityStatistics sample;
    ASSERT_TRUE(zel_dds_monitoring_TopicEntityStatistics_initialize(&sample));
    sample.topic_key = {{1, 2, 3, 4}};
    sample.period = {5, 6};
    sample.participant_key = {{0x11, 0x12, 0x13, 0x14}};
    std::strcpy(sample.topic_name, "Sq");
    std::strcpy(sample.type_name, "Tp");
    sample.domain_id = 7;
    sample.host_id = 0x0a0b0c0d;
    sample.process_id = 9;
    sample.inconsistent_topic_status.status = {10, 1};

    const Octets bigEndian = {
        0x00, 0x02, 0x00, 0x00,                                            // PL_CDR_BE
        0x00, 0x00, 0x00, 0x10, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x02,  // topic_key
        0x00, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00, 0x04,                    //
        0x00, 0x01, 0x00, 0x08, 0x00, 0x00, 0x00, 0x05, 0x00, 0x00, 0x00, 0x06,  // period
        0x00, 0x02, 0x00, 0x10, 0x00, 0x00, 0x00, 0x11, 0x00, 0x00, 0x00, 0x12,  // participant_key
        0x00, 0x00, 0x00, 0x13, 0x00, 0x00, 0x00, 0x14,                    //
        0x00, 0x03, 0x00, 0x08, 0x00, 0x00, 0x00, 0x03, 'S',  'q',  0x00, 0x00,  // topic_name
        0x00, 0x04, 0x00, 0x08, 0x00, 0x00, 0x00, 0x03, 'T',  'p',  0x00, 0x00,  // type_name
        0x00, 0x05, 0x00, 0x04, 0x00, 0x00, 0x00, 0x07,                    // domain_id
        0x00, 0x06, 0x00, 0x04, 0x0a, 0x0b, 0x0c, 0x0d,                    // host_id
        0x00, 0x07, 0x00, 0x04, 0x00, 0x00, 0x00, 0x09,                    // process_id
        0x00, 0x08, 0x00, 0x10,                                            // inconsistent_topic_status
        0x00, 0x00, 0x00, 0x08, 0x00, 0x00, 0x00, 0x0a, 0x00, 0x00, 0x00, 0x01,  //   status
        0x7f, 0x02, 0x00, 0x00,                                            //   its sentinel
        0x7f, 0x02, 0x00, 0x00,                                            // sentinel
    };
    const Octets littleEndian = {
        0x00, 0x03, 0x00, 0x00,                                            // PL_CDR_LE
        0x00, 0x00, 0x10, 0x00, 0x01, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00,  // topic_key
        0x03, 0x00, 0x00, 0x00, 0x04, 0x00, 0x00, 0x00,                    //
        0x01, 0x00, 0x08, 0x00, 0x05, 0x00, 0x00, 0x00, 0x06, 0x00, 0x00, 0x00,  // period
        0x02, 0x00, 0x10, 0x00, 0x11, 0x00, 0x00, 0x00, 0x12, 0x00, 0x00, 0x00,  // participant_key
        0x13, 0x00, 0x00, 0x00, 0x14, 0x00, 0x00, 0x00,                    //
        0x03, 0x00, 0x08, 0x00, 0x03, 0x00, 0x00, 0x00, 'S',  'q',  0x00, 0x00,  // topic_name
        0x04, 0x00, 0x08, 0x00, 0x03, 0x00, 0x00, 0x00, 'T',  'p',  0x00, 0x00,  // type_name
        0x05, 0x00, 0x04, 0x00, 0x07, 0x00, 0x00, 0x00,                    // domain_id
        0x06, 0x00, 0x04, 0x00, 0x0d, 0x0c, 0x0b, 0x0a,                    // host_id
        0x07, 0x00, 0x04, 0x00, 0x09, 0x00, 0x00, 0x00,                    // process_id
        0x08, 0x00, 0x10, 0x00,                                            // inconsistent_topic_status
        0x00, 0x00, 0x08, 0x00, 0x0a, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00,  //   status
        0x02, 0x7f, 0x00, 0x00,                                            //   its sentinel
        0x02, 0x7f, 0x00, 0x00,                                            // sentinel
    };
    EXPECT_LT(zel_dds_monitoring_TopicEntityStatisticsPlugin_get_serialized_sample_max_size(nullptr, 0, 0, 0),
              65536u);

    for (DDS_UnsignedShort id : {DDS_UnsignedShort{0}, DDS_UnsignedShort{1}}) {
        SCOPED_TRACE(id);
        const Octets &expected = id == 0 ? bigEndian : littleEndian;
        Buffer out(1024);
        ASSERT_TRUE(
                zel_dds_monitoring_TopicEntityStatisticsPlugin_serialize(nullptr, &sample, &out.stream, 1, id, 1, nullptr));
        EXPECT_EQ(out.written(), expected);
        EXPECT_EQ(zel_dds_monitoring_TopicEntityStatisticsPlugin_get_serialized_sample_size(nullptr, 1, id, 0, &sample),
                  expected.size());

        zel_dds_monitoring_TopicEntityStatistics back;
        ASSERT_TRUE(zel_dds_monitoring_TopicEntityStatistics_initialize(&back));
        Buffer in(expected);
        ASSERT_TRUE(zel_dds_monitoring_TopicEntityStatisticsPlugin_deserialize(nullptr, &back, &in.stream, 1, 1, nullptr));
        EXPECT_STREQ(back.topic_name, "Sq");
        EXPECT_EQ(back.host_id, 0x0a0b0c0du);
        EXPECT_EQ(back.period.nanosec, 6u);
        EXPECT_EQ(back.inconsistent_topic_status.status.total_count_change, 1);
        zel_dds_monitoring_TopicEntityStatistics_finalize(&back);
    }
    zel_dds_monitoring_TopicEntityStatistics_finalize(&sample);
}

// A 64-bit value inside a nested parameter is aligned to 8 from the origin
// of the sample (the octet after the encapsulation header), not from the
// start of its parameter: here it needs 4 octets of padding.
TEST_F(WireOctetsTest, AlignmentRunsFromTheSampleOriginAcrossParameters)
{
    zel_dds_monitoring_DataReaderEntityMatchedPublicationStatistics sample;
    ASSERT_TRUE(zel_dds_monitoring_DataReaderEntityMatchedPublicationStatistics_initialize(&sample));
    sample.datareader_key = {{1, 2, 3, 4}};
    for (int i = 0; i < 16; ++i) {
        sample.publication_handle.value[i] = static_cast<DDS_Octet>(0x10 + i);
    }
    sample.publication_handle.length = 16;
    sample.publication_handle.isValid = 1;
    sample.period = {5, 0};
    DDSMonitoring_DataReaderProtocolStatus &status = sample.datareader_protocol_status.status;
    status.received_sample_count = 0x0102030405060708;
    status.last_committed_sample_sequence_number = {2, 3};
    status.uncommitted_sample_count = 0x11;

    const Octets expected = cat({
        {0x00, 0x02, 0x00, 0x00},
        {0x00, 0x00, 0x00, 0x10, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4},  // offset 0: datareader_key
        {0x00, 0x01, 0x00, 0x18, 0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1a, 0x1b, 0x1c, 0x1d,
         0x1e, 0x1f, 0x00, 0x00, 0x00, 0x10, 0x01, 0x00, 0x00, 0x00},  // 20: publication_handle, 21 octets + 3
        {0x00, 0x02, 0x00, 0x08, 0, 0, 0, 5, 0, 0, 0, 0},              // 48: period
        {0x00, 0x03, 0x01, 0x18},                                      // 60: datareader_protocol_status, 280
        {0x00, 0x00, 0x01, 0x10},                                      // 64:   status, 272
        {0x00, 0x00, 0x00, 0x00},                                      // 68:   padding to 72
        {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08},              // 72:   received_sample_count
        zeros(29 * 8 + 2 * 8),                                         //       the other counts, two sequence numbers
        {0, 0, 0, 2, 0, 0, 0, 3},                                      // 328:  last_committed_sample_sequence_number
        {0, 0, 0, 0x11},                                               // 336:  uncommitted_sample_count
        {0x7f, 0x02, 0x00, 0x00},                                      // 340:  its sentinel
        {0x7f, 0x02, 0x00, 0x00},                                      // 344: sentinel
    });
    Buffer out(1024);
    ASSERT_TRUE(zel_dds_monitoring_DataReaderEntityMatchedPublicationStatisticsPlugin_serialize(
            nullptr, &sample, &out.stream, 1, 0, 1, nullptr));
    EXPECT_EQ(out.written(), expected);
    EXPECT_EQ(zel_dds_monitoring_DataReaderEntityMatchedPublicationStatisticsPlugin_get_serialized_sample_max_size(
                      nullptr, 1, 0, 0),
              expected.size());
    zel_dds_monitoring_DataReaderEntityMatchedPublicationStatistics_finalize(&sample);
}

// A description whose maximum size reaches 65536 octets: members of struct
// type get the extended header (0x7f01, length 8, 32-bit id, 32-bit length),
// primitive members keep the short one, and the nested QoS follows the
// outer decision.
TEST_F(WireOctetsTest, LargeDescriptionUsesExtendedHeadersForStructMembers)
{
    EXPECT_GE(zel_dds_monitoring_DomainParticipantDescriptionPlugin_get_serialized_sample_max_size(nullptr, 0, 0, 0),
              65536u);
    zel_dds_monitoring_DomainParticipantDescription sample;
    ASSERT_TRUE(zel_dds_monitoring_DomainParticipantDescription_initialize(&sample));
    sample.entity_key = {{1, 2, 3, 4}};
    sample.domain_id = 7;
    sample.host_id = 8;
    sample.process_id = 9;

    const Octets bigEndianPrefix = {
        0x00, 0x02, 0x00, 0x00,                                                  //
        0x7f, 0x01, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10,  // 0: entity_key
        0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00, 0x04,  //
        0x00, 0x01, 0x00, 0x04, 0x00, 0x00, 0x00, 0x07,                          // 28: domain_id
        0x00, 0x02, 0x00, 0x04, 0x00, 0x00, 0x00, 0x08,                          // 36: host_id
        0x00, 0x03, 0x00, 0x04, 0x00, 0x00, 0x00, 0x09,                          // 44: process_id
        0x7f, 0x01, 0x00, 0x08, 0x00, 0x00, 0x00, 0x04,                          // 52: qos (length below)
    };
    const Octets qosPrefix = {
        0x7f, 0x01, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04,  // 64: user_data
        0x00, 0x00, 0x00, 0x00,                                                  //   empty octet sequence
        0x7f, 0x01, 0x00, 0x08, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x04,  // 80: entity_factory
        0x00, 0x00, 0x00, 0x00,                                                  //   false, padded
    };
    const Octets twoSentinels = {0x7f, 0x02, 0x00, 0x00, 0x7f, 0x02, 0x00, 0x00};

    const unsigned int size =
            zel_dds_monitoring_DomainParticipantDescriptionPlugin_get_serialized_sample_size(nullptr, 1, 0, 0, &sample);
    Buffer out(size);
    ASSERT_TRUE(zel_dds_monitoring_DomainParticipantDescriptionPlugin_serialize(nullptr, &sample, &out.stream, 1, 0, 1,
                                                                                nullptr));
    const Octets octets = out.written();
    ASSERT_EQ(octets.size(), size);
    ASSERT_GT(octets.size(), 4 + 64 + qosPrefix.size() + twoSentinels.size());
    EXPECT_EQ(Octets(octets.begin(), octets.begin() + 64), bigEndianPrefix);
    // The patched qos length runs from its value (offset 64, after the
    // encapsulation header) to the outer sentinel, the last 4 octets.
    const uint32_t qosLength = static_cast<uint32_t>(octets.size() - 4 - 64 - 4);
    EXPECT_EQ(Octets(octets.begin() + 64, octets.begin() + 68),
              Octets({static_cast<unsigned char>(qosLength >> 24), static_cast<unsigned char>(qosLength >> 16),
                      static_cast<unsigned char>(qosLength >> 8), static_cast<unsigned char>(qosLength)}));
    EXPECT_EQ(Octets(octets.begin() + 68, octets.begin() + 68 + static_cast<long>(qosPrefix.size())), qosPrefix);
    EXPECT_EQ(Octets(octets.end() - 8, octets.end()), twoSentinels);

    const Octets littleEndianPrefix = {
        0x00, 0x03, 0x00, 0x00,                                                  //
        0x01, 0x7f, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x00, 0x00,  // entity_key
        0x01, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00, 0x04, 0x00, 0x00, 0x00,  //
        0x01, 0x00, 0x04, 0x00, 0x07, 0x00, 0x00, 0x00,                          // domain_id
    };
    Buffer outLittle(size);
    ASSERT_TRUE(zel_dds_monitoring_DomainParticipantDescriptionPlugin_serialize(nullptr, &sample, &outLittle.stream, 1,
                                                                                1, 1, nullptr));
    const Octets little = outLittle.written();
    ASSERT_EQ(little.size(), size);
    EXPECT_EQ(Octets(little.begin(), little.begin() + static_cast<long>(littleEndianPrefix.size())), littleEndianPrefix);
    EXPECT_EQ(Octets(little.end() - 8, little.end()), Octets({0x02, 0x7f, 0x00, 0x00, 0x02, 0x7f, 0x00, 0x00}));

    zel_dds_monitoring_DomainParticipantDescription back;
    ASSERT_TRUE(zel_dds_monitoring_DomainParticipantDescription_initialize(&back));
    Buffer in(little);
    ASSERT_TRUE(zel_dds_monitoring_DomainParticipantDescriptionPlugin_deserialize(nullptr, &back, &in.stream, 1, 1,
                                                                                  nullptr));
    EXPECT_EQ(back.entity_key.value[3], 4);
    EXPECT_EQ(back.process_id, 9u);
    zel_dds_monitoring_DomainParticipantDescription_finalize(&back);
    zel_dds_monitoring_DomainParticipantDescription_finalize(&sample);
}

// A writer refuses a 257-character name in a string<256> and a 65th
// property in a sequence of bound 64, naming itself in the log.
TEST_F(WireOctetsTest, WriterRefusesStringsAndSequencesOverTheirBounds)
{
    zeltest::LogCapture log;
    zel_dds_monitoring_TopicDescription topic;
    ASSERT_TRUE(zel_dds_monitoring_TopicDescription_initialize(&topic));
    std::memset(topic.topic_name, 'n', 256);
    Buffer atBound(2048);
    EXPECT_TRUE(zel_dds_monitoring_TopicDescriptionPlugin_serialize(nullptr, &topic, &atBound.stream, 1, 0, 1, nullptr));
    DDS_String_free(topic.topic_name);
    topic.topic_name = DDS_String_dup(std::string(257, 'n').c_str());
    ASSERT_NE(topic.topic_name, nullptr);
    Buffer overBound(2048);
    EXPECT_FALSE(
            zel_dds_monitoring_TopicDescriptionPlugin_serialize(nullptr, &topic, &overBound.stream, 1, 0, 1, nullptr));
    EXPECT_TRUE(log.contains("zel_dds_monitoring_TopicDescriptionPlugin_serialize", ZEL_LOG_ANY_FAILURE_s,
                             "failure: serialize\n"));
    zel_dds_monitoring_TopicDescription_finalize(&topic);

    DDSMonitoring_PropertyQosPolicy properties;
    ASSERT_TRUE(DDSMonitoring_PropertyQosPolicy_initialize(&properties));
    ASSERT_TRUE(DDSMonitoring_Property_tSeq_ensure_length(&properties.value, 64, 65));
    Buffer sixtyFour(4096);
    EXPECT_TRUE(
            DDSMonitoring_PropertyQosPolicyPlugin_serialize(nullptr, &properties, &sixtyFour.stream, 1, 0, 1, nullptr));
    ASSERT_TRUE(DDSMonitoring_Property_tSeq_set_length(&properties.value, 65));
    Buffer sixtyFive(4096);
    EXPECT_FALSE(
            DDSMonitoring_PropertyQosPolicyPlugin_serialize(nullptr, &properties, &sixtyFive.stream, 1, 0, 1, nullptr));

    // The same inside a description: the whole sample fails.
    zel_dds_monitoring_DataWriterDescription writer;
    ASSERT_TRUE(zel_dds_monitoring_DataWriterDescription_initialize(&writer));
    ASSERT_TRUE(DDSMonitoring_PropertyQosPolicy_copy(&writer.qos.property, &properties));
    Buffer description(1 << 16);
    EXPECT_FALSE(zel_dds_monitoring_DataWriterDescriptionPlugin_serialize(nullptr, &writer, &description.stream, 1, 0,
                                                                          1, nullptr));
    zel_dds_monitoring_DataWriterDescription_finalize(&writer);
    DDSMonitoring_PropertyQosPolicy_finalize(&properties);
}

// The reader enforces the same bounds on what arrives: a 256-character name
// in a string<255> and a 65th property are refused, the bound itself read.
TEST_F(WireOctetsTest, ReaderRefusesStringsAndSequencesOverTheirBounds)
{
    zeltest::LogCapture log;
    const auto entityName = [](size_t length) {
        const uint32_t withNul = static_cast<uint32_t>(length + 1);
        Octets octets = {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, static_cast<unsigned char>(withNul >> 8),
                         static_cast<unsigned char>(withNul)};
        octets.insert(octets.end(), length, 'e');
        octets.push_back(0);
        octets.resize((octets.size() + 3) / 4 * 4, 0);
        return cat({octets, {0x00, 0x00, 0x00, 0x01, 0x00}});  // role_name ""
    };
    for (size_t length : {size_t{255}, size_t{256}}) {
        DDSMonitoring_EntityNameQosPolicy name;
        ASSERT_TRUE(DDSMonitoring_EntityNameQosPolicy_initialize(&name));
        Buffer in(entityName(length));
        EXPECT_EQ(DDSMonitoring_EntityNameQosPolicyPlugin_deserialize(nullptr, &name, &in.stream, 1, 1, nullptr),
                  length == 255)
                << length;
        if (length == 255) {
            EXPECT_EQ(std::strlen(name.name), 255u);
        }
        DDSMonitoring_EntityNameQosPolicy_finalize(&name);
    }

    // Empty properties: name "" at a 4-octet boundary, value "", propagate.
    const auto properties = [](unsigned char count) {
        Octets octets = {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, count};
        for (unsigned char i = 0; i < count; ++i) {
            octets.resize((octets.size() + 3) / 4 * 4, 0);
            octets.insert(octets.end(), {0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 1, 0, 1});
        }
        return octets;
    };
    for (unsigned char count : {static_cast<unsigned char>(64), static_cast<unsigned char>(65)}) {
        DDSMonitoring_PropertyQosPolicy policy;
        ASSERT_TRUE(DDSMonitoring_PropertyQosPolicy_initialize(&policy));
        Buffer in(properties(count));
        EXPECT_EQ(DDSMonitoring_PropertyQosPolicyPlugin_deserialize(nullptr, &policy, &in.stream, 1, 1, nullptr),
                  count == 64)
                << int{count};
        if (count == 64) {
            ASSERT_EQ(DDSMonitoring_Property_tSeq_get_length(&policy.value), 64);
            EXPECT_TRUE(DDSMonitoring_Property_tSeq_get_reference(&policy.value, 63)->propagate);
        }
        DDSMonitoring_PropertyQosPolicy_finalize(&policy);
    }
}

}  // namespace
