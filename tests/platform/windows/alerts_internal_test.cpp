#include "platform/alerts.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "platform/processes.h"

using namespace kx::platform;

TEST(FloorAlerts, TheSessionIsThatOfTheProcess) {
    DWORD session = 77;
    ASSERT_NE(0, ProcessIdToSessionId(GetCurrentProcessId(), &session));
    EXPECT_EQ(session, CurrentSession());
}

TEST(FloorProcesses, TheIdIsTheSystems) {
    EXPECT_EQ(GetCurrentProcessId(), CurrentProcessId());
}

TEST(FloorAlerts, EverySystemOfTodayHasAConsoleAndHidesSessionZero) {
    EXPECT_TRUE(ConsoleSession().has_value());
    EXPECT_TRUE(SessionZeroIsHidden());
}

TEST(FloorAlerts, ASessionThatDoesNotExistAnswersNothing) {
    EXPECT_EQ(kAnswerNone, AskPerson(0x7FFFFFF0, u"title", u"text"));
}
