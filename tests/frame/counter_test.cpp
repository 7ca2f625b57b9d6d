#include <gtest/gtest.h>
#include <kxcore7/counter.h>
#include <kxcore7/current.h>

TEST(Counter, CountNeverGoesBackAndRunsAtItsFrequency) {
    const int64_t start = KXPerfGetCount();
    KXSleep(20);
    const int64_t end = KXPerfGetCount();
    ASSERT_GT(KXPerfGetFreq(), 0);
    EXPECT_GE((end - start) * 1000 / KXPerfGetFreq(), 20);
}

// A system may move them on in steps of up to 16.
TEST(Counter, MillisecondsAdvanceWithTheCount) {
    const uint32_t start = KXPerfGetCountMS();
    KXSleep(50);
    EXPECT_GE(KXPerfGetCountMS() - start, 50u - 16);
}
