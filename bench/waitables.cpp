#include <benchmark/benchmark.h>
#include <glib.h>
#include <kxcore7/condition.h>
#include <kxcore7/event.h>
#include <kxcore7/semaphore.h>
#include <linux/futex.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <uv.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "contest.h"
#include "report.h"
#include "rows.h"
#include "subjects.h"

namespace bench {
namespace {

// --- Signals: one Wait passes for each Signal --------------------------------------------------

class KxEvent final {
  public:
    KxEvent() { Require(KXEventCreate("bench", 0, &m_handle) == 0, "a kxcore7 event"); }
    ~KxEvent() { KXEventDestroy(m_handle); }
    KxEvent(const KxEvent&) = delete;
    KxEvent& operator=(const KxEvent&) = delete;
    void Signal() { KXEventSignal(m_handle); }
    void Wait() { KXEventWait(m_handle); }

  private:
    KXEventHandle m_handle = KX_INVALID_HANDLE;
};

class KxSemaphore final {
  public:
    KxSemaphore() {
        Require(KXSemaphoreCreate(0, "bench", 0, &m_handle) == 0, "a kxcore7 semaphore");
    }
    ~KxSemaphore() { KXSemaphoreDestroy(m_handle); }
    KxSemaphore(const KxSemaphore&) = delete;
    KxSemaphore& operator=(const KxSemaphore&) = delete;
    void Signal() { KXSemaphorePost(m_handle); }
    void Wait() { KXSemaphoreWait(m_handle); }

  private:
    KXSemaphoreHandle m_handle = KX_INVALID_HANDLE;
};

// The least that two threads can do: it wakes whether somebody sleeps or not.
class BareFutex final {
  public:
    void Signal() {
        m_word.store(1, std::memory_order_release);
        syscall(SYS_futex, &m_word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
    }
    void Wait() {
        while (m_word.exchange(0, std::memory_order_acquire) == 0) {
            syscall(SYS_futex, &m_word, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0);
        }
    }

  private:
    std::atomic<std::uint32_t> m_word{0};
};

class PosixSemaphore final {
  public:
    PosixSemaphore() { Require(sem_init(&m_semaphore, 0, 0) == 0, "a sem_t"); }
    ~PosixSemaphore() { sem_destroy(&m_semaphore); }
    PosixSemaphore(const PosixSemaphore&) = delete;
    PosixSemaphore& operator=(const PosixSemaphore&) = delete;
    void Signal() { sem_post(&m_semaphore); }
    void Wait() { sem_wait(&m_semaphore); }

  private:
    sem_t m_semaphore;
};

class UvSemaphore final {
  public:
    UvSemaphore() { Require(uv_sem_init(&m_semaphore, 0) == 0, "a uv_sem_t"); }
    ~UvSemaphore() { uv_sem_destroy(&m_semaphore); }
    UvSemaphore(const UvSemaphore&) = delete;
    UvSemaphore& operator=(const UvSemaphore&) = delete;
    void Signal() { uv_sem_post(&m_semaphore); }
    void Wait() { uv_sem_wait(&m_semaphore); }

  private:
    uv_sem_t m_semaphore;
};

// --- Conditions with their locks -----------------------------------------------------------------

class KxCondition final {
  public:
    KxCondition() { Require(KXConditionCreate("bench", 0, &m_handle) == 0, "a kxcore7 condition"); }
    ~KxCondition() { KXConditionDestroy(m_handle); }
    KxCondition(const KxCondition&) = delete;
    KxCondition& operator=(const KxCondition&) = delete;
    void Acquire() { KXConditionAcquire(m_handle); }
    void Release() { KXConditionRelease(m_handle); }
    void Notify() { KXConditionSignal(m_handle); }
    void Sleep() { KXConditionWait(m_handle); }

  private:
    KXConditionHandle m_handle = KX_INVALID_HANDLE;
};

class PosixCondition final {
  public:
    ~PosixCondition() {
        pthread_cond_destroy(&m_condition);
        pthread_mutex_destroy(&m_mutex);
    }
    PosixCondition() = default;
    PosixCondition(const PosixCondition&) = delete;
    PosixCondition& operator=(const PosixCondition&) = delete;
    void Acquire() { pthread_mutex_lock(&m_mutex); }
    void Release() { pthread_mutex_unlock(&m_mutex); }
    void Notify() { pthread_cond_signal(&m_condition); }
    void Sleep() { pthread_cond_wait(&m_condition, &m_mutex); }

