#include <kxcore7/condition.h>

#include <string>

#include "locks/handle.h"

using namespace kx;

namespace {

class CKXConditionImpl final {
  public:
    CKXConditionImpl(const char* name, std::uint32_t flags) : m_name(name), m_flags(flags) {}

    void Enter() {
        if (!m_lock.TryEnter()) m_lock.EnterContended();
    }
    void Leave() { m_lock.Leave(); }
    platform::NativeError Wait(std::uint32_t milliseconds) {
        return m_condition.Wait(m_lock, milliseconds);
    }
    void WakeOne() { m_condition.WakeOne(); }
    void WakeAll() { m_condition.WakeAll(); }

  private:
    // Kept for whoever looks at the object in a debugger.
    [[maybe_unused]] const std::string m_name;
    [[maybe_unused]] const std::uint32_t m_flags;
    platform::CriticalSection m_lock{0, false};
    platform::Condition m_condition;
};

CKXConditionImpl& ConditionOf(KXConditionHandle handle) {
    return core::ObjectOf<CKXConditionImpl>(handle);
}

}  // namespace

KXResult KXConditionCreate(const char* name, uint32_t flags, KXConditionHandle* out) {
    return core::CreateObject<CKXConditionImpl>(out, name, flags);
}

KXResult KXConditionDestroy(KXConditionHandle handle) {
    return core::DestroyObject<CKXConditionImpl>(handle);
}

KXResult KXConditionAcquire(KXConditionHandle handle) {
    ConditionOf(handle).Enter();
    return KX_S_OK;
}

KXResult KXConditionRelease(KXConditionHandle handle) {
    ConditionOf(handle).Leave();
    return KX_S_OK;
}

KXResult KXConditionSignal(KXConditionHandle handle) {
    ConditionOf(handle).WakeOne();
    return KX_S_OK;
}

KXResult KXConditionBroadcast(KXConditionHandle handle) {
    ConditionOf(handle).WakeAll();
    return KX_S_OK;
}

KXResult KXConditionWait(KXConditionHandle handle) {
    return core::ResultOf(ConditionOf(handle).Wait(platform::kNoLimit));
}

// The one native error that means a time-out here and nothing elsewhere.
KXResult KXConditionTimedWait(KXConditionHandle handle, uint32_t milliseconds) {
    const platform::NativeError outcome = ConditionOf(handle).Wait(milliseconds);
    return outcome == platform::kConditionTimedOut ? KX_ERROR_TIMEOUT : core::ResultOf(outcome);
}
