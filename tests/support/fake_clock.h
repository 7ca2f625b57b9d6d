// A floor whose clocks and zone a test sets. Linked in place of the system's clock.cpp.
#ifndef KXCORE7_TESTS_SUPPORT_FAKE_CLOCK_H
#define KXCORE7_TESTS_SUPPORT_FAKE_CLOCK_H

#include <cstdint>

#include "platform/clock.h"

namespace kx::test {

struct FakeClock {
    bool hasPerformanceCounter = true;
    std::int64_t performanceCounter = 0;
    std::int64_t performanceStep = 0;  // how far each look moves the counter
    // In every test the same: locks that measure ask once a process.
    std::int64_t performanceFrequency = 1000;
    std::uint32_t tickCount = 0;
    std::uint64_t systemTime = 0;
    platform::NativeError zoneError = 0;
    platform::Zone zone{};
    KXTimeRecord localTime{};
    std::uint16_t localStep = 0;  // how many seconds each look moves it
    KXTimeRecord utcTime{};
    bool localTimeFails = false;
    std::tm brokenDown{};        // what LocalTimeFromPosix answers
    std::tm asked{};             // what PosixFromLocalTime was given
    std::int32_t posixTime = 0;  // what it answers
};

extern FakeClock g_clock;

}  // namespace kx::test

#endif
