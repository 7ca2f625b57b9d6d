#include <gtest/gtest.h>
#include <kxcore7/counter.h>
#include <kxcore7/current.h>

#include <chrono>

TEST(Counter, CountNeverGoesBackAndRunsAtItsFrequency) {
    using std::chrono::steady_clock;
    const auto before = steady_clock::now();
    const int64_t start = KXPerfGetCount();
    KXSleep(20);
    const int64_t end = KXPerfGetCount();
    const auto elapsed =
        std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - before);
    ASSERT_GT(KXPerfGetFreq(), 0);
    EXPECT_GE((end - start) * 1000 / KXPerfGetFreq(), 20);
    EXPECT_LE((end - start) * 1000 / KXPerfGetFreq(), elapsed.count() + 1);
}

// A system may move them on in steps of up to 16.
TEST(Counter, MillisecondsAdvanceWithTheCount) {
    const uint32_t start = KXPerfGetCountMS();
    KXSleep(50);
    EXPECT_GE(KXPerfGetCountMS() - start, 50u - 16);
}
