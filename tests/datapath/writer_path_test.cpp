// The writer's data path seen from the DDS API and the wire: instances and
// their refusals, the history kept for late joiners and its limits,
// deadlines on a clock moved by hand, matches with their monitor events,
// and instances found by key when their index cannot grow.
#include <mutex>
#include <string>
#include <vector>

#include "datapath_fixture.h"

namespace {

// Every sample a raw wire reader was given.
struct RawReader {
    ZELWireReader *reader = nullptr;
    std::mutex mutex;
    std::vector<ZELWireSampleKind> kinds;  // guarded by mutex
    std::vector<int64_t> sequenceNumbers;  // guarded by mutex

    static ZELWireDeliveryResult onSample(void *context, const ZELWireSample *sample) {
        auto *self = static_cast<RawReader *>(context);
        std::lock_guard<std::mutex> guard(self->mutex);
        self->kinds.push_back(sample->kind);
        self->sequenceNumbers.push_back(sample->sequenceNumber);
        return ZEL_WIRE_DELIVERY_ACCEPTED;
    }
};

// A monitor stand-in recording the events of the data path.
struct EventLog {
    std::mutex mutex;
    std::vector<DDS_Long> kinds;  // guarded by mutex
    static DDS_UnsignedLong onEvent(void *object, DDS_Long kind, DDS_Entity *, const void *) {
        auto *self = static_cast<EventLog *>(object);
        if (kind == DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_CREATE_AFTER ||
            kind == DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_DELETE_AFTER ||
            kind == DDS_MONITOR_EVENT_DATAWRITER_LOCATOR_PAIR_CREATE_AFTER ||
            kind == DDS_MONITOR_EVENT_DATAWRITER_LOCATOR_PAIR_DELETE_AFTER) {
            std::lock_guard<std::mutex> guard(self->mutex);
            self->kinds.push_back(kind);
        }
        return 0;
    }
};

using zeltest::sameHandle;
using zeltest::statusOf;

class WriterPathTest : public zeltest::DataPathTest {
protected:
    void TearDown() override {
        if (participant != nullptr) {
            while (!rawReaders.empty()) {
                removeRawReader(rawReaders.back());
            }
            participant->monitor = DDS_MonitorAttachmentI{};
        }
        DataPathTest::TearDown();
    }

    // A reader on the wire itself, transient-local when `durable`.
    RawReader *addRawReader(bool durable, int32_t reliability = 0) {
        auto *raw = new RawReader;
        ZELWireEndpointParams params = wireEndpoint(0x00ff0007u + (static_cast<uint32_t>(rawReaders.size()) << 8));
        params.qos.durabilityKind = durable ? 1 : 0;
        params.qos.reliabilityKind = reliability;
        ZELWireReaderListener listener{};
        listener.context = raw;
        listener.onSample = RawReader::onSample;
        raw->reader = wireOps()->createReader(participant->wireParticipant, &params, &listener);
        EXPECT_NE(raw->reader, nullptr);
        rawReaders.push_back(raw);
        return raw;
    }

    void removeRawReader(RawReader *raw) {
        wireOps()->deleteReader(raw->reader);
        std::erase(rawReaders, raw);
        delete raw;
    }

    static DDS_LongLong cachedOf(DDS_DataWriter *writer) {
        return statusOf(DDS_DataWriter_get_datawriter_cache_status_ex, writer, false).sample_count;
    }

    std::vector<RawReader *> rawReaders;
};

TEST_F(WriterPathTest, InstancesAndTheirRefusals) {
    zeltest::LogCapture log;
    DDS_DataWriter *writer = createWriter();
    dp_ShapeDataWriter *typed = dp_ShapeDataWriter_narrow(writer);
    ASSERT_NE(typed, nullptr);
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(writer, nullptr, &DDS_HANDLE_NIL), DDS_RETCODE_BAD_PARAMETER);

