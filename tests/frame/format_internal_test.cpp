#include "frame/format.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include "support/locales.h"

using kx::test::kMultiByteLocale;

namespace {

template <typename... Arguments>
std::u16string Formatted(const char16_t* format, Arguments... arguments) {
    char16_t text[512];
    kx::core::Format(text, 512, format, arguments...);
    return text;
}

}  // namespace

TEST(Format, StringsAreWideAndNarrowAsOnTheDesignTarget) {
    EXPECT_EQ(u"a wide b", Formatted(u"a %s b", u"wide"));
    EXPECT_EQ(u"a wide b", Formatted(u"a %ls b", u"wide"));
    EXPECT_EQ(u"a wide b", Formatted(u"a %lS b", u"wide"));
    EXPECT_EQ(u"a narrow b", Formatted(u"a %hs b", "narrow"));
    EXPECT_EQ(u"a narrow b", Formatted(u"a %S b", "narrow"));
    EXPECT_EQ(u"a narrow b", Formatted(u"a %hhs b", "narrow"));
    EXPECT_EQ(u"a wide b", Formatted(u"a %ws b", u"wide"));
}

TEST(Format, CharactersFollowTheStrings) {
    EXPECT_EQ(u"\u4E2D", Formatted(u"%c", u'\u4E2D'));
    EXPECT_EQ(u"\u4E2D", Formatted(u"%lc", u'\u4E2D'));
    EXPECT_EQ(u"n", Formatted(u"%hc", 'n'));
    EXPECT_EQ(u"n", Formatted(u"%C", 'n'));
}

TEST(Format, NumbersAreThoseOfTheCLibrary) {
    EXPECT_EQ(u"-5 5 ff FF 0xff 17", Formatted(u"%d %u %x %X %#x %o", -5, 5, 255, 255, 255, 15));
    EXPECT_EQ(u"[   7][7   ][0007][+7]", Formatted(u"[%4d][%-4d][%04d][%+d]", 7, 7, 7, 7));
    EXPECT_EQ(u"[  007]", Formatted(u"[%*.*d]", 5, 3, 7));
    EXPECT_EQ(u"[7    ]", Formatted(u"[%*d]", -5, 7)) << "a negative width justifies left";
    EXPECT_EQ(u"[0]", Formatted(u"[%.*d]", -1, 0)) << "a negative precision is none";
    EXPECT_EQ(u"+7", Formatted(u"%+++++++++++++d", 7)) << "a flag counts once";
    EXPECT_EQ(u"1.50 1.5e+00 1.5", Formatted(u"%.2f %.1e %g", 1.5, 1.5, 1.5));
    EXPECT_EQ(u"2.5", Formatted(u"%Lg", 2.5L));
    EXPECT_EQ(u"%", Formatted(u"%%"));
}

TEST(Format, LengthsReadArgumentsOfTheirWidth) {
    EXPECT_EQ(u"-1 65535 -1 255", Formatted(u"%hd %hu %hhd %hhu", -1, -1, -1, -1));
    EXPECT_EQ(u"-2 3", Formatted(u"%ld %lu", -2L, 3UL));
    EXPECT_EQ(u"-9000000000", Formatted(u"%lld", -9'000'000'000LL));
    EXPECT_EQ(u"-9000000000", Formatted(u"%I64d", std::int64_t{-9'000'000'000}));
    EXPECT_EQ(u"-9", Formatted(u"%I32d", std::int32_t{-9}));
    EXPECT_EQ(u"12", Formatted(u"%Iu", std::size_t{12}));
    const std::string lowest = std::to_string(PTRDIFF_MIN);
    EXPECT_EQ(std::u16string(lowest.begin(), lowest.end()), Formatted(u"%Id", PTRDIFF_MIN));
    EXPECT_EQ(u"12 -13", Formatted(u"%zu %td", std::size_t{12}, std::ptrdiff_t{-13}));
    EXPECT_EQ(u"18446744073709551615", Formatted(u"%ju", UINTMAX_MAX));
    EXPECT_EQ(u"ffffffffffffffff", Formatted(u"%llx", ~0ULL));
}

TEST(Format, FieldsOfStringsAreInUnits) {
    EXPECT_EQ(u"[  ab][ab  ][a]", Formatted(u"[%4s][%-4s][%.1s]", u"ab", u"ab", u"ab"));
    EXPECT_EQ(u"[  ab][ab  ][a]", Formatted(u"[%4hs][%-4hs][%.1hs]", "ab", "ab", "ab"));
}

TEST(Format, APrecisionBoundsWhatIsReadOfAString) {
    const char16_t wide[] = {u'a', u'b'};
    const char narrow[] = {'a', 'b'};
    EXPECT_EQ(u"ab", Formatted(u"%.2s", wide));
    EXPECT_EQ(u"ab", Formatted(u"%.2hs", narrow));
}

TEST(Format, NullStringsAreShown) {
    EXPECT_EQ(u"(null)", Formatted(u"%s", static_cast<const char16_t*>(nullptr)));
    EXPECT_EQ(u"(null)", Formatted(u"%hs", static_cast<const char*>(nullptr)));
}

TEST(Format, CountIsNotWritten) {
    int count = 77;
    EXPECT_EQ(u"ab", Formatted(u"a%nb", &count));
    EXPECT_EQ(77, count);
    EXPECT_EQ(u"5", Formatted(u"%n%d", &count, 5)) << "its argument is passed over";
}

TEST(Format, WhatIsNoConversionStandsAsWritten) {
    EXPECT_EQ(u"%q", Formatted(u"%q"));
    EXPECT_EQ(u"%", Formatted(u"%"));
    EXPECT_EQ(u"a%-5", Formatted(u"a%-5"));
    EXPECT_EQ(u"%\u0416", Formatted(u"%\u0416"));
    EXPECT_EQ(u"%\u012Bd", Formatted(u"%\u012Bd", 5)) << "its low byte is a flag";
}

TEST(Format, HugeFieldsAreCut) {
    EXPECT_EQ(511u, Formatted(u"%999999999999d", 1).size());
    EXPECT_EQ(511u, Formatted(u"%*s", 2'000'000'000, u"").size());
    EXPECT_EQ(511u, Formatted(u"%.99999f", 1.0).size());
    EXPECT_EQ(309u, Formatted(u"%.0f", 1e308).size());
}

TEST(Format, OutputIsCutAtEverySizeWithATerminator) {
    for (std::size_t size = 1; size < 12; ++size) {
        char16_t text[13];
        std::fill(text, text + 13, u'#');
        kx::core::Format(text, size, u"%hs%s", "abcde", u"fghij");
        EXPECT_EQ(std::u16string(u"abcdefghij").substr(0, size - 1), text);
        EXPECT_EQ(u'#', text[size]);
    }
}

TEST(Format, NarrowTextIsReadInTheLocale) {
    const kx::test::InLocale locale(kMultiByteLocale.name);
    const std::string narrow = kMultiByteLocale.narrow;
    EXPECT_EQ(kMultiByteLocale.wide + std::u16string(u"z"),
              Formatted(u"%hs", (narrow + "z").c_str()));
    EXPECT_EQ(std::u16string(511, u'?'), Formatted(u"%hs", std::string(2'000, '\xFF').c_str()));
    EXPECT_EQ(u"a?(b", Formatted(u"%hs", "a\xFF(b")) << "a byte that is no character";
}
