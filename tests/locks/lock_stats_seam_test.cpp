// What locks measure, to the tick, over a clock that the test moves.
#include <kxcore7/lockstats.h>

#include "frame/startup.h"
#include "support/fake_clock.h"
#include "support/results.h"

using kx::test::g_clock;

namespace {

// A thousand ticks a second: one tick is a thousand microseconds.
constexpr std::int64_t kTick = 1'000;

class LockStatsSeam : public ::testing::Test {
  protected:
    void SetUp() override {
        g_clock = {};
        g_clock.performanceFrequency = 1'000;
        g_clock.performanceCounter = 500;
        ASSERT_RESULT(KX_S_OK, kx::core::KXCoreInit());
        ASSERT_RESULT(KX_S_OK, KXMutexCreate("m", KX_MUTEX_STATS, &m_mutex));
    }
    void TearDown() override {
        KXMutexDestroy(m_mutex);
        kx::core::KXCoreTerm();
    }

    void HoldFor(std::int64_t ticks) {
        KXMutexAcquire(m_mutex);
        g_clock.performanceCounter += ticks;
        KXMutexRelease(m_mutex);
    }
    KXLockStatRecord Stats() const {
        KXLockStatRecord record{};
        EXPECT_RESULT(KX_S_OK, KXGetLockStats(m_mutex, &record));
        return record;
    }

    KXMutexHandle m_mutex = KX_INVALID_HANDLE;
};

}  // namespace

TEST_F(LockStatsSeam, HoldsAddUpAndTheLongestStands) {
    HoldFor(2);
    HoldFor(7);
    HoldFor(3);
    const KXLockStatRecord record = Stats();
    EXPECT_EQ(3, record.acquireCount);
    EXPECT_EQ(3, record.heldCount);
    EXPECT_EQ(7 * kTick, record.maxHeldTime);
    EXPECT_EQ(12 * kTick, record.totalHeldTime);
    EXPECT_EQ(0, record.totalAcquireTime) << "the clock stood still while nobody held it";
}

TEST_F(LockStatsSeam, WaitsAddUpAndTheLongestStands) {
    // Each look at the clock moves it, so that an acquire takes one step and a hold another.
    for (const std::int64_t step : {4, 9, 5}) {
        g_clock.performanceStep = step;
        KXMutexAcquire(m_mutex);
        KXMutexRelease(m_mutex);
    }
    const KXLockStatRecord record = Stats();
    EXPECT_EQ(9 * kTick, record.maxAcquireTime);
    EXPECT_EQ(18 * kTick, record.totalAcquireTime);
    EXPECT_EQ(9 * kTick, record.maxHeldTime);
    EXPECT_EQ(18 * kTick, record.totalHeldTime);
}

TEST_F(LockStatsSeam, ARecursiveHoldReadsTheClockOnlyAtItsOuterEnds) {
    KXMutexAcquire(m_mutex);
    g_clock.performanceCounter += 5;
    HoldFor(10);
    g_clock.performanceCounter += 5;
    KXMutexRelease(m_mutex);
    const KXLockStatRecord record = Stats();
    EXPECT_EQ(2, record.acquireCount);
    EXPECT_EQ(2, record.heldCount);
    EXPECT_EQ(20 * kTick, record.maxHeldTime);
    EXPECT_EQ(20 * kTick, record.totalHeldTime);
}

TEST_F(LockStatsSeam, ResetZeroesEveryNumber) {
    g_clock.performanceStep = 3;
    HoldFor(7);
    EXPECT_RESULT(KX_S_OK, KXResetLockStats());
    const KXLockStatRecord record = Stats();
    EXPECT_EQ(0, record.maxAcquireTime);
    EXPECT_EQ(0, record.totalAcquireTime);
    EXPECT_EQ(0, record.acquireCount);
    EXPECT_EQ(0, record.maxHeldTime);
    EXPECT_EQ(0, record.totalHeldTime);
    EXPECT_EQ(0, record.heldCount);
}
