/*
 * Small conversions between narrow text in the process's locale, wide text and UTF-8, and walking
 * through UTF-16. For encodings by name and for substitution see encoding.h.
 *
 * Counts and lengths are in units of the text they are about, without terminator; capacities
 * include it. Any thread may call these at any time on data of its own. Nothing is allocated.
 */
#ifndef KXCORE7_CONVERSION_H
#define KXCORE7_CONVERSION_H

#include "export.h"
#include "types.h"

KX_EXTERN_C_BEGIN

/* --- Narrow and wide -------------------------------------------------------------------------- */

/*
 * Widens narrow text; the wide units produced without terminator. A terminator is written when it
 * fits within count. With null dst the units needed; count is then ignored.
 * Text that is not valid in the locale is not reported: one less than the length of its ASCII
 * prefix comes back, because callers rely on that arithmetic.
 */
KX_API size_t KXAnsiToUnicode(char16_t* dst, const char* src, size_t count);

/*
 * The same with a check: 0 and an empty string for text that is not valid in the locale. Writes at
 * most count units including the terminator.
 */
KX_API size_t KXAnsiToWstring(char16_t* dst, const char* src, size_t count);

/*
 * Narrows wide text; the bytes produced without terminator, or all bits one for a character that
 * the locale does not have. Writes at most count bytes including the terminator. With null dst the
 * bytes needed; count is then ignored.
 */
KX_API size_t KXUnicodeToAnsi(char* dst, const char16_t* src, size_t count);

/* The same with a check: 0 and an empty string where a character does not convert. */
KX_API size_t KXUnicodeToString(char* dst, const char16_t* src, size_t count);

/* --- UTF-16 and UTF-8 ------------------------------------------------------------------------- */

/*
 * Converts terminated text into dst of dstCapacity units. The length of the whole result, which may
 * be more than fits: then the start of it was written. A terminator is written where it fits. Null
 * dst with capacity 0 asks for the length.
 * Ill-formed text, null src, and null dst with a capacity give dstCapacity back; no other error is
 * told, and nothing is substituted.
 */
KX_API int KXUTF16ToUTF8(char* dst, const char16_t* src, int dstCapacity);
KX_API int KXUTF8ToUTF16(char16_t* dst, const char* src, int dstCapacity);

/*
 * The same with the length of the source, -1 if it is terminated. dst, or null for ill-formed text
 * and bad arguments; that dst is too small is told by *dstLength alone, which is the length of the
 * whole result and may be null.
 */
KX_API char* KXUTF16ToUTF8N(char* dst, int dstCapacity, int* dstLength, const char16_t* src,
                            int srcLength);
KX_API char16_t* KXUTF8ToUTF16N(char16_t* dst, int dstCapacity, int* dstLength, const char* src,
                                int srcLength);

/*
 * The code point at *cursor, which goes behind it; a surrogate that is not half of a pair is
 * returned as it is. remaining is the number of units left, or -1 for terminated text. Without any
 * left 0, and *cursor stays; a terminator is a character like others, and is passed.
 */
KX_API char32_t KXNextCharUTF16(const char16_t** cursor, int remaining);

/* --- The byte-order mark of UTF-8 ------------------------------------------------------------- */

/* The bytes EF BB BF and a terminator. */
extern KX_API const char* const KXUtf8BomStr;

/* 1 if bytes begin with them, else 0; nothing behind the first other byte is read. */
KX_API int KXIsUtf8BomStr(const char* bytes);

KX_EXTERN_C_END

#endif
