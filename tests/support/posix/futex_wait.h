// What a thread sleeps on, as the kernel tells.
#ifndef KXCORE7_TESTS_SUPPORT_POSIX_FUTEX_WAIT_H
#define KXCORE7_TESTS_SUPPORT_POSIX_FUTEX_WAIT_H

#include <cstdint>
#include <optional>

namespace kx::test {

struct FutexWait {
    std::uintptr_t word;
    unsigned long operation;
    unsigned long expected;
    std::uintptr_t until;  // the address of a timespec, or 0
};

// The wait in which the thread of this process sleeps; nothing if it runs, sleeps elsewhere or is
// gone.
std::optional<FutexWait> FutexWaitOf(std::uint32_t thread);

}  // namespace kx::test

#endif
