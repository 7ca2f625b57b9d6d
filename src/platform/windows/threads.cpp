#include "platform/threads.h"

#include <process.h>

#include "platform/windows/native.h"

namespace kx::platform {
namespace {

HANDLE HandleOf(ThreadHandle thread) {
    return reinterpret_cast<HANDLE>(thread);
}

unsigned __stdcall Run(void* start) {
    auto* const thread = static_cast<ThreadStart*>(start);
    return thread->run(thread);
}

}  // namespace

std::uint32_t CurrentThreadId() noexcept {
    return GetCurrentThreadId();
}

std::uintptr_t CurrentThreadPseudoHandle() noexcept {
    return reinterpret_cast<std::uintptr_t>(GetCurrentThread());
}

void Sleep(std::uint32_t milliseconds) noexcept {
    ::Sleep(milliseconds);
}

void YieldThread() noexcept {
    SwitchToThread();
}

NativeError SwapThreadAffinity(std::uintptr_t mask, std::uintptr_t* previous) noexcept {
    *previous = SetThreadAffinityMask(GetCurrentThread(), mask);
    return ErrorUnless(*previous != 0);
}

NativeError StartThread(ThreadStart* start, std::uint32_t stackSize, ThreadHandle* handle,
                        std::uint32_t* id) {
    unsigned number = 0;
    *handle = _beginthreadex(nullptr, stackSize, &Run, start, 0, &number);
    if (*handle == kNoThread) return GetLastError();
    *id = number;
    return kSuccess;
}

NativeError WaitForThread(ThreadHandle thread) noexcept {
    return ErrorUnless(WaitForSingleObject(HandleOf(thread), INFINITE) != WAIT_FAILED);
}

NativeError QueryThreadExitCode(ThreadHandle thread, std::uint32_t* exitCode) noexcept {
    return ErrorUnless(GetExitCodeThread(HandleOf(thread), Native(exitCode)));
}

NativeError CloseThread(ThreadHandle thread) noexcept {
    return ErrorUnless(CloseHandle(HandleOf(thread)));
}

}  // namespace kx::platform
