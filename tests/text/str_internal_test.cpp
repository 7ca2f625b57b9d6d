// What allocates, and what exhausted memory gives.
#include <gtest/gtest.h>
#include <kxcore7/character.h>
#include <kxcore7/conversion.h>
#include <kxcore7/number.h>
#include <kxcore7/str.h>
#include <unicode/uloc.h>

#include <new>
#include <string>

#include "support/failing_new.h"
#include "support/locales.h"

using kx::test::FailingNew;
using kx::test::InLocale;
using kx::test::kMultiByteLocale;
using kx::test::kWesternLocale;

namespace {

// ICU's default locale for the time of a scope.
class InIcuLocale final {
  public:
    explicit InIcuLocale(const char* name) : m_before(uloc_getDefault()) { Set(name); }
    ~InIcuLocale() { Set(m_before.c_str()); }
    InIcuLocale(const InIcuLocale&) = delete;
    InIcuLocale& operator=(const InIcuLocale&) = delete;

  private:
    static void Set(const char* name) {
        UErrorCode status = U_ZERO_ERROR;
        uloc_setDefault(name, &status);
        EXPECT_TRUE(U_SUCCESS(status)) << name;
    }

    const std::string m_before;
};

void CallStrings(char* a, char16_t* w) {
    KXStrFreeA(nullptr);
    KXStrNZCpyA(a, 64, "Some \xE4 text", 20);
    KXStrNZCpyW(w, 64, u"Some \u00E4 text", 20);
    KXStrNZCatA(a, 64, "; more", 20);
    KXStrNZCatW(w, 64, u"; more", 20);
    KXStrNZCatUTF16(w, 64, u"; more", 20);
    KXStrCpyCatA(a + 40, 2, "a", "b");
    KXStrNCatA(a, "x", 1);
    KXStrNCatW(w, u"x", 1);
    KXStrCmpA(a, "b");
    KXStrCmpW(w, u"b");
    KXStrCmpUTF16(w, u"b");
    KXStrNCmpUTF16(w, u"b", 4);
    KXStrICmpA(a, "some \xC4 b");
    KXStrNICmpA(a, "some \xC4 b", 9);
    KXStrICmpW(w, u"some \u00C4 b");
    KXStrNICmpW(w, u"some \u00C4 b", 9);
    KXStrICmpUCS2(w, u"some");
    KXStrICmpUTF16(w, u"some \u00C4 b");
    KXStrNICmpUTF16(w, u"some \u00C4 b", 9);
    KXStrStrA(a, "te");
    KXStrStrW(w, u"te");
    KXStrStrUTF16(w, u"te");
    KXStrRChrUTF16(w, 0x1F600);
    KXCountCharUTF16(w);
    KXStrToLowerA(KXStrToUpperA(a));
    KXStrToLowerW(KXStrToUpperW(w));
    KXStrToLowerUTF16(KXStrToUpperUTF16(w));
    KXStrTokA(&a, ";");
    KXStrTokW(&w, u";");
}

void CallCharactersAndNumbers(char* a, char16_t* w) {
    for (const int ch : {0x61, 0xE4, 0x416}) {
        KXIsAlphaA(ch);
        KXIsAlphaW(ch);
        KXIsSpaceA(ch);
        KXIsSpaceW(ch);
        KXToLowerA(ch);
        KXToUpperW(ch);
    }
    KXStrToIA("12");
    KXStrToIW(u"12");
    KXStrToI64W(u"12");
    KXStrToLLW(u"-0x12", nullptr, 0);
    KXStrToULLA("12", nullptr, 10);
    KXStrToDA("1,5e30", nullptr);
    const std::u16string_view digits = u"1234567890";
    for (std::size_t i = 0; i < 1000; ++i) w[i] = digits[i % digits.size()];
    w[1000] = 0;
    KXStrToDW(w, nullptr);
    KXLToStrA(-1, a, 2);
    KXInt64ToStrW(-1, w, 2);
}

void CallConversions(char* a, char16_t* w) {
    KXAnsiToUnicode(w, "Some \xE4 text", 64);
    KXAnsiToUnicode(nullptr, "Some \xE4 text", 0);
    KXAnsiToWstring(w, "Some \xE4 text", 64);
    KXUnicodeToAnsi(a, u"Some \u00E4 text", 64);
    KXUnicodeToString(a, u"Some \u00E4\u4E2D text", 64);
    KXUTF16ToUTF8(a, u"Some \u00E4 text", 64);
    KXUTF8ToUTF16(w, "Some \xC3\xA4 text", 64);
    const char16_t* cursor = w;
    KXNextCharUTF16(&cursor, -1);
    KXIsUtf8BomStr(a);
}

}  // namespace

TEST(StrMemory, DuplicatesThrowWhenItIsExhausted) {
    EXPECT_THROW((FailingNew(), KXStrDupA("abc")), std::bad_alloc);
    EXPECT_THROW((FailingNew(), KXStrDupW(u"abc")), std::bad_alloc);
    EXPECT_THROW((FailingNew(), KXStrNDupA("abc", 2)), std::bad_alloc);
    EXPECT_THROW((FailingNew(), KXStrNDupW(u"abc", 0)), std::bad_alloc);
}

TEST(StrMemory, DuplicatesOfNullNeedNone) {
    const FailingNew exhausted;
    EXPECT_EQ(nullptr, KXStrDupA(nullptr));
    EXPECT_EQ(nullptr, KXStrDupW(nullptr));
    EXPECT_EQ(nullptr, KXStrNDupA(nullptr, 2));
    EXPECT_EQ(nullptr, KXStrNDupW(nullptr, 2));
}

TEST(StrMemory, NothingElseInTheFamilyAllocates) {
    for (const char* const name : {"C", kWesternLocale, kMultiByteLocale.name}) {
        const InLocale locale(name);
        char a[128];
        char16_t w[1024];
        uloc_getDefault();  // which ICU makes at its first use
        const FailingNew exhausted;
        CallStrings(a, w);
        CallCharactersAndNumbers(a, w);
        CallConversions(a, w);
    }
}

TEST(StrCaseUtf16, FollowsIcusDefaultLocale) {
    char16_t text[8] = u"Ii";
    {
        const InIcuLocale turkish("tr_TR");
        EXPECT_EQ(std::u16string(u"\u0131i"), KXStrToLowerUTF16(text));
        EXPECT_EQ(std::u16string(u"I\u0130"), KXStrToUpperUTF16(text));
        EXPECT_EQ(0, KXStrICmpUTF16(u"I", u"i")) << "comparison follows none";
        EXPECT_NE(0, KXStrICmpUTF16(u"I", u"\u0131"));
    }
    const InIcuLocale english("en_US");
    char16_t other[8] = u"Ii";
    EXPECT_EQ(std::u16string(u"II"), KXStrToUpperUTF16(other));
    EXPECT_EQ(std::u16string(u"ii"), KXStrToLowerUTF16(other));
}
