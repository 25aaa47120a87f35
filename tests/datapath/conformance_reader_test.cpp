// Readers fed by writers over the in-process wire: instances in arrival
// order, samples lent or copied, read and take states, KEEP_LAST depth,
// dispose and rebirth, loans that block deletion, matches and allocation
// failures.
#include <cstdio>
#include <cstring>
#include <thread>

#include <gtest/gtest.h>

#include "data_reader_private.h"
#include "datapath_types.h"
#include "heap_check.h"
#include "log_capture.h"
#include "vurnc/dds_publication.h"
#include "vurncore/clock.h"
#include "vurnc/dds_subscription.h"

namespace {

class ReaderConformanceTest : public zeltest::HeapCheckedTest {
protected:
    void SetUp() override {
        HeapCheckedTest::SetUp();
        factory = DDS_DomainParticipantFactory_get_instance();
        ASSERT_NE(factory, nullptr);
        participant = DDS_DomainParticipantFactory_create_participant(factory, 9, &DDS_PARTICIPANT_QOS_DEFAULT,
                                                                      nullptr, DDS_STATUS_MASK_NONE);
        ASSERT_NE(participant, nullptr);
        ASSERT_EQ(dp_ShapeTypeSupport_register_type(participant, nullptr), DDS_RETCODE_OK);
        shapes = DDS_DomainParticipant_create_topic(participant, "Shapes", dp_ShapeTypeSupport_get_type_name(),
                                                    &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
        publisher = DDS_DomainParticipant_create_publisher(participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
        subscriber = DDS_DomainParticipant_create_subscriber(participant, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
        ASSERT_TRUE(shapes != nullptr && publisher != nullptr && subscriber != nullptr);
        ASSERT_EQ(DDS_Subscriber_get_default_datareader_qos(subscriber, &readerQos), DDS_RETCODE_OK);
        readerQos.history.depth = 2;
        writer = DDS_Publisher_create_datawriter(publisher, shapes, &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
        ASSERT_NE(writer, nullptr);
        ASSERT_TRUE(dp_Shape_initialize(&shape));
    }

    void TearDown() override {
        dp_Shape_finalize(&shape);
        DDS_DataReaderQos_finalize(&readerQos);
        if (participant != nullptr) {
            EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(participant), DDS_RETCODE_OK);
            DDS_DomainParticipant_unregister_type(participant, dp_ShapeTypeSupport_get_type_name());
            EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory, participant), DDS_RETCODE_OK);
        }
        EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
        HeapCheckedTest::TearDown();
    }

    DDS_DataReader *createReader() {
        return DDS_Subscriber_create_datareader(subscriber, DDS_Topic_as_topicdescription(shapes), &readerQos,
                                                nullptr, 0);
    }

    DDS_ReturnCode_t write(const char *color, DDS_Long x) {
        std::snprintf(shape.color, 33, "%s", color);
        shape.x = x;
        return DDS_DataWriter_write_untyped_generalI(writer, &shape, &DDS_HANDLE_NIL);
    }

    static DDS_ReturnCode_t takeAll(DDS_DataReader *reader, dp_ShapeSeq *data, DDS_SampleInfoSeq *infos,
                                    DDS_Boolean take) {
        return DDS_DataReader_read_or_take_untypedI(reader, reinterpret_cast<ZELSequence *>(data), infos,
                                                    DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                                                    DDS_ANY_INSTANCE_STATE, take);
    }

    DDS_DomainParticipantFactory *factory = nullptr;
    DDS_DomainParticipant *participant = nullptr;
    DDS_Topic *shapes = nullptr;
    DDS_Publisher *publisher = nullptr;
    DDS_Subscriber *subscriber = nullptr;
    DDS_DataWriter *writer = nullptr;
    DDS_DataReaderQos readerQos = DDS_DataReaderQos_INITIALIZER;
    dp_Shape shape{};
};

TEST_F(ReaderConformanceTest, LentAndCopiedSamplesFollowArrivalOrderStatesAndDepth) {
    DDS_DataReader *reader = createReader();
    ASSERT_NE(reader, nullptr);
    EXPECT_TRUE(DDS_DataReader_compare_typeI(reader, dp_ShapeTypeSupport_get_type_name()));
    EXPECT_FALSE(DDS_DataReader_compare_typeI(reader, "dp::Tick"));
    // Depth 2: red keeps its two newest; red arrived first.
    ASSERT_EQ(write("red", 1), DDS_RETCODE_OK);
    ASSERT_EQ(write("blue", 2), DDS_RETCODE_OK);
    ASSERT_EQ(write("red", 3), DDS_RETCODE_OK);
    ASSERT_EQ(write("red", 4), DDS_RETCODE_OK);

    dp_ShapeSeq lent = ZEL_SEQUENCE_INITIALIZER;
    DDS_SampleInfoSeq lentInfos = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_EQ(takeAll(reader, &lent, &lentInfos, DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    ASSERT_EQ(dp_ShapeSeq_get_length(&lent), 3);
    ASSERT_EQ(DDS_SampleInfoSeq_get_length(&lentInfos), 3);
    const DDS_Long expectedX[] = {3, 4, 2};
    for (DDS_Long i = 0; i < 3; ++i) {
        EXPECT_EQ(dp_ShapeSeq_get_reference(&lent, i)->x, expectedX[i]);
        const DDS_SampleInfo *info = DDS_SampleInfoSeq_get_reference(&lentInfos, i);
        EXPECT_EQ(info->sample_state, DDS_NOT_READ_SAMPLE_STATE);
        EXPECT_EQ(info->view_state, DDS_NEW_VIEW_STATE);
        EXPECT_EQ(info->instance_state, DDS_ALIVE_INSTANCE_STATE);
        EXPECT_TRUE(info->valid_data);
    }
    EXPECT_STREQ(dp_ShapeSeq_get_reference(&lent, 2)->color, "blue");
    // Deleting while samples are lent is refused; a foreign sequence is no loan.
    EXPECT_EQ(DDS_Subscriber_delete_datareader(subscriber, reader), DDS_RETCODE_PRECONDITION_NOT_MET);
    dp_ShapeSeq foreign = ZEL_SEQUENCE_INITIALIZER;
    EXPECT_EQ(DDS_DataReader_return_loan_untypedI(reader, reinterpret_cast<ZELSequence *>(&foreign), &lentInfos),
              DDS_RETCODE_PRECONDITION_NOT_MET);
    ASSERT_EQ(DDS_DataReader_return_loan_untypedI(reader, reinterpret_cast<ZELSequence *>(&lent), &lentInfos),
              DDS_RETCODE_OK);
    EXPECT_EQ(dp_ShapeSeq_get_maximum(&lent), 0);

    // Read samples are no longer NOT_READ; their instances are not new.
    EXPECT_EQ(DDS_DataReader_read_or_take_untypedI(reader, reinterpret_cast<ZELSequence *>(&lent), &lentInfos,
                                                   DDS_LENGTH_UNLIMITED, DDS_NOT_READ_SAMPLE_STATE,
                                                   DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE, DDS_BOOLEAN_FALSE),
              DDS_RETCODE_NO_DATA);

    // Copies into the caller's elements, at most its maximum; take removes.
    dp_ShapeSeq copies = ZEL_SEQUENCE_INITIALIZER;
    DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_TRUE(dp_ShapeSeq_set_maximum(&copies, 2));
    ASSERT_TRUE(DDS_SampleInfoSeq_set_maximum(&infos, 2));
    ASSERT_EQ(takeAll(reader, &copies, &infos, DDS_BOOLEAN_TRUE), DDS_RETCODE_OK);
    ASSERT_EQ(dp_ShapeSeq_get_length(&copies), 2);
    EXPECT_EQ(dp_ShapeSeq_get_reference(&copies, 1)->x, 4);
    EXPECT_EQ(DDS_SampleInfoSeq_get_reference(&infos, 0)->sample_state, DDS_READ_SAMPLE_STATE);
    EXPECT_EQ(DDS_SampleInfoSeq_get_reference(&infos, 0)->view_state, DDS_NOT_NEW_VIEW_STATE);
    ASSERT_EQ(takeAll(reader, &copies, &infos, DDS_BOOLEAN_TRUE), DDS_RETCODE_OK);
    ASSERT_EQ(dp_ShapeSeq_get_length(&copies), 1);
    EXPECT_STREQ(dp_ShapeSeq_get_reference(&copies, 0)->color, "blue");
    EXPECT_EQ(takeAll(reader, &copies, &infos, DDS_BOOLEAN_TRUE), DDS_RETCODE_NO_DATA);
    // A lending data sequence with an owned info sequence disagrees.
    EXPECT_EQ(takeAll(reader, &lent, &infos, DDS_BOOLEAN_TRUE), DDS_RETCODE_PRECONDITION_NOT_MET);
    dp_ShapeSeq_finalize(&copies);
    DDS_SampleInfoSeq_finalize(&infos);
    EXPECT_EQ(DDS_Subscriber_delete_datareader(subscriber, reader), DDS_RETCODE_OK);
}

TEST_F(ReaderConformanceTest, DisposeEndsAGenerationAndANewSampleRevivesTheInstance) {
    DDS_DataReader *reader = createReader();
    ASSERT_NE(reader, nullptr);
    ASSERT_EQ(write("red", 1), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_DataWriter_dispose_untyped_generalI(writer, &shape, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    dp_ShapeSeq lent = ZEL_SEQUENCE_INITIALIZER;
    DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_EQ(takeAll(reader, &lent, &infos, DDS_BOOLEAN_TRUE), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_SampleInfoSeq_get_length(&infos), 2);
    EXPECT_TRUE(DDS_SampleInfoSeq_get_reference(&infos, 0)->valid_data);
    EXPECT_FALSE(DDS_SampleInfoSeq_get_reference(&infos, 1)->valid_data);
    EXPECT_EQ(DDS_SampleInfoSeq_get_reference(&infos, 1)->instance_state, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE);
    ASSERT_EQ(DDS_DataReader_return_loan_untypedI(reader, reinterpret_cast<ZELSequence *>(&lent), &infos),
              DDS_RETCODE_OK);

    ASSERT_EQ(write("red", 2), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_DataReader_read_or_take_untypedI(reader, reinterpret_cast<ZELSequence *>(&lent), &infos,
                                                   DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_NEW_VIEW_STATE,
                                                   DDS_ALIVE_INSTANCE_STATE, DDS_BOOLEAN_TRUE),
              DDS_RETCODE_OK);
    ASSERT_EQ(DDS_SampleInfoSeq_get_length(&infos), 1);
    EXPECT_EQ(DDS_SampleInfoSeq_get_reference(&infos, 0)->disposed_generation_count, 1);
    EXPECT_EQ(dp_ShapeSeq_get_reference(&lent, 0)->x, 2);
    ASSERT_EQ(DDS_DataReader_return_loan_untypedI(reader, reinterpret_cast<ZELSequence *>(&lent), &infos),
              DDS_RETCODE_OK);
}

TEST_F(ReaderConformanceTest, MatchesCountUntilResetAndADisabledReaderRefusesDataButReportsInitialStatuses) {
    ASSERT_EQ(DDS_Subscriber_get_qos(subscriber, nullptr), DDS_RETCODE_BAD_PARAMETER);
    DDS_SubscriberQos subscriberQos = DDS_SubscriberQos_INITIALIZER;
    ASSERT_EQ(DDS_Subscriber_get_qos(subscriber, &subscriberQos), DDS_RETCODE_OK);
    subscriberQos.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
    ASSERT_EQ(DDS_Subscriber_set_qos(subscriber, &subscriberQos), DDS_RETCODE_OK);
    DDS_SubscriberQos_finalize(&subscriberQos);
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
    DDS_DataReaderProtocolStatus protocol{};
    EXPECT_EQ(DDS_DataReader_get_datareader_protocol_status_ex(reader, &protocol, DDS_BOOLEAN_FALSE),
              DDS_RETCODE_NOT_ENABLED);
    dp_ShapeSeq lent = ZEL_SEQUENCE_INITIALIZER;
    DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
    EXPECT_EQ(takeAll(reader, &lent, &infos, DDS_BOOLEAN_TRUE), DDS_RETCODE_NOT_ENABLED);

    ASSERT_EQ(DDS_Entity_enable(DDS_DataReader_as_entity(reader)), DDS_RETCODE_OK);
    DDS_DataWriter *second =
            DDS_Publisher_create_datawriter(publisher, shapes, &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
    ASSERT_NE(second, nullptr);
    ASSERT_EQ(DDS_DataReader_get_subscription_matched_status_ex(reader, &matched, DDS_BOOLEAN_FALSE),
              DDS_RETCODE_OK);
    EXPECT_EQ(matched.current_count, 2);
    EXPECT_EQ(matched.total_count_change, 2);
    ASSERT_EQ(DDS_Publisher_delete_datawriter(publisher, second), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_DataReader_get_subscription_matched_status(reader, &matched), DDS_RETCODE_OK);
    EXPECT_EQ(matched.current_count, 1);
    EXPECT_EQ(matched.current_count_peak, 2);
    EXPECT_EQ(matched.total_count, 2);
    EXPECT_EQ(matched.current_count_change, 1);
    ASSERT_EQ(DDS_DataReader_get_subscription_matched_status(reader, &matched), DDS_RETCODE_OK);
    EXPECT_EQ(matched.total_count_change, 0);
    EXPECT_EQ(matched.current_count_change, 0);
}

TEST_F(ReaderConformanceTest, ResourceLimitsRejectSamplesWithTheirReason) {
    readerQos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
    readerQos.resource_limits.max_samples = 3;
    readerQos.resource_limits.max_instances = 2;
    readerQos.resource_limits.max_samples_per_instance = 2;
    DDS_DataReader *reader = createReader();
    ASSERT_NE(reader, nullptr);
    ASSERT_EQ(write("red", 1), DDS_RETCODE_OK);
    ASSERT_EQ(write("red", 2), DDS_RETCODE_OK);
    ASSERT_EQ(write("red", 3), DDS_RETCODE_OK);  // a full instance under KEEP_ALL
    DDS_SampleRejectedStatus rejected{};
    ASSERT_EQ(DDS_DataReader_get_sample_rejected_status_ex(reader, &rejected, DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    EXPECT_EQ(rejected.total_count, 1);
    EXPECT_EQ(rejected.last_reason, DDS_REJECTED_BY_SAMPLES_PER_INSTANCE_LIMIT);
    ASSERT_EQ(write("blue", 4), DDS_RETCODE_OK);
    ASSERT_EQ(write("blue", 5), DDS_RETCODE_OK);  // the reader's whole cache is full
    ASSERT_EQ(write("green", 6), DDS_RETCODE_OK); // a third instance
    ASSERT_EQ(DDS_DataReader_get_sample_rejected_status(reader, &rejected), DDS_RETCODE_OK);
    EXPECT_EQ(rejected.total_count, 3);
    EXPECT_EQ(rejected.total_count_change, 3);
    EXPECT_EQ(rejected.last_reason, DDS_REJECTED_BY_INSTANCES_LIMIT);
    ASSERT_EQ(DDS_DataReader_get_sample_rejected_status(reader, &rejected), DDS_RETCODE_OK);
    EXPECT_EQ(rejected.total_count_change, 0);

    // Taking makes room; the peak stays until a reset.
    dp_ShapeSeq copies = ZEL_SEQUENCE_INITIALIZER;
    DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_TRUE(dp_ShapeSeq_set_maximum(&copies, 2));
    ASSERT_TRUE(DDS_SampleInfoSeq_set_maximum(&infos, 2));
    ASSERT_EQ(takeAll(reader, &copies, &infos, DDS_BOOLEAN_TRUE), DDS_RETCODE_OK);
    DDS_DataReaderCacheStatus cache{};
    ASSERT_EQ(DDS_DataReader_get_datareader_cache_status_ex(reader, &cache, DDS_BOOLEAN_TRUE), DDS_RETCODE_OK);
    EXPECT_EQ(cache.sample_count, 1);
    EXPECT_EQ(cache.sample_count_peak, 3);
    ASSERT_EQ(DDS_DataReader_get_datareader_cache_status_ex(reader, &cache, DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    EXPECT_EQ(cache.sample_count_peak, 1);
    dp_ShapeSeq_finalize(&copies);
    DDS_SampleInfoSeq_finalize(&infos);
}

TEST_F(ReaderConformanceTest, RepeatedSequenceNumbersAreDuplicatesAndGapsAreLost) {
    DDS_DataReader *reader = createReader();
    ASSERT_NE(reader, nullptr);
    // A writer on the wire itself, whose sequence numbers the test chooses.
    ZELWireEndpointParams params{};
    for (int word = 0; word < 3; ++word) {
        params.guid.value[word] = static_cast<uint32_t>(participant->entity.key.value[word]);
    }
    params.guid.value[3] = 0x00fe0002u;
    params.topicName = "Shapes";
    params.typeName = dp_ShapeTypeSupport_get_type_name();
    params.keyed = ZEL_TRUE;
    ZELNtpTime_fromNanoseconds(&params.qos.deadlinePeriod, UINT64_MAX);
    ZELNtpTime_fromNanoseconds(&params.qos.livelinessLeaseDuration, UINT64_MAX);
    ZELWireWriterListener listener{};
    const ZELWireOps *ops = DDS_Entity_getWireI(&participant->entity)->ops;
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
        ASSERT_TRUE(ops->write(raw, &sample));
    }
    ZELWireCounters counters{};
    ops->getReaderCounters(static_cast<ZELWireReader *>(reader->wireReader), &counters);
    EXPECT_EQ(counters.sampleCount, 3);
    EXPECT_EQ(counters.duplicateSampleCount, 1);
    DDS_SampleLostStatus lost{};
    ASSERT_EQ(DDS_DataReader_get_sample_lost_status(reader, &lost), DDS_RETCODE_OK);
    EXPECT_EQ(lost.total_count, 2);
    EXPECT_EQ(lost.last_reason, DDS_LOST_BY_WRITER);
    // Unmatched and matched again, a writer starts a new sequence.
    ops->deleteWriter(raw);
    raw = ops->createWriter(participant->wireParticipant, &params, &listener);
    ASSERT_NE(raw, nullptr);
    sample.sequenceNumber = 1;
    ASSERT_TRUE(ops->write(raw, &sample));
    ops->getReaderCounters(static_cast<ZELWireReader *>(reader->wireReader), &counters);
    EXPECT_EQ(counters.duplicateSampleCount, 1);
    ops->deleteWriter(raw);
}

TEST_F(ReaderConformanceTest, WritersWriteWhileReadersTakeAndComeAndGo) {
    DDS_DataReader *steady = createReader();
    ASSERT_NE(steady, nullptr);
    DDS_DataWriter *second =
            DDS_Publisher_create_datawriter(publisher, shapes, &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
    ASSERT_NE(second, nullptr);
    auto writeMany = [&](DDS_DataWriter *target, const char *color) {
        dp_Shape local{};
        ASSERT_TRUE(dp_Shape_initialize(&local));
        std::snprintf(local.color, 33, "%s", color);
        for (DDS_Long i = 0; i < 300; ++i) {
            local.x = i;
            EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(target, &local, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
        }
        dp_Shape_finalize(&local);
    };
    std::thread first(writeMany, writer, "red");
    std::thread other(writeMany, second, "blue");
    std::thread churn([&] {
        for (int i = 0; i < 30; ++i) {
            DDS_DataReader *reader = createReader();
            ASSERT_NE(reader, nullptr);
            EXPECT_EQ(DDS_Subscriber_delete_datareader(subscriber, reader), DDS_RETCODE_OK);
        }
    });
    dp_ShapeSeq lent = ZEL_SEQUENCE_INITIALIZER;
    DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
    for (int i = 0; i < 200; ++i) {
        if (takeAll(steady, &lent, &infos, DDS_BOOLEAN_TRUE) == DDS_RETCODE_OK) {
            ASSERT_EQ(DDS_DataReader_return_loan_untypedI(steady, reinterpret_cast<ZELSequence *>(&lent), &infos),
                      DDS_RETCODE_OK);
        }
    }
    first.join();
    other.join();
    churn.join();
    // Depth 2 per instance: whatever the interleaving, no older sample is left.
    ASSERT_EQ(write("green", 999), DDS_RETCODE_OK);
    ASSERT_EQ(takeAll(steady, &lent, &infos, DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    for (DDS_Long i = 0; i < dp_ShapeSeq_get_length(&lent); ++i) {
        EXPECT_GE(dp_ShapeSeq_get_reference(&lent, i)->x, 298);
    }
    EXPECT_EQ(DDS_DataReader_return_loan_untypedI(steady, reinterpret_cast<ZELSequence *>(&lent), &infos),
              DDS_RETCODE_OK);
}

TEST_F(ReaderConformanceTest, AllocationFailuresRefuseCleanly) {
    zeltest::LogCapture logs;
    // The fixture's writer would keep a history across attempts: each attempt has its own.
    ASSERT_EQ(DDS_Publisher_delete_datawriter(publisher, writer), DDS_RETCODE_OK);
    writer = nullptr;
    long allocations = zeltest::forEachAllocationFailure([&](long) {
        writer = DDS_Publisher_create_datawriter(publisher, shapes, &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
        DDS_DataReader *reader = createReader();
        if (writer != nullptr && reader != nullptr && write("red", 1) == DDS_RETCODE_OK &&
            write("blue", 2) == DDS_RETCODE_OK) {
            dp_ShapeSeq lent = ZEL_SEQUENCE_INITIALIZER;
            DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
            if (takeAll(reader, &lent, &infos, DDS_BOOLEAN_FALSE) == DDS_RETCODE_OK) {
                EXPECT_EQ(DDS_DataReader_return_loan_untypedI(reader, reinterpret_cast<ZELSequence *>(&lent),
                                                              &infos),
                          DDS_RETCODE_OK);
            }
        }
        if (reader != nullptr) {
            EXPECT_EQ(DDS_Subscriber_delete_datareader(subscriber, reader), DDS_RETCODE_OK);
        }
        if (writer != nullptr) {
            EXPECT_EQ(DDS_Publisher_delete_datawriter(publisher, writer), DDS_RETCODE_OK);
        }
        writer = nullptr;
    });
    // Creation, enabling, delivery and the loan all allocate: each failure was met.
    EXPECT_GT(allocations, 20);
}

} // namespace
