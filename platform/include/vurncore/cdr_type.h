/* Type descriptors: one constant record per IDL type (members, offsets,
 * kinds, bounds, keys, extensibility) read by one shared engine that
 * initializes, finalizes, copies, prints, serializes, deserializes, sizes
 * and hashes samples. Generated type support defines the descriptors and
 * exports thin per-type functions over the engine. */
#ifndef VURNCORE_CDR_TYPE_H
#define VURNCORE_CDR_TYPE_H

#include "vurncore/dll.h"
#include "vurncore/types.h"
#include "vurncore/sequence.h"

ZEL_EXTERN_C_BEGIN

struct DDS_TypeCode;

enum ZELCdrTypeKind {
    ZEL_CDR_TK_BOOLEAN = 1, /* DDS_Boolean */
    ZEL_CDR_TK_OCTET,       /* DDS_Octet */
    ZEL_CDR_TK_CHAR,        /* DDS_Char */
    ZEL_CDR_TK_SHORT,       /* DDS_Short */
    ZEL_CDR_TK_USHORT,      /* DDS_UnsignedShort */
    ZEL_CDR_TK_LONG,        /* DDS_Long */
    ZEL_CDR_TK_ULONG,       /* DDS_UnsignedLong */
    ZEL_CDR_TK_LONGLONG,    /* DDS_LongLong */
    ZEL_CDR_TK_ULONGLONG,   /* DDS_UnsignedLongLong */
    ZEL_CDR_TK_FLOAT,       /* DDS_Float */
    ZEL_CDR_TK_DOUBLE,      /* DDS_Double */
    ZEL_CDR_TK_ENUM,        /* a C enum of 32 bits */
    ZEL_CDR_TK_STRING,      /* char *, bound in `bound` */
    ZEL_CDR_TK_SEQUENCE,    /* a sequence (struct ZELSequence layout) of `element` */
    ZEL_CDR_TK_ARRAY,       /* `bound` elements of `element` in place */
    ZEL_CDR_TK_STRUCT,
    ZEL_CDR_TK_ALIAS /* same representation as `element` */
};

enum ZELCdrExtensibility {
    ZEL_CDR_EXTENSIBILITY_FINAL = 0,
    ZEL_CDR_EXTENSIBILITY_APPENDABLE = 1,
    ZEL_CDR_EXTENSIBILITY_MUTABLE = 2
};

struct ZELCdrEnumerator {
    const char *name;
    DDS_Long value;
};

struct ZELCdrTypeDesc;

/* A struct member; its member id is its declaration index. */
struct ZELCdrMember {
    const char *name;
    uint32_t offset; /* offsetof in the C struct */
    const struct ZELCdrTypeDesc *type;
    DDS_Boolean isKey;
};

/* Values the engine computes once per type and keeps (zero-initialized
 * storage that the descriptor points to; filled under a lock on first use,
 * `state` read and written atomically by the engine only). */
/* The most padding runs a plain struct may have (see ZELCdrTypeCache). */
#define ZEL_CDR_PLAIN_GAP_MAX 4

struct ZELCdrTypeCache {
    int32_t state;              /* 0 not computed, 1 computed */
    uint32_t maxSerializedSize; /* from alignment 0, no encapsulation */
    uint32_t minSerializedSize;
    uint32_t maxSerializedKeySize;  /* key stream: short headers, no encapsulation */
    ZELBoolean usesExtendedHeaders; /* maxSerializedSize >= 65536 */
    /* Non-zero when the C representation is the CDR form: a final or
     * appendable struct of primitives, plain structs and arrays of them,
     * each member where CDR alignment puts it. It is then copied as it
     * lies: `plainSize` octets (its C size without tail padding) from a
     * position aligned to `plainAlignment` (padded to it when the first
     * member needs that alignment anyway), in the host's byte order, with
     * the padding octets between members (`plainGaps`) written as zeros. */
    uint32_t plainSize;
    uint32_t plainAlignment;
    ZELBoolean plainLeadsAligned; /* its first member needs plainAlignment */
    uint32_t plainGapCount;
    struct ZELCdrPlainGap {
        uint32_t offset;
        uint32_t length;
    } plainGaps[ZEL_CDR_PLAIN_GAP_MAX];
    /* No string or sequence anywhere in it: initializing is zero-filling,
     * finalizing is nothing. */
    ZELBoolean ownsNothing;
};

