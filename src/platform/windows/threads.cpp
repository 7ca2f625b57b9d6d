#include "platform/threads.h"

#include "platform/windows/native.h"

namespace kx::platform {

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

}  // namespace kx::platform
