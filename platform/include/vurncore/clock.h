/* The high-resolution clock: monotonic time as seconds and binary fraction. */
#ifndef VURNCORE_CLOCK_H
#define VURNCORE_CLOCK_H

#include "vurncore/dll.h"
#include "vurncore/types.h"

ZEL_EXTERN_C_BEGIN

/* A clock is read through its getTime operation; tests may replace the
 * operation to simulate a failing or a controlled clock. */
struct ZELHighResolutionClock {
    ZELBoolean (*getTime)(struct ZELHighResolutionClock *self, struct ZELNtpTime *now);
    void *userData;
};

VURNCORE_API struct ZELHighResolutionClock *ZELHighResolutionClock_new(void);
VURNCORE_API void ZELHighResolutionClock_delete(struct ZELHighResolutionClock *clock);

/* <0, 0, >0 as `left` is before, equal to or after `right`. */
VURNCORE_API int ZELNtpTime_compare(const struct ZELNtpTime *left, const struct ZELNtpTime *right);
VURNCORE_API ZELBoolean ZELNtpTime_isInfinite(const struct ZELNtpTime *time);
/* Nanoseconds to time and back, saturating at infinite (UINT64_MAX). The
 * fraction is rounded down and nanoseconds up, so nanoseconds come back
 * unchanged from a round trip; a negative time gives 0 nanoseconds. */
VURNCORE_API void ZELNtpTime_fromNanoseconds(struct ZELNtpTime *time, uint64_t nanoseconds);
VURNCORE_API uint64_t ZELNtpTime_toNanoseconds(const struct ZELNtpTime *time);

ZEL_EXTERN_C_END

#endif
