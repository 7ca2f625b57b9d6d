/*
 * Files: open, read, write, seek, lock, copy, delete; and paths made absolute.
 *
 * Paths are wide text. A file's handle is the system's own (a descriptor on Linux), and everything
 * that the system promises of it holds: any thread may use it, and two threads that read or write
 * at one position share that position. Others may always read and write an open file as well;
 * KXFileLock is the only means to keep them out. Handles are not inherited by other programs.
 *
 * A failed call of the system comes out as its result code: KX_ERROR_FILE_NOT_FOUND for a missing
 * file or path, KX_E_ACCESSDENIED for refused access and for a directory in a file's place,
 * KX_E_HANDLE for a handle that is none, KX_E_FAIL for nearly everything else, a full disk and an
 * exhausted supply of handles among it.
 */
#ifndef KXCORE7_FILE_H
#define KXCORE7_FILE_H

#include "export.h"
#include "types.h"

typedef uintptr_t KXFileHandle;

/* What KXFileOpen is asked for; other bits are ignored. */
#define KX_FILE_READ 0x80000000u
#define KX_FILE_WRITE 0x40000000u
#define KX_FILE_WRITE_THROUGH 0x00001000u /* every write gets to the device before it returns */
#define KX_FILE_EXCLUSIVE 0x00000400u     /* with KX_FILE_CREATE: fail if the file exists */
#define KX_FILE_TRUNCATE 0x00000200u      /* cut an existing file to length 0 */
#define KX_FILE_CREATE 0x00000100u        /* create the file if it is missing */
#define KX_FILE_TEMPORARY 0x00000040u     /* the file goes when its handle is closed */
#define KX_FILE_APPEND 0x00000008u        /* start at the end of the file */

/* Where a seek starts from. */
#define KX_FILE_BEGIN 0u
#define KX_FILE_CURRENT 1u
#define KX_FILE_END 2u

/* How to lock: bits. Without the first the lock is exclusive, without the second it never waits. */
#define KX_FILE_LOCK_SHARED 0x1u
#define KX_FILE_LOCK_WAIT 0x2u

KX_EXTERN_C_BEGIN

/*
 * Opens a file and stores its handle in *out. Access is what the flags say, which may be none.
 *
 *   KX_FILE_CREATE, _TRUNCATE, _EXCLUSIVE   the file exists       it does not
 *   none of them                            opened                KX_ERROR_FILE_NOT_FOUND
 *   CREATE                                  opened                created
 *   TRUNCATE                                cut to 0              KX_ERROR_FILE_NOT_FOUND
 *   CREATE, TRUNCATE                        cut to 0              created
 *   CREATE, EXCLUSIVE, with TRUNCATE or not KX_E_FAIL             created
 *   EXCLUSIVE without CREATE                KX_E_FAIL             KX_E_FAIL
 *
 * TRUNCATE without CREATE takes KX_FILE_WRITE. A file that is created becomes read-only if
 * permissions (POSIX bits) has no write bit; it can be written through the handle that created it
 * all the same. A read-only file is neither opened for writing nor as a temporary one:
 * KX_E_ACCESSDENIED.
 *
 * With KX_FILE_TEMPORARY the file is created if it is missing, and with a path that is null or
 * empty it is a new one in the system's folder for such files, named "tmp..."; it keeps its name
 * until the handle is closed.
 *
 * KX_FILE_APPEND is the position to start from and no more: nothing keeps later writes at the end.
 *
 * Result: 0 opened; 2 created, by CREATE without EXCLUSIVE. Otherwise negative, and *out is
 * KX_INVALID_HANDLE; but if only the way to the end for KX_FILE_APPEND failed, *out is a handle,
 * and open.
 */
KX_API KXResult KXFileOpen(const char16_t* path, uint32_t flags, uint32_t permissions,
                           KXFileHandle* out);

/* Gives the handle back; KX_E_HANDLE for one that is none. */
KX_API KXResult KXFileClose(KXFileHandle file);

/*
 * Reads at most count bytes at the handle's position and stores how many there were in *read.
 * No byte, also where none was asked for: KX_ERROR_HANDLE_EOF and 0.
 */
KX_API KXResult KXFileRead(KXFileHandle file, void* buffer, uint32_t count, uint32_t* read);

/*
 * Writes count bytes at the handle's position and stores how many got there in *written: fewer are
 * no failure.
 */
KX_API KXResult KXFileWrite(KXFileHandle file, const void* buffer, uint32_t count,
                            uint32_t* written);

/*
 * Moves the position by distance bytes from an origin, and stores the new one in *position. One
 * past 2^32 - 1 is KX_E_FAIL, as one in front of the file: *position is 0xFFFFFFFF, and the handle
 * stays where it was. (On success it may be 0xFFFFFFFF, too: only the result tells.)
 */
KX_API KXResult KXFileSeek(KXFileHandle file, int32_t distance, uint32_t origin,
                           uint32_t* position);

/* The same for any distance, signed, in two halves. On failure *position is 0. */
KX_API KXResult KXFileSeek64(KXFileHandle file, uint32_t distanceLow, uint32_t distanceHigh,
                             uint32_t origin, uint64_t* position);

/* Stores the file's size in bytes. KX_E_NOTIMPL on Windows before NT. */
KX_API KXResult KXFileGetSize(KXFileHandle file, uint64_t* size);

/*
 * Locks length bytes from offset on, which may lie behind the end, against locks through other
 * handles; KX_E_FAIL at once if that conflicts, unless asked to wait. Closing the handle unlocks.
 * Only the first 4 GiB of a file can be locked. (On Windows before NT the lock is exclusive and
 * does not wait, whatever is asked for.)
 */
KX_API KXResult KXFileLock(KXFileHandle file, uint32_t offset, uint32_t length, uint32_t how);

/* Takes back a lock on the same range. */
KX_API KXResult KXFileUnlock(KXFileHandle file, uint32_t offset, uint32_t length);

/* Returns when what was written is on the device. Takes a handle with KX_FILE_WRITE. */
KX_API KXResult KXFileFlush(KXFileHandle file);

/* Deletes a file that is not read-only. */
KX_API KXResult KXFileDelete(const char16_t* path);

/*
 * Copies a file's bytes. The destination is opened as KXFileOpen does with the given flags, to
 * which KX_FILE_WRITE is added, and permissions. out may be null; otherwise the destination stays
 * open at the end of what was copied, and its handle is stored.
 *
 * Result: 0, whether or not the destination is new; KX_E_FAIL for a write that was cut short. A
 * source that can't be read on counts as ending there. On failure *out is KX_INVALID_HANDLE and the
 * destination holds what was copied so far. Only where memory is exhausted both files stay open.
 */
KX_API KXResult KXFileCopy(const char16_t* source, const char16_t* destination, uint32_t flags,
                           uint32_t permissions, KXFileHandle* out);

/*
 * Writes the path made absolute, with "." and ".." taken out of it by their letters alone, into a
 * buffer of size units. One that is too small is no failure: then nothing of use is in it, which a
 * caller finds out by a terminator put into its first unit beforehand. KX_E_FAIL for an empty path.
 */
KX_API KXResult KXPathExpand(const char16_t* path, char16_t* buffer, uint32_t size);

KX_EXTERN_C_END

#endif
