#include <apr_general.h>
#include <apr_pools.h>
#include <apr_thread_mutex.h>
#include <benchmark/benchmark.h>
#include <glib.h>
#include <kxcore7/mutex.h>
#include <prmon.h>
#include <sched.h>
#include <uv.h>

#include <atomic>
#include <barrier>
#include <chrono>
#include <cstdint>
#include <fstream>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "report.h"
#include "subjects.h"

namespace bench {
namespace {

constexpr int kContenders = 2;
constexpr std::size_t kCacheLine = 64;

void Require(bool made, const char* what) {
    if (!made) throw std::runtime_error(std::string("cannot make a lock: ") + what);
}

// Each lock is called as a program would call it, with nothing in between. None is copied.

template <std::uint32_t flags>
class KxLock final {
  public:
    KxLock() { Require(KXMutexCreate("bench", flags, &m_handle) == 0, "kxcore7"); }
    ~KxLock() { KXMutexDestroy(m_handle); }
    KxLock(const KxLock&) = delete;
    KxLock& operator=(const KxLock&) = delete;
    void Acquire() { KXMutexAcquire(m_handle); }
    void Release() { KXMutexRelease(m_handle); }

  private:
    KXMutexHandle m_handle = KX_INVALID_HANDLE;
};

class StdLock final {
  public:
    void Acquire() { m_mutex.lock(); }
    void Release() { m_mutex.unlock(); }

  private:
    std::recursive_mutex m_mutex;
};

class GlibLock final {
  public:
    GlibLock() { g_rec_mutex_init(&m_mutex); }
    ~GlibLock() { g_rec_mutex_clear(&m_mutex); }
    GlibLock(const GlibLock&) = delete;
    GlibLock& operator=(const GlibLock&) = delete;
    void Acquire() { g_rec_mutex_lock(&m_mutex); }
    void Release() { g_rec_mutex_unlock(&m_mutex); }

  private:
    GRecMutex m_mutex;
};

class AprLock final {
  public:
    AprLock() {
        static const apr_status_t started = apr_initialize();
        Require(started == APR_SUCCESS, "APR's start");
        Require(apr_pool_create(&m_pool, nullptr) == APR_SUCCESS, "APR's pool");
        Require(apr_thread_mutex_create(&m_mutex, APR_THREAD_MUTEX_NESTED, m_pool) == APR_SUCCESS,
                "APR");
    }
    ~AprLock() { apr_pool_destroy(m_pool); }
    AprLock(const AprLock&) = delete;
    AprLock& operator=(const AprLock&) = delete;
    void Acquire() { apr_thread_mutex_lock(m_mutex); }
    void Release() { apr_thread_mutex_unlock(m_mutex); }

  private:
    apr_pool_t* m_pool = nullptr;
    apr_thread_mutex_t* m_mutex = nullptr;
};

class UvLock final {
  public:
    UvLock() { Require(uv_mutex_init_recursive(&m_mutex) == 0, "libuv"); }
    ~UvLock() { uv_mutex_destroy(&m_mutex); }
    UvLock(const UvLock&) = delete;
    UvLock& operator=(const UvLock&) = delete;
    void Acquire() { uv_mutex_lock(&m_mutex); }
    void Release() { uv_mutex_unlock(&m_mutex); }

  private:
    uv_mutex_t m_mutex;
};

class NsprLock final {
  public:
    NsprLock() { Require(m_monitor != nullptr, "NSPR"); }
    ~NsprLock() { PR_DestroyMonitor(m_monitor); }
    NsprLock(const NsprLock&) = delete;
    NsprLock& operator=(const NsprLock&) = delete;
    void Acquire() { PR_EnterMonitor(m_monitor); }
    void Release() { PR_ExitMonitor(m_monitor); }

  private:
    PRMonitor* const m_monitor = PR_NewMonitor();
};

template <typename Lock>
void Uncontended(benchmark::State& state) {
    Lock lock;
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
    alignas(kCacheLine) std::atomic<int> arrived{0};
    alignas(kCacheLine) std::barrier<> done{kContenders};
};

// Keeps the calling thread on the processor of that number, counted among those it may use. Left to
// itself the scheduler moves a woken waiter to the processor of its waker, and from then on the two
// take turns by time slices and hardly ever meet at the lock.
class ScopedPin final {
  public:
    explicit ScopedPin(int number) {
        CPU_ZERO(&m_before);
        sched_getaffinity(0, sizeof m_before, &m_before);
        for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
            if (CPU_ISSET(cpu, &m_before) && number-- == 0) Pin(cpu);
        }
    }
    ~ScopedPin() { sched_setaffinity(0, sizeof m_before, &m_before); }
    ScopedPin(const ScopedPin&) = delete;
    ScopedPin& operator=(const ScopedPin&) = delete;

