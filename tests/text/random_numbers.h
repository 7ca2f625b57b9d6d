// Random text that is a number, or nearly so, to hold two readers of numbers against each other.
#ifndef KXCORE7_TESTS_TEXT_RANDOM_NUMBERS_H
#define KXCORE7_TESTS_TEXT_RANDOM_NUMBERS_H

#include <random>
#include <string>
#include <string_view>

namespace kx::test {

inline std::size_t Below(std::mt19937& random, std::size_t limit) {
    return random() % limit;
}

inline std::string OneOf(std::mt19937& random, std::initializer_list<std::string_view> choices) {
    return std::string(choices.begin()[Below(random, choices.size())]);
}

inline std::string RandomDigits(std::mt19937& random, std::string_view digits, std::size_t most) {
    std::string text(Below(random, most + 1), '0');
    for (char& digit : text) digit = digits[Below(random, digits.size())];
    return text;
}

// One unit less, more or other, now and then.
inline std::string Disturbed(std::mt19937& random, std::string text) {
    constexpr std::string_view kUnits = "0123456789abcxXpPeE+-., ()_infnaINFNAtyTY\t\x01g";
    if (text.empty() || Below(random, 4) != 0) return text;
    const std::size_t at = Below(random, text.size());
    const char unit = kUnits[Below(random, kUnits.size())];
    switch (Below(random, 3)) {
        case 0:
            text.erase(at, 1);
            break;
        case 1:
            text.insert(at, 1, unit);
            break;
        default:
            text[at] = unit;
            break;
    }
    return text;
}

// 0, or from 2 to 36.
inline int RandomRadix(std::mt19937& random) {
    const auto radix = static_cast<int>(Below(random, 36)) + 1;
    return radix == 1 ? 0 : radix;
}

// A prefix is followed by a digit: runtimes don't agree on "0x" alone.
inline std::string RandomInteger(std::mt19937& random) {
    constexpr std::string_view kDigits =
        "0123456789abcdefghijklmnopqrstuvwyzABCDEFGHIJKLMNOPQRSTUVWYZ";
    const std::size_t used = OneOf(random, {"a", "b", "c", "d"})[0] == 'a' ? kDigits.size() : 10;
    std::string text = OneOf(random, {"", "", " ", "\t\n "}) + OneOf(random, {"", "-", "+", "-"});
    text += OneOf(random, {"", "", "0", "0x1", "0X0"});
    return text + RandomDigits(random, kDigits.substr(0, used), 24) +
           OneOf(random, {"", "", " ", "!", "\x7F", "."});
}

// Out of range at times, with more digits at times than can count.
inline std::string RandomDouble(std::mt19937& random, char point) {
    std::string text = OneOf(random, {"", " ", "\n"}) + OneOf(random, {"", "-", "+"});
    const std::size_t kind = Below(random, 20);
    if (kind == 0) {
        text += OneOf(random, {"inf", "INFINITY", "infinite", "nan", "NaN", "iNfInItY"});
        return Disturbed(random, text);
    }
    const bool hex = kind < 5;
    const std::size_t most = kind == 5 ? 1200 : kind < 10 ? 40 : 9;
    const std::string_view digits = hex ? "0123456789abcdefABCDEF" : kind == 6 ? "0" : "0123456789";
    if (hex) text += OneOf(random, {"0x1", "0X0", "0xf"});
    text += RandomDigits(random, digits, most);
    if (Below(random, 2) == 0) text += point + RandomDigits(random, digits, most);
    if (Below(random, 2) == 0) {
        text += OneOf(random, {hex ? "p" : "e", hex ? "P" : "E"}) + OneOf(random, {"", "-", "+"});
        text += RandomDigits(random, "0123456789", Below(random, 8) == 0 ? 30 : 3);
    }
    return hex ? text : Disturbed(random, text);
}

}  // namespace kx::test

#endif
