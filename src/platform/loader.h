// The system's dynamic loader.
//
// A handle is the loader's own. Errors: kFileNotFound for a missing file, kAccessDenied for a
// refused one, kBadExecutableFormat for one that is no library or can't be brought up,
// kProcedureNotFound for a missing symbol, kInvalidHandle for a handle that is no loaded library.
#ifndef KXCORE7_SRC_PLATFORM_LOADER_H
#define KXCORE7_SRC_PLATFORM_LOADER_H

#include <cstdint>

#include "platform/error.h"

namespace kx::platform {

// Loads the library and binds it at once; nothing of it becomes visible to others.
NativeError OpenLibrary(const char16_t* path, std::uintptr_t* handle);

// name is narrow text in the process's locale.
NativeError FindSymbol(std::uintptr_t handle, const char* name, void** address);

NativeError CloseLibrary(std::uintptr_t handle);

}  // namespace kx::platform

#endif
