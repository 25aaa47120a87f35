// Readers of every monitoring type meet damaged input: truncated buffers,
// oversized lengths, random and corrupted octets, and parameters they do not
// know. They never read outside the buffer (the sanitizer builds check),
// refuse what cannot be valid, leak nothing, and skip what they may skip.
#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DDSMonitoring.h"
#include "heap_check.h"
#include "log_capture.h"
#include "types_test_support.h"
#include "vurncore/dds_string.h"
#include "zel_dds_monitoring.h"
#include "zel_monitoring.h"

namespace {

using typestest::Buffer;
using typestest::Octets;

// One type's family seen untyped, through its generated functions.
struct AnyType {
    const char *flatName;
    const ZELCdrTypeDesc *desc;
    void *(*create)();
    void (*destroy)(void *sample);
    DDS_Boolean (*serialize)(const void *sample, ZELCdrStream *stream, DDS_UnsignedShort id);
    DDS_Boolean (*deserialize)(void *sample, ZELCdrStream *stream);
    unsigned int (*size)(const void *sample, DDS_UnsignedShort id);
};

#define TYPESTEST_ANY(F)                                                                                      \
    AnyType{#F,                                                                                               \
            &F##_g_desc,                                                                                      \
            []() -> void * { return F##PluginSupport_create_data(); },                                        \
            [](void *s) { F##PluginSupport_destroy_data(static_cast<F *>(s)); },                              \
            [](const void *s, ZELCdrStream *stream, DDS_UnsignedShort id) {                                   \
                return F##Plugin_serialize(nullptr, static_cast<const F *>(s), stream, 1, id, 1, nullptr);    \
            },                                                                                                \
            [](void *s, ZELCdrStream *stream) {                                                               \
                return F##Plugin_deserialize(nullptr, static_cast<F *>(s), stream, 1, 1, nullptr);            \
            },                                                                                                \
            [](const void *s, DDS_UnsignedShort id) {                                                         \
                return F##Plugin_get_serialized_sample_size(nullptr, 1, id, 0, static_cast<const F *>(s));    \
            }},

const std::vector<AnyType> &allTypes()
{
    static const std::vector<AnyType> types = {
#define ZELIDL_TYPE(F) TYPESTEST_ANY(F)
#include "DDSMonitoring_types.inc"
#define ZELIDL_TYPE(F) TYPESTEST_ANY(F)
#include "zel_dds_monitoring_types.inc"
#define ZELIDL_TYPE(F) TYPESTEST_ANY(F)
#include "zel_monitoring_types.inc"
    };
    return types;
}

const ZELCdrTypeDesc *resolved(const ZELCdrTypeDesc *type)
{
    while (type->kind == ZEL_CDR_TK_ALIAS) {
        type = type->element;
    }
    return type;
}

uint32_t primitiveSize(ZELCdrTypeKind kind)
{
    switch (kind) {
    case ZEL_CDR_TK_BOOLEAN:
    case ZEL_CDR_TK_OCTET:
    case ZEL_CDR_TK_CHAR:
        return 1;
    case ZEL_CDR_TK_SHORT:
    case ZEL_CDR_TK_USHORT:
        return 2;
    case ZEL_CDR_TK_LONG:
    case ZEL_CDR_TK_ULONG:
    case ZEL_CDR_TK_FLOAT:
    case ZEL_CDR_TK_ENUM:
        return 4;
    case ZEL_CDR_TK_LONGLONG:
    case ZEL_CDR_TK_ULONGLONG:
    case ZEL_CDR_TK_DOUBLE:
        return 8;
    default:
        return 0;
    }
}

// Sets every member to a small value of its own: short strings, sequences
// of one or two elements, so that samples stay small enough to cut at every
// length.
class Filler {
public:
    bool fill(const ZELCdrTypeDesc *type, void *value)
    {
        const uint32_t n = ++counter_;
        switch (type->kind) {
        case ZEL_CDR_TK_ALIAS:
            return fill(type->element, value);
        case ZEL_CDR_TK_ENUM:
            *static_cast<DDS_Enum *>(value) = type->enumerators[n % type->enumeratorCount].value;
            return true;
        case ZEL_CDR_TK_STRING: {
            const uint32_t bound = type->bound == 0 ? 8 : type->bound;
            char *text = DDS_String_alloc(bound);
            if (text == nullptr) {
                return false;
            }
            std::memset(text, 'a' + static_cast<int>(n % 26), std::min<uint32_t>(bound, 1 + n % 4));
            DDS_String_free(*static_cast<char **>(value));
            *static_cast<char **>(value) = text;
            return true;
        }
        case ZEL_CDR_TK_SEQUENCE: {
            const uint32_t length = std::min<uint32_t>(type->bound == 0 ? 2 : type->bound, 1 + n % 2);
            auto *sequence = static_cast<ZELSequence *>(value);
            if (!ZELSequence_ensure_length(sequence, type->element->sequenceElementType, static_cast<DDS_Long>(length),
                                           static_cast<DDS_Long>(length), "fill")) {
                return false;
            }
            for (uint32_t i = 0; i < length; ++i) {
                if (!fill(type->element, static_cast<char *>(sequence->_contiguous_buffer) + i * type->element->size)) {
                    return false;
                }
            }
            return true;
        }
        case ZEL_CDR_TK_ARRAY:
            for (uint32_t i = 0; i < type->bound; ++i) {
                if (!fill(type->element, static_cast<char *>(value) + i * type->element->size)) {
                    return false;
                }
            }
            return true;
        case ZEL_CDR_TK_STRUCT:
            for (uint32_t i = 0; i < type->memberCount; ++i) {
                if (!fill(type->members[i].type, static_cast<char *>(value) + type->members[i].offset)) {
                    return false;
                }
            }
            return true;
        default:
            // Primitives: the low octets of a counter, at the value's own width.
            const uint64_t pattern = 0x0101010101010101ull * (n % 200 + 1);
            std::memcpy(value, &pattern, primitiveSize(type->kind));
            if (type->kind == ZEL_CDR_TK_BOOLEAN) {
                *static_cast<DDS_Boolean *>(value) = static_cast<DDS_Boolean>(n % 2);
            }
            return true;
        }
    }

private:
    uint32_t counter_ = 0;
};

// Reads a serialized sample independently of the readers under test,
// noting where its length fields are and where the headers of the top-level
// parameter list start (offsets into the whole buffer).
class WireWalker {
public:
    struct LengthField {
        size_t offset;
        uint32_t width;  // 2 (short parameter header) or 4
    };

    WireWalker(const Octets &octets, const ZELCdrTypeDesc *type) : octets_(octets)
    {
        littleEndian_ = octets.size() >= 2 && (octets[1] & 1) != 0;
        walk(type, true);
        complete = ok_ && pos_ == octets.size();
    }

    std::vector<LengthField> lengths;
    std::vector<size_t> topLevelHeaders;
    bool littleEndian() const { return littleEndian_; }
    bool complete = false;

private:
    static constexpr size_t kOrigin = 4;

    void align(uint32_t n) { pos_ = kOrigin + (pos_ - kOrigin + n - 1) / n * n; }
    uint32_t read(size_t at, uint32_t width)
    {
        if (at + width > octets_.size()) {
            ok_ = false;
            return 0;
        }
        uint32_t value = 0;
        for (uint32_t i = 0; i < width; ++i) {
            const uint32_t octet = octets_[at + (littleEndian_ ? width - 1 - i : i)];
            value = value << 8 | octet;
        }
        return value;
    }

    void walk(const ZELCdrTypeDesc *type, bool topLevel)
    {
        type = resolved(type);
        if (!ok_) {
            return;
        }
        switch (type->kind) {
        case ZEL_CDR_TK_STRING:
            align(4);
            lengths.push_back({pos_, 4});
            pos_ += 4 + read(pos_, 4);
            return;
        case ZEL_CDR_TK_SEQUENCE: {
            align(4);
            lengths.push_back({pos_, 4});
            const uint32_t count = read(pos_, 4);
            pos_ += 4;
            for (uint32_t i = 0; i < count && ok_; ++i) {
                walk(type->element, false);
            }
            return;
        }
        case ZEL_CDR_TK_ARRAY:
            for (uint32_t i = 0; i < type->bound; ++i) {
                walk(type->element, false);
            }
            return;
        case ZEL_CDR_TK_STRUCT:
            if (type->extensibility == ZEL_CDR_EXTENSIBILITY_MUTABLE) {
                walkParameterList(type, topLevel);
            } else {
                for (uint32_t i = 0; i < type->memberCount; ++i) {
                    walk(type->members[i].type, false);
                }
            }
            return;
        default:
            align(primitiveSize(type->kind));
            pos_ += primitiveSize(type->kind);
            return;
        }
    }

    void walkParameterList(const ZELCdrTypeDesc *type, bool topLevel)
    {
        while (ok_) {
            align(4);
            if (topLevel) {
                topLevelHeaders.push_back(pos_);
            }
            const uint32_t id = read(pos_, 2) & 0x3fff;
            if (id == 0x3f02) {
                pos_ += 4;
                return;
            }
            uint32_t memberId = id;
            uint32_t length = read(pos_ + 2, 2);
            size_t valueStart = pos_ + 4;
            if (id == 0x3f01) {
                memberId = read(pos_ + 4, 4) & 0x0fffffff;
                lengths.push_back({pos_ + 8, 4});
                length = read(pos_ + 8, 4);
                valueStart = pos_ + 12;
            } else {
                lengths.push_back({pos_ + 2, 2});
            }
            if (memberId >= type->memberCount) {
                ok_ = false;
                return;
            }
            pos_ = valueStart;
            walk(type->members[memberId].type, false);
            if (pos_ > valueStart + length) {
                ok_ = false;
            }
            pos_ = valueStart + length;
        }
    }

    const Octets &octets_;
    size_t pos_ = kOrigin;
    bool littleEndian_ = false;
    bool ok_ = true;
};

bool isMutable(const AnyType &type)
{
    return type.desc->kind == ZEL_CDR_TK_STRUCT && type.desc->extensibility == ZEL_CDR_EXTENSIBILITY_MUTABLE;
}

// A filled sample of every type, serialized in one byte order.
struct Serialized {
    const AnyType *type;
    Octets octets;
};

std::vector<Serialized> serializedSamples(DDS_UnsignedShort id)
{
    std::vector<Serialized> all;
    for (const AnyType &type : allTypes()) {
        void *sample = type.create();
        Filler filler;
        EXPECT_TRUE(sample != nullptr && filler.fill(type.desc, sample)) << type.flatName;
        Buffer out(1 << 16);
        EXPECT_TRUE(type.serialize(sample, &out.stream, id)) << type.flatName;
        all.push_back({&type, out.written()});
        type.destroy(sample);
    }
    return all;
}

bool deserializes(const AnyType &type, const Octets &octets)
{
    void *sample = type.create();
    if (sample == nullptr) {
        ADD_FAILURE() << "out of heap";
        return false;
    }
    Buffer in(octets);
    const bool ok = type.deserialize(sample, &in.stream);
    type.destroy(sample);
    return ok;
}

void put(Octets &octets, size_t offset, uint32_t value, uint32_t width, bool littleEndian)
{
    for (uint32_t i = 0; i < width; ++i) {
        const uint32_t shift = 8 * (littleEndian ? i : width - 1 - i);
        octets[offset + i] = static_cast<unsigned char>(value >> shift);
    }
}

class DamagedInputTest : public zeltest::HeapCheckedTest {
protected:
    zeltest::LogCapture log_;  // keeps the readers' failure lines out of the output
};

// A cut buffer is refused, except where a parameter list may end early: at
// a top-level parameter header (absent members keep their values).
TEST_F(DamagedInputTest, TruncatedBuffersAreRefusedUnlessCutBetweenParameters)
{
    for (DDS_UnsignedShort id : {DDS_UnsignedShort{0}, DDS_UnsignedShort{1}}) {
        for (const Serialized &s : serializedSamples(id)) {
            SCOPED_TRACE(std::string(s.type->flatName) + (id == 0 ? " big-endian" : " little-endian"));
            const WireWalker walker(s.octets, s.type->desc);
            ASSERT_TRUE(walker.complete) << "the sample is not what the wire rules describe";
            ASSERT_TRUE(deserializes(*s.type, s.octets));

            // Every cut of small samples; a spread and every boundary of big ones.
            std::vector<size_t> cuts;
            const size_t step = s.octets.size() <= 4096 ? 1 : s.octets.size() / 1024;
            for (size_t cut = 0; cut < s.octets.size(); cut += step) {
                cuts.push_back(cut);
            }
            for (size_t header : walker.topLevelHeaders) {
                cuts.insert(cuts.end(), {header - 1, header, header + 1});
            }
            for (size_t cut : cuts) {
                if (cut >= s.octets.size()) {
                    continue;
                }
                const bool atBoundary = isMutable(*s.type) &&
                                        std::find(walker.topLevelHeaders.begin(), walker.topLevelHeaders.end(),
                                                  cut) != walker.topLevelHeaders.end();
                EXPECT_EQ(deserializes(*s.type, Octets(s.octets.begin(), s.octets.begin() + static_cast<long>(cut))),
                          atBoundary)
                        << "cut at " << cut << " of " << s.octets.size();
            }
            log_.clear();
        }
    }
}

// A string length, sequence count or parameter length that runs past the
// end of the buffer (or past a bound) is refused.
TEST_F(DamagedInputTest, OversizedLengthsAreRefused)
{
    size_t fields = 0;
    for (DDS_UnsignedShort id : {DDS_UnsignedShort{0}, DDS_UnsignedShort{1}}) {
        for (const Serialized &s : serializedSamples(id)) {
            SCOPED_TRACE(s.type->flatName);
            const WireWalker walker(s.octets, s.type->desc);
            ASSERT_TRUE(walker.complete);
            for (const WireWalker::LengthField &field : walker.lengths) {
                Octets damaged = s.octets;
                put(damaged, field.offset, field.width == 2 ? 0xfffcu : 0x7ffffff0u, field.width,
                    walker.littleEndian());
                ASSERT_LT(damaged.size(), 0xfffcu) << "a short parameter length could still fit";
                EXPECT_FALSE(deserializes(*s.type, damaged)) << "length at " << field.offset;
                ++fields;
            }
            log_.clear();
        }
    }
    EXPECT_GT(fields, 1000u);
}

// Random octets behind a valid encapsulation header, and valid samples with
// a few octets changed: whatever a reader accepts is a sample that can be
// written again (every string and sequence within its bound).
TEST_F(DamagedInputTest, RandomAndCorruptedBuffersAreReadWithinBounds)
{
    std::mt19937 random(20240229);
    for (const Serialized &s : serializedSamples(1)) {
        SCOPED_TRACE(s.type->flatName);
        std::vector<Octets> inputs;
        for (int i = 0; i < 64; ++i) {
            Octets octets(random() % (2 * s.octets.size()) + 4);
            for (unsigned char &octet : octets) {
                octet = static_cast<unsigned char>(random());
            }
            octets[0] = 0;
            octets[1] = static_cast<unsigned char>(random() % 4);
            octets[2] = octets[3] = 0;
            inputs.push_back(octets);
        }
        for (int i = 0; i < 128; ++i) {
            Octets octets = s.octets;
            for (int changes = static_cast<int>(random() % 4) + 1; changes > 0; --changes) {
                octets[4 + random() % (octets.size() - 4)] = static_cast<unsigned char>(random());
            }
            inputs.push_back(octets);
        }
        for (const Octets &input : inputs) {
            void *sample = s.type->create();
            ASSERT_NE(sample, nullptr);
            Buffer in(input);
            if (s.type->deserialize(sample, &in.stream)) {
                const unsigned int size = s.type->size(sample, 1);
                Buffer out(size);
                EXPECT_TRUE(s.type->serialize(sample, &out.stream, 1)) << "an accepted sample is writable";
                EXPECT_EQ(out.written().size(), size);
            }
            s.type->destroy(sample);
        }
        log_.clear();
    }
}

// Parameters a reader does not know (short and extended ids past the last
// member) and ignored parameters are skipped wherever they appear, and every
// known member is still read.
TEST_F(DamagedInputTest, UnknownAndIgnoredParametersAreSkipped)
{
    size_t mutableTypes = 0;
    for (DDS_UnsignedShort id : {DDS_UnsignedShort{0}, DDS_UnsignedShort{1}}) {
        for (const Serialized &s : serializedSamples(id)) {
            if (!isMutable(*s.type)) {
                continue;
            }
            SCOPED_TRACE(s.type->flatName);
            ++mutableTypes;
            const WireWalker walker(s.octets, s.type->desc);
            ASSERT_TRUE(walker.complete);
            const bool le = walker.littleEndian();
            const uint32_t unknown = s.type->desc->memberCount;
            // 40 octets, a multiple of 8, so what follows keeps its alignment.
            Octets extra(40, 0xab);
            put(extra, 0, unknown, 2, le);  // short header, 12 octets of value
            put(extra, 2, 12, 2, le);
            put(extra, 16, 0x3f03, 2, le);  // ignored, 4 octets of value
            put(extra, 18, 4, 2, le);
            put(extra, 24, 0x7f01, 2, le);  // extended header, 4 octets of value
            put(extra, 26, 8, 2, le);
            put(extra, 28, unknown + 1000, 4, le);
            put(extra, 32, 4, 4, le);

            for (size_t at : {walker.topLevelHeaders.front(), walker.topLevelHeaders.back()}) {
                Octets withExtra(s.octets.begin(), s.octets.begin() + static_cast<long>(at));
                withExtra.insert(withExtra.end(), extra.begin(), extra.end());
                withExtra.insert(withExtra.end(), s.octets.begin() + static_cast<long>(at), s.octets.end());

                void *sample = s.type->create();
                ASSERT_NE(sample, nullptr);
                Buffer in(withExtra);
                EXPECT_TRUE(s.type->deserialize(sample, &in.stream)) << "inserted at " << at;
                Buffer out(1 << 16);
                EXPECT_TRUE(s.type->serialize(sample, &out.stream, id));
                EXPECT_EQ(out.written(), s.octets) << "inserted at " << at;
                s.type->destroy(sample);
            }
        }
    }
    EXPECT_EQ(mutableTypes, 2 * 47u);
}

}  // namespace
