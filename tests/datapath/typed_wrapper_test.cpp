// Generated typed writers and readers over the in-process wire: narrow
// refusals with their log lines, a keyed round trip through lent samples
// and return_loan, and a NULL received_data refused.
#include <cstdio>

#include <gtest/gtest.h>

#include "datapath_types.h"
#include "heap_check.h"
#include "log_capture.h"
#include "vurnc/dds_publication.h"
#include "vurnc/dds_subscription.h"
#include "vurnc/dds_topic.h"

namespace {

class TypedWrapperTest : public zeltest::HeapCheckedTest {
protected:
    void SetUp() override {
        HeapCheckedTest::SetUp();
        factory = DDS_DomainParticipantFactory_get_instance();
        ASSERT_NE(factory, nullptr);
        participant = DDS_DomainParticipantFactory_create_participant(factory, 11, &DDS_PARTICIPANT_QOS_DEFAULT,
                                                                      nullptr, DDS_STATUS_MASK_NONE);
        ASSERT_NE(participant, nullptr);
        ASSERT_EQ(dp_ShapeTypeSupport_register_type(participant, nullptr), DDS_RETCODE_OK);
        DDS_Topic *shapes = DDS_DomainParticipant_create_topic(participant, "Shapes",
                                                               dp_ShapeTypeSupport_get_type_name(),
                                                               &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
        DDS_Publisher *publisher =
                DDS_DomainParticipant_create_publisher(participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
        DDS_Subscriber *subscriber =
                DDS_DomainParticipant_create_subscriber(participant, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
        ASSERT_TRUE(shapes != nullptr && publisher != nullptr && subscriber != nullptr);
        writer = DDS_Publisher_create_datawriter(publisher, shapes, &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
        reader = DDS_Subscriber_create_datareader(subscriber, DDS_Topic_as_topicdescription(shapes),
                                                  &DDS_DATAREADER_QOS_DEFAULT, nullptr, 0);
        ASSERT_TRUE(writer != nullptr && reader != nullptr);
    }

    void TearDown() override {
        if (participant != nullptr) {
            EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(participant), DDS_RETCODE_OK);
            DDS_DomainParticipant_unregister_type(participant, dp_ShapeTypeSupport_get_type_name());
            EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory, participant), DDS_RETCODE_OK);
        }
        EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
        HeapCheckedTest::TearDown();
    }

    DDS_DomainParticipantFactory *factory = nullptr;
    DDS_DomainParticipant *participant = nullptr;
    DDS_DataWriter *writer = nullptr;
    DDS_DataReader *reader = nullptr;
};

TEST_F(TypedWrapperTest, NarrowRefusesNullAndOtherTypesWithTheirLogLines)
{
    zeltest::LogCapture log;
    EXPECT_EQ(dp_TickDataWriter_narrow(writer), nullptr);
    EXPECT_TRUE(log.contains("TDataWriter_narrow", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: wrong type writer\n"));
    EXPECT_EQ(dp_ShapeDataWriter_narrow(nullptr), nullptr);
    EXPECT_TRUE(log.contains("TDataWriter_narrow", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: null writer\n"));
    EXPECT_EQ(dp_TickDataReader_narrow(reader), nullptr);
    EXPECT_TRUE(log.contains("TDataReader_narrow", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: wrong type reader\n"));
    EXPECT_EQ(dp_ShapeDataReader_narrow(nullptr), nullptr);
    EXPECT_TRUE(log.contains("TDataReader_narrow", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: null reader\n"));
    EXPECT_EQ(dp_ShapeDataWriter_as_datawriter(nullptr), nullptr);
    EXPECT_TRUE(log.contains("TDataWriter_as_datawriter", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: null writer\n"));
    EXPECT_EQ(dp_ShapeDataReader_as_datareader(nullptr), nullptr);
    EXPECT_TRUE(log.contains("TDataReader_as_datareader", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: null reader\n"));

    dp_ShapeDataWriter *typedWriter = dp_ShapeDataWriter_narrow(writer);
    ASSERT_NE(typedWriter, nullptr);
    EXPECT_EQ(dp_ShapeDataWriter_as_datawriter(typedWriter), writer);
}

TEST_F(TypedWrapperTest, KeyedSamplesTravelThroughTypedWriterAndLentReaderSamples)
{
    dp_ShapeDataWriter *typedWriter = dp_ShapeDataWriter_narrow(writer);
    dp_ShapeDataReader *typedReader = dp_ShapeDataReader_narrow(reader);
    ASSERT_TRUE(typedWriter != nullptr && typedReader != nullptr);

    dp_Shape shape{};
    ASSERT_TRUE(dp_Shape_initialize(&shape));
    std::snprintf(shape.color, 33, "%s", "green");
    shape.x = 7;
    const DDS_InstanceHandle_t handle = dp_ShapeDataWriter_register_instance(typedWriter, &shape);
    EXPECT_EQ(dp_ShapeDataWriter_write(typedWriter, &shape, &handle), DDS_RETCODE_OK);
    EXPECT_EQ(dp_ShapeDataWriter_lookup_instance(typedWriter, &shape).isValid, handle.isValid);

    dp_ShapeSeq lent = ZEL_SEQUENCE_INITIALIZER;
    DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
    zeltest::LogCapture log;
    EXPECT_EQ(dp_ShapeDataReader_take(typedReader, nullptr, &infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                                      DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE),
              DDS_RETCODE_BAD_PARAMETER);
    EXPECT_TRUE(log.contains("dp_ShapeDataReader_take", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: received_data\n"));

    ASSERT_EQ(dp_ShapeDataReader_read(typedReader, &lent, &infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                                      DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE),
              DDS_RETCODE_OK);
    ASSERT_EQ(dp_ShapeSeq_get_length(&lent), 1);
    EXPECT_STREQ(dp_ShapeSeq_get_reference(&lent, 0)->color, "green");
    EXPECT_EQ(dp_ShapeSeq_get_reference(&lent, 0)->x, 7);
    EXPECT_EQ(dp_ShapeDataReader_return_loan(typedReader, &lent, &infos), DDS_RETCODE_OK);
    // A second return finds nothing lent.
    EXPECT_NE(dp_ShapeDataReader_return_loan(typedReader, &lent, &infos), DDS_RETCODE_OK);
    EXPECT_TRUE(log.contains("dp_ShapeDataReader_return_loan", ZEL_LOG_ANY_FAILURE_s, "failure: unloan sequence\n"));
    dp_ShapeSeq_finalize(&lent);
    DDS_SampleInfoSeq_finalize(&infos);
    dp_Shape_finalize(&shape);
}

TEST_F(TypedWrapperTest, InstanceLifecycleByKeyThroughTypedWriter)
{
    dp_ShapeDataWriter *typedWriter = dp_ShapeDataWriter_narrow(writer);
    ASSERT_NE(typedWriter, nullptr);
    dp_Shape shape{};
    dp_Shape key{};
    ASSERT_TRUE(dp_Shape_initialize(&shape) && dp_Shape_initialize(&key));
    std::snprintf(shape.color, 33, "%s", "cyan");
    const DDS_Time_t when = {5, 0};
    const DDS_InstanceHandle_t handle = dp_ShapeDataWriter_register_instance_w_timestamp(typedWriter, &shape, &when);
    ASSERT_TRUE(handle.isValid);
    EXPECT_EQ(dp_ShapeDataWriter_write_w_timestamp(typedWriter, &shape, &handle, &when), DDS_RETCODE_OK);
    // The key comes back from the handle alone.
    ASSERT_EQ(dp_ShapeDataWriter_get_key_value(typedWriter, &key, &handle), DDS_RETCODE_OK);
    EXPECT_STREQ(key.color, "cyan");
    EXPECT_EQ(dp_ShapeDataWriter_dispose_w_timestamp(typedWriter, &shape, &handle, &when), DDS_RETCODE_OK);
    EXPECT_EQ(dp_ShapeDataWriter_unregister_instance(typedWriter, &shape, &handle), DDS_RETCODE_OK);
    // Unregistered: the writer no longer knows the instance.
    EXPECT_FALSE(dp_ShapeDataWriter_lookup_instance(typedWriter, &shape).isValid);
    EXPECT_EQ(dp_ShapeDataWriter_unregister_instance(typedWriter, &shape, &handle), DDS_RETCODE_BAD_PARAMETER);
    dp_Shape_finalize(&key);
    dp_Shape_finalize(&shape);
}

}  // namespace
