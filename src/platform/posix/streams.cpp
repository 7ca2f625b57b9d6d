#include "platform/streams.h"

#include <sstream>

#include "platform/posix/utf8.h"

namespace kx::platform {

void OpenToAppend(std::ofstream& stream, const char16_t* path) {
    stream.open(PathFromWide(path), std::ios::out | std::ios::ate | std::ios::app);
}

std::string AddressText(const void* address) {
    std::ostringstream text;
    text << address;
    return text.str();
}

}  // namespace kx::platform
