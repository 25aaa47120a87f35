// Type codes: the primitive records, the accessors, and the type code's own
// CDR form. One walk over the record produces the form; it runs either into
// a stream or into a counter, so the size is measured by the very code that
// serializes.
#include "vurncore/typecode.h"

#include <cstring>

#include "vurncore/cdr_stream.h"

namespace {

// Deeper nesting than any IDL type has: taken as a record that refers to itself.
constexpr unsigned kMaxDepth = 64;

constexpr DDS_TypeCode primitiveTypeCodeI(DDS_TCKind kind) {
    return DDS_TypeCode{kind, nullptr, DDS_FINAL_EXTENSIBILITY, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr};
}

// Writes into a stream, aligned from the stream's origin.
class StreamSink {
public:
    explicit StreamSink(ZELCdrStream *stream) : stream_(stream) {}
    bool octet(DDS_Octet value) { return ZELCdrStream_serializePrimitive(stream_, &value, 1) != 0; }
    bool shortValue(DDS_Short value) { return ZELCdrStream_serializePrimitive(stream_, &value, 2) != 0; }
    bool longValue(uint32_t value) { return ZELCdrStream_serializePrimitive(stream_, &value, 4) != 0; }
    bool string(const char *value) {
        return ZELCdrStream_serializeString(stream_, value != nullptr ? value : "", UINT32_MAX) != 0;
    }

private:
    ZELCdrStream *stream_;
};

// Counts the octets the stream would take from alignment 0.
class CountingSink {
public:
    bool octet(DDS_Octet) { return add(1, 1); }
    bool shortValue(DDS_Short) { return add(2, 2); }
    bool longValue(uint32_t) { return add(4, 4); }
    bool string(const char *value) { return add(4, 4) && add(1, (value != nullptr ? std::strlen(value) : 0) + 1); }
    uint64_t size() const { return size_; }

private:
    bool add(uint64_t alignment, uint64_t octets) {
        size_ = (size_ + alignment - 1) / alignment * alignment + octets;
        return size_ <= UINT32_MAX;
    }
    uint64_t size_ = 0;
};

template <class Sink>
bool writeTypeCodeI(Sink &sink, const DDS_TypeCode *self, unsigned depth);

template <class Sink>
bool writeMembersI(Sink &sink, const DDS_TypeCode *self, unsigned depth) {
    if (!sink.string(self->name) || !sink.longValue(static_cast<uint32_t>(self->extensibility)) ||
        !sink.longValue(self->memberCount) || (self->memberCount > 0 && self->members == nullptr)) {
        return false;
    }
    for (DDS_UnsignedLong i = 0; i < self->memberCount; ++i) {
        const DDS_TypeCode_Member &member = self->members[i];
        if (!sink.string(member.name) || !sink.longValue(static_cast<uint32_t>(member.id)) ||
            !sink.octet(member.keyFlag) || !sink.shortValue(member.visibility) ||
            !writeTypeCodeI(sink, member.type, depth + 1)) {
            return false;
        }
    }
    return true;
}

template <class Sink>
bool writeEnumeratorsI(Sink &sink, const DDS_TypeCode *self) {
    if (!sink.string(self->name) || !sink.longValue(self->enumeratorCount) ||
        (self->enumeratorCount > 0 && self->enumerators == nullptr)) {
        return false;
    }
    for (DDS_UnsignedLong i = 0; i < self->enumeratorCount; ++i) {
        if (!sink.string(self->enumerators[i].name) ||
            !sink.longValue(static_cast<uint32_t>(self->enumerators[i].value))) {
            return false;
        }
    }
    return true;
}

template <class Sink>
bool writeDimensionsI(Sink &sink, const DDS_TypeCode *self) {
    if (!sink.longValue(self->dimensionCount) || (self->dimensionCount > 0 && self->dimensions == nullptr)) {
        return false;
    }
    for (DDS_UnsignedLong i = 0; i < self->dimensionCount; ++i) {
        if (!sink.longValue(self->dimensions[i])) {
            return false;
        }
    }
    return true;
}

template <class Sink>
bool writeTypeCodeI(Sink &sink, const DDS_TypeCode *self, unsigned depth) {
    if (self == nullptr || depth > kMaxDepth || !sink.longValue(static_cast<uint32_t>(self->kind))) {
        return false;
    }
    switch (self->kind) {
    case DDS_TK_NULL:
    case DDS_TK_SHORT:
    case DDS_TK_LONG:
    case DDS_TK_USHORT:
    case DDS_TK_ULONG:
    case DDS_TK_FLOAT:
    case DDS_TK_DOUBLE:
    case DDS_TK_BOOLEAN:
    case DDS_TK_CHAR:
    case DDS_TK_OCTET:
    case DDS_TK_LONGLONG:
    case DDS_TK_ULONGLONG:
        return true;
    case DDS_TK_STRUCT:
        return writeMembersI(sink, self, depth);
    case DDS_TK_ENUM:
        return writeEnumeratorsI(sink, self);
    case DDS_TK_ALIAS:
        return sink.string(self->name) && writeTypeCodeI(sink, self->contentType, depth + 1);
    case DDS_TK_STRING:
        return sink.longValue(self->length);
    case DDS_TK_SEQUENCE:
        return sink.longValue(self->length) && writeTypeCodeI(sink, self->contentType, depth + 1);
    case DDS_TK_ARRAY:
        return writeDimensionsI(sink, self) && writeTypeCodeI(sink, self->contentType, depth + 1);
    }
    return false;  // a kind this record cannot have
}

bool hasMembersI(const DDS_TypeCode *self, DDS_UnsignedLong index) {
    return self != nullptr && self->kind == DDS_TK_STRUCT && index < self->memberCount && self->members != nullptr;
}

}  // namespace

