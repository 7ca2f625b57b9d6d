/*
 * Directories: make, remove, list.
 *
 * Any thread may call these; a listing belongs to one thread at a time. A failed call of the system
 * comes out as its result code, as for files.
 */
#ifndef KXCORE7_DIRECTORY_H
#define KXCORE7_DIRECTORY_H

#include "export.h"
#include "types.h"

/* A listing, in the library's memory. */
typedef uintptr_t KXDirHandle;

/* Mode words have no other bits than these and those for reading. */
#define KX_DIR_MODE_READ 0x0124u      /* octal 0444; always */
#define KX_DIR_MODE_WRITE 0x0092u     /* octal 0222; not read-only */
#define KX_DIR_MODE_DIRECTORY 0x4000u /* octal 040000 */

/*
 * An entry of a directory. Times are 32-bit seconds since 1970-01-01 00:00:00 UTC, by way of local
 * time and the daylight saving in force now; a time out of range has all bits set.
 */
typedef struct KXDirEntry {
    char16_t name[260];         /* terminated unless it is as long */
    char16_t alternateName[14]; /* a short name, if the system has one at hand */
    uint32_t mode;
    uint32_t sizeHigh; /* of the size in bytes; the upper half comes first */
    uint32_t sizeLow;
    int32_t creationTime; /* as far as the file system keeps it */
    int32_t accessTime;
    int32_t writeTime;
} KXDirEntry;

KX_EXTERN_C_BEGIN

/* Makes a directory; mode is ignored. KX_ERROR_ALREADY_EXISTS if the name is taken. */
KX_API KXResult KXDirCreate(const char16_t* path, uint32_t mode);

/* Removes an empty directory. KX_E_FAIL for one that is not empty, and for a file. */
KX_API KXResult KXDirRemove(const char16_t* path);

/*
 * Starts a listing of a directory and stores its handle in *out. Separators at the end of the path
 * count for nothing; an empty path is the root. A path that ends in ":" means the current directory
 * of that drive, where there are drives.
 * Failure, also for a directory that is missing or may not be read: *out is KX_INVALID_HANDLE.
 * KX_E_FAIL for a file.
 */
KX_API KXResult KXDirOpen(const char16_t* path, KXDirHandle* out);

/*
 * Stores the next entry, "." and ".." included, in the order that the system has them; reserved is
 * ignored. Behind the last one: KX_E_FAIL, as for any failure, and *entry is as it was. So read
 * until the first failure.
 *
 * Entries that come or go meanwhile may or may not be listed; all others are, once.
 */
KX_API KXResult KXDirRead(KXDirHandle directory, KXDirEntry* entry, uint32_t reserved);

/* Ends the listing. Always 0. */
KX_API KXResult KXDirClose(KXDirHandle directory);

KX_EXTERN_C_END

#endif
