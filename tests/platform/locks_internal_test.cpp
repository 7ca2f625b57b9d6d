#include "platform/locks.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

using kx::platform::CriticalSection;

namespace {

void Enter(CriticalSection& lock) {
    if (!lock.TryEnter()) lock.EnterContended();
}

}  // namespace

TEST(CriticalSection, CountsEntersThatDidNotGetItAtTheFirstTry) {
    CriticalSection lock(0, true);
    for (int i = 0; i < 10; ++i) {
        Enter(lock);
        Enter(lock);
        EXPECT_TRUE(lock.TryEnter());
    }
    EXPECT_EQ(0u, lock.ContentionCount());
    for (int i = 0; i < 30; ++i) lock.Leave();
    // A system may count only behind the wait, so that nobody can tell when the other thread waits.
    int rounds = 0;
    while (lock.ContentionCount() == 0) {
        ++rounds;
        Enter(lock);
        std::atomic<bool> tried{false};
        std::thread other([&] {
            EXPECT_FALSE(lock.TryEnter());
            tried = true;
            Enter(lock);
            lock.Leave();
        });
        while (!tried) std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        lock.Leave();
        other.join();
    }
    EXPECT_EQ(1u, lock.ContentionCount()) << "a failed try is no contention; rounds: " << rounds;
    lock.ResetContentionCount();
    EXPECT_EQ(0u, lock.ContentionCount());
}

// More threads than processors, with and without spinning, and sections of both kinds: short ones
// and ones that put the others to sleep.
TEST(CriticalSection, LosesNoWakeUp) {
    for (const std::uint32_t spins : {0u, 4000u}) {
        CriticalSection lock(spins, true);
        constexpr int kThreads = 8;
        constexpr int kRounds = 3'000;
        long sum = 0;
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&, i] {
                for (int round = 0; round < kRounds; ++round) {
                    Enter(lock);
                    if ((round + i) % 64 == 0) std::this_thread::yield();
                    ++sum;
                    lock.Leave();
                }
            });
        }
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(long{kThreads} * kRounds, sum);
    }
}
