#include "platform/clock.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

using namespace kx::platform;

TEST(FloorClock, TheZoneIsTheSystems) {
    TIME_ZONE_INFORMATION system{};
    const DWORD state = GetTimeZoneInformation(&system);
    Zone zone{};
    ASSERT_EQ(kSuccess, QueryZone(&zone));
    EXPECT_EQ(state, static_cast<DWORD>(zone.state));
    EXPECT_EQ(system.Bias, zone.bias);
    EXPECT_EQ(system.StandardBias, zone.standardBias);
    EXPECT_EQ(system.DaylightBias, zone.daylightBias);
    const auto text = [](const char16_t* name) { return reinterpret_cast<const wchar_t*>(name); };
    EXPECT_STREQ(system.StandardName, text(zone.standardName));
    EXPECT_STREQ(system.DaylightName, text(zone.daylightName));
}

TEST(FloorClock, ThePreciseClockIsTheSystems) {
    FILETIME before{};
    FILETIME after{};
    GetSystemTimeAsFileTime(&before);
    const std::uint64_t now = PreciseSystemClock()();
    GetSystemTimeAsFileTime(&after);
    const auto units = [](const FILETIME& time) {
        return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
    };
    constexpr std::uint64_t kCoarse = 160'000;  // 16 ms
    EXPECT_LE(units(before), now);
    EXPECT_LE(now, units(after) + kCoarse);
}

TEST(FloorClock, AFilesTimeBecomesLocalByTheBiasInForceNow) {
    Zone zone{};
    ASSERT_EQ(kSuccess, QueryZone(&zone));
    const std::int32_t seasons =
        zone.state == ZoneState::daylight ? zone.daylightBias : zone.standardBias;
    const std::int64_t bias = std::int64_t{zone.bias + seasons} * 60 * 10'000'000;
    // 1972-07-01, 2001-01-01, 2001-07-01, each at noon, and a last one with a fraction.
    for (const std::int64_t utc : {117'224'928'000'000'000, 126'228'240'000'000'000,
                                   126'384'624'000'000'000, 126'384'624'001'234'567}) {
        const std::int64_t local = utc - bias;
        const FILETIME moment{static_cast<DWORD>(local), static_cast<DWORD>(local >> 32)};
        SYSTEMTIME expected{};
        ASSERT_NE(0, FileTimeToSystemTime(&moment, &expected));
        KXTimeRecord record{};
        ASSERT_TRUE(LocalTimeFromFileTime(static_cast<std::uint64_t>(utc), &record));
        EXPECT_EQ(expected.wYear, record.year);
        EXPECT_EQ(expected.wMonth, record.month);
        EXPECT_EQ(expected.wDay, record.dayOfMonth);
        EXPECT_EQ(expected.wHour, record.hour);
        EXPECT_EQ(expected.wMinute, record.minute);
        EXPECT_EQ(expected.wMilliseconds, record.milliseconds);
    }
}

TEST(FloorClock, ATimePastTheSystemsCalendarHasNoLocalTime) {
    KXTimeRecord record{};
    EXPECT_FALSE(LocalTimeFromFileTime(std::uint64_t{3} << 62, &record));
}
