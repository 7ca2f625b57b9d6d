#include <apr_thread_mutex.h>
#include <benchmark/benchmark.h>
#include <glib.h>
#include <kxcore7/counter.h>
#include <kxcore7/lockstats.h>
#include <kxcore7/mutex.h>
#include <kxcore7/result.h>
#include <prmon.h>
#include <uv.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "apr.h"
#include "contest.h"
#include "report.h"
#include "subjects.h"

namespace bench {
namespace {

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
    // By the lock's own statistics.
    std::int64_t Acquired() const {
        KXLockStatRecord record{};
        return KXGetLockStats(m_handle, &record) == KX_S_OK ? record.acquireCount : 0;
    }

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
        Require(
            apr_thread_mutex_create(&m_mutex, APR_THREAD_MUTEX_NESTED, m_pool.Get()) == APR_SUCCESS,
            "APR");
    }
    void Acquire() { apr_thread_mutex_lock(m_mutex); }
    void Release() { apr_thread_mutex_unlock(m_mutex); }

  private:
    AprPool m_pool;
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

const std::string kUncontended = "mutex, acquire + release";
const std::string kContended = "mutex, two threads";

template <typename Lock>
void AddBoth(const std::string& name) {
    AddUncontended<Lock>(kUncontended + "/" + name);
    AddContended<Lock>(kContended + "/" + name);
}

using StatisticsLock = KxLock<KX_MUTEX_STATS>;

void MeasuredUncontended(benchmark::State& state) {
    StatisticsLock lock;
    Uncontended(state, lock);
    if (lock.Acquired() != state.iterations()) Fail(state, "statistics lost an acquire");
}

void MeasuredContended(benchmark::State& state, Arena<StatisticsLock>& arena) {
    if (state.thread_index() == 0) KXResetLockStats();
    Contended(state, arena);
    if (state.thread_index() != 0 || state.error_occurred()) return;
    if (arena.lock.Acquired() != kContenders * state.max_iterations) {
        Fail(state, "statistics lost an acquire");
    }
}

// What a lock with statistics asks the clock at the very least.
void TwoClockReads(benchmark::State& state) {
    const std::int64_t before = KXPerfGetCount();
    for (auto _ : state) {
        benchmark::DoNotOptimize(KXPerfGetCount());
        benchmark::DoNotOptimize(KXPerfGetCount());
    }
    if (KXPerfGetCount() <= before) Fail(state, "the clock stands");
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
    AddUncontended<KxLock<KX_MUTEX_CHECKED>>(kUncontended + "/checked");
    benchmark::RegisterBenchmark((kUncontended + "/statistics").c_str(), MeasuredUncontended);
    benchmark::RegisterBenchmark((kUncontended + "/two clock reads").c_str(), TwoClockReads);
    AddOfTwo<Arena<StatisticsLock>>(kContended + "/statistics", MeasuredContended);
    AddContended<KxLock<KX_MUTEX_SPIN>>(kContended + "/spin");

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
                .peers = {plain},
                .asides = {{"two clock reads", kUncontended + "/two clock reads"}}});
    report.Add({.what = "statistics mutex, two threads",
                .benchmark = kContended + "/statistics",
                .peers = {plainContended},
                .asides = {{"two clock reads, one thread", kUncontended + "/two clock reads"}}});
    report.Add({.what = "spin mutex, two threads",
                .benchmark = kContended + "/spin",
                .peers = {plainContended}});
}

}  // namespace bench
