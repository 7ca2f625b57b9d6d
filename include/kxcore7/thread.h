/*
 * Threads: start one, wait for it or let it go, and choose the processors of the calling one.
 *
 * Any thread may call these. A thread's handle and its id are the same number, the system's id of
 * the thread (on Linux the kernel's), which KXThreadGetID tells it. Threads are known here that
 * KXThreadCreate started, and the one that loaded the library; of all others KXThreadJoin and
 * KXThreadDetach know nothing.
 *
 *   a thread   becomes so by                    leaves by
 *   running    KXThreadCreate                   its routine's return: returned
 *                                               KXThreadJoin, KXThreadDetach: detached
 *   detached   its handle being given up        its routine's return: forgotten
 *   returned   its routine's return             KXThreadJoin, KXThreadDetach: forgotten
 *
 * Every thread that was created is to be joined or detached, once: until then the system keeps what
 * it knows of it, and a number that the system gives to another thread meanwhile means that one
 * from then on. A thread that ends otherwise than by returning (pthread_exit, ExitThread) can be
 * joined like any other, but is never forgotten.
 *
 * Failures beside those told: KX_E_OUTOFMEMORY, and KX_E_FAIL for what the system says that has no
 * code of its own.
 */
#ifndef KXCORE7_THREAD_H
#define KXCORE7_THREAD_H

#include "export.h"
#include "types.h"

/* The system's id of the thread. */
typedef uint32_t KXThreadHandle;

#define KX_INVALID_THREAD UINT32_MAX

/* What a thread runs; its result is the thread's exit code. No exception may leave it. */
typedef uint32_t (*KXThreadRoutine)(void* argument);

KX_EXTERN_C_BEGIN

/*
 * Starts a thread that runs routine(argument), and stores its id in both *handle and *id. The third
 * argument is ignored. stackSize is in bytes; 0 is the system's default, and what is below the
 * system's minimum is raised to it.
 * Failure: *handle is KX_INVALID_THREAD. KX_E_FAIL: the system can't have another thread.
 */
KX_API KXResult KXThreadCreate(KXThreadRoutine routine, void* argument, uint32_t reserved,
                               uint32_t stackSize, KXThreadHandle* handle, uint32_t* id);

/*
 * Gives up the thread's handle; the thread runs on by itself. Its exit code is lost.
 * KX_E_HANDLE: no such thread, or one whose handle is given up.
 */
KX_API KXResult KXThreadDetach(KXThreadHandle thread);

/*
 * 1 when the thread is forgotten: its routine has returned and its handle is given up; also for a
 * number that never was a thread. So a thread that has returned answers 0 until it is joined.
 */
KX_API KXBool16 KXThreadIsFinished(KXThreadHandle thread);

/*
 * Waits without limit for the thread to end, stores its exit code if exitCode is not null, and
 * gives up its handle. A thread that waits for itself waits for ever, as does whoever waits for the
 * thread that loaded the library.
 * KX_E_HANDLE: no such thread, one that was joined already, or one whose handle is given up, also
 * by another thread during the wait; *exitCode is 0.
 */
KX_API KXResult KXThreadJoin(KXThreadHandle thread, uint32_t* exitCode);

/*
 * Sets the processors on which the calling thread may run, bit n for processor n; the first stores
 * the mask that was in force in *previous. A mask has as many bits as an address; further
 * processors can't be named.
 * KX_E_FAIL: the mask is empty or names a processor that the process may not use. Nothing has
 * changed, and *previous is 0.
 */
KX_API KXResult KXGetSetCpuAffinity(uintptr_t* previous, const uintptr_t* mask);
KX_API KXResult KXSetCpuAffinity(const uintptr_t* mask);

KX_EXTERN_C_END

#endif
