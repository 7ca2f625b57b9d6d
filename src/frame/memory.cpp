#include <kxcore7/memory.h>
#include <kxcore7/result.h>

#include <cstdlib>
#include <cstring>

#include "platform/heap.h"

KXResult KXMalloc(size_t size, void** out) {
    *out = std::malloc(size);
    return *out != nullptr ? KX_S_OK : KX_E_OUTOFMEMORY;
}

KXResult KXCalloc(size_t count, size_t size, void** out) {
    *out = std::calloc(count, size);
    return *out != nullptr ? KX_S_OK : KX_E_OUTOFMEMORY;
}

KXResult KXRealloc(void** block, size_t size) {
    void* const resized = std::realloc(*block, size);
    if (resized == nullptr && size != 0) return KX_E_OUTOFMEMORY;
    *block = resized;
    return KX_S_OK;
}

KXResult KXRecalloc(void** block, size_t size) {
    if (*block == nullptr) return KXCalloc(size, 1, block);
    if (size == 0) return KXFree(*block);
    const size_t oldSize = KXMallocSize(*block);
    if (oldSize == 0) return KX_E_POINTER;
    if (const KXResult result = KXRealloc(block, size); result != KX_S_OK) return result;
    const size_t newSize = KXMallocSize(*block);
    if (newSize > oldSize) std::memset(static_cast<char*>(*block) + oldSize, 0, newSize - oldSize);
    return KX_S_OK;
}

size_t KXMallocSize(void* block) {
    const size_t size = kx::platform::BlockSize(block);
    return size == ~size_t{0} ? 0 : size;
}

KXResult KXFree(void* block) {
    std::free(block);
    return KX_S_OK;
}

uint32_t KXGetAlignedSize(uint32_t size) {
    return (size + 3u) & ~uint32_t{3};
}
