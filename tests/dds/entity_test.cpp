// Entity life cycles, keys, enabling, QoS, profiles and locks of the DDS API.
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "entity_private.h"
#include "heap_check.h"
#include "log_capture.h"
#include "vurncore/worker.h"

namespace {

PRESTypePlugin makePlugin(bool keyed) {
    PRESTypePlugin plugin{};
    plugin.typeName = "T";
    plugin.getKeyKindFnc = keyed ? PRESTypePluginDefault_getUserKeyKind : PRESTypePluginDefault_getNoKeyKind;
    return plugin;
}

// A participant with a keyed type "K" and a keyless type "N" and one entity of each kind.
struct Tree {
    DDS_DomainParticipantFactory *factory = nullptr;
    DDS_DomainParticipant *participant = nullptr;
    DDS_Topic *topic = nullptr;
    DDS_Topic *keylessTopic = nullptr;
    DDS_Publisher *publisher = nullptr;
    DDS_Subscriber *subscriber = nullptr;
    DDS_DataWriter *writer = nullptr;
    DDS_DataReader *reader = nullptr;

    bool build() {
        factory = DDS_DomainParticipantFactory_get_instance();
        if (factory == nullptr)
            return false;
        participant = DDS_DomainParticipantFactory_create_participant(factory, 3, &DDS_PARTICIPANT_QOS_DEFAULT, nullptr,
                                                                      DDS_STATUS_MASK_NONE);
        if (participant == nullptr)
            return false;
        PRESTypePlugin keyed = makePlugin(true), keyless = makePlugin(false);
        if (DDS_DomainParticipant_register_type(participant, "K", &keyed, nullptr) != DDS_RETCODE_OK ||
            DDS_DomainParticipant_register_type(participant, "N", &keyless, nullptr) != DDS_RETCODE_OK)
            return false;
        topic = DDS_DomainParticipant_create_topic(participant, "Square", "K", &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
        keylessTopic =
                DDS_DomainParticipant_create_topic(participant, "Plain", "N", &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
        publisher = DDS_DomainParticipant_create_publisher(participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
        subscriber = DDS_DomainParticipant_create_subscriber(participant, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
        if (topic == nullptr || keylessTopic == nullptr || publisher == nullptr || subscriber == nullptr)
            return false;
        writer = DDS_Publisher_create_datawriter(publisher, topic, &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
        reader = DDS_Subscriber_create_datareader(subscriber, DDS_Topic_as_topicdescription(keylessTopic),
                                                  &DDS_DATAREADER_QOS_DEFAULT, nullptr, 0);
        return writer != nullptr && reader != nullptr;
    }

    // Tears down whatever was built.
    void destroy() {
        if (participant != nullptr) {
            EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(participant), DDS_RETCODE_OK);
            EXPECT_EQ(DDS_DomainParticipant_unregister_type(participant, "K"), DDS_RETCODE_OK);
            DDS_DomainParticipant_unregister_type(participant, "N");
            EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory, participant), DDS_RETCODE_OK);
        }
        EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
    }
};

// Every test's tree, whatever of it was built, goes at its end.
class EntityTest : public zeltest::HeapCheckedTest {
protected:
    void TearDown() override {
        tree.destroy();
        zeltest::HeapCheckedTest::TearDown();
    }

    Tree tree;
};

DDS_UnsignedLong kindOctet(const DDS_BuiltinTopicKey_t *key) {
    return static_cast<DDS_UnsignedLong>(key->value[3]) & 0xffu;
}

TEST_F(EntityTest, DeletionIsRefusedWhileChildrenOrUsersExistAndAcrossParents) {
    zeltest::LogCapture log;
    ASSERT_TRUE(tree.build());
    EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(tree.factory, tree.participant),
              DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(DDS_DomainParticipant_delete_publisher(tree.participant, tree.publisher),
              DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(DDS_DomainParticipant_delete_topic(tree.participant, tree.topic), DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(DDS_DomainParticipant_unregister_type(tree.participant, "K"), DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_PRECONDITION_NOT_MET);
    // A second publisher is not the writer's parent.
    DDS_Publisher *other =
            DDS_DomainParticipant_create_publisher(tree.participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
    EXPECT_EQ(DDS_Publisher_delete_datawriter(other, tree.writer), DDS_RETCODE_PRECONDITION_NOT_MET);
    // A topic name is used once, by topics and content-filtered topics alike.
    EXPECT_EQ(DDS_DomainParticipant_create_topic(tree.participant, "Square", "K", &DDS_TOPIC_QOS_DEFAULT, nullptr, 0),
              nullptr);
    EXPECT_EQ(DDS_DomainParticipant_create_topic(tree.participant, "X", "unregistered", &DDS_TOPIC_QOS_DEFAULT, nullptr,
                                                 0),
              nullptr);
    EXPECT_EQ(
            DDS_DomainParticipant_create_contentfilteredtopic(tree.participant, "Plain", tree.topic, "x > 1", nullptr),
            nullptr);
    // A filter needs the type's sample description, which a hand-made plug-in lacks.
    EXPECT_EQ(DDS_DomainParticipant_create_contentfilteredtopic(tree.participant, "Big", tree.topic, "x > 1", nullptr),
              nullptr);
    // A found topic needs one more delete.
    EXPECT_EQ(DDS_DomainParticipant_find_topic(tree.participant, "Plain", nullptr), tree.keylessTopic);
    EXPECT_EQ(DDS_Subscriber_delete_datareader(tree.subscriber, tree.reader), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipant_delete_topic(tree.participant, tree.keylessTopic), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipant_lookup_topicdescription(tree.participant, "Plain"),
              DDS_Topic_as_topicdescription(tree.keylessTopic));
    EXPECT_EQ(DDS_DomainParticipant_delete_topic(tree.participant, tree.keylessTopic), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipant_lookup_topicdescription(tree.participant, "Plain"), nullptr);
    EXPECT_TRUE(log.contains("DDS_DomainParticipantFactory_delete_participant", ZEL_LOG_PRECONDITION_NOT_MET_s,
                             "precondition not met: participant has entities\n"));
}

// The monitor keeps its own publisher and topics on a monitored
// participant: the application's bulk delete leaves them, and deleting the
// participant waits for the monitor to have removed them.
TEST_F(EntityTest, VendorSpecificGroupsAndTopicsAreLeftToTheirOwner) {
    zeltest::LogCapture log;
    ASSERT_TRUE(tree.build());
    DDS_PublisherQos publisherQos = DDS_PublisherQos_INITIALIZER;
    DDS_TopicQos topicQos = DDS_TopicQos_INITIALIZER;
    ASSERT_EQ(DDS_DomainParticipant_get_default_publisher_qos(tree.participant, &publisherQos), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_DomainParticipant_get_default_topic_qos(tree.participant, &topicQos), DDS_RETCODE_OK);
    publisherQos.protocol.vendor_specific_entity = DDS_BOOLEAN_TRUE;
    topicQos.protocol.vendor_specific_entity = DDS_BOOLEAN_TRUE;
    DDS_Publisher *ownPublisher = DDS_DomainParticipant_create_publisher(tree.participant, &publisherQos, nullptr, 0);
    DDS_Topic *ownTopic = DDS_DomainParticipant_create_topic(tree.participant, "Own", "K", &topicQos, nullptr, 0);
    ASSERT_NE(ownPublisher, nullptr);
    ASSERT_NE(ownTopic, nullptr);
    DDS_PublisherQos_finalize(&publisherQos);
    DDS_TopicQos_finalize(&topicQos);
    DDS_DataWriter *ownWriter =
            DDS_Publisher_create_datawriter(ownPublisher, ownTopic, &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
    ASSERT_NE(ownWriter, nullptr);

    // The application's entities refuse the participant's deletion first.
    EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(tree.factory, tree.participant),
              DDS_RETCODE_PRECONDITION_NOT_MET);
    ASSERT_EQ(DDS_DomainParticipant_delete_contained_entities(tree.participant), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipant_lookup_topicdescription(tree.participant, "Square"), nullptr);
    EXPECT_EQ(DDS_DomainParticipant_lookup_topicdescription(tree.participant, "Own"),
              DDS_Topic_as_topicdescription(ownTopic));
    EXPECT_EQ(DDS_Publisher_lookup_datawriter(ownPublisher, "Own"), ownWriter);

    // With no monitor to remove them, what is left still refuses deletion.
    log.clear();
    EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(tree.factory, tree.participant),
              DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_TRUE(log.contains("DDS_DomainParticipantFactory_delete_participant", ZEL_LOG_PRECONDITION_NOT_MET_s,
                             "precondition not met: participant has entities\n"));
    ASSERT_EQ(DDS_Publisher_delete_contained_entities(ownPublisher), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_DomainParticipant_delete_publisher(tree.participant, ownPublisher), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_DomainParticipant_delete_topic(tree.participant, ownTopic), DDS_RETCODE_OK);
}

TEST_F(EntityTest, KeysCarryKindOctetsVendorBitAndAreUnique) {
    ASSERT_TRUE(tree.build());
    DDS_BuiltinTopicKey_t participantKey;
    ASSERT_EQ(DDS_DomainParticipant_get_builtin_topic_key(tree.participant, &participantKey), DDS_RETCODE_OK);
    EXPECT_EQ(kindOctet(&participantKey), 0xc1u);
    EXPECT_EQ(kindOctet(DDS_Topic_get_builtin_topic_key(tree.topic)), 0x0au);
    EXPECT_EQ(kindOctet(DDS_Publisher_get_builtin_topic_key(tree.publisher)), 0x08u);
    EXPECT_EQ(kindOctet(DDS_Subscriber_get_builtin_topic_key(tree.subscriber)), 0x09u);
    EXPECT_EQ(kindOctet(DDS_DataWriter_get_builtin_topic_key(tree.writer)), 0x02u);  // keyed type
    EXPECT_EQ(kindOctet(DDS_DataReader_get_builtin_topic_key(tree.reader)), 0x04u);  // keyless type
    const DDS_BuiltinTopicKey_t *writerKey = DDS_DataWriter_get_builtin_topic_key(tree.writer);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(writerKey->value[i], participantKey.value[i]);
    EXPECT_NE(writerKey->value[3], DDS_DataReader_get_builtin_topic_key(tree.reader)->value[3]);

    DDS_DataWriterQos qos = DDS_DataWriterQos_INITIALIZER;
    ASSERT_EQ(DDS_Publisher_get_default_datawriter_qos(tree.publisher, &qos), DDS_RETCODE_OK);
    qos.protocol.vendor_specific_entity = DDS_BOOLEAN_TRUE;
    DDS_DataWriter *own = DDS_Publisher_create_datawriter(tree.publisher, tree.keylessTopic, &qos, nullptr, 0);
    ASSERT_NE(own, nullptr);
    EXPECT_EQ(kindOctet(DDS_DataWriter_get_builtin_topic_key(own)), 0x43u);
    EXPECT_TRUE(DDS_Entity_is_vendor_specific(DDS_DataWriter_as_entity(own)));
    EXPECT_FALSE(DDS_Entity_is_vendor_specific(DDS_DataWriter_as_entity(tree.writer)));
    DDS_DataWriterQos_finalize(&qos);

    DDS_DomainParticipant *second =
            DDS_DomainParticipantFactory_create_participant(tree.factory, 3, &DDS_PARTICIPANT_QOS_DEFAULT, nullptr, 0);
    DDS_BuiltinTopicKey_t secondKey;
    DDS_DomainParticipant_get_builtin_topic_key(second, &secondKey);
    EXPECT_NE(secondKey.value[2], participantKey.value[2]);
    EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(tree.factory, second), DDS_RETCODE_OK);

    DDS_InstanceHandle_t handle = DDS_Entity_get_instance_handle(DDS_DataWriter_as_entity(tree.writer));
    EXPECT_EQ(handle.value[15], 0x02);
    EXPECT_EQ(handle.length, 16u);
}

TEST_F(EntityTest, EnablingFollowsParentsAndAutoenable) {
    DDS_DomainParticipantFactory *factory = DDS_DomainParticipantFactory_get_instance();
    DDS_DomainParticipantFactoryQos factoryQos = DDS_DomainParticipantFactoryQos_INITIALIZER;
    ASSERT_EQ(DDS_DomainParticipantFactory_get_qos(factory, &factoryQos), DDS_RETCODE_OK);
    factoryQos.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
    ASSERT_EQ(DDS_DomainParticipantFactory_set_qos(factory, &factoryQos), DDS_RETCODE_OK);
    DDS_DomainParticipantFactoryQos_finalize(&factoryQos);

    ASSERT_TRUE(tree.build());
    EXPECT_FALSE(DDS_Entity_is_enabled(DDS_DomainParticipant_as_entity(tree.participant)));
    EXPECT_FALSE(DDS_Entity_is_enabled(DDS_DataWriter_as_entity(tree.writer)));
    EXPECT_EQ(DDS_Entity_enable(DDS_Publisher_as_entity(tree.publisher)), DDS_RETCODE_PRECONDITION_NOT_MET);
    ASSERT_EQ(DDS_Entity_enable(DDS_DomainParticipant_as_entity(tree.participant)), DDS_RETCODE_OK);
    // The participant autoenables its children and they theirs.
    EXPECT_TRUE(DDS_Entity_is_enabled(DDS_Topic_as_entity(tree.topic)));
    EXPECT_TRUE(DDS_Entity_is_enabled(DDS_DataWriter_as_entity(tree.writer)));
    EXPECT_TRUE(DDS_Entity_is_enabled(DDS_DataReader_as_entity(tree.reader)));
    // An enabled publisher that does not autoenable leaves new writers disabled.
    DDS_PublisherQos publisherQos = DDS_PublisherQos_INITIALIZER;
    DDS_Publisher_get_qos(tree.publisher, &publisherQos);
    publisherQos.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
    ASSERT_EQ(DDS_Publisher_set_qos(tree.publisher, &publisherQos), DDS_RETCODE_OK);
    DDS_PublisherQos_finalize(&publisherQos);
    DDS_DataWriter *late =
            DDS_Publisher_create_datawriter(tree.publisher, tree.keylessTopic, &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
    EXPECT_FALSE(DDS_Entity_is_enabled(DDS_DataWriter_as_entity(late)));
    EXPECT_EQ(DDS_Entity_enable(DDS_DataWriter_as_entity(late)), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_Entity_get_entity_kind(DDS_DataWriter_as_entity(late)), DDS_DATAWRITER_ENTITY_KIND);
    EXPECT_EQ(DDS_Topic_narrow_from_entity(DDS_DataWriter_as_entity(late)), nullptr);
    EXPECT_EQ(DDS_Topic_narrow_from_entity(DDS_Topic_as_entity(tree.topic)), tree.topic);
}

// Publishers and subscribers fix presentation and the vendor-specific mark
// once enabled; their other policies may change.
TEST_F(EntityTest, GroupsRefuseChangesOfPresentationAndMarkOnceEnabled) {
    ASSERT_TRUE(tree.build());
    DDS_PublisherQos publisherQos = DDS_PublisherQos_INITIALIZER;
    ASSERT_EQ(DDS_Publisher_get_qos(tree.publisher, &publisherQos), DDS_RETCODE_OK);
    publisherQos.presentation.ordered_access = !publisherQos.presentation.ordered_access;
    EXPECT_EQ(DDS_Publisher_set_qos(tree.publisher, &publisherQos), DDS_RETCODE_IMMUTABLE_POLICY);
    publisherQos.presentation.ordered_access = !publisherQos.presentation.ordered_access;
    publisherQos.protocol.vendor_specific_entity = DDS_BOOLEAN_TRUE;
    EXPECT_EQ(DDS_Publisher_set_qos(tree.publisher, &publisherQos), DDS_RETCODE_IMMUTABLE_POLICY);
    publisherQos.protocol.vendor_specific_entity = DDS_BOOLEAN_FALSE;
    publisherQos.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
    EXPECT_EQ(DDS_Publisher_set_qos(tree.publisher, &publisherQos), DDS_RETCODE_OK);
    DDS_PublisherQos_finalize(&publisherQos);

    DDS_SubscriberQos subscriberQos = DDS_SubscriberQos_INITIALIZER;
    ASSERT_EQ(DDS_Subscriber_get_qos(tree.subscriber, &subscriberQos), DDS_RETCODE_OK);
    subscriberQos.presentation.access_scope = DDS_GROUP_PRESENTATION_QOS;
    EXPECT_EQ(DDS_Subscriber_set_qos(tree.subscriber, &subscriberQos), DDS_RETCODE_IMMUTABLE_POLICY);
    DDS_SubscriberQos_finalize(&subscriberQos);
}

TEST_F(EntityTest, QosChangesAreCheckedForConsistencyAndImmutability) {
    ASSERT_TRUE(tree.build());
    DDS_DataWriterQos qos = DDS_DataWriterQos_INITIALIZER;
    ASSERT_EQ(DDS_DataWriter_get_qos(tree.writer, &qos), DDS_RETCODE_OK);
    qos.history.depth = 0;
    EXPECT_EQ(DDS_DataWriter_set_qos(tree.writer, &qos), DDS_RETCODE_INCONSISTENT_POLICY);
    EXPECT_EQ(DDS_Publisher_create_datawriter(tree.publisher, tree.topic, &qos, nullptr, 0), nullptr);
    qos.history.depth = 1;
    qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    EXPECT_EQ(DDS_DataWriter_set_qos(tree.writer, &qos), DDS_RETCODE_IMMUTABLE_POLICY);
    qos.durability.kind = DDS_VOLATILE_DURABILITY_QOS;
    qos.deadline.period = DDS_Duration_t{3, 0};
    EXPECT_EQ(DDS_DataWriter_set_qos(tree.writer, &qos), DDS_RETCODE_OK);
    DDS_DataWriterQos read = DDS_DataWriterQos_INITIALIZER;
    DDS_DataWriter_get_qos(tree.writer, &read);
    EXPECT_EQ(read.deadline.period.sec, 3);
    // Default writer QoS: set, used by new writers, and reset.
    qos.history.depth = 7;
    ASSERT_EQ(DDS_Publisher_set_default_datawriter_qos(tree.publisher, &qos), DDS_RETCODE_OK);
    DDS_DataWriter *second =
            DDS_Publisher_create_datawriter(tree.publisher, tree.keylessTopic, &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
    DDS_DataWriter_get_qos(second, &read);
    EXPECT_EQ(read.history.depth, 7);
    ASSERT_EQ(DDS_Publisher_set_default_datawriter_qos(tree.publisher, &DDS_DATAWRITER_QOS_DEFAULT), DDS_RETCODE_OK);
    DDS_Publisher_get_default_datawriter_qos(tree.publisher, &read);
    EXPECT_EQ(read.history.depth, 1);
    DDS_DataWriterQos_finalize(&read);
    DDS_DataWriterQos_finalize(&qos);
    // A topic takes its own QoS back and refuses another durability.
    DDS_TopicQos topicQos = DDS_TopicQos_INITIALIZER;
    ASSERT_EQ(DDS_Topic_get_qos(tree.topic, &topicQos), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_Topic_set_qos(tree.topic, &topicQos), DDS_RETCODE_OK);
    topicQos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    EXPECT_EQ(DDS_Topic_set_qos(tree.topic, &topicQos), DDS_RETCODE_IMMUTABLE_POLICY);
    DDS_TopicQos_finalize(&topicQos);
}

TEST_F(EntityTest, ProfilesGiveWriterQosByTopicPattern) {
    DDS_DomainParticipantFactory *factory = DDS_DomainParticipantFactory_get_instance();
    ASSERT_EQ(DDS_DomainParticipantFactory_add_qos_profile(factory, "lib", "prof"), DDS_RETCODE_OK);
    DDS_DataWriterQos qos = DDS_DataWriterQos_INITIALIZER;
    ASSERT_EQ(DDS_DomainParticipantFactory_get_datawriter_qos_from_profile(factory, &qos, "lib", "prof"),
              DDS_RETCODE_OK);
    qos.history.depth = 5;
    ASSERT_EQ(DDS_DomainParticipantFactory_set_datawriter_qos_in_profile(factory, "lib", "prof", "zel/*Description",
                                                                         &qos),
              DDS_RETCODE_OK);
    DDS_DataWriterQos read = DDS_DataWriterQos_INITIALIZER;
    ASSERT_EQ(DDS_DomainParticipantFactory_get_datawriter_qos_from_profile_w_topic_name(factory, &read, "lib", "prof",
                                                                                        "zel/topicDescription"),
              DDS_RETCODE_OK);
    EXPECT_EQ(read.history.depth, 5);
    ASSERT_EQ(DDS_DomainParticipantFactory_get_datawriter_qos_from_profile_w_topic_name(factory, &read, "lib", "prof",
                                                                                        "zel/topicStatistics"),
              DDS_RETCODE_OK);
    EXPECT_EQ(read.history.depth, 1);
    EXPECT_EQ(DDS_DomainParticipantFactory_get_datawriter_qos_from_profile(factory, &read, "lib", "other"),
              DDS_RETCODE_BAD_PARAMETER);
    DDS_DataWriterQos_finalize(&read);
    DDS_DataWriterQos_finalize(&qos);
}

// A plug-in that guards its own lists with an exclusive area of level 5
// creates and locks entities while it holds that area, as the statistics
// walk nests plug-in area, participant and publisher.
TEST_F(EntityTest, LocksAreRecursiveOrderedAndNestInsideAPlugInsArea) {
    DDS_DomainParticipantFactory *factory = DDS_DomainParticipantFactory_get_instance();
    REDAWorkerFactory *workers = DDS_DomainParticipantFactory_get_worker_factoryI(factory, 0);
    REDAWorker *worker = DDS_DomainParticipantFactory_get_workerI(factory);
    ASSERT_TRUE(workers != nullptr && worker != nullptr);
    REDAExclusiveArea *pluginArea = REDAWorkerFactory_createExclusiveArea(workers, 5);
    ASSERT_NE(pluginArea, nullptr);
    ASSERT_TRUE(REDAWorker_enterExclusiveArea(worker, nullptr, pluginArea));
    ASSERT_TRUE(tree.build());
    DDS_Entity *participant = DDS_DomainParticipant_as_entity(tree.participant);
    DDS_Entity *publisher = DDS_Publisher_as_entity(tree.publisher);
    DDS_Entity *writer = DDS_DataWriter_as_entity(tree.writer);
    ASSERT_EQ(DDS_Entity_lock(participant), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_Entity_lock(participant), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_Entity_lock(publisher), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_Entity_lock(writer), DDS_RETCODE_OK);
    for (DDS_Entity *entity : {writer, publisher, participant, participant}) {
        EXPECT_EQ(DDS_Entity_unlock(entity), DDS_RETCODE_OK);
    }
    ASSERT_EQ(DDS_Entity_lock(writer), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_Entity_lock(participant), DDS_RETCODE_PRECONDITION_NOT_MET);
    // Creating a child needs the participant's lock: refused under a writer's.
    EXPECT_EQ(DDS_DomainParticipant_create_publisher(tree.participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0),
              nullptr);
    EXPECT_EQ(DDS_Entity_unlock(writer), DDS_RETCODE_OK);
    EXPECT_TRUE(REDAWorker_leaveExclusiveArea(worker, nullptr, pluginArea));
    REDAWorkerFactory_destroyExclusiveArea(workers, pluginArea);
}

TEST_F(EntityTest, EveryAllocationFailureOfBuildingAndDeletingIsCleanlyRefused) {
    zeltest::LogCapture log;
    zeltest::forEachAllocationFailure([](long) {
        Tree attempt;
        const bool built = attempt.build();
        if (attempt.factory == nullptr) {
            return;
        }
        if (!built && attempt.participant != nullptr) {
            DDS_DomainParticipant_delete_contained_entities(attempt.participant);
            DDS_DomainParticipant_unregister_type(attempt.participant, "K");
            DDS_DomainParticipant_unregister_type(attempt.participant, "N");
            DDS_DomainParticipantFactory_delete_participant(attempt.factory, attempt.participant);
            attempt.participant = nullptr;
        }
        attempt.destroy();
    });
}

TEST_F(EntityTest, ThreadsCreateAndDeleteConcurrently) {
    DDS_DomainParticipantFactory *factory = DDS_DomainParticipantFactory_get_instance();
    DDS_DomainParticipant *shared =
            DDS_DomainParticipantFactory_create_participant(factory, 0, &DDS_PARTICIPANT_QOS_DEFAULT, nullptr, 0);
    PRESTypePlugin plugin = makePlugin(true);
    ASSERT_EQ(DDS_DomainParticipant_register_type(shared, "K", &plugin, nullptr), DDS_RETCODE_OK);
    DDS_Topic *topic = DDS_DomainParticipant_create_topic(shared, "T", "K", &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 50; ++i) {
                DDS_Publisher *p =
                        DDS_DomainParticipant_create_publisher(shared, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
                DDS_DataWriter *w = DDS_Publisher_create_datawriter(p, topic, &DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
                DDS_PublisherSeq seq = ZEL_SEQUENCE_INITIALIZER;
                EXPECT_EQ(DDS_DomainParticipant_get_publishers(shared, &seq), DDS_RETCODE_OK);
                DDS_PublisherSeq_finalize(&seq);
                EXPECT_EQ(DDS_Publisher_delete_datawriter(p, w), DDS_RETCODE_OK);
                EXPECT_EQ(DDS_DomainParticipant_delete_publisher(shared, p), DDS_RETCODE_OK);
            }
        });
    }
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(shared), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipant_unregister_type(shared, "K"), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory, shared), DDS_RETCODE_OK);
}

}  // namespace
