// Wide text as bytes of UTF-8, for what leaves the process whatever its locale is.
//
// Valid UTF-16 and valid UTF-8 are each other's images everywhere below; the functions differ in
// what they make of the rest, since each has its own reason to lose nothing.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_UTF8_H
#define KXCORE7_SRC_PLATFORM_POSIX_UTF8_H

#include <cstddef>
#include <string>
#include <string_view>

namespace kx::platform {

// Any 16-bit text, told apart from every other: an unpaired surrogate becomes the three bytes that
// its number has, and Utf16FromUtf8 reads them back. Bytes that Utf8FromUtf16 did not make become
// U+FFFD.
std::string Utf8FromUtf16(std::u16string_view text);
std::u16string Utf16FromUtf8(std::string_view text);

// The same into a buffer of size bytes, as many whole characters as fit and a terminator; the bytes
// without it. Allocates nothing.
std::size_t EncodeUtf8(std::u16string_view text, char* out, std::size_t size);

// Names that the system has as bytes, such as paths: a byte 0x80 to 0xFF that is no UTF-8 stands in
// wide text as a lone low surrogate U+DC80 to U+DCFF, so that every name can be carried there and
// back.
std::string PathFromWide(std::u16string_view path);
std::u16string WideFromPath(std::string_view path);

}  // namespace kx::platform

#endif
