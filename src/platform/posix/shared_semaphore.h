// A count that processes share under a name.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_SHARED_SEMAPHORE_H
#define KXCORE7_SRC_PLATFORM_POSIX_SHARED_SEMAPHORE_H

#include <atomic>
#include <cstdint>
#include <string_view>
#include <utility>

#include "platform/error.h"
#include "platform/posix/futex.h"
#include "platform/posix/shared_object.h"
#include "platform/waitables.h"

namespace kx::platform {

// The count in the memory that processes share: one word, so that a process that is killed between
// any two instructions leaves it whole.
//
//   bits    0..5       6..20    21..31
//           promises   count    waiters
//
// Who waits registers first, and then sleeps while the word is what it was; nobody goes to sleep
// beside a count. The post that ends a count of 0 with waiters adds to the word and wakes them all
// in one step of the kernel's: all, since one that is woken and killed would leave the others
// asleep beside the count. Any other post finds nobody asleep. The kernel adds whatever the word is
// by then, so such a post announces itself first, and room is kept for it beneath the ceiling.
//
// What a killed process leaves: as a waiter one waiter too many, for whom posts make a system call
// in vain now and then; as a poster at most one promise, which lowers the ceiling by one.
class SharedCount final {
  public:
    static constexpr std::uint32_t kCeiling = 0x7FFF;

    static constexpr std::uint32_t WordOf(std::uint32_t count) noexcept { return count * kOne; }

    // kTooManyPosts at the ceiling.
    NativeError Post() noexcept {
        std::uint32_t word = m_word.load(std::memory_order_relaxed);
        for (;;) {
            if (CountIn(word) + PromisesIn(word) >= kCeiling) return kTooManyPosts;
            if (CountIn(word) == 0 && WaitersIn(word) != 0) return PostAndWake();
            if (m_word.compare_exchange_weak(word, word + kOne, std::memory_order_release,
                                             std::memory_order_relaxed)) {
                return kSuccess;
            }
        }
    }

    // Whether a count was there and is taken.
    bool TryTake() noexcept {
        std::uint32_t word = m_word.load(std::memory_order_relaxed);
        while (CountIn(word) != 0) {
            if (m_word.compare_exchange_weak(word, word - kOne, std::memory_order_acquire,
                                             std::memory_order_relaxed)) {
                return true;
            }
        }
        return false;
    }

    NativeError Wait(std::uint32_t milliseconds) noexcept;

  private:
    static constexpr std::uint32_t kPromise = 1;
    static constexpr std::uint32_t kMostPromises = 0x3F;
    static constexpr std::uint32_t kOne = kMostPromises + 1;
    static constexpr std::uint32_t kWaiter = kOne * (kCeiling + 1);
    static constexpr std::uint32_t kMostWaiters = ~std::uint32_t{0} / kWaiter;

    static constexpr std::uint32_t PromisesIn(std::uint32_t word) noexcept { return word % kOne; }
    static constexpr std::uint32_t CountIn(std::uint32_t word) noexcept {
        return word / kOne % (kCeiling + 1);
    }
    static constexpr std::uint32_t WaitersIn(std::uint32_t word) noexcept { return word / kWaiter; }
    NativeError PostAndWake() noexcept;
    NativeError WaitAsleep(Deadline deadline) noexcept;
    bool Register() noexcept;
    static constexpr std::uint32_t Unregistered(std::uint32_t word) noexcept {
        return WaitersIn(word) < kMostWaiters ? word - kWaiter : word;
    }

    std::atomic<std::uint32_t> m_word;
};

// Holds a named one, or none. What is mapped would hold it alone; the descriptor is there for
// children to hold it, too.
class SharedSemaphore final {
  public:
    SharedSemaphore() = default;
    SharedSemaphore(SharedSemaphore&& other) noexcept
        : m_count(std::exchange(other.m_count, nullptr)),
          m_file(other.m_file),
          m_descriptor(std::move(other.m_descriptor)) {}
    ~SharedSemaphore();
    SharedSemaphore(const SharedSemaphore&) = delete;
    SharedSemaphore& operator=(const SharedSemaphore&) = delete;

    // Makes it with that count, or opens it. Once. kInvalidHandle for a name that belongs to
    // something else.
    NativeError Open(std::string_view name, std::uint32_t count);

    SharedCount& Count() noexcept { return *m_count; }

  private:
    SharedCount* m_count = nullptr;
    SharedFile m_file;
    Descriptor m_descriptor;
};

}  // namespace kx::platform

#endif
