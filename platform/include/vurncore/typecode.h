/* Type codes: a plain, statically initializable description of a type
 * (kind, scoped name, members, bounds, element type, dimensions,
 * enumerators), as generated type support hands it to the middleware.
 *
 * A generated type defines its type code as a static record plus static
 * member arrays whose member types are left NULL, and fills them on the first
 * call of its get_typecode function (guarded by a static flag), for example:
 *
 *   static struct DDS_TypeCode_Member Foo_g_tc_members[2] = {
 *       {"id", 0, DDS_TYPECODE_KEY_MEMBER, DDS_PUBLIC_MEMBER, NULL},
 *       {"name", 1, DDS_TYPECODE_NONKEY_REQUIRED_MEMBER, DDS_PUBLIC_MEMBER, NULL}};
 *   static struct DDS_TypeCode Foo_g_tc_name = {DDS_TK_STRING, NULL, DDS_FINAL_EXTENSIBILITY, 0, NULL, 256};
 *   static struct DDS_TypeCode Foo_g_tc = {DDS_TK_STRUCT, "Foo", DDS_MUTABLE_EXTENSIBILITY, 2, Foo_g_tc_members};
 *   ... Foo_g_tc_members[0].type = &DDS_g_tc_long; Foo_g_tc_members[1].type = &Foo_g_tc_name; ...
 */
#ifndef VURNCORE_TYPECODE_H
#define VURNCORE_TYPECODE_H

#include "vurncore/dll.h"
#include "vurncore/types.h"

ZEL_EXTERN_C_BEGIN

struct ZELCdrStream;

/* Kinds, numbered as the standard type-code kinds are. */
typedef enum DDS_TCKind {
    DDS_TK_NULL = 0,
    DDS_TK_SHORT = 2,
    DDS_TK_LONG = 3,
    DDS_TK_USHORT = 4,
    DDS_TK_ULONG = 5,
    DDS_TK_FLOAT = 6,
    DDS_TK_DOUBLE = 7,
    DDS_TK_BOOLEAN = 8,
    DDS_TK_CHAR = 9,
    DDS_TK_OCTET = 10,
    DDS_TK_STRUCT = 15,
    DDS_TK_ENUM = 17,
    DDS_TK_STRING = 18,
    DDS_TK_SEQUENCE = 19,
    DDS_TK_ARRAY = 20,
    DDS_TK_ALIAS = 21,
    DDS_TK_LONGLONG = 23,
    DDS_TK_ULONGLONG = 24
} DDS_TCKind;

typedef enum DDS_ExtensibilityKind {
    DDS_FINAL_EXTENSIBILITY = 0,
    DDS_EXTENSIBLE_EXTENSIBILITY = 1,
    DDS_MUTABLE_EXTENSIBILITY = 2
} DDS_ExtensibilityKind;

/* Member key flags. */
#define DDS_TYPECODE_KEY_MEMBER ((DDS_Octet)1)
#define DDS_TYPECODE_NONKEY_REQUIRED_MEMBER ((DDS_Octet)2)

/* Member visibility. */
#define DDS_PUBLIC_MEMBER ((DDS_Short)0)

struct DDS_TypeCode;

struct DDS_TypeCode_Member {
    const char *name;
    DDS_Long id;                     /* the declaration index */
    DDS_Octet keyFlag;               /* DDS_TYPECODE_KEY_MEMBER or _NONKEY_REQUIRED_MEMBER */
    DDS_Short visibility;            /* DDS_PUBLIC_MEMBER */
    const struct DDS_TypeCode *type; /* NULL until the owner's get_typecode fills it */
};

struct DDS_TypeCode_Enumerator {
    const char *name;
    DDS_Long value;
};

struct DDS_TypeCode {
    DDS_TCKind kind;
    const char *name;                    /* scoped name of structs, enums and aliases; else NULL */
    DDS_ExtensibilityKind extensibility; /* structs */
    DDS_UnsignedLong memberCount;        /* structs */
    struct DDS_TypeCode_Member *members;
    DDS_UnsignedLong length;                /* strings and sequences: the bound (0 unbounded) */
    const struct DDS_TypeCode *contentType; /* sequence and array element, aliased type */
    DDS_UnsignedLong dimensionCount;        /* arrays */
    const DDS_UnsignedLong *dimensions;
    DDS_UnsignedLong enumeratorCount; /* enumerations */
    const struct DDS_TypeCode_Enumerator *enumerators;
};
typedef struct DDS_TypeCode DDS_TypeCode;

