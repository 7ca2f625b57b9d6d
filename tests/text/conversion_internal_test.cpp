#include "text/conversion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <string>

#include "platform/locale.h"

using namespace kx;

namespace {

class Conversion : public ::testing::Test {
  protected:
    Conversion() { std::setlocale(LC_ALL, "C.UTF-8"); }
    ~Conversion() override { std::setlocale(LC_ALL, ""); }
};

}  // namespace

TEST_F(Conversion, MakesOwningStrings) {
    EXPECT_EQ(u"a\u00E9\U0001F600", core::WideFromNarrow("a\xC3\xA9\xF0\x9F\x98\x80"));
    EXPECT_EQ("a\xC3\xA9\xF0\x9F\x98\x80", core::NarrowFromWide(u"a\u00E9\U0001F600"));
    EXPECT_EQ(u"", core::WideFromNarrow(""));
    EXPECT_EQ("", core::NarrowFromWide(u""));
}

TEST_F(Conversion, ThatFailsGivesAnEmptyString) {
    EXPECT_EQ(u"", core::WideFromNarrow("a\xFF"));
    const char16_t lone[] = {u'a', char16_t(0xD800), u'b', 0};
    EXPECT_EQ("", core::NarrowFromWide(lone));
    const char16_t atTheEnd[] = {u'a', char16_t(0xD800), 0};
    EXPECT_EQ("", core::NarrowFromWide(atTheEnd));
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ("", core::NarrowFromWide(u"\u00E9"));
}

TEST_F(Conversion, WritesAtMostTheCount) {
    for (std::size_t count = 0; count < 8; ++count) {
        char narrow[9];
        std::fill(narrow, narrow + 9, '#');
        const std::size_t bytes = platform::WideToNarrow(narrow, u"a\u00E9\u4E2D", count);
        EXPECT_EQ(count < 1 ? 0u : count < 3 ? 1u : count < 6 ? 3u : 6u, bytes) << count;
        EXPECT_EQ('#', narrow[std::max(count, bytes)]);
        EXPECT_EQ(count > 6, bytes == 6 && narrow[6] == '\0') << "a terminator where it fits";
    }
}
