/* Helpers shared by the POSIX files of the OS layer. */
#ifndef VURNCORE_OS_POSIX_H
#define VURNCORE_OS_POSIX_H

#include <time.h>

#include "vurncore/types.h"

/* The monotonic clock's reading plus `timeout`, as an absolute deadline for
 * the waits of this layer (all of them wait on the monotonic clock, so a
 * change of the wall clock never shortens or stretches a wait). */
struct timespec ZELOsapiClock_monotonicDeadlineI(const struct ZELNtpTime *timeout);

#endif
