/*
 * Child processes: start one, with pipes on its standard handles if wanted, and get its exit code.
 *
 * Any thread may call these. A child's handle is the system's own (on Linux a process descriptor)
 * and is the caller's until the child is joined, detached or its exit code is had: each of these
 * closes the handle, so the code can be had once. Children that nobody joins are neither waited for
 * nor stopped when the program ends.
 *
 * Failures come out as the system's own: KX_ERROR_FILE_NOT_FOUND, KX_E_ACCESSDENIED, KX_E_HANDLE,
 * KX_E_OUTOFMEMORY, and KX_E_FAIL for everything else, exhausted descriptors among it.
 */
#ifndef KXCORE7_PROCESS_H
#define KXCORE7_PROCESS_H

#include "export.h"
#include "file.h"
#include "types.h"

typedef uintptr_t KXProcessHandle;

/*
 * Standard input, output and error of a child, in that order. KX_INVALID_HANDLE asks for a pipe,
 * and a start that succeeds leaves the parent's end of it in that place: to write to for the first,
 * to read from for the others, and to be closed by KXFileClose. Any other value is a handle that
 * the child uses; it stays the caller's. On Windows it must be inheritable.
 */
typedef KXFileHandle KXProcessStdHandles[3];

/* The children that KXProcessJoinChild can wait for at once. */
#define KX_MAX_CHILDREN_JOINED 64

KX_EXTERN_C_BEGIN

/*
 * Starts a program and stores the child's handle in *out.
 *
 *   program      its path, in which nothing is searched; a relative one starts from the caller's
 *                current directory. ".exe" is added if it does not end so, in lower case; but not
 *                to a path of three characters. Where programs have no suffix, the name without it
 *                is tried after the one with it.
 *   arguments    what follows the program and a blank on the command line, as it stands: blanks in
 *                an argument need quotes of the caller's. On Linux the command line is taken apart
 *                as the C runtime of Windows does it. A program path that holds blanks stands bare
 *                on it. May be null.
 *   directory    where the child begins; null for the caller's current directory.
 *   environment  texts NAME=value up to a null pointer; they are sorted without regard to case.
 * Null for the caller's environment; an array of one null pointer for an empty one. reserved
 * ignored. handles      see there; null leaves the child with those of the caller.
 *
 * The child inherits what is inheritable: named semaphores and shared memory that the caller has
 * open, the handles given, and what others made so. On Linux it begins with no signal blocked, and
 * ignores none but SIGHUP, SIGINT and SIGQUIT where the caller does.
 *
 * Failure: *out is KX_INVALID_HANDLE, all pipe ends are closed, and what handles holds is void.
 * KX_ERROR_FILE_NOT_FOUND: no such program. KX_E_ACCESSDENIED: it may not be run, or is a folder.
 * KX_E_FAIL: it is no program, the directory is missing, no descriptors are left.
 */
KX_API KXResult KXProcessCreate(const char16_t* program, const char16_t* arguments,
                                const char16_t* directory, const char16_t* const* environment,
                                uint32_t reserved, KXProcessStdHandles handles,
                                KXProcessHandle* out);

/* Closes the child's handle; the child runs on. KX_E_HANDLE: no such handle. */
KX_API KXResult KXProcessDetach(KXProcessHandle process);

/*
 * Stores the exit code of a process that has ended, and closes its handle. On Linux the code has 8
 * bits, and is 128 + n for a process that signal n has killed.
 * KX_E_FAIL: it is running, and nothing has changed. The code 259 can't be told from that.
 */
KX_API KXResult KXProcessGetExitCode(KXProcessHandle process, uint32_t* exitCode);

/* Waits without limit for the end of a process; the rest as KXProcessGetExitCode. exitCode may be
 * null. */
KX_API KXResult KXProcessJoin(KXProcessHandle process, uint32_t* exitCode);

/*
 * Waits without limit for one of the children that KXProcessCreate started and nobody has joined or
 * detached, stores its handle, by now closed, in *out, and its exit code if exitCode is not null.
 * Of several that have ended the one with the lowest handle is taken. Meanwhile other threads can
 * neither register a new child nor detach one: they wait.
 * KX_E_FAIL: there are no children, or more than KX_MAX_CHILDREN_JOINED; or the child at *out has
 * ended and its exit code can't be had: it is to be detached.
 */
KX_API KXResult KXProcessJoinChild(KXProcessHandle* out, uint32_t* exitCode);

/* The system's id of this process. */
KX_API uint32_t KXProcessGetID(void);

/*
 * Writes the name of the program file that a process runs, without its folder, cut to size - 1
 * bytes and padded with zeros to size, which is at least 1. 1, or 0 where there is no such process,
 * it is out of reach, or has no program: one that has ended, one of the system's own.
 */
KX_API KXBool16 KXProcessGetName(uint32_t id, char* name, uint32_t size);

KX_EXTERN_C_END

#endif