  private:
    pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t m_condition = PTHREAD_COND_INITIALIZER;
};

class GlibCondition final {
  public:
    GlibCondition() {
        g_mutex_init(&m_mutex);
        g_cond_init(&m_condition);
    }
    ~GlibCondition() {
        g_cond_clear(&m_condition);
        g_mutex_clear(&m_mutex);
    }
    GlibCondition(const GlibCondition&) = delete;
    GlibCondition& operator=(const GlibCondition&) = delete;
    void Acquire() { g_mutex_lock(&m_mutex); }
    void Release() { g_mutex_unlock(&m_mutex); }
    void Notify() { g_cond_signal(&m_condition); }
    void Sleep() { g_cond_wait(&m_condition, &m_mutex); }

  private:
    GMutex m_mutex;
    GCond m_condition;
};

class UvCondition final {
  public:
    UvCondition() {
        Require(uv_mutex_init(&m_mutex) == 0, "a uv_mutex_t");
        Require(uv_cond_init(&m_condition) == 0, "a uv_cond_t");
    }
    ~UvCondition() {
        uv_cond_destroy(&m_condition);
        uv_mutex_destroy(&m_mutex);
    }
    UvCondition(const UvCondition&) = delete;
    UvCondition& operator=(const UvCondition&) = delete;
    void Acquire() { uv_mutex_lock(&m_mutex); }
    void Release() { uv_mutex_unlock(&m_mutex); }
    void Notify() { uv_cond_signal(&m_condition); }
    void Sleep() { uv_cond_wait(&m_condition, &m_mutex); }

  private:
    uv_mutex_t m_mutex;
    uv_cond_t m_condition;
};

class StdCondition final {
  public:
    void Acquire() { m_lock.lock(); }
    void Release() { m_lock.unlock(); }
    void Notify() { m_condition.notify_one(); }
    void Sleep() {
        std::unique_lock<std::mutex> held(m_lock, std::adopt_lock);
        m_condition.wait(held);
        held.release();
    }

  private:
    std::mutex m_lock;
    std::condition_variable m_condition;
};

// What a program without events makes of a condition.
template <typename Condition>
class EventOf final {
  public:
    void Signal() {
        m_condition.Acquire();
        m_set = true;
        m_condition.Notify();
        m_condition.Release();
    }
    void Wait() {
        m_condition.Acquire();
        while (!m_set) m_condition.Sleep();
        m_set = false;
        m_condition.Release();
    }

  private:
    Condition m_condition;
    bool m_set = false;
};

// --- Turns: two threads, of which one gives the word to the other ------------------------------

template <typename Signals>
class TurnsBySignals final {
  public:
    void Give(int self) { m_sides[1 - self].signals.Signal(); }
    void Await(int self) { m_sides[self].signals.Wait(); }

  private:
    struct alignas(kCacheLine) Side {
        Signals signals;
    };
    Side m_sides[kContenders];
};

template <typename Condition>
class TurnsByCondition final {
  public:
    void Give(int self) {
        m_condition.Acquire();
        m_turn = 1 - self;
        m_condition.Notify();
        m_condition.Release();
    }
    void Await(int self) {
        m_condition.Acquire();
        while (m_turn != self) m_condition.Sleep();
        m_condition.Release();
    }

  private:
    Condition m_condition;
    int m_turn = 0;
};

// The first thread has the turn first and gets it back at the end. Nothing but the turns keeps the
// threads from taking them at one time, or out of order.
template <typename Turns>
class Game final {
  public:
    void Restart() { m_taken = m_inOrder = 0; }
    void Play(int self, std::int64_t times) {
        for (std::int64_t i = 0; i < times; ++i) {
            if (self != 0) m_turns.Await(self);
            m_inOrder += m_taken++ == static_cast<std::uint64_t>(kContenders * i + self) ? 1 : 0;
            m_turns.Give(self);
            if (self == 0) m_turns.Await(self);
        }
    }
    std::uint64_t InOrder() const { return m_inOrder; }

