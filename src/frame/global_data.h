// Everything that exists once per process. The frame creates and destroys the singletons
// (startup.cpp); the others only read these pointers, which are null before start-up and after
// shutdown.
#ifndef KXCORE7_SRC_FRAME_GLOBAL_DATA_H
#define KXCORE7_SRC_FRAME_GLOBAL_DATA_H

#include <kxcore7/mutex.h>

#include <array>
#include <cstdint>

#include "frame/exception.h"
#include "platform/clock.h"
#include "platform/heap.h"
#include "platform/registry.h"

class CKXClientData;
class CKXLockStatManager;
class CKXModuleManager;
class IMutexProvider;

// The holder of the debug lock: null in the globals means that there is no lock to take.
struct CKXDebugMutex {
    KXMutexHandle handle = KX_INVALID_HANDLE;
};

using ReservedHook = KXResult (*)();

struct CKXGlobalData {
    // The singletons, in order of creation.
    IMutexProvider* mutexProvider = nullptr;
    CKXLockStatManager* lockStatManager = nullptr;
    CKXDebugMutex* m_debugMutex = nullptr;
    CKXModuleManager* moduleManager = nullptr;
    CKXClientData* clientData = nullptr;

    // Start-ups minus shutdowns. The loader serialises both, so it is a plain number.
    std::int32_t attachCount = 0;
    void* instance = nullptr;

    // Answers of the system, kept after shutdown.
    std::uint32_t isNt = 0;
    std::int16_t isWow64 = 0;
    kx::platform::SystemClock preciseClock = nullptr;
    kx::platform::DeleteKeyFunction deleteKey = nullptr;
    kx::platform::SharedAllocator* allocator = nullptr;

    // Run at the end of start-up and again at shutdown; null does nothing. A negative result ends
    // start-up, or makes shutdown report failure.
    std::array<ReservedHook, 2> reservedHooks{};
};

namespace kx::core {

extern CKXGlobalData g_data;

// The singleton for an export with a frame; KX_E_FAIL where start-up has not built it.
template <typename Singleton>
Singleton& Existing(Singleton* singleton) {
    if (singleton == nullptr) throw EKXCoreException{KX_E_FAIL};
    return *singleton;
}

}  // namespace kx::core

#endif
