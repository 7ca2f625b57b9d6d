// How much of the machine's memory this process may use, by the kernel's files.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_MEMORY_LIMITS_H
#define KXCORE7_SRC_PLATFORM_POSIX_MEMORY_LIMITS_H

#include <cstdint>
#include <string>

namespace kx::platform {

struct PhysicalMemory {
    std::uint64_t total = 0;  // bytes
    std::uint64_t available = 0;
};

// The machine's memory, or less where a control group of this process or one around it has a limit:
// as much as the narrowest allows, and what is left of it. Memory that holds files which were read
// is available, as it is for the kernel. root is in front of every path: empty but for tests.
PhysicalMemory ReadPhysicalMemory(const std::string& root);

// The bytes of address space that this process has in use.
std::uint64_t ReadAddressSpaceInUse(const std::string& root);

}  // namespace kx::platform

#endif
