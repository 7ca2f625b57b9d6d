// The pair of fall-backs, over a floor without a performance counter.
#include <gtest/gtest.h>
#include <kxcore7/counter.h>

#include "support/fake_clock.h"

using kx::test::g_clock;

TEST(CounterSeam, WithoutAPerformanceCounterBothFallBackToMilliseconds) {
    g_clock = {};
    g_clock.hasPerformanceCounter = false;
    g_clock.tickCount = 0xFFFFFFF0u;
    EXPECT_EQ(int64_t{0xFFFFFFF0}, KXPerfGetCount()) << "zero-extended, not negative";
    EXPECT_EQ(1000, KXPerfGetFreq());
}

TEST(CounterSeam, WithAPerformanceCounterTheTickCountIsNotAsked) {
    g_clock = {};
    g_clock.performanceCounter = 123;
    g_clock.performanceFrequency = 456;
    g_clock.tickCount = 7;
    EXPECT_EQ(123, KXPerfGetCount());
    EXPECT_EQ(456, KXPerfGetFreq());
    EXPECT_EQ(7u, KXPerfGetCountMS()) << "always the tick count";
}