extern "C" {

const DDS_TypeCode DDS_g_tc_short = primitiveTypeCodeI(DDS_TK_SHORT);
const DDS_TypeCode DDS_g_tc_ushort = primitiveTypeCodeI(DDS_TK_USHORT);
const DDS_TypeCode DDS_g_tc_long = primitiveTypeCodeI(DDS_TK_LONG);
const DDS_TypeCode DDS_g_tc_ulong = primitiveTypeCodeI(DDS_TK_ULONG);
const DDS_TypeCode DDS_g_tc_longlong = primitiveTypeCodeI(DDS_TK_LONGLONG);
const DDS_TypeCode DDS_g_tc_ulonglong = primitiveTypeCodeI(DDS_TK_ULONGLONG);
const DDS_TypeCode DDS_g_tc_float = primitiveTypeCodeI(DDS_TK_FLOAT);
const DDS_TypeCode DDS_g_tc_double = primitiveTypeCodeI(DDS_TK_DOUBLE);
const DDS_TypeCode DDS_g_tc_boolean = primitiveTypeCodeI(DDS_TK_BOOLEAN);
const DDS_TypeCode DDS_g_tc_char = primitiveTypeCodeI(DDS_TK_CHAR);
const DDS_TypeCode DDS_g_tc_octet = primitiveTypeCodeI(DDS_TK_OCTET);

DDS_TCKind DDS_TypeCode_kind(const DDS_TypeCode *self) { return self != nullptr ? self->kind : DDS_TK_NULL; }

const char *DDS_TypeCode_name(const DDS_TypeCode *self) {
    if (self == nullptr) {
        return nullptr;
    }
    switch (self->kind) {
    case DDS_TK_STRUCT:
    case DDS_TK_ENUM:
    case DDS_TK_ALIAS:
        return self->name;
    default:
        return nullptr;
    }
}

// An enumeration's members are its enumerators, as callers walking a type
// expect.
DDS_UnsignedLong DDS_TypeCode_member_count(const DDS_TypeCode *self) {
    if (self == nullptr) {
        return 0;
    }
    if (self->kind == DDS_TK_STRUCT) {
        return self->members != nullptr ? self->memberCount : 0;
    }
    if (self->kind == DDS_TK_ENUM) {
        return self->enumerators != nullptr ? self->enumeratorCount : 0;
    }
    return 0;
}

const char *DDS_TypeCode_member_name(const DDS_TypeCode *self, DDS_UnsignedLong index) {
    if (hasMembersI(self, index)) {
        return self->members[index].name;
    }
    if (self != nullptr && self->kind == DDS_TK_ENUM && index < self->enumeratorCount && self->enumerators != nullptr) {
        return self->enumerators[index].name;
    }
    return nullptr;
}

const DDS_TypeCode *DDS_TypeCode_member_type(const DDS_TypeCode *self, DDS_UnsignedLong index) {
    return hasMembersI(self, index) ? self->members[index].type : nullptr;
}

DDS_Boolean DDS_TypeCode_is_member_key(const DDS_TypeCode *self, DDS_UnsignedLong index) {
    return hasMembersI(self, index) && self->members[index].keyFlag == DDS_TYPECODE_KEY_MEMBER ? DDS_BOOLEAN_TRUE
                                                                                               : DDS_BOOLEAN_FALSE;
}

DDS_UnsignedLong DDS_TypeCode_length(const DDS_TypeCode *self) {
    return self != nullptr && (self->kind == DDS_TK_STRING || self->kind == DDS_TK_SEQUENCE) ? self->length : 0;
}

const DDS_TypeCode *DDS_TypeCode_content_type(const DDS_TypeCode *self) {
    if (self == nullptr) {
        return nullptr;
    }
    switch (self->kind) {
    case DDS_TK_SEQUENCE:
    case DDS_TK_ARRAY:
    case DDS_TK_ALIAS:
        return self->contentType;
    default:
        return nullptr;
    }
}

DDS_ExtensibilityKind DDS_TypeCode_extensibility_kind(const DDS_TypeCode *self) {
    return self != nullptr && self->kind == DDS_TK_STRUCT ? self->extensibility : DDS_FINAL_EXTENSIBILITY;
}

DDS_Boolean DDS_TypeCode_serialize(const DDS_TypeCode *self, ZELCdrStream *stream) {
    if (stream == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    StreamSink sink(stream);
    return writeTypeCodeI(sink, self, 0) ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

DDS_UnsignedLong DDS_TypeCode_get_serialized_size(const DDS_TypeCode *self) {
    CountingSink sink;
    return writeTypeCodeI(sink, self, 0) ? static_cast<DDS_UnsignedLong>(sink.size()) : 0;
}

}  // extern "C"
