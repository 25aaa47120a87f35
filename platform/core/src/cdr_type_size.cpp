// Serialized sizes of described types and samples, and the per-type cache
// of the sizes that never change.
#include <atomic>
#include <cstring>
#include <mutex>

#include "cdr_type_engine.h"
#include "vurncore/lock_order.h"
#include "vurncore/sequence.h"

namespace zel::cdr {
namespace {

// Sizes beyond this are reported as is and no longer grow (no overflow of
// the 64-bit sums, whatever the bounds).
constexpr uint64_t kSaturated = uint64_t{1} << 40;

// Guards the filling of every ZELCdrTypeCache.
ZELOrderedMutex<ZEL_LOCK_LEVEL_TYPE_CACHE> g_cacheMutex{"type size cache"};

uint64_t alignUpI(uint64_t alignment, uint32_t boundary) {
    return (alignment + boundary - 1) & ~uint64_t{boundary - 1};
}

uint64_t primitiveSizeFromI(ZELCdrTypeKind kind, uint64_t alignment) {
    const uint32_t size = ZELCdrType_primitiveSizeI(kind);
    return alignUpI(alignment, size) + size;
}

// `count` elements whose size from an alignment is `sizeFrom(alignment)`.
// The size of an element depends only on where it starts modulo 8, so once
// the start comes back to the first element's, whole cycles repeat.
template <typename SizeFrom>
uint64_t repeatedSizeI(uint64_t alignment, uint64_t count, SizeFrom sizeFrom) {
    const uint64_t start = alignment;
    uint64_t done = 0;
    while (done < count) {
        alignment = sizeFrom(alignment);
        ++done;
        if (alignment >= kSaturated) {
            return kSaturated;
        }
        if (alignment % 8 == start % 8) {
            break;
        }
    }
    if (done == count) {
        return alignment;
    }
    const uint64_t cycle = alignment - start;
    const uint64_t cycles = (count - done) / done;
    if (cycle != 0 && cycles > kSaturated / cycle) {
        return kSaturated;
    }
    alignment += cycles * cycle;
    for (uint64_t i = (count - done) % done; i > 0; --i) {
        alignment = sizeFrom(alignment);
    }
    return alignment < kSaturated ? alignment : kSaturated;
}

uint64_t maxElementsI(const ZELCdrTypeDesc *element, uint64_t count, uint64_t alignment, HeaderChoice &headers) {
    if (count == 0) {
        return alignment;
    }
    const ZELCdrTypeKind kind = ZELCdrType_resolveI(element)->kind;
    if (ZELCdrType_isPrimitiveKindI(kind)) {
        const uint32_t size = ZELCdrType_primitiveSizeI(kind);
        return alignUpI(alignment, size) + count * size;
    }
    return repeatedSizeI(alignment, count,
                         [&](uint64_t from) { return ZELCdrType_maxSizeI(element, from, headers, KeyMode::all); });
}

uint64_t minElementsI(const ZELCdrTypeDesc *element, uint64_t count, uint64_t alignment, HeaderChoice &headers) {
    if (count == 0) {
        return alignment;
    }
    return repeatedSizeI(alignment, count, [&](uint64_t from) { return ZELCdrType_minSizeI(element, from, headers); });
}

// Decides the header form on the first mutable level of a walk.
void decideHeadersI(const ZELCdrTypeDesc *mutableType, HeaderChoice &headers) {
    if (!headers.decided) {
        headers.extended = ZELCdrType_usesExtendedHeadersI(mutableType);
        headers.decided = true;
    }
}

// Before a member of a list: its header.
uint64_t parameterHeaderEndI(const ZELCdrTypeDesc *member, uint64_t alignment, const HeaderChoice &headers) {
    const bool extended = headers.extended && !ZELCdrType_isPrimitiveKindI(ZELCdrType_resolveI(member)->kind);
    return alignUpI(alignment, 4) + (extended ? kExtendedHeaderSize : kShortHeaderSize);
}

// A whole struct, its members sized by `memberSize(member, alignment, mode)`.
template <typename MemberSize>
uint64_t structSizeI(const ZELCdrTypeDesc *type, uint64_t alignment, HeaderChoice &headers, KeyMode mode,
                     MemberSize memberSize) {
    const bool keysOnly = mode != KeyMode::all && ZELCdrType_hasKeyMembersI(type);
    const KeyMode memberMode = keysOnly ? mode : KeyMode::all;
    const bool isMutable = type->extensibility == ZEL_CDR_EXTENSIBILITY_MUTABLE;
    if (isMutable) {
        decideHeadersI(type, headers);
    }
    for (uint32_t i = 0; i < type->memberCount; ++i) {
        const ZELCdrMember &member = type->members[i];
        if (keysOnly && !member.isKey) {
            continue;
        }
        if (isMutable) {
            alignment = parameterHeaderEndI(member.type, alignment, headers);
            // The parameter's length covers the padding to the next header.
            alignment = alignUpI(memberSize(member, alignment, memberMode), 4);
        } else {
            alignment = memberSize(member, alignment, memberMode);
        }
        if (alignment >= kSaturated) {
            return kSaturated;
        }
    }
    return isMutable ? alignUpI(alignment, 4) + kSentinelSize : alignment;
}

uint64_t stringSizeFromI(uint64_t alignment, uint64_t characters) {
    return alignUpI(alignment, 4) + 4 + characters + 1;
}

uint64_t sampleElementsSizeI(const ZELCdrTypeDesc *element, const char *first, void *const *pointers, uint32_t count,
                             uint64_t alignment, HeaderChoice &headers) {
    if (count == 0) {
        return alignment;
    }
    const ZELCdrTypeKind kind = ZELCdrType_resolveI(element)->kind;
    if (ZELCdrType_isPrimitiveKindI(kind)) {
        const uint32_t size = ZELCdrType_primitiveSizeI(kind);
        return alignUpI(alignment, size) + uint64_t{count} * size;
    }
    for (uint32_t i = 0; i < count; ++i) {
        const void *value = pointers != nullptr ? pointers[i] : first + size_t{i} * element->size;
        alignment = ZELCdrType_sampleSizeI(element, alignment, headers, value);
    }
    return alignment;
}

// The plain layout of a member: a primitive, a plain struct, or an array
// of either whose C stride is the element's CDR size and which adds no
// padding of its own. False when the member is not plain.
bool plainLayoutI(const ZELCdrTypeDesc *type, ZELCdrTypeCache *layout) {
    type = ZELCdrType_resolveI(type);
    if (ZELCdrType_isPrimitiveKindI(type->kind)) {
        layout->plainSize = ZELCdrType_primitiveSizeI(type->kind);
        layout->plainAlignment = layout->plainSize;
        layout->plainGapCount = 0;
        return true;
    }
    if (type->kind == ZEL_CDR_TK_STRUCT) {
        const ZELCdrTypeCache *cache = ZELCdrType_plainCacheI(type);
        if (cache != nullptr) {
            *layout = *cache;
        }
        return cache != nullptr;
    }
    if (type->kind != ZEL_CDR_TK_ARRAY || type->bound == 0 || !plainLayoutI(type->element, layout) ||
        (type->bound > 1 && layout->plainGapCount != 0) ||
        ZELCdrType_resolveI(type->element)->size != layout->plainSize ||
        uint64_t{type->bound} * layout->plainSize > ZEL_CDR_EXTENDED_HEADER_THRESHOLD) {
        return false;
    }
    layout->plainSize *= type->bound;
    return true;
}

// The plain layout of a final or appendable struct: each member at the
// offset that CDR alignment gives it from an aligned start. The padding
// runs are remembered, so that no stale octet of the C representation
// reaches the stream.
void plainStructLayoutI(const ZELCdrTypeDesc *structType, ZELCdrTypeCache *values) {
    if (structType->extensibility == ZEL_CDR_EXTENSIBILITY_MUTABLE || structType->memberCount == 0) {
        return;
    }
    ZELCdrTypeCache layout{};
    layout.plainAlignment = 1;
    uint32_t leading = 1;  // the first member's alignment
    for (uint32_t i = 0; i < structType->memberCount; ++i) {
        const ZELCdrMember &member = structType->members[i];
        ZELCdrTypeCache memberLayout{};
        if (!plainLayoutI(member.type, &memberLayout) ||
            member.offset != alignUpI(layout.plainSize, memberLayout.plainAlignment)) {
            return;
        }
        const uint32_t gaps = (member.offset != layout.plainSize ? 1u : 0u) + memberLayout.plainGapCount;
        if (layout.plainGapCount + gaps > ZEL_CDR_PLAIN_GAP_MAX) {
            return;
        }
        if (member.offset != layout.plainSize) {
            layout.plainGaps[layout.plainGapCount++] = {layout.plainSize, member.offset - layout.plainSize};
        }
        for (uint32_t g = 0; g < memberLayout.plainGapCount; ++g) {
            const auto &gap = memberLayout.plainGaps[g];
            layout.plainGaps[layout.plainGapCount++] = {member.offset + gap.offset, gap.length};
        }
        if (i == 0) {
            leading = memberLayout.plainAlignment;
        }
        layout.plainSize = member.offset + memberLayout.plainSize;
        if (memberLayout.plainAlignment > layout.plainAlignment) {
            layout.plainAlignment = memberLayout.plainAlignment;
        }
    }
    values->plainSize = layout.plainSize;
    values->plainAlignment = layout.plainAlignment;
    values->plainLeadsAligned = leading == layout.plainAlignment ? ZEL_TRUE : ZEL_FALSE;
    values->plainGapCount = layout.plainGapCount;
    std::memcpy(values->plainGaps, layout.plainGaps, sizeof layout.plainGaps);
}

// Whether a value of `type` holds no string or sequence, nested or not.
bool ownsNothingI(const ZELCdrTypeDesc *type) {
    type = ZELCdrType_resolveI(type);
    switch (type->kind) {
    case ZEL_CDR_TK_STRING:
    case ZEL_CDR_TK_SEQUENCE:
        return false;
    case ZEL_CDR_TK_ARRAY:
        return ownsNothingI(type->element);
    case ZEL_CDR_TK_STRUCT: {
        const ZELCdrTypeCache *cache = ZELCdrType_getCacheI(type);
        if (cache != nullptr) {
            return cache->ownsNothing != ZEL_FALSE;
        }
        for (uint32_t i = 0; i < type->memberCount; ++i) {
            if (!ownsNothingI(type->members[i].type)) {
                return false;
            }
        }
        return true;
    }
    default:
        return true;
    }
}

ZELCdrTypeCache computeCacheI(const ZELCdrTypeDesc *structType) {
    ZELCdrTypeCache values{};
    plainStructLayoutI(structType, &values);
    values.ownsNothing = ZEL_TRUE;
    for (uint32_t i = 0; i < structType->memberCount && values.ownsNothing != ZEL_FALSE; ++i) {
        values.ownsNothing = ownsNothingI(structType->members[i].type) ? ZEL_TRUE : ZEL_FALSE;
    }
    HeaderChoice headers = undecidedHeaders();
    if (structType->extensibility == ZEL_CDR_EXTENSIBILITY_MUTABLE) {
        // Measured with short headers: extended ones are needed from the
        // size where a member might no longer fit a short header's length.
        HeaderChoice shortOnes = shortHeaders();
        const uint64_t shortMax = ZELCdrType_maxSizeI(structType, 0, shortOnes, KeyMode::all);
        values.usesExtendedHeaders = shortMax >= ZEL_CDR_EXTENDED_HEADER_THRESHOLD ? ZEL_TRUE : ZEL_FALSE;
        headers = HeaderChoice{true, values.usesExtendedHeaders != ZEL_FALSE};
    }
    HeaderChoice maxHeaders = headers;
    values.maxSerializedSize = ZELCdrType_clampSizeI(ZELCdrType_maxSizeI(structType, 0, maxHeaders, KeyMode::all));
    HeaderChoice minHeaders = headers;
    values.minSerializedSize = ZELCdrType_clampSizeI(ZELCdrType_minSizeI(structType, 0, minHeaders));
    HeaderChoice keyHeaders = shortHeaders();
    values.maxSerializedKeySize = ZELCdrType_clampSizeI(ZELCdrType_maxSizeI(structType, 0, keyHeaders, KeyMode::keys));
    return values;
}

}  // namespace

const ZELCdrTypeCache *ZELCdrType_fillCacheI(const ZELCdrTypeDesc *type) {
    ZELCdrTypeCache *cache = type->cache;
    std::atomic_ref<int32_t> state(cache->state);
    // Computed outside the lock (it fills the caches of nested types); two
    // threads may both compute, the first to store wins with equal values.
    const ZELCdrTypeCache values = computeCacheI(type);
    std::lock_guard guard(g_cacheMutex);
    if (state.load(std::memory_order_relaxed) == 0) {
        cache->maxSerializedSize = values.maxSerializedSize;
        cache->minSerializedSize = values.minSerializedSize;
        cache->maxSerializedKeySize = values.maxSerializedKeySize;
        cache->usesExtendedHeaders = values.usesExtendedHeaders;
        cache->plainSize = values.plainSize;
        cache->plainAlignment = values.plainAlignment;
        cache->plainLeadsAligned = values.plainLeadsAligned;
        cache->plainGapCount = values.plainGapCount;
        std::memcpy(cache->plainGaps, values.plainGaps, sizeof values.plainGaps);
        cache->ownsNothing = values.ownsNothing;
        state.store(1, std::memory_order_release);
    }
    return cache;
}

bool ZELCdrType_usesExtendedHeadersI(const ZELCdrTypeDesc *mutableType) {
    const ZELCdrTypeCache *cache = ZELCdrType_getCacheI(mutableType);
    if (cache != nullptr) {
        return cache->usesExtendedHeaders != ZEL_FALSE;
    }
    HeaderChoice shortOnes = shortHeaders();
    return ZELCdrType_maxSizeI(mutableType, 0, shortOnes, KeyMode::all) >= ZEL_CDR_EXTENDED_HEADER_THRESHOLD;
}

uint64_t ZELCdrType_maxSizeI(const ZELCdrTypeDesc *type, uint64_t alignment, HeaderChoice &headers, KeyMode mode) {
    switch (type->kind) {
    case ZEL_CDR_TK_STRING:
        return stringSizeFromI(alignment, type->bound != 0 ? type->bound : kUnboundedSize);
    case ZEL_CDR_TK_SEQUENCE:
        alignment = alignUpI(alignment, 4) + 4;
        if (type->bound == 0) {
            return alignment + kUnboundedSize;
        }
        return maxElementsI(type->element, type->bound, alignment, headers);
    case ZEL_CDR_TK_ARRAY:
        return maxElementsI(type->element, type->bound, alignment, headers);
    case ZEL_CDR_TK_STRUCT:
        return structSizeI(type, alignment, headers, mode,
                           [&](const ZELCdrMember &member, uint64_t from, KeyMode memberMode) {
                               return ZELCdrType_maxSizeI(member.type, from, headers, memberMode);
                           });
    case ZEL_CDR_TK_ALIAS:
        return ZELCdrType_maxSizeI(type->element, alignment, headers, mode);
    default:
        return primitiveSizeFromI(type->kind, alignment);
    }
}

uint64_t ZELCdrType_minSizeI(const ZELCdrTypeDesc *type, uint64_t alignment, HeaderChoice &headers) {
    switch (type->kind) {
    case ZEL_CDR_TK_STRING:
        return stringSizeFromI(alignment, 0);
    case ZEL_CDR_TK_SEQUENCE:
        return alignUpI(alignment, 4) + 4;
    case ZEL_CDR_TK_ARRAY:
        return minElementsI(type->element, type->bound, alignment, headers);
    case ZEL_CDR_TK_STRUCT:
        return structSizeI(type, alignment, headers, KeyMode::all,
                           [&](const ZELCdrMember &member, uint64_t from, KeyMode) {
                               return ZELCdrType_minSizeI(member.type, from, headers);
                           });
    case ZEL_CDR_TK_ALIAS:
        return ZELCdrType_minSizeI(type->element, alignment, headers);
    default:
        return primitiveSizeFromI(type->kind, alignment);
    }
}

uint64_t ZELCdrType_sampleSizeI(const ZELCdrTypeDesc *type, uint64_t alignment, HeaderChoice &headers,
                                const void *value) {
    switch (type->kind) {
    case ZEL_CDR_TK_STRING: {
        const char *string = *static_cast<const char *const *>(value);
        return stringSizeFromI(alignment, string != nullptr ? std::strlen(string) : 0);
    }
    case ZEL_CDR_TK_SEQUENCE: {
        const auto *sequence = static_cast<const ZELSequence *>(value);
        alignment = alignUpI(alignment, 4) + 4;
        return sampleElementsSizeI(type->element, static_cast<const char *>(sequence->_contiguous_buffer),
                                   sequence->_discontiguous_buffer, sequence->_length, alignment, headers);
    }
    case ZEL_CDR_TK_ARRAY:
        return sampleElementsSizeI(type->element, static_cast<const char *>(value), nullptr, type->bound, alignment,
                                   headers);
    case ZEL_CDR_TK_STRUCT: {
        const ZELCdrTypeCache *cache = ZELCdrType_plainCacheI(type);
        if (cache != nullptr && (cache->plainLeadsAligned || alignment % cache->plainAlignment == 0)) {
            return alignUpI(alignment, cache->plainAlignment) + cache->plainSize;
        }
        const auto *base = static_cast<const char *>(value);
        return structSizeI(type, alignment, headers, KeyMode::all,
                           [&](const ZELCdrMember &member, uint64_t from, KeyMode) {
                               return ZELCdrType_sampleSizeI(member.type, from, headers, base + member.offset);
                           });
    }
    case ZEL_CDR_TK_ALIAS:
        return ZELCdrType_sampleSizeI(type->element, alignment, headers, value);
    default:
        return primitiveSizeFromI(type->kind, alignment);
    }
}

}  // namespace zel::cdr

