#include "platform/streams.h"

#include <stdio.h>
#include <sys/stat.h>

#include <sstream>

#include "platform/posix/utf8.h"

namespace kx::platform {

void OpenToAppend(std::ofstream& stream, const char16_t* path) {
    stream.open(PathFromWide(path), std::ios::out | std::ios::ate | std::ios::app);
}

// A text longer than what the stream keeps back goes to the system in one call, and so does what is
// kept back when it is closed; the system puts all of it at the end.
void AppendWhole(std::ofstream& stream, const char16_t*, const std::string& text) {
    stream << text;
    stream.close();
}

std::string AddressText(const void* address) {
    std::ostringstream text;
    text << address;
    return text.str();
}

std::FILE* OpenTextToRead(const char* path) noexcept {
    return std::fopen(path, "re");
}

std::FILE* OpenTextToWrite(const char* path) noexcept {
    return std::fopen(path, "we");
}

bool QueryWriteTime(const char* path, std::int64_t* seconds) noexcept {
    struct stat status {};
    if (stat(path, &status) != 0) return false;
    *seconds = status.st_mtim.tv_sec;
    return true;
}

bool QueryWriteTime(std::FILE* file, std::int64_t* seconds) noexcept {
    struct stat status {};
    if (fstat(fileno(file), &status) != 0) return false;
    *seconds = status.st_mtim.tv_sec;
    return true;
}

}  // namespace kx::platform
