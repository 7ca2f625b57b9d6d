// A reader-writer lock of the test's own, and threads that use it.
#ifndef KXCORE7_TESTS_SUPPORT_RWLOCK_USER_H
#define KXCORE7_TESTS_SUPPORT_RWLOCK_USER_H

#include <kxcore7/rwlock.h>

#include <ostream>

#include "support/actor.h"
#include "support/results.h"

namespace kx::test {

class RWLock final {
  public:
    RWLock() { EXPECT_RESULT(KX_S_OK, KXRWLockCreate("test", 0, &m_handle)); }
    ~RWLock() { EXPECT_RESULT(KX_S_OK, KXRWLockDestroy(m_handle)); }
    RWLock(const RWLock&) = delete;
    RWLock& operator=(const RWLock&) = delete;

    operator KXRWLockHandle() const { return m_handle; }

  private:
    KXRWLockHandle m_handle = KX_INVALID_HANDLE;
};

// A thread that makes the lock's calls.
class RWLockUser final {
  public:
    using Operation = KXResult (*)(KXRWLockHandle);

    explicit RWLockUser(KXRWLockHandle lock) : m_lock(lock) {}

    KXResult operator()(Operation operation) {
        return m_actor.Do([=, lock = m_lock] { return operation(lock); });
    }

    // Starts a call that has to wait, and returns when it does.
    void StartsToWait(Operation operation) {
        m_actor.Start([=, lock = m_lock] { return operation(lock); });
        m_actor.WaitUntilAsleep();
    }
    void WaitsStill() const { m_actor.WaitUntilAsleep(); }
    KXResult Finish() { return m_actor.Finish(); }

    Actor& Thread() { return m_actor; }

  private:
    const KXRWLockHandle m_lock;
    Actor m_actor;
};

// What a thread that has no hold finds.
enum class RWLockState { kFree, kRead, kTaken };

inline std::ostream& operator<<(std::ostream& out, RWLockState state) {
    return out << (state == RWLockState::kFree   ? "free"
                   : state == RWLockState::kRead ? "read"
                                                 : "taken");
}

inline RWLockState StateOf(KXRWLockHandle lock) {
    RWLockUser stranger(lock);
    if (stranger(KXRWLockTryAcquireWrite) >= 0) {
        EXPECT_RESULT(KX_S_OK, stranger(KXRWLockReleaseWrite));
        return RWLockState::kFree;
    }
    if (stranger(KXRWLockTryAcquireRead) < 0) return RWLockState::kTaken;
    EXPECT_RESULT(KX_S_OK, stranger(KXRWLockReleaseRead));
    return RWLockState::kRead;
}

}  // namespace kx::test

#endif
