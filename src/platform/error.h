// Native errors: how every call of the floor reports failure.
//
// A native error is the number that the Windows call in that place leaves as the thread's last
// error; 0 is success. Using one vocabulary on all systems makes every result code above the floor
// come out the same. A system with numbers of its own translates them, and where a call has to
// answer with another number, its header says so.
#ifndef KXCORE7_SRC_PLATFORM_ERROR_H
#define KXCORE7_SRC_PLATFORM_ERROR_H

#include <cstdint>

namespace kx::platform {

using NativeError = std::uint32_t;

inline constexpr NativeError kSuccess = 0;
inline constexpr NativeError kFileNotFound = 2;
inline constexpr NativeError kPathNotFound = 3;
inline constexpr NativeError kTooManyOpenFiles = 4;
inline constexpr NativeError kAccessDenied = 5;
inline constexpr NativeError kInvalidHandle = 6;
inline constexpr NativeError kOutOfMemory = 14;
inline constexpr NativeError kNotReady = 21;
inline constexpr NativeError kInvalidParameter = 87;
inline constexpr NativeError kDiskFull = 112;
inline constexpr NativeError kProcedureNotFound = 127;
inline constexpr NativeError kBadPathName = 161;
inline constexpr NativeError kBusy = 170;
inline constexpr NativeError kAlreadyExists = 183;
inline constexpr NativeError kBadExecutableFormat = 193;
inline constexpr NativeError kMoreData = 234;
inline constexpr NativeError kNoMoreItems = 259;
inline constexpr NativeError kBadDatabase = 1009;
inline constexpr NativeError kRegistryIoFailed = 1016;
inline constexpr NativeError kKeyDeleted = 1018;
inline constexpr NativeError kGenericFailure = 31;

}  // namespace kx::platform

#endif
