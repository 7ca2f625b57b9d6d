#include <gtest/gtest.h>
#include <kxcore7/locale.h>
#include <unicode/ucnv.h>

#include <climits>
#include <string>

#include "support/results.h"

namespace {

constexpr std::uint32_t kRoom = 24;

std::u16string DefaultLocale() {
    char16_t name[kRoom];
    EXPECT_RESULT(KX_S_OK, KXGetDefaultLocale(name, kRoom));
    return name;
}

}  // namespace

TEST(DefaultLocale, NeedsRoomForItsNameAndATerminatorAndClearsTheRest) {
    const std::u16string name = DefaultLocale();
    ASSERT_GE(name.size(), 2u);
    for (std::uint32_t count = 0; count <= kRoom; ++count) {
        std::u16string units(kRoom, u'#');
        std::u16string expected = units;
        if (count > name.size()) {
            expected = name;
            expected.resize(count, u'\0');
            expected.resize(kRoom, u'#');
        }
        EXPECT_RESULT(count > name.size() ? 0 : 0x80004009, KXGetDefaultLocale(units.data(), count))
            << count;
        EXPECT_EQ(expected, units) << count;
    }
}

TEST(DefaultLocale, ClearsALargeTargetToItsEnd) {
    std::u16string units(70000, u'#');
    EXPECT_RESULT(KX_S_OK, KXGetDefaultLocale(units.data(), 70000));
    EXPECT_EQ(units.npos, units.find(u'#')) << "cleared to the end";
}

TEST(DefaultCharEncoding, NeedsRoomForEightWhateverItsName) {
    for (const int count : {INT_MIN, -1, 0, 1, 6, 7}) {
        std::u16string units(kRoom, u'#');
        EXPECT_RESULT(0x80004009, KXGetDefaultCharEncoding(units.data(), count)) << count;
        EXPECT_EQ(std::u16string(kRoom, u'#'), units);
    }
    for (const int count : {8, 9, INT_MAX}) {
        std::u16string units(kRoom, u'#');
        EXPECT_RESULT(KX_S_OK, KXGetDefaultCharEncoding(units.data(), count)) << count;
        EXPECT_LT(std::char_traits<char16_t>::length(units.c_str()), 8u);
        EXPECT_EQ(u'#', units[8]);
    }
}

TEST(DefaultCharEncoding, IsOneThatOpens) {
    char16_t name[8];
    ASSERT_RESULT(KX_S_OK, KXGetDefaultCharEncoding(name, 8));
    const std::u16string wide = name;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_close(ucnv_open(std::string(wide.begin(), wide.end()).c_str(), &status));
    EXPECT_TRUE(U_SUCCESS(status)) << "without a second chance under another name";
}
