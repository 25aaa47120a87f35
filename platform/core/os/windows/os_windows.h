/* Helpers shared by the Windows files of the OS layer. */
#ifndef VURNCORE_OS_WINDOWS_H
#define VURNCORE_OS_WINDOWS_H

#include <cstdint>

#include "vurncore/types.h"

/* Milliseconds left until `deadline` (monotonic nanoseconds), rounded up so
 * that a wait never ends early; 0 once it has passed. */
uint32_t ZELOsapiClock_millisecondsUntilI(uint64_t deadline);

/* The monotonic clock's reading plus `timeout`, saturating. */
uint64_t ZELOsapiClock_monotonicDeadlineI(const struct ZELNtpTime *timeout);

#endif