using namespace zel::cdr;

namespace {

// The value from `alignment` (or, with the encapsulation, the header plus
// the value from the new origin); an invalid identifier measures nothing.
template <typename ValueSize>
uint32_t encapsulatedSizeI(const ZELCdrTypeDesc *type, DDS_Boolean includeEncapsulation, uint16_t encapsulationId,
                           uint32_t currentAlignment, ValueSize valueSize) {
    if (type == nullptr) {
        return currentAlignment;
    }
    if (!includeEncapsulation) {
        return ZELCdrType_clampSizeI(valueSize(uint64_t{currentAlignment}));
    }
    uint16_t written = 0;
    if (!ZELCdrType_encapsulationIdForI(type, encapsulationId, &written)) {
        return currentAlignment;
    }
    return ZELCdrType_clampSizeI(uint64_t{currentAlignment} + ZEL_CDR_ENCAPSULATION_HEADER_SIZE + valueSize(0));
}

}  // namespace

extern "C" {

uint32_t ZELCdrType_getSerializedSampleMaxSize(const ZELCdrTypeDesc *type, DDS_Boolean includeEncapsulation,
                                               uint16_t encapsulationId, uint32_t currentAlignment) {
    return encapsulatedSizeI(type, includeEncapsulation, encapsulationId, currentAlignment, [&](uint64_t from) {
        const ZELCdrTypeCache *cache = ZELCdrType_getCacheI(type);
        if (cache != nullptr && from % 8 == 0) {
            return from + cache->maxSerializedSize;
        }
        HeaderChoice headers = undecidedHeaders();
        return ZELCdrType_maxSizeI(type, from, headers, KeyMode::all);
    });
}

uint32_t ZELCdrType_getSerializedSampleMinSize(const ZELCdrTypeDesc *type, DDS_Boolean includeEncapsulation,
                                               uint16_t encapsulationId, uint32_t currentAlignment) {
    return encapsulatedSizeI(type, includeEncapsulation, encapsulationId, currentAlignment, [&](uint64_t from) {
        const ZELCdrTypeCache *cache = ZELCdrType_getCacheI(type);
        if (cache != nullptr && from % 8 == 0) {
            return from + cache->minSerializedSize;
        }
        HeaderChoice headers = undecidedHeaders();
        return ZELCdrType_minSizeI(type, from, headers);
    });
}

uint32_t ZELCdrType_getSerializedSampleSize(const ZELCdrTypeDesc *type, DDS_Boolean includeEncapsulation,
                                            uint16_t encapsulationId, uint32_t currentAlignment, const void *sample) {
    if (sample == nullptr) {
        return currentAlignment;
    }
    return encapsulatedSizeI(type, includeEncapsulation, encapsulationId, currentAlignment, [&](uint64_t from) {
        HeaderChoice headers = undecidedHeaders();
        return ZELCdrType_sampleSizeI(type, from, headers, sample);
    });
}

uint32_t ZELCdrType_getSerializedKeyMaxSize(const ZELCdrTypeDesc *type, DDS_Boolean includeEncapsulation,
                                            uint16_t encapsulationId, uint32_t currentAlignment) {
    return encapsulatedSizeI(type, includeEncapsulation, encapsulationId, currentAlignment, [&](uint64_t from) {
        const ZELCdrTypeCache *cache = ZELCdrType_getCacheI(type);
        if (cache != nullptr && from % 8 == 0) {
            return from + cache->maxSerializedKeySize;
        }
        HeaderChoice headers = shortHeaders();
        return ZELCdrType_maxSizeI(type, from, headers, KeyMode::keys);
    });
}

}  // extern "C"
