// How threads sleep on futexes: what a signal, a stray wake-up and the clock may do to them.
#include "platform/waitables.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/futex.h>
#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <string>
#include <thread>

#include "support/named_objects.h"
#include "support/posix/futex_wait.h"
#include "support/waiting_thread.h"

using kx::test::FutexWait;
using kx::test::FutexWaitOf;
using kx::test::WaitingThread;
using namespace kx::platform;

namespace {

constexpr std::uint32_t kLong = 600'000;

enum class Kind { kEvent, kGate, kSemaphore, kSharedSemaphore, kCondition };
constexpr Kind kKinds[] = {Kind::kEvent, Kind::kGate, Kind::kSemaphore, Kind::kSharedSemaphore,
                           Kind::kCondition};

std::string NameOf(const ::testing::TestParamInfo<Kind>& kind) {
    static constexpr const char* kNames[] = {"Event", "Gate", "Semaphore", "SharedSemaphore",
                                             "Condition"};
    return kNames[static_cast<int>(kind.param)];
}

// One object of each kind, as threads wait for it and are let through.
class WaitableOfAnyKind : public ::testing::TestWithParam<Kind> {
  protected:
    WaitableOfAnyKind() {
        m_event.Create(false);
        m_gate.Create(true);
        m_semaphore.Create(0, 1);
        if (GetParam() == Kind::kSharedSemaphore) {
            EXPECT_EQ(kSuccess, m_shared.CreateShared(kx::test::UniqueName().c_str(), 0, 0x7FFF));
        }
    }

    NativeError Wait(std::uint32_t limit) {
        switch (GetParam()) {
            case Kind::kEvent:
                return m_event.Wait(limit);
            case Kind::kGate:
                return m_gate.Wait(limit);
            case Kind::kSemaphore:
                return m_semaphore.Wait(limit);
            case Kind::kSharedSemaphore:
                return m_shared.Wait(limit);
            case Kind::kCondition:
                return WaitForCondition(limit);
        }
        return kGenericFailure;
    }
    void LetOneThrough() {
        switch (GetParam()) {
            case Kind::kEvent:
                m_event.Set();
                break;
            case Kind::kGate:
                m_gate.Set();
                m_gate.Reset();
                break;
            case Kind::kSemaphore:
                m_semaphore.Post();
                break;
            case Kind::kSharedSemaphore:
                m_shared.Post();
                break;
            case Kind::kCondition:
                m_condition.WakeOne();
        }
    }
    NativeError TimedOut() const {
        return GetParam() == Kind::kCondition ? kConditionTimedOut : kWaitTimedOut;
    }

    CriticalSection m_lock{0, false};

  private:
    NativeError WaitForCondition(std::uint32_t limit) {
        if (!m_lock.TryEnter()) m_lock.EnterContended();
        const NativeError outcome = m_condition.Wait(m_lock, limit);
        m_lock.Leave();
        return outcome;
    }

    Event m_event;
    Event m_gate;
    Semaphore m_semaphore;
    Semaphore m_shared;
    Condition m_condition;
};

// Handles a signal and does nothing, so that system calls are cut short.
class HandledSignal final {
  public:
    HandledSignal() {
        struct sigaction action {};
        action.sa_handler = [](int) { ++s_count; };
        sigaction(SIGUSR1, &action, &m_before);
        s_count = 0;
    }
    ~HandledSignal() { sigaction(SIGUSR1, &m_before, nullptr); }
    HandledSignal(const HandledSignal&) = delete;
    HandledSignal& operator=(const HandledSignal&) = delete;

    static int Count() { return s_count; }

  private:
    static inline std::atomic<int> s_count{0};
    struct sigaction m_before {};
};

std::chrono::nanoseconds MonotonicNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

// What another thread has on its stack, read as the kernel sees it.
timespec TimeAt(std::uintptr_t address) {
    timespec time{};
    const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(static_cast<ssize_t>(sizeof time),
              pread(memory, &time, sizeof time, static_cast<off_t>(address)));
    close(memory);
    return time;
}

// Where a thread sleeps, in line or at a lock; nowhere if it has ended, which is a failure.
FutexWait WaitOf(const WaitingThread& thread) {
    while (thread.WaitUntilAsleepOrEnded()) {
        if (const auto wait = FutexWaitOf(thread.Id())) return *wait;
    }
    ADD_FAILURE() << "the thread has ended";
    return {};
}

// Wakes whoever sleeps like that; whether there was somebody.
bool Wake(const FutexWait& wait) {
    const unsigned long operation = FUTEX_WAKE | (wait.operation & FUTEX_PRIVATE_FLAG);
    return syscall(SYS_futex, wait.word, operation, 1, nullptr, nullptr, 0) == 1;
}

}  // namespace

TEST_P(WaitableOfAnyKind, WaitsKeepErrno) {
    errno = 4711;
    EXPECT_EQ(TimedOut(), Wait(0));
    EXPECT_EQ(4711, errno);
    EXPECT_EQ(TimedOut(), Wait(1));
    EXPECT_EQ(4711, errno);
    for (const std::uint32_t limit : {kLong, kNoLimit}) {
        WaitingThread waiter([&] {
            errno = 4712;
            EXPECT_EQ(kSuccess, Wait(limit));
            EXPECT_EQ(4712, errno);
        });
        // Woken for nothing and by a signal, too: these are errors of the call below.
        const HandledSignal handled;
        EXPECT_TRUE(Wake(WaitOf(waiter)));
        waiter.WaitUntilAsleep();
        errno = 0;
        while (HandledSignal::Count() == 0) {
            syscall(SYS_tgkill, getpid(), waiter.Id(), SIGUSR1);
            std::this_thread::yield();
        }
        waiter.WaitUntilAsleep();
        errno = 4713;
        LetOneThrough();
        EXPECT_EQ(4713, errno);
    }
}

