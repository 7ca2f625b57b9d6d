// The system's header, and the types of the floor as the system has them.
#ifndef KXCORE7_SRC_PLATFORM_WINDOWS_NATIVE_H
#define KXCORE7_SRC_PLATFORM_WINDOWS_NATIVE_H

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <cstdint>

#include "platform/error.h"

namespace kx::platform {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

inline const wchar_t* Native(const char16_t* text) noexcept {
    return reinterpret_cast<const wchar_t*>(text);
}
inline wchar_t* Native(char16_t* text) noexcept {
    return reinterpret_cast<wchar_t*>(text);
}
inline const char16_t* FromNative(const wchar_t* text) noexcept {
    return reinterpret_cast<const char16_t*>(text);
}
inline DWORD* Native(std::uint32_t* number) noexcept {
    return reinterpret_cast<DWORD*>(number);
}

// Of a call that was made just now.
inline NativeError ErrorUnless(BOOL done) noexcept {
    return done != 0 ? kSuccess : GetLastError();
}

}  // namespace kx::platform

#endif
