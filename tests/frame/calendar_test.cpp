#include <kxcore7/calendar.h>
#include <kxcore7/current.h>

#include <cstddef>
#include <ctime>
#include <string>
#include <tuple>

#include "support/environment.h"
#include "support/results.h"

using kx::test::ScopedEnvironment;

namespace {

auto Fields(const KXTimeRecord& time) {
    return std::tuple(time.year, time.month, time.dayOfWeek, time.dayOfMonth, time.hour,
                      time.minute, time.second, time.milliseconds);
}

// The records are laid out as the native ones, without gaps.
static_assert(sizeof(KXTimeRecord) == 16 && offsetof(KXTimeRecord, milliseconds) == 14);
static_assert(sizeof(KXTimeOfDay) == 16 && offsetof(KXTimeOfDay, nanoseconds) == 8);
static_assert(offsetof(KXTimeZoneInfo, daylight) == 4);
static_assert(offsetof(KXTimeZoneInfo, standardName) == 6);
static_assert(offsetof(KXTimeZoneInfo, daylightName) == 70);

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

TEST(Calendar, FromPosixIsLocal) {
    const ScopedEnvironment zone("TZ", "EST5");
    KXTimeRecord time{};
    EXPECT_RESULT(KX_S_OK, KXTimeFromPosix(0, &time));
    EXPECT_EQ(Fields({1969, 12, 3, 31, 19, 0, 0, 0}), Fields(time));
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

TEST(Calendar, LocalAndSystemTimeDifferByTheZone) {
    const ScopedEnvironment variable("TZ", "XYZ-3");
    KXTimeZoneInfo zone{};
    EXPECT_RESULT(KX_S_OK, KXTimeGetZone(&zone));
    EXPECT_EQ(-3 * 3600, zone.offset);
    EXPECT_EQ(0, zone.daylight);
    EXPECT_EQ(std::u16string(u"XYZ"), zone.standardName);
    KXTimeRecord local{};
    KXTimeRecord utc{};
    do {  // again if an hour began in between
        KXTimeGetSystem(&utc);
        KXTimeGetLocal(&local);
    } while (utc.minute > local.minute);
    EXPECT_EQ((utc.hour + 3) % 24, local.hour);
    EXPECT_GE(local.year, 2024);
}

// Two rules that put one and the same moment, now, into either state.
TEST(Calendar, ZoneKnowsDaylightTimeAndBothNames) {
    const std::time_t now = std::time(nullptr);
    std::tm today{};
    gmtime_r(&now, &today);
    const int day = today.tm_yday;
    const auto rule = [&](int start, int end) {
        return "STD5DST4,J" + std::to_string((day + start + 364) % 365 + 1) + "/12,J" +
               std::to_string((day + end + 364) % 365 + 1) + "/12";
    };
    KXTimeZoneInfo zone{};
    {
        const ScopedEnvironment variable("TZ", rule(-30, 60));
        EXPECT_RESULT(KX_S_OK, KXTimeGetZone(&zone));
        EXPECT_EQ(1, zone.daylight);
        EXPECT_EQ(4 * 3600, zone.offset);
        EXPECT_EQ(std::u16string(u"STD"), zone.standardName);
        EXPECT_EQ(std::u16string(u"DST"), zone.daylightName);
    }
    {
        const ScopedEnvironment variable("TZ", rule(60, 120));
        EXPECT_RESULT(KX_S_OK, KXTimeGetZone(&zone));
        EXPECT_EQ(0, zone.daylight);
        EXPECT_EQ(5 * 3600, zone.offset);
        EXPECT_EQ(std::u16string(u"STD"), zone.standardName);
        EXPECT_EQ(std::u16string(u"DST"), zone.daylightName);
    }
}

TEST(Calendar, AZoneThatChangesIsFollowedAtOnce) {
    KXTimeRecord first{};
    KXTimeRecord second{};
    {
        const ScopedEnvironment zone("TZ", "XYZ-3");
        EXPECT_RESULT(KX_S_OK, KXTimeFromPosix(0, &first));
    }
    {
        const ScopedEnvironment zone("TZ", "XYZ-9");
        EXPECT_RESULT(KX_S_OK, KXTimeFromPosix(0, &second));
    }
    EXPECT_EQ(3, first.hour);
    EXPECT_EQ(9, second.hour);
    do {  // again if an hour began in between
        {
            const ScopedEnvironment zone("TZ", "XYZ-3");
            KXTimeGetLocal(&first);
        }
        const ScopedEnvironment zone("TZ", "XYZ-9");
        KXTimeGetLocal(&second);
    } while (first.minute > second.minute);
    EXPECT_EQ((first.hour + 6) % 24, second.hour);
}

TEST(Calendar, ZoneKnowsDaylightTimeThatIsMonthsAhead) {
    const std::time_t now = std::time(nullptr);
    std::tm today{};
    gmtime_r(&now, &today);
    const auto day = [&](int ahead) {
        return std::to_string((today.tm_yday + ahead + 364) % 365 + 1);
    };
    const ScopedEnvironment variable("TZ", "STD5DST4,J" + day(200) + "/12,J" + day(300) + "/12");
    KXTimeZoneInfo zone{};
    EXPECT_RESULT(KX_S_OK, KXTimeGetZone(&zone));
    EXPECT_EQ(0, zone.daylight);
    EXPECT_EQ(std::u16string(u"DST"), zone.daylightName);
}

TEST(Calendar, ZoneNamesAreKeptUpTo31Units) {
    KXTimeZoneInfo zone{};
    {
        const ScopedEnvironment variable("TZ", "<LONGNAME+03>-3");
        EXPECT_RESULT(KX_S_OK, KXTimeGetZone(&zone));
        EXPECT_EQ(std::u16string(u"LONGNAME+03"), zone.standardName);
    }
    const ScopedEnvironment variable("TZ", std::string(40, 'A') + "-3");
    EXPECT_RESULT(KX_S_OK, KXTimeGetZone(&zone));
    EXPECT_EQ(std::u16string(31, u'A'), zone.standardName);
}

TEST(Calendar, MillisecondsAreThoseOfTheClock) {
    for (int checked = 0; checked < 5; ++checked) {
        std::timespec before{};
        std::timespec after{};
        KXTimeRecord time{};
        do {  // again if a second began in between
            std::timespec_get(&before, TIME_UTC);
            KXTimeGetSystem(&time);
            std::timespec_get(&after, TIME_UTC);
        } while (before.tv_sec != after.tv_sec);
        EXPECT_LE(before.tv_nsec / 1'000'000, time.milliseconds);
        EXPECT_GE(after.tv_nsec / 1'000'000, time.milliseconds);
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
