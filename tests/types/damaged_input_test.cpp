// Readers of every monitoring type meet damaged input: truncated buffers,
// random and corrupted octets. They never read outside
// the buffer (the sanitizer builds check), refuse what cannot be valid and
// leak nothing.
#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "heap_check.h"
#include "log_capture.h"
#include "sample_filler.h"
#include "types_test_support.h"

namespace {

using typestest::AnyType;
using typestest::Buffer;
using typestest::Filler;
using typestest::Octets;

// Where the headers of a sample's top-level parameter list start (offsets
// into the whole buffer), found from the headers alone.
std::vector<size_t> topLevelHeaders(const Octets &octets) {
    const bool littleEndian = (octets[1] & 1) != 0;
    const auto read = [&](size_t at, size_t width) {
        uint32_t value = 0;
        for (size_t i = 0; i < width; ++i) {
            value = value << 8 | octets.at(at + (littleEndian ? width - 1 - i : i));
        }
        return value;
    };
    std::vector<size_t> headers;
    for (size_t at = 4;; at = 4 + (at - 4 + 3) / 4 * 4) {
        headers.push_back(at);
        const uint32_t id = read(at, 2) & ZEL_CDR_PID_MASK;
        if (id == ZEL_CDR_PID_LIST_END) {
            return headers;
        }
        at = id == ZEL_CDR_PID_EXTENDED ? at + 12 + read(at + 8, 4) : at + 4 + read(at + 2, 2);
    }
}

bool isMutable(const AnyType &type) {
    return type.desc->kind == ZEL_CDR_TK_STRUCT && type.desc->extensibility == ZEL_CDR_EXTENSIBILITY_MUTABLE;
}

// A filled sample of every type, serialized in one byte order.
struct Serialized {
    const AnyType *type;
    Octets octets;
};

std::vector<Serialized> serializedSamples(DDS_UnsignedShort id) {
    std::vector<Serialized> all;
    for (const AnyType &type : typestest::allTypes()) {
        void *sample = type.create();
        Filler filler(false);
        EXPECT_TRUE(sample != nullptr && filler.fill(type.desc, sample)) << type.flatName;
        Buffer out(1 << 16);
        EXPECT_TRUE(type.serialize(sample, &out.stream, id)) << type.flatName;
        all.push_back({&type, out.written()});
        type.destroy(sample);
    }
    return all;
}

bool deserializes(const AnyType &type, const Octets &octets) {
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

class DamagedInputTest : public zeltest::HeapCheckedTest {
protected:
    zeltest::LogCapture log_;  // keeps the readers' failure lines out of the output
};

// A cut buffer is refused, except where a parameter list may end early: at
// a top-level parameter header (absent members keep their values).
TEST_F(DamagedInputTest, TruncatedBuffersAreRefusedUnlessCutBetweenParameters) {
    for (DDS_UnsignedShort id : {DDS_UnsignedShort{0}, DDS_UnsignedShort{1}}) {
        for (const Serialized &s : serializedSamples(id)) {
            SCOPED_TRACE(std::string(s.type->flatName) + (id == 0 ? " big-endian" : " little-endian"));
            const std::vector<size_t> headers = isMutable(*s.type) ? topLevelHeaders(s.octets) : std::vector<size_t>{};
            ASSERT_TRUE(deserializes(*s.type, s.octets));

            // Every cut of small samples; a spread and every boundary of big ones.
            std::vector<size_t> cuts;
            const size_t step = s.octets.size() <= 4096 ? 1 : s.octets.size() / 1024;
            for (size_t cut = 0; cut < s.octets.size(); cut += step) {
                cuts.push_back(cut);
            }
            for (size_t header : headers) {
                cuts.insert(cuts.end(), {header - 1, header, header + 1});
            }
            for (size_t cut : cuts) {
                if (cut >= s.octets.size()) {
                    continue;
                }
                const bool atBoundary = std::find(headers.begin(), headers.end(), cut) != headers.end();
                EXPECT_EQ(deserializes(*s.type, Octets(s.octets.begin(), s.octets.begin() + static_cast<long>(cut))),
                          atBoundary)
                        << "cut at " << cut << " of " << s.octets.size();
            }
            log_.clear();
        }
    }
}

// Random octets behind a valid encapsulation header, and valid samples with
// a few octets changed: whatever a reader accepts is a sample that can be
// written again (every string and sequence within its bound).
TEST_F(DamagedInputTest, RandomAndCorruptedBuffersAreReadWithinBounds) {
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

}  // namespace
