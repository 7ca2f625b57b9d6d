// Numbers in wide text are what the runtime reads in its own wide text, and end where it ends.
#include <kxcore7/number.h>

#include <bit>
#include <cerrno>
#include <cmath>
#include <cwchar>

#include "fuzz/fuzz.h"

using namespace kx::test;

namespace {

void RequireSameDouble(const std::u16string& units, const std::wstring& wide) {
    wchar_t* wideEnd = nullptr;
    errno = 0;
    const double expected = std::wcstod(wide.c_str(), &wideEnd);
    const int error = errno;
    char16_t* end = nullptr;
    errno = 0;
    const double value = KXStrToDW(units.c_str(), &end);
    // The runtime reads a number out of what stands behind "nan", and may find it out of range.
    Require(std::isnan(expected) || errno == error);
    Require(end - units.c_str() == wideEnd - wide.c_str());
    Require(std::isnan(expected)
                ? std::isnan(value)
                : std::bit_cast<std::uint64_t>(value) == std::bit_cast<std::uint64_t>(expected));
}

void RequireSameInteger(const std::u16string& units, const std::wstring& wide, int radix) {
    // Left alone for a radix that is none.
    wchar_t* wideEnd = const_cast<wchar_t*>(wide.c_str());
    errno = 0;
    const std::int64_t expected = std::wcstoll(wide.c_str(), &wideEnd, radix);
    const int error = errno;
    char16_t* end = nullptr;
    errno = 0;
    Require(KXStrToLLW(units.c_str(), &end, radix) == expected);
    Require(errno == error);
    Require(end - units.c_str() == wideEnd - wide.c_str());
}

}  // namespace

// The first byte is the radix, with some that are none; the others are the text.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string bytes(data + 1, data + size);
    const std::string text = bytes.c_str();
    std::u16string units;
    for (const char byte : text) units += static_cast<unsigned char>(byte);
    const std::wstring wide(units.begin(), units.end());
    RequireSameDouble(units, wide);
    RequireSameInteger(units, wide, data[0] % 40 - 1);
    return 0;
}
