#include "process/thread_manager.h"

#include <kxcore7/result.h>
#include <kxcore7/semaphore.h>
#include <kxcore7/thread.h>

#include <memory>
#include <utility>

#include "component/client_data.h"
#include "frame/exception.h"
#include "frame/global_data.h"
#include "locks/scoped_lock.h"

using namespace kx;
using core::ScopedLock;

namespace {

// The client's manager. Threads may end while the library goes down, which does not wait for them:
// they find none from then on, and one that has found it is let through.
std::atomic<CKXThreadManager*> g_living{nullptr};
std::atomic<int> g_ending{0};

void ReportEnd() {
    ++g_ending;
    if (CKXThreadManager* const manager = g_living) {
        manager->MarkFinished(platform::CurrentThreadId());
    }
    --g_ending;
}

// The system may have killed a thread on its way through, as some do before they unload anything.
void AwaitEndings() {
    for (int tries = 100; g_ending != 0 && tries > 0; --tries) platform::Sleep(1);
}

// What a new thread needs to begin. Made by its creator, and gone before the routine is called.
struct CKXThreadStartData final : platform::ThreadStart {
    CKXThreadStartData(KXThreadRoutine routine, void* argument)
        : ThreadStart{&Run}, m_routine(routine), m_argument(argument) {
        core::ThrowIfFailed(KXSemaphoreCreate(0, "", 0, m_recorded.Out()));
    }

    const KXThreadRoutine m_routine;
    void* const m_argument;
    // Holds the thread back until it is recorded, so that it can't end before.
    core::OwnedHandle<KXSemaphoreDestroy> m_recorded;

  private:
    // Nothing catches what leaves here: that is the end of the process, as of any thread's.
    static std::uint32_t Run(ThreadStart* start) {
        std::unique_ptr<CKXThreadStartData> data(static_cast<CKXThreadStartData*>(start));
        const KXThreadRoutine routine = data->m_routine;
        void* const argument = data->m_argument;
        core::ThrowIfFailed(KXSemaphoreWait(data->m_recorded.Get()));
        data.reset();

        const std::uint32_t exitCode = routine(argument);
        ReportEnd();
        return exitCode;
    }
};

CKXThreadManager& Manager() {
    return core::Existing(core::g_data.clientData).Threads();
}

void Create(CKXThreadManager& manager, std::unique_ptr<CKXThreadStartData> start,
            std::uint32_t stackSize, std::uint32_t* id) {
    CKXThreadManager::Place place = CKXThreadManager::MakePlace();
    const KXSemaphoreHandle recorded = start->m_recorded.Get();
    platform::ThreadHandle handle = platform::kNoThread;
    core::ThrowIfNativeError(platform::StartThread(start.get(), stackSize, &handle, id));
    static_cast<void>(start.release());  // the thread's own from now on
    manager.Add(*id, handle, std::move(place));
    core::ThrowIfFailed(KXSemaphorePost(recorded));
}

// The record of a thread that can be waited for or given up.
CKXThreadManager::Record Find(CKXThreadManager& manager, KXThreadHandle thread) {
    CKXThreadManager::Record record = manager.Get(thread);
    if (!record || record->m_detached) throw EKXCoreException{KX_E_HANDLE};
    return record;
}

// Of several that wait for a thread, or give it up, one has the handle.
void GiveUp(CKXThreadManager& manager, KXThreadHandle thread,
            const CKXThreadManager::Record& record) {
    if (!manager.MarkDetached(thread, record)) throw EKXCoreException{KX_E_HANDLE};
}

}  // namespace

CKXThreadManager::CKXThreadManager() {
    core::ThrowIfFailed(KXMutexCreate("CKXThreadManager::m_mapMutex", 0, m_mapMutex.Out()));
    Add(platform::CurrentThreadId(), platform::CurrentThreadPseudoHandle(), MakePlace());
    CKXThreadManager* none = nullptr;
    g_living.compare_exchange_strong(none, this);
}

