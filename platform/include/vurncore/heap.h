/* The platform heap. Every allocation of the platform and the plug-in goes
 * through it, so that tests can make any one allocation fail and can check
 * that nothing is left allocated. */
#ifndef VURNCORE_HEAP_H
#define VURNCORE_HEAP_H

#include "vurncore/dll.h"
#include "vurncore/types.h"

ZEL_EXTERN_C_BEGIN

/* Returns a zero-filled block of `size` octets, or NULL when the heap is
 * exhausted or an injected failure hits. `tag` is a static text (four
 * letters by convention, e.g. "ADDN") kept with the block for diagnosis.
 * The heap does not log: the caller reports the failure in its own words. */
VURNCORE_API void *ZELOsapiHeap_allocateStructure(size_t size, const char *tag);
VURNCORE_API void ZELOsapiHeap_freeStructure(void *structure);

/* Returns a zero-filled array of `count` elements of `elementSize` octets
 * (NULL on overflow of count * elementSize, like any other failure). A
 * count of 0 yields a valid, empty block. */
VURNCORE_API void *ZELOsapiHeap_allocateArray(size_t count, size_t elementSize, const char *tag);
VURNCORE_API void ZELOsapiHeap_freeArray(void *array);

/* Blocks and octets allocated and not yet freed, over the whole process. */
VURNCORE_API long ZELOsapiHeap_getLiveBlockCount(void);
VURNCORE_API size_t ZELOsapiHeap_getLiveByteCount(void);

/* Fault injection: the n-th allocation from now (n >= 1) fails, once; n = 0
 * disarms. With `callingThreadOnly` only allocations made by the calling
 * thread are counted and can fail; otherwise those of every thread. */
VURNCORE_API void ZELOsapiHeap_failAllocation(long n, ZELBoolean callingThreadOnly);

/* True while an armed failure has not happened yet: an operation that
 * leaves it pending made fewer than n allocations. */
VURNCORE_API ZELBoolean ZELOsapiHeap_isFailurePending(void);

ZEL_EXTERN_C_END

#endif
