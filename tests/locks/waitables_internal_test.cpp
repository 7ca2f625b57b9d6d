#include <kxcore7/condition.h>
#include <kxcore7/event.h>
#include <kxcore7/semaphore.h>

#include <atomic>
#include <functional>
#include <random>
#include <thread>
#include <vector>

#include "platform/waitables.h"
#include "support/failing_new.h"
#include "support/results.h"

using kx::test::FailingNew;
using namespace kx::platform;

namespace {

constexpr const char* kLongName = "a name too long to be held inside a string";

using Create = std::function<KXResult(std::uintptr_t*)>;
using Destroy = KXResult (*)(std::uintptr_t);

// The object and its long name: each allocation fails once.
void ExpectOutOfMemory(const Create& create, Destroy destroy) {
    for (int allowed = 0; allowed < 2; ++allowed) {
        std::uintptr_t handle = 77;
        KXResult result = KX_S_OK;
        {
            const FailingNew failing(allowed);
            result = create(&handle);
        }
        EXPECT_RESULT(KX_E_OUTOFMEMORY, result) << allowed;
        EXPECT_EQ(KX_INVALID_HANDLE, handle) << allowed;
    }
    std::uintptr_t handle = 77;
    {
        const FailingNew failing(2);
        EXPECT_RESULT(KX_S_OK, create(&handle));
    }
    EXPECT_NE(KX_INVALID_HANDLE, handle);
    EXPECT_RESULT(KX_S_OK, destroy(handle));
}

}  // namespace

TEST(WaitableObjects, CreationOutOfMemoryIsReportedAndStoresTheInvalidHandle) {
    ExpectOutOfMemory([](std::uintptr_t* out) { return KXEventCreate(kLongName, 0, out); },
                      KXEventDestroy);
    ExpectOutOfMemory([](std::uintptr_t* out) { return KXGateCreate(kLongName, 0, out); },
                      KXGateDestroy);
    ExpectOutOfMemory([](std::uintptr_t* out) { return KXSemaphoreCreate(1, kLongName, 0, out); },
                      KXSemaphoreDestroy);
    ExpectOutOfMemory([](std::uintptr_t* out) { return KXConditionCreate(kLongName, 0, out); },
                      KXConditionDestroy);
}

// The number that the system gives is the one to be mapped, and none that comes out the same.
TEST(WaitableObjects, NativeErrorsAreTheSystems) {
    Event event;
    ASSERT_EQ(kSuccess, event.Create(false));
    EXPECT_EQ(kWaitTimedOut, event.Wait(0));
    EXPECT_EQ(kWaitTimedOut, event.Wait(1));

    Semaphore refused;
    EXPECT_EQ(kInvalidParameter, refused.Create(4, 3));
    Semaphore semaphore;
    ASSERT_EQ(kSuccess, semaphore.Create(2, 3));
    EXPECT_EQ(kSuccess, semaphore.Post());
    EXPECT_EQ(kTooManyPosts, semaphore.Post());
    for (int i = 0; i < 3; ++i) EXPECT_EQ(kSuccess, semaphore.Wait(0));
    EXPECT_EQ(kWaitTimedOut, semaphore.Wait(1));
    EXPECT_EQ(kWaitTimedOut, semaphore.Wait(0));

    CriticalSection lock(0, false);
    Condition condition;
    ASSERT_TRUE(lock.TryEnter());
    EXPECT_EQ(kConditionTimedOut, condition.Wait(lock, 0));
    EXPECT_EQ(kConditionTimedOut, condition.Wait(lock, 1));
    lock.Leave();
}

// Handles have no limit for semaphores, but the floor has: tokens that waiters give up on as they
// arrive are neither lost nor doubled.
TEST(Semaphore, KeepsItsCountWhileWaitsRunOut) {
    constexpr std::uint32_t kCount = 3;
    constexpr int kThreads = 8;
    Semaphore semaphore;
    ASSERT_EQ(kSuccess, semaphore.Create(kCount, 10));
    std::atomic<std::uint32_t> inside{0};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            std::minstd_rand random(i + 1);
            for (int round = 0; round < 2'000; ++round) {
                const auto limit = static_cast<std::uint32_t>(random() % 4);
                const NativeError outcome = semaphore.Wait(limit < 3 ? limit : kNoLimit);
                if (outcome == kWaitTimedOut) continue;
                EXPECT_EQ(kSuccess, outcome);
                EXPECT_LE(++inside, kCount);
                if (round % 8 == 0) std::this_thread::yield();
                --inside;
                EXPECT_EQ(kSuccess, semaphore.Post());
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (std::uint32_t i = 0; i < kCount; ++i) EXPECT_EQ(kSuccess, semaphore.Wait(0));
    EXPECT_EQ(kWaitTimedOut, semaphore.Wait(0));
}
