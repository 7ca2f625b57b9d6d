// The reader-writer lock, out of two mutexes and a gate.
#ifndef KXCORE7_SRC_LOCKS_RWLOCK_H
#define KXCORE7_SRC_LOCKS_RWLOCK_H

#include <kxcore7/event.h>
#include <kxcore7/mutex.h>
#include <kxcore7/result.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "locks/handle.h"

// A handle is the address of one of these.
//
//   state            m_writerActive   m_pendingWriter   m_count              gate
//   free             false            0                 0                    open
//   read-held        false            0                 read holds           closed
//   writer waiting   false            the writer        read holds           closed
//   write-held       true             0                 the writer's depth   whatever it was
//
// The gate stays closed behind a thread that gave its read holds up while it wrote; nobody looks at
// it while the array is empty.
//
// A writer holds m_lock from the start of its acquire to the end of its release, and waits at the
// gate with it: new readers, who take it on their way in, queue behind. m_lock comes before
// m_arrayLock, and nobody waits for anything else with that one held. Outcomes are as told for the
// exports in kxcore7/rwlock.h; a gate that fails, and exhausted memory, throw with what was taken
// so far still held.
class CKXRWLockImpl final {
  public:
    CKXRWLockImpl(const char* name, std::uint32_t flags);

    KXResult AcquireRead();
    KXResult AcquireWrite();
    KXResult ReleaseRead();
    KXResult ReleaseWrite();
    KXResult TryAcquireRead();
    KXResult TryAcquireWrite();

  private:
    // A thread that reads, and how often.
    struct Reader {
        std::uint32_t thread;
        std::int32_t holds;
    };
    using Readers = std::vector<Reader>;

    bool HasLocks() const { return m_lock.IsValid() && m_arrayLock.IsValid(); }
    Readers::iterator Find(std::uint32_t thread);
    bool AddHold(std::uint32_t thread);
    void AddReader(std::uint32_t thread);
    bool NobodyElseReads(std::uint32_t thread) const;
    bool OnlyPendingWriterReads() const;
    KXResult WaitForReaders();
    KXResult TestReaders();
    void BeginWriting(std::int32_t depth);
    void EndWriting(std::uint32_t thread);

    kx::core::OwnedHandle<KXMutexDestroy> m_lock;
    kx::core::OwnedHandle<KXGateDestroy> m_writerGate;
    // With a writer its depth, otherwise the read holds of all threads. The writer changes it under
    // m_lock, readers under m_arrayLock.
    std::atomic<std::int32_t> m_count{0};
    // With a writer: the read holds that wait for it to end.
    std::atomic<std::int32_t> m_savedReads{0};
    // In order of arrival; those whose holds are parked keep their place.
    Readers m_array;
    std::atomic<std::uint32_t> m_pendingWriter{0};
    kx::core::OwnedHandle<KXMutexDestroy> m_arrayLock;
    std::atomic<bool> m_writerActive{false};
    // Kept for whoever looks at the object in a debugger.
    const std::string m_name;
    [[maybe_unused]] const std::uint32_t m_flags;
};

#endif
