#include "support/fake_clock.h"

namespace kx::test {

FakeClock g_clock;

}  // namespace kx::test

namespace kx::platform {

using test::g_clock;

bool PerformanceCounter(std::int64_t* ticks) noexcept {
    if (!g_clock.hasPerformanceCounter) return false;
    *ticks = g_clock.performanceCounter += g_clock.performanceStep;
    return true;
}

bool PerformanceFrequency(std::int64_t* ticksPerSecond) noexcept {
    if (g_clock.hasPerformanceCounter) *ticksPerSecond = g_clock.performanceFrequency;
    return g_clock.hasPerformanceCounter;
}

std::uint32_t TickCount() noexcept {
    return g_clock.tickCount;
}

SystemClock PreciseSystemClock() noexcept {
    return [] { return g_clock.systemTime; };
}

void LocalTime(KXTimeRecord* out) noexcept {
    *out = g_clock.localTime;
    g_clock.localTime.second = static_cast<std::uint16_t>(out->second + g_clock.localStep);
}

void SystemTime(KXTimeRecord* out) noexcept {
    *out = g_clock.utcTime;
}

NativeError QueryZone(Zone* out) noexcept {
    if (g_clock.zoneError == 0) *out = g_clock.zone;
    return g_clock.zoneError;
}

bool LocalTimeFromPosix(std::int32_t, std::tm* out) noexcept {
    if (!g_clock.localTimeFails) *out = g_clock.brokenDown;
    return !g_clock.localTimeFails;
}

std::int32_t PosixFromLocalTime(std::tm* time) noexcept {
    g_clock.asked = *time;
    return g_clock.posixTime;
}

}  // namespace kx::platform
