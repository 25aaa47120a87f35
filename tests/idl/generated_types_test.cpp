// Code generated for application types: layout, type codes, every kind of
// member through serialization in both byte orders, keys and plug-ins.
#include <cstring>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "c_layout.h"
#include "heap_check.h"
#include "idl_test_support.h"
#include "log_capture.h"
#include "shapes.h"
#include "vurnc/dds_topic.h"
#include "vurncore/dds_string.h"

namespace {

using idltest::Buffer;
using idltest::Octets;

class GeneratedTypesTest : public zeltest::HeapCheckedTest {};

// Every generated descriptor of the test files, by flat name.
std::map<std::string, const ZELCdrTypeDesc *> descriptors()
{
    std::map<std::string, const ZELCdrTypeDesc *> all;
#define ZELIDL_TYPE(flat) all[#flat] = &flat##_g_desc;
#include "geometry_types.inc"
#define ZELIDL_TYPE(flat) all[#flat] = &flat##_g_desc;
#include "shapes_types.inc"
    return all;
}

void fill(demo_ShapeUpdate &u)
{
    std::strcpy(u.color, "magenta");
    u.id = 4000000000u;
    u.kind = geometry_TRIANGLE;
    std::strcpy(u.shape.color, "cyan");
    u.shape.x = -1;
    u.shape.y = 2;
    u.shape.shapesize = 30;
    ASSERT_TRUE(geometry_PointSeq_ensure_length(&u.path, 2, 8));
    *geometry_PointSeq_get_reference(&u.path, 1) = geometry_Point{7, -8};
    ASSERT_TRUE(demo_LabelSeq_ensure_length(&u.labels, 2, 4));
    std::strcpy(*demo_LabelSeq_get_reference(&u.labels, 1), "second");
    ASSERT_TRUE(DDS_StringSeq_ensure_length(&u.notes, 1, 1));
    char **note = DDS_StringSeq_get_reference(&u.notes, 0);
    DDS_String_free(*note);
    *note = DDS_String_dup("sixteen chars ok");
    ASSERT_TRUE(geometry_ShapeKindSeq_ensure_length(&u.history, 3, 3));
    *geometry_ShapeKindSeq_get_reference(&u.history, 2) = geometry_STAR;
    u.weights[2] = 0.25;
    u.digest[1][3] = 0xab;
    std::strcpy(u.tags[1], "eight ch");
    u.visible = DDS_BOOLEAN_TRUE;
    u.initial = 'Z';
    u.s = -300;
    u.us = 65000;
    u.ll = -5000000000LL;
    u.ull = 18000000000000000000ULL;
    u.f = 1.5f;
    DDS_String_free(u.comment);
    u.comment = DDS_String_dup("an unbounded comment");
    ASSERT_TRUE(DDS_LongSeq_ensure_length(&u.counts, 5, 5));
    *DDS_LongSeq_get_reference(&u.counts, 4) = 44;
}

void expectSameUpdate(const demo_ShapeUpdate &a, const demo_ShapeUpdate &b)
{
    EXPECT_STREQ(a.color, b.color);
    EXPECT_EQ(a.id, b.id);
    EXPECT_EQ(a.kind, b.kind);
    EXPECT_STREQ(a.shape.color, b.shape.color);
    EXPECT_EQ(a.shape.x, b.shape.x);
    EXPECT_EQ(a.shape.y, b.shape.y);
    EXPECT_EQ(a.shape.shapesize, b.shape.shapesize);
    ASSERT_EQ(a.path._length, b.path._length);
    for (DDS_UnsignedLong i = 0; i < a.path._length; ++i) {
        EXPECT_EQ(a.path._contiguous_buffer[i].x, b.path._contiguous_buffer[i].x);
        EXPECT_EQ(a.path._contiguous_buffer[i].y, b.path._contiguous_buffer[i].y);
    }
    ASSERT_EQ(a.labels._length, b.labels._length);
    for (DDS_UnsignedLong i = 0; i < a.labels._length; ++i) {
        EXPECT_STREQ(a.labels._contiguous_buffer[i], b.labels._contiguous_buffer[i]);
    }
    ASSERT_EQ(a.notes._length, b.notes._length);
    for (DDS_UnsignedLong i = 0; i < a.notes._length; ++i) {
        EXPECT_STREQ(a.notes._contiguous_buffer[i], b.notes._contiguous_buffer[i]);
    }
    ASSERT_EQ(a.history._length, b.history._length);
    for (DDS_UnsignedLong i = 0; i < a.history._length; ++i) {
        EXPECT_EQ(a.history._contiguous_buffer[i], b.history._contiguous_buffer[i]);
    }
    EXPECT_EQ(0, std::memcmp(a.weights, b.weights, sizeof(a.weights)));
    EXPECT_EQ(0, std::memcmp(a.digest, b.digest, sizeof(a.digest)));
    EXPECT_STREQ(a.tags[0], b.tags[0]);
    EXPECT_STREQ(a.tags[1], b.tags[1]);
    EXPECT_EQ(a.visible, b.visible);
    EXPECT_EQ(a.initial, b.initial);
    EXPECT_EQ(a.s, b.s);
    EXPECT_EQ(a.us, b.us);
    EXPECT_EQ(a.ll, b.ll);
    EXPECT_EQ(a.ull, b.ull);
    EXPECT_EQ(a.f, b.f);
    EXPECT_STREQ(a.comment, b.comment);
    ASSERT_EQ(a.counts._length, b.counts._length);
    for (DDS_UnsignedLong i = 0; i < a.counts._length; ++i) {
        EXPECT_EQ(a.counts._contiguous_buffer[i], b.counts._contiguous_buffer[i]);
    }
}

TEST_F(GeneratedTypesTest, DescriptorsRecordTheLayoutThatCSees)
{
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

TEST_F(GeneratedTypesTest, TypeCodesAndNamesDescribeTheIdl)
{
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

TEST_F(GeneratedTypesTest, EveryKindOfMemberRoundTripsInBothByteOrders)
{
    demo_ShapeUpdate *original = demo_ShapeUpdatePluginSupport_create_data();
    ASSERT_NE(original, nullptr);
    fill(*original);

    for (DDS_UnsignedShort id : {DDS_UnsignedShort{ZEL_CDR_ENCAPSULATION_ID_CDR_BE}, DDS_UnsignedShort{ZEL_CDR_ENCAPSULATION_ID_CDR_LE}}) {
        SCOPED_TRACE(id);
        const unsigned int size = demo_ShapeUpdatePlugin_get_serialized_sample_size(nullptr, 1, id, 0, original);
        Buffer out(size);
        ASSERT_TRUE(demo_ShapeUpdatePlugin_serialize(nullptr, original, &out.stream, 1, id, 1, nullptr));
        const Octets octets = out.written();
        EXPECT_EQ(octets.size(), size);
        // A mutable type goes out as a parameter list of the requested order.
        EXPECT_EQ(octets[1], id + 2);

        demo_ShapeUpdate *copy = demo_ShapeUpdatePluginSupport_create_data();
        ASSERT_NE(copy, nullptr);
        Buffer in(octets);
        ASSERT_TRUE(demo_ShapeUpdatePlugin_deserialize(nullptr, copy, &in.stream, 1, 1, nullptr));
        expectSameUpdate(*original, *copy);
        demo_ShapeUpdatePluginSupport_destroy_data(copy);
    }

    // A copy made by _copy holds equal values in storage of its own.
    demo_ShapeUpdate copied;
    ASSERT_TRUE(demo_ShapeUpdate_initialize(&copied));
    ASSERT_TRUE(demo_ShapeUpdate_copy(&copied, original));
    EXPECT_NE(copied.comment, original->comment);
    expectSameUpdate(*original, copied);
    demo_ShapeUpdate_finalize(&copied);
    demo_ShapeUpdatePluginSupport_destroy_data(original);
}

TEST_F(GeneratedTypesTest, PlainTypesWriteTheirMembersInDeclarationOrder)
{
    demo_view_Frame frame;
    ASSERT_TRUE(demo_view_Frame_initialize(&frame));
    frame.extent.width = 1.0f;
    std::strcpy(frame.main.color, "red");
    frame.main.x = 2;
    frame.main.y = 3;
    frame.main.shapesize = 4;
    frame.origin = geometry_Point{5, -6};
    std::strcpy(frame.title, "t");
    Buffer out(256);
    ASSERT_TRUE(demo_view_FramePlugin_serialize(nullptr, &frame, &out.stream, 1, 0, 1, nullptr));
    const Octets expected = {0x00, 0x00, 0x00, 0x00,                          // CDR big-endian
                             0x3f, 0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // extent
                             0x00, 0x00, 0x00, 0x04, 'r',  'e',  'd',  0x00,  // main.color
                             0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x03,  // main.x, y
                             0x00, 0x00, 0x00, 0x04,                          // main.shapesize
                             0x00, 0x00, 0x00, 0x05, 0xff, 0xff, 0xff, 0xfa,  // origin
                             0x00, 0x00, 0x00, 0x02, 't',  0x00};             // title
    EXPECT_EQ(out.written(), expected);
    demo_view_Frame_finalize(&frame);
}

// A writer endpoint of a plug-in, made from the default parts.
class Endpoint {
public:
    explicit Endpoint(const PRESTypePlugin *plugin)
    {
        participant = plugin->onParticipantAttachedFnc(plugin);
        PRESTypePluginEndpointInfo info{PRES_TYPEPLUGIN_ENDPOINT_WRITER};
        endpoint = participant != nullptr ? plugin->onEndpointAttachedFnc(participant, &info) : nullptr;
        detachEndpoint_ = plugin->onEndpointDetachedFnc;
        detachParticipant_ = plugin->onParticipantDetachedFnc;
    }
    ~Endpoint()
    {
        if (endpoint != nullptr) {
            detachEndpoint_(endpoint);
        }
        if (participant != nullptr) {
            detachParticipant_(participant);
        }
    }
    Endpoint(const Endpoint &) = delete;
    Endpoint &operator=(const Endpoint &) = delete;

    PRESTypePluginParticipantData participant = nullptr;
    PRESTypePluginEndpointData endpoint = nullptr;

private:
    PRESTypePluginOnEndpointDetachedFunction detachEndpoint_;
    PRESTypePluginOnParticipantDetachedFunction detachParticipant_;
};

Octets keyHashOf(PRESTypePluginEndpointData endpoint, const demo_ShapeType &shape)
{
    DDS_KeyHash_t hash{};
    EXPECT_TRUE(demo_ShapeTypePlugin_instance_to_keyhash(endpoint, &hash, &shape));
    EXPECT_EQ(hash.length, 16u);
    return Octets(hash.value, hash.value + 16);
}

TEST_F(GeneratedTypesTest, KeyedTypesHashTheirKeyThroughTheirPlugin)
{
    PRESTypePlugin *plugin = demo_ShapeTypePlugin_new();
    ASSERT_NE(plugin, nullptr);
    EXPECT_STREQ(plugin->typeName, "demo::ShapeType");
    EXPECT_EQ(plugin->typeCode, demo_ShapeType_get_typecode());
    EXPECT_EQ(plugin->getKeyKindFnc(), PRES_TYPEPLUGIN_USER_KEY);
    {
        Endpoint writer(plugin);
        ASSERT_NE(writer.endpoint, nullptr);

        demo_ShapeType a;
        demo_ShapeType b;
        ASSERT_TRUE(demo_ShapeType_initialize(&a));
        ASSERT_TRUE(demo_ShapeType_initialize(&b));
        std::strcpy(a.color, "BLUE");
        a.x = 1;
        std::strcpy(b.color, "BLUE");
        b.x = 99;
        const Octets hashA = keyHashOf(writer.endpoint, a);
        EXPECT_EQ(hashA, keyHashOf(writer.endpoint, b)) << "members that are not key do not count";

        // The key (a string of up to 128 characters) may exceed 16 octets, so
        // the hash is the MD5 digest of the big-endian key stream.
        Buffer key(64);
        ASSERT_TRUE(demo_ShapeTypePlugin_serialize_key(nullptr, &a, &key.stream, 0, 0, 1, nullptr));
        EXPECT_EQ(key.written(), (Octets{0, 0, 0, 5, 'B', 'L', 'U', 'E', 0}));
        unsigned char digest[16];
        ZELCdrStream_computeMD5OfBuffer(key.written().data(), 9, digest);
        EXPECT_EQ(hashA, Octets(digest, digest + 16));

        // The hash of a serialized sample is the hash of its instance.
        Buffer sample(256, ZEL_CDR_LITTLE_ENDIAN);
        ASSERT_TRUE(plugin->serializeFnc(nullptr, &b, &sample.stream, 1, 1, 1, nullptr));
        Buffer read(sample.written());
        DDS_KeyHash_t fromStream{};
        ASSERT_TRUE(plugin->serializedSampleToKeyHashFnc(writer.endpoint, &read.stream, &fromStream, 1, nullptr));
        EXPECT_EQ(Octets(fromStream.value, fromStream.value + 16), hashA);

        std::strcpy(b.color, "RED");
        EXPECT_NE(keyHashOf(writer.endpoint, b), hashA);

        // Key holders carry the key members only.
        demo_ShapeTypeKeyHolder holder;
        ASSERT_TRUE(demo_ShapeType_initialize(&holder));
        ASSERT_TRUE(plugin->instanceToKeyFnc(nullptr, &holder, &b));
        EXPECT_STREQ(holder.color, "RED");
        EXPECT_EQ(holder.x, 0);
        demo_ShapeType_finalize(&holder);
        demo_ShapeType_finalize(&a);
        demo_ShapeType_finalize(&b);
    }
    demo_ShapeTypePlugin_delete(plugin);

    // A keyless type given a plug-in has no key operations.
    PRESTypePlugin *keyless = demo_ExtentPlugin_new();
    ASSERT_NE(keyless, nullptr);
    EXPECT_EQ(keyless->getKeyKindFnc(), PRES_TYPEPLUGIN_NO_KEY);
    EXPECT_NE(keyless->serializeFnc, nullptr);
    EXPECT_EQ(keyless->serializeKeyFnc, nullptr);
    EXPECT_EQ(keyless->instanceToKeyHashFnc, nullptr);
    EXPECT_EQ(keyless->serializedSampleToKeyHashFnc, nullptr);
    demo_ExtentPlugin_delete(keyless);
}

TEST_F(GeneratedTypesTest, FailuresAreResultsLoggedUnderTheOperationsName)
{
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
            expectSameUpdate(filled, *sample);
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

// An application's types, keyed or given a plug-in, register under their
// scoped names on one participant and serve its topics.
TEST_F(GeneratedTypesTest, ApplicationTypesRegisterOnAParticipantAndServeItsTopics)
{
    DDS_DomainParticipantFactory *factory = DDS_DomainParticipantFactory_get_instance();
    ASSERT_NE(factory, nullptr);
    DDS_DomainParticipant *participant =
            DDS_DomainParticipantFactory_create_participant(factory, 0, &DDS_PARTICIPANT_QOS_DEFAULT, nullptr, 0);
    DDS_DomainParticipant *other =
            DDS_DomainParticipantFactory_create_participant(factory, 0, &DDS_PARTICIPANT_QOS_DEFAULT, nullptr, 0);
    ASSERT_NE(participant, nullptr);
    ASSERT_NE(other, nullptr);

    ASSERT_EQ(demo_ShapeTypeTypeSupport_register_type(participant, nullptr), DDS_RETCODE_OK);
    ASSERT_EQ(demo_ExtentTypeSupport_register_type(participant, nullptr), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipant_get_type_pluginI(other, "demo::ShapeType"), nullptr);
    const PRESTypePlugin *extent = DDS_DomainParticipant_get_type_pluginI(participant, "demo::Extent");
    ASSERT_NE(extent, nullptr);
    EXPECT_EQ(extent->typeCode, demo_Extent_get_typecode());
    EXPECT_EQ(extent->getKeyKindFnc(), PRES_TYPEPLUGIN_NO_KEY);

    DDS_Topic *squares = DDS_DomainParticipant_create_topic(participant, "Square", "demo::ShapeType",
                                                            &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
    DDS_Topic *extents = DDS_DomainParticipant_create_topic(participant, "Extents", "demo::Extent",
                                                            &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
    ASSERT_NE(squares, nullptr);
    ASSERT_NE(extents, nullptr);
    EXPECT_STREQ(DDS_TopicDescription_get_type_name(DDS_Topic_as_topicdescription(squares)), "demo::ShapeType");
    EXPECT_EQ(DDS_DomainParticipant_create_topic(other, "Square", "demo::ShapeType", &DDS_TOPIC_QOS_DEFAULT,
                                                 nullptr, 0),
              nullptr);

    EXPECT_EQ(DDS_DomainParticipant_delete_topic(participant, squares), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipant_delete_topic(participant, extents), DDS_RETCODE_OK);
    EXPECT_EQ(demo_ShapeTypeTypeSupport_unregister_type(participant, nullptr), DDS_RETCODE_OK);
    EXPECT_EQ(demo_ExtentTypeSupport_unregister_type(participant, nullptr), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory, other), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory, participant), DDS_RETCODE_OK);
    EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
}

}  // namespace
