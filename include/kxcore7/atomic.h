/*
 * Atomic operations on an aligned word, each a full barrier (sequentially consistent).
 *
 * Any thread may call these at any time. None can fail. Arithmetic wraps.
 */
#ifndef KXCORE7_ATOMIC_H
#define KXCORE7_ATOMIC_H

#include "export.h"
#include "types.h"

KX_EXTERN_C_BEGIN

/* Adds delta; the new value. */
KX_API int32_t KXAtomicAdd32(volatile int32_t* word, int32_t delta);
/* Adds delta to a word as wide as a pointer; the new value. */
KX_API intptr_t KXAtomicAddSZ(volatile intptr_t* word, intptr_t delta);
/* Adds 1; the new value. */
KX_API int32_t KXAtomicIncrement(volatile int32_t* word);
/* Subtracts 1; the new value. */
KX_API int32_t KXAtomicDecrement(volatile int32_t* word);
/* Stores value; the old value. */
KX_API int32_t KXAtomicExchange(volatile int32_t* word, int32_t value);
/*
 * Stores exchange if the word is comparand; the old value either way.
 * Mind the order: the new value comes before the expected one.
 */
KX_API int32_t KXAtomicCompareExchange(volatile int32_t* word, int32_t exchange, int32_t comparand);

KX_EXTERN_C_END

#endif
