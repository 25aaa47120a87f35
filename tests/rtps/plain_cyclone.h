// A plain Cyclone application, in a file of its own: Cyclone's C API and
// vurnc's use the same names.
#pragma once

#include <chrono>
#include <cstdint>

namespace rtpstest {

// Whether a Cyclone participant of its own in `domain` discovers, within
// `limit`, a participant whose GUID is `guid` (network order).
bool plainCycloneDiscoversParticipant(int32_t domain, const uint8_t guid[16], std::chrono::milliseconds limit);

}  // namespace rtpstest
