// What a reader's QoS does to arriving samples and as its factory's clock
// moves: content and time-based filters, exclusive ownership, writers'
// liveliness and the instances they keep alive, deadlines, lifespans,
// late joiners, and QoS changes on an enabled reader.
#include <vector>

#include "log_capture.h"
#include "reader_qos_fixture.h"
#include "vurnc/dds_topic.h"

namespace {

using zeltest::sameHandle;
using Xs = std::vector<DDS_Long>;

class ReaderQosBehaviourTest : public zeltest::ReaderQosTest {
protected:
    static DDS_DataReaderProtocolStatus protocolOf(DDS_DataReader *reader) {
        DDS_DataReaderProtocolStatus status{};
        EXPECT_EQ(DDS_DataReader_get_datareader_protocol_status_ex(reader, &status, DDS_BOOLEAN_FALSE),
                  DDS_RETCODE_OK);
        return status;
    }

    static DDS_Long cachedOf(DDS_DataReader *reader) {
        DDS_DataReaderCacheStatus status{};
        EXPECT_EQ(DDS_DataReader_get_datareader_cache_status_ex(reader, &status, DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
        return static_cast<DDS_Long>(status.sample_count);
    }

    // The instance state the reader reports for its only instance, read
    // without taking.
    DDS_UnsignedLong instanceStateOf(DDS_DataReader *reader) {
        dp_ShapeSeq data = ZEL_SEQUENCE_INITIALIZER;
        DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
        if (DDS_DataReader_read_or_take_untypedI(reader, reinterpret_cast<ZELSequence *>(&data), &infos,
                                                 DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                                                 DDS_ANY_INSTANCE_STATE, DDS_BOOLEAN_FALSE) != DDS_RETCODE_OK) {
            return 0;
        }
        const DDS_UnsignedLong state = DDS_SampleInfoSeq_get_reference(&infos, 0)->instance_state;
        EXPECT_EQ(DDS_DataReader_return_loan_untypedI(reader, reinterpret_cast<ZELSequence *>(&data), &infos),
                  DDS_RETCODE_OK);
        return state;
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
    // A filtered sample makes no instance and takes no room.
    EXPECT_EQ(cachedOf(filtered), 1);
    DDS_DataReaderProtocolStatus status = protocolOf(filtered);
    EXPECT_EQ(status.received_sample_count, 3);
    EXPECT_EQ(status.filtered_sample_count, 2);
    EXPECT_GT(status.filtered_sample_bytes, 0);
    EXPECT_EQ(protocolOf(plain).filtered_sample_count, 0);
    EXPECT_EQ(take(filtered), Xs({15}));
    EXPECT_EQ(take(plain), Xs({5, 15, 8}));

    // New parameters apply to the next arrivals; no gap is taken for a loss.
    const char *high[] = {"6"};
    ASSERT_TRUE(DDS_StringSeq_from_array(&parameters, high, 1));
    ASSERT_EQ(DDS_ContentFilteredTopic_set_expression_parameters(wide, &parameters), DDS_RETCODE_OK);
    ASSERT_EQ(write(writer, "red", 7), DDS_RETCODE_OK);
    ASSERT_EQ(write(writer, "red", 2), DDS_RETCODE_OK);
    EXPECT_EQ(take(filtered), Xs({7}));
    EXPECT_EQ(protocolOf(filtered).filtered_sample_count, 3);
    DDS_SampleLostStatus lost{};
    ASSERT_EQ(DDS_DataReader_get_sample_lost_status(filtered, &lost), DDS_RETCODE_OK);
    EXPECT_EQ(lost.total_count, 0);
    // A topic still read through is not deleted under its reader.
    EXPECT_NE(DDS_DomainParticipant_delete_contentfilteredtopic(participant, wide), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_Subscriber_delete_datareader(subscriber, filtered), DDS_RETCODE_OK);
    DDS_StringSeq_finalize(&parameters);
}

TEST_F(ReaderQosBehaviourTest, TimeBasedFilterKeepsOneSamplePerSeparationPerInstanceAndFollowsSetQos) {
    useHandClock();
    setDuration(&readerQos.time_based_filter.minimum_separation, 0, 100'000'000);
    readerQos.history.depth = 10;
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

    // The separation is mutable; the ownership kind is not.
    DDS_DataReaderQos changed = DDS_DataReaderQos_INITIALIZER;
    ASSERT_EQ(DDS_DataReader_get_qos(reader, &changed), DDS_RETCODE_OK);
    setDuration(&changed.time_based_filter.minimum_separation, 0, 0);
    ASSERT_EQ(DDS_DataReader_set_qos(reader, &changed), DDS_RETCODE_OK);
    ASSERT_EQ(write(writer, "red", 6), DDS_RETCODE_OK);
    ASSERT_EQ(write(writer, "red", 7), DDS_RETCODE_OK);
    EXPECT_EQ(take(reader), Xs({6, 7}));
    {
        zeltest::LogCapture log;
        changed.ownership.kind = DDS_EXCLUSIVE_OWNERSHIP_QOS;
        EXPECT_EQ(DDS_DataReader_set_qos(reader, &changed), DDS_RETCODE_IMMUTABLE_POLICY);
    }
    DDS_DataReaderQos_finalize(&changed);
}

TEST_F(ReaderQosBehaviourTest, DeadlinesAreMissedOnBothSidesAsTheClockMoves) {
    useHandClock();
    setDuration(&writerQos.deadline.period, 0, 100'000'000);
    setDuration(&readerQos.deadline.period, 0, 100'000'000);
    DDS_DataReader *reader = createReader();
    DDS_DataWriter *writer = createWriter();
    ASSERT_TRUE(reader != nullptr && writer != nullptr);

    // No instance, no deadline to miss.
    advanceMs(500);
    DDS_RequestedDeadlineMissedStatus requested{};
    ASSERT_EQ(DDS_DataReader_get_requested_deadline_missed_status(reader, &requested), DDS_RETCODE_OK);
    EXPECT_EQ(requested.total_count, 0);

    ASSERT_EQ(write(writer, "red", 1), DDS_RETCODE_OK);
    ASSERT_EQ(write(writer, "blue", 2), DDS_RETCODE_OK);
    advanceMs(250);  // two periods of each instance
    ASSERT_EQ(write(writer, "red", 3), DDS_RETCODE_OK);
    DDS_OfferedDeadlineMissedStatus offered{};
    ASSERT_EQ(DDS_DataWriter_get_offered_deadline_missed_status(writer, &offered), DDS_RETCODE_OK);
    EXPECT_EQ(offered.total_count, 4);
    ASSERT_EQ(DDS_DataReader_get_requested_deadline_missed_status_ex(reader, &requested, DDS_BOOLEAN_FALSE),
              DDS_RETCODE_OK);
    EXPECT_EQ(requested.total_count, 4);
    EXPECT_EQ(requested.total_count_change, 4);

    // Counted once: a second look finds nothing new; red's write restarted its period.
    advanceMs(60);  // blue: 310 ms, three periods; red: 60 ms
    ASSERT_EQ(DDS_DataReader_get_requested_deadline_missed_status_ex(reader, &requested, DDS_BOOLEAN_TRUE),
              DDS_RETCODE_OK);
    EXPECT_EQ(requested.total_count, 5);
    EXPECT_EQ(requested.total_count_change, 5);
    std::snprintf(shape.color, 33, "blue");
    const DDS_InstanceHandle_t blue = DDS_DataWriter_lookup_instance_untypedI(writer, &shape);
    EXPECT_TRUE(sameHandle(requested.last_instance_handle, blue));
    ASSERT_EQ(DDS_DataReader_get_requested_deadline_missed_status(reader, &requested), DDS_RETCODE_OK);
    EXPECT_EQ(requested.total_count, 5);
    EXPECT_EQ(requested.total_count_change, 0);

    advanceMs(50);  // red's period restarted at its write: it lapses once, 110 ms on
    ASSERT_EQ(DDS_DataReader_get_requested_deadline_missed_status(reader, &requested), DDS_RETCODE_OK);
    EXPECT_EQ(requested.total_count, 6);
    EXPECT_EQ(requested.total_count_change, 1);

    // A longer deadline set on the enabled reader counts from now on only.
    DDS_DataReaderQos changed = DDS_DataReaderQos_INITIALIZER;
    ASSERT_EQ(DDS_DataReader_get_qos(reader, &changed), DDS_RETCODE_OK);
    setDuration(&changed.deadline.period, 1, 0);
    ASSERT_EQ(DDS_DataReader_set_qos(reader, &changed), DDS_RETCODE_OK);
    advanceMs(600);  // red silent 710 ms, blue 960 ms
    ASSERT_EQ(DDS_DataReader_get_requested_deadline_missed_status(reader, &requested), DDS_RETCODE_OK);
    EXPECT_EQ(requested.total_count, 6);
    advanceMs(100);  // blue passes its first second
    ASSERT_EQ(DDS_DataReader_get_requested_deadline_missed_status(reader, &requested), DDS_RETCODE_OK);
    EXPECT_EQ(requested.total_count, 7);
    EXPECT_TRUE(sameHandle(requested.last_instance_handle, blue));
    DDS_DataReaderQos_finalize(&changed);
}

TEST_F(ReaderQosBehaviourTest, TheStrongestWriterOwnsAnInstanceUntilItGoesOrFallsSilent) {
    useHandClock();
    readerQos.ownership.kind = DDS_EXCLUSIVE_OWNERSHIP_QOS;
    readerQos.history.depth = 10;
    writerQos.ownership.kind = DDS_EXCLUSIVE_OWNERSHIP_QOS;
    writerQos.liveliness.kind = DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS;
    setDuration(&writerQos.liveliness.lease_duration, 0, 100'000'000);
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
    EXPECT_EQ(protocolOf(reader).filtered_sample_count, 0);

    // The owner falls silent past its lease: the weaker writer takes over.
    advanceMs(60);
    ASSERT_EQ(write(weak, "blue", 5), DDS_RETCODE_OK);
    advanceMs(60);
    ASSERT_EQ(write(weak, "red", 6), DDS_RETCODE_OK);
    EXPECT_EQ(take(reader), Xs({6, 5}));
    // The strong writer is back and stronger again.
    ASSERT_EQ(write(strong, "red", 7), DDS_RETCODE_OK);
    ASSERT_EQ(write(weak, "red", 8), DDS_RETCODE_OK);
    EXPECT_EQ(take(reader), Xs({7}));

    // The owner goes: ownership passes at the next sample of another writer.
    ASSERT_EQ(DDS_Publisher_delete_datawriter(publisher, strong), DDS_RETCODE_OK);
    ASSERT_EQ(write(weak, "red", 9), DDS_RETCODE_OK);
    EXPECT_EQ(take(reader), Xs({9}));
}

TEST_F(ReaderQosBehaviourTest, WritersLivelinessAndDeparturesDecideWhenInstancesHaveNoWriters) {
    useHandClock();
    writerQos.liveliness.kind = DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS;
    setDuration(&writerQos.liveliness.lease_duration, 0, 100'000'000);
    readerQos.history.depth = 10;
    DDS_DataReader *reader = createReader();
    DDS_DataWriter *manual = createWriter();
    writerQos.liveliness.kind = DDS_AUTOMATIC_LIVELINESS_QOS;
    DDS_DataWriter *automatic = createWriter();
    ASSERT_TRUE(reader != nullptr && manual != nullptr && automatic != nullptr);
    DDS_LivelinessChangedStatus liveliness{};
    ASSERT_EQ(DDS_DataReader_get_liveliness_changed_status(reader, &liveliness), DDS_RETCODE_OK);
    EXPECT_EQ(liveliness.alive_count, 2);

    // A manual writer silent past its lease is not alive; its instance has no writers.
    ASSERT_EQ(write(manual, "red", 1), DDS_RETCODE_OK);
    advanceMs(150);
    ASSERT_EQ(DDS_DataReader_get_liveliness_changed_status(reader, &liveliness), DDS_RETCODE_OK);
    EXPECT_EQ(liveliness.alive_count, 1);
    EXPECT_EQ(liveliness.not_alive_count, 1);
    EXPECT_EQ(liveliness.alive_count_change, -1);
    EXPECT_EQ(liveliness.not_alive_count_change, 1);
    EXPECT_EQ(instanceStateOf(reader), DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE);
    DDS_LivelinessLostStatus lostByWriter{};
    ASSERT_EQ(DDS_DataWriter_get_liveliness_lost_status(manual, &lostByWriter), DDS_RETCODE_OK);
    EXPECT_EQ(lostByWriter.total_count, 1);

    // Writing makes it alive again and the instance with it.
    ASSERT_EQ(write(manual, "red", 2), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_DataReader_get_liveliness_changed_status(reader, &liveliness), DDS_RETCODE_OK);
    EXPECT_EQ(liveliness.alive_count, 2);
    EXPECT_EQ(liveliness.not_alive_count_change, -1);
    EXPECT_EQ(instanceStateOf(reader), DDS_ALIVE_INSTANCE_STATE);

    // With two writers, one leaving (or unregistering) leaves the instance alive.
    ASSERT_EQ(write(automatic, "red", 3), DDS_RETCODE_OK);
    std::snprintf(shape.color, 33, "red");
    ASSERT_EQ(DDS_DataWriter_unregister_instance_untyped_generalI(manual, &shape, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    EXPECT_EQ(instanceStateOf(reader), DDS_ALIVE_INSTANCE_STATE);
    ASSERT_EQ(write(manual, "red", 4), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_Publisher_delete_datawriter(publisher, manual), DDS_RETCODE_OK);
    EXPECT_EQ(instanceStateOf(reader), DDS_ALIVE_INSTANCE_STATE);
    DDS_SampleInfo info{};
    ASSERT_EQ(DDS_Publisher_delete_datawriter(publisher, automatic), DDS_RETCODE_OK);
    EXPECT_EQ(take(reader, &info), Xs({1, 2, 3, 4}));
    EXPECT_EQ(info.instance_state, DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE);
    ASSERT_EQ(DDS_DataReader_get_liveliness_changed_status(reader, &liveliness), DDS_RETCODE_OK);
    EXPECT_EQ(liveliness.alive_count, 0);
    EXPECT_EQ(liveliness.not_alive_count, 0);

    // The next generation counts the one without writers.
    DDS_DataWriter *next = createWriter();
    ASSERT_NE(next, nullptr);
    ASSERT_EQ(write(next, "red", 5), DDS_RETCODE_OK);
    EXPECT_EQ(take(reader, &info), Xs({5}));
    EXPECT_EQ(info.instance_state, DDS_ALIVE_INSTANCE_STATE);
    EXPECT_EQ(info.no_writers_generation_count, 2);
}

TEST_F(ReaderQosBehaviourTest, SamplesLeaveTheCacheWhenTheirLifespanEnds) {
    useHandClock();
    readerQos.history.depth = 10;
    setDuration(&writerQos.lifespan.duration, 0, 100'000'000);
    DDS_DataReader *reader = createReader();
    DDS_DataWriter *shortLived = createWriter();
    setDuration(&writerQos.lifespan.duration, DDS_DURATION_INFINITE_SEC, DDS_DURATION_INFINITE_NSEC);
    DDS_DataWriter *lasting = createWriter();
    ASSERT_TRUE(reader != nullptr && shortLived != nullptr && lasting != nullptr);

    ASSERT_EQ(write(shortLived, "red", 1), DDS_RETCODE_OK);
    advanceMs(60);
    ASSERT_EQ(write(shortLived, "red", 2), DDS_RETCODE_OK);
    ASSERT_EQ(write(lasting, "red", 3), DDS_RETCODE_OK);
    advanceMs(60);  // 1 is 120 ms old, 2 is 60 ms old
    EXPECT_EQ(cachedOf(reader), 2);
    advanceMs(60);
    EXPECT_EQ(take(reader), Xs({3}));
    EXPECT_EQ(cachedOf(reader), 0);
}

TEST_F(ReaderQosBehaviourTest, ALateTransientLocalReaderGetsTheHistoryAndThenLiveSamples) {
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
    readerQos.history.depth = 10;
    DDS_DataReader *late = createReader();
    readerQos.durability.kind = DDS_VOLATILE_DURABILITY_QOS;
    DDS_DataReader *volatileReader = createReader();
    ASSERT_TRUE(late != nullptr && volatileReader != nullptr);
    ASSERT_EQ(write(writer, "red", 4), DDS_RETCODE_OK);
    EXPECT_EQ(take(late), Xs({2, 3, 4, 10}));
    EXPECT_EQ(take(volatileReader), Xs({4}));
    // The replay counts as received and loses nothing.
    EXPECT_EQ(protocolOf(late).received_sample_count, 4);
    DDS_SampleLostStatus lost{};
    ASSERT_EQ(DDS_DataReader_get_sample_lost_status(late, &lost), DDS_RETCODE_OK);
    EXPECT_EQ(lost.total_count, 0);
}

}  // namespace
