#include "locks/lock_stat_manager.h"

#include <kxcore7/calendar.h>
#include <kxcore7/lockstats.h>
#include <kxcore7/result.h>

#include <ctime>
#include <fstream>

#include "frame/exception.h"
#include "frame/global_data.h"
#include "locks/scoped_lock.h"
#include "platform/streams.h"

using kx::core::ScopedLock;

namespace {

const char* LabelOf(std::int32_t type) {
    if (type == kLiveLock) return "KX_MUTEX";
    return type == kDestroyedLock ? "KX_DEL_MUTEX" : "UNKNOWN";
}

struct Now {
    KXResult result;
    char text[80];
};

Now LocalTime() {
    KXTimeRecord time;
    std::tm local{};
    Now now{};
    KXTimeGetLocal(&time);
    now.result = KXTimeToTM(&time, &local);
    std::strftime(now.text, sizeof now.text, "%m/%d/%Y %H:%M:%S", &local);
    return now;
}

// The columns are not in the order of the record. Names are not quoted: who reads the report finds
// the other columns by counting from the end.
std::string Row(std::int32_t type, IMutex* lock) {
    KXLockStatRecord record{};
    lock->GetStats(&record);
    std::string row = LabelOf(type);
    row += ":0x" + kx::platform::AddressText(lock) + "(" + lock->GetName() + ")";
    for (const std::int64_t number :
         {record.heldCount, record.totalHeldTime, record.maxHeldTime, record.acquireCount,
          record.totalAcquireTime, record.maxAcquireTime, record.contentionCount}) {
        row += ',';
        row += std::to_string(number);
    }
    return row + "\n";
}

// The times are in microseconds, whatever the clock's ticks are.
constexpr const char* kHead =
    "CPU Frequency,1000000\n"
    "Name/Handle,Held Count,Total Held Time,Max Held Time,Acquire Count,Total Acquire Time,"
    "Max Acquire Time,Contention Count\n";

}  // namespace

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

std::string CKXLockStatManager::Rows() const {
    std::string rows;
    for (const auto& [key, lock] : m_records) rows += Row(key.first, lock);
    return rows;
}

// Written at once, so that a report stays in one piece among those of other processes.
KXResult CKXLockStatManager::DumpStats(const char* title, const char16_t* file) {
    if (m_mutex == KX_INVALID_HANDLE) throw EKXCoreException{KX_E_FAIL};
    const ScopedLock guard(m_mutex);
    std::ofstream stream;
    stream.exceptions(std::ios::badbit | std::ios::failbit | std::ios::eofbit);
    const char16_t* const path = file != nullptr ? file : u"kxlockstats.csv";
    kx::platform::OpenToAppend(stream, path);
    const std::string name = title != nullptr ? title : "LockStatsDump";
    const Now begin = LocalTime();
    const std::string rows = Rows();
    const Now end = LocalTime();
    kx::platform::AppendWhole(stream, path,
                              "BeginLockStatistics: " + name + " - " + begin.text + "\n" + kHead +
                                  rows + "EndLockStatistics: " + name + " - " + end.text +
                                  "\n\n\n");
    return begin.result;
}

void CKXLockStatManager::ResetAll() {
    if (m_mutex == KX_INVALID_HANDLE) return;  // nothing was ever listed
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

KXResult KXDumpLockStats(const char* title, const char16_t* file) {
    return kx::core::Guarded([&] {
        return kx::core::Existing(kx::core::g_data.lockStatManager).DumpStats(title, file);
    });
}

KXResult KXResetLockStats() {
    kx::core::g_data.lockStatManager->ResetAll();
    return KX_S_OK;
}
