#include "files.h"

#include <kxcore7/conversion.h>

#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace {

// Streams do not tell why they failed, but what they call does.
[[noreturn]] void ThrowCannotRead(const std::string& path) {
    const int error = errno != 0 ? errno : EIO;
    throw std::runtime_error("cannot read " + path + ": " + std::generic_category().message(error));
}

}  // namespace

std::string ReadFile(const std::string& path) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) ThrowCannotRead(path);
    std::string content;
    std::vector<char> chunk(64 * 1024);
    while (file) {
        file.read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
        content.append(chunk.data(), static_cast<size_t>(file.gcount()));
    }
    if (file.bad()) ThrowCannotRead(path);
    return content;
}

std::u16string Widen(const std::string& name) {
    // No character has more units than bytes.
    std::u16string wide(name.size() + 1, u'\0');
    const size_t units = KXAnsiToWstring(wide.data(), name.c_str(), wide.size());
    if (units == 0 && !name.empty()) {
        throw std::runtime_error("the locale cannot express the name " + name);
    }
    wide.resize(units);
    return wide;
}
