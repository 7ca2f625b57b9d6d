#include "platform/posix/utf8.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

using namespace kx::platform;

namespace {

std::u16string RandomUnits(std::mt19937& random) {
    std::u16string text(random() % 12, u'\0');
    for (char16_t& unit : text) {
        const auto pick = static_cast<char16_t>(random());
        // Surrogates of both kinds are to meet often.
        unit = pick % 3 == 0 ? static_cast<char16_t>(0xD800 | (pick & 0x7FF)) : pick;
    }
    return text;
}

}  // namespace

TEST(Utf8, EncodesEveryLength) {
    EXPECT_EQ("aé中😀", Utf8FromUtf16(u"aé中😀"));
    EXPECT_EQ(u"aé中😀", Utf16FromUtf8("aé中😀"));
    EXPECT_EQ("aé中😀", PathFromWide(u"aé中😀"));
    EXPECT_EQ(u"aé中😀", WideFromPath("aé中😀"));
}

TEST(Utf8, AnyUnitsComeBack) {
    std::mt19937 random(7);
    for (int i = 0; i < 20'000; ++i) {
        const std::u16string text = RandomUnits(random);
        ASSERT_EQ(text, Utf16FromUtf8(Utf8FromUtf16(text)));
    }
}

TEST(Utf8, AnyPathComesBack) {
    std::mt19937 random(7);
    for (int i = 0; i < 20'000; ++i) {
        std::string path(random() % 12, '\0');
        for (char& byte : path) byte = static_cast<char>(random() % 4 == 0 ? 0xED : random());
        ASSERT_EQ(path, PathFromWide(WideFromPath(path)));
    }
}

TEST(Utf8, BytesThatAreNoUtf8TravelAsLoneLowSurrogates) {
    EXPECT_EQ((std::u16string{u'a', char16_t(0xDC80), char16_t(0xDCFF), u'b'}),
              WideFromPath("a\x80\xFF"
                           "b"));
    for (const char* const bad :
         {"\xC0\x80", "\xC3", "\xE4\xB8", "\xED\xA0\x80", "\xF5\x80\x80\x80", "\xF0\x80\x80\x80",
          "\xF0\x8F\xBF\xBF", "\xE0\x9F\xBF", "\xC1\xBF", "\xF4\x90\x80\x80"}) {
        for (const char16_t unit : WideFromPath(bad)) {
            EXPECT_TRUE(unit >= 0xDC80 && unit <= 0xDCFF) << bad;
        }
    }
}

TEST(Utf8, ForeignBytesBecomeReplacementCharacters) {
    EXPECT_EQ(u"a\uFFFDb", Utf16FromUtf8("a\xFF"
                                         "b"));
    EXPECT_EQ(u"\uFFFD\uFFFD", Utf16FromUtf8("\xE4\xB8"));
}

TEST(Utf8, BoundedOutputHoldsWholeCharacters) {
    const std::string full = "aé中😀";
    const std::size_t ends[] = {0, 1, 3, 6, 10};
    for (std::size_t size = 1; size <= 12; ++size) {
        char out[13];
        std::fill(out, out + 13, '#');
        std::size_t expected = 0;
        for (const std::size_t end : ends) {
            if (end < size) expected = end;
        }
        EXPECT_EQ(expected, EncodeUtf8(u"aé中😀", out, size)) << size;
        EXPECT_EQ(full.substr(0, expected), out);
        EXPECT_EQ('#', out[size]);
    }
}
