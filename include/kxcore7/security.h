/*
 * Access to objects of the system, where there are access lists: Windows. The library's named
 * semaphores have what is built here.
 */
#ifndef KXCORE7_SECURITY_H
#define KXCORE7_SECURITY_H

#include "export.h"
#include "types.h"

KX_EXTERN_C_BEGIN

/*
 * Makes of *descriptor, a SECURITY_DESCRIPTOR of the caller's, one that grants accessMask to
 * authenticated users (S-1-5-11) and nothing to anybody else, and stores its access list in *list.
 * Both are kept for as long as the descriptor is in use; then the list is given to
 * KXWinFreeRestrictedSD.
 * Failure: *list is null; KX_E_OUTOFMEMORY, what the system says, or KX_E_NOTIMPL where there are
 * no access lists.
 */
KX_API KXResult KXWinBuildRestrictedSD(void* descriptor, uint32_t accessMask, void** list);

/* Frees an access list; null is accepted. */
KX_API void KXWinFreeRestrictedSD(void* list);

KX_EXTERN_C_END

#endif
