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

/*
 * Appends a report to a file, made if it is missing: a block of lines with a row for each lock that
 * was made with KX_MUTEX_STATS, the living ones first. Null means the title "LockStatsDump" and the
 * file "kxlockstats.csv" in the current directory. Rows have eight columns between commas; a name
 * that has commas of its own is not quoted.
 * KX_E_FAIL if the file can't be opened or written, and KX_E_OUTOFMEMORY; what reached the file
 * stays there.
 */
KX_API KXResult KXDumpLockStats(const char* title, const char16_t* file);

/* Forgets the destroyed locks with statistics and zeroes the living ones. Always 0. */
KX_API KXResult KXResetLockStats(void);

KX_EXTERN_C_END

#endif
