#include "platform/waitables.h"

#include <atomic>
#include <new>
#include <utility>
#include <variant>

#include "platform/posix/shared_semaphore.h"
#include "platform/posix/wait_queue.h"

namespace kx::platform {
namespace {

// A count, and the line of those who wait for it. Neither a count nor a wait that is served at once
// touches the line, and a count that is given to the first in line is never seen by others, so that
// nobody who comes later gets ahead.
//
//   m_count   means                   give                        take
//   n >= 0    so many may pass        n + 1, up to the ceiling    n - 1; at 0 get in line: -1
//   -1        threads are in line     the first in line passes;   get in line
//                                     0 when it was the last
//
// To and from -1 it changes under the line's guard only.
class Counter final {
  public:
    Counter(std::int32_t count, std::int32_t ceiling) noexcept
        : m_count(count), m_ceiling(ceiling) {}

    // False at the ceiling. There it writes the word all the same: whoever takes what was there
    // already is to see what was done before this call as well.
    bool Give() noexcept {
        std::int32_t count = m_count.load(std::memory_order_relaxed);
        for (;;) {
            if (count == kInLine) {
                if (GiveToFirst()) return true;
                count = m_count.load(std::memory_order_relaxed);
                continue;
            }
            const std::int32_t more = count < m_ceiling ? count + 1 : count;
            if (m_count.compare_exchange_weak(count, more, std::memory_order_release,
                                              std::memory_order_relaxed)) {
                return more != count;
            }
        }
    }

    // Lets everyone in line through, and then keeps one for whoever takes without using it up.
    void GiveToAll() noexcept {
        std::int32_t count = m_count.load(std::memory_order_relaxed);
        for (;;) {
            if (count == kInLine) {
                if (GiveToLine()) return;
                count = m_count.load(std::memory_order_relaxed);
                continue;
            }
            if (m_count.compare_exchange_weak(count, 1, std::memory_order_release,
                                              std::memory_order_relaxed)) {
                return;
            }
        }
    }

    // Takes a count of 1 back. Who does sees what was done before it was given.
    void TakeBack() noexcept {
        std::int32_t count = 1;
        m_count.compare_exchange_strong(count, 0, std::memory_order_acquire,
                                        std::memory_order_relaxed);
    }

    // Whether somebody may pass at this moment, who uses up what is left by uses.
    bool TryTake(std::int32_t uses) noexcept {
        std::int32_t count = m_count.load(std::memory_order_acquire);
        while (count > 0) {
            if (uses == 0 ||
                m_count.compare_exchange_weak(count, count - uses, std::memory_order_acquire,
                                              std::memory_order_acquire)) {
                return true;
            }
        }
        return false;
    }

    NativeError Take(std::int32_t uses, std::uint32_t milliseconds) noexcept {
        if (TryTake(uses)) return kSuccess;
        if (milliseconds == 0) return kWaitTimedOut;
        return TakeInLine(uses, DeadlineIn(milliseconds));
    }

  private:
    static constexpr std::int32_t kInLine = -1;

    [[gnu::noinline]] bool GiveToFirst() noexcept {
        m_line.Lock();
        Waiter* const first = m_line.Pop();
        if (first != nullptr) OpenIfNobodyIsInLine();
        m_line.Unlock();
        if (first == nullptr) return false;
        WaitQueue::Release(first);
        return true;
    }

    // The word says that all may pass before the guard is free; but those in line wait still, and
    // nobody may destroy the object before they are gone. Without them anybody might: hence none of
    // this for a line that is empty by now.
    [[gnu::noinline]] bool GiveToLine() noexcept {
        m_line.Lock();
        Waiter* const all = m_line.PopAll();
        if (all != nullptr) m_count.store(1, std::memory_order_release);
        m_line.Unlock();
        if (all == nullptr) return false;
        WaitQueue::ReleaseAll(all);
        return true;
    }

    [[gnu::cold]] NativeError TakeInLine(std::int32_t uses, Deadline deadline) noexcept {
        Waiter self;
        m_line.Lock();
        if (TryTakeOrClose(uses)) {
            m_line.Unlock();
            return kSuccess;
        }
        m_line.Push(self);
        m_line.Unlock();
        const bool released = m_line.WaitFor(self, deadline, [this] { OpenIfNobodyIsInLine(); });
        return released ? kSuccess : kWaitTimedOut;
    }

    // Under the guard: takes, or leaves the word at -1.
    bool TryTakeOrClose(std::int32_t uses) noexcept {
        for (;;) {
            if (TryTake(uses)) return true;
            std::int32_t count = 0;
            if (m_count.compare_exchange_strong(count, kInLine, std::memory_order_relaxed) ||
                count == kInLine) {
                return false;
            }
        }
    }

    void OpenIfNobodyIsInLine() noexcept {
        if (m_line.IsEmpty()) m_count.store(0, std::memory_order_relaxed);
    }

    std::atomic<std::int32_t> m_count;
    WaitQueue m_line;
    const std::int32_t m_ceiling;
};

class FutexEvent final {
  public:
    explicit FutexEvent(bool manualReset) noexcept : m_counter(0, 1), m_uses(manualReset ? 0 : 1) {}

    void Set() noexcept {
        if (m_uses == 0) {
            m_counter.GiveToAll();
        } else {
            m_counter.Give();
        }
    }
    void Reset() noexcept { m_counter.TakeBack(); }
    NativeError Wait(std::uint32_t milliseconds) noexcept {
        return m_counter.Take(m_uses, milliseconds);
    }

