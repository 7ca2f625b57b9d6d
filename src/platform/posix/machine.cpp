#include "platform/machine.h"

#include <sched.h>
#include <sys/resource.h>
#include <sys/utsname.h>
#include <unistd.h>
#if defined(__x86_64__)
#include <cpuid.h>
#endif

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "platform/posix/error.h"
#include "platform/posix/memory_limits.h"
#include "platform/posix/processor_identity.h"

namespace kx::platform {
namespace {

// What the kernel gives a process that does not ask for more.
constexpr std::uint64_t kAddressSpace = std::uint64_t{1} << (sizeof(void*) == 8 ? 47 : 32);

constexpr std::uint32_t kNtPlatform = 2;

std::uint64_t AddressSpace() {
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) != 0) return kAddressSpace;
    return std::min<std::uint64_t>(limit.rlim_cur, kAddressSpace);
}

// A set of processors in as much room as the kernel wants for it.
std::uint32_t UsableProcessors() {
    constexpr int kMost = 1 << 16;
    for (int processors = CPU_SETSIZE; processors <= kMost; processors *= 2) {
        cpu_set_t* const set = CPU_ALLOC(processors);
        if (set == nullptr) break;
        const std::size_t size = CPU_ALLOC_SIZE(processors);
        const bool isTold = sched_getaffinity(0, size, set) == 0;
        const bool isTooSmall = !isTold && errno == EINVAL;
        const int count = isTold ? CPU_COUNT_S(size, set) : 0;
        CPU_FREE(set);
        if (isTold) return static_cast<std::uint32_t>(count);
        if (!isTooSmall) break;
    }
    return static_cast<std::uint32_t>(sysconf(_SC_NPROCESSORS_ONLN));
}

#if defined(__x86_64__)
constexpr std::uint32_t kType = 8664;

void ReadIdentity(ProcessorFacts* facts) {
    std::uint32_t word = 0;
    std::uint32_t unused = 0;
    if (__get_cpuid(1, &word, &unused, &unused, &unused) == 0) return;
    const ProcessorIdentity identity = IdentityFrom(word);
    facts->level = identity.family;
    facts->revision = identity.model << 8 | identity.stepping;
}
#else
constexpr std::uint32_t kType = 0;

void ReadIdentity(ProcessorFacts*) {}
#endif

// The number that the text goes on with, which is to begin in front of its next dot.
std::uint32_t NextNumber(const char** text) {
    char* end = nullptr;
    const unsigned long number = std::strtoul(*text, &end, 10);
    *text = *end == '.' ? end + 1 : end;
    return static_cast<std::uint32_t>(number);
}

}  // namespace

MemoryFacts QueryMemory() {
    const PhysicalMemory physical = ReadPhysicalMemory("");
    const std::uint64_t space = AddressSpace();
    return {physical.total, physical.available, space,
            space - std::min(space, ReadAddressSpaceInUse(""))};
}

ProcessorFacts QueryProcessors() {
    const auto page = static_cast<std::uint32_t>(sysconf(_SC_PAGESIZE));
    ProcessorFacts facts;
    facts.allocationGranularity = page;
    facts.pageSize = page;
    facts.type = kType;
    ReadIdentity(&facts);
    facts.count = UsableProcessors();
    return facts;
}

// The kernel's release, "6.1.0-18-amd64".
NativeError QueryVersion(SystemVersion* out) {
    utsname names{};
    if (uname(&names) != 0) return NativeErrorFromErrno(errno);
    const char* release = names.release;
    out->platformId = kNtPlatform;
    out->major = NextNumber(&release);
    out->minor = NextNumber(&release);
    out->build = NextNumber(&release);
    return kSuccess;
}

}  // namespace kx::platform
