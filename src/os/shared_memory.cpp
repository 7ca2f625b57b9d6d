#include <kxcore7/conversion.h>
#include <kxcore7/result.h>
#include <kxcore7/sharedmem.h>

#include <string>

#include "frame/exception.h"
#include "platform/mappings.h"

using namespace kx;
using platform::MappingAccess;

namespace {

constexpr std::size_t kWideNameSize = 512;
constexpr std::uint32_t kCreates = KX_FILE_CREATE | KX_FILE_EXCLUSIVE;
constexpr std::uint32_t kAccess = KX_FILE_READ | KX_FILE_WRITE;
constexpr KXResult kIsNew = 2;

KXResult Open(const char* name, std::uint32_t flags, std::uint32_t size, KXSharedMemHandle* out) {
    const std::string bytes = std::string("SHM:") + name;
    char16_t text[kWideNameSize] = {};
    KXAnsiToUnicode(text, bytes.c_str(), kWideNameSize);

    const platform::MappingName both{bytes.c_str(), text};
    platform::NativeError error = platform::kSuccess;
    const bool creates = (flags & kCreates) != 0;
    const platform::MappingHandle mapping =
        creates
            ? platform::CreateMapping(both, size, &error)
            : platform::OpenMapping(
                  both, (flags & KX_FILE_WRITE) != 0 ? MappingAccess::write : MappingAccess::read,
                  &error);
    if (mapping == platform::kNoMapping) return KXResultFromNative(error);
    if ((flags & kCreates) == kCreates && error == platform::kAlreadyExists) {
        KXSharedMemClose(mapping);
        return KX_E_FAIL;
    }
    *out = mapping;
    return error == platform::kAlreadyExists ? KX_S_OK : kIsNew;
}

// By the whole value: bits beside the two make it another.
MappingAccess AccessOf(std::uint32_t access) {
    if (access == KX_FILE_WRITE || access == kAccess) return MappingAccess::write;
    return access == KX_FILE_READ ? MappingAccess::read : MappingAccess::none;
}

}  // namespace

KXResult KXSharedMemOpen(const char* name, uint32_t flags, uint32_t /*reserved*/, uint32_t size,
                         KXSharedMemHandle* out) {
    *out = KX_INVALID_HANDLE;
    return core::Guarded([&] { return Open(name, flags, size, out); });
}

KXResult KXSharedMemAttach(KXSharedMemHandle memory, uint32_t access, void** address) {
    return core::Guarded(
        [&] { return KXResultFromNative(platform::MapView(memory, AccessOf(access), address)); });
}

KXResult KXSharedMemDetach(void* address) {
    return core::Guarded([&] { return KXResultFromNative(platform::UnmapView(address)); });
}

KXResult KXSharedMemClose(KXSharedMemHandle memory) {
    return KXFileClose(memory);
}
