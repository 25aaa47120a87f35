// The writer's data path seen from the DDS API and the wire: instances and
// their refusals, the history kept for late joiners, deadlines on a clock
// moved by hand, matches with their monitor events, allocation failures and
// concurrent writing while readers come and go.
#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "data_path_private.h"
#include "datapath_types.h"
#include "heap_check.h"
#include "log_capture.h"
#include "vurncore/clock.h"

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

bool sameHandle(DDS_InstanceHandle_t left, DDS_InstanceHandle_t right) {
    return left.isValid == right.isValid && left.length == right.length &&
           std::memcmp(left.value, right.value, sizeof(left.value)) == 0;
}

std::atomic<uint64_t> g_nowNs{1'000'000'000};
ZELBoolean handClock(ZELHighResolutionClock *, ZELNtpTime *now) {
    ZELNtpTime_fromNanoseconds(now, g_nowNs.load());
    return ZEL_TRUE;
}

class WriterPathTest : public zeltest::HeapCheckedTest {
protected:
    void SetUp() override {
        HeapCheckedTest::SetUp();
        factory = DDS_DomainParticipantFactory_get_instance();
        ASSERT_NE(factory, nullptr);
        participant = DDS_DomainParticipantFactory_create_participant(factory, 7, &DDS_PARTICIPANT_QOS_DEFAULT,
                                                                      nullptr, DDS_STATUS_MASK_NONE);
        ASSERT_NE(participant, nullptr);
        ASSERT_EQ(dp_ShapeTypeSupport_register_type(participant, nullptr), DDS_RETCODE_OK);
        ASSERT_EQ(dp_TickTypeSupport_register_type(participant, nullptr), DDS_RETCODE_OK);
        shapes = DDS_DomainParticipant_create_topic(participant, "Shapes", dp_ShapeTypeSupport_get_type_name(),
                                                    &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
        ticks = DDS_DomainParticipant_create_topic(participant, "Ticks", "dp::Tick", &DDS_TOPIC_QOS_DEFAULT,
                                                   nullptr, 0);
        publisher = DDS_DomainParticipant_create_publisher(participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
        ASSERT_TRUE(shapes != nullptr && ticks != nullptr && publisher != nullptr);
        ASSERT_EQ(DDS_Publisher_get_default_datawriter_qos(publisher, &qos), DDS_RETCODE_OK);
        ASSERT_TRUE(dp_Shape_initialize(&shape));
    }

    void TearDown() override {
        dp_Shape_finalize(&shape);
        DDS_DataWriterQos_finalize(&qos);
        if (participant != nullptr) {
            for (RawReader *raw : rawReaders) {
                DDS_Entity_getWireI(&participant->entity)->ops->deleteReader(raw->reader);
                delete raw;
            }
            participant->monitor = DDS_MonitorAttachmentI{};
            EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(participant), DDS_RETCODE_OK);
            DDS_DomainParticipant_unregister_type(participant, dp_ShapeTypeSupport_get_type_name());
            DDS_DomainParticipant_unregister_type(participant, "dp::Tick");
            EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory, participant), DDS_RETCODE_OK);
        }
        if (clockReplaced) {
            DDS_DomainParticipantFactory_get_clockI(factory)->getTime = savedGetTime;
        }
        EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
        HeapCheckedTest::TearDown();
    }

    DDS_DataWriter *createWriter(DDS_Topic *topic) {
        return DDS_Publisher_create_datawriter(publisher, topic, &qos, nullptr, 0);
    }

    dp_Shape &shapeOf(const char *color, DDS_Long x) {
        std::snprintf(shape.color, 33, "%s", color);
        shape.x = x;
        return shape;
    }

    // A reader on the wire itself, transient-local when `durable`.
    RawReader *addRawReader(const char *topicName, const char *typeName, bool durable, int32_t reliability = 0) {
        auto *raw = new RawReader;
        ZELWireEndpointParams params{};
        for (int word = 0; word < 3; ++word) {
            params.guid.value[word] = static_cast<uint32_t>(participant->entity.key.value[word]);
        }
        params.guid.value[3] = 0x00ff0007u + (static_cast<uint32_t>(rawReaders.size()) << 8);
        params.topicName = topicName;
        params.typeName = typeName;
        params.keyed = std::strcmp(topicName, "Shapes") == 0 ? ZEL_TRUE : ZEL_FALSE;
        params.qos.durabilityKind = durable ? 1 : 0;
        params.qos.reliabilityKind = reliability;
        ZELNtpTime_fromNanoseconds(&params.qos.deadlinePeriod, UINT64_MAX);
        ZELNtpTime_fromNanoseconds(&params.qos.livelinessLeaseDuration, UINT64_MAX);
        ZELWireReaderListener listener{};
        listener.context = raw;
        listener.onSample = RawReader::onSample;
        raw->reader = DDS_Entity_getWireI(&participant->entity)
                              ->ops->createReader(participant->wireParticipant, &params, &listener);
        EXPECT_NE(raw->reader, nullptr);
        rawReaders.push_back(raw);
        return raw;
    }

    void removeRawReader(RawReader *raw) {
        DDS_Entity_getWireI(&participant->entity)->ops->deleteReader(raw->reader);
        std::erase(rawReaders, raw);
        delete raw;
    }

    void useHandClock() {
        ZELHighResolutionClock *clock = DDS_DomainParticipantFactory_get_clockI(factory);
        savedGetTime = clock->getTime;
        clock->getTime = handClock;
        clockReplaced = true;
    }

    DDS_DomainParticipantFactory *factory = nullptr;
    DDS_DomainParticipant *participant = nullptr;
    DDS_Topic *shapes = nullptr;
    DDS_Topic *ticks = nullptr;
    DDS_Publisher *publisher = nullptr;
    DDS_DataWriterQos qos = DDS_DataWriterQos_INITIALIZER;
    dp_Shape shape = dp_Shape_INITIALIZER;
    std::vector<RawReader *> rawReaders;
    bool clockReplaced = false;
    ZELBoolean (*savedGetTime)(ZELHighResolutionClock *, ZELNtpTime *) = nullptr;
};

