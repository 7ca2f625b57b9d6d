#include <kxcore7/result.h>
#include <kxcore7/systeminfo.h>

#include "frame/exception.h"
#include "platform/machine.h"
#include "platform/users.h"

using namespace kx;

namespace {

// The record has 16 bits for most numbers, which are the low ones.
std::uint16_t Low(std::uint32_t number) {
    return static_cast<std::uint16_t>(number);
}

void Fill(KXSystemInfo* info, const platform::MemoryFacts& memory) {
    info->totalPhysical = memory.totalPhysical;
    info->availPhysical = memory.availPhysical;
    info->totalVirtual = memory.totalVirtual;
    info->availVirtual = memory.availVirtual;
}

void Fill(KXSystemInfo* info, const platform::ProcessorFacts& processors) {
    info->allocationGranularity = processors.allocationGranularity;
    info->pageSize = processors.pageSize;
    info->processorType = Low(processors.type);
    info->processorLevel = Low(processors.level);
    info->processorRevision = Low(processors.revision);
    info->processorCount = Low(processors.count);
}

void Fill(KXSystemInfo* info, const platform::SystemVersion& version) {
    info->platformId = Low(version.platformId);
    info->reserved = 0;
    info->majorVersion = Low(version.major);
    info->minorVersion = Low(version.minor);
    info->buildNumber = Low(version.build);
}

}  // namespace

KXResult KXGetSystemInfo(KXSystemInfo* info, uint32_t /*size*/) {
    return core::Guarded([&] {
        Fill(info, platform::QueryMemory());
        Fill(info, platform::QueryProcessors());
        platform::SystemVersion version;
        core::ThrowIfNativeError(platform::QueryVersion(&version));
        Fill(info, version);
        return KX_S_OK;
    });
}

KXResult KXGetUserName(char16_t* name, uint32_t size) {
    return core::Guarded([&] { return KXResultFromNative(platform::QueryUserName(name, size)); });
}
