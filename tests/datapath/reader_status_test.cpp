// A reader's matched publications, the liveliness of its matched writers
// and the protocol counters of what it received, in total and per writer.
#include "log_capture.h"
#include "reader_qos_fixture.h"

namespace {

using zeltest::sameHandle;

class ReaderStatusTest : public zeltest::ReaderQosTest {};

TEST_F(ReaderStatusTest, MatchedWritersAreListedAliveAndCountedPerWriterUntilTheyGo) {
    zeltest::LogCapture log;
    readerQos.resource_limits.max_instances = 1;  // a second colour is rejected
    DDS_DataReader *reader = createReader();
    DDS_DataWriter *first = createWriter();
    DDS_DataWriter *second = createWriter();
    ASSERT_TRUE(reader != nullptr && first != nullptr && second != nullptr);
    DDS_LivelinessChangedStatus liveliness{};
    ASSERT_EQ(DDS_DataReader_get_liveliness_changed_status(reader, &liveliness), DDS_RETCODE_OK);
    EXPECT_EQ(liveliness.alive_count, 2);
    EXPECT_EQ(liveliness.alive_count_change, 2);

    // Each writer's handle as its samples carry it.
    DDS_SampleInfo info{};
    ASSERT_EQ(write(first, "red", 1), DDS_RETCODE_OK);
    take(reader, &info, DDS_BOOLEAN_FALSE);
    const DDS_InstanceHandle_t firstHandle = info.publication_handle;
    ASSERT_EQ(write(second, "red", 2), DDS_RETCODE_OK);
    ASSERT_EQ(write(second, "blue", 3), DDS_RETCODE_OK);
    take(reader, &info);
    const DDS_InstanceHandle_t secondHandle = info.publication_handle;
    EXPECT_TRUE(sameHandle(liveliness.last_publication_handle, secondHandle));
    DDS_InstanceHandleSeq handles = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_EQ(DDS_DataReader_get_matched_publications(reader, &handles), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_InstanceHandleSeq_get_length(&handles), 2);
    EXPECT_TRUE(sameHandle(*DDS_InstanceHandleSeq_get_reference(&handles, 0), firstHandle) !=
                sameHandle(*DDS_InstanceHandleSeq_get_reference(&handles, 1), firstHandle));

    // Totals with a reset of the changes only; per writer, each with its own reset.
    DDS_DataReaderProtocolStatus total = protocolOf(reader, DDS_BOOLEAN_TRUE);
    EXPECT_EQ(total.received_sample_count, 3);
    EXPECT_GT(total.received_sample_bytes, 3 * 8);
    EXPECT_EQ(total.rejected_sample_count, 1);
    ASSERT_EQ(write(first, "red", 4), DDS_RETCODE_OK);
    total = protocolOf(reader);
    EXPECT_EQ(total.received_sample_count, 4);
    EXPECT_EQ(total.received_sample_count_change, 1);
    EXPECT_EQ(total.rejected_sample_count_change, 0);
    DDS_DataReaderProtocolStatus ofFirst{}, ofSecond{};
    ASSERT_EQ(DDS_DataReader_get_matched_publication_datareader_protocol_status_ex(reader, &ofFirst, &firstHandle,
                                                                                  DDS_BOOLEAN_TRUE),
              DDS_RETCODE_OK);
    ASSERT_EQ(DDS_DataReader_get_matched_publication_datareader_protocol_status_ex(reader, &ofSecond, &secondHandle,
                                                                                  DDS_BOOLEAN_FALSE),
              DDS_RETCODE_OK);
    EXPECT_EQ(ofFirst.received_sample_count, 2);
    EXPECT_EQ(ofSecond.rejected_sample_count, 1);
    EXPECT_EQ(ofFirst.received_sample_bytes + ofSecond.received_sample_bytes, total.received_sample_bytes);
    ASSERT_EQ(DDS_DataReader_get_matched_publication_datareader_protocol_status_ex(reader, &ofFirst, &firstHandle,
                                                                                  DDS_BOOLEAN_FALSE),
              DDS_RETCODE_OK);
    EXPECT_EQ(ofFirst.received_sample_count_change, 0);

    // A writer that goes is no longer listed, alive or known by its handle.
    ASSERT_EQ(DDS_Publisher_delete_datawriter(publisher, second), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_DataReader_get_matched_publications(reader, &handles), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_InstanceHandleSeq_get_length(&handles), 1);
    EXPECT_TRUE(sameHandle(*DDS_InstanceHandleSeq_get_reference(&handles, 0), firstHandle));
    ASSERT_EQ(DDS_DataReader_get_liveliness_changed_status(reader, &liveliness), DDS_RETCODE_OK);
    EXPECT_EQ(liveliness.alive_count, 1);
    EXPECT_EQ(liveliness.alive_count_change, -1);
    for (const DDS_InstanceHandle_t *unknown : {&secondHandle, &DDS_HANDLE_NIL,
                                                 static_cast<const DDS_InstanceHandle_t *>(nullptr)}) {
        EXPECT_EQ(DDS_DataReader_get_matched_publication_datareader_protocol_status_ex(reader, &ofSecond, unknown,
                                                                                      DDS_BOOLEAN_FALSE),
                  DDS_RETCODE_BAD_PARAMETER);
    }
    EXPECT_TRUE(log.contains("DDS_DataReader_get_matched_publication_datareader_protocol_status",
                             ZEL_LOG_BAD_PARAMETER_s, "bad parameter: unknown publication\n"));
    DDS_InstanceHandleSeq_finalize(&handles);
}

}  // namespace
