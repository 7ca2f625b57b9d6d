// Threads that wait in line, each on a word of its own.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_WAIT_QUEUE_H
#define KXCORE7_SRC_PLATFORM_POSIX_WAIT_QUEUE_H

#include <atomic>
#include <cstdint>

#include "platform/posix/futex.h"

namespace kx::platform {

// A thread in line; lives on its stack.
struct Waiter {
    std::atomic<std::uint32_t> released{0};
    bool inLine = false;
    Waiter* previous = nullptr;
    Waiter* next = nullptr;
};

// The line, under a guard that the caller holds for all but Release and WaitFor.
//
//   state of a waiter         left by            to
//   in line                   Pop, PopAll        out of line, to be released
//   in line                   its deadline       gone
//   out of line               Release            gone
class WaitQueue final {
  public:
    void Lock() noexcept { m_guard.Lock(); }
    void Unlock() noexcept { m_guard.Unlock(); }

    bool IsEmpty() const noexcept { return m_first == nullptr; }
    void Push(Waiter& waiter) noexcept;
    // The first in line, out of it; null if there is none.
    Waiter* Pop() noexcept;
    // The whole line, chained by next.
    Waiter* PopAll() noexcept;
    // Lets a thread go that is out of line, or a chain of them. It may be gone, and what it waited
    // for with it, before this returns: so the guard is not to be held.
    static void Release(Waiter* waiter) noexcept;
    static void ReleaseAll(Waiter* chain) noexcept;

    // Sleeps in line, without the guard, until released or to the deadline; whether it was
    // released. Who was not is out of line, and calls left() under the guard on the way.
    template <typename Left>
    bool WaitFor(Waiter& waiter, Deadline deadline, Left&& left) noexcept {
        if (Sleep(waiter, deadline)) return true;
        Lock();
        const bool removed = Remove(waiter);
        if (removed) left();
        Unlock();
        // Let through in the last moment: it is out of line, and its release is under way.
        if (!removed) Sleep(waiter, kNever);
        return !removed;
    }

  private:
    // Whether it was released before the deadline.
    static bool Sleep(Waiter& waiter, Deadline deadline) noexcept;
    // Takes a waiter out of line; false if it is out already.
    bool Remove(Waiter& waiter) noexcept;

    FutexMutex m_guard;
    Waiter* m_first = nullptr;
    Waiter* m_last = nullptr;
};

}  // namespace kx::platform

#endif
