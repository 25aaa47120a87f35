// What every wire does alike, on each wire that is built: matches reach
// both sides and end on both sides whatever the order, samples and instance
// changes arrive with their octets, key hash, writer and times, a keyless
// writer changes no instance, an incompatible pair names the policy, and the
// counters follow. A wire with threads of its own may report later than the
// call that caused it, so the checks wait.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>

#include <gtest/gtest.h>

#include "wire_fixture.h"

namespace wiretest {
namespace {

using Events = std::vector<std::string>;

// The event without the sequence number, which not every wire tells.
Events withoutSequence(Events events) {
    for (std::string &event : events) {
        event = event.substr(0, event.find(" seq "));
    }
    return events;
}

// Offered with an infinite deadline: a zero period would make an RTPS
// implementation check every instance without pause.
ZELWireEndpointQos offered() {
    ZELWireEndpointQos qos = offeredQos();
    qos.deadlinePeriod = ZELNtpTime ZEL_NTP_TIME_INFINITE;
    return qos;
}

class WireContractTest : public WireTest, public ::testing::WithParamInterface<const char *> {
protected:
    const char *wireName() const override { return GetParam(); }
    void SetUp() override {
        if (ZELWire_findOps(GetParam()) == nullptr) {
            GTEST_SKIP() << "the " << GetParam() << " wire is not built here";
        }
        WireTest::SetUp();
    }
    void TearDown() override {
        if (wire_ != nullptr) {
            WireTest::TearDown();
        }
    }
};

TEST_P(WireContractTest, MatchesReachBothSidesAndEndOnBothSidesInEveryOrder) {
    const auto event = [](const char *what, uint32_t remote) { return Events{what + (" " + std::to_string(remote))}; };
    ZELWireParticipant *a = participant(0);
    ZELWireParticipant *b = participant(0);
    for (uint32_t order = 0; order < 4; ++order) {
        SCOPED_TRACE(order);
        const bool writerFirst = (order & 1) != 0;
        const bool deleteWriterFirst = (order & 2) != 0;
        // Endpoints of their own each time: a GUID is not reused while a
        // wire may still be forgetting it.
        const uint32_t w1 = 2 * order + 1, r1 = 2 * order + 2;
        Recorder w, r;
        ZELWireWriter *writerHandle = writerFirst ? writer(a, w1, &w, "Square", offered()) : nullptr;
        ZELWireReader *readerHandle = reader(b, r1, &r);
        writerHandle = writerFirst ? writerHandle : writer(a, w1, &w, "Square", offered());
        ASSERT_TRUE(writerHandle != nullptr && readerHandle != nullptr);
        EXPECT_EQ(w.takeEventually(1), event("matched", r1));
        EXPECT_EQ(r.takeEventually(1), event("matched", w1));
        // The deleted side hears of the end before its deletion returns.
        if (deleteWriterFirst) {
            ops_->deleteWriter(writerHandle);
            EXPECT_EQ(w.take(), event("unmatched", r1));
            EXPECT_EQ(r.takeEventually(1), event("unmatched", w1));
            ops_->deleteReader(readerHandle);
        } else {
            ops_->deleteReader(readerHandle);
            EXPECT_EQ(r.take(), event("unmatched", w1));
            EXPECT_EQ(w.takeEventually(1), event("unmatched", r1));
            ops_->deleteWriter(writerHandle);
        }
        EXPECT_EQ(w.take(), Events{});
        EXPECT_EQ(r.take(), Events{});
    }
}

TEST_P(WireContractTest, InstanceChangesArriveInOrderWithOctetsKeyHashWriterAndTimes) {
    ZELWireParticipant *a = participant(0);
    ZELWireParticipant *b = participant(0);
    Recorder w, r;
    ZELWireWriter *writerHandle = writer(a, 1, &w, "Square", offered());
    ZELWireReader *readerHandle = reader(b, 2, &r);
    ASSERT_EQ(w.takeEventually(1).size(), 1u);
    ASSERT_EQ(r.takeEventually(1).size(), 1u);
    // Encapsulated payloads of sizes that need padding and that do not.
    const std::vector<uint8_t> data5 = {0, 1, 0, 0, 42};
    const std::vector<uint8_t> data8 = {0, 1, 0, 0, 1, 2, 3, 4};
    const std::vector<uint8_t> key6 = {0, 1, 0, 0, 7, 7};
    ZELWireSample written[] = {sample(3, 1, data5), sample(4, 2, data8), sample(3, 3, key6, ZEL_WIRE_SAMPLE_DISPOSE),
                               sample(4, 4, key6, ZEL_WIRE_SAMPLE_UNREGISTER)};
    for (ZELWireSample &s : written) {
        for (uint8_t i = 1; i < 16; ++i) {
            s.keyHash[i] = static_cast<uint8_t>(s.keyHash[0] * 16 + i);
        }
        EXPECT_EQ(ops_->write(writerHandle, &s), ZEL_WIRE_WRITE_DONE);
    }
    EXPECT_EQ(withoutSequence(r.takeEventually(4)), (Events{"sample 3", "sample 4", "dispose 3", "unregister 4"}));
    ASSERT_EQ(r.samples.size(), 4u);
    const ZELWireGuid writerGuid = guidOf(1);
    EXPECT_EQ(r.payloads[0], data5);
    EXPECT_EQ(r.payloads[1], data8);
    for (size_t i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        const ZELWireSample &got = r.samples[i];
        EXPECT_EQ(std::memcmp(got.keyHash, written[i].keyHash, sizeof got.keyHash), 0);
        EXPECT_EQ(std::memcmp(&got.writerGuid, &writerGuid, sizeof writerGuid), 0);
        EXPECT_EQ(got.sourceTimestamp.sec, 100);
        EXPECT_GT(got.receptionTimestamp.sec, 100);
        // The change of an instance the reader knows may come by key hash alone.
        EXPECT_TRUE(i < 2 || r.payloads[i] == key6 || r.payloads[i].empty());
    }

    ZELWireCounters sent{}, received{}, perMatch{};
    ops_->getWriterCounters(writerHandle, &sent);
    ops_->getReaderCounters(readerHandle, &received);
    EXPECT_EQ(sent.sampleCount, 4);
    EXPECT_EQ(received.sampleCount, 4);
    EXPECT_TRUE(ops_->getReaderMatchCounters(readerHandle, &writerGuid, &perMatch));
    EXPECT_EQ(perMatch.sampleCount, 4);

    // A keyless writer has no instances to change.
    const ZELWireEndpointParams keylessParams{guidOf(3), "Plain", "PlainType", ZEL_FALSE, ZEL_FALSE, offered()};
    const ZELWireWriterListener keylessListener = writerListener(&w);
    ZELWireWriter *keyless = ops_->createWriter(a, &keylessParams, &keylessListener);
    ASSERT_NE(keyless, nullptr);
    EXPECT_EQ(ops_->write(keyless, &written[2]), ZEL_WIRE_WRITE_FAILED);
    EXPECT_EQ(ops_->write(keyless, &written[3]), ZEL_WIRE_WRITE_FAILED);
    ops_->deleteWriter(keyless);
    ops_->deleteWriter(writerHandle);
    ops_->deleteReader(readerHandle);
}

// Whatever wire matches them, a pair's policies are looked at in one order
// and the first that fails is named on both sides, with the other side;
// an incompatible pair exchanges nothing and never unmatches.
TEST_P(WireContractTest, AnIncompatiblePairNamesTheFirstFailingPolicyAndTheRemoteOnBothSides) {
    struct Case {
        void (*spoil)(ZELWireEndpointQos *offered, ZELWireEndpointQos *requested);
        uint32_t policyId;
    };
    const Case cases[] = {
            {[](ZELWireEndpointQos *o, ZELWireEndpointQos *) { o->reliabilityKind = 0; }, 0},
            {[](ZELWireEndpointQos *o, ZELWireEndpointQos *r) {
                 o->reliabilityKind = 0;
                 r->reliabilityKind = 1;
             },
             ZEL_WIRE_POLICY_ID_RELIABILITY},
            {[](ZELWireEndpointQos *o, ZELWireEndpointQos *r) {
                 o->durabilityKind = 0;
                 r->durabilityKind = 1;
             },
             ZEL_WIRE_POLICY_ID_DURABILITY},
            {[](ZELWireEndpointQos *o, ZELWireEndpointQos *r) {
                 o->deadlinePeriod = ZELNtpTime{3, 0};
                 r->deadlinePeriod = ZELNtpTime{2, 0};
             },
             ZEL_WIRE_POLICY_ID_DEADLINE},
            {[](ZELWireEndpointQos *, ZELWireEndpointQos *r) { r->ownershipKind = 1; }, ZEL_WIRE_POLICY_ID_OWNERSHIP},
            {[](ZELWireEndpointQos *o, ZELWireEndpointQos *r) {
                 o->livelinessLeaseDuration = ZELNtpTime ZEL_NTP_TIME_INFINITE;
                 r->livelinessLeaseDuration = ZELNtpTime{30, 0};
             },
             ZEL_WIRE_POLICY_ID_LIVELINESS},
            // Durability is looked at before reliability.
            {[](ZELWireEndpointQos *o, ZELWireEndpointQos *r) {
                 o->reliabilityKind = 0;
                 r->reliabilityKind = 1;
                 o->durabilityKind = 0;
                 r->durabilityKind = 1;
             },
             ZEL_WIRE_POLICY_ID_DURABILITY},
    };
    ZELWireParticipant *a = participant(0);
    ZELWireParticipant *b = participant(0);
    uint32_t entity = 0;
    for (const Case &c : cases) {
        const uint32_t writerId = ++entity, readerId = ++entity;
        SCOPED_TRACE(writerId);
        ZELWireEndpointQos offer = offered();
        ZELWireEndpointQos requested = requestedQos();
        c.spoil(&offer, &requested);
        Recorder w, r;
        ZELWireReader *readerHandle = reader(b, readerId, &r, "Square", requested);
        ZELWireWriter *writerHandle = writer(a, writerId, &w, "Square", offer);
        const std::string outcome = c.policyId == 0 ? "matched " : "incompatible ";
        const std::string policy = c.policyId == 0 ? "" : " " + std::to_string(c.policyId);
        EXPECT_EQ(w.takeEventually(1), Events{outcome + std::to_string(readerId) + policy});
        EXPECT_EQ(r.takeEventually(1), Events{outcome + std::to_string(writerId) + policy});
        if (c.policyId != 0) {
            const ZELWireGuid readerGuid = guidOf(readerId);
            ZELWireCounters counters{};
            EXPECT_FALSE(ops_->getWriterMatchCounters(writerHandle, &readerGuid, &counters));
        }
        ops_->deleteReader(readerHandle);
        ops_->deleteWriter(writerHandle);
        EXPECT_EQ(w.take().size() + r.take().size(), c.policyId == 0 ? 2u : 0u);
    }
}

// A remote topic is known through its endpoints: another participant's
// endpoints of the name and another type are visited, of the same type or
// another name they are not.
TEST_P(WireContractTest, RemoteEndpointsOfTheTopicNameWithAnotherTypeAreInconsistent) {
    ZELWireParticipant *a = participant(0);
    ZELWireParticipant *b = participant(0);
    Recorder w, r, same;
    ZELWireEndpointParams params{guidOf(1), "Square", "Other", ZEL_TRUE, ZEL_FALSE, offered()};
    const ZELWireWriterListener writerListening = writerListener(&w);
    ZELWireWriter *other = ops_->createWriter(b, &params, &writerListening);
    ZELWireReader *sameType = reader(b, 2, &same, "Square", requestedQos());
    ZELWireReader *local = reader(a, 3, &r, "Square", requestedQos());
    const auto visited = [&](const char *topic, const char *type) {
        std::vector<uint32_t> entities;
        EXPECT_TRUE(ops_->visitInconsistentTopics(
                a, topic, type,
                [](void *context, const uint32_t prefix[3]) {
                    static_cast<std::vector<uint32_t> *>(context)->push_back(prefix[0]);
                    return ZEL_TRUE;
                },
                &entities));
        return entities;
    };
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (visited("Square", "ShapeType").empty() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(visited("Square", "ShapeType"), std::vector<uint32_t>{0x0a000001u});
    EXPECT_TRUE(visited("Square", "Other").size() == 1 && visited("Circle", "ShapeType").empty());
    ops_->deleteReader(local);
    ops_->deleteReader(sameType);
    ops_->deleteWriter(other);
}

// Each reader's decision counts for the reader and its match; the writer
// counts a sample once per reader it went to, and hears of the readers'
// decisions only on a wire that says it does. What a wire does not supply
// (sequence numbers, locators) it does not make up.
TEST_P(WireContractTest, CountersFollowEachReadersDecisionAndTheWiresCapabilities) {
    struct Case {
        ZELWireDeliveryResult answer;
        int64_t filtered;  // per reader, of the three samples
        int64_t rejected;
    };
    const Case cases[] = {
            {ZEL_WIRE_DELIVERY_ACCEPTED, 0, 0}, {ZEL_WIRE_DELIVERY_FILTERED, 3, 0}, {ZEL_WIRE_DELIVERY_REJECTED, 0, 3}};
    const bool writerOutcomes = (ops_->capabilities & ZEL_WIRE_SUPPLIES_WRITER_OUTCOMES) != 0;
    const bool sequenceNumbers = (ops_->capabilities & ZEL_WIRE_SUPPLIES_SEQUENCE_NUMBERS) != 0;
    const bool locators = (ops_->capabilities & ZEL_WIRE_SUPPLIES_MATCH_LOCATORS) != 0;
    ASSERT_NE(ops_->capabilities & ZEL_WIRE_SUPPLIES_SAMPLE_COUNTS, 0u);
    ZELWireParticipant *a = participant(0);
    ZELWireParticipant *b = participant(0);
    const std::vector<uint8_t> data = {0, 1, 0, 0, 1, 2, 3, 4};
    uint32_t next = 1;
    for (const Case &c : cases) {
        SCOPED_TRACE(c.answer);
        const uint32_t writerId = next++;
        Recorder w, r[2];
        ZELWireReader *readers[2] = {};
        for (int i = 0; i < 2; ++i) {
            r[i].answer = c.answer;
            readers[i] = reader(b, next++, &r[i]);
        }
        ZELWireWriter *writerHandle = writer(a, writerId, &w, "Square", offered());
        ASSERT_TRUE(writerHandle != nullptr && readers[0] != nullptr && readers[1] != nullptr);
        ASSERT_EQ(w.takeEventually(2).size(), 2u);
        for (Recorder &side : r) {
            ASSERT_EQ(side.takeEventually(1).size(), 1u);
        }
        for (int64_t n = 1; n <= 3; ++n) {
            const ZELWireSample s = sample(3, n, data);
            EXPECT_EQ(ops_->write(writerHandle, &s), ZEL_WIRE_WRITE_DONE);
        }
        const ZELWireGuid writerGuid = guidOf(writerId);
        for (int i = 0; i < 2; ++i) {
            ASSERT_EQ(r[i].takeEventually(3).size(), 3u);
            for (int64_t n = 1; n <= 3; ++n) {
                EXPECT_EQ(r[i].samples[static_cast<size_t>(n - 1)].sequenceNumber,
                          sequenceNumbers ? n : ZEL_WIRE_SEQUENCE_NUMBER_UNKNOWN);
            }
            ZELWireCounters total{}, match{};
            ops_->getReaderCounters(readers[i], &total);
            ASSERT_TRUE(ops_->getReaderMatchCounters(readers[i], &writerGuid, &match));
            for (const ZELWireCounters &counters : {total, match}) {
                EXPECT_EQ(counters.sampleCount, 3);
                EXPECT_EQ(counters.sampleBytes, 24);
                EXPECT_EQ(counters.filteredSampleCount, c.filtered);
                EXPECT_EQ(counters.filteredSampleBytes, 8 * c.filtered);
                EXPECT_EQ(counters.rejectedSampleCount, c.rejected);
            }
            const ZELWireGuid readerGuid = guidOf(writerId + 1 + static_cast<uint32_t>(i));
            ASSERT_TRUE(ops_->getWriterMatchCounters(writerHandle, &readerGuid, &match));
            EXPECT_EQ(match.sampleCount, 3);
            EXPECT_EQ(match.filteredSampleCount, writerOutcomes ? c.filtered : 0);
        }
        ZELWireCounters sent{};
        ops_->getWriterCounters(writerHandle, &sent);
        EXPECT_EQ(sent.sampleCount, 6);
        EXPECT_EQ(sent.sampleBytes, 48);
        EXPECT_EQ(sent.filteredSampleBytes, writerOutcomes ? 16 * c.filtered : 0);
        EXPECT_EQ(sent.rejectedSampleCount, writerOutcomes ? 2 * c.rejected : 0);
        // Nothing was lost between endpoints of one process: nothing repaired.
        EXPECT_EQ(sent.pulledSampleBytes, 0);
        EXPECT_EQ(w.locators.size(), locators ? 2u : 0u);
        ops_->deleteWriter(writerHandle);
        for (ZELWireReader *handle : readers) {
            ops_->deleteReader(handle);
        }
    }
}

// A wire that counts deadlines counts them for a writer that fell silent
// and for its reader.
TEST_P(WireContractTest, AWireThatCountsDeadlinesCountsThoseASilentWriterMisses) {
    if ((ops_->capabilities & ZEL_WIRE_SUPPLIES_DEADLINES) == 0) {
        GTEST_SKIP() << "the " << GetParam() << " wire leaves deadlines to the DDS layer";
    }
    ZELWireEndpointQos qos = offeredQos();
    qos.deadlinePeriod = ZELNtpTime{0, 0x20000000};  // an eighth of a second
    Recorder w, r;
    ZELWireWriter *writerHandle = writer(participant(0), 1, &w, "Square", qos);
    qos.livelinessLeaseDuration = ZELNtpTime ZEL_NTP_TIME_INFINITE;
    ZELWireReader *readerHandle = reader(participant(0), 2, &r, "Square", qos);
    ASSERT_TRUE(writerHandle != nullptr && readerHandle != nullptr);
    ASSERT_EQ(r.takeEventually(1).size(), 1u);
    const std::vector<uint8_t> data = {0, 1, 0, 0, 1, 2, 3, 4};
    const ZELWireSample s = sample(3, 1, data);
    ASSERT_EQ(ops_->write(writerHandle, &s), ZEL_WIRE_WRITE_DONE);
    ZELWireStatusCounts offered{}, requested{};
    for (int wait = 0; wait < 500 && (offered.offeredDeadlineMissed == 0 || requested.requestedDeadlineMissed == 0);
         ++wait) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        ops_->getWriterStatusCounts(writerHandle, &offered);
        ops_->getReaderStatusCounts(readerHandle, &requested);
    }
    EXPECT_TRUE(offered.offeredDeadlineMissed > 0 && requested.requestedDeadlineMissed > 0);
    ops_->deleteWriter(writerHandle);
    ops_->deleteReader(readerHandle);
}

// Matching a new endpoint must not wait on an endpoint that another thread
// is writing on, nor the writer on the creation.
TEST_P(WireContractTest, EndpointsComeAndGoWhileAMatchingWriterWrites) {
    ZELWireParticipant *a = participant(0);
    ZELWireParticipant *b = participant(0);
    Recorder w;
    ZELWireWriter *writerHandle = writer(a, 1, &w, "Square", offered());
    ASSERT_NE(writerHandle, nullptr);
    std::atomic<bool> stop{false};
    std::thread writing([&] {
        const std::vector<uint8_t> data = {0, 1, 0, 0, 1, 2, 3, 4};
        for (int64_t n = 1; !stop; ++n) {
            const ZELWireSample s = sample(3, n, data);
            ops_->write(writerHandle, &s);
        }
    });
    for (uint32_t id = 2; id < 12; ++id) {
        Recorder r;
        ZELWireReader *readerHandle = reader(id % 2 == 0 ? a : b, id, &r);
        ASSERT_NE(readerHandle, nullptr);
        const Events events = r.takeEventually(1);
        ASSERT_FALSE(events.empty());
        EXPECT_EQ(events[0], "matched 1");
        ops_->deleteReader(readerHandle);
    }
    stop = true;
    writing.join();
    // A wire that learns of matches later may miss one that ended before
    // it looked, but each match it reported ends once.
    ops_->deleteWriter(writerHandle);
    const Events writerEvents = w.take();
    for (uint32_t id = 2; id < 12; ++id) {
        const auto count = [&](const std::string &event) {
            return std::count(writerEvents.begin(), writerEvents.end(), event + " " + std::to_string(id));
        };
        EXPECT_LE(count("matched"), 1) << id;
        EXPECT_EQ(count("matched"), count("unmatched")) << id;
    }
}

INSTANTIATE_TEST_SUITE_P(EveryWire, WireContractTest, ::testing::Values("loopback", "cyclone"),
                         [](const ::testing::TestParamInfo<const char *> &wire) { return std::string(wire.param); });

}  // namespace
}  // namespace wiretest