  private:
    Counter m_counter;
    const std::int32_t m_uses;
};

// The line alone: what nobody waits for is not kept. The flag saves the guard while nobody does; a
// thread that changed what others wait for did so under their lock, behind their getting in line.
class FutexCondition final {
  public:
    NativeError Wait(CriticalSection& lock, std::uint32_t milliseconds) noexcept {
        Waiter self;
        const Deadline deadline = DeadlineIn(milliseconds);
        m_line.Lock();
        m_line.Push(self);
        NoteIfSomebodyWaits();
        m_line.Unlock();
        lock.Leave();
        const bool released = m_line.WaitFor(self, deadline, [this] { NoteIfSomebodyWaits(); });
        if (!lock.TryEnter()) lock.EnterContended();
        return released ? kSuccess : kConditionTimedOut;
    }

    void WakeOne() noexcept {
        if (!m_waiting.load(std::memory_order_acquire)) return;
        m_line.Lock();
        Waiter* const first = m_line.Pop();
        NoteIfSomebodyWaits();
        m_line.Unlock();
        if (first != nullptr) WaitQueue::Release(first);
    }

    void WakeAll() noexcept {
        if (!m_waiting.load(std::memory_order_acquire)) return;
        m_line.Lock();
        Waiter* const all = m_line.PopAll();
        NoteIfSomebodyWaits();
        m_line.Unlock();
        WaitQueue::ReleaseAll(all);
    }

  private:
    void NoteIfSomebodyWaits() noexcept {
        m_waiting.store(!m_line.IsEmpty(), std::memory_order_relaxed);
    }

    WaitQueue m_line;
    std::atomic<bool> m_waiting{false};
};

// Of this process, or shared; nothing before it is made.
using AnySemaphore = std::variant<std::monostate, Counter, SharedSemaphore>;

SharedCount& SharedCountIn(AnySemaphore& semaphore) noexcept {
    return std::get_if<SharedSemaphore>(&semaphore)->Count();
}

// What goes into storage of a header's; no header needs to know it.
template <typename Object>
Object& In(std::byte* storage) {
    return *std::launder(reinterpret_cast<Object*>(storage));
}

}  // namespace

Event::Event() noexcept = default;

Event::~Event() = default;

NativeError Event::Create(bool manualReset) noexcept {
    static_assert(sizeof(FutexEvent) <= sizeof storage_);
    new (storage_) FutexEvent(manualReset);
    return kSuccess;
}

NativeError Event::Set() noexcept {
    In<FutexEvent>(storage_).Set();
    return kSuccess;
}

NativeError Event::Reset() noexcept {
    In<FutexEvent>(storage_).Reset();
    return kSuccess;
}

NativeError Event::Wait(std::uint32_t milliseconds) noexcept {
    return In<FutexEvent>(storage_).Wait(milliseconds);
}

Semaphore::Semaphore() noexcept {
    static_assert(sizeof(AnySemaphore) <= sizeof storage_);
    new (storage_) AnySemaphore;
}

Semaphore::~Semaphore() {
    In<AnySemaphore>(storage_).~AnySemaphore();
}

NativeError Semaphore::Create(std::uint32_t count, std::uint32_t ceiling) noexcept {
    if (count > ceiling) return kInvalidParameter;
    // Over one that is nothing, and leaves nothing behind.
    new (storage_) AnySemaphore(std::in_place_type<Counter>, static_cast<std::int32_t>(count),
                                static_cast<std::int32_t>(ceiling));
    return kSuccess;
}

NativeError Semaphore::CreateShared(const char* name, std::uint32_t count, std::uint32_t ceiling) {
    // The word has bits for this ceiling, and a lower one would hold for some of its users only.
    if (count > ceiling || ceiling != SharedCount::kCeiling) return kInvalidParameter;
    SharedSemaphore shared;
    const NativeError error = shared.Open(name, count);
    if (error == kSuccess) {
        In<AnySemaphore>(storage_).emplace<SharedSemaphore>(std::move(shared));
    }
    return error;
}

NativeError Semaphore::Post() noexcept {
    auto& semaphore = In<AnySemaphore>(storage_);
    if (auto* const own = std::get_if<Counter>(&semaphore)) [[likely]] {
        return own->Give() ? kSuccess : kTooManyPosts;
    }
    return SharedCountIn(semaphore).Post();
}

NativeError Semaphore::Wait(std::uint32_t milliseconds) noexcept {
    auto& semaphore = In<AnySemaphore>(storage_);
    if (auto* const own = std::get_if<Counter>(&semaphore)) [[likely]] {
        return own->Take(1, milliseconds);
    }
    return SharedCountIn(semaphore).Wait(milliseconds);
}

Condition::Condition() noexcept {
    static_assert(sizeof(FutexCondition) <= sizeof storage_);
    new (storage_) FutexCondition;
}

Condition::~Condition() = default;

NativeError Condition::Wait(CriticalSection& lock, std::uint32_t milliseconds) noexcept {
    return In<FutexCondition>(storage_).Wait(lock, milliseconds);
}

void Condition::WakeOne() noexcept {
    In<FutexCondition>(storage_).WakeOne();
}

void Condition::WakeAll() noexcept {
    In<FutexCondition>(storage_).WakeAll();
}

}  // namespace kx::platform
