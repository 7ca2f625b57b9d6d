// Formatting of wide messages, the same on every system: the rules stand in kxcore7/alert.h.
#ifndef KXCORE7_SRC_FRAME_FORMAT_H
#define KXCORE7_SRC_FRAME_FORMAT_H

#include <cstdarg>
#include <cstddef>

namespace kx::core {

// Writes at most size - 1 units and a terminator. Allocates nothing and cannot fail: a malformed
// conversion stands in the output as it is written.
void FormatV(char16_t* out, std::size_t size, const char16_t* format, std::va_list arguments);
void Format(char16_t* out, std::size_t size, const char16_t* format, ...);

}  // namespace kx::core

#endif
