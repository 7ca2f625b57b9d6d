#include "platform/windows/late_bound.h"

#include <gtest/gtest.h>

using kx::platform::LateBound;

TEST(LateBound, FindsWhatIsThereAndGivesNullForTheRest) {
    using Function = DWORD(WINAPI*)();
    const auto tickCount = LateBound<Function>("kernel32.dll", "GetTickCount");
    ASSERT_NE(nullptr, tickCount);
    EXPECT_LE(GetTickCount(), tickCount());
    EXPECT_EQ(nullptr, LateBound<Function>("kernel32.dll", "NoSuchFunction"));
    EXPECT_EQ(nullptr, LateBound<Function>("kxtest-no-such-library.dll", "GetTickCount"));
}
