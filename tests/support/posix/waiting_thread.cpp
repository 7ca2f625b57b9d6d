#include "support/waiting_thread.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <fstream>
#include <string>

#include "support/posix/futex_wait.h"

namespace kx::test {
namespace {

// How the library sleeps, for its own process's sake or for others', and nobody else in a test: the
// C library's locks use other forms. The last is how that waits for a thread's end.
bool IsTheLibrarys(const FutexWait& wait) {
    return wait.operation == FUTEX_WAIT_BITSET_PRIVATE || wait.operation == FUTEX_WAIT_BITSET ||
           wait.operation == (FUTEX_WAIT_BITSET | FUTEX_CLOCK_REALTIME);
}

std::string LineOf(std::uint32_t thread, const char* name) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/" + name);
    std::string line;
    std::getline(file, line);
    return line;
}

// The state is the letter behind the name, which stands in brackets.
bool Sleeps(std::uint32_t thread) {
    const std::string line = LineOf(thread, "stat");
    const std::size_t end = line.rfind(')');
    return end != std::string::npos && line.compare(end, 4, ") S ") == 0;
}

bool SleepsIn(std::uint32_t thread, long call) {
    return Sleeps(thread) && LineOf(thread, "syscall").starts_with(std::to_string(call) + ' ');
}

// A lock on a file, a child and itself are what a thread of the library's sleeps for otherwise.
bool WaitsElsewhere(std::uint32_t thread) {
    return SleepsIn(thread, SYS_fcntl) || SleepsIn(thread, SYS_poll) || SleepsIn(thread, SYS_pause);
}

}  // namespace

// A thread that was woken and has not got a processor yet is still said to be in its call, though
// no longer to sleep: so this asks for both.
std::optional<FutexWait> FutexWaitOf(std::uint32_t thread) {
    if (!Sleeps(thread)) return std::nullopt;
    const std::string line = LineOf(thread, "syscall");
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
        if (wait && IsTheLibrarys(*wait)) return true;
        if (WaitsElsewhere(thread)) return true;
    }
    return false;
}

}  // namespace kx::test
