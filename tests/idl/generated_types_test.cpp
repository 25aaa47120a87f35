// Code generated for application types: layout, type codes, every kind of
// member through serialization in both byte orders, plug-ins and failures.
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "c_layout.h"
#include "cdr_buffer.h"
#include "heap_check.h"
#include "log_capture.h"
#include "sample_filler.h"
#include "shapes.h"

namespace {

using zeltest::Buffer;
using zeltest::Octets;

class GeneratedTypesTest : public zeltest::HeapCheckedTest {};

// Every generated descriptor of the test files, by flat name.
std::map<std::string, const ZELCdrTypeDesc *> descriptors() {
    std::map<std::string, const ZELCdrTypeDesc *> all;
#define ZELIDL_TYPE(flat) all[#flat] = &flat##_g_desc;
#include "geometry_types.inc"
#define ZELIDL_TYPE(flat) all[#flat] = &flat##_g_desc;
#include "shapes_types.inc"
    return all;
}

// An update with every member set, and its octets in one byte order.
void fill(demo_ShapeUpdate &update) {
    typestest::Filler filler(true);
    ASSERT_TRUE(filler.fill(&demo_ShapeUpdate_g_desc, &update));
}

Octets serialized(const demo_ShapeUpdate &update, DDS_UnsignedShort id) {
    const unsigned int size = demo_ShapeUpdatePlugin_get_serialized_sample_size(nullptr, 1, id, 0, &update);
    Buffer out(size);
    EXPECT_TRUE(demo_ShapeUpdatePlugin_serialize(nullptr, &update, &out.stream, 1, id, 1, nullptr));
    EXPECT_EQ(out.written().size(), size);
    return out.written();
}

TEST_F(GeneratedTypesTest, DescriptorsRecordTheLayoutThatCSees) {
    const auto all = descriptors();
    std::map<std::string, uint32_t> membersSeen;
    for (const CLayoutEntry *entry = idlTest_cLayout; entry->type != nullptr; ++entry) {
        SCOPED_TRACE(std::string(entry->type) + "." + (entry->member ? entry->member : "<size>"));
        ASSERT_EQ(all.count(entry->type), 1u);
        const ZELCdrTypeDesc *desc = all.at(entry->type);
        if (entry->member == nullptr) {
            EXPECT_EQ(desc->size, entry->value);
            continue;
        }
        ASSERT_LT(membersSeen[entry->type], desc->memberCount);
        const ZELCdrMember &member = desc->members[membersSeen[entry->type]++];
        EXPECT_STREQ(member.name, entry->member) << "members keep their declaration order";
        EXPECT_EQ(member.offset, entry->value);
    }
    for (const auto &[type, count] : membersSeen) {
        EXPECT_EQ(count, all.at(type)->memberCount) << type;
    }
}

TEST_F(GeneratedTypesTest, TypeCodesAndNamesDescribeTheIdl) {
    EXPECT_STREQ(demo_ShapeTypeTypeSupport_get_type_name(), "demo::ShapeType");
    EXPECT_STREQ(demo_ShapeUpdate_g_desc.name, "demo::ShapeUpdate");
    EXPECT_EQ(demo_ShapeUpdate_g_desc.extensibility, ZEL_CDR_EXTENSIBILITY_MUTABLE);
    EXPECT_EQ(demo_ShapeType_g_desc.extensibility, ZEL_CDR_EXTENSIBILITY_APPENDABLE);
    EXPECT_EQ(demo_Extent_g_desc.extensibility, ZEL_CDR_EXTENSIBILITY_APPENDABLE) << "the default";
    EXPECT_EQ(demo_view_Frame_g_desc.extensibility, ZEL_CDR_EXTENSIBILITY_FINAL);
    EXPECT_EQ(demo_Label_g_desc.kind, ZEL_CDR_TK_ALIAS);
    EXPECT_EQ(demo_Label_g_desc.element->bound, 32u);

    const DDS_TypeCode *tc = demo_ShapeUpdate_get_typecode();
    EXPECT_EQ(tc, demo_ShapeUpdate_get_typecode());
    EXPECT_EQ(DDS_TypeCode_kind(tc), DDS_TK_STRUCT);
    EXPECT_STREQ(DDS_TypeCode_name(tc), "demo::ShapeUpdate");
    EXPECT_EQ(DDS_TypeCode_extensibility_kind(tc), DDS_MUTABLE_EXTENSIBILITY);
    ASSERT_EQ(DDS_TypeCode_member_count(tc), 20u);
    EXPECT_TRUE(DDS_TypeCode_is_member_key(tc, 0));
    EXPECT_TRUE(DDS_TypeCode_is_member_key(tc, 1));
    EXPECT_FALSE(DDS_TypeCode_is_member_key(tc, 2));
    EXPECT_EQ(DDS_TypeCode_length(DDS_TypeCode_member_type(tc, 0)), 128u);
    EXPECT_EQ(DDS_TypeCode_member_type(tc, 1), &DDS_g_tc_ulong);
    EXPECT_EQ(DDS_TypeCode_member_type(tc, 2), geometry_ShapeKind_get_typecode());
    EXPECT_EQ(DDS_TypeCode_member_type(tc, 3), demo_ShapeType_get_typecode());
    EXPECT_STREQ(DDS_TypeCode_member_name(tc, 19), "counts");

    // An alias keeps its name and leads to what it stands for.
    const DDS_TypeCode *path = DDS_TypeCode_member_type(tc, 4);
    EXPECT_EQ(DDS_TypeCode_kind(path), DDS_TK_ALIAS);
    EXPECT_STREQ(DDS_TypeCode_name(path), "geometry::Path");
    EXPECT_EQ(DDS_TypeCode_length(DDS_TypeCode_content_type(path)), 8u);
    EXPECT_EQ(DDS_TypeCode_content_type(DDS_TypeCode_content_type(path)), geometry_Point_get_typecode());

    // Nested array declarators make one array type code of two dimensions.
    const DDS_TypeCode *digest = DDS_TypeCode_member_type(tc, 9);
    ASSERT_EQ(digest->dimensionCount, 2u);
    EXPECT_EQ(digest->dimensions[0], 2u);
    EXPECT_EQ(digest->dimensions[1], 4u);
    EXPECT_EQ(DDS_TypeCode_content_type(digest), &DDS_g_tc_octet);

    const DDS_TypeCode *kind = geometry_ShapeKind_get_typecode();
    ASSERT_EQ(kind->enumeratorCount, 4u);
    EXPECT_STREQ(kind->enumerators[3].name, "STAR");
    EXPECT_EQ(kind->enumerators[3].value, 8);

    // Complete type codes, down to every nested member, serialize.
    for (const auto &[name, desc] : descriptors()) {
        EXPECT_GT(DDS_TypeCode_get_serialized_size(desc->getTypeCode()), 0u) << name;
    }
}

TEST_F(GeneratedTypesTest, EveryKindOfMemberRoundTripsInBothByteOrders) {
    demo_ShapeUpdate *original = demo_ShapeUpdatePluginSupport_create_data();
    ASSERT_NE(original, nullptr);
    fill(*original);
    for (DDS_UnsignedShort id :
         {DDS_UnsignedShort{ZEL_CDR_ENCAPSULATION_ID_CDR_BE}, DDS_UnsignedShort{ZEL_CDR_ENCAPSULATION_ID_CDR_LE}}) {
        SCOPED_TRACE(id);
        const Octets octets = serialized(*original, id);
        // A mutable type goes out as a parameter list of the requested order.
        EXPECT_EQ(octets[1], id + 2);
        demo_ShapeUpdate *copy = demo_ShapeUpdatePluginSupport_create_data();
        ASSERT_NE(copy, nullptr);
        Buffer in(octets);
        ASSERT_TRUE(demo_ShapeUpdatePlugin_deserialize(nullptr, copy, &in.stream, 1, 1, nullptr));
        EXPECT_EQ(serialized(*copy, id), octets);
        demo_ShapeUpdatePluginSupport_destroy_data(copy);
    }

    // A copy made by _copy holds equal values in storage of its own.
    demo_ShapeUpdate copied;
    ASSERT_TRUE(demo_ShapeUpdate_initialize(&copied));
    ASSERT_TRUE(demo_ShapeUpdate_copy(&copied, original));
    EXPECT_NE(copied.comment, original->comment);
    EXPECT_EQ(serialized(copied, 0), serialized(*original, 0));
    demo_ShapeUpdate_finalize(&copied);
    demo_ShapeUpdatePluginSupport_destroy_data(original);
}

// Hashing keys is the monitoring types' and the type engine's to show; the
// plug-in records what a keyed and a keyless type have.
TEST_F(GeneratedTypesTest, PluginsOfKeyedAndKeylessTypesHaveTheirKeyOperationsOrNone) {
    PRESTypePlugin *plugin = demo_ShapeTypePlugin_new();
    ASSERT_NE(plugin, nullptr);
    EXPECT_STREQ(plugin->typeName, "demo::ShapeType");
    EXPECT_EQ(plugin->typeCode, demo_ShapeType_get_typecode());
    EXPECT_EQ(plugin->getKeyKindFnc(), PRES_TYPEPLUGIN_USER_KEY);
    EXPECT_NE(plugin->instanceToKeyHashFnc, nullptr);
    demo_ShapeTypePlugin_delete(plugin);

    PRESTypePlugin *keyless = demo_ExtentPlugin_new();
    ASSERT_NE(keyless, nullptr);
    EXPECT_EQ(keyless->getKeyKindFnc(), PRES_TYPEPLUGIN_NO_KEY);
    EXPECT_NE(keyless->serializeFnc, nullptr);
    EXPECT_EQ(keyless->serializeKeyFnc, nullptr);
    EXPECT_EQ(keyless->instanceToKeyHashFnc, nullptr);
    EXPECT_EQ(keyless->serializedSampleToKeyHashFnc, nullptr);
    demo_ExtentPlugin_delete(keyless);
}

TEST_F(GeneratedTypesTest, FailuresAreResultsLoggedUnderTheOperationsName) {
    zeltest::LogCapture log;
    demo_ShapeUpdate filled;
    ASSERT_TRUE(demo_ShapeUpdate_initialize(&filled));
    fill(filled);

    EXPECT_FALSE(demo_ShapeUpdate_copy(nullptr, &filled));
    EXPECT_TRUE(log.contains("demo_ShapeUpdate_copy", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: dst\n"));
    EXPECT_FALSE(demo_ShapeUpdatePlugin_deserialize(nullptr, &filled, nullptr, 1, 1, nullptr));
    EXPECT_TRUE(log.contains("demo_ShapeUpdatePlugin_deserialize", ZEL_LOG_BAD_PARAMETER_s, "bad parameter: stream\n"));
    Buffer tooSmall(40);
    EXPECT_FALSE(demo_ShapeUpdatePlugin_serialize(nullptr, &filled, &tooSmall.stream, 1, 0, 1, nullptr));
    EXPECT_TRUE(log.contains("demo_ShapeUpdatePlugin_serialize", ZEL_LOG_ANY_FAILURE_s, "failure: serialize\n"));
    DDS_KeyHash_t hash{};
    EXPECT_FALSE(demo_ShapeUpdatePlugin_instance_to_keyhash(nullptr, &hash, &filled));
    EXPECT_TRUE(log.contains("demo_ShapeUpdatePlugin_instance_to_keyhash", ZEL_LOG_GET_FAILURE_s,
                             "failed to get MD5 stream\n"));

    // Out of heap anywhere in making and copying a sample: a failed result,
    // a log line, nothing left allocated.
    zeltest::forEachAllocationFailure([&](long) {
        log.clear();
        demo_ShapeUpdate *sample = demo_ShapeUpdatePluginSupport_create_data();
        if (sample == nullptr) {
            EXPECT_FALSE(log.lines().empty());
            return;
        }
        if (demo_ShapeUpdate_copy(sample, &filled)) {
            EXPECT_EQ(serialized(*sample, 0), serialized(filled, 0));
        } else {
            EXPECT_TRUE(log.contains("demo_ShapeUpdate_copy", ZEL_LOG_ANY_FAILURE_s, "failure: copy\n"));
        }
        demo_ShapeUpdatePluginSupport_destroy_data(sample);
    });
    ZELOsapiHeap_failAllocation(1, ZEL_TRUE);
    EXPECT_EQ(demo_ShapeTypePlugin_new(), nullptr);
    EXPECT_TRUE(log.contains("demo_ShapeTypePlugin_new", ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                             "out of heap: structure of " + std::to_string(sizeof(PRESTypePlugin)) + " octets\n"));
    demo_ShapeUpdate_finalize(&filled);
}

}  // namespace
