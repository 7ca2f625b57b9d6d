// What threads wait for, beside locks: events, semaphores, conditions; of these, semaphores can be
// shared with other processes.
//
// No system call is made while nobody waits. Destroying an object on which a thread waits is the
// caller's fault; one that only just let a thread through may be destroyed by that thread.
#ifndef KXCORE7_SRC_PLATFORM_WAITABLES_H
#define KXCORE7_SRC_PLATFORM_WAITABLES_H

#include <cstddef>
#include <cstdint>

#include "platform/error.h"
#include "platform/locks.h"

namespace kx::platform {

// In milliseconds, measured on a clock that nobody sets.
inline constexpr std::uint32_t kNoLimit = ~std::uint32_t{0};

// What waits answer when the limit ran out first.
inline constexpr NativeError kWaitTimedOut = 258;
inline constexpr NativeError kConditionTimedOut = 1460;

inline constexpr NativeError kTooManyPosts = 298;

// Set or not. One that resets itself lets exactly one thread through each time that it is set, the
// one that waited longest, and keeps being set for the next one while nobody waits. The other kind
// lets everyone through until it is reset, and those who wait at that moment even if that is at
// once.
class Event final {
  public:
    Event() noexcept;
    ~Event();  // NOLINT(performance-trivially-destructible): on one system of several
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    // Makes it, not set. Once, before anything else.
    NativeError Create(bool manualReset) noexcept;

    NativeError Set() noexcept;
    NativeError Reset() noexcept;
    NativeError Wait(std::uint32_t milliseconds) noexcept;

  private:
    alignas(8) std::byte storage_[48];
};

// A count of 0 to a ceiling, of one process or of all that know its name. Of one process, who
// waited longest is let through first.
class Semaphore final {
  public:
    Semaphore() noexcept;
    ~Semaphore();  // NOLINT(performance-trivially-destructible): on one system of several
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    // Makes it. Once, before anything else. kInvalidParameter for a count above the ceiling.
    NativeError Create(std::uint32_t count, std::uint32_t ceiling) noexcept;

    // The same, or opens the one that has the name, whose count then stays as it is; child
    // processes can inherit it, and authenticated users have all rights to it. It lives as long as
    // somebody has it, however that process ends. kInvalidHandle for a name that belongs to an
    // object of another kind.
    NativeError CreateShared(const char* name, std::uint32_t count, std::uint32_t ceiling);

    // kTooManyPosts at the ceiling.
    NativeError Post() noexcept;
    NativeError Wait(std::uint32_t milliseconds) noexcept;

  private:
    alignas(8) std::byte storage_[48];
};

// Threads that wait for each other's word while they share a lock. Waits may end for no reason.
class Condition final {
  public:
    Condition() noexcept;
    ~Condition();  // NOLINT(performance-trivially-destructible): on one system of several
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;

    // Gives the lock up for the time of the wait: one hold, which is the only one.
    NativeError Wait(CriticalSection& lock, std::uint32_t milliseconds) noexcept;
    // Let one thread, or all, through, of those that wait already.
    void WakeOne() noexcept;
    void WakeAll() noexcept;

  private:
    alignas(8) std::byte storage_[48];
};

}  // namespace kx::platform

#endif
