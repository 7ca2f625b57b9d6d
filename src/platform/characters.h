// Classes and case of characters in the runtime's own tables, under the process's locale. The
// library answers for ASCII by itself wherever its contract lets it, and comes here for the rest.
#ifndef KXCORE7_SRC_PLATFORM_CHARACTERS_H
#define KXCORE7_SRC_PLATFORM_CHARACTERS_H

#include <cstddef>

namespace kx::platform {

// The classes and cases of one character. A byte is handed to the runtime with its sign.
int IsAlpha(char ch) noexcept;
int IsAlpha(char16_t ch) noexcept;
int IsDigit(char ch) noexcept;
int IsDigit(char16_t ch) noexcept;
int IsSpace(char ch) noexcept;
int IsSpace(char16_t ch) noexcept;
char ToLower(char ch) noexcept;
char16_t ToLower(char16_t ch) noexcept;
char ToUpper(char ch) noexcept;
char16_t ToUpper(char16_t ch) noexcept;

// Whole strings, a unit at a time: in place, and compared without regard to case, also over at
// most count units.
void LowerText(char* text) noexcept;
void LowerText(char16_t* text) noexcept;
void UpperText(char* text) noexcept;
void UpperText(char16_t* text) noexcept;
int CompareFolded(const char* a, const char* b) noexcept;
int CompareFolded(const char16_t* a, const char16_t* b) noexcept;
int CompareFolded(const char* a, const char* b, std::size_t count) noexcept;
int CompareFolded(const char16_t* a, const char16_t* b, std::size_t count) noexcept;

// The order of the locale, without regard to case.
int CollateFolded(const char16_t* a, const char16_t* b);

}  // namespace kx::platform

#endif
