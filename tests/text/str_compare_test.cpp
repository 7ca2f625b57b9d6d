// Comparison, with and without regard to case.
#include <kxcore7/str.h>

#include <iterator>

#include "support/locales.h"
#include "text/flavours.h"

using namespace kx::test;
using namespace std::string_view_literals;

namespace {

constexpr size_t kUnbounded = ~size_t{0};

// The first place behind the Basic Multilingual Plane, which is a pair of surrogates, and the last
// but two before it.
constexpr const char16_t* kSupplementary = u"\U00010000";
constexpr const char16_t* kHighUnit = u"\uFFFD";

constexpr int SignOf(int value) {
    return (value > 0) - (value < 0);
}

template <typename Unit>
class StrCompare : public ::testing::Test {
  protected:
    static int Compare(std::string_view a, std::string_view b) {
        return Cmp(Text<Unit>(a).c_str(), Text<Unit>(b).c_str());
    }
    static int Compare(std::string_view a, std::string_view b, size_t count) {
        return SignOf(NCmp(Text<Unit>(a).c_str(), Text<Unit>(b).c_str(), count));
    }
    static int CompareFolded(std::string_view a, std::string_view b) {
        return ICmp(Text<Unit>(a).c_str(), Text<Unit>(b).c_str());
    }
    static int CompareFolded(std::string_view a, std::string_view b, size_t count) {
        return NICmp(Text<Unit>(a).c_str(), Text<Unit>(b).c_str(), count);
    }
};
TYPED_TEST_SUITE(StrCompare, Units, FlavourName);

}  // namespace

// --- With regard to case -------------------------------------------------------------------------

TYPED_TEST(StrCompare, CmpIsExactlyMinusOneZeroOrOne) {
    EXPECT_EQ(0, this->Compare("", ""));
    EXPECT_EQ(0, this->Compare("abc", "abc"));
    EXPECT_EQ(-1, this->Compare("abc", "abd"));
    EXPECT_EQ(1, this->Compare("abd", "abc"));
    EXPECT_EQ(-1, this->Compare("a", "z"));
    EXPECT_EQ(1, this->Compare("z", "a"));
    EXPECT_EQ(-1, this->Compare("", "z"));
    EXPECT_EQ(1, this->Compare("abc", "ab"));
    EXPECT_EQ(-1, this->Compare("A", "a"));
}

TYPED_TEST(StrCompare, CmpTakesUnitsAsUnsigned) {
    EXPECT_EQ(1, this->Compare("\x80", "\x7F"));
    EXPECT_EQ(1, this->Compare("a\xFF", "a"));
    EXPECT_EQ(-1, this->Compare("ab", "\xE4"));
}

TYPED_TEST(StrCompare, CmpReadsNothingBehindTheTerminators) {
    for (size_t length = 0; length < 40; ++length) {
        const auto a = Tight<TypeParam>(Text<TypeParam>(std::string(length, 'x') + '\0'));
        const auto b = Tight<TypeParam>(Text<TypeParam>(std::string(length, 'x') + '\0'));
        EXPECT_EQ(0, Cmp(a.get(), b.get()));
    }
}

TYPED_TEST(StrCompare, NCmpComparesAtMostSoManyUnits) {
    EXPECT_EQ(0, this->Compare("abX", "abY", 2));
    EXPECT_EQ(-1, this->Compare("abX", "abY", 3));
    EXPECT_EQ(1, this->Compare("abY", "abX", 3));
    EXPECT_EQ(0, this->Compare("a", "b", 0));
    EXPECT_EQ(1, this->Compare("\xFF", "a", 1));
    EXPECT_EQ(0, this->Compare("abc", "abc", kUnbounded));
    EXPECT_EQ(-1, this->Compare("ab", "abc", kUnbounded));
    EXPECT_EQ(0, this->Compare("ab\0X"sv, "ab\0Y"sv, 4)) << "a terminator ends it";
}

