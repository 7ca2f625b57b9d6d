#include "text/conversion.h"

#include <kxcore7/str.h>

#include <cstddef>

#include "platform/locale.h"

namespace kx::core {
namespace {

// Asks for the length first, then converts into a string of that size. A runtime may find only then
// that a character can't be converted.
template <typename To, typename From>
std::basic_string<To> Convert(const From* text,
                              std::size_t (*convert)(To*, const From*, std::size_t)) {
    const std::size_t length = convert(nullptr, text, 0);
    if (length == platform::kConversionFailed) return {};
    std::basic_string<To> converted(length, To{});
    if (convert(converted.data(), text, length) == platform::kConversionFailed) return {};
    return converted;
}

}  // namespace

std::u16string WideFromNarrow(const char* text) {
    return Convert<char16_t, char>(text, platform::NarrowToWide);
}

std::string NarrowFromWide(const char16_t* text) {
    return Convert<char, char16_t>(text, platform::WideToNarrow);
}

}  // namespace kx::core

namespace {

bool IsAscii(char byte) {
    return static_cast<unsigned char>(byte) < 0x80;
}

// Without a destination: the ASCII prefix, then what the locale needs for the rest.
size_t WideLength(const char* src) {
    size_t prefix = 0;
    for (; IsAscii(src[prefix]); ++prefix) {
        if (src[prefix] == '\0') return prefix;
    }
    return prefix + kx::platform::NarrowToWide(nullptr, src + prefix, 0);
}

}  // namespace

// A failed conversion is all bits one, which is added like any other count.
size_t KXAnsiToUnicode(char16_t* dst, const char* src, size_t count) {
    if (dst == nullptr) return WideLength(src);
    for (size_t done = 0; done < count; ++done) {
        if (!IsAscii(src[done])) {
            return done + kx::platform::NarrowToWide(dst + done, src + done, count - done);
        }
        dst[done] = static_cast<unsigned char>(src[done]);
        if (src[done] == '\0') return done;
    }
    return count;
}
