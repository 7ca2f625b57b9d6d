/*
 * Counting semaphores, private to the process. The count lies between 0 and KX_SEM_MAX; who waited
 * longest is let through first.
 *
 * Any thread may call these. A failed call of the system comes out as its result code. The object
 * may be destroyed as soon as nobody waits for it any more.
 */
#ifndef KXCORE7_SEMAPHORE_H
#define KXCORE7_SEMAPHORE_H

#include "export.h"
#include "types.h"

/* The object's address. */
typedef uintptr_t KXSemaphoreHandle;

#define KX_SEM_MAX 32767

KX_EXTERN_C_BEGIN

/*
 * Makes a semaphore and stores its handle in *out. The name, null for the empty one, is copied and
 * goes nowhere. Unknown flags are kept and have no effect.
 * Failure: KX_E_FAIL for a count above KX_SEM_MAX, KX_E_OUTOFMEMORY; *out is KX_INVALID_HANDLE.
 */
KX_API KXResult KXSemaphoreCreate(uint32_t initialCount, const char* name, uint32_t flags,
                                  KXSemaphoreHandle* out);

/* Gives the handle back; 0 is accepted. Always 0. Nobody may wait for it. */
KX_API KXResult KXSemaphoreDestroy(KXSemaphoreHandle handle);

/* Adds one to the count, or lets a waiter through: 0. KX_E_FAIL at KX_SEM_MAX, and no change. */
KX_API KXResult KXSemaphorePost(KXSemaphoreHandle handle);

/* Takes one off the count, waiting for it without a limit: 0. */
KX_API KXResult KXSemaphoreWait(KXSemaphoreHandle handle);

/* Takes one off the count: 0. KX_E_FAIL if there is none; never waits. */
KX_API KXResult KXSemaphoreTryWait(KXSemaphoreHandle handle);

/* Stores -1, which means unknown: not every system tells, so none does. Always 0. */
KX_API KXResult KXSemaphoreGetValue(KXSemaphoreHandle handle, int32_t* value);

KX_EXTERN_C_END

#endif
