// Many threads at once on objects to wait for, some of which give up all the time: nothing is lost,
// nothing comes twice. What would be lost shows as a test that does not end.
#include <atomic>
#include <cstdint>
#include <random>
#include <thread>
#include <vector>

#include "support/results.h"
#include "support/waitables.h"
#include "support/wine.h"

using kx::test::Condition;
using kx::test::Event;
using kx::test::Gate;
using kx::test::Semaphore;

namespace {

constexpr int kThreads = 8;
constexpr std::uint32_t kNoLimit = 0xFFFFFFFFu;

// Limits of waits: none, and 0 to 2 milliseconds. Each thread has a sequence of its own.
class Limits final {
  public:
    explicit Limits(int thread) : m_random(static_cast<unsigned>(thread) + 1) {}

    std::uint32_t Next() {
        const auto choice = static_cast<std::uint32_t>(m_random() % 8);
        return choice < 3 ? choice : kNoLimit;
    }
    // Up to so many turns of doing nothing.
    void Dawdle(unsigned turns) {
        for (volatile unsigned i = static_cast<unsigned>(m_random()) % turns; i != 0;) i = i - 1;
    }

  private:
    std::minstd_rand m_random;
};

template <typename Body>
void RunThreads(int count, Body body) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back([&body, i] { body(i); });
    for (std::thread& thread : threads) thread.join();
}

// Whether the wait passed, which has no third outcome.
bool Passed(KXResult result) {
    if (result == KX_S_OK) return true;
    EXPECT_RESULT(KX_ERROR_TIMEOUT, result);
    return false;
}

// Two threads that go on together, from one step to the next.
class Meeting final {
  public:
    void Meet(int round) {
        m_arrived.fetch_add(1);
        // Spinning first, to set out at the same time.
        for (int spins = 0; m_arrived < 2 * (round + 1); ++spins) {
            if (spins > 300) std::this_thread::yield();
        }
    }

  private:
    std::atomic<int> m_arrived{0};
};

}  // namespace

// The event is a lock: one of the threads has the signal, or the event keeps it.
TEST(WaitablesUnderStress, ASignalIsNeitherLostNorDoubled) {
    const Event event;
    std::atomic<int> inside{0};
    long passes = 0;
    constexpr int kRounds = 3'000;
    KXEventSignal(event);
    RunThreads(kThreads, [&](int thread) {
        Limits limits(thread);
        for (int round = 0; round < kRounds; ++round) {
            while (!Passed(KXEventTimedWait(event, limits.Next()))) {
            }
            EXPECT_EQ(1, ++inside);
            ++passes;
            if (round % 64 == 0) std::this_thread::yield();
            --inside;
            KXEventSignal(event);
        }
    });
    EXPECT_EQ(long{kThreads} * kRounds, passes);
    EXPECT_RESULT(KX_S_OK, KXEventTimedWait(event, 0)) << "the last one's signal";
    EXPECT_RESULT(KX_ERROR_TIMEOUT, KXEventTimedWait(event, 0));
}

TEST(WaitablesUnderStress, TwoThreadsHandEachOtherTheTurn) {
    const Event turns[2];
    long balls = 0;
    constexpr int kRounds = 5'000;
    KXEventSignal(turns[0]);
    RunThreads(2, [&](int thread) {
        Limits limits(thread);
        for (int round = 0; round < kRounds; ++round) {
            while (!Passed(KXEventTimedWait(turns[thread], limits.Next()))) {
            }
            EXPECT_EQ(2L * round + thread, balls++);
            KXEventSignal(turns[1 - thread]);
        }
    });
    EXPECT_EQ(2L * kRounds, balls);
}

// One thread works and then sets what is set already; the other takes that back and then looks for
// work. If nothing is left set, the work was seen: otherwise the second would sleep over it. The
// two run beside each other along rows of objects, so that they meet now and then; how many times
// depends on the machine.
template <typename Object, typename Set, typename TakeBack>
void ExpectNoWorkIsMissed(Set set, TakeBack takeBack) {
    struct alignas(64) Work {
        std::atomic<int> done{0};
        int seen = 0;
    };
    constexpr std::size_t kObjects = 1'024;
    // Where every operation is a request to a server, the order is the server's: a few will do.
    const int rounds = kx::test::IsWine() ? 3 : 100;
    const std::vector<Object> objects(kObjects);
    std::vector<Work> works(kObjects);
    Meeting meeting;
    RunThreads(2, [&](int thread) {
        for (int round = 0; round < rounds; ++round) {
            for (std::size_t i = 0; thread == 0 && i < kObjects; ++i) {
                works[i].done.store(0, std::memory_order_relaxed);
                set(objects[i]);
            }
            meeting.Meet(2 * round);
            for (std::size_t i = 0; i < kObjects; ++i) {
                if (thread == 1) {
                    works[i].done.store(1, std::memory_order_relaxed);
                    set(objects[i]);
                } else {
                    takeBack(objects[i]);
                    works[i].seen = works[i].done.load(std::memory_order_relaxed);
                }
            }
            meeting.Meet(2 * round + 1);
            for (std::size_t i = 0; thread == 0 && i < kObjects; ++i) {
                const bool left = KXEventTimedWait(objects[i], 0) == KX_S_OK;
                EXPECT_TRUE(left || works[i].seen == 1) << round;
            }
        }
    });
}

