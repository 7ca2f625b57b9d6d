#include "host/lazy_lock.h"

#include <kxcore7/mutex.h>

#include <array>
#include <atomic>
#include <deque>
#include <thread>

#include "frame/exception.h"
#include "support/failing_new.h"
#include "support/results.h"

using kx::core::LazyLock;

namespace {

// Never freed, as such locks are not.
LazyLock& FreshLock() {
    static auto& all = *new std::deque<LazyLock>;
    return all.emplace_back("lock");
}

}  // namespace

TEST(LazyLock, IsTheSameAtEveryCall) {
    LazyLock& lock = FreshLock();
    const KXMutexHandle mutex = lock.Get();
    EXPECT_NE(KX_INVALID_HANDLE, mutex);
    EXPECT_EQ(mutex, lock.Get());
    EXPECT_RESULT(KX_S_OK, KXMutexTryAcquire(mutex));
    EXPECT_RESULT(KX_S_OK, KXMutexRelease(mutex));
    EXPECT_NE(mutex, FreshLock().Get());
}

TEST(LazyLock, ThatCouldNotBeMadeIsMadeLater) {
    LazyLock& lock = FreshLock();
    for (int i = 0; i < 2; ++i) {
        const kx::test::FailingNew failing;
        EXPECT_THROW(lock.Get(), EKXCoreException);
    }
    EXPECT_NE(KX_INVALID_HANDLE, lock.Get());
}

// Whether the two meet while the lock is made is up to the machine: they try often.
TEST(LazyLock, IsOneForAllWhoMeetAtTheFirstCall) {
    constexpr int kRounds = 300;
    std::array<LazyLock*, kRounds> locks;
    for (LazyLock*& lock : locks) lock = &FreshLock();
    std::array<std::array<KXMutexHandle, kRounds>, 2> handles{};
    std::atomic<int> arrived{0};
    const auto run = [&](int thread) {
        for (int round = 0; round < kRounds; ++round) {
            ++arrived;
            while (arrived < 2 * (round + 1)) std::this_thread::yield();
            handles[thread][round] = locks[round]->Get();
        }
    };
    std::thread other([&] { run(1); });
    run(0);
    other.join();
    EXPECT_EQ(handles[0], handles[1]);
}
