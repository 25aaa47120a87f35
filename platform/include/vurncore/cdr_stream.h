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
    char *buffer;                  /* start of the buffer */
    char *alignBase;               /* origin of alignment */
    char *currentPosition;
    uint32_t bufferLength;
    enum ZELCdrByteOrder byteOrder;
    uint16_t encapsulationKind;
    uint16_t encapsulationOptions;
    ZELBoolean skipSentinel;       /* the next parameter list omits its sentinel */
    ZELBoolean dirty;              /* contents changed since last reset */
};

/* A parameter header as read or to be patched. */
struct ZELCdrParameterHeader {
    uint32_t id;                   /* member id (flags removed) */
    uint32_t length;               /* announced length of the parameter */
    ZELBoolean mustUnderstand;
    ZELBoolean extended;           /* written with the extended form */
    char *lengthPosition;          /* where the length is (for patching) */
    char *valueStart;              /* first octet of the value */
};

/* ---- set-up ---- */

VURNCORE_API void ZELCdrStream_init(struct ZELCdrStream *self, char *buffer, uint32_t length,
                                    enum ZELCdrByteOrder byteOrder);
/* Position and origin back to the start of the buffer. */
VURNCORE_API void ZELCdrStream_resetPosition(struct ZELCdrStream *self);
VURNCORE_API uint32_t ZELCdrStream_getCurrentPositionOffset(const struct ZELCdrStream *self);
VURNCORE_API uint32_t ZELCdrStream_getRemainder(const struct ZELCdrStream *self);
VURNCORE_API ZELBoolean ZELCdrStream_setCurrentPositionOffset(struct ZELCdrStream *self, uint32_t offset);
/* Makes the current position the origin of alignment; returns the previous
 * origin so the caller can restore it with ZELCdrStream_restoreAlignBase. */
VURNCORE_API char *ZELCdrStream_resetAlignment(struct ZELCdrStream *self);
VURNCORE_API void ZELCdrStream_restoreAlignBase(struct ZELCdrStream *self, char *alignBase);

/* Pads with zero octets (write) or skips (read) to a multiple of `alignment`
 * relative to the origin. */
VURNCORE_API ZELBoolean ZELCdrStream_align(struct ZELCdrStream *self, uint32_t alignment);

/* Encapsulation header: identifier (2 octets, most significant first) and the
 * stream's two option octets; the byte order follows the identifier (even
 * big-endian, odd little-endian). */
VURNCORE_API ZELBoolean ZELCdrStream_serializeEncapsulation(struct ZELCdrStream *self, uint16_t encapsulationId);
VURNCORE_API ZELBoolean ZELCdrStream_deserializeEncapsulation(struct ZELCdrStream *self, uint16_t *encapsulationId);

/* ---- primitives (aligned to their size, in the stream's byte order) ---- */

VURNCORE_API ZELBoolean ZELCdrStream_serializePrimitive(struct ZELCdrStream *self, const void *value, uint32_t size);
VURNCORE_API ZELBoolean ZELCdrStream_deserializePrimitive(struct ZELCdrStream *self, void *value, uint32_t size);
VURNCORE_API ZELBoolean ZELCdrStream_skipPrimitive(struct ZELCdrStream *self, uint32_t size);
/* `count` elements of `elementSize` octets each (1, 2, 4 or 8), aligned once. */
VURNCORE_API ZELBoolean ZELCdrStream_serializePrimitiveArray(struct ZELCdrStream *self, const void *array,
                                                             uint32_t count, uint32_t elementSize);
VURNCORE_API ZELBoolean ZELCdrStream_deserializePrimitiveArray(struct ZELCdrStream *self, void *array,
                                                               uint32_t count, uint32_t elementSize);
VURNCORE_API ZELBoolean ZELCdrStream_skipPrimitiveArray(struct ZELCdrStream *self, uint32_t count,
                                                        uint32_t elementSize);

/* ---- strings: 32-bit length including the NUL, the characters, the NUL.
 * `maximumLength` counts the NUL (bound + 1); longer strings fail. ---- */

VURNCORE_API ZELBoolean ZELCdrStream_serializeString(struct ZELCdrStream *self, const char *string,
                                                     uint32_t maximumLength);
/* Into a buffer of at least `maximumLength` octets. */
VURNCORE_API ZELBoolean ZELCdrStream_deserializeString(struct ZELCdrStream *self, char *string,
                                                       uint32_t maximumLength);
VURNCORE_API ZELBoolean ZELCdrStream_skipString(struct ZELCdrStream *self, uint32_t maximumLength);

/* ---- sequence lengths (a sequence is its 32-bit count then elements) ---- */

VURNCORE_API ZELBoolean ZELCdrStream_serializeSequenceLength(struct ZELCdrStream *self, uint32_t length,
                                                             uint32_t maximumLength);
VURNCORE_API ZELBoolean ZELCdrStream_deserializeSequenceLength(struct ZELCdrStream *self, uint32_t *length,
                                                               uint32_t maximumLength);

/* ---- parameter lists ---- */

/* Writes a header for member `id` at the next 4-octet boundary: the short
 * form, or with `extended` the extended form (0x3f01|must-understand,
 * length 8, 32-bit id, 32-bit length). The length is patched afterwards by
 * ZELCdrStream_serializeParameterLength. */
VURNCORE_API ZELBoolean ZELCdrStream_serializeParameterHeader(struct ZELCdrStream *self,
                                                              struct ZELCdrParameterHeader *header, uint32_t id,
                                                              ZELBoolean mustUnderstand, ZELBoolean extended);
/* Pads with zeros to the next 4-octet boundary and patches the header's
 * length with the value's octets plus that padding. Fails when the length
 * does not fit a short header. */
VURNCORE_API ZELBoolean ZELCdrStream_serializeParameterLength(struct ZELCdrStream *self,
                                                              struct ZELCdrParameterHeader *header);
/* The sentinel: id 0x3f02 with must-understand, length 0. */
VURNCORE_API ZELBoolean ZELCdrStream_serializeSentinel(struct ZELCdrStream *self);
/* Reads a header (either form) at the next 4-octet boundary. */
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
