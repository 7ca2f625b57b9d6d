// Reference-counted objects and the pointer that holds a reference.
#ifndef KXCORE7_SRC_FRAME_REF_COUNTED_H
#define KXCORE7_SRC_FRAME_REF_COUNTED_H

#include <atomic>
#include <cstdint>
#include <utility>

// The count starts at 0 and the creator takes the first reference; the holder that brings it back
// to 0 deletes the object. Counting is atomic.
class CKXCoreRefCounted {
  public:
    CKXCoreRefCounted() = default;
    CKXCoreRefCounted(const CKXCoreRefCounted&) = delete;
    CKXCoreRefCounted& operator=(const CKXCoreRefCounted&) = delete;
    virtual ~CKXCoreRefCounted() = default;

    void AddReference() noexcept { m_count.fetch_add(1, std::memory_order_relaxed); }

    // The references that remain; at 0 the object is gone.
    std::int32_t DropReference() noexcept {
        const std::int32_t left = m_count.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) delete this;
        return left;
    }

  private:
    std::atomic<std::int32_t> m_count{0};
};

namespace kx::core {

// Holds one reference on an object, or none.
template <typename T>
class Ref final {
  public:
    Ref() noexcept = default;
    explicit Ref(T* object) noexcept : m_object(object) {
        if (m_object != nullptr) m_object->AddReference();
    }
    Ref(const Ref& other) noexcept : Ref(other.m_object) {}
    Ref(Ref&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    Ref& operator=(Ref other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~Ref() {
        if (m_object != nullptr) m_object->DropReference();
    }

    // Takes over a reference that the caller owns already.
    static Ref Adopt(T* object) noexcept {
        Ref adopted;
        adopted.m_object = object;
        return adopted;
    }
    // Hands the reference over to the caller.
    T* Detach() noexcept { return std::exchange(m_object, nullptr); }

    T* Get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

  private:
    T* m_object = nullptr;
};

}  // namespace kx::core

#endif
