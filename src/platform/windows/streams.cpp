#include "platform/streams.h"

#include <cstdint>
#include <filesystem>

#include "platform/windows/native.h"

namespace kx::platform {

// The runtime denies nobody the file.
void OpenToAppend(std::ofstream& stream, const char16_t* path) {
    stream.open(std::filesystem::path(path), std::ios::out | std::ios::ate | std::ios::app);
}

// All digits that an address can have, in upper case: so the system's own compiler has it.
std::string AddressText(const void* address) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    const auto value = reinterpret_cast<std::uintptr_t>(address);
    for (int shift = 8 * sizeof value - 4; shift >= 0; shift -= 4) {
        text += kDigits[value >> shift & 0xF];
    }
    return text;
}

}  // namespace kx::platform
