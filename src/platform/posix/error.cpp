#include "platform/posix/error.h"

#include <cerrno>

namespace kx::platform {

NativeError NativeErrorFromErrno(int error) noexcept {
    switch (error) {
        case 0:
            return kSuccess;
        case ENOENT:
            return kFileNotFound;
        case ENOTDIR:
            return kPathNotFound;
        case EMFILE:
        case ENFILE:
            return kTooManyOpenFiles;
        case EACCES:
        case EPERM:
        case EROFS:
        case EISDIR:
        case ELOOP:
            return kAccessDenied;
        case EBADF:
            return kInvalidHandle;
        case ENOMEM:
            return kOutOfMemory;
        case EINVAL:
            return kInvalidParameter;
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return kDiskFull;
        case EBUSY:
        case ETXTBSY:
            return kBusy;
        case EEXIST:
            return kAlreadyExists;
        case ENAMETOOLONG:
            return kBadPathName;
        case ENOEXEC:
            return kBadExecutableFormat;
        default:
            return kGenericFailure;
    }
}

}  // namespace kx::platform
