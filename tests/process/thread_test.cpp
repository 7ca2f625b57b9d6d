#include <kxcore7/atomic.h>
#include <kxcore7/current.h>
#include <kxcore7/thread.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "support/results.h"
#include "support/waiting_thread.h"
#include "support/wine.h"

namespace {

// A thread of the library's that runs a body of the test's.
class Thread final {
  public:
    explicit Thread(std::function<std::uint32_t()> body, std::uint32_t stackSize = 0,
                    std::uint32_t reserved = 0)
        : m_body(std::move(body)) {
        m_result = KXThreadCreate(&Run, this, reserved, stackSize, &m_handle, &m_id);
    }
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    KXResult Result() const { return m_result; }
    KXThreadHandle Handle() const { return m_handle; }
    std::uint32_t Id() const { return m_id; }
    // The body has run, though the thread may not have ended.
    bool HasRun() const { return m_hasRun; }
    // The exit code; the test fails if it can't be had.
    std::uint32_t Join() const {
        std::uint32_t exitCode = 0;
        EXPECT_RESULT(KX_S_OK, KXThreadJoin(m_handle, &exitCode));
        return exitCode;
    }

  private:
    static std::uint32_t Run(void* self) {
        auto& thread = *static_cast<Thread*>(self);
        const std::uint32_t exitCode = thread.m_body();
        thread.m_hasRun = true;
        return exitCode;
    }

    const std::function<std::uint32_t()> m_body;
    std::atomic<bool> m_hasRun{false};
    KXResult m_result = KX_E_FAIL;
    KXThreadHandle m_handle = 0;
    std::uint32_t m_id = 0;
};

// What holds threads back until the test lets them go.
class Gate final {
  public:
    void Open() { m_open = true; }
    void Pass() const {
        while (!m_open) std::this_thread::yield();
    }

  private:
    std::atomic<bool> m_open{false};
};

std::uint32_t Nothing() {
    return 0;
}

// A number that no thread has: kernels give out far smaller ones, and on Windows they are even.
constexpr KXThreadHandle kNoThread = 0x7FFFFFFF;

void AwaitForgotten(KXThreadHandle thread) {
    while (KXThreadIsFinished(thread) == 0) std::this_thread::yield();
}

// Pins the calling thread to one processor that it may use, and gives its mask.
uintptr_t Pin(uintptr_t* before) {
    uintptr_t mask = 1;
    while (mask != 0 && KXGetSetCpuAffinity(before, &mask) != KX_S_OK) mask <<= 1;
    return mask;
}

}  // namespace

TEST(ThreadCreate, RunsTheRoutineOnAnotherThreadWithTheArgument) {
    std::uint32_t inside = 0;
    const Thread thread([&inside] {
        inside = KXThreadGetID();
        return 0u;
    });
    ASSERT_RESULT(KX_S_OK, thread.Result());
    thread.Join();
    EXPECT_NE(KXThreadGetID(), inside);
    EXPECT_EQ(inside, thread.Id());
    EXPECT_EQ(thread.Id(), thread.Handle()) << "the handle is the id";
}

TEST(ThreadCreate, IgnoresItsThirdArgument) {
    for (const std::uint32_t reserved : {1u, 4u, 0x10000u, 0xFFFFFFFFu}) {
        const Thread thread([] { return 7u; }, 0, reserved);
        ASSERT_RESULT(KX_S_OK, thread.Result());
        EXPECT_EQ(7u, thread.Join()) << reserved;
    }
}

namespace {

constexpr std::uint32_t kPage = 4096;

// Takes so many pages of the stack and more; how many.
[[gnu::noinline]] std::uint32_t UsePages(std::uint32_t count) {
    volatile char page[kPage] = {};
    page[0] = 1;
    const std::uint32_t deeper = count > 1 ? UsePages(count - 1) : 0;
    return deeper + static_cast<std::uint32_t>(page[0]);
}

}  // namespace

TEST(ThreadCreate, GivesTheStackThatIsAskedFor) {
    constexpr std::uint32_t kSize = 64u << 20;
    const Thread thread([] { return UsePages(kSize / kPage / 2); }, kSize);
    ASSERT_RESULT(KX_S_OK, thread.Result());
    EXPECT_EQ(kSize / kPage / 2, thread.Join());
}

