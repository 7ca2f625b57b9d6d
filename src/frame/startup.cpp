#include "frame/startup.h"

#include <kxcore7/module.h>

#include <clocale>
#include <memory>

#include "component/client_data.h"
#include "component/module_manager.h"
#include "frame/exception.h"
#include "frame/global_data.h"
#include "locks/lock_stat_manager.h"
#include "locks/mutex_provider.h"
#include "platform/entry.h"
#include "platform/scan.h"
#include "platform/system.h"

namespace kx::core {

constinit CKXGlobalData g_data;

namespace {

void ProbeSystem() {
    g_data.isNt = platform::IsNtFamily() ? 1 : 0;
    if (g_data.isNt != 0) g_data.isWow64 = platform::IsWow64Process();
    g_data.preciseClock = platform::PreciseSystemClock();
    g_data.deleteKey = platform::ResolveDeleteKey();
}

void CreateDebugMutex() {
    auto holder = std::make_unique<CKXDebugMutex>();
    ThrowIfFailed(KXMutexCreate("CKXGlobalData::m_debugMutex", KX_MUTEX_NO_STATS, &holder->handle));
    g_data.m_debugMutex = holder.release();
}

// Every mutex comes from the provider, and a mutex may go to the statistics manager: so these two
// come first, and everything behind them may make locks.
void CreateSingletons() {
    g_data.mutexProvider = new CKXMutexProvider;
    g_data.mutexProvider->AddReference();
    g_data.lockStatManager = new CKXLockStatManager;
    CreateDebugMutex();
    g_data.moduleManager = new CKXModuleManager;
    g_data.clientData = new CKXClientData;
}

void DestroyDebugMutex() {
    if (g_data.m_debugMutex == nullptr) return;
    KXMutexDestroy(g_data.m_debugMutex->handle);
    delete g_data.m_debugMutex;
    g_data.m_debugMutex = nullptr;
}

template <typename Singleton>
void Destroy(Singleton*& singleton) {
    delete singleton;
    singleton = nullptr;
}

// Not the reverse of creation: no mutex needs the provider once it exists, but each one that goes
// here may still go through the statistics manager, which is therefore the last.
void DestroySingletons() {
    Destroy(g_data.clientData);
    Destroy(g_data.moduleManager);
    DestroyDebugMutex();
    Destroy(g_data.mutexProvider);
    Destroy(g_data.lockStatManager);
}

KXResult Run(ReservedHook hook) {
    return hook != nullptr ? hook() : KX_S_OK;
}

void ReleaseAllocator() {
    if (g_data.allocator == nullptr) return;
    if (g_data.allocator->Release() == 0) g_data.allocator = nullptr;
}

}  // namespace

KXResult KXCoreInit() noexcept {
    if (++g_data.attachCount != 1) return KX_S_OK;
    std::setlocale(LC_ALL, "");
    platform::ChooseScan();
    ProbeSystem();
    const KXResult created = Guarded([] {
        CreateSingletons();
        return KX_S_OK;
    });
    if (created < 0) return created;
    for (const ReservedHook hook : g_data.reservedHooks) {
        if (const KXResult result = Run(hook); result < 0) return result;
    }
    return platform::GetSharedAllocator(&g_data.allocator);
}

KXResult KXCoreTerm() noexcept {
    if (g_data.attachCount < 1) return KX_E_FAIL;
    if (--g_data.attachCount != 0) return KX_S_OK;
    ReleaseAllocator();
    KXResult result = KX_S_OK;
    for (const ReservedHook hook : g_data.reservedHooks) {
        if (Run(hook) < 0) result = KX_E_FAIL;
    }
    Guarded([] {
        DestroySingletons();
        return KX_S_OK;
    });
    return result;
}

std::uintptr_t OwnModule() noexcept {
    return reinterpret_cast<std::uintptr_t>(&LibraryMain);
}

// The load never fails, so that a program that can't use the library still starts: results are
// dropped here.
int LibraryMain(void* instance, std::uint32_t reason) {
    if (reason == kProcessAttach) {
        g_data.instance = instance;
        KXCoreInit();
        KXModuleSetInitialized(OwnModule(), 1);
    } else if (reason == kProcessDetach) {
        KXModuleSetInitialized(OwnModule(), 0);
        KXCoreTerm();
    }
    return 1;
}

}  // namespace kx::core
