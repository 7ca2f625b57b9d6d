#include "text/conversion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "platform/locale.h"
#include "support/locales.h"

using namespace kx;
using test::InLocale;
using test::kMultiByteLocale;

namespace {

class Conversion : public ::testing::Test {
  protected:
    const InLocale m_locale{kMultiByteLocale.name};
    const std::string m_narrow = kMultiByteLocale.narrow;
    const std::u16string m_wide = kMultiByteLocale.wide;
};

}  // namespace

TEST_F(Conversion, MakesOwningStrings) {
    EXPECT_EQ(u"a" + m_wide, core::WideFromNarrow(("a" + m_narrow).c_str()));
    EXPECT_EQ("a" + m_narrow, core::NarrowFromWide((u"a" + m_wide).c_str()));
    EXPECT_EQ(u"", core::WideFromNarrow(""));
    EXPECT_EQ("", core::NarrowFromWide(u""));
}

TEST_F(Conversion, ThatFailsGivesAnEmptyString) {
    EXPECT_EQ(u"", core::WideFromNarrow("a\xFF"));
    const char16_t lone[] = {u'a', char16_t(0xD800), u'b', 0};
    EXPECT_EQ("", core::NarrowFromWide(lone));
    const char16_t atTheEnd[] = {u'a', char16_t(0xD800), 0};
    EXPECT_EQ("", core::NarrowFromWide(atTheEnd));
    const InLocale locale("C");
    EXPECT_EQ("", core::NarrowFromWide(u"\u4E2D"));
}

TEST_F(Conversion, WritesAtMostTheCount) {
    const std::u16string wide = u"a" + m_wide + m_wide;
    for (std::size_t count = 0; count < 7; ++count) {
        char narrow[9];
        std::fill(narrow, narrow + 9, '#');
        const std::size_t bytes = platform::WideToNarrow(narrow, wide.c_str(), count);
        EXPECT_EQ(count < 1 ? 0u : count < 3 ? 1u : count < 5 ? 3u : 5u, bytes) << count;
        EXPECT_EQ('#', narrow[std::max(count, bytes)]);
        EXPECT_EQ(count > 5, bytes == 5 && narrow[5] == '\0') << "a terminator where it fits";
    }
}
