#include <absl/synchronization/mutex.h>
#include <apr_thread_rwlock.h>
#include <benchmark/benchmark.h>
#include <glib.h>
#include <kxcore7/mutex.h>
#include <kxcore7/rwlock.h>
#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

#include "apr.h"
#include "contest.h"
#include "report.h"
#include "subjects.h"

namespace bench {
namespace {

// --- Each is called as a program would call it ---------------------------------------------------

class KxLock final {
  public:
    KxLock() { Require(KXRWLockCreate("bench", 0, &m_handle) == 0, "a kxcore7 lock"); }
    ~KxLock() { KXRWLockDestroy(m_handle); }
    KxLock(const KxLock&) = delete;
    KxLock& operator=(const KxLock&) = delete;
    void Read() { KXRWLockAcquireRead(m_handle); }
    bool TryRead() { return KXRWLockTryAcquireRead(m_handle) >= 0; }
    void EndRead() { KXRWLockReleaseRead(m_handle); }
    void Write() { KXRWLockAcquireWrite(m_handle); }
    bool TryWrite() { return KXRWLockTryAcquireWrite(m_handle) >= 0; }
    void EndWrite() { KXRWLockReleaseWrite(m_handle); }

  private:
    KXRWLockHandle m_handle = KX_INVALID_HANDLE;
};

class PosixLock final {
  public:
    PosixLock() = default;
    ~PosixLock() { pthread_rwlock_destroy(&m_lock); }
    PosixLock(const PosixLock&) = delete;
    PosixLock& operator=(const PosixLock&) = delete;
    void Read() { pthread_rwlock_rdlock(&m_lock); }
    bool TryRead() { return pthread_rwlock_tryrdlock(&m_lock) == 0; }
    void EndRead() { pthread_rwlock_unlock(&m_lock); }
    void Write() { pthread_rwlock_wrlock(&m_lock); }
    bool TryWrite() { return pthread_rwlock_trywrlock(&m_lock) == 0; }
    void EndWrite() { pthread_rwlock_unlock(&m_lock); }

  private:
    pthread_rwlock_t m_lock = PTHREAD_RWLOCK_INITIALIZER;
};

class GlibLock final {
  public:
    GlibLock() { g_rw_lock_init(&m_lock); }
    ~GlibLock() { g_rw_lock_clear(&m_lock); }
    GlibLock(const GlibLock&) = delete;
    GlibLock& operator=(const GlibLock&) = delete;
    void Read() { g_rw_lock_reader_lock(&m_lock); }
    bool TryRead() { return g_rw_lock_reader_trylock(&m_lock) != FALSE; }
    void EndRead() { g_rw_lock_reader_unlock(&m_lock); }
    void Write() { g_rw_lock_writer_lock(&m_lock); }
    bool TryWrite() { return g_rw_lock_writer_trylock(&m_lock) != FALSE; }
    void EndWrite() { g_rw_lock_writer_unlock(&m_lock); }

  private:
    GRWLock m_lock;
};

class AprLock final {
  public:
    AprLock() {
        Require(apr_thread_rwlock_create(&m_lock, m_pool.Get()) == APR_SUCCESS, "APR's lock");
    }
    void Read() { apr_thread_rwlock_rdlock(m_lock); }
    bool TryRead() { return apr_thread_rwlock_tryrdlock(m_lock) == APR_SUCCESS; }
    void EndRead() { apr_thread_rwlock_unlock(m_lock); }
    void Write() { apr_thread_rwlock_wrlock(m_lock); }
    bool TryWrite() { return apr_thread_rwlock_trywrlock(m_lock) == APR_SUCCESS; }
    void EndWrite() { apr_thread_rwlock_unlock(m_lock); }

  private:
    AprPool m_pool;
    apr_thread_rwlock_t* m_lock = nullptr;
};

class AbslLock final {
  public:
    void Read() { m_lock.ReaderLock(); }
    bool TryRead() { return m_lock.ReaderTryLock(); }
    void EndRead() { m_lock.ReaderUnlock(); }
    void Write() { m_lock.Lock(); }
    bool TryWrite() { return m_lock.TryLock(); }
    void EndWrite() { m_lock.Unlock(); }

