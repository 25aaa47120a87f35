// A monitoring plug-in for the hook's tests: it records every call the
// middleware makes and does what the test scripts.
#pragma once

#include <string>
#include <vector>

#include "vurnc/dds_c.h"

#define RECORDING_MONITOR_API __attribute__((visibility("default")))

namespace recording {

struct Call {
    std::string name;                              // "create", "attach", "event", "detach" or "delete"
    DDS_DomainParticipant *participant = nullptr;  // the participant concerned
    DDS_Long eventKind = 0;
    DDS_EntityKind_t entityKind = DDS_UNKNOWN_ENTITY_KIND;
    bool vendorSpecific = false;
    bool operator==(const Call &) const = default;
};

struct Script {
    bool createFails = false;  // create returns NULL with createResult
    DDS_UnsignedLong createResult = DDS_MONITOR_RESULT_OK;
    bool attachFails = false;                  // attach returns NULL with result 1
    DDS_DomainId_t ownParticipantDomain = -1;  // the first attach creates a marked participant there
};

// Clears the calls and puts the script back to its defaults.
RECORDING_MONITOR_API void reset();
RECORDING_MONITOR_API Script &script();
RECORDING_MONITOR_API std::vector<Call> calls();
RECORDING_MONITOR_API DDS_MonitorVersion createdWithVersion();
// Events whose participant QoS, read from inside the event, could not be had.
RECORDING_MONITOR_API int qosReadFailures();

}  // namespace recording

extern "C" RECORDING_MONITOR_API DDS_Monitor *RecordingMonitor_create(DDS_UnsignedLong *result,
                                                                      DDS_DomainParticipantFactory *factory,
                                                                      DDS_MonitorVersion version);
