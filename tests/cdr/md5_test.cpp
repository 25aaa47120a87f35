// MD5 digests of buffers and of a stream's octets so far.
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "vurncore/cdr_stream.h"

namespace {

std::string hex(const unsigned char digest[16]) {
    std::string text;
    char octet[3];
    for (int i = 0; i < 16; ++i) {
        std::snprintf(octet, sizeof octet, "%02x", digest[i]);
        text += octet;
    }
    return text;
}

// The reference vectors of the algorithm's definition, then lengths around
// the block and padding boundaries: 55 octets leave room for the length in
// the same block, 56 do not.
TEST(Md5Test, DigestsOfTheReferenceMessagesAndAtBlockBoundaries) {
    const std::pair<std::string, const char *> vectors[] = {
            {"", "d41d8cd98f00b204e9800998ecf8427e"},
            {"a", "0cc175b9c0f1b6a831c399e269772661"},
            {"abc", "900150983cd24fb0d6963f7d28e17f72"},
            {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
            {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
            {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
            {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
             "57edf4a22be3c955ac49da2e2107b67a"},
            {std::string(55, 'a'), "ef1772b6dff9a122358552954ad0df65"},
            {std::string(56, 'a'), "3b0c8ac703f828b04c6c197006d17218"},
            {std::string(64, 'a'), "014842d480b571495a4a0363793f7367"},
            {std::string(119, 'a'), "8a7bd0732ed6a28ce75f6dabc90e1613"},
    };
    for (const auto &[message, expected] : vectors) {
        unsigned char digest[16];
        ZELCdrStream_computeMD5OfBuffer(message.data(), static_cast<uint32_t>(message.size()), digest);
        EXPECT_EQ(hex(digest), expected) << message.size() << " octets: \"" << message << '"';
    }
}

TEST(Md5Test, AStreamDigestCoversItsBufferUpToThePosition) {
    char buffer[64] = "message digest and more that is not written yet";
    ZELCdrStream stream;
    ZELCdrStream_init(&stream, buffer, sizeof buffer, ZEL_CDR_BIG_ENDIAN);
    ASSERT_TRUE(ZELCdrStream_setCurrentPositionOffset(&stream, 5));
    ZELCdrStream_resetAlignment(&stream);  // the origin does not matter, the buffer start does
    ASSERT_TRUE(ZELCdrStream_setCurrentPositionOffset(&stream, 14));
    unsigned char digest[16];
    ZELCdrStream_computeMD5(&stream, digest);
    EXPECT_EQ(hex(digest), "f96b697d7cb7938d525a2f31aaf161d0");
}

}  // namespace
