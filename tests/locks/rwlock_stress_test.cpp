// More threads than processors on one reader-writer lock. What it protects is plain, so that the
// thread sanitizer has a say, too.
#include <kxcore7/rwlock.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <random>
#include <thread>
#include <vector>

#include "support/rwlock_user.h"

using kx::test::RWLock;
using kx::test::RWLockState;
using kx::test::StateOf;

namespace {

// Two numbers that only a writer sees differ, and who is inside.
class Guarded final {
  public:
    explicit Guarded(KXRWLockHandle lock) : m_lock(lock) {}

    // What a holder sees and does, with the lock held.
    void LookAsReader() {
        m_readers.fetch_add(1);
        std::this_thread::yield();
        Note(m_writers.load() == 0 && m_first == m_second);
        m_readers.fetch_sub(1);
    }
    // A writer's own read hold is no reader beside it.
    void ChangeAsWriter() {
        Note(m_writers.fetch_add(1) == 0 && m_readers.load() == 0);
        ++m_first;
        std::this_thread::yield();
        ++m_second;
        Note(m_readers.load() == 0);
        m_writers.fetch_sub(1);
    }

    void Read() {
        Note(KXRWLockAcquireRead(m_lock) == KX_S_OK);
        LookAsReader();
        Note(KXRWLockAcquireRead(m_lock) == KX_S_OK);
        LookAsReader();
        Note(KXRWLockReleaseRead(m_lock) == KX_S_OK);
        LookAsReader();
        Note(KXRWLockReleaseRead(m_lock) == KX_S_OK);
    }
    void Write() {
        Note(KXRWLockAcquireWrite(m_lock) == KX_S_OK);
        ChangeInside();
    }
    void TryToRead() {
        if (KXRWLockTryAcquireRead(m_lock) < 0) return;
        LookAsReader();
        Note(KXRWLockReleaseRead(m_lock) == KX_S_OK);
    }
    void TryToWrite() {
        if (KXRWLockTryAcquireWrite(m_lock) == KX_S_OK) ChangeInside();
    }
    // By the try form: two that wait for each other's reads would wait for ever. The try comes at
    // once, or somebody else would nearly always read as well.
    void ReadAndTryToWrite() {
        Note(KXRWLockAcquireRead(m_lock) == KX_S_OK);
        TryToWrite();
        LookAsReader();
        Note(KXRWLockReleaseRead(m_lock) == KX_S_OK);
    }

    // What went wrong, and what all writers did.
    int Faults() const { return m_faults; }
    int Changes() const { return m_second; }
    int Expected() const { return m_changes; }

  private:
    void ChangeInside() {
        ChangeAsWriter();
        Note(KXRWLockAcquireRead(m_lock) == KX_S_OK);
        Note(KXRWLockAcquireWrite(m_lock) == KX_S_OK);
        ChangeAsWriter();
        Note(KXRWLockReleaseWrite(m_lock) == KX_S_OK);
        Note(KXRWLockReleaseRead(m_lock) == KX_S_OK);
        m_changes.fetch_add(2);
        Note(KXRWLockReleaseWrite(m_lock) == KX_S_OK);
    }
    void Note(bool right) {
        if (!right) m_faults.fetch_add(1);
    }

    const KXRWLockHandle m_lock;
    int m_first = 0;
    int m_second = 0;
    std::atomic<int> m_readers{0};
    std::atomic<int> m_writers{0};
    std::atomic<int> m_changes{0};
    std::atomic<int> m_faults{0};
};

constexpr void (Guarded::*kMostlyReads[])() = {
    &Guarded::Read,      &Guarded::Read,  &Guarded::Read,       &Guarded::TryToRead,
    &Guarded::TryToRead, &Guarded::Write, &Guarded::TryToWrite, &Guarded::ReadAndTryToWrite};
constexpr void (Guarded::*kUpgrades[])() = {&Guarded::ReadAndTryToWrite, &Guarded::Read,
                                            &Guarded::ReadAndTryToWrite, &Guarded::TryToWrite};

template <std::size_t size>
void RunOnManyThreads(void (Guarded::*const (&steps)[size])()) {
    constexpr int kRounds = 1'000;
    const RWLock lock;
    Guarded guarded(lock);
    const unsigned threads = std::clamp(2 * std::thread::hardware_concurrency(), 8u, 16u);
    std::latch start(threads);
    std::vector<std::thread> running;
    for (unsigned seed = 0; seed < threads; ++seed) {
        running.emplace_back([&, seed] {
            std::minstd_rand random(seed + 1);
            start.arrive_and_wait();
            for (int round = 0; round < kRounds; ++round) {
                (guarded.*steps[random() / 16 % size])();
            }
        });
    }
    for (std::thread& thread : running) thread.join();
    // How many of the tries went through is up to the scheduler; with nobody beside it each does.
    const int changes = guarded.Changes();
    guarded.ReadAndTryToWrite();
    EXPECT_GT(guarded.Changes(), changes);
    EXPECT_EQ(0, guarded.Faults());
    EXPECT_EQ(guarded.Expected(), guarded.Changes());
    EXPECT_EQ(RWLockState::kFree, StateOf(lock));
}

}  // namespace

TEST(RWLockStress, NoReaderBesideAWriterAndNoTwoWriters) {
    RunOnManyThreads(kMostlyReads);
}

TEST(RWLockStress, UpgradesByTriesLetNoWriterIn) {
    RunOnManyThreads(kUpgrades);
}
