// Endpoints created, written to and deleted from several threads at once:
// every match is announced and ended exactly once on each side, and no
// callback reaches an endpoint after its deletion returned.
#include <atomic>
#include <deque>
#include <map>
#include <thread>

#include "wire_fixture.h"

namespace wiretest {
namespace {

struct Tracker {
    const ZELWireOps *ops = nullptr;
    std::atomic<bool> deleted{false};
    std::atomic<int> lateCallbacks{0};
    std::mutex mutex;
    std::map<uint32_t, int> balance;  // remote entity -> matched minus unmatched [mutex]
    int unbalanced = 0;               // unmatched without matched, or matched twice [mutex]

    void check() {
        if (deleted.load()) {
            ++lateCallbacks;
        }
    }
    void change(uint32_t remote, int delta) {
        check();
        std::lock_guard<std::mutex> guard(mutex);
        int &b = balance[remote];
        b += delta;
        if (b < 0 || b > 1) {
            ++unbalanced;
        }
    }
    static void onMatched(void *c, const ZELWireMatchInfo *m) {
        static_cast<Tracker *>(c)->change(m->remoteGuid.value[3], 1);
    }
    static void onUnmatched(void *c, const ZELWireMatchInfo *m) {
        static_cast<Tracker *>(c)->change(m->remoteGuid.value[3], -1);
    }
    static void onIncompatible(void *c, const ZELWireGuid *, uint32_t) {
        static_cast<Tracker *>(c)->check();
    }
    static void onReplay(void *c, ZELWireWriter *writer, ZELWireReplay *replay, const ZELWireGuid *) {
        auto *self = static_cast<Tracker *>(c);
        self->check();
        static const uint8_t payload[4] = {0, 1, 0, 0};
        ZELWireSample s{};
        s.data = payload;
        s.size = 4;
        EXPECT_TRUE(self->ops->writeReplay(writer, replay, &s));
        self->ops->replayDone(writer, replay);
    }
    static ZELWireDeliveryResult onSample(void *c, const ZELWireSample *) {
        static_cast<Tracker *>(c)->check();
        return ZEL_WIRE_DELIVERY_ACCEPTED;
    }
};

class LoopbackStressTest : public WireTest {};

TEST_F(LoopbackStressTest, ConcurrentCreateWriteAndDeleteKeepMatchesBalanced) {
    constexpr int threadCount = 4;
    constexpr int rounds = 1500;
    ZELWireParticipant *shared = participant(0);
    std::deque<Tracker> trackers[threadCount];
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < rounds; ++i) {
                const uint32_t entity = static_cast<uint32_t>(t * 10000 + i);
                ZELWireEndpointQos qos = (i % 2 == 0) ? offeredQos() : requestedQos();
                qos.durabilityKind = (i % 3 == 0) ? 1 : 0;
                const ZELWireEndpointParams params{guidOf(entity), (i % 5 == 0) ? "Circle" : "Square", "ShapeType",
                                                   ZEL_TRUE, ZEL_FALSE, qos};
                Tracker &tracker = trackers[t].emplace_back();
                tracker.ops = ops_;
                if (i % 2 == 0) {
                    const ZELWireWriterListener listener{&tracker, Tracker::onMatched, Tracker::onUnmatched,
                                                         Tracker::onIncompatible, Tracker::onReplay};
                    ZELWireWriter *w = ops_->createWriter(shared, &params, &listener);
                    ASSERT_NE(w, nullptr);
                    static const uint8_t payload[8] = {0, 1, 0, 0, 1, 2, 3, 4};
                    for (int k = 0; k < 3; ++k) {
                        ZELWireSample s{};
                        s.data = payload;
                        s.size = sizeof payload;
                        s.sequenceNumber = k + 1;
                        EXPECT_TRUE(ops_->write(w, &s));
                    }
                    ops_->deleteWriter(w);
                } else {
                    const ZELWireReaderListener listener{&tracker, Tracker::onMatched, Tracker::onUnmatched,
                                                         Tracker::onIncompatible, Tracker::onSample};
                    ZELWireReader *r = ops_->createReader(shared, &params, &listener);
                    ASSERT_NE(r, nullptr);
                    ZELWireCounters counters{};
                    ops_->getReaderCounters(r, &counters);
                    ops_->deleteReader(r);
                }
                tracker.deleted = true;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    for (std::deque<Tracker> &perThread : trackers) {
        for (Tracker &tracker : perThread) {
            EXPECT_EQ(tracker.lateCallbacks.load(), 0);
            EXPECT_EQ(tracker.unbalanced, 0);
            for (const auto &[remote, balance] : tracker.balance) {
                EXPECT_EQ(balance, 0) << "remote " << remote;
            }
        }
    }
}

}  // namespace
}  // namespace wiretest
