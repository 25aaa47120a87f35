// Discovery on the in-process wire: which participants and endpoints a
// participant knows, and the remote topics it finds inconsistent.
#include <atomic>
#include <set>
#include <thread>
#include <tuple>

#include "wire_fixture.h"

namespace wiretest {
namespace {

using Seen = std::set<std::tuple<uint32_t, uint32_t, bool, std::string, std::string>>;

class LoopbackDiscoveryTest : public WireTest {
protected:
    // Every entity of `kind` that `p` knows: participant prefix word 2,
    // entity id, vendor flag, topic and type.
    Seen discovered(ZELWireParticipant *p, ZELWireEntityKind kind) {
        Seen seen;
        EXPECT_TRUE(ops_->visitDiscovered(p, kind, collect, &seen));
        return seen;
    }

    ZELWireWriter *typedWriter(ZELWireParticipant *p, uint32_t prefix, uint32_t entity, const char *topic,
                               const char *type, bool vendorSpecific = false) {
        const ZELWireEndpointParams params{ZELWireGuid{{0x0a000001u, 0x1234u, prefix, entity}},
                                           topic,
                                           type,
                                           ZEL_TRUE,
                                           vendorSpecific ? ZEL_TRUE : ZEL_FALSE,
                                           offeredQos()};
        const ZELWireWriterListener listener = writerListener(&recorder_);
        return ops_->createWriter(p, &params, &listener);
    }

    ZELWireReader *typedReader(ZELWireParticipant *p, uint32_t prefix, uint32_t entity, const char *topic,
                               const char *type) {
        const ZELWireEndpointParams params{ZELWireGuid{{0x0a000001u, 0x1234u, prefix, entity}},
                                           topic, type, ZEL_TRUE, ZEL_FALSE, requestedQos()};
        const ZELWireReaderListener listener = readerListener(&recorder_);
        return ops_->createReader(p, &params, &listener);
    }

    // {total, unacknowledged} for the local topic numbered `topic`.
    std::pair<uint32_t, uint32_t> inconsistent(ZELWireParticipant *p, uint32_t topic, const char *type,
                                               bool acknowledge, const char *name = "Square") {
        const ZELWireGuid guid{{0x0a000001u, 0x1234u, 1u, topic}};
        uint32_t total = 99, unacknowledged = 99;
        EXPECT_TRUE(ops_->getInconsistentTopics(p, &guid, name, type, acknowledge ? ZEL_TRUE : ZEL_FALSE, &total,
                                                &unacknowledged));
        return {total, unacknowledged};
    }

    static ZELBoolean collect(void *context, const ZELWireDiscoveredEntity *entity) {
        static_cast<Seen *>(context)->emplace(entity->guid.value[2], entity->guid.value[3],
                                              entity->vendorSpecific != ZEL_FALSE,
                                              entity->topicName != nullptr ? entity->topicName : "-",
                                              entity->typeName != nullptr ? entity->typeName : "-");
        return ZEL_TRUE;
    }

