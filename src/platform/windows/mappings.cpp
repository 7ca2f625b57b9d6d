#include "platform/mappings.h"

#include "platform/windows/native.h"

namespace kx::platform {
namespace {

MappingHandle Told(HANDLE mapping, NativeError lastError, NativeError* error) {
    *error = lastError;
    return mapping != nullptr ? reinterpret_cast<MappingHandle>(mapping) : kNoMapping;
}

}  // namespace

// The access list is there and has no entries to go by: that is everybody's.
MappingHandle CreateMapping(MappingName name, std::uint32_t size, NativeError* error) {
    SECURITY_DESCRIPTOR descriptor{};
    InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&descriptor, TRUE, nullptr, FALSE);
    SECURITY_ATTRIBUTES attributes{sizeof attributes, &descriptor, TRUE};
    const HANDLE mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, &attributes, PAGE_READWRITE, 0,
                                              size, Native(name.text));
    return Told(mapping, GetLastError(), error);
}

MappingHandle OpenMapping(MappingName name, MappingAccess access, NativeError* error) {
    const HANDLE mapping = OpenFileMappingW(static_cast<DWORD>(access), TRUE, Native(name.text));
    return Told(mapping, GetLastError(), error);
}

// Without access the system may give out a view that nobody can look at.
NativeError MapView(MappingHandle mapping, MappingAccess access, void** address) {
    if (access == MappingAccess::none) return kInvalidParameter;
    void* const view =
        MapViewOfFile(reinterpret_cast<HANDLE>(mapping), static_cast<DWORD>(access), 0, 0, 0);
    if (view == nullptr) return GetLastError();
    *address = view;
    return kSuccess;
}

NativeError UnmapView(void* address) {
    return ErrorUnless(UnmapViewOfFile(address));
}

}  // namespace kx::platform
