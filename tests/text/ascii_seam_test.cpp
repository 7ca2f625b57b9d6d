// ASCII never reaches the locale, and what is not ASCII always does, with all that is behind it.
#include <gtest/gtest.h>
#include <kxcore7/character.h>
#include <kxcore7/conversion.h>
#include <kxcore7/str.h>

#include <iterator>
#include <string>

#include "support/fake_characters.h"
#include "support/fake_locale.h"

using kx::test::FakeCharacters;
using kx::test::FakeLocale;
using kx::test::g_characters;
using kx::test::g_locale;

namespace {

class Ascii : public ::testing::Test {
  protected:
    Ascii() {
        g_characters = FakeCharacters{};
        g_locale = FakeLocale{};
    }
    ~Ascii() override {
        g_characters = FakeCharacters{};
        g_locale = FakeLocale{};
    }

    // The one call that was made since the last look.
    static kx::test::CharacterCall TheCall() {
        EXPECT_EQ(1u, g_characters.calls.size());
        if (g_characters.calls.empty()) return {};
        const kx::test::CharacterCall call = g_characters.calls.back();
        g_characters.calls.clear();
        return call;
    }

    static void ExpectUnit(const char* function, int unit) {
        const auto call = TheCall();
        EXPECT_EQ(function, call.function);
        EXPECT_EQ(unit, call.unit);
    }

    static void ExpectText(const char* function, const void* text) {
        const auto call = TheCall();
        EXPECT_EQ(function, call.function);
        EXPECT_EQ(text, call.text);
    }
};

using AsciiReachesNoLocale = Ascii;
using OthersReachTheLocale = Ascii;

// So long that vectors have something to do, then so short that they have not.
constexpr const char* kTexts[] = {
    "The quick brown fox jumps over 13 lazy dogs; THE QUICK BROWN FOX DOES NOT.\t\x7F", "aZ", ""};

std::u16string Wide(const std::string& text) {
    return {text.begin(), text.end()};
}

}  // namespace

TEST_F(AsciiReachesNoLocale, AsASingleCharacter) {
    for (int ch = 0; ch < 0x80; ++ch) {
        KXIsSpaceA(ch);
        KXIsSpaceW(ch);
        KXToLowerA(ch);
        KXToLowerW(ch);
        KXToUpperA(ch);
        KXToUpperW(ch);
    }
    EXPECT_TRUE(g_characters.calls.empty());
}

TEST_F(AsciiReachesNoLocale, WhenItsCaseIsChanged) {
    for (const std::string text : kTexts) {
        std::string narrow = text;
        KXStrToLowerA(narrow.data());
        KXStrToUpperA(narrow.data());
        std::u16string wide = Wide(text);
        KXStrToLowerW(wide.data());
        KXStrToUpperW(wide.data());
    }
    EXPECT_TRUE(g_characters.calls.empty());
}

TEST_F(AsciiReachesNoLocale, WhenItIsCompared) {
    for (const std::string a : kTexts) {
        for (const std::string b : kTexts) {
            KXStrICmpA(a.c_str(), b.c_str());
            for (size_t count = 0; count < 100; ++count) KXStrNICmpA(a.c_str(), b.c_str(), count);
        }
    }
    EXPECT_TRUE(g_characters.calls.empty());
}

TEST_F(AsciiReachesNoLocale, WhenWhatIsNotAsciiIsNotReached) {
    KXStrICmpA("ab\xE4", "ac\xE4");
    KXStrNICmpA("ab\xE4", "AB\xE4", 2);
    KXStrNICmpA("\xE4", "\xE5", 0);
    char16_t buffer[4];
    KXAnsiToUnicode(buffer, "ab\xE4", 2);
    KXAnsiToUnicode(buffer, "\xE4", 0);
    EXPECT_TRUE(g_characters.calls.empty());
    EXPECT_TRUE(g_locale.widened.empty());
}

TEST_F(AsciiReachesNoLocale, WhenItIsWidened) {
    char16_t buffer[100];
    for (const std::string text : kTexts) {
        EXPECT_EQ(text.size(), KXAnsiToUnicode(buffer, text.c_str(), std::size(buffer)));
        EXPECT_EQ(Wide(text), buffer);
        EXPECT_EQ(text.size(), KXAnsiToUnicode(nullptr, text.c_str(), 0));
    }
    EXPECT_TRUE(g_locale.widened.empty());
}

TEST_F(OthersReachTheLocale, AsASingleCharacter) {
    g_characters.answer = 0x5A;
    EXPECT_EQ(0x5A, KXIsSpaceA(0x80));
    ExpectUnit("IsSpace", -0x80);
    EXPECT_EQ(0x5A, KXToLowerA(0xFF) & 0xFF);
    ExpectUnit("ToLower", -1);
    EXPECT_EQ(0x5A, KXToUpperA(0x180) & 0xFF);
    ExpectUnit("ToUpper", -0x80);
    EXPECT_EQ(0x5A, KXIsSpaceW(0x80));
    ExpectUnit("IsSpace", 0x80);
    EXPECT_EQ(0x5A, KXToLowerW(0xFFFF) & 0xFFFF);
    ExpectUnit("ToLower", 0xFFFF);
    EXPECT_EQ(0x5A, KXToUpperW(0x10080) & 0xFFFF);
    ExpectUnit("ToUpper", 0x80);
}

