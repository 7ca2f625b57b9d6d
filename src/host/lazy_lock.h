// A lock that is made when it is first asked for, and stays.
#ifndef KXCORE7_SRC_HOST_LAZY_LOCK_H
#define KXCORE7_SRC_HOST_LAZY_LOCK_H

#include <kxcore7/mutex.h>

#include <atomic>

namespace kx::core {

// Needs no start of its own, and nothing destroys the lock: whoever was loaded last may still ask.
class LazyLock final {
  public:
    constexpr explicit LazyLock(const char* name) : m_name(name) {}
    LazyLock(const LazyLock&) = delete;
    LazyLock& operator=(const LazyLock&) = delete;

    // Callers that meet while the lock is made wait for it in steps of a millisecond; no others do.
    // Throws EKXCoreException if it can't be made; the next call tries again.
    KXMutexHandle Get();

  private:
    void Make();

    const char* const m_name;
    std::atomic<KXMutexHandle> m_mutex{KX_INVALID_HANDLE};
    std::atomic<bool> m_isBeingMade{false};
};

}  // namespace kx::core

#endif
