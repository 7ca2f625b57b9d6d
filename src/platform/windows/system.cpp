#include "platform/system.h"

#include "platform/windows/native.h"

namespace kx::platform {

bool IsNtFamily() {
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof version;
    return GetVersionExW(&version) != 0 && version.dwPlatformId == VER_PLATFORM_WIN32_NT;
}

std::int16_t IsWow64Process() {
    BOOL answer = FALSE;
    ::IsWow64Process(GetCurrentProcess(), &answer);
    return static_cast<std::int16_t>(answer);
}

// GCC takes the stack's own 16 bytes for enough here, and a value that it puts there faults.
bool KeepsLongVectorsAligned() noexcept {
    return false;
}

}  // namespace kx::platform
