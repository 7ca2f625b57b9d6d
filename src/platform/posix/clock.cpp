#include "platform/clock.h"

#include <time.h>

#include <algorithm>
#include <cstring>

#include "platform/locale.h"

namespace kx::platform {
namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
// 1601-01-01 to 1970-01-01, in units of 100 ns.
constexpr std::int64_t kPosixEpoch = 116'444'736'000'000'000;
constexpr std::int64_t kUnitsPerSecond = 10'000'000;

std::int64_t Nanoseconds(clockid_t clock) noexcept {
    timespec now{};
    clock_gettime(clock, &now);
    return now.tv_sec * kNanosecondsPerSecond + now.tv_nsec;
}

std::uint64_t RealTime() {
    const std::int64_t units = Nanoseconds(CLOCK_REALTIME) / 100 + kPosixEpoch;
    return static_cast<std::uint64_t>(std::max<std::int64_t>(units, 0));
}

KXTimeRecord RecordOf(const tm& fields, long nanoseconds) noexcept {
    const auto field = [](long value) { return static_cast<std::uint16_t>(value); };
    return {field(fields.tm_year + 1900), field(fields.tm_mon + 1), field(fields.tm_wday),
            field(fields.tm_mday), field(fields.tm_hour), field(fields.tm_min),
            // A leap second has no place in a record.
            field(std::min(fields.tm_sec, 59)), field(nanoseconds / 1'000'000)};
}

using BreakDown = tm* (*)(const time_t*, tm*);

void Now(BreakDown breakDown, KXTimeRecord* out) noexcept {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm fields{};
    breakDown(&now.tv_sec, &fields);
    *out = RecordOf(fields, now.tv_nsec);
}

std::int32_t MinutesWest(const tm& local) {
    return static_cast<std::int32_t>(-local.tm_gmtoff / 60);
}

void CopyName(char16_t (&out)[32], const char* name) {
    std::fill(out, out + 32, u'\0');
    char16_t wide[32];
    const std::size_t length = NarrowToWide(wide, name, 31);
    if (length != kConversionFailed) std::copy(wide, wide + length, out);
}

// The zone at some moment around now in the other state, if there is one: months of the year ahead
// are asked, since a state lasts for at least one.
bool FindOtherState(time_t now, int isDaylight, tm* out) {
    constexpr time_t kWeek = 7L * 24 * 60 * 60;
    for (int week = 2; week <= 54; week += 2) {
        const time_t moment = now + week * kWeek;
        if (localtime_r(&moment, out) != nullptr && (out->tm_isdst > 0) != (isDaylight != 0)) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool PerformanceCounter(std::int64_t* ticks) noexcept {
    timespec now;
    if (clock_gettime(CLOCK_MONOTONIC, &now) != 0) return false;
    *ticks = now.tv_sec * kNanosecondsPerSecond + now.tv_nsec;
    return true;
}

bool PerformanceFrequency(std::int64_t* ticksPerSecond) noexcept {
    *ticksPerSecond = kNanosecondsPerSecond;
    return true;
}

// CLOCK_BOOTTIME counts while the machine sleeps, as a tick count since the start should.
std::uint32_t TickCount() noexcept {
    return static_cast<std::uint32_t>(Nanoseconds(CLOCK_BOOTTIME) / 1'000'000);
}

SystemClock PreciseSystemClock() noexcept {
    return RealTime;
}

void LocalTime(KXTimeRecord* out) noexcept {
    tzset();
    Now(localtime_r, out);
}

void SystemTime(KXTimeRecord* out) noexcept {
    Now(gmtime_r, out);
}

bool LocalTimeFromFileTime(std::uint64_t fileTime, KXTimeRecord* out) noexcept {
    tzset();
    const time_t now = time(nullptr);
    tm fields{};
    if (fileTime > INT64_MAX || localtime_r(&now, &fields) == nullptr) return false;
    const std::int64_t local =
        static_cast<std::int64_t>(fileTime / kUnitsPerSecond) + fields.tm_gmtoff;
    const time_t moment = local - kPosixEpoch / kUnitsPerSecond;
    if (local < 0 || gmtime_r(&moment, &fields) == nullptr) return false;
    *out = RecordOf(fields, static_cast<long>(fileTime % kUnitsPerSecond) * 100);
    return true;
}

// The zone database has no biases: they are read off a moment in each state.
NativeError QueryZone(Zone* out) noexcept {
    tzset();
    const time_t now = time(nullptr);
    tm here{};
    if (localtime_r(&now, &here) == nullptr) return kGenericFailure;
    const bool daylight = here.tm_isdst > 0;
    tm other = here;
    const bool hasOther = FindOtherState(now, daylight ? 1 : 0, &other);
    const tm& inStandard = daylight ? other : here;
    const tm& inDaylight = daylight ? here : other;
    *out = {};
    out->state = daylight   ? ZoneState::daylight
                 : hasOther ? ZoneState::standard
                            : ZoneState::unknown;
    out->bias = MinutesWest(inStandard);
    out->daylightBias = MinutesWest(inDaylight) - out->bias;
    CopyName(out->standardName, inStandard.tm_zone);
    CopyName(out->daylightName, inDaylight.tm_zone);
    return kSuccess;
}

bool LocalTimeFromPosix(std::int32_t seconds, std::tm* out) noexcept {
    if (seconds < 0) return false;
    tzset();
    const time_t moment = seconds;
    return localtime_r(&moment, out) != nullptr;
}

std::int32_t PosixFromLocalTime(std::tm* time) noexcept {
    const time_t seconds = mktime(time);
    return seconds >= 0 && seconds <= INT32_MAX ? static_cast<std::int32_t>(seconds) : -1;
}

}  // namespace kx::platform
