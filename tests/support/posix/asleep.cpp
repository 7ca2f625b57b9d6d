#include "support/asleep.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <thread>

namespace kx::test {

std::uint32_t ThisThread() {
    return static_cast<std::uint32_t>(gettid());
}

// The system names the call that a thread sleeps in, and "running" for one that does not sleep.
void WaitUntilAsleep(std::uint32_t thread) {
    const std::string path = "/proc/self/task/" + std::to_string(thread) + "/syscall";
    for (;;) {
        long call = -1;
        std::ifstream(path) >> call;
        if (call == SYS_futex) return;
        std::this_thread::yield();
    }
}

}  // namespace kx::test
