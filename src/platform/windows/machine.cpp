#include "platform/machine.h"

#include "platform/windows/native.h"

namespace kx::platform {

// Of a call that failed every figure is 0.
MemoryFacts QueryMemory() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    GlobalMemoryStatusEx(&status);
    return {status.ullTotalPhys, status.ullAvailPhys, status.ullTotalVirtual,
            status.ullAvailVirtual};
}

ProcessorFacts QueryProcessors() {
    SYSTEM_INFO info{};
    GetSystemInfo(&info);
    ProcessorFacts facts;
    facts.allocationGranularity = info.dwAllocationGranularity;
    facts.pageSize = info.dwPageSize;
    facts.type = info.dwProcessorType;
    facts.level = info.wProcessorLevel;
    facts.revision = info.wProcessorRevision;
    facts.count = info.dwNumberOfProcessors;
    return facts;
}

NativeError QueryVersion(SystemVersion* out) {
    OSVERSIONINFOA version{};
    version.dwOSVersionInfoSize = sizeof version;
    if (GetVersionExA(&version) == 0) return GetLastError();
    *out = {version.dwPlatformId, version.dwMajorVersion, version.dwMinorVersion,
            version.dwBuildNumber};
    return kSuccess;
}

}  // namespace kx::platform
