// Numbers from text and text from numbers.
#include <kxcore7/number.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <type_traits>

#include "support/locales.h"
#include "text/flavours.h"
#include "text/random_numbers.h"

using namespace kx::test;
using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

constexpr std::int32_t kMax32 = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kMin32 = std::numeric_limits<std::int32_t>::min();
constexpr std::uint32_t kMaxU32 = std::numeric_limits<std::uint32_t>::max();
constexpr std::int64_t kMax64 = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin64 = std::numeric_limits<std::int64_t>::min();
constexpr std::uint64_t kMaxU64 = std::numeric_limits<std::uint64_t>::max();

// What a call made of a text: the value, how many units it took, and errno, which was 0 before.
template <typename Value>
struct Reading {
    Value value;
    std::ptrdiff_t taken;
    int error;

    friend bool operator==(const Reading&, const Reading&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Reading& reading) {
        return out << reading.value << " from " << reading.taken << " units, error "
                   << reading.error;
    }
};

// From a block that ends with the text.
template <typename Value, typename Unit, typename... Radix>
Reading<Value> Read(Value (*read)(const Unit*, Unit**, Radix...), std::string_view text,
                    Radix... radix) {
    const auto units = Tight<Unit>(Text<Unit>(std::string(text) + '\0'));
    Unit* end = nullptr;
    errno = 0;
    const Value value = read(units.get(), &end, radix...);
    const int error = errno;
    const Value again = read(units.get(), nullptr, radix...);
    EXPECT_TRUE(value == again || value != value) << "an end is optional: " << text;
    return {value, end - units.get(), error};
}

// Both flavours, which have to agree.
Reading<std::int32_t> ReadL(std::string_view text, int radix) {
    const auto narrow = Read(KXStrToLA, text, radix);
    EXPECT_EQ(narrow, Read(KXStrToLW, text, radix)) << text;
    return narrow;
}
Reading<std::int64_t> ReadLL(std::string_view text, int radix) {
    const auto narrow = Read(KXStrToLLA, text, radix);
    EXPECT_EQ(narrow, Read(KXStrToLLW, text, radix)) << text << " in radix " << radix;
    return narrow;
}
Reading<std::uint32_t> ReadUL(std::string_view text, int radix) {
    const auto narrow = Read(KXStrToULA, text, radix);
    EXPECT_EQ(narrow, Read(KXStrToULW, text, radix)) << text;
    return narrow;
}
Reading<double> ReadD(std::string_view text) {
    const auto narrow = Read(KXStrToDA, text);
    const auto wide = Read(KXStrToDW, text);
    EXPECT_EQ(narrow.taken, wide.taken) << text;
    EXPECT_EQ(narrow.error, wide.error) << text;
    EXPECT_EQ(std::signbit(narrow.value), std::signbit(wide.value)) << text;
    if (std::isnan(narrow.value)) {
        EXPECT_TRUE(std::isnan(wide.value)) << text;
    } else {
        // A runtime may round the last place of wide text as it likes.
        EXPECT_DOUBLE_EQ(narrow.value, wide.value) << text;
    }
    return narrow;
}

std::int32_t ReadI(std::string_view text) {
    const std::int32_t narrow = KXStrToIA(Tight<char>(std::string(text) + '\0').get());
    EXPECT_EQ(narrow, KXStrToIW(Text<char16_t>(text).c_str())) << text;
    return narrow;
}

std::string Digits(std::uint64_t value, int radix) {
    char text[65];
    return {text, std::to_chars(text, text + sizeof(text), value, radix).ptr};
}

template <typename Unit>
class NumberToStr : public ::testing::Test {
  protected:
    static std::string Written(std::int32_t value, int radix) {
        return Written(
            [=](auto* buffer) {
                if constexpr (std::is_same_v<Unit, char>)
                    return KXLToStrA(value, buffer, radix);
                else
                    return KXLToStrW(value, buffer, radix);
            },
            33);
    }
    static std::string Written64(std::int64_t value, int radix) {
        return Written(
            [=](auto* buffer) {
                if constexpr (std::is_same_v<Unit, char>) {
                    return KXInt64ToStrA(value, buffer, radix);
                } else {
                    return KXInt64ToStrW(value, buffer, radix);
                }
            },
            65);
    }

