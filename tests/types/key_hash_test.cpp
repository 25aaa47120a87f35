// Instance key hashes of the topic types: the MD5 digest of the key members
// written big-endian as a short-header parameter list with its sentinel, no
// encapsulation header. The key streams and digests are written out here.
#include <cstring>

#include <gtest/gtest.h>

#include "DDSMonitoring.h"
#include "heap_check.h"
#include "types_test_support.h"
#include "zel_dds_monitoring.h"

namespace {

using typestest::AttachedPlugin;
using typestest::Buffer;
using typestest::cat;
using typestest::Octets;
using typestest::zeros;

const Octets kKey1234 = {0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4};
const Octets kSentinel = {0x7f, 0x02, 0x00, 0x00};

Octets digestOf(const DDS_KeyHash_t &hash)
{
    return Octets(hash.value, hash.value + sizeof hash.value);
}

// A topic type seen untyped, filled from its generated functions.
struct TopicOps {
    const char *name;
    DDS_Boolean (*initialize)(void *sample);
    void (*finalize)(void *sample);
    void (*setEntity)(void *sample);  // entity_key {1, 2, 3, 4}, other members set too
    DDS_Boolean (*serialize)(const void *sample, ZELCdrStream *stream, DDS_UnsignedShort id);
    DDS_Boolean (*serializeKey)(const void *sample, ZELCdrStream *stream);
    DDS_Boolean (*toKeyHash)(PRESTypePluginEndpointData ep, DDS_KeyHash_t *hash, const void *sample);
    DDS_Boolean (*streamToKeyHash)(PRESTypePluginEndpointData ep, ZELCdrStream *stream, DDS_KeyHash_t *hash);
    PRESTypePlugin *(*pluginNew)();
    void (*pluginDelete)(PRESTypePlugin *plugin);
};

#define TYPESTEST_DESCRIPTION(F)                                                                           \
    TopicOps{#F,                                                                                           \
             [](void *s) { return F##_initialize(static_cast<F *>(s)); },                                  \
             [](void *s) { F##_finalize(static_cast<F *>(s)); },                                           \
             [](void *s) {                                                                                 \
                 static_cast<F *>(s)->entity_key = {{1, 2, 3, 4}};                                         \
                 static_cast<F *>(s)->domain_id = 7;                                                       \
                 static_cast<F *>(s)->process_id = 99;                                                     \
             },                                                                                            \
             [](const void *s, ZELCdrStream *stream, DDS_UnsignedShort id) {                               \
                 return F##Plugin_serialize(nullptr, static_cast<const F *>(s), stream, 1, id, 1, nullptr); \
             },                                                                                            \
             [](const void *s, ZELCdrStream *stream) {                                                     \
                 return F##Plugin_serialize_key(nullptr, static_cast<const F *>(s), stream, 0, 0, 1, nullptr); \
             },                                                                                            \
             [](PRESTypePluginEndpointData ep, DDS_KeyHash_t *hash, const void *s) {                       \
                 return F##Plugin_instance_to_keyhash(ep, hash, static_cast<const F *>(s));                \
             },                                                                                            \
             [](PRESTypePluginEndpointData ep, ZELCdrStream *stream, DDS_KeyHash_t *hash) {                \
                 return F##Plugin_serialized_sample_to_keyhash(ep, stream, hash, 1, nullptr);              \
             },                                                                                            \
             &F##Plugin_new,                                                                               \
             &F##Plugin_delete}

// Storage for any topic sample.
union AnyDescription {
    zel_dds_monitoring_DomainParticipantDescription participant;
    zel_dds_monitoring_TopicDescription topic;
    zel_dds_monitoring_PublisherDescription publisher;
    zel_dds_monitoring_SubscriberDescription subscriber;
    zel_dds_monitoring_DataReaderDescription reader;
    zel_dds_monitoring_DataWriterDescription writer;
};

class KeyHashTest : public zeltest::HeapCheckedTest {};

// All six descriptions key on entity_key alone (member 0), so one entity
// hashes alike in each, whatever the rest of the sample and whichever header
// form the full sample uses.
TEST_F(KeyHashTest, DescriptionHashIsTheDigestOfItsEntityKeyParameterList)
{
    const Octets keyStream = cat({{0x00, 0x00, 0x00, 0x10}, kKey1234, kSentinel});
    const Octets digest = {0xcc, 0xee, 0x59, 0xab, 0xbc, 0xcc, 0x9c, 0xa0,
                           0x06, 0x93, 0x89, 0xdd, 0xa6, 0x94, 0x05, 0xd0};
    unsigned char computed[16];
    ZELCdrStream_computeMD5OfBuffer(keyStream.data(), static_cast<uint32_t>(keyStream.size()), computed);
    ASSERT_EQ(Octets(computed, computed + 16), digest);

    const TopicOps descriptions[] = {
        TYPESTEST_DESCRIPTION(zel_dds_monitoring_DomainParticipantDescription),
        TYPESTEST_DESCRIPTION(zel_dds_monitoring_TopicDescription),
        TYPESTEST_DESCRIPTION(zel_dds_monitoring_PublisherDescription),
        TYPESTEST_DESCRIPTION(zel_dds_monitoring_SubscriberDescription),
        TYPESTEST_DESCRIPTION(zel_dds_monitoring_DataReaderDescription),
        TYPESTEST_DESCRIPTION(zel_dds_monitoring_DataWriterDescription),
    };
    for (const TopicOps &type : descriptions) {
        SCOPED_TRACE(type.name);
        AttachedPlugin attached(type.pluginNew, type.pluginDelete);
        ASSERT_NE(attached.endpoint, nullptr);
        AnyDescription sample;
        ASSERT_TRUE(type.initialize(&sample));
        type.setEntity(&sample);

        Buffer key(64);
        ASSERT_TRUE(type.serializeKey(&sample, &key.stream));
        EXPECT_EQ(key.written(), keyStream);

        DDS_KeyHash_t hash{};
        ASSERT_TRUE(type.toKeyHash(attached.endpoint, &hash, &sample));
        EXPECT_EQ(digestOf(hash), digest);
        EXPECT_EQ(hash.length, 16u);

        // From a little-endian serialized sample, the same hash.
        Buffer full(1 << 16);
        ASSERT_TRUE(type.serialize(&sample, &full.stream, 1));
        Buffer in(full.written());
        DDS_KeyHash_t fromStream{};
        ASSERT_TRUE(type.streamToKeyHash(attached.endpoint, &in.stream, &fromStream));
        EXPECT_EQ(digestOf(fromStream), digest);
        type.finalize(&sample);
    }
}

// Period is a key member: two samples of one writer taken over different
// periods are two instances with two hashes.
TEST_F(KeyHashTest, StatisticsOfOneWriterOverTwoPeriodsHashApart)
{
    AttachedPlugin attached(&zel_dds_monitoring_DataWriterEntityStatisticsPlugin_new,
                            &zel_dds_monitoring_DataWriterEntityStatisticsPlugin_delete);
    ASSERT_NE(attached.endpoint, nullptr);
    struct Case {
        DDS_Long periodSeconds;
        Octets keyStream;
        Octets digest;
    };
    const Case cases[] = {
        {5,
         cat({{0x00, 0x00, 0x00, 0x10}, kKey1234, {0x00, 0x01, 0x00, 0x08, 0, 0, 0, 5, 0, 0, 0, 0}, kSentinel}),
         {0xb4, 0x31, 0xe7, 0x42, 0xee, 0x7a, 0xf0, 0x8b, 0x2c, 0xd9, 0xbb, 0x26, 0x9b, 0x88, 0x94, 0x31}},
        {10,
         cat({{0x00, 0x00, 0x00, 0x10}, kKey1234, {0x00, 0x01, 0x00, 0x08, 0, 0, 0, 10, 0, 0, 0, 0}, kSentinel}),
         {0x08, 0x1a, 0xff, 0x05, 0xec, 0xa7, 0x9d, 0xb5, 0x8f, 0xaa, 0x8d, 0xd8, 0x08, 0x4d, 0xbc, 0x32}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.periodSeconds);
        zel_dds_monitoring_DataWriterEntityStatistics sample;
        ASSERT_TRUE(zel_dds_monitoring_DataWriterEntityStatistics_initialize(&sample));
        sample.datawriter_key = {{1, 2, 3, 4}};
        sample.period = {c.periodSeconds, 0};
        sample.topic_key = {{9, 9, 9, 9}};
        std::strcpy(sample.topic_name, "Square");
        sample.datawriter_cache_status.status.sample_count = 12;

        Buffer key(64);
        ASSERT_TRUE(zel_dds_monitoring_DataWriterEntityStatisticsPlugin_serialize_key(nullptr, &sample, &key.stream, 0,
                                                                                      0, 1, nullptr));
        EXPECT_EQ(key.written(), c.keyStream);
        unsigned char computed[16];
        ZELCdrStream_computeMD5OfBuffer(c.keyStream.data(), static_cast<uint32_t>(c.keyStream.size()), computed);
        EXPECT_EQ(Octets(computed, computed + 16), c.digest);

        DDS_KeyHash_t hash{};
        ASSERT_TRUE(zel_dds_monitoring_DataWriterEntityStatisticsPlugin_instance_to_keyhash(attached.endpoint, &hash,
                                                                                            &sample));
        EXPECT_EQ(digestOf(hash), c.digest);

        Buffer full(4096);
        ASSERT_TRUE(zel_dds_monitoring_DataWriterEntityStatisticsPlugin_serialize(nullptr, &sample, &full.stream, 1, 1,
                                                                                  1, nullptr));
        Buffer in(full.written());
        DDS_KeyHash_t fromStream{};
        ASSERT_TRUE(zel_dds_monitoring_DataWriterEntityStatisticsPlugin_serialized_sample_to_keyhash(
                attached.endpoint, &in.stream, &fromStream, 1, nullptr));
        EXPECT_EQ(digestOf(fromStream), c.digest);
        zel_dds_monitoring_DataWriterEntityStatistics_finalize(&sample);
    }
}

// Struct keys inside the key stream: a locator with no encapsulations still
// carries its zero count, and an instance handle carries its padding as
// zeros even when the scratch stream last held a longer key.
TEST_F(KeyHashTest, LocatorAndInstanceHandleKeysCarryEveryOctet)
{
    AttachedPlugin locatorPlugin(&zel_dds_monitoring_DataWriterEntityMatchedSubscriptionWithLocatorStatisticsPlugin_new,
                                 &zel_dds_monitoring_DataWriterEntityMatchedSubscriptionWithLocatorStatisticsPlugin_delete);
    ASSERT_NE(locatorPlugin.endpoint, nullptr);
    zel_dds_monitoring_DataWriterEntityMatchedSubscriptionWithLocatorStatistics located;
    ASSERT_TRUE(zel_dds_monitoring_DataWriterEntityMatchedSubscriptionWithLocatorStatistics_initialize(&located));
    located.datawriter_key = {{1, 2, 3, 4}};
    located.period = {5, 0};
    located.subscription_locator.kind = 1;
    located.subscription_locator._port = 7400;
    located.subscription_locator.address[12] = 127;
    located.subscription_locator.address[15] = 1;

    // First a longer key with every encapsulation slot used, then the short one.
    ASSERT_TRUE(DDSMonitoring_EncapsulationId_tSeq_ensure_length(&located.subscription_locator.encapsulations, 8, 8));
    for (DDS_Long i = 0; i < 8; ++i) {
        *DDSMonitoring_EncapsulationId_tSeq_get_reference(&located.subscription_locator.encapsulations, i) = 0xffff;
    }
    DDS_KeyHash_t hash{};
    ASSERT_TRUE(zel_dds_monitoring_DataWriterEntityMatchedSubscriptionWithLocatorStatisticsPlugin_instance_to_keyhash(
            locatorPlugin.endpoint, &hash, &located));
    ASSERT_TRUE(DDSMonitoring_EncapsulationId_tSeq_set_length(&located.subscription_locator.encapsulations, 0));

    const Octets locatorKey = cat({{0x00, 0x00, 0x00, 0x10}, kKey1234,
                                   {0x00, 0x01, 0x00, 0x1c, 0, 0, 0, 1, 0, 0, 0x1c, 0xe8},
                                   zeros(12),
                                   {127, 0, 0, 1, 0, 0, 0, 0},  // address end, empty encapsulations
                                   {0x00, 0x02, 0x00, 0x08, 0, 0, 0, 5, 0, 0, 0, 0},
                                   kSentinel});
    Buffer key(128);
    ASSERT_TRUE(zel_dds_monitoring_DataWriterEntityMatchedSubscriptionWithLocatorStatisticsPlugin_serialize_key(
            nullptr, &located, &key.stream, 0, 0, 1, nullptr));
    EXPECT_EQ(key.written(), locatorKey);
    ASSERT_TRUE(zel_dds_monitoring_DataWriterEntityMatchedSubscriptionWithLocatorStatisticsPlugin_instance_to_keyhash(
            locatorPlugin.endpoint, &hash, &located));
    EXPECT_EQ(digestOf(hash), Octets({0xe7, 0x81, 0xd2, 0x38, 0xe9, 0x16, 0x40, 0x19, 0xf4, 0xb9, 0xf8, 0xcc, 0xeb,
                                      0x3c, 0x10, 0xef}));
    zel_dds_monitoring_DataWriterEntityMatchedSubscriptionWithLocatorStatistics_finalize(&located);

    AttachedPlugin handlePlugin(&zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatisticsPlugin_new,
                                &zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatisticsPlugin_delete);
    ASSERT_NE(handlePlugin.endpoint, nullptr);
    zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatistics matched;
    ASSERT_TRUE(zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatistics_initialize(&matched));
    matched.datawriter_key = {{1, 2, 3, 4}};
    matched.period = {5, 0};
    DDS_KeyHash_t dirtying{};
    std::memset(matched.subscription_handle.value, 0xee, 16);
    matched.subscription_handle.length = 0xeeeeeeee;
    matched.subscription_handle.isValid = 0xee;
    ASSERT_TRUE(zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatisticsPlugin_instance_to_keyhash(
            handlePlugin.endpoint, &dirtying, &matched));
    for (int i = 0; i < 16; ++i) {
        matched.subscription_handle.value[i] = static_cast<DDS_Octet>(0x10 + i);
    }
    matched.subscription_handle.length = 16;
    matched.subscription_handle.isValid = 1;
    ASSERT_TRUE(zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatisticsPlugin_instance_to_keyhash(
            handlePlugin.endpoint, &hash, &matched));
    EXPECT_EQ(digestOf(hash), Octets({0x09, 0x93, 0xce, 0x57, 0x35, 0x04, 0x45, 0x41, 0x0f, 0xb8, 0x14, 0x46, 0xed,
                                      0x3d, 0xd2, 0xdb}));
    zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatistics_finalize(&matched);
}

}  // namespace
