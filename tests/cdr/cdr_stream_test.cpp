// The CDR stream: exact octets in both byte orders, bounds, parameter lists,
// sequences, and refusal to overrun, one table of operations for all.
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

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

using Op = std::function<bool(ZELCdrStream *)>;

// Reads a value of type T and tells whether it is `expected`.
template <class T>
Op readsValue(T expected) {
    return [expected](ZELCdrStream *s) {
        T read{};
        return ZELCdrStream_deserializePrimitive(s, &read, sizeof(T)) && read == expected;
    };
}

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
    const Octets big = {0x11, 0x22, 0x33, 0, 0, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF,
                        0x01, 0,    0,    0, 0, 0,    0,    0,    0x3F, 0xF0, 0,    0,    0,    0,    0,    0};
    const Octets little = {0x11, 0x33, 0x22, 0,    0,    0x77, 0x66, 0x55, 0x44, 0xFF, 0xEE,
                           0xDD, 0xCC, 0xBB, 0xAA, 0x99, 0x88, 0x01, 0,    0,    0,    0,
                           0,    0,    0,    0,    0,    0,    0,    0,    0,    0xF0, 0x3F};
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
        ASSERT_TRUE(readsValue<uint8_t>(0x11)(&reader));
        ZELCdrStream_resetAlignment(&reader);
        for (const Op &read :
             {readsValue<uint16_t>(0x2233), readsValue<uint32_t>(0x44556677u),
              readsValue<uint64_t>(0x8899AABBCCDDEEFFull), readsValue<uint8_t>(0x01), readsValue<double>(1.0)}) {
            EXPECT_TRUE(read(&reader));
        }
        EXPECT_EQ(ZELCdrStream_getRemainder(&reader), 0u);
        EXPECT_EQ(buffer, before);
    }
}

// Runs an operation one octet into a buffer, so that aligned values need
// padding; gives the position after it, or nothing if it failed.
std::optional<uint32_t> runAfterOneOctet(const Op &op, char *buffer, uint32_t length, ZELCdrByteOrder order,
                                         bool write) {
    ZELCdrStream stream;
    ZELCdrStream_init(&stream, buffer, length, order);
    uint8_t first = 1;
    const bool done = (write ? ZELCdrStream_serializePrimitive(&stream, &first, 1)
                             : ZELCdrStream_deserializePrimitive(&stream, &first, 1)) &&
                      op(&stream);
    return done ? std::optional<uint32_t>(ZELCdrStream_getCurrentPositionOffset(&stream)) : std::nullopt;
}

