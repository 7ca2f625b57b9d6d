#include <kxcore7/calendar.h>
#include <kxcore7/current.h>

#include <ctime>
#include <string>
#include <tuple>

#include "support/environment.h"
#include "support/results.h"
#include "support/wine.h"

using kx::test::ScopedEnvironment;

namespace {

auto Fields(const KXTimeRecord& time) {
    return std::tuple(time.year, time.month, time.dayOfWeek, time.dayOfMonth, time.hour,
                      time.minute, time.second, time.milliseconds);
}

}  // namespace

TEST(Calendar, FromTMAfterToTMGivesTheRecordBack) {
    const KXTimeRecord time{2015, 12, 4, 31, 23, 58, 59, 123};
    std::tm fields{};
    KXTimeRecord back{};
    EXPECT_RESULT(KX_S_OK, KXTimeToTM(&time, &fields));
    EXPECT_EQ(11, fields.tm_mon);
    EXPECT_EQ(115, fields.tm_year);
    EXPECT_RESULT(KX_S_OK, KXTimeFromTM(&fields, &back));
    KXTimeRecord expected = time;
    expected.milliseconds = 0;
    EXPECT_EQ(Fields(expected), Fields(back));
}

TEST(Calendar, ToTMLeavesTheDayOfTheYear) {
    const KXTimeRecord time{2015, 12, 4, 31, 23, 58, 59, 123};
    std::tm fields{};
    fields.tm_yday = 77;
    KXTimeToTM(&time, &fields);
    EXPECT_EQ(77, fields.tm_yday);
}

TEST(Calendar, ToTMDoesNotCheckRanges) {
    const KXTimeRecord time{};
    std::tm fields{};
    KXTimeToTM(&time, &fields);
    EXPECT_EQ(-1, fields.tm_mon);
    EXPECT_EQ(-1900, fields.tm_year);
}

TEST(Calendar, FromTMKeepsTheLow16Bits) {
    std::tm fields{};
    fields.tm_sec = 0x12345;
    fields.tm_mon = -1;
    fields.tm_year = 65536;
    KXTimeRecord time{};
    KXTimeFromTM(&fields, &time);
    EXPECT_EQ(0x2345, time.second);
    EXPECT_EQ(0, time.month);
    EXPECT_EQ(1900, time.year);
}

TEST(Calendar, PosixTimesAreLocal) {
    const ScopedEnvironment zone("TZ", "EST5");
    KXTimeRecord time{};
    EXPECT_RESULT(KX_S_OK, KXTimeFromPosix(0, &time));
    EXPECT_EQ(Fields({1969, 12, 3, 31, 19, 0, 0, 0}), Fields(time));
    EXPECT_RESULT(KX_S_OK, KXTimeFromPosix(86'400, &time));
    EXPECT_EQ(Fields({1970, 1, 4, 1, 19, 0, 0, 0}), Fields(time));
    int32_t seconds = -2;
    EXPECT_RESULT(KX_S_OK, KXTimeToPosix(&time, &seconds));
    EXPECT_EQ(86'400, seconds);
}

TEST(Calendar, TheEpochMayLieInTheYearBefore) {
    SKIP_UNDER_WINE("its runtime refuses every local time before 1970");
    const ScopedEnvironment zone("TZ", "EST5");
    const KXTimeRecord time{1969, 12, 3, 31, 19, 0, 0, 0};
    int32_t seconds = -2;
    EXPECT_RESULT(KX_S_OK, KXTimeToPosix(&time, &seconds));
    EXPECT_EQ(0, seconds);
}

TEST(Calendar, PosixTimesEndWith32Bits) {
    const ScopedEnvironment zone("TZ", "UTC0");
    KXTimeRecord time{};
    EXPECT_RESULT(KX_S_OK, KXTimeFromPosix(INT32_MAX, &time));
    EXPECT_EQ(Fields({2038, 1, 2, 19, 3, 14, 7, 0}), Fields(time));
    int32_t seconds = 0;
    EXPECT_RESULT(KX_S_OK, KXTimeToPosix(&time, &seconds));
    EXPECT_EQ(INT32_MAX, seconds);
    time.second = 8;
    EXPECT_RESULT(KX_E_FAIL, KXTimeToPosix(&time, &seconds));
    EXPECT_EQ(-1, seconds);
}

TEST(Calendar, PosixTimesBeginWithTheEpoch) {
    const ScopedEnvironment zone("TZ", "UTC0");
    const KXTimeRecord before{1969, 12, 3, 31, 23, 59, 58, 0};
    int32_t seconds = 0;
    EXPECT_RESULT(KX_E_FAIL, KXTimeToPosix(&before, &seconds));
    EXPECT_EQ(-1, seconds);
    KXTimeRecord time{9, 9, 9, 9, 9, 9, 9, 9};
    EXPECT_RESULT(KX_E_FAIL, KXTimeFromPosix(-1, &time));
    EXPECT_EQ(Fields({}), Fields(time));
}

namespace {

// Minutes since some midnight.
int MinuteOfDay(const KXTimeRecord& time) {
    return time.hour * 60 + time.minute;
}

}  // namespace

TEST(Calendar, LocalAndSystemTimeDifferByTheZonesOffset) {
    KXTimeZoneInfo zone{};
    ASSERT_RESULT(KX_S_OK, KXTimeGetZone(&zone));
    EXPECT_NE(u'\0', zone.standardName[0]);
    KXTimeRecord local{};
    KXTimeRecord utc{};
    KXTimeRecord again{};
    do {  // again if a minute began in between
        KXTimeGetSystem(&utc);
        KXTimeGetLocal(&local);
        KXTimeGetSystem(&again);
    } while (utc.minute != again.minute);
    constexpr int kDay = 24 * 60;
    EXPECT_EQ((MinuteOfDay(utc) - zone.offset / 60 + 2 * kDay) % kDay, MinuteOfDay(local));
    EXPECT_GE(local.year, 2024);
}

// A system's clock for records may be coarser than its precise one.
TEST(Calendar, MillisecondsAreThoseOfTheClock) {
    constexpr uint64_t kCoarse = 16;
    for (int checked = 0; checked < 5; ++checked) {
        uint64_t before = 0;
        uint64_t after = 0;
        KXTimeRecord time{};
        do {  // again if a second began in between
            KXTimeGetPreciseTimestamp(&before);
            KXTimeGetSystem(&time);
            KXTimeGetPreciseTimestamp(&after);
        } while (before / 1'000'000'000 != after / 1'000'000'000 ||
                 before / 1'000'000 % 1000 < kCoarse);
        EXPECT_LE(before / 1'000'000 % 1000, time.milliseconds + kCoarse);
        EXPECT_GE(after / 1'000'000 % 1000, time.milliseconds);
        KXSleep(37);
    }
}

TEST(Calendar, TimestampAndTimeOfDayAreNow) {
    uint64_t timestamp = 0;
    KXTimeOfDay time{};
    EXPECT_RESULT(KX_S_OK, KXTimeGetPreciseTimestamp(&timestamp));
    EXPECT_RESULT(KX_S_OK, KXTimeGetTimeOfDay(&time));
    EXPECT_NEAR(static_cast<double>(std::time(nullptr)), static_cast<double>(time.seconds), 60);
    EXPECT_GE(time.seconds, timestamp / 1'000'000'000);
    EXPECT_LT(time.nanoseconds, 1'000'000'000u);
    EXPECT_EQ(0u, timestamp % 100) << "the clock counts units of 100 ns";
}
