#include "locks/rwlock.h"

#include <kxcore7/rwlock.h>

#include <algorithm>

#include "frame/exception.h"
#include "platform/threads.h"

using namespace kx;
using core::ThrowIfFailed;

namespace {

constexpr std::size_t kRoomForReaders = 8;

}  // namespace

CKXRWLockImpl::CKXRWLockImpl(const char* name, std::uint32_t flags) : m_name(name), m_flags(flags) {
    const auto partName = [this](const char* part) { return m_name + "::CKXRWLockImpl::" + part; };
    ThrowIfFailed(KXGateCreate(partName("m_writerGate").c_str(), 0, m_writerGate.Out()));
    m_array.reserve(kRoomForReaders);
    // What fails here shows when the lock is asked for.
    KXMutexCreate(partName("m_lock").c_str(), 0, m_lock.Out());
    KXMutexCreate(partName("m_arrayLock").c_str(), 0, m_arrayLock.Out());
    ThrowIfFailed(KXGateOpen(m_writerGate.Get()));
}

// --- What several operations share ---------------------------------------------------------------

// Under m_arrayLock, as everything that touches the array.
CKXRWLockImpl::Readers::iterator CKXRWLockImpl::Find(std::uint32_t thread) {
    return std::ranges::find(m_array, thread, &Reader::thread);
}

// One hold more for a thread that reads already; false if it does not.
bool CKXRWLockImpl::AddHold(std::uint32_t thread) {
    const auto reader = Find(thread);
    if (reader == m_array.end()) return false;
    if (m_writerActive) {
        ++m_savedReads;
    } else {
        ++m_count;
        ++reader->holds;
    }
    return true;
}

// The first hold of a thread, under m_lock as well. Where a writer is active it is this thread,
// since nobody else could hold m_lock now; it gets no entry.
void CKXRWLockImpl::AddReader(std::uint32_t thread) {
    if (m_writerActive) {
        ++m_savedReads;
        return;
    }
    if (++m_count == 1) ThrowIfFailed(KXGateClose(m_writerGate.Get()));
    if (m_array.size() == m_array.capacity()) m_array.reserve(m_array.size() * 3 / 2);
    m_array.push_back({thread, 1});
}

bool CKXRWLockImpl::NobodyElseReads(std::uint32_t thread) const {
    if (m_array.empty()) return true;
    return m_array.size() == 1 && m_array.front().thread == thread;
}

// Whether the thread that waits for the write lock has nobody left to wait for.
bool CKXRWLockImpl::OnlyPendingWriterReads() const {
    const std::uint32_t writer = m_pendingWriter;
    return writer != 0 && NobodyElseReads(writer);
}

void CKXRWLockImpl::BeginWriting(std::int32_t depth) {
    m_savedReads = m_count.load();
    m_count = depth;
    m_pendingWriter = 0;
    m_writerActive = true;
}

// Gives the thread its parked holds back. One that took its first read hold while it wrote has no
// place for them: then they are nobody's.
void CKXRWLockImpl::EndWriting(std::uint32_t thread) {
    m_count = m_savedReads.load();
    KXMutexAcquire(m_arrayLock.Get());
    if (const auto reader = Find(thread); reader != m_array.end()) {
        if (m_savedReads != 0) {
            reader->holds = m_savedReads;
        } else {
            m_array.erase(reader);
        }
    }
    KXMutexRelease(m_arrayLock.Get());
    m_savedReads = 0;
    m_writerActive = false;
}

// --- Reading -------------------------------------------------------------------------------------

// A thread that reads already does not touch m_lock: behind a writer that waits for it to stop, it
// would wait for ever.
KXResult CKXRWLockImpl::AcquireRead() {
    if (!HasLocks()) return KX_E_FAIL;
    const std::uint32_t self = platform::CurrentThreadId();
    KXMutexAcquire(m_arrayLock.Get());
    const bool reads = AddHold(self);
    KXMutexRelease(m_arrayLock.Get());
    if (reads) return KX_S_OK;

    KXMutexAcquire(m_lock.Get());
    KXMutexAcquire(m_arrayLock.Get());
    AddReader(self);
    KXMutexRelease(m_arrayLock.Get());
    KXMutexRelease(m_lock.Get());
    return KX_S_OK;
}

KXResult CKXRWLockImpl::TryAcquireRead() {
    if (!HasLocks()) return KX_E_FAIL;
    const std::uint32_t self = platform::CurrentThreadId();
    if (KXMutexTryAcquire(m_arrayLock.Get()) < 0) return KX_E_FAIL;
    const bool reads = AddHold(self);
    KXMutexRelease(m_arrayLock.Get());
    if (reads) return KX_S_OK;

    if (KXMutexTryAcquire(m_lock.Get()) < 0) return KX_E_FAIL;
    const bool inside = KXMutexTryAcquire(m_arrayLock.Get()) >= 0;
    if (inside) {
        AddReader(self);
        KXMutexRelease(m_arrayLock.Get());
    }
    KXMutexRelease(m_lock.Get());
    return inside ? KX_S_OK : KX_E_FAIL;
}

