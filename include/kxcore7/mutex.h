/*
 * The basic lock: recursive, named, and with three additions for those who ask at creation: checks
 * of owner and depth, refusal of re-entry, statistics (lockstats.h). A plain mutex is a bare
 * operating-system primitive behind one virtual call.
 *
 * Any thread may call these, from the library's start to its end. A lock is released by the thread
 * that acquired it, once an acquire. Waits have no limit. Only a checked lock notices misuse.
 *
 *   state of a lock   acquire by the owner         acquire by another   release by the owner
 *   free              -                            taken at once        checked: KX_E_FAIL
 *   held once         depth 2; checked and         waits; a try gives   free
 *                     non-recursive: KX_E_FAIL     KX_E_FAIL
 *   held n times      depth n + 1                  as above             depth n - 1
 *
 * A release by another thread than the owner is KX_E_FAIL on a checked lock and changes nothing.
 * Failed checks also raise an alert by the process's default method (alert.h).
 */
#ifndef KXCORE7_MUTEX_H
#define KXCORE7_MUTEX_H

#include "export.h"
#include "types.h"

/* The IMutex object's address. */
typedef uintptr_t KXMutexHandle;

/* Never keep statistics, whatever else is set. */
#define KX_MUTEX_NO_STATS 0x00000010u
/* Spin up to 4000 times before blocking. */
#define KX_MUTEX_SPIN 0x00010000u
/* Re-entry is an error. Takes effect only together with KX_MUTEX_CHECKED. */
#define KX_MUTEX_NON_RECURSIVE 0x00020000u
/* Keep statistics. */
#define KX_MUTEX_STATS 0x00040000u
/* Check owner and depth on every release, and re-entry on every acquire. */
#define KX_MUTEX_CHECKED 0x80000000u

KX_EXTERN_C_BEGIN

/*
 * Makes a lock, free, and stores its handle in *out. The name, null for the empty one, is copied;
 * it serves reports only. Unknown flags are kept and have no effect.
 * Failure: KX_E_OUTOFMEMORY or KX_E_FAIL, and *out is KX_INVALID_HANDLE.
 */
KX_API KXResult KXMutexCreate(const char* name, uint32_t flags, KXMutexHandle* out);

/*
 * Gives the handle back; the lock must be free. 0, or the references that remain on it.
 * A lock with statistics stays in the reports until KXResetLockStats; its handle is dead all the
 * same.
 */
KX_API KXResult KXMutexDestroy(KXMutexHandle handle);

/* Waits for the lock and takes it: 0. A refused re-entry: KX_E_FAIL, depth unchanged. */
KX_API KXResult KXMutexAcquire(KXMutexHandle handle);

/* Takes the lock if that needs no wait: 0. Held by another, or a refused re-entry: KX_E_FAIL. */
KX_API KXResult KXMutexTryAcquire(KXMutexHandle handle);

/* Gives up one hold: 0. A failed check: KX_E_FAIL, and nothing has changed. */
KX_API KXResult KXMutexRelease(KXMutexHandle handle);

/*
 * Whether "the caller holds the lock" is as expected. Nonzero means that the claim holds; without
 * KX_MUTEX_CHECKED every claim does. A caller that holds the lock gets expected itself back.
 */
KX_API int32_t KXMutexAssertOwnership(KXMutexHandle handle, KXBool16 expected);

/*
 * The address of the system's own lock inside, alive as long as the handle; for that system's
 * native calls only (on Windows a CRITICAL_SECTION; on Linux no calls exist for it).
 */
KX_API void* KXMutexGetOSMutex(KXMutexHandle handle);

KX_EXTERN_C_END

#endif
