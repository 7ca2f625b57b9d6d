// Class factories: found through the registry, kept after the first use.
#ifndef KXCORE7_SRC_COMPONENT_FACTORY_MANAGER_H
#define KXCORE7_SRC_COMPONENT_FACTORY_MANAGER_H

#include <kxcore7/component.h>
#include <kxcore7/library.h>
#include <kxcore7/mutex.h>

#include <cstring>
#include <map>

#include "frame/ref_counted.h"

// One cached factory and the open library that holds its code.
class CKXFactoryData final : public CKXCoreRefCounted {
  public:
    // Takes a reference of its own on the factory, which may be null, and takes over the library.
    CKXFactoryData(IKXUnknown* factory, KXLibraryHandle library);
    // The factory goes first: its code lies in the library.
    ~CKXFactoryData() override;

    IKXUnknown* Factory() const { return m_factory; }

  private:
    IKXUnknown* m_factory;
    const KXLibraryHandle m_library;
};

// The cache. One lock is held through a whole request, with the registry read, the load and the
// component library's own start-up in it; it is recursive, so that such a start-up may ask for
// classes of its own.
class CKXFactoryManager final {
  public:
    CKXFactoryManager();
    // No other thread may use the cache by now.
    ~CKXFactoryManager();
    CKXFactoryManager(const CKXFactoryManager&) = delete;
    CKXFactoryManager& operator=(const CKXFactoryManager&) = delete;

    // The class's factory seen as iid, with a reference for the caller. Throws EKXCoreException.
    void* GetClassObject(const KXGUID& clsid, const KXGUID& iid);

    // Empties the cache.
    void Flush();

  private:
    struct MemoryOrder {
        bool operator()(const KXGUID& a, const KXGUID& b) const {
            return std::memcmp(&a, &b, sizeof a) < 0;
        }
    };
    using Entry = kx::core::Ref<CKXFactoryData>;

    Entry Find(const KXGUID& clsid);
    void* Load(const KXGUID& clsid, const KXGUID& iid);

    KXMutexHandle m_mapMutex = KX_INVALID_HANDLE;
    std::map<KXGUID, Entry, MemoryOrder> m_map;
};

#endif
