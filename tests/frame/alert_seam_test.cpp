// Alerts, assertions and trace over a floor that records what reaches it. Most tests run with the
// library not started, where the debug lock is absent; those that need it start it.
#include <kxcore7/alert.h>
#include <kxcore7/mutex.h>

#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include "frame/alert.h"
#include "frame/global_data.h"
#include "frame/startup.h"
#include "locks/mutex.h"
#include "platform/processes.h"
#include "platform/threads.h"
#include "support/fake_alerts.h"
#include "support/faults.h"
#include "support/results.h"

using kx::core::g_alertRelease;
using kx::core::g_alertSession;
using kx::test::g_alerts;
using Order = std::vector<std::string>;

namespace {

// Opens a private member to these tests: access is not checked in an explicit instantiation.
template <auto member>
struct Opened {
    friend auto& DepthOf(CKXCoreMutexChecked& mutex) { return mutex.*member; }
};
template struct Opened<&CKXCoreMutexChecked::m_lockDepth>;
auto& DepthOf(CKXCoreMutexChecked& mutex);

// A number as the messages show it.
std::u16string Number(std::uint32_t number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

class AlertSeam : public ::testing::Test {
  protected:
    void SetUp() override {
        g_alerts = {};
        g_alertSession = kx::core::kSessionUnknown;
        g_alertRelease = 0;
        KXErrorAlertSetMethod(0);
    }
    void TearDown() override { KXErrorAlertSetMethod(0); }
};

class StartedAlertSeam : public AlertSeam {
  protected:
    void SetUp() override {
        AlertSeam::SetUp();
        ASSERT_RESULT(KX_S_OK, kx::core::KXCoreInit());
    }
    void TearDown() override {
        kx::core::KXCoreTerm();
        AlertSeam::TearDown();
    }
};

}  // namespace

TEST_F(AlertSeam, WithoutAnyMethodNothingHappens) {
    KXErrorAlert(0, u"title", u"%s", nullptr);
    EXPECT_EQ(Order(), g_alerts.order);
}

TEST_F(AlertSeam, MethodZeroIsTheDefaultMethod) {
    EXPECT_RESULT(KX_S_OK, KXErrorAlertSetMethod(KX_ALERT_EVENTLOG));
    KXErrorAlert(0, u"title", u"message");
    EXPECT_EQ(Order({"log"}), g_alerts.order);
    KXErrorAlert(KX_ALERT_BREAK, u"title", u"message");
    EXPECT_EQ(Order({"log", "break"}), g_alerts.order) << "a method given replaces the default";
}

TEST_F(AlertSeam, EventLogGetsSourceTitleAndMessage) {
    KXErrorAlert(KX_ALERT_EVENTLOG, u"title", u"%d of %s", 3, u"ten");
    ASSERT_EQ(1u, g_alerts.log.size());
    EXPECT_EQ(u"Corvanite Services", g_alerts.log[0].source);
    EXPECT_EQ(u"title", g_alerts.log[0].title);
    EXPECT_EQ(u"3 of ten", g_alerts.log[0].message);
}

TEST_F(AlertSeam, EventLogGetsANullTitleAsItIs) {
    KXErrorAlert(KX_ALERT_EVENTLOG, nullptr, u"x");
    ASSERT_EQ(1u, g_alerts.log.size());
    EXPECT_EQ(std::nullopt, g_alerts.log[0].title);
    EXPECT_EQ(u"x", g_alerts.log[0].message);
}

TEST_F(AlertSeam, QuestionNamesTheProcessAndOffersTheDebugger) {
    KXErrorAlert(KX_ALERT_DIALOG, u"title", u"message");
    ASSERT_EQ(1u, g_alerts.questions.size());
    const std::u16string process = Number(kx::platform::CurrentProcessId());
    EXPECT_EQ(u"title [Process ID " + process + u"]", g_alerts.questions[0].title);
    EXPECT_EQ(u"message\n\nPress retry to debug the application.", g_alerts.questions[0].text);
}

TEST_F(AlertSeam, QuestionWithoutATitleHasTheFunctionsName) {
    KXErrorAlert(KX_ALERT_DIALOG, nullptr, u"message");
    ASSERT_EQ(1u, g_alerts.questions.size());
    const std::u16string process = Number(kx::platform::CurrentProcessId());
    EXPECT_EQ(u"KXErrorAlert [Process ID " + process + u"]", g_alerts.questions[0].title);
}

TEST_F(AlertSeam, MessageIsCutAt511Units) {
    const std::u16string full(511, u'x');
    KXErrorAlert(KX_ALERT_EVENTLOG, u"", (full + u"y").c_str());
    KXErrorAlert(KX_ALERT_EVENTLOG, u"", u"%s", (full + u"y").c_str());
    KXErrorAlert(KX_ALERT_EVENTLOG, u"", full.c_str());
    ASSERT_EQ(3u, g_alerts.log.size());
    for (const auto& entry : g_alerts.log) EXPECT_EQ(full, entry.message);
}

TEST_F(AlertSeam, QuestionsTextAndTitleAreCutAtTheirBuffers) {
    const std::u16string full(511, u'x');
    KXErrorAlert(KX_ALERT_DIALOG, full.c_str(), full.c_str());
    ASSERT_EQ(1u, g_alerts.questions.size());
    EXPECT_EQ(std::u16string(63, u'x'), g_alerts.questions[0].title);
    EXPECT_EQ(full, g_alerts.questions[0].text);
}

TEST_F(AlertSeam, MethodsComeInAFixedOrder) {
    g_alertRelease = 1;
    KXErrorAlert(KX_ALERT_WAIT | KX_ALERT_DIALOG | KX_ALERT_EVENTLOG | KX_ALERT_BREAK, u"t", u"m");
    EXPECT_EQ(Order({"break", "log", "ask"}), g_alerts.order);
    EXPECT_EQ(0, g_alertRelease.load());
}

TEST_F(AlertSeam, RetryBreaksAndGoesOn) {
    g_alerts.answer = kx::platform::kAnswerRetry;
    KXErrorAlert(KX_ALERT_DIALOG, u"t", u"m");
    EXPECT_EQ(Order({"ask", "break"}), g_alerts.order);
}

TEST_F(AlertSeam, NoAnswerCountsAsIgnore) {
    g_alerts.answer = kx::platform::kAnswerNone;
    KXErrorAlert(KX_ALERT_DIALOG, u"t", u"m");
    EXPECT_EQ(Order({"ask"}), g_alerts.order);
}

using AlertSeamDeathTest = AlertSeam;

TEST_F(AlertSeamDeathTest, AbortRaisesTheAbortSignal) {
    g_alerts.answer = kx::platform::kAnswerAbort;
    EXPECT_EXIT(KXErrorAlert(KX_ALERT_DIALOG, u"t", u"m"), kx::test::EndedByAbort, "");
}

TEST_F(AlertSeamDeathTest, AbortExitsWith3WhereTheSignalDoesNotEndTheProcess) {
    g_alerts.answer = kx::platform::kAnswerAbort;
    EXPECT_EXIT(
        {
            std::signal(SIGABRT, SIG_IGN);
            KXErrorAlert(KX_ALERT_DIALOG, u"t", u"m");
        },
        ::testing::ExitedWithCode(3), "");
}

TEST_F(AlertSeam, WaitEndsWhenTheFlagIsSetAndClearsIt) {
    std::thread waiter([] { KXErrorAlert(KX_ALERT_WAIT, u"t", u"m"); });
    g_alertRelease = 1;
    waiter.join();
    EXPECT_EQ(0, g_alertRelease.load());
}

TEST_F(AlertSeam, OneFlagReleasesOneWaiter) {
    std::atomic<int> released{0};
    const auto wait = [&released] {
        KXErrorAlert(KX_ALERT_WAIT, u"t", u"m");
        ++released;
    };
    std::thread first(wait);
    std::thread second(wait);
    g_alertRelease = 1;
    while (released == 0) std::this_thread::yield();
    EXPECT_EQ(1, released.load());
    EXPECT_EQ(0, g_alertRelease.load());
    g_alertRelease = 1;
    first.join();
    second.join();
}

TEST_F(AlertSeam, AProgramOfAUserAsksItsOwnSession) {
    g_alerts.currentSession = 7;
    g_alerts.consoleSession = 9;
    KXErrorAlert(KX_ALERT_DIALOG, u"t", u"m");
    ASSERT_EQ(1u, g_alerts.questions.size());
    EXPECT_EQ(7u, g_alerts.questions[0].session);
}

TEST_F(AlertSeam, AServiceAsksTheConsole) {
    g_alerts.currentSession = 0;
    g_alerts.consoleSession = 9;
    KXErrorAlert(KX_ALERT_DIALOG, u"t", u"m");
    ASSERT_EQ(1u, g_alerts.questions.size());
    EXPECT_EQ(9u, g_alerts.questions[0].session);
}

TEST_F(AlertSeam, AServiceOnASystemWithoutConsolesAsksItsOwnSession) {
    g_alerts.currentSession = 0;
    KXErrorAlert(KX_ALERT_DIALOG, u"t", u"m");
    ASSERT_EQ(1u, g_alerts.questions.size());
    EXPECT_EQ(0u, g_alerts.questions[0].session);
}

TEST_F(AlertSeam, AServiceWithNobodyAtTheConsoleAsksSessionOneWhereZeroIsHidden) {
    g_alerts.currentSession = 0;
    g_alerts.consoleSession = 0xFFFFFFFFu;
    g_alerts.sessionZeroIsHidden = true;
    KXErrorAlert(KX_ALERT_DIALOG, u"t", u"m");
    g_alertSession = kx::core::kSessionUnknown;
    g_alerts.sessionZeroIsHidden = false;
    KXErrorAlert(KX_ALERT_DIALOG, u"t", u"m");
    ASSERT_EQ(2u, g_alerts.questions.size());
    EXPECT_EQ(1u, g_alerts.questions[0].session);
    EXPECT_EQ(0u, g_alerts.questions[1].session);
}

TEST_F(AlertSeam, TheSessionIsProbedOnce) {
    KXErrorAlert(KX_ALERT_DIALOG, u"t", u"m");
    KXErrorAlert(KX_ALERT_DIALOG, u"t", u"m");
    EXPECT_EQ(1, g_alerts.probes);
}

TEST_F(AlertSeam, TraceIsAPrefixAndTheTextInTwoOutputs) {
    KXTrace(u"%d %s\n", 5, u"apples");
    char prefix[32];
    std::snprintf(prefix, sizeof prefix, "[%#x]", kx::platform::CurrentThreadId());
    const std::string narrow = prefix;
    ASSERT_EQ(2u, g_alerts.traces.size());
    EXPECT_EQ(std::u16string(narrow.begin(), narrow.end()), g_alerts.traces[0]);
    EXPECT_EQ(u"5 apples\n", g_alerts.traces[1]);
}

TEST_F(AlertSeam, TraceIsCutAt511Units) {
    KXTrace(u"%s", std::u16string(600, u't').c_str());
    ASSERT_EQ(2u, g_alerts.traces.size());
    EXPECT_EQ(std::u16string(511, u't'), g_alerts.traces[1]);
}

TEST_F(AlertSeam, AssertTracesAndBreaksWhereNoMethodIsSet) {
    KXAssert("a == b", "file.cpp", 42);
    EXPECT_EQ(Order({"trace", "trace", "break"}), g_alerts.order);
    EXPECT_EQ(u"\nKX_ASSERT(a == b)\n file.cpp:42\n", g_alerts.traces[1]);
}

TEST_F(AlertSeam, AssertUsesTheDefaultMethodWhereOneIsSet) {
    KXErrorAlertSetMethod(KX_ALERT_EVENTLOG);
    KXAssert("a == b", "file.cpp", 42);
    EXPECT_EQ(Order({"trace", "trace", "log"}), g_alerts.order);
    EXPECT_EQ(u"Corvanite Services", g_alerts.log[0].title);
    EXPECT_EQ(
        u"Corvanite Services Debug Assertion Failed!\n\nFile: file.cpp\nLine: 42\n\n"
        u"Expression: a == b",
        g_alerts.log[0].message);
}

TEST_F(StartedAlertSeam, AQuestionHoldsTheDebugLockUntilTheAnswer) {
    KXMutexHandle lock = kx::core::g_data.m_debugMutex->handle;
    KXResult whileAsking = KX_S_OK;
    g_alerts.whileAsking = [&] {
        std::thread([&] { whileAsking = KXMutexTryAcquire(lock); }).join();
    };
    KXErrorAlert(KX_ALERT_DIALOG, u"t", u"m");
    EXPECT_RESULT(KX_E_FAIL, whileAsking);
    std::thread([&] {
        EXPECT_RESULT(KX_S_OK, KXMutexTryAcquire(lock));
        EXPECT_RESULT(KX_S_OK, KXMutexRelease(lock));
    }).join();
}

TEST_F(StartedAlertSeam, AlertsWithoutAQuestionLeaveTheDebugLockAlone) {
    KXMutexHandle lock = kx::core::g_data.m_debugMutex->handle;
    ASSERT_RESULT(KX_S_OK, KXMutexAcquire(lock));
    g_alertRelease = 1;
    std::thread([] {
        KXErrorAlert(KX_ALERT_EVENTLOG | KX_ALERT_BREAK | KX_ALERT_WAIT, u"t", u"m");
    }).join();
    EXPECT_EQ(Order({"break", "log"}), g_alerts.order);
    KXMutexRelease(lock);
}

TEST_F(StartedAlertSeam, TracesOfTwoThreadsStayTogether) {
    const auto trace = [] {
        for (int i = 0; i < 200; ++i) KXTrace(u"text");
    };
    std::thread other(trace);
    trace();
    other.join();
    ASSERT_EQ(800u, g_alerts.traces.size());
    for (std::size_t i = 0; i < g_alerts.traces.size(); i += 2) {
        EXPECT_EQ(u'[', g_alerts.traces[i][0]);
        EXPECT_EQ(u"text", g_alerts.traces[i + 1]);
    }
}

TEST_F(StartedAlertSeam, FailedChecksOfAMutexAlertWithTheirTexts) {
    KXErrorAlertSetMethod(KX_ALERT_EVENTLOG);
    KXMutexHandle mutex = KX_INVALID_HANDLE;
    ASSERT_RESULT(KX_S_OK, KXMutexCreate("m", KX_MUTEX_CHECKED | KX_MUTEX_NON_RECURSIVE, &mutex));
    EXPECT_RESULT(KX_E_FAIL, KXMutexRelease(mutex));
    KXMutexAcquire(mutex);
    EXPECT_RESULT(KX_E_FAIL, KXMutexAcquire(mutex));
    EXPECT_RESULT(KX_E_FAIL, KXMutexTryAcquire(mutex));
    KXMutexRelease(mutex);
    KXMutexDestroy(mutex);
    ASSERT_EQ(3u, g_alerts.log.size());
    EXPECT_EQ(u"KXCore Critical Error", g_alerts.log[0].title);
    EXPECT_EQ(u"CKXCoreMutexChecked::preRelease m_owner check failed", g_alerts.log[0].message);
    EXPECT_EQ(u"CKXCoreMutexChecked::preAcquire m_owner check failed", g_alerts.log[1].message);
    EXPECT_EQ(u"CKXCoreMutexChecked::preAcquire m_owner check failed", g_alerts.log[2].message);
}

// The 16-bit depth wraps, so that a lock held 65536 times looks as if nobody held it.
TEST_F(StartedAlertSeam, AReleaseAtDepthZeroAlertsWithItsText) {
    KXErrorAlertSetMethod(KX_ALERT_EVENTLOG);
    KXMutexHandle mutex = KX_INVALID_HANDLE;
    ASSERT_RESULT(KX_S_OK, KXMutexCreate("m", KX_MUTEX_CHECKED, &mutex));
    for (int i = 0; i < 0x10000; ++i) KXMutexAcquire(mutex);
    EXPECT_RESULT(KX_E_FAIL, KXMutexRelease(mutex));
    ASSERT_EQ(1u, g_alerts.log.size());
    EXPECT_EQ(u"CKXCoreMutexChecked::preRelease m_lockDepth check failed", g_alerts.log[0].message);
    KXMutexAcquire(mutex);
    EXPECT_RESULT(KX_S_OK, KXMutexRelease(mutex));
    KXMutexDestroy(mutex);
}

// No sequence of calls gets there, so the depth is set from here.
TEST_F(StartedAlertSeam, AReleaseOfANonRecursiveLockAtAnotherDepthAlertsWithItsText) {
    KXErrorAlertSetMethod(KX_ALERT_EVENTLOG);
    KXMutexHandle mutex = KX_INVALID_HANDLE;
    ASSERT_RESULT(KX_S_OK, KXMutexCreate("m", KX_MUTEX_CHECKED | KX_MUTEX_NON_RECURSIVE, &mutex));
    KXMutexAcquire(mutex);
    auto& depth = DepthOf(*reinterpret_cast<CKXCoreMutexChecked*>(mutex));
    depth.Set(2);
    EXPECT_RESULT(KX_E_FAIL, KXMutexRelease(mutex));
    ASSERT_EQ(1u, g_alerts.log.size());
    EXPECT_EQ(u"CKXCoreMutexChecked::preRelease m_lockDepth non recursive check failed ",
              g_alerts.log[0].message);
    depth.Set(1);
    EXPECT_RESULT(KX_S_OK, KXMutexRelease(mutex));
    KXMutexDestroy(mutex);
}

TEST_F(StartedAlertSeam, FailedChecksAreSilentWhereNoMethodIsSet) {
    KXMutexHandle mutex = KX_INVALID_HANDLE;
    ASSERT_RESULT(KX_S_OK, KXMutexCreate("m", KX_MUTEX_CHECKED, &mutex));
    EXPECT_RESULT(KX_E_FAIL, KXMutexRelease(mutex));
    EXPECT_EQ(Order(), g_alerts.order);
    KXMutexDestroy(mutex);
}
