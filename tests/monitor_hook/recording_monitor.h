// A monitoring plug-in for the hook's tests: it records every call the
// middleware makes and does what the test scripts (fail, create a
// participant of its own inside attach, read QoS inside events).
#pragma once

#include <string>
#include <vector>

#include "vurnc/dds_c.h"

#define RECORDING_MONITOR_API __attribute__((visibility("default")))

namespace recording {

struct Call {
    std::string name;                             // "create", "attach", "event", "detach" or "delete"
    DDS_DomainParticipant *participant = nullptr; // attach, event, detach: the participant concerned
    DDS_Long eventKind = 0;                       // event only
    DDS_EntityKind_t entityKind = DDS_UNKNOWN_ENTITY_KIND;
    bool vendorSpecific = false;

    bool operator==(const Call &) const = default;
};

struct Script {
    // create returns NULL with `createResult` when `createFails`, else the
    // monitor with `createResult`.
    bool createFails = false;
    DDS_UnsignedLong createResult = DDS_MONITOR_RESULT_OK;
    // attach returns NULL for participants carrying the monitoring mark
    // (result 2) and when `attachFails` (result 1).
    bool attachFails = false;
    // The first attach creates a marked participant of the monitor's own in
    // this domain (kept until delete); -1: none.
    DDS_DomainId_t ownParticipantDomain = -1;
    // Each event reads the QoS of its entity, counting failures.
    bool readQosInEvents = false;
};

// Clears the recorded calls and puts the script back to its defaults.
RECORDING_MONITOR_API void reset();
RECORDING_MONITOR_API Script &script();
RECORDING_MONITOR_API std::vector<Call> calls();
RECORDING_MONITOR_API DDS_MonitorVersion createdWithVersion();
RECORDING_MONITOR_API int qosReadFailures();

}  // namespace recording

// The create function, exported as the middleware looks it up.
extern "C" RECORDING_MONITOR_API DDS_Monitor *RecordingMonitor_create(DDS_UnsignedLong *result,
                                                                     DDS_DomainParticipantFactory *factory,
                                                                     DDS_MonitorVersion version);
