#include "components/test_component.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

using namespace kx::test;

namespace {

ComponentLog& Log() {
    static ComponentLog unread;
    static const char* const address = std::getenv(kLogVariable);
    return address != nullptr
               ? *reinterpret_cast<ComponentLog*>(std::strtoull(address, nullptr, 10))
               : unread;
}

bool Is(const KXGUID& a, const KXGUID& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Tells of the library's load and unload.
const struct Presence {
    Presence() { ++Log().loads; }
    // At the end of the process the test that kept the log may be gone.
    ~Presence() {
        if (std::getenv(kLogVariable) == nullptr) return;
        ++Log().unloads;
        Log().factoryOutlivedLibrary = Log().factoryOutlivedLibrary || Log().liveFactories != 0;
    }
} g_presence;

template <typename Interface>
class Counted : public Interface {
  public:
    uint32_t KX_METHOD AddRef() override { return ++m_count; }
    uint32_t KX_METHOD Release() override {
        const uint32_t left = --m_count;
        if (left == 0) delete this;
        return left;
    }
    virtual ~Counted() = default;

  private:
    std::atomic<uint32_t> m_count{1};
};

class Object final : public Counted<IKXUnknown> {
  public:
    Object() { ++Log().liveObjects; }
    ~Object() override { --Log().liveObjects; }

    KXResult KX_METHOD QueryInterface(const KXGUID* iid, void** out) override {
        *out = nullptr;
        if (!Is(*iid, ::kx::test::kUnknown)) return kNoInterface;
        AddRef();
        *out = static_cast<IKXUnknown*>(this);
        return 0;
    }
};

class Factory final : public Counted<IKXClassFactory> {
  public:
    explicit Factory(const KXGUID& clsid) : m_class(clsid) { ++Log().liveFactories; }
    ~Factory() override {
        --Log().liveFactories;
        if (!Is(m_class, kFlushingClass)) return;
        void* other = nullptr;
        if (KXComGetClassObject(&kGoodClass, &kClassFactory, &other) == 0) {
            static_cast<IKXUnknown*>(other)->Release();
        }
    }

    KXResult KX_METHOD QueryInterface(const KXGUID* iid, void** out) override {
        *out = nullptr;
        if (!Is(*iid, ::kx::test::kUnknown) && !Is(*iid, kClassFactory)) return kNoInterface;
        AddRef();
        *out = static_cast<IKXClassFactory*>(this);
        return 0;
    }
    KXResult KX_METHOD CreateInstance(IKXUnknown*, const KXGUID* iid, void** out) override {
        if (Is(m_class, kBarrenClass)) return kBarren;
        auto* const object = new Object;
        const KXResult result = object->QueryInterface(iid, out);
        object->Release();
        return result;
    }

  private:
    const KXGUID m_class;
};

void AskMeanwhile(const KXGUID& clsid) {
    void* factory = nullptr;
    if (KXComGetClassObject(&clsid, &kClassFactory, &factory) == 0) {
        static_cast<IKXUnknown*>(factory)->Release();
    }
}

}  // namespace

extern "C" KX_COMPONENT_EXPORT KXResult KX_METHOD DllGetClassObject(const KXGUID* clsid,
                                                                    const KXGUID* iid, void** out) {
    const int request = ++Log().requests;
    *out = nullptr;
    if (Is(*clsid, kRefusedClass)) return kRefusal;
    if (Is(*clsid, kReEntrantClass)) AskMeanwhile(kGoodClass);
    if (Is(*clsid, kSlowClass)) std::this_thread::sleep_for(std::chrono::milliseconds(50));
    if (Is(*clsid, kSelfEntrantClass) && request == 1) AskMeanwhile(kSelfEntrantClass);
    auto* const factory = new Factory(*clsid);
    const KXResult result = factory->QueryInterface(iid, out);
    factory->Release();
    return result;
}
