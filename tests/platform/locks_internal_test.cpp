#include "platform/locks.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
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
    std::thread other([&] {
        EXPECT_FALSE(lock.TryEnter());
        Enter(lock);
        lock.Leave();
    });
    while (lock.ContentionCount() == 0) std::this_thread::yield();
    for (int i = 0; i < 30; ++i) lock.Leave();
    other.join();
    EXPECT_EQ(1u, lock.ContentionCount()) << "a failed try is no contention";
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

TEST(CriticalSection, IsReleasedByTheChildOfAForkOfItsOwner) {
    CriticalSection lock(0, true);
    Enter(lock);
    const pid_t child = fork();
    if (child == 0) {
        Enter(lock);
        lock.Leave();
        lock.Leave();
        std::atomic<bool> taken{false};
        std::thread([&] { taken = lock.TryEnter(); }).join();
        _exit(taken ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    lock.Leave();
}
