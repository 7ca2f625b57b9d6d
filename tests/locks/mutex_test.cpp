#include <kxcore7/mutex.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "support/results.h"

namespace {

// A mutex of the test's own.
class Mutex final {
  public:
    explicit Mutex(std::uint32_t flags, const char* name = "test") {
        EXPECT_RESULT(KX_S_OK, KXMutexCreate(name, flags, &m_handle));
    }
    ~Mutex() { EXPECT_RESULT(KX_S_OK, KXMutexDestroy(m_handle)); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    operator KXMutexHandle() const { return m_handle; }

  private:
    KXMutexHandle m_handle = 0;
};

// What another thread gets from the call.
template <typename Call>
auto OnAnotherThread(Call&& call) {
    decltype(call()) result{};
    std::thread([&] { result = call(); }).join();
    return result;
}

bool IsFree(KXMutexHandle mutex) {
    return OnAnotherThread([&] {
        if (KXMutexTryAcquire(mutex) != KX_S_OK) return false;
        return KXMutexRelease(mutex) == KX_S_OK;
    });
}

constexpr std::uint32_t kUnchecked[] = {0,
                                        KX_MUTEX_NON_RECURSIVE,
                                        KX_MUTEX_SPIN,
                                        KX_MUTEX_NO_STATS,
                                        KX_MUTEX_NO_STATS | KX_MUTEX_STATS,
                                        KX_MUTEX_STATS,
                                        KX_MUTEX_STATS | KX_MUTEX_NON_RECURSIVE,
                                        KX_MUTEX_SPIN | KX_MUTEX_STATS,
                                        0x1u};

}  // namespace

class MutexOfAnyKind : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(MutexOfAnyKind, IsRecursiveAndNeedsAReleaseForEachAcquire) {
    const Mutex mutex(GetParam());
    EXPECT_RESULT(KX_S_OK, KXMutexAcquire(mutex));
    EXPECT_RESULT(KX_S_OK, KXMutexAcquire(mutex));
    EXPECT_RESULT(KX_S_OK, KXMutexTryAcquire(mutex));
    for (int releases = 0; releases < 3; ++releases) {
        EXPECT_FALSE(IsFree(mutex)) << releases;
        EXPECT_RESULT(KX_S_OK, KXMutexRelease(mutex));
    }
    EXPECT_TRUE(IsFree(mutex));
}

TEST_P(MutexOfAnyKind, TryAcquireOfALockHeldByAnotherIsFail) {
    const Mutex mutex(GetParam());
    KXMutexAcquire(mutex);
    EXPECT_RESULT(KX_E_FAIL, OnAnotherThread([&] { return KXMutexTryAcquire(mutex); }));
    KXMutexRelease(mutex);
}

TEST_P(MutexOfAnyKind, ExcludesOtherThreads) {
    const Mutex mutex(GetParam());
    constexpr int kThreads = 4;
    constexpr int kRounds = 5'000;
    int counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                if (round % 3 == 0) {
                    while (KXMutexTryAcquire(mutex) != KX_S_OK) std::this_thread::yield();
                } else {
                    KXMutexAcquire(mutex);
                }
                KXMutexAcquire(mutex);
                ++counter;
                KXMutexRelease(mutex);
                KXMutexRelease(mutex);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(kThreads * kRounds, counter);
}

TEST_P(MutexOfAnyKind, WakesAThreadThatSleepsOnIt) {
    const Mutex mutex(GetParam());
    KXMutexAcquire(mutex);
    std::atomic<bool> taken{false};
    std::thread waiter([&] {
        KXMutexAcquire(mutex);
        taken = true;
        KXMutexRelease(mutex);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(taken);
    KXMutexRelease(mutex);
    waiter.join();
    EXPECT_TRUE(taken);
}

INSTANTIATE_TEST_SUITE_P(Mutex, MutexOfAnyKind, ::testing::ValuesIn(kUnchecked));
INSTANTIATE_TEST_SUITE_P(CheckedMutex, MutexOfAnyKind,
                         ::testing::Values(KX_MUTEX_CHECKED, KX_MUTEX_CHECKED | KX_MUTEX_STATS,
                                           KX_MUTEX_CHECKED | KX_MUTEX_SPIN));

TEST(Mutex, NonRecursiveAndCheckedRefusesReEntry) {
    const Mutex mutex(KX_MUTEX_CHECKED | KX_MUTEX_NON_RECURSIVE);
    EXPECT_RESULT(KX_S_OK, KXMutexAcquire(mutex));
    EXPECT_RESULT(KX_E_FAIL, KXMutexAcquire(mutex));
    EXPECT_RESULT(KX_E_FAIL, KXMutexTryAcquire(mutex));
    EXPECT_RESULT(KX_S_OK, KXMutexRelease(mutex)) << "the refusals left the depth at 1";
    EXPECT_TRUE(IsFree(mutex));
    EXPECT_RESULT(KX_S_OK, KXMutexAcquire(mutex));
    EXPECT_RESULT(KX_S_OK, KXMutexRelease(mutex));
}

TEST(Mutex, CheckedRefusesAReleaseByAStranger) {
    const Mutex mutex(KX_MUTEX_CHECKED);
    KXMutexAcquire(mutex);
    EXPECT_RESULT(KX_E_FAIL, OnAnotherThread([&] { return KXMutexRelease(mutex); }));
    EXPECT_FALSE(IsFree(mutex)) << "the owner's hold is intact";
    EXPECT_RESULT(KX_S_OK, KXMutexRelease(mutex));
    EXPECT_RESULT(KX_E_FAIL, KXMutexRelease(mutex)) << "nobody owns it now";
}

TEST(Mutex, OwnershipClaimsAreTestedOnACheckedMutex) {
    const Mutex mutex(KX_MUTEX_CHECKED);
    EXPECT_EQ(1, KXMutexAssertOwnership(mutex, 0));
    EXPECT_EQ(0, KXMutexAssertOwnership(mutex, 1));
    KXMutexAcquire(mutex);
    EXPECT_EQ(1, KXMutexAssertOwnership(mutex, 1));
    EXPECT_EQ(0, KXMutexAssertOwnership(mutex, 0));
    EXPECT_EQ(-1, KXMutexAssertOwnership(mutex, -1)) << "sign-extended from 16 bits";
    EXPECT_EQ(1, OnAnotherThread([&] { return KXMutexAssertOwnership(mutex, 0); }));
    EXPECT_EQ(0, OnAnotherThread([&] { return KXMutexAssertOwnership(mutex, 1); }));
    KXMutexRelease(mutex);
}

TEST(Mutex, EveryOwnershipClaimHoldsWithoutChecks) {
    for (const std::uint32_t flags : kUnchecked) {
        const Mutex mutex(flags);
        EXPECT_EQ(1, KXMutexAssertOwnership(mutex, 0));
        EXPECT_EQ(1, KXMutexAssertOwnership(mutex, 1));
        EXPECT_EQ(1, KXMutexAssertOwnership(mutex, -1));
        KXMutexAcquire(mutex);
        EXPECT_EQ(1, KXMutexAssertOwnership(mutex, 0));
        KXMutexRelease(mutex);
    }
}

TEST(Mutex, NullNameIsAccepted) {
    const Mutex mutex(0, nullptr);
}

TEST(Mutex, OSMutexIsOneAddressOfItsOwn) {
    const Mutex one(0);
    const Mutex two(KX_MUTEX_CHECKED);
    EXPECT_NE(nullptr, KXMutexGetOSMutex(one));
    EXPECT_EQ(KXMutexGetOSMutex(one), KXMutexGetOSMutex(one));
    EXPECT_NE(KXMutexGetOSMutex(one), KXMutexGetOSMutex(two));
}
