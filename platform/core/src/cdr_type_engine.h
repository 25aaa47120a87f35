/* Internals of the type engine shared by its files: kind tables, walks over
 * descriptors and the per-type cache. */
#ifndef VURNCORE_CDR_TYPE_ENGINE_H
#define VURNCORE_CDR_TYPE_ENGINE_H

#include <atomic>
#include <cstdint>

#include "vurncore/cdr_stream.h"
#include "vurncore/cdr_type.h"

namespace zel::cdr {

/* Octets of a short parameter header, of an extended one, of the sentinel. */
inline constexpr uint32_t kShortHeaderSize = 4;
inline constexpr uint32_t kExtendedHeaderSize = 12;
inline constexpr uint32_t kSentinelSize = 4;
/* What sizes report for an unbounded string or sequence: far beyond any
 * buffer, so that a caller sizing a buffer from it fails rather than
 * truncates. Sizes are summed in 64 bits and clamped to 32 bits at the end. */
inline constexpr uint64_t kUnboundedSize = 0x7fffffffu;

/* Which members a walk visits. */
enum class KeyMode {
    all,        /* every member */
    keys,       /* a key stream: only key members are present */
    sampleKeys, /* a full sample is read, only key members are kept */
};

/* The header form of parameter lists, decided once per sample on its first
 * mutable level and followed by the nested ones. */
struct HeaderChoice {
    bool decided;
    bool extended;
};

inline HeaderChoice undecidedHeaders() { return HeaderChoice{false, false}; }
/* Key streams always use short headers. */
inline HeaderChoice shortHeaders() { return HeaderChoice{true, false}; }

/* The type an alias stands for (aliases of aliases followed). */
inline const ZELCdrTypeDesc *ZELCdrType_resolveI(const ZELCdrTypeDesc *type) {
    while (type->kind == ZEL_CDR_TK_ALIAS) {
        type = type->element;
    }
    return type;
}

/* Primitive kinds are written in place with a short header in lists. */
inline bool ZELCdrType_isPrimitiveKindI(ZELCdrTypeKind kind) {
    return kind >= ZEL_CDR_TK_BOOLEAN && kind <= ZEL_CDR_TK_ENUM;
}

/* Octets of a primitive kind on the wire (also its alignment and the size
 * of its C representation); 0 for the other kinds. */
inline uint32_t ZELCdrType_primitiveSizeI(ZELCdrTypeKind kind) {
    constexpr uint8_t kSizes[] = {0, 1, 1, 1, 2, 2, 4, 4, 8, 8, 4, 8, 4, 0, 0, 0, 0, 0};
    static_assert(sizeof kSizes == ZEL_CDR_TK_ALIAS + 1 && ZEL_CDR_TK_ENUM == 12 && ZEL_CDR_TK_DOUBLE == 11);
    const auto index = static_cast<uint32_t>(kind);
    return index < sizeof kSizes ? kSizes[index] : 0;
}

/* The `maximumLength` the stream takes for strings and sequences. */
inline uint32_t ZELCdrType_stringMaximumLengthI(const ZELCdrTypeDesc *string) {
    return string->bound == 0 ? UINT32_MAX : string->bound + 1;
}
inline uint32_t ZELCdrType_sequenceMaximumLengthI(const ZELCdrTypeDesc *sequence) {
    return sequence->bound == 0 ? UINT32_MAX : sequence->bound;
}

inline bool ZELCdrType_isMutableI(const ZELCdrTypeDesc *type) {
    type = ZELCdrType_resolveI(type);
    return type->kind == ZEL_CDR_TK_STRUCT && type->extensibility == ZEL_CDR_EXTENSIBILITY_MUTABLE;
}

/* Whether a struct has key members: under a key mode it then contributes
 * only those, otherwise all of its members. */
bool ZELCdrType_hasKeyMembersI(const ZELCdrTypeDesc *structType);

/* The encapsulation identifier written for `type`: a mutable type turns
 * 0/1 into 2/3 and keeps 2/3, others keep 0/1. False for any other. */
bool ZELCdrType_encapsulationIdForI(const ZELCdrTypeDesc *type, uint16_t requested, uint16_t *written);

/* ---- the per-type cache (sizes files) ---- */

/* Computes the cache of a struct that has one, once. */
const ZELCdrTypeCache *ZELCdrType_fillCacheI(const ZELCdrTypeDesc *structType);
/* The cache of a struct type (through aliases), computed on first use;
 * NULL for types without one. Inline: every struct of every sample asks. */
inline const ZELCdrTypeCache *ZELCdrType_getCacheI(const ZELCdrTypeDesc *type) {
    type = ZELCdrType_resolveI(type);
    if (type->kind != ZEL_CDR_TK_STRUCT || type->cache == nullptr) {
        return nullptr;
    }
    if (std::atomic_ref<int32_t>(type->cache->state).load(std::memory_order_acquire) == 1) {
        return type->cache;
    }
    return ZELCdrType_fillCacheI(type);
}
/* The cache of a struct whose memory is its CDR form (see ZELCdrTypeCache):
 * numbers only, nothing to allocate or free; NULL for any other type. */
inline const ZELCdrTypeCache *ZELCdrType_plainCacheI(const ZELCdrTypeDesc *structType) {
    const ZELCdrTypeCache *cache = ZELCdrType_getCacheI(structType);
    return cache != nullptr && cache->plainSize != 0 ? cache : nullptr;
}
/* Whether a mutable type, as the first mutable level of a sample, writes
 * extended headers. */
bool ZELCdrType_usesExtendedHeadersI(const ZELCdrTypeDesc *mutableType);

/* Sizes from `alignment` (relative to the origin); each returns the new
 * alignment. */
uint64_t ZELCdrType_maxSizeI(const ZELCdrTypeDesc *type, uint64_t alignment, HeaderChoice &headers, KeyMode mode);
uint64_t ZELCdrType_minSizeI(const ZELCdrTypeDesc *type, uint64_t alignment, HeaderChoice &headers);
uint64_t ZELCdrType_sampleSizeI(const ZELCdrTypeDesc *type, uint64_t alignment, HeaderChoice &headers,
                                const void *value);

inline uint32_t ZELCdrType_clampSizeI(uint64_t size) {
    return size > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(size);
}

/* ---- walks of the serialize file, used by the key file ---- */

bool ZELCdrType_serializeValueI(const ZELCdrTypeDesc *type, const void *value, ZELCdrStream *stream,
                                HeaderChoice &headers, KeyMode mode);
bool ZELCdrType_deserializeValueI(const ZELCdrTypeDesc *type, void *value, ZELCdrStream *stream, KeyMode mode);

/* Writes the encapsulation header for `type` when asked and makes the octet
 * after it the origin; `savedBase` receives the previous origin (NULL when
 * nothing was written). */
bool ZELCdrType_beginEncapsulationI(const ZELCdrTypeDesc *type, ZELCdrStream *stream, bool serializeEncapsulation,
                                    uint16_t encapsulationId, char **savedBase);
bool ZELCdrType_beginDecapsulationI(ZELCdrStream *stream, bool deserializeEncapsulation, char **savedBase);
inline void ZELCdrType_endEncapsulationI(ZELCdrStream *stream, char *savedBase) {
    if (savedBase != nullptr) {
        ZELCdrStream_restoreAlignBase(stream, savedBase);
    }
}

/* A whole sample or key: arguments checked, encapsulation header written
 * or read when asked, the members (all or keys) walked, the origin restored. */
DDS_Boolean ZELCdrType_serializeTopI(const ZELCdrTypeDesc *type, const void *sample, ZELCdrStream *stream,
                                     DDS_Boolean serializeEncapsulation, uint16_t encapsulationId,
                                     DDS_Boolean serializeValue, HeaderChoice headers, KeyMode mode);
DDS_Boolean ZELCdrType_deserializeTopI(const ZELCdrTypeDesc *type, void *sample, ZELCdrStream *stream,
                                       DDS_Boolean deserializeEncapsulation, DDS_Boolean deserializeValue,
                                       KeyMode mode);

/* ---- printing (print files) ---- */

/* One line "description: text" (or "text" alone for a NULL description). */
void ZELCdrType_printLineI(const char *text, const char *description, unsigned int indent);
/* The line "description:" that opens a struct or an array (nothing for a
 * NULL description). */
void ZELCdrType_printHeaderI(const char *description, unsigned int indent);
/* The description of element i of an array: "[i]". */
struct ElementName {
    explicit ElementName(unsigned int i);
    char text[16];
};

/* Copies a value (copy file), used by the key file for key members. */
bool ZELCdrType_copyValueI(const ZELCdrTypeDesc *type, void *dst, const void *src, KeyMode mode);

}  // namespace zel::cdr

#endif
