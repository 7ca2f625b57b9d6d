// Search and tokens.
#include <kxcore7/str.h>

#include "text/flavours.h"

using namespace kx::test;
using namespace std::string_view_literals;

namespace {

template <typename Unit>
class StrSearch : public ::testing::Test {
  protected:
    static std::basic_string<Unit> T(std::string_view text) { return Text<Unit>(text); }
};
TYPED_TEST_SUITE(StrSearch, Units, FlavourName);

template <typename Unit>
class StrTok : public ::testing::Test {
  protected:
    explicit StrTok() { Start("abc"); }
    void Start(std::string_view text) {
        m_text = Tight<Unit>(Text<Unit>(std::string(text) + '\0'));
        m_cursor = m_text.get();
    }
    // The next token as narrow text; "(none)" for null.
    std::string Next(std::string_view delimiters) {
        const Unit* const token = Tok(&m_cursor, Text<Unit>(delimiters).c_str());
        if (token == nullptr) return "(none)";
        const std::basic_string<Unit> units = token;
        return std::string(units.begin(), units.end());
    }

    std::unique_ptr<Unit[]> m_text;
    Unit* m_cursor = nullptr;
};
TYPED_TEST_SUITE(StrTok, Units, FlavourName);

}  // namespace

// --- Characters ----------------------------------------------------------------------------------

TYPED_TEST(StrSearch, ChrFindsTheFirst) {
    const auto text = this->T("abcabc\xE4\xE4");
    EXPECT_EQ(&text[0], Chr(text.c_str(), 'a'));
    EXPECT_EQ(&text[2], Chr(text.c_str(), 'c'));
    EXPECT_EQ(&text[6], Chr(text.c_str(), text[7]));
    EXPECT_EQ(nullptr, Chr(text.c_str(), 'x'));
    EXPECT_EQ(nullptr, Chr(this->T("").c_str(), 'x'));
}

TYPED_TEST(StrSearch, RChrFindsTheLast) {
    const auto text = this->T("abcabc\xE4\xE4");
    EXPECT_EQ(&text[3], RChr(text.c_str(), 'a'));
    EXPECT_EQ(&text[5], RChr(text.c_str(), 'c'));
    EXPECT_EQ(&text[7], RChr(text.c_str(), text[6]));
    EXPECT_EQ(nullptr, RChr(text.c_str(), 'x'));
    EXPECT_EQ(nullptr, RChr(this->T("").c_str(), 'x'));
    const auto once = this->T("xabc");
    EXPECT_EQ(&once[0], RChr(once.c_str(), 'x'));
}

TYPED_TEST(StrSearch, TheTerminatorCanBeFound) {
    for (const auto text : {""sv, "abc"sv}) {
        const auto units = this->T(text);
        EXPECT_EQ(units.c_str() + text.size(), Chr(units.c_str(), 0));
        EXPECT_EQ(units.c_str() + text.size(), RChr(units.c_str(), 0));
    }
}

TYPED_TEST(StrSearch, ReadsNothingBehindTheTerminator) {
    for (size_t length = 0; length < 40; ++length) {
        const auto text = Tight<TypeParam>(this->T(std::string(length, 'x') + '\0'));
        EXPECT_EQ(nullptr, Chr(text.get(), 'y'));
        EXPECT_EQ(nullptr, RChr(text.get(), 'y'));
        EXPECT_EQ(nullptr, Find(text.get(), this->T("xy").c_str()));
    }
}

TEST(StrSearchWide, ChrSeesTheWholeUnitAndHalvesOfPairs) {
    const char16_t text[] = u"\u0161a\U0001F600";
    EXPECT_EQ(text + 1, KXStrChrW(text, u'a'));
    EXPECT_EQ(text + 1, KXStrRChrW(text, u'a'));
    EXPECT_EQ(text + 2, KXStrChrW(text, 0xD83D));
    EXPECT_EQ(text + 3, KXStrRChrW(text, 0xDE00));
}

