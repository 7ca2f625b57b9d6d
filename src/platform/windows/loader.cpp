#include "platform/loader.h"

#include "platform/windows/native.h"

namespace kx::platform {
namespace {

bool HasFolder(const wchar_t* path) {
    for (; *path != 0; ++path) {
        if (*path == L'\\' || *path == L'/' || *path == L':') return true;
    }
    return false;
}

// The loader has one number for a missing file and for one whose own needs are not met, so the file
// is looked for.
NativeError WhyNotFound(const wchar_t* path) {
    if (HasFolder(path)) {
        const DWORD attributes = GetFileAttributesW(path);
        if (attributes == INVALID_FILE_ATTRIBUTES) return GetLastError();
        return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? kAccessDenied : kBadExecutableFormat;
    }
    return SearchPathW(nullptr, path, L".dll", 0, nullptr, nullptr) != 0 ? kBadExecutableFormat
                                                                         : kFileNotFound;
}

// Whether the handle is a loaded library's: the system's calls would take null for the program
// itself, and have several numbers for other bad handles.
bool IsLoaded(std::uintptr_t handle) {
    HMODULE module = nullptr;
    return GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                  GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                              reinterpret_cast<const wchar_t*>(handle), &module) != 0 &&
           reinterpret_cast<std::uintptr_t>(module) == handle;
}

}  // namespace

NativeError OpenLibrary(const char16_t* path, std::uintptr_t* handle) {
    if (*path == 0) return kFileNotFound;
    const HMODULE library = LoadLibraryW(Native(path));
    if (library == nullptr) {
        const NativeError error = GetLastError();
        return error == ERROR_MOD_NOT_FOUND ? WhyNotFound(Native(path)) : error;
    }
    *handle = reinterpret_cast<std::uintptr_t>(library);
    return kSuccess;
}

NativeError FindSymbol(std::uintptr_t handle, const char* name, void** address) {
    if (!IsLoaded(handle)) return kInvalidHandle;
    *address = reinterpret_cast<void*>(GetProcAddress(reinterpret_cast<HMODULE>(handle), name));
    return *address != nullptr ? kSuccess : kProcedureNotFound;
}

NativeError CloseLibrary(std::uintptr_t handle) {
    if (!IsLoaded(handle)) return kInvalidHandle;
    return FreeLibrary(reinterpret_cast<HMODULE>(handle)) != 0 ? kSuccess : GetLastError();
}

}  // namespace kx::platform
