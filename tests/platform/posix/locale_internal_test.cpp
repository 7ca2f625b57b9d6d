// Characters that take two wide units.
#include "platform/locale.h"

#include <string>

#include "support/locales.h"
#include "text/conversion.h"

using namespace kx;
using test::InLocale;

TEST(Locale, PairsOfUnitsAreOneCharacter) {
    const InLocale locale("C.UTF-8");
    EXPECT_EQ(u"a\u00E9\U0001F600", core::WideFromNarrow("a\xC3\xA9\xF0\x9F\x98\x80"));
    EXPECT_EQ("a\xC3\xA9\xF0\x9F\x98\x80", core::NarrowFromWide(u"a\u00E9\U0001F600"));
}

TEST(Locale, APairIsWrittenWholeOrNotAtAll) {
    const InLocale locale("C.UTF-8");
    char16_t buffer[16];
    const char text[] = "ab\xC3\xA9\xF0\x9F\x98\x80z";
    EXPECT_EQ(6u, platform::NarrowToWide(buffer, text, 16));
    EXPECT_EQ(std::u16string(u"ab\u00E9\U0001F600z"), buffer);
    EXPECT_EQ(6u, platform::NarrowToWide(nullptr, text, 0));
    EXPECT_EQ(3u, platform::NarrowToWide(buffer, text, 4));
    EXPECT_EQ(5u, platform::NarrowToWide(buffer, text, 5));
}

TEST(Locale, NothingBeyondAsciiIsInTheCLocale) {
    const InLocale locale("C");
    EXPECT_EQ("", core::NarrowFromWide(u"\u00E9"));
    EXPECT_EQ(u"", core::WideFromNarrow("\xE9"));
}
