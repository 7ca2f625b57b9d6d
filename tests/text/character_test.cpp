// Classes and case of single characters.
#include <gtest/gtest.h>
#include <kxcore7/character.h>

#include "support/locales.h"

using kx::test::InLocale;
using kx::test::kEveryLocale;
using kx::test::kTurkishLocale;
using kx::test::kWesternLocale;

namespace {

// Of the result of a change of case, what is defined.
int LowerA(int ch) {
    return KXToLowerA(ch) & 0xFF;
}
int UpperA(int ch) {
    return KXToUpperA(ch) & 0xFF;
}
int LowerW(int ch) {
    return KXToLowerW(ch) & 0xFFFF;
}
int UpperW(int ch) {
    return KXToUpperW(ch) & 0xFFFF;
}

}  // namespace

TEST(Character, SpaceInAsciiIsSixCharactersInEveryLocale) {
    for (const char* const name : kEveryLocale) {
        const InLocale locale(name);
        for (int ch = 0; ch < 0x80; ++ch) {
            const bool space =
                ch == 0x20 || ch == 0x0C || ch == 0x0A || ch == 0x0D || ch == 0x09 || ch == 0x0B;
            EXPECT_EQ(space, KXIsSpaceA(ch) != 0) << name << ' ' << ch;
            EXPECT_EQ(space, KXIsSpaceW(ch) != 0) << name << ' ' << ch;
        }
    }
}

TEST(Character, CaseOfAsciiIsTheSameInEveryLocale) {
    for (const char* const name : kEveryLocale) {
        const InLocale locale(name);
        for (int ch = 0; ch < 0x80; ++ch) {
            const int lower = ch >= 'A' && ch <= 'Z' ? ch + 0x20 : ch;
            const int upper = ch >= 'a' && ch <= 'z' ? ch - 0x20 : ch;
            EXPECT_EQ(lower, LowerA(ch)) << name;
            EXPECT_EQ(lower, LowerW(ch)) << name;
            EXPECT_EQ(upper, UpperA(ch)) << name;
            EXPECT_EQ(upper, UpperW(ch)) << name;
        }
    }
}

TEST(Character, LettersAndDigitsInAsciiAreThemselvesInEveryLocale) {
    for (const char* const name : kEveryLocale) {
        const InLocale locale(name);
        for (int ch = 0; ch < 0x80; ++ch) {
            const bool alpha = (ch >= 'A' && ch <= 'Z') || (ch >= 'a' && ch <= 'z');
            const bool digit = ch >= '0' && ch <= '9';
            EXPECT_EQ(alpha, KXIsAlphaA(ch) != 0) << name << ' ' << ch;
            EXPECT_EQ(alpha, KXIsAlphaW(ch) != 0) << name << ' ' << ch;
            EXPECT_EQ(digit, KXIsDigitA(ch) != 0) << name << ' ' << ch;
            EXPECT_EQ(digit, KXIsDigitW(ch) != 0) << name << ' ' << ch;
        }
    }
}

TEST(Character, OnlyTheLowByteCountsInA) {
    for (const int high : {0x100, 0x4100, 0x10000, -0x100}) {
        EXPECT_NE(0, KXIsAlphaA(high + 'a'));
        EXPECT_NE(0, KXIsDigitA(high + '1'));
        EXPECT_NE(0, KXIsSpaceA(high + ' '));
        EXPECT_EQ(0, KXIsAlphaA(high + '1'));
        EXPECT_EQ('a', LowerA(high + 'A'));
        EXPECT_EQ('A', UpperA(high + 'a'));
    }
}