  private:
    static void Pin(int cpu) {
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(cpu, &one);
        sched_setaffinity(0, sizeof one, &one);
    }

    cpu_set_t m_before;
};

// Both threads are on a processor when this returns. A wait that sleeps would give the one that
// wakes first a long stretch of the lock to itself.
void StartTogether(std::atomic<int>& arrived) {
    arrived.fetch_add(1);
    while (arrived.load() % kContenders != 0) continue;
}

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

// Nanoseconds for which the calling thread was ready and had no processor, because something else
// ran there; 0 where the system does not tell.
double WaitedForProcessor() {
    std::ifstream file("/proc/thread-self/schedstat");
    double ran = 0;
    double waited = 0;
    file >> ran >> waited;
    return waited;
}

double Now() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::nano>(now).count();
}

// The clock runs until both threads are done: a lock that lets one thread finish first and the
// other wait gets no credit for the early end.
template <typename Lock>
void Contended(benchmark::State& state, Arena<Lock>& arena) {
    const ScopedPin pin(state.thread_index());
    const std::int64_t times = state.max_iterations;
    if (state.thread_index() == 0) arena.counter = arena.handovers = 0;
    const double start = Now();
    const double waited = WaitedForProcessor();
    // The benchmark's own barrier is between the reset and the loop.
    while (state.KeepRunningBatch(times)) {
        StartTogether(arena.arrived);
        Work(arena, state.thread_index(), times);
        arena.done.arrive_and_wait();
    }
    state.counters[kDisturbance] = (WaitedForProcessor() - waited) / (Now() - start);
    if (state.thread_index() != 0) return;
    const std::uint64_t total = static_cast<std::uint64_t>(times) * kContenders;
    if (arena.counter != total) return Fail(state, "a contended lock lost counts");
    state.counters[kHandovers] = static_cast<double>(arena.handovers) / static_cast<double>(total);
}

const std::string kUncontended = "mutex, acquire + release";
const std::string kContended = "mutex, two threads";

template <typename Lock>
void AddUncontended(const std::string& name) {
    benchmark::RegisterBenchmark((kUncontended + "/" + name).c_str(), Uncontended<Lock>);
}

template <typename Lock>
void AddContended(const std::string& name) {
    const auto arena = std::make_shared<Arena<Lock>>();
    benchmark::RegisterBenchmark((kContended + "/" + name).c_str(),
                                 [arena](benchmark::State& state) { Contended(state, *arena); })
        ->Threads(kContenders)
        ->UseRealTime();
}

template <typename Lock>
void AddBoth(const std::string& name) {
    AddUncontended<Lock>(name);
    AddContended<Lock>(name);
}

std::vector<Peer> PeersOf(const std::string& what) {
    std::vector<Peer> peers;
    for (const char* const name : {"std::recursive_mutex", "GLib GRecMutex", "APR nested mutex",
                                   "libuv recursive mutex", "NSPR PRMonitor"}) {
        peers.push_back({name, what + "/" + name});
    }
    return peers;
}

}  // namespace

void RegisterMutexes(Report& report) {
    AddBoth<KxLock<0>>("plain");
    AddBoth<StdLock>("std::recursive_mutex");
    AddBoth<GlibLock>("GLib GRecMutex");
    AddBoth<AprLock>("APR nested mutex");
    AddBoth<UvLock>("libuv recursive mutex");
    AddBoth<NsprLock>("NSPR PRMonitor");
    AddUncontended<KxLock<KX_MUTEX_CHECKED>>("checked");
    AddUncontended<KxLock<KX_MUTEX_STATS>>("statistics");
    AddContended<KxLock<KX_MUTEX_SPIN>>("spin");

    const Peer plain{"kxcore7 plain mutex", kUncontended + "/plain"};
    const Peer plainContended{"kxcore7 plain mutex", kContended + "/plain"};
    report.Add({.what = kUncontended,
                .benchmark = plain.benchmark,
                .peers = PeersOf(kUncontended),
                .wanted = 1.0});
    report.Add({.what = kContended,
                .benchmark = plainContended.benchmark,
                .peers = PeersOf(kContended),
                .wanted = 1.0});
    report.Add({.what = "checked mutex, acquire + release",
                .benchmark = kUncontended + "/checked",
                .peers = {plain},
                .wanted = 1.4});
    report.Add({.what = "statistics mutex, acquire + release",
                .benchmark = kUncontended + "/statistics",
                .peers = {plain}});
    report.Add({.what = "spin mutex, two threads",
                .benchmark = kContended + "/spin",
                .peers = {plainContended}});
}

}  // namespace bench
