// What locks measure, to the tick, over a clock that the test moves.
#include <kxcore7/lockstats.h>

#include "frame/startup.h"
#include "support/fake_clock.h"
#include "support/lock_report.h"
#include "support/scratch_dir.h"

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

// Of the wait, too: the start is the clock's value, and 0 stands for none.
TEST_F(LockStatsSeam, AWaitThatBeganAtZeroIsNotMeasured) {
    g_clock.performanceCounter = -5;
    g_clock.performanceStep = 5;
    KXMutexAcquire(m_mutex);
    KXMutexRelease(m_mutex);
    const KXLockStatRecord record = Stats();
    EXPECT_EQ(1, record.acquireCount);
    EXPECT_EQ(0, record.totalAcquireTime);
    EXPECT_EQ(5 * kTick, record.totalHeldTime);
}

TEST_F(LockStatsSeam, AClockThatRunsBackwardsKeepsTheLongestAndSubtractsFromTheSum) {
    HoldFor(7);
    HoldFor(-3);
    const KXLockStatRecord record = Stats();
    EXPECT_EQ(7 * kTick, record.maxHeldTime);
    EXPECT_EQ(4 * kTick, record.totalHeldTime);
}

TEST_F(LockStatsSeam, WithoutACounterTimeIsTheTickCount) {
    g_clock.hasPerformanceCounter = false;
    g_clock.tickCount = 100;
    KXMutexAcquire(m_mutex);
    g_clock.tickCount = 104;
    KXMutexRelease(m_mutex);
    EXPECT_EQ(4 * kTick, Stats().totalHeldTime);
}

TEST_F(LockStatsSeam, AReleaseBehindAResetMeasuresItsWholeHold) {
    KXMutexAcquire(m_mutex);
    g_clock.performanceCounter += 20;
    EXPECT_RESULT(KX_S_OK, KXResetLockStats());
    g_clock.performanceCounter += 10;
    KXMutexRelease(m_mutex);
    const KXLockStatRecord record = Stats();
    EXPECT_EQ(0, record.acquireCount);
    EXPECT_EQ(1, record.heldCount);
    EXPECT_EQ(30 * kTick, record.maxHeldTime);
    EXPECT_EQ(30 * kTick, record.totalHeldTime);
}

TEST_F(LockStatsSeam, TheReportIsToTheByteAsTold) {
    const kx::test::ScratchDir directory;
    const std::filesystem::path file = directory / "report.csv";
    KXMutexHandle destroyed = kx::test::CreateMeasured("gone, but kept");
    // An acquire takes one step of the clock; a hold two, since the one inside looks as well.
    for (const std::int64_t step : {2, 3}) {
        g_clock.performanceStep = step;
        KXMutexAcquire(m_mutex);
        KXMutexAcquire(m_mutex);
        KXMutexRelease(m_mutex);
        KXMutexRelease(m_mutex);
    }
    KXMutexTryAcquire(destroyed);
    KXMutexDestroy(destroyed);
    KXMutexAcquire(m_mutex);
    g_clock.localTime = {.year = 2031,
                         .month = 4,
                         .dayOfWeek = 6,
                         .dayOfMonth = 5,
                         .hour = 17,
                         .minute = 8,
                         .second = 9,
                         .milliseconds = 999};
    g_clock.localStep = 1;

    EXPECT_RESULT(KX_S_OK, KXDumpLockStats("run 7", file.u16string().c_str()));

    const std::filesystem::path expected = directory / "expected";
    std::ofstream(expected) << "BeginLockStatistics: run 7 - 04/05/2031 17:08:09\n"
                            << "CPU Frequency,1000000\n"
                            << "Name/Handle,Held Count,Total Held Time,Max Held Time,Acquire Count,"
                               "Total Acquire Time,Max Acquire Time,Contention Count\n"
                            << "KX_MUTEX:0x" << kx::test::StreamedAddress(m_mutex)
                            << "(m),4,10000,6000,5,8000,3000,0\n"
                            << "KX_DEL_MUTEX:0x" << kx::test::StreamedAddress(destroyed)
                            << "(gone, but kept),0,0,0,1,0,0,0\n"
                            << "EndLockStatistics: run 7 - 04/05/2031 17:08:10\n"
                            << "\n"
                            << "\n";
    EXPECT_EQ(kx::test::ReadBytes(expected), kx::test::ReadBytes(file));
    KXMutexRelease(m_mutex);
}
