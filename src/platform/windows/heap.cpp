#include "platform/heap.h"

#include <malloc.h>

#include "platform/windows/native.h"
// Behind the header that it needs.
#include <objbase.h>

namespace kx::platform {

std::size_t BlockSize(void* block) {
    return block != nullptr ? _msize(block) : 0;
}

// The system's allocator begins with the operations of ours, in their order and convention.
KXResult GetSharedAllocator(SharedAllocator** out) {
    *out = nullptr;
    return CoGetMalloc(1, reinterpret_cast<IMalloc**>(out));
}

}  // namespace kx::platform
