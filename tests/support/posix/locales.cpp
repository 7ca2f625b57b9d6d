#include "support/locales.h"

#include <cstdlib>

namespace kx::test {
namespace {

constexpr const char* kNames[] = {
    "C",
    "C.UTF-8",
    "de_AT.ISO-8859-15",
    "tr_TR.UTF-8",
    "tr_TR.ISO-8859-9",
    "ja_JP.EUC-JP",
    "ru_RU.KOI8-R",
    "eo.UTF-8",
    "de_DE.UTF-8@euro",
};

}  // namespace

const char* const kWesternLocale = "de_AT.ISO-8859-15";
const char* const kTurkishLocale = "tr_TR.ISO-8859-9";
const std::span<const char* const> kEveryLocale = kNames;
const MultiByteLocale kMultiByteLocale = {"C.UTF-8", "\xC3\xA9", u"\u00E9"};

// They are made by locales.cmake.
void ProvideLocales() {
    setenv("LOCPATH", KXTEST_LOCALES, 1);
}

}  // namespace kx::test
