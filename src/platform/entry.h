// The loader's entry point, the only place where the floor calls upwards.
//
// The system's file calls LibraryMain with kProcessAttach once when the library is loaded, before
// any export can be called, and with kProcessDetach once when it is unloaded or the process ends.
// A loader that tells of threads passes those reasons on as well. The result is 1, always.
#ifndef KXCORE7_SRC_PLATFORM_ENTRY_H
#define KXCORE7_SRC_PLATFORM_ENTRY_H

#include <cstdint>

namespace kx::core {

inline constexpr std::uint32_t kProcessDetach = 0;
inline constexpr std::uint32_t kProcessAttach = 1;
inline constexpr std::uint32_t kThreadAttach = 2;
inline constexpr std::uint32_t kThreadDetach = 3;

// Supplied by the frame. instance is the library's native handle or address.
int LibraryMain(void* instance, std::uint32_t reason);

}  // namespace kx::core

#endif
