#include <kxcore7/condition.h>

#include <atomic>
#include <string>
#include <thread>

#include "support/results.h"
#include "support/waitables.h"
#include "support/waiting_line.h"

using kx::test::Condition;
using kx::test::Line;
using kx::test::WaitingThread;

namespace {

constexpr int kWaiters = 4;
constexpr std::uint32_t kNoLimit = 0xFFFFFFFFu;

// Whether another thread has to wait for the lock, which is to be held by this one, and gets it
// when it was released so many times.
void ExpectHeld(KXConditionHandle condition, int releases) {
    std::atomic<bool> taken{false};
    WaitingThread other([&] {
        KXConditionAcquire(condition);
        taken = true;
        KXConditionRelease(condition);
    });
    for (int release = 0; release < releases; ++release) {
        other.WaitUntilAsleep();
        EXPECT_FALSE(taken) << release;
        EXPECT_RESULT(KX_S_OK, KXConditionRelease(condition));
    }
    other.Join();
}

// One wait, as it has to be made.
KXResult LockAndWait(KXConditionHandle condition, std::uint32_t limit = kNoLimit) {
    KXConditionAcquire(condition);
    const KXResult result = KXConditionTimedWait(condition, limit);
    KXConditionRelease(condition);
    return result;
}

Line LineFor(KXConditionHandle condition, int count) {
    return {count, [condition] { return LockAndWait(condition); }};
}

}  // namespace

TEST(Condition, ItsLockIsFreeAtFirstAndRecursive) {
    const Condition condition;
    for (int depth = 1; depth <= 3; ++depth) {
        for (int i = 0; i < depth; ++i) EXPECT_RESULT(KX_S_OK, KXConditionAcquire(condition));
        ExpectHeld(condition, depth);
    }
}

TEST(Condition, DestroyAcceptsNull) {
    EXPECT_RESULT(KX_S_OK, KXConditionDestroy(0));
}

TEST(Condition, NameAndFlagsHaveNoEffect) {
    const Condition unnamed(0, nullptr);
    const Condition twin(0, nullptr);
    EXPECT_NE(unnamed, twin);
    for (const std::uint32_t flags : {0u, 1u, 2u, ~0u}) {
        const Condition condition(flags, std::string(5000, 'n').c_str());
        EXPECT_RESULT(KX_ERROR_TIMEOUT, LockAndWait(condition, 0));
    }
}

TEST(Condition, AWaitThatRunsOutIsTimeoutAndHoldsTheLockAgain) {
    const Condition condition;
    for (const std::uint32_t limit : {0u, 1u, 20u}) {
        KXConditionAcquire(condition);
        EXPECT_RESULT(0x800705B4, KXConditionTimedWait(condition, limit)) << limit;
        ExpectHeld(condition, 1);
    }
}

TEST(Condition, AWaitGivesTheLockUp) {
    const Condition condition;
    Line line = LineFor(condition, 2);
    KXConditionAcquire(condition);
    EXPECT_EQ(0, line.Passed());
    ExpectHeld(condition, 1);
    KXConditionBroadcast(condition);
    line.Join();
}

TEST(Condition, WhoIsSignalledHoldsTheLockAgain) {
    const Condition condition;
    std::atomic<bool> returned{false};
    WaitingThread waiter([&] {
        KXConditionAcquire(condition);
        EXPECT_RESULT(KX_S_OK, KXConditionWait(condition));
        returned = true;
        ExpectHeld(condition, 1);
    });
    waiter.WaitUntilAsleep();
    KXConditionAcquire(condition);
    EXPECT_RESULT(KX_S_OK, KXConditionSignal(condition));
    waiter.WaitUntilAsleep();
    EXPECT_FALSE(returned) << "the lock is this thread's";
    KXConditionRelease(condition);
    waiter.Join();
    EXPECT_TRUE(returned);
}

TEST(Condition, SignalsWithoutAWaiterAreNotKept) {
    const Condition condition;
    EXPECT_RESULT(KX_S_OK, KXConditionSignal(condition));
    EXPECT_RESULT(KX_ERROR_TIMEOUT, LockAndWait(condition, 1));
    EXPECT_RESULT(KX_S_OK, KXConditionBroadcast(condition));
    EXPECT_RESULT(KX_ERROR_TIMEOUT, LockAndWait(condition, 1));
    KXConditionAcquire(condition);
    EXPECT_RESULT(KX_S_OK, KXConditionSignal(condition));
    EXPECT_RESULT(KX_S_OK, KXConditionBroadcast(condition));
    EXPECT_RESULT(KX_ERROR_TIMEOUT, KXConditionTimedWait(condition, 1));
    KXConditionRelease(condition);
}

TEST(Condition, ASignalLetsOneWaiterThrough) {
    const Condition condition;
    Line line = LineFor(condition, kWaiters);
    for (int passed = 1; passed <= kWaiters; ++passed) {
        // With the lock and without.
        if (passed % 2 == 0) KXConditionAcquire(condition);
        KXConditionSignal(condition);
        if (passed % 2 == 0) KXConditionRelease(condition);
        line.WaitUntilPassed(passed);
        int asleep = 0;
        for (int i = 0; i < kWaiters; ++i) asleep += line.IsAsleep(i) ? 1 : 0;
        EXPECT_EQ(kWaiters - passed, asleep);
        EXPECT_EQ(passed, line.Passed());
    }
    line.Join();
}

TEST(Condition, TwoSignalsInARowLetTwoThrough) {
    const Condition condition;
    Line line = LineFor(condition, 2);
    KXConditionSignal(condition);
    KXConditionSignal(condition);
    line.Join();
    EXPECT_EQ(2, line.Passed());
}

TEST(Condition, ABroadcastLetsAllThroughWhoWaitAndNobodyElse) {
    for (const bool underLock : {false, true}) {
        const Condition condition;
        Line line = LineFor(condition, kWaiters);
        if (underLock) KXConditionAcquire(condition);
        EXPECT_RESULT(KX_S_OK, KXConditionBroadcast(condition));
        if (underLock) {
            EXPECT_RESULT(KX_ERROR_TIMEOUT, KXConditionTimedWait(condition, 0))
                << "this comes later";
            KXConditionRelease(condition);
        }
        EXPECT_RESULT(KX_ERROR_TIMEOUT, LockAndWait(condition, 1));
        line.Join();
        EXPECT_EQ(kWaiters, line.Passed());
    }
}

TEST(Condition, WhoGaveUpIsNotSignalled) {
    const Condition condition;
    EXPECT_RESULT(KX_ERROR_TIMEOUT, LockAndWait(condition, 1));
    Line line = LineFor(condition, 1);
    EXPECT_RESULT(KX_ERROR_TIMEOUT, LockAndWait(condition, 1));
    KXConditionSignal(condition);
    line.Join();
    EXPECT_EQ(1, line.Passed());
}

TEST(Condition, ALimitThatDoesNotRunOutIsSuccess) {
    for (const std::uint32_t limit : {600'000u, kNoLimit - 1, kNoLimit}) {
        const Condition condition;
        Line line(1, [&] { return LockAndWait(condition, limit); });
        KXConditionSignal(condition);
        line.Join();
    }
}
