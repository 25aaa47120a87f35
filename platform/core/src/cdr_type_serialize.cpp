// Serialization and deserialization of described samples: plain CDR for
// final and appendable structs, parameter lists for mutable ones.
#include <cstring>

#include "cdr_type_engine.h"
#include "vurncore/dds_string.h"
#include "vurncore/sequence.h"

namespace zel::cdr {
namespace {

// Context of the log lines the sequence operations may print.
const char *const kDeserializeContext = "ZELCdrType_deserializeSample";

// What the stream's element callbacks of a sequence are given.
struct ElementWalk {
    const ZELCdrTypeDesc *element;
    HeaderChoice *headers;
    KeyMode mode;
};

// The storage a sequence being read gets its elements in.
struct SequenceReserve {
    ZELSequence *sequence;
    const ZELSequenceElementType *elementType;
};

// A struct member: primitives straight to the stream (the hot path), the
// rest through the walk.
inline bool ZELCdrType_serializeMemberI(const ZELCdrTypeDesc *type, const char *value, ZELCdrStream *stream,
                                        HeaderChoice &headers, KeyMode mode) {
    if (ZELCdrType_isPrimitiveKindI(type->kind)) {
        return ZELCdrStream_serializePrimitive(stream, value, ZELCdrType_primitiveSizeI(type->kind));
    }
    return ZELCdrType_serializeValueI(type, value, stream, headers, mode);
}

inline bool ZELCdrType_deserializeMemberI(const ZELCdrTypeDesc *type, char *value, ZELCdrStream *stream, KeyMode mode) {
    if (ZELCdrType_isPrimitiveKindI(type->kind)) {
        return ZELCdrStream_deserializePrimitive(stream, value, ZELCdrType_primitiveSizeI(type->kind));
    }
    return ZELCdrType_deserializeValueI(type, value, stream, mode);
}

ZELBoolean ZELCdrType_serializeElementI(ZELCdrStream *stream, const void *element, void *param) {
    const auto *walk = static_cast<const ElementWalk *>(param);
    return ZELCdrType_serializeValueI(walk->element, element, stream, *walk->headers, walk->mode) ? ZEL_TRUE
                                                                                                  : ZEL_FALSE;
}

ZELBoolean ZELCdrType_deserializeElementI(ZELCdrStream *stream, void *element, void *param) {
    const auto *walk = static_cast<const ElementWalk *>(param);
    return ZELCdrType_deserializeValueI(walk->element, element, stream, walk->mode) ? ZEL_TRUE : ZEL_FALSE;
}

// Room for `length` contiguous elements: an owned sequence grows as needed;
// a loaned one must already hold them contiguously.
ZELBoolean ZELCdrType_reserveSequenceI(void *param, uint32_t length, void **elements) {
    const auto *reserve = static_cast<const SequenceReserve *>(param);
    ZELSequence *sequence = reserve->sequence;
    if (length > INT32_MAX || sequence->_discontiguous_buffer != nullptr) {
        return ZEL_FALSE;
    }
    const auto count = static_cast<DDS_Long>(length);
    if (!ZELSequence_ensure_length(sequence, reserve->elementType, count, count, kDeserializeContext)) {
        return ZEL_FALSE;
    }
    *elements = sequence->_contiguous_buffer;
    return ZEL_TRUE;
}

// ---- serialize ----

bool ZELCdrType_serializeElementsI(const ZELCdrTypeDesc *element, const char *first, uint32_t count,
                                   ZELCdrStream *stream, HeaderChoice &headers) {
    const ZELCdrTypeKind kind = ZELCdrType_resolveI(element)->kind;
    if (ZELCdrType_isPrimitiveKindI(kind)) {
        return ZELCdrStream_serializePrimitiveArray(stream, first, count, ZELCdrType_primitiveSizeI(kind));
    }
    for (uint32_t i = 0; i < count; ++i) {
        if (!ZELCdrType_serializeValueI(element, first + size_t{i} * element->size, stream, headers, KeyMode::all)) {
            return false;
        }
    }
    return true;
}

bool ZELCdrType_serializeSequenceI(const ZELCdrTypeDesc *type, const ZELSequence *sequence, ZELCdrStream *stream,
                                   HeaderChoice &headers) {
    const uint32_t length = sequence->_length;
    const uint32_t maximum = ZELCdrType_sequenceMaximumLengthI(type);
    const ZELCdrTypeDesc *element = type->element;
    const ZELCdrTypeDesc *resolved = ZELCdrType_resolveI(element);
    if (sequence->_discontiguous_buffer != nullptr) {
        // A discontiguous loan: element by element.
        if (!ZELCdrStream_serializeSequenceLength(stream, length, maximum)) {
            return false;
        }
        for (uint32_t i = 0; i < length; ++i) {
            if (!ZELCdrType_serializeValueI(element, sequence->_discontiguous_buffer[i], stream, headers,
                                            KeyMode::all)) {
                return false;
            }
        }
        return true;
    }
    if (ZELCdrType_isPrimitiveKindI(resolved->kind)) {
        return ZELCdrStream_serializePrimitiveSequence(stream, sequence->_contiguous_buffer, length, maximum,
                                                       ZELCdrType_primitiveSizeI(resolved->kind));
    }
    if (resolved->kind == ZEL_CDR_TK_STRING) {
        return ZELCdrStream_serializeStringSequence(stream, static_cast<char *const *>(sequence->_contiguous_buffer),
                                                    length, maximum, ZELCdrType_stringMaximumLengthI(resolved));
    }
    ElementWalk walk{element, &headers, KeyMode::all};
    return ZELCdrStream_serializeNonPrimitiveSequence(stream, sequence->_contiguous_buffer, length, maximum,
                                                      element->size, &ZELCdrType_serializeElementI, &walk);
}

bool ZELCdrType_serializeStructI(const ZELCdrTypeDesc *type, const char *base, ZELCdrStream *stream,
                                 HeaderChoice &headers, KeyMode mode) {
    const bool keysOnly = mode != KeyMode::all && ZELCdrType_hasKeyMembersI(type);
    const KeyMode memberMode = keysOnly ? mode : KeyMode::all;
    if (type->extensibility != ZEL_CDR_EXTENSIBILITY_MUTABLE) {
        const ZELCdrTypeCache *cache = keysOnly ? nullptr : ZELCdrType_plainCacheI(type);
        if (cache != nullptr && ZELCdrStream_serializeInPlace(stream, base, cache->plainSize, cache->plainAlignment,
                                                              cache->plainLeadsAligned)) {
            char *start = stream->currentPosition - cache->plainSize;
            for (uint32_t g = 0; g < cache->plainGapCount; ++g) {
                std::memset(start + cache->plainGaps[g].offset, 0, cache->plainGaps[g].length);
            }
            return true;
        }
        for (uint32_t i = 0; i < type->memberCount; ++i) {
            const ZELCdrMember &member = type->members[i];
            if ((!keysOnly || member.isKey) &&
                !ZELCdrType_serializeMemberI(member.type, base + member.offset, stream, headers, memberMode)) {
                return false;
            }
        }
        return true;
    }
    if (!headers.decided) {
        headers.extended = ZELCdrType_usesExtendedHeadersI(type);
        headers.decided = true;
    }
    // Nested lists always end with their own sentinel; only this level obeys
    // the caller's flag.
    const ZELBoolean skipSentinel = stream->skipSentinel;
    stream->skipSentinel = ZEL_FALSE;
    bool ok = true;
    for (uint32_t i = 0; ok && i < type->memberCount; ++i) {
        const ZELCdrMember &member = type->members[i];
        if (keysOnly && !member.isKey) {
            continue;
        }
        const ZELCdrTypeKind kind = ZELCdrType_resolveI(member.type)->kind;
        if (ZELCdrType_isPrimitiveKindI(kind)) {
            ok = ZELCdrStream_serializePrimitiveParameter(stream, i, base + member.offset,
                                                          ZELCdrType_primitiveSizeI(kind));
            continue;
        }
        ZELCdrParameterHeader header;
        ok = ZELCdrStream_serializeParameterHeader(stream, &header, i, ZEL_FALSE,
                                                   headers.extended ? ZEL_TRUE : ZEL_FALSE) &&
             ZELCdrType_serializeMemberI(member.type, base + member.offset, stream, headers, memberMode) &&
             ZELCdrStream_serializeParameterLength(stream, &header);
    }
    stream->skipSentinel = skipSentinel;
    return ok && (skipSentinel || ZELCdrStream_serializeSentinel(stream));
}

// ---- deserialize ----

// A string member. A non-NULL bounded string holds its bound and is read in
// place; otherwise the incoming length decides whether a new string is
// needed (bounded ones are then allocated to their bound).
bool ZELCdrType_deserializeStringI(const ZELCdrTypeDesc *type, char **string, ZELCdrStream *stream) {
    const uint32_t maximum = ZELCdrType_stringMaximumLengthI(type);
    if (*string != nullptr && type->bound != 0) {
        return ZELCdrStream_deserializeString(stream, *string, maximum);
    }
    const uint32_t offset = ZELCdrStream_getCurrentPositionOffset(stream);
    uint32_t length = 0;  // with its NUL
    if (!ZELCdrStream_deserializePrimitive(stream, &length, sizeof length) ||
        !ZELCdrStream_setCurrentPositionOffset(stream, offset) || length == 0 || length > maximum) {
        return false;
    }
    if (*string == nullptr || std::strlen(*string) + 1 < length) {
        char *fresh = DDS_String_alloc(type->bound != 0 ? type->bound : length - 1);
        if (fresh == nullptr) {
            return false;
        }
        DDS_String_free(*string);
        *string = fresh;
    }
    return ZELCdrStream_deserializeString(stream, *string, type->bound != 0 ? maximum : length);
}

bool ZELCdrType_deserializeElementsI(const ZELCdrTypeDesc *element, char *first, uint32_t count, ZELCdrStream *stream) {
    const ZELCdrTypeKind kind = ZELCdrType_resolveI(element)->kind;
    if (ZELCdrType_isPrimitiveKindI(kind)) {
        return ZELCdrStream_deserializePrimitiveArray(stream, first, count, ZELCdrType_primitiveSizeI(kind));
    }
    for (uint32_t i = 0; i < count; ++i) {
        if (!ZELCdrType_deserializeValueI(element, first + size_t{i} * element->size, stream, KeyMode::all)) {
            return false;
        }
    }
    return true;
}

bool ZELCdrType_deserializeSequenceI(const ZELCdrTypeDesc *type, ZELSequence *sequence, ZELCdrStream *stream) {
    const uint32_t maximum = ZELCdrType_sequenceMaximumLengthI(type);
    const ZELCdrTypeDesc *element = type->element;
    const ZELCdrTypeDesc *resolved = ZELCdrType_resolveI(element);
    SequenceReserve reserve{sequence, element->sequenceElementType};
    if (ZELCdrType_isPrimitiveKindI(resolved->kind)) {
        return ZELCdrStream_deserializePrimitiveSequence(stream, &reserve, &ZELCdrType_reserveSequenceI, maximum,
                                                         ZELCdrType_primitiveSizeI(resolved->kind));
    }
    if (resolved->kind == ZEL_CDR_TK_STRING) {
        return ZELCdrStream_deserializeStringSequence(stream, &reserve, &ZELCdrType_reserveSequenceI, maximum,
                                                      ZELCdrType_stringMaximumLengthI(resolved));
    }
    ElementWalk walk{element, nullptr, KeyMode::all};
    return ZELCdrStream_deserializeNonPrimitiveSequence(stream, &reserve, &ZELCdrType_reserveSequenceI, maximum,
                                                        element->size, &ZELCdrType_deserializeElementI, &walk);
}

// ---- skip (members of a full sample that a key read leaves out) ----

bool ZELCdrType_skipValueI(const ZELCdrTypeDesc *type, ZELCdrStream *stream);

ZELBoolean ZELCdrType_skipElementI(ZELCdrStream *stream, void *param) {
    return ZELCdrType_skipValueI(static_cast<const ZELCdrTypeDesc *>(param), stream) ? ZEL_TRUE : ZEL_FALSE;
}

// The rest of a parameter list, up to and with its sentinel or to the end
// of the stream.
bool ZELCdrType_skipParameterListI(ZELCdrStream *stream) {
    while (ZELCdrStream_getRemainder(stream) >= 1) {
        ZELCdrParameterHeader header;
        if (!ZELCdrStream_deserializeParameterHeader(stream, &header)) {
            return false;
        }
        if (header.id == ZEL_CDR_PID_LIST_END) {
            return true;
        }
        if (!ZELCdrStream_moveToNextParameterHeader(stream, &header)) {
            return false;
        }
    }
    return true;
}

bool ZELCdrType_skipValueI(const ZELCdrTypeDesc *type, ZELCdrStream *stream) {
    switch (type->kind) {
    case ZEL_CDR_TK_STRING:
        return ZELCdrStream_skipString(stream, ZELCdrType_stringMaximumLengthI(type));
    case ZEL_CDR_TK_SEQUENCE: {
        const uint32_t maximum = ZELCdrType_sequenceMaximumLengthI(type);
        const ZELCdrTypeDesc *resolved = ZELCdrType_resolveI(type->element);
        if (ZELCdrType_isPrimitiveKindI(resolved->kind)) {
            return ZELCdrStream_skipPrimitiveSequence(stream, maximum, ZELCdrType_primitiveSizeI(resolved->kind));
        }
        if (resolved->kind == ZEL_CDR_TK_STRING) {
            return ZELCdrStream_skipStringSequence(stream, maximum, ZELCdrType_stringMaximumLengthI(resolved));
        }
        return ZELCdrStream_skipNonPrimitiveSequence(stream, maximum, &ZELCdrType_skipElementI,
                                                     const_cast<ZELCdrTypeDesc *>(type->element));
    }
    case ZEL_CDR_TK_ARRAY: {
        const ZELCdrTypeKind kind = ZELCdrType_resolveI(type->element)->kind;
        if (ZELCdrType_isPrimitiveKindI(kind)) {
            return ZELCdrStream_skipPrimitiveArray(stream, type->bound, ZELCdrType_primitiveSizeI(kind));
        }
        for (uint32_t i = 0; i < type->bound; ++i) {
            if (!ZELCdrType_skipValueI(type->element, stream)) {
                return false;
            }
        }
        return true;
    }
    case ZEL_CDR_TK_STRUCT:
        if (type->extensibility == ZEL_CDR_EXTENSIBILITY_MUTABLE) {
            return ZELCdrType_skipParameterListI(stream);
        }
        for (uint32_t i = 0; i < type->memberCount; ++i) {
            if (!ZELCdrType_skipValueI(type->members[i].type, stream)) {
                return false;
            }
        }
        return true;
    case ZEL_CDR_TK_ALIAS:
        return ZELCdrType_skipValueI(type->element, stream);
    default:
        return ZELCdrStream_skipPrimitive(stream, ZELCdrType_primitiveSizeI(type->kind));
    }
}

// Members absent from the list are not touched: they keep the values they
// had (the caller hands an initialized sample).
bool ZELCdrType_deserializeParameterListI(const ZELCdrTypeDesc *type, char *base, ZELCdrStream *stream, bool keysOnly,
                                          KeyMode memberMode) {
    while (ZELCdrStream_getRemainder(stream) >= 1) {
        ZELCdrParameterHeader header;
        if (!ZELCdrStream_deserializeParameterHeader(stream, &header)) {
            return false;
        }
        if (header.id == ZEL_CDR_PID_LIST_END) {
            return true;
        }
        // Ignored parameters and unknown ids (a newer version of the type)
        // are skipped by their length, like members a key read leaves out.
        if (header.id < type->memberCount) {
            const ZELCdrMember &member = type->members[header.id];
            if ((!keysOnly || member.isKey) &&
                !ZELCdrType_deserializeMemberI(member.type, base + member.offset, stream, memberMode)) {
                return false;
            }
        }
        if (!ZELCdrStream_moveToNextParameterHeader(stream, &header)) {
            return false;
        }
    }
    return true;
}

bool ZELCdrType_deserializeStructI(const ZELCdrTypeDesc *type, char *base, ZELCdrStream *stream, KeyMode mode) {
    const bool keysOnly = mode != KeyMode::all && ZELCdrType_hasKeyMembersI(type);
    const KeyMode memberMode = keysOnly ? mode : KeyMode::all;
    if (type->extensibility == ZEL_CDR_EXTENSIBILITY_MUTABLE) {
        return ZELCdrType_deserializeParameterListI(type, base, stream, keysOnly, memberMode);
    }
    const ZELCdrTypeCache *cache = keysOnly ? nullptr : ZELCdrType_plainCacheI(type);
    if (cache != nullptr && ZELCdrStream_deserializeInPlace(stream, base, cache->plainSize, cache->plainAlignment,
                                                            cache->plainLeadsAligned)) {
        return true;
    }
    for (uint32_t i = 0; i < type->memberCount; ++i) {
        const ZELCdrMember &member = type->members[i];
        bool ok = true;
        if (!keysOnly || member.isKey) {
            ok = ZELCdrType_deserializeMemberI(member.type, base + member.offset, stream, memberMode);
        } else if (mode == KeyMode::sampleKeys) {
            ok = ZELCdrType_skipValueI(member.type, stream);
        }  // a key stream holds key members only
        if (!ok) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool ZELCdrType_encapsulationIdForI(const ZELCdrTypeDesc *type, uint16_t requested, uint16_t *written) {
    if (ZELCdrType_isMutableI(type)) {
        if (requested > ZEL_CDR_ENCAPSULATION_ID_PL_CDR_LE) {
            return false;
        }
        *written = requested | ZEL_CDR_ENCAPSULATION_ID_PL_CDR_BE;  // 0 -> 2, 1 -> 3
        return true;
    }
    if (requested > ZEL_CDR_ENCAPSULATION_ID_CDR_LE) {
        return false;
    }
    *written = requested;
    return true;
}

bool ZELCdrType_beginEncapsulationI(const ZELCdrTypeDesc *type, ZELCdrStream *stream, bool serializeEncapsulation,
                                    uint16_t encapsulationId, char **savedBase) {
    *savedBase = nullptr;
    if (!serializeEncapsulation) {
        return true;
    }
    uint16_t written = 0;
    if (!ZELCdrType_encapsulationIdForI(type, encapsulationId, &written) ||
        !ZELCdrStream_serializeEncapsulation(stream, written)) {
        return false;
    }
    *savedBase = ZELCdrStream_resetAlignment(stream);
    return true;
}

bool ZELCdrType_beginDecapsulationI(ZELCdrStream *stream, bool deserializeEncapsulation, char **savedBase) {
    *savedBase = nullptr;
    if (!deserializeEncapsulation) {
        return true;
    }
    uint16_t encapsulationId = 0;
    if (!ZELCdrStream_deserializeEncapsulation(stream, &encapsulationId)) {
        return false;
    }
    *savedBase = ZELCdrStream_resetAlignment(stream);
    return true;
}

bool ZELCdrType_serializeValueI(const ZELCdrTypeDesc *type, const void *value, ZELCdrStream *stream,
                                HeaderChoice &headers, KeyMode mode) {
    switch (type->kind) {
    case ZEL_CDR_TK_STRING:
        return ZELCdrStream_serializeString(stream, *static_cast<const char *const *>(value),
                                            ZELCdrType_stringMaximumLengthI(type));
    case ZEL_CDR_TK_SEQUENCE:
        return ZELCdrType_serializeSequenceI(type, static_cast<const ZELSequence *>(value), stream, headers);
    case ZEL_CDR_TK_ARRAY:
        return ZELCdrType_serializeElementsI(type->element, static_cast<const char *>(value), type->bound, stream,
                                             headers);
    case ZEL_CDR_TK_STRUCT:
        return ZELCdrType_serializeStructI(type, static_cast<const char *>(value), stream, headers, mode);
    case ZEL_CDR_TK_ALIAS:
        return ZELCdrType_serializeValueI(type->element, value, stream, headers, mode);
    default:
        return ZELCdrStream_serializePrimitive(stream, value, ZELCdrType_primitiveSizeI(type->kind));
    }
}

bool ZELCdrType_deserializeValueI(const ZELCdrTypeDesc *type, void *value, ZELCdrStream *stream, KeyMode mode) {
    switch (type->kind) {
    case ZEL_CDR_TK_STRING:
        return ZELCdrType_deserializeStringI(type, static_cast<char **>(value), stream);
    case ZEL_CDR_TK_SEQUENCE:
        return ZELCdrType_deserializeSequenceI(type, static_cast<ZELSequence *>(value), stream);
    case ZEL_CDR_TK_ARRAY:
        return ZELCdrType_deserializeElementsI(type->element, static_cast<char *>(value), type->bound, stream);
    case ZEL_CDR_TK_STRUCT:
        return ZELCdrType_deserializeStructI(type, static_cast<char *>(value), stream, mode);
    case ZEL_CDR_TK_ALIAS:
        return ZELCdrType_deserializeValueI(type->element, value, stream, mode);
    default:
        return ZELCdrStream_deserializePrimitive(stream, value, ZELCdrType_primitiveSizeI(type->kind));
    }
}

DDS_Boolean ZELCdrType_serializeTopI(const ZELCdrTypeDesc *type, const void *sample, ZELCdrStream *stream,
                                     DDS_Boolean serializeEncapsulation, uint16_t encapsulationId,
                                     DDS_Boolean serializeValue, HeaderChoice headers, KeyMode mode) {
    if (type == nullptr || stream == nullptr || (serializeValue && sample == nullptr)) {
        return DDS_BOOLEAN_FALSE;
    }
    char *savedBase = nullptr;
    if (!ZELCdrType_beginEncapsulationI(type, stream, serializeEncapsulation, encapsulationId, &savedBase)) {
        return DDS_BOOLEAN_FALSE;
    }
    const bool ok = !serializeValue || ZELCdrType_serializeValueI(type, sample, stream, headers, mode);
    ZELCdrType_endEncapsulationI(stream, savedBase);
    return ok ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

DDS_Boolean ZELCdrType_deserializeTopI(const ZELCdrTypeDesc *type, void *sample, ZELCdrStream *stream,
                                       DDS_Boolean deserializeEncapsulation, DDS_Boolean deserializeValue,
                                       KeyMode mode) {
    if (type == nullptr || stream == nullptr || (deserializeValue && sample == nullptr)) {
        return DDS_BOOLEAN_FALSE;
    }
    char *savedBase = nullptr;
    if (!ZELCdrType_beginDecapsulationI(stream, deserializeEncapsulation, &savedBase)) {
        return DDS_BOOLEAN_FALSE;
    }
    const bool ok = !deserializeValue || ZELCdrType_deserializeValueI(type, sample, stream, mode);
    ZELCdrType_endEncapsulationI(stream, savedBase);
    return ok ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

}  // namespace zel::cdr

using namespace zel::cdr;

extern "C" {

DDS_Boolean ZELCdrType_serializeSample(const ZELCdrTypeDesc *type, const void *sample, ZELCdrStream *stream,
                                       DDS_Boolean serializeEncapsulation, uint16_t encapsulationId,
                                       DDS_Boolean serializeSample) {
    return ZELCdrType_serializeTopI(type, sample, stream, serializeEncapsulation, encapsulationId, serializeSample,
                                    undecidedHeaders(), KeyMode::all);
}

DDS_Boolean ZELCdrType_deserializeSample(const ZELCdrTypeDesc *type, void *sample, ZELCdrStream *stream,
                                         DDS_Boolean deserializeEncapsulation, DDS_Boolean deserializeSample) {
    return ZELCdrType_deserializeTopI(type, sample, stream, deserializeEncapsulation, deserializeSample, KeyMode::all);
}

}  // extern "C"
