#include "platform/characters.h"

#include <cctype>
#include <cstring>
#include <cwchar>
#include <cwctype>

#include "platform/windows/native.h"

namespace kx::platform {

int IsAlpha(char ch) noexcept {
    return std::isalpha(ch);
}
int IsAlpha(char16_t ch) noexcept {
    return std::iswalpha(ch);
}
int IsDigit(char ch) noexcept {
    return std::isdigit(ch);
}
int IsDigit(char16_t ch) noexcept {
    return std::iswdigit(ch);
}
int IsSpace(char ch) noexcept {
    return std::isspace(ch);
}
int IsSpace(char16_t ch) noexcept {
    return std::iswspace(ch);
}
char ToLower(char ch) noexcept {
    return static_cast<char>(std::tolower(ch));
}
char16_t ToLower(char16_t ch) noexcept {
    return std::towlower(ch);
}
char ToUpper(char ch) noexcept {
    return static_cast<char>(std::toupper(ch));
}
char16_t ToUpper(char16_t ch) noexcept {
    return std::towupper(ch);
}

void LowerText(char* text) noexcept {
    _strlwr(text);
}
void LowerText(char16_t* text) noexcept {
    _wcslwr(Native(text));
}
void UpperText(char* text) noexcept {
    _strupr(text);
}
void UpperText(char16_t* text) noexcept {
    _wcsupr(Native(text));
}

int CompareFolded(const char* a, const char* b) noexcept {
    return _stricmp(a, b);
}
int CompareFolded(const char16_t* a, const char16_t* b) noexcept {
    return _wcsicmp(Native(a), Native(b));
}
int CompareFolded(const char* a, const char* b, std::size_t count) noexcept {
    return _strnicmp(a, b, count);
}
int CompareFolded(const char16_t* a, const char16_t* b, std::size_t count) noexcept {
    return _wcsnicmp(Native(a), Native(b), count);
}

int CollateFolded(const char16_t* a, const char16_t* b) {
    return _wcsicoll(Native(a), Native(b));
}

}  // namespace kx::platform
