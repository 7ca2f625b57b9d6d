// Numbers in wide text, against the runtime's own readers of 32-bit wide text.
#include <gtest/gtest.h>
#include <kxcore7/number.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cwchar>
#include <random>
#include <string>
#include <vector>

#include "support/locales.h"
#include "text/random_numbers.h"

using namespace kx::test;

namespace {

// The same text for this library and for the runtime, with units of any kind.
struct WideTexts {
    explicit WideTexts(const std::u16string& text) : units(text), wide(text.begin(), text.end()) {}
    explicit WideTexts(const std::string& text)
        : WideTexts(std::u16string(text.begin(), text.end())) {}

    std::string Shown() const {
        std::string shown;
        for (const char16_t unit : units) {
            shown += unit < 0x7F && unit >= 0x20 ? std::string(1, static_cast<char>(unit)) : "?";
        }
        return shown;
    }

    std::u16string units;
    std::wstring wide;
};

void ExpectTheRuntimesDouble(const WideTexts& text) {
    wchar_t* wideEnd = nullptr;
    errno = 0;
    const double expected = std::wcstod(text.wide.c_str(), &wideEnd);
    const int error = errno;
    char16_t* end = nullptr;
    errno = 0;
    const double value = KXStrToDW(text.units.c_str(), &end);
    ASSERT_EQ(error, errno) << text.Shown();
    ASSERT_EQ(wideEnd - text.wide.c_str(), end - text.units.c_str()) << text.Shown();
    if (std::isnan(expected)) {
        ASSERT_TRUE(std::isnan(value)) << text.Shown();
        ASSERT_EQ(std::signbit(expected), std::signbit(value)) << text.Shown();
    } else {
        ASSERT_EQ(std::bit_cast<std::uint64_t>(expected), std::bit_cast<std::uint64_t>(value))
            << text.Shown() << ": " << expected << ' ' << value;
    }
}

void ExpectTheRuntimesInteger(const WideTexts& text, int radix) {
    // Left alone for a radix that is none.
    wchar_t* wideEnd = const_cast<wchar_t*>(text.wide.c_str());
    errno = 0;
    const std::int64_t expected = std::wcstoll(text.wide.c_str(), &wideEnd, radix);
    const int error = errno;
    char16_t* end = nullptr;
    errno = 0;
    ASSERT_EQ(expected, KXStrToLLW(text.units.c_str(), &end, radix)) << text.Shown() << radix;
    ASSERT_EQ(error, errno) << text.Shown() << " in radix " << radix;
    ASSERT_EQ(wideEnd - text.wide.c_str(), end - text.units.c_str()) << text.Shown();
}

// The number in the middle between a double, given by its bits, and the next, to its last digit.
std::string Halfway(std::uint64_t bits) {
    const auto low = static_cast<long double>(std::bit_cast<double>(bits));
    char text[1200];
    const int length =
        std::snprintf(text, sizeof(text), "%.1100Lg", (low + std::bit_cast<double>(bits + 1)) / 2);
    return std::string(text, static_cast<std::size_t>(length));
}

// With one more digit, in front of the exponent if there is one.
std::string WithDigit(std::string number, char digit) {
    return number.insert(std::min(number.find('e'), number.size()), 1, digit);
}

class WideNumbers : public ::testing::Test {
  protected:
    std::mt19937 m_random{3};
};

}  // namespace

TEST_F(WideNumbers, FloatingPointIsTheRuntimes) {
    for (int i = 0; i < 60'000 && !HasFatalFailure(); ++i) {
        ExpectTheRuntimesDouble(WideTexts(RandomDouble(m_random, '.')));
    }
}

TEST_F(WideNumbers, FloatingPointIsTheRuntimesWithADecimalComma) {
    const InLocale locale(kWesternLocale);
    for (int i = 0; i < 20'000 && !HasFatalFailure(); ++i) {
        ExpectTheRuntimesDouble(WideTexts(RandomDouble(m_random, ',')));
    }
}