  private:
    // Into a block that has just the room that was promised to do.
    template <typename Write>
    static std::string Written(Write write, std::size_t room) {
        const auto buffer = std::make_unique<Unit[]>(room);
        std::fill_n(buffer.get(), room, static_cast<Unit>('#'));
        EXPECT_EQ(buffer.get(), write(buffer.get()));
        const std::basic_string<Unit> units = buffer.get();
        return std::string(units.begin(), units.end());
    }
};
TYPED_TEST_SUITE(NumberToStr, Units, FlavourName);

}  // namespace

// --- Whole decimal numbers -----------------------------------------------------------------------

TEST(StrToI, ReadsADecimalNumber) {
    EXPECT_EQ(0, ReadI("0"));
    EXPECT_EQ(42, ReadI("42"));
    EXPECT_EQ(-42, ReadI(" \t\n\v\f\r-42xyz"));
    EXPECT_EQ(7, ReadI("+7.9"));
    EXPECT_EQ(10, ReadI("010")) << "no octal";
    EXPECT_EQ(0, ReadI("0x10"));
    EXPECT_EQ(kMax32, ReadI("2147483647"));
    EXPECT_EQ(kMin32, ReadI("-2147483648"));
}

TEST(StrToI, OfNoNumberIsZero) {
    for (const auto text : {""sv, " "sv, "-"sv, "+-1"sv, "x1"sv, "- 1"sv}) {
        EXPECT_EQ(0, ReadI(text)) << text;
        EXPECT_EQ(0, KXStrToI64W(Text<char16_t>(text).c_str())) << text;
    }
}

TEST(StrToI, GivesTheNearestForWhatIsOutOfRange) {
    EXPECT_EQ(kMax32, ReadI("2147483648"));
    EXPECT_EQ(kMin32, ReadI("-2147483649"));
    EXPECT_EQ(kMax32, ReadI("99999999999999999999999"));
    EXPECT_EQ(kMin32, ReadI("-99999999999999999999999"));
}