TYPED_TEST(StrCompare, NCmpReadsNothingBehindTheCount) {
    for (size_t length = 0; length < 40; ++length) {
        const auto a = Tight<TypeParam>(Text<TypeParam>(std::string(length, 'x')));
        const auto b = Tight<TypeParam>(Text<TypeParam>(std::string(length, 'x')));
        EXPECT_EQ(0, NCmp(a.get(), b.get(), length));
    }
}

TEST(StrCompareWide, CmpSeesTheWholeUnit) {
    EXPECT_EQ(-1, KXStrCmpW(u"\u0141", u"\u0241"));
    EXPECT_EQ(1, KXStrCmpW(u"\u0100", u"\u00FF"));
    EXPECT_EQ(1, KXStrCmpW(u"\uFFFF", u"\u0001"));
    EXPECT_GT(KXStrNCmpW(u"\uFFFF", u"\u0001", 1), 0);
}

TEST(StrCompareUcs2, CmpIsTheDifferenceOfTheFirstUnitsThatDiffer) {
    EXPECT_EQ(0, KXStrCmpUCS2(u"", u""));
    EXPECT_EQ(0, KXStrCmpUCS2(u"abc", u"abc"));
    EXPECT_EQ(-1, KXStrCmpUCS2(u"abc", u"abd"));
    EXPECT_EQ(-2, KXStrCmpUCS2(u"a", u"c"));
    EXPECT_EQ(2, KXStrCmpUCS2(u"c", u"a"));
    EXPECT_EQ(0x61, KXStrCmpUCS2(u"ba", u"b"));
    EXPECT_EQ(-0xFFFF, KXStrCmpUCS2(u"", u"\uFFFF"));
}

TEST(StrCompareUtf16, CmpSortsPairsBehindEveryUnit) {
    EXPECT_GT(KXStrCmpUTF16(kSupplementary, kHighUnit), 0);
    EXPECT_LT(KXStrCmpUTF16(kHighUnit, kSupplementary), 0);
    EXPECT_GT(KXStrCmpUTF16(kSupplementary, u"\uE000"), 0);
    EXPECT_EQ(0, KXStrCmpUTF16(kSupplementary, kSupplementary));
    EXPECT_LT(KXStrCmpUTF16(u"a", u"b"), 0);
    EXPECT_GT(KXStrCmpUTF16(u"ab", u"a"), 0);
}

TEST(StrCompareWide, CmpInWAndUcs2SortsPairsByTheirUnits) {
    EXPECT_EQ(-1, KXStrCmpW(kSupplementary, kHighUnit));
    EXPECT_EQ(0xD800 - 0xFFFD, KXStrCmpUCS2(kSupplementary, kHighUnit));
    EXPECT_LT(KXStrNCmpW(kSupplementary, kHighUnit, 2), 0);
}

TEST(StrCompareUtf16, NCmpComparesAtMostSoManyUnits) {
    EXPECT_EQ(0, KXStrNCmpUTF16(u"abX", u"abY", 2));
    EXPECT_LT(KXStrNCmpUTF16(u"abX", u"abY", 3), 0);
    EXPECT_EQ(0, KXStrNCmpUTF16(u"a", u"b", 0));
    EXPECT_GT(KXStrNCmpUTF16(kSupplementary, kHighUnit, 2), 0);
    EXPECT_GT(KXStrNCmpUTF16(u"abcdeX", u"abcde", kUnbounded), 0);
    EXPECT_EQ(0, KXStrNCmpUTF16(u"abc", u"abc", kUnbounded));
    const auto a = Tight<char16_t>(u"abc");
    EXPECT_EQ(0, KXStrNCmpUTF16(a.get(), Tight<char16_t>(u"abc").get(), 3));
}

// --- Without regard to case: A and W -------------------------------------------------------------

