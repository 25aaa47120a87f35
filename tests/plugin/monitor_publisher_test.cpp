// Create, attach, detach and delete of the monitor publisher, with the
// monitoring entities they make on the real platform.
#include "catalogue.h"
#include "entity_set.h"
#include "monitor_fixture.h"
#include "monitor_publisher.h"
#include "vurncore/osapi.h"

namespace {

using zeltest::Properties;
using zeltest::recordText;

const char *const kCreate = "ZELDefaultMonitorPublisher_create";
const char *const kAttach = "ZELDefaultMonitorPublisher_onDomainParticipantAttach";
const char *const kCreateEntities = "ZELDefaultMonitorPublisher_createEntitiesAndThreadI";

class MonitorPublisherTest : public zeltest::MonitorTest {
protected:
    // Every monitoring topic of the set on `participant`, with its
    // registered type, or none of them.
    static void expectMonitoringTopics(DDS_DomainParticipant *participant, bool present) {
        for (const ZELDefaultMonitorCatalogueEntry &entry : ZELDefaultMonitorCatalogue_g_entries) {
            DDS_TopicDescription *description =
                    DDS_DomainParticipant_lookup_topicdescription(participant, entry.topicName);
            ASSERT_EQ(description != nullptr, present) << entry.topicName;
            if (present) {
                EXPECT_STREQ(DDS_TopicDescription_get_type_name(description), entry.typeName);
            }
        }
    }

