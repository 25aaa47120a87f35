// The monitoring types on the wire, octet by octet: a statistics topic type
// with short parameter headers and a nested status wrapper.
#include <cstring>

#include <gtest/gtest.h>

#include "DDSMonitoring.h"
#include "heap_check.h"
#include "types_test_support.h"
#include "zel_dds_monitoring.h"

namespace {

using typestest::Buffer;
using typestest::Octets;

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

}  // namespace
