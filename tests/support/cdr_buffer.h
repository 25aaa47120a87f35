// A CDR stream over a buffer of its own, and the octets it holds.
#pragma once

#include <cstdint>
#include <vector>

#include "vurncore/cdr_stream.h"

namespace zeltest {

using Octets = std::vector<unsigned char>;

// A stream over a zero-filled buffer of its own, or over a copy of octets to read.
class Buffer {
public:
    explicit Buffer(size_t size = 4096, ZELCdrByteOrder order = ZEL_CDR_BIG_ENDIAN) : storage_(size) {
        ZELCdrStream_init(&stream, storage_.data(), static_cast<uint32_t>(size), order);
    }
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

}  // namespace zeltest
