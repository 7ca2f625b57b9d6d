/*
 * Byte order and unaligned access. No pointer needs any alignment.
 *
 * Any thread may call these at any time. None can fail.
 */
#ifndef KXCORE7_BYTES_H
#define KXCORE7_BYTES_H

#include "export.h"
#include "types.h"

KX_EXTERN_C_BEGIN

/* The value with its bytes in reverse order. */
KX_API uint16_t KXSwapInt16(uint16_t value);
KX_API uint32_t KXSwapInt32(uint32_t value);
KX_API uint64_t KXSwapInt64(uint64_t value);

/* The value stored at the address, in the host's byte order. */
KX_API uint16_t KXGetUnalignedInt16(const void* address);
KX_API uint32_t KXGetUnalignedInt32(const void* address);
KX_API uint64_t KXGetUnalignedInt64(const void* address);

/* Stores the value at the address, in the host's byte order. */
KX_API void KXPutUnalignedInt16(void* address, uint16_t value);
KX_API void KXPutUnalignedInt32(void* address, uint32_t value);
KX_API void KXPutUnalignedInt64(void* address, uint64_t value);

KX_EXTERN_C_END

#endif