  private:
    Turns m_turns;
    alignas(kCacheLine) std::uint64_t m_taken = 0;
    std::uint64_t m_inOrder = 0;
};

template <typename Turns>
struct Table {
    Game<Turns> game;
    Meeting meeting;
};

template <typename Turns>
void TakeTurns(benchmark::State& state, Table<Turns>& table) {
    const int self = state.thread_index();
    if (self == 0) table.game.Restart();
    InTurns(state, table.meeting, [&](std::int64_t times) { table.game.Play(self, times); });
    if (self != 0) return;
    const std::uint64_t total = static_cast<std::uint64_t>(state.max_iterations) * kContenders;
    if (table.game.InOrder() != total) return Fail(state, "a turn was taken out of order");
    state.counters[kHandovers] = 1;
}

// Whether it does between two threads what one thread alone can't see.
template <typename Turns>
bool Works() {
    constexpr int kTurns = 100;
    Game<Turns> game;
    {
        const std::jthread other([&] { game.Play(1, kTurns); });
        game.Play(0, kTurns);
    }
    return game.InOrder() == kContenders * kTurns;
}

// --- One thread alone ----------------------------------------------------------------------------

template <typename Signals>
void SignalAndWait(benchmark::State& state) {
    if (!Works<TurnsBySignals<Signals>>()) return Fail(state, "a signal did not get through");
    Signals signals;
    for (auto _ : state) {
        signals.Signal();
        benchmark::ClobberMemory();
        signals.Wait();
    }
}

template <typename Condition>
void NotifyNobody(benchmark::State& state) {
    if (!Works<TurnsByCondition<Condition>>()) return Fail(state, "a signal did not get through");
    Condition condition;
    for (auto _ : state) {
        condition.Acquire();
        benchmark::ClobberMemory();
        condition.Notify();
        condition.Release();
    }
}

// --- Rows ----------------------------------------------------------------------------------------

template <typename Signals>
void AddAlone(const std::string& name) {
    benchmark::RegisterBenchmark(name.c_str(), SignalAndWait<Signals>);
}

template <typename Signals>
void AddTurns(const std::string& name) {
    AddOfTwo<Table<TurnsBySignals<Signals>>>(name, TakeTurns<TurnsBySignals<Signals>>);
}

template <typename Condition>
void AddConditionAlone(const std::string& name) {
    benchmark::RegisterBenchmark(name.c_str(), NotifyNobody<Condition>);
}

template <typename Condition>
void AddConditionTurns(const std::string& name) {
    AddOfTwo<Table<TurnsByCondition<Condition>>>(name, TakeTurns<TurnsByCondition<Condition>>);
}

}  // namespace

void RegisterWaitables(Report& report) {
    constexpr double kAsGood = 1.1;
    Rows("event, signal + wait")
        .Own(AddAlone<KxEvent>)
        .Peer("GLib GMutex + GCond", AddAlone<EventOf<GlibCondition>>)
        .Peer("libuv mutex + condition", AddAlone<EventOf<UvCondition>>)
        .Peer("std::condition_variable", AddAlone<EventOf<StdCondition>>)
        .AddTo(report);
    Rows("event, turns of two threads")
        .Own(AddTurns<KxEvent>)
        .Peer("bare futex", AddTurns<BareFutex>)
        .Aside("GLib GMutex + GCond", AddTurns<EventOf<GlibCondition>>)
        .Aside("libuv mutex + condition", AddTurns<EventOf<UvCondition>>)
        .Aside("std::condition_variable", AddTurns<EventOf<StdCondition>>)
        .AddTo(report, kAsGood);
    Rows("semaphore, post + wait")
        .Own(AddAlone<KxSemaphore>)
        .Peer("sem_t", AddAlone<PosixSemaphore>)
        .Aside("libuv semaphore", AddAlone<UvSemaphore>)
        .AddTo(report, kAsGood);
    Rows("semaphore, turns of two threads")
        .Own(AddTurns<KxSemaphore>)
        .Peer("sem_t", AddTurns<PosixSemaphore>)
        .Aside("libuv semaphore", AddTurns<UvSemaphore>)
        .AddTo(report);
    Rows("condition, signal to nobody")
        .Own(AddConditionAlone<KxCondition>)
        .Peer("pthread_cond + pthread_mutex", AddConditionAlone<PosixCondition>)
        .AddTo(report);
    Rows("condition, turns of two threads")
        .Own(AddConditionTurns<KxCondition>)
        .Peer("pthread_cond + pthread_mutex", AddConditionTurns<PosixCondition>)
        .AddTo(report);
}

}  // namespace bench
