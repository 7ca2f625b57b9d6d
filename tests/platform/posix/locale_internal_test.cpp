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

namespace {

// What a text is in the encoding, in exactly the room that it takes; nothing of a size less.
std::string InCodePage(const std::u16string& text, std::size_t length) {
    std::string narrow(length + 2, '#');
    EXPECT_EQ(0u, platform::WideToCodePage(narrow.data(), text.c_str(), length));
    EXPECT_EQ('#', narrow[length]);
    EXPECT_EQ(length + 1, platform::WideToCodePage(narrow.data(), text.c_str(), length + 1));
    EXPECT_EQ(std::string("\0#", 2), narrow.substr(length));
    return narrow.substr(0, length);
}

}  // namespace

TEST(CodePage, HasWhatTheLocaleHas) {
    const InLocale locale("C.UTF-8");
    EXPECT_EQ("", InCodePage(u"", 0));
    EXPECT_EQ("host", InCodePage(u"host", 4));
    EXPECT_EQ("a\xC3\xA9\xF0\x9F\x98\x80z", InCodePage(u"a\u00E9\U0001F600z", 8));
}

TEST(CodePage, HasAQuestionMarkInThePlaceOfWhatTheLocaleLacks) {
    {
        const InLocale locale("C.UTF-8");
        EXPECT_EQ("a?z", InCodePage(std::u16string(u"a\xD800z"), 3)) << "half a pair";
        EXPECT_EQ("?", InCodePage(std::u16string(u"\xDC00"), 1));
        EXPECT_EQ("??", InCodePage(std::u16string(u"\xDC00\xD800"), 2)) << "in the wrong order";
    }
    {
        const InLocale locale("C");
        EXPECT_EQ("h?st", InCodePage(u"h\u00F6st", 4));
        EXPECT_EQ("?", InCodePage(u"\U0001F600", 1)) << "a pair is one character";
    }
    {
        const InLocale locale("de_AT.ISO-8859-15");
        EXPECT_EQ("h\xF6st\xA4?", InCodePage(u"h\u00F6st\u20AC\u3042", 6));
    }
    {
        const InLocale locale("ja_JP.EUC-JP");
        EXPECT_EQ("\xA4\xA2?\xA4\xA2", InCodePage(u"\u3042\U0001F600\u3042", 5));
    }
}

TEST(CodePage, WritesACharacterWholeOrNotAtAll) {
    const InLocale locale("C.UTF-8");
    std::string narrow(8, '#');
    EXPECT_EQ(0u, platform::WideToCodePage(narrow.data(), u"a\U0001F600", 4));
    EXPECT_EQ("a#######", narrow);
}
