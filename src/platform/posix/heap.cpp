#include "platform/heap.h"

#include <kxcore7/result.h>
#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace kx::platform {

std::size_t BlockSize(void* block) {
    return malloc_usable_size(block);
}

namespace {

// The runtime's heap behind an object. It is never destroyed: a component may hold on to it for as
// long as it likes.
class HeapAllocator final : public SharedAllocator {
  public:
    KXResult QueryInterface(const KXGUID* iid, void** out) override {
        static constexpr KXGUID kUnknown = KX_IID_UNKNOWN;
        *out = nullptr;
        if (std::memcmp(iid, &kUnknown, sizeof kUnknown) != 0) return KX_E_NOTIMPL;
        AddRef();
        *out = static_cast<IKXUnknown*>(this);
        return KX_S_OK;
    }
    std::uint32_t AddRef() override { return ++m_count; }
    std::uint32_t Release() override { return --m_count; }
    void* Alloc(std::size_t size) override { return std::malloc(size); }
    void* Realloc(void* block, std::size_t size) override { return std::realloc(block, size); }
    void Free(void* block) override { std::free(block); }

  private:
    std::atomic<std::uint32_t> m_count{0};
};

constinit HeapAllocator g_allocator;

}  // namespace

KXResult GetSharedAllocator(SharedAllocator** out) {
    g_allocator.AddRef();
    *out = &g_allocator;
    return KX_S_OK;
}

}  // namespace kx::platform
