#include "platform/locks.h"

#include <atomic>
#include <new>

#include "platform/posix/futex.h"

namespace kx::platform {
namespace {

// One of the thread's own addresses: unique among living threads, never null, and unlike a thread
// id the same in the child of a fork.
std::uintptr_t ThisThread() noexcept {
    return reinterpret_cast<std::uintptr_t>(__builtin_thread_pointer());
}

void Pause() noexcept {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

// The lock word: free -> held by whoever takes it; held -> contended by whoever has to sleep. Who
// wakes takes the lock as contended, since others may sleep still; the wake-up that this costs when
// nobody does is the price of one word. (The algorithm is Drepper's third mutex in "Futexes Are
// Tricky".)
constexpr std::uint32_t kFree = 0;
constexpr std::uint32_t kHeld = 1;
constexpr std::uint32_t kContended = 2;

class FutexLock final {
  public:
    explicit FutexLock(std::uint32_t spinCount) noexcept : m_spinCount(spinCount) {}

    bool TryEnter() noexcept {
        const std::uintptr_t self = ThisThread();
        if (m_owner.load(std::memory_order_relaxed) != self) {
            if (!TryTake()) return false;
            m_owner.store(self, std::memory_order_relaxed);
        }
        ++m_depth;
        return true;
    }

    void EnterContended() noexcept {
        m_contention.fetch_add(1, std::memory_order_relaxed);
        Take();
        m_owner.store(ThisThread(), std::memory_order_relaxed);
        m_depth = 1;
    }

    // From the exchange on the object may be taken and destroyed by another thread.
    void Leave() noexcept {
        if (--m_depth != 0) return;
        m_owner.store(0, std::memory_order_relaxed);
        std::atomic<std::uint32_t>* const word = &m_word;
        if (word->exchange(kFree, std::memory_order_release) == kContended) FutexWake(word, 1);
    }

    std::uint32_t ContentionCount() const noexcept {
        return m_contention.load(std::memory_order_relaxed);
    }
    void ResetContentionCount() noexcept { m_contention.store(0, std::memory_order_relaxed); }

  private:
    bool TryTake() noexcept {
        std::uint32_t expected = kFree;
        return m_word.compare_exchange_strong(expected, kHeld, std::memory_order_acquire,
                                              std::memory_order_relaxed);
    }

    void Take() noexcept {
        for (std::uint32_t tries = m_spinCount; tries != 0; --tries) {
            if (m_word.load(std::memory_order_relaxed) == kFree && TryTake()) return;
            Pause();
        }
        while (m_word.exchange(kContended, std::memory_order_acquire) != kFree) {
            FutexWait(m_word, kContended);
        }
    }

    std::atomic<std::uint32_t> m_word{kFree};
    std::uint32_t m_depth = 0;  // changed by the owner alone
    std::atomic<std::uintptr_t> m_owner{0};
    std::atomic<std::uint32_t> m_contention{0};
    const std::uint32_t m_spinCount;
};

FutexLock* From(std::byte* storage) {
    return std::launder(reinterpret_cast<FutexLock*>(storage));
}
const FutexLock* From(const std::byte* storage) {
    return std::launder(reinterpret_cast<const FutexLock*>(storage));
}

}  // namespace

CriticalSection::CriticalSection(std::uint32_t spinCount, bool) {
    static_assert(sizeof(FutexLock) <= sizeof storage_ && alignof(FutexLock) <= 8);
    new (storage_) FutexLock(spinCount);
}

CriticalSection::~CriticalSection() {
    From(storage_)->~FutexLock();
}

bool CriticalSection::TryEnter() noexcept {
    return From(storage_)->TryEnter();
}
[[gnu::cold]] void CriticalSection::EnterContended() noexcept {
    From(storage_)->EnterContended();
}

void CriticalSection::Leave() noexcept {
    From(storage_)->Leave();
}

std::uint32_t CriticalSection::ContentionCount() const noexcept {
    return From(storage_)->ContentionCount();
}
void CriticalSection::ResetContentionCount() noexcept {
    From(storage_)->ResetContentionCount();
}

}  // namespace kx::platform
