#include "host/lazy_lock.h"

#include "frame/exception.h"
#include "platform/threads.h"

namespace kx::core {

KXMutexHandle LazyLock::Get() {
    if (m_mutex.load(std::memory_order_acquire) == KX_INVALID_HANDLE) Make();
    return m_mutex.load(std::memory_order_acquire);
}

void LazyLock::Make() {
    while (m_isBeingMade.exchange(true, std::memory_order_acquire)) platform::Sleep(1);
    KXResult result = KX_S_OK;
    if (m_mutex.load(std::memory_order_relaxed) == KX_INVALID_HANDLE) {
        KXMutexHandle made = KX_INVALID_HANDLE;
        result = KXMutexCreate(m_name, 0, &made);
        m_mutex.store(made, std::memory_order_release);
    }
    m_isBeingMade.store(false, std::memory_order_release);
    ThrowIfFailed(result);
}

}  // namespace kx::core
