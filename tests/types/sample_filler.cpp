#include "sample_filler.h"

#include <algorithm>
#include <cstring>

#include "vurncore/dds_string.h"
#include "vurncore/sequence.h"

namespace typestest {

bool Filler::fill(const ZELCdrTypeDesc *type, void *value) {
    const uint32_t n = ++counter_;
    switch (type->kind) {
    case ZEL_CDR_TK_ALIAS:
        return fill(type->element, value);
    case ZEL_CDR_TK_BOOLEAN:
        *static_cast<DDS_Boolean *>(value) = DDS_BOOLEAN_TRUE;
        return true;
    case ZEL_CDR_TK_OCTET:
    case ZEL_CDR_TK_CHAR:
        *static_cast<unsigned char *>(value) = static_cast<unsigned char>('A' + n % 26);
        return true;
    case ZEL_CDR_TK_FLOAT:
        *static_cast<float *>(value) = static_cast<float>(n) + 0.5f;
        return true;
    case ZEL_CDR_TK_DOUBLE:
        *static_cast<double *>(value) = static_cast<double>(n) + 0.25;
        return true;
    case ZEL_CDR_TK_ENUM:
        *static_cast<DDS_Enum *>(value) = type->enumerators[type->enumeratorCount - 1].value;
        return true;
    case ZEL_CDR_TK_STRING:
        return fillString(type, static_cast<char **>(value), n);
    case ZEL_CDR_TK_SEQUENCE:
        return fillSequence(type, static_cast<ZELSequence *>(value), n);
    case ZEL_CDR_TK_ARRAY:
        for (uint32_t i = 0; i < type->bound; ++i) {
            if (!fill(type->element, static_cast<char *>(value) + i * type->element->size)) {
                return false;
            }
        }
        return true;
    case ZEL_CDR_TK_STRUCT:
        for (uint32_t i = 0; i < type->memberCount; ++i) {
            if (!fill(type->members[i].type, static_cast<char *>(value) + type->members[i].offset)) {
                return false;
            }
        }
        return true;
    default: {
        // Integers: the low octets of a pattern with every top bit set, so
        // that width and sign both show.
        const uint64_t pattern = 0x8080808080808080ull + n;
        std::memcpy(value, &pattern, type->size);
        return true;
    }
    }
}

// A string of its bound keeps bound + 1 octets, as the engine expects.
bool Filler::fillString(const ZELCdrTypeDesc *type, char **value, uint32_t n) {
    const uint32_t bound = type->bound == 0 ? 40 : type->bound;
    const uint32_t length = toBounds_ ? (n % 2 == 0 ? bound : bound / 2) : std::min(bound, 1 + n % 4);
    char *text = DDS_String_alloc(bound);
    if (text == nullptr) {
        return false;
    }
    for (uint32_t i = 0; i < length; ++i) {
        text[i] = static_cast<char>('a' + (i + n) % 26);
    }
    DDS_String_free(*value);
    *value = text;
    return true;
}

bool Filler::fillSequence(const ZELCdrTypeDesc *type, ZELSequence *value, uint32_t n) {
    const ZELCdrTypeDesc *element = type->element;
    while (element->kind == ZEL_CDR_TK_ALIAS) {
        element = element->element;
    }
    uint32_t bound = type->bound == 0 ? 3 : type->bound;
    if (element->kind == ZEL_CDR_TK_STRUCT && bound > 4) {
        bound = 4;
    }
    const uint32_t length = toBounds_ ? (n % 2 == 0 ? bound : bound - 1) : std::min(bound, 1 + n % 2);
    if (!ZELSequence_ensure_length(value, type->element->sequenceElementType, static_cast<DDS_Long>(length),
                                   static_cast<DDS_Long>(toBounds_ ? bound : length), "fill")) {
        return false;
    }
    for (uint32_t i = 0; i < length; ++i) {
        if (!fill(type->element, static_cast<char *>(value->_contiguous_buffer) + i * type->element->size)) {
            return false;
        }
    }
    return true;
}

}  // namespace typestest
