#include <kxcore7/semaphore.h>

#include <string>

#include "locks/handle.h"

using namespace kx;

namespace {

class CKXSemaphoreImpl final {
  public:
    CKXSemaphoreImpl(const char* name, std::uint32_t flags, std::uint32_t initialCount)
        : m_name(name), m_flags(flags) {
        core::ThrowIfNativeError(native.Create(initialCount, KX_SEM_MAX));
    }

    platform::Semaphore native;

  private:
    // Kept for whoever looks at the object in a debugger.
    [[maybe_unused]] const std::string m_name;
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