    const DDS_Time_t when = {5, 0};
    const DDS_InstanceHandle_t red = dp_ShapeDataWriter_register_instance(typed, &shapeOf("red", 1));
    ASSERT_TRUE(red.isValid);
    EXPECT_TRUE(sameHandle(red, dp_ShapeDataWriter_lookup_instance(typed, &shape)));
    EXPECT_EQ(dp_ShapeDataWriter_write_w_timestamp(typed, &shape, &red, &when), DDS_RETCODE_OK);
    EXPECT_TRUE(dp_ShapeDataWriter_register_instance_w_timestamp(typed, &shapeOf("cyan", 1), &when).isValid);
    // A handle of another key is refused; lookups of unknown keys give NIL.
    EXPECT_EQ(dp_ShapeDataWriter_write(typed, &shapeOf("blue", 1), &red), DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_FALSE(dp_ShapeDataWriter_lookup_instance(typed, &shape).isValid);
    // Unregistering an unknown key is refused; disposing one makes it known,
    // so that readers learn of an instance that goes away before its first write.
    EXPECT_EQ(dp_ShapeDataWriter_unregister_instance(typed, &shape, &DDS_HANDLE_NIL), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(dp_ShapeDataWriter_dispose_w_timestamp(typed, &shape, &DDS_HANDLE_NIL, &when), DDS_RETCODE_OK);
    EXPECT_TRUE(dp_ShapeDataWriter_lookup_instance(typed, &shape).isValid);

    dp_Shape key = dp_Shape_INITIALIZER;
    ASSERT_TRUE(dp_Shape_initialize(&key));
    EXPECT_EQ(dp_ShapeDataWriter_get_key_value(typed, &key, &red), DDS_RETCODE_OK);
    EXPECT_STREQ(key.color, "red");
    // Dispose by handle alone, then unregister forgets the instance.
    EXPECT_EQ(DDS_DataWriter_dispose_untyped_generalI(writer, nullptr, &red), DDS_RETCODE_OK);
    EXPECT_EQ(dp_ShapeDataWriter_unregister_instance(typed, &shapeOf("red", 0), &red), DDS_RETCODE_OK);
    EXPECT_FALSE(dp_ShapeDataWriter_lookup_instance(typed, &shape).isValid);
    EXPECT_EQ(dp_ShapeDataWriter_unregister_instance(typed, &shape, &red), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_DataWriter_get_key_value_untypedI(writer, &key, &red), DDS_RETCODE_BAD_PARAMETER);
    dp_Shape_finalize(&key);

    // write_w_params with replace_auto reports the handle it used.
    DDS_WriteParams_t params = DDS_WRITEPARAMS_DEFAULT;
    params.replace_auto = DDS_BOOLEAN_TRUE;
    EXPECT_EQ(DDS_DataWriter_write_w_params_untyped_generalI(writer, &shapeOf("green", 2), &params), DDS_RETCODE_OK);
    EXPECT_TRUE(sameHandle(params.handle, DDS_DataWriter_lookup_instance_untypedI(writer, &shape)));
    // A volatile writer keeps nothing of what it wrote.
    EXPECT_EQ(cachedOf(writer), 0);

    // A keyless writer cannot dispose or unregister.
    DDS_DataWriter *tickWriter = createWriter(ticks);
    dp_Tick tick{42};
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(tickWriter, &tick, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DataWriter_dispose_untyped_generalI(tickWriter, &tick, &DDS_HANDLE_NIL),
              DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(DDS_DataWriter_unregister_instance_untyped_generalI(tickWriter, &tick, &DDS_HANDLE_NIL),
              DDS_RETCODE_PRECONDITION_NOT_MET);

    // A writer not enabled refuses data; its statuses read as initial.
    DDS_PublisherQos publisherQos = DDS_PublisherQos_INITIALIZER;
    ASSERT_EQ(DDS_Publisher_get_qos(publisher, &publisherQos), DDS_RETCODE_OK);
    publisherQos.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
    ASSERT_EQ(DDS_Publisher_set_qos(publisher, &publisherQos), DDS_RETCODE_OK);
    DDS_PublisherQos_finalize(&publisherQos);
    DDS_DataWriter *disabled = createWriter();
    DDS_PublicationMatchedStatus matched{};
    matched.current_count = 3;
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(disabled, &shape, &DDS_HANDLE_NIL), DDS_RETCODE_NOT_ENABLED);
    EXPECT_FALSE(DDS_DataWriter_register_instance_untypedI(disabled, &shape).isValid);
    EXPECT_EQ(DDS_DataWriter_get_publication_matched_status(disabled, &matched), DDS_RETCODE_OK);
    EXPECT_EQ(matched.current_count, 0);
    DDS_DataWriterProtocolStatus protocol{};
    EXPECT_EQ(DDS_DataWriter_get_datawriter_protocol_status_ex(disabled, &protocol, DDS_BOOLEAN_FALSE),
              DDS_RETCODE_NOT_ENABLED);
}

// Enough instances to grow the index several times, half forgotten and written again.
TEST_F(WriterPathTest, ManyInstancesAreFoundByKeyAndByHandleAsTheyComeAndGo) {
    zeltest::LogCapture log;
    DDS_DataWriter *writer = createWriter();
    dp_ShapeDataWriter *typed = dp_ShapeDataWriter_narrow(writer);
    ASSERT_NE(typed, nullptr);
    constexpr size_t kCount = 300;
    const auto colorOf = [](size_t i) { return "color" + std::to_string(i); };
    const auto keyOf = [&](size_t i) { return &shapeOf(colorOf(i).c_str(), 0); };
    std::vector<DDS_InstanceHandle_t> handles;
    for (size_t i = 0; i < kCount; ++i) {
        ASSERT_EQ(dp_ShapeDataWriter_write(typed, keyOf(i), &DDS_HANDLE_NIL), DDS_RETCODE_OK);
        handles.push_back(dp_ShapeDataWriter_lookup_instance(typed, &shape));
    }
    for (size_t i = 0; i < kCount; i += 2) {
        ASSERT_EQ(dp_ShapeDataWriter_unregister_instance(typed, keyOf(i), &handles[i]), DDS_RETCODE_OK);
    }
    for (size_t i = 0; i < kCount; ++i) {
        const bool alive = i % 2 == 1;
        EXPECT_EQ(dp_ShapeDataWriter_lookup_instance(typed, keyOf(i)).isValid, alive) << i;
        EXPECT_EQ(DDS_DataWriter_dispose_untyped_generalI(writer, nullptr, &handles[i]),
                  alive ? DDS_RETCODE_OK : DDS_RETCODE_BAD_PARAMETER);
        EXPECT_EQ(dp_ShapeDataWriter_write(typed, &shape, &handles[i]), DDS_RETCODE_OK);
        EXPECT_TRUE(sameHandle(dp_ShapeDataWriter_lookup_instance(typed, &shape), handles[i]));
    }
}

TEST_F(WriterPathTest, HistoryDepthLimitsAndLateJoinerReplay) {
    zeltest::LogCapture log;
    writerQos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    writerQos.history.kind = DDS_KEEP_LAST_HISTORY_QOS;
    writerQos.history.depth = 2;
    DDS_DataWriter *keepLast = createWriter();
    ASSERT_NE(keepLast, nullptr);
    writeEach(keepLast, {{"red", 0}, {"red", 1}, {"red", 2}, {"red", 3}, {"red", 4}, {"blue", 9}});
    DDS_DataWriterCacheStatus cache = statusOf(DDS_DataWriter_get_datawriter_cache_status_ex, keepLast, false);
    EXPECT_EQ(cache.sample_count, 3);
    EXPECT_EQ(cache.sample_count_peak, 3);

    // A late joiner gets the kept samples oldest first, then live ones; a
    // volatile reader only the live ones. A late DDS reader holds them by
    // instance, none lost.
    RawReader *late = addRawReader(true);
    RawReader *live = addRawReader(false);
    readerQos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    DDS_DataReader *lateReader = createReader();
    ASSERT_NE(lateReader, nullptr);
    ASSERT_EQ(DDS_DataWriter_dispose_untyped_generalI(keepLast, &shapeOf("blue", 0), &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    {
        std::scoped_lock guard(late->mutex, live->mutex);
        EXPECT_EQ(late->sequenceNumbers, (std::vector<int64_t>{4, 5, 6, 7}));
        EXPECT_EQ(late->kinds.back(), ZEL_WIRE_SAMPLE_DISPOSE);
        EXPECT_EQ(live->sequenceNumbers, (std::vector<int64_t>{7}));
    }
    EXPECT_EQ(take(lateReader), zeltest::Xs({3, 4, 9, -1}));
    EXPECT_EQ(protocolOf(lateReader).received_sample_count, 4);
    EXPECT_EQ(statusOf(DDS_DataReader_get_sample_lost_status, lateReader).total_count, 0);
    DDS_DataWriterProtocolStatus protocol = statusOf(DDS_DataWriter_get_datawriter_protocol_status_ex, keepLast, true);
    EXPECT_EQ(protocol.pushed_sample_count, 9);  // 3 replayed twice + the dispose to three readers
    EXPECT_EQ(protocol.pushed_sample_count_change, 9);
    EXPECT_EQ(statusOf(DDS_DataWriter_get_datawriter_protocol_status_ex, keepLast, true).pushed_sample_count_change, 0);

    // KEEP_ALL refuses beyond max_samples_per_instance, max_instances and
    // max_samples (of all instances together), changing nothing.
    writerQos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
    writerQos.resource_limits.max_samples_per_instance = 2;
    writerQos.resource_limits.max_samples = 3;
    writerQos.resource_limits.max_instances = 2;
    DDS_DataWriter *keepAll = createWriter();
    ASSERT_NE(keepAll, nullptr);
    // Refused: a third red sample, green as a third instance, a second blue as a fourth sample.
    const std::pair<const char *, DDS_ReturnCode_t> writes[] = {{"red", DDS_RETCODE_OK},
                                                                {"red", DDS_RETCODE_OK},
                                                                {"red", DDS_RETCODE_OUT_OF_RESOURCES},
                                                                {"blue", DDS_RETCODE_OK},
                                                                {"green", DDS_RETCODE_OUT_OF_RESOURCES},
                                                                {"blue", DDS_RETCODE_OUT_OF_RESOURCES}};
    for (const auto &[color, expected] : writes) {
        EXPECT_EQ(write(keepAll, color, 1), expected) << color;
    }
    EXPECT_FALSE(DDS_DataWriter_lookup_instance_untypedI(keepAll, &shapeOf("green", 0)).isValid);
    cache = statusOf(DDS_DataWriter_get_datawriter_cache_status_ex, keepAll, false);
    EXPECT_EQ(cache.sample_count, 3);
    EXPECT_EQ(cache.sample_count_peak, 3);
    // Unregistering releases an instance's samples and makes room.
    EXPECT_EQ(DDS_DataWriter_unregister_instance_untyped_generalI(keepAll, &shapeOf("red", 0), &DDS_HANDLE_NIL),
              DDS_RETCODE_OK);
    EXPECT_EQ(cachedOf(keepAll), 1);
    EXPECT_EQ(write(keepAll, "green", 1), DDS_RETCODE_OK);
}

TEST_F(WriterPathTest, OfferedDeadlinesAndLifespanFollowTheClock) {
    useHandClock();
    writerQos.deadline.period = DDS_Duration_t{1, 0};
    writerQos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    writerQos.lifespan.duration = DDS_Duration_t{10, 0};
    writerQos.liveliness.kind = DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS;
    writerQos.liveliness.lease_duration = DDS_Duration_t{2, 0};
    DDS_DataWriter *writer = createWriter();
    ASSERT_NE(writer, nullptr);
    ASSERT_EQ(write(writer, "red", 1), DDS_RETCODE_OK);
    const auto missed = [&] { return statusOf(DDS_DataWriter_get_offered_deadline_missed_status, writer); };
    const auto lost = [&] { return statusOf(DDS_DataWriter_get_liveliness_lost_status, writer); };
    advanceMs(3500);
    const DDS_OfferedDeadlineMissedStatus first =
            statusOf(DDS_DataWriter_get_offered_deadline_missed_status_ex, writer, false);
    EXPECT_EQ(first.total_count, 3);
    EXPECT_EQ(first.total_count_change, 3);
    EXPECT_TRUE(sameHandle(first.last_instance_handle, DDS_DataWriter_lookup_instance_untypedI(writer, &shape)));
    // A manual writer silent past its lease lost its liveliness once.
    EXPECT_EQ(lost().total_count, 1);
    // Without a reset the change keeps counting; periods are counted once.
    EXPECT_EQ(missed().total_count_change, 3);
    EXPECT_EQ(missed().total_count_change, 0);
    EXPECT_EQ(missed().total_count, 3);
    // A write restarts the period; set_qos with no deadline stops counting.
    ASSERT_EQ(DDS_DataWriter_write_untyped_generalI(writer, &shape, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    advanceMs(1500);
    EXPECT_EQ(missed().total_count, 4);
    writerQos.deadline.period = DDS_Duration_t DDS_DURATION_INFINITE;
    ASSERT_EQ(DDS_DataWriter_set_qos(writer, &writerQos), DDS_RETCODE_OK);
    advanceMs(5000);
    EXPECT_EQ(missed().total_count, 4);
    const DDS_LivelinessLostStatus second = lost();
    EXPECT_EQ(second.total_count, 2);
    EXPECT_EQ(second.total_count_change, 1);
    // Past their lifespan the kept samples are dropped.
    EXPECT_EQ(cachedOf(writer), 1);
    advanceMs(10000);
    EXPECT_EQ(cachedOf(writer), 0);
}

// Readers asking for more than the writer offers count by policy until a
// reset and never match.
TEST_F(WriterPathTest, MatchesReportStatusesLocatorsAndEventsAndIncompatibleReadersCountByPolicy) {
    zeltest::LogCapture log;
    EventLog events;
    participant->monitor.onEventNotify = EventLog::onEvent;
    participant->monitor.participantObject = &events;
    writerQos.reliability.kind = DDS_BEST_EFFORT_RELIABILITY_QOS;
    DDS_DataWriter *writer = createWriter();
    ASSERT_NE(writer, nullptr);
    RawReader *first = addRawReader(false);
    RawReader *second = addRawReader(false);
    addRawReader(false, 1);
    addRawReader(false, 1);
    ASSERT_EQ(write(writer, "red", 1), DDS_RETCODE_OK);
    DDS_OfferedIncompatibleQosStatus incompatible = DDS_OfferedIncompatibleQosStatus_INITIALIZER;
    ASSERT_EQ(DDS_DataWriter_get_offered_incompatible_qos_status(writer, &incompatible), DDS_RETCODE_OK);
    EXPECT_EQ(incompatible.total_count, 2);
    EXPECT_EQ(incompatible.total_count_change, 2);
    EXPECT_EQ(incompatible.last_policy_id, static_cast<DDS_QosPolicyId_t>(ZEL_WIRE_POLICY_ID_RELIABILITY));
    ASSERT_EQ(DDS_QosPolicyCountSeq_get_length(&incompatible.policies), 1);
    EXPECT_EQ(DDS_QosPolicyCountSeq_get_reference(&incompatible.policies, 0)->count, 2);
    ASSERT_EQ(DDS_DataWriter_get_offered_incompatible_qos_status(writer, &incompatible), DDS_RETCODE_OK);
    EXPECT_EQ(incompatible.total_count_change, 0);
    DDS_OfferedIncompatibleQosStatus_finalize(&incompatible);

    DDS_PublicationMatchedStatus matched = statusOf(DDS_DataWriter_get_publication_matched_status_ex, writer, true);
    EXPECT_EQ(matched.current_count, 2);
    EXPECT_EQ(matched.total_count_change, 2);
    DDS_InstanceHandleSeq handles = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_EQ(DDS_DataWriter_get_matched_subscriptions(writer, &handles), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_InstanceHandleSeq_get_length(&handles), 2);
    DDS_DataWriterProtocolStatus protocol{};
    EXPECT_EQ(DDS_DataWriter_get_matched_subscription_datawriter_protocol_status_ex(
                      writer, &protocol, DDS_InstanceHandleSeq_get_reference(&handles, 0), DDS_BOOLEAN_FALSE),
              DDS_RETCODE_OK);
    EXPECT_EQ(protocol.pushed_sample_count, 1);
    EXPECT_EQ(DDS_DataWriter_get_matched_subscription_datawriter_protocol_status_ex(writer, &protocol, &DDS_HANDLE_NIL,
                                                                                    DDS_BOOLEAN_FALSE),
              DDS_RETCODE_BAD_PARAMETER);
    DDS_InstanceHandleSeq_finalize(&handles);

    DDS_LocatorSeq locators = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_EQ(DDS_DataWriter_get_matched_subscription_locators(writer, &locators), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_LocatorSeq_get_length(&locators), 2);
    EXPECT_EQ(DDS_DataWriter_get_matched_subscription_datawriter_protocol_status_by_locator_ex(
                      writer, &protocol, DDS_LocatorSeq_get_reference(&locators, 1), DDS_BOOLEAN_TRUE),
              DDS_RETCODE_OK);
    EXPECT_EQ(protocol.pushed_sample_count, 1);
    EXPECT_EQ(protocol.pushed_sample_count_change, 1);
    DDS_LocatorSeq_finalize(&locators);

    removeRawReader(first);
    removeRawReader(second);
    matched = statusOf(DDS_DataWriter_get_publication_matched_status, writer);
    EXPECT_EQ(matched.current_count, 0);
    EXPECT_EQ(matched.current_count_peak, 2);
    EXPECT_EQ(matched.current_count_change, -2);
    EXPECT_EQ(matched.total_count, 2);
    const DDS_Long create = DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_CREATE_AFTER;
    const DDS_Long remove = DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_DELETE_AFTER;
    const DDS_Long gain = DDS_MONITOR_EVENT_DATAWRITER_LOCATOR_PAIR_CREATE_AFTER;
    const DDS_Long lose = DDS_MONITOR_EVENT_DATAWRITER_LOCATOR_PAIR_DELETE_AFTER;
    std::lock_guard<std::mutex> guard(events.mutex);
    EXPECT_EQ(events.kinds, (std::vector<DDS_Long>{create, gain, create, gain, lose, remove, lose, remove}));
}

TEST_F(WriterPathTest, ManyInstancesAreFoundByKeyAsTheyComeAndGoEvenWithoutAnIndex) {
    DDS_DataWriter *writer = createWriter();
    ASSERT_NE(writer, nullptr);
    const auto color = [](int i) { return "c" + std::to_string(i); };
    const auto lookup = [&](int i) {
        return DDS_DataWriter_lookup_instance_untypedI(writer, &shapeOf(color(i).c_str(), 0));
    };
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(write(writer, color(i).c_str(), i), DDS_RETCODE_OK);
    }
    for (int i = 0; i < 100; i += 2) {
        ASSERT_EQ(DDS_DataWriter_unregister_instance_untyped_generalI(writer, &shapeOf(color(i).c_str(), 0),
                                                                      &DDS_HANDLE_NIL),
                  DDS_RETCODE_OK);
    }
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(lookup(i).isValid, i % 2 == 1) << i;
    }
    EXPECT_FALSE(sameHandle(lookup(1), lookup(3)));

    // The instances of a writer whose index could not be made, or not grow,
    // are found all the same.
    const long allocations = zeltest::forEachAllocationFailure([&](long) {
        DDS_DataWriter *other = createWriter();
        if (other == nullptr) {
            return;
        }
        std::vector<int> written;
        for (int i = 0; i < 80; ++i) {
            if (write(other, color(i).c_str(), i) == DDS_RETCODE_OK) {
                written.push_back(i);
            }
        }
        for (int i : written) {
            EXPECT_TRUE(DDS_DataWriter_lookup_instance_untypedI(other, &shapeOf(color(i).c_str(), 0)).isValid) << i;
        }
        deleteEndpoints(nullptr, other);
    });
    EXPECT_GT(allocations, 80);
}

}  // namespace
