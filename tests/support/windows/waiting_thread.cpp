#include "support/waiting_thread.h"

#include <windows.h>

namespace kx::test {
namespace {

// No call of the system tells, everywhere, that a thread waits: Wine does not know its threads'
// states, and to suspend a thread in order to look at it takes it out of the line. So it is given
// as many turns as it may need from the last thing that it does before.
constexpr int kTurns = 30;

}  // namespace

std::uint32_t CurrentThread() {
    return GetCurrentThreadId();
}

bool WaitUntilAsleep(std::uint32_t, const std::atomic<bool>& ended) {
    for (int turn = 0; turn < kTurns && !ended; ++turn) Sleep(1);
    return !ended;
}

}  // namespace kx::test
