#include "platform/numbers.h"

#include <cwchar>

#include "platform/windows/native.h"

namespace kx::platform {

std::int64_t ParseInteger(const char16_t* text, const char16_t** end, int radix) noexcept {
    wchar_t* stop = Native(const_cast<char16_t*>(text));
    const std::int64_t value = std::wcstoll(Native(text), &stop, radix);
    *end = FromNative(stop);
    return value;
}

double ParseDouble(const char16_t* text, const char16_t** end) noexcept {
    wchar_t* stop = nullptr;
    const double value = std::wcstod(Native(text), &stop);
    *end = FromNative(stop);
    return value;
}

}  // namespace kx::platform
