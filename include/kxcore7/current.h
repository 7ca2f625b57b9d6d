/*
 * The calling thread and the current process.
 *
 * Any thread may call these at any time. None can fail.
 */
#ifndef KXCORE7_CURRENT_H
#define KXCORE7_CURRENT_H

#include "export.h"
#include "types.h"

KX_EXTERN_C_BEGIN

/* Suspends the calling thread for at least so many milliseconds; 0 only yields. */
KX_API void KXSleep(uint32_t milliseconds);

/* Offers the processor to another thread that is ready. Always 0. */
KX_API KXResult KXThreadYield(void);

/* A pseudo handle that denotes whatever thread uses it; never to be closed. */
KX_API uintptr_t KXThreadGetHandle(void);

/* The system's id of the calling thread, on Linux the kernel's. Never 0. */
KX_API uint32_t KXThreadGetID(void);

/* A pseudo handle that denotes whatever process uses it; never to be closed. */
KX_API uintptr_t KXProcessGetHandle(void);

/* Executes the breakpoint instruction; without a debugger that usually ends the process. */
KX_API void KXDebugBreak(void);

KX_EXTERN_C_END

#endif
