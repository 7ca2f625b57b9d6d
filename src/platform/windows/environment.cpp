#include "platform/environment.h"

#include "platform/windows/native.h"

namespace kx::platform {

std::size_t ExpandEnvironment(const char16_t* text, char16_t* out, std::size_t size) {
    return ExpandEnvironmentStringsW(Native(text), Native(out), static_cast<DWORD>(size));
}

}  // namespace kx::platform
