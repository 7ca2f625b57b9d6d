#include "text/conversion.h"

#include <kxcore7/conversion.h>
#include <unicode/ustring.h>

#include <cstddef>
#include <cstring>

#include "platform/locale.h"
#include "text/ascii.h"

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

using namespace kx;

namespace {

// Without a destination: the ASCII prefix, then what the locale needs for the rest.
size_t WideLength(const char* src) {
    size_t prefix = 0;
    for (; core::IsAscii(src[prefix]); ++prefix) {
        if (src[prefix] == '\0') return prefix;
    }
    return prefix + platform::NarrowToWide(nullptr, src + prefix, 0);
}

// 0 and an empty string for what does not convert.
template <typename Unit>
size_t Checked(size_t produced, Unit* dst) {
    if (produced != platform::kConversionFailed) return produced;
    dst[0] = 0;
    return 0;
}

constexpr bool IsLead(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool IsTrail(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

}  // namespace

const char* const KXUtf8BomStr = "\xEF\xBB\xBF";

// A failed conversion is all bits one, which is added like any other count.
size_t KXAnsiToUnicode(char16_t* dst, const char* src, size_t count) {
    if (dst == nullptr) return WideLength(src);
    for (size_t done = 0; done < count; ++done) {
        if (!core::IsAscii(src[done])) {
            return done + platform::NarrowToWide(dst + done, src + done, count - done);
        }
        dst[done] = static_cast<unsigned char>(src[done]);
        if (src[done] == '\0') return done;
    }
    return count;
}

// Text of which nothing fits is converted again with all the room that its bytes can need, so that
// an empty string gets its terminator.
size_t KXAnsiToWstring(char16_t* dst, const char* src, size_t count) {
    size_t produced = platform::NarrowToWide(dst, src, count);
    if (produced == 0) {
        const size_t length = std::strlen(src);
        if (length >= count) return 0;
        produced = platform::NarrowToWide(dst, src, length + 1);
    }
    return Checked(produced, dst);
}

size_t KXUnicodeToAnsi(char* dst, const char16_t* src, size_t count) {
    return platform::WideToNarrow(dst, src, count);
}

size_t KXUnicodeToString(char* dst, const char16_t* src, size_t count) {
    return Checked(platform::WideToNarrow(dst, src, count), dst);
}

// Where ICU gives no length, the capacity stays as the answer.
int KXUTF16ToUTF8(char* dst, const char16_t* src, int dstCapacity) {
    int length = dstCapacity;
    KXUTF16ToUTF8N(dst, dstCapacity, &length, src, -1);
    return length;
}

int KXUTF8ToUTF16(char16_t* dst, const char* src, int dstCapacity) {
    int length = dstCapacity;
    KXUTF8ToUTF16N(dst, dstCapacity, &length, src, -1);
    return length;
}

char* KXUTF16ToUTF8N(char* dst, int dstCapacity, int* dstLength, const char16_t* src,
                     int srcLength) {
    UErrorCode status = U_ZERO_ERROR;
    return u_strToUTF8(dst, dstCapacity, dstLength, src, srcLength, &status);
}

char16_t* KXUTF8ToUTF16N(char16_t* dst, int dstCapacity, int* dstLength, const char* src,
                         int srcLength) {
    UErrorCode status = U_ZERO_ERROR;
    return u_strFromUTF8(dst, dstCapacity, dstLength, src, srcLength, &status);
}

char32_t KXNextCharUTF16(const char16_t** cursor, int remaining) {
    if (remaining == -1) remaining = 2;
    if (remaining < 1) return 0;
    const char16_t first = *(*cursor)++;
    if (!IsLead(first) || remaining < 2 || !IsTrail(**cursor)) return first;
    const char16_t second = *(*cursor)++;
    return 0x10000 + ((char32_t{first} - 0xD800) << 10) + (char32_t{second} - 0xDC00);
}

int KXIsUtf8BomStr(const char* bytes) {
    return std::strncmp(bytes, KXUtf8BomStr, 3) == 0;
}
