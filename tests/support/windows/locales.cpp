#include "support/locales.h"

namespace kx::test {
namespace {

constexpr const char* kNames[] = {"C", "German_Austria.1252", "Turkish_Turkey.1254", ".932"};

}  // namespace

const char* const kWesternLocale = "German_Austria.1252";
const char* const kTurkishLocale = "Turkish_Turkey.1254";
const std::span<const char* const> kEveryLocale = kNames;

// The runtime has no UTF-8; this is the code page of Japan.
const MultiByteLocale kMultiByteLocale = {".932", "\x82\xA0", u"\u3042"};

// They are the runtime's own.
void ProvideLocales() {}

}  // namespace kx::test
