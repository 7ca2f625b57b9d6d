#include "platform/posix/mappings.h"

#include <sys/mman.h>

#include <climits>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "platform/posix/immortal.h"
#include "platform/posix/inheritance.h"
#include "platform/posix/shared_object.h"

namespace kx::platform {
namespace {

struct Mapping {
    SharedObject object;
    bool writable;
};

struct View {
    std::size_t size;
    SharedFile file;
};

// What this process has open, by handle, and what it has mapped, by address. A handle's number is
// given once; the address of a view can come again behind it.
class Mappings final {
  public:
    MappingHandle Add(Mapping&& mapping) {
        const std::lock_guard lock(m_lock);
        const MappingHandle handle = m_next;
        const int descriptor = mapping.object.descriptor.Get();
        ShareWithChildren(descriptor);
        try {
            m_mappings.emplace(handle, std::move(mapping));
        } catch (...) {
            KeepFromChildren(descriptor);
            throw;
        }
        ++m_next;
        return handle;
    }

    NativeError Close(MappingHandle handle) noexcept {
        auto mapping = Extract(m_mappings, handle);
        if (mapping.empty()) return kInvalidHandle;
        KeepFromChildren(mapping.mapped().object.descriptor.Get());
        mapping.mapped().object.descriptor.Close();
        LeaveSharedObject(mapping.mapped().object.file);
        return kSuccess;
    }

    // Room for the view is made before there is one.
    NativeError Map(MappingHandle handle, bool writable, void** address) {
        const std::lock_guard lock(m_lock);
        const auto found = m_mappings.find(handle);
        if (found == m_mappings.end()) return kInvalidHandle;
        const Mapping& mapping = found->second;
        if (writable && !mapping.writable) return kAccessDenied;
        std::unordered_map<void*, View> place;
        place.emplace(nullptr, View{mapping.object.size, mapping.object.file});
        m_views.reserve(m_views.size() + 1);

        NativeError error = kSuccess;
        void* const data = MapSharedData(mapping.object, writable, &error);
        if (data == nullptr) return error;
        auto view = place.extract(place.begin());
        view.key() = data;
        m_views.insert(std::move(view));
        *address = data;
        return kSuccess;
    }

    NativeError Unmap(void* address) noexcept {
        const auto view = Extract(m_views, address);
        if (view.empty()) return kInvalidAddress;
        munmap(address, view.mapped().size);
        LeaveSharedObject(view.mapped().file);
        return kSuccess;
    }

  private:
    template <typename Table>
    typename Table::node_type Extract(Table& table, typename Table::key_type key) noexcept {
        const std::lock_guard lock(m_lock);
        return table.extract(key);
    }

    std::mutex m_lock;
    MappingHandle m_next = MappingHandle{INT_MAX} + 1;  // no descriptor is as large
    std::unordered_map<MappingHandle, Mapping> m_mappings;
    std::unordered_map<void*, View> m_views;
};

Mappings& TheMappings() noexcept {
    static Immortal<Mappings> mappings;
    return mappings.Get();
}

MappingHandle Open(const SharedRequest& request, bool writable, NativeError* error) {
    Mapping mapping{{}, writable};
    *error = OpenSharedObject(request, &mapping.object);
    if (*error != kSuccess) return kNoMapping;
    if (request.create && mapping.object.existed) *error = kAlreadyExists;
    const SharedFile file = mapping.object.file;
    try {
        return TheMappings().Add(std::move(mapping));
    } catch (...) {
        mapping.object.descriptor.Close();
        LeaveSharedObject(file);
        throw;
    }
}

}  // namespace

MappingHandle CreateMapping(MappingName name, std::uint32_t size, NativeError* error) {
    if (size == 0) {
        *error = kInvalidParameter;
        return kNoMapping;
    }
    return Open({.kind = SharedKind::memory,
                 .name = name.bytes,
                 .create = true,
                 .size = size,
                 .firstWord = 0},
                true, error);
}

MappingHandle OpenMapping(MappingName name, MappingAccess access, NativeError* error) {
    return Open({.kind = SharedKind::memory,
                 .name = name.bytes,
                 .create = false,
                 .size = 0,
                 .firstWord = 0},
                access == MappingAccess::write, error);
}

NativeError MapView(MappingHandle mapping, MappingAccess access, void** address) {
    if (access != MappingAccess::read && access != MappingAccess::write) return kInvalidParameter;
    return TheMappings().Map(mapping, access == MappingAccess::write, address);
}

NativeError UnmapView(void* address) {
    return TheMappings().Unmap(address);
}

NativeError CloseMapping(MappingHandle mapping) noexcept {
    return TheMappings().Close(mapping);
}

}  // namespace kx::platform
