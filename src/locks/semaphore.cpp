#include <kxcore7/semaphore.h>

#include <string>

#include "locks/handle.h"

using namespace kx;

namespace {

class CKXSemaphoreImpl final {
  public:
    CKXSemaphoreImpl(const char* name, std::uint32_t flags, std::uint32_t initialCount)
        : m_name(name), m_flags(flags) {
        core::ThrowIfNativeError(
            (flags & KX_SEM_NAMED) != 0
                ? native.CreateShared(SystemName().c_str(), initialCount, KX_SEM_MAX)
                : native.Create(initialCount, KX_SEM_MAX));
    }

    platform::Semaphore native;

  private:
    std::string SystemName() const { return "SEM:" + m_name; }

    const std::string m_name;
    // Kept for whoever looks at the object in a debugger.
    [[maybe_unused]] const std::uint32_t m_flags;
};

platform::Semaphore& SemaphoreOf(KXSemaphoreHandle handle) {
    return core::ObjectOf<CKXSemaphoreImpl>(handle).native;
}

}  // namespace

KXResult KXSemaphoreCreate(uint32_t initialCount, const char* name, uint32_t flags,
                           KXSemaphoreHandle* out) {
    return core::CreateObject<CKXSemaphoreImpl>(out, name, flags, initialCount);
}

KXResult KXSemaphoreDestroy(KXSemaphoreHandle handle) {
    return core::DestroyObject<CKXSemaphoreImpl>(handle);
}

KXResult KXSemaphorePost(KXSemaphoreHandle handle) {
    return core::ResultOf(SemaphoreOf(handle).Post());
}

KXResult KXSemaphoreWait(KXSemaphoreHandle handle) {
    return core::ResultOfWait(SemaphoreOf(handle).Wait(platform::kNoLimit));
}

KXResult KXSemaphoreTryWait(KXSemaphoreHandle handle) {
    return core::ResultOfTry(SemaphoreOf(handle).Wait(0));
}

KXResult KXSemaphoreGetValue(KXSemaphoreHandle /*handle*/, int32_t* value) {
    *value = -1;
    return KX_S_OK;
}

KXResult KXNamedSemOpen(const char* name, uint32_t initialCount, KXSemaphoreHandle* out) {
    return KXSemaphoreCreate(initialCount, name, KX_SEM_SHARED | KX_SEM_NAMED, out);
}

KXResult KXNamedSemClose(KXSemaphoreHandle handle) {
    return KXSemaphoreDestroy(handle);
}

KXResult KXNamedSemWait(KXSemaphoreHandle handle) {
    return KXSemaphoreWait(handle);
}

KXResult KXNamedSemTryWait(KXSemaphoreHandle handle) {
    return KXSemaphoreTryWait(handle);
}

KXResult KXNamedSemPost(KXSemaphoreHandle handle) {
    return KXSemaphorePost(handle);
}

KXResult KXNamedSemGetValue(KXSemaphoreHandle handle, int32_t* value) {
    return KXSemaphoreGetValue(handle, value);
}
