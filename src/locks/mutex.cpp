#include "locks/mutex.h"

#include <kxcore7/alert.h>
#include <kxcore7/counter.h>
#include <kxcore7/result.h>

#include <algorithm>

#include "frame/exception.h"
#include "frame/global_data.h"
#include "locks/lock_stat_manager.h"
#include "locks/mutex_provider.h"
#include "platform/threads.h"

using namespace kx;

namespace {

constexpr std::uint32_t kSpinCount = 4000;
constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;

// Ticks a second of the counter, asked for by the first lock that may measure.
std::int64_t TickFrequency() {
    static constinit std::atomic<std::int64_t> s_frequency{0};
    if (s_frequency.load(std::memory_order_relaxed) == 0) {
        s_frequency.store(KXPerfGetFreq(), std::memory_order_relaxed);
    }
    return s_frequency.load(std::memory_order_relaxed);
}

// Multiplies first to keep the precision of short times; sums of many days may wrap.
std::int64_t Microseconds(std::int64_t ticks) {
    std::int64_t scaled;
    __builtin_mul_overflow(ticks, kMicrosecondsPerSecond, &scaled);
    return scaled / TickFrequency();
}

[[gnu::cold, gnu::noinline]] KXResult FailCheck(const char16_t* text) {
    KXErrorAlert(0, u"KXCore Critical Error", text);
    return KX_E_FAIL;
}

IMutex* FromHandle(KXMutexHandle handle) {
    return reinterpret_cast<IMutex*>(handle);
}

}  // namespace

CKXCoreMutexImpl::CKXCoreMutexImpl(const char* name, std::uint32_t flags)
    : CKXMutex(name, flags),
      m_primitive(Has(KX_MUTEX_SPIN) ? kSpinCount : 0, Has(KX_MUTEX_STATS)) {}

KXResult CKXCoreMutexImpl::Acquire() {
    if (!m_primitive.TryEnter()) m_primitive.EnterContended();
    return KX_S_OK;
}

KXResult CKXCoreMutexImpl::TryAcquire() {
    return m_primitive.TryEnter() ? KX_S_OK : KX_E_FAIL;
}

KXResult CKXCoreMutexImpl::Release() {
    m_primitive.Leave();
    return KX_S_OK;
}

KXResult CKXCoreMutexImpl::GetStats(KXLockStatRecord*) {
    return KX_E_NOTIMPL;
}

void CKXCoreMutexImpl::ResetStats() {}

std::int32_t CKXCoreMutexImpl::AssertOwnership(KXBool16) {
    return 1;
}

void* CKXCoreMutexImpl::GetOSMutex() {
    return m_primitive.Native();
}

CKXCoreMutexChecked::CKXCoreMutexChecked(const char* name, std::uint32_t flags)
    : CKXCoreMutexImpl(name, flags) {
    TickFrequency();
}

KXResult CKXCoreMutexChecked::Acquire() {
    return Has(KX_MUTEX_STATS) ? AcquireMeasured() : AcquireSince(0);
}

KXResult CKXCoreMutexChecked::AcquireMeasured() {
    return AcquireSince(KXPerfGetCount());
}

inline KXResult CKXCoreMutexChecked::AcquireSince(std::int64_t waitStart) {
    const std::uint32_t self = platform::CurrentThreadId();
    if (const KXResult result = preAcquire(self); result < 0) return result;
    if (!m_primitive.TryEnter()) return AcquireContended(self, waitStart);
    postAcquire(self, waitStart);
    return KX_S_OK;
}

KXResult CKXCoreMutexChecked::AcquireContended(std::uint32_t self, std::int64_t waitStart) {
    m_primitive.EnterContended();
    postAcquire(self, waitStart);
    return KX_S_OK;
}

KXResult CKXCoreMutexChecked::TryAcquire() {
    const std::uint32_t self = platform::CurrentThreadId();
    if (const KXResult result = preAcquire(self); result < 0) return result;
    if (!m_primitive.TryEnter()) return KX_E_FAIL;
    postAcquire(self, 0);
    return KX_S_OK;
}

KXResult CKXCoreMutexChecked::Release() {
    if (const KXResult result = preRelease(); result < 0) return result;
    if (Has(KX_MUTEX_STATS)) CountRelease();
    m_primitive.Leave();
    return KX_S_OK;
}

inline KXResult CKXCoreMutexChecked::preAcquire(std::uint32_t self) {
    if (!Has(KX_MUTEX_CHECKED | KX_MUTEX_NON_RECURSIVE)) return KX_S_OK;
    if (m_owner.Get() != self) return KX_S_OK;
    return FailCheck(u"CKXCoreMutexChecked::preAcquire m_owner check failed");
}

inline void CKXCoreMutexChecked::postAcquire(std::uint32_t self, std::int64_t waitStart) {
    m_owner.Set(self);
    if (Has(KX_MUTEX_STATS)) CountAcquire(waitStart);
    m_lockDepth.Set(static_cast<std::uint16_t>(m_lockDepth.Get() + 1u));
}

inline KXResult CKXCoreMutexChecked::preRelease() {
    const std::uint16_t depth = m_lockDepth.Get();
    if (Has(KX_MUTEX_CHECKED)) [[likely]] {
        if (const KXResult result = CheckRelease(depth); result < 0) return result;
    }
    const auto left = static_cast<std::uint16_t>(depth - 1u);
    m_lockDepth.Set(left);
    if (left == 0) [[likely]]
        m_owner.Set(0);
    return KX_S_OK;
}

