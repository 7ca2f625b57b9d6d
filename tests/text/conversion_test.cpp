#include <gtest/gtest.h>
#include <kxcore7/conversion.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <string>

#include "support/locales.h"
#include "text/flavours.h"

using namespace kx::test;
using namespace std::string_literals;
using namespace std::string_view_literals;

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
    const std::string text = "ab"s + kMultiByteLocale.narrow + "z";
    char16_t buffer[16];
    EXPECT_EQ(4u, KXAnsiToUnicode(buffer, text.c_str(), 16));
    EXPECT_EQ(u"ab"s + kMultiByteLocale.wide + u"z", buffer);
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
    for (const char* const name : kEveryLocale) {
        const InLocale locale(name);
        EXPECT_EQ(ascii.size(), KXAnsiToUnicode(nullptr, ascii.c_str(), 0));
        std::u16string wide(ascii.size(), u'\0');
        KXAnsiToUnicode(wide.data(), ascii.c_str(), wide.size());
        EXPECT_EQ(std::u16string(ascii.begin(), ascii.end()), wide);
    }
}

TEST(AnsiToUnicode, OfAsciiAsLongAsTheCountGetsNoTerminator) {
    Buffer<char16_t> buffer;
    EXPECT_EQ(5u, KXAnsiToUnicode(buffer.Get(), "hello", 5));
    EXPECT_EQ(u"hello#######"s, buffer.All());
    EXPECT_EQ(5u, KXAnsiToUnicode(buffer.Get(), "world", 6));
    EXPECT_EQ(u"world\0######"s, buffer.All());
}

TEST(AnsiToUnicode, OfNothingOrIntoNothingIsZero) {
    Buffer<char16_t> buffer;
    EXPECT_EQ(0u, KXAnsiToUnicode(buffer.Get(), "abc", 0));
    EXPECT_EQ(0u, KXAnsiToUnicode(buffer.Get(), "\xFF", 0));
    EXPECT_EQ(u"############"s, buffer.All());
    EXPECT_EQ(0u, KXAnsiToUnicode(nullptr, "", 5));
    EXPECT_EQ(0u, KXAnsiToUnicode(buffer.Get(), "", 5));
    EXPECT_EQ(u"\0###########"s, buffer.All());
}

TEST(AnsiToUnicode, OfBytesFollowsTheLocale) {
    char16_t buffer[8];
    {
        const InLocale locale(kWesternLocale);
        EXPECT_EQ(3u, KXAnsiToUnicode(buffer, "a\xC4\xF6", 8));
        EXPECT_EQ(u"a\u00C4\u00F6"s, buffer);
    }
    const InLocale locale(kTurkishLocale);
    EXPECT_EQ(3u, KXAnsiToUnicode(buffer, "a\xDE\xFE", 8));
    EXPECT_EQ(u"a\u015E\u015F"s, buffer);
}

// --- KXAnsiToWstring -----------------------------------------------------------------------------

TEST(AnsiToWstring, ConvertsInTheLocaleAndTerminatesWhereItFits) {
    const InLocale locale(kMultiByteLocale.name);
    const std::string text = "ab"s + kMultiByteLocale.narrow + "z";
    const std::u16string wide = u"ab"s + kMultiByteLocale.wide + u"z";
    for (size_t count = 1; count < 9; ++count) {
        Buffer<char16_t> buffer;
        EXPECT_EQ(std::min<size_t>(count, 4), KXAnsiToWstring(buffer.Get(), text.c_str(), count));
        std::u16string expected = wide.substr(0, count);
        if (count > 4) expected += u'\0';
        expected.resize(12, u'#');
        EXPECT_EQ(expected, buffer.All()) << count;
    }
}

TEST(AnsiToWstring, OfAnEmptySourceStoresATerminator) {
    for (const size_t count : {size_t{1}, size_t{2}, size_t{12}}) {
        Buffer<char16_t> buffer;
        EXPECT_EQ(0u, KXAnsiToWstring(buffer.Get(), "", count));
        EXPECT_EQ(u"\0###########"s, buffer.All()) << count;
    }
}

TEST(AnsiToWstring, WithCountZeroStoresNothing) {
    Buffer<char16_t> buffer;
    EXPECT_EQ(0u, KXAnsiToWstring(buffer.Get(), "", 0));
    EXPECT_EQ(0u, KXAnsiToWstring(buffer.Get(), "abc", 0));
    EXPECT_EQ(u"############"s, buffer.All());
}