CKXThreadManager::~CKXThreadManager() {
    CKXThreadManager* self = this;
    if (g_living.compare_exchange_strong(self, nullptr)) AwaitEndings();
}

CKXThreadManager::Place CKXThreadManager::MakePlace() {
    std::map<std::uint32_t, Record> room;
    room.emplace(0, Record(new CKXThreadData));
    return room.extract(room.begin());
}

void CKXThreadManager::Add(std::uint32_t id, platform::ThreadHandle handle, Place place) {
    place.key() = id;
    place.mapped()->m_handle = handle;
    const ScopedLock lock(m_mapMutex.Get());
    m_map.erase(id);
    m_map.insert(std::move(place));
}

CKXThreadManager::Record CKXThreadManager::Get(std::uint32_t id) const {
    const ScopedLock lock(m_mapMutex.Get());
    const auto found = m_map.find(id);
    return found != m_map.end() ? found->second : Record();
}

bool CKXThreadManager::MarkDetached(std::uint32_t id, const Record& record) {
    const ScopedLock lock(m_mapMutex.Get());
    if (record->m_detached.exchange(true)) return false;
    RemoveIfDone(id, record);
    return true;
}

void CKXThreadManager::MarkFinished(std::uint32_t id) {
    const ScopedLock lock(m_mapMutex.Get());
    const Record record = Get(id);
    record->m_finished = true;
    RemoveIfDone(id, record);
}

void CKXThreadManager::RemoveIfDone(std::uint32_t id, const Record& record) {
    if (!record->m_detached || !record->m_finished) return;
    const auto found = m_map.find(id);
    if (found != m_map.end() && found->second.Get() == record.Get()) m_map.erase(found);
}

KXResult KXThreadCreate(KXThreadRoutine routine, void* argument, uint32_t /*reserved*/,
                        uint32_t stackSize, KXThreadHandle* handle, uint32_t* id) {
    *handle = KX_INVALID_THREAD;
    *id = 0;
    return core::Guarded([&] {
        Create(Manager(), std::make_unique<CKXThreadStartData>(routine, argument), stackSize, id);
        *handle = *id;
        return KX_S_OK;
    });
}

KXResult KXThreadDetach(KXThreadHandle thread) {
    return core::Guarded([&] {
        CKXThreadManager& manager = Manager();
        const CKXThreadManager::Record record = Find(manager, thread);
        GiveUp(manager, thread, record);
        return KXResultFromNative(platform::CloseThread(record->m_handle));
    });
}

// A thread that has returned answers no until somebody gives it up: the question is whether its
// number is still good for that.
KXBool16 KXThreadIsFinished(KXThreadHandle thread) {
    KXBool16 finished = 1;
    core::Guarded([&] {
        const CKXThreadManager::Record record = Manager().Get(thread);
        finished = !record || (record->m_detached && record->m_finished) ? 1 : 0;
        return KX_S_OK;
    });
    return finished;
}

KXResult KXThreadJoin(KXThreadHandle thread, uint32_t* exitCode) {
    if (exitCode != nullptr) *exitCode = 0;
    return core::Guarded([&] {
        CKXThreadManager& manager = Manager();
        const CKXThreadManager::Record record = Find(manager, thread);
        core::ThrowIfNativeError(platform::WaitForThread(record->m_handle));
        GiveUp(manager, thread, record);
        if (exitCode != nullptr) platform::QueryThreadExitCode(record->m_handle, exitCode);
        return KXResultFromNative(platform::CloseThread(record->m_handle));
    });
}

KXResult KXGetSetCpuAffinity(uintptr_t* previous, const uintptr_t* mask) {
    const uintptr_t wanted = *mask;  // which may be what previous points at
    return KXResultFromNative(platform::SwapThreadAffinity(wanted, previous));
}

KXResult KXSetCpuAffinity(const uintptr_t* mask) {
    uintptr_t previous = 0;
    return KXResultFromNative(platform::SwapThreadAffinity(*mask, &previous));
}
