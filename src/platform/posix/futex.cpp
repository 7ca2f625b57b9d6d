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
                                            std::uint32_t expected, Deadline deadline) noexcept {
    const int saved = errno;
    timespec until{};
    until.tv_sec = deadline / kNanosecondsPerSecond;
    until.tv_nsec = deadline % kNanosecondsPerSecond;
    // This form of the call takes a point in time, so that a sleep that is cut short is not
    // lengthened by another.
    const long result =
        syscall(SYS_futex, &word, FUTEX_WAIT_BITSET_PRIVATE, expected,
                deadline == kNever ? nullptr : &until, nullptr, FUTEX_BITSET_MATCH_ANY);
    const bool timedOut = result != 0 && errno == ETIMEDOUT;
    errno = saved;
    return !timedOut;
}

[[gnu::noinline, gnu::cold]] void FutexWake(std::atomic<std::uint32_t>* word, int count) noexcept {
    const int saved = errno;
    syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, count, nullptr, nullptr, 0);
    errno = saved;
}

}  // namespace kx::platform
