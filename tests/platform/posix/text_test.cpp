// What the runtime's tables hold about characters, where the runtime of Windows has it otherwise.
#include <gtest/gtest.h>
#include <kxcore7/character.h>
#include <kxcore7/conversion.h>
#include <kxcore7/str.h>

#include <string>

#include "support/locales.h"

using kx::test::InLocale;
using kx::test::kEveryLocale;
using kx::test::kTurkishLocale;
using kx::test::kWesternLocale;

TEST(LocaleTables, TurkishHasTwoLettersI) {
    for (const char* const name : {kTurkishLocale, "tr_TR.UTF-8"}) {
        const InLocale locale(name);
        EXPECT_NE(0, KXStrICmpW(u"I", u"i")) << "W has no rule of its own for ASCII";
        EXPECT_NE(0, KXStrNICmpW(u"I", u"i", 1));
        EXPECT_EQ(0, KXStrICmpW(u"I", u"\u0131"));
        EXPECT_EQ(0, KXStrICmpW(u"\u0130", u"i"));
        EXPECT_EQ(0, KXStrICmpA("TITLE", "title")) << "A has one";
        EXPECT_EQ(0, KXStrICmpUCS2(u"TITLE", u"title"));
        EXPECT_EQ('I', KXToUpperW(0x131));
        EXPECT_EQ('i', KXToLowerW(0x130));
    }
}

TEST(LocaleTables, TurkishChangesAsciiOnlyBehindTheFirstOtherUnit) {
    const InLocale locale(kTurkishLocale);
    char narrow[] = "TITLE \xDD TITLE";
    EXPECT_STREQ("title i t\xFDtle", KXStrToLowerA(narrow));
    char16_t wide[] = u"TITLE \u0130 TITLE";
    EXPECT_EQ(std::u16string(u"title i t\u0131tle"), KXStrToLowerW(wide));
}

TEST(LocaleTables, TurkishComparesAsciiBehindTheFirstOtherByteByItsOwnRule) {
    const InLocale locale(kTurkishLocale);
    EXPECT_EQ(0, KXStrICmpA("i\xDE", "I\xFE"));
    EXPECT_NE(0, KXStrICmpA("\xDEi", "\xFEI"));
    EXPECT_EQ(0, KXStrICmpA("\xDE\xFD", "\xFEI"));
    EXPECT_NE(0, KXStrNICmpA("\xDEi", "\xFEI", 2));
    EXPECT_EQ(0, KXStrNICmpA("\xDEi", "\xFEI", 1));
}

TEST(LocaleTables, AByteReachesItsClassWithItsSign) {
    const InLocale locale(kWesternLocale);
    EXPECT_NE(0, KXIsAlphaA(0xC4));
    EXPECT_NE(0, KXIsAlphaA('\xE4'));
    EXPECT_EQ(0, KXIsAlphaA(0xD7));
    EXPECT_EQ(0, KXIsDigitA(0xB2)) << "a raised digit";
}

// In whole strings bytes have no sign, so that it is the letter there that it is.
TEST(LocaleTables, TheByte0xFFHasNoOtherCaseExceptInAString) {
    for (const char* const name : kEveryLocale) {
        const InLocale locale(name);
        EXPECT_EQ(0xFF, KXToUpperA(0xFF) & 0xFF) << name;
        EXPECT_EQ(0xFF, KXToLowerA(0xFF) & 0xFF) << name;
    }
    const InLocale locale(kWesternLocale);
    char text[] = "\xFF";
    EXPECT_STREQ("\xBE", KXStrToUpperA(text));
}

TEST(LocaleTables, Utf8HasNoLettersOfOneByteBehindAscii) {
    const InLocale locale("C.UTF-8");
    for (int ch = 0x80; ch < 0x100; ++ch) {
        EXPECT_EQ(0, KXIsAlphaA(ch));
        EXPECT_EQ(0, KXIsSpaceA(ch));
        EXPECT_EQ(ch, KXToLowerA(ch) & 0xFF);
        EXPECT_EQ(ch, KXToUpperA(ch) & 0xFF);
    }
    char text[] = "A\xC3\x84Z";
    EXPECT_STREQ("a\xC3\x84z", KXStrToLowerA(text));
    EXPECT_NE(0, KXStrICmpA("\xC3\x84", "\xC3\xA4"));
    EXPECT_EQ(0, KXStrICmpW(u"\u00C4", u"\u00E4")) << "but those of one unit";
    char16_t wide[] = u"A\u00C4Z";
    EXPECT_EQ(std::u16string(u"a\u00E4z"), KXStrToLowerW(wide));
}

TEST(LocaleTables, DigitsAreThoseOfAsciiAlone) {
    for (const char* const name : kEveryLocale) {
        const InLocale locale(name);
        EXPECT_EQ(0, KXIsDigitW(0x0663)) << name;
        EXPECT_EQ(0, KXIsDigitW(0x00B2)) << name;
    }
}

TEST(LocaleTables, NothingBehindAsciiHasAClassOrCaseInTheCLocale) {
    const InLocale locale("C");
    for (int ch = 0x80; ch < 0x100; ++ch) {
        EXPECT_EQ(ch, KXToLowerA(ch) & 0xFF);
        EXPECT_EQ(ch, KXToUpperA(ch) & 0xFF);
    }
    for (const int ch : {0xC4, 0xA0, 0x0416, 0x2003, 0x4E2D}) {
        EXPECT_EQ(0, KXIsAlphaW(ch)) << ch;
        EXPECT_EQ(0, KXIsSpaceW(ch)) << ch;
    }
}

TEST(LocaleTables, ACharacterThatTheLocaleHasNotCountsOnlyWhereItIsReached) {
    const InLocale locale(kWesternLocale);
    char buffer[8];
    EXPECT_EQ(2u, KXUnicodeToAnsi(buffer, u"ab\u4E2Dz", 2));
    EXPECT_EQ(~size_t{0}, KXUnicodeToAnsi(buffer, u"ab\u4E2Dz", 3));
    EXPECT_EQ(~size_t{0}, KXUnicodeToAnsi(nullptr, u"ab\u4E2Dz", 0));
}
