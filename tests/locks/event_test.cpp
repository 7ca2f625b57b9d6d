#include <kxcore7/event.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/results.h"
#include "support/waitables.h"
#include "support/waiting_line.h"
#include "support/waiting_thread.h"

using kx::test::Event;
using kx::test::Gate;
using kx::test::Line;
using kx::test::WaitingThread;

namespace {

constexpr std::uint32_t kNoLimit = 0xFFFFFFFFu;
constexpr int kWaiters = 4;

bool IsSet(KXEventHandle event) {
    return KXEventTimedWait(event, 0) == KX_S_OK;
}

Line LineFor(KXEventHandle event, int count) {
    return {count, [event] { return KXEventWait(event); }};
}

}  // namespace

TEST(Event, IsNotSetAtFirst) {
    for (const std::uint32_t flags : {0u, KX_EVENT_MANUAL_RESET}) {
        const Event event(flags);
        EXPECT_RESULT(KX_ERROR_TIMEOUT, KXEventTimedWait(event, 0));
    }
}

TEST(Event, SignalIsKeptForOneWaiter) {
    const Event event;
    EXPECT_RESULT(KX_S_OK, KXEventSignal(event));
    EXPECT_RESULT(KX_S_OK, KXEventWait(event));
    EXPECT_RESULT(KX_ERROR_TIMEOUT, KXEventTimedWait(event, 0));
}

TEST(Event, TwoSignalsWithoutAWaiterReleaseOne) {
    const Event event;
    EXPECT_RESULT(KX_S_OK, KXEventSignal(event));
    EXPECT_RESULT(KX_S_OK, KXEventSignal(event));
    EXPECT_RESULT(KX_S_OK, KXEventTimedWait(event, 0));
    EXPECT_RESULT(KX_ERROR_TIMEOUT, KXEventTimedWait(event, 0));
}

TEST(Event, OfManualResetStaysSetUntilReset) {
    const Event event(KX_EVENT_MANUAL_RESET);
    KXEventSignal(event);
    EXPECT_RESULT(KX_S_OK, KXEventWait(event));
    EXPECT_RESULT(KX_S_OK, KXEventTimedWait(event, 0));
    EXPECT_RESULT(KX_S_OK, KXEventTimedWait(event, 1000));
    EXPECT_RESULT(KX_S_OK, KXEventTimedWait(event, kNoLimit));
    EXPECT_RESULT(KX_S_OK, KXEventSignal(event));
    EXPECT_RESULT(KX_S_OK, KXEventReset(event));
    EXPECT_RESULT(KX_ERROR_TIMEOUT, KXEventTimedWait(event, 0));
}

TEST(Event, ResetTakesAKeptSignalBack) {
    for (const std::uint32_t flags : {0u, KX_EVENT_MANUAL_RESET}) {
        const Event event(flags);
        EXPECT_RESULT(KX_S_OK, KXEventReset(event)) << "there is none yet";
        KXEventSignal(event);
        EXPECT_RESULT(KX_S_OK, KXEventReset(event));
        EXPECT_FALSE(IsSet(event));
        EXPECT_RESULT(KX_S_OK, KXEventReset(event));
        KXEventSignal(event);
        EXPECT_TRUE(IsSet(event)) << "resets are not kept";
    }
}

TEST(Event, ATimedWaitThatRunsOutIsTimeout) {
    for (const std::uint32_t flags : {0u, KX_EVENT_MANUAL_RESET}) {
        const Event event(flags);
        for (const std::uint32_t limit : {0u, 1u, 20u}) {
            EXPECT_RESULT(0x800705B4, KXEventTimedWait(event, limit)) << limit;
        }
        KXEventSignal(event);
        EXPECT_TRUE(IsSet(event)) << "who gave up is no longer in line";
    }
}

TEST(Event, TheNameMayBeNullAndAnything) {
    for (const std::string& name : {std::string(), std::string("a"), std::string(5000, 'n')}) {
        const Event event(0, name.c_str());
        EXPECT_FALSE(IsSet(event));
    }
    const Event event(0, nullptr);
    KXEventSignal(event);
    EXPECT_TRUE(IsSet(event));
}

TEST(Event, OfOneNameAreTwo) {
    const Event one(0, "same");
    const Event two(0, "same");
    EXPECT_NE(one, two);
    KXEventSignal(one);
    EXPECT_FALSE(IsSet(two));
}

TEST(Event, UnknownFlagsHaveNoEffect) {
    const Event automatic(~KX_EVENT_MANUAL_RESET);
    EXPECT_FALSE(IsSet(automatic));
    KXEventSignal(automatic);
    EXPECT_TRUE(IsSet(automatic));
    EXPECT_FALSE(IsSet(automatic));
    const Event manual(~0u);
    EXPECT_FALSE(IsSet(manual));
    KXEventSignal(manual);
    EXPECT_TRUE(IsSet(manual));
    EXPECT_TRUE(IsSet(manual));
}

