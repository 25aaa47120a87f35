// A reader's matched publications, its liveliness of matched writers and
// the protocol counters of what it received, in total and per writer.
#include "log_capture.h"
#include "reader_qos_fixture.h"

namespace {

using zeltest::sameHandle;

class ReaderStatusTest : public zeltest::ReaderQosTest {
protected:
    // A writer's handle as readers see it: its key's words, each most
    // significant octet first.
    static DDS_InstanceHandle_t handleOf(DDS_DataWriter *writer) {
        const DDS_BuiltinTopicKey_t *key = DDS_DataWriter_get_builtin_topic_key(writer);
        DDS_InstanceHandle_t handle{};
        for (int word = 0; word < 4; ++word) {
            const auto value = static_cast<uint32_t>(key->value[word]);
            for (int octet = 0; octet < 4; ++octet) {
                handle.value[word * 4 + octet] = static_cast<DDS_Octet>(value >> (24 - 8 * octet));
            }
        }
        handle.length = 16;
        handle.isValid = DDS_BOOLEAN_TRUE;
        return handle;
    }

    static DDS_DataReaderProtocolStatus protocolOf(DDS_DataReader *reader, DDS_DataWriter *writer,
                                                   DDS_Boolean reset) {
        DDS_DataReaderProtocolStatus status{};
        const DDS_InstanceHandle_t handle = handleOf(writer);
        EXPECT_EQ(DDS_DataReader_get_matched_publication_datareader_protocol_status_ex(reader, &status, &handle,
                                                                                      reset),
                  DDS_RETCODE_OK);
        return status;
    }
};

TEST_F(ReaderStatusTest, MatchedWritersAreListedAliveAndCountedPerWriterUntilTheyGo) {
    zeltest::LogCapture log;
    readerQos.resource_limits.max_instances = 1;  // a second colour is rejected
    DDS_DataReader *reader = createReader();
    DDS_DataWriter *first = createWriter();
    DDS_DataWriter *second = createWriter();
    ASSERT_TRUE(reader != nullptr && first != nullptr && second != nullptr);

    DDS_InstanceHandleSeq handles = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_EQ(DDS_DataReader_get_matched_publications(reader, &handles), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_InstanceHandleSeq_get_length(&handles), 2);
    int found = 0;
    for (DDS_Long i = 0; i < 2; ++i) {
        const DDS_InstanceHandle_t *handle = DDS_InstanceHandleSeq_get_reference(&handles, i);
        found += sameHandle(*handle, handleOf(first)) ? 1 : 0;
        found += sameHandle(*handle, handleOf(second)) ? 2 : 0;
    }
    EXPECT_EQ(found, 3);

    DDS_LivelinessChangedStatus liveliness{};
    ASSERT_EQ(DDS_DataReader_get_liveliness_changed_status_ex(reader, &liveliness, DDS_BOOLEAN_TRUE),
              DDS_RETCODE_OK);
    EXPECT_EQ(liveliness.alive_count, 2);
    EXPECT_EQ(liveliness.alive_count_change, 2);
    EXPECT_EQ(liveliness.not_alive_count, 0);
    EXPECT_TRUE(sameHandle(liveliness.last_publication_handle, handleOf(second)));

    ASSERT_EQ(write(first, "red", 1), DDS_RETCODE_OK);
    ASSERT_EQ(write(second, "blue", 2), DDS_RETCODE_OK);
    ASSERT_EQ(write(second, "red", 3), DDS_RETCODE_OK);

    // The reader's own counters: three received, one rejected; a reset
    // clears the changes only.
    DDS_DataReaderProtocolStatus total{};
    ASSERT_EQ(DDS_DataReader_get_datareader_protocol_status_ex(reader, &total, DDS_BOOLEAN_TRUE), DDS_RETCODE_OK);
    EXPECT_EQ(total.received_sample_count, 3);
    EXPECT_EQ(total.received_sample_count_change, 3);
    EXPECT_GT(total.received_sample_bytes, 3 * 8);
    EXPECT_EQ(total.received_sample_bytes_change, total.received_sample_bytes);
    EXPECT_EQ(total.rejected_sample_count, 1);
    EXPECT_EQ(total.duplicate_sample_count, 0);
    ASSERT_EQ(write(first, "red", 4), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_DataReader_get_datareader_protocol_status_ex(reader, &total, DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    EXPECT_EQ(total.received_sample_count, 4);
    EXPECT_EQ(total.received_sample_count_change, 1);
    EXPECT_EQ(total.rejected_sample_count_change, 0);

    // Per writer, each with its own reset.
    DDS_DataReaderProtocolStatus ofFirst = protocolOf(reader, first, DDS_BOOLEAN_TRUE);
    EXPECT_EQ(ofFirst.received_sample_count, 2);
    EXPECT_EQ(ofFirst.rejected_sample_count, 0);
    DDS_DataReaderProtocolStatus ofSecond = protocolOf(reader, second, DDS_BOOLEAN_FALSE);
    EXPECT_EQ(ofSecond.received_sample_count, 2);
    EXPECT_EQ(ofSecond.received_sample_count_change, 2);
    EXPECT_EQ(ofSecond.rejected_sample_count, 1);
    EXPECT_EQ(ofFirst.received_sample_bytes + ofSecond.received_sample_bytes, total.received_sample_bytes);
    ofFirst = protocolOf(reader, first, DDS_BOOLEAN_FALSE);
    EXPECT_EQ(ofFirst.received_sample_count_change, 0);
    EXPECT_EQ(ofFirst.received_sample_count, 2);

    // A writer that goes is no longer listed, alive or known by its handle.
    const DDS_InstanceHandle_t secondHandle = handleOf(second);
    ASSERT_EQ(DDS_Publisher_delete_datawriter(publisher, second), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_DataReader_get_matched_publications(reader, &handles), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_InstanceHandleSeq_get_length(&handles), 1);
    EXPECT_TRUE(sameHandle(*DDS_InstanceHandleSeq_get_reference(&handles, 0), handleOf(first)));
    ASSERT_EQ(DDS_DataReader_get_liveliness_changed_status(reader, &liveliness), DDS_RETCODE_OK);
    EXPECT_EQ(liveliness.alive_count, 1);
    EXPECT_EQ(liveliness.alive_count_change, -1);
    EXPECT_TRUE(sameHandle(liveliness.last_publication_handle, secondHandle));
    DDS_DataReaderProtocolStatus unknown{};
    EXPECT_EQ(DDS_DataReader_get_matched_publication_datareader_protocol_status_ex(reader, &unknown, &secondHandle,
                                                                                  DDS_BOOLEAN_FALSE),
              DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_DataReader_get_matched_publication_datareader_protocol_status_ex(reader, &unknown, &DDS_HANDLE_NIL,
                                                                                  DDS_BOOLEAN_FALSE),
              DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_DataReader_get_matched_publication_datareader_protocol_status_ex(reader, &unknown, nullptr,
                                                                                  DDS_BOOLEAN_FALSE),
              DDS_RETCODE_BAD_PARAMETER);
    EXPECT_TRUE(log.contains("DDS_DataReader_get_matched_publication_datareader_protocol_status",
                             ZEL_LOG_BAD_PARAMETER_s,
                             "bad parameter: unknown publication\n"));
    DDS_InstanceHandleSeq_finalize(&handles);
}

TEST_F(ReaderStatusTest, ReaderNotEnabledHasNoStatusesAndNullArgumentsAreRefused) {
    zeltest::LogCapture log;
    DDS_SubscriberQos subscriberQos = DDS_SubscriberQos_INITIALIZER;
    ASSERT_EQ(DDS_Subscriber_get_qos(subscriber, &subscriberQos), DDS_RETCODE_OK);
    subscriberQos.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
    ASSERT_EQ(DDS_Subscriber_set_qos(subscriber, &subscriberQos), DDS_RETCODE_OK);
    DDS_SubscriberQos_finalize(&subscriberQos);
    DDS_DataReader *reader = createReader();
    ASSERT_NE(reader, nullptr);

    DDS_LivelinessChangedStatus liveliness{};
    DDS_RequestedDeadlineMissedStatus deadline{};
    DDS_DataReaderProtocolStatus protocol{};
    DDS_InstanceHandleSeq handles = ZEL_SEQUENCE_INITIALIZER;
    EXPECT_EQ(DDS_DataReader_get_liveliness_changed_status(reader, &liveliness), DDS_RETCODE_NOT_ENABLED);
    EXPECT_EQ(DDS_DataReader_get_requested_deadline_missed_status(reader, &deadline), DDS_RETCODE_NOT_ENABLED);
    EXPECT_EQ(DDS_DataReader_get_datareader_protocol_status_ex(reader, &protocol, DDS_BOOLEAN_TRUE),
              DDS_RETCODE_NOT_ENABLED);
    EXPECT_EQ(DDS_DataReader_get_matched_publications(reader, &handles), DDS_RETCODE_NOT_ENABLED);

    EXPECT_EQ(DDS_DataReader_get_liveliness_changed_status(nullptr, &liveliness), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_DataReader_get_requested_deadline_missed_status(reader, nullptr), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_TRUE(log.contains("DDS_DataReader_get_requested_deadline_missed_status", ZEL_LOG_BAD_PARAMETER_s,
                             "bad parameter: status\n"));

    // Once enabled, a reader with no writer has empty statuses.
    ASSERT_EQ(DDS_Entity_enable(DDS_DataReader_as_entity(reader)), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DataReader_get_matched_publications(reader, &handles), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_InstanceHandleSeq_get_length(&handles), 0);
    EXPECT_EQ(DDS_DataReader_get_requested_deadline_missed_status(reader, &deadline), DDS_RETCODE_OK);
    EXPECT_EQ(deadline.total_count, 0);
    EXPECT_FALSE(deadline.last_instance_handle.isValid);
    DDS_InstanceHandleSeq_finalize(&handles);
}

}  // namespace
