// The names of locale and encoding are those of the user's settings.
#include <gtest/gtest.h>
#include <kxcore7/locale.h>
#include <windows.h>

#include <string>

#include "support/results.h"

TEST(EncodingOfTheSystem, IsItsCodePage) {
    char16_t name[8];
    ASSERT_RESULT(KX_S_OK, KXGetDefaultCharEncoding(name, 8));
    const std::string number = std::to_string(GetACP());
    const std::u16string expected = u"CP" + std::u16string(number.begin(), number.end());
    EXPECT_EQ(GetACP() == CP_UTF8 ? u"UTF-8" : expected, name);
}

TEST(LocaleOfTheSystem, IsOfTheUsersLanguage) {
    char language[16];
    ASSERT_NE(0, GetLocaleInfoA(GetUserDefaultLCID(), LOCALE_SISO639LANGNAME, language, 16));
    char16_t name[24];
    ASSERT_RESULT(KX_S_OK, KXGetDefaultLocale(name, 24));
    const std::string narrow = language;
    const std::u16string expected(narrow.begin(), narrow.end());
    EXPECT_TRUE(std::u16string(name).starts_with(expected)) << narrow;
}