TEST(StrToI, I64WReads64Bits) {
    EXPECT_EQ(kMax64, KXStrToI64W(u"9223372036854775807"));
    EXPECT_EQ(kMin64, KXStrToI64W(u"-9223372036854775808"));
    EXPECT_EQ(kMax64, KXStrToI64W(u"9223372036854775808"));
    EXPECT_EQ(-5'000'000'000, KXStrToI64W(u" -5000000000 "));
    EXPECT_EQ(10, KXStrToI64W(u"010"));
}

// --- 32 bits -------------------------------------------------------------------------------------

TEST(StrToL, ReadsUpToItsLimits) {
    EXPECT_EQ((Reading<std::int32_t>{kMax32, 10, 0}), ReadL("2147483647", 10));
    EXPECT_EQ((Reading<std::int32_t>{kMin32, 11, 0}), ReadL("-2147483648", 10));
    EXPECT_EQ((Reading<std::int32_t>{kMax32, 10, 0}), ReadL("0x7fffffff", 16));
    EXPECT_EQ((Reading<std::int32_t>{-1, 3, 0}), ReadL(" -1,", 10));
}

TEST(StrToL, SaturatesAt32BitsOnEverySystem) {
    EXPECT_EQ((Reading<std::int32_t>{kMax32, 10, ERANGE}), ReadL("2147483648", 10));
    EXPECT_EQ((Reading<std::int32_t>{kMin32, 11, ERANGE}), ReadL("-2147483649", 10));
    EXPECT_EQ((Reading<std::int32_t>{kMax32, 10, ERANGE}), ReadL("0x80000000", 16));
    EXPECT_EQ((Reading<std::int32_t>{kMax32, 11, ERANGE}), ReadL("99999999999", 10));
    EXPECT_EQ((Reading<std::int32_t>{kMax32, 22, ERANGE}), ReadL("9999999999999999999999x", 10));
    EXPECT_EQ((Reading<std::int32_t>{kMin32, 23, ERANGE}), ReadL("-9999999999999999999999x", 10));
}

TEST(StrToUL, ReadsUpToItsLimits) {
    EXPECT_EQ((Reading<std::uint32_t>{kMaxU32, 10, 0}), ReadUL("4294967295", 10));
    EXPECT_EQ((Reading<std::uint32_t>{kMaxU32, 10, 0}), ReadUL("0xFFFFFFFF", 0));
    EXPECT_EQ((Reading<std::uint32_t>{0, 1, 0}), ReadUL("0", 10));
}

TEST(StrToUL, WrapsANegativeNumber) {
    EXPECT_EQ((Reading<std::uint32_t>{kMaxU32, 2, 0}), ReadUL("-1", 10));
    EXPECT_EQ((Reading<std::uint32_t>{1, 11, 0}), ReadUL("-4294967295", 10));
    EXPECT_EQ((Reading<std::uint32_t>{0x80000000, 11, 0}), ReadUL("-2147483648", 10));
}

TEST(StrToUL, SaturatesAt32BitsOnEverySystem) {
    EXPECT_EQ((Reading<std::uint32_t>{kMaxU32, 10, ERANGE}), ReadUL("4294967296", 10));
    EXPECT_EQ((Reading<std::uint32_t>{kMaxU32, 11, ERANGE}), ReadUL("-4294967296", 10));
    EXPECT_EQ((Reading<std::uint32_t>{kMaxU32, 21, ERANGE}), ReadUL("999999999999999999999", 10));
    EXPECT_EQ((Reading<std::uint32_t>{kMaxU32, 22, ERANGE}), ReadUL("-999999999999999999999", 10));
}

// --- 64 bits -------------------------------------------------------------------------------------

TEST(StrToLL, ReadsUpToItsLimits) {
    EXPECT_EQ((Reading<std::int64_t>{kMax64, 19, 0}), ReadLL("9223372036854775807", 10));
    EXPECT_EQ((Reading<std::int64_t>{kMin64, 20, 0}), ReadLL("-9223372036854775808", 10));
    EXPECT_EQ((Reading<std::int64_t>{kMin64, 17, 0}), ReadLL("-8000000000000000", 16));
}

TEST(StrToLL, SaturatesBeyondThem) {
    EXPECT_EQ((Reading<std::int64_t>{kMax64, 19, ERANGE}), ReadLL("9223372036854775808", 10));
    EXPECT_EQ((Reading<std::int64_t>{kMin64, 20, ERANGE}), ReadLL("-9223372036854775809", 10));
    EXPECT_EQ((Reading<std::int64_t>{kMax64, 16, ERANGE}), ReadLL("8000000000000000", 16));
    EXPECT_EQ((Reading<std::int64_t>{kMax64, 65, ERANGE}), ReadLL("1" + std::string(64, '0'), 2));
}

TEST(StrToULL, WrapsAndSaturates) {
    const auto read = [](std::string_view text) { return Read(KXStrToULLA, text, 10); };
    EXPECT_EQ((Reading<std::uint64_t>{kMaxU64, 20, 0}), read("18446744073709551615"));
    EXPECT_EQ((Reading<std::uint64_t>{kMaxU64, 20, ERANGE}), read("18446744073709551616"));
    EXPECT_EQ((Reading<std::uint64_t>{kMaxU64, 2, 0}), read("-1"));
    EXPECT_EQ((Reading<std::uint64_t>{1, 21, 0}), read("-18446744073709551615"));
    EXPECT_EQ((Reading<std::uint64_t>{0, 0, 0}), read("x"));
}

TEST(StrToLL, ReadsEveryRadix) {
    for (int radix = 2; radix <= 36; ++radix) {
        for (const std::int64_t value : {std::int64_t{0}, std::int64_t{1}, std::int64_t{radix - 1},
                                         std::int64_t{radix}, std::int64_t{123456789}, kMax64}) {
            std::string text = Digits(static_cast<std::uint64_t>(value), radix);
            const auto length = static_cast<std::ptrdiff_t>(text.size());
            EXPECT_EQ((Reading<std::int64_t>{value, length, 0}), ReadLL(text, radix)) << radix;
            for (char& ch : text) ch = static_cast<char>(ch >= 'a' ? ch - 0x20 : ch);
            EXPECT_EQ((Reading<std::int64_t>{-value, length + 1, 0}), ReadLL("-" + text, radix));
        }
        // The first digit that the radix does not have ends the number.
        const std::string behind =
            radix == 36 ? "{" : Digits(static_cast<std::uint64_t>(radix), 36);
        EXPECT_EQ((Reading<std::int64_t>{1, 1, 0}), ReadLL("1" + behind, radix)) << radix;
    }
}

TEST(StrToLL, FindsTheRadixByThePrefix) {
    EXPECT_EQ((Reading<std::int64_t>{0x1F, 4, 0}), ReadLL("0x1f", 0));
    EXPECT_EQ((Reading<std::int64_t>{-0x1F, 5, 0}), ReadLL("-0X1f", 0));
    EXPECT_EQ((Reading<std::int64_t>{017, 3, 0}), ReadLL("0178", 0));
    EXPECT_EQ((Reading<std::int64_t>{17, 2, 0}), ReadLL("17", 0));
    EXPECT_EQ((Reading<std::int64_t>{0, 1, 0}), ReadLL("0", 0));
    EXPECT_EQ((Reading<std::int64_t>{0, 1, 0}), ReadLL("08", 0));
    EXPECT_EQ((Reading<std::int64_t>{0x1F, 4, 0}), ReadLL("0x1f", 16)) << "may stand in radix 16";
    EXPECT_EQ((Reading<std::int64_t>{0, 1, 0}), ReadLL("0x1f", 10));
    EXPECT_EQ((Reading<std::int64_t>{33, 2, 0}), ReadLL("0x", 36)) << "digits of that radix";
}

TEST(StrToLL, OfNoNumberTakesNothing) {
    for (const auto text : {""sv, "  "sv, "-"sv, "+"sv, "+-1"sv, "x"sv, " - 1"sv}) {
        for (const int radix : {0, 2, 10, 16}) {
            EXPECT_EQ((Reading<std::int64_t>{0, 0, 0}), ReadLL(text, radix)) << text;
            EXPECT_EQ((Reading<std::int32_t>{0, 0, 0}), ReadL(text, radix)) << text;
            EXPECT_EQ((Reading<std::uint32_t>{0, 0, 0}), ReadUL(text, radix)) << text;
        }
    }
}

// What errno becomes then differs between runtimes.
TEST(StrToLL, InABadRadixReadsNothing) {
    for (const int radix : {-1, 1, 37, 100, std::numeric_limits<int>::min(), 0x7FFFFFFF}) {
        const auto nothing = [&](const auto& reading) {
            return reading.value == 0 && reading.taken == 0;
        };
        EXPECT_TRUE(nothing(Read(KXStrToLA, "11", radix))) << radix;
        EXPECT_TRUE(nothing(Read(KXStrToLW, "11", radix))) << radix;
        EXPECT_TRUE(nothing(Read(KXStrToLLA, "11", radix))) << radix;
        EXPECT_TRUE(nothing(Read(KXStrToLLW, "11", radix))) << radix;
        EXPECT_TRUE(nothing(Read(KXStrToULA, "11", radix))) << radix;
        EXPECT_TRUE(nothing(Read(KXStrToULW, "11", radix))) << radix;
        EXPECT_TRUE(nothing(Read(KXStrToULLA, "11", radix))) << radix;
    }
}

TEST(StrToLL, ReadsNarrowAndWideTextAlike) {
    std::mt19937 random(1);
    for (int i = 0; i < 20'000; ++i) {
        const std::string text = RandomInteger(random);
        ReadLL(text, RandomRadix(random));
    }
}

TEST(StrToLL, TakesNoOtherDigitsThanThoseOfAscii) {
    const InLocale locale(kWesternLocale);
    for (const char16_t* const text : {u"\u0663", u"\uFF11", u"\u0131", u"\u0131\u0130"}) {
        char16_t* end = nullptr;
        EXPECT_EQ(0, KXStrToLLW(text, &end, 36));
        EXPECT_EQ(text, end);
    }
    char16_t* end = nullptr;
    const char16_t text[] = u"12\u0133";
    EXPECT_EQ(12, KXStrToLLW(text, &end, 10)) << "0x33 is the 3";
    EXPECT_EQ(text + 2, end);
}

// --- Floating point ------------------------------------------------------------------------------

TEST(StrToD, ReadsDecimalNumbers) {
    EXPECT_EQ((Reading<double>{1.5, 3, 0}), ReadD("1.5"));
    EXPECT_EQ((Reading<double>{-0.25, 6, 0}), ReadD(" \n-.25 "));
    EXPECT_EQ((Reading<double>{1e10, 4, 0}), ReadD("1e10"));
    EXPECT_EQ((Reading<double>{1.25e-3, 8, 0}), ReadD("+1.25E-3x"));
    EXPECT_EQ((Reading<double>{5, 2, 0}), ReadD("5."));
    EXPECT_EQ((Reading<double>{1, 1, 0}), ReadD("1e")) << "an exponent without digits is none";
    EXPECT_EQ((Reading<double>{1, 1, 0}), ReadD("1e+"));
    EXPECT_EQ((Reading<double>{1.2, 3, 0}), ReadD("1.2.3"));
    EXPECT_TRUE(std::signbit(ReadD("-0").value));
}

TEST(StrToD, OfNoNumberTakesNothing) {
    for (const auto text : {""sv, "  "sv, "-"sv, "."sv, "-."sv, "e5"sv, ".e5"sv, "x"sv, "+-1"sv}) {
        EXPECT_EQ((Reading<double>{0, 0, 0}), ReadD(text)) << text;
    }
}

TEST(StrToD, ReadsInfinityAndNan) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ((Reading<double>{kInfinity, 3, 0}), ReadD("inf"));
    EXPECT_EQ((Reading<double>{-kInfinity, 9, 0}), ReadD("-INFINITY"));
    EXPECT_EQ((Reading<double>{kInfinity, 3, 0}), ReadD("infinit"));
    EXPECT_TRUE(std::isnan(ReadD("NaN").value));
    EXPECT_EQ(3, ReadD("nanx").taken);
    EXPECT_EQ((Reading<double>{0, 0, 0}), ReadD("in"));
    EXPECT_EQ((Reading<double>{0, 0, 0}), ReadD("na"));
}