  private:
    absl::Mutex m_lock;
};

class StdLock final {
  public:
    void Read() { m_lock.lock_shared(); }
    bool TryRead() { return m_lock.try_lock_shared(); }
    void EndRead() { m_lock.unlock_shared(); }
    void Write() { m_lock.lock(); }
    bool TryWrite() { return m_lock.try_lock(); }
    void EndWrite() { m_lock.unlock(); }

  private:
    std::shared_mutex m_lock;
};

// What two pairs of acquire and release of a plain mutex cost; or, with counts, these and one
// atomic addition in each of them, which is what a further read and its release can't do without.
template <bool counts>
class TwoPairs final {
  public:
    TwoPairs() { Require(KXMutexCreate("bench", 0, &m_handle) == 0, "a kxcore7 mutex"); }
    ~TwoPairs() { KXMutexDestroy(m_handle); }
    TwoPairs(const TwoPairs&) = delete;
    TwoPairs& operator=(const TwoPairs&) = delete;
    void Acquire() {
        KXMutexAcquire(m_handle);
        if constexpr (counts) m_count.fetch_add(1);
        KXMutexRelease(m_handle);
    }
    void Release() { Acquire(); }

  private:
    KXMutexHandle m_handle = KX_INVALID_HANDLE;
    std::atomic<std::int32_t> m_count{0};
};

// --- What is done with them
// ------------------------------------------------------------------------

template <typename Lock>
struct Reading {
    void Acquire() { lock.Read(); }
    void Release() { lock.EndRead(); }
    Lock lock;
};

template <typename Lock>
struct Writing {
    void Acquire() { lock.Write(); }
    void Release() { lock.EndWrite(); }
    Lock lock;
};

bool InAnotherThread(const auto& test) {
    bool outcome = false;
    std::thread([&] { outcome = test(); }).join();
    return outcome;
}

// Whether readers get in beside each other, and nobody beside a writer.
template <typename Lock>
bool SharesAndExcludes() {
    Lock lock;
    const auto canRead = [&lock] {
        const bool reads = lock.TryRead();
        if (reads) lock.EndRead();
        return reads;
    };
    const auto canWrite = [&lock] {
        const bool writes = lock.TryWrite();
        if (writes) lock.EndWrite();
        return writes;
    };
    lock.Read();
    const bool shares = InAnotherThread(canRead) && !InAnotherThread(canWrite);
    lock.EndRead();
    lock.Write();
    const bool excludes = !InAnotherThread(canRead) && !InAnotherThread(canWrite);
    lock.EndWrite();
    return shares && excludes && InAnotherThread(canWrite);
}

template <typename Lock>
void Check(benchmark::State& state) {
    if (!SharesAndExcludes<Lock>()) Fail(state, "a lock lets in whom it should not, or nobody");
}

template <typename Lock>
void ReadAlone(benchmark::State& state) {
    Reading<Lock> reading;
    Uncontended(state, reading);
    Check<Lock>(state);
}

template <typename Lock>
void ReadAgainAlone(benchmark::State& state) {
    Reading<Lock> reading;
    reading.Acquire();
    Uncontended(state, reading);
    reading.Release();
    Check<Lock>(state);
}

template <typename Lock>
void WriteAlone(benchmark::State& state) {
    Writing<Lock> writing;
    Uncontended(state, writing);
    Check<Lock>(state);
}

template <typename Shared>
struct Company {
    alignas(kCacheLine) Shared lock;
    Meeting meeting;
};

template <typename Shared>
void AcquireAndRelease(Shared& lock, std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) {
        lock.Acquire();
        benchmark::ClobberMemory();
        lock.Release();
    }
}

// Nobody has to wait for the other, but both change the lock.
template <typename Lock>
void ReadTogether(benchmark::State& state, Company<Reading<Lock>>& company) {
    Together(state, company.meeting,
             [&](std::int64_t times) { AcquireAndRelease(company.lock, times); });
    if (state.thread_index() == 0) Check<Lock>(state);
}

template <typename Lock>
void ReadAgainTogether(benchmark::State& state, Company<Reading<Lock>>& company) {
    company.lock.Acquire();
    ReadTogether(state, company);
    company.lock.Release();
}

template <bool counts>
void TwoPairsTogether(benchmark::State& state, Company<TwoPairs<counts>>& company) {
    Together(state, company.meeting,
             [&](std::int64_t times) { AcquireAndRelease(company.lock, times); });
}

template <typename Lock>
void WriteTogether(benchmark::State& state, Arena<Writing<Lock>>& arena) {
    Contended(state, arena);
    if (state.thread_index() == 0) Check<Lock>(state);
}

// --- Rows ----------------------------------------------------------------------------------------

const std::string kAlone = ", one thread/";
const std::string kTogether = ", two threads/";
const std::string kRead = "rwlock, first read";
const std::string kReadAgain = "rwlock, further read";
const std::string kWrite = "rwlock, write";

template <typename Lock>
void AddReadAgain(const std::string& name) {
    benchmark::RegisterBenchmark((kReadAgain + kAlone + name).c_str(), ReadAgainAlone<Lock>);
    AddOfTwo<Company<Reading<Lock>>>(kReadAgain + kTogether + name, ReadAgainTogether<Lock>);
}

template <bool counts>
void AddTwoPairs(const std::string& name) {
    AddUncontended<TwoPairs<counts>>(kReadAgain + kAlone + name);
    AddOfTwo<Company<TwoPairs<counts>>>(kReadAgain + kTogether + name, TwoPairsTogether<counts>);
}

template <typename Lock>
void AddReadAndWrite(const std::string& name) {
    benchmark::RegisterBenchmark((kRead + kAlone + name).c_str(), ReadAlone<Lock>);
    benchmark::RegisterBenchmark((kWrite + kAlone + name).c_str(), WriteAlone<Lock>);
    AddOfTwo<Company<Reading<Lock>>>(kRead + kTogether + name, ReadTogether<Lock>);
    AddOfTwo<Arena<Writing<Lock>>>(kWrite + kTogether + name, WriteTogether<Lock>);
}

constexpr const char* kOwn = "kxcore7";
constexpr const char* kPosix = "pthread_rwlock";
constexpr const char* kGlib = "GLib GRWLock";
constexpr const char* kApr = "APR rwlock";
constexpr const char* kAbsl = "absl::Mutex";
constexpr const char* kStd = "std::shared_mutex";
constexpr const char* kTwoPairs = "two pairs of a plain mutex";
constexpr const char* kTwoCountedPairs = "the same + two atomic additions";

std::vector<Peer> Peers(const std::string& prefix, const std::vector<const char*>& names) {
    std::vector<Peer> peers;
    for (const char* const name : names) peers.push_back({name, prefix + name});
    return peers;
}

}  // namespace

