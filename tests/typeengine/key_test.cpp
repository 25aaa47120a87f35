// Keys: the key stream, key copies and instance key hashes.
#include "engine_test_support.h"
#include "heap_check.h"
#include "engine_types.h"

namespace typetest {
namespace {

class TypeKeyTest : public zeltest::HeapCheckedTest {};

const char *const kTopicKeyList =
        "00 00 00 10 | 00 00 00 01 00 00 00 02 00 00 00 03 00 00 00 04 |"
        "00 01 00 08 | 00 00 00 05 00 00 00 06 | 7f 02 00 00";

void fill(TopicLike &s) {
    s.key = Key16{{1, 2, 3, 4}};
    s.period = DurationLike{5, 6};
    s.count = 7;
    setText(s.name, "t");
}

Octets hashOf(const DDS_KeyHash_t &keyHash) {
    EXPECT_EQ(keyHash.length, 16u);
    return Octets(keyHash.value, keyHash.value + 16);
}

// The key hash as the endpoint computes it, with a stream of the key's
// maximum size (at least 16 octets), whatever it held before.
Octets instanceKeyHash(const ZELCdrTypeDesc *type, const void *sample) {
    const uint32_t size = ZELCdrType_getSerializedKeyMaxSize(type, DDS_BOOLEAN_FALSE, 0, 0);
    Buffer md5(size < 16 ? 16 : size, ZEL_CDR_LITTLE_ENDIAN);
    std::memset(md5.stream.buffer, 0xee, md5.stream.bufferLength);
    DDS_KeyHash_t keyHash{};
    EXPECT_TRUE(ZELCdrType_instanceToKeyHash(type, &md5.stream, &keyHash, sample));
    return hashOf(keyHash);
}

// The key hash read from the serialized sample, into a fresh key holder.
template <typename T>
Octets serializedKeyHash(const ZELCdrTypeDesc *type, const T &sample, uint16_t encapsulationId) {
    Buffer serializedSample(serialized(type, &sample, encapsulationId));
    Buffer md5(64);
    Sample<T> holder(type);
    DDS_KeyHash_t keyHash{};
    EXPECT_TRUE(ZELCdrType_serializedSampleToKeyHash(type, &serializedSample.stream, &md5.stream, &holder.value,
                                                     &keyHash, DDS_BOOLEAN_TRUE));
    return hashOf(keyHash);
}

TEST_F(TypeKeyTest, KeyStreamHoldsKeyMembersOnlyWithShortHeaders) {
    Sample<TopicLike> sample(&TopicLike_g_desc);
    fill(sample.value);
    Buffer bare;
    ASSERT_TRUE(ZELCdrType_serializeKey(&TopicLike_g_desc, &sample.value, &bare.stream, DDS_BOOLEAN_FALSE, 0,
                                        DDS_BOOLEAN_TRUE));
    EXPECT_EQ(bare.written(), hex(kTopicKeyList));
    EXPECT_EQ(ZELCdrType_getSerializedKeyMaxSize(&TopicLike_g_desc, DDS_BOOLEAN_FALSE, 0, 0), 36u);

    Buffer encapsulated;
    ASSERT_TRUE(ZELCdrType_serializeKey(&TopicLike_g_desc, &sample.value, &encapsulated.stream, DDS_BOOLEAN_TRUE, 0,
                                        DDS_BOOLEAN_TRUE));
    EXPECT_EQ(encapsulated.written(), hex(std::string("00 02 00 00 |") + kTopicKeyList));

    // Read back into a key holder: the key members only.
    Sample<TopicLike> holder(&TopicLike_g_desc);
    Buffer read(encapsulated.written());
    ASSERT_TRUE(ZELCdrType_deserializeKey(&TopicLike_g_desc, &holder.value, &read.stream, DDS_BOOLEAN_TRUE,
                                          DDS_BOOLEAN_TRUE));
    EXPECT_EQ(holder.value.key.value[3], 4);
    EXPECT_EQ(holder.value.period.nanosec, 6u);
    EXPECT_EQ(holder.value.count, 0);

    // Key copies leave the other members alone.
    Sample<TopicLike> copy(&TopicLike_g_desc);
    copy.value.count = -1;
    ASSERT_TRUE(ZELCdrType_copyKey(&TopicLike_g_desc, &copy.value, &sample.value));
    EXPECT_EQ(copy.value.key.value[0], 1);
    EXPECT_EQ(copy.value.period.sec, 5);
    EXPECT_EQ(copy.value.count, -1);
    EXPECT_STREQ(copy.value.name, "");
}

TEST_F(TypeKeyTest, SmallKeyIsItsOwnHashAndIsFoundAmongOtherMembers) {
    Sample<FinalKeyed> sample(&FinalKeyed_g_desc);
    sample.value.before = 9;
    sample.value.id = 42;
    setText(sample.value.note, "note");
    const DDS_Long values[] = {1, 2};
    ASSERT_TRUE(DDS_LongSeq_from_array(&sample.value.values, values, 2));
    sample.value.sub = 7;
    EXPECT_EQ(ZELCdrType_getSerializedKeyMaxSize(&FinalKeyed_g_desc, DDS_BOOLEAN_FALSE, 0, 0), 6u);
    const Octets expected = hex("00 00 00 2a 00 07 00 00 00 00 00 00 00 00 00 00");
    EXPECT_EQ(instanceKeyHash(&FinalKeyed_g_desc, &sample.value), expected);

    // A full sample is read past its non-key members to find the keys.
    EXPECT_EQ(serializedKeyHash(&FinalKeyed_g_desc, sample.value, 1), expected);
}

}  // namespace
}  // namespace typetest
