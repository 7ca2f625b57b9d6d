#include "locks/mutex.h"

#include <kxcore7/mutex.h>

#include <atomic>
#include <thread>

#include "frame/global_data.h"
#include "locks/lock_stat_manager.h"
#include "support/failing_new.h"
#include "support/results.h"

using kx::test::FailingNew;

namespace {

KXMutexHandle Create(std::uint32_t flags, const char* name = "name") {
    KXMutexHandle handle = 0;
    EXPECT_RESULT(KX_S_OK, KXMutexCreate(name, flags, &handle));
    return handle;
}

IMutex* ObjectOf(KXMutexHandle handle) {
    return reinterpret_cast<IMutex*>(handle);
}

bool IsChecked(KXMutexHandle handle) {
    return dynamic_cast<CKXCoreMutexChecked*>(ObjectOf(handle)) != nullptr;
}

}  // namespace

TEST(MutexObject, ChecksOrStatisticsChooseTheCheckedClass) {
    static constexpr struct {
        std::uint32_t flags;
        bool checked;
        std::uint32_t effective;
    } kRows[] = {
        {0, false, 0},
        {KX_MUTEX_SPIN, false, KX_MUTEX_SPIN},
        {KX_MUTEX_NON_RECURSIVE, false, KX_MUTEX_NON_RECURSIVE},
        {KX_MUTEX_CHECKED, true, KX_MUTEX_CHECKED},
        {KX_MUTEX_STATS, true, KX_MUTEX_STATS},
        {KX_MUTEX_NO_STATS | KX_MUTEX_STATS, false, KX_MUTEX_NO_STATS},
        {KX_MUTEX_NO_STATS | KX_MUTEX_STATS | KX_MUTEX_CHECKED, true,
         KX_MUTEX_NO_STATS | KX_MUTEX_CHECKED},
        {0x00001234, false, 0x00001234},
    };
    for (const auto& row : kRows) {
        const KXMutexHandle mutex = Create(row.flags);
        EXPECT_EQ(row.checked, IsChecked(mutex)) << row.flags;
        EXPECT_EQ(row.effective, ObjectOf(mutex)->GetFlags());
        EXPECT_EQ((row.flags & KX_MUTEX_NO_STATS) != 0 ? 1u : 0u, ObjectOf(mutex)->IsStatsExempt());
        KXMutexDestroy(mutex);
    }
    KXResetLockStats();
}

TEST(MutexObject, KeepsACopyOfItsName) {
    char name[] = "CKXThing::m_lock";
    const KXMutexHandle mutex = Create(0, name);
    name[0] = '#';
    EXPECT_EQ("CKXThing::m_lock", ObjectOf(mutex)->GetName());
    KXMutexDestroy(mutex);
    const KXMutexHandle unnamed = Create(0, nullptr);
    EXPECT_EQ("", ObjectOf(unnamed)->GetName());
    KXMutexDestroy(unnamed);
}

TEST(MutexObject, DestroyGivesTheRemainingReferences) {
    const KXMutexHandle mutex = Create(0);
    ObjectOf(mutex)->AddReference();
    ObjectOf(mutex)->AddReference();
    EXPECT_EQ(2, KXMutexDestroy(mutex));
    EXPECT_EQ(1, KXMutexDestroy(mutex));
    EXPECT_EQ(0, KXMutexDestroy(mutex));
}

TEST(MutexObject, CreationOutOfMemoryIsReportedAndStoresTheInvalidHandle) {
    for (const std::uint32_t flags : {0u, KX_MUTEX_CHECKED, KX_MUTEX_STATS}) {
        // The object, its long name, the list's entry: each allocation fails once.
        for (int allowed = 0;; ++allowed) {
            KXMutexHandle mutex = 0;
            KXResult result = KX_S_OK;
            {
                const FailingNew failing(allowed);
                result = KXMutexCreate("a name too long to be held inside a string", flags, &mutex);
            }
            if (result == KX_S_OK) {
                EXPECT_GT(allowed, 1);
                KXMutexDestroy(mutex);
                break;
            }
            EXPECT_RESULT(KX_E_OUTOFMEMORY, result);
            EXPECT_EQ(KX_INVALID_HANDLE, mutex);
        }
    }
    KXResetLockStats();
}

TEST(MutexObject, StatisticsWithoutChecksLetsTheDepthWrap) {
    const KXMutexHandle mutex = Create(KX_MUTEX_STATS);
    KXMutexAcquire(mutex);
    EXPECT_RESULT(KX_S_OK, KXMutexRelease(mutex));
    KXMutexDestroy(mutex);
    KXResetLockStats();
}

namespace {

class LockStats : public ::testing::Test {
  protected:
    void TearDown() override { KXResetLockStats(); }

    static KXLockStatRecord StatsOf(KXMutexHandle mutex) {
        KXLockStatRecord record{};
        EXPECT_RESULT(KX_S_OK, KXGetLockStats(mutex, &record));
        return record;
    }
};

}  // namespace

TEST_F(LockStats, APlainMutexHasNone) {
    const KXMutexHandle mutex = Create(0);
    KXLockStatRecord record{};
    record.heldCount = 77;
    EXPECT_RESULT(KX_E_NOTIMPL, KXGetLockStats(mutex, &record));
    EXPECT_EQ(77, record.heldCount);
    KXMutexDestroy(mutex);
}

