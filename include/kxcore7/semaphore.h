/*
 * Counting semaphores, private to the process or shared by name. The count lies between 0 and
 * KX_SEM_MAX.
 *
 * A private one lets through first who waited longest. A named one lives exactly as long as a
 * handle of any process, or a child that inherited one, however its process ends; then the name is
 * free, and who opens it next makes a new one. A count that a killed process had taken is gone, as
 * it would be had the process taken it and lived; of those who wait nobody is left asleep beside a
 * count that is there.
 *
 * Handles of KXSemaphoreCreate and KXNamedSemOpen are of one kind, and all functions of either
 * vocabulary take them. Any thread may call these. A failed call of the system comes out as its
 * result code. The object may be destroyed as soon as nobody waits for it through this handle.
 */
#ifndef KXCORE7_SEMAPHORE_H
#define KXCORE7_SEMAPHORE_H

#include "export.h"
#include "types.h"

/* The object's address. */
typedef uintptr_t KXSemaphoreHandle;

#define KX_SEM_MAX 32767

/* Flags for KXSemaphoreCreate. */
#define KX_SEM_SHARED 0x1u /* kept, and has no effect */
#define KX_SEM_NAMED 0x2u  /* shared by its name, which otherwise goes nowhere */

KX_EXTERN_C_BEGIN

/*
 * Makes a semaphore, or opens the one of that name, and stores its handle in *out. The name, null
 * for the empty one, which is a name like any other, is copied; unknown flags are kept and have no
 * effect. Of a semaphore that exists the count stays as it is.
 * Failure: KX_E_FAIL for a count above KX_SEM_MAX, KX_E_OUTOFMEMORY, KX_E_HANDLE for a name that
 * belongs to something else; *out is KX_INVALID_HANDLE.
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

/*
 * The same for named semaphores. Names are compared byte for byte, of any bytes, '/' among them;
 * 400 bytes are no problem on Linux, and Windows has a limit of its own, about half of that. Child
 * processes can inherit the handle. Open to all authenticated users of the machine.
 */
KX_API KXResult KXNamedSemOpen(const char* name, uint32_t initialCount, KXSemaphoreHandle* out);
KX_API KXResult KXNamedSemClose(KXSemaphoreHandle handle);
KX_API KXResult KXNamedSemWait(KXSemaphoreHandle handle);
KX_API KXResult KXNamedSemTryWait(KXSemaphoreHandle handle);
KX_API KXResult KXNamedSemPost(KXSemaphoreHandle handle);
KX_API KXResult KXNamedSemGetValue(KXSemaphoreHandle handle, int32_t* value);

KX_EXTERN_C_END

#endif
