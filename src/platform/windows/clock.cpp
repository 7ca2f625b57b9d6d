#include "platform/clock.h"

#include <algorithm>
#include <cstddef>

#include "platform/windows/late_bound.h"

namespace kx::platform {
namespace {

// The record is the system's own.
static_assert(sizeof(KXTimeRecord) == sizeof(SYSTEMTIME) &&
              offsetof(KXTimeRecord, dayOfWeek) == offsetof(SYSTEMTIME, wDayOfWeek) &&
              offsetof(KXTimeRecord, dayOfMonth) == offsetof(SYSTEMTIME, wDay) &&
              offsetof(KXTimeRecord, milliseconds) == offsetof(SYSTEMTIME, wMilliseconds));

SYSTEMTIME* SystemRecord(KXTimeRecord* record) {
    return reinterpret_cast<SYSTEMTIME*>(record);
}

using FileTimeSource = void(WINAPI*)(FILETIME*);
FileTimeSource g_fileTimeSource = GetSystemTimeAsFileTime;

std::uint64_t SystemTimeNow() {
    FILETIME now{};
    g_fileTimeSource(&now);
    return std::uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime;
}

}  // namespace

bool PerformanceCounter(std::int64_t* ticks) noexcept {
    LARGE_INTEGER counter{};
    const bool good = QueryPerformanceCounter(&counter) != 0;
    if (good) *ticks = counter.QuadPart;
    return good;
}

bool PerformanceFrequency(std::int64_t* ticksPerSecond) noexcept {
    LARGE_INTEGER frequency{};
    const bool good = QueryPerformanceFrequency(&frequency) != 0;
    if (good) *ticksPerSecond = frequency.QuadPart;
    return good;
}

std::uint32_t TickCount() noexcept {
    return GetTickCount();
}

SystemClock PreciseSystemClock() noexcept {
    const auto precise =
        LateBound<FileTimeSource>("kernel32.dll", "GetSystemTimePreciseAsFileTime");
    g_fileTimeSource = precise != nullptr ? precise : GetSystemTimeAsFileTime;
    return SystemTimeNow;
}

void LocalTime(KXTimeRecord* out) noexcept {
    GetLocalTime(SystemRecord(out));
}

void SystemTime(KXTimeRecord* out) noexcept {
    GetSystemTime(SystemRecord(out));
}

bool LocalTimeFromFileTime(std::uint64_t fileTime, KXTimeRecord* out) noexcept {
    const FILETIME utc{static_cast<DWORD>(fileTime), static_cast<DWORD>(fileTime >> 32)};
    FILETIME local{};
    return FileTimeToLocalFileTime(&utc, &local) != 0 &&
           FileTimeToSystemTime(&local, SystemRecord(out)) != 0;
}

NativeError QueryZone(Zone* out) noexcept {
    TIME_ZONE_INFORMATION zone{};
    const DWORD state = GetTimeZoneInformation(&zone);
    if (state == TIME_ZONE_ID_INVALID) return GetLastError();
    *out = {};
    out->state = static_cast<ZoneState>(state);
    out->bias = zone.Bias;
    out->standardBias = zone.StandardBias;
    out->daylightBias = zone.DaylightBias;
    std::copy(zone.StandardName, zone.StandardName + 32, out->standardName);
    std::copy(zone.DaylightName, zone.DaylightName + 32, out->daylightName);
    return kSuccess;
}

// The runtime's buffer is one of the calling thread.
bool LocalTimeFromPosix(std::int32_t seconds, std::tm* out) noexcept {
    const __time32_t moment = seconds;
    const std::tm* const local = _localtime32(&moment);
    if (local != nullptr) *out = *local;
    return local != nullptr;
}

// _mktime32 by way of its wider form: the compiler's 64-bit import libraries don't have it.
std::int32_t PosixFromLocalTime(std::tm* time) noexcept {
    const __time64_t seconds = _mktime64(time);
    return seconds >= 0 && seconds <= INT32_MAX ? static_cast<std::int32_t>(seconds) : -1;
}

}  // namespace kx::platform
