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
