#include <kxcore7/current.h>

#include <chrono>
#include <thread>

#include "support/faults.h"
#include "support/results.h"

TEST(Current, ThreadIdIsStableOnAThreadAndDiffersBetweenThreads) {
    const uint32_t here = KXThreadGetID();
    EXPECT_NE(0u, here);
    EXPECT_EQ(here, KXThreadGetID());
    uint32_t there = here;
    std::thread([&there] { there = KXThreadGetID(); }).join();
    EXPECT_NE(here, there);
}

TEST(Current, PseudoHandlesAreTheSameOnEveryThread) {
    uintptr_t thread = 0;
    uintptr_t process = 0;
    std::thread([&] {
        thread = KXThreadGetHandle();
        process = KXProcessGetHandle();
    }).join();
    EXPECT_EQ(KXThreadGetHandle(), thread);
    EXPECT_EQ(KXProcessGetHandle(), process);
    EXPECT_NE(thread, process);
}

TEST(Current, SleepLastsAtLeastAsLongAsAsked) {
    const auto start = std::chrono::steady_clock::now();
    KXSleep(20);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

TEST(Current, SleepCountsWholeSeconds) {
    const auto start = std::chrono::steady_clock::now();
    KXSleep(1000);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

TEST(Current, SleepOfZeroAndYieldReturn) {
    KXSleep(0);
    EXPECT_RESULT(KX_S_OK, KXThreadYield());
}

TEST(CurrentDeathTest, DebugBreakExecutesTheTrap) {
    EXPECT_EXIT(KXDebugBreak(), kx::test::EndedByBreakpoint, "");
}
