// The lock that the INI files of all processes share, in a test's hands. Every test on this machine
// that has an INI file waits meanwhile.
#ifndef KXCORE7_TESTS_SUPPORT_INI_LOCK_H
#define KXCORE7_TESTS_SUPPORT_INI_LOCK_H

#include <kxcore7/semaphore.h>

#include <utility>

#include "support/results.h"

namespace kx::test {

inline constexpr const char* kIniLockName = "KXCore_IniFileLock";

// Open, and not held.
class IniLock final {
  public:
    IniLock() { EXPECT_GE(KXNamedSemOpen(kIniLockName, 1, &m_lock), 0); }
    ~IniLock() { EXPECT_RESULT(KX_S_OK, KXNamedSemClose(m_lock)); }
    IniLock(const IniLock&) = delete;
    IniLock& operator=(const IniLock&) = delete;

    void Take() { EXPECT_RESULT(KX_S_OK, KXSemaphoreWait(m_lock)); }
    void Give() { EXPECT_RESULT(KX_S_OK, KXSemaphorePost(m_lock)); }

  private:
    KXSemaphoreHandle m_lock = KX_INVALID_HANDLE;
};

// Held until it is let go.
class HeldIniLock final {
  public:
    HeldIniLock() { m_lock.Take(); }
    ~HeldIniLock() { LetGo(); }
    HeldIniLock(const HeldIniLock&) = delete;
    HeldIniLock& operator=(const HeldIniLock&) = delete;

    void LetGo() {
        if (std::exchange(m_held, false)) m_lock.Give();
    }

  private:
    IniLock m_lock;
    bool m_held = true;
};

}  // namespace kx::test

#endif
