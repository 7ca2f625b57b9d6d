#include <kxcore7/character.h>

#include "platform/characters.h"
#include "text/ascii.h"

using namespace kx;

namespace {

template <typename Unit>
constexpr Unit UnitOf(int ch) {
    return static_cast<Unit>(ch);
}

constexpr bool IsAsciiSpace(int ch) {
    return ch == ' ' || (ch >= '\t' && ch <= '\r');
}

template <typename Unit>
int IsSpace(Unit ch) {
    return core::IsAscii(ch) ? IsAsciiSpace(ch) : platform::IsSpace(ch);
}

template <typename Unit>
Unit ToLower(Unit ch) {
    return core::IsAscii(ch) ? core::AsciiToLower(ch) : platform::ToLower(ch);
}

template <typename Unit>
Unit ToUpper(Unit ch) {
    return core::IsAscii(ch) ? core::AsciiToUpper(ch) : platform::ToUpper(ch);
}

}  // namespace

int KXIsAlphaA(int ch) {
    return platform::IsAlpha(UnitOf<char>(ch));
}

int KXIsAlphaW(int ch) {
    return platform::IsAlpha(UnitOf<char16_t>(ch));
}

int KXIsDigitA(int ch) {
    return platform::IsDigit(UnitOf<char>(ch));
}

int KXIsDigitW(int ch) {
    return platform::IsDigit(UnitOf<char16_t>(ch));
}

int KXIsSpaceA(int ch) {
    return IsSpace(UnitOf<char>(ch));
}

int KXIsSpaceW(int ch) {
    return IsSpace(UnitOf<char16_t>(ch));
}

int KXToLowerA(int ch) {
    return ToLower(UnitOf<char>(ch));
}

int KXToLowerW(int ch) {
    return ToLower(UnitOf<char16_t>(ch));
}

int KXToUpperA(int ch) {
    return ToUpper(UnitOf<char>(ch));
}

int KXToUpperW(int ch) {
    return ToUpper(UnitOf<char16_t>(ch));
}
