// The word by which a processor of the x86 kind tells which one it is.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_PROCESSOR_IDENTITY_H
#define KXCORE7_SRC_PLATFORM_POSIX_PROCESSOR_IDENTITY_H

#include <cstdint>

namespace kx::platform {

struct ProcessorIdentity {
    std::uint32_t family;
    std::uint32_t model;
    std::uint32_t stepping;

    bool operator==(const ProcessorIdentity&) const = default;
};

// Family and model are in two pieces: the further one of the family counts for the highest family
// alone, that of the model for that and for 6.
constexpr ProcessorIdentity IdentityFrom(std::uint32_t word) noexcept {
    constexpr std::uint32_t kHighest = 15;
    const std::uint32_t family = word >> 8 & 15;
    const std::uint32_t model = word >> 4 & 15;
    const bool isHighest = family == kHighest;
    return {family + (isHighest ? word >> 20 & 0xFF : 0),
            model | (isHighest || family == 6 ? (word >> 16 & 15) << 4 : 0), word & 15};
}

}  // namespace kx::platform

#endif
