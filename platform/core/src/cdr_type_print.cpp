// Printing of described samples: every member by name, nested values one
// level deeper.
#include "cdr_type_engine.h"
#include "vurncore/cdr_print.h"
#include "vurncore/sequence.h"

namespace zel::cdr {
namespace {

ZELCdrTypePrintFunction ZELCdrType_primitivePrinterI(ZELCdrTypeKind kind) {
    switch (kind) {
    case ZEL_CDR_TK_BOOLEAN:
        return &ZELCdrType_printBoolean;
    case ZEL_CDR_TK_OCTET:
        return &ZELCdrType_printOctet;
    case ZEL_CDR_TK_CHAR:
        return &ZELCdrType_printChar;
    case ZEL_CDR_TK_SHORT:
        return &ZELCdrType_printShort;
    case ZEL_CDR_TK_USHORT:
        return &ZELCdrType_printUnsignedShort;
    case ZEL_CDR_TK_LONG:
        return &ZELCdrType_printLong;
    case ZEL_CDR_TK_ULONG:
        return &ZELCdrType_printUnsignedLong;
    case ZEL_CDR_TK_LONGLONG:
        return &ZELCdrType_printLongLong;
    case ZEL_CDR_TK_ULONGLONG:
        return &ZELCdrType_printUnsignedLongLong;
    case ZEL_CDR_TK_FLOAT:
        return &ZELCdrType_printFloat;
    case ZEL_CDR_TK_DOUBLE:
        return &ZELCdrType_printDouble;
    default:
        return &ZELCdrType_printEnum;
    }
}

void ZELCdrType_printValueI(const ZELCdrTypeDesc *type, const void *value, const char *description,
                            unsigned int indent);

// Elements in place (`first`) or through pointers (a discontiguous loan).
void ZELCdrType_printElementsI(const ZELCdrTypeDesc *element, const char *first, const void *const *pointers,
                               uint32_t count, const char *description, unsigned int indent) {
    const ZELCdrTypeKind kind = ZELCdrType_resolveI(element)->kind;
    if (ZELCdrType_isPrimitiveKindI(kind)) {
        if (pointers != nullptr) {
            ZELCdrType_printPointerArray(pointers, count, ZELCdrType_primitivePrinterI(kind), description, indent);
        } else {
            ZELCdrType_printArray(first, count, ZELCdrType_primitiveSizeI(kind), ZELCdrType_primitivePrinterI(kind),
                                  description, indent);
        }
        return;
    }
    if (kind == ZEL_CDR_TK_STRING && pointers == nullptr) {
        ZELCdrType_printStringArray(reinterpret_cast<const char *const *>(first), count, description, indent);
        return;
    }
    ZELCdrType_printHeaderI(description, indent);
    for (uint32_t i = 0; i < count; ++i) {
        const void *value = pointers != nullptr ? pointers[i] : first + size_t{i} * element->size;
        ZELCdrType_printValueI(element, value, ElementName(i).text, indent + 1);
    }
}

void ZELCdrType_printValueI(const ZELCdrTypeDesc *type, const void *value, const char *description,
                            unsigned int indent) {
    switch (type->kind) {
    case ZEL_CDR_TK_STRING:
        ZELCdrType_printString(*static_cast<const char *const *>(value), description, indent);
        return;
    case ZEL_CDR_TK_SEQUENCE: {
        const auto *sequence = static_cast<const ZELSequence *>(value);
        ZELCdrType_printElementsI(type->element, static_cast<const char *>(sequence->_contiguous_buffer),
                                  sequence->_discontiguous_buffer, sequence->_length, description, indent);
        return;
    }
    case ZEL_CDR_TK_ARRAY:
        ZELCdrType_printElementsI(type->element, static_cast<const char *>(value), nullptr, type->bound, description,
                                  indent);
        return;
    case ZEL_CDR_TK_STRUCT: {
        ZELCdrType_printHeaderI(description, indent);
        const auto *base = static_cast<const char *>(value);
        for (uint32_t i = 0; i < type->memberCount; ++i) {
            const ZELCdrMember &member = type->members[i];
            ZELCdrType_printValueI(member.type, base + member.offset, member.name, indent + 1);
        }
        return;
    }
    case ZEL_CDR_TK_ALIAS:
        ZELCdrType_printValueI(type->element, value, description, indent);
        return;
    default:
        ZELCdrType_primitivePrinterI(type->kind)(value, description, indent);
        return;
    }
}

}  // namespace
}  // namespace zel::cdr

using namespace zel::cdr;

extern "C" {

void ZELCdrType_printSample(const ZELCdrTypeDesc *type, const void *sample, const char *description,
                            unsigned int indent) {
    if (type == nullptr) {
        return;
    }
    if (sample == nullptr) {
        ZELCdrType_printHeaderI(description, indent);
        ZELCdrType_printLineI("NULL", nullptr, indent);
        return;
    }
    ZELCdrType_printValueI(type, sample, description, indent);
}

}  // extern "C"
