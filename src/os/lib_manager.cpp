#include "os/lib_manager.h"

#include <kxcore7/result.h>

#include "frame/exception.h"
#include "platform/loader.h"
#include "text/conversion.h"

using namespace kx;

void CKXLibManager::Open(const char16_t* path, KXLibraryHandle* out) {
    *out = KX_INVALID_HANDLE;
    std::uintptr_t handle = 0;
    core::ThrowIfNativeError(platform::OpenLibrary(path, &handle));
    *out = handle;
}

// A name that the locale can't express becomes the empty one, which no library has.
void CKXLibManager::GetSymbol(KXLibraryHandle handle, const char16_t* name, void** address) {
    *address = nullptr;
    void* found = nullptr;
    core::ThrowIfNativeError(
        platform::FindSymbol(handle, core::NarrowFromWide(name).c_str(), &found));
    *address = found;
}

void CKXLibManager::Close(KXLibraryHandle handle) {
    core::ThrowIfNativeError(platform::CloseLibrary(handle));
}

// The manager has no state, so the exports need not go through the client's.

KXResult KXLibOpen(const char16_t* path, KXLibraryHandle* out) {
    return core::Guarded([&] {
        CKXLibManager().Open(path, out);
        return KX_S_OK;
    });
}

KXResult KXLibGetSymbol(KXLibraryHandle handle, const char16_t* name, void** address) {
    return core::Guarded([&] {
        CKXLibManager().GetSymbol(handle, name, address);
        return KX_S_OK;
    });
}

KXResult KXLibClose(KXLibraryHandle handle) {
    return core::Guarded([&] {
        CKXLibManager().Close(handle);
        return KX_S_OK;
    });
}
