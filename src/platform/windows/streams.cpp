#include "platform/streams.h"

#include <stdio.h>
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>

#include "platform/windows/native.h"

namespace kx::platform {
namespace {

// A process's turn to append to a file, up to the end of the scope or of the process. It is a lock
// on a byte that no file gets to, so that nobody is denied anything else. Where the system can't
// give it, there is none, and the file is appended to all the same.
class Turn final {
  public:
    explicit Turn(const char16_t* path)
        : m_file(CreateFileW(Native(path), GENERIC_WRITE,
                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                             OPEN_EXISTING, 0, nullptr)) {
        OVERLAPPED place{};
        place.Offset = 0xFFFFFFFE;
        place.OffsetHigh = 0x7FFFFFFF;
        if (m_file != INVALID_HANDLE_VALUE) {
            LockFileEx(m_file, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &place);
        }
    }
    ~Turn() {
        if (m_file != INVALID_HANDLE_VALUE) CloseHandle(m_file);
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

  private:
    const HANDLE m_file;
};

}  // namespace

// The runtime denies nobody the file.
void OpenToAppend(std::ofstream& stream, const char16_t* path) {
    stream.open(std::filesystem::path(path), std::ios::out | std::ios::ate | std::ios::app);
}

// The runtime looks for the end once and writes a text in pieces, to put in the ends of its lines.
void AppendWhole(std::ofstream& stream, const char16_t* path, const std::string& text) {
    const Turn turn(path);
    stream << text;
    stream.close();
}

// All digits that an address can have, in upper case: so the system's own compiler has it.
std::string AddressText(const void* address) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    const auto value = reinterpret_cast<std::uintptr_t>(address);
    for (int shift = 8 * sizeof value - 4; shift >= 0; shift -= 4) {
        text += kDigits[value >> shift & 0xF];
    }
    return text;
}

std::FILE* OpenTextToRead(const char* path) noexcept {
    return std::fopen(path, "rtN");
}

std::FILE* OpenTextToWrite(const char* path) noexcept {
    return std::fopen(path, "wtN");
}

bool QueryWriteTime(const char* path, std::int64_t* seconds) noexcept {
    struct _stat64 status {};
    if (_stat64(path, &status) != 0) return false;
    *seconds = status.st_mtime;
    return true;
}

bool QueryWriteTime(std::FILE* file, std::int64_t* seconds) noexcept {
    struct _stat64 status {};
    if (_fstat64(_fileno(file), &status) != 0) return false;
    *seconds = status.st_mtime;
    return true;
}

}  // namespace kx::platform
