// Descriptors of the primitive types and of unbounded strings. Their type
// codes are the DDS_g_tc_* records, so they have no getTypeCode of their own.
#include "vurncore/cdr_type.h"

#include "vurncore/sequence_define.hpp"

namespace {

template <typename T>
constexpr ZELCdrTypeDesc primitiveDescriptor(ZELCdrTypeKind kind, const char *name) {
    return ZELCdrTypeDesc{kind, name,    sizeof(T), alignof(T), ZEL_CDR_EXTENSIBILITY_FINAL,       0,       nullptr,
                          0,    nullptr, 0,         nullptr,    &zel::plainSequenceElementType<T>, nullptr, nullptr};
}

// The engine writes C values of these types as they are, so each must have
// the size of its wire form.
static_assert(sizeof(DDS_Boolean) == 1 && sizeof(DDS_Octet) == 1 && sizeof(DDS_Char) == 1);
static_assert(sizeof(DDS_Short) == 2 && sizeof(DDS_UnsignedShort) == 2);
static_assert(sizeof(DDS_Long) == 4 && sizeof(DDS_UnsignedLong) == 4 && sizeof(DDS_Float) == 4);
static_assert(sizeof(DDS_LongLong) == 8 && sizeof(DDS_UnsignedLongLong) == 8 && sizeof(DDS_Double) == 8);

}  // namespace

extern "C" {

const ZELCdrTypeDesc ZELCdrType_g_boolean = primitiveDescriptor<DDS_Boolean>(ZEL_CDR_TK_BOOLEAN, "boolean");
const ZELCdrTypeDesc ZELCdrType_g_octet = primitiveDescriptor<DDS_Octet>(ZEL_CDR_TK_OCTET, "octet");
const ZELCdrTypeDesc ZELCdrType_g_char = primitiveDescriptor<DDS_Char>(ZEL_CDR_TK_CHAR, "char");
const ZELCdrTypeDesc ZELCdrType_g_short = primitiveDescriptor<DDS_Short>(ZEL_CDR_TK_SHORT, "short");
const ZELCdrTypeDesc ZELCdrType_g_ushort = primitiveDescriptor<DDS_UnsignedShort>(ZEL_CDR_TK_USHORT, "unsigned short");
const ZELCdrTypeDesc ZELCdrType_g_long = primitiveDescriptor<DDS_Long>(ZEL_CDR_TK_LONG, "long");
const ZELCdrTypeDesc ZELCdrType_g_ulong = primitiveDescriptor<DDS_UnsignedLong>(ZEL_CDR_TK_ULONG, "unsigned long");
const ZELCdrTypeDesc ZELCdrType_g_longlong = primitiveDescriptor<DDS_LongLong>(ZEL_CDR_TK_LONGLONG, "long long");
const ZELCdrTypeDesc ZELCdrType_g_ulonglong =
        primitiveDescriptor<DDS_UnsignedLongLong>(ZEL_CDR_TK_ULONGLONG, "unsigned long long");
const ZELCdrTypeDesc ZELCdrType_g_float = primitiveDescriptor<DDS_Float>(ZEL_CDR_TK_FLOAT, "float");
const ZELCdrTypeDesc ZELCdrType_g_double = primitiveDescriptor<DDS_Double>(ZEL_CDR_TK_DOUBLE, "double");

const ZELCdrTypeDesc ZELCdrType_g_string = {ZEL_CDR_TK_STRING,
                                            "string",
                                            sizeof(char *),
                                            alignof(char *),
                                            ZEL_CDR_EXTENSIBILITY_FINAL,
                                            0,
                                            nullptr,
                                            0,
                                            nullptr,
                                            0,
                                            nullptr,
                                            &zel::stringSequenceElementType,
                                            nullptr,
                                            nullptr};

}  // extern "C"
