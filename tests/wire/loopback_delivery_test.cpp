// Delivery on the in-process wire: history replay to late joiners, counters
// of each outcome, and re-entrant calls from callbacks.
#include <cstring>

#include "log_capture.h"

#include "wire_fixture.h"

namespace wiretest {
namespace {

using Events = std::vector<std::string>;

class LoopbackDeliveryTest : public WireTest {};

// A writer with a history that it replays through the wire.
struct HistoryWriter {
    const ZELWireOps *ops = nullptr;
    ZELWireWriter *handle = nullptr;
    std::vector<uint8_t> payload{0, 1, 0, 0};
    std::vector<int64_t> history;
    bool callReplayDone = true;
    // Written live during the replay, before replayDone.
    int64_t liveDuringReplay = 0;
    int replays = 0;

    static void onReplay(void *context, ZELWireWriter *writer, ZELWireReplay *replay, const ZELWireGuid *) {
        auto *self = static_cast<HistoryWriter *>(context);
        ++self->replays;
        for (int64_t seq : self->history) {
            const ZELWireSample s = WireTest::sample(0, seq, self->payload);
            EXPECT_TRUE(self->ops->writeReplay(writer, replay, &s));
        }
        if (self->liveDuringReplay != 0) {
            const ZELWireSample s = WireTest::sample(0, self->liveDuringReplay, self->payload);
            EXPECT_EQ(self->ops->write(writer, &s), ZEL_WIRE_WRITE_DONE);
        }
        if (self->callReplayDone) {
            self->ops->replayDone(writer, replay);
            // A finished replay takes nothing more.
            const ZELWireSample s = WireTest::sample(0, 99, self->payload);
            EXPECT_FALSE(self->ops->writeReplay(writer, replay, &s));
        }
    }
};

TEST_F(LoopbackDeliveryTest, LateTransientLocalReadersGetTheHistoryBeforeLiveSamples) {
    ZELWireParticipant *p = participant(0);
    for (bool callReplayDone : {true, false}) {
        SCOPED_TRACE(callReplayDone);
        Recorder early, late, volatileReader;
        HistoryWriter history;
        history.ops = ops_;
        history.callReplayDone = callReplayDone;
        ZELWireReader *earlyReader = reader(p, 2, &early);
        ZELWireWriterListener listener{&history, nullptr, nullptr, nullptr, HistoryWriter::onReplay};
        const ZELWireEndpointParams params{guidOf(1), "Square", "ShapeType", ZEL_TRUE, ZEL_FALSE, offeredQos()};
        history.handle = ops_->createWriter(p, &params, &listener);
        ASSERT_NE(history.handle, nullptr);
        EXPECT_EQ(history.replays, 0);  // the early reader asks for volatile data
        for (int64_t seq = 1; seq <= 3; ++seq) {
            const ZELWireSample s = sample(0, seq, history.payload);
            ASSERT_EQ(ops_->write(history.handle, &s), ZEL_WIRE_WRITE_DONE);
            history.history.push_back(seq);
        }
        history.history.erase(history.history.begin());  // keeps the last two
        history.liveDuringReplay = 4;

        ZELWireEndpointQos durable = requestedQos();
        durable.durabilityKind = 1;
        ZELWireReader *lateReader = reader(p, 3, &late, "Square", durable);
        ZELWireReader *volatileLate = reader(p, 4, &volatileReader);
        EXPECT_EQ(history.replays, 1);
        EXPECT_EQ(late.take(), (Events{"matched 1", "sample 0 seq 2", "sample 0 seq 3"}));
        EXPECT_EQ(early.take(),
                  (Events{"matched 1", "sample 0 seq 1", "sample 0 seq 2", "sample 0 seq 3", "sample 0 seq 4"}));
        EXPECT_EQ(volatileReader.take(), Events{"matched 1"});

        const ZELWireSample live = sample(0, 5, history.payload);
        ASSERT_EQ(ops_->write(history.handle, &live), ZEL_WIRE_WRITE_DONE);
        EXPECT_EQ(late.take(), Events{"sample 0 seq 5"});
        ops_->deleteWriter(history.handle);
        ops_->deleteReader(earlyReader);
        ops_->deleteReader(lateReader);
        ops_->deleteReader(volatileLate);
    }
}

TEST_F(LoopbackDeliveryTest, CountersAgreeInEveryViewCountDuplicatesAndOutliveTheMatchOnTheWriter) {
    ZELWireParticipant *p = participant(0);
    Recorder w, r1, r2;
    ZELWireReader *first = reader(p, 2, &r1);
    ZELWireReader *second = reader(p, 3, &r2);
    ZELWireWriter *writerHandle = writer(p, 1, &w);
    const std::vector<uint8_t> payload(24, 0);
    const ZELWireDeliveryResult answers[] = {ZEL_WIRE_DELIVERY_ACCEPTED, ZEL_WIRE_DELIVERY_DUPLICATE,
                                             ZEL_WIRE_DELIVERY_FILTERED, ZEL_WIRE_DELIVERY_REJECTED};
    int64_t seq = 0;
    for (ZELWireDeliveryResult answer : answers) {
        r1.answer = answer;
        const ZELWireSample s = sample(1, ++seq, payload);
        ASSERT_EQ(ops_->write(writerHandle, &s), ZEL_WIRE_WRITE_DONE);
    }
    // A sample without its data is refused and not counted.
    zeltest::LogCapture log;
    ZELWireSample noData = sample(1, 9, payload);
    noData.data = nullptr;
    EXPECT_EQ(ops_->write(writerHandle, &noData), ZEL_WIRE_WRITE_FAILED);
    EXPECT_EQ(ops_->write(writerHandle, nullptr), ZEL_WIRE_WRITE_FAILED);
    EXPECT_EQ(log.lines().size(), 2u);
    // The writer's view of the match, the reader's and the reader's total agree.
    const ZELWireGuid firstGuid = guidOf(2), secondGuid = guidOf(3), writerGuid = guidOf(1);
    ZELWireCounters c{}, same{};
    ASSERT_TRUE(ops_->getWriterMatchCounters(writerHandle, &firstGuid, &c));
    EXPECT_EQ(c.duplicateSampleCount, 1);
    EXPECT_EQ(c.duplicateSampleBytes, 24);
    ASSERT_TRUE(ops_->getReaderMatchCounters(first, &writerGuid, &same));
    EXPECT_EQ(std::memcmp(&c, &same, sizeof c), 0);
    ops_->getReaderCounters(first, &same);
    EXPECT_EQ(std::memcmp(&c, &same, sizeof c), 0);
    ops_->getReaderCounters(second, &c);
    EXPECT_EQ(c.duplicateSampleCount + c.filteredSampleCount + c.rejectedSampleCount, 0);

    // An ended match has no counters; the writer keeps what it pushed.
    ops_->deleteReader(first);
    EXPECT_FALSE(ops_->getWriterMatchCounters(writerHandle, &firstGuid, &c));
    ASSERT_TRUE(ops_->getWriterMatchCounters(writerHandle, &secondGuid, &c));
    ops_->getWriterCounters(writerHandle, &c);
    EXPECT_EQ(c.sampleCount, 8);
    ops_->deleteWriter(writerHandle);
    ops_->deleteReader(second);
}

TEST_F(LoopbackDeliveryTest, WritingNeedsNoHeapAndReadersMayWriteFromTheirCallback) {
    ZELWireParticipant *p = participant(0);
    // The reader of "Request" answers on "Reply" from inside its callback:
    // nothing of the wire is held while a reader runs.
    struct Responder {
        const ZELWireOps *ops;
        ZELWireWriter *reply;
        static ZELWireDeliveryResult onSample(void *context, const ZELWireSample *s) {
            auto *self = static_cast<Responder *>(context);
            ZELWireSample answer = *s;
            answer.sequenceNumber += 100;
            EXPECT_EQ(self->ops->write(self->reply, &answer), ZEL_WIRE_WRITE_DONE);
            return ZEL_WIRE_DELIVERY_ACCEPTED;
        }
    };
    Recorder replyWriter, requestWriter, replies;
    Responder responder{ops_, writer(p, 1, &replyWriter, "Reply")};
    const ZELWireReaderListener listener{&responder, nullptr, nullptr, nullptr, Responder::onSample, nullptr};
    const ZELWireEndpointParams params{guidOf(2), "Request", "ShapeType", ZEL_TRUE, ZEL_FALSE, requestedQos()};
    ZELWireReader *requestReader = ops_->createReader(p, &params, &listener);
    ZELWireReader *replyReader = reader(p, 3, &replies, "Reply");
    ZELWireWriter *request = writer(p, 4, &requestWriter, "Request");
    replies.take();

    const std::vector<uint8_t> payload{0, 1, 0, 0, 5, 0, 0, 0};
    const long allocations = zeltest::forEachAllocationFailure([&](long n) {
        const ZELWireSample s = sample(3, n, payload);
        EXPECT_EQ(ops_->write(request, &s), ZEL_WIRE_WRITE_DONE);
        EXPECT_EQ(replies.take(), Events{"sample 3 seq " + std::to_string(n + 100)});
    });
    EXPECT_EQ(allocations, 1);
    ops_->deleteWriter(request);
    ops_->deleteWriter(responder.reply);
    ops_->deleteReader(requestReader);
    ops_->deleteReader(replyReader);
}

}  // namespace
}  // namespace wiretest
