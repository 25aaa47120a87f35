// What a reader's QoS does to arriving samples and as its factory's clock
// moves: content and time-based filters, exclusive ownership, writers'
// liveliness and the instances they keep alive, deadlines, lifespans and
// late joiners.
#include "log_capture.h"
#include "reader_qos_fixture.h"

namespace {

using zeltest::sameHandle;
using zeltest::setMs;
using Xs = std::vector<DDS_Long>;

class ReaderQosBehaviourTest : public zeltest::ReaderQosTest {
protected:
    static DDS_Long cachedOf(DDS_DataReader *reader) {
        DDS_DataReaderCacheStatus status{};
        EXPECT_EQ(DDS_DataReader_get_datareader_cache_status_ex(reader, &status, DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
        return static_cast<DDS_Long>(status.sample_count);
    }

    static DDS_UnsignedLong instanceStateOf(DDS_DataReader *reader) {
        DDS_SampleInfo info{};
        take(reader, &info, DDS_BOOLEAN_FALSE);
        return info.instance_state;
    }

    DDS_Long deadlinesMissed(DDS_DataReader *reader, DDS_InstanceHandle_t *last = nullptr) {
        DDS_RequestedDeadlineMissedStatus status{};
        EXPECT_EQ(DDS_DataReader_get_requested_deadline_missed_status(reader, &status), DDS_RETCODE_OK);
        if (last != nullptr) {
            *last = status.last_instance_handle;
        }
        return status.total_count;
    }
};

TEST_F(ReaderQosBehaviourTest, ContentFilterDropsSamplesBeforeTheCacheAndFollowsNewParameters) {
    DDS_StringSeq parameters{};
    ASSERT_TRUE(DDS_StringSeq_initialize(&parameters));
    const char *low[] = {"10"};
    ASSERT_TRUE(DDS_StringSeq_from_array(&parameters, low, 1));
    DDS_ContentFilteredTopic *wide =
            DDS_DomainParticipant_create_contentfilteredtopic(participant, "Wide", shapes, "x > %0", &parameters);
    ASSERT_NE(wide, nullptr);
    DDS_DataReader *filtered = createReader(DDS_ContentFilteredTopic_as_topicdescription(wide));
    DDS_DataReader *plain = createReader();
    DDS_DataWriter *writer = createWriter();
    ASSERT_TRUE(filtered != nullptr && plain != nullptr && writer != nullptr);
    ASSERT_EQ(write(writer, "red", 5), DDS_RETCODE_OK);
    ASSERT_EQ(write(writer, "blue", 15), DDS_RETCODE_OK);
    ASSERT_EQ(write(writer, "green", 8), DDS_RETCODE_OK);
    EXPECT_EQ(cachedOf(filtered), 1);  // no room taken, no instance made
    EXPECT_EQ(protocolOf(filtered).filtered_sample_count, 2);
    EXPECT_EQ(protocolOf(plain).filtered_sample_count, 0);
    EXPECT_EQ(take(filtered), Xs({15}));
    EXPECT_EQ(take(plain), Xs({5, 15, 8}));

    // New parameters apply to the next arrivals; the skipped samples are not lost.
    const char *high[] = {"6"};
    ASSERT_TRUE(DDS_StringSeq_from_array(&parameters, high, 1));
    ASSERT_EQ(DDS_ContentFilteredTopic_set_expression_parameters(wide, &parameters), DDS_RETCODE_OK);
    ASSERT_EQ(write(writer, "red", 7), DDS_RETCODE_OK);
    ASSERT_EQ(write(writer, "red", 2), DDS_RETCODE_OK);
    EXPECT_EQ(take(filtered), Xs({7}));
    DDS_SampleLostStatus lost{};
    ASSERT_EQ(DDS_DataReader_get_sample_lost_status(filtered, &lost), DDS_RETCODE_OK);
    EXPECT_EQ(lost.total_count, 0);
    DDS_StringSeq_finalize(&parameters);
}

TEST_F(ReaderQosBehaviourTest, TimeBasedFilterKeepsOneSamplePerSeparationPerInstanceAndFollowsSetQos) {
    useHandClock();
    setMs(&readerQos.time_based_filter.minimum_separation, 100);
    DDS_DataReader *reader = createReader();
    DDS_DataWriter *writer = createWriter();
    ASSERT_TRUE(reader != nullptr && writer != nullptr);
    ASSERT_EQ(write(writer, "red", 1), DDS_RETCODE_OK);
    advanceMs(50);
    ASSERT_EQ(write(writer, "red", 2), DDS_RETCODE_OK);   // too soon after 1
    ASSERT_EQ(write(writer, "blue", 3), DDS_RETCODE_OK);  // another instance
    advanceMs(50);
    ASSERT_EQ(write(writer, "red", 4), DDS_RETCODE_OK);   // 100 ms after 1
    ASSERT_EQ(write(writer, "blue", 5), DDS_RETCODE_OK);  // 50 ms after 3
    EXPECT_EQ(take(reader), Xs({1, 4, 3}));
    EXPECT_EQ(protocolOf(reader).filtered_sample_count, 2);

    // The separation may change on the enabled reader; the ownership kind may not.
    DDS_DataReaderQos changed = DDS_DataReaderQos_INITIALIZER;
    ASSERT_EQ(DDS_DataReader_get_qos(reader, &changed), DDS_RETCODE_OK);
    setMs(&changed.time_based_filter.minimum_separation, 0);
    ASSERT_EQ(DDS_DataReader_set_qos(reader, &changed), DDS_RETCODE_OK);
    ASSERT_EQ(write(writer, "red", 6), DDS_RETCODE_OK);
    ASSERT_EQ(write(writer, "red", 7), DDS_RETCODE_OK);
    EXPECT_EQ(take(reader), Xs({6, 7}));
    zeltest::LogCapture log;
    changed.ownership.kind = DDS_EXCLUSIVE_OWNERSHIP_QOS;
    EXPECT_EQ(DDS_DataReader_set_qos(reader, &changed), DDS_RETCODE_IMMUTABLE_POLICY);
    DDS_DataReaderQos_finalize(&changed);
}

TEST_F(ReaderQosBehaviourTest, DeadlinesAndLifespansFollowTheFactoryClock) {
    useHandClock();
    setMs(&writerQos.deadline.period, 100);
    setMs(&readerQos.deadline.period, 100);
    setMs(&writerQos.lifespan.duration, 300);
    DDS_DataReader *reader = createReader();
    DDS_DataWriter *writer = createWriter();
    ASSERT_TRUE(reader != nullptr && writer != nullptr);
    advanceMs(500);
    EXPECT_EQ(deadlinesMissed(reader), 0);  // no instance, no deadline

    ASSERT_EQ(write(writer, "red", 1), DDS_RETCODE_OK);
    ASSERT_EQ(write(writer, "blue", 2), DDS_RETCODE_OK);
    advanceMs(250);  // two periods of each instance
    ASSERT_EQ(write(writer, "red", 3), DDS_RETCODE_OK);
    DDS_OfferedDeadlineMissedStatus offered{};
    ASSERT_EQ(DDS_DataWriter_get_offered_deadline_missed_status(writer, &offered), DDS_RETCODE_OK);
    EXPECT_EQ(offered.total_count, 4);
    DDS_RequestedDeadlineMissedStatus requested{};
    ASSERT_EQ(DDS_DataReader_get_requested_deadline_missed_status_ex(reader, &requested, DDS_BOOLEAN_FALSE),
              DDS_RETCODE_OK);
    EXPECT_EQ(requested.total_count, 4);
    advanceMs(60);  // blue 310 ms silent, red 60 ms: red's write restarted its period
    ASSERT_EQ(DDS_DataReader_get_requested_deadline_missed_status_ex(reader, &requested, DDS_BOOLEAN_TRUE),
              DDS_RETCODE_OK);
    EXPECT_EQ(requested.total_count, 5);
    EXPECT_EQ(requested.total_count_change, 5);
    std::snprintf(shape.color, 33, "blue");
    const DDS_InstanceHandle_t blue = DDS_DataWriter_lookup_instance_untypedI(writer, &shape);
    EXPECT_TRUE(sameHandle(requested.last_instance_handle, blue));
    advanceMs(50);  // red lapses once, 110 ms on; the reset cleared the change
    ASSERT_EQ(DDS_DataReader_get_requested_deadline_missed_status_ex(reader, &requested, DDS_BOOLEAN_FALSE),
              DDS_RETCODE_OK);
    EXPECT_EQ(requested.total_count, 6);
    EXPECT_EQ(requested.total_count_change, 1);
    // Red's first sample and blue outlived their 300 ms.
    EXPECT_EQ(take(reader, nullptr, DDS_BOOLEAN_FALSE), Xs({3}));

    // A longer deadline set on the enabled reader counts from now on only.
    DDS_DataReaderQos changed = DDS_DataReaderQos_INITIALIZER;
    ASSERT_EQ(DDS_DataReader_get_qos(reader, &changed), DDS_RETCODE_OK);
    setMs(&changed.deadline.period, 1000);
    ASSERT_EQ(DDS_DataReader_set_qos(reader, &changed), DDS_RETCODE_OK);
    advanceMs(600);  // red silent 710 ms, blue 960 ms
    EXPECT_EQ(deadlinesMissed(reader), 6);
    advanceMs(100);  // blue passes its first second
    DDS_InstanceHandle_t last = DDS_HANDLE_NIL;
    EXPECT_EQ(deadlinesMissed(reader, &last), 7);
    EXPECT_TRUE(sameHandle(last, blue));
    EXPECT_EQ(take(reader), Xs({}));  // red's last sample outlived its lifespan too
    DDS_DataReaderQos_finalize(&changed);
}

TEST_F(ReaderQosBehaviourTest, TheStrongestLiveWriterOwnsAnInstance) {
    useHandClock();
    readerQos.ownership.kind = DDS_EXCLUSIVE_OWNERSHIP_QOS;
    writerQos.ownership.kind = DDS_EXCLUSIVE_OWNERSHIP_QOS;
    writerQos.liveliness.kind = DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS;
    setMs(&writerQos.liveliness.lease_duration, 100);
    writerQos.ownership_strength.value = 10;
    DDS_DataWriter *strong = createWriter();
    writerQos.ownership_strength.value = 5;
    DDS_DataWriter *weak = createWriter();
    DDS_DataReader *reader = createReader();
    ASSERT_TRUE(strong != nullptr && weak != nullptr && reader != nullptr);
    ASSERT_EQ(write(weak, "red", 1), DDS_RETCODE_OK);    // first comer owns it
    ASSERT_EQ(write(strong, "red", 2), DDS_RETCODE_OK);  // stronger takes it
    ASSERT_EQ(write(weak, "red", 3), DDS_RETCODE_OK);    // dropped
    ASSERT_EQ(write(weak, "blue", 4), DDS_RETCODE_OK);   // an instance of its own
    EXPECT_EQ(take(reader), Xs({1, 2, 4}));

    // The owner falls silent past its lease: the weaker writer takes over
    // until the stronger one writes again.
    advanceMs(60);
    ASSERT_EQ(write(weak, "blue", 5), DDS_RETCODE_OK);
    advanceMs(60);
    ASSERT_EQ(write(weak, "red", 6), DDS_RETCODE_OK);
    ASSERT_EQ(write(strong, "red", 7), DDS_RETCODE_OK);
    ASSERT_EQ(write(weak, "red", 8), DDS_RETCODE_OK);
    EXPECT_EQ(take(reader), Xs({6, 7, 5}));
    // The owner goes: ownership passes at another writer's next sample.
    ASSERT_EQ(DDS_Publisher_delete_datawriter(publisher, strong), DDS_RETCODE_OK);
    ASSERT_EQ(write(weak, "red", 9), DDS_RETCODE_OK);
    EXPECT_EQ(take(reader), Xs({9}));
}

TEST_F(ReaderQosBehaviourTest, AnInstanceHasNoWritersOnceItsLastWriterLeavesOrFallsSilent) {
    useHandClock();
    writerQos.liveliness.kind = DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS;
    setMs(&writerQos.liveliness.lease_duration, 100);
    DDS_DataReader *reader = createReader();
    DDS_DataWriter *manual = createWriter();
    writerQos.liveliness.kind = DDS_AUTOMATIC_LIVELINESS_QOS;
    DDS_DataWriter *automatic = createWriter();
    ASSERT_TRUE(reader != nullptr && manual != nullptr && automatic != nullptr);
    DDS_LivelinessChangedStatus liveliness{};
    ASSERT_EQ(DDS_DataReader_get_liveliness_changed_status(reader, &liveliness), DDS_RETCODE_OK);

    ASSERT_EQ(write(manual, "red", 1), DDS_RETCODE_OK);
    advanceMs(150);
    ASSERT_EQ(DDS_DataReader_get_liveliness_changed_status(reader, &liveliness), DDS_RETCODE_OK);
    EXPECT_EQ(liveliness.alive_count, 1);
    EXPECT_EQ(liveliness.not_alive_count, 1);
    EXPECT_EQ(liveliness.alive_count_change, -1);
    EXPECT_EQ(liveliness.not_alive_count_change, 1);
    EXPECT_EQ(instanceStateOf(reader), DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE);
    ASSERT_EQ(write(manual, "red", 2), DDS_RETCODE_OK);  // alive again, and the instance
    ASSERT_EQ(DDS_DataReader_get_liveliness_changed_status(reader, &liveliness), DDS_RETCODE_OK);
    EXPECT_EQ(liveliness.alive_count, 2);
    EXPECT_EQ(instanceStateOf(reader), DDS_ALIVE_INSTANCE_STATE);

    // With two writers, one unregistering or leaving leaves it alive.
    ASSERT_EQ(write(automatic, "red", 3), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_DataWriter_unregister_instance_untyped_generalI(manual, &shape, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    EXPECT_EQ(instanceStateOf(reader), DDS_ALIVE_INSTANCE_STATE);
    ASSERT_EQ(write(manual, "red", 4), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_Publisher_delete_datawriter(publisher, manual), DDS_RETCODE_OK);
    EXPECT_EQ(instanceStateOf(reader), DDS_ALIVE_INSTANCE_STATE);
    ASSERT_EQ(DDS_Publisher_delete_datawriter(publisher, automatic), DDS_RETCODE_OK);
    DDS_SampleInfo info{};
    EXPECT_EQ(take(reader, &info), Xs({1, 2, 3, 4}));
    EXPECT_EQ(info.instance_state, DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE);
    ASSERT_EQ(DDS_DataReader_get_liveliness_changed_status(reader, &liveliness), DDS_RETCODE_OK);
    EXPECT_EQ(liveliness.alive_count + liveliness.not_alive_count, 0);
    DDS_DataWriter *next = createWriter();
    ASSERT_NE(next, nullptr);
    ASSERT_EQ(write(next, "red", 5), DDS_RETCODE_OK);
    EXPECT_EQ(take(reader, &info), Xs({5}));
    EXPECT_EQ(info.no_writers_generation_count, 2);
}

TEST_F(ReaderQosBehaviourTest, ALateTransientLocalReaderGetsTheHistoryFirst) {
    writerQos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    writerQos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
    writerQos.history.depth = 2;
    DDS_DataWriter *writer = createWriter();
    ASSERT_NE(writer, nullptr);
    for (DDS_Long x = 1; x <= 3; ++x) {
        ASSERT_EQ(write(writer, "red", x), DDS_RETCODE_OK);
    }
    ASSERT_EQ(write(writer, "blue", 10), DDS_RETCODE_OK);
    readerQos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    readerQos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
    DDS_DataReader *late = createReader();
    ASSERT_NE(late, nullptr);
    ASSERT_EQ(write(writer, "red", 4), DDS_RETCODE_OK);
    EXPECT_EQ(take(late), Xs({2, 3, 4, 10}));
    EXPECT_EQ(protocolOf(late).received_sample_count, 4);
    DDS_SampleLostStatus lost{};
    ASSERT_EQ(DDS_DataReader_get_sample_lost_status(late, &lost), DDS_RETCODE_OK);
    EXPECT_EQ(lost.total_count, 0);
}

}  // namespace
