// The lock under every mutex.
#ifndef KXCORE7_SRC_PLATFORM_LOCKS_H
#define KXCORE7_SRC_PLATFORM_LOCKS_H

#include <cstddef>
#include <cstdint>

namespace kx::platform {

// A recursive lock that knows its owner. No operation fails. No system call is made while nobody
// waits. Unlocking by another thread than the owner is not detected.
class CriticalSection final {
  public:
    // EnterContended tries spinCount times before it blocks. countContention asks for
    // ContentionCount; a system that counts anyway ignores it.
    CriticalSection(std::uint32_t spinCount, bool countContention);
    ~CriticalSection();
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    // Takes the lock if that needs no wait.
    bool TryEnter() noexcept;
    // Takes the lock behind a TryEnter that failed, waiting for it. The two are apart so that a
    // caller's way without contention stays short.
    void EnterContended() noexcept;
    void Leave() noexcept;

    // How many EnterContended there were, modulo 2^32; a system with a count of its own may leave
    // out those that spinning served, and count a wait only when it is over. Meaningful only with
    // countContention. Any thread may ask or reset at any time.
    std::uint32_t ContentionCount() const noexcept;
    void ResetContentionCount() noexcept;

    // The system's own object.
    void* Native() noexcept { return storage_; }

  private:
    alignas(8) std::byte storage_[40];
};

}  // namespace kx::platform

#endif