TEST(StrToD, ReadsHexadecimalNumbers) {
    EXPECT_EQ((Reading<double>{3, 7, 0}), ReadD("0x1.8p1"));
    EXPECT_EQ((Reading<double>{-255.5, 7, 0}), ReadD("-0XfF.8"));
    EXPECT_EQ((Reading<double>{16, 4, 0}), ReadD("0x10"));
    EXPECT_EQ((Reading<double>{1, 3, 0}), ReadD("0x1p")) << "an exponent without digits is none";
    EXPECT_EQ(1.0, ReadD("0x1" + std::string(1000, '0') + "p-4000").value);
}

TEST(StrToD, GivesTheNearestForWhatIsOutOfRange) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ((Reading<double>{kInfinity, 5, ERANGE}), ReadD("1e999"));
    EXPECT_EQ((Reading<double>{-kInfinity, 6, ERANGE}), ReadD("-1e999"));
    EXPECT_EQ((Reading<double>{0, 6, ERANGE}), ReadD("1e-999"));
    EXPECT_EQ((Reading<double>{0, 22, 0}), ReadD("0e99999999999999999999"));
    EXPECT_EQ((Reading<double>{kInfinity, 22, ERANGE}), ReadD("1e99999999999999999999"));
}

TEST(StrToD, RoundsWhateverTheNumberOfDigits) {
    EXPECT_EQ(9007199254740992.0, ReadD("9007199254740993").value) << "to the even neighbour";
    EXPECT_EQ(9007199254740994.0, ReadD("9007199254740993.0000000000000000000000001").value);
    EXPECT_EQ(9007199254740994.0, ReadD("9007199254740993." + std::string(1000, '0') + "1").value);
    EXPECT_EQ(9007199254740992.0, ReadD("9007199254740993." + std::string(1000, '0')).value);
    EXPECT_EQ(std::numeric_limits<double>::denorm_min(), ReadD("4.94065645841246544e-324").value);
    EXPECT_EQ(1.0, ReadD("0." + std::string(1000, '0') + "1e1001").value);
    EXPECT_EQ(1.0, ReadD("1" + std::string(1000, '0') + "e-1000").value);
}

