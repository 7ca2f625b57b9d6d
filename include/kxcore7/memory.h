/*
 * The process's heap. A block of any of these is released by KXFree, and only by it.
 *
 * Any thread may call these at any time. No pointer is checked.
 */
#ifndef KXCORE7_MEMORY_H
#define KXCORE7_MEMORY_H

#include "export.h"
#include "types.h"

KX_EXTERN_C_BEGIN

/*
 * Allocates size bytes and stores the block in *out.
 * Memory exhausted: KX_E_OUTOFMEMORY, and *out is null.
 */
KX_API KXResult KXMalloc(size_t size, void** out);

/* As KXMalloc, with count times size bytes of zeros; a product that overflows is exhaustion. */
KX_API KXResult KXCalloc(size_t count, size_t size, void** out);

/*
 * Resizes *block to size bytes; a null *block is allocated, size 0 frees and stores null.
 * Memory exhausted: KX_E_OUTOFMEMORY, and *block stays as it was and valid.
 */
KX_API KXResult KXRealloc(void** block, size_t size);

/*
 * Resizes *block and zeroes what it gains, by the heap's own report of the sizes, so up to
 * KXMallocSize of the new block. A null *block is allocated zeroed. Size 0 frees, and unlike
 * KXRealloc leaves *block dangling, because callers keep it to compare.
 * KX_E_POINTER where the heap reports no size for *block; KX_E_OUTOFMEMORY as KXRealloc.
 */
KX_API KXResult KXRecalloc(void** block, size_t size);

/* The bytes that the heap holds for the block, which may exceed what was asked for; 0 for null. */
KX_API size_t KXMallocSize(void* block);

/* Releases the block; null is accepted. Always 0. */
KX_API KXResult KXFree(void* block);

/* size rounded up to a multiple of 4. A size within 3 of 2^32 wraps to 0. */
KX_API uint32_t KXGetAlignedSize(uint32_t size);

KX_EXTERN_C_END

#endif
