#include "platform/processes.h"

#include <unistd.h>

namespace kx::platform {

std::uint32_t CurrentProcessId() noexcept {
    return static_cast<std::uint32_t>(getpid());
}

std::uintptr_t CurrentProcessPseudoHandle() noexcept {
    return ~std::uintptr_t{0};
}

}  // namespace kx::platform
