#include "locks/mutex_provider.h"

#include "frame/exception.h"

namespace kx::core {
namespace {

IMutex* NewMutex(const char* name, std::uint32_t flags) {
    if ((flags & (KX_MUTEX_CHECKED | KX_MUTEX_STATS)) != 0) {
        return new CKXCoreMutexChecked(name, flags);
    }
    return new CKXCoreMutexImpl(name, flags);
}

}  // namespace

KXResult CKXMutexProvider::CreateMutex(const char* name, std::uint32_t flags, IMutex** out) {
    return Guarded([&] {
        const std::uint32_t effective =
            (flags & KX_MUTEX_NO_STATS) != 0 ? flags & ~KX_MUTEX_STATS : flags;
        IMutex* const mutex = NewMutex(name, effective);
        mutex->AddReference();
        *out = mutex;
        return KX_S_OK;
    });
}

}  // namespace kx::core