TEST(AnsiToWstring, OfBadTextIsZeroAndAnEmptyString) {
    const InLocale locale(kMultiByteLocale.name);
    for (const char* const text : {"\xFF", "ab\xFFz"}) {
        Buffer<char16_t> buffer;
        EXPECT_EQ(0u, KXAnsiToWstring(buffer.Get(), text, 12));
        EXPECT_EQ(0, buffer.All()[0]);
    }
}

// --- KXUnicodeToAnsi and KXUnicodeToString -------------------------------------------------------

TEST(UnicodeToAnsi, ConvertsInTheLocaleAndTerminatesWhereItFits) {
    const InLocale locale(kMultiByteLocale.name);
    const std::u16string text = u"a"s + kMultiByteLocale.wide + u"z";
    const std::string narrow = "a"s + kMultiByteLocale.narrow + "z";
    for (size_t count = 0; count < 9; ++count) {
        // A character is written whole or not at all.
        const size_t produced = count == 2 ? 1 : std::min<size_t>(count, 4);
        Buffer<char> ansi;
        EXPECT_EQ(produced, KXUnicodeToAnsi(ansi.Get(), text.c_str(), count)) << count;
        std::string expected = narrow.substr(0, produced);
        if (count > 4) expected += '\0';
        expected.resize(12, '#');
        // The places that are left at the end are the runtime's to use.
        EXPECT_EQ(expected.substr(0, produced), ansi.All().substr(0, produced)) << count;
        EXPECT_EQ(expected.substr(count), ansi.All().substr(count)) << count;
        EXPECT_EQ(count > 4, produced == 4 && ansi.All()[4] == '\0') << count;
        Buffer<char> checked;
        EXPECT_EQ(produced, KXUnicodeToString(checked.Get(), text.c_str(), count)) << count;
        EXPECT_EQ(ansi.All(), checked.All()) << count;
    }
}

TEST(UnicodeToAnsi, WithoutADestinationTellsTheBytesNeeded) {
    const InLocale locale(kMultiByteLocale.name);
    const std::u16string text = u"a"s + kMultiByteLocale.wide + u"z";
    EXPECT_EQ(4u, KXUnicodeToAnsi(nullptr, text.c_str(), 0));
    EXPECT_EQ(4u, KXUnicodeToAnsi(nullptr, text.c_str(), 2)) << "the query ignores the count";
    EXPECT_EQ(0u, KXUnicodeToAnsi(nullptr, u"", 0));
}

TEST(UnicodeToAnsi, OfACharacterThatTheLocaleHasNotIsAllBitsOne) {
    for (const char* const name : {"C", kWesternLocale}) {
        const InLocale locale(name);
        char buffer[16];
        EXPECT_EQ(kFailed, KXUnicodeToAnsi(buffer, u"\u4E2D", 16)) << name;
        EXPECT_EQ(kFailed, KXUnicodeToAnsi(buffer, u"ab\u4E2Dz", 16)) << name;
    }
}

TEST(UnicodeToString, OfACharacterThatTheLocaleHasNotIsZeroAndAnEmptyString) {
    const InLocale locale(kWesternLocale);
    for (const char16_t* const text : {u"\u4E2D", u"ab\u4E2Dz"}) {
        Buffer<char> buffer;
        EXPECT_EQ(0u, KXUnicodeToString(buffer.Get(), text, 12));
        EXPECT_EQ('\0', buffer.All()[0]);
    }
}

TEST(UnicodeToString, OfAnEmptySourceIsZeroAndAnEmptyString) {
    Buffer<char> buffer;
    EXPECT_EQ(0u, KXUnicodeToString(buffer.Get(), u"", 5));
    EXPECT_EQ("\0###########"s, buffer.All());
    Buffer<char> other;
    EXPECT_EQ(0u, KXUnicodeToAnsi(other.Get(), u"", 5));
    EXPECT_EQ("\0###########"s, other.All());
}

TEST(UnicodeToString, IsTheWayBackFromWideText) {
    for (const char* const name : {kWesternLocale, kTurkishLocale}) {
        const InLocale locale(name);
        std::string bytes;
        for (int byte = 1; byte < 0x100; ++byte) {
            // From 0x80 to 0x9F stand controls, or what not all systems have.
            if (byte < 0x80 || byte >= 0xA0) bytes += static_cast<char>(byte);
        }
        char16_t wide[256];
        char back[256];
        ASSERT_EQ(bytes.size(), KXAnsiToWstring(wide, bytes.c_str(), 256)) << name;
        ASSERT_EQ(bytes.size(), KXUnicodeToString(back, wide, 256)) << name;
        EXPECT_EQ(bytes, back);
    }
}