TEST(StrToD, HasTheLocalesDecimalPoint) {
    const InLocale locale(kWesternLocale);
    EXPECT_EQ((Reading<double>{1.5, 3, 0}), ReadD("1,5"));
    EXPECT_EQ((Reading<double>{1, 1, 0}), ReadD("1.5"));
    EXPECT_EQ((Reading<double>{0.25, 6, 0}), ReadD(",25e+0"));
    EXPECT_EQ((Reading<double>{1.25, 4, 0}), ReadD("1,25,5"));
}

TEST(StrToD, ReadsNarrowAndWideTextAlike) {
    std::mt19937 random(2);
    for (const char* const name : {"C", kWesternLocale}) {
        const InLocale locale(name);
        const char point = *name == 'C' ? '.' : ',';
        for (int i = 0; i < 10'000; ++i) ReadD(RandomDouble(random, point));
    }
}

// --- Text from numbers ---------------------------------------------------------------------------

TYPED_TEST(NumberToStr, WritesASignInRadix10Only) {
    EXPECT_EQ("0", this->Written(0, 10));
    EXPECT_EQ("-1", this->Written(-1, 10));
    EXPECT_EQ("2147483647", this->Written(kMax32, 10));
    EXPECT_EQ("-2147483648", this->Written(kMin32, 10));
    EXPECT_EQ("ffffffff", this->Written(-1, 16));
    EXPECT_EQ(std::string(32, '1'), this->Written(-1, 2));
    EXPECT_EQ("37777777777", this->Written(-1, 8));
    EXPECT_EQ("-9223372036854775808", this->Written64(kMin64, 10));
    EXPECT_EQ("9223372036854775807", this->Written64(kMax64, 10));
    EXPECT_EQ("ffffffffffffffff", this->Written64(-1, 16));
    EXPECT_EQ(std::string(64, '1'), this->Written64(-1, 2));
}

TYPED_TEST(NumberToStr, WritesEveryRadixInLowerCase) {
    for (int radix = 2; radix <= 36; ++radix) {
        for (const std::int64_t value : {std::int64_t{0}, std::int64_t{1}, std::int64_t{35},
                                         std::int64_t{radix}, std::int64_t{123456789}, kMax64}) {
            const auto low = static_cast<std::int32_t>(value & kMax32);
            EXPECT_EQ(Digits(static_cast<std::uint64_t>(value), radix),
                      this->Written64(value, radix));
            EXPECT_EQ(Digits(static_cast<std::uint64_t>(low), radix), this->Written(low, radix));
            if (radix == 10) continue;
            EXPECT_EQ(Digits(static_cast<std::uint64_t>(-value), radix),
                      this->Written64(-value, radix));
            EXPECT_EQ(Digits(static_cast<std::uint32_t>(-low), radix), this->Written(-low, radix));
        }
    }
}

TYPED_TEST(NumberToStr, InABadRadixIsEmpty) {
    for (const int radix : {-10, -1, 0, 1, 37, 100}) {
        EXPECT_EQ("", this->Written(5, radix)) << radix;
        EXPECT_EQ("", this->Written64(5, radix)) << radix;
    }
}

TYPED_TEST(NumberToStr, NeedsTheRoomThatIsTold) {
    const auto buffer = std::make_unique<TypeParam[]>(12);
    const auto buffer64 = std::make_unique<TypeParam[]>(21);
    if constexpr (std::is_same_v<TypeParam, char>) {
        EXPECT_STREQ("-2147483648", KXLToStrA(kMin32, buffer.get(), 10));
        EXPECT_STREQ("-9223372036854775808", KXInt64ToStrA(kMin64, buffer64.get(), 10));
    } else {
        EXPECT_EQ(u"-2147483648"s, KXLToStrW(kMin32, buffer.get(), 10));
        EXPECT_EQ(u"-9223372036854775808"s, KXInt64ToStrW(kMin64, buffer64.get(), 10));
    }
}
