// Access lists, where the system has them.
#ifndef KXCORE7_SRC_PLATFORM_SECURITY_H
#define KXCORE7_SRC_PLATFORM_SECURITY_H

#include <cstdint>

#include "platform/error.h"

namespace kx::platform {

inline constexpr NativeError kNotImplemented = 120;

// Makes of *descriptor, storage of the caller's, a descriptor that grants the mask to authenticated
// users alone, and stores its list, which both are needed while it is used. On failure *list is
// null: kNotImplemented on a system without access lists.
NativeError BuildRestrictedDescriptor(void* descriptor, std::uint32_t mask, void** list) noexcept;
void FreeAccessList(void* list) noexcept;

}  // namespace kx::platform

#endif
