#include <gtest/gtest.h>
#include <kxcore7/encoding.h>

#include <algorithm>
#include <climits>
#include <string>
#include <vector>

#include "support/results.h"

namespace {

// --- One shape for the six functions -------------------------------------------------------------

template <typename To, typename From>
using Function = KXResult (*)(To*, int, int*, const From*, int, int);

template <typename To>
struct Answer {
    KXResult result;
    int length;
    // All of the target that was given, '#' where nothing was written.
    std::basic_string<To> target;
    // Of that, the text.
    std::basic_string<To> text;
};

constexpr int kTerminated = -1;
constexpr int kStop = -1;

// Calls a function with a target of so many units.
template <typename To, typename From>
Answer<To> Call(Function<To, From> function, const From* source, int length, int capacity,
                int substitution) {
    std::basic_string<To> target(static_cast<std::size_t>(capacity) + 2, To{'#'});
    int needed = -77;
    const KXResult result =
        function(target.data(), capacity, &needed, source, length, substitution);
    const auto written = static_cast<std::size_t>(std::clamp(needed, 0, capacity));
    return {result, needed, target, target.substr(0, written)};
}

// Counted text, with room for all of it.
template <typename To, typename From>
Answer<To> CallAmply(Function<To, From> function, const std::basic_string<From>& source,
                     int substitution = kStop) {
    const auto length = static_cast<int>(source.size());
    return Call(function, source.data(), length, 6 * length + 8, substitution);
}

template <typename To, typename From>
void ExpectConverted(Function<To, From> function, const std::basic_string<From>& source,
                     const std::basic_string<To>& expected, int substitution = kStop) {
    const Answer<To> answer = CallAmply(function, source, substitution);
    EXPECT_RESULT(KX_S_OK, answer.result);
    EXPECT_EQ(static_cast<int>(expected.size()), answer.length);
    EXPECT_TRUE(expected == answer.text);
}

template <typename To, typename From>
void ExpectRefused(Function<To, From> function, const std::basic_string<From>& source, int result,
                   int substitution = kStop) {
    EXPECT_RESULT(result, CallAmply(function, source, substitution).result);
}

// Every room around what the text needs: filled as far as it goes, and never beyond.
template <typename To, typename From>
void ExpectTheLengthWhateverTheRoom(Function<To, From> function,
                                    const std::basic_string<From>& source,
                                    const std::basic_string<To>& expected) {
    const auto length = static_cast<int>(expected.size());
    for (int capacity = 0; capacity <= length + 2; ++capacity) {
        for (const int given : {kTerminated, static_cast<int>(source.size())}) {
            const Answer<To> answer = Call(function, source.c_str(), given, capacity, kStop);
            EXPECT_RESULT(capacity < length ? 0x80004009 : 0, answer.result) << capacity;
            EXPECT_EQ(length, answer.length) << "what is needed, without a terminator";
            const auto end = static_cast<std::size_t>(capacity);
            EXPECT_EQ(To{'#'}, answer.target[end]) << capacity;
            if (capacity >= length) {
                EXPECT_TRUE(expected == answer.text);
            }
            if (capacity > length) {
                EXPECT_EQ(To{0}, answer.target[expected.size()]);
            }
        }
    }
}

// --- The forms of a code point, by their definitions ---------------------------------------------

std::string Utf8Of(char32_t point) {
    const auto unit = [](char32_t value) { return static_cast<char>(value); };
    const auto trail = [&](int shift) { return unit(0x80 | ((point >> shift) & 0x3F)); };
    if (point < 0x80) return {unit(point)};
    if (point < 0x800) return {unit(0xC0 | (point >> 6)), trail(0)};
    if (point < 0x10000) return {unit(0xE0 | (point >> 12)), trail(6), trail(0)};
    return {unit(0xF0 | (point >> 18)), trail(12), trail(6), trail(0)};
}

std::u16string Utf16Of(char32_t point) {
    if (point < 0x10000) return {static_cast<char16_t>(point)};
    const char32_t bits = point - 0x10000;
    return {static_cast<char16_t>(0xD800 | (bits >> 10)),
            static_cast<char16_t>(0xDC00 | (bits & 0x3FF))};
}

bool IsSurrogate(char32_t point) {
    return point >= 0xD800 && point <= 0xDFFF;
}

// A text in three forms.
struct Forms {
    std::string utf8;
    std::u16string utf16;
    std::u32string utf32;