    // Attach expected to fail after the participant object was made.
    ZELDefaultMonitorParticipantObject *attachFailing(DDS_DomainParticipant *participant) {
        DDS_UnsignedLong result = 99;
        ZELDefaultMonitorParticipantObject *object =
                ZELDefaultMonitorPublisher_onDomainParticipantAttach(&result, publisher(), participant);
        EXPECT_EQ(result, ZEL_MONITOR_RESULT_FAILURE);
        EXPECT_NE(object, nullptr);
        return object;
    }
};

TEST_F(MonitorPublisherTest, CreateRefusesMiddlewaresBefore45c) {
    zeltest::LogCapture capture;
    const ZELDefaultMonitorVersion refused[] = {{4, 5, 'b', 9}, {4, 4, 'z', 0}, {3, 9, 'z', 0}, {200, 9, 'z', 0}};
    for (const ZELDefaultMonitorVersion &version : refused) {
        DDS_UnsignedLong result = 99;
        EXPECT_EQ(ZELDefaultMonitor_create(&result, factory_, version), nullptr);
        EXPECT_EQ(result, ZEL_MONITOR_RESULT_VERSION_NOT_SUPPORTED);
    }
    EXPECT_TRUE(capture.contains(kCreate, ZEL_MONITOR_LOG_VERSION_MISMATCH, "version mismatch\n"));

    const ZELDefaultMonitorVersion accepted[] = {{4, 5, 'c', 0}, {4, 6, 0, 0}, {5, 0, 0, 0}, {9, 0, 0, 0}};
    for (const ZELDefaultMonitorVersion &version : accepted) {
        DDS_UnsignedLong result = 99;
        ZELDefaultMonitorPublisher *publisher = ZELDefaultMonitor_create(&result, factory_, version);
        ASSERT_NE(publisher, nullptr);
        EXPECT_EQ(result, ZEL_MONITOR_RESULT_OK);
        EXPECT_EQ(publisher->deletePublisher(publisher), ZEL_MONITOR_RESULT_OK);
    }
    EXPECT_EQ(ZELDefaultMonitorPublisher_delete(nullptr), ZEL_MONITOR_RESULT_OK);
}

TEST_F(MonitorPublisherTest, CreateHandsBackWhatItBuiltWhenItFails) {
    zeltest::LogCapture capture;
    DDS_UnsignedLong result = 99;
    ZELDefaultMonitorPublisher *orphan = ZELDefaultMonitorPublisher_create(&result, nullptr, zeltest::kVersion);
    ASSERT_NE(orphan, nullptr);
    EXPECT_EQ(result, ZEL_MONITOR_RESULT_FAILURE);
    EXPECT_TRUE(capture.contains(kCreate, ZEL_LOG_GET_FAILURE_s, recordText(ZEL_LOG_GET_FAILURE_s, "worker factory")));
    ZELOsapiHeap_freeStructure(orphan);

    zeltest::forEachAllocationFailure([&](long) {
        DDS_UnsignedLong code = 99;
        ZELDefaultMonitorPublisher *publisher = ZELDefaultMonitorPublisher_create(&code, factory_, zeltest::kVersion);
        if (publisher == nullptr) {
            EXPECT_EQ(code, ZEL_MONITOR_RESULT_FAILURE);
            EXPECT_TRUE(capture.contains(kCreate, ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                         recordText(ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                                    static_cast<int>(sizeof(ZELDefaultMonitorPublisher)))));
        } else if (code == ZEL_MONITOR_RESULT_FAILURE) {
            EXPECT_EQ(publisher->listEA, nullptr);
            ZELOsapiHeap_freeStructure(publisher);
        } else {
            EXPECT_EQ(ZELDefaultMonitorPublisher_delete(publisher), ZEL_MONITOR_RESULT_OK);
        }
    });
}

TEST_F(MonitorPublisherTest, AttachWithoutSeparateParticipantMonitorsThroughTheParticipantItself) {
    DDS_DomainParticipant *participant = createParticipant({{"zel.monitor.config.skip_writer_properties", "True"},
                                                            {"zel.monitor.config.writer_pool_buffer_max_size", "4096"}},
                                                           3);
    ZELDefaultMonitorPublisher *publisher = this->publisher();
    DDS_UnsignedLong result = 99;
    ZELDefaultMonitorParticipantObject *object =
            ZELDefaultMonitorPublisher_onDomainParticipantAttach(&result, publisher, participant);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(result, ZEL_MONITOR_RESULT_OK);
    EXPECT_EQ(object->domainId, 3);
    EXPECT_TRUE(object->skipWriterProperties);
    EXPECT_EQ(publisher->participantList.count, 1);
    EXPECT_EQ(publisher->participantList.first, object);
    EXPECT_EQ(publisher->sharedEntities, nullptr);

    // The participant announces the middleware, the library and the tool.
    EXPECT_EQ(propertyOf(participant, "zel/dds/version"), "5.1.99.rev2");
    EXPECT_EQ(propertyOf(participant, "zel/dds/monitor/version"), "5.1.0");
    EXPECT_EQ(propertyOf(participant, "zel/dds/monitor/appname"), "monitoring application");

    expectMonitoringTopics(participant, true);
    const ZELDefaultMonitorEntitySet *set = object->entities;
    ASSERT_NE(set, nullptr);
    EXPECT_NE(set->thread, nullptr);
    EXPECT_EQ(set->period.sec, 5);
    // Descriptions are kept for late joiners, statistics sent once.
    for (int slot = 0; slot < ZEL_MONITOR_TOPIC_COUNT; ++slot) {
        SCOPED_TRACE(slot);
        DDS_DataWriter *writer = set->writers[slot];
        ASSERT_NE(writer, nullptr);
        EXPECT_EQ(DDS_DataWriter_get_topic(writer), set->topics[slot]);
        EXPECT_TRUE(DDS_Entity_is_vendor_specific(DDS_DataWriter_as_entity(writer)));
        DDS_DataWriterQos qos = DDS_DataWriterQos_INITIALIZER;
        ASSERT_EQ(DDS_DataWriter_get_qos(writer, &qos), DDS_RETCODE_OK);
        const bool description = ZELDefaultMonitorCatalogue_g_entries[slot].isDescription;
        EXPECT_EQ(qos.durability.kind, description ? DDS_TRANSIENT_LOCAL_DURABILITY_QOS : DDS_VOLATILE_DURABILITY_QOS);
        EXPECT_EQ(qos.reliability.kind, description ? DDS_RELIABLE_RELIABILITY_QOS : DDS_BEST_EFFORT_RELIABILITY_QOS);
        EXPECT_EQ(qos.protocol.serialize_key_with_dispose, description);
        EXPECT_TRUE(qos.history.depth == 1 && qos.resource_limits.max_samples_per_instance == 1 &&
                    qos.resource_limits.initial_instances == 1);
        EXPECT_TRUE(qos.reliability.max_blocking_time.sec == 0 &&
                    qos.reliability.max_blocking_time.nanosec == 100000000u);
        EXPECT_EQ(qos.lifespan.duration.sec, DDS_DURATION_INFINITE_SEC);
        EXPECT_TRUE(qos.writer_data_lifecycle.autodispose_unregistered_instances);
        EXPECT_FALSE(qos.protocol.disable_positive_acks);
        for (const auto &[name, value] :
             {std::pair{"zel/dds/monitor/entity", "DataWriter"},
              std::pair{"dds.data_writer.history.memory_manager.fast_pool.pool_buffer_max_size", "4096"}}) {
            const DDS_Property_t *property = DDS_PropertyQosPolicyHelper_lookup_property(&qos.property, name);
            ASSERT_NE(property, nullptr) << name;
            EXPECT_STREQ(property->value, value);
        }
        DDS_DataWriterQos_finalize(&qos);
    }

    EXPECT_EQ(ZELDefaultMonitorPublisher_onDomainParticipantDetach(object), ZEL_MONITOR_RESULT_OK);
    expectMonitoringTopics(participant, false);
    EXPECT_EQ(publisher->participantList.count, 0);
    EXPECT_EQ(ZELDefaultMonitorPublisher_onDomainParticipantDetach(nullptr), ZEL_MONITOR_RESULT_OK);
}

TEST_F(MonitorPublisherTest, SeparateMonitoringParticipantIsSharedAndNeverMonitoredItself) {
    zeltest::LogCapture capture;
    DDS_DomainParticipant *first = createParticipant({{"zel.monitor.config.new_participant_domain_id", "7"},
                                                      {"zel.monitor.config.verbosity", "2"},
                                                      {"zel.monitor.library", "zelmonitoring_nowhere"},
                                                      {"zel.monitor.create_function", "ZELDefaultMonitor_create"}});
    DDS_DomainParticipant *second = createParticipant(
            {{"zel.monitor.config.new_participant_domain_id", "8"}, {"zel.monitor.config.verbosity", "-1"}});
    ZELDefaultMonitorPublisher *publisher = this->publisher();
    ZELDefaultMonitorParticipantObject *firstObject = attach(first);
    ASSERT_NE(firstObject, nullptr);
    DDS_DomainParticipant *monitoring = publisher->monitoringParticipant;
    ASSERT_NE(monitoring, nullptr);
    EXPECT_EQ(DDS_DomainParticipant_get_domain_id(monitoring), 7);
    EXPECT_EQ(firstObject->entities, publisher->sharedEntities);
    EXPECT_EQ(ZEL_Monitor_Log_g_instrumentationMask, 0x7u);

    // The monitoring participant names itself, loads no plug-in and is
    // refused by its mark.
    EXPECT_TRUE(DDS_Entity_is_vendor_specific(DDS_DomainParticipant_as_entity(monitoring)));
    EXPECT_EQ(propertyOf(monitoring, "zel/dds/monitor/entity"), "DomainParticipant");
    EXPECT_EQ(propertyOf(monitoring, "zel.monitor.library"), "<absent>");
    EXPECT_EQ(propertyOf(monitoring, "zel.monitor.create_function"), "<absent>");
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    DDS_DomainParticipant_get_qos(monitoring, &qos);
    EXPECT_STREQ(qos.participant_name.name, "monitoring application");
    DDS_DomainParticipantQos_finalize(&qos);
    DDS_UnsignedLong result = 99;
    EXPECT_EQ(ZELDefaultMonitorPublisher_onDomainParticipantAttach(&result, publisher, monitoring), nullptr);
    EXPECT_EQ(result, ZEL_MONITOR_RESULT_OK);
    expectMonitoringTopics(monitoring, true);
    expectMonitoringTopics(first, false);

    // Only the first participant chooses the domain and the verbosity.
    ZELDefaultMonitorParticipantObject *secondObject = attach(second);
    ASSERT_NE(secondObject, nullptr);
    EXPECT_EQ(secondObject->entities, publisher->sharedEntities);
    EXPECT_EQ(DDS_DomainParticipantFactory_lookup_participant(factory_, 8), nullptr);
    EXPECT_EQ(ZEL_Monitor_Log_g_instrumentationMask, 0x7u);

    capture.clear();
    EXPECT_EQ(ZELDefaultMonitorPublisher_delete(publisher), ZEL_MONITOR_RESULT_FAILURE);
    EXPECT_TRUE(capture.contains("ZELDefaultMonitorPublisher_delete", ZEL_LOG_DESTRUCTION_FAILURE_s,
                                 recordText(ZEL_LOG_DESTRUCTION_FAILURE_s, "participant list")));
    EXPECT_EQ(ZELDefaultMonitorPublisher_onDomainParticipantDetach(firstObject), ZEL_MONITOR_RESULT_OK);
    expectMonitoringTopics(monitoring, true);
    EXPECT_EQ(ZELDefaultMonitorPublisher_onDomainParticipantDetach(secondObject), ZEL_MONITOR_RESULT_OK);
    objects_.clear();
    EXPECT_EQ(ZELDefaultMonitorPublisher_delete(publisher), ZEL_MONITOR_RESULT_OK);
    publisher_ = nullptr;
    EXPECT_EQ(DDS_DomainParticipantFactory_lookup_participant(factory_, 7), nullptr);
}

TEST_F(MonitorPublisherTest, TopicListAndZeroPeriodLeaveOneWriterAndNoThread) {
    DDS_DomainParticipant *participant =
            createParticipant({{"zel.monitor.config.topics", "zel/dds/monitoring/topicDescription"},
                               {"zel.monitor.config.publish_period", "0"}},
                              0, false);
    ZELDefaultMonitorParticipantObject *object = attach(participant);
    ASSERT_NE(object, nullptr);
    ZELDefaultMonitorEntitySet *set = object->entities;
    EXPECT_EQ(set->thread, nullptr);
    for (int slot = 0; slot < ZEL_MONITOR_TOPIC_COUNT; ++slot) {
        const bool kept = slot == ZEL_MONITOR_TOPIC_TOPIC_DESCRIPTION;
        EXPECT_EQ(set->topics[slot] != nullptr, kept) << slot;
        EXPECT_EQ(set->writers[slot] != nullptr, kept) << slot;
    }
    DDS_Entity *writer = DDS_DataWriter_as_entity(set->writers[ZEL_MONITOR_TOPIC_TOPIC_DESCRIPTION]);
    EXPECT_FALSE(DDS_Entity_is_enabled(writer));

    // Enabling the participant enables the monitoring entities; without a
    // thread the set still counts as started, so descriptions can flow.
    ASSERT_EQ(DDS_Entity_enable(DDS_DomainParticipant_as_entity(participant)), DDS_RETCODE_OK);
    EXPECT_EQ(enable(object), ZEL_MONITOR_RESULT_OK);
    EXPECT_TRUE(DDS_Entity_is_enabled(writer));
    EXPECT_TRUE(ZELDefaultMonitorEntitySet_isStarted(set));
}

TEST_F(MonitorPublisherTest, AttachFailuresHandBackAnObjectThatDetachFrees) {
    zeltest::LogCapture capture;

    // A topic of the monitoring name already exists.
    DDS_DomainParticipant *taken = createParticipant({});
    ASSERT_EQ(zel_dds_monitoring_TopicDescriptionTypeSupport_register_type(taken, nullptr), DDS_RETCODE_OK);
    createTopic(taken, "zel/dds/monitoring/topicDescription", "zel::dds::monitoring::TopicDescription");
    ZELDefaultMonitorParticipantObject *object = attachFailing(taken);
    EXPECT_TRUE(capture.contains(kCreateEntities, ZEL_LOG_CREATION_FAILURE_s,
                                 recordText(ZEL_LOG_CREATION_FAILURE_s, "topic desc topic")));
    EXPECT_TRUE(
            capture.contains(kAttach, ZEL_LOG_CREATION_FAILURE_s, recordText(ZEL_LOG_CREATION_FAILURE_s, "entities")));
    EXPECT_NE(object->entities->topics[ZEL_MONITOR_TOPIC_SUBSCRIBER_DESCRIPTION], nullptr);
    EXPECT_EQ(publisher_->participantList.count, 0);
    EXPECT_EQ(ZELDefaultMonitorPublisher_onDomainParticipantDetach(object), ZEL_MONITOR_RESULT_OK);
    EXPECT_EQ(DDS_DomainParticipant_lookup_topicdescription(taken, "zel/dds/monitoring/subscriberDescription"),
              nullptr);

    // A property that the participant is to announce is there already.
    object = attachFailing(createParticipant({{"zel/dds/monitor/version", "4.0"}}));
    EXPECT_TRUE(capture.contains(kAttach, ZEL_LOG_CREATION_FAILURE_s,
                                 recordText(ZEL_LOG_CREATION_FAILURE_s, "monitoring version property")));
    EXPECT_EQ(publisher_->participantList.count, 1);
    EXPECT_EQ(ZELDefaultMonitorPublisher_onDomainParticipantDetach(object), ZEL_MONITOR_RESULT_OK);

    // A QoS profile that does not exist.
    object = attachFailing(createParticipant(
            {{"zel.monitor.config.qos_library", "nowhere"}, {"zel.monitor.config.qos_profile", "none"}}));
    EXPECT_TRUE(capture.contains(kCreateEntities, ZEL_LOG_CREATION_FAILURE_s,
                                 recordText(ZEL_LOG_CREATION_FAILURE_s, "get default publisher qos")));
    EXPECT_EQ(ZELDefaultMonitorPublisher_onDomainParticipantDetach(object), ZEL_MONITOR_RESULT_OK);
}

TEST_F(MonitorPublisherTest, AQosProfileGivesTheWriterQosPerTopicAndStillMarksTheWriters) {
    ASSERT_EQ(DDS_DomainParticipantFactory_add_qos_profile(factory_, "monitoring", "quiet"), DDS_RETCODE_OK);
    DDS_DataWriterQos statistics = DDS_DataWriterQos_INITIALIZER;
    ASSERT_EQ(
            DDS_DomainParticipantFactory_get_datawriter_qos_from_profile(factory_, &statistics, "monitoring", "quiet"),
            DDS_RETCODE_OK);
    statistics.history.depth = 7;
    statistics.resource_limits.max_samples_per_instance = 7;
    ASSERT_EQ(DDS_DomainParticipantFactory_set_datawriter_qos_in_profile(factory_, "monitoring", "quiet", "*Statistics",
                                                                         &statistics),
              DDS_RETCODE_OK);
    DDS_DataWriterQos_finalize(&statistics);

    ZELDefaultMonitorParticipantObject *object = attach(createParticipant(
            {{"zel.monitor.config.qos_library", "monitoring"}, {"zel.monitor.config.qos_profile", "quiet"}}));
    ASSERT_NE(object, nullptr);
    for (int slot = 0; slot < ZEL_MONITOR_TOPIC_COUNT; ++slot) {
        DDS_DataWriterQos qos = DDS_DataWriterQos_INITIALIZER;
        ASSERT_EQ(DDS_DataWriter_get_qos(object->entities->writers[slot], &qos), DDS_RETCODE_OK);
        // The profile's QoS as it stands: no monitoring overrides.
        EXPECT_EQ(qos.history.depth, ZELDefaultMonitorCatalogue_g_entries[slot].isDescription ? 1 : 7) << slot;
        EXPECT_EQ(qos.durability.kind, DDS_VOLATILE_DURABILITY_QOS);
        EXPECT_FALSE(qos.protocol.serialize_key_with_dispose);
        EXPECT_TRUE(qos.protocol.vendor_specific_entity);
        EXPECT_NE(DDS_PropertyQosPolicyHelper_lookup_property(&qos.property, "zel/dds/monitor/entity"), nullptr);
        DDS_DataWriterQos_finalize(&qos);
    }
}

// Each run builds and tears down everything, so that a failed allocation
// anywhere in attach must leave nothing behind once the half-built object
// is detached.
TEST_F(MonitorPublisherTest, AttachSurvivesEveryAllocationFailure) {
    for (const Properties &properties : {Properties{{"zel.monitor.config.usertopics", "Square"}},
                                         Properties{{"zel.monitor.config.new_participant_domain_id", "9"}}}) {
        createParticipant({});  // the thread's worker and the factory's first participant stay
        zeltest::forEachAllocationFailure([&](long) {
            DDS_DomainParticipant *participant = createParticipant(properties, 0, true, nullptr, false);
            if (participant == nullptr) {
                return;
            }
            DDS_UnsignedLong result = 99;
            ZELDefaultMonitorPublisher *publisher =
                    ZELDefaultMonitorPublisher_create(&result, factory_, zeltest::kVersion);
            if (publisher != nullptr && result == ZEL_MONITOR_RESULT_OK) {
                ZELDefaultMonitorParticipantObject *object =
                        ZELDefaultMonitorPublisher_onDomainParticipantAttach(&result, publisher, participant);
                if (object == nullptr) {
                    EXPECT_EQ(result, ZEL_MONITOR_RESULT_FAILURE);
                }
                EXPECT_EQ(ZELDefaultMonitorPublisher_onDomainParticipantDetach(object), ZEL_MONITOR_RESULT_OK);
                EXPECT_EQ(ZELDefaultMonitorPublisher_delete(publisher), ZEL_MONITOR_RESULT_OK);
            } else if (publisher != nullptr) {
                ZELOsapiHeap_freeStructure(publisher);
            }
            EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, participant), DDS_RETCODE_OK);
        });
    }
}

}  // namespace
