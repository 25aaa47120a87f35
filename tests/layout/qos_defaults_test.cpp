// Filling an entity QoS with its defaults: entities are created while the
// heap is short, so it must need no heap, and a missing QoS is refused.
#include <gtest/gtest.h>

#include "heap_check.h"
#include "log_capture.h"
#include "vurnc/dds_qos_defaults.h"

namespace {

using QosDefaultsTest = zeltest::HeapCheckedTest;

template <typename Qos>
void checkDefaults(DDS_Boolean (*initialize)(Qos *), DDS_ReturnCode_t (*setDefaults)(Qos *), void (*finalize)(Qos *)) {
    Qos qos;
    ASSERT_TRUE(initialize(&qos));
    ZELOsapiHeap_failAllocation(1, ZEL_TRUE);
    EXPECT_EQ(setDefaults(&qos), DDS_RETCODE_OK);
    EXPECT_TRUE(ZELOsapiHeap_isFailurePending());
    ZELOsapiHeap_failAllocation(0, ZEL_TRUE);
    finalize(&qos);
    EXPECT_EQ(setDefaults(nullptr), DDS_RETCODE_BAD_PARAMETER);
}

TEST_F(QosDefaultsTest, EveryEntityQosFillsItsDefaultsWithoutHeapAndRefusesNoQos) {
    zeltest::LogCapture log;
    checkDefaults(DDS_DomainParticipantFactoryQos_initialize, DDS_DomainParticipantFactoryQos_set_defaultsI,
                  DDS_DomainParticipantFactoryQos_finalize);
    checkDefaults(DDS_DomainParticipantQos_initialize, DDS_DomainParticipantQos_set_defaultsI,
                  DDS_DomainParticipantQos_finalize);
    checkDefaults(DDS_TopicQos_initialize, DDS_TopicQos_set_defaultsI, DDS_TopicQos_finalize);
    checkDefaults(DDS_PublisherQos_initialize, DDS_PublisherQos_set_defaultsI, DDS_PublisherQos_finalize);
    checkDefaults(DDS_SubscriberQos_initialize, DDS_SubscriberQos_set_defaultsI, DDS_SubscriberQos_finalize);
    checkDefaults(DDS_DataWriterQos_initialize, DDS_DataWriterQos_set_defaultsI, DDS_DataWriterQos_finalize);
    checkDefaults(DDS_DataReaderQos_initialize, DDS_DataReaderQos_set_defaultsI, DDS_DataReaderQos_finalize);
    EXPECT_EQ(log.lines().size(), 7u);
    EXPECT_TRUE(log.contains("DDS_DataWriterQos_set_defaultsI", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: qos\n"));
}

}  // namespace