TEST(Event, DestroyAcceptsNull) {
    EXPECT_RESULT(KX_S_OK, KXEventDestroy(0));
    EXPECT_RESULT(KX_S_OK, KXGateDestroy(0));
}

TEST(Event, MayBeDestroyedWhileSet) {
    const Event event;
    const Gate gate;
    KXEventSignal(event);
    KXGateOpen(gate);
}

TEST(Event, ASignalLetsOneOfThoseInLineThrough) {
    const Event event;
    Line line = LineFor(event, kWaiters);
    for (int passed = 0; passed < kWaiters; ++passed) {
        EXPECT_EQ(passed, line.Passed());
        EXPECT_RESULT(KX_S_OK, KXEventSignal(event));
        line.WaitUntilPassed(passed + 1);
        line.WaitUntilAsleep(passed + 1);
        EXPECT_EQ(passed + 1, line.Passed()) << "one and no more";
    }
    line.Join();
    for (int i = 0; i < kWaiters; ++i) EXPECT_EQ(i, line.Passed(i)) << "first in line, first";
    EXPECT_FALSE(IsSet(event)) << "what was given away is not kept as well";
}

TEST(Event, SignalsInARowLetAsManyThrough) {
    const Event event;
    Line line = LineFor(event, 2);
    KXEventSignal(event);
    KXEventSignal(event);
    line.Join();
    EXPECT_EQ(2, line.Passed());
    EXPECT_FALSE(IsSet(event));
}

TEST(Event, OneSignalMoreThanWaitersIsKept) {
    const Event event;
    Line line = LineFor(event, 2);
    for (int i = 0; i < 3; ++i) KXEventSignal(event);
    line.Join();
    EXPECT_TRUE(IsSet(event));
    EXPECT_FALSE(IsSet(event));
}

TEST(Event, WhoSignalsDoesNotTakeWhatItGave) {
    const Event event;
    Line line = LineFor(event, 1);
    KXEventSignal(event);
    EXPECT_RESULT(KX_ERROR_TIMEOUT, KXEventTimedWait(event, 0));
    line.Join();
}

// The same of a wait that gets in line itself.
TEST(Event, WhoSignalsAndWaitsIsBehindThoseInLine) {
    const Event event;
    std::atomic<int> passed{0};
    WaitingThread first([&] {
        KXEventWait(event);
        ++passed;
        KXEventSignal(event);
    });
    first.WaitUntilAsleep();
    KXEventSignal(event);
    KXEventWait(event);
    EXPECT_EQ(1, passed);
    first.Join();
}

TEST(Event, AResetBehindASignalDoesNotHoldBackWhoWasInLine) {
    const Event event;
    Line line = LineFor(event, 1);
    KXEventSignal(event);
    KXEventReset(event);
    line.Join();
    EXPECT_FALSE(IsSet(event));
}

TEST(Event, AResetLeavesThoseInLineThere) {
    for (const std::uint32_t flags : {0u, KX_EVENT_MANUAL_RESET}) {
        const Event event(flags);
        Line line = LineFor(event, 2);
        KXEventReset(event);
        line.WaitUntilAsleep(0);
        EXPECT_EQ(0, line.Passed());
        KXEventSignal(event);
        KXEventSignal(event);
        line.Join();
    }
}

TEST(Event, OfManualResetLetsAllThroughEvenIfResetAtOnce) {
    const Event event(KX_EVENT_MANUAL_RESET);
    Line line = LineFor(event, kWaiters);
    KXEventSignal(event);
    KXEventReset(event);
    line.Join();
    EXPECT_EQ(kWaiters, line.Passed());
    EXPECT_FALSE(IsSet(event));
}

TEST(Event, OfManualResetStaysSetBehindThoseWhoWereInLine) {
    const Event event(KX_EVENT_MANUAL_RESET);
    Line line = LineFor(event, kWaiters);
    KXEventSignal(event);
    line.Join();
    EXPECT_TRUE(IsSet(event));
    EXPECT_TRUE(IsSet(event));
}

