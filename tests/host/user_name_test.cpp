// The name of the user.
#include <kxcore7/str.h>
#include <kxcore7/systeminfo.h>

#include <string>

#include "support/results.h"

namespace {

constexpr std::uint32_t kAmple = 300;

// The name as it is told where there is room enough.
std::u16string Name() {
    char16_t name[kAmple];
    EXPECT_RESULT(KX_S_OK, KXGetUserName(name, kAmple));
    return name;
}

}  // namespace

TEST(UserName, IsToldWithItsTerminatorAndNothingBehindIt) {
    const std::u16string name = Name();
    ASSERT_FALSE(name.empty());
    const auto length = static_cast<std::uint32_t>(name.size());
    std::u16string exact(length + 3, u'#');
    EXPECT_RESULT(KX_S_OK, KXGetUserName(exact.data(), length + 1));
    EXPECT_EQ(name + u'\0' + u"##", exact);
}

TEST(UserName, ThatDoesNotFitIsAFailure) {
    const auto length = static_cast<std::uint32_t>(Name().size());
    for (std::uint32_t size = 0; size <= length; ++size) {
        std::u16string units(length + 2, u'#');
        EXPECT_RESULT(KX_E_FAIL, KXGetUserName(units.data(), size)) << size;
        EXPECT_EQ(u'#', units[size]) << "nothing is written beyond the size";
    }
}