TYPED_TEST(StrCompare, ICmpPassesOverTheCaseOfAscii) {
    EXPECT_EQ(0, this->CompareFolded("", ""));
    EXPECT_EQ(0, this->CompareFolded("abcXYZ019_[", "ABCxyz019_["));
    EXPECT_LT(this->CompareFolded("abc", "ABD"), 0);
    EXPECT_GT(this->CompareFolded("abcd", "ABC"), 0);
    EXPECT_LT(this->CompareFolded("", "a"), 0);
    EXPECT_NE(0, this->CompareFolded("[", "{")) << "neighbours of the letters are none";
    EXPECT_NE(0, this->CompareFolded("@", "`"));
}

TYPED_TEST(StrCompare, NICmpComparesAtMostSoManyUnits) {
    EXPECT_EQ(0, this->CompareFolded("a", "b", 0));
    EXPECT_EQ(0, this->CompareFolded("abX", "ABy", 2));
    EXPECT_LT(this->CompareFolded("abX", "ABy", 3), 0);
    EXPECT_GT(this->CompareFolded("aby", "ABX", 3), 0);
    EXPECT_EQ(0, this->CompareFolded("ab", "AB", 9)) << "a terminator ends it";
    EXPECT_GT(this->CompareFolded("abc", "AB", 9), 0);
    EXPECT_EQ(0, this->CompareFolded("ab", "AB", 0x7FFF'FFFF));
}

TYPED_TEST(StrCompare, NICmpReadsNothingBehindTheCount) {
    const InLocale locale(kWesternLocale);
    for (const auto text : {"x"sv, "\xE4"sv, "ab\xE4"sv, "abcdefghijklmnopqrstuvwxyz012345678"sv}) {
        const auto a = Tight<TypeParam>(Text<TypeParam>(text));
        const auto b = Tight<TypeParam>(Text<TypeParam>(text));
        EXPECT_EQ(0, NICmp(a.get(), b.get(), text.size()));
    }
}

TYPED_TEST(StrCompare, ICmpReadsNothingBehindTheTerminators) {
    const InLocale locale(kWesternLocale);
    for (const auto text :
         {"\0"sv, "xyz\0"sv, "ab\xE4\0"sv, "abcdefghijklmnopqrstuvwxyz0123456\0"sv}) {
        const auto a = Tight<TypeParam>(Text<TypeParam>(text));
        const auto b = Tight<TypeParam>(Text<TypeParam>(text));
        EXPECT_EQ(0, ICmp(a.get(), b.get()));
    }
}

TYPED_TEST(StrCompare, ICmpFollowsTheLocaleBehindAscii) {
    {
        const InLocale locale(kWesternLocale);
        EXPECT_EQ(0, this->CompareFolded("a\xC4"
                                         "B",
                                         "A\xE4"
                                         "b"));
        EXPECT_EQ(0, this->CompareFolded("\xC4", "\xE4"));
        EXPECT_LT(this->CompareFolded("a\xC4"
                                      "B",
                                      "A\xE4"
                                      "c"),
                  0);
        EXPECT_NE(0, this->CompareFolded("\xD7", "\xF7")) << "signs have no case";
    }
    const InLocale locale("C");
    EXPECT_NE(0, this->CompareFolded("a\xC4"
                                     "B",
                                     "A\xE4"
                                     "b"));
}

TYPED_TEST(StrCompare, NICmpGivesTheLocaleTheRestOfTheCount) {
    const InLocale locale(kWesternLocale);
    EXPECT_EQ(0, this->CompareFolded("ab\xC4x", "AB\xE4y", 3));
    EXPECT_LT(this->CompareFolded("ab\xC4x", "AB\xE4y", 4), 0);
    EXPECT_EQ(0, this->CompareFolded("ab\xC4", "ABx", 2)) << "what is behind the count is not seen";
    EXPECT_EQ(0, this->CompareFolded("\xC4", "x", 0));
}

TYPED_TEST(StrCompare, ICmpComparesAsciiWithOthers) {
    const InLocale locale(kWesternLocale);
    EXPECT_LT(this->CompareFolded("ab", "a\xE4"), 0);
    EXPECT_GT(this->CompareFolded("a\xE4", "ab"), 0);
    EXPECT_GT(this->CompareFolded("a\xE4", "A"), 0);
    EXPECT_LT(this->CompareFolded("A", "a\xE4", 2), 0);
}

// What is between Z and a is where folding to upper case and to lower case order differently.
TEST(StrCompareNarrow, ICmpFoldsAsciiToUpperCase) {
    for (const char* const name : kEveryLocale) {
        const InLocale locale(name);
        for (const char* const between : {"[", "\\", "]", "^", "_", "`"}) {
            EXPECT_EQ(*between - 'A', KXStrICmpA(between, "a")) << name;
            EXPECT_EQ('Z' - *between, KXStrICmpA("z", between)) << name;
            EXPECT_EQ(*between - 'A', KXStrNICmpA(between, "a", 1)) << name;
        }
    }
}

TEST(StrCompareNarrow, ICmpIsTheDifferenceOfTheUpperCase) {
    for (const char* const name : kEveryLocale) {
        const InLocale locale(name);
        EXPECT_EQ(-2, KXStrICmpA("a", "C"));
        EXPECT_EQ(1, KXStrICmpA("xb", "XA"));
        EXPECT_EQ('A', KXStrICmpA("a", ""));
        EXPECT_EQ(-'A', KXStrICmpA("x", "xa"));
        EXPECT_EQ(-2, KXStrNICmpA("xa", "XC", 2));
    }
}

TEST(StrCompareNarrow, ICmpOfAsciiIsTheSameInEveryLocale) {
    for (const char* const name : kEveryLocale) {
        const InLocale locale(name);
        for (int a = 0; a < 0x80; ++a) {
            for (int b = 0; b < 0x80; ++b) {
                const char left[] = {'i', static_cast<char>(a), 0};
                const char right[] = {'I', static_cast<char>(b), 0};
                const auto folded = [](int ch) { return ch >= 'a' && ch <= 'z' ? ch - 0x20 : ch; };
                ASSERT_EQ(folded(a) - folded(b), KXStrICmpA(left, right)) << name << a << ' ' << b;
                ASSERT_EQ(folded(a) - folded(b), KXStrNICmpA(left, right, 2));
            }
        }
    }
}

// The locale folds to lower case, and does so with the ASCII behind the first other byte.
TEST(StrCompareNarrow, ICmpLeavesToTheLocaleAllThatIsBehindTheFirstOtherByte) {
    const InLocale locale(kWesternLocale);
    EXPECT_GT(KXStrICmpA("_", "A"), 0);
    EXPECT_LT(KXStrICmpA("\xE4_",
                         "\xE4"
                         "A"),
              0);
    EXPECT_LT(KXStrNICmpA("\xE4_",
                          "\xE4"
                          "A",
                          2),
              0);
    EXPECT_EQ(0, KXStrNICmpA("\xE4_",
                             "\xE4"
                             "A",
                             1));
}

TEST(StrCompareWide, ICmpHasNoRuleOfItsOwnForAscii) {
    EXPECT_LT(KXStrICmpW(u"_", u"A"), 0) << "the runtime folds to lower case";
    EXPECT_LT(KXStrNICmpW(u"_", u"A", 1), 0);
}

TEST(StrCompareWide, ICmpSeesTheWholeUnit) {
    const InLocale locale(kWesternLocale);
    EXPECT_NE(0, KXStrICmpW(u"\u0141", u"A"));
    EXPECT_NE(0, KXStrICmpW(u"\u0100", u"")) << "no terminator";
    EXPECT_EQ(0, KXStrICmpW(u"\u0391\u0416", u"\u03B1\u0436")) << "Greek and Russian";
    EXPECT_EQ(0, KXStrNICmpW(u"\u0391\u0416x", u"\u03B1\u0436y", 2));
}

// --- Without regard to case: UCS2 and UTF16 ------------------------------------------------------

TEST(StrCompareUcs2, ICmpFoldsAsciiLettersToLowerCase) {
    EXPECT_EQ(0, KXStrICmpUCS2(u"", u""));
    EXPECT_EQ(0, KXStrICmpUCS2(u"abcXYZ019_", u"ABCxyz019_"));
    EXPECT_EQ(u'_' - u'a', KXStrICmpUCS2(u"_", u"A"));
    EXPECT_EQ(u'z' - u'[', KXStrICmpUCS2(u"xZ", u"X["));
    EXPECT_EQ(-2, KXStrICmpUCS2(u"a", u"C"));
    EXPECT_EQ(u'a', KXStrICmpUCS2(u"xA", u"x"));
    EXPECT_EQ(-u'a', KXStrICmpUCS2(u"x", u"xA"));
    EXPECT_EQ(u'@' - u'`', KXStrICmpUCS2(u"@", u"`"));
    EXPECT_EQ(u'[' - u'{', KXStrICmpUCS2(u"[", u"{"));
}

TEST(StrCompareUcs2, ICmpFindsTheCasesOfOtherLettersDifferent) {
    EXPECT_EQ(-0x20, KXStrICmpUCS2(u"\u00C4", u"\u00E4"));
    EXPECT_EQ(0, KXStrICmpUTF16(u"\u00C4", u"\u00E4"));
}

TEST(StrCompareUcs2, IsTheSameInEveryLocale) {
    for (const char* const name : kEveryLocale) {
        const InLocale locale(name);
        EXPECT_EQ(0, KXStrICmpUCS2(u"I", u"i")) << name;
        EXPECT_EQ(-0x20, KXStrICmpUCS2(u"\u00C4", u"\u00E4")) << name;
        EXPECT_EQ(0, KXStrICmpUTF16(u"I\u00C4", u"i\u00E4")) << name;
    }
}

TEST(StrCompareUcs2, ReadsNothingBehindTheTerminators) {
    const auto a = Tight<char16_t>(u"Some text\0"sv);
    const auto b = Tight<char16_t>(u"sOME tEXT\0"sv);
    EXPECT_EQ(0, KXStrICmpUCS2(a.get(), b.get()));
    EXPECT_NE(0, KXStrCmpUCS2(a.get(), b.get()));
}

TEST(StrCompareUtf16, ICmpFoldsAllOfUnicode) {
    EXPECT_EQ(0, KXStrICmpUTF16(u"abc\u0416", u"ABC\u0436"));
    EXPECT_EQ(0, KXStrICmpUTF16(u"stra\u00DFe", u"STRASSE")) << "full folding may grow";
    EXPECT_EQ(0, KXStrICmpUTF16(u"\U00010400", u"\U00010428")) << "letters in pairs, too";
    EXPECT_NE(0, KXStrICmpUTF16(u"\u0130", u"i")) << "no Turkish rule";
    EXPECT_LT(KXStrICmpUTF16(u"a", u"B"), 0);
    EXPECT_GT(KXStrICmpUTF16(u"\U00010400", u"\uFFFD"), 0) << "in the order of code points";
}

TEST(StrCompareUtf16, NICmpComparesThreeUnitsWhateverTheCount) {
    for (const size_t count :
         {size_t{0}, size_t{1}, size_t{3}, size_t{4}, size_t{100}, kUnbounded}) {
        EXPECT_EQ(0, KXStrNICmpUTF16(u"abcX", u"ABCy", count)) << count;
        EXPECT_LT(KXStrNICmpUTF16(u"abcX", u"ABDX", count), 0) << count;
        EXPECT_GT(KXStrNICmpUTF16(u"b", u"A", count), 0) << count;
        EXPECT_EQ(0, KXStrNICmpUTF16(u"ab", u"AB", count)) << count;
    }
    EXPECT_GT(KXStrNICmpUTF16(u"\U00010400", u"\uFFFD", 2), 0);
}