    void Add(char32_t point) {
        utf8 += Utf8Of(point);
        utf16 += Utf16Of(point);
        utf32 += point;
    }
};

void ExpectAllWays(const Forms& text) {
    ExpectConverted(KXEncUTF8ToUTF16, text.utf8, text.utf16);
    ExpectConverted(KXEncUTF16ToUTF8, text.utf16, text.utf8);
    ExpectConverted(KXEncUTF8ToUTF32, text.utf8, text.utf32);
    ExpectConverted(KXEncUTF32ToUTF8, text.utf32, text.utf8);
    ExpectConverted(KXUTF8ToW, text.utf8, text.utf16);
    ExpectConverted(KXWToUTF8, text.utf16, text.utf8);
}

Forms Mixed() {
    Forms text;
    for (const char32_t point : {U'a', U'\u00E9', U'\u4E2D', U'\U0001F600', U'z'}) text.Add(point);
    return text;
}

}  // namespace

// --- All of Unicode ------------------------------------------------------------------------------

TEST(EncodingUtf, EveryCodePointGoesAllWaysInOneText) {
    Forms all;
    for (char32_t point = 0; point <= 0x10FFFF; ++point) {
        if (!IsSurrogate(point)) all.Add(point);
    }
    ASSERT_EQ(0x10FFFFu + 1 - 0x800, all.utf32.size());
    ExpectAllWays(all);
}

TEST(EncodingUtf, EveryCodePointGoesAllWaysInPieces) {
    constexpr char32_t kPiece = 251;
    for (char32_t first = 0; first <= 0x10FFFF; first += kPiece) {
        Forms piece;
        for (char32_t point = first; point < first + kPiece && point <= 0x10FFFF; ++point) {
            if (!IsSurrogate(point)) piece.Add(point);
        }
        ExpectAllWays(piece);
    }
}

// --- Lengths and room ----------------------------------------------------------------------------

TEST(EncodingUtf, TellsTheLengthNeededWhateverTheRoom) {
    const Forms text = Mixed();
    ExpectTheLengthWhateverTheRoom(KXEncUTF8ToUTF16, text.utf8, text.utf16);
    ExpectTheLengthWhateverTheRoom(KXEncUTF16ToUTF8, text.utf16, text.utf8);
    ExpectTheLengthWhateverTheRoom(KXEncUTF8ToUTF32, text.utf8, text.utf32);
    ExpectTheLengthWhateverTheRoom(KXEncUTF32ToUTF8, text.utf32, text.utf8);
    ExpectTheLengthWhateverTheRoom(KXUTF8ToW, text.utf8, text.utf16);
    ExpectTheLengthWhateverTheRoom(KXWToUTF8, text.utf16, text.utf8);
}

TEST(EncodingUtf, ACountedTextMayHoldZerosAndATerminatedOneEndsThere) {
    Forms text;
    for (const char32_t point : {U'a', U'\0', U'b'}) text.Add(point);
    ExpectAllWays(text);
    for (const int negative : {-1, -2, INT_MIN}) {
        EXPECT_EQ("a", Call(KXEncUTF32ToUTF8, text.utf32.c_str(), negative, 9, kStop).text);
        EXPECT_EQ(U"a", Call(KXEncUTF8ToUTF32, text.utf8.c_str(), negative, 9, kStop).text);
    }
    EXPECT_EQ("a", Call(KXEncUTF16ToUTF8, text.utf16.c_str(), -1, 9, kStop).text);
    EXPECT_EQ(u"a", Call(KXEncUTF8ToUTF16, text.utf8.c_str(), -1, 9, kStop).text);
}

