/*
 * Events and gates: one object under two vocabularies, private to the process. An event is
 * signalled and reset, and may reset itself when a thread passes; a gate is opened and closed by
 * hand.
 *
 *   state        signal, open                        reset, close     wait
 *   unsignalled  lets the first in line through;     -                gets in line
 *                signalled if there is none
 *                (manual reset: lets all through,
 *                and signalled)
 *   signalled    -                                   unsignalled      passes; unsignalled
 *                                                                     (manual reset: passes)
 *
 * Both start unsignalled: an event is not set, and a gate is closed. A signal without a waiter is
 * kept for the next one, once. Two signals with two waiters let both through.
 *
 * Any thread may call these. Time limits are in milliseconds; all bits one is none. A failed call
 * of the system comes out as its result code; on Linux there is none. The object may be destroyed
 * as soon as nobody waits for it any more.
 */
#ifndef KXCORE7_EVENT_H
#define KXCORE7_EVENT_H

#include "export.h"
#include "types.h"

/* The object's address. */
typedef uintptr_t KXEventHandle;
typedef uintptr_t KXGateHandle;

/* The event stays signalled until it is reset. A gate always does. */
#define KX_EVENT_MANUAL_RESET 0x00000002u

KX_EXTERN_C_BEGIN

/*
 * Makes an event, or a gate, and stores its handle in *out. The name, null for the empty one, is
 * copied and goes nowhere. Unknown flags are kept and have no effect.
 * Failure: KX_E_OUTOFMEMORY, or what the system says, and *out is KX_INVALID_HANDLE.
 */
KX_API KXResult KXEventCreate(const char* name, uint32_t flags, KXEventHandle* out);
KX_API KXResult KXGateCreate(const char* name, uint32_t flags, KXGateHandle* out);

/* Gives the handle back; 0 is accepted. Always 0. Nobody may wait for it. */
KX_API KXResult KXEventDestroy(KXEventHandle handle);
KX_API KXResult KXGateDestroy(KXGateHandle handle);

/* As told in the table: 0. */
KX_API KXResult KXEventReset(KXEventHandle handle);
KX_API KXResult KXGateClose(KXGateHandle handle);
KX_API KXResult KXEventSignal(KXEventHandle handle);
KX_API KXResult KXGateOpen(KXGateHandle handle);

/* Waits without a limit: 0. */
KX_API KXResult KXEventWait(KXEventHandle handle);
KX_API KXResult KXGateWait(KXGateHandle handle);

/* Waits so many milliseconds at most: 0, or KX_ERROR_TIMEOUT, also with a limit of 0. */
KX_API KXResult KXEventTimedWait(KXEventHandle handle, uint32_t milliseconds);
KX_API KXResult KXGateTimedWait(KXGateHandle handle, uint32_t milliseconds);

/* 0 if the gate is open, KX_E_FAIL if it is closed; never waits. Events have no such test. */
KX_API KXResult KXGateTryWait(KXGateHandle handle);

KX_EXTERN_C_END

#endif
