// Discovery on the in-process wire under concurrent change. What each
// participant sees, and how remote topics are found inconsistent, is shown
// through the DDS API (tests/discovery).
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
                               const char *type) {
        const ZELWireEndpointParams params{ZELWireGuid{{0x0a000001u, 0x1234u, prefix, entity}},
                                           topic,
                                           type,
                                           ZEL_TRUE,
                                           ZEL_FALSE,
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

    static ZELBoolean collect(void *context, const ZELWireDiscoveredEntity *entity) {
        static_cast<Seen *>(context)->emplace(entity->guid.value[2], entity->guid.value[3],
                                              entity->vendorSpecific != ZEL_FALSE,
                                              entity->topicName != nullptr ? entity->topicName : "-",
                                              entity->typeName != nullptr ? entity->typeName : "-");
        return ZEL_TRUE;
    }

    Recorder recorder_;
};

TEST_F(LoopbackDiscoveryTest, WalksSeeWholeEntitiesWhileOthersComeAndGoAndStopWhenRefused) {
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
        const ZELWireGuid topic{{0x0a000001u, 0x1234u, 1u, 0x10a}};
        uint32_t total = 0, unacknowledged = 0;
        EXPECT_TRUE(ops_->getInconsistentTopics(local, &topic, "Square", "ShapeType", ZEL_TRUE, &total,
                                                &unacknowledged));
        EXPECT_GE(total, previousTotal);
        previousTotal = total;
    }
    churn.join();
    // A visitor that refuses stops the walk at once.
    ZELWireWriter *writer = typedWriter(local, 1, 0x102, "Square", "ShapeType");
    ZELWireWriter *other = typedWriter(local, 1, 0x202, "Circle", "ShapeType");
    int visits = 0;
    EXPECT_FALSE(ops_->visitDiscovered(
            local, ZEL_WIRE_ENTITY_WRITER,
            [](void *context, const ZELWireDiscoveredEntity *) {
                ++*static_cast<int *>(context);
                return ZEL_FALSE;
            },
            &visits));
    EXPECT_EQ(visits, 1);
    ops_->deleteWriter(other);
    ops_->deleteWriter(writer);
}

}  // namespace
}  // namespace wiretest
