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

class FutexLock final {
  public:
    explicit FutexLock(std::uint32_t spinCount) noexcept : m_spinCount(spinCount) {}

    bool TryEnter() noexcept {
        const std::uintptr_t self = ThisThread();
        if (m_owner.load(std::memory_order_relaxed) != self) {
            if (!m_mutex.TryLock()) return false;
            m_owner.store(self, std::memory_order_relaxed);
        }
        ++m_depth;
        return true;
    }

    void EnterContended() noexcept {
        m_contention.fetch_add(1, std::memory_order_relaxed);
        m_mutex.LockContended(m_spinCount);
        m_owner.store(ThisThread(), std::memory_order_relaxed);
        m_depth = 1;
    }

    void Leave() noexcept {
        if (--m_depth != 0) return;
        m_owner.store(0, std::memory_order_relaxed);
        m_mutex.Unlock();
    }

    std::uint32_t ContentionCount() const noexcept {
        return m_contention.load(std::memory_order_relaxed);
    }
    void ResetContentionCount() noexcept { m_contention.store(0, std::memory_order_relaxed); }

  private:
    FutexMutex m_mutex;
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
