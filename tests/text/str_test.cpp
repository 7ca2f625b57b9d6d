#include <gtest/gtest.h>
#include <kxcore7/str.h>

#include <algorithm>
#include <string>

TEST(Str, LenWCountsUnits) {
    EXPECT_EQ(0u, KXStrLenW(u""));
    EXPECT_EQ(3u, KXStrLenW(u"abc"));
    EXPECT_EQ(2u, KXStrLenW(u"\U0001F600"));
}

TEST(Str, NCpyWPadsAndDoesNotTerminate) {
    char16_t buffer[8];
    std::fill(buffer, buffer + 8, u'#');
    EXPECT_EQ(buffer, KXStrNCpyW(buffer, u"ab", 5));
    EXPECT_EQ(std::u16string(u"ab\0\0\0###", 8), std::u16string(buffer, 8));
    std::fill(buffer, buffer + 8, u'#');
    KXStrNCpyW(buffer, u"abcdef", 3);
    EXPECT_EQ(std::u16string(u"abc#####"), std::u16string(buffer, 8));
    KXStrNCpyW(buffer, u"x", 0);
    EXPECT_EQ(u'a', buffer[0]);
}
