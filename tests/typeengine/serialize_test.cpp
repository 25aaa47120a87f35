// Serialization of described samples: exact octets of plain CDR and of
// parameter lists read back, bounds, tolerant reading of lists.
#include <cstddef>
#include <cstring>
#include <vector>

#include "engine_test_support.h"
#include "heap_check.h"
#include "engine_types.h"
#include "vurncore/sequence.h"

namespace typetest {
namespace {

class TypeSerializeTest : public zeltest::HeapCheckedTest {};

void fill(FinalAll &s) {
    s = FinalAll{1,
                 0xab,
                 'z',
                 -2,
                 0x1234,
                 -3,
                 0x01020304u,
                 -5,
                 0x0102030405060708ull,
                 1.5f,
                 -2.25,
                 BLUE,
                 {7, 8, 0x7fffffff}};
}

void fill(Appendable &s) {
    setText(s.name, "abc");
    const DDS_Long values[] = {1, 2};
    ASSERT_TRUE(DDS_LongSeq_from_array(&s.values, values, 2));
    const char *tags[] = {"x", "yz"};
    ASSERT_TRUE(DDS_StringSeq_from_array(&s.tags, tags, 2));
    auto *points = reinterpret_cast<ZELSequence *>(&s.points);
    ASSERT_TRUE(ZELSequence_ensure_length(points, Point_g_desc.sequenceElementType, 1, 2, "test"));
    s.points._contiguous_buffer[0] = Point{1, -1};
    s.tail = 7;
    replaceText(&s.notes, "hello");
}

void fill(OuterMutable &s) {
    s.id = 0x11223344;
    s.inner.a = -1;
    setText(s.inner.label, "ok");
    s.flag = 0x5a;
}

void fill(Big &s) {
    s.first = 5;
    const DDS_Octet blob[] = {0xaa, 0xbb};
    ASSERT_TRUE(DDS_OctetSeq_from_array(&s.blob, blob, 2));
    s.inner.a = 3;
    setText(s.inner.label, "hi");
}

const char *const kFinalBigEndian =
        "01 ab 7a 00 | ff fe 12 34 | ff ff ff fd | 01 02 03 04 | ff ff ff ff ff ff ff fb |"
        "01 02 03 04 05 06 07 08 | 3f c0 00 00 | 00 00 00 00 | c0 02 00 00 00 00 00 00 |"
        "00 00 00 02 | 00 00 00 07 | 00 00 00 08 | 7f ff ff ff";
const char *const kOuterListBigEndian =
        "00 00 00 04 | 11 22 33 44 | 00 01 00 18 |"
        "   00 00 00 04 | ff ff 00 00 | 00 01 00 08 | 00 00 00 03 6f 6b 00 00 | 7f 02 00 00 |"
        "00 02 00 04 | 5a 00 00 00 |";

TEST_F(TypeSerializeTest, EachExtensibilityHasItsExactFormInBothByteOrders) {
    FinalAll final;
    fill(final);
    Sample<Appendable> appendable(&Appendable_g_desc);
    fill(appendable.value);
    Sample<OuterMutable> outer(&OuterMutable_g_desc);
    fill(outer.value);
    Sample<Big> big(&Big_g_desc);
    fill(big.value);
    // Stale octets in the C layout's padding must not reach the stream.
    CountersHolder holder;
    std::memset(&holder, 0xee, sizeof holder);
    holder.id = 42;
    holder.counters = {0x0102030405060708, -1, 0x5a, 7};
    std::memset(&holder.counters.flag + 1, 0xee, offsetof(Counters, next) - offsetof(Counters, flag) - 1);
    NestedHolder nested{1, holder};
    const struct {
        const char *name;
        const ZELCdrTypeDesc *type;
        const void *sample;
        uint16_t encapsulationId;
        std::string octets;
    } cases[] = {
            {"final: plain CDR", &FinalAll_g_desc, &final, 0, std::string("00 00 00 00") + kFinalBigEndian},
            {"final, little-endian", &FinalAll_g_desc, &final, 1,
             "00 01 00 00 | 01 ab 7a 00 | fe ff 34 12 | fd ff ff ff | 04 03 02 01 | fb ff ff ff ff ff ff ff |"
             "08 07 06 05 04 03 02 01 | 00 00 c0 3f | 00 00 00 00 | 00 00 00 00 00 00 02 c0 |"
             "02 00 00 00 | 07 00 00 00 | 08 00 00 00 | ff ff ff 7f"},
            {"appendable: strings and sequences aligned", &Appendable_g_desc, &appendable.value, 0,
             "00 00 00 00 | 00 00 00 04 61 62 63 00 | 00 00 00 02 00 00 00 01 00 00 00 02 |"
             "00 00 00 02 | 00 00 00 02 78 00 00 00 | 00 00 00 03 79 7a 00 00 |"
             "00 00 00 01 | 00 01 00 00 ff ff ff ff | 00 07 00 00 | 00 00 00 06 68 65 6c 6c 6f 00"},
            {"mutable: short headers, each list its sentinel", &OuterMutable_g_desc, &outer.value, 0,
             std::string("00 02 00 00 |") + kOuterListBigEndian + "7f 02 00 00"},
            {"mutable, little-endian", &OuterMutable_g_desc, &outer.value, 1,
             "00 03 00 00 | 00 00 04 00 | 44 33 22 11 | 01 00 18 00 |"
             "   00 00 04 00 | ff ff 00 00 | 01 00 08 00 | 03 00 00 00 6f 6b 00 00 | 02 7f 00 00 |"
             "02 00 04 00 | 5a 00 00 00 | 02 7f 00 00"},
            // Primitive members keep short headers; the nested list follows
            // the outer decision although it is small itself.
            {"over 64 KiB: extended headers down to nested lists", &Big_g_desc, &big.value, 0,
             "00 02 00 00 | 00 00 00 04 | 00 00 00 05 |"
             "7f 01 00 08 | 00 00 00 01 | 00 00 00 08 | 00 00 00 02 aa bb 00 00 |"
             "7f 01 00 08 | 00 00 00 02 | 00 00 00 20 |"
             "   00 00 00 04 | 00 03 00 00 |"
             "   7f 01 00 08 | 00 00 00 01 | 00 00 00 08 | 00 00 00 03 68 69 00 00 | 7f 02 00 00 |"
             "7f 02 00 00"},
            // A struct laid out as its CDR form, padded to its first member
            // after a header, with zeros inside.
            {"plain struct in a list, little-endian", &CountersHolder_g_desc, &holder, 1,
             "00 03 00 00 | 00 00 04 00 | 2a 00 00 00 | 01 00 18 00 | 00 00 00 00 | 08 07 06 05 04 03 02 01 |"
             "ff ff ff ff | 5a 00 00 00 | 07 00 00 00 | 02 7f 00 00"},
            {"plain struct in a list, big-endian", &CountersHolder_g_desc, &holder, 0,
             "00 02 00 00 | 00 00 00 04 | 00 00 00 2a | 00 01 00 18 | 00 00 00 00 | 01 02 03 04 05 06 07 08 |"
             "ff ff ff ff | 5a 00 00 00 | 00 00 00 07 | 7f 02 00 00"},
            // The origin stays the sample's inside a nested list: no padding.
            {"plain struct in a nested list", &NestedHolder_g_desc, &nested, 0,
             "00 02 00 00 | 00 00 00 04 | 00 00 00 01 | 00 01 00 24 | 00 00 00 04 | 00 00 00 2a | 00 01 00 14 |"
             "01 02 03 04 05 06 07 08 | ff ff ff ff | 5a 00 00 00 | 00 00 00 07 | 7f 02 00 00 | 7f 02 00 00"},
            {"the nested type alone: short headers", &InnerMutable_g_desc, &big.value.inner, 0,
             "00 02 00 00 | 00 00 00 04 | 00 03 00 00 | 00 01 00 08 | 00 00 00 03 68 69 00 00 | 7f 02 00 00"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const Octets octets = serialized(c.type, c.sample, c.encapsulationId);
        EXPECT_EQ(octets, hex(c.octets));
        // Read back into a fresh sample, the sample writes the same octets again.
        std::vector<std::max_align_t> copy(c.type->size / sizeof(std::max_align_t) + 1);
        ASSERT_TRUE(ZELCdrType_initializeSample(c.type, copy.data(), nullptr));
        Buffer in(octets);
        EXPECT_TRUE(ZELCdrType_deserializeSample(c.type, copy.data(), &in.stream, DDS_BOOLEAN_TRUE, DDS_BOOLEAN_TRUE));
        EXPECT_EQ(serialized(c.type, copy.data(), c.encapsulationId), octets);
        ZELCdrType_finalizeSample(c.type, copy.data(), nullptr);
    }

    // Alignment counts from the octet after the header, wherever it lies.
    Buffer buffer;
    const char lead = 0x11;
    ASSERT_TRUE(ZELCdrStream_serializePrimitive(&buffer.stream, &lead, 1));
    ASSERT_TRUE(ZELCdrType_serializeSample(&FinalAll_g_desc, &final, &buffer.stream, DDS_BOOLEAN_TRUE, 0,
                                           DDS_BOOLEAN_TRUE));
    EXPECT_EQ(buffer.written(), hex(std::string("11 00 00 00 00") + kFinalBigEndian));
    // The caller's skip-sentinel flag drops the outer sentinel only, and is
    // set again afterwards.
    Buffer skipping;
    skipping.stream.skipSentinel = ZEL_TRUE;
    ASSERT_TRUE(ZELCdrType_serializeSample(&OuterMutable_g_desc, &outer.value, &skipping.stream, DDS_BOOLEAN_FALSE, 0,
                                           DDS_BOOLEAN_TRUE));
    EXPECT_EQ(skipping.written(), hex(kOuterListBigEndian));
    EXPECT_EQ(skipping.stream.skipSentinel, ZEL_TRUE);
}

TEST_F(TypeSerializeTest, EncapsulationIdentifierFollowsTheTypeAndUnknownOnesFail) {
    Sample<OuterMutable> outer(&OuterMutable_g_desc);
    FinalAll final{};
    Octets octets;
    for (uint16_t requested = 0; requested <= 4; ++requested) {  // parameter-list forms only
        ASSERT_EQ(serializes(&OuterMutable_g_desc, &outer.value, requested, &octets), requested <= 3) << requested;
        EXPECT_TRUE(requested > 3 || octets[1] == (requested | 2)) << requested;
    }
    for (uint16_t requested = 0; requested <= 2; ++requested) {  // plain forms only
        ASSERT_EQ(serializes(&FinalAll_g_desc, &final, requested, &octets), requested <= 1) << requested;
        EXPECT_TRUE(requested > 1 || octets[1] == requested) << requested;
    }
}

TEST_F(TypeSerializeTest, BoundsAreEnforcedOnStringsAndSequences) {
    Sample<TopicLike> topic(&TopicLike_g_desc);
    setText(topic.value.name, std::string(256, 'n').c_str());
    EXPECT_TRUE(serializes(&TopicLike_g_desc, &topic.value, 0));
    replaceText(&topic.value.name, std::string(257, 'n').c_str());
    EXPECT_FALSE(serializes(&TopicLike_g_desc, &topic.value, 0));

    Sample<Appendable> appendable(&Appendable_g_desc);
    const DDS_Long values[] = {1, 2, 3, 4};
    ASSERT_TRUE(DDS_LongSeq_from_array(&appendable.value.values, values, 4));
    EXPECT_FALSE(serializes(&Appendable_g_desc, &appendable.value, 0));
    // Read side: a count or a string above the bound is refused too; the
    // bound itself is read.
    for (const auto &[octets, accepted] : {std::pair{"00 00 00 00 | 00 00 00 01 00 | 00 00 00 | 00 00 00 04", false},
                                           std::pair{"00 00 00 00 | 00 00 00 0a 31 32 33 34 35 36 37 38 39 00", false},
                                           std::pair{"00 00 00 00 | 00 00 00 09 31 32 33 34 35 36 37 38 00 |"
                                                     "00 00 00 | 00 00 00 00 | 00 00 00 00 | 00 00 00 00 | 00 00 |"
                                                     "00 00 | 00 00 00 01 00",
                                                     true}}) {
        Buffer announced(hex(octets));
        EXPECT_EQ(ZELCdrType_deserializeSample(&Appendable_g_desc, &appendable.value, &announced.stream,
                                               DDS_BOOLEAN_TRUE, DDS_BOOLEAN_TRUE),
                  accepted)
                << octets;
    }
}

TEST_F(TypeSerializeTest, ParameterListReadSkipsUnknownAndIgnoredIdsAndKeepsAbsentMembers) {
    Sample<OuterMutable> sample(&OuterMutable_g_desc);
    sample.value.inner.a = 9;
    // An unknown id, `id` in the extended form, an ignored parameter, `flag`
    // with the must-understand bit; `inner` absent.
    Buffer buffer(
            hex("00 02 00 00 | 00 03 00 04 | de ad be ef |"
                "7f 01 00 08 | 00 00 00 00 | 00 00 00 04 | 00 00 00 2a |"
                "3f 03 00 04 | 01 02 03 04 | 40 02 00 04 | 07 00 00 00 | 7f 02 00 00"));
    ASSERT_TRUE(ZELCdrType_deserializeSample(&OuterMutable_g_desc, &sample.value, &buffer.stream, DDS_BOOLEAN_TRUE,
                                             DDS_BOOLEAN_TRUE));
    EXPECT_EQ(sample.value.id, 42);
    EXPECT_EQ(sample.value.flag, 7);
    EXPECT_EQ(sample.value.inner.a, 9);
    EXPECT_STREQ(sample.value.inner.label, "");
}

}  // namespace
}  // namespace typetest