// --- UTF-16 and UTF-8 ----------------------------------------------------------------------------

namespace {

constexpr const char16_t* kWide = u"a\u00E9\u20AC\U0001F600";
constexpr const char* kUtf8 = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
constexpr const char16_t kLone[] = {u'a', 0xD800, u'b', 0};
constexpr const char* kIllFormed[] = {"a\xC3", "\x80", "\xED\xA0\x80", "\xC0\x80", "a\xFFz"};

}  // namespace

TEST(Utf16ToUtf8, ConvertsAndGivesTheLength) {
    Buffer<char> buffer;
    EXPECT_EQ(10, KXUTF16ToUTF8(buffer.Get(), kWide, 12));
    EXPECT_EQ(std::string(kUtf8) + "\0#"s, buffer.All());
    EXPECT_EQ(0, KXUTF16ToUTF8(buffer.Get(), u"", 12));
    EXPECT_EQ('\0', buffer.All()[0]);
}

TEST(Utf16ToUtf8, GivesTheWholeLengthWhereNotAllFits) {
    Buffer<char> buffer;
    EXPECT_EQ(6, KXUTF16ToUTF8(buffer.Get(), u"abcdef", 4));
    EXPECT_EQ("abcd########"s, buffer.All());
    EXPECT_EQ(6, KXUTF16ToUTF8(buffer.Get(), u"ghijkl", 6));
    EXPECT_EQ("ghijkl######"s, buffer.All()) << "no room for a terminator";
    EXPECT_EQ(6, KXUTF16ToUTF8(nullptr, u"abcdef", 0));
    EXPECT_EQ(10, KXUTF16ToUTF8(nullptr, kWide, 0));
}

TEST(Utf16ToUtf8, OfIllFormedTextGivesTheCapacity) {
    char buffer[16];
    EXPECT_EQ(16, KXUTF16ToUTF8(buffer, kLone, 16));
    EXPECT_EQ(3, KXUTF16ToUTF8(buffer, kLone, 3));
    EXPECT_EQ(0, KXUTF16ToUTF8(nullptr, kLone, 0));
}

TEST(Utf16ToUtf8, OfBadArgumentsGivesTheCapacity) {
    char buffer[16];
    EXPECT_EQ(16, KXUTF16ToUTF8(buffer, nullptr, 16));
    EXPECT_EQ(7, KXUTF16ToUTF8(nullptr, u"abc", 7));
    EXPECT_EQ(-1, KXUTF16ToUTF8(buffer, u"abc", -1));
}

TEST(Utf8ToUtf16, ConvertsAndGivesTheLength) {
    Buffer<char16_t> buffer;
    EXPECT_EQ(5, KXUTF8ToUTF16(buffer.Get(), kUtf8, 12));
    EXPECT_EQ(std::u16string(kWide) + u"\0######"s, buffer.All());
}

TEST(Utf8ToUtf16, GivesTheWholeLengthWhereNotAllFits) {
    Buffer<char16_t> buffer;
    EXPECT_EQ(6, KXUTF8ToUTF16(buffer.Get(), "abcdef", 4));
    EXPECT_EQ(u"abcd########"s, buffer.All());
    EXPECT_EQ(6, KXUTF8ToUTF16(nullptr, "abcdef", 0));
    EXPECT_EQ(5, KXUTF8ToUTF16(nullptr, kUtf8, 0));
}

TEST(Utf8ToUtf16, OfIllFormedTextOrBadArgumentsGivesTheCapacity) {
    char16_t buffer[16];
    for (const char* const text : kIllFormed) EXPECT_EQ(16, KXUTF8ToUTF16(buffer, text, 16));
    EXPECT_EQ(16, KXUTF8ToUTF16(buffer, nullptr, 16));
    EXPECT_EQ(7, KXUTF8ToUTF16(nullptr, "abc", 7));
}

