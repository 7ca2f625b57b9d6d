// The client, which is the process as this library's user: the managers that serve it.
#ifndef KXCORE7_SRC_COMPONENT_CLIENT_DATA_H
#define KXCORE7_SRC_COMPONENT_CLIENT_DATA_H

#include "component/factory_manager.h"
#include "frame/ref_counted.h"
#include "os/lib_manager.h"
#include "process/process_manager.h"
#include "process/thread_manager.h"

// Made and destroyed by the frame; its reference count is not used. The managers are constructed
// in this order and destroyed in the reverse: cached factories go before what they rest on.
class CKXClientData final : public CKXCoreRefCounted {
  public:
    CKXProcessManager& Processes() { return m_processManager; }
    CKXThreadManager& Threads() { return m_threadManager; }
    CKXFactoryManager& Factories() { return m_factoryManager; }

  private:
    CKXProcessManager m_processManager;
    CKXThreadManager m_threadManager;
    [[maybe_unused]] CKXLibManager m_libManager;  // its exports need no object of it
    CKXFactoryManager m_factoryManager;
};

#endif
