// Start-up and shutdown of the library. Not thread-safe: the loader serialises its calls.
#ifndef KXCORE7_SRC_FRAME_STARTUP_H
#define KXCORE7_SRC_FRAME_STARTUP_H

#include <kxcore7/result.h>

#include <cstdint>

namespace kx::core {

// Counts an attach and, for the first one, brings everything up. What was built before a failure
// stays.
KXResult KXCoreInit() noexcept;

// Counts a detach and, for the last one, takes everything down. KX_E_FAIL without an attach.
KXResult KXCoreTerm() noexcept;

// The identity under which the library announces itself as a module: its entry's address.
std::uintptr_t OwnModule() noexcept;

}  // namespace kx::core

#endif
