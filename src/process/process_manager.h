// Child processes, as one of the client's managers.
#ifndef KXCORE7_SRC_PROCESS_PROCESS_MANAGER_H
#define KXCORE7_SRC_PROCESS_PROCESS_MANAGER_H

#include <kxcore7/mutex.h>

#include <cstdint>
#include <memory>
#include <set>

#include "locks/handle.h"
#include "platform/processes.h"

// Knows the children that have not been reaped, for whoever waits for any of them; all else works
// on the handle alone. Each operation throws EKXCoreException with the codes told in
// kxcore7/process.h.
class CKXProcessManager final {
  public:
    // A place in the set, made before the child that it is for: one that runs can't be refused for
    // want of memory.
    using Place = std::set<kx::platform::ProcessHandle>::node_type;

    CKXProcessManager();

    static Place MakePlace();
    void Add(Place place);
    void Detach(kx::platform::ProcessHandle process);
    std::uint32_t GetExitCode(kx::platform::ProcessHandle process);
    std::uint32_t Join(kx::platform::ProcessHandle process);
    // Holds the lock through the wait.
    std::uint32_t JoinChild(kx::platform::ProcessHandle* out);

  private:
    std::size_t CollectChildren();

    kx::core::OwnedHandle<KXMutexDestroy> m_setMutex;
    std::set<kx::platform::ProcessHandle> m_set;
    std::unique_ptr<kx::platform::ProcessHandle[]> m_waitHandles;
    std::uint32_t m_waitCapacity = 0;
};

#endif
