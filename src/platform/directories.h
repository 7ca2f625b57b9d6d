// Directories: made, removed, searched.
#ifndef KXCORE7_SRC_PLATFORM_DIRECTORIES_H
#define KXCORE7_SRC_PLATFORM_DIRECTORIES_H

#include <cstdint>

#include "platform/error.h"

namespace kx::platform {

inline constexpr NativeError kNoMoreFiles = 18;
inline constexpr NativeError kDirectoryNotEmpty = 145;
inline constexpr NativeError kNotADirectory = 267;

// kAlreadyExists if the name is taken.
NativeError MakeDirectory(const char16_t* path);

// kDirectoryNotEmpty, and kNotADirectory for anything else of that name.
NativeError DeleteDirectory(const char16_t* path);

// What a search found. Behind the names there are zeros to their ends. Times are in units of 100 ns
// since 1601-01-01 00:00:00 UTC.
struct FoundEntry {
    char16_t name[260];
    char16_t alternateName[14];
    bool isDirectory;
    bool isReadOnly;
    std::uint64_t size;
    std::uint64_t creationTime;
    std::uint64_t accessTime;
    std::uint64_t writeTime;
};

// A search that runs.
using FindHandle = std::uintptr_t;
inline constexpr FindHandle kNoFind = ~FindHandle{0};

// Starts a search with its first entry. The pattern is a directory's path, "\" and "*"; behind a
// drive's ":" the "*" alone, for the drive's current directory. Entries come in the system's order,
// "." and ".." among them; one that goes while it is looked at is left out. kNotADirectory for
// anything else of that name.
NativeError StartFind(const char16_t* pattern, FindHandle* out, FoundEntry* entry);
// kNoMoreFiles behind the last one, as often as it is asked.
NativeError FindNext(FindHandle find, FoundEntry* entry);
void EndFind(FindHandle find) noexcept;

}  // namespace kx::platform

#endif
