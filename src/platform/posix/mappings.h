// What other files of this folder need of mappings.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_MAPPINGS_H
#define KXCORE7_SRC_PLATFORM_POSIX_MAPPINGS_H

#include "platform/mappings.h"

namespace kx::platform {

// Handles of mappings are numbers of their own, above all that a descriptor can be.
NativeError CloseMapping(MappingHandle mapping) noexcept;

}  // namespace kx::platform

#endif
