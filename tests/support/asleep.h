// Knowing that a thread waits.
#ifndef KXCORE7_TESTS_SUPPORT_ASLEEP_H
#define KXCORE7_TESTS_SUPPORT_ASLEEP_H

#include <cstdint>

namespace kx::test {

// The system's id of the calling thread.
std::uint32_t ThisThread();

// Returns when a thread of this process, by its id, sleeps in one of the library's waits.
void WaitUntilAsleep(std::uint32_t thread);

}  // namespace kx::test

#endif
