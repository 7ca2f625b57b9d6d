#include "platform/system.h"

namespace kx::platform {

bool IsNtFamily() {
    return true;
}

std::int16_t IsWow64Process() {
    return 0;
}

bool KeepsLongVectorsAligned() noexcept {
    return true;
}

}  // namespace kx::platform
