// The runtime reads numbers in 32-bit wide characters only, so its grammar is gone through here;
// what a unit is in the locale, and what value digits have, is still the runtime's answer.
#include "platform/numbers.h"

#include <langinfo.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

#include "platform/characters.h"
#include "platform/locale.h"

namespace kx::platform {
namespace {

constexpr int kNoDigit = 36;

constexpr int DigitOf(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') return unit - u'0';
    if (unit >= u'a' && unit <= u'z') return unit - u'a' + 10;
    if (unit >= u'A' && unit <= u'Z') return unit - u'A' + 10;
    return kNoDigit;
}

bool TakeSign(const char16_t*& text) {
    const bool negative = *text == u'-';
    if (negative || *text == u'+') ++text;
    return negative;
}

const char16_t* PassSpace(const char16_t* text) {
    while (*text != 0 && IsSpace(*text) != 0) ++text;
    return text;
}

bool HasHexPrefix(const char16_t* text) {
    return text[0] == u'0' && (text[1] == u'x' || text[1] == u'X');
}

// Whether text begins with a word of lower-case letters, in either case.
bool TakeWord(const char16_t*& text, std::string_view word) {
    for (std::size_t i = 0; i < word.size(); ++i) {
        if ((text[i] | 0x20) != word[i]) return false;
    }
    text += word.size();
    return true;
}

// --- Integers
// -------------------------------------------------------------------------------------

// Passes over the prefix that radix 0 or 16 allows, and returns the radix that it stands for.
int ResolveRadix(const char16_t*& text, int radix) {
    if ((radix == 0 || radix == 16) && HasHexPrefix(text) && DigitOf(text[2]) < 16) {
        text += 2;
        return 16;
    }
    if (radix != 0) return radix;
    return *text == u'0' ? 8 : 10;
}

std::int64_t OutOfRange(bool negative) {
    errno = ERANGE;
    using Limits = std::numeric_limits<std::int64_t>;
    return negative ? Limits::min() : Limits::max();
}

// --- Floating point
// -------------------------------------------------------------------------------

// The digits of a number, without its point, and where that was: so many digits as can decide how
// the value is rounded, and whether there is anything but zeros behind them.
class Significand final {
  public:
    explicit Significand(int radix) : m_radix(radix) {}

    // Takes all digits at text, with at most one point among them; false if there is no digit.
    bool Take(const char16_t*& text, char16_t point) {
        const char16_t* const start = text;
        bool digits = false;
        bool fraction = false;
        for (const char16_t* at = text;; ++at) {
            if (DigitOf(*at) < m_radix) {
                Add(DigitOf(*at), fraction);
                digits = true;
            } else if (*at == point && !fraction) {
                fraction = true;
            } else {
                text = at;
                break;
            }
        }
        if (!digits) text = start;
        return digits;
    }

    // The value by the runtime, which reads a whole number with an exponent in every locale alike.
    double Value(std::int64_t exponent) const {
        if (m_count == 0) return 0;
        char text[kMaxDigits + 32];
        char* at = text;
        if (m_radix == 16) at = Append(at, "0x");
        at = Append(at, {m_digits, m_count});
        if (m_more) at = Append(at, "1");
        at = Append(at, m_radix == 16 ? "p" : "e");
        // A digit that stands for what is behind the others has a place of its own.
        const std::int64_t places = m_exponent - (m_more ? 1 : 0);
        const std::int64_t total = places * (m_radix == 16 ? 4 : 1) + exponent;
        constexpr std::int64_t kFar = 1'000'000;
        const std::int64_t bounded = total < -kFar ? -kFar : total > kFar ? kFar : total;
        *std::to_chars(at, text + sizeof(text) - 1, bounded).ptr = '\0';
        return std::strtod(text, nullptr);
    }

  private:
    // No double lies so close to the middle of two others that a later digit would count, except
    // by not being zero.
    static constexpr std::size_t kMaxDigits = 800;

    static char* Append(char* at, std::string_view text) {
        std::memcpy(at, text.data(), text.size());
        return at + text.size();
    }

