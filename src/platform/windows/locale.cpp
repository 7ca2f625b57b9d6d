#include "platform/locale.h"

#include <cstdlib>

#include "platform/windows/native.h"

namespace kx::platform {

std::size_t NarrowToWide(char16_t* dst, const char* src, std::size_t count) noexcept {
    return std::mbstowcs(Native(dst), src, count);
}

std::size_t WideToNarrow(char* dst, const char16_t* src, std::size_t count) noexcept {
    return std::wcstombs(dst, Native(src), count);
}

std::size_t WideToCodePage(char* dst, const char16_t* src, std::size_t size) noexcept {
    const int written = WideCharToMultiByte(CP_ACP, 0, Native(src), -1, dst, static_cast<int>(size),
                                            nullptr, nullptr);
    return static_cast<std::size_t>(written);
}

std::uint32_t UserLocale(std::span<const LocaleName> /*names*/) {
    return GetUserDefaultLCID();
}

std::uint32_t NarrowCodePage() noexcept {
    return GetACP();
}

}  // namespace kx::platform