/* Conventions the engine relies on:
 * - a sequence's element descriptor has `sequenceElementType` (the sequence
 *   operations make, free and copy elements with it);
 * - a non-NULL string member of bound N holds N + 1 octets whatever its
 *   length (initialize allocates it so, copy and deserialize keep it so);
 *   strings that are elements of sequences hold at least strlen + 1;
 * - a key member whose struct type has key members of its own contributes
 *   only those; otherwise all of it is key. */
struct ZELCdrTypeDesc {
    enum ZELCdrTypeKind kind;
    const char *name;   /* scoped IDL name ("DDSMonitoring::Duration_t"); NULL when anonymous */
    uint32_t size;      /* sizeof the C representation */
    uint32_t alignment; /* alignof the C representation */
    /* structs */
    enum ZELCdrExtensibility extensibility;
    uint32_t memberCount;
    const struct ZELCdrMember *members;
    /* strings and sequences: the bound (0 unbounded); arrays: the length */
    uint32_t bound;
    /* sequences and arrays: the element type; aliases: the aliased type */
    const struct ZELCdrTypeDesc *element;
    /* enumerations */
    uint32_t enumeratorCount;
    const struct ZELCdrEnumerator *enumerators;
    /* this type as the element of a sequence */
    const struct ZELSequenceElementType *sequenceElementType;
    /* named types: the type code (completed on first call) */
    struct DDS_TypeCode *(*getTypeCode)(void);
    struct ZELCdrTypeCache *cache; /* named structs; NULL otherwise */
};

/* Descriptors of the primitive types and of unbounded strings, for use as
 * member and element types. */
VURNCORE_API extern const struct ZELCdrTypeDesc ZELCdrType_g_boolean;
VURNCORE_API extern const struct ZELCdrTypeDesc ZELCdrType_g_octet;
VURNCORE_API extern const struct ZELCdrTypeDesc ZELCdrType_g_char;
VURNCORE_API extern const struct ZELCdrTypeDesc ZELCdrType_g_short;
VURNCORE_API extern const struct ZELCdrTypeDesc ZELCdrType_g_ushort;
VURNCORE_API extern const struct ZELCdrTypeDesc ZELCdrType_g_long;
VURNCORE_API extern const struct ZELCdrTypeDesc ZELCdrType_g_ulong;
VURNCORE_API extern const struct ZELCdrTypeDesc ZELCdrType_g_longlong;
VURNCORE_API extern const struct ZELCdrTypeDesc ZELCdrType_g_ulonglong;
VURNCORE_API extern const struct ZELCdrTypeDesc ZELCdrType_g_float;
VURNCORE_API extern const struct ZELCdrTypeDesc ZELCdrType_g_double;
VURNCORE_API extern const struct ZELCdrTypeDesc ZELCdrType_g_string;

/* The 16-octet key hash of an instance. */
struct DDS_KeyHash_t {
    unsigned char value[16];
    uint32_t length;
};
typedef struct DDS_KeyHash_t DDS_KeyHash_t;

struct ZELCdrStream;

/* ---- the engine: every operation works on any described type ----
 * The engine does not log; the generated per-type functions report a
 * failure in their own name. */

VURNCORE_API DDS_Boolean ZELCdrType_initializeSample(const struct ZELCdrTypeDesc *type, void *sample,
                                                     const struct DDS_TypeAllocationParams_t *params);
VURNCORE_API void ZELCdrType_finalizeSample(const struct ZELCdrTypeDesc *type, void *sample,
                                            const struct DDS_TypeDeallocationParams_t *params);
VURNCORE_API DDS_Boolean ZELCdrType_copySample(const struct ZELCdrTypeDesc *type, void *dst, const void *src);
VURNCORE_API void ZELCdrType_printSample(const struct ZELCdrTypeDesc *type, const void *sample, const char *description,
                                         unsigned int indent);