TEST_F(WideNumbers, FloatingPointInTheMiddleOfTwoNeighboursIsTheRuntimes) {
    for (int i = 0; i < 3'000 && !HasFatalFailure(); ++i) {
        const std::uint64_t bits = std::uint64_t{m_random()} << 32 | m_random();
        const std::string middle = Halfway(bits & 0x7FEF'FFFF'FFFF'FFFF);
        ExpectTheRuntimesDouble(WideTexts(middle));
        ExpectTheRuntimesDouble(WideTexts(WithDigit(middle, '1')));
    }
}

// No middle has more digits than those below the smallest number of full precision.
TEST_F(WideNumbers, FloatingPointIsTheRuntimesWithAsManyDigitsAsCanCount) {
    for (std::uint64_t below = 1; below < 100; ++below) {
        const std::string middle = Halfway((std::uint64_t{1} << 52) - below);
        EXPECT_GT(middle.find('e'), 760u);
        ExpectTheRuntimesDouble(WideTexts(middle));
        ExpectTheRuntimesDouble(WideTexts(WithDigit(middle, '1')));
    }
}

TEST_F(WideNumbers, FloatingPointAtItsEdgesIsTheRuntimes) {
    const std::string zeros(1500, '0');
    const std::vector<std::string> texts = {"0x",
                                            "0x.",
                                            "0xp1",
                                            "0x.8",
                                            "nan(12)",
                                            "nan()",
                                            "nan(1",
                                            "-nan(x_Z)",
                                            "nan(-)",
                                            "1.7976931348623157e308",
                                            "1.7976931348623159e308",
                                            "2.2250738585072011e-308",
                                            "2.4703282292062327e-324",
                                            "2.4703282292062328e-324",
                                            "0x1.fffffffffffff8p1023",
                                            "0x1p-1074",
                                            "0x1p-1075",
                                            "9007199254740993",
                                            "9007199254740993.0000000000000000000000001",
                                            "9007199254740993." + zeros,
                                            "9007199254740993." + zeros + "1",
                                            "0x1.00000000000008p0",
                                            "0x1.000000000000080000001p0",
                                            "0." + zeros + "1e1501",
                                            "1" + zeros + "e-1500",
                                            "0x1" + zeros + "p-6000",
                                            "0x0." + zeros + "1p6004",
                                            "1e-99999999999999999999999",
                                            "0x1p99999999999999999999999",
                                            "." + zeros,
                                            zeros + "." + zeros + "1",
                                            "1e18446744073709551617",
                                            "0e9999999999999999999999"};
    for (const std::string& text : texts) {
        ExpectTheRuntimesDouble(WideTexts(text));
        ExpectTheRuntimesDouble(WideTexts("-" + text));
    }
}

TEST_F(WideNumbers, IntegersAreTheRuntimes) {
    for (int i = 0; i < 100'000 && !HasFatalFailure(); ++i) {
        ExpectTheRuntimesInteger(WideTexts(Disturbed(m_random, RandomInteger(m_random))),
                                 RandomRadix(m_random));
    }
}

TEST_F(WideNumbers, BadRadixesAreTheRuntimes) {
    for (const int radix : {-1, 1, 37, 100}) ExpectTheRuntimesInteger(WideTexts("11"), radix);
}

// A prefix that no digit follows is the number 0, and a letter behind it.
TEST_F(WideNumbers, APrefixAloneIsTheRuntimes) {
    for (const char* const text : {"0x", "0xg", "-0X", "0x ", " 0xz1"}) {
        for (const int radix : {0, 16, 10, 36}) {
            ExpectTheRuntimesInteger(WideTexts(std::string(text)), radix);
        }
        ExpectTheRuntimesDouble(WideTexts(std::string(text)));
    }
}

TEST_F(WideNumbers, SpaceInFrontIsTheLocales) {
    for (const char* const name : kEveryLocale) {
        const InLocale locale(name);
        for (int space = 1; space <= 0xFFFF; ++space) {
            const std::u16string text = {static_cast<char16_t>(space), u'1'};
            ExpectTheRuntimesInteger(WideTexts(text), 10);
            ExpectTheRuntimesDouble(WideTexts(text));
        }
    }
}
