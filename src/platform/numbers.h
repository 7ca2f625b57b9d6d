// Numbers in wide text, as the runtime reads them under the process's locale.
#ifndef KXCORE7_SRC_PLATFORM_NUMBERS_H
#define KXCORE7_SRC_PLATFORM_NUMBERS_H

#include <cstdint>

namespace kx::platform {

// wcstoll and wcstod. *end is where reading stopped, text if there was no number. ERANGE in errno
// for what is out of range.
std::int64_t ParseInteger(const char16_t* text, const char16_t** end, int radix) noexcept;
double ParseDouble(const char16_t* text, const char16_t** end) noexcept;

}  // namespace kx::platform

#endif
