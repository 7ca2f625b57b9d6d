// A component with nothing in it but a factory, so that a request costs what the way to it costs.
#include <kxcore7/component.h>
#include <kxcore7/export.h>
#include <kxcore7/result.h>

#include <atomic>
#include <cstring>

#include "component_class.h"

namespace {

constexpr KXGUID kUnknown = KX_IID_UNKNOWN;
constexpr KXGUID kClassFactory = KX_IID_CLASS_FACTORY;

bool IsEqual(const KXGUID& a, const KXGUID& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Static, so it counts its references without ending at 0.
class Factory final : public IKXClassFactory {
  public:
    KXResult KX_METHOD QueryInterface(const KXGUID* iid, void** out) override {
        *out = nullptr;
        if (!IsEqual(*iid, kUnknown) && !IsEqual(*iid, kClassFactory)) return KX_E_FAIL;
        AddRef();
        *out = this;
        return KX_S_OK;
    }
    std::uint32_t KX_METHOD AddRef() override { return ++m_references; }
    std::uint32_t KX_METHOD Release() override { return --m_references; }
    KXResult KX_METHOD CreateInstance(IKXUnknown*, const KXGUID*, void** out) override {
        *out = nullptr;
        return KX_E_NOTIMPL;
    }

  private:
    std::atomic<std::uint32_t> m_references{0};
};

Factory g_factory;

}  // namespace

extern "C" KX_API KXResult KX_METHOD DllGetClassObject(const KXGUID* clsid, const KXGUID* iid,
                                                       void** out) {
    *out = nullptr;
    if (!IsEqual(*clsid, bench::kClass)) return KX_REGDB_E_CLASSNOTREG;
    return g_factory.QueryInterface(iid, out);
}
