// A holder for one reference to an object.
#ifndef DEMO_COM_PTR_H
#define DEMO_COM_PTR_H

#include <kxcore7/component.h>

template <typename Interface>
class ComPtr final {
  public:
    ComPtr() = default;
    ComPtr(const ComPtr&) = delete;
    ComPtr& operator=(const ComPtr&) = delete;
    ~ComPtr() { Release(); }

    Interface* operator->() const { return Get(); }

    // For the output of a call that makes an object.
    void** Out() {
        Release();
        return &m_object;
    }

    // Gives the reference back; the references that others still hold.
    uint32_t Release() {
        Interface* const object = Get();
        m_object = nullptr;
        return object != nullptr ? object->Release() : 0;
    }

  private:
    Interface* Get() const { return static_cast<Interface*>(m_object); }

    // Kept as the calls store it, a pointer to the interface that was asked for.
    void* m_object = nullptr;
};

#endif