// Whoever is last opens the gate; behind it there may be a writer that itself still reads, on whose
// account the count does not get to 0.
KXResult CKXRWLockImpl::ReleaseRead() {
    if (!HasLocks()) return KX_E_FAIL;
    if (m_writerActive) {
        if (m_savedReads <= 0) return KX_E_FAIL;
        --m_savedReads;
        return KX_S_OK;
    }
    KXMutexAcquire(m_arrayLock.Get());
    const auto reader = Find(platform::CurrentThreadId());
    if (reader == m_array.end()) {
        KXMutexRelease(m_arrayLock.Get());
        return KX_E_FAIL;
    }
    if (--reader->holds == 0) m_array.erase(reader);
    if (--m_count == 0 || OnlyPendingWriterReads()) ThrowIfFailed(KXGateOpen(m_writerGate.Get()));
    KXMutexRelease(m_arrayLock.Get());
    return KX_S_OK;
}

// --- Writing -------------------------------------------------------------------------------------

KXResult CKXRWLockImpl::WaitForReaders() {
    KXMutexAcquire(m_arrayLock.Get());
    const bool nobody = OnlyPendingWriterReads();
    KXMutexRelease(m_arrayLock.Get());
    return nobody ? KX_S_OK : KXGateWait(m_writerGate.Get());
}

KXResult CKXRWLockImpl::TestReaders() {
    if (KXMutexTryAcquire(m_arrayLock.Get()) < 0) return KX_E_FAIL;
    const bool nobody = NobodyElseReads(platform::CurrentThreadId());
    KXMutexRelease(m_arrayLock.Get());
    return nobody ? KX_S_OK : KXGateTryWait(m_writerGate.Get());
}

KXResult CKXRWLockImpl::AcquireWrite() {
    if (!HasLocks()) return KX_E_FAIL;
    KXMutexAcquire(m_lock.Get());
    if (!m_writerActive) {
        m_pendingWriter = platform::CurrentThreadId();
        ThrowIfFailed(WaitForReaders());
        BeginWriting(0);
    }
    ++m_count;
    return KX_S_OK;
}

// A try does not show as the pending writer: the last other reader would open the gate for it, and
// if the try failed all the same, the gate would be left open beside the thread's own read holds.
KXResult CKXRWLockImpl::TryAcquireWrite() {
    if (!HasLocks()) return KX_E_FAIL;
    if (KXMutexTryAcquire(m_lock.Get()) < 0) return KX_E_FAIL;
    if (m_writerActive) {
        ++m_count;
        return KX_S_OK;
    }
    if (TestReaders() >= 0) {
        BeginWriting(1);
        return KX_S_OK;
    }
    KXMutexRelease(m_lock.Get());
    return KX_E_FAIL;
}

// The gate is left as it is, open behind an upgrade that had to wait.
KXResult CKXRWLockImpl::ReleaseWrite() {
    if (!HasLocks() || !m_writerActive) return KX_E_FAIL;
    const std::int32_t depth = --m_count;
    if (depth < 0) return KX_E_FAIL;
    if (depth == 0) EndWriting(platform::CurrentThreadId());
    KXMutexRelease(m_lock.Get());
    return KX_S_OK;
}

// --- Exports -------------------------------------------------------------------------------------

namespace {

KXResult Call(KXRWLockHandle handle, KXResult (CKXRWLockImpl::*operation)()) {
    return core::Guarded([&] { return (core::ObjectOf<CKXRWLockImpl>(handle).*operation)(); });
}

}  // namespace

KXResult KXRWLockCreate(const char* name, uint32_t flags, KXRWLockHandle* out) {
    return core::CreateObject<CKXRWLockImpl>(out, name, flags);
}

KXResult KXRWLockDestroy(KXRWLockHandle handle) {
    return core::DestroyObject<CKXRWLockImpl>(handle);
}

KXResult KXRWLockAcquireRead(KXRWLockHandle handle) {
    return Call(handle, &CKXRWLockImpl::AcquireRead);
}

KXResult KXRWLockAcquireWrite(KXRWLockHandle handle) {
    return Call(handle, &CKXRWLockImpl::AcquireWrite);
}

KXResult KXRWLockReleaseRead(KXRWLockHandle handle) {
    return Call(handle, &CKXRWLockImpl::ReleaseRead);
}

KXResult KXRWLockReleaseWrite(KXRWLockHandle handle) {
    return Call(handle, &CKXRWLockImpl::ReleaseWrite);
}

KXResult KXRWLockTryAcquireRead(KXRWLockHandle handle) {
    return Call(handle, &CKXRWLockImpl::TryAcquireRead);
}

KXResult KXRWLockTryAcquireWrite(KXRWLockHandle handle) {
    return Call(handle, &CKXRWLockImpl::TryAcquireWrite);
}
