// The set of modules that have announced themselves.
#ifndef KXCORE7_SRC_COMPONENT_MODULE_MANAGER_H
#define KXCORE7_SRC_COMPONENT_MODULE_MANAGER_H

#include <kxcore7/module.h>
#include <kxcore7/mutex.h>

#include <set>

class CKXModuleManager final {
  public:
    CKXModuleManager();
    ~CKXModuleManager();
    CKXModuleManager(const CKXModuleManager&) = delete;
    CKXModuleManager& operator=(const CKXModuleManager&) = delete;

    void Insert(KXModuleID module);
    void Erase(KXModuleID module);
    bool Contains(KXModuleID module);

  private:
    KXMutexHandle m_setLock = KX_INVALID_HANDLE;
    std::set<KXModuleID> m_modules;
};

#endif