TEST(StrSearchUcs2, FindsASurrogateOnlyOutsideOfPairs) {
    const char16_t text[] = {u'a', 0xD83D, 0xDE00, 0xD83D, u'b', 0xDE00, u'b', 0};
    EXPECT_EQ(text + 3, KXStrChrUCS2(text, 0xD83D));
    EXPECT_EQ(text + 3, KXStrRChrUCS2(text, 0xD83D));
    EXPECT_EQ(text + 5, KXStrChrUCS2(text, 0xDE00));
    EXPECT_EQ(text + 5, KXStrRChrUCS2(text, 0xDE00));
    EXPECT_EQ(nullptr, KXStrChrUCS2(u"\U0001F600", 0xD83D));
    EXPECT_EQ(nullptr, KXStrRChrUCS2(u"\U0001F600", 0xDE00));
    EXPECT_EQ(text + 4, KXStrChrUCS2(text, u'b'));
    EXPECT_EQ(text + 6, KXStrRChrUCS2(text, u'b'));
    EXPECT_EQ(text + 7, KXStrChrUCS2(text, 0));
    EXPECT_EQ(text + 7, KXStrRChrUCS2(text, 0));
    EXPECT_EQ(nullptr, KXStrChrUCS2(text, u'x'));
}

TEST(StrSearchUtf16, FindsACodePointAsItsPair) {
    const char16_t text[] = u"a\U0001F600b\U0001F600c\U0001F601";
    EXPECT_EQ(text + 1, KXStrChrUTF16(text, 0x1F600));
    EXPECT_EQ(text + 4, KXStrRChrUTF16(text, 0x1F600));
    EXPECT_EQ(text + 7, KXStrChrUTF16(text, 0x1F601));
    EXPECT_EQ(text + 3, KXStrChrUTF16(text, u'b'));
    EXPECT_EQ(text + 6, KXStrRChrUTF16(text, u'c'));
    EXPECT_EQ(nullptr, KXStrChrUTF16(text, 0x1F602));
    EXPECT_EQ(text + 9, KXStrChrUTF16(text, 0));
    EXPECT_EQ(text + 9, KXStrRChrUTF16(text, 0));
    EXPECT_EQ(nullptr, KXStrChrUTF16(text, 0xD83D)) << "half of a pair";
}

TEST(StrSearchUtf16, FindsNothingAboveTheLastCodePoint) {
    const char16_t last[] = u"a\U0010FFFF";
    EXPECT_EQ(last + 1, KXStrChrUTF16(last, 0x10FFFF));
    for (const char32_t beyond : {char32_t{0x110000}, char32_t{0x7FFFFFFF}, char32_t{0xFFFFFFFF}}) {
        EXPECT_EQ(nullptr, KXStrChrUTF16(last, beyond));
        EXPECT_EQ(nullptr, KXStrRChrUTF16(last, beyond));
    }
}

// --- Substrings ----------------------------------------------------------------------------------

TYPED_TEST(StrSearch, StrFindsTheFirstSubstring) {
    const auto text = this->T("aabaabaac");
    EXPECT_EQ(&text[0], Find(text.c_str(), this->T("aab").c_str()));
    EXPECT_EQ(&text[3], Find(text.c_str(), this->T("aabaac").c_str())) << "begins within a try";
    EXPECT_EQ(&text[8], Find(text.c_str(), this->T("c").c_str()));
    EXPECT_EQ(&text[0], Find(text.c_str(), text.c_str()));
    EXPECT_EQ(nullptr, Find(text.c_str(), this->T("aabaabaacd").c_str()));
    EXPECT_EQ(nullptr, Find(text.c_str(), this->T("acc").c_str()));
    EXPECT_EQ(nullptr, Find(text.c_str(), this->T("AAB").c_str()));
}

TYPED_TEST(StrSearch, StrFindsAnEmptySubstringAtTheStart) {
    for (const auto text : {""sv, "abc"sv}) {
        const auto units = this->T(text);
        EXPECT_EQ(units.c_str(), Find(units.c_str(), this->T("").c_str()));
    }
    EXPECT_EQ(nullptr, Find(this->T("").c_str(), this->T("a").c_str()));
}

TEST(StrSearchUtf16, StrFindsAnEmptySubstringAtTheStart) {
    const char16_t text[] = u"abc";
    EXPECT_EQ(text, KXStrStrUTF16(text, u""));
    EXPECT_EQ(text + 3, KXStrStrUTF16(text + 3, u""));
    EXPECT_EQ(text + 1, KXStrStrUTF16(text, u"bc"));
    EXPECT_EQ(nullptr, KXStrStrUTF16(text, u"bd"));
}

