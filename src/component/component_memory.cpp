#include <kxcore7/component.h>
#include <kxcore7/result.h>

#include "frame/global_data.h"

using kx::core::g_data;

KXResult KXComMalloc(size_t size, void** out) {
    *out = g_data.allocator->Alloc(size);
    return *out != nullptr ? KX_S_OK : KX_E_OUTOFMEMORY;
}

KXResult KXComRealloc(void** block, size_t size) {
    void* const resized = g_data.allocator->Realloc(*block, size);
    if (resized == nullptr && size != 0) return KX_E_OUTOFMEMORY;
    *block = resized;
    return KX_S_OK;
}

KXResult KXComFree(void* block) {
    g_data.allocator->Free(block);
    return KX_S_OK;
}
