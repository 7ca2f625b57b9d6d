// Objects behind handles: how every family of this folder makes and ends them, and what their waits
// come out as.
#ifndef KXCORE7_SRC_LOCKS_HANDLE_H
#define KXCORE7_SRC_LOCKS_HANDLE_H

#include <kxcore7/result.h>
#include <kxcore7/types.h>

#include <cstdint>
#include <utility>

#include "frame/exception.h"
#include "platform/waitables.h"

namespace kx::core {

template <typename Object>
Object& ObjectOf(std::uintptr_t handle) {
    return *reinterpret_cast<Object*>(handle);
}

// Makes an object with a name, of which null is the empty one, and what else its constructor takes.
template <typename Object, typename... Arguments>
KXResult CreateObject(std::uintptr_t* out, const char* name, Arguments&&... arguments) {
    *out = KX_INVALID_HANDLE;
    return Guarded([&] {
        auto* const object =
            new Object(name != nullptr ? name : "", std::forward<Arguments>(arguments)...);
        *out = reinterpret_cast<std::uintptr_t>(object);
        return KX_S_OK;
    });
}

template <typename Object>
KXResult DestroyObject(std::uintptr_t handle) {
    delete reinterpret_cast<Object*>(handle);
    return KX_S_OK;
}

// Owns a handle of a family with the given end.
template <auto Destroy>
class OwnedHandle final {
  public:
    OwnedHandle() = default;
    ~OwnedHandle() {
        if (IsValid()) Destroy(m_handle);
    }
    OwnedHandle(const OwnedHandle&) = delete;
    OwnedHandle& operator=(const OwnedHandle&) = delete;

    bool IsValid() const { return m_handle != KX_INVALID_HANDLE; }
    std::uintptr_t Get() const { return m_handle; }
    // For a call that makes the handle.
    std::uintptr_t* Out() { return &m_handle; }

  private:
    std::uintptr_t m_handle = KX_INVALID_HANDLE;
};

// Success, as which almost everything ends here, costs no call.
inline KXResult ResultOf(platform::NativeError outcome) {
    return outcome == platform::kSuccess ? KX_S_OK : KXResultFromNative(outcome);
}

// A wait without a limit: there is nothing else that it could come to.
inline KXResult ResultOfWait(platform::NativeError outcome) {
    return outcome == platform::kWaitTimedOut ? KX_S_OK : ResultOf(outcome);
}

// A try: it promises no more than not to wait, and a time-out is simply failure.
inline KXResult ResultOfTry(platform::NativeError outcome) {
    return outcome == platform::kWaitTimedOut ? KX_E_FAIL : ResultOf(outcome);
}

}  // namespace kx::core

#endif
