// The calling thread.
#ifndef KXCORE7_SRC_PLATFORM_THREADS_H
#define KXCORE7_SRC_PLATFORM_THREADS_H

#include <cstdint>

namespace kx::platform {

// The system's id of the calling thread, unique among living threads, never 0. Cheap: no system
// call but the first time on a thread.
std::uint32_t CurrentThreadId() noexcept;

// A value that the floor takes as "the thread that uses it".
std::uintptr_t CurrentThreadPseudoHandle() noexcept;

// Sleeps at least so long, whatever interrupts; 0 yields.
void Sleep(std::uint32_t milliseconds) noexcept;

// Lets another ready thread run.
void YieldThread() noexcept;

}  // namespace kx::platform

#endif
