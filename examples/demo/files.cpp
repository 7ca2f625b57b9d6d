#include "files.h"

#include <kxcore7/conversion.h>

#include <algorithm>
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

size_t AsciiPrefixLength(const std::string& text) {
    const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
    return static_cast<size_t>(std::find_if_not(text.begin(), text.end(), isAscii) - text.begin());
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
    const size_t units = KXAnsiToUnicode(nullptr, name.c_str(), 0);
    // This is how KXAnsiToUnicode answers text that is not valid in the locale.
    if (units == AsciiPrefixLength(name) - 1) {
        throw std::runtime_error("the locale cannot express the name " + name);
    }
    std::u16string wide(units, u'\0');
    KXAnsiToUnicode(wide.data(), name.c_str(), units);
    return wide;
}
