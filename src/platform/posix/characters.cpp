#include "platform/characters.h"

#include <cctype>
#include <cwchar>
#include <cwctype>
#include <string>

namespace kx::platform {
namespace {

// The runtime has tables for negative bytes as well.
constexpr int Signed(char ch) {
    return static_cast<signed char>(ch);
}

template <typename Unit>
void ChangeText(Unit* text, Unit (*change)(Unit)) {
    for (; *text != 0; ++text) *text = change(*text);
}

// In whole strings bytes have no sign.
int LowerByte(char ch) {
    return std::tolower(static_cast<unsigned char>(ch));
}

// The runtime has this for bytes, but where a sanitizer stands in for it only ASCII is folded.
template <typename Unit>
int CompareText(const Unit* a, const Unit* b, std::size_t count, int (*fold)(Unit)) {
    for (; count != 0; --count, ++a, ++b) {
        const int difference = fold(*a) - fold(*b);
        if (difference != 0 || *a == 0) return difference;
    }
    return 0;
}

// A unit each: what is beyond 16 bits collates by its surrogates.
std::wstring Folded(const char16_t* text) {
    std::wstring folded;
    for (; *text != 0; ++text) folded += static_cast<wchar_t>(std::towlower(*text));
    return folded;
}

}  // namespace

int IsAlpha(char ch) noexcept {
    return std::isalpha(Signed(ch));
}
int IsAlpha(char16_t ch) noexcept {
    return std::iswalpha(ch);
}
int IsDigit(char ch) noexcept {
    return std::isdigit(Signed(ch));
}
int IsDigit(char16_t ch) noexcept {
    return std::iswdigit(ch);
}
int IsSpace(char ch) noexcept {
    return std::isspace(Signed(ch));
}
int IsSpace(char16_t ch) noexcept {
    return std::iswspace(ch);
}
char ToLower(char ch) noexcept {
    return static_cast<char>(std::tolower(Signed(ch)));
}
char16_t ToLower(char16_t ch) noexcept {
    return static_cast<char16_t>(std::towlower(ch));
}
char ToUpper(char ch) noexcept {
    return static_cast<char>(std::toupper(Signed(ch)));
}
char16_t ToUpper(char16_t ch) noexcept {
    return static_cast<char16_t>(std::towupper(ch));
}

void LowerText(char* text) noexcept {
    ChangeText<char>(text, [](char ch) { return static_cast<char>(LowerByte(ch)); });
}
void LowerText(char16_t* text) noexcept {
    ChangeText<char16_t>(text, ToLower);
}
void UpperText(char* text) noexcept {
    ChangeText<char>(text, [](char ch) {
        return static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    });
}
void UpperText(char16_t* text) noexcept {
    ChangeText<char16_t>(text, ToUpper);
}

int CompareFolded(const char* a, const char* b) noexcept {
    return CompareFolded(a, b, ~std::size_t{0});
}
int CompareFolded(const char* a, const char* b, std::size_t count) noexcept {
    return CompareText<char>(a, b, count, LowerByte);
}
int CompareFolded(const char16_t* a, const char16_t* b) noexcept {
    return CompareFolded(a, b, ~std::size_t{0});
}
int CompareFolded(const char16_t* a, const char16_t* b, std::size_t count) noexcept {
    return CompareText<char16_t>(a, b, count, [](char16_t unit) -> int { return ToLower(unit); });
}

int CollateFolded(const char16_t* a, const char16_t* b) {
    return std::wcscoll(Folded(a).c_str(), Folded(b).c_str());
}

}  // namespace kx::platform
