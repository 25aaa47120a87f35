// Type codes: a small hand-made type defined the way generated code defines
// one, its accessors, and the size and octets of its own CDR form.
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "vurncore/cdr_stream.h"
#include "vurncore/typecode.h"

namespace {

// enum Color { RED = 0, GREEN = 5 };
// typedef unsigned long Count;
// @mutable struct Shape { @key long id; Color color; string<8> label;
//                         sequence<double, 4> xs; octet grid[2][3]; Count count; };
const DDS_TypeCode_Enumerator g_colorEnumerators[] = {{"RED", 0}, {"GREEN", 5}};
DDS_TypeCode g_colorTc = {DDS_TK_ENUM, "Color", DDS_FINAL_EXTENSIBILITY, 0, nullptr, 0, nullptr, 0,
                          nullptr,     2,       g_colorEnumerators};
DDS_TypeCode g_countTc = {DDS_TK_ALIAS, "Count", DDS_FINAL_EXTENSIBILITY, 0, nullptr, 0, nullptr, 0, nullptr, 0,
                          nullptr};
DDS_TypeCode g_labelTc = {DDS_TK_STRING, nullptr, DDS_FINAL_EXTENSIBILITY, 0, nullptr, 8, nullptr, 0, nullptr, 0,
                          nullptr};
DDS_TypeCode g_xsTc = {DDS_TK_SEQUENCE, nullptr, DDS_FINAL_EXTENSIBILITY, 0, nullptr, 4, nullptr, 0, nullptr, 0,
                       nullptr};
const DDS_UnsignedLong g_gridDimensions[] = {2, 3};
DDS_TypeCode g_gridTc = {DDS_TK_ARRAY, nullptr, DDS_FINAL_EXTENSIBILITY, 0, nullptr, 0,
                         nullptr,      2,       g_gridDimensions,        0, nullptr};
DDS_TypeCode_Member g_shapeMembers[] = {
        {"id", 0, DDS_TYPECODE_KEY_MEMBER, DDS_PUBLIC_MEMBER, nullptr},
        {"color", 1, DDS_TYPECODE_NONKEY_REQUIRED_MEMBER, DDS_PUBLIC_MEMBER, nullptr},
        {"label", 2, DDS_TYPECODE_NONKEY_REQUIRED_MEMBER, DDS_PUBLIC_MEMBER, nullptr},
        {"xs", 3, DDS_TYPECODE_NONKEY_REQUIRED_MEMBER, DDS_PUBLIC_MEMBER, nullptr},
        {"grid", 4, DDS_TYPECODE_NONKEY_REQUIRED_MEMBER, DDS_PUBLIC_MEMBER, nullptr},
        {"count", 5, DDS_TYPECODE_NONKEY_REQUIRED_MEMBER, DDS_PUBLIC_MEMBER, nullptr},
};
DDS_TypeCode g_shapeTc = {
        DDS_TK_STRUCT, "Shape", DDS_MUTABLE_EXTENSIBILITY, 6, g_shapeMembers, 0, nullptr, 0, nullptr, 0, nullptr};

DDS_TypeCode *Shape_get_typecode() {
    static bool filled = false;
    if (!filled) {
        g_countTc.contentType = &DDS_g_tc_ulong;
        g_xsTc.contentType = &DDS_g_tc_double;
        g_gridTc.contentType = &DDS_g_tc_octet;
        g_shapeMembers[0].type = &DDS_g_tc_long;
        g_shapeMembers[1].type = &g_colorTc;
        g_shapeMembers[2].type = &g_labelTc;
        g_shapeMembers[3].type = &g_xsTc;
        g_shapeMembers[4].type = &g_gridTc;
        g_shapeMembers[5].type = &g_countTc;
        filled = true;
    }
    return &g_shapeTc;
}

// Counted by hand from the form typecode.h gives: kind, name, extensibility, count,
// then per member name, id, key flag, visibility and type, with alignment.
constexpr DDS_UnsignedLong kShapeSize = 248;

TEST(TypeCodeTest, AccessorsAnswerByKind) {
    const DDS_TypeCode *shape = Shape_get_typecode();
    EXPECT_EQ(DDS_TypeCode_kind(shape), DDS_TK_STRUCT);
    EXPECT_STREQ(DDS_TypeCode_name(shape), "Shape");
    EXPECT_EQ(DDS_TypeCode_extensibility_kind(shape), DDS_MUTABLE_EXTENSIBILITY);
    EXPECT_EQ(DDS_TypeCode_member_count(shape), 6u);
    EXPECT_STREQ(DDS_TypeCode_member_name(shape, 2), "label");
    EXPECT_EQ(DDS_TypeCode_member_type(shape, 0), &DDS_g_tc_long);
    EXPECT_TRUE(DDS_TypeCode_is_member_key(shape, 0));
    EXPECT_FALSE(DDS_TypeCode_is_member_key(shape, 1));
    EXPECT_EQ(DDS_TypeCode_member_name(shape, 6), nullptr);
    EXPECT_EQ(DDS_TypeCode_member_type(shape, 6), nullptr);
    EXPECT_FALSE(DDS_TypeCode_is_member_key(shape, 6));
    EXPECT_EQ(DDS_TypeCode_length(shape), 0u);

    EXPECT_EQ(DDS_TypeCode_length(DDS_TypeCode_member_type(shape, 2)), 8u);
    const DDS_TypeCode *xs = DDS_TypeCode_member_type(shape, 3);
    EXPECT_EQ(DDS_TypeCode_length(xs), 4u);
    EXPECT_EQ(DDS_TypeCode_content_type(xs), &DDS_g_tc_double);
    EXPECT_EQ(DDS_TypeCode_content_type(DDS_TypeCode_member_type(shape, 5)), &DDS_g_tc_ulong);
    EXPECT_EQ(DDS_TypeCode_content_type(shape), nullptr);
    EXPECT_EQ(DDS_TypeCode_extensibility_kind(xs), DDS_FINAL_EXTENSIBILITY);
    EXPECT_EQ(DDS_TypeCode_name(xs), nullptr);

    // An enumeration's members are its enumerators.
    EXPECT_EQ(DDS_TypeCode_member_count(&g_colorTc), 2u);
    EXPECT_STREQ(DDS_TypeCode_member_name(&g_colorTc, 1), "GREEN");
    EXPECT_EQ(DDS_TypeCode_member_type(&g_colorTc, 1), nullptr);

    EXPECT_EQ(DDS_TypeCode_kind(&DDS_g_tc_boolean), DDS_TK_BOOLEAN);
    EXPECT_EQ(DDS_TypeCode_kind(nullptr), DDS_TK_NULL);
    EXPECT_EQ(DDS_TypeCode_member_count(nullptr), 0u);
}

TEST(TypeCodeTest, SerializedSizeIsWhatTheSerializerWrites) {
    const DDS_TypeCode *shape = Shape_get_typecode();
    EXPECT_EQ(DDS_TypeCode_get_serialized_size(shape), kShapeSize);
    EXPECT_EQ(DDS_TypeCode_get_serialized_size(&DDS_g_tc_long), 4u);

    std::vector<char> buffer(kShapeSize + 8, 0x55);
    ZELCdrStream stream;
    ZELCdrStream_init(&stream, buffer.data(), kShapeSize, ZEL_CDR_BIG_ENDIAN);
    ASSERT_TRUE(DDS_TypeCode_serialize(shape, &stream));
    EXPECT_EQ(ZELCdrStream_getCurrentPositionOffset(&stream), kShapeSize);
    const std::vector<unsigned char> head = {0, 0, 0, 15, 0, 0, 0, 6, 'S', 'h', 'a', 'p', 'e', 0,   0, 0,
                                             0, 0, 0, 2,  0, 0, 0, 6, 0,   0,   0,   3,   'i', 'd', 0};
    EXPECT_EQ(std::vector<unsigned char>(buffer.begin(), buffer.begin() + 31), head);
    // The last member: alias kind, "Count", the aliased unsigned long.
    const std::vector<unsigned char> tail = {0, 0, 0, 21, 0, 0, 0, 6, 'C', 'o', 'u', 'n', 't', 0, 0, 0, 0, 0, 0, 5};
    EXPECT_EQ(std::vector<unsigned char>(buffer.begin() + kShapeSize - 20, buffer.begin() + kShapeSize), tail);

    for (uint32_t length = 0; length < kShapeSize; ++length) {
        ZELCdrStream_init(&stream, buffer.data(), length, ZEL_CDR_BIG_ENDIAN);
        EXPECT_FALSE(DDS_TypeCode_serialize(shape, &stream)) << length;
    }
}

TEST(TypeCodeTest, IncompleteOrCyclicTypeCodesHaveNoSerializedForm) {
    DDS_TypeCode_Member members[] = {{"a", 0, DDS_TYPECODE_NONKEY_REQUIRED_MEMBER, DDS_PUBLIC_MEMBER, nullptr}};
    DDS_TypeCode unfilled = {DDS_TK_STRUCT, "Unfilled", DDS_FINAL_EXTENSIBILITY, 1, members, 0, nullptr, 0, nullptr, 0,
                             nullptr};
    DDS_TypeCode cyclic = {DDS_TK_ALIAS, "Cyclic", DDS_FINAL_EXTENSIBILITY, 0, nullptr, 0, nullptr, 0, nullptr, 0,
                           nullptr};
    cyclic.contentType = &cyclic;
    DDS_TypeCode unknownKind = DDS_g_tc_long;
    unknownKind.kind = static_cast<DDS_TCKind>(16);
    DDS_TypeCode missingDimensions = {
            DDS_TK_ARRAY, nullptr, DDS_FINAL_EXTENSIBILITY, 0, nullptr, 0, &DDS_g_tc_char, 1, nullptr, 0, nullptr};

    char buffer[4096];
    for (const DDS_TypeCode *tc :
         {&unfilled, &cyclic, &unknownKind, &missingDimensions, static_cast<DDS_TypeCode *>(nullptr)}) {
        EXPECT_EQ(DDS_TypeCode_get_serialized_size(tc), 0u);
        ZELCdrStream stream;
        ZELCdrStream_init(&stream, buffer, sizeof buffer, ZEL_CDR_BIG_ENDIAN);
        EXPECT_FALSE(DDS_TypeCode_serialize(tc, &stream));
    }
    members[0].type = &DDS_g_tc_char;
    EXPECT_EQ(DDS_TypeCode_get_serialized_size(&unfilled), 48u);
}

}  // namespace
