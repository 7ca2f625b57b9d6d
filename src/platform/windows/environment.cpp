#include "platform/environment.h"

#include <cstdlib>

#include "platform/windows/native.h"

namespace kx::platform {

// What a program sets in the system's environment alone the runtime does not see.
bool HasVariable(const char* name) noexcept {
    return std::getenv(name) != nullptr;
}

std::size_t ExpandEnvironment(const char16_t* text, char16_t* out, std::size_t size) {
    return ExpandEnvironmentStringsW(Native(text), Native(out), static_cast<DWORD>(size));
}

}  // namespace kx::platform
