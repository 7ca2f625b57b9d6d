#include "platform/loader.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "platform/posix/error.h"
#include "platform/posix/utf8.h"

namespace kx::platform {
namespace {

// Whether there is a file at the path at all. The loader would wait for a writer of a pipe.
NativeError CheckIsFile(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return NativeErrorFromErrno(errno);
    if (S_ISDIR(status.st_mode)) return kAccessDenied;
    return S_ISREG(status.st_mode) ? kSuccess : kBadExecutableFormat;
}

// Why a file could not be loaded. The loader's own message is translated and names no number, so
// the file is asked: if it can be read, what was wrong is in it.
NativeError WhyNotLoaded(const std::string& path) {
    const bool readable = faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) == 0;
    return readable ? kBadExecutableFormat : NativeErrorFromErrno(errno);
}

// Why a library that was searched for could not be loaded. The message begins with the name as it
// was given only if no file of that name was found; otherwise with the file's path, or with the
// name of another library that it needs.
NativeError WhyNotFound(const std::string& name, std::string_view message) {
    return message.starts_with(name + ": ") ? kFileNotFound : kBadExecutableFormat;
}

struct LoadedQuery {
    const void* handle;
    bool found;
};

// Whether the handle is one of the loader's. The walk over its list runs inside the one call that
// keeps the list from changing.
bool IsLoaded(const void* handle) {
    LoadedQuery query{handle, false};
    dl_iterate_phdr(
        [](dl_phdr_info*, std::size_t, void* data) {
            auto* const asked = static_cast<LoadedQuery*>(data);
            for (const link_map* map = _r_debug.r_map; map != nullptr; map = map->l_next) {
                asked->found = asked->found || map == asked->handle;
            }
            return 1;
        },
        &query);
    return query.found;
}

}  // namespace

NativeError OpenLibrary(const char16_t* path, std::uintptr_t* handle) {
    const std::string name = PathFromWide(path);
    // The empty name would denote the program itself.
    if (name.empty()) return kFileNotFound;
    const bool isPath = name.find('/') != std::string::npos;
    if (isPath) {
        if (const NativeError error = CheckIsFile(name); error != kSuccess) return error;
    }
    void* const library = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* const message = dlerror();
        if (isPath) return WhyNotLoaded(name);
        return WhyNotFound(name, message != nullptr ? message : "");
    }
    *handle = reinterpret_cast<std::uintptr_t>(library);
    return kSuccess;
}

NativeError FindSymbol(std::uintptr_t handle, const char* name, void** address) {
    void* const library = reinterpret_cast<void*>(handle);
    if (!IsLoaded(library)) return kInvalidHandle;
    *address = dlsym(library, name);
    return *address != nullptr ? kSuccess : kProcedureNotFound;
}

NativeError CloseLibrary(std::uintptr_t handle) {
    void* const library = reinterpret_cast<void*>(handle);
    if (!IsLoaded(library)) return kInvalidHandle;
    return dlclose(library) == 0 ? kSuccess : kInvalidHandle;
}

}  // namespace kx::platform
