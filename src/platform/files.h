// Files by the system's own handles, and paths.
//
// Paths are wide text, never null. Handles that are none, or of another kind, give kInvalidHandle;
// reading or writing without that access gives kAccessDenied. Nothing here keeps a file's position
// or contents; each call is one of the system's as far as the system has it.
#ifndef KXCORE7_SRC_PLATFORM_FILES_H
#define KXCORE7_SRC_PLATFORM_FILES_H

#include <cstddef>
#include <cstdint>

#include "platform/error.h"

namespace kx::platform {

using FileHandle = std::uintptr_t;
inline constexpr FileHandle kNoFile = ~FileHandle{0};

inline constexpr NativeError kLockConflict = 33;
inline constexpr NativeError kFileExists = 80;
inline constexpr NativeError kNegativeSeek = 131;

// By the numbers that Windows gives them.
enum class Disposition : std::uint32_t {
    none = 0,
    createNew = 1,
    createAlways = 2,
    openExisting = 3,
    openAlways = 4,
    truncateExisting = 5,
};

struct OpenRequest {
    bool read = false;
    bool write = false;
    Disposition disposition = Disposition::none;
    bool readOnly = false;  // what a new file is to be
    // Who but its owner may have a new file, as POSIX bits, on a system that keeps them with it.
    std::uint32_t permissions = 0;
    bool temporary = false;
    bool writeThrough = false;
};

// Opens a file that others may read and write meanwhile. *existed, told for createAlways and
// openAlways: whether it was there before. kInvalidParameter for no disposition, kFileExists for a
// new file that is none, kAccessDenied for a directory, for a read-only file to be written or
// temporary.
NativeError OpenFile(const char16_t* path, const OpenRequest& request, FileHandle* out,
                     bool* existed);

inline constexpr std::size_t kTemporaryPathSize = 262;

// Makes an empty file with a name of its own in the folder for temporary files and writes its path;
// an empty one where that fails.
void MakeTemporaryFile(char16_t (&path)[kTemporaryPathSize]);

// Closes a handle of a file or of a mapping.
NativeError CloseFile(FileHandle file) noexcept;

// *done is 0 on failure. At the end of the file a read of 0 bytes is success.
NativeError ReadFrom(FileHandle file, void* buffer, std::uint32_t count,
                     std::uint32_t* done) noexcept;
NativeError WriteTo(FileHandle file, const void* buffer, std::uint32_t count,
                    std::uint32_t* done) noexcept;

// Origins are 0 begin, 1 current, 2 end. *position is written on success only.
NativeError Seek(FileHandle file, std::int64_t distance, std::uint32_t origin,
                 std::uint64_t* position) noexcept;
// kInvalidParameter for a position past 32 bits, and then the file's stays as it was.
NativeError SeekShort(FileHandle file, std::int32_t distance, std::uint32_t origin,
                      std::uint32_t* position) noexcept;

NativeError QuerySize(FileHandle file, std::uint64_t* size) noexcept;

struct LockRequest {
    bool shared;
    bool wait;
};

// A range of bytes against locks through other handles; kLockConflict.
NativeError LockRange(FileHandle file, std::uint32_t offset, std::uint32_t length,
                      LockRequest request) noexcept;
NativeError UnlockRange(FileHandle file, std::uint32_t offset, std::uint32_t length) noexcept;

// The same where the system is not of the NT family: exclusive, and never waiting.
NativeError LockRangePlainly(FileHandle file, std::uint32_t offset, std::uint32_t length) noexcept;
NativeError UnlockRangePlainly(FileHandle file, std::uint32_t offset,
                               std::uint32_t length) noexcept;

NativeError FlushFile(FileHandle file) noexcept;

// kAccessDenied for a directory and for a read-only file.
NativeError RemoveFile(const char16_t* path);

// Writes the absolute form of a path, by its letters alone; nothing if it does not fit into size
// units with its terminator.
NativeError ExpandPath(const char16_t* path, char16_t* out, std::uint32_t size);

}  // namespace kx::platform

#endif