// The others that let a thread read twice count readers and do not know them; so they can't let it
// read on while a writer waits, and are no measure for that. The rest forbids it.
void RegisterReaderWriterLocks(Report& report) {
    AddReadAndWrite<KxLock>(kOwn);
    AddReadAndWrite<PosixLock>(kPosix);
    AddReadAndWrite<GlibLock>(kGlib);
    AddReadAndWrite<AprLock>(kApr);
    AddReadAndWrite<AbslLock>(kAbsl);
    AddReadAndWrite<StdLock>(kStd);
    AddReadAgain<KxLock>(kOwn);
    AddReadAgain<PosixLock>(kPosix);
    AddReadAgain<GlibLock>(kGlib);
    AddReadAgain<AprLock>(kApr);
    AddTwoPairs<false>(kTwoPairs);
    AddTwoPairs<true>(kTwoCountedPairs);

    for (const auto& count : {kAlone, kTogether}) {
        const auto titled = [&count](const std::string& what) {
            return what + count.substr(0, count.size() - 1);
        };
        for (const auto& what : {kRead, kWrite}) {
            report.Add({.what = titled(what),
                        .benchmark = what + count + kOwn,
                        .peers = Peers(what + count, {kPosix, kGlib, kApr, kAbsl, kStd})});
        }
        report.Add({.what = titled(kReadAgain),
                    .benchmark = kReadAgain + count + kOwn,
                    .peers = Peers(kReadAgain + count, {kTwoPairs}),
                    .asides = Peers(kReadAgain + count, {kTwoCountedPairs, kPosix, kGlib, kApr}),
                    .wanted = 1.0});
    }
}

}  // namespace bench
