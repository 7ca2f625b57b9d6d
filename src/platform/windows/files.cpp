#include "platform/files.h"

#include "platform/windows/native.h"

namespace kx::platform {
namespace {

HANDLE HandleOf(FileHandle file) {
    return reinterpret_cast<HANDLE>(file);
}

DWORD AccessOf(const OpenRequest& request) {
    return (request.read ? GENERIC_READ : 0) | (request.write ? GENERIC_WRITE : 0) |
           (request.temporary ? DELETE : 0);
}

DWORD AttributesOf(const OpenRequest& request) {
    return (request.readOnly ? FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_NORMAL) |
           (request.temporary ? FILE_FLAG_DELETE_ON_CLOSE | FILE_ATTRIBUTE_TEMPORARY : 0) |
           (request.writeThrough ? FILE_FLAG_WRITE_THROUGH : 0);
}

// The place of a range, where the system's calls look for it.
OVERLAPPED PlaceAt(std::uint32_t offset) {
    OVERLAPPED place{};
    place.Offset = offset;
    return place;
}

}  // namespace

NativeError OpenFile(const char16_t* path, const OpenRequest& request, FileHandle* out,
                     bool* existed) {
    const HANDLE file =
        CreateFileW(Native(path), AccessOf(request), FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    static_cast<DWORD>(request.disposition), AttributesOf(request), nullptr);
    const NativeError error = GetLastError();
    if (file == INVALID_HANDLE_VALUE) return error;
    *out = reinterpret_cast<FileHandle>(file);
    *existed = error == kAlreadyExists;
    return kSuccess;
}

// What fails here shows when the file is opened.
void MakeTemporaryFile(char16_t (&path)[kTemporaryPathSize]) {
    wchar_t folder[kTemporaryPathSize] = {};
    GetTempPathW(MAX_PATH, folder);
    if (GetTempFileNameW(folder, L"tmp", 0, Native(path)) == 0) path[0] = 0;
}

// To the system, no file is the process itself, which it takes for closed.
NativeError CloseFile(FileHandle file) noexcept {
    if (file == kNoFile) return kInvalidHandle;
    return ErrorUnless(CloseHandle(HandleOf(file)));
}

NativeError ReadFrom(FileHandle file, void* buffer, std::uint32_t count,
                     std::uint32_t* done) noexcept {
    *done = 0;
    return ErrorUnless(ReadFile(HandleOf(file), buffer, count, Native(done), nullptr));
}

NativeError WriteTo(FileHandle file, const void* buffer, std::uint32_t count,
                    std::uint32_t* done) noexcept {
    *done = 0;
    return ErrorUnless(WriteFile(HandleOf(file), buffer, count, Native(done), nullptr));
}

NativeError Seek(FileHandle file, std::int64_t distance, std::uint32_t origin,
                 std::uint64_t* position) noexcept {
    LARGE_INTEGER move{};
    move.QuadPart = distance;
    LARGE_INTEGER place{};
    if (SetFilePointerEx(HandleOf(file), move, &place, origin) == 0) return GetLastError();
    *position = static_cast<std::uint64_t>(place.QuadPart);
    return kSuccess;
}

// The last position and failure are told apart by the last error alone.
NativeError SeekShort(FileHandle file, std::int32_t distance, std::uint32_t origin,
                      std::uint32_t* position) noexcept {
    SetLastError(kSuccess);
    const DWORD place = SetFilePointer(HandleOf(file), distance, nullptr, origin);
    const NativeError error = place == INVALID_SET_FILE_POINTER ? GetLastError() : kSuccess;
    if (error == kSuccess) *position = place;
    return error;
}

NativeError QuerySize(FileHandle file, std::uint64_t* size) noexcept {
    LARGE_INTEGER bytes{};
    if (GetFileSizeEx(HandleOf(file), &bytes) == 0) return GetLastError();
    *size = static_cast<std::uint64_t>(bytes.QuadPart);
    return kSuccess;
}

NativeError LockRange(FileHandle file, std::uint32_t offset, std::uint32_t length,
                      LockRequest request) noexcept {
    OVERLAPPED place = PlaceAt(offset);
    const DWORD how = (request.shared ? 0u : LOCKFILE_EXCLUSIVE_LOCK) |
                      (request.wait ? 0u : LOCKFILE_FAIL_IMMEDIATELY);
    return ErrorUnless(LockFileEx(HandleOf(file), how, 0, length, 0, &place));
}

NativeError UnlockRange(FileHandle file, std::uint32_t offset, std::uint32_t length) noexcept {
    OVERLAPPED place = PlaceAt(offset);
    return ErrorUnless(UnlockFileEx(HandleOf(file), 0, length, 0, &place));
}

NativeError LockRangePlainly(FileHandle file, std::uint32_t offset, std::uint32_t length) noexcept {
    return ErrorUnless(LockFile(HandleOf(file), offset, 0, length, 0));
}

NativeError UnlockRangePlainly(FileHandle file, std::uint32_t offset,
                               std::uint32_t length) noexcept {
    return ErrorUnless(UnlockFile(HandleOf(file), offset, 0, length, 0));
}

NativeError FlushFile(FileHandle file) noexcept {
    return ErrorUnless(FlushFileBuffers(HandleOf(file)));
}

NativeError RemoveFile(const char16_t* path) {
    return ErrorUnless(DeleteFileW(Native(path)));
}

// Of a buffer that is too small the system tells how large it should be. Of a path that it can't
// expand it may leave no error.
NativeError ExpandPath(const char16_t* path, char16_t* out, std::uint32_t size) {
    SetLastError(ERROR_INVALID_NAME);
    return ErrorUnless(GetFullPathNameW(Native(path), size, Native(out), nullptr) != 0);
}

}  // namespace kx::platform
