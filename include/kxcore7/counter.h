/*
 * Counters for measuring time.
 *
 * Any thread may call these at any time. None can fail: on a system without a performance counter
 * the first two both fall back to milliseconds, so that count / frequency stays seconds.
 */
#ifndef KXCORE7_COUNTER_H
#define KXCORE7_COUNTER_H

#include "export.h"
#include "types.h"

KX_EXTERN_C_BEGIN

/* Ticks of the performance counter, from an arbitrary start; monotonic. */
KX_API int64_t KXPerfGetCount(void);
/* Ticks a second of KXPerfGetCount. */
KX_API int64_t KXPerfGetFreq(void);
/* Milliseconds since the system started; wraps after 2^32 of them (49.7 days). */
KX_API uint32_t KXPerfGetCountMS(void);

KX_EXTERN_C_END

#endif