/* Serializes `sample`; with `serializeEncapsulation` writes the
 * encapsulation header first (a mutable type turns identifiers 0/1 into 2/3)
 * and makes the octet after it the origin of alignment. */
VURNCORE_API DDS_Boolean ZELCdrType_serializeSample(const struct ZELCdrTypeDesc *type, const void *sample,
                                                    struct ZELCdrStream *stream, DDS_Boolean serializeEncapsulation,
                                                    uint16_t encapsulationId, DDS_Boolean serializeSample);
/* Reads what ZELCdrType_serializeSample writes into an initialized sample.
 * A mutable type's members absent from the parameter list keep the values
 * they had; unknown and ignored parameters are skipped. */
VURNCORE_API DDS_Boolean ZELCdrType_deserializeSample(const struct ZELCdrTypeDesc *type, void *sample,
                                                      struct ZELCdrStream *stream, DDS_Boolean deserializeEncapsulation,
                                                      DDS_Boolean deserializeSample);
/* Sizes, given the current alignment; each returns the new alignment
 * (current + size). */
VURNCORE_API uint32_t ZELCdrType_getSerializedSampleMaxSize(const struct ZELCdrTypeDesc *type,
                                                            DDS_Boolean includeEncapsulation, uint16_t encapsulationId,
                                                            uint32_t currentAlignment);
VURNCORE_API uint32_t ZELCdrType_getSerializedSampleMinSize(const struct ZELCdrTypeDesc *type,
                                                            DDS_Boolean includeEncapsulation, uint16_t encapsulationId,
                                                            uint32_t currentAlignment);
VURNCORE_API uint32_t ZELCdrType_getSerializedSampleSize(const struct ZELCdrTypeDesc *type,
                                                         DDS_Boolean includeEncapsulation, uint16_t encapsulationId,
                                                         uint32_t currentAlignment, const void *sample);

/* Keys: only the key members, with the same member ids and their own
 * sentinel. */
VURNCORE_API DDS_Boolean ZELCdrType_serializeKey(const struct ZELCdrTypeDesc *type, const void *sample,
                                                 struct ZELCdrStream *stream, DDS_Boolean serializeEncapsulation,
                                                 uint16_t encapsulationId, DDS_Boolean serializeKey);
VURNCORE_API DDS_Boolean ZELCdrType_deserializeKey(const struct ZELCdrTypeDesc *type, void *sample,
                                                   struct ZELCdrStream *stream, DDS_Boolean deserializeEncapsulation,
                                                   DDS_Boolean deserializeKey);
VURNCORE_API uint32_t ZELCdrType_getSerializedKeyMaxSize(const struct ZELCdrTypeDesc *type,
                                                         DDS_Boolean includeEncapsulation, uint16_t encapsulationId,
                                                         uint32_t currentAlignment);
/* Copies the key members only (instance to key holder and back). */
VURNCORE_API DDS_Boolean ZELCdrType_copyKey(const struct ZELCdrTypeDesc *type, void *dst, const void *src);
/* The instance key hash: the key serialized big-endian without
 * encapsulation header into `md5Stream` (zero-filled first), taken as is
 * when the maximum key size is 16 or less, else its MD5 digest. */
VURNCORE_API DDS_Boolean ZELCdrType_instanceToKeyHash(const struct ZELCdrTypeDesc *type, struct ZELCdrStream *md5Stream,
                                                      DDS_KeyHash_t *keyHash, const void *sample);
/* The key hash of a serialized sample: reads its key members into
 * `keyHolder` (an initialized sample) and hashes them as above. */
VURNCORE_API DDS_Boolean ZELCdrType_serializedSampleToKeyHash(const struct ZELCdrTypeDesc *type,
                                                              struct ZELCdrStream *stream,
                                                              struct ZELCdrStream *md5Stream, void *keyHolder,
                                                              DDS_KeyHash_t *keyHash,
                                                              DDS_Boolean deserializeEncapsulation);

ZEL_EXTERN_C_END

#endif