TEST(Event, ALimitThatDoesNotRunOutIsSuccess) {
    for (const std::uint32_t limit : {600'000u, kNoLimit - 1, kNoLimit}) {
        const Event event;
        Line line(1, [&] { return KXEventTimedWait(event, limit); });
        KXEventSignal(event);
        line.Join();
        EXPECT_FALSE(IsSet(event));
    }
}

// From the front, the middle and the end of the line.
TEST(Event, WhoGivesUpLeavesTheOthersInLine) {
    for (const int quitter : {0, 1, 2}) {
        const Event event;
        std::atomic<int> next{0};
        std::atomic<int> passed{0};
        std::vector<std::unique_ptr<WaitingThread>> threads;
        for (int i = 0; i < 3; ++i) {
            threads.push_back(std::make_unique<WaitingThread>([&, i] {
                if (i == quitter) {
                    EXPECT_RESULT(KX_ERROR_TIMEOUT, KXEventTimedWait(event, 30));
                    return;
                }
                EXPECT_RESULT(KX_S_OK, KXEventWait(event));
                EXPECT_LE(next.exchange(i), i) << "the order of the others";
                ++passed;
            }));
            threads.back()->WaitUntilAsleepOrEnded();
        }
        threads[static_cast<std::size_t>(quitter)]->Join();
        for (int signals = 1; signals <= 2; ++signals) {
            KXEventSignal(event);
            while (passed < signals) std::this_thread::yield();
        }
        for (const auto& thread : threads) thread->Join();
        EXPECT_FALSE(IsSet(event));
    }
}

TEST(Gate, IsClosedAtFirst) {
    const Gate gate;
    EXPECT_RESULT(KX_E_FAIL, KXGateTryWait(gate));
}

TEST(Gate, ATryIsFailAndATimedWaitIsTimeout) {
    const Gate gate;
    EXPECT_RESULT(0x800705B4, KXGateTimedWait(gate, 0));
    EXPECT_RESULT(0x800705B4, KXGateTimedWait(gate, 1));
    EXPECT_RESULT(0x80004005, KXGateTryWait(gate));
}

TEST(Gate, StaysAsItWasLeft) {
    const Gate gate;
    for (int round = 0; round < 2; ++round) {
        EXPECT_RESULT(KX_S_OK, KXGateOpen(gate));
        EXPECT_RESULT(KX_S_OK, KXGateOpen(gate));
        for (int pass = 0; pass < 3; ++pass) {
            EXPECT_RESULT(KX_S_OK, KXGateWait(gate));
            EXPECT_RESULT(KX_S_OK, KXGateTryWait(gate));
            EXPECT_RESULT(KX_S_OK, KXGateTimedWait(gate, 0));
            EXPECT_RESULT(KX_S_OK, KXGateTimedWait(gate, kNoLimit));
        }
        EXPECT_RESULT(KX_S_OK, KXGateClose(gate));
        EXPECT_RESULT(KX_S_OK, KXGateClose(gate));
        EXPECT_RESULT(KX_E_FAIL, KXGateTryWait(gate));
        EXPECT_RESULT(KX_E_FAIL, KXGateTryWait(gate));
    }
}

TEST(Gate, IsNeverClosedByPassingWhateverItsFlagsAndName) {
    for (const std::uint32_t flags : {0u, 1u, KX_EVENT_MANUAL_RESET, ~KX_EVENT_MANUAL_RESET, ~0u}) {
        const Gate gate(flags, nullptr);
        EXPECT_RESULT(KX_E_FAIL, KXGateTryWait(gate)) << flags;
        KXGateOpen(gate);
        EXPECT_RESULT(KX_S_OK, KXGateTryWait(gate)) << flags;
        EXPECT_RESULT(KX_S_OK, KXGateTryWait(gate)) << flags;
    }
}

TEST(Gate, OpenFollowedAtOnceByCloseLetsThroughWhoWaited) {
    const Gate gate;
    Line line(kWaiters, [&] { return KXGateWait(gate); });
    KXGateOpen(gate);
    KXGateClose(gate);
    line.Join();
    EXPECT_EQ(kWaiters, line.Passed());
    EXPECT_RESULT(KX_E_FAIL, KXGateTryWait(gate));
}

TEST(Gate, LetsThoseThroughWhoWaitWithALimit) {
    const Gate gate;
    Line line(kWaiters, [&] { return KXGateTimedWait(gate, 600'000); });
    KXGateOpen(gate);
    line.Join();
    EXPECT_EQ(kWaiters, line.Passed());
    EXPECT_RESULT(KX_S_OK, KXGateTryWait(gate));
}

TEST(Gate, IsAnEventOfManualResetByOtherNames) {
    const Gate gate;
    EXPECT_RESULT(KX_S_OK, KXEventSignal(gate));
    EXPECT_RESULT(KX_S_OK, KXEventWait(gate));
    EXPECT_RESULT(KX_S_OK, KXGateTryWait(gate));
    EXPECT_RESULT(KX_S_OK, KXEventReset(gate));
    EXPECT_RESULT(KX_E_FAIL, KXGateTryWait(gate));
    const Event event;
    EXPECT_RESULT(KX_S_OK, KXGateOpen(event));
    EXPECT_RESULT(KX_S_OK, KXGateTryWait(event));
    EXPECT_RESULT(KX_E_FAIL, KXGateTryWait(event)) << "its own reset";
}
