// Files that go when their descriptor is closed, and keep their name until then.
//
// The system has no such files: here is remembered what to unlink. A file goes only if its name
// still leads to it, and only with the process that opened it, not with a fork of that. One whose
// process is killed stays.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_TEMPORARY_FILES_H
#define KXCORE7_SRC_PLATFORM_POSIX_TEMPORARY_FILES_H

#include <string>

namespace kx::platform {

// Remembers a file by its open descriptor; a relative path is taken from where the process is now.
// false if that can't be told.
bool KeepTemporaryFile(int descriptor, const std::string& path);

// Unlinks the file of a descriptor that is about to be closed, if it is a temporary one.
void EndTemporaryFile(int descriptor) noexcept;

// The same for all that are left, at the end of the process.
void RemoveTemporaryFiles() noexcept;

}  // namespace kx::platform

#endif
