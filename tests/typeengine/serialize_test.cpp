// Serialization of described samples: exact octets of plain CDR and of
// parameter lists, bounds, tolerant reading of lists, round trips.
#include "engine_test_support.h"
#include "heap_check.h"
#include "test_types.h"
#include "vurncore/sequence.h"

namespace typetest {
namespace {

class TypeSerializeTest : public zeltest::HeapCheckedTest {};

void fill(FinalAll &s) {
    s = FinalAll{1, 0xab, 'z', -2, 0x1234, -3, 0x01020304u, -5, 0x0102030405060708ull, 1.5f, -2.25, Color_BLUE,
                 {7, 8, 0x7fffffff}};
}

void fill(Appendable &s) {
    setText(s.name, "abc");
    const DDS_Long values[] = {1, 2};
    ASSERT_TRUE(DDS_LongSeq_from_array(&s.values, values, 2));
    const char *tags[] = {"x", "yz"};
    ASSERT_TRUE(DDS_StringSeq_from_array(&s.tags, tags, 2));
    auto *points = reinterpret_cast<ZELSequence *>(&s.points);
    ASSERT_TRUE(ZELSequence_ensure_length(points, Point_desc.sequenceElementType, 1, 2, "test"));
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

const char *const kOuterListBigEndian =
        "00 00 00 04 | 11 22 33 44 | 00 01 00 18 |"
        "   00 00 00 04 | ff ff 00 00 | 00 01 00 08 | 00 00 00 03 6f 6b 00 00 | 7f 02 00 00 |"
        "00 02 00 04 | 5a 00 00 00 |";

TEST_F(TypeSerializeTest, FinalTypeIsPlainCdrInBothByteOrders) {
    FinalAll sample;
    fill(sample);
    const char *const bigEndian =
            "01 ab 7a 00 | ff fe 12 34 | ff ff ff fd | 01 02 03 04 | ff ff ff ff ff ff ff fb |"
            "01 02 03 04 05 06 07 08 | 3f c0 00 00 | 00 00 00 00 | c0 02 00 00 00 00 00 00 |"
            "00 00 00 02 | 00 00 00 07 | 00 00 00 08 | 7f ff ff ff";
    EXPECT_EQ(serialized(&FinalAll_desc, &sample, 0), hex(std::string("00 00 00 00") + bigEndian));
    EXPECT_EQ(serialized(&FinalAll_desc, &sample, 1),
              hex("00 01 00 00 | 01 ab 7a 00 | fe ff 34 12 | fd ff ff ff | 04 03 02 01 | fb ff ff ff ff ff ff ff |"
                  "08 07 06 05 04 03 02 01 | 00 00 c0 3f | 00 00 00 00 | 00 00 00 00 00 00 02 c0 |"
                  "02 00 00 00 | 07 00 00 00 | 08 00 00 00 | ff ff ff 7f"));
    // Alignment counts from the octet after the header, wherever it lies.
    Buffer buffer;
    const char lead = 0x11;
    ASSERT_TRUE(ZELCdrStream_serializePrimitive(&buffer.stream, &lead, 1));
    ASSERT_TRUE(ZELCdrType_serializeSample(&FinalAll_desc, &sample, &buffer.stream, DDS_BOOLEAN_TRUE, 0,
                                           DDS_BOOLEAN_TRUE));
    EXPECT_EQ(buffer.written(), hex(std::string("11 00 00 00 00") + bigEndian));
}

TEST_F(TypeSerializeTest, AppendableTypeWritesStringsAndSequencesAligned) {
    Sample<Appendable> sample(&Appendable_desc);
    fill(sample.value);
    EXPECT_EQ(serialized(&Appendable_desc, &sample.value, 0),
              hex("00 00 00 00 | 00 00 00 04 61 62 63 00 | 00 00 00 02 00 00 00 01 00 00 00 02 |"
                  "00 00 00 02 | 00 00 00 02 78 00 00 00 | 00 00 00 03 79 7a 00 00 |"
                  "00 00 00 01 | 00 01 00 00 ff ff ff ff | 00 07 00 00 | 00 00 00 06 68 65 6c 6c 6f 00"));
}

TEST_F(TypeSerializeTest, MutableTypeWritesShortHeadersAndEachListItsSentinel) {
    Sample<OuterMutable> sample(&OuterMutable_desc);
    fill(sample.value);
    EXPECT_EQ(serialized(&OuterMutable_desc, &sample.value, 0),
              hex(std::string("00 02 00 00 |") + kOuterListBigEndian + "7f 02 00 00"));
    EXPECT_EQ(serialized(&OuterMutable_desc, &sample.value, 1),
              hex("00 03 00 00 | 00 00 04 00 | 44 33 22 11 | 01 00 18 00 |"
                  "   00 00 04 00 | ff ff 00 00 | 01 00 08 00 | 03 00 00 00 6f 6b 00 00 | 02 7f 00 00 |"
                  "02 00 04 00 | 5a 00 00 00 | 02 7f 00 00"));
    // The caller's skip-sentinel flag drops the outer sentinel only, and
    // is set again afterwards.
    Buffer buffer;
    buffer.stream.skipSentinel = ZEL_TRUE;
    ASSERT_TRUE(ZELCdrType_serializeSample(&OuterMutable_desc, &sample.value, &buffer.stream, DDS_BOOLEAN_FALSE, 0,
                                           DDS_BOOLEAN_TRUE));
    EXPECT_EQ(buffer.written(), hex(kOuterListBigEndian));
    EXPECT_EQ(buffer.stream.skipSentinel, ZEL_TRUE);
}

TEST_F(TypeSerializeTest, LargeMutableTypeWritesExtendedHeadersDownToNestedLists) {
    Sample<Big> sample(&Big_desc);
    sample.value.small = 5;
    const DDS_Octet blob[] = {0xaa, 0xbb};
    ASSERT_TRUE(DDS_OctetSeq_from_array(&sample.value.blob, blob, 2));
    sample.value.inner.a = 3;
    setText(sample.value.inner.label, "hi");
    // Primitive members keep short headers; the nested list follows the
    // outer decision although it is small itself.
    const Octets expected =
            hex("00 02 00 00 | 00 00 00 04 | 00 00 00 05 |"
                "7f 01 00 08 | 00 00 00 01 | 00 00 00 08 | 00 00 00 02 aa bb 00 00 |"
                "7f 01 00 08 | 00 00 00 02 | 00 00 00 20 |"
                "   00 00 00 04 | 00 03 00 00 |"
                "   7f 01 00 08 | 00 00 00 01 | 00 00 00 08 | 00 00 00 03 68 69 00 00 | 7f 02 00 00 |"
                "7f 02 00 00");
    EXPECT_EQ(serialized(&Big_desc, &sample.value, 0), expected);
    // On its own the nested type is small and uses short headers.
    EXPECT_EQ(serialized(&InnerMutable_desc, &sample.value.inner, 0),
              hex("00 02 00 00 | 00 00 00 04 | 00 03 00 00 | 00 01 00 08 | 00 00 00 03 68 69 00 00 | 7f 02 00 00"));
}

TEST_F(TypeSerializeTest, EncapsulationIdentifierFollowsTheTypeAndUnknownOnesFail) {
    Sample<OuterMutable> outer(&OuterMutable_desc);
    FinalAll final{};
    Octets octets;
    for (uint16_t requested = 0; requested <= 4; ++requested) {  // parameter-list forms only
        ASSERT_EQ(serializes(&OuterMutable_desc, &outer.value, requested, &octets), requested <= 3) << requested;
        EXPECT_TRUE(requested > 3 || octets[1] == (requested | 2)) << requested;
    }
    for (uint16_t requested = 0; requested <= 2; ++requested) {  // plain forms only
        ASSERT_EQ(serializes(&FinalAll_desc, &final, requested, &octets), requested <= 1) << requested;
        EXPECT_TRUE(requested > 1 || octets[1] == requested) << requested;
    }
}

TEST_F(TypeSerializeTest, BoundsAreEnforcedOnStringsAndSequences) {
    Sample<TopicLike> topic(&TopicLike_desc);
    setText(topic.value.name, std::string(256, 'n').c_str());
    EXPECT_TRUE(serializes(&TopicLike_desc, &topic.value, 0));
    replaceText(&topic.value.name, std::string(257, 'n').c_str());
    EXPECT_FALSE(serializes(&TopicLike_desc, &topic.value, 0));

    Sample<Appendable> appendable(&Appendable_desc);
    const DDS_Long values[] = {1, 2, 3, 4};
    ASSERT_TRUE(DDS_LongSeq_from_array(&appendable.value.values, values, 4));
    EXPECT_FALSE(serializes(&Appendable_desc, &appendable.value, 0));
    // Read side: a count or a string above the bound is refused too; the
    // bound itself is read.
    for (const auto &[octets, accepted] : {std::pair{"00 00 00 00 | 00 00 00 01 00 | 00 00 00 | 00 00 00 04", false},
                                           std::pair{"00 00 00 00 | 00 00 00 0a 31 32 33 34 35 36 37 38 39 00", false},
                                           std::pair{"00 00 00 00 | 00 00 00 09 31 32 33 34 35 36 37 38 00 |"
                                                     "00 00 00 | 00 00 00 00 | 00 00 00 00 | 00 00 00 00 | 00 00 |"
                                                     "00 00 | 00 00 00 01 00",
                                                     true}}) {
        Buffer announced(hex(octets));
        EXPECT_EQ(ZELCdrType_deserializeSample(&Appendable_desc, &appendable.value, &announced.stream,
                                               DDS_BOOLEAN_TRUE, DDS_BOOLEAN_TRUE),
                  accepted)
                << octets;
    }
}

TEST_F(TypeSerializeTest, ParameterListReadSkipsUnknownAndIgnoredIdsAndKeepsAbsentMembers) {
    Sample<OuterMutable> sample(&OuterMutable_desc);
    sample.value.inner.a = 9;
    // An unknown id, `id` in the extended form, an ignored parameter, `flag`
    // with the must-understand bit; `inner` absent.
    Buffer buffer(hex("00 02 00 00 | 00 03 00 04 | de ad be ef |"
                      "7f 01 00 08 | 00 00 00 00 | 00 00 00 04 | 00 00 00 2a |"
                      "3f 03 00 04 | 01 02 03 04 | 40 02 00 04 | 07 00 00 00 | 7f 02 00 00"));
    ASSERT_TRUE(ZELCdrType_deserializeSample(&OuterMutable_desc, &sample.value, &buffer.stream, DDS_BOOLEAN_TRUE,
                                             DDS_BOOLEAN_TRUE));
    EXPECT_EQ(sample.value.id, 42);
    EXPECT_EQ(sample.value.flag, 7);
    EXPECT_EQ(sample.value.inner.a, 9);
    EXPECT_STREQ(sample.value.inner.label, "");
}

// Read back into a fresh sample, the sample writes the same octets again.
template <typename T>
void expectRoundTrip(const ZELCdrTypeDesc *type, const T &sample, uint16_t encapsulationId) {
    const Octets octets = serialized(type, &sample, encapsulationId);
    Buffer buffer(octets);
    Sample<T> copy(type);
    ASSERT_TRUE(ZELCdrType_deserializeSample(type, &copy.value, &buffer.stream, DDS_BOOLEAN_TRUE, DDS_BOOLEAN_TRUE));
    EXPECT_EQ(serialized(type, &copy.value, encapsulationId), octets) << type->name << " " << encapsulationId;
}

TEST_F(TypeSerializeTest, SamplesSurviveARoundTripInBothByteOrders) {
    Sample<Appendable> appendable(&Appendable_desc);
    fill(appendable.value);
    Sample<Big> big(&Big_desc);
    const DDS_Octet blob[] = {1, 2, 3};
    ASSERT_TRUE(DDS_OctetSeq_from_array(&big.value.blob, blob, 3));
    setText(big.value.inner.label, "eight ch");
    FinalAll final;
    fill(final);
    for (const uint16_t encapsulationId : {uint16_t{0}, uint16_t{1}}) {
        expectRoundTrip(&Appendable_desc, appendable.value, encapsulationId);
        expectRoundTrip(&Big_desc, big.value, encapsulationId);
        expectRoundTrip(&FinalAll_desc, final, encapsulationId);
    }
}

}  // namespace
}  // namespace typetest
