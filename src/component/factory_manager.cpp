#include "component/factory_manager.h"

#include <kxcore7/module.h>
#include <kxcore7/registry.h>
#include <kxcore7/result.h>

#include <array>
#include <iterator>
#include <string>
#include <utility>

#include "component/client_data.h"
#include "frame/exception.h"
#include "frame/global_data.h"
#include "frame/startup.h"
#include "locks/scoped_lock.h"

using kx::core::Existing;
using kx::core::g_data;
using kx::core::Guarded;
using kx::core::OwnModule;
using kx::core::ScopedLock;
using kx::core::ThrowIfFailed;

namespace {

constexpr size_t kPathSize = 260;  // units with terminator

// A text buffer with a unit to spare, zeroed: a value stored without a terminator has one here.
template <size_t size>
using TextBuffer = std::array<char16_t, size + 1>;

// Holds a reference that a component handed out, or none.
class Interface final {
  public:
    explicit Interface(void* object = nullptr) : m_object(object) {}
    ~Interface() {
        if (Get() != nullptr) Get()->Release();
    }
    Interface(const Interface&) = delete;
    Interface& operator=(const Interface&) = delete;

    void** Out() { return &m_object; }
    IKXUnknown* Get() const { return static_cast<IKXUnknown*>(m_object); }
    void* Detach() { return std::exchange(m_object, nullptr); }

  private:
    void* m_object;
};

// The default value of a key under the one root that classes are registered in.
template <size_t size>
KXResult ReadClassText(const std::u16string& key, TextBuffer<size>& text) {
    uint32_t type = 0;
    uint32_t bytes = size * sizeof(char16_t);
    return KXRegistryGetValue(KX_HKEY_CLASSES, key.c_str(), u"", &type, text.data(), &bytes);
}

// Why a registration can't be read does not matter to who asks for a class.
TextBuffer<kPathSize> FindLibraryPath(const KXGUID& clsid) {
    char16_t name[KX_GUID_TEXT_SIZE];
    KXComStringFromGUID(&clsid, name, std::size(name));
    TextBuffer<kPathSize> path{};
    if (ReadClassText<kPathSize>(u"CLSID\\" + std::u16string(name) + u"\\InprocServer32", path) <
        0) {
        throw EKXCoreException{KX_REGDB_E_CLASSNOTREG};
    }
    return path;
}

}  // namespace

CKXFactoryData::CKXFactoryData(IKXUnknown* factory, KXLibraryHandle library)
    : m_factory(factory), m_library(library) {
    if (m_factory != nullptr) m_factory->AddRef();
}

// During shutdown the library's own module has left the set, so the close is refused and the
// component's code stays until the process ends: objects may still be in use.
CKXFactoryData::~CKXFactoryData() {
    if (m_factory != nullptr) m_factory->Release();
    m_factory = nullptr;
    KXModuleLibClose(OwnModule(), m_library);
}

CKXFactoryManager::CKXFactoryManager() {
    ThrowIfFailed(KXMutexCreate("CKXFactoryManager::m_mapMutex", 0, &m_mapMutex));
}

// The entries go behind this, without a lock, and code of the components runs as they do.
CKXFactoryManager::~CKXFactoryManager() {
    KXMutexDestroy(m_mapMutex);
    m_mapMutex = KX_INVALID_HANDLE;
}

void* CKXFactoryManager::GetClassObject(const KXGUID& clsid, const KXGUID& iid) {
    if (m_mapMutex == KX_INVALID_HANDLE) throw EKXCoreException{KX_E_FAIL};
    const ScopedLock guard(m_mapMutex);
    const Entry entry = Find(clsid);
    if (!entry) return Load(clsid, iid);
    void* object = nullptr;
    ThrowIfFailed(entry->Factory()->QueryInterface(&iid, &object));
    return object;
}

CKXFactoryManager::Entry CKXFactoryManager::Find(const KXGUID& clsid) {
    const ScopedLock guard(m_mapMutex);
    const auto found = m_map.find(clsid);
    return found != m_map.end() ? found->second : Entry();
}

// A library that turns out to be none of the class's stays loaded, because code of it has run and
// may have left something behind. A request from within the library's start-up may have cached an
// entry meanwhile: the new one replaces it.
void* CKXFactoryManager::Load(const KXGUID& clsid, const KXGUID& iid) {
    const TextBuffer<kPathSize> path = FindLibraryPath(clsid);
    KXLibraryHandle library = KX_INVALID_HANDLE;
    ThrowIfFailed(KXModuleLibOpen(OwnModule(), path.data(), &library));
    void* symbol = nullptr;
    ThrowIfFailed(KXLibGetSymbol(library, u"DllGetClassObject", &symbol));
    void* object = nullptr;
    ThrowIfFailed(reinterpret_cast<KXGetClassObjectFunction>(symbol)(&clsid, &iid, &object));
    // The reference from the symbol goes before the entry if memory runs out in between: the entry
    // closes the library.
    Entry entry;
    Interface factory(object);
    entry = Entry(new CKXFactoryData(factory.Get(), library));
    m_map.insert_or_assign(clsid, std::move(entry));
    return factory.Detach();
}

void CKXFactoryManager::Flush() {
    const ScopedLock guard(m_mapMutex);
    // Code of the components runs as the entries go, and may come back for a class.
    const auto flushed = std::exchange(m_map, {});
}

KXResult KXComGetClassObject(const KXGUID* clsid, const KXGUID* iid, void** out) {
    *out = nullptr;
    return Guarded([&] {
        *out = Existing(g_data.clientData).Factories().GetClassObject(*clsid, *iid);
        return KX_S_OK;
    });
}

// CreateInstance is the component's own code and runs outside of every frame and lock.
KXResult KXComCreateObject(const KXGUID* clsid, IKXUnknown* outer, const KXGUID* iid, void** out) {
    static constexpr KXGUID kClassFactory = KX_IID_CLASS_FACTORY;
    Interface factory;
    const KXResult result = KXComGetClassObject(clsid, &kClassFactory, factory.Out());
    if (result < 0) return result;
    return static_cast<IKXClassFactory*>(factory.Get())->CreateInstance(outer, iid, out);
}

KXResult KXComClassIDFromProgID(const char16_t* progId, KXGUID* clsid) {
    return Guarded([&] {
        TextBuffer<KX_GUID_TEXT_SIZE> text{};
        const KXResult result =
            ReadClassText<KX_GUID_TEXT_SIZE>(std::u16string(progId) + u"\\CLSID", text);
        if (result == KX_ERROR_FILE_NOT_FOUND) return KX_REGDB_E_CLASSNOTREG;
        return result < 0 ? result : KXComGUIDFromString(text.data(), clsid);
    });
}

KXResult KXComCreateObjectByProgID(const char16_t* progId, IKXUnknown* outer, const KXGUID* iid,
                                   void** out) {
    KXGUID clsid;
    const KXResult result = KXComClassIDFromProgID(progId, &clsid);
    return result < 0 ? result : KXComCreateObject(&clsid, outer, iid, out);
}

KXResult KXComFlushFactoryCache() {
    return Guarded([] {
        Existing(g_data.clientData).Factories().Flush();
        return KX_S_OK;
    });
}
