// Text under the process's locale, with 16-bit wide units on every system, and the names of locale
// and encoding.
#ifndef KXCORE7_SRC_PLATFORM_LOCALE_H
#define KXCORE7_SRC_PLATFORM_LOCALE_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace kx::platform {

// --- Conversion ----------------------------------------------------------------------------------

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

// Converts wide text with its terminator, with what the encoding has in the place of a character
// that it lacks. Returns the bytes written, terminator included, or 0 if they are more than size.
std::size_t WideToCodePage(char* dst, const char16_t* src, std::size_t size) noexcept;

// --- The user's locale ---------------------------------------------------------------------------

// A locale by the system's number and by ICU's name.
struct LocaleName {
    std::uint32_t identifier;
    const char* name;
};

inline constexpr std::uint32_t kNoLocale = ~std::uint32_t{0};

// The number of the user's locale; kNoLocale where the system has names, and its name is not among
// those given.
std::uint32_t UserLocale(std::span<const LocaleName> names);

// The number of the narrow encoding's code page, by which it is opened as "CP" and the number.
std::uint32_t NarrowCodePage() noexcept;

}  // namespace kx::platform

#endif
