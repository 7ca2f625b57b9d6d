#include "platform/directories.h"

#include <cstring>

#include "platform/windows/native.h"

namespace kx::platform {
namespace {

std::uint64_t TimeOf(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

void Tell(const WIN32_FIND_DATAW& found, FoundEntry* entry) {
    static_assert(sizeof entry->name == sizeof found.cFileName &&
                  sizeof entry->alternateName == sizeof found.cAlternateFileName);
    std::memcpy(entry->name, found.cFileName, sizeof entry->name);
    std::memcpy(entry->alternateName, found.cAlternateFileName, sizeof entry->alternateName);
    entry->isDirectory = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    entry->isReadOnly = (found.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
    entry->size = std::uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow;
    entry->creationTime = TimeOf(found.ftCreationTime);
    entry->accessTime = TimeOf(found.ftLastAccessTime);
    entry->writeTime = TimeOf(found.ftLastWriteTime);
}

}  // namespace

NativeError MakeDirectory(const char16_t* path) {
    return ErrorUnless(CreateDirectoryW(Native(path), nullptr));
}

NativeError DeleteDirectory(const char16_t* path) {
    return ErrorUnless(RemoveDirectoryW(Native(path)));
}

NativeError StartFind(const char16_t* pattern, FindHandle* out, FoundEntry* entry) {
    WIN32_FIND_DATAW found{};
    const HANDLE find = FindFirstFileExW(Native(pattern), FindExInfoBasic, &found,
                                         FindExSearchNameMatch, nullptr, 0);
    if (find == INVALID_HANDLE_VALUE) return GetLastError();
    *out = reinterpret_cast<FindHandle>(find);
    Tell(found, entry);
    return kSuccess;
}

NativeError FindNext(FindHandle find, FoundEntry* entry) {
    WIN32_FIND_DATAW found{};
    if (FindNextFileW(reinterpret_cast<HANDLE>(find), &found) == 0) return GetLastError();
    Tell(found, entry);
    return kSuccess;
}

void EndFind(FindHandle find) noexcept {
    FindClose(reinterpret_cast<HANDLE>(find));
}

}  // namespace kx::platform