TEST_F(LockStats, ACheckedMutexWithoutStatisticsReportsZeros) {
    const KXMutexHandle mutex = Create(KX_MUTEX_CHECKED);
    KXMutexAcquire(mutex);
    std::thread blocked([&] {
        KXMutexAcquire(mutex);
        KXMutexRelease(mutex);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    KXMutexRelease(mutex);
    blocked.join();
    const KXLockStatRecord record = StatsOf(mutex);
    EXPECT_EQ(0, record.acquireCount);
    EXPECT_EQ(0, record.heldCount);
    EXPECT_EQ(0, record.contentionCount);
    KXMutexDestroy(mutex);
}

TEST_F(LockStats, RecursiveHoldsCountAndMeasureOneSpan) {
    const KXMutexHandle mutex = Create(KX_MUTEX_STATS);
    for (int i = 0; i < 3; ++i) KXMutexAcquire(mutex);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(0, StatsOf(mutex).maxHeldTime) << "the span is not over";
    for (int i = 0; i < 3; ++i) KXMutexRelease(mutex);
    const KXLockStatRecord record = StatsOf(mutex);
    EXPECT_EQ(3, record.acquireCount);
    EXPECT_EQ(3, record.heldCount);
    EXPECT_GE(record.maxHeldTime, 5'000);
    EXPECT_EQ(record.maxHeldTime, record.totalHeldTime);
    KXMutexDestroy(mutex);
}

TEST_F(LockStats, AWaitIsMeasuredAndCountsAsContention) {
    const KXMutexHandle mutex = Create(KX_MUTEX_STATS);
    // Whether the other thread waits already when this one goes on can't be told everywhere.
    while (StatsOf(mutex).contentionCount == 0) {
        KXResetLockStats();
        KXMutexAcquire(mutex);
        std::atomic<bool> started{false};
        std::thread waiter([&] {
            started = true;
            KXMutexAcquire(mutex);
            KXMutexRelease(mutex);
        });
        while (!started) std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        KXMutexRelease(mutex);
        waiter.join();
    }
    const KXLockStatRecord record = StatsOf(mutex);
    EXPECT_EQ(1, record.contentionCount);
    EXPECT_GT(record.maxAcquireTime, 0);
    EXPECT_GE(record.totalAcquireTime, record.maxAcquireTime);
    KXResetLockStats();
    EXPECT_EQ(0, StatsOf(mutex).contentionCount);
    KXMutexDestroy(mutex);
}

TEST_F(LockStats, ATryCountsButHasNotWaited) {
    const KXMutexHandle mutex = Create(KX_MUTEX_STATS);
    EXPECT_RESULT(KX_S_OK, KXMutexTryAcquire(mutex));
    KXMutexRelease(mutex);
    const KXLockStatRecord record = StatsOf(mutex);
    EXPECT_EQ(1, record.acquireCount);
    EXPECT_EQ(0, record.totalAcquireTime);
    KXMutexDestroy(mutex);
}

TEST_F(LockStats, AFailedTryChangesNoNumber) {
    const KXMutexHandle mutex = Create(KX_MUTEX_STATS);
    KXMutexAcquire(mutex);
    std::thread([&] { EXPECT_RESULT(KX_E_FAIL, KXMutexTryAcquire(mutex)); }).join();
    const KXLockStatRecord record = StatsOf(mutex);
    EXPECT_EQ(1, record.acquireCount);
    EXPECT_EQ(0, record.contentionCount);
    KXMutexRelease(mutex);
    KXMutexDestroy(mutex);
}

TEST_F(LockStats, ResetZeroesALivingLockAndItsReleaseStillMeasures) {
    const KXMutexHandle mutex = Create(KX_MUTEX_STATS);
    KXMutexAcquire(mutex);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_RESULT(KX_S_OK, KXResetLockStats());
    EXPECT_EQ(0, StatsOf(mutex).acquireCount);
    KXMutexRelease(mutex);
    const KXLockStatRecord record = StatsOf(mutex);
    EXPECT_EQ(1, record.heldCount);
    EXPECT_GE(record.maxHeldTime, 5'000);
    KXMutexDestroy(mutex);
}

TEST_F(LockStats, ALockThatCouldNotBeDestroyedIsListedStill) {
    const KXMutexHandle mutex = Create(KX_MUTEX_STATS);
    KXMutexAcquire(mutex);
    KXMutexRelease(mutex);
    {
        const FailingNew failing;
        EXPECT_RESULT(KX_E_OUTOFMEMORY, KXMutexDestroy(mutex));
    }
    KXResetLockStats();
    EXPECT_EQ(0, StatsOf(mutex).acquireCount) << "the reset reached it";
    EXPECT_RESULT(KX_S_OK, KXMutexDestroy(mutex));
}

TEST_F(LockStats, ADestroyedLockLivesUntilTheReset) {
    const KXMutexHandle mutex = Create(KX_MUTEX_STATS);
    KXMutexAcquire(mutex);
    KXMutexRelease(mutex);
    EXPECT_RESULT(KX_S_OK, KXMutexDestroy(mutex));
    // The handle is dead for clients; the object behind it is the list's.
    EXPECT_EQ(1, StatsOf(mutex).heldCount);
    EXPECT_RESULT(KX_S_OK, KXResetLockStats());
}

// A reset between the two steps of a destruction must not free the lock under the second.
TEST_F(LockStats, DestructionAndResetMayRace) {
    std::atomic<bool> stop{false};
    std::thread resetter([&] {
        while (!stop) KXResetLockStats();
    });
    for (int i = 0; i < 2'000; ++i) {
        const KXMutexHandle mutex = Create(KX_MUTEX_STATS);
        EXPECT_RESULT(KX_S_OK, KXMutexDestroy(mutex));
    }
    stop = true;
    resetter.join();
}
