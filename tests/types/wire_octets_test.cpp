// The monitoring types on the wire, octet by octet: a statistics topic type
// with short parameter headers and a nested status wrapper, alignment that
// runs on across parameters.
#include <cstring>

#include <gtest/gtest.h>

#include "DDSMonitoring.h"
#include "heap_check.h"
#include "types_test_support.h"
#include "zel_dds_monitoring.h"

namespace {

using typestest::Buffer;
using typestest::cat;
using typestest::Octets;
using typestest::zeros;

class WireOctetsTest : public zeltest::HeapCheckedTest {};

// Every member behind a short header with its declaration index as id and
// the must-understand bit clear; strings padded inside their parameter; the
// status wrapper is a parameter list of its own closed by its own sentinel.
TEST_F(WireOctetsTest, StatisticsTopicTypeIsAShortHeaderParameterList) {
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
            0x00, 0x02, 0x00, 0x00,                                                  // PL_CDR_BE
            0x00, 0x00, 0x00, 0x10, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x02,  // topic_key
            0x00, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00, 0x04,                          //
            0x00, 0x01, 0x00, 0x08, 0x00, 0x00, 0x00, 0x05, 0x00, 0x00, 0x00, 0x06,  // period
            0x00, 0x02, 0x00, 0x10, 0x00, 0x00, 0x00, 0x11, 0x00, 0x00, 0x00, 0x12,  // participant_key
            0x00, 0x00, 0x00, 0x13, 0x00, 0x00, 0x00, 0x14,                          //
            0x00, 0x03, 0x00, 0x08, 0x00, 0x00, 0x00, 0x03, 'S',  'q',  0x00, 0x00,  // topic_name
            0x00, 0x04, 0x00, 0x08, 0x00, 0x00, 0x00, 0x03, 'T',  'p',  0x00, 0x00,  // type_name
            0x00, 0x05, 0x00, 0x04, 0x00, 0x00, 0x00, 0x07,                          // domain_id
            0x00, 0x06, 0x00, 0x04, 0x0a, 0x0b, 0x0c, 0x0d,                          // host_id
            0x00, 0x07, 0x00, 0x04, 0x00, 0x00, 0x00, 0x09,                          // process_id
            0x00, 0x08, 0x00, 0x10,                                                  // inconsistent_topic_status
            0x00, 0x00, 0x00, 0x08, 0x00, 0x00, 0x00, 0x0a, 0x00, 0x00, 0x00, 0x01,  //   status
            0x7f, 0x02, 0x00, 0x00,                                                  //   its sentinel
            0x7f, 0x02, 0x00, 0x00,                                                  // sentinel
    };
    EXPECT_LT(zel_dds_monitoring_TopicEntityStatisticsPlugin_get_serialized_sample_max_size(nullptr, 0, 0, 0), 65536u);

    Buffer out(1024);
    ASSERT_TRUE(
            zel_dds_monitoring_TopicEntityStatisticsPlugin_serialize(nullptr, &sample, &out.stream, 1, 0, 1, nullptr));
    EXPECT_EQ(out.written(), bigEndian);
    zel_dds_monitoring_TopicEntityStatistics_finalize(&sample);
}

// A 64-bit value inside a nested parameter is aligned to 8 from the origin
// of the sample (the octet after the encapsulation header), not from the
// start of its parameter: here it needs 4 octets of padding.
TEST_F(WireOctetsTest, AlignmentRunsFromTheSampleOriginAcrossParameters) {
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
            {0x00, 0x01, 0x00, 0x18, 0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1a,
             0x1b, 0x1c, 0x1d, 0x1e, 0x1f, 0x00, 0x00, 0x00, 0x10, 0x01, 0x00, 0x00, 0x00},  // 20: publication_handle,
                                                                                             // 21 octets + 3
            {0x00, 0x02, 0x00, 0x08, 0, 0, 0, 5, 0, 0, 0, 0},                                // 48: period
            {0x00, 0x03, 0x01, 0x18},                          // 60: datareader_protocol_status, 280
            {0x00, 0x00, 0x01, 0x10},                          // 64:   status, 272
            {0x00, 0x00, 0x00, 0x00},                          // 68:   padding to 72
            {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08},  // 72:   received_sample_count
            zeros(29 * 8 + 2 * 8),                             //       the other counts, two sequence numbers
            {0, 0, 0, 2, 0, 0, 0, 3},                          // 328:  last_committed_sample_sequence_number
            {0, 0, 0, 0x11},                                   // 336:  uncommitted_sample_count
            {0x7f, 0x02, 0x00, 0x00},                          // 340:  its sentinel
            {0x7f, 0x02, 0x00, 0x00},                          // 344: sentinel
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

}  // namespace
