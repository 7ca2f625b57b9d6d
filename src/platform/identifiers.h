// Unique identifiers.
#ifndef KXCORE7_SRC_PLATFORM_IDENTIFIERS_H
#define KXCORE7_SRC_PLATFORM_IDENTIFIERS_H

#include <kxcore7/guid.h>

#include <cstdint>

namespace kx::platform {

// The one status of GenerateIdentifier that means failure: nothing unique to base it on.
inline constexpr std::uint32_t kNoNetworkAddress = 1739;

// Makes a new identifier; a status of 0, a warning, or kNoNetworkAddress.
std::uint32_t GenerateIdentifier(KXGUID* out) noexcept;

}  // namespace kx::platform

#endif
