#include "platform/portable/scan_portable.h"

namespace kx::platform {
namespace {

template <typename Unit>
constexpr bool IsAscii(Unit unit) {
    return unit >= 0 && unit < 0x80;
}

constexpr char ToUpper(char ch) {
    return ch >= 'a' && ch <= 'z' ? static_cast<char>(ch - 0x20) : ch;
}

std::size_t Length(const char16_t* text, std::size_t count) noexcept {
    std::size_t done = 0;
    while (done < count && text[done] != 0) ++done;
    return done;
}

std::size_t Find(const char16_t* text, char16_t unit) noexcept {
    std::size_t done = 0;
    while (text[done] != 0 && text[done] != unit) ++done;
    return done;
}

std::size_t Common(const char16_t* a, const char16_t* b, std::size_t count) noexcept {
    std::size_t done = 0;
    while (done < count && a[done] == b[done] && a[done] != 0) ++done;
    return done;
}

std::size_t CommonFolded(const char* a, const char* b, std::size_t count) noexcept {
    std::size_t done = 0;
    while (done < count && IsAscii(a[done]) && ToUpper(a[done]) == ToUpper(b[done]) &&
           a[done] != 0) {
        ++done;
    }
    return done;
}

// Letters of one case lie 0x20 away from the other.
template <typename Unit, char kFirst, int kStep>
std::size_t ChangeCase(Unit* text) noexcept {
    Unit* at = text;
    for (; *at != 0 && IsAscii(*at); ++at) {
        if (*at >= kFirst && *at < kFirst + 26) *at = static_cast<Unit>(*at + kStep);
    }
    return static_cast<std::size_t>(at - text);
}

}  // namespace

constinit const Scan kPortableScan = {
    .name = "portable",
    .length = Length,
    .find = Find,
    .common = Common,
    .commonFolded = CommonFolded,
    .lowerNarrow = ChangeCase<char, 'A', 0x20>,
    .upperNarrow = ChangeCase<char, 'a', -0x20>,
    .lowerWide = ChangeCase<char16_t, 'A', 0x20>,
    .upperWide = ChangeCase<char16_t, 'a', -0x20>,
};

}  // namespace kx::platform