    Recorder recorder_;
};

TEST_F(LoopbackDiscoveryTest, ParticipantsSeeTheOthersOfTheirDomainAndEveryEndpointOfItUntilItsDeletion) {
    ZELWireParticipant *first = participant(0);   // prefix word 2 = 1
    ZELWireParticipant *second = participant(0);  // 2
    ZELWireParticipant *elsewhere = participant(7);  // 3
    const uint32_t p = ZEL_WIRE_ENTITY_ID_PARTICIPANT;
    EXPECT_EQ(discovered(first, ZEL_WIRE_ENTITY_PARTICIPANT), (Seen{{2, p, false, "-", "-"}}));
    EXPECT_EQ(discovered(second, ZEL_WIRE_ENTITY_PARTICIPANT), (Seen{{1, p, false, "-", "-"}}));
    EXPECT_EQ(discovered(elsewhere, ZEL_WIRE_ENTITY_PARTICIPANT), Seen{});

    ZELWireWriter *own = typedWriter(first, 1, 0x102, "Square", "ShapeType");
    ZELWireWriter *monitoring = typedWriter(second, 2, 0x1c2, "zel/dds/monitoring/x", "X", true);
    ZELWireWriter *remote = typedWriter(elsewhere, 3, 0x202, "Square", "ShapeType");
    ZELWireReader *reader = typedReader(second, 2, 0x307, "Circle", "ShapeType");
    const Seen writers{{1, 0x102, false, "Square", "ShapeType"}, {2, 0x1c2, true, "zel/dds/monitoring/x", "X"}};
    EXPECT_EQ(discovered(first, ZEL_WIRE_ENTITY_WRITER), writers);
    EXPECT_EQ(discovered(second, ZEL_WIRE_ENTITY_WRITER), writers);
    EXPECT_EQ(discovered(first, ZEL_WIRE_ENTITY_READER), (Seen{{2, 0x307, false, "Circle", "ShapeType"}}));
    EXPECT_EQ(discovered(elsewhere, ZEL_WIRE_ENTITY_WRITER), (Seen{{3, 0x202, false, "Square", "ShapeType"}}));
    EXPECT_EQ(discovered(elsewhere, ZEL_WIRE_ENTITY_READER), Seen{});

    // A visitor that refuses stops the walk at once.
    int visits = 0;
    EXPECT_FALSE(ops_->visitDiscovered(
            first, ZEL_WIRE_ENTITY_WRITER,
            [](void *context, const ZELWireDiscoveredEntity *) {
                ++*static_cast<int *>(context);
                return ZEL_FALSE;
            },
            &visits));
    EXPECT_EQ(visits, 1);

    ops_->deleteWriter(monitoring);
    EXPECT_EQ(discovered(first, ZEL_WIRE_ENTITY_WRITER), (Seen{{1, 0x102, false, "Square", "ShapeType"}}));
    ops_->deleteReader(reader);
    ops_->deleteWriter(own);
    ops_->deleteWriter(remote);
    EXPECT_EQ(discovered(first, ZEL_WIRE_ENTITY_WRITER), Seen{});

    // A deleted participant is forgotten.
    EXPECT_TRUE(ops_->deleteParticipant(second));
    participants_.erase(participants_.begin() + 1);
    EXPECT_EQ(discovered(first, ZEL_WIRE_ENTITY_PARTICIPANT), Seen{});
}

TEST_F(LoopbackDiscoveryTest, EachRemoteTopicOfAnotherTypeCountsOnceForEachLocalTopicUntilAcknowledged) {
    ZELWireParticipant *local = participant(0);
    ZELWireParticipant *remote = participant(0);
    ZELWireParticipant *third = participant(0);
    ZELWireParticipant *elsewhere = participant(1);
    // Our own endpoint never makes our topic inconsistent, nor does another
    // domain, another topic name or the same type.
    ZELWireWriter *own = typedWriter(local, 1, 0x102, "Square", "ShapeType");
    ZELWireWriter *otherDomain = typedWriter(elsewhere, 4, 0x102, "Square", "Other");
    ZELWireWriter *otherName = typedWriter(remote, 2, 0x102, "Circle", "Other");
    ZELWireReader *sameType = typedReader(third, 3, 0x107, "Square", "ShapeType");
    EXPECT_EQ(inconsistent(local, 0x10a, "ShapeType", false), std::make_pair(0u, 0u));

    // The remote participant's writer and reader stand for one topic.
    ZELWireWriter *remoteWriter = typedWriter(remote, 2, 0x202, "Square", "Other");
    ZELWireReader *remoteReader = typedReader(remote, 2, 0x207, "Square", "Other");
    EXPECT_EQ(inconsistent(local, 0x10a, "ShapeType", false), std::make_pair(1u, 1u));
    EXPECT_EQ(inconsistent(local, 0x10a, "ShapeType", true), std::make_pair(1u, 1u));
    EXPECT_EQ(inconsistent(local, 0x10a, "ShapeType", false), std::make_pair(1u, 0u));

    // Gone, it stays counted; a second one adds to the count.
    ops_->deleteReader(remoteReader);
    ops_->deleteWriter(remoteWriter);
    ops_->deleteReader(sameType);
    ZELWireReader *thirdReader = typedReader(third, 3, 0x307, "Square", "Third");
    EXPECT_EQ(inconsistent(local, 0x10a, "ShapeType", false), std::make_pair(2u, 1u));
    // A new local topic of the same name (the old one was deleted) starts
    // again from what is there now, and the remote topics find each other
    // inconsistent too.
    EXPECT_EQ(inconsistent(local, 0x20a, "ShapeType", false), std::make_pair(1u, 1u));
    EXPECT_EQ(inconsistent(remote, 0x10a, "Other", false, "Circle"), std::make_pair(0u, 0u));
    EXPECT_EQ(inconsistent(third, 0x10a, "Third", false), std::make_pair(1u, 1u));
    ops_->deleteReader(thirdReader);
    ops_->deleteWriter(otherName);
    ops_->deleteWriter(otherDomain);
    ops_->deleteWriter(own);
}

TEST_F(LoopbackDiscoveryTest, AnAllocationFailureKeepsWhatWasFoundAndLeavesNothingAfterTheParticipant) {
    ZELWireParticipant *remote = participant(0);
    ZELWireWriter *first = typedWriter(remote, 1, 0x102, "Square", "Other");
    ZELWireParticipant *third = participant(0);
    ZELWireWriter *second = typedWriter(third, 2, 0x102, "Square", "Other");
    zeltest::forEachAllocationFailure([&](long) {
        const uint32_t prefix[3] = {0x0a000001u, 0x1234u, 50u};
        ZELWireParticipant *local = ops_->createParticipant(wire_, 0, prefix);
        if (local == nullptr) {
            return;
        }
        const ZELWireGuid topic{{0x0a000001u, 0x1234u, 50u, 0x10a}};
        uint32_t total = 0, unacknowledged = 0;
        if (!ops_->getInconsistentTopics(local, &topic, "Square", "ShapeType", ZEL_TRUE, &total, &unacknowledged)) {
            // Nothing was acknowledged; what was found before still counts.
            EXPECT_TRUE(ops_->getInconsistentTopics(local, &topic, "Square", "ShapeType", ZEL_FALSE, &total,
                                                    &unacknowledged));
        }
        EXPECT_EQ(total, 2u);
        EXPECT_EQ(unacknowledged, 2u);
        EXPECT_TRUE(ops_->deleteParticipant(local));
    });
    ops_->deleteWriter(second);
    ops_->deleteWriter(first);
}

TEST_F(LoopbackDiscoveryTest, DiscoveryWalksWhileParticipantsAndEndpointsComeAndGo) {
    ZELWireParticipant *local = participant(0);
    std::atomic<bool> done{false};
    std::thread churn([&] {
        for (uint32_t round = 0; round < 200; ++round) {
            const uint32_t prefix[3] = {0x0a000001u, 0x1234u, 100u + round};
            ZELWireParticipant *remote = ops_->createParticipant(wire_, 0, prefix);
            ASSERT_NE(remote, nullptr);
            ZELWireWriter *writer = typedWriter(remote, 100 + round, 0x102, "Square", "Other");
            ZELWireReader *reader = typedReader(remote, 100 + round, 0x207, "Square", "ShapeType");
            ops_->deleteReader(reader);
            ops_->deleteWriter(writer);
            EXPECT_TRUE(ops_->deleteParticipant(remote));
        }
        done = true;
    });
    // Whatever the walk meets is whole: a remote writer always comes with
    // its name and type.
    uint32_t previousTotal = 0;
    while (!done) {
        for (const auto &[prefix, entity, vendor, topic, type] : discovered(local, ZEL_WIRE_ENTITY_WRITER)) {
            EXPECT_EQ(topic + "/" + type, "Square/Other");
        }
        discovered(local, ZEL_WIRE_ENTITY_PARTICIPANT);
        const auto [total, unacknowledged] = inconsistent(local, 0x10a, "ShapeType", true);
        EXPECT_GE(total, previousTotal);
        previousTotal = total;
    }
    churn.join();
}

}  // namespace
}  // namespace wiretest
