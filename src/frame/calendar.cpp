#include <kxcore7/calendar.h>
#include <kxcore7/result.h>

#include <algorithm>
#include <ctime>

#include "frame/global_data.h"
#include "platform/clock.h"

using namespace kx;

namespace {

// 1970-01-01 00:00:00 UTC in units of 100 ns since 1601-01-01 00:00:00 UTC.
constexpr uint64_t kPosixEpoch = 0x019DB1DED53E8000u;
constexpr uint64_t kNanosecondsPerUnit = 100;
constexpr uint64_t kNanosecondsPerSecond = 1'000'000'000;

// The tm fields are signed; a record keeps their low 16 bits.
uint16_t Low16(int field) {
    return static_cast<uint16_t>(static_cast<unsigned>(field));
}

int32_t BiasInForce(const platform::Zone& zone) {
    switch (zone.state) {
        case platform::ZoneState::daylight:
            return zone.bias + zone.daylightBias;
        case platform::ZoneState::standard:
            return zone.bias + zone.standardBias;
        case platform::ZoneState::unknown:
            break;
    }
    return zone.bias;
}

// The record is zero, so 31 units leave a terminator.
void CopyZoneName(char16_t (&out)[32], const char16_t (&name)[32]) {
    const auto end = std::find(name, name + 31, u'\0');
    std::copy(name, end, out);
}

}  // namespace

KXResult KXTimeGetLocal(KXTimeRecord* out) {
    platform::LocalTime(out);
    return KX_S_OK;
}

KXResult KXTimeGetSystem(KXTimeRecord* out) {
    platform::SystemTime(out);
    return KX_S_OK;
}

KXResult KXTimeGetPreciseTimestamp(uint64_t* out) {
    const uint64_t now = core::g_data.preciseClock();
    *out = now > kPosixEpoch ? (now - kPosixEpoch) * kNanosecondsPerUnit : 1;
    return KX_S_OK;
}

KXResult KXTimeGetTimeOfDay(KXTimeOfDay* out) {
    uint64_t timestamp = 0;
    const KXResult result = KXTimeGetPreciseTimestamp(&timestamp);
    out->seconds = timestamp / kNanosecondsPerSecond;
    out->nanoseconds = timestamp % kNanosecondsPerSecond;
    return result;
}

KXResult KXTimeGetZone(KXTimeZoneInfo* out) {
    *out = KXTimeZoneInfo{};
    platform::Zone zone{};
    if (const platform::NativeError error = platform::QueryZone(&zone); error != 0) {
        return KXResultFromNative(error);
    }
    out->offset = BiasInForce(zone) * 60;
    out->daylight = zone.state == platform::ZoneState::daylight ? 1 : 0;
    CopyZoneName(out->standardName, zone.standardName);
    CopyZoneName(out->daylightName, zone.daylightName);
    return KX_S_OK;
}

KXResult KXTimeToTM(const KXTimeRecord* time, struct tm* out) {
    KXTimeZoneInfo zone;
    out->tm_sec = time->second;
    out->tm_min = time->minute;
    out->tm_hour = time->hour;
    out->tm_mday = time->dayOfMonth;
    out->tm_wday = time->dayOfWeek;
    out->tm_isdst = KXTimeGetZone(&zone) == KX_S_OK ? zone.daylight : 0;
    out->tm_mon = time->month - 1;
    out->tm_year = time->year - 1900;
    return KX_S_OK;
}

KXResult KXTimeFromTM(const struct tm* time, KXTimeRecord* out) {
    *out = KXTimeRecord{};
    out->second = Low16(time->tm_sec);
    out->minute = Low16(time->tm_min);
    out->hour = Low16(time->tm_hour);
    out->dayOfMonth = Low16(time->tm_mday);
    out->dayOfWeek = Low16(time->tm_wday);
    out->month = static_cast<uint16_t>(Low16(time->tm_mon) + 1u);
    out->year = static_cast<uint16_t>(Low16(time->tm_year) + 1900u);
    return KX_S_OK;
}

KXResult KXTimeToPosix(const KXTimeRecord* time, int32_t* out) {
    std::tm local{};
    KXTimeToTM(time, &local);
    *out = platform::PosixFromLocalTime(&local);
    return *out == -1 ? KX_E_FAIL : KX_S_OK;
}

KXResult KXTimeFromPosix(int32_t seconds, KXTimeRecord* out) {
    *out = KXTimeRecord{};
    std::tm local{};
    if (!platform::LocalTimeFromPosix(seconds, &local)) return KX_E_FAIL;
    return KXTimeFromTM(&local, out);
}
