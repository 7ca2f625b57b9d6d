// The inner loops of the string family: runs over text whose end is found on the way. A processor's
// folder supplies them in every form that its vector units allow, and the one that the machine can
// run is chosen at start-up.
//
// No form reads what may not be mapped: behind a terminator or a count it reads at most the rest of
// four vectors, and never across the end of a page that it has no unit of the text in.
#ifndef KXCORE7_SRC_PLATFORM_SCAN_H
#define KXCORE7_SRC_PLATFORM_SCAN_H

#include <cstddef>
#include <span>

namespace kx::platform {

inline constexpr std::size_t kNoCount = ~std::size_t{0};

// All counts and results are in units; a count of kNoCount bounds nothing.
struct Scan {
    const char* name;

    // Units before the terminator, at most count.
    std::size_t (*length)(const char16_t* text, std::size_t count) noexcept;

    // Units before the first that is unit, or the terminator.
    std::size_t (*find)(const char16_t* text, char16_t unit) noexcept;

    // Units that both texts begin with, up to a terminator, at most count.
    std::size_t (*common)(const char16_t* a, const char16_t* b, std::size_t count) noexcept;

    // ASCII bytes that both texts begin with when folded to upper case, up to a terminator, at most
    // count. Stops at a byte of either that is not ASCII.
    std::size_t (*commonFolded)(const char* a, const char* b, std::size_t count) noexcept;

    // Change the case of the ASCII that text begins with, up to a terminator; how long that is.
    std::size_t (*lowerNarrow)(char* text) noexcept;
    std::size_t (*upperNarrow)(char* text) noexcept;
    std::size_t (*lowerWide)(char16_t* text) noexcept;
    std::size_t (*upperWide)(char16_t* text) noexcept;
};

// The form in use. Before start-up it is one that runs on every machine of the kind.
extern const Scan* g_scan;
void ChooseScan() noexcept;

// Every form that this machine can run, the plainest first.
std::span<const Scan* const> Scans() noexcept;

}  // namespace kx::platform

#endif