TEST(StrSearchUtf16, StrNeitherBeginsNorEndsInsideAPair) {
    const char16_t text[] = {u'a', 0xD83D, 0xDE00, u'b', 0xD83D, u'b', 0xDE00, u'b', 0};
    const char16_t lead[] = {0xD83D, 0};
    const char16_t behind[] = {0xDE00, u'b', 0};
    EXPECT_EQ(text + 4, KXStrStrUTF16(text, lead));
    EXPECT_EQ(text + 6, KXStrStrUTF16(text, behind));
    EXPECT_EQ(text + 1, KXStrStrUTF16(text, u"\U0001F600b"));
    EXPECT_EQ(text + 1, KXStrStrW(text, lead)) << "W knows of no pairs";
    EXPECT_EQ(text + 2, KXStrStrW(text, behind));
}

// --- Tokens --------------------------------------------------------------------------------------

TYPED_TEST(StrTok, GivesOneTokenAfterTheOther) {
    this->Start(",a,bc;;d,");
    EXPECT_EQ("a", this->Next(",;"));
    EXPECT_EQ("bc", this->Next(",;"));
    EXPECT_EQ("d", this->Next(",;"));
    EXPECT_NE(nullptr, this->m_cursor) << "a delimiter stood behind it";
    EXPECT_EQ("(none)", this->Next(",;"));
    EXPECT_EQ(nullptr, this->m_cursor);
}

TYPED_TEST(StrTok, HasANullCursorBehindTheLastToken) {
    this->Start("a,b");
    EXPECT_EQ("a", this->Next(","));
    EXPECT_NE(nullptr, this->m_cursor);
    EXPECT_EQ("b", this->Next(","));
    EXPECT_EQ(nullptr, this->m_cursor);
    EXPECT_EQ("(none)", this->Next(","));
    EXPECT_EQ("(none)", this->Next(","));
}

TYPED_TEST(StrTok, OfAnEmptyStringOrDelimitersAloneIsNull) {
    for (const auto text : {""sv, ","sv, ",;,"sv}) {
        this->Start(text);
        EXPECT_EQ("(none)", this->Next(",;")) << text;
        EXPECT_EQ(nullptr, this->m_cursor) << text;
    }
}

TYPED_TEST(StrTok, OfANullCursorIsNull) {
    this->m_cursor = nullptr;
    EXPECT_EQ("(none)", this->Next(","));
    EXPECT_EQ(nullptr, this->m_cursor);
}

TYPED_TEST(StrTok, WithoutDelimitersGivesTheWholeRest) {
    this->Start("a,b;c");
    EXPECT_EQ("a", this->Next(","));
    EXPECT_EQ("b;c", this->Next(""));
    EXPECT_EQ(nullptr, this->m_cursor);
}

TYPED_TEST(StrTok, TakesOtherDelimitersWithEachCall) {
    this->Start("key=a=b;c");
    EXPECT_EQ("key", this->Next("="));
    EXPECT_EQ("a=b", this->Next(";"));
    EXPECT_EQ("c", this->Next("="));
}

TYPED_TEST(StrTok, OverwritesTheDelimiterAndGoesBehindIt) {
    this->Start("ab,,c");
    EXPECT_EQ("ab", this->Next(","));
    EXPECT_EQ(this->m_text.get() + 3, this->m_cursor);
    EXPECT_EQ(Text<TypeParam>("ab\0,c"sv), std::basic_string<TypeParam>(this->m_text.get(), 5))
        << "the second delimiter stays";
}

TYPED_TEST(StrTok, MayBeNested) {
    this->Start("a b;c d");
    std::string seen;
    while (TypeParam* inner = Tok(&this->m_cursor, Text<TypeParam>(";").c_str())) {
        while (const TypeParam* const token = Tok(&inner, Text<TypeParam>(" ").c_str())) {
            seen += static_cast<char>(*token);
        }
        seen += '.';
    }
    EXPECT_EQ("ab.cd.", seen);
}

TYPED_TEST(StrTok, TakesUnitsBehindAsciiAsDelimitersToo) {
    this->Start(
        "a\xE4"
        "b\xFF"
        "c");
    EXPECT_EQ("a", this->Next("\xFF\xE4"));
    EXPECT_EQ("b", this->Next("\xFF\xE4"));
    EXPECT_EQ("c", this->Next("\xFF\xE4"));
}

TEST(StrTokWide, ComparesTheWholeUnit) {
    char16_t text[] = u"a\u012Cb,c";
    char16_t* cursor = text;
    EXPECT_EQ(std::u16string(u"a\u012Cb"), KXStrTokW(&cursor, u",")) << "0x2C is the comma";
}
