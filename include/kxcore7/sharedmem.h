/*
 * Named memory that processes share.
 *
 * The memory lives exactly as long as a handle, a view or a child that inherited one of them does,
 * however its process ends; then the name is free (on Windows when the last handle is gone), and
 * whoever uses it next gets new memory, all zero. Every process that can name it may open it. Names
 * are compared byte for byte; they are shorter than 508 bytes, and their units as wide text are,
 * too.
 *
 * Any thread may call these. What lies in the memory is its users' to keep in order. A failed call
 * of the system comes out as its result code.
 */
#ifndef KXCORE7_SHAREDMEM_H
#define KXCORE7_SHAREDMEM_H

#include "export.h"
#include "file.h"
#include "types.h"

typedef uintptr_t KXSharedMemHandle;

KX_EXTERN_C_BEGIN

/*
 * Creates or opens named memory and stores its handle, which child processes can inherit, in *out.
 * flags:
 *
 *   KX_FILE_CREATE or _EXCLUSIVE   opened with its own size if it exists, otherwise created with
 *                                  size bytes, zeroed; for reading and writing either way
 *   both of them                   created; KX_E_FAIL if it exists
 *   neither                        opened, for writing with KX_FILE_WRITE, otherwise for reading;
 *                                  KX_ERROR_FILE_NOT_FOUND if it does not exist
 *
 * The third argument is ignored. To create with a size of 0 is refused with KX_E_FAIL, also where
 * the memory exists.
 *
 * Result: 0 if the memory existed and was asked to be created, 2 if it is new, or opened; negative
 * on failure, and *out is KX_INVALID_HANDLE. KX_E_HANDLE: the name belongs to something else.
 */
KX_API KXResult KXSharedMemOpen(const char* name, uint32_t flags, uint32_t reserved, uint32_t size,
                                KXSharedMemHandle* out);

/*
 * Maps all of the memory and stores the address. access is KX_FILE_READ (a write through the view
 * is a fault), KX_FILE_WRITE or both of them (for reading and writing); KX_E_FAIL for anything
 * else. KX_E_ACCESSDENIED if the handle was opened for less.
 */
KX_API KXResult KXSharedMemAttach(KXSharedMemHandle memory, uint32_t access, void** address);

/* Takes back a view, by the address that the attach stored. KX_E_FAIL for what is no view. */
KX_API KXResult KXSharedMemDetach(void* address);

/* Gives the handle back; views stay as they are. Exactly what KXFileClose does. */
KX_API KXResult KXSharedMemClose(KXSharedMemHandle memory);

KX_EXTERN_C_END

#endif
