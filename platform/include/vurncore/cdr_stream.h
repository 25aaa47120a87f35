/* The CDR stream: a buffer with a position, a byte order and an alignment
 * origin, and the operations that write and read CDR and parameter lists
 * (XCDR version 1). Every operation checks the space left and fails (returns
 * ZEL_FALSE) rather than overrun; on failure the position is where the
 * operation stopped and the caller discards the stream. */
#ifndef VURNCORE_CDR_STREAM_H
#define VURNCORE_CDR_STREAM_H

#include "vurncore/dll.h"
#include "vurncore/types.h"

ZEL_EXTERN_C_BEGIN

/* Encapsulation identifiers. */
#define ZEL_CDR_ENCAPSULATION_ID_CDR_BE 0
#define ZEL_CDR_ENCAPSULATION_ID_CDR_LE 1
#define ZEL_CDR_ENCAPSULATION_ID_PL_CDR_BE 2
#define ZEL_CDR_ENCAPSULATION_ID_PL_CDR_LE 3
#define ZEL_CDR_ENCAPSULATION_HEADER_SIZE 4

/* Parameter ids (flag bits masked off before comparing). */
#define ZEL_CDR_PID_MASK 0x3fff
#define ZEL_CDR_PID_MUST_UNDERSTAND 0x4000
#define ZEL_CDR_PID_IMPLEMENTATION_SPECIFIC 0x8000
#define ZEL_CDR_PID_EXTENDED 0x3f01
#define ZEL_CDR_PID_LIST_END 0x3f02
#define ZEL_CDR_PID_IGNORE 0x3f03
/* Maximum serialized size from which a type uses extended headers. */
#define ZEL_CDR_EXTENDED_HEADER_THRESHOLD 65536u

enum ZELCdrByteOrder { ZEL_CDR_BIG_ENDIAN = 0, ZEL_CDR_LITTLE_ENDIAN = 1 };

struct ZELCdrStream {
    char *buffer;    /* start of the buffer */
    char *alignBase; /* origin of alignment */
    char *currentPosition;
    uint32_t bufferLength;
    enum ZELCdrByteOrder byteOrder;
    uint16_t encapsulationKind;
    uint16_t encapsulationOptions;
    ZELBoolean skipSentinel; /* the next parameter list omits its sentinel */
    ZELBoolean dirty;        /* set by ZELCdrStream_clear: the buffer is being refilled */
};

/* A parameter header as read or to be patched. */
struct ZELCdrParameterHeader {
    uint32_t id;     /* member id (flags removed) */
    uint32_t length; /* announced length of the parameter */
    ZELBoolean mustUnderstand;
    ZELBoolean extended;  /* written with the extended form */
    char *lengthPosition; /* where the length is (for patching) */
    char *valueStart;     /* first octet of the value */
};

/* ---- set-up ---- */

/* Encapsulation kind and options start at 0 (CDR big-endian, no options),
 * whatever `byteOrder` says; both flags false. */
VURNCORE_API void ZELCdrStream_init(struct ZELCdrStream *self, char *buffer, uint32_t length,
                                    enum ZELCdrByteOrder byteOrder);
/* Zero-fills the whole buffer, puts position and origin back to the start and
 * sets `dirty` (a scratch stream about to be refilled, e.g. for a key hash). */
VURNCORE_API void ZELCdrStream_clear(struct ZELCdrStream *self);
/* Position and origin back to the start of the buffer. */
VURNCORE_API void ZELCdrStream_resetPosition(struct ZELCdrStream *self);
VURNCORE_API uint32_t ZELCdrStream_getCurrentPositionOffset(const struct ZELCdrStream *self);
VURNCORE_API uint32_t ZELCdrStream_getRemainder(const struct ZELCdrStream *self);
VURNCORE_API ZELBoolean ZELCdrStream_setCurrentPositionOffset(struct ZELCdrStream *self, uint32_t offset);
/* Makes the current position the origin of alignment; returns the previous
 * origin so the caller can restore it with ZELCdrStream_restoreAlignBase. */
