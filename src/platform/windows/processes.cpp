#include "platform/processes.h"

#include "platform/windows/native.h"

namespace kx::platform {

std::uint32_t CurrentProcessId() noexcept {
    return GetCurrentProcessId();
}

std::uintptr_t CurrentProcessPseudoHandle() noexcept {
    return reinterpret_cast<std::uintptr_t>(GetCurrentProcess());
}

}  // namespace kx::platform
