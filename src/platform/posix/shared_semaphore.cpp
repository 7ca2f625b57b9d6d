#include "platform/posix/shared_semaphore.h"

#include <sys/mman.h>

#include "platform/posix/inheritance.h"
#include "platform/waitables.h"

namespace kx::platform {

static_assert(sizeof(SharedCount) == sizeof(std::uint32_t));

// What the kernel adds makes the promise good. It continues the release that the promise began.
NativeError SharedCount::PostAndWake() noexcept {
    std::uint32_t word = m_word.load(std::memory_order_relaxed);
    for (;;) {
        if (CountIn(word) + PromisesIn(word) >= kCeiling) return kTooManyPosts;
        // With so many on their way at once the step has to be two.
        const bool promises = PromisesIn(word) < kMostPromises;
        if (m_word.compare_exchange_weak(word, word + (promises ? kPromise : kOne),
                                         std::memory_order_release, std::memory_order_relaxed)) {
            if (!promises) {
                FutexWake(&m_word, kEverybody, FutexScope::shared);
                return kSuccess;
            }
            return FutexAddAndWakeAll(m_word, kOne - kPromise) ? kSuccess : kGenericFailure;
        }
    }
}

NativeError SharedCount::Wait(std::uint32_t milliseconds) noexcept {
    if (TryTake()) return kSuccess;
    if (milliseconds == 0) return kWaitTimedOut;
    return WaitAsleep(DeadlineIn(milliseconds));
}

[[gnu::cold]] NativeError SharedCount::WaitAsleep(Deadline deadline) noexcept {
    if (Register()) return kSuccess;
    bool inTime = true;
    for (;;) {
        std::uint32_t word = m_word.load(std::memory_order_relaxed);
        const bool takes = CountIn(word) != 0;
        if (!takes && inTime) {
            inTime = FutexWait(m_word, word, deadline, FutexScope::shared);
            continue;
        }
        const std::uint32_t left = Unregistered(word) - (takes ? kOne : 0);
        if (m_word.compare_exchange_weak(word, left, std::memory_order_acquire,
                                         std::memory_order_relaxed)) {
            return takes ? kSuccess : kWaitTimedOut;
        }
    }
}

// Once there are as many waiters as can be written down, nobody knows how many, and it stays so.
// Or takes a count that came meanwhile; whether it did.
bool SharedCount::Register() noexcept {
    std::uint32_t word = m_word.load(std::memory_order_relaxed);
    for (;;) {
        const bool takes = CountIn(word) != 0;
        const std::uint32_t change = takes                            ? 0 - kOne
                                     : WaitersIn(word) < kMostWaiters ? kWaiter
                                                                      : 0;
        if (m_word.compare_exchange_weak(word, word + change, std::memory_order_acquire,
                                         std::memory_order_relaxed)) {
            return takes;
        }
    }
}

SharedSemaphore::~SharedSemaphore() {
    if (m_count == nullptr) return;
    munmap(m_count, sizeof *m_count);
    KeepFromChildren(m_descriptor.Get());
    m_descriptor.Close();
    LeaveSharedObject(m_file);
}

NativeError SharedSemaphore::Open(std::string_view name, std::uint32_t count) {
    SharedObject object;
    NativeError error = OpenSharedObject({.kind = SharedKind::semaphore,
                                          .name = name,
                                          .create = true,
                                          .size = sizeof(SharedCount),
                                          .firstWord = SharedCount::WordOf(count)},
                                         &object);
    if (error != kSuccess) return error;
    void* const data =
        object.size == sizeof(SharedCount) ? MapSharedData(object, true, &error) : nullptr;
    if (data == nullptr) {
        object.descriptor.Close();
        LeaveSharedObject(object.file);
        return error != kSuccess ? error : kInvalidHandle;
    }
    m_count = static_cast<SharedCount*>(data);
    m_file = object.file;
    m_descriptor = std::move(object.descriptor);
    ShareWithChildren(m_descriptor.Get());
    return kSuccess;
}

}  // namespace kx::platform
