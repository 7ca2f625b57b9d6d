#include <kxcore7/number.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <type_traits>

#include "platform/numbers.h"

using namespace kx;

namespace {

// Narrow text by the runtime, which may leave anything in *end for a radix that is none.
template <typename Value>
Value Read(Value (*read)(const char*, char**, int), const char* text, char** end, int radix) {
    if (radix == 0 || (radix >= 2 && radix <= 36)) return read(text, end, radix);
    if (end != nullptr) *end = const_cast<char*>(text);
    errno = EINVAL;
    return 0;
}

std::int64_t Read(const char* text, char** end, int radix) {
    return Read<long long>(std::strtoll, text, end, radix);
}

std::int64_t Read(const char16_t* text, char16_t** end, int radix) {
    const char16_t* stop = nullptr;
    const std::int64_t value = platform::ParseInteger(text, &stop, radix);
    if (end != nullptr) *end = const_cast<char16_t*>(stop);
    return value;
}

// What a 32-bit long would have held: the nearest there is.
std::int32_t Saturated(std::int64_t value) {
    using Limits = std::numeric_limits<std::int32_t>;
    if (value >= Limits::min() && value <= Limits::max()) return static_cast<std::int32_t>(value);
    errno = ERANGE;
    return value < 0 ? Limits::min() : Limits::max();
}

// A negative number wraps as long as its magnitude fits.
std::uint32_t Wrapped(std::int64_t value) {
    constexpr std::int64_t kMost = std::numeric_limits<std::uint32_t>::max();
    if (value >= -kMost && value <= kMost) return static_cast<std::uint32_t>(value);
    errno = ERANGE;
    return static_cast<std::uint32_t>(kMost);
}

// Writes digits and a terminator into room for 65; where the terminator is.
template <typename Value>
char* Write(Value value, char* buffer, int radix) {
    char* end = buffer;
    if (radix == 10) {
        end = std::to_chars(buffer, buffer + 65, value).ptr;
    } else if (radix >= 2 && radix <= 36) {
        const auto bits = static_cast<std::make_unsigned_t<Value>>(value);
        end = std::to_chars(buffer, buffer + 65, bits, radix).ptr;
    }
    *end = '\0';
    return end;
}

template <typename Value>
char16_t* Write(Value value, char16_t* buffer, int radix) {
    char narrow[65] = {};
    const char* const end = Write(value, narrow, radix);
    for (const char* at = narrow; at <= end; ++at) {
        buffer[at - narrow] = static_cast<unsigned char>(*at);
    }
    return buffer;
}

}  // namespace

int32_t KXStrToIA(const char* str) {
    return KXStrToLA(str, nullptr, 10);
}

int32_t KXStrToIW(const char16_t* str) {
    return KXStrToLW(str, nullptr, 10);
}

int64_t KXStrToI64W(const char16_t* str) {
    return Read(str, nullptr, 10);
}

int32_t KXStrToLA(const char* str, char** end, int radix) {
    return Saturated(Read(str, end, radix));
}

int32_t KXStrToLW(const char16_t* str, char16_t** end, int radix) {
    return Saturated(Read(str, end, radix));
}

int64_t KXStrToLLA(const char* str, char** end, int radix) {
    return Read(str, end, radix);
}

int64_t KXStrToLLW(const char16_t* str, char16_t** end, int radix) {
    return Read(str, end, radix);
}

uint32_t KXStrToULA(const char* str, char** end, int radix) {
    return Wrapped(Read(str, end, radix));
}

uint32_t KXStrToULW(const char16_t* str, char16_t** end, int radix) {
    return Wrapped(Read(str, end, radix));
}

uint64_t KXStrToULLA(const char* str, char** end, int radix) {
    return Read<unsigned long long>(std::strtoull, str, end, radix);
}

double KXStrToDA(const char* str, char** end) {
    return std::strtod(str, end);
}

double KXStrToDW(const char16_t* str, char16_t** end) {
    const char16_t* stop = nullptr;
    const double value = platform::ParseDouble(str, &stop);
    if (end != nullptr) *end = const_cast<char16_t*>(stop);
    return value;
}

char* KXLToStrA(int32_t value, char* buffer, int radix) {
    Write(value, buffer, radix);
    return buffer;
}

char16_t* KXLToStrW(int32_t value, char16_t* buffer, int radix) {
    return Write(value, buffer, radix);
}

char* KXInt64ToStrA(int64_t value, char* buffer, int radix) {
    Write(value, buffer, radix);
    return buffer;
}

char16_t* KXInt64ToStrW(int64_t value, char16_t* buffer, int radix) {
    return Write(value, buffer, radix);
}
