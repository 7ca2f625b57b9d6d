#include "locks/lock_stat_manager.h"

#include <kxcore7/lockstats.h>
#include <kxcore7/result.h>

#include "frame/exception.h"
#include "frame/global_data.h"
#include "locks/scoped_lock.h"

using kx::core::ScopedLock;

// A failure here is not start-up's: it only means that locks with statistics can't be made.
CKXLockStatManager::CKXLockStatManager() {
    KXMutexCreate("CKXLockStatManager::m_mutex", KX_MUTEX_NO_STATS, &m_mutex);
}

CKXLockStatManager::~CKXLockStatManager() {
    while (!m_records.empty()) {
        const auto [key, lock] = *m_records.begin();
        RemoveLock(key.first, key.second);
        lock->DropReference();
    }
    if (m_mutex != KX_INVALID_HANDLE) KXMutexDestroy(m_mutex);
}

void CKXLockStatManager::AddLock(std::int32_t type, IMutex* lock) {
    if (m_mutex == KX_INVALID_HANDLE) throw EKXCoreException{KX_E_FAIL};
    const ScopedLock guard(m_mutex);
    m_records.insert_or_assign(Key(type, lock), lock);
}

void CKXLockStatManager::RemoveLock(std::int32_t type, IMutex* lock) {
    const ScopedLock guard(m_mutex);
    m_records.erase(Key(type, lock));
}

void CKXLockStatManager::ChangeLockType(std::int32_t newType, std::int32_t oldType, IMutex* lock) {
    AddLock(newType, lock);
    RemoveLock(oldType, lock);
}

void CKXLockStatManager::ResetAll() {
    const ScopedLock guard(m_mutex);
    for (auto record = m_records.begin(); record != m_records.end();) {
        if (record->first.first == kDestroyedLock) {
            record->second->DropReference();
            record = m_records.erase(record);
        } else {
            record->second->ResetStats();
            ++record;
        }
    }
}

KXResult KXGetLockStats(KXMutexHandle handle, KXLockStatRecord* record) {
    return reinterpret_cast<IMutex*>(handle)->GetStats(record);
}

KXResult KXResetLockStats() {
    kx::core::g_data.lockStatManager->ResetAll();
    return KX_S_OK;
}
