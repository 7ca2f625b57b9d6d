#include <gtest/gtest.h>
#include <kxcore7/conversion.h>

#include <algorithm>
#include <memory>
#include <string>

#include "support/locales.h"

using kx::test::InLocale;
using kx::test::kMultiByteLocale;

namespace {

constexpr size_t kFailed = ~size_t{0};

}  // namespace

TEST(AnsiToUnicode, CopiesAsciiAndTerminatesWhereItFits) {
    char16_t buffer[8];
    for (size_t count = 0; count < 8; ++count) {
        std::fill(buffer, buffer + 8, u'#');
        EXPECT_EQ(std::min<size_t>(count, 4), KXAnsiToUnicode(buffer, "abcd", count)) << count;
        std::u16string expected = std::u16string(u"abcd\0", 5).substr(0, count);
        expected.resize(8, u'#');
        EXPECT_EQ(expected, std::u16string(buffer, 8)) << count;
    }
}

TEST(AnsiToUnicode, ReadsNothingBehindTheCount) {
    const auto source = std::make_unique<char[]>(3);
    std::copy_n("abc", 3, source.get());
    char16_t buffer[4];
    EXPECT_EQ(3u, KXAnsiToUnicode(buffer, source.get(), 3));
}

TEST(AnsiToUnicode, ConvertsInTheLocale) {
    const InLocale locale(kMultiByteLocale.name);
    const std::string text = std::string("ab") + kMultiByteLocale.narrow + "z";
    char16_t buffer[16];
    EXPECT_EQ(4u, KXAnsiToUnicode(buffer, text.c_str(), 16));
    EXPECT_EQ(u"ab" + std::u16string(kMultiByteLocale.wide) + u"z", buffer);
    EXPECT_EQ(4u, KXAnsiToUnicode(nullptr, text.c_str(), 0)) << "the query ignores the count";
    EXPECT_EQ(3u, KXAnsiToUnicode(buffer, text.c_str(), 3));
}

TEST(AnsiToUnicode, OfBadTextGivesOneLessThanItsAsciiPrefix) {
    const InLocale locale(kMultiByteLocale.name);
    char16_t buffer[16];
    EXPECT_EQ(1u, KXAnsiToUnicode(buffer, "ab\xFFz", 16));
    EXPECT_EQ(1u, KXAnsiToUnicode(nullptr, "ab\xFFz", 0));
    EXPECT_EQ(kFailed, KXAnsiToUnicode(buffer, "\xFF", 16));
    EXPECT_EQ(kFailed, KXAnsiToUnicode(nullptr, "\xFF", 0));
}

TEST(AnsiToUnicode, OfAsciiIsTheSameInEveryLocale) {
    std::string ascii;
    for (char byte = 1; byte < 0x7F; ++byte) ascii += byte;
    for (const char* const name : {"C", kMultiByteLocale.name}) {
        const InLocale locale(name);
        EXPECT_EQ(ascii.size(), KXAnsiToUnicode(nullptr, ascii.c_str(), 0));
        std::u16string wide(ascii.size(), u'\0');
        KXAnsiToUnicode(wide.data(), ascii.c_str(), wide.size());
        EXPECT_EQ(std::u16string(ascii.begin(), ascii.end()), wide);
    }
}
