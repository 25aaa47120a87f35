// The MD5 message digest, used for instance key hashes: the digest of
// a key serialized into a stream.
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "vurncore/cdr_stream.h"

namespace {

// Per-step left rotations and additive constants (floor(abs(sin(i + 1)) * 2^32)).
constexpr std::array<uint32_t, 64> kShifts = {7, 12, 17, 22, 7, 12, 17, 22, 7, 12, 17, 22, 7, 12, 17, 22,
                                              5, 9,  14, 20, 5, 9,  14, 20, 5, 9,  14, 20, 5, 9,  14, 20,
                                              4, 11, 16, 23, 4, 11, 16, 23, 4, 11, 16, 23, 4, 11, 16, 23,
                                              6, 10, 15, 21, 6, 10, 15, 21, 6, 10, 15, 21, 6, 10, 15, 21};

constexpr std::array<uint32_t, 64> kConstants = {
        0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
        0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
        0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
        0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
        0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
        0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
        0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
        0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

constexpr size_t kBlockSize = 64;

class Md5 {
public:
    void update(const unsigned char *data, size_t length) {
        bitCount_ += static_cast<uint64_t>(length) * 8u;
        while (length > 0) {
            const size_t taken = std::min(length, kBlockSize - pending_);
            std::memcpy(block_.data() + pending_, data, taken);
            pending_ += taken;
            data += taken;
            length -= taken;
            if (pending_ == kBlockSize) {
                transform();
                pending_ = 0;
            }
        }
    }

    void finish(unsigned char digest[16]) {
        const uint64_t bitCount = bitCount_;
        // One 0x80 octet, zeros up to 56 octets into a block, the bit count.
        static constexpr unsigned char kPadding[kBlockSize] = {0x80};
        const size_t padding = pending_ < 56 ? 56 - pending_ : kBlockSize + 56 - pending_;
        update(kPadding, padding);
        unsigned char length[8];
        for (unsigned i = 0; i < 8; ++i) {
            length[i] = static_cast<unsigned char>(bitCount >> (8 * i));
        }
        update(length, sizeof length);
        for (unsigned i = 0; i < 4; ++i) {
            for (unsigned j = 0; j < 4; ++j) {
                digest[4 * i + j] = static_cast<unsigned char>(state_[i] >> (8 * j));
            }
        }
    }

private:
    void transform() {
        uint32_t words[16];
        for (unsigned i = 0; i < 16; ++i) {
            words[i] = static_cast<uint32_t>(block_[4 * i]) | static_cast<uint32_t>(block_[4 * i + 1]) << 8 |
                       static_cast<uint32_t>(block_[4 * i + 2]) << 16 | static_cast<uint32_t>(block_[4 * i + 3]) << 24;
        }
        uint32_t a = state_[0];
        uint32_t b = state_[1];
        uint32_t c = state_[2];
        uint32_t d = state_[3];
        // The four rounds as separate loops, so that each unrolls without a
        // branch per step.
        const auto step = [&](unsigned i, uint32_t f, unsigned g) {
            const uint32_t rotated = std::rotl(a + f + kConstants[i] + words[g], static_cast<int>(kShifts[i]));
            a = d;
            d = c;
            c = b;
            b += rotated;
        };
        for (unsigned i = 0; i < 16; ++i) {
            step(i, (b & c) | (~b & d), i);
        }
        for (unsigned i = 16; i < 32; ++i) {
            step(i, (d & b) | (~d & c), (5 * i + 1) % 16);
        }
        for (unsigned i = 32; i < 48; ++i) {
            step(i, b ^ c ^ d, (3 * i + 5) % 16);
        }
        for (unsigned i = 48; i < 64; ++i) {
            step(i, c ^ (b | ~d), (7 * i) % 16);
        }
        state_[0] += a;
        state_[1] += b;
        state_[2] += c;
        state_[3] += d;
    }

    std::array<uint32_t, 4> state_ = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
    std::array<unsigned char, kBlockSize> block_{};
    size_t pending_ = 0;
    uint64_t bitCount_ = 0;
};

}  // namespace

extern "C" {

void ZELCdrStream_computeMD5OfBuffer(const void *data, uint32_t length, unsigned char digest[16]) {
    Md5 md5;
    md5.update(static_cast<const unsigned char *>(data), length);
    md5.finish(digest);
}

void ZELCdrStream_computeMD5(const ZELCdrStream *self, unsigned char digest[16]) {
    ZELCdrStream_computeMD5OfBuffer(self->buffer, ZELCdrStream_getCurrentPositionOffset(self), digest);
}

}  // extern "C"
