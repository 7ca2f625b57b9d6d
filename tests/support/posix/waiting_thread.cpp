#include "support/waiting_thread.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "support/posix/futex_wait.h"

namespace kx::test {
namespace {

// How the library sleeps, and nobody else in a test: the C library's locks use other forms.
constexpr unsigned long kWait = FUTEX_WAIT_BITSET_PRIVATE;

}  // namespace

std::optional<FutexWait> FutexWaitOf(std::uint32_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/syscall");
    std::string line;
    std::getline(file, line);
    long number = -1;
    FutexWait wait{};
    const int read = std::sscanf(line.c_str(), "%ld 0x%lx 0x%lx 0x%lx 0x%lx", &number, &wait.word,
                                 &wait.operation, &wait.expected, &wait.until);
    if (read != 5 || number != SYS_futex) return std::nullopt;
    return wait;
}

std::uint32_t CurrentThread() {
    return static_cast<std::uint32_t>(gettid());
}

bool WaitUntilAsleep(std::uint32_t thread, const std::atomic<bool>& ended) {
    for (; !ended; std::this_thread::yield()) {
        const auto wait = FutexWaitOf(thread);
        if (wait && wait->operation == kWait) return true;
    }
    return false;
}

}  // namespace kx::test