TEST(ThreadCreate, RaisesAStackThatIsTooSmall) {
    for (const std::uint32_t size : {1u, 4096u, 16'385u}) {
        const Thread thread([] { return 3u; }, size);
        ASSERT_RESULT(KX_S_OK, thread.Result()) << size;
        EXPECT_EQ(3u, thread.Join());
    }
}

TEST(ThreadCreate, RecordsTheThreadBeforeItsFirstInstruction) {
    for (int i = 0; i < 300; ++i) {
        // A thread without a record would count as finished.
        const Thread thread([] { return std::uint32_t(KXThreadIsFinished(KXThreadGetID())); });
        EXPECT_EQ(0u, thread.Join());
    }
}

TEST(ThreadJoin, GivesAllBitsOfTheExitCode) {
    for (const std::uint32_t code : {0u, 1u, 259u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        const Thread thread([code] { return code; });
        EXPECT_EQ(code, thread.Join());
    }
}

TEST(ThreadJoin, NeedsNoPlaceForTheExitCode) {
    const Thread thread(Nothing);
    EXPECT_RESULT(KX_S_OK, KXThreadJoin(thread.Handle(), nullptr));
}

TEST(ThreadJoin, WaitsForTheEnd) {
    Gate gate;
    const Thread thread([&gate] {
        gate.Pass();
        return 5u;
    });
    kx::test::WaitingThread joiner([&thread] { EXPECT_EQ(5u, thread.Join()); });
    joiner.WaitUntilAsleep();
    gate.Open();
    joiner.Join();
    EXPECT_EQ(1, KXThreadIsFinished(thread.Handle()));
}

TEST(ThreadJoin, OfAnUnknownIdIsAnInvalidHandleAndTheCodeZero) {
    std::uint32_t exitCode = 77;
    EXPECT_RESULT(0x80070006, KXThreadJoin(kNoThread, &exitCode));
    EXPECT_EQ(0u, exitCode);
    EXPECT_RESULT(0x80070006, KXThreadJoin(kNoThread, nullptr));
    EXPECT_RESULT(0x80070006, KXThreadJoin(KX_INVALID_THREAD, nullptr));
}

TEST(ThreadJoin, ASecondTimeFindsNoRecord) {
    const Thread thread([] { return 9u; });
    EXPECT_EQ(9u, thread.Join());
    std::uint32_t exitCode = 77;
    EXPECT_RESULT(0x80070006, KXThreadJoin(thread.Handle(), &exitCode));
    EXPECT_EQ(0u, exitCode);
}

TEST(ThreadJoin, OfADetachedThreadThatRunsFailsAtOnce) {
    Gate gate;
    const Thread thread([&gate] {
        gate.Pass();
        return 0u;
    });
    ASSERT_RESULT(KX_S_OK, KXThreadDetach(thread.Handle()));
    EXPECT_RESULT(0x80070006, KXThreadJoin(thread.Handle(), nullptr));
    EXPECT_EQ(0, KXThreadIsFinished(thread.Handle())) << "it runs on";
    gate.Open();
    AwaitForgotten(thread.Handle());
    EXPECT_TRUE(thread.HasRun());
}

TEST(ThreadJoin, ByTwoLetsOneHaveTheHandle) {
    for (int round = 0; round < 50; ++round) {
        Gate gate;
        const Thread thread([&gate] {
            gate.Pass();
            return 11u;
        });
        KXResult results[2];
        std::uint32_t codes[2] = {1, 1};
        {
            kx::test::WaitingThread first(
                [&] { results[0] = KXThreadJoin(thread.Handle(), &codes[0]); });
            kx::test::WaitingThread second(
                [&] { results[1] = KXThreadJoin(thread.Handle(), &codes[1]); });
            if (round == 0) {
                first.WaitUntilAsleep();
                second.WaitUntilAsleep();
            }
            gate.Open();
        }
        const int winner = results[0] == KX_S_OK ? 0 : 1;
        EXPECT_RESULT(KX_S_OK, results[winner]);
        EXPECT_EQ(11u, codes[winner]);
        EXPECT_RESULT(0x80070006, results[1 - winner]);
        EXPECT_EQ(0u, codes[1 - winner]);
        EXPECT_EQ(1, KXThreadIsFinished(thread.Handle()));
    }
}

TEST(ThreadJoin, EndsWithTheThreadThoughItIsDetachedMeanwhile) {
    Gate gate;
    const Thread thread([&gate] {
        gate.Pass();
        return 11u;
    });
    kx::test::WaitingThread joiner([&thread] {
        std::uint32_t exitCode = 1;
        EXPECT_RESULT(0x80070006, KXThreadJoin(thread.Handle(), &exitCode));
        EXPECT_EQ(0u, exitCode);
    });
    joiner.WaitUntilAsleep();
    EXPECT_RESULT(KX_S_OK, KXThreadDetach(thread.Handle()));
    gate.Open();
    joiner.Join();
    AwaitForgotten(thread.Handle());
}

TEST(ThreadJoin, OfItselfBlocksForEver) {
    // It outlives the test, and so does what it uses.
    static std::atomic<bool> ended{false};
    const Thread& thread = *new Thread([] {
        KXThreadJoin(KXThreadGetID(), nullptr);
        ended = true;
        return 0u;
    });
    EXPECT_TRUE(kx::test::WaitUntilAsleep(thread.Id(), ended));
    EXPECT_EQ(0, KXThreadIsFinished(thread.Id()));
}

TEST(ThreadJoin, OfTheThreadThatLoadedTheLibraryBlocksForEver) {
    static std::atomic<bool> ended{false};
    static const std::uint32_t starter = KXThreadGetID();
    const Thread& thread = *new Thread([] {
        KXThreadJoin(starter, nullptr);
        ended = true;
        return 0u;
    });
    EXPECT_TRUE(kx::test::WaitUntilAsleep(thread.Id(), ended));
    EXPECT_EQ(0, KXThreadIsFinished(thread.Id()));
}

TEST(ThreadDetach, OfARunningThreadLetsItRunOn) {
    Gate gate;
    const Thread thread([&gate] {
        gate.Pass();
        return 0u;
    });
    EXPECT_RESULT(KX_S_OK, KXThreadDetach(thread.Handle()));
    EXPECT_EQ(0, KXThreadIsFinished(thread.Handle()));
    gate.Open();
    AwaitForgotten(thread.Handle());
    EXPECT_TRUE(thread.HasRun());
}

TEST(ThreadDetach, OfAReturnedThreadForgetsIt) {
    const Thread thread(Nothing);
    while (!thread.HasRun()) std::this_thread::yield();
    EXPECT_EQ(0, KXThreadIsFinished(thread.Handle()));
    EXPECT_RESULT(KX_S_OK, KXThreadDetach(thread.Handle()));
    AwaitForgotten(thread.Handle());
}

TEST(ThreadDetach, OfAnUnknownIdIsAnInvalidHandle) {
    EXPECT_RESULT(0x80070006, KXThreadDetach(kNoThread));
    std::uint32_t own = 0;
    std::thread([&own] { own = KXThreadGetID(); }).join();
    EXPECT_RESULT(0x80070006, KXThreadDetach(own)) << "a thread that the library did not start";
}

TEST(ThreadDetach, ASecondTimeIsAnInvalidHandle) {
    Gate gate;
    const Thread thread([&gate] {
        gate.Pass();
        return 0u;
    });
    EXPECT_RESULT(KX_S_OK, KXThreadDetach(thread.Handle()));
    EXPECT_RESULT(0x80070006, KXThreadDetach(thread.Handle()));
    gate.Open();
    AwaitForgotten(thread.Handle());
    EXPECT_RESULT(0x80070006, KXThreadDetach(thread.Handle()));
}

TEST(ThreadDetach, WorksForAThreadAboutItself) {
    const Thread thread([] {
        EXPECT_RESULT(KX_S_OK, KXThreadDetach(KXThreadGetID()));
        return 0u;
    });
    AwaitForgotten(thread.Id());
}

TEST(ThreadIsFinished, OfAReturnedThreadIsNoUntilItIsJoined) {
    const Thread thread(Nothing);
    while (!thread.HasRun()) std::this_thread::yield();
    EXPECT_EQ(0, KXThreadIsFinished(thread.Handle()));
    thread.Join();
    EXPECT_EQ(1, KXThreadIsFinished(thread.Handle()));
}

TEST(ThreadIsFinished, OfANumberThatNeverWasAThreadIsYes) {
    EXPECT_EQ(1, KXThreadIsFinished(kNoThread));
    EXPECT_EQ(1, KXThreadIsFinished(0));
}

TEST(ThreadIsFinished, OfTheThreadThatLoadedTheLibraryIsNo) {
    EXPECT_EQ(0, KXThreadIsFinished(KXThreadGetID()));
}

TEST(ThreadIsFinished, OfAThreadThatTheLibraryDidNotStartIsYes) {
    std::thread([] { EXPECT_EQ(1, KXThreadIsFinished(KXThreadGetID())); }).join();
}

TEST(Threads, CanBeStartedAndJoinedByAnyThread) {
    const Thread outer([] {
        const Thread inner([] { return 21u; });
        return inner.Join() * 2;
    });
    std::thread([&outer] { EXPECT_EQ(42u, outer.Join()); }).join();
}

TEST(Threads, EndInAnyOrder) {
    Gate gates[8];
    std::vector<std::unique_ptr<Thread>> threads;
    for (std::uint32_t i = 0; i < 8; ++i) {
        threads.push_back(std::make_unique<Thread>([i, &gates] {
            gates[i].Pass();
            return i;
        }));
    }
    for (const std::uint32_t i : {3u, 0u, 7u, 5u}) gates[i].Open();
    for (const std::uint32_t i : {7u, 3u, 0u, 5u}) EXPECT_EQ(i, threads[i]->Join());
    for (const std::uint32_t i : {6u, 4u, 2u, 1u}) {
        EXPECT_EQ(0, KXThreadIsFinished(threads[i]->Handle()));
        gates[i].Open();
        EXPECT_EQ(i, threads[i]->Join());
    }
}

namespace {

// Creates and joins so many threads, each with an exit code of its own.
void CreateAndJoin(std::uint32_t first, std::uint32_t count) {
    const auto itself = [](void* argument) {
        return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(argument));
    };
    for (std::uint32_t i = first; i < first + count; ++i) {
        KXThreadHandle handle = 0;
        std::uint32_t id = 0;
        ASSERT_RESULT(KX_S_OK, KXThreadCreate(itself, reinterpret_cast<void*>(std::uintptr_t{i}), 0,
                                              0, &handle, &id));
        std::uint32_t exitCode = 0;
        ASSERT_RESULT(KX_S_OK, KXThreadJoin(handle, &exitCode));
        ASSERT_EQ(i, exitCode);
    }
}

}  // namespace

TEST(Threads, TenThousandFromEightThreadsAtOnceAreAllJoined) {
    std::vector<std::thread> threads;
    for (std::uint32_t i = 0; i < 8; ++i) threads.emplace_back(CreateAndJoin, i * 1250, 1250);
    for (std::thread& thread : threads) thread.join();
}

TEST(ThreadAffinity, GivesThePreviousMaskAndTakesTheNewOne) {
    uintptr_t before = 0;
    const uintptr_t mask = Pin(&before);
    ASSERT_NE(0u, mask);
    EXPECT_EQ(mask, before & mask);
    uintptr_t previous = 0;
    EXPECT_RESULT(KX_S_OK, KXGetSetCpuAffinity(&previous, &before));
    EXPECT_EQ(mask, previous);
    EXPECT_RESULT(KX_S_OK, KXSetCpuAffinity(&mask));
    EXPECT_RESULT(KX_S_OK, KXGetSetCpuAffinity(&previous, &before));
    EXPECT_EQ(mask, previous);

    uintptr_t both = before;
    EXPECT_RESULT(KX_S_OK, KXGetSetCpuAffinity(&both, &both)) << "one place for both";
    EXPECT_EQ(before, both);
}

namespace {

constexpr uintptr_t kLastProcessor = ~(~uintptr_t{0} >> 1);

void ExpectRefusal(uintptr_t refused) {
    uintptr_t previous = 77;
    EXPECT_RESULT(0x80004005, KXGetSetCpuAffinity(&previous, &refused));
    EXPECT_EQ(0u, previous);
    EXPECT_RESULT(0x80004005, KXSetCpuAffinity(&refused));
}

// That the mask is what it was, and back to all.
void ExpectMask(uintptr_t mask, uintptr_t before) {
    uintptr_t previous = 0;
    EXPECT_RESULT(KX_S_OK, KXGetSetCpuAffinity(&previous, &before));
    EXPECT_EQ(mask, previous);
}

}  // namespace

TEST(ThreadAffinity, WithNoProcessorThatTheProcessMayUseChangesNothing) {
    uintptr_t before = 0;
    const uintptr_t mask = Pin(&before);
    ASSERT_EQ(0u, before & kLastProcessor) << "this machine has a processor for every bit";
    ExpectRefusal(kLastProcessor);
    ExpectRefusal(0);
    ExpectMask(mask, before);
}

TEST(ThreadAffinity, WithAProcessorTooManyChangesNothing) {
    SKIP_UNDER_WINE("of a mask the processors are taken that there are");
    uintptr_t before = 0;
    const uintptr_t mask = Pin(&before);
    ASSERT_EQ(0u, before & kLastProcessor) << "this machine has a processor for every bit";
    ExpectRefusal(mask | kLastProcessor);
    ExpectMask(mask, before);
}

TEST(ThreadAffinity, IsTheCallingThreadsAlone) {
    uintptr_t before = 0;
    const uintptr_t mask = Pin(&before);
    ASSERT_RESULT(KX_S_OK, KXSetCpuAffinity(&before));
    std::thread([mask] { EXPECT_RESULT(KX_S_OK, KXSetCpuAffinity(&mask)); }).join();
    uintptr_t previous = 0;
    EXPECT_RESULT(KX_S_OK, KXGetSetCpuAffinity(&previous, &before));
    EXPECT_EQ(before, previous);
}