VURNCORE_API char *ZELCdrStream_resetAlignment(struct ZELCdrStream *self);
VURNCORE_API void ZELCdrStream_restoreAlignBase(struct ZELCdrStream *self, char *alignBase);

/* Moves the position to a multiple of `alignment` (a power of two up to 8)
 * relative to the origin, leaving the skipped octets as they are: the form
 * for reading and skipping. */
VURNCORE_API ZELBoolean ZELCdrStream_align(struct ZELCdrStream *self, uint32_t alignment);
/* The same for writing: the skipped octets are set to zero, so that no stale
 * octet of a reused buffer goes out. Every serialize operation pads this way. */
VURNCORE_API ZELBoolean ZELCdrStream_pad(struct ZELCdrStream *self, uint32_t alignment);

/* Encapsulation header: identifier (2 octets, most significant first) and the
 * stream's two option octets; the byte order follows the identifier (even
 * big-endian, odd little-endian). Only identifiers 0 to 3 are known; others
 * fail. Neither moves the origin: the caller makes the octet after the header
 * the origin of the sample (ZELCdrStream_resetAlignment). */
VURNCORE_API ZELBoolean ZELCdrStream_serializeEncapsulation(struct ZELCdrStream *self, uint16_t encapsulationId);
VURNCORE_API ZELBoolean ZELCdrStream_deserializeEncapsulation(struct ZELCdrStream *self, uint16_t *encapsulationId);

/* ---- primitives (aligned to their size, in the stream's byte order) ----
 * `size` is 1, 2, 4 or 8; any other size fails. */

VURNCORE_API ZELBoolean ZELCdrStream_serializePrimitive(struct ZELCdrStream *self, const void *value, uint32_t size);
VURNCORE_API ZELBoolean ZELCdrStream_deserializePrimitive(struct ZELCdrStream *self, void *value, uint32_t size);
VURNCORE_API ZELBoolean ZELCdrStream_skipPrimitive(struct ZELCdrStream *self, uint32_t size);
/* `count` elements of `elementSize` octets each (1, 2, 4 or 8), aligned once
 * before the first element: an empty array moves nothing, pads nothing. */
VURNCORE_API ZELBoolean ZELCdrStream_serializePrimitiveArray(struct ZELCdrStream *self, const void *array,
                                                             uint32_t count, uint32_t elementSize);
VURNCORE_API ZELBoolean ZELCdrStream_deserializePrimitiveArray(struct ZELCdrStream *self, void *array, uint32_t count,
                                                               uint32_t elementSize);
VURNCORE_API ZELBoolean ZELCdrStream_skipPrimitiveArray(struct ZELCdrStream *self, uint32_t count,
                                                        uint32_t elementSize);
/* `size` octets whose memory layout is already their CDR form, copied in
 * one move. Only where that gives the same octets as a member-by-member
 * walk: the stream in the host's byte order, its position a multiple of
 * `alignment` from the origin (with `pad`, the value's first member needs
 * that alignment anyway and the stream pads to it first) and room for it.
 * Otherwise FALSE with nothing moved, and the caller walks the members. */
VURNCORE_API ZELBoolean ZELCdrStream_serializeInPlace(struct ZELCdrStream *self, const void *value, uint32_t size,
                                                      uint32_t alignment, ZELBoolean pad);
VURNCORE_API ZELBoolean ZELCdrStream_deserializeInPlace(struct ZELCdrStream *self, void *value, uint32_t size,
                                                        uint32_t alignment, ZELBoolean pad);

/* ---- strings: 32-bit length including the NUL, the characters, the NUL.
 * `maximumLength` counts the NUL (bound + 1; UINT32_MAX when unbounded);
 * longer strings fail, and so does a NULL string. A reader also refuses a
 * length of 0 and a string whose last octet is not NUL. ---- */

