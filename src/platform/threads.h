// Threads.
#ifndef KXCORE7_SRC_PLATFORM_THREADS_H
#define KXCORE7_SRC_PLATFORM_THREADS_H

#include <cstdint>

#include "platform/error.h"

namespace kx::platform {

// --- The calling thread --------------------------------------------------------------------------

// The system's id of the calling thread, unique among living threads, never 0. Cheap: no system
// call but the first time on a thread.
std::uint32_t CurrentThreadId() noexcept;

// A value that the floor takes as "the thread that uses it".
std::uintptr_t CurrentThreadPseudoHandle() noexcept;

// Sleeps at least so long, whatever interrupts; 0 yields.
void Sleep(std::uint32_t milliseconds) noexcept;

// Lets another ready thread run.
void YieldThread() noexcept;

// Sets the processors that the calling thread may run on, a bit for each, and stores those that it
// could run on before. kInvalidParameter for none, and for one that the process may not use:
// nothing has changed, and *previous is 0.
NativeError SwapThreadAffinity(std::uintptr_t mask, std::uintptr_t* previous) noexcept;

// --- Other threads -------------------------------------------------------------------------------

// Handles that were closed give kInvalidHandle.
using ThreadHandle = std::uintptr_t;
inline constexpr ThreadHandle kNoThread = 0;

inline constexpr NativeError kNotEnoughMemory = 8;

// What a new thread runs: its result is the thread's exit code. It is the thread's to delete.
struct ThreadStart {
    std::uint32_t (*run)(ThreadStart* self);
};

// Starts a thread at once, with a stack of so many bytes, 0 for the system's default.
// kNotEnoughMemory where the system can't have another.
NativeError StartThread(ThreadStart* start, std::uint32_t stackSize, ThreadHandle* handle,
                        std::uint32_t* id);

// Waits for the end of a thread, however it ends; any number of threads may. The pseudo handle is
// the caller itself, which is waited for in vain.
NativeError WaitForThread(ThreadHandle thread) noexcept;

// Of a thread that was waited for.
NativeError QueryThreadExitCode(ThreadHandle thread, std::uint32_t* exitCode) noexcept;

// The thread runs on, and so do those that wait for it.
NativeError CloseThread(ThreadHandle thread) noexcept;

}  // namespace kx::platform

#endif
