// Clocks and the time zone.
#ifndef KXCORE7_SRC_PLATFORM_CLOCK_H
#define KXCORE7_SRC_PLATFORM_CLOCK_H

#include <kxcore7/calendar.h>

#include <cstdint>
#include <ctime>

#include "platform/error.h"

namespace kx::platform {

// The performance counter and its ticks a second; false where there is none.
bool PerformanceCounter(std::int64_t* ticks) noexcept;
bool PerformanceFrequency(std::int64_t* ticksPerSecond) noexcept;

// Milliseconds since the system started, modulo 2^32.
std::uint32_t TickCount() noexcept;

// The system time in units of 100 ns since 1601-01-01 00:00:00 UTC.
using SystemClock = std::uint64_t (*)();

// The most precise system clock that this system has. Never null.
SystemClock PreciseSystemClock() noexcept;

// The time now, in local time and in UTC.
void LocalTime(KXTimeRecord* out) noexcept;
void SystemTime(KXTimeRecord* out) noexcept;

// The local time of units of 100 ns since 1601-01-01 00:00:00 UTC, by the bias in force now
// whatever that moment's was; false where a record can't hold it.
bool LocalTimeFromFileTime(std::uint64_t fileTime, KXTimeRecord* out) noexcept;

enum class ZoneState : std::uint32_t { unknown = 0, standard = 1, daylight = 2 };

struct Zone {
    ZoneState state;            // now; unknown where the zone knows no daylight time
    std::int32_t bias;          // minutes to add to local time to get UTC
    std::int32_t standardBias;  // minutes to add to bias in standard time
    std::int32_t daylightBias;  // minutes to add to bias in daylight time
    char16_t standardName[32];  // terminated, cut at 31 units
    char16_t daylightName[32];
};

NativeError QueryZone(Zone* out) noexcept;

// The local time of 32-bit POSIX seconds; false for negative seconds. Thread-safe.
bool LocalTimeFromPosix(std::int32_t seconds, std::tm* out) noexcept;

// The 32-bit POSIX seconds of a local time, -1 where they would be negative or past 2^31 - 1.
// Normalises the fields of *time. Thread-safe.
std::int32_t PosixFromLocalTime(std::tm* time) noexcept;

}  // namespace kx::platform

#endif