    void Add(int digit, bool fraction) {
        const bool leadingZero = m_count == 0 && digit == 0;
        const bool kept = !leadingZero && m_count < kMaxDigits;
        if (kept) m_digits[m_count++] = "0123456789abcdef"[digit];
        if (!kept && digit != 0) m_more = true;
        if (fraction && (kept || leadingZero)) --m_exponent;
        if (!fraction && !kept && !leadingZero) ++m_exponent;
    }

    const int m_radix;
    char m_digits[kMaxDigits];
    std::size_t m_count = 0;
    std::int64_t m_exponent = 0;
    bool m_more = false;
};

char16_t DecimalPoint() {
    char16_t point[2] = {u'.'};
    NarrowToWide(point, nl_langinfo(RADIXCHAR), 1);
    return point[0];
}

// The exponent behind its letter, if there is one; text stays where there is none.
std::int64_t TakeExponent(const char16_t*& text, char16_t letter) {
    if ((*text | 0x20) != letter) return 0;
    const char16_t* at = text + 1;
    const bool negative = TakeSign(at);
    if (DigitOf(*at) >= 10) return 0;
    // More than any number of digits in memory can make up for.
    constexpr std::int64_t kMost = std::int64_t{1} << 58;
    std::int64_t value = 0;
    for (; DigitOf(*at) < 10; ++at) {
        if (value < kMost) value = value * 10 + DigitOf(*at);
    }
    text = at;
    return negative ? -value : value;
}

// What may stand behind "nan" in parentheses.
void TakeNanDetail(const char16_t*& text) {
    if (*text != u'(') return;
    const char16_t* at = text + 1;
    while (DigitOf(*at) < kNoDigit || *at == u'_') ++at;
    if (*at == u')') text = at + 1;
}

// Takes the number behind its sign; text stays where there is none.
double TakeMagnitude(const char16_t*& text) {
    if (TakeWord(text, "inf")) {
        TakeWord(text, "inity");
        return std::numeric_limits<double>::infinity();
    }
    if (TakeWord(text, "nan")) {
        TakeNanDetail(text);
        return std::numeric_limits<double>::quiet_NaN();
    }
    const char16_t point = DecimalPoint();
    if (HasHexPrefix(text)) {
        Significand hex(16);
        const char16_t* at = text + 2;
        if (hex.Take(at, point)) {
            const std::int64_t exponent = TakeExponent(at, u'p');
            text = at;
            return hex.Value(exponent);
        }
    }
    Significand decimal(10);
    if (!decimal.Take(text, point)) return 0;
    const std::int64_t exponent = TakeExponent(text, u'e');
    return decimal.Value(exponent);
}

}  // namespace

std::int64_t ParseInteger(const char16_t* text, const char16_t** end, int radix) noexcept {
    *end = text;
    if (radix < 0 || radix == 1 || radix > 36) {
        errno = EINVAL;
        return 0;
    }
    const char16_t* at = PassSpace(text);
    const bool negative = TakeSign(at);
    radix = ResolveRadix(at, radix);
    const std::uint64_t limit = std::uint64_t{1} << 63;
    std::uint64_t magnitude = 0;
    bool beyond = false;
    for (; DigitOf(*at) < radix; ++at) {
        const auto digit = static_cast<std::uint64_t>(DigitOf(*at));
        beyond = beyond || magnitude > (limit - digit) / static_cast<std::uint64_t>(radix);
        if (!beyond) magnitude = magnitude * static_cast<std::uint64_t>(radix) + digit;
        *end = at + 1;
    }
    if (beyond || (!negative && magnitude == limit)) return OutOfRange(negative);
    return static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
}

double ParseDouble(const char16_t* text, const char16_t** end) noexcept {
    *end = text;
    const char16_t* at = PassSpace(text);
    const bool negative = TakeSign(at);
    const char16_t* const start = at;
    const double value = TakeMagnitude(at);
    if (at == start) return 0;
    *end = at;
    return std::copysign(value, negative ? -1.0 : 1.0);
}

}  // namespace kx::platform
