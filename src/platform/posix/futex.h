// Waiting on a word and waking those who wait; all within one process.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_FUTEX_H
#define KXCORE7_SRC_PLATFORM_POSIX_FUTEX_H

#include <atomic>
#include <cstdint>

namespace kx::platform {

// Sleeps while the word is expected; may return early for no reason.
void FutexWait(std::atomic<std::uint32_t>& word, std::uint32_t expected) noexcept;

// Wakes at most count waiters of the word. The word's storage may be gone by then: a stray wake-up
// at its address is harmless.
void FutexWake(std::atomic<std::uint32_t>* word, int count) noexcept;

}  // namespace kx::platform

#endif
