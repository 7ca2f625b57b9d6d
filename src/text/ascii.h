// What this library answers about ASCII by itself, the same under every locale.
#ifndef KXCORE7_SRC_TEXT_ASCII_H
#define KXCORE7_SRC_TEXT_ASCII_H

namespace kx::core {

constexpr bool IsAscii(char ch) {
    return static_cast<unsigned char>(ch) < 0x80;
}
constexpr bool IsAscii(char16_t ch) {
    return ch < 0x80;
}

template <typename Unit>
constexpr Unit AsciiToLower(Unit ch) {
    return ch >= 'A' && ch <= 'Z' ? static_cast<Unit>(ch + 0x20) : ch;
}

template <typename Unit>
constexpr Unit AsciiToUpper(Unit ch) {
    return ch >= 'a' && ch <= 'z' ? static_cast<Unit>(ch - 0x20) : ch;
}

}  // namespace kx::core

#endif