TEST(Utf16ToUtf8N, ConvertsSoManyUnits) {
    Buffer<char> buffer;
    int length = -7;
    EXPECT_EQ(buffer.Get(), KXUTF16ToUTF8N(buffer.Get(), 12, &length, kWide, 3));
    EXPECT_EQ(6, length);
    EXPECT_EQ(std::string(kUtf8, 6) + "\0#####"s, buffer.All());
    EXPECT_EQ(buffer.Get(), KXUTF16ToUTF8N(buffer.Get(), 12, &length, u"a\0b", 3));
    EXPECT_EQ(3, length) << "a zero is a character like others";
    EXPECT_EQ("a\0b\0"s, buffer.All().substr(0, 4));
    EXPECT_EQ(buffer.Get(), KXUTF16ToUTF8N(buffer.Get(), 12, &length, u"xy", -1));
    EXPECT_EQ(2, length);
    EXPECT_EQ(buffer.Get(),
              KXUTF16ToUTF8N(buffer.Get(), 12, nullptr, Tight<char16_t>(u"pqr"sv).get(), 3));
    EXPECT_STREQ("pqr", buffer.Get());
}

TEST(Utf16ToUtf8N, TellsByTheLengthAloneThatNotAllFits) {
    Buffer<char> buffer;
    int length = -7;
    EXPECT_EQ(buffer.Get(), KXUTF16ToUTF8N(buffer.Get(), 2, &length, u"abc", 3));
    EXPECT_EQ(3, length);
    EXPECT_EQ("ab##########"s, buffer.All());
    EXPECT_EQ(nullptr, KXUTF16ToUTF8N(nullptr, 0, &length, kWide, -1)) << "dst, which is null";
    EXPECT_EQ(10, length);
}

TEST(Utf16ToUtf8N, OfIllFormedTextOrBadArgumentsIsNull) {
    char buffer[16];
    int length = -7;
    EXPECT_EQ(nullptr, KXUTF16ToUTF8N(buffer, 16, &length, kLone, -1));
    EXPECT_EQ(nullptr, KXUTF16ToUTF8N(buffer, 16, nullptr, kLone, 2));
    EXPECT_EQ(nullptr, KXUTF16ToUTF8N(buffer, 16, nullptr, nullptr, 3));
    EXPECT_EQ(nullptr, KXUTF16ToUTF8N(nullptr, 16, nullptr, u"abc", 3));
    EXPECT_EQ(nullptr, KXUTF16ToUTF8N(buffer, -1, nullptr, u"abc", 3));
    EXPECT_EQ(nullptr, KXUTF16ToUTF8N(buffer, 16, nullptr, u"abc", -2));
    EXPECT_EQ(buffer, KXUTF16ToUTF8N(buffer, 16, nullptr, kLone, 1))
        << "the text before it is good";
}

TEST(Utf8ToUtf16N, ConvertsSoManyBytes) {
    Buffer<char16_t> buffer;
    int length = -7;
    EXPECT_EQ(buffer.Get(), KXUTF8ToUTF16N(buffer.Get(), 12, &length, kUtf8, 6));
    EXPECT_EQ(3, length);
    EXPECT_EQ(std::u16string(kWide, 3) + u"\0########"s, buffer.All());
    EXPECT_EQ(buffer.Get(), KXUTF8ToUTF16N(buffer.Get(), 2, &length, "abc", -1));
    EXPECT_EQ(3, length);
    EXPECT_EQ(u"ab"s, buffer.All().substr(0, 2));
    EXPECT_EQ(buffer.Get(),
              KXUTF8ToUTF16N(buffer.Get(), 12, nullptr, Tight<char>("pqr"sv).get(), 3));
    EXPECT_EQ(u"pqr"s, buffer.Get());
}

TEST(Utf8ToUtf16N, OfIllFormedTextOrBadArgumentsIsNull) {
    char16_t buffer[16];
    int length = -7;
    for (const char* const text : kIllFormed) {
        EXPECT_EQ(nullptr, KXUTF8ToUTF16N(buffer, 16, &length, text, -1));
    }
    EXPECT_EQ(nullptr, KXUTF8ToUTF16N(buffer, 16, nullptr, nullptr, 3));
    EXPECT_EQ(nullptr, KXUTF8ToUTF16N(nullptr, 16, nullptr, "abc", 3));
    EXPECT_EQ(nullptr, KXUTF8ToUTF16N(nullptr, 0, &length, "abc", 3)) << "dst, which is null";
    EXPECT_EQ(3, length);
}

// --- Walking -------------------------------------------------------------------------------------

