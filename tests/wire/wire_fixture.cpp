#include "wire_fixture.h"

#include <unistd.h>

#include <chrono>
#include <cstring>
#include <thread>

namespace wiretest {

ZELWireGuid guidOf(uint32_t entity) { return ZELWireGuid{{0x0a000001u, 0x1234u, 1u, entity}}; }

ZELWireEndpointQos offeredQos() {
    ZELWireEndpointQos qos{};
    qos.reliabilityKind = 1;
    qos.durabilityKind = 1;
    qos.livelinessLeaseDuration = ZELNtpTime{1, 0};
    return qos;
}

ZELWireEndpointQos requestedQos() {
    ZELWireEndpointQos qos{};
    qos.deadlinePeriod = ZELNtpTime ZEL_NTP_TIME_INFINITE;
    qos.livelinessLeaseDuration = ZELNtpTime ZEL_NTP_TIME_INFINITE;
    return qos;
}

void Recorder::add(std::string event) {
    late += deleted ? 1 : 0;
    std::lock_guard<std::mutex> guard(mutex);
    events.push_back(std::move(event));
}

std::vector<std::string> Recorder::take() {
    std::lock_guard<std::mutex> guard(mutex);
    std::vector<std::string> taken;
    taken.swap(events);
    return taken;
}

std::vector<std::string> Recorder::takeEventually(size_t count) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    for (;;) {
        {
            std::lock_guard<std::mutex> guard(mutex);
            if (events.size() >= count || std::chrono::steady_clock::now() > end) {
                break;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return take();
}

static void onMatchedI(void *context, const ZELWireMatchInfo *match) {
    auto *recorder = static_cast<Recorder *>(context);
    if (match->remoteLocatorCount == 1) {
        std::lock_guard<std::mutex> guard(recorder->mutex);
        recorder->locators.push_back(match->remoteLocators[0]);
    }
    recorder->add("matched " + std::to_string(match->remoteGuid.value[3]));
}

static void onUnmatchedI(void *context, const ZELWireMatchInfo *match) {
    static_cast<Recorder *>(context)->add("unmatched " + std::to_string(match->remoteGuid.value[3]));
}

static void onIncompatibleI(void *context, const ZELWireGuid *remote, uint32_t policyId) {
    static_cast<Recorder *>(context)->add("incompatible " + std::to_string(remote->value[3]) + " " +
                                          std::to_string(policyId));
}

static ZELWireDeliveryResult onSampleI(void *context, const ZELWireSample *sample) {
    static const char *const kinds[] = {"sample ", "dispose ", "unregister "};
    auto *recorder = static_cast<Recorder *>(context);
    std::string event = kinds[sample->kind] + std::to_string(sample->keyHash[0]);
    if (sample->kind == ZEL_WIRE_SAMPLE_DATA) {
        event += " seq " + std::to_string(sample->sequenceNumber);
    }
    {
        std::lock_guard<std::mutex> guard(recorder->mutex);
        recorder->payloads.emplace_back(sample->data, sample->data + sample->size);
        recorder->samples.push_back(*sample);
        recorder->samples.back().data = nullptr;
    }
    recorder->add(event);
    return recorder->answer;
}

void WireTest::SetUp() {
    HeapCheckedTest::SetUp();
    ops_ = ZELWire_findOps(wireName());
    ASSERT_NE(ops_, nullptr);
    wire_ = ops_->create();
    ASSERT_NE(wire_, nullptr);
}

void WireTest::TearDown() {
    for (ZELWireParticipant *p : participants_) {
        EXPECT_TRUE(ops_->deleteParticipant(p));
    }
    EXPECT_TRUE(ops_->destroy(wire_));
    HeapCheckedTest::TearDown();
}

ZELWireParticipant *WireTest::participant(int32_t domainId) {
    uint32_t prefix[3] = {0x0a000001u, 0x1234u, static_cast<uint32_t>(participants_.size() + 1)};
    // A wire between processes: domains of this process's own, so that
    // tests running beside it are not seen.
    if (std::strcmp(wireName(), "loopback") != 0) {
        domainId += 150 + static_cast<int32_t>(getpid() % 40) * 2;
    }
    ZELWireParticipant *p = ops_->createParticipant(wire_, domainId, prefix);
    EXPECT_NE(p, nullptr);
    participants_.push_back(p);
    return p;
}

ZELWireWriterListener WireTest::writerListener(Recorder *recorder) {
    return ZELWireWriterListener{recorder, onMatchedI, onUnmatchedI, onIncompatibleI, nullptr};
}

ZELWireReaderListener WireTest::readerListener(Recorder *recorder) {
    return ZELWireReaderListener{recorder, onMatchedI, onUnmatchedI, onIncompatibleI, onSampleI, nullptr};
}

ZELWireWriter *WireTest::writer(ZELWireParticipant *p, uint32_t entity, Recorder *recorder, const char *topic,
                                ZELWireEndpointQos qos) {
    const ZELWireEndpointParams params{guidOf(entity), topic, "ShapeType", ZEL_TRUE, ZEL_FALSE, qos};
    const ZELWireWriterListener listener = writerListener(recorder);
    return ops_->createWriter(p, &params, &listener);
}

ZELWireReader *WireTest::reader(ZELWireParticipant *p, uint32_t entity, Recorder *recorder, const char *topic,
                                ZELWireEndpointQos qos) {
    const ZELWireEndpointParams params{guidOf(entity), topic, "ShapeType", ZEL_TRUE, ZEL_FALSE, qos};
    const ZELWireReaderListener listener = readerListener(recorder);
    return ops_->createReader(p, &params, &listener);
}

ZELWireSample WireTest::sample(uint8_t key, int64_t sequenceNumber, const std::vector<uint8_t> &payload,
                               ZELWireSampleKind kind) {
    ZELWireSample s{};
    s.kind = kind;
    s.keyHash[0] = key;
    s.data = payload.data();
    s.size = static_cast<uint32_t>(payload.size());
    s.sourceTimestamp = ZELNtpTime{100, 0};
    s.sequenceNumber = sequenceNumber;
    return s;
}

}  // namespace wiretest