TEST_F(WriterPathTest, InstancesAndTheirRefusals) {
    zeltest::LogCapture log;
    DDS_DataWriter *writer = createWriter(shapes);
    ASSERT_NE(writer, nullptr);
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(writer, nullptr, &DDS_HANDLE_NIL), DDS_RETCODE_BAD_PARAMETER);

    const DDS_InstanceHandle_t red = DDS_DataWriter_register_instance_untypedI(writer, &shapeOf("red", 1));
    ASSERT_TRUE(red.isValid);
    EXPECT_TRUE(sameHandle(red, DDS_DataWriter_lookup_instance_untypedI(writer, &shape)));
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(writer, &shape, &red), DDS_RETCODE_OK);
    // A handle of another key is refused; lookups of unknown keys give NIL.
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(writer, &shapeOf("blue", 1), &red),
              DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_FALSE(DDS_DataWriter_lookup_instance_untypedI(writer, &shape).isValid);
    // Unregistering an unknown key is refused; disposing one makes it known,
    // so that readers learn of an instance that goes away before its first write.
    EXPECT_EQ(DDS_DataWriter_unregister_instance_untyped_generalI(writer, &shape, &DDS_HANDLE_NIL),
              DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_DataWriter_dispose_untyped_generalI(writer, &shape, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    EXPECT_TRUE(DDS_DataWriter_lookup_instance_untypedI(writer, &shape).isValid);

    dp_Shape key = dp_Shape_INITIALIZER;
    ASSERT_TRUE(dp_Shape_initialize(&key));
    EXPECT_EQ(DDS_DataWriter_get_key_value_untypedI(writer, &key, &red), DDS_RETCODE_OK);
    EXPECT_STREQ(key.color, "red");
    // Dispose by handle alone, then unregister forgets the instance.
    EXPECT_EQ(DDS_DataWriter_dispose_untyped_generalI(writer, nullptr, &red), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DataWriter_unregister_instance_untyped_generalI(writer, &shapeOf("red", 0), &DDS_HANDLE_NIL),
              DDS_RETCODE_OK);
    EXPECT_FALSE(DDS_DataWriter_lookup_instance_untypedI(writer, &shape).isValid);
    EXPECT_EQ(DDS_DataWriter_get_key_value_untypedI(writer, &key, &red), DDS_RETCODE_BAD_PARAMETER);
    dp_Shape_finalize(&key);

    // write_w_params with replace_auto reports the handle it used.
    DDS_WriteParams_t params = DDS_WRITEPARAMS_DEFAULT;
    params.replace_auto = DDS_BOOLEAN_TRUE;
    EXPECT_EQ(DDS_DataWriter_write_w_params_untyped_generalI(writer, &shapeOf("green", 2), &params), DDS_RETCODE_OK);
    EXPECT_TRUE(sameHandle(params.handle, DDS_DataWriter_lookup_instance_untypedI(writer, &shape)));
    EXPECT_GE(params.source_timestamp.sec, 0);

    // A keyless writer cannot dispose or unregister.
    DDS_DataWriter *tickWriter = createWriter(ticks);
    dp_Tick tick{42};
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(tickWriter, &tick, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DataWriter_dispose_untyped_generalI(tickWriter, &tick, &DDS_HANDLE_NIL),
              DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(DDS_DataWriter_unregister_instance_untyped_generalI(tickWriter, &tick, &DDS_HANDLE_NIL),
              DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_TRUE(DDS_DataWriter_compare_typeI(tickWriter, "dp::Tick"));
    EXPECT_FALSE(DDS_DataWriter_compare_typeI(tickWriter, "dp::Shape"));

    // A writer not enabled refuses data; its statuses read as initial.
    DDS_PublisherQos publisherQos = DDS_PublisherQos_INITIALIZER;
    ASSERT_EQ(DDS_Publisher_get_qos(publisher, &publisherQos), DDS_RETCODE_OK);
    publisherQos.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
    ASSERT_EQ(DDS_Publisher_set_qos(publisher, &publisherQos), DDS_RETCODE_OK);
    DDS_PublisherQos_finalize(&publisherQos);
    DDS_DataWriter *disabled = createWriter(shapes);
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

TEST_F(WriterPathTest, HistoryDepthLimitsAndLateJoinerReplay) {
    zeltest::LogCapture log;
    qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    qos.history.kind = DDS_KEEP_LAST_HISTORY_QOS;
    qos.history.depth = 2;
    DDS_DataWriter *keepLast = createWriter(shapes);
    ASSERT_NE(keepLast, nullptr);
    for (DDS_Long x = 0; x < 5; ++x) {
        ASSERT_EQ(DDS_DataWriter_write_untyped_generalI(keepLast, &shapeOf("red", x), &DDS_HANDLE_NIL),
                  DDS_RETCODE_OK);
    }
    ASSERT_EQ(DDS_DataWriter_write_untyped_generalI(keepLast, &shapeOf("blue", 9), &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    DDS_DataWriterCacheStatus cache{};
    ASSERT_EQ(DDS_DataWriter_get_datawriter_cache_status_ex(keepLast, &cache, DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    EXPECT_EQ(cache.sample_count, 3);
    EXPECT_EQ(cache.sample_count_peak, 3);

    // A late joiner gets the kept samples oldest first, then live ones; a
    // volatile reader only the live ones.
    RawReader *late = addRawReader("Shapes", dp_ShapeTypeSupport_get_type_name(), true);
    RawReader *live = addRawReader("Shapes", dp_ShapeTypeSupport_get_type_name(), false);
    ASSERT_EQ(DDS_DataWriter_dispose_untyped_generalI(keepLast, &shapeOf("blue", 0), &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    {
        std::lock_guard<std::mutex> guard(late->mutex);
        EXPECT_EQ(late->sequenceNumbers, (std::vector<int64_t>{4, 5, 6, 7}));
        EXPECT_EQ(late->kinds.back(), ZEL_WIRE_SAMPLE_DISPOSE);
    }
    {
        std::lock_guard<std::mutex> guard(live->mutex);
        EXPECT_EQ(live->sequenceNumbers, (std::vector<int64_t>{7}));
    }
    DDS_DataWriterProtocolStatus protocol{};
    ASSERT_EQ(DDS_DataWriter_get_datawriter_protocol_status_ex(keepLast, &protocol, DDS_BOOLEAN_TRUE), DDS_RETCODE_OK);
    EXPECT_EQ(protocol.pushed_sample_count, 5);  // 3 replayed + the dispose twice
    EXPECT_EQ(protocol.pushed_sample_count_change, 5);
    ASSERT_EQ(DDS_DataWriter_get_datawriter_protocol_status_ex(keepLast, &protocol, DDS_BOOLEAN_TRUE), DDS_RETCODE_OK);
    EXPECT_EQ(protocol.pushed_sample_count_change, 0);

    // KEEP_ALL refuses beyond max_samples_per_instance and max_instances,
    // changing nothing.
    qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
    qos.resource_limits.max_samples_per_instance = 2;
    qos.resource_limits.max_samples = 4;
    qos.resource_limits.max_instances = 2;
    DDS_DataWriter *keepAll = createWriter(shapes);
    ASSERT_NE(keepAll, nullptr);
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(keepAll, &shapeOf("red", 1), &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(keepAll, &shapeOf("red", 2), &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(keepAll, &shapeOf("red", 3), &DDS_HANDLE_NIL),
              DDS_RETCODE_OUT_OF_RESOURCES);
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(keepAll, &shapeOf("blue", 1), &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(keepAll, &shapeOf("green", 1), &DDS_HANDLE_NIL),
              DDS_RETCODE_OUT_OF_RESOURCES);
    EXPECT_FALSE(DDS_DataWriter_lookup_instance_untypedI(keepAll, &shape).isValid);
    ASSERT_EQ(DDS_DataWriter_get_datawriter_cache_status_ex(keepAll, &cache, DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    EXPECT_EQ(cache.sample_count, 3);
    // Unregistering releases an instance's samples and makes room.
    EXPECT_EQ(DDS_DataWriter_unregister_instance_untyped_generalI(keepAll, &shapeOf("red", 0), &DDS_HANDLE_NIL),
              DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(keepAll, &shapeOf("green", 1), &DDS_HANDLE_NIL), DDS_RETCODE_OK);
}

TEST_F(WriterPathTest, OfferedDeadlinesAndLifespanFollowTheClock) {
    useHandClock();
    qos.deadline.period = DDS_Duration_t{1, 0};
    qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    qos.lifespan.duration = DDS_Duration_t{10, 0};
    qos.liveliness.kind = DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS;
    qos.liveliness.lease_duration = DDS_Duration_t{2, 0};
    DDS_DataWriter *writer = createWriter(shapes);
    ASSERT_NE(writer, nullptr);
    ASSERT_EQ(DDS_DataWriter_write_untyped_generalI(writer, &shapeOf("red", 1), &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    g_nowNs += 3'500'000'000;
    DDS_OfferedDeadlineMissedStatus missed{};
    ASSERT_EQ(DDS_DataWriter_get_offered_deadline_missed_status_ex(writer, &missed, DDS_BOOLEAN_FALSE),
              DDS_RETCODE_OK);
    EXPECT_EQ(missed.total_count, 3);
    EXPECT_EQ(missed.total_count_change, 3);
    EXPECT_TRUE(sameHandle(missed.last_instance_handle, DDS_DataWriter_lookup_instance_untypedI(writer, &shape)));
    // A manual writer silent past its lease lost its liveliness once.
    DDS_LivelinessLostStatus lost{};
    ASSERT_EQ(DDS_DataWriter_get_liveliness_lost_status(writer, &lost), DDS_RETCODE_OK);
    EXPECT_EQ(lost.total_count, 1);
    // Without a reset the change keeps counting; periods are counted once.
    ASSERT_EQ(DDS_DataWriter_get_offered_deadline_missed_status(writer, &missed), DDS_RETCODE_OK);
    EXPECT_EQ(missed.total_count_change, 3);
    ASSERT_EQ(DDS_DataWriter_get_offered_deadline_missed_status(writer, &missed), DDS_RETCODE_OK);
    EXPECT_EQ(missed.total_count, 3);
    EXPECT_EQ(missed.total_count_change, 0);
    // A write restarts the period; set_qos with no deadline stops counting.
    ASSERT_EQ(DDS_DataWriter_write_untyped_generalI(writer, &shape, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
    g_nowNs += 1'500'000'000;
    ASSERT_EQ(DDS_DataWriter_get_offered_deadline_missed_status(writer, &missed), DDS_RETCODE_OK);
    EXPECT_EQ(missed.total_count, 4);
    qos.deadline.period = DDS_Duration_t DDS_DURATION_INFINITE;
    ASSERT_EQ(DDS_DataWriter_set_qos(writer, &qos), DDS_RETCODE_OK);
    g_nowNs += 5'000'000'000;
    ASSERT_EQ(DDS_DataWriter_get_offered_deadline_missed_status(writer, &missed), DDS_RETCODE_OK);
    EXPECT_EQ(missed.total_count, 4);
    ASSERT_EQ(DDS_DataWriter_get_liveliness_lost_status(writer, &lost), DDS_RETCODE_OK);
    EXPECT_EQ(lost.total_count, 2);
    EXPECT_EQ(lost.total_count_change, 1);
    // Past their lifespan the kept samples are dropped.
    DDS_DataWriterCacheStatus cache{};
    ASSERT_EQ(DDS_DataWriter_get_datawriter_cache_status_ex(writer, &cache, DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    EXPECT_EQ(cache.sample_count, 1);
    g_nowNs += 10'000'000'000;
    ASSERT_EQ(DDS_DataWriter_get_datawriter_cache_status_ex(writer, &cache, DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    EXPECT_EQ(cache.sample_count, 0);
}

TEST_F(WriterPathTest, MatchesReportStatusesLocatorsAndEvents) {
    zeltest::LogCapture log;
    EventLog events;
    participant->monitor.onEventNotify = EventLog::onEvent;
    participant->monitor.participantObject = &events;
    DDS_DataWriter *writer = createWriter(shapes);
    ASSERT_NE(writer, nullptr);
    RawReader *first = addRawReader("Shapes", dp_ShapeTypeSupport_get_type_name(), false);
    RawReader *second = addRawReader("Shapes", dp_ShapeTypeSupport_get_type_name(), false);
    ASSERT_EQ(DDS_DataWriter_write_untyped_generalI(writer, &shapeOf("red", 1), &DDS_HANDLE_NIL), DDS_RETCODE_OK);

    DDS_PublicationMatchedStatus matched{};
    ASSERT_EQ(DDS_DataWriter_get_publication_matched_status_ex(writer, &matched, DDS_BOOLEAN_TRUE), DDS_RETCODE_OK);
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
    ASSERT_EQ(DDS_DataWriter_get_publication_matched_status(writer, &matched), DDS_RETCODE_OK);
    EXPECT_EQ(matched.current_count, 0);
    EXPECT_EQ(matched.current_count_peak, 2);
    EXPECT_EQ(matched.current_count_change, -2);
    const DDS_Long create = DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_CREATE_AFTER;
    const DDS_Long remove = DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_DELETE_AFTER;
    const DDS_Long gain = DDS_MONITOR_EVENT_DATAWRITER_LOCATOR_PAIR_CREATE_AFTER;
    const DDS_Long lose = DDS_MONITOR_EVENT_DATAWRITER_LOCATOR_PAIR_DELETE_AFTER;
    std::lock_guard<std::mutex> guard(events.mutex);
    EXPECT_EQ(events.kinds, (std::vector<DDS_Long>{create, gain, create, gain, lose, remove, lose, remove}));
}

TEST_F(WriterPathTest, IncompatibleReadersCountByPolicyUntilReset) {
    qos.reliability.kind = DDS_BEST_EFFORT_RELIABILITY_QOS;
    DDS_DataWriter *writer = createWriter(shapes);
    ASSERT_NE(writer, nullptr);
    addRawReader("Shapes", dp_ShapeTypeSupport_get_type_name(), false, 1);
    addRawReader("Shapes", dp_ShapeTypeSupport_get_type_name(), false, 1);
    DDS_OfferedIncompatibleQosStatus status = DDS_OfferedIncompatibleQosStatus_INITIALIZER;
    ASSERT_EQ(DDS_DataWriter_get_offered_incompatible_qos_status(writer, &status), DDS_RETCODE_OK);
    EXPECT_EQ(status.total_count, 2);
    EXPECT_EQ(status.total_count_change, 2);
    EXPECT_EQ(status.last_policy_id, static_cast<DDS_QosPolicyId_t>(ZEL_WIRE_POLICY_ID_RELIABILITY));
    ASSERT_EQ(DDS_QosPolicyCountSeq_get_length(&status.policies), 1);
    EXPECT_EQ(DDS_QosPolicyCountSeq_get_reference(&status.policies, 0)->count, 2);
    ASSERT_EQ(DDS_DataWriter_get_offered_incompatible_qos_status(writer, &status), DDS_RETCODE_OK);
    EXPECT_EQ(status.total_count_change, 0);
    DDS_PublicationMatchedStatus matched{};
    ASSERT_EQ(DDS_DataWriter_get_publication_matched_status(writer, &matched), DDS_RETCODE_OK);
    EXPECT_EQ(matched.total_count, 0);
    DDS_OfferedIncompatibleQosStatus_finalize(&status);
}

TEST_F(WriterPathTest, AllocationFailuresAreCleanRefusals) {
    zeltest::LogCapture log;
    qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    shapeOf("red", 1);
    const long allocations = zeltest::forEachAllocationFailure([&](long) {
        DDS_DataWriter *writer = createWriter(shapes);
        if (writer != nullptr) {
            const DDS_ReturnCode_t result = DDS_DataWriter_write_untyped_generalI(writer, &shape, &DDS_HANDLE_NIL);
            EXPECT_TRUE(result == DDS_RETCODE_OK || result == DDS_RETCODE_OUT_OF_RESOURCES ||
                        result == DDS_RETCODE_NOT_ENABLED || result == DDS_RETCODE_ERROR)
                    << result;
        }
        if (writer != nullptr) {
            EXPECT_EQ(DDS_Publisher_delete_datawriter(publisher, writer), DDS_RETCODE_OK);
        }
    });
    // Creation, attachment, the instance and the kept sample all allocate.
    EXPECT_GT(allocations, 6);
}

TEST_F(WriterPathTest, ManyInstancesAreFoundByKeyAsTheyComeAndGoEvenWithoutAnIndex) {
    DDS_DataWriter *writer = createWriter(shapes);
    ASSERT_NE(writer, nullptr);
    const auto color = [](int i) { return "c" + std::to_string(i); };
    const auto lookup = [&](int i) {
        return DDS_DataWriter_lookup_instance_untypedI(writer, &shapeOf(color(i).c_str(), 0));
    };
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(DDS_DataWriter_write_untyped_generalI(writer, &shapeOf(color(i).c_str(), i), &DDS_HANDLE_NIL),
                  DDS_RETCODE_OK);
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
        DDS_DataWriter *other = createWriter(shapes);
        if (other == nullptr) {
            return;
        }
        std::vector<int> written;
        for (int i = 0; i < 80; ++i) {
            if (DDS_DataWriter_write_untyped_generalI(other, &shapeOf(color(i).c_str(), i), &DDS_HANDLE_NIL) ==
                DDS_RETCODE_OK) {
                written.push_back(i);
            }
        }
        for (int i : written) {
            EXPECT_TRUE(DDS_DataWriter_lookup_instance_untypedI(other, &shapeOf(color(i).c_str(), 0)).isValid) << i;
        }
        EXPECT_EQ(DDS_Publisher_delete_datawriter(publisher, other), DDS_RETCODE_OK);
    });
    EXPECT_GT(allocations, 80);
}

TEST_F(WriterPathTest, ConcurrentWritersWhileReadersComeAndGo) {
    qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    qos.history.depth = 3;
    DDS_DataWriter *writer = createWriter(shapes);
    ASSERT_NE(writer, nullptr);
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([&, t] {
            dp_Shape own = dp_Shape_INITIALIZER;
            ASSERT_TRUE(dp_Shape_initialize(&own));
            std::snprintf(own.color, 33, "thread%d", t);
            for (DDS_Long x = 0; x < 300; ++x) {
                own.x = x;
                EXPECT_EQ(DDS_DataWriter_write_untyped_generalI(writer, &own, &DDS_HANDLE_NIL), DDS_RETCODE_OK);
            }
            dp_Shape_finalize(&own);
        });
    }
    for (int round = 0; round < 20; ++round) {
        RawReader *raw = addRawReader("Shapes", dp_ShapeTypeSupport_get_type_name(), round % 2 == 0);
        DDS_PublicationMatchedStatus matched{};
        EXPECT_EQ(DDS_DataWriter_get_publication_matched_status(writer, &matched), DDS_RETCODE_OK);
        removeRawReader(raw);
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    DDS_PublicationMatchedStatus matched{};
    ASSERT_EQ(DDS_DataWriter_get_publication_matched_status(writer, &matched), DDS_RETCODE_OK);
    EXPECT_EQ(matched.total_count, 20);
    EXPECT_EQ(matched.current_count, 0);
}

}  // namespace
