// The threads that can be joined and detached by their number, as one of the client's managers.
#ifndef KXCORE7_SRC_PROCESS_THREAD_MANAGER_H
#define KXCORE7_SRC_PROCESS_THREAD_MANAGER_H

#include <kxcore7/mutex.h>

#include <atomic>
#include <cstdint>
#include <map>

#include "frame/ref_counted.h"
#include "locks/handle.h"
#include "platform/threads.h"

// What is known of a thread. The handle is closed by whoever sets m_detached, never by the record.
class CKXThreadData final : public CKXCoreRefCounted {
  public:
    kx::platform::ThreadHandle m_handle = kx::platform::kNoThread;
    // Written under the manager's mutex, and read without it by those who only ask.
    std::atomic<bool> m_detached{false};
    std::atomic<bool> m_finished{false};
};

// Records by thread id, each of which stays until it is both detached and finished.
//
// The system gives an id to another thread once its thread has ended, whether or not that was
// joined. So whoever gives up a thread names the record that he found, and a record that has taken
// its place under the same id is left alone.
class CKXThreadManager final {
  public:
    using Record = kx::core::Ref<CKXThreadData>;
    // A record with its place in the map, made before the thread that it is for: a thread that runs
    // can't be refused for want of memory.
    using Place = std::map<std::uint32_t, Record>::node_type;

    // Records the calling thread, whose handle is the one that stands for whoever uses it.
    CKXThreadManager();
    ~CKXThreadManager();
    CKXThreadManager(const CKXThreadManager&) = delete;
    CKXThreadManager& operator=(const CKXThreadManager&) = delete;

    static Place MakePlace();
    // A record that the id has already is replaced, and its handle stays open.
    void Add(std::uint32_t id, kx::platform::ThreadHandle handle, Place place);
    // Empty for an id without a record.
    Record Get(std::uint32_t id) const;
    // Whether this was the call that gave up the handle.
    bool MarkDetached(std::uint32_t id, const Record& record);
    // For a thread about itself.
    void MarkFinished(std::uint32_t id);

  private:
    void RemoveIfDone(std::uint32_t id, const Record& record);

    kx::core::OwnedHandle<KXMutexDestroy> m_mapMutex;
    std::map<std::uint32_t, Record> m_map;
};

#endif
