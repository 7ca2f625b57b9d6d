// The zone follows the variable TZ.
#include <kxcore7/calendar.h>

#include <ctime>
#include <string>

#include "support/environment.h"
#include "support/results.h"

using kx::test::ScopedEnvironment;

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
