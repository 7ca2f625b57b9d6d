#include "platform/locale.h"

#include <climits>
#include <cstring>
#include <cwchar>

namespace kx::platform {
namespace {

static_assert(sizeof(wchar_t) == 4, "the runtime's wide character is a code point");

constexpr bool IsLead(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool IsTrail(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

std::size_t UnitsOf(wchar_t point) {
    return point >= 0x10000 ? 2 : 1;
}

void StoreUnits(char16_t* dst, wchar_t point) {
    const auto value = static_cast<char32_t>(point);
    if (value < 0x10000) {
        dst[0] = static_cast<char16_t>(value);
        return;
    }
    dst[0] = static_cast<char16_t>(0xD800 + ((value - 0x10000) >> 10));
    dst[1] = static_cast<char16_t>(0xDC00 + ((value - 0x10000) & 0x3FF));
}

// The character at src, of one unit or a pair; an unpaired surrogate is left to the runtime, which
// refuses it in every locale.
wchar_t CharacterAt(const char16_t* src) {
    if (!IsLead(src[0]) || !IsTrail(src[1])) return src[0];
    return static_cast<wchar_t>(0x10000 + ((src[0] - 0xD800) << 10) + (src[1] - 0xDC00));
}

}  // namespace

// The runtime converts a character at a time; its own whole-string calls work in 32-bit units.
std::size_t NarrowToWide(char16_t* dst, const char* src, std::size_t count) noexcept {
    std::mbstate_t state{};
    std::size_t left = std::strlen(src) + 1;
    for (std::size_t produced = 0;;) {
        if (dst != nullptr && produced == count) return produced;
        wchar_t point = 0;
        const std::size_t consumed = std::mbrtowc(&point, src, left, &state);
        if (consumed > left) return kConversionFailed;
        const std::size_t units = UnitsOf(point);
        if (dst != nullptr) {
            if (units > count - produced) return produced;
            StoreUnits(dst + produced, point);
        }
        if (consumed == 0) return produced;
        produced += units;
        src += consumed;
        left -= consumed;
    }
}

std::size_t WideToNarrow(char* dst, const char16_t* src, std::size_t count) noexcept {
    std::mbstate_t state{};
    for (std::size_t produced = 0;;) {
        if (dst != nullptr && produced == count) return produced;
        char bytes[MB_LEN_MAX];
        const wchar_t point = CharacterAt(src);
        const std::size_t length = std::wcrtomb(bytes, point, &state);
        if (length == kConversionFailed) return kConversionFailed;
        if (dst != nullptr) {
            if (length > count - produced) return produced;
            std::memcpy(dst + produced, bytes, length);
        }
        // The terminator may have a shift sequence in front of it, which counts.
        if (point == 0) return produced + length - 1;
        produced += length;
        src += UnitsOf(point);
    }
}

}  // namespace kx::platform