// A thread that is about to get in line looks once more.
TEST(WaitablesUnderStress, NoSignalIsLostOnTheWayIntoTheLine) {
    constexpr std::uint32_t kAnHour = 3'600'000;
    const std::vector<Event> events(256);
    Meeting meeting;
    RunThreads(2, [&](int thread) {
        Limits limits(thread);
        for (int round = 0; round < 60; ++round) {
            meeting.Meet(round);
            for (const Event& event : events) {
                limits.Dawdle(60);
                if (thread == 0) {
                    KXEventSignal(event);
                } else {
                    EXPECT_RESULT(KX_S_OK, KXEventTimedWait(event, kAnHour));
                }
            }
        }
    });
}

TEST(WaitablesUnderStress, ASignalThatIsMergedIsSeenByWhoTakesTheFirst) {
    ExpectNoWorkIsMissed<Event>(KXEventSignal, KXEventWait);
}

TEST(WaitablesUnderStress, WhatWasDoneBeforeAnOpenIsSeenBehindTheClose) {
    ExpectNoWorkIsMissed<Gate>(KXGateOpen, KXGateClose);
}

// In each round the gate is open until all have passed, and closed to those who come for the next.
TEST(WaitablesUnderStress, NobodyPassesAClosedGateAndNobodyStaysBehind) {
    const Gate gate;
    std::atomic<int> opened{-1};
    std::atomic<int> closed{-1};
    std::atomic<int> passed{0};
    constexpr int kRounds = 600;
    RunThreads(kThreads + 1, [&](int thread) {
        Limits limits(thread);
        for (int round = 0; round < kRounds; ++round) {
            if (thread == kThreads) {
                limits.Dawdle(20'000);
                opened = round;
                KXGateOpen(gate);
                while (passed < kThreads * (round + 1)) std::this_thread::yield();
                KXGateClose(gate);
                closed = round;
                continue;
            }
            while (!Passed(KXGateTimedWait(gate, limits.Next()))) {
            }
            EXPECT_GE(opened.load(), round);
            ++passed;
            while (closed < round) std::this_thread::yield();
        }
    });
    EXPECT_EQ(kThreads * kRounds, passed);
}

// Opened and closed at once: who was in line has to pass, and who comes later has not.
TEST(WaitablesUnderStress, AGateThatIsOpenForAnInstantLetsEverybodyThroughInTheEnd) {
    const Gate gate;
    std::atomic<unsigned> phase{0};  // odd while it may be open
    std::atomic<int> ended{0};
    RunThreads(kThreads + 1, [&](int thread) {
        if (thread == kThreads) {
            while (ended < kThreads) {
                ++phase;
                KXGateOpen(gate);
                KXGateClose(gate);
                ++phase;
                std::this_thread::yield();
            }
            return;
        }
        Limits limits(thread);
        for (int round = 0; round < 200; ++round) {
            for (bool passed = false; !passed;) {
                const unsigned first = phase;
                passed = Passed(KXGateTimedWait(gate, limits.Next()));
                EXPECT_FALSE(passed && first % 2 == 0 && phase == first) << "it was closed";
            }
            // Once an opening, however long that lasts if the other thread is held up in it.
            for (const unsigned last = phase; phase == last;) std::this_thread::yield();
        }
        ++ended;
    });
    EXPECT_RESULT(KX_E_FAIL, KXGateTryWait(gate));
}

TEST(WaitablesUnderStress, NoMoreThanTheCountAreInside) {
    constexpr int kCount = 3;
    const Semaphore semaphore(kCount);
    std::atomic<int> inside{0};
    RunThreads(kThreads, [&](int thread) {
        Limits limits(thread);
        for (int round = 0; round < 4'000; ++round) {
            if ((round + thread) % 3 == 0) {
                while (KXSemaphoreTryWait(semaphore) != KX_S_OK) std::this_thread::yield();
            } else {
                EXPECT_RESULT(KX_S_OK, KXSemaphoreWait(semaphore));
            }
            EXPECT_LE(++inside, kCount);
            if (round % 32 == 0) std::this_thread::yield();
            --inside;
            EXPECT_RESULT(KX_S_OK, KXSemaphorePost(semaphore));
        }
    });
    int left = 0;
    while (KXSemaphoreTryWait(semaphore) == KX_S_OK) ++left;
    EXPECT_EQ(kCount, left);
}

// A queue with room for a few, its readers and writers behind one condition.
TEST(WaitablesUnderStress, EveryItemOfAQueueArrivesOnce) {
    const Condition condition;
    constexpr int kPairs = kThreads / 2;
    constexpr int kItems = 2'000;
    constexpr std::size_t kRoom = 3;
    std::vector<int> queue;
    std::vector<int> arrivals(kPairs * kItems);
    const auto waitUntil = [&](Limits& limits, auto holds) {
        while (!holds()) Passed(KXConditionTimedWait(condition, limits.Next()));
    };
    RunThreads(2 * kPairs, [&](int thread) {
        Limits limits(thread);
        for (int i = 0; i < kItems; ++i) {
            KXConditionAcquire(condition);
            if (thread < kPairs) {
                waitUntil(limits, [&] { return queue.size() < kRoom; });
                queue.push_back(thread * kItems + i);
            } else {
                waitUntil(limits, [&] { return !queue.empty(); });
                ++arrivals[static_cast<std::size_t>(queue.back())];
                queue.pop_back();
            }
            // Under the lock or behind it.
            if (i % 2 == 0) KXConditionBroadcast(condition);
            KXConditionRelease(condition);
            if (i % 2 != 0) KXConditionBroadcast(condition);
        }
    });
    EXPECT_TRUE(queue.empty());
    for (const int count : arrivals) ASSERT_EQ(1, count);
}

// One signal a piece of work, waits without a limit only: none may be lost.
TEST(WaitablesUnderStress, EverySignalOfAConditionReachesAWaiter) {
    const Condition condition;
    constexpr int kWork = 8'000;
    int waiting = 0;
    int work = 0;
    int done = 0;
    RunThreads(kThreads, [&](int thread) {
        if (thread == 0) {
            for (int i = 0; i < kWork; ++i) {
                KXConditionAcquire(condition);
                ++work;
                KXConditionRelease(condition);
                KXConditionSignal(condition);
                while (i % 16 == 0) {
                    KXConditionAcquire(condition);
                    const bool allDone = done > i;
                    KXConditionRelease(condition);
                    if (allDone) break;
                    std::this_thread::yield();
                }
            }
            KXConditionAcquire(condition);
            work = -1;
            KXConditionBroadcast(condition);
            KXConditionRelease(condition);
            return;
        }
        KXConditionAcquire(condition);
        for (;;) {
            while (work == 0) {
                ++waiting;
                EXPECT_RESULT(KX_S_OK, KXConditionWait(condition));
                --waiting;
            }
            if (work < 0) break;
            --work;
            ++done;
        }
        KXConditionRelease(condition);
    });
    EXPECT_EQ(0, waiting);
}

// The last wait that passes may be followed by the object's end at once, while the thread that let
// it through is still on its way out.
TEST(WaitablesUnderStress, WhoPassesMayDestroyTheObject) {
    std::atomic<std::uintptr_t> offered{0};
    std::atomic<int> destroyed{0};
    constexpr int kRounds = 900;
    RunThreads(2, [&](int thread) {
        Limits limits(thread);
        for (int round = 0; round < kRounds; ++round) {
            const int kind = round % 3;
            if (thread == 0) {
                std::uintptr_t handle = 0;
                if (kind == 0) KXGateCreate("test", 0, &handle);
                if (kind == 1) KXEventCreate("test", 0, &handle);
                if (kind == 2) KXSemaphoreCreate(0, "test", 0, &handle);
                offered = handle;
                limits.Dawdle(round % 2 == 0 ? 500 : 400'000);
                if (kind == 0) KXGateOpen(handle);
                if (kind == 1) KXEventSignal(handle);
                if (kind == 2) KXSemaphorePost(handle);
                while (destroyed <= round) std::this_thread::yield();
                continue;
            }
            std::uintptr_t handle = 0;
            while ((handle = offered.exchange(0)) == 0) std::this_thread::yield();
            const std::uint32_t limit = round % 4 == 0 ? kNoLimit : 1;
            if (kind == 2) {
                EXPECT_RESULT(KX_S_OK, KXSemaphoreWait(handle));
                KXSemaphoreDestroy(handle);
            } else {
                while (!Passed(KXEventTimedWait(handle, limit))) {
                }
                KXEventDestroy(handle);
            }
            ++destroyed;
        }
    });
    EXPECT_EQ(kRounds, destroyed);
}
