// errno as native errors.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_ERROR_H
#define KXCORE7_SRC_PLATFORM_POSIX_ERROR_H

#include "platform/error.h"

namespace kx::platform {

// The one table for the whole system; what it does not list is kGenericFailure.
NativeError NativeErrorFromErrno(int error) noexcept;

}  // namespace kx::platform

#endif