/* The primitive type codes. */
VURNCORE_API extern const struct DDS_TypeCode DDS_g_tc_short;
VURNCORE_API extern const struct DDS_TypeCode DDS_g_tc_ushort;
VURNCORE_API extern const struct DDS_TypeCode DDS_g_tc_long;
VURNCORE_API extern const struct DDS_TypeCode DDS_g_tc_ulong;
VURNCORE_API extern const struct DDS_TypeCode DDS_g_tc_longlong;
VURNCORE_API extern const struct DDS_TypeCode DDS_g_tc_ulonglong;
VURNCORE_API extern const struct DDS_TypeCode DDS_g_tc_float;
VURNCORE_API extern const struct DDS_TypeCode DDS_g_tc_double;
VURNCORE_API extern const struct DDS_TypeCode DDS_g_tc_boolean;
VURNCORE_API extern const struct DDS_TypeCode DDS_g_tc_char;
VURNCORE_API extern const struct DDS_TypeCode DDS_g_tc_octet;

/* ---- accessors: a NULL type code, a kind without the asked-for part or an
 * index out of range give DDS_TK_NULL, NULL, 0 or false ---- */

VURNCORE_API DDS_TCKind DDS_TypeCode_kind(const struct DDS_TypeCode *self);
VURNCORE_API const char *DDS_TypeCode_name(const struct DDS_TypeCode *self);
VURNCORE_API DDS_UnsignedLong DDS_TypeCode_member_count(const struct DDS_TypeCode *self);
VURNCORE_API const char *DDS_TypeCode_member_name(const struct DDS_TypeCode *self, DDS_UnsignedLong index);
VURNCORE_API const struct DDS_TypeCode *DDS_TypeCode_member_type(const struct DDS_TypeCode *self,
                                                                 DDS_UnsignedLong index);
VURNCORE_API DDS_Boolean DDS_TypeCode_is_member_key(const struct DDS_TypeCode *self, DDS_UnsignedLong index);
/* The bound of a string or sequence. */
VURNCORE_API DDS_UnsignedLong DDS_TypeCode_length(const struct DDS_TypeCode *self);
/* The element type of a sequence or array, the aliased type of an alias. */
VURNCORE_API const struct DDS_TypeCode *DDS_TypeCode_content_type(const struct DDS_TypeCode *self);
/* The extensibility of a struct (DDS_FINAL_EXTENSIBILITY for other kinds). */
VURNCORE_API DDS_ExtensibilityKind DDS_TypeCode_extensibility_kind(const struct DDS_TypeCode *self);

/* ---- the type code's own CDR form ----
 * In the stream's byte order and aligned like any CDR, from the stream's
 * origin: the kind (32 bits), then by kind:
 *   struct    name (string), extensibility (32 bits), member count (32 bits),
 *             then per member: name (string), id (32 bits), key flag
 *             (octet), visibility (16 bits), type (its own CDR form);
 *   enum      name, enumerator count (32 bits), then per enumerator: name,
 *             value (32 bits);
 *   alias     name, aliased type;
 *   string    bound (32 bits);
 *   sequence  bound (32 bits), element type;
 *   array     dimension count (32 bits), each dimension (32 bits), element type;
 *   primitive nothing more.
 * Names are unbounded strings; a missing name goes out as "". A type code
 * that is incomplete (a member or element type still NULL), of an unknown
 * kind or nested deeper than 64 levels cannot be serialized. */

/* Writes the CDR form; false when the type code cannot be serialized or the
 * stream runs out of room. */
VURNCORE_API DDS_Boolean DDS_TypeCode_serialize(const struct DDS_TypeCode *self, struct ZELCdrStream *stream);
/* Octets of the CDR form from alignment 0; 0 when it cannot be serialized. */
VURNCORE_API DDS_UnsignedLong DDS_TypeCode_get_serialized_size(const struct DDS_TypeCode *self);

ZEL_EXTERN_C_END

#endif
