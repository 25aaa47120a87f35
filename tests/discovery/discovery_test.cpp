// What a participant discovers of its domain: the other participants, and
// every writer and reader with the vendor-specific bit in their handles.
#include <algorithm>

#include "discovery_fixture.h"
#include "log_capture.h"

namespace discoverytest {
namespace {

using Handles = std::vector<Handle>;

Handles sorted(Handles handles) {
    std::sort(handles.begin(), handles.end());
    return handles;
}

// The handles that `get` fills for `p`, sorted.
Handles discovered(DDS_ReturnCode_t (*get)(DDS_DomainParticipant *, DDS_InstanceHandleSeq *),
                   DDS_DomainParticipant *p) {
    DDS_InstanceHandleSeq seq = ZEL_SEQUENCE_INITIALIZER;
    EXPECT_EQ(get(p, &seq), DDS_RETCODE_OK);
    Handles handles = sorted(handlesIn(seq));
    DDS_InstanceHandleSeq_finalize(&seq);
    return handles;
}

DDS_BuiltinTopicKey_t keyOf(DDS_DomainParticipant *p) {
    DDS_BuiltinTopicKey_t key{};
    EXPECT_EQ(DDS_DomainParticipant_get_builtin_topic_key(p, &key), DDS_RETCODE_OK);
    return key;
}

TEST_F(DiscoveryTest, ParticipantsDiscoverTheOthersOfTheirDomainOnlyUntilTheyAreDeleted) {
    DDS_DomainParticipant *first = participant(0);
    DDS_DomainParticipant *second = participant(0);
    DDS_DomainParticipant *third = participant(0);
    DDS_DomainParticipant *elsewhere = participant(1);
    ASSERT_TRUE(first && second && third && elsewhere);
    const Handle h1 = handleOf(keyOf(first)), h2 = handleOf(keyOf(second)), h3 = handleOf(keyOf(third));
    EXPECT_EQ(discovered(DDS_DomainParticipant_get_discovered_participants, first), sorted({h2, h3}));
    EXPECT_EQ(discovered(DDS_DomainParticipant_get_discovered_participants, second), sorted({h1, h3}));
    EXPECT_EQ(discovered(DDS_DomainParticipant_get_discovered_participants, elsewhere), Handles{});
    // Nothing is appended to what the sequence held.
    DDS_InstanceHandleSeq seq = ZEL_SEQUENCE_INITIALIZER;
    ASSERT_EQ(DDS_DomainParticipant_get_discovered_participants(first, &seq), DDS_RETCODE_OK);
    ASSERT_EQ(DDS_DomainParticipant_get_discovered_participants(first, &seq), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_InstanceHandleSeq_get_length(&seq), 2);
    DDS_InstanceHandleSeq_finalize(&seq);

    ASSERT_TRUE(deleteParticipant(third));
    EXPECT_EQ(discovered(DDS_DomainParticipant_get_discovered_participants, first), Handles{h2});
}

TEST_F(DiscoveryTest, PublicationsAndSubscriptionsAreEveryEndpointOfTheDomainWithTheVendorBitInTheLastOctet) {
    DDS_DomainParticipant *local = participant(0);
    DDS_DomainParticipant *remote = participant(0);
    DDS_DomainParticipant *elsewhere = participant(5);
    ASSERT_TRUE(local && remote && elsewhere);
    EXPECT_EQ(discovered(DDS_DomainParticipant_get_publications, local), Handles{});
    EXPECT_EQ(discovered(DDS_DomainParticipant_get_subscriptions, local), Handles{});

    const Handle ownWriter = handleOf(wireWriter(local, 0x102, "Square", "ShapeType"));
    const Handle monitoringWriter = handleOf(wireWriter(local, 0x242, "zel/dds/monitoring/x", "X"));
    const Handle remoteWriter = handleOf(wireWriter(remote, 0x103, "Plain", "PlainType"));
    const Handle remoteReader = handleOf(wireReader(remote, 0x107, "Square", "ShapeType"));
    wireWriter(elsewhere, 0x102, "Square", "ShapeType");
    wireReader(elsewhere, 0x107, "Square", "ShapeType");

    const Handles publications = sorted({ownWriter, monitoringWriter, remoteWriter});
    EXPECT_EQ(discovered(DDS_DomainParticipant_get_publications, local), publications);
    EXPECT_EQ(discovered(DDS_DomainParticipant_get_publications, remote), publications);
    EXPECT_EQ(discovered(DDS_DomainParticipant_get_subscriptions, local), Handles{remoteReader});
    // What a monitor that skips its own entities counts.
    const auto userEntities = std::count_if(publications.begin(), publications.end(),
                                            [](const Handle &h) { return (h[15] & 0x40) == 0; });
    EXPECT_EQ(userEntities, 2);
    EXPECT_EQ(monitoringWriter[15], 0x42);

    deleteWireEndpoints();
    EXPECT_EQ(discovered(DDS_DomainParticipant_get_publications, local), Handles{});
    EXPECT_EQ(discovered(DDS_DomainParticipant_get_subscriptions, remote), Handles{});
}

TEST_F(DiscoveryTest, RefusalsForNullsADisabledParticipantAndASequenceThatCannotGrow) {
    zeltest::LogCapture log;
    DDS_DomainParticipant *local = participant(0);
    ASSERT_NE(local, nullptr);
    for (int i = 0; i < 3; ++i) {
        wireWriter(local, static_cast<DDS_UnsignedLong>(0x102 + 0x100 * i), "Square", "ShapeType");
    }
    DDS_InstanceHandleSeq seq = ZEL_SEQUENCE_INITIALIZER;
    EXPECT_EQ(DDS_DomainParticipant_get_publications(nullptr, &seq), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDS_DomainParticipant_get_subscriptions(local, nullptr), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_TRUE(
            log.contains("DDS_DomainParticipant_get_subscriptions", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: seq\n"));

    // A loaned buffer too small for the three writers cannot grow.
    DDS_InstanceHandle_t buffer[2];
    ASSERT_TRUE(DDS_InstanceHandleSeq_loan_contiguous(&seq, buffer, 0, 2));
    EXPECT_EQ(DDS_DomainParticipant_get_publications(local, &seq), DDS_RETCODE_OUT_OF_RESOURCES);
    EXPECT_EQ(DDS_InstanceHandleSeq_get_length(&seq), 0);
    EXPECT_TRUE(log.contains("DDS_DomainParticipant_get_publications", ZEL_LOG_ANY_FAILURE_s, "failure: grow seq\n"));
    ASSERT_TRUE(DDS_InstanceHandleSeq_unloan(&seq));

    // Every allocation failure of a growing sequence is reported.
    zeltest::forEachAllocationFailure([&](long) {
        DDS_InstanceHandleSeq grown = ZEL_SEQUENCE_INITIALIZER;
        const DDS_ReturnCode_t result = DDS_DomainParticipant_get_publications(local, &grown);
        if (result == DDS_RETCODE_OK) {
            EXPECT_EQ(DDS_InstanceHandleSeq_get_length(&grown), 3);
        } else {
            EXPECT_EQ(result, DDS_RETCODE_OUT_OF_RESOURCES);
            EXPECT_EQ(DDS_InstanceHandleSeq_get_length(&grown), 0);
        }
        DDS_InstanceHandleSeq_finalize(&grown);
    });

    // A participant that is not enabled has discovered nothing yet.
    DDS_DomainParticipantFactoryQos factoryQos = DDS_DomainParticipantFactoryQos_INITIALIZER;
    ASSERT_EQ(DDS_DomainParticipantFactory_get_qos(factory_, &factoryQos), DDS_RETCODE_OK);
    factoryQos.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
    ASSERT_EQ(DDS_DomainParticipantFactory_set_qos(factory_, &factoryQos), DDS_RETCODE_OK);
    DDS_DomainParticipantFactoryQos_finalize(&factoryQos);
    DDS_DomainParticipant *disabled = participant(0);
    ASSERT_NE(disabled, nullptr);
    EXPECT_EQ(DDS_DomainParticipant_get_discovered_participants(disabled, &seq), DDS_RETCODE_NOT_ENABLED);
    EXPECT_EQ(DDS_DomainParticipant_get_publications(disabled, &seq), DDS_RETCODE_NOT_ENABLED);
    EXPECT_EQ(DDS_DomainParticipant_get_subscriptions(disabled, &seq), DDS_RETCODE_NOT_ENABLED);
    DDS_InstanceHandleSeq_finalize(&seq);
}

}  // namespace
}  // namespace discoverytest
