// Waiting on a word and waking those who wait, and the lock that this makes within one process.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_FUTEX_H
#define KXCORE7_SRC_PLATFORM_POSIX_FUTEX_H

#include <atomic>
#include <climits>
#include <cstdint>

namespace kx::platform {

// Nanoseconds of the monotonic clock.
using Deadline = std::int64_t;
inline constexpr Deadline kNever = -1;

// So many milliseconds from now; kNever for all bits one.
Deadline DeadlineIn(std::uint32_t milliseconds) noexcept;

// Who waits for a word: threads of this process, or of all that have it in their memory.
enum class FutexScope { process, shared };

// Sleeps while the word is expected, at most up to the deadline; may return early for no reason.
// Whether the deadline has not passed.
bool FutexWait(std::atomic<std::uint32_t>& word, std::uint32_t expected, Deadline deadline = kNever,
               FutexScope scope = FutexScope::process) noexcept;

inline constexpr int kEverybody = INT_MAX;

// Wakes at most count waiters of the word. The word's storage may be gone by then: a stray wake-up
// at its address is harmless.
void FutexWake(std::atomic<std::uint32_t>* word, int count,
               FutexScope scope = FutexScope::process) noexcept;

// Adds to a shared word, at most 2047, and wakes all who wait for it, in one step: a process that
// is killed has done both or neither. False if the system refuses, and then neither is done.
bool FutexAddAndWakeAll(std::atomic<std::uint32_t>& word, std::uint32_t sum) noexcept;

// A lock of one word: free -> held by whoever takes it; held -> contended by whoever has to sleep.
// Who wakes takes the lock as contended, since others may sleep still; the wake-up that this costs
// when nobody does is the price of one word. (The algorithm is Drepper's third mutex in "Futexes
// Are Tricky".)
class FutexMutex final {
  public:
    bool TryLock() noexcept {
        std::uint32_t expected = kFree;
        return m_word.compare_exchange_strong(expected, kHeld, std::memory_order_acquire,
                                              std::memory_order_relaxed);
    }

    void Lock() noexcept {
        if (!TryLock()) LockContended(0);
    }

    // Tries spinCount times before it sleeps.
    [[gnu::cold]] void LockContended(std::uint32_t spinCount) noexcept {
        for (; spinCount != 0; --spinCount) {
            if (m_word.load(std::memory_order_relaxed) == kFree && TryLock()) return;
            Pause();
        }
        while (m_word.exchange(kContended, std::memory_order_acquire) != kFree) {
            FutexWait(m_word, kContended);
        }
    }

    // From the exchange on the lock may be taken and destroyed by another thread.
    void Unlock() noexcept {
        std::atomic<std::uint32_t>* const word = &m_word;
        if (word->exchange(kFree, std::memory_order_release) == kContended) FutexWake(word, 1);
    }

  private:
    static constexpr std::uint32_t kFree = 0;
    static constexpr std::uint32_t kHeld = 1;
    static constexpr std::uint32_t kContended = 2;

    static void Pause() noexcept {
#if defined(__x86_64__) || defined(__i386__)
        __builtin_ia32_pause();
#endif
    }

    std::atomic<std::uint32_t> m_word{kFree};
};

}  // namespace kx::platform

#endif
