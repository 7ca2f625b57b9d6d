// The current process.
#ifndef KXCORE7_SRC_PLATFORM_PROCESSES_H
#define KXCORE7_SRC_PLATFORM_PROCESSES_H

#include <cstdint>

namespace kx::platform {

// The system's id of this process.
std::uint32_t CurrentProcessId() noexcept;

// A value that the floor takes as "the process that uses it".
std::uintptr_t CurrentProcessPseudoHandle() noexcept;

}  // namespace kx::platform

#endif
