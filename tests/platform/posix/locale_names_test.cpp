// The names of locale and encoding under the process's locale.
#include <gtest/gtest.h>
#include <kxcore7/locale.h>
#include <unicode/ucnv.h>

#include <clocale>
#include <memory>
#include <string>

#include "support/locales.h"
#include "support/results.h"

using kx::test::InLocale;
using kx::test::kEveryLocale;

namespace {

std::string LocaleName() {
    char16_t name[24];
    EXPECT_RESULT(KX_S_OK, KXGetDefaultLocale(name, 24));
    const std::u16string wide = name;
    return {wide.begin(), wide.end()};
}

std::string EncodingName() {
    char16_t name[8];
    EXPECT_RESULT(KX_S_OK, KXGetDefaultCharEncoding(name, 8));
    const std::u16string wide = name;
    return {wide.begin(), wide.end()};
}

}  // namespace

TEST(LocaleOfTheProcess, IsItsNameWithoutCodesetAndModifier) {
    const struct {
        const char* locale;
        const char* name;
    } locales[] = {
        {"tr_TR.UTF-8", "tr_TR"},  {"tr_TR.ISO-8859-9", "tr_TR"}, {"de_AT.ISO-8859-15", "de_AT"},
        {"ja_JP.EUC-JP", "ja_JP"}, {"ru_RU.KOI8-R", "ru_RU"},     {"de_DE.UTF-8@euro", "de_DE"},
        {"de_DE@euro", "de_DE"},   {"C.UTF-8", "en_US_POSIX"},    {"C", "en_US_POSIX"},
        {"POSIX", "en_US_POSIX"},
    };
    for (const auto& [locale, name] : locales) {
        const InLocale scope(locale);
        EXPECT_EQ(name, LocaleName()) << locale;
    }
}

TEST(LocaleOfTheProcess, IsAmericanEnglishWhereItsNameHasNoRow) {
    const InLocale locale("eo.UTF-8");
    EXPECT_EQ("en_US", LocaleName());
}

TEST(LocaleOfTheProcess, IsThatOfMessages) {
    const InLocale locale("de_AT.ISO-8859-15");
    ASSERT_NE(nullptr, std::setlocale(LC_MESSAGES, "tr_TR.UTF-8"));
    EXPECT_EQ("tr_TR", LocaleName());
    EXPECT_EQ("CP923", EncodingName()) << "while the encoding is that of characters";
}

TEST(LocaleOfTheProcess, IsAskedForAtEveryCall) {
    const InLocale outer("de_AT.ISO-8859-15");
    EXPECT_EQ("de_AT", LocaleName());
    {
        const InLocale inner("ru_RU.KOI8-R");
        EXPECT_EQ("ru_RU", LocaleName());
        EXPECT_EQ("CP878", EncodingName());
    }
    EXPECT_EQ("de_AT", LocaleName());
    EXPECT_EQ("CP923", EncodingName());
}

TEST(EncodingOfTheProcess, IsTheCodePageOfItsCodeset) {
    const struct {
        const char* locale;
        const char* name;
    } locales[] = {
        {"C.UTF-8", "UTF-8"},        {"tr_TR.UTF-8", "UTF-8"},       {"de_DE.UTF-8@euro", "UTF-8"},
        {"de_DE@euro", "CP923"},     {"de_AT.ISO-8859-15", "CP923"}, {"tr_TR.ISO-8859-9", "CP920"},
        {"ja_JP.EUC-JP", "CP33722"}, {"ru_RU.KOI8-R", "CP878"},      {"C", "CP367"},
        {"POSIX", "CP367"},
    };
    for (const auto& [locale, name] : locales) {
        const InLocale scope(locale);
        EXPECT_EQ(name, EncodingName()) << locale;
    }
}

TEST(EncodingOfTheProcess, OpensUnderThatNameInEveryLocale) {
    for (const char* const locale : kEveryLocale) {
        const InLocale scope(locale);
        UErrorCode status = U_ZERO_ERROR;
        const std::unique_ptr<UConverter, decltype(&ucnv_close)> converter(
            ucnv_open(EncodingName().c_str(), &status), ucnv_close);
        ASSERT_TRUE(U_SUCCESS(status)) << locale;
        EXPECT_STRNE("ISO-8859-1", ucnv_getName(converter.get(), &status)) << locale;
    }
}
