// Calendar time over clocks and zones that the test sets.
#include <kxcore7/calendar.h>

#include <algorithm>
#include <string>

#include "frame/global_data.h"
#include "support/fake_clock.h"
#include "support/results.h"

using kx::platform::ZoneState;
using kx::test::g_clock;

namespace {

constexpr uint64_t kEpoch = 0x019DB1DED53E8000u;

class CalendarSeam : public ::testing::Test {
  protected:
    void SetUp() override {
        g_clock = {};
        kx::core::g_data.preciseClock = kx::platform::PreciseSystemClock();
    }
    void TearDown() override { kx::core::g_data.preciseClock = nullptr; }

    static uint64_t Timestamp() {
        uint64_t timestamp = 0;
        EXPECT_RESULT(KX_S_OK, KXTimeGetPreciseTimestamp(&timestamp));
        return timestamp;
    }
};

}  // namespace

TEST_F(CalendarSeam, AClockAtOrBeforeTheEpochGivesOne) {
    for (const uint64_t time : {uint64_t{0}, kEpoch - 1, kEpoch}) {
        g_clock.systemTime = time;
        EXPECT_EQ(1u, Timestamp()) << time;
    }
}

TEST_F(CalendarSeam, AClockBehindTheEpochGivesNanoseconds) {
    g_clock.systemTime = kEpoch + 1;
    EXPECT_EQ(100u, Timestamp());
    g_clock.systemTime = kEpoch + 12'345'678'901;
    EXPECT_EQ(1'234'567'890'100u, Timestamp());
}

TEST_F(CalendarSeam, TimeOfDayIsTheTimestampSplit) {
    g_clock.systemTime = kEpoch + 12'345'678'901;
    KXTimeOfDay time{};
    EXPECT_RESULT(KX_S_OK, KXTimeGetTimeOfDay(&time));
    EXPECT_EQ(1234u, time.seconds);
    EXPECT_EQ(567'890'100u, time.nanoseconds);
}

TEST_F(CalendarSeam, ZoneAddsTheBiasOfTheStateInForce) {
    g_clock.zone.bias = 300;
    g_clock.zone.standardBias = 5;
    g_clock.zone.daylightBias = -60;
    static constexpr struct {
        ZoneState state;
        int32_t offset;
        int16_t daylight;
    } kRows[] = {{ZoneState::unknown, 300 * 60, 0},
                 {ZoneState::standard, 305 * 60, 0},
                 {ZoneState::daylight, 240 * 60, 1}};
    for (const auto& row : kRows) {
        g_clock.zone.state = row.state;
        KXTimeZoneInfo zone{};
        EXPECT_RESULT(KX_S_OK, KXTimeGetZone(&zone));
        EXPECT_EQ(row.offset, zone.offset);
        EXPECT_EQ(row.daylight, zone.daylight);
    }
}

TEST_F(CalendarSeam, ZoneNamesAreCutAt31Units) {
    std::fill(std::begin(g_clock.zone.standardName), std::end(g_clock.zone.standardName), u'S');
    g_clock.zone.daylightName[0] = u'D';
    KXTimeZoneInfo zone{};
    EXPECT_RESULT(KX_S_OK, KXTimeGetZone(&zone));
    EXPECT_EQ(std::u16string(31, u'S'), zone.standardName);
    EXPECT_EQ(std::u16string(u"D"), zone.daylightName);
}

TEST_F(CalendarSeam, FailedZoneLeavesTheRecordZeroAndGivesItsCode) {
    g_clock.zoneError = 5;
    KXTimeZoneInfo zone;
    std::fill_n(reinterpret_cast<char*>(&zone), sizeof zone, '\x55');
    EXPECT_RESULT(KX_E_ACCESSDENIED, KXTimeGetZone(&zone));
    EXPECT_EQ(0, zone.offset);
    EXPECT_EQ(0, zone.daylight);
    EXPECT_EQ(std::u16string(), zone.standardName);
    EXPECT_EQ(std::u16string(), zone.daylightName);
}

TEST_F(CalendarSeam, ToTMTakesTheZonesStateNow) {
    const KXTimeRecord winter{2020, 1, 3, 15, 12, 0, 0, 0};
    g_clock.zone.state = ZoneState::daylight;
    std::tm fields{};
    EXPECT_RESULT(KX_S_OK, KXTimeToTM(&winter, &fields));
    EXPECT_EQ(1, fields.tm_isdst);
    g_clock.zoneError = 1;
    EXPECT_RESULT(KX_S_OK, KXTimeToTM(&winter, &fields));
    EXPECT_EQ(0, fields.tm_isdst) << "a zone that can't be had counts as no daylight time";
}

TEST_F(CalendarSeam, ToPosixStoresTheValueAlsoOnFailure) {
    const KXTimeRecord time{1950, 1, 0, 1, 0, 0, 0, 0};
    g_clock.posixTime = -1;
    int32_t seconds = 0;
    EXPECT_RESULT(KX_E_FAIL, KXTimeToPosix(&time, &seconds));
    EXPECT_EQ(-1, seconds);
    EXPECT_EQ(50, g_clock.asked.tm_year);
}

TEST_F(CalendarSeam, FromPosixThatFailsLeavesTheRecordZero) {
    g_clock.localTimeFails = true;
    KXTimeRecord time{1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_RESULT(KX_E_FAIL, KXTimeFromPosix(5, &time));
    EXPECT_EQ(0, time.year);
    EXPECT_EQ(0, time.milliseconds);
}

TEST_F(CalendarSeam, LocalAndSystemTimeComeFromTheirOwnClocks) {
    g_clock.localTime.hour = 3;
    g_clock.utcTime.hour = 8;
    KXTimeRecord time{};
    EXPECT_RESULT(KX_S_OK, KXTimeGetLocal(&time));
    EXPECT_EQ(3, time.hour);
    EXPECT_RESULT(KX_S_OK, KXTimeGetSystem(&time));
    EXPECT_EQ(8, time.hour);
}
