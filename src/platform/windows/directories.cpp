#include "platform/directories.h"

#include <algorithm>
#include <cstddef>

#include "platform/windows/native.h"

namespace kx::platform {
namespace {

std::uint64_t TimeOf(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

// What the system leaves behind a terminator is its own affair.
template <std::size_t kSize>
void CopyName(const WCHAR (&from)[kSize], char16_t (&to)[kSize]) {
    const auto* const end = std::find(from, from + kSize, u'\0');
    std::fill(std::copy(from, end, to), to + kSize, u'\0');
}

void Tell(const WIN32_FIND_DATAW& found, FoundEntry* entry) {
    CopyName(found.cFileName, entry->name);
    CopyName(found.cAlternateFileName, entry->alternateName);
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