inline KXResult CKXCoreMutexChecked::CheckRelease(std::uint16_t depth) const {
    if (m_owner.Get() != platform::CurrentThreadId()) {
        return FailCheck(u"CKXCoreMutexChecked::preRelease m_owner check failed");
    }
    if (depth == 0) {
        return FailCheck(u"CKXCoreMutexChecked::preRelease m_lockDepth check failed");
    }
    if (Has(KX_MUTEX_NON_RECURSIVE) && depth != 1) {
        return FailCheck(
            u"CKXCoreMutexChecked::preRelease m_lockDepth non recursive check failed ");
    }
    return KX_S_OK;
}

// A recursive acquire costs one addition and no clock read; a try has not waited.
void CKXCoreMutexChecked::CountAcquire(std::int64_t waitStart) {
    if (m_lockDepth.Get() == 0) {
        const std::int64_t now = KXPerfGetCount();
        m_lastAcquired.Set(now);
        if (waitStart != 0) {
            const std::int64_t wait = now - waitStart;
            m_totalAcquireTime.Set(m_totalAcquireTime.Get() + wait);
            m_maxAcquireTime.Set(std::max(m_maxAcquireTime.Get(), wait));
        }
    }
    m_acquireCount.Set(m_acquireCount.Get() + 1);
}

void CKXCoreMutexChecked::CountRelease() {
    if (m_lockDepth.Get() == 0) {
        const std::int64_t held = KXPerfGetCount() - m_lastAcquired.Get();
        m_totalHeldTime.Set(m_totalHeldTime.Get() + held);
        m_maxHeldTime.Set(std::max(m_maxHeldTime.Get(), held));
    }
    m_heldCount.Set(m_heldCount.Get() + 1);
}

// Takes no lock, so that a report never waits for a busy lock.
KXResult CKXCoreMutexChecked::GetStats(KXLockStatRecord* record) {
    record->maxAcquireTime = Microseconds(m_maxAcquireTime.Get());
    record->totalAcquireTime = Microseconds(m_totalAcquireTime.Get());
    record->acquireCount = static_cast<std::int64_t>(m_acquireCount.Get());
    record->maxHeldTime = Microseconds(m_maxHeldTime.Get());
    record->totalHeldTime = Microseconds(m_totalHeldTime.Get());
    record->heldCount = static_cast<std::int64_t>(m_heldCount.Get());
    record->contentionCount = Has(KX_MUTEX_STATS) ? m_primitive.ContentionCount() : 0;
    return KX_S_OK;
}

// Owner, depth and last acquisition stay: a release after the reset still measures its hold.
void CKXCoreMutexChecked::ResetStats() {
    m_maxAcquireTime.Set(0);
    m_totalAcquireTime.Set(0);
    m_acquireCount.Set(0);
    m_maxHeldTime.Set(0);
    m_totalHeldTime.Set(0);
    m_heldCount.Set(0);
    if (Has(KX_MUTEX_STATS)) m_primitive.ResetContentionCount();
}

std::int32_t CKXCoreMutexChecked::AssertOwnership(KXBool16 expected) {
    if (!Has(KX_MUTEX_CHECKED)) return 1;
    if (m_owner.Get() == platform::CurrentThreadId()) return expected;
    return expected == 0 ? 1 : 0;
}

KXResult KXMutexCreate(const char* name, uint32_t flags, KXMutexHandle* out) {
    *out = KX_INVALID_HANDLE;
    return core::Guarded([&] {
        IMutex* created = nullptr;
        core::ThrowIfFailed(core::Existing(core::g_data.mutexProvider)
                                .CreateMutex(name != nullptr ? name : "", flags, &created));
        auto mutex = core::Ref<IMutex>::Adopt(created);
        if ((mutex->GetFlags() & KX_MUTEX_STATS) != 0) {
            core::Existing(core::g_data.lockStatManager).AddLock(kLiveLock, mutex.Get());
        }
        *out = reinterpret_cast<KXMutexHandle>(mutex.Detach());
        return KX_S_OK;
    });
}

KXResult KXMutexDestroy(KXMutexHandle handle) {
    return core::Guarded([&]() -> KXResult {
        IMutex* const mutex = FromHandle(handle);
        if ((mutex->GetFlags() & KX_MUTEX_STATS) == 0) return mutex->DropReference();
        // A reset that falls between the two steps of the change may drop the list's reference:
        // this one keeps the object for the second step.
        const core::Ref<IMutex> alive(mutex);
        core::Existing(core::g_data.lockStatManager)
            .ChangeLockType(kDestroyedLock, kLiveLock, mutex);
        return KX_S_OK;
    });
}

KXResult KXMutexAcquire(KXMutexHandle handle) {
    return FromHandle(handle)->Acquire();
}

KXResult KXMutexTryAcquire(KXMutexHandle handle) {
    return FromHandle(handle)->TryAcquire();
}

KXResult KXMutexRelease(KXMutexHandle handle) {
    return FromHandle(handle)->Release();
}

int32_t KXMutexAssertOwnership(KXMutexHandle handle, KXBool16 expected) {
    return FromHandle(handle)->AssertOwnership(expected);
}

void* KXMutexGetOSMutex(KXMutexHandle handle) {
    return FromHandle(handle)->GetOSMutex();
}
