#include "platform/security.h"

namespace kx::platform {

NativeError BuildRestrictedDescriptor(void* /*descriptor*/, std::uint32_t /*mask*/,
                                      void** list) noexcept {
    *list = nullptr;
    return kNotImplemented;
}

void FreeAccessList(void* /*list*/) noexcept {}

}  // namespace kx::platform
