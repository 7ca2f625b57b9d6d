/*
 * The user's default locale and the system's narrow encoding, by name. Both ask the system at every
 * call. dstCount is the capacity of dst in wide units, with the terminator.
 *
 * Any thread may call these at any time.
 */
#ifndef KXCORE7_LOCALE_H
#define KXCORE7_LOCALE_H

#include "export.h"
#include "types.h"

KX_EXTERN_C_BEGIN

/*
 * A locale name as ICU has them, "de_CH"; what the library has no name for is "en_US". The rest of
 * dst is cleared.
 * KX_CO_E_INIT_CLASS_CACHE and dst untouched where it does not fit; KX_E_OUTOFMEMORY.
 */
KX_API KXResult KXGetDefaultLocale(char16_t* dst, uint32_t dstCount);

/*
 * "UTF-8", or "CP" and the number of a code page, "CP1252"; both open as an encoding.
 * KX_CO_E_INIT_CLASS_CACHE where dstCount is below 8, whatever the name.
 */
KX_API KXResult KXGetDefaultCharEncoding(char16_t* dst, int32_t dstCount);

KX_EXTERN_C_END

#endif
