// Participants and endpoints created, written to and deleted from several
// threads while another walks what its participant discovers: every match is
// announced and ended exactly once on each side, no callback reaches an
// endpoint after its deletion returned, and a walk meets whole entities only.
#include <atomic>
#include <deque>
#include <map>
#include <set>
#include <thread>

#include "wire_fixture.h"

namespace wiretest {
namespace {

// A recorder of an endpoint that writes one sample of history to each late
// joiner.
struct Tracker : Recorder {
    const ZELWireOps *ops = nullptr;
    static void onReplay(void *context, ZELWireWriter *writer, ZELWireReplay *replay, const ZELWireGuid *) {
        auto *self = static_cast<Tracker *>(static_cast<Recorder *>(context));
        self->add("replay");
        static const std::vector<uint8_t> payload{0, 1, 0, 0};
        const ZELWireSample s = WireTest::sample(0, 0, payload);
        EXPECT_TRUE(self->ops->writeReplay(writer, replay, &s));
        self->ops->replayDone(writer, replay);
    }
};

class LoopbackConcurrencyTest : public WireTest {};

ZELBoolean collectWriterI(void *context, const ZELWireDiscoveredEntity *writer) {
    static_cast<std::set<std::string> *>(context)->insert(std::string(writer->topicName ? writer->topicName : "-") +
                                                          "/" + (writer->typeName ? writer->typeName : "-"));
    return ZEL_TRUE;
}

TEST_F(LoopbackConcurrencyTest, MatchesStayBalancedAndWalksSeeWholeEntitiesWhileEverythingChurns) {
    constexpr int threadCount = 4;
    constexpr int rounds = 1500;
    ZELWireParticipant *local = participant(0);
    std::deque<Tracker> trackers[threadCount];
    const std::vector<uint8_t> payload{0, 1, 0, 0, 1, 2, 3, 4};
    const auto churn = [&](int t) {
        for (int i = 0; i < rounds; ++i) {
            const uint32_t entity = static_cast<uint32_t>(t * 10000 + i);
            // Every eighth endpoint comes with a participant of its own
            // and a type of its own, which the local topic finds
            // inconsistent.
            uint32_t prefix[3] = {0x0a000001u, 0x1234u, 100u + entity};
            const bool own = i % 8 == 0;
            ZELWireParticipant *p = own ? ops_->createParticipant(wire_, 0, prefix) : local;
            ASSERT_NE(p, nullptr);
            ZELWireEndpointQos qos = (i % 2 == 0) ? offeredQos() : requestedQos();
            qos.durabilityKind = (i % 3 == 0) ? 1 : 0;
            const ZELWireEndpointParams params{guidOf(entity),
                                               (i % 5 == 0) ? "Circle" : "Square",
                                               own ? "Other" : "ShapeType",
                                               ZEL_TRUE,
                                               ZEL_FALSE,
                                               qos};
            Tracker &tracker = trackers[t].emplace_back();
            tracker.ops = ops_;
            if (i % 2 == 0) {
                ZELWireWriterListener listener = writerListener(&tracker);
                listener.onReplay = Tracker::onReplay;
                ZELWireWriter *w = ops_->createWriter(p, &params, &listener);
                ASSERT_NE(w, nullptr);
                for (int64_t n = 1; n <= 3; ++n) {
                    const ZELWireSample s = sample(0, n, payload);
                    EXPECT_EQ(ops_->write(w, &s), ZEL_WIRE_WRITE_DONE);
                }
                ops_->deleteWriter(w);
            } else {
                const ZELWireReaderListener listener = readerListener(&tracker);
                ZELWireReader *r = ops_->createReader(p, &params, &listener);
                ASSERT_NE(r, nullptr);
                ZELWireCounters counters{};
                ops_->getReaderCounters(r, &counters);
                ops_->deleteReader(r);
            }
            tracker.deleted = true;
            EXPECT_TRUE(!own || ops_->deleteParticipant(p));
        }
    };
    std::atomic<int> running{threadCount};
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([&, t] {
            churn(t);
            --running;
        });
    }
    const std::set<std::string> names{"Square/ShapeType", "Circle/ShapeType", "Square/Other", "Circle/Other"};
    while (running > 0) {
        std::set<std::string> writers;
        EXPECT_TRUE(ops_->visitDiscovered(local, ZEL_WIRE_ENTITY_WRITER, collectWriterI, &writers));
        for (const std::string &writer : writers) {
            EXPECT_EQ(names.count(writer), 1u) << writer;
        }
        EXPECT_TRUE(ops_->visitDiscovered(
                local, ZEL_WIRE_ENTITY_PARTICIPANT, [](void *, const ZELWireDiscoveredEntity *) { return ZEL_TRUE; },
                nullptr));
        // Only the churners' own participants use another type.
        std::vector<uint32_t> inconsistent;
        EXPECT_TRUE(ops_->visitInconsistentTopics(
                local, "Square", "ShapeType",
                [](void *context, const uint32_t prefix[3]) {
                    static_cast<std::vector<uint32_t> *>(context)->push_back(prefix[2]);
                    return ZEL_TRUE;
                },
                &inconsistent));
        for (uint32_t counter : inconsistent) {
            EXPECT_EQ((counter - 100u) % 10000u % 8u, 0u) << counter;
        }
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    for (std::deque<Tracker> &perThread : trackers) {
        for (Tracker &tracker : perThread) {
            EXPECT_EQ(tracker.late, 0);
            std::map<std::string, int> balance;  // of each remote endpoint: matched minus unmatched
            for (const std::string &event : tracker.take()) {
                const size_t space = event.find(' ');
                if (event.starts_with("matched ") || event.starts_with("unmatched ")) {
                    int &b = balance[event.substr(space + 1)];
                    b += event[0] == 'm' ? 1 : -1;
                    EXPECT_TRUE(b == 0 || b == 1) << event;
                }
            }
            for (const auto &[remote, b] : balance) {
                EXPECT_EQ(b, 0) << "remote " << remote;
            }
        }
    }
    // A visitor that refuses stops the walk at once.
    Recorder recorder;
    ZELWireWriter *writers[] = {writer(local, 1, &recorder), writer(local, 2, &recorder, "Circle")};
    int visits = 0;
    EXPECT_FALSE(ops_->visitDiscovered(
            local, ZEL_WIRE_ENTITY_WRITER,
            [](void *context, const ZELWireDiscoveredEntity *) {
                ++*static_cast<int *>(context);
                return ZEL_FALSE;
            },
            &visits));
    EXPECT_EQ(visits, 1);
    for (ZELWireWriter *w : writers) {
        ops_->deleteWriter(w);
    }
}

}  // namespace
}  // namespace wiretest
