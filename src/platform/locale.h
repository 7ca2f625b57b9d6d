// Narrow and wide text under the process's locale, with 16-bit wide units on every system.
#ifndef KXCORE7_SRC_PLATFORM_LOCALE_H
#define KXCORE7_SRC_PLATFORM_LOCALE_H

#include <cstddef>

namespace kx::platform {

inline constexpr std::size_t kConversionFailed = ~std::size_t{0};

// mbstowcs: converts at most count units including the terminator, and returns the units produced
// without it, or kConversionFailed. A character that takes two units is written whole or not at
// all. Null dst: the units needed; count is ignored.
std::size_t NarrowToWide(char16_t* dst, const char* src, std::size_t count) noexcept;

// wcstombs: converts at most count bytes including the terminator, and returns the bytes produced
// without it, or kConversionFailed. A character is written whole or not at all. Null dst: the
// bytes needed; count is ignored, and a runtime may notice a character that can't be converted only
// when it is.
std::size_t WideToNarrow(char* dst, const char16_t* src, std::size_t count) noexcept;

}  // namespace kx::platform

#endif
