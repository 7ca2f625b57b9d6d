#include "platform/identifiers.h"

#include <sys/random.h>

namespace kx::platform {

// A random identifier, version 4 of RFC 4122. Sixteen bytes come whole once the kernel's generator
// is ready, and until then the call waits.
std::uint32_t GenerateIdentifier(KXGUID* out) noexcept {
    while (getrandom(out, sizeof *out, 0) != sizeof *out) {
    }
    out->data3 = static_cast<std::uint16_t>((out->data3 & 0x0FFF) | 0x4000);
    out->data4[0] = static_cast<std::uint8_t>((out->data4[0] & 0x3F) | 0x80);
    return 0;
}

}  // namespace kx::platform
