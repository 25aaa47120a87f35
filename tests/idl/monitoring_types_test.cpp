// Every monitoring type: its whole family exists, and a sample with every
// member set (strings and sequences at and below their bounds) survives
// copy, serialization in both byte orders and deserialization.
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DDSMonitoring.h"
#include "heap_check.h"
#include "idl_test_support.h"
#include "log_capture.h"
#include "vurncore/dds_string.h"
#include "zel_dds_monitoring.h"
#include "zel_monitoring.h"

namespace {

using idltest::Buffer;
using idltest::Octets;

// One type's family seen untyped; each field is filled from the typed
// generated function, so building the table proves that the function exists.
struct TypeEntry {
    const char *flatName;
    const ZELCdrTypeDesc *desc;
    void *(*create)();
    void (*destroy)(void *sample);
    DDS_Boolean (*copy)(void *dst, const void *src);
    DDS_Boolean (*initializeEx)(void *sample);
    void (*finalizeEx)(void *sample);
    void (*print)(const void *sample);
    DDS_Boolean (*serialize)(const void *sample, ZELCdrStream *stream, DDS_UnsignedShort id);
    DDS_Boolean (*deserialize)(void *sample, ZELCdrStream *stream);
    unsigned int (*size)(const void *sample, DDS_UnsignedShort id);
    unsigned int (*maxSize)(DDS_UnsignedShort id);
    unsigned int (*minSize)(DDS_UnsignedShort id);
    DDS_TypeCode *(*typeCode)();
    // Puts `element` at index 1 of a sequence, copies the sequence and the
    // copy's element 1 into `out`.
    DDS_Boolean (*throughSequence)(const void *element, void *out);
};

#define ZELIDL_ENTRY(F)                                                                                        \
    TypeEntry{#F,                                                                                              \
              &F##_g_desc,                                                                                     \
              []() -> void * { return F##PluginSupport_create_data(); },                                       \
              [](void *s) { F##PluginSupport_destroy_data(static_cast<F *>(s)); },                             \
              [](void *d, const void *s) { return F##_copy(static_cast<F *>(d), static_cast<const F *>(s)); }, \
              [](void *s) { return F##_initialize_ex(static_cast<F *>(s), 1, 1); },                            \
              [](void *s) { F##_finalize_ex(static_cast<F *>(s), 1); },                                        \
              [](const void *s) { F##PluginSupport_print_data(static_cast<const F *>(s), "sample", 0); },      \
              [](const void *s, ZELCdrStream *stream, DDS_UnsignedShort id) {                                  \
                  return F##Plugin_serialize(nullptr, static_cast<const F *>(s), stream, 1, id, 1, nullptr);   \
              },                                                                                               \
              [](void *s, ZELCdrStream *stream) {                                                              \
                  return F##Plugin_deserialize(nullptr, static_cast<F *>(s), stream, 1, 1, nullptr);           \
              },                                                                                               \
              [](const void *s, DDS_UnsignedShort id) {                                                        \
                  return F##Plugin_get_serialized_sample_size(nullptr, 1, id, 0, static_cast<const F *>(s));   \
              },                                                                                               \
              [](DDS_UnsignedShort id) { return F##Plugin_get_serialized_sample_max_size(nullptr, 1, id, 0); }, \
              [](DDS_UnsignedShort id) { return F##Plugin_get_serialized_sample_min_size(nullptr, 1, id, 0); }, \
              &F##_get_typecode,                                                                               \
              [](const void *element, void *out) {                                                             \
                  F##Seq a;                                                                                    \
                  F##Seq b;                                                                                    \
                  F##Seq_initialize(&a);                                                                       \
                  F##Seq_initialize(&b);                                                                       \
                  DDS_Boolean ok = F##Seq_ensure_length(&a, 2, 2) &&                                           \
                                   F##_copy(F##Seq_get_reference(&a, 1), static_cast<const F *>(element)) &&   \
                                   F##Seq_copy(&b, &a) != nullptr &&                                           \
                                   F##_copy(static_cast<F *>(out), F##Seq_get_reference(&b, 1));               \
                  F##Seq_finalize(&a);                                                                         \
                  F##Seq_finalize(&b);                                                                         \
                  return ok;                                                                                   \
              }},

const std::vector<TypeEntry> &allTypes()
{
    static const std::vector<TypeEntry> types = {
#define ZELIDL_TYPE(F) ZELIDL_ENTRY(F)
#include "DDSMonitoring_types.inc"
#define ZELIDL_TYPE(F) ZELIDL_ENTRY(F)
#include "zel_dds_monitoring_types.inc"
#define ZELIDL_TYPE(F) ZELIDL_ENTRY(F)
#include "zel_monitoring_types.inc"
    };
    return types;
}

// The topic types, with their key operations and plug-in.
struct KeyedEntry {
    const char *flatName;
    const ZELCdrTypeDesc *desc;
    const char *(*typeName)();
    PRESTypePlugin *(*newPlugin)();
    void (*deletePlugin)(PRESTypePlugin *plugin);
    unsigned int (*keyMaxSize)();
};

#define ZELIDL_KEYED_ENTRY(F)                                                                         \
    KeyedEntry{#F, &F##_g_desc, &F##TypeSupport_get_type_name, &F##Plugin_new, &F##Plugin_delete,    \
               []() { return F##Plugin_get_serialized_key_max_size(nullptr, 0, 0, 0); }},

const std::vector<KeyedEntry> &keyedTypes()
{
    static const std::vector<KeyedEntry> types = {
#define ZELIDL_KEYED_TYPE(F) ZELIDL_KEYED_ENTRY(F)
#include "DDSMonitoring_types.inc"
#define ZELIDL_KEYED_TYPE(F) ZELIDL_KEYED_ENTRY(F)
#include "zel_dds_monitoring_types.inc"
#define ZELIDL_KEYED_TYPE(F) ZELIDL_KEYED_ENTRY(F)
#include "zel_monitoring_types.inc"
    };
    return types;
}

std::set<std::string> pluginTypes()
{
    std::set<std::string> names;
#define ZELIDL_PLUGIN_TYPE(F) names.insert(#F);
#include "DDSMonitoring_types.inc"
#define ZELIDL_PLUGIN_TYPE(F) names.insert(#F);
#include "zel_dds_monitoring_types.inc"
#define ZELIDL_PLUGIN_TYPE(F) names.insert(#F);
#include "zel_monitoring_types.inc"
    return names;
}

// Sets every member of a sample, through its descriptor, to a value other
// than its initial one. Strings alternate between their bound and half of
// it, sequences between their bound and one element less (sequences of
// structs at most 4 long, to keep nested QoS samples small).
class Filler {
public:
    bool fill(const ZELCdrTypeDesc *type, void *value)
    {
        switch (type->kind) {
        case ZEL_CDR_TK_BOOLEAN:
            *static_cast<DDS_Boolean *>(value) = DDS_BOOLEAN_TRUE;
            return true;
        case ZEL_CDR_TK_OCTET:
        case ZEL_CDR_TK_CHAR:
            *static_cast<unsigned char *>(value) = static_cast<unsigned char>('A' + next() % 26);
            return true;
        case ZEL_CDR_TK_SHORT:
        case ZEL_CDR_TK_USHORT:
            *static_cast<uint16_t *>(value) = static_cast<uint16_t>(0x8000u + next());
            return true;
        case ZEL_CDR_TK_LONG:
        case ZEL_CDR_TK_ULONG:
            *static_cast<uint32_t *>(value) = 0x80000000u + next();
            return true;
        case ZEL_CDR_TK_LONGLONG:
        case ZEL_CDR_TK_ULONGLONG:
            *static_cast<uint64_t *>(value) = 0x8000000000000000u + next();
            return true;
        case ZEL_CDR_TK_FLOAT:
            *static_cast<float *>(value) = static_cast<float>(next()) + 0.5f;
            return true;
        case ZEL_CDR_TK_DOUBLE:
            *static_cast<double *>(value) = static_cast<double>(next()) + 0.25;
            return true;
        case ZEL_CDR_TK_ENUM:
            *static_cast<DDS_Enum *>(value) = type->enumerators[type->enumeratorCount - 1].value;
            return true;
        case ZEL_CDR_TK_STRING:
            return fillString(type, static_cast<char **>(value));
        case ZEL_CDR_TK_SEQUENCE:
            return fillSequence(type, static_cast<ZELSequence *>(value));
        case ZEL_CDR_TK_ARRAY:
            for (uint32_t i = 0; i < type->bound; ++i) {
                if (!fill(type->element, static_cast<char *>(value) + i * type->element->size)) {
                    return false;
                }
            }
            return true;
        case ZEL_CDR_TK_STRUCT:
            for (uint32_t i = 0; i < type->memberCount; ++i) {
                const ZELCdrMember &member = type->members[i];
                if (!fill(member.type, static_cast<char *>(value) + member.offset)) {
                    return false;
                }
            }
            return true;
        case ZEL_CDR_TK_ALIAS:
            return fill(type->element, value);
        }
        return false;
    }

private:
    uint32_t next() { return ++counter_; }

    // A string of its bound keeps bound + 1 octets, as the engine expects.
    bool fillString(const ZELCdrTypeDesc *type, char **value)
    {
        const uint32_t bound = type->bound == 0 ? 40 : type->bound;
        const size_t length = next() % 2 == 0 ? bound : bound / 2;
        char *text = DDS_String_alloc(bound);
        if (text == nullptr) {
            return false;
        }
        for (size_t i = 0; i < length; ++i) {
            text[i] = static_cast<char>('a' + (i + counter_) % 26);
        }
        DDS_String_free(*value);
        *value = text;
        return true;
    }

    bool fillSequence(const ZELCdrTypeDesc *type, ZELSequence *value)
    {
        const ZELCdrTypeDesc *element = type->element;
        while (element->kind == ZEL_CDR_TK_ALIAS) {
            element = element->element;
        }
        uint32_t bound = type->bound == 0 ? 3 : type->bound;
        if (element->kind == ZEL_CDR_TK_STRUCT && bound > 4) {
            bound = 4;
        }
        const uint32_t length = next() % 2 == 0 ? bound : bound - 1;
        if (!ZELSequence_ensure_length(value, type->element->sequenceElementType, static_cast<DDS_Long>(length),
                                       static_cast<DDS_Long>(bound), "fill")) {
            return false;
        }
        char *buffer = static_cast<char *>(value->_contiguous_buffer);
        for (uint32_t i = 0; i < length; ++i) {
            if (!fill(type->element, buffer + i * type->element->size)) {
                return false;
            }
        }
        return true;
    }

    uint32_t counter_ = 0;
};

Octets serialized(const TypeEntry &type, const void *sample, DDS_UnsignedShort id)
{
    const unsigned int size = type.size(sample, id);
    Buffer out(size);
    EXPECT_TRUE(type.serialize(sample, &out.stream, id)) << type.flatName;
    EXPECT_EQ(out.written().size(), size) << type.flatName;
    return out.written();
}

class MonitoringTypesTest : public zeltest::HeapCheckedTest {};

TEST_F(MonitoringTypesTest, EveryTypeHasItsFamilyAndTopicTypesTheirKeys)
{
    EXPECT_EQ(allTypes().size(), 188u);
    std::set<std::string> keyed;
    for (const KeyedEntry &type : keyedTypes()) {
        keyed.insert(type.flatName);
        EXPECT_STREQ(type.typeName(), type.desc->name);
        EXPECT_EQ(std::string(type.typeName()).rfind("zel::dds::monitoring::", 0), 0u) << type.flatName;
    }
    EXPECT_EQ(keyed.size(), 13u);
    std::set<std::string> withPlugin = keyed;
    withPlugin.insert("DDSMonitoring_DomainParticipantFactoryQos");
    EXPECT_EQ(pluginTypes(), withPlugin);
    PRESTypePlugin *factoryQos = DDSMonitoring_DomainParticipantFactoryQosPlugin_new();
    ASSERT_NE(factoryQos, nullptr);
    EXPECT_STREQ(factoryQos->typeName, "DDSMonitoring::DomainParticipantFactoryQos");
    EXPECT_EQ(factoryQos->serializeKeyFnc, nullptr);
    DDSMonitoring_DomainParticipantFactoryQosPlugin_delete(factoryQos);

    for (const TypeEntry &type : allTypes()) {
        const DDS_TypeCode *tc = type.typeCode();
        EXPECT_STREQ(DDS_TypeCode_name(tc), type.desc->name) << type.flatName;
        EXPECT_GT(DDS_TypeCode_get_serialized_size(tc), 0u) << type.flatName << ": type code incomplete";
    }
}

TEST_F(MonitoringTypesTest, EveryTypeFilledToItsBoundsRoundTripsInBothByteOrders)
{
    zeltest::LogCapture log;
    for (const TypeEntry &type : allTypes()) {
        SCOPED_TRACE(type.flatName);
        void *original = type.create();
        void *copy = type.create();
        void *fromSequence = type.create();
        ASSERT_TRUE(original != nullptr && copy != nullptr && fromSequence != nullptr);
        Filler filler;
        ASSERT_TRUE(filler.fill(type.desc, original));
        ASSERT_TRUE(type.copy(copy, original));
        ASSERT_TRUE(type.throughSequence(original, fromSequence));

        for (DDS_UnsignedShort id : {DDS_UnsignedShort{0}, DDS_UnsignedShort{1}}) {
            const Octets octets = serialized(type, original, id);
            EXPECT_LE(octets.size(), type.maxSize(id));
            EXPECT_GE(octets.size(), type.minSize(id));
            EXPECT_EQ(serialized(type, copy, id), octets) << "a copy serializes as its original";
            EXPECT_EQ(serialized(type, fromSequence, id), octets) << "so does an element of a copied sequence";

            void *back = type.create();
            ASSERT_NE(back, nullptr);
            Buffer in(octets);
            ASSERT_TRUE(type.deserialize(back, &in.stream));
            EXPECT_EQ(serialized(type, back, id), octets) << "deserialization restores every member";
            type.destroy(back);
        }

        log.clear();
        type.print(original);
        ASSERT_FALSE(log.lines().empty());
        EXPECT_EQ(log.lines().front().text.rfind("sample:", 0), 0u);

        type.destroy(fromSequence);
        type.destroy(copy);
        type.destroy(original);
    }
}

TEST_F(MonitoringTypesTest, SamplesOnTheStackInitializeAndFinalizeWithParameters)
{
    for (const TypeEntry &type : allTypes()) {
        std::vector<std::max_align_t> storage(type.desc->size / sizeof(std::max_align_t) + 1);
        ASSERT_TRUE(type.initializeEx(storage.data())) << type.flatName;
        type.finalizeEx(storage.data());
    }
}

// The instance key hash is the MD5 digest of the big-endian key stream, and
// the hash of a serialized sample in either byte order is the same.
TEST_F(MonitoringTypesTest, TopicTypesHashTheirKeysThroughTheirPlugins)
{
    for (const KeyedEntry &keyedType : keyedTypes()) {
        SCOPED_TRACE(keyedType.flatName);
        const TypeEntry *type = nullptr;
        for (const TypeEntry &t : allTypes()) {
            if (t.desc == keyedType.desc) {
                type = &t;
            }
        }
        ASSERT_NE(type, nullptr);
        EXPECT_GT(keyedType.keyMaxSize(), 16u);

        PRESTypePlugin *plugin = keyedType.newPlugin();
        ASSERT_NE(plugin, nullptr);
        PRESTypePluginParticipantData participant = plugin->onParticipantAttachedFnc(plugin);
        ASSERT_NE(participant, nullptr);
        const PRESTypePluginEndpointInfo info{PRES_TYPEPLUGIN_ENDPOINT_WRITER};
        PRESTypePluginEndpointData endpoint = plugin->onEndpointAttachedFnc(participant, &info);
        ASSERT_NE(endpoint, nullptr);

        void *sample = type->create();
        Filler filler;
        ASSERT_TRUE(filler.fill(type->desc, sample));
        DDS_KeyHash_t hash{};
        ASSERT_TRUE(plugin->instanceToKeyHashFnc(endpoint, &hash, sample));

        Buffer key(keyedType.keyMaxSize());
        ASSERT_TRUE(plugin->serializeKeyFnc(nullptr, sample, &key.stream, 0, 0, 1, nullptr));
        unsigned char digest[16];
        ZELCdrStream_computeMD5OfBuffer(key.written().data(), static_cast<uint32_t>(key.written().size()), digest);
        EXPECT_EQ(Octets(hash.value, hash.value + 16), Octets(digest, digest + 16));

        for (DDS_UnsignedShort id : {DDS_UnsignedShort{0}, DDS_UnsignedShort{1}}) {
            Buffer in(serialized(*type, sample, id));
            DDS_KeyHash_t fromStream{};
            ASSERT_TRUE(plugin->serializedSampleToKeyHashFnc(endpoint, &in.stream, &fromStream, 1, nullptr));
            EXPECT_EQ(0, std::memcmp(fromStream.value, hash.value, 16));
        }

        // Through a key holder and back, the key alone gives the same hash.
        void *holder = type->create();
        void *instance = type->create();
        ASSERT_TRUE(plugin->instanceToKeyFnc(endpoint, holder, sample));
        ASSERT_TRUE(plugin->keyToInstanceFnc(endpoint, instance, holder));
        DDS_KeyHash_t again{};
        ASSERT_TRUE(plugin->instanceToKeyHashFnc(endpoint, &again, instance));
        EXPECT_EQ(0, std::memcmp(again.value, hash.value, 16));

        type->destroy(instance);
        type->destroy(holder);
        type->destroy(sample);
        plugin->onEndpointDetachedFnc(endpoint);
        plugin->onParticipantDetachedFnc(participant);
        keyedType.deletePlugin(plugin);
    }
}

}  // namespace