// Every operation writes exactly its octets over stale ones, and its readers
// (and skippers) consume them all, checking what they read. Given one octet
// less than it needs, it fails without writing past the end, and every
// truncated encoding fails to read.
TEST_F(CdrStreamTest, EveryOperationWritesItsOctetsReadsThemBackAndRefusesToRunPastTheBuffer) {
    constexpr ZELCdrByteOrder BE = ZEL_CDR_BIG_ENDIAN;
    constexpr ZELCdrByteOrder LE = ZEL_CDR_LITTLE_ENDIAN;
    struct Operation {
        const char *name;
        ZELCdrByteOrder order;
        Op write;
        Octets octets;  // after the leading octet
        std::vector<Op> readers;
    };
    const uint16_t shorts[3] = {1, 2, 3};
    const uint64_t u64s[2] = {6, 7};
    const uint8_t octet = 1;
    const uint16_t port = 0x1234;
    char a[] = "a";
    char bc[] = "bc";
    char *const strings[2] = {a, bc};
    const Pair pairs[2] = {{1, 2}, {3, 4}};
    std::vector<char *> readStrings;
    ZELCdrParameterHeader header{};
    int calls = 0;
    char text[8];
    const Op readShorts = [](ZELCdrStream *s) {
        uint16_t read[3] = {};
        return ZELCdrStream_deserializePrimitiveArray(s, read, 3, 2) && read[0] == 1 && read[1] == 2 && read[2] == 3;
    };
    const Op readParameter = [&](ZELCdrStream *s) {
        return ZELCdrStream_deserializeParameterHeader(s, &header) &&
               ZELCdrStream_moveToNextParameterHeader(s, &header);
    };
    const Op readSentinel = [&](ZELCdrStream *s) {
        return ZELCdrStream_deserializeParameterHeader(s, &header) && header.id == ZEL_CDR_PID_LIST_END;
    };
    const auto parameter = [&](uint32_t id, ZELBoolean mustUnderstand, ZELBoolean extended, const void *value,
                               uint32_t size) -> Op {
        return [&header, id, mustUnderstand, extended, value, size](ZELCdrStream *s) {
            return ZELCdrStream_serializeParameterHeader(s, &header, id, mustUnderstand, extended) &&
                   (size == 0 || ZELCdrStream_serializePrimitive(s, value, size)) &&
                   ZELCdrStream_serializeParameterLength(s, &header);
        };
    };
    const std::vector<Operation> operations = {
            {"short",
             BE,
             [&](ZELCdrStream *s) { return ZELCdrStream_serializePrimitive(s, shorts, 2); },
             {0, 0, 1},
             {readsValue<uint16_t>(1), [](ZELCdrStream *s) { return ZELCdrStream_skipPrimitive(s, 2); }}},
            {"long long",
             BE,
             [&](ZELCdrStream *s) { return ZELCdrStream_serializePrimitive(s, &u64s[1], 8); },
             {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7},
             {readsValue<uint64_t>(7)}},
            {"array",
             BE,
             [&](ZELCdrStream *s) { return ZELCdrStream_serializePrimitiveArray(s, shorts, 3, 2); },
             {0, 0, 1, 0, 2, 0, 3},
             {readShorts, [](ZELCdrStream *s) { return ZELCdrStream_skipPrimitiveArray(s, 3, 2); }}},
            {"little-endian array, each element swapped",
             LE,
             [&](ZELCdrStream *s) { return ZELCdrStream_serializePrimitiveArray(s, shorts, 3, 2); },
             {0, 1, 0, 2, 0, 3, 0},
             {readShorts}},
            {"empty array, not aligned",
             BE,
             [](ZELCdrStream *s) { return ZELCdrStream_serializePrimitiveArray(s, nullptr, 0, 8); },
             {},
             {[&](ZELCdrStream *s) { return ZELCdrStream_deserializePrimitiveArray(s, text, 0, 8); }}},
            {"string",
             BE,
             [](ZELCdrStream *s) { return ZELCdrStream_serializeString(s, "hello", 6); },
             {0, 0, 0, 0, 0, 0, 6, 'h', 'e', 'l', 'l', 'o', 0},
             {[&](ZELCdrStream *s) {
                  return ZELCdrStream_deserializeString(s, text, 6) && std::strcmp(text, "hello") == 0;
              },
              [](ZELCdrStream *s) { return ZELCdrStream_skipString(s, 6); }}},
            {"empty string",
             BE,
             [](ZELCdrStream *s) { return ZELCdrStream_serializeString(s, "", 1); },
             {0, 0, 0, 0, 0, 0, 1, 0},
             {[&](ZELCdrStream *s) { return ZELCdrStream_deserializeString(s, text, 1) && text[0] == 0; }}},
            {"sequence length",
             BE,
             [](ZELCdrStream *s) { return ZELCdrStream_serializeSequenceLength(s, 3, 3); },
             {0, 0, 0, 0, 0, 0, 3},
             {[](ZELCdrStream *s) {
                 uint32_t length = 0;
                 return ZELCdrStream_deserializeSequenceLength(s, &length, 3) && length == 3;
             }}},
            {"primitive sequence",
             BE,
             [&](ZELCdrStream *s) { return ZELCdrStream_serializePrimitiveSequence(s, u64s, 2, 2, 8); },
             {0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 6, 0, 0, 0, 0, 0, 0, 0, 7},
             {[](ZELCdrStream *s) {
                  VectorSequence<uint64_t> read;
                  return ZELCdrStream_deserializePrimitiveSequence(s, &read, read.reserve, 2, 8) &&
                         read.elements == std::vector<uint64_t>{6, 7};
              },
              [](ZELCdrStream *s) { return ZELCdrStream_skipPrimitiveSequence(s, 2, 8); }}},
            {"empty primitive sequence, its elements dropped",
             BE,
             [](ZELCdrStream *s) { return ZELCdrStream_serializePrimitiveSequence(s, nullptr, 0, 1, 8); },
             {0, 0, 0, 0, 0, 0, 0},
             {[](ZELCdrStream *s) {
                 VectorSequence<uint64_t> read;
                 read.elements = {9};
                 return ZELCdrStream_deserializePrimitiveSequence(s, &read, read.reserve, 1, 8) &&
                        read.elements.empty();
             }}},
            {"string sequence",
             BE,
             [&](ZELCdrStream *s) { return ZELCdrStream_serializeStringSequence(s, strings, 2, 2, 3); },
             {0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 2, 'a', 0, 0, 0, 0, 0, 0, 3, 'b', 'c', 0},
             {[&](ZELCdrStream *s) {
                  VectorSequence<char *> read;
                  const bool ok = ZELCdrStream_deserializeStringSequence(s, &read, read.reserve, 2, 3) &&
                                  std::strcmp(read.elements[0], "a") == 0 && std::strcmp(read.elements[1], "bc") == 0;
                  readStrings.insert(readStrings.end(), read.elements.begin(), read.elements.end());
                  return ok;
              },
              [](ZELCdrStream *s) { return ZELCdrStream_skipStringSequence(s, 2, 3); }}},
            {"non-primitive sequence, through the callback with its parameter",
             BE,
             [&](ZELCdrStream *s) {
                 return ZELCdrStream_serializeNonPrimitiveSequence(s, pairs, 2, 2, sizeof(Pair), serializePair, &calls);
             },
             {0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 1, 2, 0, 0, 0, 0, 0, 0, 3, 4},
             {[&](ZELCdrStream *s) {
                  VectorSequence<Pair> read;
                  return ZELCdrStream_deserializeNonPrimitiveSequence(s, &read, read.reserve, 2, sizeof(Pair),
                                                                      deserializePair, &calls) &&
                         read.elements.size() == 2 && read.elements[1].number == 3 && read.elements[1].flag == 4;
              },
              [](ZELCdrStream *s) { return ZELCdrStream_skipNonPrimitiveSequence(s, 2, skipPair, nullptr); }}},
            {"parameter, its value padded",
             BE,
             parameter(3, ZEL_FALSE, ZEL_FALSE, &octet, 1),
             {0, 0, 0, 0, 3, 0, 4, 1, 0, 0, 0},
             {readParameter}},
            {"extended must-understand parameter",
             BE,
             parameter(5, ZEL_TRUE, ZEL_TRUE, &port, 2),
             {0, 0, 0, 0x7F, 0x01, 0, 8, 0x40, 0, 0, 5, 0, 0, 0, 4, 0x12, 0x34, 0, 0},
             {readParameter}},
            {"sentinel",
             BE,
             [](ZELCdrStream *s) { return ZELCdrStream_serializeSentinel(s); },
             {0, 0, 0, 0x7F, 0x02, 0, 0},
             {readSentinel}},
            {"little-endian must-understand parameter and sentinel",
             LE,
             [&](ZELCdrStream *s) {
                 return parameter(2, ZEL_TRUE, ZEL_FALSE, nullptr, 0)(s) && ZELCdrStream_serializeSentinel(s);
             },
             {0, 0, 0, 0x02, 0x40, 0, 0, 0x02, 0x7F, 0, 0},
             {[&](ZELCdrStream *s) { return readParameter(s) && readSentinel(s); }}},
            {"encapsulation",
             BE,
             [](ZELCdrStream *s) { return ZELCdrStream_serializeEncapsulation(s, 1); },
             {0, 1, 0, 0},
             {[](ZELCdrStream *s) {
                 uint16_t id = 0;
                 return ZELCdrStream_deserializeEncapsulation(s, &id) && id == 1;
             }}},
            {"padding",
             BE,
             [](ZELCdrStream *s) { return ZELCdrStream_pad(s, 8); },
             {0, 0, 0, 0, 0, 0, 0},
             {[](ZELCdrStream *s) { return ZELCdrStream_align(s, 8); }}},
    };
    for (const Operation &operation : operations) {
        SCOPED_TRACE(operation.name);
        std::vector<char> encoded(64, static_cast<char>(kStale));
        const std::optional<uint32_t> needed =
                runAfterOneOctet(operation.write, encoded.data(), 64, operation.order, true);
        ASSERT_TRUE(needed.has_value());
        EXPECT_EQ(octetsOf(encoded, *needed), join({{1}, operation.octets}));
        EXPECT_EQ(static_cast<unsigned char>(encoded[*needed]), kStale);
        for (const Op &reader : operation.readers) {
            EXPECT_EQ(runAfterOneOctet(reader, encoded.data(), *needed, operation.order, false), needed);
        }
        for (uint32_t length = 0; length < *needed; ++length) {
            std::vector<char> buffer(64, static_cast<char>(kStale));
            EXPECT_FALSE(runAfterOneOctet(operation.write, buffer.data(), length, operation.order, true))
                    << "written into " << length << " octets";
            EXPECT_EQ(Octets(buffer.begin() + length, buffer.end()), Octets(64 - length, kStale));
            std::vector<char> truncated(encoded.begin(), encoded.begin() + length);
            for (const Op &reader : operation.readers) {
                EXPECT_FALSE(runAfterOneOctet(reader, truncated.data(), length, operation.order, false))
                        << "read from " << length << " octets";
            }
        }
    }
    for (char *string : readStrings) {
        DDS_String_free(string);
    }
}

