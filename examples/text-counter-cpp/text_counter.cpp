// The text counter as a component in C++.
#include "text_counter.h"

#include <kxcore7/guid.h>
#include <kxcore7/result.h>

#include <algorithm>
#include <atomic>
#include <new>

#include "component_entry.h"

namespace {

constexpr KXGUID kUnknownIid = KX_IID_UNKNOWN;
constexpr KXGUID kClassFactoryIid = KX_IID_CLASS_FACTORY;
constexpr KXGUID kTextCounterIid = IID_TEXT_COUNTER;
constexpr KXGUID kTextCounterClsid = CLSID_TEXT_COUNTER_CPP;

bool operator==(const KXGUID& a, const KXGUID& b) {
    return KXComIsEqualGUID(&a, &b) != 0;
}

// The part that all objects have in common: a reference count, 1 at birth, and two interfaces, the
// object's own and the root.
template <typename Interface, const KXGUID& kOwnIid>
class Object : public Interface {
  public:
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    KXResult KX_METHOD QueryInterface(const KXGUID* iid, void** out) final {
        *out = nullptr;
        if (!(*iid == kUnknownIid || *iid == kOwnIid)) return KX_E_NOTIMPL;
        AddRef();
        *out = static_cast<Interface*>(this);
        return KX_S_OK;
    }

    uint32_t KX_METHOD AddRef() final {
        return m_references.fetch_add(1, std::memory_order_relaxed) + 1;
    }

    // The thread that ends the object must see what all the others did to it before.
    uint32_t KX_METHOD Release() final {
        const uint32_t left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) delete this;
        return left;
    }

  protected:
    Object() = default;
    virtual ~Object() = default;

  private:
    std::atomic<uint32_t> m_references{1};
};

// A new object, seen as iid. The reference it was born with goes either way: an object that does
// not have that interface goes with it.
template <typename Class>
KXResult Make(const KXGUID* iid, void** out) {
    *out = nullptr;
    auto* const object = new (std::nothrow) Class;
    if (object == nullptr) return KX_E_OUTOFMEMORY;
    const KXResult result = object->QueryInterface(iid, out);
    object->Release();
    return result;
}

// ASCII alone, so that the counts are the same in every locale.
bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

uint64_t CountWords(const char* first, const char* last) {
    uint64_t words = 0;
    for (;;) {
        first = std::find_if_not(first, last, IsSpace);
        if (first == last) return words;
        ++words;
        first = std::find_if(first, last, IsSpace);
    }
}

class TextCounter final : public Object<ITextCounter, kTextCounterIid> {
  public:
    KXResult KX_METHOD Count(const char* text, size_t size, TextCounts* counts) override {
        const char* const end = text + size;
        counts->lines = static_cast<uint64_t>(std::count(text, end, '\n'));
        counts->words = CountWords(text, end);
        counts->bytes = size;
        return KX_S_OK;
    }
};

class TextCounterFactory final : public Object<IKXClassFactory, kClassFactoryIid> {
  public:
    // A text counter can't be part of another object: outer must be null.
    KXResult KX_METHOD CreateInstance(IKXUnknown* outer, const KXGUID* iid, void** out) override {
        *out = nullptr;
        return outer == nullptr ? Make<TextCounter>(iid, out) : KX_E_NOTIMPL;
    }
};

}  // namespace

KXResult KX_METHOD DllGetClassObject(const KXGUID* clsid, const KXGUID* iid, void** out) {
    *out = nullptr;
    return *clsid == kTextCounterClsid ? Make<TextCounterFactory>(iid, out)
                                       : KX_REGDB_E_CLASSNOTREG;
}
