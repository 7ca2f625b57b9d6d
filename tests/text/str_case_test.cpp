// Change of case of a whole string.
#include <kxcore7/str.h>

#include "support/locales.h"
#include "text/flavours.h"

using namespace kx::test;
using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

template <typename Unit>
class StrCase : public ::testing::Test {
  protected:
    using String = std::basic_string<Unit>;
    static String T(std::string_view text) { return Text<Unit>(text); }
    static String Lowered(std::string_view text) { return Changed(text, Lower); }
    static String Uppered(std::string_view text) { return Changed(text, Upper); }

  private:
    // In a block that ends with the text.
    static String Changed(std::string_view text, Unit* (*change)(Unit*)) {
        const auto units = Tight<Unit>(Text<Unit>(std::string(text) + '\0'));
        EXPECT_EQ(units.get(), change(units.get()));
        EXPECT_EQ(0, units[text.size()]);
        return String(units.get(), text.size());
    }
};
TYPED_TEST_SUITE(StrCase, Units, FlavourName);

}  // namespace

TYPED_TEST(StrCase, OfAsciiIsTheSameInEveryLocale) {
    std::string all, lower, upper;
    for (char ch = 1; ch > 0 && ch < 0x7F; ++ch) {
        all += ch;
        lower += ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch + 0x20) : ch;
        upper += ch >= 'a' && ch <= 'z' ? static_cast<char>(ch - 0x20) : ch;
    }
    for (const char* const name : kEveryLocale) {
        const InLocale locale(name);
        EXPECT_EQ(this->T(lower), this->Lowered(all)) << name;
        EXPECT_EQ(this->T(upper), this->Uppered(all)) << name;
        EXPECT_EQ(this->T(""), this->Lowered(""));
        EXPECT_EQ(this->T(""), this->Uppered(""));
    }
}

TYPED_TEST(StrCase, FollowsTheLocaleBehindAscii) {
    {
        const InLocale locale(kWesternLocale);
        EXPECT_EQ(this->T("a\xE4z\xF6y\xD7\xDF"), this->Lowered("A\xC4Z\xD6Y\xD7\xDF"));
        EXPECT_EQ(this->T("A\xC4Z\xD6Y\xF7\xD7"), this->Uppered("a\xE4z\xF6y\xF7\xD7"));
    }
    const InLocale locale("C");
    EXPECT_EQ(this->T("a\xC4z"), this->Lowered("A\xC4Z"));
    EXPECT_EQ(this->T("A\xE4Z"), this->Uppered("a\xE4z"));
}

TYPED_TEST(StrCase, ChangesAsciiWithinABlockWhateverItsLength) {
    for (size_t length = 0; length < 70; ++length) {
        EXPECT_EQ(this->T(std::string(length, 'q')), this->Lowered(std::string(length, 'Q')));
        EXPECT_EQ(this->T(std::string(length, 'Q')), this->Uppered(std::string(length, 'q')));
    }
}

TYPED_TEST(StrCase, StopsAtTheTerminator) {
    Buffer<TypeParam> buffer("AbC\0DeF"sv);
    Lower(buffer.Get());
    EXPECT_EQ(this->T("abc\0DeF#####"sv), buffer.All());
    Upper(buffer.Get());
    EXPECT_EQ(this->T("ABC\0DeF#####"sv), buffer.All());
    const InLocale locale(kWesternLocale);
    Buffer<TypeParam> other("\xC4\0DeF"sv);
    Lower(other.Get());
    EXPECT_EQ(this->T("\xE4\0DeF#######"sv), other.All());
}

TEST(StrCaseNarrow, OfLettersInTheirPlaceIsTheTurkishOnes) {
    const InLocale locale(kTurkishLocale);
    char text[] = "x\xDE";
    EXPECT_STREQ("x\xFE", KXStrToLowerA(text));
    EXPECT_STREQ("X\xDE", KXStrToUpperA(text));
}

TEST(StrCaseWide, ChangesLettersOfEveryScript) {
    const InLocale locale(kWesternLocale);
    char16_t text[] = u"A\u0391\u0416z";
    EXPECT_EQ(u"a\u03B1\u0436z"s, KXStrToLowerW(text));
    EXPECT_EQ(u"A\u0391\u0416Z"s, KXStrToUpperW(text));
    char16_t pair[] = u"x\U00010400";
    EXPECT_EQ(u"X\U00010400"s, KXStrToUpperW(pair)) << "a pair is two characters, without case";
    EXPECT_EQ(u"x\U00010400"s, KXStrToLowerW(pair));
}

// --- UTF16 ---------------------------------------------------------------------------------------

TEST(StrCaseUtf16, ChangesLettersOfEveryScriptAndPairs) {
    for (const char* const name : {"C", kWesternLocale}) {
        const InLocale locale(name);
        char16_t text[16] = u"A\u00C4\u0416\U00010400";
        EXPECT_EQ(text, KXStrToLowerUTF16(text));
        EXPECT_EQ(u"a\u00E4\u0436\U00010428"s, text);
        EXPECT_EQ(text, KXStrToUpperUTF16(text));
        EXPECT_EQ(u"A\u00C4\u0416\U00010400"s, text);
    }
    char16_t empty[] = u"";
    EXPECT_EQ(empty, KXStrToLowerUTF16(empty));
    EXPECT_EQ(u""s, KXStrToUpperUTF16(empty));
}

TEST(StrCaseUtf16, GoesThroughTwiceTheLengthAndNoFurther) {
    Buffer<char16_t> buffer("ABC\0DEFGH"sv);
    KXStrToLowerUTF16(buffer.Get());
    EXPECT_EQ(u"abc\0deFGH###"s, buffer.All());
    KXStrToUpperUTF16(buffer.Get());
    EXPECT_EQ(u"ABC\0DEFGH###"s, buffer.All());
    const auto tight = Tight<char16_t>(u"ABC\0DE"sv);
    KXStrToLowerUTF16(tight.get());
    EXPECT_EQ(u"abc\0de"s, std::u16string(tight.get(), 6));
}

TEST(StrCaseUtf16, GrowsIntoThatRoom) {
    char16_t text[] = u"a\u00DFb\0..!";
    EXPECT_EQ(u"ASSB"s, KXStrToUpperUTF16(text));
    EXPECT_EQ(u"ASSB\0.!\0"s, std::u16string(text, 8)) << "what was behind it moves up";
    char16_t street[16] = u"stra\u00DFe";
    EXPECT_EQ(u"STRASSE"s, KXStrToUpperUTF16(street));
    Buffer<char16_t> all("\xDF\xDF\0.!"sv);
    KXStrToUpperUTF16(all.Get());
    EXPECT_EQ(u"SSSS!#######"s, all.All()) << "to the last place of the room";
}

TEST(StrCaseUtf16, LeavesTextThatOutgrowsTheRoom) {
    // Three units each in upper case; of the second text the start alone would fit.
    for (const auto text : {u"\u0390\u0390\0.!#"sv, u"a\u0390\u0390\0.!"sv}) {
        const auto units = Tight<char16_t>(text);
        EXPECT_EQ(units.get(), KXStrToUpperUTF16(units.get()));
        EXPECT_EQ(text, std::u16string(units.get(), text.size()));
    }
}
