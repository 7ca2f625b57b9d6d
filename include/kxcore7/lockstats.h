/*
 * What locks made with KX_MUTEX_STATS measured of themselves.
 *
 * Any thread may call these, from the library's start to its end. Reads take no lock: a record of
 * a busy lock may mix values of two moments.
 */
#ifndef KXCORE7_LOCKSTATS_H
#define KXCORE7_LOCKSTATS_H

#include "export.h"
#include "mutex.h"
#include "types.h"

/* Times are in microseconds. */
typedef struct KXLockStatRecord {
    int64_t maxAcquireTime;   /* longest time spent in an outermost acquire */
    int64_t totalAcquireTime; /* the sum of those times; a try-acquire adds none */
    int64_t acquireCount;     /* all successful acquires, recursive ones and tries too */
    int64_t maxHeldTime;      /* longest span from outermost acquire to outermost release */
    int64_t totalHeldTime;    /* the sum of those spans */
    int64_t heldCount;        /* all releases, recursive ones too */
    int64_t contentionCount;  /* acquires that did not get the lock at the first try; below 2^32 */
} KXLockStatRecord;

KX_EXTERN_C_BEGIN

/*
 * Fills the record; without KX_MUTEX_STATS a checked lock reports zeros.
 * A plain lock: KX_E_NOTIMPL, and the record is untouched.
 */
KX_API KXResult KXGetLockStats(KXMutexHandle handle, KXLockStatRecord* record);

/* Forgets the destroyed locks with statistics and zeroes the living ones. Always 0. */
KX_API KXResult KXResetLockStats(void);

KX_EXTERN_C_END

#endif
