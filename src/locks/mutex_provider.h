// Where every mutex comes from.
#ifndef KXCORE7_SRC_LOCKS_MUTEX_PROVIDER_H
#define KXCORE7_SRC_LOCKS_MUTEX_PROVIDER_H

#include <kxcore7/result.h>

#include <cstdint>

#include "frame/ref_counted.h"
#include "locks/mutex.h"

class IMutexProvider : public CKXCoreRefCounted {
  public:
    // Stores a new mutex with one reference. KX_E_OUTOFMEMORY, KX_E_FAIL.
    virtual KXResult CreateMutex(const char* name, std::uint32_t flags, IMutex** out) = 0;
};

namespace kx::core {

// Chooses the class: the checked one for checks or statistics, otherwise the plain one.
class CKXMutexProvider final : public IMutexProvider {
  public:
    KXResult CreateMutex(const char* name, std::uint32_t flags, IMutex** out) override;
};

}  // namespace kx::core

#endif
