// Helpers of the type engine's tests: octets written as hex text, streams
// over owned buffers and samples that finalize themselves.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "vurncore/cdr_stream.h"
#include "vurncore/cdr_type.h"
#include "vurncore/dds_string.h"

namespace typetest {

using Octets = std::vector<unsigned char>;

// "00 01 ab" (spaces and '|' ignored) as octets.
inline Octets hex(const std::string &text) {
    Octets octets;
    std::string digits;
    for (char c : text) {
        if (c != ' ' && c != '|' && c != '\n') {
            digits += c;
        }
    }
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        octets.push_back(static_cast<unsigned char>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    }
    return octets;
}

// A stream over a buffer of its own.
class Buffer {
public:
    explicit Buffer(uint32_t size = 4096, ZELCdrByteOrder order = ZEL_CDR_BIG_ENDIAN) : storage_(size) {
        ZELCdrStream_init(&stream, storage_.data(), size, order);
    }
    // A stream to read `octets` from.
    explicit Buffer(const Octets &octets) : storage_(octets.begin(), octets.end()) {
        ZELCdrStream_init(&stream, storage_.data(), static_cast<uint32_t>(storage_.size()), ZEL_CDR_BIG_ENDIAN);
    }
    Buffer(const Buffer &) = delete;
    Buffer &operator=(const Buffer &) = delete;

    Octets written() const {
        return Octets(storage_.begin(), storage_.begin() + ZELCdrStream_getCurrentPositionOffset(&stream));
    }

    ZELCdrStream stream{};

private:
    std::vector<char> storage_;
};

// A sample of a described type, initialized with the default parameters
// and finalized at the end of its scope.
template <typename T>
class Sample {
public:
    explicit Sample(const ZELCdrTypeDesc *type) : type_(type) {
        EXPECT_TRUE(ZELCdrType_initializeSample(type_, &value, nullptr));
    }
    ~Sample() { ZELCdrType_finalizeSample(type_, &value, nullptr); }
    Sample(const Sample &) = delete;
    Sample &operator=(const Sample &) = delete;

    T value;

private:
    const ZELCdrTypeDesc *type_;
};

// Replaces a string member's text, keeping the bound's allocation.
inline void setText(char *member, const char *text) { std::strcpy(member, text); }

// Replaces an unbounded string member.
inline void replaceText(char **member, const char *text) {
    DDS_String_free(*member);
    *member = DDS_String_dup(text);
}

// The octets of a sample serialized with an encapsulation header.
inline Octets serialized(const ZELCdrTypeDesc *type, const void *sample, uint16_t encapsulationId) {
    Buffer buffer(1 << 18);
    EXPECT_TRUE(ZELCdrType_serializeSample(type, sample, &buffer.stream, DDS_BOOLEAN_TRUE, encapsulationId,
                                           DDS_BOOLEAN_TRUE));
    return buffer.written();
}

}  // namespace typetest
