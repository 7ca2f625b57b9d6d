#include "os/directory.h"

#include <gtest/gtest.h>
#include <kxcore7/calendar.h>

#include <random>

#include "platform/clock.h"
#include "support/environment.h"
#include "support/failing_new.h"
#include "support/results.h"

using kx::os::FileTimes;
using kx::os::SearchPattern;

namespace {

constexpr std::uint64_t kEpoch = 116'444'736'000'000'000;
constexpr std::uint64_t kSecond = 10'000'000;

// By the whole way, with nothing remembered.
std::int32_t SecondsOf(std::uint64_t fileTime) {
    KXTimeRecord local;
    if (!kx::platform::LocalTimeFromFileTime(fileTime, &local)) return 0;
    std::int32_t seconds = 77;
    KXTimeToPosix(&local, &seconds);
    return seconds;
}

}  // namespace

TEST(SearchPattern, ADirectoryIsSearchedWhole) {
    EXPECT_EQ(u"dir\\*", SearchPattern(u"dir"));
    EXPECT_EQ(u"dir\\*", SearchPattern(u"dir///"));
    EXPECT_EQ(u"dir\\*", SearchPattern(u"dir\\/\\"));
    EXPECT_EQ(u"a/b\\c\\*", SearchPattern(u"a/b\\c/"));
    EXPECT_EQ(u"a//b\\*", SearchPattern(u"a//b"));
}

TEST(SearchPattern, ADriveIsItsCurrentDirectoryUnlessASeparatorFollows) {
    EXPECT_EQ(u"C:*", SearchPattern(u"C:"));
    EXPECT_EQ(u"C:\\*", SearchPattern(u"C:\\"));
    EXPECT_EQ(u"a:*", SearchPattern(u"a:"));
}

TEST(SearchPattern, SeparatorsAloneAndNothingAreTheRoot) {
    for (const char16_t* const path : {u"", u"/", u"\\", u"//\\"}) {
        EXPECT_EQ(u"\\*", SearchPattern(path));
    }
}

TEST(FileTimes, WhatIsRememberedIsWhatTheCalendarSays) {
    for (const char* const zone : {"UTC", "EST5EDT,M3.2.0,M11.1.0", "XYZ-5:45", "ABC3:30:15"}) {
        const kx::test::ScopedEnvironment environment("TZ", zone);
        FileTimes times;
        std::minstd_rand random(7);
        for (int round = 0; round < 2'000; ++round) {
            // Now and then a time far away, otherwise near the last one.
            static std::uint64_t base = 0;
            if (round % 5 == 0) base = random() % 3'000'000'000u;
            const std::uint64_t time =
                kEpoch + (base + random() % 90) * kSecond + random() % kSecond;
            ASSERT_EQ(SecondsOf(time), times.Seconds(time)) << zone << ' ' << time;
        }
    }
}

TEST(FileTimes, TimesThatSecondsDoNotReachAreAllBits) {
    FileTimes times;
    EXPECT_EQ(-1, times.Seconds(kEpoch - 400 * 86'400 * kSecond));
    EXPECT_EQ(-1, times.Seconds(kEpoch + std::uint64_t{0xFFFFFFFF} * kSecond));
    // The calendar's first days, whatever the zone.
    EXPECT_EQ(-1, times.Seconds(3 * 86'400 * kSecond));
}

TEST(FileTimes, ATimeThatNoCalendarHasIsZero) {
    FileTimes times;
    EXPECT_EQ(0, times.Seconds(std::uint64_t{3} << 62));
}

TEST(DirOpenOutOfMemory, LeavesNoHandle) {
    KXDirHandle handle = 0;
    for (int allowed = 0; allowed < 8; ++allowed) {
        KXResult result = KX_S_OK;
        {
            const kx::test::FailingNew failing(allowed);
            result = KXDirOpen(u"/a path that takes memory of its own", &handle);
        }
        if (result == KX_ERROR_FILE_NOT_FOUND) return;  // enough of it
        EXPECT_RESULT(KX_E_OUTOFMEMORY, result);
        EXPECT_EQ(KX_INVALID_HANDLE, handle);
    }
    FAIL() << "it never got as far as the directory";
}