// Streams over a 64-octet stale buffer, or over a copy of octets to read.
struct StaleStream {
    explicit StaleStream(const Octets &octets = Octets(64, kStale)) : buffer(octets.begin(), octets.end()) {
        ZELCdrStream_init(&stream, buffer.data(), static_cast<uint32_t>(buffer.size()), ZEL_CDR_BIG_ENDIAN);
    }
    std::vector<char> buffer;
    ZELCdrStream stream{};
};

TEST_F(CdrStreamTest, WritersRefuseValuesOverTheirBoundsOrOutsideTheirForm) {
    const uint16_t shorts[1] = {1};
    const uint64_t u64s[2] = {6, 7};
    char ab[] = "ab";
    char longer[] = "longer";
    char *const strings[2] = {ab, longer};
    const Pair pairs[2] = {{1, 2}, {3, 4}};
    ZELCdrParameterHeader header{};
    int calls = 0;
    const std::pair<const char *, Op> refusals[] = {
            {"string over its bound", [](ZELCdrStream *s) { return ZELCdrStream_serializeString(s, "abcd", 4); }},
            {"no string", [](ZELCdrStream *s) { return ZELCdrStream_serializeString(s, nullptr, 4); }},
            {"element of 3 octets",
             [&](ZELCdrStream *s) { return ZELCdrStream_serializePrimitiveArray(s, shorts, 1, 3); }},
            {"primitive sequence over its bound",
             [&](ZELCdrStream *s) { return ZELCdrStream_serializePrimitiveSequence(s, u64s, 2, 1, 8); }},
            {"string sequence over its bound",
             [&](ZELCdrStream *s) { return ZELCdrStream_serializeStringSequence(s, strings, 2, 1, 7); }},
            {"string over the element bound",
             [&](ZELCdrStream *s) { return ZELCdrStream_serializeStringSequence(s, strings, 2, 2, 6); }},
            {"non-primitive sequence over its bound",
             [&](ZELCdrStream *s) {
                 return ZELCdrStream_serializeNonPrimitiveSequence(s, pairs, 2, 1, sizeof(Pair), serializePair, &calls);
             }},
            {"reserved id in a short header",
             [&](ZELCdrStream *s) {
                 return ZELCdrStream_serializeParameterHeader(s, &header, 0x3f01, ZEL_FALSE, ZEL_FALSE);
             }},
            {"id over 28 bits",
             [&](ZELCdrStream *s) {
                 return ZELCdrStream_serializeParameterHeader(s, &header, 0x10000000, ZEL_FALSE, ZEL_TRUE);
             }},
            {"unknown encapsulation", [](ZELCdrStream *s) { return ZELCdrStream_serializeEncapsulation(s, 6); }},
    };
    for (const auto &[name, write] : refusals) {
        StaleStream out;
        EXPECT_FALSE(write(&out.stream)) << name;
    }
}

