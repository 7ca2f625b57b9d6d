#include "platform/locks.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>

using kx::platform::CriticalSection;

TEST(CriticalSection, IsReleasedByTheChildOfAForkOfItsOwner) {
    CriticalSection lock(0, true);
    ASSERT_TRUE(lock.TryEnter());
    const pid_t child = fork();
    if (child == 0) {
        if (!lock.TryEnter()) _exit(2);
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