VURNCORE_API ZELBoolean ZELCdrStream_serializeString(struct ZELCdrStream *self, const char *string,
                                                     uint32_t maximumLength);
/* Into a buffer of at least `maximumLength` octets (or at least the incoming
 * length, when the caller knows it). */
VURNCORE_API ZELBoolean ZELCdrStream_deserializeString(struct ZELCdrStream *self, char *string, uint32_t maximumLength);
VURNCORE_API ZELBoolean ZELCdrStream_skipString(struct ZELCdrStream *self, uint32_t maximumLength);

/* ---- sequences: the 32-bit count then the elements. `maximumLength` is the
 * bound (UINT32_MAX when unbounded); a count above it fails. ---- */

VURNCORE_API ZELBoolean ZELCdrStream_serializeSequenceLength(struct ZELCdrStream *self, uint32_t length,
                                                             uint32_t maximumLength);
VURNCORE_API ZELBoolean ZELCdrStream_deserializeSequenceLength(struct ZELCdrStream *self, uint32_t *length,
                                                               uint32_t maximumLength);

/* The caller's storage for a sequence being read: gives room for `length`
 * contiguous elements (setting the sequence's length) and stores the first
 * through `elements` (which may stay NULL when `length` is 0); returns false
 * when it cannot, and the deserialization fails. `sequence` is passed through
 * as given. */
typedef ZELBoolean (*ZELCdrStreamReserveFunction)(void *sequence, uint32_t length, void **elements);
/* Element operations of non-primitive sequences; `param` is passed through. */
typedef ZELBoolean (*ZELCdrStreamSerializeFunction)(struct ZELCdrStream *stream, const void *element, void *param);
typedef ZELBoolean (*ZELCdrStreamDeserializeFunction)(struct ZELCdrStream *stream, void *element, void *param);
typedef ZELBoolean (*ZELCdrStreamSkipFunction)(struct ZELCdrStream *stream, void *param);

/* Elements of `elementSize` octets (1, 2, 4 or 8) in the stream's byte order,
 * aligned once after the count (not at all when the count is 0). A reader
 * checks that the announced elements fit in the remainder before it asks for
 * storage. */
VURNCORE_API ZELBoolean ZELCdrStream_serializePrimitiveSequence(struct ZELCdrStream *self, const void *elements,
                                                                uint32_t length, uint32_t maximumLength,
                                                                uint32_t elementSize);
VURNCORE_API ZELBoolean ZELCdrStream_deserializePrimitiveSequence(struct ZELCdrStream *self, void *sequence,
                                                                  ZELCdrStreamReserveFunction reserve,
                                                                  uint32_t maximumLength, uint32_t elementSize);
VURNCORE_API ZELBoolean ZELCdrStream_skipPrimitiveSequence(struct ZELCdrStream *self, uint32_t maximumLength,
                                                           uint32_t elementSize);

/* Elements are strings (char *), each bounded by `maximumStringLength` (bound
 * + 1, as for single strings). A reader keeps an element's current string
 * when the incoming one fits in it (its strlen + 1 octets) and otherwise
 * replaces it with a new DDS_String_alloc string (freeing the old one with
 * DDS_String_free); out of heap fails. */
VURNCORE_API ZELBoolean ZELCdrStream_serializeStringSequence(struct ZELCdrStream *self, char *const *elements,
                                                             uint32_t length, uint32_t maximumLength,
                                                             uint32_t maximumStringLength);
VURNCORE_API ZELBoolean ZELCdrStream_deserializeStringSequence(struct ZELCdrStream *self, void *sequence,
                                                               ZELCdrStreamReserveFunction reserve,
                                                               uint32_t maximumLength, uint32_t maximumStringLength);
VURNCORE_API ZELBoolean ZELCdrStream_skipStringSequence(struct ZELCdrStream *self, uint32_t maximumLength,
                                                        uint32_t maximumStringLength);

