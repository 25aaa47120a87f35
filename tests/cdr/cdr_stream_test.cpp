// The CDR stream: exact octets in both byte orders, bounds, parameter lists,
// sequences, and refusal to overrun for every operation.
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "heap_check.h"
#include "vurncore/cdr_stream.h"
#include "vurncore/dds_string.h"

namespace {

using Octets = std::vector<unsigned char>;

constexpr unsigned char kStale = 0xAA;

Octets octetsOf(const std::vector<char> &buffer, uint32_t length) {
    return Octets(buffer.begin(), buffer.begin() + length);
}

Octets join(std::initializer_list<Octets> parts) {
    Octets all;
    for (const Octets &part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

// Storage behind the reserve callback: a growable array of elements.
template <class T>
struct VectorSequence {
    std::vector<T> elements;
    int reserveCalls = 0;

    static ZELBoolean reserve(void *sequence, uint32_t length, void **elements) {
        auto *self = static_cast<VectorSequence *>(sequence);
        ++self->reserveCalls;
        self->elements.resize(length);
        *elements = self->elements.data();
        return ZEL_TRUE;
    }
};

// A struct element of a non-primitive sequence: a long and an octet.
struct Pair {
    int32_t number;
    uint8_t flag;
};

ZELBoolean serializePair(ZELCdrStream *stream, const void *element, void *param) {
    ++*static_cast<int *>(param);
    const auto *pair = static_cast<const Pair *>(element);
    return ZELCdrStream_serializePrimitive(stream, &pair->number, 4) &&
           ZELCdrStream_serializePrimitive(stream, &pair->flag, 1);
}

ZELBoolean deserializePair(ZELCdrStream *stream, void *element, void *param) {
    ++*static_cast<int *>(param);
    auto *pair = static_cast<Pair *>(element);
    return ZELCdrStream_deserializePrimitive(stream, &pair->number, 4) &&
           ZELCdrStream_deserializePrimitive(stream, &pair->flag, 1);
}

ZELBoolean skipPair(ZELCdrStream *stream, void *) {
    return ZELCdrStream_skipPrimitive(stream, 4) && ZELCdrStream_skipPrimitive(stream, 1);
}

// Heap-checked: string sequence readers allocate.
class CdrStreamTest : public zeltest::HeapCheckedTest {};

// Writes an octet, moves the origin after it, then values of every width.
bool writeMixed(ZELCdrStream *stream) {
    const uint8_t first = 0x11;
    const uint16_t u16 = 0x2233;
    const uint32_t u32 = 0x44556677;
    const uint64_t u64 = 0x8899AABBCCDDEEFFull;
    const uint8_t octet = 0x01;
    const double one = 1.0;
    if (!ZELCdrStream_serializePrimitive(stream, &first, 1)) {
        return false;
    }
    ZELCdrStream_resetAlignment(stream);
    return ZELCdrStream_serializePrimitive(stream, &u16, 2) && ZELCdrStream_serializePrimitive(stream, &u32, 4) &&
           ZELCdrStream_serializePrimitive(stream, &u64, 8) && ZELCdrStream_serializePrimitive(stream, &octet, 1) &&
           ZELCdrStream_serializePrimitive(stream, &one, 8);
}

TEST_F(CdrStreamTest, PrimitivesInBothByteOrdersAlignFromTheMovedOriginAndReadBack) {
    // The first octet, the 16-bit value, padding, 32, 64 bits, an octet, padding, a double.
    const Octets big = join({{0x11},
                             {0x22, 0x33},
                             {0, 0},
                             {0x44, 0x55, 0x66, 0x77},
                             {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF},
                             {0x01},
                             Octets(7, 0),
                             {0x3F, 0xF0, 0, 0, 0, 0, 0, 0}});
    const Octets little = join({{0x11},
                                {0x33, 0x22},
                                {0, 0},
                                {0x77, 0x66, 0x55, 0x44},
                                {0xFF, 0xEE, 0xDD, 0xCC, 0xBB, 0xAA, 0x99, 0x88},
                                {0x01},
                                Octets(7, 0),
                                {0, 0, 0, 0, 0, 0, 0xF0, 0x3F}});
    for (const auto &[order, expected] :
         {std::pair{ZEL_CDR_BIG_ENDIAN, big}, std::pair{ZEL_CDR_LITTLE_ENDIAN, little}}) {
        SCOPED_TRACE(order);
        std::vector<char> buffer(40, static_cast<char>(kStale));
        ZELCdrStream stream;
        ZELCdrStream_init(&stream, buffer.data(), static_cast<uint32_t>(buffer.size()), order);
        ASSERT_TRUE(writeMixed(&stream));
        ASSERT_EQ(ZELCdrStream_getCurrentPositionOffset(&stream), expected.size());
        EXPECT_EQ(octetsOf(buffer, 33), expected);  // stale octets under the padding became zeros
        EXPECT_EQ(static_cast<unsigned char>(buffer[33]), kStale);

        // Reading leaves the padding alone, whatever it holds.
        buffer[3] = buffer[4] = static_cast<char>(kStale);
        const std::vector<char> before = buffer;
        ZELCdrStream reader;
        ZELCdrStream_init(&reader, buffer.data(), 33, order);
        uint8_t first = 0, octet = 0;
        uint16_t u16 = 0;
        uint32_t u32 = 0;
        uint64_t u64 = 0;
        double one = 0;
        ASSERT_TRUE(ZELCdrStream_deserializePrimitive(&reader, &first, 1));
        ZELCdrStream_resetAlignment(&reader);
        ASSERT_TRUE(ZELCdrStream_deserializePrimitive(&reader, &u16, 2));
        ASSERT_TRUE(ZELCdrStream_deserializePrimitive(&reader, &u32, 4));
        ASSERT_TRUE(ZELCdrStream_deserializePrimitive(&reader, &u64, 8));
        ASSERT_TRUE(ZELCdrStream_deserializePrimitive(&reader, &octet, 1));
        ASSERT_TRUE(ZELCdrStream_deserializePrimitive(&reader, &one, 8));
        EXPECT_EQ(first, 0x11);
        EXPECT_EQ(u16, 0x2233);
        EXPECT_EQ(u32, 0x44556677u);
        EXPECT_EQ(u64, 0x8899AABBCCDDEEFFull);
        EXPECT_EQ(octet, 0x01);
        EXPECT_EQ(one, 1.0);
        EXPECT_EQ(ZELCdrStream_getRemainder(&reader), 0u);
        EXPECT_EQ(buffer, before);
    }
}

TEST_F(CdrStreamTest, ArraysSwapEachElementAndAlignOnlyWhenTheyHaveElements) {
    std::vector<char> buffer(16, static_cast<char>(kStale));
    ZELCdrStream stream;
    ZELCdrStream_init(&stream, buffer.data(), 16, ZEL_CDR_LITTLE_ENDIAN);
    const uint8_t octet = 7;
    const uint16_t shorts[3] = {0x0102, 0x0304, 0x0506};
    ASSERT_TRUE(ZELCdrStream_serializePrimitive(&stream, &octet, 1));
    ASSERT_TRUE(ZELCdrStream_serializePrimitiveArray(&stream, nullptr, 0, 8));
    EXPECT_EQ(ZELCdrStream_getCurrentPositionOffset(&stream), 1u);
    ASSERT_TRUE(ZELCdrStream_serializePrimitiveArray(&stream, shorts, 3, 2));
    EXPECT_EQ(octetsOf(buffer, 8), (Octets{7, 0, 0x02, 0x01, 0x04, 0x03, 0x06, 0x05}));
    EXPECT_FALSE(ZELCdrStream_serializePrimitiveArray(&stream, shorts, 1, 3));

    ZELCdrStream_init(&stream, buffer.data(), 8, ZEL_CDR_BIG_ENDIAN);
    uint16_t read[3] = {};
    ASSERT_TRUE(ZELCdrStream_skipPrimitive(&stream, 1));
    ASSERT_TRUE(ZELCdrStream_deserializePrimitiveArray(&stream, read, 3, 2));
    EXPECT_THAT(read, testing::ElementsAre(0x0201, 0x0403, 0x0605));
}

TEST_F(CdrStreamTest, StringsCarryTheirNulAndRespectTheirBound) {
    std::vector<char> buffer(32, static_cast<char>(kStale));
    ZELCdrStream stream;
    ZELCdrStream_init(&stream, buffer.data(), 32, ZEL_CDR_BIG_ENDIAN);
    ASSERT_TRUE(ZELCdrStream_serializeString(&stream, "abc", 4));  // at the bound of 3 characters
    EXPECT_EQ(octetsOf(buffer, 8), (Octets{0, 0, 0, 4, 'a', 'b', 'c', 0}));
    EXPECT_FALSE(ZELCdrStream_serializeString(&stream, "abcd", 4));
    EXPECT_FALSE(ZELCdrStream_serializeString(&stream, nullptr, 4));
    ASSERT_TRUE(ZELCdrStream_serializeString(&stream, "", 1));
    EXPECT_EQ(octetsOf(buffer, 13), (Octets{0, 0, 0, 4, 'a', 'b', 'c', 0, 0, 0, 0, 1, 0}));

    char text[4] = {};
    ZELCdrStream_init(&stream, buffer.data(), 13, ZEL_CDR_BIG_ENDIAN);
    EXPECT_FALSE(ZELCdrStream_deserializeString(&stream, text, 3));  // the reader's bound is smaller
    ZELCdrStream_resetPosition(&stream);
    ASSERT_TRUE(ZELCdrStream_deserializeString(&stream, text, 4));
    EXPECT_STREQ(text, "abc");
    ASSERT_TRUE(ZELCdrStream_skipString(&stream, 1));
    EXPECT_EQ(ZELCdrStream_getRemainder(&stream), 0u);

    // Malformed: no NUL at the end, or a length of zero.
    buffer[7] = 'd';
    ZELCdrStream_resetPosition(&stream);
    EXPECT_FALSE(ZELCdrStream_deserializeString(&stream, text, 4));
    ZELCdrStream_resetPosition(&stream);
    EXPECT_FALSE(ZELCdrStream_skipString(&stream, 4));
    buffer[3] = 0;
    ZELCdrStream_resetPosition(&stream);
    EXPECT_FALSE(ZELCdrStream_deserializeString(&stream, text, 4));
}

TEST_F(CdrStreamTest, EncapsulationHeaderIsBigEndianAndSetsTheByteOrder) {
    std::vector<char> buffer(8, static_cast<char>(kStale));
    ZELCdrStream stream;
    ZELCdrStream_init(&stream, buffer.data(), 8, ZEL_CDR_BIG_ENDIAN);
    stream.encapsulationOptions = 0x0102;
    ASSERT_TRUE(ZELCdrStream_serializeEncapsulation(&stream, ZEL_CDR_ENCAPSULATION_ID_PL_CDR_LE));
    EXPECT_EQ(stream.byteOrder, ZEL_CDR_LITTLE_ENDIAN);
    const uint16_t value = 0x0A0B;
    ASSERT_TRUE(ZELCdrStream_serializePrimitive(&stream, &value, 2));
    EXPECT_EQ(octetsOf(buffer, 6), (Octets{0, 3, 1, 2, 0x0B, 0x0A}));
    EXPECT_FALSE(ZELCdrStream_serializeEncapsulation(&stream, 6));

    ZELCdrStream reader;
    ZELCdrStream_init(&reader, buffer.data(), 6, ZEL_CDR_BIG_ENDIAN);
    uint16_t id = 99;
    ASSERT_TRUE(ZELCdrStream_deserializeEncapsulation(&reader, &id));
    EXPECT_EQ(id, ZEL_CDR_ENCAPSULATION_ID_PL_CDR_LE);
    EXPECT_EQ(reader.byteOrder, ZEL_CDR_LITTLE_ENDIAN);
    EXPECT_EQ(reader.encapsulationKind, 3);
    EXPECT_EQ(reader.encapsulationOptions, 0x0102);

    buffer[1] = 6;  // an encapsulation this stream does not know
    ZELCdrStream_init(&reader, buffer.data(), 6, ZEL_CDR_BIG_ENDIAN);
    EXPECT_FALSE(ZELCdrStream_deserializeEncapsulation(&reader, &id));
    EXPECT_EQ(ZELCdrStream_getCurrentPositionOffset(&reader), 0u);
}

TEST_F(CdrStreamTest, ParameterHeadersLengthsAndSentinelHaveTheirExactForm) {
    std::vector<char> buffer(64, static_cast<char>(kStale));
    ZELCdrStream stream;
    ZELCdrStream_init(&stream, buffer.data(), 64, ZEL_CDR_BIG_ENDIAN);
    ZELCdrParameterHeader header{};
    const uint8_t flag = 1;
    const uint16_t port = 0x1234;
    ASSERT_TRUE(ZELCdrStream_serializeParameterHeader(&stream, &header, 0, ZEL_FALSE, ZEL_FALSE));
    ASSERT_TRUE(ZELCdrStream_serializePrimitive(&stream, &flag, 1));
    ASSERT_TRUE(ZELCdrStream_serializeParameterLength(&stream, &header));
    EXPECT_EQ(header.length, 4u);
    ASSERT_TRUE(ZELCdrStream_serializeParameterHeader(&stream, &header, 5, ZEL_TRUE, ZEL_TRUE));
    ASSERT_TRUE(ZELCdrStream_serializePrimitive(&stream, &port, 2));
    ASSERT_TRUE(ZELCdrStream_serializeParameterLength(&stream, &header));
    ASSERT_TRUE(ZELCdrStream_serializeSentinel(&stream));
    EXPECT_EQ(octetsOf(buffer, ZELCdrStream_getCurrentPositionOffset(&stream)),
              (Octets{0x00, 0x00, 0x00, 0x04, 1,    0, 0, 0,                                // id 0, value padded to 4
                      0x7F, 0x01, 0x00, 0x08, 0x40, 0, 0, 5, 0, 0, 0, 4, 0x12, 0x34, 0, 0,  // extended, must-understand
                      0x7F, 0x02, 0x00, 0x00}));

    ZELCdrStream_init(&stream, buffer.data(), 64, ZEL_CDR_LITTLE_ENDIAN);
    ASSERT_TRUE(ZELCdrStream_serializeParameterHeader(&stream, &header, 2, ZEL_TRUE, ZEL_FALSE));
    ASSERT_TRUE(ZELCdrStream_serializeParameterLength(&stream, &header));
    ASSERT_TRUE(ZELCdrStream_serializeSentinel(&stream));
    EXPECT_EQ(octetsOf(buffer, 8), (Octets{0x02, 0x40, 0, 0, 0x02, 0x7F, 0, 0}));

    // Ids that do not fit the form.
    EXPECT_FALSE(ZELCdrStream_serializeParameterHeader(&stream, &header, 0x3f01, ZEL_FALSE, ZEL_FALSE));
    EXPECT_FALSE(ZELCdrStream_serializeParameterHeader(&stream, &header, 0x10000000, ZEL_FALSE, ZEL_TRUE));
}

TEST_F(CdrStreamTest, AValueOf64KiBNeedsTheExtendedHeader) {
    std::vector<char> buffer(0x10000 + 16);
    for (const ZELBoolean extended : {ZEL_FALSE, ZEL_TRUE}) {
        ZELCdrStream stream;
        ZELCdrStream_init(&stream, buffer.data(), static_cast<uint32_t>(buffer.size()), ZEL_CDR_BIG_ENDIAN);
        ZELCdrParameterHeader header{};
        ASSERT_TRUE(ZELCdrStream_serializeParameterHeader(&stream, &header, 1, ZEL_FALSE, extended));
        ASSERT_TRUE(ZELCdrStream_setCurrentPositionOffset(&stream,
                                                          ZELCdrStream_getCurrentPositionOffset(&stream) + 0x10000));
        EXPECT_EQ(ZELCdrStream_serializeParameterLength(&stream, &header), extended);
    }
    EXPECT_EQ(Octets(buffer.begin() + 8, buffer.begin() + 12), (Octets{0, 1, 0, 0}));
}

// Raw header octets in both orders, with flag bits set. Skipping what a
// reader does not know is the type engine's to show.
TEST_F(CdrStreamTest, HeaderReadingMasksFlagBitsAndRefusesLengthsPastTheEnd) {
    struct Case {
        ZELCdrByteOrder order;
        Octets octets;
        uint32_t id;
        uint32_t length;
        bool mustUnderstand;
        bool extended;
    };
    const Case cases[] = {
            {ZEL_CDR_BIG_ENDIAN, {0xC0, 0x02, 0x00, 0x04, 0, 0, 0, 0}, 2, 4, true, false},  // both flags
            {ZEL_CDR_LITTLE_ENDIAN, {0x07, 0x80, 0x00, 0x00}, 7, 0, false, false},          // implementation flag
            {ZEL_CDR_BIG_ENDIAN, {0x7F, 0x02, 0x00, 0x00}, ZEL_CDR_PID_LIST_END, 0, true, false},
            {ZEL_CDR_BIG_ENDIAN, {0x3F, 0x03, 0x00, 0x00}, ZEL_CDR_PID_IGNORE, 0, false, false},
            {ZEL_CDR_LITTLE_ENDIAN,
             {0x01, 0x7F, 0x08, 0x00, 0x09, 0, 0, 0x40, 4, 0, 0, 0, 0, 0, 0, 0},
             9,
             4,
             true,
             true},
    };
    for (const Case &c : cases) {
        std::vector<char> buffer(c.octets.begin(), c.octets.end());
        ZELCdrStream stream;
        ZELCdrStream_init(&stream, buffer.data(), static_cast<uint32_t>(buffer.size()), c.order);
        ZELCdrParameterHeader header{};
        ASSERT_TRUE(ZELCdrStream_deserializeParameterHeader(&stream, &header));
        EXPECT_EQ(header.id, c.id);
        EXPECT_EQ(header.length, c.length);
        EXPECT_EQ(header.mustUnderstand != 0, c.mustUnderstand);
        EXPECT_EQ(header.extended != 0, c.extended);
        EXPECT_EQ(header.valueStart, buffer.data() + buffer.size() - c.length);
        // Past the value, whatever it holds, is the next header.
        ASSERT_TRUE(ZELCdrStream_moveToNextParameterHeader(&stream, &header));
        EXPECT_EQ(ZELCdrStream_getRemainder(&stream), 0u);
        ZELCdrParameterHeader foreign = header;  // a header of another buffer moves nothing
        char elsewhere[4];
        foreign.valueStart = elsewhere;
        EXPECT_FALSE(ZELCdrStream_moveToNextParameterHeader(&stream, &foreign));

        // One octet short: the announced value no longer fits.
        if (c.length > 0) {
            ZELCdrStream_init(&stream, buffer.data(), static_cast<uint32_t>(buffer.size() - 1), c.order);
            EXPECT_FALSE(ZELCdrStream_deserializeParameterHeader(&stream, &header));
        }
    }
    // An extended header must announce 8 octets.
    std::vector<char> bad = {0x7F, 0x01, 0x00, 0x04, 0, 0, 0, 1, 0, 0, 0, 0};
    ZELCdrStream stream;
    ZELCdrStream_init(&stream, bad.data(), 12, ZEL_CDR_BIG_ENDIAN);
    ZELCdrParameterHeader header{};
    EXPECT_FALSE(ZELCdrStream_deserializeParameterHeader(&stream, &header));
}

TEST_F(CdrStreamTest, SequencesWriteTheirCountAndRefuseCountsAboveTheBound) {
    std::vector<char> buffer(128, static_cast<char>(kStale));
    ZELCdrStream stream;
    ZELCdrStream_init(&stream, buffer.data(), 128, ZEL_CDR_BIG_ENDIAN);
    const uint8_t octet = 1;
    const uint64_t values[2] = {1, 2};
    ASSERT_TRUE(ZELCdrStream_serializePrimitive(&stream, &octet, 1));
    ASSERT_TRUE(ZELCdrStream_serializePrimitiveSequence(&stream, values, 2, 2, 8));
    EXPECT_EQ(octetsOf(buffer, 24), (Octets{1, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 2}));
    EXPECT_FALSE(ZELCdrStream_serializePrimitiveSequence(&stream, values, 2, 1, 8));
    ASSERT_TRUE(ZELCdrStream_serializePrimitiveSequence(&stream, nullptr, 0, 1, 8));  // no padding for no elements
    EXPECT_EQ(ZELCdrStream_getCurrentPositionOffset(&stream), 28u);

    ZELCdrStream reader;
    ZELCdrStream_init(&reader, buffer.data(), 28, ZEL_CDR_BIG_ENDIAN);
    VectorSequence<uint64_t> sequence;
    ASSERT_TRUE(ZELCdrStream_skipPrimitive(&reader, 1));
    EXPECT_FALSE(ZELCdrStream_deserializePrimitiveSequence(&reader, &sequence, sequence.reserve, 1, 8));
    EXPECT_EQ(sequence.reserveCalls, 0);
    ZELCdrStream_setCurrentPositionOffset(&reader, 1);
    ASSERT_TRUE(ZELCdrStream_deserializePrimitiveSequence(&reader, &sequence, sequence.reserve, 2, 8));
    EXPECT_THAT(sequence.elements, testing::ElementsAre(1u, 2u));
    ASSERT_TRUE(ZELCdrStream_deserializePrimitiveSequence(&reader, &sequence, sequence.reserve, 2, 8));
    EXPECT_TRUE(sequence.elements.empty());
    ZELCdrStream_setCurrentPositionOffset(&reader, 1);
    EXPECT_FALSE(ZELCdrStream_skipPrimitiveSequence(&reader, 1, 8));
    ZELCdrStream_setCurrentPositionOffset(&reader, 1);
    ASSERT_TRUE(ZELCdrStream_skipPrimitiveSequence(&reader, 2, 8));
    EXPECT_EQ(ZELCdrStream_getCurrentPositionOffset(&reader), 24u);

    // A count the remainder cannot hold asks for no storage, even unbounded.
    const uint32_t huge = 0x10000000;
    ZELCdrStream_init(&stream, buffer.data(), 128, ZEL_CDR_BIG_ENDIAN);
    ASSERT_TRUE(ZELCdrStream_serializePrimitive(&stream, &huge, 4));
    for (int i = 0; i < 3; ++i) {
        ZELCdrStream_init(&reader, buffer.data(), 128, ZEL_CDR_BIG_ENDIAN);
        VectorSequence<char *> strings;
        VectorSequence<Pair> pairs;
        int calls = 0;
        const ZELBoolean read =
                i == 0 ? ZELCdrStream_deserializePrimitiveSequence(&reader, &sequence, sequence.reserve, UINT32_MAX, 1)
                : i == 1 ? ZELCdrStream_deserializeStringSequence(&reader, &strings, strings.reserve, UINT32_MAX, 10)
                         : ZELCdrStream_deserializeNonPrimitiveSequence(&reader, &pairs, pairs.reserve, UINT32_MAX,
                                                                        sizeof(Pair), deserializePair, &calls);
        EXPECT_FALSE(read);
        EXPECT_EQ(sequence.reserveCalls + strings.reserveCalls + pairs.reserveCalls, 2);  // the two reads above
    }
}

TEST_F(CdrStreamTest, NonPrimitiveSequencesGoThroughTheCallbackWithItsParameter) {
    std::vector<char> buffer(64, static_cast<char>(kStale));
    ZELCdrStream stream;
    ZELCdrStream_init(&stream, buffer.data(), 64, ZEL_CDR_LITTLE_ENDIAN);
    const Pair pairs[2] = {{1, 2}, {3, 4}};
    int calls = 0;
    ASSERT_TRUE(ZELCdrStream_serializeNonPrimitiveSequence(&stream, pairs, 2, 2, sizeof(Pair), serializePair, &calls));
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(octetsOf(buffer, 17), (Octets{2, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4}));
    EXPECT_FALSE(ZELCdrStream_serializeNonPrimitiveSequence(&stream, pairs, 2, 1, sizeof(Pair), serializePair, &calls));

    ZELCdrStream reader;
    ZELCdrStream_init(&reader, buffer.data(), 17, ZEL_CDR_LITTLE_ENDIAN);
    VectorSequence<Pair> read;
    calls = 0;
    EXPECT_FALSE(ZELCdrStream_deserializeNonPrimitiveSequence(&reader, &read, read.reserve, 1, sizeof(Pair),
                                                              deserializePair, &calls));
    ZELCdrStream_resetPosition(&reader);
    ASSERT_TRUE(ZELCdrStream_deserializeNonPrimitiveSequence(&reader, &read, read.reserve, 2, sizeof(Pair),
                                                             deserializePair, &calls));
    EXPECT_EQ(calls, 2);
    ASSERT_EQ(read.elements.size(), 2u);
    EXPECT_EQ(read.elements[1].number, 3);
    EXPECT_EQ(read.elements[1].flag, 4);
    ZELCdrStream_resetPosition(&reader);
    ASSERT_TRUE(ZELCdrStream_skipNonPrimitiveSequence(&reader, 2, skipPair, nullptr));
    EXPECT_EQ(ZELCdrStream_getRemainder(&reader), 0u);
}

// Elements keep their string when the incoming one fits and get a new heap
// string otherwise; out of heap fails without losing an element.
TEST_F(CdrStreamTest, StringSequenceElementsAreReusedOrReplacedOnTheHeap) {
    std::vector<char> buffer(64, static_cast<char>(kStale));
    ZELCdrStream stream;
    ZELCdrStream_init(&stream, buffer.data(), 64, ZEL_CDR_BIG_ENDIAN);
    char first[] = "ab";
    char second[] = "longer";
    char *const strings[2] = {first, second};
    ASSERT_TRUE(ZELCdrStream_serializeStringSequence(&stream, strings, 2, 2, 7));
    EXPECT_EQ(octetsOf(buffer, 23),
              (Octets{0, 0, 0, 2, 0, 0, 0, 3, 'a', 'b', 0, 0, 0, 0, 0, 7, 'l', 'o', 'n', 'g', 'e', 'r', 0}));
    EXPECT_FALSE(ZELCdrStream_serializeStringSequence(&stream, strings, 2, 1, 7));
    EXPECT_FALSE(ZELCdrStream_serializeStringSequence(&stream, strings, 2, 2, 6));
    const uint32_t written = 23;

    zeltest::forEachAllocationFailure([&](long) {
        VectorSequence<char *> read;
        read.elements = {DDS_String_dup("xyz"), DDS_String_dup("s")};
        char *kept = read.elements[0];
        ZELCdrStream reader;
        ZELCdrStream_init(&reader, buffer.data(), written, ZEL_CDR_BIG_ENDIAN);
        if (read.elements[0] != nullptr && read.elements[1] != nullptr &&
            ZELCdrStream_deserializeStringSequence(&reader, &read, read.reserve, 2, 7)) {
            EXPECT_EQ(read.elements[0], kept);
            EXPECT_STREQ(read.elements[0], "ab");
            EXPECT_STREQ(read.elements[1], "longer");
        }
        for (char *element : read.elements) {
            DDS_String_free(element);
        }
    });

    VectorSequence<char *> read;
    ZELCdrStream reader;
    ZELCdrStream_init(&reader, buffer.data(), written, ZEL_CDR_BIG_ENDIAN);
    EXPECT_FALSE(ZELCdrStream_deserializeStringSequence(&reader, &read, read.reserve, 2, 6));  // element bound
    for (char *element : read.elements) {
        DDS_String_free(element);
    }
    ZELCdrStream_resetPosition(&reader);
    EXPECT_FALSE(ZELCdrStream_skipStringSequence(&reader, 2, 6));
    ZELCdrStream_resetPosition(&reader);
    ASSERT_TRUE(ZELCdrStream_skipStringSequence(&reader, 2, 7));
    EXPECT_EQ(ZELCdrStream_getRemainder(&reader), 0u);
}

// Every operation, given one octet less than it needs, fails without writing
// past the end; reading (or skipping) any truncated encoding fails.
TEST_F(CdrStreamTest, EveryOperationRefusesToRunPastTheBuffer) {
    using Op = std::function<ZELBoolean(ZELCdrStream *)>;
    struct Operation {
        const char *name;
        Op write;
        std::vector<Op> readers;
    };
    const uint8_t octet = 1;
    const uint16_t shorts[3] = {1, 2, 3};
    const uint64_t u64s[2] = {6, 7};
    char a[] = "a";
    char bc[] = "bc";
    char *const strings[2] = {a, bc};
    const Pair pairs[2] = {{1, 2}, {3, 4}};
    std::vector<char *> readStrings;
    ZELCdrParameterHeader header{};
    int calls = 0;
    uint64_t scratch[4];
    const Op parameterReader = [&](ZELCdrStream *s) {
        return ZELCdrStream_deserializeParameterHeader(s, &header) &&
               ZELCdrStream_moveToNextParameterHeader(s, &header);
    };
    auto parameterWriter = [&](ZELBoolean extended) {
        return [&, extended](ZELCdrStream *s) {
            return ZELCdrStream_serializeParameterHeader(s, &header, 3, ZEL_FALSE, extended) &&
                   ZELCdrStream_serializePrimitive(s, &octet, 1) && ZELCdrStream_serializeParameterLength(s, &header);
        };
    };
    const std::vector<Operation> operations = {
            {"short",
             [&](ZELCdrStream *s) { return ZELCdrStream_serializePrimitive(s, shorts, 2); },
             {[&](ZELCdrStream *s) { return ZELCdrStream_deserializePrimitive(s, scratch, 2); },
              [&](ZELCdrStream *s) { return ZELCdrStream_skipPrimitive(s, 2); }}},
            {"long long",
             [&](ZELCdrStream *s) { return ZELCdrStream_serializePrimitive(s, u64s, 8); },
             {[&](ZELCdrStream *s) { return ZELCdrStream_deserializePrimitive(s, scratch, 8); }}},
            {"array",
             [&](ZELCdrStream *s) { return ZELCdrStream_serializePrimitiveArray(s, shorts, 3, 2); },
             {[&](ZELCdrStream *s) { return ZELCdrStream_deserializePrimitiveArray(s, scratch, 3, 2); },
              [&](ZELCdrStream *s) { return ZELCdrStream_skipPrimitiveArray(s, 3, 2); }}},
            {"string",
             [&](ZELCdrStream *s) { return ZELCdrStream_serializeString(s, "hello", 6); },
             {[&](ZELCdrStream *s) { return ZELCdrStream_deserializeString(s, reinterpret_cast<char *>(scratch), 6); },
              [&](ZELCdrStream *s) { return ZELCdrStream_skipString(s, 6); }}},
            {"sequence length",
             [&](ZELCdrStream *s) { return ZELCdrStream_serializeSequenceLength(s, 3, 3); },
             {[&](ZELCdrStream *s) {
                 return ZELCdrStream_deserializeSequenceLength(s, reinterpret_cast<uint32_t *>(scratch), 3);
             }}},
            {"primitive sequence",
             [&](ZELCdrStream *s) { return ZELCdrStream_serializePrimitiveSequence(s, u64s, 2, 2, 8); },
             {[&](ZELCdrStream *s) {
                  VectorSequence<uint64_t> v;
                  return ZELCdrStream_deserializePrimitiveSequence(s, &v, v.reserve, 2, 8);
              },
              [&](ZELCdrStream *s) { return ZELCdrStream_skipPrimitiveSequence(s, 2, 8); }}},
            {"string sequence",
             [&](ZELCdrStream *s) { return ZELCdrStream_serializeStringSequence(s, strings, 2, 2, 3); },
             {[&](ZELCdrStream *s) {
                  VectorSequence<char *> v;
                  const ZELBoolean read = ZELCdrStream_deserializeStringSequence(s, &v, v.reserve, 2, 3);
                  readStrings.insert(readStrings.end(), v.elements.begin(), v.elements.end());
                  return read;
              },
              [&](ZELCdrStream *s) { return ZELCdrStream_skipStringSequence(s, 2, 3); }}},
            {"non-primitive sequence",
             [&](ZELCdrStream *s) {
                 return ZELCdrStream_serializeNonPrimitiveSequence(s, pairs, 2, 2, sizeof(Pair), serializePair, &calls);
             },
             {[&](ZELCdrStream *s) {
                  VectorSequence<Pair> v;
                  return ZELCdrStream_deserializeNonPrimitiveSequence(s, &v, v.reserve, 2, sizeof(Pair),
                                                                      deserializePair, &calls);
              },
              [&](ZELCdrStream *s) { return ZELCdrStream_skipNonPrimitiveSequence(s, 2, skipPair, nullptr); }}},
            {"short parameter", parameterWriter(ZEL_FALSE), {parameterReader}},
            {"extended parameter", parameterWriter(ZEL_TRUE), {parameterReader}},
            {"sentinel", [&](ZELCdrStream *s) { return ZELCdrStream_serializeSentinel(s); }, {[&](ZELCdrStream *s) {
                 return ZELCdrStream_deserializeParameterHeader(s, &header);
             }}},
            {"encapsulation",
             [&](ZELCdrStream *s) { return ZELCdrStream_serializeEncapsulation(s, 1); },
             {[&](ZELCdrStream *s) {
                 return ZELCdrStream_deserializeEncapsulation(s, reinterpret_cast<uint16_t *>(scratch));
             }}},
            {"padding", [&](ZELCdrStream *s) { return ZELCdrStream_pad(s, 8); }, {[&](ZELCdrStream *s) {
                 return ZELCdrStream_align(s, 8);
             }}},
    };
    // Each runs one octet into the buffer, so that aligned values need padding.
    auto run = [](const Op &op, char *buffer, uint32_t length, bool write) {
        ZELCdrStream stream;
        ZELCdrStream_init(&stream, buffer, length, ZEL_CDR_BIG_ENDIAN);
        uint8_t first = 1;
        const bool done = (write ? ZELCdrStream_serializePrimitive(&stream, &first, 1)
                                 : ZELCdrStream_deserializePrimitive(&stream, &first, 1)) &&
                          op(&stream);
        return done ? std::optional<uint32_t>(ZELCdrStream_getCurrentPositionOffset(&stream)) : std::nullopt;
    };
    for (const Operation &operation : operations) {
        SCOPED_TRACE(operation.name);
        std::vector<char> encoded(64, static_cast<char>(kStale));
        const std::optional<uint32_t> needed = run(operation.write, encoded.data(), 64, true);
        ASSERT_TRUE(needed.has_value());
        for (const Op &reader : operation.readers) {
            EXPECT_EQ(run(reader, encoded.data(), *needed, false), needed);
        }
        for (uint32_t length = 0; length < *needed; ++length) {
            std::vector<char> buffer(64, static_cast<char>(kStale));
            EXPECT_FALSE(run(operation.write, buffer.data(), length, true)) << "written into " << length << " octets";
            EXPECT_EQ(Octets(buffer.begin() + length, buffer.end()), Octets(64 - length, kStale));
            std::vector<char> truncated(encoded.begin(), encoded.begin() + length);
            for (const Op &reader : operation.readers) {
                EXPECT_FALSE(run(reader, truncated.data(), length, false)) << "read from " << length << " octets";
            }
        }
    }
    for (char *string : readStrings) {
        DDS_String_free(string);
    }
}

}  // namespace
