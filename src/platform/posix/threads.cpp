#include "platform/threads.h"

#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>

namespace kx::platform {
namespace {

// Asked of the kernel once a thread. "initial-exec" makes the access one instruction, which a
// library that is loaded at start-up or by dlopen can afford for four bytes.
[[gnu::tls_model("initial-exec")]] thread_local std::uint32_t t_threadId = 0;

// The child of a fork runs on under a new id.
void ForgetThreadId() {
    t_threadId = 0;
}

[[gnu::noinline, gnu::cold]] std::uint32_t AskThreadId() noexcept {
    static const int registered = pthread_atfork(nullptr, nullptr, ForgetThreadId);
    static_cast<void>(registered);
    t_threadId = static_cast<std::uint32_t>(syscall(SYS_gettid));
    return t_threadId;
}

}  // namespace

std::uint32_t CurrentThreadId() noexcept {
    const std::uint32_t known = t_threadId;
    return known != 0 ? known : AskThreadId();
}

std::uintptr_t CurrentThreadPseudoHandle() noexcept {
    return ~std::uintptr_t{1};
}

void Sleep(std::uint32_t milliseconds) noexcept {
    if (milliseconds == 0) {
        YieldThread();
        return;
    }
    timespec left{static_cast<time_t>(milliseconds / 1000),
                  static_cast<long>(milliseconds % 1000) * 1'000'000};
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
    }
}

void YieldThread() noexcept {
    sched_yield();
}

}  // namespace kx::platform
