// Locks and their like in one thread, and what two threads make of them.
#ifndef KXCORE7_BENCH_CONTEST_H
#define KXCORE7_BENCH_CONTEST_H

#include <benchmark/benchmark.h>
#include <sched.h>
#include <time.h>

#include <atomic>
#include <barrier>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "report.h"

namespace bench {

inline constexpr int kContenders = 2;
inline constexpr std::size_t kCacheLine = 64;

// Ends the run if something that is to be measured can't be made.
void Require(bool made, const char* what);

// Keeps the calling thread on the processor of that number, counted among those it may use. Left to
// itself the scheduler moves a woken waiter to the processor of its waker, and from then on the two
// take turns by time slices and hardly ever meet.
class ScopedPin final {
  public:
    explicit ScopedPin(int number);
    ~ScopedPin();
    ScopedPin(const ScopedPin&) = delete;
    ScopedPin& operator=(const ScopedPin&) = delete;

  private:
    cpu_set_t m_before;
};

// For what share of its life the calling thread was ready and had no processor, because something
// else ran there; 0 where the system does not tell.
class Disturbance final {
  public:
    Disturbance();
    double Share() const;

  private:
    double m_start;
    double m_waited;
};

// For what share of its life the calling thread ran, or whoever has the clock.
class Activity final {
  public:
    explicit Activity(clockid_t clock = CLOCK_THREAD_CPUTIME_ID);
    double Share() const;

  private:
    clockid_t m_clock;
    double m_start;
    double m_ran;
};

// Where two threads begin and end.
class Meeting final {
  public:
    // Both threads are on a processor when this returns. A wait that sleeps would give the one that
    // wakes first a long stretch to itself.
    void Start() {
        m_arrived.fetch_add(1);
        while (m_arrived.load() % kContenders != 0) continue;
    }
    void Wait() { m_barrier.arrive_and_wait(); }

  private:
    alignas(kCacheLine) std::atomic<int> m_arrived{0};
    alignas(kCacheLine) std::barrier<> m_barrier{kContenders};
};

// Does part(times) in the calling thread, beside the other one. The clock runs until both threads
// are done: who lets one thread finish first and the other wait gets no credit for the early end.
template <typename Part>
void Together(benchmark::State& state, Meeting& meeting, Part part) {
    const ScopedPin pin(state.thread_index());
    const std::int64_t times = state.max_iterations;
    const Disturbance disturbance;
    // The benchmark's own barrier is between what the caller did before and the loop.
    while (state.KeepRunningBatch(times)) {
        meeting.Start();
        part(times);
        meeting.Wait();
    }
    state.counters[kDisturbance] = disturbance.Share();
}

// The same on one processor, for threads of which one waits for the other at any moment. On two it
// would be chance whether a waiter is still awake when its turn comes, and otherwise the time that
// a processor takes to get up would hide all else. What is left is the calls, and the switch from
// one thread to the other; when neither runs, something else does.
template <typename Part>
void InTurns(benchmark::State& state, Meeting& meeting, Part part) {
    const ScopedPin pin(0);
    const std::int64_t times = state.max_iterations;
    double idle = 0;
    while (state.KeepRunningBatch(times)) {
        meeting.Wait();
        const Activity activity;
        part(times);
        idle = 1.0 / kContenders - activity.Share();
        meeting.Wait();
    }
    // Those of both threads are added up.
    state.counters[kDisturbance] = idle;
}

// --- Locks, which have Acquire and Release ----------------------------------------------------

template <typename Lock>
void Uncontended(benchmark::State& state, Lock& lock) {
    for (auto _ : state) {
        lock.Acquire();
        benchmark::ClobberMemory();
        lock.Release();
    }
}

// What the contenders share. The lock is away from what it guards, so that a waiter's look at the
// lock does not slow the owner's work down for one kind of lock and not for another.
template <typename Lock>
struct Arena {
    alignas(kCacheLine) Lock lock;
    alignas(kCacheLine) std::uint64_t counter = 0;
    int lastOwner = 0;
    std::uint64_t handovers = 0;
    Meeting meeting;
};

template <typename Lock>
void Work(Arena<Lock>& arena, int self, std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) {
        arena.lock.Acquire();
        arena.counter = arena.counter + 1;
        if (arena.lastOwner != self) {
            arena.lastOwner = self;
            arena.handovers = arena.handovers + 1;
        }
        benchmark::ClobberMemory();
        arena.lock.Release();
    }
}

template <typename Lock>
void Contended(benchmark::State& state, Arena<Lock>& arena) {
    const int self = state.thread_index();
    if (self == 0) arena.counter = arena.handovers = 0;
    Together(state, arena.meeting, [&](std::int64_t times) { Work(arena, self, times); });
    if (self != 0) return;
    const std::uint64_t total = static_cast<std::uint64_t>(state.max_iterations) * kContenders;
    if (arena.counter != total) return Fail(state, "a contended lock lost counts");
    state.counters[kHandovers] = static_cast<double>(arena.handovers) / static_cast<double>(total);
}

// --- Under a name --------------------------------------------------------------------------------

// Measures in two threads, with what they share: measure(state, shared).
template <typename Shared, typename Measure>
void AddOfTwo(const std::string& name, Measure measure) {
    const auto shared = std::make_shared<Shared>();
    benchmark::RegisterBenchmark(
        name.c_str(), [shared, measure](benchmark::State& state) { measure(state, *shared); })
        ->Threads(kContenders)
        ->UseRealTime();
}

template <typename Lock>
void AddUncontended(const std::string& name) {
    benchmark::RegisterBenchmark(name.c_str(), [](benchmark::State& state) {
        Lock lock;
        Uncontended(state, lock);
    });
}

template <typename Lock>
void AddContended(const std::string& name) {
    AddOfTwo<Arena<Lock>>(name, Contended<Lock>);
}

}  // namespace bench

#endif
