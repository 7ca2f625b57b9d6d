/*
 * String primitives. Flavour A is narrow text, a byte at a time, in the process's locale; flavour W
 * is wide text, a 16-bit unit at a time. ASCII gives one answer under every locale.
 *
 * Any thread may call these at any time. A null string is the caller's fault except where told.
 */
#ifndef KXCORE7_STR_H
#define KXCORE7_STR_H

#include "export.h"
#include "types.h"

KX_EXTERN_C_BEGIN

/* Units before the terminator. */
KX_API size_t KXStrLenW(const char16_t* str);

/*
 * Copies at most count units and pads with zeros up to count; no terminator if src has count units
 * or more. dst.
 */
KX_API char16_t* KXStrNCpyW(char16_t* dst, const char16_t* src, size_t count);

/*
 * Widens narrow text; the wide units produced without terminator. A terminator is written when it
 * fits within count. With null dst the units needed; count is then ignored.
 * Text that is not valid in the locale is not reported: one less than the length of its ASCII
 * prefix comes back, because callers rely on that arithmetic.
 */
KX_API size_t KXAnsiToUnicode(char16_t* dst, const char* src, size_t count);

KX_EXTERN_C_END

#endif
