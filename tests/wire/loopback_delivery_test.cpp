// Delivery on the in-process wire: what a reader is handed, history replay
// to late joiners, counters, and re-entrant calls from callbacks.
#include <cstring>

#include "wire_fixture.h"

namespace wiretest {
namespace {

using Events = std::vector<std::string>;

class LoopbackDeliveryTest : public WireTest {};

// A reader listener that keeps a copy of the last sample.
struct LastSample {
    ZELWireSample sample{};
    std::vector<uint8_t> data;
    static ZELWireDeliveryResult onSample(void *context, const ZELWireSample *s) {
        auto *self = static_cast<LastSample *>(context);
        self->sample = *s;
        self->data.assign(s->data, s->data + s->size);
        self->sample.data = nullptr;
        return ZEL_WIRE_DELIVERY_ACCEPTED;
    }
};

TEST_F(LoopbackDeliveryTest, ReaderGetsPayloadKeyHashWriterAndTimesOfEveryInstanceChangeOfKeyedWriters) {
    ZELWireParticipant *p = participant(0);
    Recorder w;
    LastSample last;
    const ZELWireReaderListener listener{&last, nullptr, nullptr, nullptr, LastSample::onSample};
    const ZELWireEndpointParams params{guidOf(2), "Square", "ShapeType", ZEL_TRUE, ZEL_FALSE, requestedQos()};
    ZELWireReader *readerHandle = ops_->createReader(p, &params, &listener);
    ZELWireWriter *writerHandle = writer(p, 1, &w);
    ASSERT_NE(readerHandle, nullptr);

    const std::vector<uint8_t> payload{0x00, 0x01, 0x00, 0x00, 7, 0, 0, 0, 'r', 'e', 'd', 0};
    ZELWireSample s = sample(9, 42, payload);
    for (int i = 1; i < 16; ++i) {
        s.keyHash[i] = static_cast<uint8_t>(0xf0 + i);
    }
    ASSERT_TRUE(ops_->write(writerHandle, &s));
    EXPECT_EQ(last.sample.kind, ZEL_WIRE_SAMPLE_DATA);
    EXPECT_EQ(last.data, payload);
    EXPECT_EQ(std::memcmp(last.sample.keyHash, s.keyHash, 16), 0);
    EXPECT_EQ(last.sample.writerGuid.value[3], 1u);
    EXPECT_EQ(last.sample.sequenceNumber, 42);
    EXPECT_EQ(last.sample.sourceTimestamp.sec, 100);
    EXPECT_GT(last.sample.receptionTimestamp.sec, 100);

    const std::vector<uint8_t> key{0x00, 0x01, 0x00, 0x00, 7, 0, 0, 0};
    for (ZELWireSampleKind kind : {ZEL_WIRE_SAMPLE_DISPOSE, ZEL_WIRE_SAMPLE_UNREGISTER}) {
        const ZELWireSample change = sample(9, 43, key, kind);
        ASSERT_TRUE(ops_->write(writerHandle, &change));
        EXPECT_EQ(last.sample.kind, kind);
        EXPECT_EQ(last.data, key);
        EXPECT_EQ(last.sample.keyHash[0], 9);
    }

    // A keyless writer has no instances to change; a sample needs its data.
    const ZELWireEndpointParams keylessParams{guidOf(3), "Square", "ShapeType", ZEL_FALSE, ZEL_FALSE, offeredQos()};
    const ZELWireWriterListener keylessListener = writerListener(&w);
    ZELWireWriter *keyless = ops_->createWriter(p, &keylessParams, &keylessListener);
    const ZELWireSample dispose = sample(9, 1, key, ZEL_WIRE_SAMPLE_DISPOSE);
    const ZELWireSample unregister = sample(9, 1, key, ZEL_WIRE_SAMPLE_UNREGISTER);
    s.data = nullptr;
    EXPECT_FALSE(ops_->write(keyless, &dispose));
    EXPECT_FALSE(ops_->write(keyless, &unregister));
    EXPECT_FALSE(ops_->write(keyless, &s));
    EXPECT_FALSE(ops_->write(keyless, nullptr));
    EXPECT_EQ(last.sample.kind, ZEL_WIRE_SAMPLE_UNREGISTER);
    ops_->deleteWriter(keyless);
    ops_->deleteWriter(writerHandle);
    ops_->deleteReader(readerHandle);
}

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
            const ZELWireSample s = historySample(seq, self->payload);
            EXPECT_TRUE(self->ops->writeReplay(writer, replay, &s));
        }
        if (self->liveDuringReplay != 0) {
            const ZELWireSample s = historySample(self->liveDuringReplay, self->payload);
            EXPECT_TRUE(self->ops->write(writer, &s));
        }
        if (self->callReplayDone) {
            self->ops->replayDone(writer, replay);
            // A finished replay takes nothing more.
            const ZELWireSample s = historySample(99, self->payload);
            EXPECT_FALSE(self->ops->writeReplay(writer, replay, &s));
        }
    }
    static ZELWireSample historySample(int64_t seq, const std::vector<uint8_t> &payload) {
        ZELWireSample s{};
        s.data = payload.data();
        s.size = static_cast<uint32_t>(payload.size());
        s.sequenceNumber = seq;
        return s;
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
            const ZELWireSample s = HistoryWriter::historySample(seq, history.payload);
            ASSERT_TRUE(ops_->write(history.handle, &s));
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

        const ZELWireSample live = HistoryWriter::historySample(5, history.payload);
        ASSERT_TRUE(ops_->write(history.handle, &live));
        EXPECT_EQ(late.take(), Events{"sample 0 seq 5"});
        ops_->deleteWriter(history.handle);
        ops_->deleteReader(earlyReader);
        ops_->deleteReader(lateReader);
        ops_->deleteReader(volatileLate);
    }
}

