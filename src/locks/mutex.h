// The interfaces and classes of the mutex family. A handle is the address of an IMutex.
#ifndef KXCORE7_SRC_LOCKS_MUTEX_H
#define KXCORE7_SRC_LOCKS_MUTEX_H

#include <kxcore7/lockstats.h>
#include <kxcore7/mutex.h>

#include <atomic>
#include <cstdint>
#include <string>

#include "frame/ref_counted.h"
#include "platform/locks.h"

// Outcomes as told for the exports in kxcore7/mutex.h.
class IMutex : public CKXCoreRefCounted {
  public:
    virtual KXResult Acquire() = 0;
    virtual KXResult TryAcquire() = 0;
    virtual KXResult Release() = 0;
    // KX_E_NOTIMPL, and the record untouched, for a lock that measures nothing.
    virtual KXResult GetStats(KXLockStatRecord* record) = 0;
    virtual void ResetStats() = 0;
    virtual std::int32_t AssertOwnership(KXBool16 expected) = 0;
    virtual std::string GetName() const = 0;
    // The effective flags, which may differ from those asked for.
    virtual std::uint32_t GetFlags() const = 0;
    virtual std::uint32_t IsStatsExempt() const = 0;
    virtual void* GetOSMutex() = 0;
};

namespace kx::core {

// What every mutex has: flags and a name.
class CKXMutex : public IMutex {
  public:
    CKXMutex(const char* name, std::uint32_t flags) : m_flags(flags), m_name(name) {}

    std::string GetName() const override { return m_name; }
    std::uint32_t GetFlags() const override { return m_flags; }
    std::uint32_t IsStatsExempt() const override {
        return (m_flags & KX_MUTEX_NO_STATS) != 0 ? 1 : 0;
    }

  protected:
    bool Has(std::uint32_t flags) const { return (m_flags & flags) == flags; }

  private:
    const std::uint32_t m_flags;
    const std::string m_name;
};

}  // namespace kx::core

// The plain mutex: the primitive and nothing else.
class CKXCoreMutexImpl : public kx::core::CKXMutex {
  public:
    CKXCoreMutexImpl(const char* name, std::uint32_t flags);

    KXResult Acquire() override;
    KXResult TryAcquire() override;
    KXResult Release() override;
    KXResult GetStats(KXLockStatRecord* record) override;
    void ResetStats() override;
    std::int32_t AssertOwnership(KXBool16 expected) override;
    void* GetOSMutex() override;

  protected:
    kx::platform::CriticalSection m_primitive;
};

// The mutex with checks, statistics or both, as hooks around the plain one.
//
// Only the owner writes these fields; reports and re-entry checks read them without the lock, so
// they are atomics, used without ordering. A thread that compares m_owner with its own id can't be
// misled by a stale value: only that thread itself stores that id.
class CKXCoreMutexChecked final : public CKXCoreMutexImpl {
  public:
    CKXCoreMutexChecked(const char* name, std::uint32_t flags);

    KXResult Acquire() override;
    KXResult TryAcquire() override;
    KXResult Release() override;
    KXResult GetStats(KXLockStatRecord* record) override;
    void ResetStats() override;
    std::int32_t AssertOwnership(KXBool16 expected) override;

  private:
    // A number that one thread at a time changes and any thread may read.
    template <typename Number>
    class Field final {
      public:
        Number Get() const { return m_value.load(std::memory_order_relaxed); }
        void Set(Number value) { m_value.store(value, std::memory_order_relaxed); }

      private:
        std::atomic<Number> m_value{0};
    };

    // waitStart is 0 where no wait is measured; the parts of an acquire that cost time anyway are
    // out of line, so that a lock with checks alone stays quick.
    KXResult AcquireSince(std::int64_t waitStart);
    [[gnu::noinline]] KXResult AcquireMeasured();
    [[gnu::noinline, gnu::cold]] KXResult AcquireContended(std::uint32_t self,
                                                           std::int64_t waitStart);
    KXResult preAcquire(std::uint32_t self);
    void postAcquire(std::uint32_t self, std::int64_t waitStart);
    KXResult preRelease();
    KXResult CheckRelease(std::uint16_t depth) const;
    [[gnu::noinline]] void CountAcquire(std::int64_t waitStart);
    [[gnu::noinline]] void CountRelease();

    Field<std::uint32_t> m_owner;
    Field<std::int64_t> m_lastAcquired;
    Field<std::int64_t> m_maxAcquireTime;
    Field<std::int64_t> m_totalAcquireTime;
    Field<std::uint64_t> m_acquireCount;
    Field<std::int64_t> m_maxHeldTime;
    Field<std::int64_t> m_totalHeldTime;
    Field<std::uint64_t> m_heldCount;
    Field<std::uint16_t> m_lockDepth;
};

#endif