namespace {

struct Step {
    char32_t point;
    std::ptrdiff_t units;
    friend bool operator==(const Step&, const Step&) = default;
};

Step Next(const char16_t* text, int remaining) {
    const char16_t* cursor = text;
    const char32_t point = KXNextCharUTF16(&cursor, remaining);
    return {point, cursor - text};
}

}  // namespace

TEST(NextCharUtf16, GoesThroughTextACodePointAtATime) {
    const char16_t* cursor = kWide;
    std::u32string points;
    while (const char32_t point = KXNextCharUTF16(&cursor, -1)) points += point;
    EXPECT_EQ(U"a\u00E9\u20AC\U0001F600"s, points);
    EXPECT_EQ(kWide + 6, cursor) << "the terminator was passed, too";
    EXPECT_EQ((Step{0x10FFFF, 2}), Next(u"\U0010FFFF", 2));
    EXPECT_EQ((Step{0x10000, 2}), Next(u"\U00010000", 5));
    EXPECT_EQ((Step{0xFFFF, 1}), Next(u"\uFFFF", 2));
}

TEST(NextCharUtf16, GivesSurrogatesOutsideOfPairsAsTheyAre) {
    const char16_t twoLeads[] = {0xD800, 0xD801, 0xDC00, 0};
    EXPECT_EQ((Step{0xD800, 1}), Next(twoLeads, 3));
    EXPECT_EQ((Step{0x10400, 2}), Next(twoLeads + 1, 2));
    EXPECT_EQ((Step{0xDC00, 1}), Next(twoLeads + 2, 2));
    const char16_t edges[] = {0xDBFF, 0xE000, 0xDBFF, 0xDFFF, 0xD7FF, 0xDC00, 0};
    EXPECT_EQ((Step{0xDBFF, 1}), Next(edges, 6));
    EXPECT_EQ((Step{0x10FFFF, 2}), Next(edges + 2, 4));
    EXPECT_EQ((Step{0xD7FF, 1}), Next(edges + 4, 2));
    const char16_t atTheEnd[] = {0xD800, 0};
    EXPECT_EQ((Step{0xD800, 1}), Next(atTheEnd, -1));
}

TEST(NextCharUtf16, OnALeadWithOneUnitLeftDoesNotReadTheNext) {
    const char16_t lead = 0xD83D;
    EXPECT_EQ((Step{0xD83D, 1}), Next(Tight<char16_t>({&lead, 1}).get(), 1));
    EXPECT_EQ((Step{0xD83D, 1}), Next(u"\U0001F600", 1));
}

TEST(NextCharUtf16, WithNothingLeftStays) {
    EXPECT_EQ((Step{0, 0}), Next(u"a", 0));
    EXPECT_EQ((Step{0, 0}), Next(u"a", -2));
    EXPECT_EQ((Step{0, 0}), Next(u"a", std::numeric_limits<int>::min()));
    EXPECT_EQ((Step{0, 1}), Next(u"", 1)) << "a terminator is passed";
    EXPECT_EQ((Step{0, 1}), Next(u"", -1));
}

// --- The byte-order mark -------------------------------------------------------------------------

TEST(Utf8Bom, IsThreeBytesAndATerminator) {
    EXPECT_EQ("\xEF\xBB\xBF\0"s, std::string(KXUtf8BomStr, 4));
}

TEST(Utf8Bom, IsFoundAtTheStart) {
    EXPECT_EQ(1, KXIsUtf8BomStr(KXUtf8BomStr));
    EXPECT_EQ(1, KXIsUtf8BomStr(Tight<char>("\xEF\xBB\xBF"sv).get()));
    EXPECT_EQ(1, KXIsUtf8BomStr("\xEF\xBB\xBF"
                                "text"));
    EXPECT_EQ(0, KXIsUtf8BomStr("a\xEF\xBB\xBF"));
    EXPECT_EQ(0, KXIsUtf8BomStr("\xEF\xBB\xBE"));
    EXPECT_EQ(0, KXIsUtf8BomStr("text"));
}

TEST(Utf8Bom, IsNotLookedForBehindTheFirstOtherByte) {
    for (const auto text : {"\0"sv, "\xEF\0"sv, "\xEF\xBB\0"sv, "x"sv, "\xEFx"sv, "\xEF\xBBx"sv}) {
        EXPECT_EQ(0, KXIsUtf8BomStr(Tight<char>(text).get()));
    }
}