TEST(Character, OnlyTheLow16BitsCountInW) {
    for (const int high : {0x10000, 0x410000, -0x10000}) {
        EXPECT_NE(0, KXIsAlphaW(high + 'a'));
        EXPECT_NE(0, KXIsDigitW(high + '1'));
        EXPECT_NE(0, KXIsSpaceW(high + ' '));
        EXPECT_EQ(0, KXIsAlphaW(high + '1'));
        EXPECT_EQ('a', LowerW(high + 'A'));
        EXPECT_EQ('A', UpperW(high + 'a'));
    }
    EXPECT_EQ(0, KXIsDigitW(0x1031)) << "the low byte alone is not the character";
    EXPECT_EQ(0x1041, LowerW(0x1041));
}

TEST(Character, ABytesCaseIsTheLocales) {
    {
        const InLocale locale(kWesternLocale);
        EXPECT_EQ(0xE4, LowerA(0xC4));
        EXPECT_EQ(0xC4, UpperA(0xE4));
        EXPECT_EQ(0xE4, LowerA('\xC4')) << "as char has it";
        EXPECT_EQ(0xC4, UpperA('\xE4'));
        EXPECT_EQ(0xD7, LowerA(0xD7));
        EXPECT_EQ(0xF7, UpperA(0xF7));
    }
    const InLocale locale(kTurkishLocale);
    EXPECT_EQ(0xFE, LowerA(0xDE));
    EXPECT_EQ(0xDE, UpperA(0xFE));
}

TEST(Character, ABytesClassIsNoneInTheCLocale) {
    const InLocale locale("C");
    for (int ch = 0x80; ch < 0x100; ++ch) {
        EXPECT_EQ(0, KXIsAlphaA(ch)) << ch;
        EXPECT_EQ(0, KXIsDigitA(ch)) << ch;
        EXPECT_EQ(0, KXIsSpaceA(ch)) << ch;
    }
}

// It is a letter in both locales, but arrives as the end of a file.
TEST(Character, TheByte0xFFIsInNoClassInAnyLocale) {
    for (const char* const name : kEveryLocale) {
        const InLocale locale(name);
        EXPECT_EQ(0, KXIsAlphaA(0xFF)) << name;
        EXPECT_EQ(0, KXIsAlphaA(-1)) << name;
        EXPECT_EQ(0, KXIsDigitA(0xFF)) << name;
        EXPECT_EQ(0, KXIsSpaceA(0xFF)) << name;
    }
}

TEST(Character, AUnitsClassAndCaseAreTheLocales) {
    const InLocale locale(kWesternLocale);
    EXPECT_NE(0, KXIsAlphaW(0xC4));
    EXPECT_NE(0, KXIsAlphaW(0x0416));
    EXPECT_NE(0, KXIsAlphaW(0x4E2D));
    EXPECT_EQ(0, KXIsAlphaW(0xD7));
    EXPECT_EQ(0, KXIsDigitW(0xC4));
    EXPECT_NE(0, KXIsSpaceW(0x2003));
    EXPECT_EQ(0, KXIsSpaceW(0x4E2D));
    EXPECT_EQ(0xE4, LowerW(0xC4));
    EXPECT_EQ(0xC4, UpperW(0xE4));
    EXPECT_EQ(0x0436, LowerW(0x0416));
    EXPECT_EQ(0x0416, UpperW(0x0436));
    EXPECT_EQ(0x4E2D, UpperW(0x4E2D));
}

TEST(Character, NoCaseInTheCLocaleBehindAscii) {
    const InLocale locale("C");
    EXPECT_EQ(0xC4, LowerW(0xC4));
    EXPECT_EQ(0xE4, UpperW(0xE4));
}

TEST(Character, HalvesOfPairsAreInNoClass) {
    for (const char* const name : kEveryLocale) {
        const InLocale locale(name);
        for (const int half : {0xD801, 0xDC00}) {
            EXPECT_EQ(0, KXIsAlphaW(half)) << name;
            EXPECT_EQ(0, KXIsDigitW(half)) << name;
            EXPECT_EQ(0, KXIsSpaceW(half)) << name;
            EXPECT_EQ(half, LowerW(half)) << name;
            EXPECT_EQ(half, UpperW(half)) << name;
        }
    }
}
