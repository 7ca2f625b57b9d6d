// The list of all locks with statistics, living and destroyed.
#ifndef KXCORE7_SRC_LOCKS_LOCK_STAT_MANAGER_H
#define KXCORE7_SRC_LOCKS_LOCK_STAT_MANAGER_H

#include <kxcore7/mutex.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>

#include "locks/mutex.h"

inline constexpr std::int32_t kLiveLock = 0;
inline constexpr std::int32_t kDestroyedLock = 4;

// Holds the only reference on each listed lock: one that the client destroyed lives on here, so
// that its numbers reach a report at the end of a run. Each operation takes the manager's own lock
// for its duration; lookups never happen on the way of an acquire or release.
class CKXLockStatManager final {
  public:
    CKXLockStatManager();
    ~CKXLockStatManager();
    CKXLockStatManager(const CKXLockStatManager&) = delete;
    CKXLockStatManager& operator=(const CKXLockStatManager&) = delete;

    void AddLock(std::int32_t type, IMutex* lock);
    // Takes the entry off the list and leaves the lock alone.
    void RemoveLock(std::int32_t type, IMutex* lock);
    // Adds, then removes, in two steps: in between the lock stands in the list twice.
    void ChangeLockType(std::int32_t newType, std::int32_t oldType, IMutex* lock);
    // Appends a report on all of them to a file. Throws what the file's stream throws.
    KXResult DumpStats(const char* title, const char16_t* file);
    // Lets the destroyed locks go and zeroes the living ones.
    void ResetAll();

  private:
    // By type first, so that living locks come before destroyed ones, then by address.
    using Key = std::pair<std::int32_t, IMutex*>;
    struct KeyOrder {
        bool operator()(const Key& a, const Key& b) const {
            if (a.first != b.first) return a.first < b.first;
            return std::less<>()(a.second, b.second);
        }
    };

    std::string Rows() const;

    KXMutexHandle m_mutex = KX_INVALID_HANDLE;
    std::map<Key, IMutex*, KeyOrder> m_records;
};

#endif