/* Elements of `elementSize` octets apart, each written, read or skipped by
 * the callback with `param`; the stream does no alignment of its own besides
 * the count's. */
VURNCORE_API ZELBoolean ZELCdrStream_serializeNonPrimitiveSequence(struct ZELCdrStream *self, const void *elements,
                                                                   uint32_t length, uint32_t maximumLength,
                                                                   uint32_t elementSize,
                                                                   ZELCdrStreamSerializeFunction serializeElement,
                                                                   void *param);
VURNCORE_API ZELBoolean ZELCdrStream_deserializeNonPrimitiveSequence(struct ZELCdrStream *self, void *sequence,
                                                                     ZELCdrStreamReserveFunction reserve,
                                                                     uint32_t maximumLength, uint32_t elementSize,
                                                                     ZELCdrStreamDeserializeFunction deserializeElement,
                                                                     void *param);
VURNCORE_API ZELBoolean ZELCdrStream_skipNonPrimitiveSequence(struct ZELCdrStream *self, uint32_t maximumLength,
                                                              ZELCdrStreamSkipFunction skipElement, void *param);

/* ---- parameter lists ---- */

/* Writes a header for member `id` at the next 4-octet boundary: the short
 * form (16-bit id with the must-understand flag 0x4000 when asked, 16-bit
 * length), or with `extended` the extended form (0x3f01|must-understand,
 * length 8, 32-bit id with the must-understand flag 0x40000000 when asked,
 * 32-bit length). The length is patched afterwards by
 * ZELCdrStream_serializeParameterLength. Fails for an id that does not fit
 * the form (short: above 0x3f00; extended: above 0x0fffffff). */
VURNCORE_API ZELBoolean ZELCdrStream_serializeParameterHeader(struct ZELCdrStream *self,
                                                              struct ZELCdrParameterHeader *header, uint32_t id,
                                                              ZELBoolean mustUnderstand, ZELBoolean extended);
/* A whole parameter whose value is one primitive of `size` octets: short
 * header, value and length, as the three calls above would write them. */
VURNCORE_API ZELBoolean ZELCdrStream_serializePrimitiveParameter(struct ZELCdrStream *self, uint32_t id,
                                                                 const void *value, uint32_t size);
/* Pads with zeros to the next 4-octet boundary and patches the header's
 * length with the value's octets plus that padding. Fails when the length
 * does not fit a short header. */
VURNCORE_API ZELBoolean ZELCdrStream_serializeParameterLength(struct ZELCdrStream *self,
                                                              struct ZELCdrParameterHeader *header);
/* The sentinel: id 0x3f02 with must-understand, length 0. */
VURNCORE_API ZELBoolean ZELCdrStream_serializeSentinel(struct ZELCdrStream *self);
/* Reads a header (either form) at the next 4-octet boundary, returning the
 * id with its flag bits masked off (short: 0x3fff; extended: 0x0fffffff) and
 * must-understand apart. Fails when the announced length runs past the end
 * of the buffer. Ending the list at 0x3f02 and skipping 0x3f03 is the
 * caller's loop. */
VURNCORE_API ZELBoolean ZELCdrStream_deserializeParameterHeader(struct ZELCdrStream *self,
                                                                struct ZELCdrParameterHeader *header);
/* Moves to the octet after the parameter's announced length. */
VURNCORE_API ZELBoolean ZELCdrStream_moveToNextParameterHeader(struct ZELCdrStream *self,
                                                               const struct ZELCdrParameterHeader *header);

/* ---- MD5 ---- */

/* MD5 digest of `length` octets. */
VURNCORE_API void ZELCdrStream_computeMD5OfBuffer(const void *data, uint32_t length, unsigned char digest[16]);
/* MD5 digest of the stream's octets from its buffer start to the current position. */
VURNCORE_API void ZELCdrStream_computeMD5(const struct ZELCdrStream *self, unsigned char digest[16]);

ZEL_EXTERN_C_END

#endif