TEST_F(LoopbackDeliveryTest, CountersFollowEachOutcomePerEndpointAndPerMatch) {
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
        ASSERT_TRUE(ops_->write(writerHandle, &s));
    }
    const ZELWireGuid firstGuid = guidOf(2), secondGuid = guidOf(3), writerGuid = guidOf(1);
    ZELWireCounters c{};
    ASSERT_TRUE(ops_->getWriterMatchCounters(writerHandle, &firstGuid, &c));
    EXPECT_EQ(c.sampleCount, 4);
    EXPECT_EQ(c.sampleBytes, 96);
    EXPECT_EQ(c.duplicateSampleCount, 1);
    EXPECT_EQ(c.duplicateSampleBytes, 24);
    EXPECT_EQ(c.filteredSampleCount, 1);
    EXPECT_EQ(c.filteredSampleBytes, 24);
    EXPECT_EQ(c.rejectedSampleCount, 1);
    ZELWireCounters same{};
    ASSERT_TRUE(ops_->getReaderMatchCounters(first, &writerGuid, &same));
    EXPECT_EQ(std::memcmp(&c, &same, sizeof c), 0);
    ops_->getReaderCounters(first, &same);
    EXPECT_EQ(std::memcmp(&c, &same, sizeof c), 0);
    ops_->getReaderCounters(second, &c);
    EXPECT_EQ(c.sampleCount, 4);
    EXPECT_EQ(c.duplicateSampleCount + c.filteredSampleCount + c.rejectedSampleCount, 0);
    ops_->getWriterCounters(writerHandle, &c);
    EXPECT_EQ(c.sampleCount, 8);
    EXPECT_EQ(c.sampleBytes, 192);
    EXPECT_EQ(c.rejectedSampleCount, 1);

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
            EXPECT_TRUE(self->ops->write(self->reply, &answer));
            return ZEL_WIRE_DELIVERY_ACCEPTED;
        }
    };
    Recorder replyWriter, requestWriter, replies;
    Responder responder{ops_, writer(p, 1, &replyWriter, "Reply")};
    const ZELWireReaderListener listener{&responder, nullptr, nullptr, nullptr, Responder::onSample};
    const ZELWireEndpointParams params{guidOf(2), "Request", "ShapeType", ZEL_TRUE, ZEL_FALSE, requestedQos()};
    ZELWireReader *requestReader = ops_->createReader(p, &params, &listener);
    ZELWireReader *replyReader = reader(p, 3, &replies, "Reply");
    ZELWireWriter *request = writer(p, 4, &requestWriter, "Request");
    replies.take();

    const std::vector<uint8_t> payload{0, 1, 0, 0, 5, 0, 0, 0};
    const long allocations = zeltest::forEachAllocationFailure([&](long n) {
        const ZELWireSample s = sample(3, n, payload);
        EXPECT_TRUE(ops_->write(request, &s));
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
