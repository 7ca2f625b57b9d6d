/*
 * Reader-writer locks: many readers or one writer. A thread that reads may read again without ever
 * waiting; a writer that waits keeps new readers out, so that writers do not starve. A thread that
 * reads may write as well: its read holds are parked, and come back when it releases the write
 * lock. A writer may write again and read on top of it; read holds that it took for the first time
 * while writing are released before the write lock is.
 *
 *   state          read acquire                 write acquire            leaves by
 *   free           read-held                    write-held               -
 *   read-held      by a reader: one more hold   nobody else reads:       the last read release:
 *                  by others: read-held         write-held, at once;     free
 *                                               else writer waiting
 *   writer         by a reader: one more hold   waits                    the last other reader's
 *   waiting        by others: waits                                      release: write-held
 *   write-held     by the writer: one parked    by the writer: depth     the last write release:
 *                  hold more; by others: waits  + 1; by others: waits    free, or read-held
 *
 * Two readers that both ask for the write lock wait for each other for ever, and so do a reader
 * that asks for it and a writer that waits already: nobody notices. Use the try form, or do not
 * upgrade where others may write.
 *
 * Behind an upgrade that had to wait the lock's inner gate stays open: until all readers have gone,
 * a later writer may get through beside them. Callers rely on the cheap release that this buys. A
 * reader that lets go beside such a writer can leave the lock stuck, so whoever upgraded does best
 * to release its read holds before others write.
 *
 * Any thread may call these. KX_E_OUTOFMEMORY, or a failure of the system, in the middle of an
 * acquire leaves the lock unusable.
 */
#ifndef KXCORE7_RWLOCK_H
#define KXCORE7_RWLOCK_H

#include "export.h"
#include "types.h"

/* The object's address. */
typedef uintptr_t KXRWLockHandle;

KX_EXTERN_C_BEGIN

/*
 * Makes a lock, free, and stores its handle in *out. The name, null for the empty one, is copied;
 * flags are kept and have no effect.
 * Failure: KX_E_OUTOFMEMORY, or what the system says, and *out is KX_INVALID_HANDLE.
 */
KX_API KXResult KXRWLockCreate(const char* name, uint32_t flags, KXRWLockHandle* out);

/* Gives the handle back, whoever holds the lock; 0 is accepted. Always 0. */
KX_API KXResult KXRWLockDestroy(KXRWLockHandle handle);

/* Wait for a hold and take it: 0. */
KX_API KXResult KXRWLockAcquireRead(KXRWLockHandle handle);
KX_API KXResult KXRWLockAcquireWrite(KXRWLockHandle handle);

/*
 * Take a hold if that needs no wait: 0, otherwise KX_E_FAIL; also when another thread is inside the
 * lock for an instant.
 */
KX_API KXResult KXRWLockTryAcquireRead(KXRWLockHandle handle);
KX_API KXResult KXRWLockTryAcquireWrite(KXRWLockHandle handle);

/* Give up one hold: 0. KX_E_FAIL, and no change, if the caller has none, or nobody writes. */
KX_API KXResult KXRWLockReleaseRead(KXRWLockHandle handle);
KX_API KXResult KXRWLockReleaseWrite(KXRWLockHandle handle);

KX_EXTERN_C_END

#endif
