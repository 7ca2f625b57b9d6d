// Calls that an older system may lack, looked up when the library starts instead of imported.
#ifndef KXCORE7_SRC_PLATFORM_WINDOWS_LATE_BOUND_H
#define KXCORE7_SRC_PLATFORM_WINDOWS_LATE_BOUND_H

#include "platform/windows/native.h"

namespace kx::platform {

// A function of a library that the process holds anyway; null where that has none of the name.
template <typename Function>
Function LateBound(const char* library, const char* name) noexcept {
    const HMODULE module = LoadLibraryA(library);
    if (module == nullptr) return nullptr;
    void* const address = reinterpret_cast<void*>(GetProcAddress(module, name));
    FreeLibrary(module);
    return reinterpret_cast<Function>(address);
}

}  // namespace kx::platform

#endif
