// Matching on the in-process wire: who pairs with whom, the callbacks of
// a match's life, and refusals that leave nothing behind.
#include <cstring>

#include "log_capture.h"

#include "wire_fixture.h"

namespace wiretest {
namespace {

using Events = std::vector<std::string>;

class LoopbackMatchTest : public WireTest {};

TEST_F(LoopbackMatchTest, OnlyTheSameDomainTopicAndTypeMatchAcrossParticipants) {
    ZELWireParticipant *local = participant(0);
    ZELWireParticipant *remote = participant(0);
    ZELWireParticipant *otherDomain = participant(1);
    Recorder w, sameParticipant, sameDomain, domainOne, otherTopic, otherType;
    ZELWireWriter *writerHandle = writer(local, 1, &w);
    ZELWireReader *readers[] = {reader(local, 2, &sameParticipant), reader(remote, 3, &sameDomain),
                                reader(otherDomain, 4, &domainOne), reader(remote, 5, &otherTopic, "Circle")};
    const ZELWireEndpointParams otherTypeParams{guidOf(6), "Square", "Shape", ZEL_TRUE, ZEL_FALSE, requestedQos()};
    const ZELWireReaderListener otherTypeListener = readerListener(&otherType);
    ZELWireReader *otherTypeReader = ops_->createReader(remote, &otherTypeParams, &otherTypeListener);
    ASSERT_NE(otherTypeReader, nullptr);

    EXPECT_EQ(w.take(), (Events{"matched 2", "matched 3"}));
    EXPECT_EQ(sameParticipant.take(), Events{"matched 1"});
    EXPECT_EQ(sameDomain.take(), Events{"matched 1"});
    EXPECT_EQ(domainOne.take(), Events{});
    EXPECT_EQ(otherTopic.take(), Events{});
    EXPECT_EQ(otherType.take(), Events{});
    // The writer is given each reader's own loopback locator.
    ASSERT_EQ(w.locators.size(), 2u);
    EXPECT_EQ(w.locators[0].kind, ZEL_WIRE_LOCATOR_KIND_LOOPBACK);
    EXPECT_EQ(w.locators[1].kind, ZEL_WIRE_LOCATOR_KIND_LOOPBACK);
    EXPECT_NE(std::memcmp(w.locators[0].address, w.locators[1].address, 16), 0);
    EXPECT_TRUE(sameDomain.locators.empty());

    // A participant with endpoints and a wire with participants stay.
    EXPECT_FALSE(ops_->deleteParticipant(local));
    EXPECT_FALSE(ops_->destroy(wire_));
    ops_->deleteWriter(writerHandle);
    for (ZELWireReader *r : readers) {
        ops_->deleteReader(r);
    }
    ops_->deleteReader(otherTypeReader);
    EXPECT_EQ(w.take(), (Events{"unmatched 3", "unmatched 2"}));
}

TEST_F(LoopbackMatchTest, EveryAllocationFailureOfEndpointCreationLeavesNoMatchBehind) {
    ZELWireParticipant *p = participant(0);
    Recorder r1, r2, w0;
    ZELWireReader *readers[] = {reader(p, 2, &r1), reader(p, 3, &r2)};
    ZELWireWriter *incompatibleWriter = writer(p, 4, &w0, "Square", [] {
        ZELWireEndpointQos q = offeredQos();
        q.ownershipKind = 1;
        return q;
    }());
    r1.take();
    r2.take();
    w0.take();
    zeltest::LogCapture log;
    const long allocations = zeltest::forEachAllocationFailure([&](long) {
        Recorder w;
        ZELWireWriter *writerHandle = writer(p, 1, &w);
        if (writerHandle == nullptr) {
            EXPECT_FALSE(log.lines().empty());
            log.clear();
            EXPECT_EQ(r1.take(), Events{});
            EXPECT_EQ(r2.take(), Events{});
            EXPECT_EQ(w.take(), Events{});
            return;
        }
        EXPECT_EQ(r1.take(), Events{"matched 1"});
        ops_->deleteWriter(writerHandle);
        EXPECT_EQ(r1.take(), Events{"unmatched 1"});
        r2.take();
    });
    // The record, two names, a semaphore and a match per reader.
    EXPECT_GE(allocations, 7);
    EXPECT_EQ(w0.take(), Events{});
    ops_->deleteWriter(incompatibleWriter);
    for (ZELWireReader *r : readers) {
        ops_->deleteReader(r);
    }
}

}  // namespace
}  // namespace wiretest
