/*
 * Dynamic libraries: load, look up, unload, over the system's own loader and its own count of
 * opens.
 *
 * Any thread may call these, from the library's start to its end.
 */
#ifndef KXCORE7_LIBRARY_H
#define KXCORE7_LIBRARY_H

#include "export.h"
#include "types.h"

/* The system's own handle: one library has one, however often it is opened. */
typedef uintptr_t KXLibraryHandle;

KX_EXTERN_C_BEGIN

/*
 * Loads the library at the path as it stands; a name without a directory is searched for as the
 * system does. Each open needs its own KXLibClose.
 * KX_ERROR_FILE_NOT_FOUND: no such file. KX_E_ACCESSDENIED. KX_E_FAIL: no library, or one that
 * can't start. *out is KX_INVALID_HANDLE on failure.
 */
KX_API KXResult KXLibOpen(const char16_t* path, KXLibraryHandle* out);

/*
 * The address of an exported function or data item.
 * KX_E_FAIL: no such symbol, also for a name that the process's locale can't express. KX_E_HANDLE:
 * not a loaded library. *address is null on failure.
 */
KX_API KXResult KXLibGetSymbol(KXLibraryHandle handle, const char16_t* name, void** address);

/* Gives one open back; the last one unloads. KX_E_HANDLE: not an open library. */
KX_API KXResult KXLibClose(KXLibraryHandle handle);

KX_EXTERN_C_END

#endif