// Encodings a reader refuses although they fit in the buffer; a sequence
// refused for its count asks for no storage, even when unbounded.
TEST_F(CdrStreamTest, ReadersRefuseMalformedEncodingsAndCountsOverTheirBounds) {
    char text[8];
    int calls = 0;
    const Octets abc = {0, 0, 0, 4, 'a', 'b', 'c', 0};
    const Octets abcd = {0, 0, 0, 4, 'a', 'b', 'c', 'd'};
    const Octets twoLongs = join({{0, 0, 0, 2}, Octets(16, 0)});
    const Octets huge = {0x10, 0, 0, 0};
    const auto primitives = [](uint32_t bound) -> Op {
        return [bound](ZELCdrStream *s) {
            VectorSequence<uint64_t> read;
            return ZELCdrStream_deserializePrimitiveSequence(s, &read, read.reserve, bound, 8) || read.reserveCalls > 0;
        };
    };
    const auto stringSequence = [](uint32_t bound, uint32_t elementBound) -> Op {
        return [bound, elementBound](ZELCdrStream *s) {
            VectorSequence<char *> read;
            const bool ok = ZELCdrStream_deserializeStringSequence(s, &read, read.reserve, bound, elementBound);
            for (char *element : read.elements) {
                DDS_String_free(element);
            }
            return ok || (bound == UINT32_MAX && read.reserveCalls > 0);
        };
    };
    const auto pairs = [&](uint32_t bound) -> Op {
        return [&calls, bound](ZELCdrStream *s) {
            VectorSequence<Pair> read;
            return ZELCdrStream_deserializeNonPrimitiveSequence(s, &read, read.reserve, bound, sizeof(Pair),
                                                                deserializePair, &calls) ||
                   read.reserveCalls > 0;
        };
    };
    const Op readString = [&](ZELCdrStream *s) { return ZELCdrStream_deserializeString(s, text, 4); };
    const std::tuple<const char *, Octets, Op> refusals[] = {
            {"string over the reader's bound", abc,
             [&](ZELCdrStream *s) { return ZELCdrStream_deserializeString(s, text, 3); }},
            {"string without its NUL", abcd, readString},
            {"skipped string without its NUL", abcd, [](ZELCdrStream *s) { return ZELCdrStream_skipString(s, 4); }},
            {"string of length zero", {0, 0, 0, 0}, readString},
            {"primitive sequence over its bound", twoLongs, primitives(1)},
            {"skipped primitive sequence over its bound", twoLongs,
             [](ZELCdrStream *s) { return ZELCdrStream_skipPrimitiveSequence(s, 1, 8); }},
            {"string sequence element over its bound", join({{0, 0, 0, 1}, abc}), stringSequence(2, 3)},
            {"skipped string sequence element over its bound", join({{0, 0, 0, 1}, abc}),
             [](ZELCdrStream *s) { return ZELCdrStream_skipStringSequence(s, 2, 3); }},
            {"non-primitive sequence over its bound", twoLongs, pairs(1)},
            {"primitive count the remainder cannot hold", huge, primitives(UINT32_MAX)},
            {"string count the remainder cannot hold", huge, stringSequence(UINT32_MAX, 10)},
            {"non-primitive count the remainder cannot hold", huge, pairs(UINT32_MAX)},
            {"unknown encapsulation, not consumed",
             {0, 6, 0, 0},
             [](ZELCdrStream *s) {
                 uint16_t id = 0;
                 return ZELCdrStream_deserializeEncapsulation(s, &id) || ZELCdrStream_getCurrentPositionOffset(s) != 0;
             }},
            {"extended header announcing 4 octets",
             {0x7F, 0x01, 0x00, 0x04, 0, 0, 0, 1, 0, 0, 0, 0},
             [](ZELCdrStream *s) {
                 ZELCdrParameterHeader header{};
                 return ZELCdrStream_deserializeParameterHeader(s, &header) != 0;
             }},
    };
    for (const auto &[name, octets, read] : refusals) {
        StaleStream in(octets);
        EXPECT_FALSE(read(&in.stream)) << name;
    }
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

    ZELCdrStream reader;
    ZELCdrStream_init(&reader, buffer.data(), 6, ZEL_CDR_BIG_ENDIAN);
    uint16_t id = 99;
    ASSERT_TRUE(ZELCdrStream_deserializeEncapsulation(&reader, &id));
    EXPECT_EQ(id, ZEL_CDR_ENCAPSULATION_ID_PL_CDR_LE);
    EXPECT_EQ(reader.byteOrder, ZEL_CDR_LITTLE_ENDIAN);
    EXPECT_EQ(reader.encapsulationKind, 3);
    EXPECT_EQ(reader.encapsulationOptions, 0x0102);
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
}

// Elements keep their string when the incoming one fits and get a new heap
// string otherwise; out of heap fails without losing an element.
TEST_F(CdrStreamTest, StringSequenceElementsAreReusedOrReplacedOnTheHeap) {
    StaleStream out;
    char first[] = "ab";
    char second[] = "longer";
    char *const strings[2] = {first, second};
    ASSERT_TRUE(ZELCdrStream_serializeStringSequence(&out.stream, strings, 2, 2, 7));
    const uint32_t written = ZELCdrStream_getCurrentPositionOffset(&out.stream);

    zeltest::forEachAllocationFailure([&](long) {
        VectorSequence<char *> read;
        read.elements = {DDS_String_dup("xyz"), DDS_String_dup("s")};
        char *kept = read.elements[0];
        ZELCdrStream reader;
        ZELCdrStream_init(&reader, out.buffer.data(), written, ZEL_CDR_BIG_ENDIAN);
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
}

}  // namespace
