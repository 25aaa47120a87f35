// Initialize, finalize and copy of described samples.
#include <cstring>

#include "cdr_type_engine.h"
#include "vurncore/dds_string.h"
#include "vurncore/sequence.h"

namespace zel::cdr {
namespace {

// Context of the log lines the sequence operations may print.
const char *const kInitializeContext = "ZELCdrType_initializeSample";
const char *const kFinalizeContext = "ZELCdrType_finalizeSample";
const char *const kCopyContext = "ZELCdrType_copySample";

const DDS_TypeAllocationParams_t kDefaultAllocationParams = DDS_TYPE_ALLOCATION_PARAMS_DEFAULT;
const DDS_TypeDeallocationParams_t kDefaultDeallocationParams = DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT;

// Whether a struct's cache says that it holds no string or sequence.
bool ZELCdrType_ownsNothingI(const ZELCdrTypeDesc *structType) {
    const ZELCdrTypeCache *cache = ZELCdrType_getCacheI(structType);
    return cache != nullptr && cache->ownsNothing != ZEL_FALSE;
}

const ZELSequenceElementType *ZELCdrType_elementTypeI(const ZELCdrTypeDesc *sequence) {
    return sequence->element->sequenceElementType;
}

// On zero-filled storage; on failure what was made stays for the caller to
// finalize (zero-filled parts finalize as nothing).
bool ZELCdrType_initializeValueI(const ZELCdrTypeDesc *type, void *value, const DDS_TypeAllocationParams_t *params) {
    switch (type->kind) {
    case ZEL_CDR_TK_STRING: {
        if (!params->allocate_memory) {
            return true;
        }
        // A bounded string holds its bound from the start, so that copy and
        // deserialize never reallocate it.
        char *string = DDS_String_alloc(type->bound);
        *static_cast<char **>(value) = string;
        return string != nullptr;
    }
    case ZEL_CDR_TK_SEQUENCE: {
        auto *sequence = static_cast<ZELSequence *>(value);
        return ZELSequence_initialize(sequence, kInitializeContext) &&
               ZELSequence_set_element_allocation_params(sequence, params, kInitializeContext);
    }
    case ZEL_CDR_TK_ARRAY: {
        const ZELCdrTypeDesc *element = type->element;
        if (ZELCdrType_isPrimitiveKindI(ZELCdrType_resolveI(element)->kind)) {
            return true;
        }
        auto *elements = static_cast<char *>(value);
        for (uint32_t i = 0; i < type->bound; ++i) {
            if (!ZELCdrType_initializeValueI(element, elements + size_t{i} * element->size, params)) {
                return false;
            }
        }
        return true;
    }
    case ZEL_CDR_TK_STRUCT: {
        if (ZELCdrType_ownsNothingI(type)) {
            return true;  // zero already
        }
        auto *base = static_cast<char *>(value);
        for (uint32_t i = 0; i < type->memberCount; ++i) {
            const ZELCdrMember &member = type->members[i];
            if (!ZELCdrType_initializeValueI(member.type, base + member.offset, params)) {
                return false;
            }
        }
        return true;
    }
    case ZEL_CDR_TK_ALIAS:
        return ZELCdrType_initializeValueI(type->element, value, params);
    default:
        return true;  // numbers, booleans and enumerations are zero already
    }
}

void ZELCdrType_finalizeValueI(const ZELCdrTypeDesc *type, void *value, const DDS_TypeDeallocationParams_t *params) {
    switch (type->kind) {
    case ZEL_CDR_TK_STRING: {
        char **string = static_cast<char **>(value);
        DDS_String_free(*string);
        *string = nullptr;
        return;
    }
    case ZEL_CDR_TK_SEQUENCE: {
        auto *sequence = static_cast<ZELSequence *>(value);
        // A loaned sequence refuses both (its storage is its lender's).
        ZELSequence_set_element_deallocation_params(sequence, params, kFinalizeContext);
        ZELSequence_finalize(sequence, ZELCdrType_elementTypeI(type), kFinalizeContext);
        return;
    }
    case ZEL_CDR_TK_ARRAY: {
        const ZELCdrTypeDesc *element = type->element;
        if (ZELCdrType_isPrimitiveKindI(ZELCdrType_resolveI(element)->kind)) {
            return;
        }
        auto *elements = static_cast<char *>(value);
        for (uint32_t i = 0; i < type->bound; ++i) {
            ZELCdrType_finalizeValueI(element, elements + size_t{i} * element->size, params);
        }
        return;
    }
    case ZEL_CDR_TK_STRUCT: {
        if (ZELCdrType_ownsNothingI(type)) {
            return;
        }
        auto *base = static_cast<char *>(value);
        for (uint32_t i = 0; i < type->memberCount; ++i) {
            const ZELCdrMember &member = type->members[i];
            ZELCdrType_finalizeValueI(member.type, base + member.offset, params);
        }
        return;
    }
    case ZEL_CDR_TK_ALIAS:
        ZELCdrType_finalizeValueI(type->element, value, params);
        return;
    default:
        return;
    }
}

// Copies a string member by content. A non-NULL bounded destination holds
// its bound; any other destination holds at least its strlen + 1 and is
// replaced when the source does not fit. On failure it keeps its text.
bool ZELCdrType_copyStringI(const ZELCdrTypeDesc *type, char **dst, const char *src) {
    if (src == nullptr) {
        DDS_String_free(*dst);
        *dst = nullptr;
        return true;
    }
    const size_t length = std::strlen(src);
    if (type->bound != 0 && length > type->bound) {
        return false;
    }
    const bool fits = *dst != nullptr && (type->bound != 0 || std::strlen(*dst) >= length);
    if (!fits) {
        char *string = DDS_String_alloc(type->bound != 0 ? type->bound : length);
        if (string == nullptr) {
            return false;
        }
        DDS_String_free(*dst);
        *dst = string;
    }
    std::memcpy(*dst, src, length + 1);
    return true;
}

}  // namespace

bool ZELCdrType_copyValueI(const ZELCdrTypeDesc *type, void *dst, const void *src, KeyMode mode) {
    switch (type->kind) {
    case ZEL_CDR_TK_STRING:
        return ZELCdrType_copyStringI(type, static_cast<char **>(dst), *static_cast<char *const *>(src));
    case ZEL_CDR_TK_SEQUENCE:
        return ZELSequence_copy(static_cast<ZELSequence *>(dst), static_cast<const ZELSequence *>(src),
                                ZELCdrType_elementTypeI(type), kCopyContext) != nullptr;
    case ZEL_CDR_TK_ARRAY: {
        const ZELCdrTypeDesc *element = type->element;
        if (ZELCdrType_isPrimitiveKindI(ZELCdrType_resolveI(element)->kind)) {
            std::memcpy(dst, src, type->size);
            return true;
        }
        auto *to = static_cast<char *>(dst);
        auto *from = static_cast<const char *>(src);
        for (uint32_t i = 0; i < type->bound; ++i) {
            const size_t offset = size_t{i} * element->size;
            if (!ZELCdrType_copyValueI(element, to + offset, from + offset, KeyMode::all)) {
                return false;
            }
        }
        return true;
    }
    case ZEL_CDR_TK_STRUCT: {
        const bool keysOnly = mode != KeyMode::all && ZELCdrType_hasKeyMembersI(type);
        auto *to = static_cast<char *>(dst);
        auto *from = static_cast<const char *>(src);
        if (!keysOnly && ZELCdrType_plainCacheI(type) != nullptr) {
            std::memmove(to, from, type->size);
            return true;
        }
        for (uint32_t i = 0; i < type->memberCount; ++i) {
            const ZELCdrMember &member = type->members[i];
            if (keysOnly && !member.isKey) {
                continue;
            }
            if (!ZELCdrType_copyValueI(member.type, to + member.offset, from + member.offset,
                                       keysOnly ? mode : KeyMode::all)) {
                return false;
            }
        }
        return true;
    }
    case ZEL_CDR_TK_ALIAS:
        return ZELCdrType_copyValueI(type->element, dst, src, mode);
    default:
        std::memcpy(dst, src, ZELCdrType_primitiveSizeI(type->kind));
        return true;
    }
}

}  // namespace zel::cdr

