// What the C runtime's heap does not tell by itself, and the allocator that components share.
#ifndef KXCORE7_SRC_PLATFORM_HEAP_H
#define KXCORE7_SRC_PLATFORM_HEAP_H

#include <kxcore7/component.h>

#include <cstddef>

namespace kx::platform {

// The usable bytes of a block of the runtime's heap; 0 for null; all bits one where the heap finds
// that the block is none of its own.
std::size_t BlockSize(void* block);

// The shared allocator, an object so that it can be handed to a component. Thread-safe.
class SharedAllocator : public IKXUnknown {
  public:
    // The block, or null when memory is exhausted.
    virtual void* KX_METHOD Alloc(std::size_t size) = 0;
    // The resized block. Null when memory is exhausted, and the block stays; null after size 0,
    // and the block is freed. A null block is allocated.
    virtual void* KX_METHOD Realloc(void* block, std::size_t size) = 0;
    // Null is accepted.
    virtual void KX_METHOD Free(void* block) = 0;

  protected:
    ~SharedAllocator() = default;
};

// The process's shared allocator with one reference for the caller, stored in *out.
// A negative result is failure, and *out is null.
KXResult GetSharedAllocator(SharedAllocator** out);

}  // namespace kx::platform

#endif
