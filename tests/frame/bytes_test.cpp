#include <gtest/gtest.h>
#include <kxcore7/bytes.h>

#include <cstring>

TEST(Bytes, SwapReversesTheBytes) {
    EXPECT_EQ(0x3412u, KXSwapInt16(0x1234));
    EXPECT_EQ(0x78563412u, KXSwapInt32(0x12345678u));
    EXPECT_EQ(0xEFCDAB8967452301u, KXSwapInt64(0x0123456789ABCDEFu));
}

TEST(Bytes, UnalignedAccessNeedsNoAlignment) {
    unsigned char buffer[16] = {};
    for (size_t offset = 0; offset < 8; ++offset) {
        KXPutUnalignedInt16(buffer + offset, 0x1234);
        EXPECT_EQ(0x1234u, KXGetUnalignedInt16(buffer + offset));
        KXPutUnalignedInt32(buffer + offset, 0x12345678u);
        EXPECT_EQ(0x12345678u, KXGetUnalignedInt32(buffer + offset));
        KXPutUnalignedInt64(buffer + offset, 0x0123456789ABCDEFu);
        EXPECT_EQ(0x0123456789ABCDEFu, KXGetUnalignedInt64(buffer + offset));
    }
}

TEST(Bytes, UnalignedAccessIsInHostOrderAndStaysInItsBytes) {
    unsigned char buffer[6];
    std::memset(buffer, 0xEE, sizeof buffer);
    KXPutUnalignedInt32(buffer + 1, 0x12345678u);
    const uint32_t host = 0x12345678u;
    EXPECT_EQ(0, std::memcmp(buffer + 1, &host, sizeof host));
    EXPECT_EQ(0xEE, buffer[0]);
    EXPECT_EQ(0xEE, buffer[5]);
}
