#include "platform/scan.h"

#include "platform/portable/scan_portable.h"
#include "platform/system.h"
#include "platform/x86_64/scan_forms.h"

namespace kx::platform {

// Every processor of the kind has the short vectors.
constinit const Scan* g_scan = &kSse2Scan;

void ChooseScan() noexcept {
    g_scan = Scans().back();
}

std::span<const Scan* const> Scans() noexcept {
    static constexpr const Scan* kScans[] = {&kPortableScan, &kSse2Scan, &kAvx2Scan};
    const bool longVectors = KeepsLongVectorsAligned() && __builtin_cpu_supports("avx2");
    return std::span(kScans).first(longVectors ? 3 : 2);
}

}  // namespace kx::platform
