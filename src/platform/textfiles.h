// Lines of text files that end in CR LF whatever the system's own lines end in.
#ifndef KXCORE7_SRC_PLATFORM_TEXTFILES_H
#define KXCORE7_SRC_PLATFORM_TEXTFILES_H

#include <unicode/ustdio.h>

#include <cstdint>

namespace kx::platform {

// Writes line, CR and LF; the units written, fewer on failure.
std::int32_t PutLine(const char16_t* line, UFILE* file) noexcept;

}  // namespace kx::platform

#endif