TEST(EncodingUtf, ReadsNothingBehindACountedText) {
    const std::vector<char> utf8 = {'a', 'b'};
    EXPECT_EQ(u"ab", Call(KXEncUTF8ToUTF16, utf8.data(), 2, 9, kStop).text);
    EXPECT_EQ(U"ab", Call(KXEncUTF8ToUTF32, utf8.data(), 2, 9, kStop).text);
    const std::vector<char16_t> utf16 = {u'a', u'b'};
    EXPECT_EQ("ab", Call(KXEncUTF16ToUTF8, utf16.data(), 2, 9, kStop).text);
    const std::vector<char32_t> utf32 = {U'a', U'b'};
    EXPECT_EQ("ab", Call(KXEncUTF32ToUTF8, utf32.data(), 2, 9, kStop).text);
}

TEST(EncodingUtf, OfNothingIsATerminator) {
    EXPECT_EQ(0, Call(KXEncUTF8ToUTF16, "not counted", 0, 9, kStop).length);
    EXPECT_EQ(0, Call(KXEncUTF16ToUTF8, u"not counted", 0, 9, kStop).length);
    EXPECT_EQ(0, Call(KXEncUTF8ToUTF32, "not counted", 0, 9, kStop).length);
    EXPECT_EQ(0, Call(KXEncUTF32ToUTF8, U"not counted", 0, 9, kStop).length);
    ExpectTheLengthWhateverTheRoom(KXEncUTF8ToUTF16, std::string(), std::u16string());
    ExpectTheLengthWhateverTheRoom(KXEncUTF16ToUTF8, std::u16string(), std::string());
    ExpectTheLengthWhateverTheRoom(KXEncUTF8ToUTF32, std::string(), std::u32string());
    ExpectTheLengthWhateverTheRoom(KXEncUTF32ToUTF8, std::u32string(), std::string());
}

TEST(EncodingUtf, The16BitFormsNeedNobodyToTakeTheLength) {
    char utf8[8];
    char16_t utf16[8];
    EXPECT_RESULT(KX_S_OK, KXEncUTF16ToUTF8(utf8, 8, nullptr, u"\u4E2D", -1, kStop));
    EXPECT_STREQ("\xE4\xB8\xAD", utf8);
    EXPECT_RESULT(KX_S_OK, KXEncUTF8ToUTF16(utf16, 8, nullptr, "\xE4\xB8\xAD", -1, kStop));
    EXPECT_EQ(std::u16string(u"\u4E2D"), utf16);
    EXPECT_RESULT(KX_S_OK, KXWToUTF8(utf8, 8, nullptr, u"w", -1, kStop));
    EXPECT_STREQ("w", utf8);
    EXPECT_RESULT(KX_S_OK, KXUTF8ToW(utf16, 8, nullptr, "v", -1, kStop));
    EXPECT_EQ(std::u16string(u"v"), utf16);
    EXPECT_RESULT(KX_CO_E_INIT_CLASS_CACHE, KXEncUTF16ToUTF8(utf8, 2, nullptr, u"abc", -1, kStop));
    EXPECT_RESULT(KX_E_ENC_INVALID, KXEncUTF8ToUTF16(utf16, 8, nullptr, "\xFF", -1, kStop));
}

TEST(EncodingUtf, ATextWithoutATargetTellsItsLength) {
    const Forms text = Mixed();
    int length = -77;
    EXPECT_RESULT(KX_CO_E_INIT_CLASS_CACHE,
                  KXEncUTF16ToUTF8(nullptr, 0, &length, text.utf16.c_str(), -1, kStop));
    EXPECT_EQ(static_cast<int>(text.utf8.size()), length);
    EXPECT_RESULT(KX_CO_E_INIT_CLASS_CACHE,
                  KXEncUTF8ToUTF32(nullptr, 0, &length, text.utf8.c_str(), -1, kStop));
    EXPECT_EQ(static_cast<int>(text.utf32.size()), length);
}

TEST(EncodingUtf, BadArgumentsFail) {
    int length = -77;
    char utf8[8];
    EXPECT_RESULT(0x80004005, KXEncUTF16ToUTF8(nullptr, 4, &length, u"a", 1, kStop));
    EXPECT_RESULT(0x80004005, KXEncUTF16ToUTF8(utf8, -1, &length, u"a", 1, kStop));
    EXPECT_RESULT(0x80004005, KXEncUTF16ToUTF8(utf8, 8, &length, nullptr, 1, kStop));
    EXPECT_RESULT(0x80004005, KXEncUTF32ToUTF8(utf8, -1, &length, U"a", 1, kStop));
    EXPECT_EQ(0, length);
}

