// A topic's inconsistent-topic status: remote topics of its name and
// another type, each counted once, with and without reset.
#include "discovery_fixture.h"
#include "log_capture.h"

namespace discoverytest {
namespace {

using TopicStatusTest = DiscoveryTest;

// A topic of `p` named `name` of type `type`, registered for it; the type
// goes with the participant.
DDS_Topic *topicOf(DDS_DomainParticipant *p, const char *name, const char *type) {
    PRESTypePlugin plugin{};
    plugin.typeName = type;
    plugin.getKeyKindFnc = PRESTypePluginDefault_getUserKeyKind;
    if (DDS_DomainParticipant_register_type(p, type, &plugin, nullptr) != DDS_RETCODE_OK) {
        return nullptr;
    }
    return DDS_DomainParticipant_create_topic(p, name, type, &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
}

std::pair<DDS_Long, DDS_Long> statusOf(DDS_Topic *topic, DDS_Boolean reset) {
    DDS_InconsistentTopicStatus status{-1, -1};
    EXPECT_EQ(DDS_Topic_get_inconsistent_topic_status_ex(topic, &status, reset), DDS_RETCODE_OK);
    return {status.total_count, status.total_count_change};
}

TEST_F(TopicStatusTest, RemoteTopicsOfAnotherTypeCountOnceWithChangesUntilAReset) {
    DDS_DomainParticipant *local = participant(0);
    DDS_DomainParticipant *remote = participant(0);
    DDS_DomainParticipant *third = participant(0);
    DDS_DomainParticipant *elsewhere = participant(2);
    ASSERT_TRUE(local && remote && third && elsewhere);
    DDS_Topic *square = topicOf(local, "Square", "ShapeType");
    ASSERT_NE(square, nullptr);
    EXPECT_EQ(statusOf(square, DDS_BOOLEAN_FALSE), std::make_pair(0, 0));

    // Neither the same type, another name nor another domain is inconsistent.
    wireWriter(remote, 0x102, "Square", "ShapeType");
    wireWriter(remote, 0x202, "Circle", "Other");
    wireWriter(elsewhere, 0x102, "Square", "Other");
    EXPECT_EQ(statusOf(square, DDS_BOOLEAN_FALSE), std::make_pair(0, 0));

    // The third participant's writer and reader make one remote topic.
    wireWriter(third, 0x102, "Square", "Other");
    wireReader(third, 0x207, "Square", "Other");
    EXPECT_EQ(statusOf(square, DDS_BOOLEAN_FALSE), std::make_pair(1, 1));
    EXPECT_EQ(statusOf(square, DDS_BOOLEAN_TRUE), std::make_pair(1, 1));
    EXPECT_EQ(statusOf(square, DDS_BOOLEAN_FALSE), std::make_pair(1, 0));

    // It stays counted when its endpoints go; the plain getter resets.
    deleteWireEndpoints();
    wireReader(remote, 0x307, "Square", "Another");
    DDS_InconsistentTopicStatus status{};
    ASSERT_EQ(DDS_Topic_get_inconsistent_topic_status(square, &status), DDS_RETCODE_OK);
    EXPECT_EQ(status.total_count, 2);
    EXPECT_EQ(status.total_count_change, 1);
    EXPECT_EQ(statusOf(square, DDS_BOOLEAN_FALSE), std::make_pair(2, 0));

    // A new topic of the same name starts from what is there now.
    ASSERT_EQ(DDS_DomainParticipant_delete_topic(local, square), DDS_RETCODE_OK);
    square = DDS_DomainParticipant_create_topic(local, "Square", "ShapeType", &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
    ASSERT_NE(square, nullptr);
    EXPECT_EQ(statusOf(square, DDS_BOOLEAN_FALSE), std::make_pair(1, 1));
}

TEST_F(TopicStatusTest, RefusalsAndEveryAllocationFailureResetNothing) {
    zeltest::LogCapture log;
    DDS_DomainParticipant *local = participant(0);
    DDS_DomainParticipant *remote = participant(0);
    DDS_DomainParticipant *third = participant(0);
    ASSERT_TRUE(local && remote && third);
    DDS_Topic *square = topicOf(local, "Square", "ShapeType");
    ASSERT_NE(square, nullptr);
    DDS_InconsistentTopicStatus status{};
    EXPECT_EQ(DDS_Topic_get_inconsistent_topic_status_ex(nullptr, &status, DDS_BOOLEAN_TRUE),
              DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_Topic_get_inconsistent_topic_status(square, nullptr), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_TRUE(log.contains("DDS_Topic_get_inconsistent_topic_status_ex", ZEL_LOG_BAD_PARAMETER_s,
                             "bad parameter: status\n"));

    wireWriter(remote, 0x102, "Fresh", "Other");
    wireWriter(third, 0x102, "Fresh", "Other");
    // A participant of its own each time: what its wire found goes with it.
    zeltest::forEachAllocationFailure([&](long) {
        DDS_DomainParticipant *fresh = DDS_DomainParticipantFactory_create_participant(
                factory_, 0, &DDS_PARTICIPANT_QOS_DEFAULT, nullptr, DDS_STATUS_MASK_NONE);
        DDS_Topic *topic = fresh != nullptr ? topicOf(fresh, "Fresh", "ShapeType") : nullptr;
        DDS_InconsistentTopicStatus got{};
        if (topic != nullptr) {
            const DDS_ReturnCode_t result = DDS_Topic_get_inconsistent_topic_status(topic, &got);
            if (result != DDS_RETCODE_OK) {
                // Nothing was reset: the next read still sees both changes.
                EXPECT_EQ(result, DDS_RETCODE_OUT_OF_RESOURCES);
                EXPECT_EQ(DDS_Topic_get_inconsistent_topic_status(topic, &got), DDS_RETCODE_OK);
            }
            EXPECT_EQ(got.total_count_change, 2);
        }
        if (fresh != nullptr) {
            EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(fresh), DDS_RETCODE_OK);
            EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory_, fresh), DDS_RETCODE_OK);
        }
    });

    // A topic that is not enabled has no status yet.
    DDS_DomainParticipantQos qos = DDS_DomainParticipantQos_INITIALIZER;
    ASSERT_EQ(DDS_DomainParticipant_get_qos(local, &qos), DDS_RETCODE_OK);
    qos.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
    ASSERT_EQ(DDS_DomainParticipant_set_qos(local, &qos), DDS_RETCODE_OK);
    DDS_DomainParticipantQos_finalize(&qos);
    DDS_Topic *disabled =
            DDS_DomainParticipant_create_topic(local, "Later", "ShapeType", &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
    ASSERT_NE(disabled, nullptr);
    EXPECT_EQ(DDS_Topic_get_inconsistent_topic_status(disabled, &status), DDS_RETCODE_NOT_ENABLED);
}

}  // namespace
}  // namespace discoverytest
