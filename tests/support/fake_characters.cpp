#include "support/fake_characters.h"

#include <utility>

#include "platform/characters.h"

namespace kx::test {

FakeCharacters g_characters;

namespace {

int Asked(CharacterCall call) {
    g_characters.calls.push_back(std::move(call));
    return g_characters.answer;
}

int AskedUnit(const char* function, int unit) {
    return Asked({.function = function, .unit = unit});
}

}  // namespace
}  // namespace kx::test

namespace kx::platform {

using test::Asked;
using test::AskedUnit;

int IsAlpha(char ch) noexcept {
    return AskedUnit("IsAlpha", static_cast<signed char>(ch));
}
int IsAlpha(char16_t ch) noexcept {
    return AskedUnit("IsAlpha", ch);
}
int IsDigit(char ch) noexcept {
    return AskedUnit("IsDigit", static_cast<signed char>(ch));
}
int IsDigit(char16_t ch) noexcept {
    return AskedUnit("IsDigit", ch);
}
int IsSpace(char ch) noexcept {
    return AskedUnit("IsSpace", static_cast<signed char>(ch));
}
int IsSpace(char16_t ch) noexcept {
    return AskedUnit("IsSpace", ch);
}
char ToLower(char ch) noexcept {
    return static_cast<char>(AskedUnit("ToLower", static_cast<signed char>(ch)));
}
char16_t ToLower(char16_t ch) noexcept {
    return static_cast<char16_t>(AskedUnit("ToLower", ch));
}
char ToUpper(char ch) noexcept {
    return static_cast<char>(AskedUnit("ToUpper", static_cast<signed char>(ch)));
}
char16_t ToUpper(char16_t ch) noexcept {
    return static_cast<char16_t>(AskedUnit("ToUpper", ch));
}

void LowerText(char* text) noexcept {
    Asked({.function = "LowerText", .text = text});
}
void LowerText(char16_t* text) noexcept {
    Asked({.function = "LowerText", .text = text});
}
void UpperText(char* text) noexcept {
    Asked({.function = "UpperText", .text = text});
}
void UpperText(char16_t* text) noexcept {
    Asked({.function = "UpperText", .text = text});
}

int CompareFolded(const char* a, const char* b) noexcept {
    return Asked({.function = "CompareFolded", .text = a, .other = b});
}
int CompareFolded(const char16_t* a, const char16_t* b) noexcept {
    return Asked({.function = "CompareFolded", .text = a, .other = b});
}
int CompareFolded(const char* a, const char* b, std::size_t count) noexcept {
    return Asked({.function = "CompareFoldedN", .text = a, .other = b, .count = count});
}
int CompareFolded(const char16_t* a, const char16_t* b, std::size_t count) noexcept {
    return Asked({.function = "CompareFoldedN", .text = a, .other = b, .count = count});
}

int CollateFolded(const char16_t* a, const char16_t* b) {
    return Asked({.function = "CollateFolded", .text = a, .other = b});
}

}  // namespace kx::platform
