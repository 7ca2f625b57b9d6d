#include "platform/posix/futex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

namespace kx::platform {

namespace {

constexpr std::int64_t kMillisecondsPerSecond = 1000;
constexpr std::int64_t kNanosecondsPerMillisecond = 1'000'000;
constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

constexpr int InScope(int operation, FutexScope scope) noexcept {
    return scope == FutexScope::process ? operation | FUTEX_PRIVATE_FLAG : operation;
}

}  // namespace

static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));
static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

Deadline DeadlineIn(std::uint32_t milliseconds) noexcept {
    if (milliseconds == ~std::uint32_t{0}) return kNever;
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (now.tv_sec * kMillisecondsPerSecond + milliseconds) * kNanosecondsPerMillisecond +
           now.tv_nsec;
}

// A lock must not change what its caller reads from errno.
[[gnu::noinline, gnu::cold]] bool FutexWait(std::atomic<std::uint32_t>& word,
                                            std::uint32_t expected, Deadline deadline,
                                            FutexScope scope) noexcept {
    const int saved = errno;
    timespec until{};
    until.tv_sec = deadline / kNanosecondsPerSecond;
    until.tv_nsec = deadline % kNanosecondsPerSecond;
    // This form of the call takes a point in time, so that a sleep that is cut short is not
    // lengthened by another.
    const long result =
        syscall(SYS_futex, &word, InScope(FUTEX_WAIT_BITSET, scope), expected,
                deadline == kNever ? nullptr : &until, nullptr, FUTEX_BITSET_MATCH_ANY);
    const bool timedOut = result != 0 && errno == ETIMEDOUT;
    errno = saved;
    return !timedOut;
}

[[gnu::noinline, gnu::cold]] void FutexWake(std::atomic<std::uint32_t>* word, int count,
                                            FutexScope scope) noexcept {
    const int saved = errno;
    syscall(SYS_futex, word, InScope(FUTEX_WAKE, scope), count, nullptr, nullptr, 0);
    errno = saved;
}

// The call is made for two words: it changes the second, wakes the first one's waiters and, if a
// comparison holds, the second one's. Here they are one, and nobody is left for the comparison.
[[gnu::noinline, gnu::cold]] bool FutexAddAndWakeAll(std::atomic<std::uint32_t>& word,
                                                     std::uint32_t sum) noexcept {
    constexpr std::uint32_t kOperationAt = 28;
    constexpr std::uint32_t kSumAt = 12;
    const std::uint32_t change = std::uint32_t{FUTEX_OP_ADD} << kOperationAt | sum << kSumAt;
    const int saved = errno;
    const long woken = syscall(SYS_futex, &word, FUTEX_WAKE_OP, kEverybody, nullptr, &word, change);
    errno = saved;
    return woken >= 0;
}

}  // namespace kx::platform
