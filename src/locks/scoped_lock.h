// Holds a mutex for a scope.
#ifndef KXCORE7_SRC_LOCKS_SCOPED_LOCK_H
#define KXCORE7_SRC_LOCKS_SCOPED_LOCK_H

#include <kxcore7/mutex.h>

namespace kx::core {

// For plain mutexes, whose acquire and release can't fail.
class ScopedLock final {
  public:
    explicit ScopedLock(KXMutexHandle mutex) : m_mutex(mutex) { KXMutexAcquire(m_mutex); }
    ~ScopedLock() { KXMutexRelease(m_mutex); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

  private:
    const KXMutexHandle m_mutex;
};

}  // namespace kx::core

#endif
