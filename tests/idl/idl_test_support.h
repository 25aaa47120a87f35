// Helpers of the generated-code tests: streams over owned buffers and the
// octets they hold.
#pragma once

#include <string>
#include <vector>

#include "vurncore/cdr_stream.h"

namespace idltest {

using Octets = std::vector<unsigned char>;

// A stream over a buffer of its own, zero-filled.
class Buffer {
public:
    explicit Buffer(uint32_t size, ZELCdrByteOrder order = ZEL_CDR_BIG_ENDIAN) : storage_(size)
    {
        ZELCdrStream_init(&stream, storage_.data(), size, order);
    }
    // A stream to read `octets` from.
    explicit Buffer(const Octets &octets) : storage_(octets.begin(), octets.end())
    {
        ZELCdrStream_init(&stream, storage_.data(), static_cast<uint32_t>(storage_.size()), ZEL_CDR_BIG_ENDIAN);
    }
    Buffer(const Buffer &) = delete;
    Buffer &operator=(const Buffer &) = delete;

    Octets written() const
    {
        return Octets(storage_.begin(), storage_.begin() + ZELCdrStream_getCurrentPositionOffset(&stream));
    }

    ZELCdrStream stream{};

private:
    std::vector<char> storage_;
};

}  // namespace idltest
