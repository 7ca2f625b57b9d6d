// Where ASCII ends, and with it what is converted without the runtime.
#include <gtest/gtest.h>
#include <kxcore7/conversion.h>

#include <cstddef>
#include <iterator>
#include <string>

#include "support/locales.h"

using namespace kx::test;

namespace {

TEST(AsciiBorder, TheFirstCharacterBehindItTakesTwoBytesOfUtf8) {
    const InLocale locale("C.UTF-8");
    char narrow[8] = "";
    EXPECT_EQ(4u, KXUnicodeToAnsi(narrow, u"\u007F\u0080z", sizeof narrow));
    EXPECT_EQ(std::string("\x7F\xC2\x80z"), narrow);
    char16_t wide[8] = u"";
    EXPECT_EQ(3u, KXAnsiToWstring(wide, narrow, std::size(wide)));
    EXPECT_EQ(std::u16string(u"\u007F\u0080z"), wide);
}

TEST(AsciiBorder, InThePlainLocaleThereIsNothingBehindIt) {
    const InLocale locale("C");
    char narrow[8] = "";
    EXPECT_EQ(1u, KXUnicodeToAnsi(narrow, u"\u007F", sizeof narrow));
    EXPECT_EQ(~std::size_t{0}, KXUnicodeToAnsi(narrow, u"a\u0080", sizeof narrow));
    char16_t wide[8] = u"#";
    EXPECT_EQ(0u, KXAnsiToWstring(wide, "a\x80", std::size(wide)));
}

}  // namespace
