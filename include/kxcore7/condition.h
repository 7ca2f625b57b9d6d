/*
 * Conditions: a recursive lock and the threads that wait for each other's word while they share it,
 * in one object, private to the process.
 *
 * Any thread may call these. Waits may end for no reason, so that a caller tests what it waits for
 * in a loop. Signals need not be given under the lock; they reach those who wait already, and are
 * not kept for others. Time limits are in milliseconds; all bits one is none.
 */
#ifndef KXCORE7_CONDITION_H
#define KXCORE7_CONDITION_H

#include "export.h"
#include "types.h"

/* The object's address. */
typedef uintptr_t KXConditionHandle;

KX_EXTERN_C_BEGIN

/*
 * Makes a condition with its lock free, and stores its handle in *out. The name, null for the empty
 * one, is copied and goes nowhere; flags are kept and have no effect.
 * Failure: KX_E_OUTOFMEMORY, and *out is KX_INVALID_HANDLE.
 */
KX_API KXResult KXConditionCreate(const char* name, uint32_t flags, KXConditionHandle* out);

/* Gives the handle back; 0 is accepted. Always 0. Nobody may hold the lock or wait. */
KX_API KXResult KXConditionDestroy(KXConditionHandle handle);

/* The lock: 0. */
KX_API KXResult KXConditionAcquire(KXConditionHandle handle);
KX_API KXResult KXConditionRelease(KXConditionHandle handle);

/* Let one waiter, or all of them, go: 0. */
KX_API KXResult KXConditionSignal(KXConditionHandle handle);
KX_API KXResult KXConditionBroadcast(KXConditionHandle handle);

/*
 * Waits. The caller holds the lock, once; it is given up meanwhile and held again behind the call,
 * whatever the outcome. 0, or KX_ERROR_TIMEOUT when the limit ran out.
 */
KX_API KXResult KXConditionWait(KXConditionHandle handle);
KX_API KXResult KXConditionTimedWait(KXConditionHandle handle, uint32_t milliseconds);

KX_EXTERN_C_END

#endif
