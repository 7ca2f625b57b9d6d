// The names of locales and encodings, by the system's numbers.
#ifndef KXCORE7_SRC_TEXT_LOCALE_H
#define KXCORE7_SRC_TEXT_LOCALE_H

#include <kxcore7/result.h>

#include <cstdint>

namespace kx::core {

// "en_US" for an identifier that is not in the table, whatever its language.
const char* LocaleNameOf(std::uint32_t identifier) noexcept;

// What the exports store, for a locale of this name and for this code page. The room for an
// encoding is the caller's care.
KXResult StoreLocaleName(const char* name, char16_t* dst, std::uint32_t dstCount);
KXResult StoreEncodingName(std::uint32_t codePage, char16_t* dst, std::int32_t dstCount) noexcept;

}  // namespace kx::core

#endif
