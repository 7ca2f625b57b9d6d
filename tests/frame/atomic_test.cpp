#include <gtest/gtest.h>
#include <kxcore7/atomic.h>

#include <limits>
#include <thread>
#include <vector>

TEST(Atomic, AddReturnsTheNewValueAndWraps) {
    int32_t word = 5;
    EXPECT_EQ(12, KXAtomicAdd32(&word, 7));
    EXPECT_EQ(12, word);
    word = std::numeric_limits<int32_t>::max();
    EXPECT_EQ(std::numeric_limits<int32_t>::min(), KXAtomicAdd32(&word, 1));
}

TEST(Atomic, AddSZIsAsWideAsAPointer) {
    using Limits = std::numeric_limits<intptr_t>;
    intptr_t word = Limits::max() - 1;
    EXPECT_EQ(Limits::max(), KXAtomicAddSZ(&word, 1));
    EXPECT_EQ(Limits::min(), KXAtomicAddSZ(&word, 1)) << "it wraps there";
    EXPECT_EQ(Limits::max(), KXAtomicAddSZ(&word, -1));
}

TEST(Atomic, IncrementAndDecrementReturnTheNewValue) {
    int32_t word = 0;
    EXPECT_EQ(-1, KXAtomicDecrement(&word));
    EXPECT_EQ(0, KXAtomicIncrement(&word));
    EXPECT_EQ(1, KXAtomicIncrement(&word));
}

TEST(Atomic, ExchangeReturnsTheOldValue) {
    int32_t word = 3;
    EXPECT_EQ(3, KXAtomicExchange(&word, 9));
    EXPECT_EQ(9, word);
}

TEST(Atomic, CompareExchangeTakesTheNewValueFirst) {
    int32_t word = 3;
    EXPECT_EQ(3, KXAtomicCompareExchange(&word, 8, 4));
    EXPECT_EQ(3, word);
    EXPECT_EQ(3, KXAtomicCompareExchange(&word, 8, 3));
    EXPECT_EQ(8, word);
}

TEST(Atomic, NoIncrementIsLostBetweenThreads) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 20'000;
    int32_t word = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&word] {
            for (int round = 0; round < kRounds; ++round) KXAtomicIncrement(&word);
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(kThreads * kRounds, word);
}
