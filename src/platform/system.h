// What kind of system this is, asked once at start-up.
#ifndef KXCORE7_SRC_PLATFORM_SYSTEM_H
#define KXCORE7_SRC_PLATFORM_SYSTEM_H

#include <cstdint>

namespace kx::platform {

// Whether the system is of the NT family. A system that is no Windows says yes: it has what the
// answer stands for, a registry with views and removal of whole keys left to the caller.
bool IsNtFamily();

// Whether this is a 32-bit process on a 64-bit Windows, as the 16 low bits of the system's answer.
std::int16_t IsWow64Process();

// Whether the compiler keeps values of 32 bytes aligned on this system's stack.
bool KeepsLongVectorsAligned() noexcept;

}  // namespace kx::platform

#endif