using namespace zel::cdr;

extern "C" {

DDS_Boolean ZELCdrType_initializeSample(const ZELCdrTypeDesc *type, void *sample,
                                        const DDS_TypeAllocationParams_t *params) {
    if (type == nullptr || sample == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    if (params == nullptr) {
        params = &kDefaultAllocationParams;
    }
    std::memset(sample, 0, type->size);
    if (!ZELCdrType_initializeValueI(type, sample, params)) {
        // Undo: everything not yet made is still zero and finalizes as nothing.
        ZELCdrType_finalizeValueI(type, sample, &kDefaultDeallocationParams);
        std::memset(sample, 0, type->size);
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

void ZELCdrType_finalizeSample(const ZELCdrTypeDesc *type, void *sample, const DDS_TypeDeallocationParams_t *params) {
    if (type == nullptr || sample == nullptr) {
        return;
    }
    ZELCdrType_finalizeValueI(type, sample, params != nullptr ? params : &kDefaultDeallocationParams);
}

DDS_Boolean ZELCdrType_copySample(const ZELCdrTypeDesc *type, void *dst, const void *src) {
    if (type == nullptr || dst == nullptr || src == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    if (dst == src) {
        return DDS_BOOLEAN_TRUE;
    }
    return ZELCdrType_copyValueI(type, dst, src, KeyMode::all) ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

}  // extern "C"
