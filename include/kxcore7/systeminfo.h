/*
 * Who this is.
 *
 * Any thread may call these.
 */
#ifndef KXCORE7_SYSTEMINFO_H
#define KXCORE7_SYSTEMINFO_H

#include "export.h"
#include "types.h"

KX_EXTERN_C_BEGIN

/*
 * Writes the name of the user whose rights the process has, and a terminator.
 * KX_E_FAIL: it takes more than size units, or the system has no name for the user.
 */
KX_API KXResult KXGetUserName(char16_t* name, uint32_t size);

KX_EXTERN_C_END

#endif