// --- The text in between, on the stack or not ----------------------------------------------------

TEST(EncodingUtf, TheWayThroughSixteenBitsHasRoomForEveryLength) {
    for (const int length :
         {254, 255, 256, 257, 510, 511, 512, 513, 514, 1023, 1024, 1025, 70000}) {
        for (const char32_t point : {U'a', U'\u00E9', U'\u4E2D', U'\U0001F600'}) {
            Forms text;
            for (int i = 0; i < length; ++i) text.Add(point);
            ExpectConverted(KXEncUTF8ToUTF32, text.utf8, text.utf32);
            ExpectConverted(KXEncUTF32ToUTF8, text.utf32, text.utf8);
        }
    }
}

TEST(EncodingUtf, ASubstituteOfOneUnitHasRoomForEveryLength) {
    for (const std::size_t length : {255, 256, 257, 511, 512, 513, 2000}) {
        ExpectConverted(KXEncUTF8ToUTF32, std::string(length, '\xFF'), std::u32string(length, U'?'),
                        '?');
        ExpectConverted(KXEncUTF32ToUTF8, std::u32string(length, 0x110000),
                        std::string(length, '?'), '?');
    }
}

TEST(EncodingUtf, ASubstituteOfTwoUnitsForEachByteIsTooMuchForTheWayThroughSixteenBits) {
    constexpr int kSubstitute = 0x1F600;
    const std::u32string most(256, U'\U0001F600');
    ExpectConverted(KXEncUTF8ToUTF32, std::string(256, '\xFF'), most, kSubstitute);
    for (const std::size_t length : {257, 511, 512, 513}) {
        const auto answer = CallAmply(KXEncUTF8ToUTF32, std::string(length, '\xFF'), kSubstitute);
        EXPECT_RESULT(KX_CO_E_INIT_CLASS_CACHE, answer.result) << length;
        EXPECT_EQ(0, answer.length) << "nothing is known of the length";
    }
    // The other way, two units are reckoned with.
    std::string faces;
    for (int i = 0; i < 513; ++i) faces += "\xF0\x9F\x98\x80";
    ExpectConverted(KXEncUTF32ToUTF8, std::u32string(513, 0x110000), faces, kSubstitute);
}

// --- Ill-formed text -----------------------------------------------------------------------------

TEST(EncodingUtf, AnUnpairedSurrogateIsInvalidOrSubstituted) {
    const struct {
        std::u16string utf16;
        std::string utf8;
    } texts[] = {
        {u"\xD800", "?"},   {u"\xDBFF", "?"},         {u"\xDC00", "?"},
        {u"\xDFFF", "?"},   {u"a\xD83Dz", "a?z"},     {u"a\xDE00z", "a?z"},
        {u"a\xD83D", "a?"}, {u"\xDE00\xD83D", "?\?"}, {u"\xD83D\xD83D\xDE00", "?\xF0\x9F\x98\x80"},
    };
    for (const auto& [utf16, utf8] : texts) {
        for (const auto function : {KXEncUTF16ToUTF8, KXWToUTF8}) {
            ExpectRefused<char>(function, utf16, KX_E_ENC_INVALID);
            ExpectConverted<char>(function, utf16, utf8, '?');
            std::string replaced = utf8;
            for (std::size_t at; (at = replaced.find('?')) != replaced.npos;) {
                replaced.replace(at, 1, "\xEF\xBF\xBD");
            }
            ExpectConverted<char>(function, utf16, replaced, 0xFFFD);
        }
    }
}

