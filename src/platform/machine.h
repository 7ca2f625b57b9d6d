// Facts about the machine and its system, as far as this process can use them.
#ifndef KXCORE7_SRC_PLATFORM_MACHINE_H
#define KXCORE7_SRC_PLATFORM_MACHINE_H

#include <cstdint>

#include "platform/error.h"

namespace kx::platform {

// In bytes.
struct MemoryFacts {
    std::uint64_t totalPhysical = 0;
    std::uint64_t availPhysical = 0;
    std::uint64_t totalVirtual = 0;  // of the process's address space
    std::uint64_t availVirtual = 0;
};

struct ProcessorFacts {
    std::uint32_t allocationGranularity = 0;  // where a new mapping may begin, in bytes
    std::uint32_t pageSize = 0;
    std::uint32_t type = 0;      // 8664 for x86-64; 0 for one that has no such number
    std::uint32_t level = 0;     // the processor's family, and 0 likewise
    std::uint32_t revision = 0;  // its model, 256 times, and its stepping
    std::uint32_t count = 0;     // of logical ones
};

struct SystemVersion {
    std::uint32_t platformId = 0;  // 2 for the NT family, and for any system that is no Windows
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t build = 0;
};

// A figure that can't be found out is 0.
MemoryFacts QueryMemory();
ProcessorFacts QueryProcessors();
NativeError QueryVersion(SystemVersion* out);

}  // namespace kx::platform

#endif
