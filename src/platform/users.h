// The user whose rights the process has.
#ifndef KXCORE7_SRC_PLATFORM_USERS_H
#define KXCORE7_SRC_PLATFORM_USERS_H

#include <cstdint>

#include "platform/error.h"

namespace kx::platform {

inline constexpr NativeError kInsufficientBuffer = 122;
inline constexpr NativeError kNoSuchUser = 1317;

// Writes the user's name and a terminator. kInsufficientBuffer if that takes more than size units,
// kNoSuchUser where the system has no name for the user.
NativeError QueryUserName(char16_t* out, std::uint32_t size);

}  // namespace kx::platform

#endif
