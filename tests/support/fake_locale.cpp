#include "support/fake_locale.h"

#include <type_traits>

namespace kx::test {

FakeLocale g_locale;

namespace {

template <typename To, typename From>
std::size_t Convert(To* dst, const From* src, std::size_t count) {
    for (std::size_t i = 0; dst == nullptr || i < count; ++i) {
        const auto unit = static_cast<std::make_unsigned_t<From>>(src[i]);
        if (unit > 0xFF) return platform::kConversionFailed;
        if (dst != nullptr) dst[i] = static_cast<To>(unit);
        if (unit == 0) return i;
    }
    return count;
}

}  // namespace
}  // namespace kx::test

namespace kx::platform {

using test::g_locale;

std::size_t NarrowToWide(char16_t* dst, const char* src, std::size_t count) noexcept {
    g_locale.widened.push_back({dst, src, count});
    return test::Convert(dst, src, count);
}

std::size_t WideToNarrow(char* dst, const char16_t* src, std::size_t count) noexcept {
    return test::Convert(dst, src, count);
}

std::size_t WideToCodePage(char* dst, const char16_t* src, std::size_t size) noexcept {
    const std::size_t length = test::Convert(dst, src, size);
    return length < size ? length + 1 : 0;
}

std::uint32_t UserLocale(std::span<const LocaleName> /*names*/) {
    return g_locale.userLocale;
}

std::uint32_t NarrowCodePage() noexcept {
    return g_locale.codePage;
}

}  // namespace kx::platform
