// Typed writers and readers of generated types over the in-process wire:
// narrowing refuses other types and null entities with their log lines,
// samples go out and come back through the typed operations, and loans are
// given back.
#include <cstdio>
#include <cstring>

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
        ASSERT_EQ(dp_TickTypeSupport_register_type(participant, nullptr), DDS_RETCODE_OK);
        DDS_Topic *shapes = DDS_DomainParticipant_create_topic(participant, "Shapes",
                                                               dp_ShapeTypeSupport_get_type_name(),
                                                               &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
        DDS_Topic *ticks = DDS_DomainParticipant_create_topic(participant, "Ticks", "dp::Tick",
                                                              &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
        DDS_Publisher *publisher =
                DDS_DomainParticipant_create_publisher(participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
        DDS_Subscriber *subscriber =
                DDS_DomainParticipant_create_subscriber(participant, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
        ASSERT_TRUE(shapes != nullptr && ticks != nullptr && publisher != nullptr && subscriber != nullptr);
        shapeWriter = DDS_Publisher_create_datawriter(publisher, shapes, &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
        tickWriter = DDS_Publisher_create_datawriter(publisher, ticks, &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
        shapeReader = DDS_Subscriber_create_datareader(subscriber, DDS_Topic_as_topicdescription(shapes),
                                                       &DDS_DATAREADER_QOS_DEFAULT, nullptr, 0);
        tickReader = DDS_Subscriber_create_datareader(subscriber, DDS_Topic_as_topicdescription(ticks),
                                                      &DDS_DATAREADER_QOS_DEFAULT, nullptr, 0);
        ASSERT_TRUE(shapeWriter != nullptr && tickWriter != nullptr && shapeReader != nullptr &&
                    tickReader != nullptr);
    }

    void TearDown() override {
        if (participant != nullptr) {
            EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(participant), DDS_RETCODE_OK);
            DDS_DomainParticipant_unregister_type(participant, dp_ShapeTypeSupport_get_type_name());
            DDS_DomainParticipant_unregister_type(participant, "dp::Tick");
            EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory, participant), DDS_RETCODE_OK);
        }
        EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
        HeapCheckedTest::TearDown();
    }

    DDS_DomainParticipantFactory *factory = nullptr;
    DDS_DomainParticipant *participant = nullptr;
    DDS_DataWriter *shapeWriter = nullptr;
    DDS_DataWriter *tickWriter = nullptr;
    DDS_DataReader *shapeReader = nullptr;
    DDS_DataReader *tickReader = nullptr;
};

TEST_F(TypedWrapperTest, NarrowAcceptsItsOwnTypeAndRefusesOthersAndNullWithTheirLogLines) {
    zeltest::LogCapture log;
    EXPECT_EQ(dp_ShapeDataWriter_narrow(tickWriter), nullptr);
    EXPECT_TRUE(log.contains("TDataWriter_narrow", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: wrong type writer\n"));
    EXPECT_EQ(dp_ShapeDataWriter_narrow(nullptr), nullptr);
    EXPECT_TRUE(log.contains("TDataWriter_narrow", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: null writer\n"));
    EXPECT_EQ(dp_TickDataReader_narrow(shapeReader), nullptr);
    EXPECT_TRUE(log.contains("TDataReader_narrow", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: wrong type reader\n"));
    EXPECT_EQ(dp_TickDataReader_narrow(nullptr), nullptr);
    EXPECT_TRUE(log.contains("TDataReader_narrow", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: null reader\n"));
    EXPECT_EQ(dp_ShapeDataWriter_as_datawriter(nullptr), nullptr);
    EXPECT_TRUE(log.contains("TDataWriter_as_datawriter", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: null writer\n"));
    EXPECT_EQ(dp_ShapeDataReader_as_datareader(nullptr), nullptr);
    EXPECT_TRUE(log.contains("TDataReader_as_datareader", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: null reader\n"));

    // The keyless plug-in type narrows by its scoped name.
    dp_TickDataWriter *ticks = dp_TickDataWriter_narrow(tickWriter);
    ASSERT_NE(ticks, nullptr);
    EXPECT_EQ(dp_TickDataWriter_as_datawriter(ticks), tickWriter);
    EXPECT_EQ(dp_ShapeDataReader_as_datareader(dp_ShapeDataReader_narrow(shapeReader)), shapeReader);
}

TEST_F(TypedWrapperTest, SamplesWrittenTypedAreTakenTypedOnLoanAndGivenBack) {
    dp_ShapeDataWriter *writer = dp_ShapeDataWriter_narrow(shapeWriter);
    dp_ShapeDataReader *reader = dp_ShapeDataReader_narrow(shapeReader);
    ASSERT_TRUE(writer != nullptr && reader != nullptr);
    dp_Shape shape;
    ASSERT_TRUE(dp_Shape_initialize(&shape));
    std::snprintf(shape.color, 33, "%s", "RED");
    shape.x = 7;
    const DDS_InstanceHandle_t handle = dp_ShapeDataWriter_register_instance(writer, &shape);
    EXPECT_TRUE(handle.isValid);
    EXPECT_EQ(dp_ShapeDataWriter_write(writer, &shape, &handle), DDS_RETCODE_OK);
    shape.x = 0;
    const DDS_InstanceHandle_t found = dp_ShapeDataWriter_lookup_instance(writer, &shape);
    EXPECT_EQ(std::memcmp(&found, &handle, sizeof handle), 0);

    zeltest::LogCapture log;
    DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
    EXPECT_EQ(dp_ShapeDataReader_take(reader, nullptr, &infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                                      DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE),
              DDS_RETCODE_BAD_PARAMETER);
    EXPECT_TRUE(log.contains("dp_ShapeDataReader_take", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: received_data\n"));

    dp_ShapeSeq data = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_EQ(dp_ShapeDataReader_take(reader, &data, &infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                                      DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE),
              DDS_RETCODE_OK);
    ASSERT_EQ(dp_ShapeSeq_get_length(&data), 1);
    EXPECT_STREQ(dp_ShapeSeq_get_reference(&data, 0)->color, "RED");
    EXPECT_EQ(dp_ShapeSeq_get_reference(&data, 0)->x, 7);
    EXPECT_FALSE(dp_ShapeSeq_has_ownership(&data));
    EXPECT_EQ(dp_ShapeDataReader_return_loan(reader, &data, &infos), DDS_RETCODE_OK);
    EXPECT_TRUE(dp_ShapeSeq_has_ownership(&data));
    // A second give-back finds nothing lent.
    EXPECT_NE(dp_ShapeDataReader_return_loan(reader, &data, &infos), DDS_RETCODE_OK);
    EXPECT_TRUE(log.contains("dp_ShapeDataReader_return_loan", ZEL_LOG_ANY_FAILURE_s, "failure: unloan sequence\n"));
    dp_ShapeSeq_finalize(&data);
    DDS_SampleInfoSeq_finalize(&infos);
    dp_Shape_finalize(&shape);
}

}  // namespace
