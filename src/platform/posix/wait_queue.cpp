#include "platform/posix/wait_queue.h"

namespace kx::platform {

void WaitQueue::Push(Waiter& waiter) noexcept {
    waiter.inLine = true;
    waiter.previous = m_last;
    waiter.next = nullptr;
    (m_last != nullptr ? m_last->next : m_first) = &waiter;
    m_last = &waiter;
}

Waiter* WaitQueue::Pop() noexcept {
    Waiter* const waiter = m_first;
    if (waiter != nullptr) Remove(*waiter);
    return waiter;
}

Waiter* WaitQueue::PopAll() noexcept {
    Waiter* const chain = m_first;
    for (Waiter* waiter = chain; waiter != nullptr; waiter = waiter->next) waiter->inLine = false;
    m_first = m_last = nullptr;
    return chain;
}

bool WaitQueue::Remove(Waiter& waiter) noexcept {
    if (!waiter.inLine) return false;
    waiter.inLine = false;
    (waiter.previous != nullptr ? waiter.previous->next : m_first) = waiter.next;
    (waiter.next != nullptr ? waiter.next->previous : m_last) = waiter.previous;
    return true;
}

void WaitQueue::Release(Waiter* waiter) noexcept {
    std::atomic<std::uint32_t>* const word = &waiter->released;
    word->store(1, std::memory_order_release);
    FutexWake(word, 1);
}

void WaitQueue::ReleaseAll(Waiter* chain) noexcept {
    while (chain != nullptr) {
        Waiter* const next = chain->next;
        Release(chain);
        chain = next;
    }
}

bool WaitQueue::Sleep(Waiter& waiter, Deadline deadline) noexcept {
    while (waiter.released.load(std::memory_order_acquire) == 0) {
        if (!FutexWait(waiter.released, 0, deadline)) {
            return waiter.released.load(std::memory_order_acquire) != 0;
        }
    }
    return true;
}

}  // namespace kx::platform
