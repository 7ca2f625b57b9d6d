#include <kxcore7/event.h>

#include <string>

#include "locks/handle.h"

using namespace kx;

namespace {

// Events and gates alike.
class CKXEventImpl final {
  public:
    CKXEventImpl(const char* name, std::uint32_t flags, bool manualReset)
        : m_name(name), m_flags(flags) {
        core::ThrowIfNativeError(native.Create(manualReset));
    }

    platform::Event native;

  private:
    // Kept for whoever looks at the object in a debugger.
    [[maybe_unused]] const std::string m_name;
    [[maybe_unused]] const std::uint32_t m_flags;
};

platform::Event& EventOf(KXEventHandle handle) {
    return core::ObjectOf<CKXEventImpl>(handle).native;
}

}  // namespace

KXResult KXEventCreate(const char* name, uint32_t flags, KXEventHandle* out) {
    const bool manualReset = (flags & KX_EVENT_MANUAL_RESET) != 0;
    return core::CreateObject<CKXEventImpl>(out, name, flags, manualReset);
}

KXResult KXGateCreate(const char* name, uint32_t flags, KXGateHandle* out) {
    return core::CreateObject<CKXEventImpl>(out, name, flags, true);
}

KXResult KXEventDestroy(KXEventHandle handle) {
    return core::DestroyObject<CKXEventImpl>(handle);
}

KXResult KXGateDestroy(KXGateHandle handle) {
    return KXEventDestroy(handle);
}

KXResult KXEventReset(KXEventHandle handle) {
    return core::ResultOf(EventOf(handle).Reset());
}

KXResult KXGateClose(KXGateHandle handle) {
    return KXEventReset(handle);
}

KXResult KXEventSignal(KXEventHandle handle) {
    return core::ResultOf(EventOf(handle).Set());
}

KXResult KXGateOpen(KXGateHandle handle) {
    return KXEventSignal(handle);
}

KXResult KXEventWait(KXEventHandle handle) {
    return core::ResultOfWait(EventOf(handle).Wait(platform::kNoLimit));
}

KXResult KXGateWait(KXGateHandle handle) {
    return KXEventWait(handle);
}

KXResult KXEventTimedWait(KXEventHandle handle, uint32_t milliseconds) {
    return core::ResultOf(EventOf(handle).Wait(milliseconds));
}

KXResult KXGateTimedWait(KXGateHandle handle, uint32_t milliseconds) {
    return KXEventTimedWait(handle, milliseconds);
}

KXResult KXGateTryWait(KXGateHandle handle) {
    return core::ResultOfTry(EventOf(handle).Wait(0));
}