TEST(EncodingUtf, IllFormedUtf8IsInvalidOrSubstituted) {
    const struct {
        std::string utf8;
        // A substitute for each longest beginning of a character.
        std::u16string utf16;
    } texts[] = {
        {"\x80", u"?"},
        {"\xFF", u"?"},
        {"\xFE", u"?"},
        {"a\xC3", u"a?"},
        {"a\xC3z", u"a?z"},
        {"\xC0\x80", u"??"},
        {"\xC1\xBF", u"??"},
        {"\xE4\xB8", u"?"},
        {"\xE4\xB8z", u"?z"},
        {"\xE0\x80\x80", u"???"},
        {"\xED\xA0\x80", u"???"},
        {"\xED\xBF\xBF", u"???"},
        {"\xF0\x9F\x98", u"?"},
        {"\xF0\x80\x80\x80", u"????"},
        {"\xF4\x90\x80\x80", u"????"},
        {"\xF5\x80\x80\x80", u"????"},
        {"\xE4\xB8\xE4\xB8\xAD", u"?\u4E2D"},
    };
    for (const auto& [utf8, utf16] : texts) {
        for (const auto function : {KXEncUTF8ToUTF16, KXUTF8ToW}) {
            ExpectRefused<char16_t>(function, utf8, KX_E_ENC_INVALID);
            ExpectConverted<char16_t>(function, utf8, utf16, '?');
        }
        ExpectRefused(KXEncUTF8ToUTF32, utf8, KX_E_ENC_INVALID);
        ExpectConverted(KXEncUTF8ToUTF32, utf8, std::u32string(utf16.begin(), utf16.end()), '?');
    }
}

TEST(EncodingUtf, IllFormedUtf32IsInvalidOrSubstituted) {
    for (const char32_t wrong :
         {0xD800u, 0xDBFFu, 0xDC00u, 0xDFFFu, 0x110000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        const std::u32string text = {U'a', wrong, U'z'};
        const auto refused = CallAmply(KXEncUTF32ToUTF8, text, kStop);
        EXPECT_RESULT(KX_E_ENC_INVALID, refused.result) << static_cast<unsigned>(wrong);
        EXPECT_EQ(0, refused.length);
        ExpectConverted(KXEncUTF32ToUTF8, text, std::string("a?z"), '?');
        ExpectConverted(KXEncUTF32ToUTF8, text, std::string("a\xEF\xBF\xBDz"), 0xFFFD);
    }
}

TEST(EncodingUtf, TwoSurrogatesInUtf32AreNoCharacter) {
    ExpectRefused(KXEncUTF32ToUTF8, std::u32string({0xD83D, 0xDE00}), KX_E_ENC_INVALID);
    ExpectConverted(KXEncUTF32ToUTF8, std::u32string({0xD83D, 0xDE00}), std::string("?\?"), '?');
}

TEST(EncodingUtf, ASubstituteMayBeAnyCodePointAndNoOther) {
    for (const int point : {0, 1, 0x7F, 0x80, 0x7FF, 0x800, 0xD7FF, 0xE000, 0xFFFD, 0xFFFF, 0x10000,
                            0x10FFFE, 0x10FFFF}) {
        const auto substitute = static_cast<char32_t>(point);
        ExpectConverted(KXEncUTF16ToUTF8, std::u16string(u"\xD800"), Utf8Of(substitute), point);
        ExpectConverted(KXEncUTF8ToUTF16, std::string("\xFF"), Utf16Of(substitute), point);
        ExpectConverted(KXEncUTF32ToUTF8, std::u32string({0xD800}), Utf8Of(substitute), point);
        ExpectConverted(KXEncUTF8ToUTF32, std::string("\xFF"), std::u32string({substitute}), point);
    }
    for (const int point : {0xD800, 0xDC00, 0xDFFF, 0x110000, INT_MAX}) {
        ExpectRefused(KXEncUTF16ToUTF8, std::u16string(u"a"), KX_E_FAIL, point);
        ExpectRefused(KXEncUTF8ToUTF16, std::string("a"), KX_E_FAIL, point);
        ExpectRefused(KXEncUTF32ToUTF8, std::u32string(U"a"), KX_E_FAIL, point);
        ExpectRefused(KXEncUTF8ToUTF32, std::string("a"), KX_E_FAIL, point);
    }
    for (const int negative : {-2, -0xFFFD, INT_MIN}) {
        ExpectRefused(KXEncUTF16ToUTF8, std::u16string(u"\xD800"), KX_E_ENC_INVALID, negative);
        ExpectRefused(KXEncUTF8ToUTF32, std::string("\xFF"), KX_E_ENC_INVALID, negative);
    }
}
