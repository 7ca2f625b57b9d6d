#include "platform/posix/futex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace kx::platform {

static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));
static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

// A lock must not change what its caller reads from errno.
[[gnu::noinline, gnu::cold]] void FutexWait(std::atomic<std::uint32_t>& word,
                                            std::uint32_t expected) noexcept {
    const int saved = errno;
    syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, expected, nullptr, nullptr, 0);
    errno = saved;
}

[[gnu::noinline, gnu::cold]] void FutexWake(std::atomic<std::uint32_t>* word, int count) noexcept {
    const int saved = errno;
    syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, count, nullptr, nullptr, 0);
    errno = saved;
}

}  // namespace kx::platform
