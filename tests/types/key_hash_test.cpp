// Instance key hashes of the topic types: the MD5 digest of the key members
// written big-endian as a short-header parameter list with its sentinel, no
// encapsulation header, the same from an instance, from its key and from a
// serialized sample in either byte order.
#include <cstring>

#include <gtest/gtest.h>

#include "DDSMonitoring.h"
#include "heap_check.h"
#include "sample_filler.h"
#include "types_test_support.h"
#include "zel_dds_monitoring.h"

namespace {

using typestest::AnyType;
using typestest::AttachedPlugin;
using typestest::Buffer;
using typestest::cat;
using typestest::Octets;
using typestest::TopicType;
using typestest::zeros;

Octets digestOf(const DDS_KeyHash_t &hash) {
    EXPECT_EQ(hash.length, 16u);
    return Octets(hash.value, hash.value + sizeof hash.value);
}

Octets md5Of(const Octets &octets) {
    unsigned char digest[16];
    ZELCdrStream_computeMD5OfBuffer(octets.data(), static_cast<uint32_t>(octets.size()), digest);
    return Octets(digest, digest + 16);
}

const Octets kKey1234 = {0x00, 0x00, 0x00, 0x10, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4};  // member 0
const Octets kSentinel = {0x7f, 0x02, 0x00, 0x00};
const Octets kPeriod5 = {0, 0, 0, 5, 0, 0, 0, 0};

// Descriptions key on entity_key alone; the other members set here do not count.
template <typename Description>
void setEntity(void *sample) {
    static_cast<Description *>(sample)->entity_key = {{1, 2, 3, 4}};
    static_cast<Description *>(sample)->domain_id = 7;
}

// Period is a key member: one writer over two periods is two instances.
template <DDS_Long Seconds>
void setWriterStatistics(void *sample) {
    auto *statistics = static_cast<zel_dds_monitoring_DataWriterEntityStatistics *>(sample);
    statistics->datawriter_key = {{1, 2, 3, 4}};
    statistics->period = {Seconds, 0};
    statistics->topic_key = {{9, 9, 9, 9}};
    statistics->datawriter_cache_status.status.sample_count = 12;
}

// A locator without encapsulations still carries their zero count.
void setLocator(void *sample) {
    auto *statistics =
            static_cast<zel_dds_monitoring_DataWriterEntityMatchedSubscriptionWithLocatorStatistics *>(sample);
    statistics->datawriter_key = {{1, 2, 3, 4}};
    statistics->period = {5, 0};
    statistics->subscription_locator.kind = 1;
    statistics->subscription_locator._port = 7400;
    statistics->subscription_locator.address[12] = 127;
    statistics->subscription_locator.address[15] = 1;
}

// An instance handle carries its padding as zeros.
void setHandle(void *sample) {
    auto *statistics = static_cast<zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatistics *>(sample);
    statistics->datawriter_key = {{1, 2, 3, 4}};
    statistics->period = {5, 0};
    for (int i = 0; i < 16; ++i) {
        statistics->subscription_handle.value[i] = static_cast<DDS_Octet>(0x10 + i);
    }
    statistics->subscription_handle.length = 16;
    statistics->subscription_handle.isValid = 1;
}

class KeyHashTest : public zeltest::HeapCheckedTest {};

// Every topic type hashes a sample filled to its bounds from the instance,
// from its key alone and from the serialized sample in either byte order.
// Some key streams and digests are written out; each is hashed right after
// the filled sample's longer key, so what the scratch stream held cannot show.
TEST_F(KeyHashTest, TopicTypesHashTheirKeyAlikeEverywhereWithTheExactOctets) {
    const Octets entityKey = cat({kKey1234, kSentinel});
    const Octets entityDigest = {0xcc, 0xee, 0x59, 0xab, 0xbc, 0xcc, 0x9c, 0xa0,
                                 0x06, 0x93, 0x89, 0xdd, 0xa6, 0x94, 0x05, 0xd0};
    struct Case {
        const char *flatName;
        void (*set)(void *sample);
        Octets keyStream;
        Octets digest;
    };
    const Case cases[] = {
            {"zel_dds_monitoring_DomainParticipantDescription",
             &setEntity<zel_dds_monitoring_DomainParticipantDescription>, entityKey, entityDigest},
            {"zel_dds_monitoring_TopicDescription", &setEntity<zel_dds_monitoring_TopicDescription>, entityKey,
             entityDigest},
            {"zel_dds_monitoring_PublisherDescription", &setEntity<zel_dds_monitoring_PublisherDescription>, entityKey,
             entityDigest},
            {"zel_dds_monitoring_SubscriberDescription", &setEntity<zel_dds_monitoring_SubscriberDescription>,
             entityKey, entityDigest},
            {"zel_dds_monitoring_DataReaderDescription", &setEntity<zel_dds_monitoring_DataReaderDescription>,
             entityKey, entityDigest},
            {"zel_dds_monitoring_DataWriterDescription", &setEntity<zel_dds_monitoring_DataWriterDescription>,
             entityKey, entityDigest},
            {"zel_dds_monitoring_DataWriterEntityStatistics",
             &setWriterStatistics<5>,
             cat({kKey1234, {0x00, 0x01, 0x00, 0x08}, kPeriod5, kSentinel}),
             {0xb4, 0x31, 0xe7, 0x42, 0xee, 0x7a, 0xf0, 0x8b, 0x2c, 0xd9, 0xbb, 0x26, 0x9b, 0x88, 0x94, 0x31}},
            {"zel_dds_monitoring_DataWriterEntityStatistics",
             &setWriterStatistics<10>,
             cat({kKey1234, {0x00, 0x01, 0x00, 0x08, 0, 0, 0, 10, 0, 0, 0, 0}, kSentinel}),
             {0x08, 0x1a, 0xff, 0x05, 0xec, 0xa7, 0x9d, 0xb5, 0x8f, 0xaa, 0x8d, 0xd8, 0x08, 0x4d, 0xbc, 0x32}},
            {"zel_dds_monitoring_DataWriterEntityMatchedSubscriptionWithLocatorStatistics",
             &setLocator,
             cat({kKey1234,
                  {0x00, 0x01, 0x00, 0x1c, 0, 0, 0, 1, 0, 0, 0x1c, 0xe8},
                  zeros(12),
                  {127, 0, 0, 1, 0, 0, 0, 0},
                  {0x00, 0x02, 0x00, 0x08},
                  kPeriod5,
                  kSentinel}),
             {0xe7, 0x81, 0xd2, 0x38, 0xe9, 0x16, 0x40, 0x19, 0xf4, 0xb9, 0xf8, 0xcc, 0xeb, 0x3c, 0x10, 0xef}},
            {"zel_dds_monitoring_DataWriterEntityMatchedSubscriptionStatistics",
             &setHandle,
             cat({kKey1234,
                  {0x00, 0x01, 0x00, 0x18, 0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19,
                   0x1a, 0x1b, 0x1c, 0x1d, 0x1e, 0x1f, 0,    0,    0,    0x10, 1,    0,    0,    0},
                  {0x00, 0x02, 0x00, 0x08},
                  kPeriod5,
                  kSentinel}),
             {0x09, 0x93, 0xce, 0x57, 0x35, 0x04, 0x45, 0x41, 0x0f, 0xb8, 0x14, 0x46, 0xed, 0x3d, 0xd2, 0xdb}},
    };
    ASSERT_EQ(typestest::topicTypes().size(), 13u);
    for (const TopicType &topic : typestest::topicTypes()) {
        const AnyType &type = *topic.type;
        SCOPED_TRACE(type.flatName);
        AttachedPlugin attached(topic.newPlugin, topic.deletePlugin);
        ASSERT_NE(attached.endpoint, nullptr);
        PRESTypePlugin *plugin = attached.plugin;
        const unsigned int keyMaxSize = plugin->serializedKeyMaxSizeFnc(nullptr, 0, 0, 0);
        EXPECT_GT(keyMaxSize, 16u) << "keys this long are hashed, never used as they are";
        void *filled = type.create();
        void *holder = type.create();
        void *instance = type.create();
        typestest::Filler filler(true);
        ASSERT_TRUE(filled != nullptr && holder != nullptr && instance != nullptr && filler.fill(type.desc, filled));
        DDS_KeyHash_t hash{};
        ASSERT_TRUE(plugin->instanceToKeyHashFnc(attached.endpoint, &hash, filled));
        Buffer key(keyMaxSize);
        ASSERT_TRUE(plugin->serializeKeyFnc(nullptr, filled, &key.stream, 0, 0, 1, nullptr));
        EXPECT_EQ(digestOf(hash), md5Of(key.written()));

        for (DDS_UnsignedShort id : {DDS_UnsignedShort{0}, DDS_UnsignedShort{1}}) {
            Buffer in(typestest::serialized(type, filled, id));
            DDS_KeyHash_t fromStream{};
            ASSERT_TRUE(plugin->serializedSampleToKeyHashFnc(attached.endpoint, &in.stream, &fromStream, 1, nullptr));
            EXPECT_EQ(digestOf(fromStream), digestOf(hash));
        }
        // Through a key holder and back, the key alone gives the same hash.
        ASSERT_TRUE(plugin->instanceToKeyFnc(attached.endpoint, holder, filled));
        ASSERT_TRUE(plugin->keyToInstanceFnc(attached.endpoint, instance, holder));
        DDS_KeyHash_t again{};
        ASSERT_TRUE(plugin->instanceToKeyHashFnc(attached.endpoint, &again, instance));
        EXPECT_EQ(digestOf(again), digestOf(hash));

        for (const Case &c : cases) {
            if (std::strcmp(c.flatName, type.flatName) != 0) {
                continue;
            }
            void *sample = type.create();
            ASSERT_NE(sample, nullptr);
            c.set(sample);
            Buffer exact(keyMaxSize);
            ASSERT_TRUE(plugin->serializeKeyFnc(nullptr, sample, &exact.stream, 0, 0, 1, nullptr));
            EXPECT_EQ(exact.written(), c.keyStream);
            EXPECT_EQ(md5Of(c.keyStream), c.digest);
            ASSERT_TRUE(plugin->instanceToKeyHashFnc(attached.endpoint, &hash, sample));
            EXPECT_EQ(digestOf(hash), c.digest);
            type.destroy(sample);
        }
        type.destroy(instance);
        type.destroy(holder);
        type.destroy(filled);
    }
}

}  // namespace
