// Endpoints on the in-process wire whose listeners record every callback.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "heap_check.h"
#include "wire.h"

namespace wiretest {

ZELWireGuid guidOf(uint32_t entity);

// QoS that matches anything of its kind: a writer offers the most, a
// reader requests the least.
ZELWireEndpointQos offeredQos();
ZELWireEndpointQos requestedQos();

// What an endpoint's listener saw, as text ("matched 17", "unmatched 17",
// "incompatible 17 11", "sample 3 seq 5", "dispose 3", "unregister 3"), in
// order.
struct Recorder {
    std::mutex mutex;
    std::vector<std::string> events;
    std::vector<ZELNetioLocator> locators;       // of matched readers, for a writer
    std::vector<std::vector<uint8_t>> payloads;  // of received samples
    std::vector<ZELWireSample> samples;          // received, without their data
    ZELWireDeliveryResult answer = ZEL_WIRE_DELIVERY_ACCEPTED;
    std::atomic<bool> deleted{false};  // set once the endpoint's deletion returned
    std::atomic<int> late{0};          // events recorded after that
    void add(std::string event);
    std::vector<std::string> take();
    // Waits until `count` events were recorded (a wire with threads of its
    // own reports later), then takes them; fewer when the time runs out.
    std::vector<std::string> takeEventually(size_t count);
};

class WireTest : public zeltest::HeapCheckedTest {
public:
    // A data sample whose key hash starts with `key`.
    static ZELWireSample sample(uint8_t key, int64_t sequenceNumber, const std::vector<uint8_t> &payload,
                                ZELWireSampleKind kind = ZEL_WIRE_SAMPLE_DATA);

protected:
    // The wire under test, by name.
    virtual const char *wireName() const { return "loopback"; }
    void SetUp() override;
    void TearDown() override;

    ZELWireParticipant *participant(int32_t domainId);
    ZELWireWriterListener writerListener(Recorder *recorder);
    ZELWireReaderListener readerListener(Recorder *recorder);
    ZELWireWriter *writer(ZELWireParticipant *participant, uint32_t entity, Recorder *recorder,
                          const char *topic = "Square", ZELWireEndpointQos qos = offeredQos());
    ZELWireReader *reader(ZELWireParticipant *participant, uint32_t entity, Recorder *recorder,
                          const char *topic = "Square", ZELWireEndpointQos qos = requestedQos());
    const ZELWireOps *ops_ = nullptr;
    ZELWire *wire_ = nullptr;
    std::vector<ZELWireParticipant *> participants_;
};

}  // namespace wiretest
