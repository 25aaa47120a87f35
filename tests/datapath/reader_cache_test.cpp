// A reader's cache fed by writers over the in-process wire: instances in
// arrival order, samples lent or copied, read and take states, KEEP_LAST
// depth, dispose and rebirth, loans that block deletion, resource limits,
// duplicates and gaps, and matched writers with their liveliness and counters.
#include "data_reader_private.h"
#include "datapath_fixture.h"

namespace {

using zeltest::sameHandle;
using zeltest::Sample;
using zeltest::statusOf;
using Xs = zeltest::Xs;

class ReaderCacheTest : public zeltest::DataPathTest {};

TEST_F(ReaderCacheTest, LentAndCopiedSamplesFollowArrivalOrderStatesAndDepth) {
    readerQos.history.depth = 2;
    DDS_DataReader *reader = createReader();
    DDS_DataWriter *writer = createWriter();
    ASSERT_TRUE(reader != nullptr && writer != nullptr);
    // Depth 2: red keeps its two newest; red arrived first.
    writeEach(writer, {{"red", 1}, {"blue", 2}, {"red", 3}, {"red", 4}});
    dp_ShapeSeq lent = ZEL_SEQUENCE_INITIALIZER;
    DDS_SampleInfoSeq lentInfos = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_EQ(readOrTake(reader, &lent, &lentInfos, false), DDS_RETCODE_OK);
    ASSERT_EQ(dp_ShapeSeq_get_length(&lent), 3);
    const std::vector<Sample> got = zeltest::samplesOf(&lent, &lentInfos);
    ASSERT_EQ(got.size(), 3u);
    const Xs expectedX = {3, 4, 2};
    for (size_t i = 0; i < got.size(); ++i) {
        EXPECT_EQ(got[i].x, expectedX[i]);
        EXPECT_EQ(got[i].info.sample_state, DDS_NOT_READ_SAMPLE_STATE);
        EXPECT_EQ(got[i].info.view_state, DDS_NEW_VIEW_STATE);
        EXPECT_EQ(got[i].info.instance_state, DDS_ALIVE_INSTANCE_STATE);
    }
    EXPECT_EQ(got[2].color, "blue");
    // Deleting while samples are lent is refused; a foreign sequence is no loan.
    EXPECT_EQ(DDS_Subscriber_delete_datareader(subscriber, reader), DDS_RETCODE_PRECONDITION_NOT_MET);
    dp_ShapeSeq foreign = ZEL_SEQUENCE_INITIALIZER;
    EXPECT_EQ(returnLoan(reader, &foreign, &lentInfos), DDS_RETCODE_PRECONDITION_NOT_MET);
    ASSERT_EQ(returnLoan(reader, &lent, &lentInfos), DDS_RETCODE_OK);
    EXPECT_EQ(dp_ShapeSeq_get_maximum(&lent), 0);
    // Read samples are no longer NOT_READ; their instances are not new.
    EXPECT_EQ(readOrTake(reader, &lent, &lentInfos, false, DDS_NOT_READ_SAMPLE_STATE), DDS_RETCODE_NO_DATA);

    // Copies into the caller's elements, at most its maximum; take removes.
    dp_ShapeSeq copies = ZEL_SEQUENCE_INITIALIZER;
    DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_TRUE(dp_ShapeSeq_set_maximum(&copies, 2) && DDS_SampleInfoSeq_set_maximum(&infos, 2));
    ASSERT_EQ(readOrTake(reader, &copies, &infos, true), DDS_RETCODE_OK);
    ASSERT_EQ(dp_ShapeSeq_get_length(&copies), 2);
    EXPECT_EQ(dp_ShapeSeq_get_reference(&copies, 1)->x, 4);
    EXPECT_EQ(DDS_SampleInfoSeq_get_reference(&infos, 0)->sample_state, DDS_READ_SAMPLE_STATE);
    EXPECT_EQ(DDS_SampleInfoSeq_get_reference(&infos, 0)->view_state, DDS_NOT_NEW_VIEW_STATE);
    ASSERT_EQ(readOrTake(reader, &copies, &infos, true), DDS_RETCODE_OK);
    ASSERT_EQ(dp_ShapeSeq_get_length(&copies), 1);
    EXPECT_STREQ(dp_ShapeSeq_get_reference(&copies, 0)->color, "blue");
    EXPECT_EQ(readOrTake(reader, &copies, &infos, true), DDS_RETCODE_NO_DATA);
    // A lending data sequence with an owned info sequence disagrees.
    EXPECT_EQ(readOrTake(reader, &lent, &infos, true), DDS_RETCODE_PRECONDITION_NOT_MET);
    dp_ShapeSeq_finalize(&copies);
    DDS_SampleInfoSeq_finalize(&infos);
    EXPECT_EQ(DDS_Subscriber_delete_datareader(subscriber, reader), DDS_RETCODE_OK);
}

TEST_F(ReaderCacheTest, DisposeEndsAGenerationAndANewSampleRevivesTheInstance) {
    DDS_DataReader *reader = createReader();
    DDS_DataWriter *writer = createWriter();
    ASSERT_TRUE(reader != nullptr && writer != nullptr);
    ASSERT_EQ(write(writer, "red", 1), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_DataWriter_dispose_untyped_generalI(writer, &shape, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    std::vector<Sample> got = samples(reader, true);
    ASSERT_EQ(got.size(), 2u);
    EXPECT_TRUE(got[0].info.valid_data);
    EXPECT_FALSE(got[1].info.valid_data);
    EXPECT_EQ(got[1].info.instance_state, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE);

    // Reborn, the instance is new and alive again.
    ASSERT_EQ(write(writer, "red", 2), DDS_RETCODE_OK);
    got = samples(reader, true, DDS_NEW_VIEW_STATE, DDS_ALIVE_INSTANCE_STATE);
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(got[0].x, 2);
    EXPECT_EQ(got[0].info.disposed_generation_count, 1);
}

TEST_F(ReaderCacheTest, MatchedWritersAreCountedListedAliveAndReceivedFromUntilTheyGo) {
    zeltest::LogCapture log;
    ASSERT_EQ(DDS_Subscriber_get_qos(subscriber, nullptr), DDS_RETCODE_BAD_PARAMETER);
    DDS_SubscriberQos subscriberQos = DDS_SubscriberQos_INITIALIZER;
    ASSERT_EQ(DDS_Subscriber_get_qos(subscriber, &subscriberQos), DDS_RETCODE_OK);
    subscriberQos.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
    ASSERT_EQ(DDS_Subscriber_set_qos(subscriber, &subscriberQos), DDS_RETCODE_OK);
    DDS_SubscriberQos_finalize(&subscriberQos);
    readerQos.resource_limits.max_instances = 1;  // a second colour is rejected
    DDS_DataReader *reader = createReader();
    ASSERT_NE(reader, nullptr);
    // Before enabling nothing has happened: communication statuses read as
    // initial, while the cache and the wire have nothing to report yet.
    DDS_SubscriptionMatchedStatus matched{};
    matched.total_count = 7;
    EXPECT_EQ(DDS_DataReader_get_subscription_matched_status(reader, &matched), DDS_RETCODE_OK);
    EXPECT_EQ(matched.total_count, 0);
    EXPECT_FALSE(matched.last_publication_handle.isValid);
    DDS_RequestedIncompatibleQosStatus incompatible = DDS_RequestedIncompatibleQosStatus_INITIALIZER;
    ASSERT_TRUE(DDS_QosPolicyCountSeq_ensure_length(&incompatible.policies, 2, 2));
    EXPECT_EQ(DDS_DataReader_get_requested_incompatible_qos_status(reader, &incompatible), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_QosPolicyCountSeq_get_length(&incompatible.policies), 0);
    DDS_QosPolicyCountSeq_finalize(&incompatible.policies);
    DDS_DataReaderCacheStatus cache{};
    EXPECT_EQ(DDS_DataReader_get_datareader_cache_status_ex(reader, &cache, DDS_BOOLEAN_FALSE),
              DDS_RETCODE_NOT_ENABLED);
    DDS_DataReaderProtocolStatus total{};
    EXPECT_EQ(DDS_DataReader_get_datareader_protocol_status_ex(reader, &total, DDS_BOOLEAN_FALSE),
              DDS_RETCODE_NOT_ENABLED);
    dp_ShapeSeq lent = ZEL_SEQUENCE_INITIALIZER;
    DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
    EXPECT_EQ(readOrTake(reader, &lent, &infos, true), DDS_RETCODE_NOT_ENABLED);

    ASSERT_EQ(DDS_Entity_enable(DDS_DataReader_as_entity(reader)), DDS_RETCODE_OK);
    DDS_DataWriter *first = createWriter();
    DDS_DataWriter *second = createWriter();
    ASSERT_TRUE(first != nullptr && second != nullptr);
    matched = statusOf(DDS_DataReader_get_subscription_matched_status_ex, reader, false);
    EXPECT_EQ(matched.current_count, 2);
    EXPECT_EQ(matched.total_count_change, 2);
    DDS_LivelinessChangedStatus liveliness = statusOf(DDS_DataReader_get_liveliness_changed_status, reader);
    EXPECT_EQ(liveliness.alive_count, 2);
    EXPECT_EQ(liveliness.alive_count_change, 2);

    // Each writer's handle as its samples carry it.
    DDS_SampleInfo info{};
    ASSERT_EQ(write(first, "red", 1), DDS_RETCODE_OK);
    take(reader, &info, false);
    const DDS_InstanceHandle_t firstHandle = info.publication_handle;
    writeEach(second, {{"red", 2}, {"blue", 3}});
    take(reader, &info);
    const DDS_InstanceHandle_t secondHandle = info.publication_handle;
    EXPECT_TRUE(sameHandle(liveliness.last_publication_handle, secondHandle));
    DDS_InstanceHandleSeq handles = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_EQ(DDS_DataReader_get_matched_publications(reader, &handles), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_InstanceHandleSeq_get_length(&handles), 2);
    EXPECT_TRUE(sameHandle(*DDS_InstanceHandleSeq_get_reference(&handles, 0), firstHandle) !=
                sameHandle(*DDS_InstanceHandleSeq_get_reference(&handles, 1), firstHandle));

    // Totals with a reset of the changes only; per writer, each with its own reset.
    total = protocolOf(reader, true);
    EXPECT_EQ(total.received_sample_count, 3);
    EXPECT_GT(total.received_sample_bytes, 3 * 8);
    EXPECT_EQ(total.rejected_sample_count, 1);
    ASSERT_EQ(write(first, "red", 4), DDS_RETCODE_OK);
    total = protocolOf(reader);
    EXPECT_EQ(total.received_sample_count, 4);
    EXPECT_EQ(total.received_sample_count_change, 1);
    EXPECT_EQ(total.rejected_sample_count_change, 0);
    const auto ofWriter = [&](const DDS_InstanceHandle_t *handle, bool reset, DDS_ReturnCode_t expected) {
        DDS_DataReaderProtocolStatus status{};
        EXPECT_EQ(DDS_DataReader_get_matched_publication_datareader_protocol_status_ex(
                          reader, &status, handle, reset ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE),
                  expected);
        return status;
    };
    const DDS_DataReaderProtocolStatus ofFirst = ofWriter(&firstHandle, true, DDS_RETCODE_OK);
    const DDS_DataReaderProtocolStatus ofSecond = ofWriter(&secondHandle, false, DDS_RETCODE_OK);
    EXPECT_EQ(ofFirst.received_sample_count, 2);
    EXPECT_EQ(ofSecond.rejected_sample_count, 1);
    EXPECT_EQ(ofFirst.received_sample_bytes + ofSecond.received_sample_bytes, total.received_sample_bytes);
    EXPECT_EQ(ofWriter(&firstHandle, false, DDS_RETCODE_OK).received_sample_count_change, 0);

    // A writer that goes is no longer counted, listed, alive or known by its handle.
    ASSERT_EQ(DDS_Publisher_delete_datawriter(publisher, second), DDS_RETCODE_OK);
    matched = statusOf(DDS_DataReader_get_subscription_matched_status, reader);
    EXPECT_EQ(matched.current_count, 1);
    EXPECT_EQ(matched.current_count_peak, 2);
    EXPECT_EQ(matched.total_count, 2);
    EXPECT_EQ(matched.current_count_change, 1);
    matched = statusOf(DDS_DataReader_get_subscription_matched_status, reader);
    EXPECT_EQ(matched.total_count_change, 0);
    EXPECT_EQ(matched.current_count_change, 0);
    ASSERT_EQ(DDS_DataReader_get_matched_publications(reader, &handles), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_InstanceHandleSeq_get_length(&handles), 1);
    EXPECT_TRUE(sameHandle(*DDS_InstanceHandleSeq_get_reference(&handles, 0), firstHandle));
    liveliness = statusOf(DDS_DataReader_get_liveliness_changed_status, reader);
    EXPECT_EQ(liveliness.alive_count, 1);
    EXPECT_EQ(liveliness.alive_count_change, -1);
    for (const DDS_InstanceHandle_t *unknown :
         {&secondHandle, &DDS_HANDLE_NIL, static_cast<const DDS_InstanceHandle_t *>(nullptr)}) {
        ofWriter(unknown, false, DDS_RETCODE_BAD_PARAMETER);
    }
    EXPECT_TRUE(log.contains("DDS_DataReader_get_matched_publication_datareader_protocol_status",
                             ZEL_LOG_BAD_PARAMETER_s, "bad parameter: unknown publication\n"));
    DDS_InstanceHandleSeq_finalize(&handles);
}

TEST_F(ReaderCacheTest, ResourceLimitsRejectSamplesWithTheirReason) {
    readerQos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
    readerQos.resource_limits.max_samples = 3;
    readerQos.resource_limits.max_instances = 2;
    readerQos.resource_limits.max_samples_per_instance = 2;
    DDS_DataReader *reader = createReader();
    DDS_DataWriter *writer = createWriter();
    ASSERT_TRUE(reader != nullptr && writer != nullptr);
    writeEach(writer, {{"red", 1}, {"red", 2}, {"red", 3}});  // a full instance under KEEP_ALL
    DDS_SampleRejectedStatus rejected = statusOf(DDS_DataReader_get_sample_rejected_status_ex, reader, false);
    EXPECT_EQ(rejected.total_count, 1);
    EXPECT_EQ(rejected.last_reason, DDS_REJECTED_BY_SAMPLES_PER_INSTANCE_LIMIT);
    // Then the reader's whole cache is full, then a third instance.
    writeEach(writer, {{"blue", 4}, {"blue", 5}, {"green", 6}});
    rejected = statusOf(DDS_DataReader_get_sample_rejected_status, reader);
    EXPECT_EQ(rejected.total_count, 3);
    EXPECT_EQ(rejected.total_count_change, 3);
    EXPECT_EQ(rejected.last_reason, DDS_REJECTED_BY_INSTANCES_LIMIT);
    EXPECT_EQ(statusOf(DDS_DataReader_get_sample_rejected_status, reader).total_count_change, 0);

    // Taking makes room; the peak stays until a reset.
    EXPECT_EQ(take(reader), Xs({1, 2, 4}));
    DDS_DataReaderCacheStatus cache = statusOf(DDS_DataReader_get_datareader_cache_status_ex, reader, true);
    EXPECT_EQ(cache.sample_count, 0);
    EXPECT_EQ(cache.sample_count_peak, 3);
    EXPECT_EQ(statusOf(DDS_DataReader_get_datareader_cache_status_ex, reader, false).sample_count_peak, 0);
}

TEST_F(ReaderCacheTest, RepeatedSequenceNumbersAreDuplicatesAndGapsAreLost) {
    DDS_DataReader *reader = createReader();
    ASSERT_NE(reader, nullptr);
    // A writer on the wire itself, whose sequence numbers the test chooses.
    const ZELWireEndpointParams params = wireEndpoint(0x00fe0002u);
    ZELWireWriterListener listener{};
    const ZELWireOps *ops = wireOps();
    ZELWireWriter *raw = ops->createWriter(participant->wireParticipant, &params, &listener);
    ASSERT_NE(raw, nullptr);
    // The octets are no sample: the first delivery is rejected, yet counts
    // for its writer's sequence.
    const uint8_t junk[4] = {0xff, 0xff, 0xff, 0xff};
    ZELWireSample sample{};
    sample.data = junk;
    sample.size = sizeof(junk);
    ZELNtpTime_fromNanoseconds(&sample.lifespan, UINT64_MAX);
    for (int64_t sequenceNumber : {1, 1, 4}) {
        sample.sequenceNumber = sequenceNumber;
        ASSERT_EQ(ops->write(raw, &sample), ZEL_WIRE_WRITE_DONE);
    }
    ZELWireCounters counters{};
    ops->getReaderCounters(static_cast<ZELWireReader *>(reader->wireReader), &counters);
    EXPECT_EQ(counters.sampleCount, 3);
    EXPECT_EQ(counters.duplicateSampleCount, 1);
    const DDS_SampleLostStatus lost = statusOf(DDS_DataReader_get_sample_lost_status, reader);
    EXPECT_EQ(lost.total_count, 2);
    EXPECT_EQ(lost.last_reason, DDS_LOST_BY_WRITER);
    // Unmatched and matched again, a writer starts a new sequence.
    ops->deleteWriter(raw);
    raw = ops->createWriter(participant->wireParticipant, &params, &listener);
    ASSERT_NE(raw, nullptr);
    sample.sequenceNumber = 1;
    ASSERT_EQ(ops->write(raw, &sample), ZEL_WIRE_WRITE_DONE);
    ops->getReaderCounters(static_cast<ZELWireReader *>(reader->wireReader), &counters);
    EXPECT_EQ(counters.duplicateSampleCount, 1);
    ops->deleteWriter(raw);
}

}  // namespace
