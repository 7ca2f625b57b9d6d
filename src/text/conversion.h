// Owning strings across the process's locale.
#ifndef KXCORE7_SRC_TEXT_CONVERSION_H
#define KXCORE7_SRC_TEXT_CONVERSION_H

#include <string>

namespace kx::core {

// Both give an empty string for text that does not convert, and throw only std::bad_alloc.
std::u16string WideFromNarrow(const char* text);
std::string NarrowFromWide(const char16_t* text);

}  // namespace kx::core

#endif
