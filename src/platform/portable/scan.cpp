// For processors without a folder of their own.
#include "platform/scan.h"

#include "platform/portable/scan_portable.h"

namespace kx::platform {

constinit const Scan* g_scan = &kPortableScan;

void ChooseScan() noexcept {}

std::span<const Scan* const> Scans() noexcept {
    static constexpr const Scan* kScans[] = {&kPortableScan};
    return kScans;
}

}  // namespace kx::platform
