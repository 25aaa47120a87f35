// Helpers of the type engine's tests: octets written as hex text, streams
// over owned buffers and samples that finalize themselves.
#pragma once

#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cdr_buffer.h"
#include "vurncore/cdr_stream.h"
#include "vurncore/cdr_type.h"
#include "vurncore/dds_string.h"

namespace typetest {

using zeltest::Octets;

// "00 01 ab" as octets; anything but hex digits separates.
inline Octets hex(const std::string &text) {
    Octets octets;
    std::string digits;
    for (char c : text) {
        if (std::isxdigit(static_cast<unsigned char>(c))) {
            digits += c;
        }
    }
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        octets.push_back(static_cast<unsigned char>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    }
    return octets;
}

using zeltest::Buffer;

// A sample initialized with the default parameters, finalized at the end
// of its scope.
template <typename T>
struct Sample {
    explicit Sample(const ZELCdrTypeDesc *descriptor) : type(descriptor) {
        EXPECT_TRUE(ZELCdrType_initializeSample(type, &value, nullptr));
    }
    ~Sample() { ZELCdrType_finalizeSample(type, &value, nullptr); }
    Sample(const Sample &) = delete;
    Sample &operator=(const Sample &) = delete;

    const ZELCdrTypeDesc *type;
    T value;
};

// A bounded string member holds its bound: text is copied in place.
inline void setText(char *member, const char *text) { std::strcpy(member, text); }

inline void replaceText(char **member, const char *text) {
    DDS_String_free(*member);
    *member = DDS_String_dup(text);
}

// Whether a sample serializes with an encapsulation header, and its octets.
inline bool serializes(const ZELCdrTypeDesc *type, const void *sample, uint16_t encapsulationId,
                       Octets *octets = nullptr) {
    Buffer buffer(1 << 18);
    const bool ok = ZELCdrType_serializeSample(type, sample, &buffer.stream, DDS_BOOLEAN_TRUE, encapsulationId,
                                               DDS_BOOLEAN_TRUE);
    if (octets != nullptr) {
        *octets = buffer.written();
    }
    return ok;
}

inline Octets serialized(const ZELCdrTypeDesc *type, const void *sample, uint16_t encapsulationId) {
    Octets octets;
    EXPECT_TRUE(serializes(type, sample, encapsulationId, &octets));
    return octets;
}

}  // namespace typetest