// The point in time is fixed at the start: a wait that signals cut short again and again, faster
// than its limit, ends all the same, and not before.
TEST_P(WaitableOfAnyKind, ATimedWaitSurvivesSignals) {
    const HandledSignal handled;
    constexpr std::chrono::milliseconds kLimit(40);
    std::atomic<bool> over{false};
    const pthread_t self = pthread_self();
    std::thread disturber([&] {
        while (!over) {
            pthread_kill(self, SIGUSR1);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    while (HandledSignal::Count() == 0) std::this_thread::yield();
    const auto start = MonotonicNow();
    EXPECT_EQ(TimedOut(), Wait(static_cast<std::uint32_t>(kLimit.count())));
    const auto waited = MonotonicNow() - start;
    over = true;
    disturber.join();
    EXPECT_GE(waited, kLimit);
}

TEST_P(WaitableOfAnyKind, AWaitWithoutALimitSurvivesSignals) {
    const HandledSignal handled;
    std::atomic<bool> passed{false};
    WaitingThread waiter([&] {
        EXPECT_EQ(kSuccess, Wait(kNoLimit));
        passed = true;
    });
    waiter.WaitUntilAsleep();
    for (int count = 0; count < 20; ++count) {
        syscall(SYS_tgkill, getpid(), waiter.Id(), SIGUSR1);
        while (HandledSignal::Count() <= count) std::this_thread::yield();
        waiter.WaitUntilAsleep();
    }
    EXPECT_FALSE(passed);
    LetOneThrough();
}

TEST_P(WaitableOfAnyKind, AWakeUpForNothingLetsNobodyThrough) {
    std::atomic<bool> passed{false};
    for (const std::uint32_t limit : {kLong, kNoLimit}) {
        passed = false;
        WaitingThread waiter([&] {
            EXPECT_EQ(kSuccess, Wait(limit));
            passed = true;
        });
        const FutexWait wait = WaitOf(waiter);
        for (int i = 0; i < 5; ++i) {
            EXPECT_TRUE(Wake(wait));
            EXPECT_EQ(wait.word, WaitOf(waiter).word);
            EXPECT_FALSE(passed);
        }
        LetOneThrough();
    }
}

// A time on the clock that nobody sets, so many milliseconds ahead of the call, also for the second
// sleep of one wait.
TEST_P(WaitableOfAnyKind, SleepsUntilATimeOnTheMonotonicClock) {
    for (const std::uint32_t limit : {kLong, kNoLimit - 1}) {
        const auto before = MonotonicNow();
        WaitingThread waiter([&] { EXPECT_EQ(kSuccess, Wait(limit)); });
        const FutexWait wait = WaitOf(waiter);
        const auto after = MonotonicNow();
        EXPECT_EQ(0u, wait.operation & FUTEX_CLOCK_REALTIME);
        EXPECT_EQ(unsigned{FUTEX_WAIT_BITSET}, wait.operation & FUTEX_CMD_MASK)
            << "a point in time";
        const timespec until = TimeAt(wait.until);
        const auto ahead = std::chrono::seconds(until.tv_sec) +
                           std::chrono::nanoseconds(until.tv_nsec) -
                           std::chrono::milliseconds(limit);
        EXPECT_GE(ahead, before);
        EXPECT_LE(ahead, after);
        EXPECT_TRUE(Wake(wait));
        const timespec again = TimeAt(WaitOf(waiter).until);
        EXPECT_EQ(until.tv_sec, again.tv_sec);
        EXPECT_EQ(until.tv_nsec, again.tv_nsec);
        LetOneThrough();
    }
    WaitingThread waiter([&] { EXPECT_EQ(kSuccess, Wait(kNoLimit)); });
    EXPECT_EQ(0u, WaitOf(waiter).until) << "no time at all";
    LetOneThrough();
}

TEST_P(WaitableOfAnyKind, DoesNotRunOutTooEarly) {
    for (const int limit : {1, 2, 7, 15}) {
        const auto start = MonotonicNow();
        EXPECT_EQ(TimedOut(), Wait(static_cast<std::uint32_t>(limit)));
        EXPECT_GE(MonotonicNow() - start, std::chrono::milliseconds(limit));
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, WaitableOfAnyKind, ::testing::ValuesIn(kKinds), NameOf);

// A wait that ran out while another thread holds the lock goes on to wait for the lock.
TEST(Condition, AWaitThatRunsOutReturnsWithTheLockOnly) {
    CriticalSection lock(0, false);
    Condition condition;
    std::atomic<bool> returned{false};
    ASSERT_TRUE(lock.TryEnter());
    std::uintptr_t inLine = 0;
    WaitingThread waiter([&] {
        lock.EnterContended();
        EXPECT_EQ(kConditionTimedOut, condition.Wait(lock, 200));
        returned = true;
        lock.Leave();
    });
    const std::uintptr_t atLock = WaitOf(waiter).word;
    lock.Leave();
    do {
        inLine = WaitOf(waiter).word;
    } while (inLine == atLock);
    if (!lock.TryEnter()) lock.EnterContended();
    if (!returned) {
        while (WaitOf(waiter).word == inLine) std::this_thread::yield();
        EXPECT_EQ(atLock, WaitOf(waiter).word);
        EXPECT_FALSE(returned);
    }
    lock.Leave();
}
