// What a reader's QoS does to arriving samples and as its factory's clock
// moves: content and time-based filters, exclusive ownership, writers'
// liveliness and the instances they keep alive, deadlines and lifespans.
// Content filters must fit the related topic's type.
#include "datapath_fixture.h"

namespace {

using zeltest::sameHandle;
using zeltest::setMs;
using zeltest::statusOf;
using Xs = zeltest::Xs;

class ReaderQosBehaviourTest : public zeltest::DataPathTest {
protected:
    static DDS_UnsignedLong instanceStateOf(DDS_DataReader *reader) {
        DDS_SampleInfo info{};
        take(reader, &info, false);
        return info.instance_state;
    }
};

TEST_F(ReaderQosBehaviourTest, ContentFiltersFitTheTypeDropSamplesBeforeTheCacheAndFollowNewParameters) {
    zeltest::LogCapture log;
    const char *const create = "DDS_DomainParticipant_create_contentfilteredtopic";
    EXPECT_EQ(DDS_DomainParticipant_create_contentfilteredtopic(participant, "Bad", shapes, "colr = 'red'", nullptr),
              nullptr);
    EXPECT_EQ(DDS_DomainParticipant_create_contentfilteredtopic(participant, "Unbound", shapes, "x > %0", nullptr),
              nullptr);
    bool reasonLogged = false;
    for (const auto &line : log.lines()) {
        reasonLogged = reasonLogged || (line.context == create && line.text.find("colr") != std::string::npos);
    }
    EXPECT_TRUE(reasonLogged);

    DDS_StringSeq parameters{};
    DDS_StringSeq current{};
    ASSERT_TRUE(DDS_StringSeq_initialize(&parameters) && DDS_StringSeq_initialize(&current));
    ASSERT_TRUE(setParameter(&parameters, "10"));
    DDS_ContentFilteredTopic *wide =
            DDS_DomainParticipant_create_contentfilteredtopic(participant, "Wide", shapes, "x > %0", &parameters);
    ASSERT_NE(wide, nullptr);
    DDS_DataReader *filtered = createReader(DDS_ContentFilteredTopic_as_topicdescription(wide));
    DDS_DataReader *plain = createReader();
    DDS_DataWriter *writer = createWriter();
    ASSERT_TRUE(filtered != nullptr && plain != nullptr && writer != nullptr);
    writeEach(writer, {{"red", 5}, {"blue", 15}, {"green", 8}});
    // No room taken, no instance made.
    EXPECT_EQ(statusOf(DDS_DataReader_get_datareader_cache_status_ex, filtered, false).sample_count, 1);
    EXPECT_EQ(protocolOf(filtered).filtered_sample_count, 2);
    EXPECT_EQ(protocolOf(plain).filtered_sample_count, 0);
    EXPECT_EQ(take(filtered), Xs({15}));
    EXPECT_EQ(take(plain), Xs({5, 15, 8}));

    // A parameter that is no number for a long member is refused; the old binding stays.
    ASSERT_TRUE(setParameter(&parameters, "'wide'"));
    EXPECT_EQ(DDS_ContentFilteredTopic_set_expression_parameters(wide, &parameters), DDS_RETCODE_BAD_PARAMETER);
    ASSERT_EQ(DDS_ContentFilteredTopic_get_expression_parameters(wide, &current), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_StringSeq_get_length(&current), 1);
    EXPECT_STREQ(DDS_StringSeq_get(&current, 0), "10");
    // New parameters apply to the next arrivals; the skipped samples are not lost.
    ASSERT_TRUE(setParameter(&parameters, "6"));
    ASSERT_EQ(DDS_ContentFilteredTopic_set_expression_parameters(wide, &parameters), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_ContentFilteredTopic_get_expression_parameters(wide, &current), DDS_RETCODE_OK);
    EXPECT_STREQ(DDS_StringSeq_get(&current, 0), "6");
    writeEach(writer, {{"red", 7}, {"red", 2}});
    EXPECT_EQ(take(filtered), Xs({7}));
    EXPECT_EQ(statusOf(DDS_DataReader_get_sample_lost_status, filtered).total_count, 0);
    DDS_StringSeq_finalize(&current);
    DDS_StringSeq_finalize(&parameters);
}

TEST_F(ReaderQosBehaviourTest, ContentFilteredTopicAllocationFailuresRefuseCleanly) {
    zeltest::LogCapture log;
    DDS_StringSeq parameters{};
    ASSERT_TRUE(DDS_StringSeq_initialize(&parameters) && setParameter(&parameters, "'red'"));
    zeltest::forEachAllocationFailure([&](long) {
        DDS_ContentFilteredTopic *topic = DDS_DomainParticipant_create_contentfilteredtopic(
                participant, "Red", shapes, "color = %0 AND x > 3", &parameters);
        if (topic != nullptr) {
            DDS_ContentFilteredTopic_set_expression_parameters(topic, &parameters);
            EXPECT_EQ(DDS_DomainParticipant_delete_contentfilteredtopic(participant, topic), DDS_RETCODE_OK);
        }
    });
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
    writeEach(writer, {{"red", 2}, {"blue", 3}});  // too soon after 1; another instance
    advanceMs(50);
    writeEach(writer, {{"red", 4}, {"blue", 5}});  // 100 ms after 1; 50 ms after 3
    EXPECT_EQ(take(reader), Xs({1, 4, 3}));
    EXPECT_EQ(protocolOf(reader).filtered_sample_count, 2);

    // The separation may change on the enabled reader; the ownership kind may not.
    DDS_DataReaderQos changed = DDS_DataReaderQos_INITIALIZER;
    ASSERT_EQ(DDS_DataReader_get_qos(reader, &changed), DDS_RETCODE_OK);
    setMs(&changed.time_based_filter.minimum_separation, 0);
    ASSERT_EQ(DDS_DataReader_set_qos(reader, &changed), DDS_RETCODE_OK);
    writeEach(writer, {{"red", 6}, {"red", 7}});
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
    const auto requested = [&](bool reset) {
        return statusOf(DDS_DataReader_get_requested_deadline_missed_status_ex, reader, reset);
    };
    advanceMs(500);
    EXPECT_EQ(requested(true).total_count, 0);  // no instance, no deadline

    writeEach(writer, {{"red", 1}, {"blue", 2}});
    advanceMs(250);  // two periods of each instance
    ASSERT_EQ(write(writer, "red", 3), DDS_RETCODE_OK);
    EXPECT_EQ(statusOf(DDS_DataWriter_get_offered_deadline_missed_status, writer).total_count, 4);
    EXPECT_EQ(requested(false).total_count, 4);
    advanceMs(60);  // blue 310 ms silent, red 60 ms: red's write restarted its period
    DDS_RequestedDeadlineMissedStatus missed = requested(true);
    EXPECT_EQ(missed.total_count, 5);
    EXPECT_EQ(missed.total_count_change, 5);
    const DDS_InstanceHandle_t blue = DDS_DataWriter_lookup_instance_untypedI(writer, &shapeOf("blue", 0));
    EXPECT_TRUE(sameHandle(missed.last_instance_handle, blue));
    advanceMs(50);  // red lapses once, 110 ms on; the reset cleared the change
    missed = requested(false);
    EXPECT_EQ(missed.total_count, 6);
    EXPECT_EQ(missed.total_count_change, 1);
    // Red's first sample and blue outlived their 300 ms.
    EXPECT_EQ(take(reader, nullptr, false), Xs({3}));

    // A longer deadline set on the enabled reader counts from now on only.
    DDS_DataReaderQos changed = DDS_DataReaderQos_INITIALIZER;
    ASSERT_EQ(DDS_DataReader_get_qos(reader, &changed), DDS_RETCODE_OK);
    setMs(&changed.deadline.period, 1000);
    ASSERT_EQ(DDS_DataReader_set_qos(reader, &changed), DDS_RETCODE_OK);
    advanceMs(600);  // red silent 710 ms, blue 960 ms
    EXPECT_EQ(statusOf(DDS_DataReader_get_requested_deadline_missed_status, reader).total_count, 6);
    advanceMs(100);  // blue passes its first second
    missed = statusOf(DDS_DataReader_get_requested_deadline_missed_status, reader);
    EXPECT_EQ(missed.total_count, 7);
    EXPECT_TRUE(sameHandle(missed.last_instance_handle, blue));
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
    // The first comer owns red, the stronger takes it, the weaker's next is
    // dropped; blue is an instance of its own.
    writeEach(weak, {{"red", 1}});
    writeEach(strong, {{"red", 2}});
    writeEach(weak, {{"red", 3}, {"blue", 4}});
    EXPECT_EQ(take(reader), Xs({1, 2, 4}));

    // The owner falls silent past its lease: the weaker writer takes over
    // until the stronger one writes again.
    advanceMs(60);
    ASSERT_EQ(write(weak, "blue", 5), DDS_RETCODE_OK);
    advanceMs(60);
    writeEach(weak, {{"red", 6}});
    writeEach(strong, {{"red", 7}});
    writeEach(weak, {{"red", 8}});
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
    const auto livelinessOf = [&] { return statusOf(DDS_DataReader_get_liveliness_changed_status, reader); };
    livelinessOf();
    ASSERT_EQ(write(manual, "red", 1), DDS_RETCODE_OK);
    advanceMs(150);
    DDS_LivelinessChangedStatus liveliness = livelinessOf();
    EXPECT_EQ(liveliness.alive_count, 1);
    EXPECT_EQ(liveliness.not_alive_count, 1);
    EXPECT_EQ(liveliness.alive_count_change, -1);
    EXPECT_EQ(liveliness.not_alive_count_change, 1);
    EXPECT_EQ(instanceStateOf(reader), DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE);
    ASSERT_EQ(write(manual, "red", 2), DDS_RETCODE_OK);  // alive again, and the instance
    EXPECT_EQ(livelinessOf().alive_count, 2);
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
    liveliness = livelinessOf();
    EXPECT_EQ(liveliness.alive_count + liveliness.not_alive_count, 0);
    DDS_DataWriter *next = createWriter();
    ASSERT_NE(next, nullptr);
    ASSERT_EQ(write(next, "red", 5), DDS_RETCODE_OK);
    EXPECT_EQ(take(reader, &info), Xs({5}));
    EXPECT_EQ(info.no_writers_generation_count, 2);
}

}  // namespace