TEST_F(OthersReachTheLocale, AsLettersAndDigitsAsciiDoesToo) {
    g_characters.answer = 3;
    EXPECT_EQ(3, KXIsAlphaA('a'));
    ExpectUnit("IsAlpha", 'a');
    EXPECT_EQ(3, KXIsDigitA('1'));
    ExpectUnit("IsDigit", '1');
    EXPECT_EQ(3, KXIsAlphaW('a'));
    ExpectUnit("IsAlpha", 'a');
    EXPECT_EQ(3, KXIsDigitW('1'));
    ExpectUnit("IsDigit", '1');
    EXPECT_EQ(3, KXIsAlphaA(0xE4));
    ExpectUnit("IsAlpha", 0xE4 - 0x100);
    EXPECT_EQ(3, KXIsDigitA(0xE4));
    ExpectUnit("IsDigit", 0xE4 - 0x100);
}

TEST_F(OthersReachTheLocale, AsTheRestOfAStringWhoseCaseIsChanged) {
    for (size_t prefix = 0; prefix < 70; ++prefix) {
        std::string narrow = std::string(prefix, 'q') + "\x80Qq";
        KXStrToUpperA(narrow.data());
        ExpectText("UpperText", narrow.data() + prefix);
        EXPECT_EQ(std::string(prefix, 'Q') + "\x80Qq", narrow);
        KXStrToLowerA(narrow.data());
        ExpectText("LowerText", narrow.data() + prefix);
        EXPECT_EQ(std::string(prefix, 'q') + "\x80Qq", narrow);
        std::u16string wide = std::u16string(prefix, u'q') + u"\u0080Qq";
        KXStrToUpperW(wide.data());
        ExpectText("UpperText", wide.data() + prefix);
        EXPECT_EQ(std::u16string(prefix, u'Q') + u"\u0080Qq", wide);
        KXStrToLowerW(wide.data());
        ExpectText("LowerText", wide.data() + prefix);
        EXPECT_EQ(std::u16string(prefix, u'q') + u"\u0080Qq", wide);
    }
}

TEST_F(OthersReachTheLocale, AsTheRestOfStringsThatAreCompared) {
    g_characters.answer = 42;
    for (size_t prefix = 0; prefix < 70; ++prefix) {
        const std::string ascii = std::string(prefix, 'q') + "x";
        const std::string other = std::string(prefix, 'Q') + "\x80y";
        for (const auto& [a, b] : {std::pair{ascii, other}, {other, ascii}, {other, other}}) {
            EXPECT_EQ(42, KXStrICmpA(a.c_str(), b.c_str()));
            auto call = TheCall();
            EXPECT_EQ("CompareFolded", call.function);
            EXPECT_EQ(a.c_str() + prefix, call.text);
            EXPECT_EQ(b.c_str() + prefix, call.other);
            EXPECT_EQ(42, KXStrNICmpA(a.c_str(), b.c_str(), prefix + 5));
            call = TheCall();
            EXPECT_EQ("CompareFoldedN", call.function);
            EXPECT_EQ(a.c_str() + prefix, call.text);
            EXPECT_EQ(b.c_str() + prefix, call.other);
            EXPECT_EQ(5u, call.count);
        }
    }
}

TEST_F(OthersReachTheLocale, AsTheWholeOfWideStringsThatAreCompared) {
    g_characters.answer = 42;
    const std::u16string a = u"abc";
    const std::u16string b = u"xyz";
    EXPECT_EQ(42, KXStrICmpW(a.c_str(), b.c_str()));
    ExpectText("CompareFolded", a.c_str());
    EXPECT_EQ(42, KXStrNICmpW(a.c_str(), b.c_str(), 2));
    const auto call = TheCall();
    EXPECT_EQ("CompareFoldedN", call.function);
    EXPECT_EQ(a.c_str(), call.text);
    EXPECT_EQ(b.c_str(), call.other);
    EXPECT_EQ(2u, call.count);
}

TEST_F(OthersReachTheLocale, AsTheRestOfTextThatIsWidened) {
    char16_t buffer[100];
    for (size_t prefix = 0; prefix < 70; ++prefix) {
        const std::string text = std::string(prefix, 'q') + "\x80y";
        EXPECT_EQ(prefix + 2, KXAnsiToUnicode(buffer, text.c_str(), prefix + 9));
        EXPECT_EQ(prefix + 2, KXAnsiToUnicode(nullptr, text.c_str(), 7));
        EXPECT_EQ(std::u16string(prefix, u'q') + u"\u0080y", buffer);
        ASSERT_EQ(2u, g_locale.widened.size());
        EXPECT_EQ(buffer + prefix, g_locale.widened[0].dst);
        EXPECT_EQ(text.c_str() + prefix, g_locale.widened[0].src);
        EXPECT_EQ(9u, g_locale.widened[0].count);
        EXPECT_EQ(nullptr, g_locale.widened[1].dst);
        EXPECT_EQ(text.c_str() + prefix, g_locale.widened[1].src);
        EXPECT_EQ(0u, g_locale.widened[1].count);
        g_locale.widened.clear();
    }
}

TEST_F(OthersReachTheLocale, WhichNeverSeesUcs2) {
    KXStrICmpUCS2(u"\u00C4x", u"\u00E4X");
    KXStrCmpUCS2(u"\u00C4x", u"\u00E4X");
    EXPECT_TRUE(g_characters.calls.empty());
}
