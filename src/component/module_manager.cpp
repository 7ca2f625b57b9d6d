#include "component/module_manager.h"

#include <kxcore7/result.h>

#include "frame/exception.h"
#include "frame/global_data.h"
#include "locks/scoped_lock.h"

using kx::core::Existing;
using kx::core::g_data;
using kx::core::Guarded;
using kx::core::ScopedLock;

CKXModuleManager::CKXModuleManager() {
    kx::core::ThrowIfFailed(KXMutexCreate("CKXModuleManager::m_setLock", 0, &m_setLock));
}

CKXModuleManager::~CKXModuleManager() {
    KXMutexDestroy(m_setLock);
}

void CKXModuleManager::Insert(KXModuleID module) {
    const ScopedLock guard(m_setLock);
    m_modules.insert(module);
}

void CKXModuleManager::Erase(KXModuleID module) {
    const ScopedLock guard(m_setLock);
    m_modules.erase(module);
}

bool CKXModuleManager::Contains(KXModuleID module) {
    const ScopedLock guard(m_setLock);
    return m_modules.contains(module);
}

namespace {

// Makes the call for a module that is in the set. The test and the call are two steps: a module
// that leaves in between does not stop a call that has passed.
template <typename Call>
KXResult OnBehalfOf(KXModuleID module, Call&& call) {
    return Guarded([&] {
        return Existing(g_data.moduleManager).Contains(module) ? call() : KX_CO_E_INIT_TLS;
    });
}

}  // namespace

KXResult KXModuleSetInitialized(KXModuleID module, KXBool16 initialized) {
    return Guarded([&] {
        CKXModuleManager& modules = Existing(g_data.moduleManager);
        if (initialized != 0) {
            modules.Insert(module);
        } else {
            modules.Erase(module);
        }
        return KX_S_OK;
    });
}

KXResult KXModuleComCreateObject(KXModuleID module, const KXGUID* clsid, IKXUnknown* outer,
                                 const KXGUID* iid, void** out) {
    return OnBehalfOf(module, [&] { return KXComCreateObject(clsid, outer, iid, out); });
}

KXResult KXModuleComGetClassObject(KXModuleID module, const KXGUID* clsid, const KXGUID* iid,
                                   void** out) {
    return OnBehalfOf(module, [&] { return KXComGetClassObject(clsid, iid, out); });
}

KXResult KXModuleLibOpen(KXModuleID module, const char16_t* path, KXLibraryHandle* out) {
    return OnBehalfOf(module, [&] { return KXLibOpen(path, out); });
}

KXResult KXModuleLibClose(KXModuleID module, KXLibraryHandle handle) {
    return OnBehalfOf(module, [&] { return KXLibClose(handle); });
}
