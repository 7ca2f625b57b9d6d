#include "platform/posix/wait_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "support/posix/futex_wait.h"
#include "support/waiting_thread.h"

using kx::test::FutexWaitOf;
using kx::test::WaitingThread;
using namespace kx::platform;

// Its turn came in the same moment as the end of its time: then it passes, and not before the
// thread that lets it through has done with it.
TEST(WaitQueue, WhoIsTakenOutOfLineAsItsTimeRunsOutWaitsForItsRelease) {
    WaitQueue queue;
    Waiter waiter;
    queue.Lock();
    queue.Push(waiter);
    ASSERT_EQ(&waiter, queue.Pop());
    queue.Unlock();

    std::atomic<bool> released{false};
    bool passed = false;
    bool left = false;
    WaitingThread thread([&] {
        passed = queue.WaitFor(waiter, DeadlineIn(0), [&] { left = true; });
        EXPECT_TRUE(released);
    });
    while (thread.WaitUntilAsleepOrEnded()) {
        const auto wait = FutexWaitOf(thread.Id());
        if (wait && wait->until == 0) break;
    }
    released = true;
    WaitQueue::Release(&waiter);
    thread.Join();
    EXPECT_TRUE(passed);
    EXPECT_FALSE(left);
}
