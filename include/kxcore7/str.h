/*
 * Strings in four flavours. A suffix names the flavour, and flavours differ in rules, not only in
 * width:
 *
 *   suffix  unit     a character is                    who decides its rules
 *   A       byte     one byte of narrow text           below 0x80 this library, else the locale
 *   W       16 bits  one unit; pairs are two           below 0x80 this library, else the locale
 *   UCS2    16 bits  one unit; pairs are two           this library: plain arithmetic
 *   UTF16   16 bits  one code point; a pair is one     ICU
 *
 * Where a comparison or a change of case meets both cases of a letter:
 *
 *   A       ASCII is folded to upper case, what is behind it by the process's locale
 *   W       compared wholly by the process's locale; changed as A is
 *   UCS2    only A to Z are folded, to lower case; there is no change of case
 *   UTF16   compared by Unicode's default case folding, no locale; changed by ICU's default locale
 *
 * The process's locale is what the environment says when the library is loaded. In UTF-8 locales no
 * single byte behind ASCII is a letter, so the A functions leave such text alone.
 *
 * Units: a length, a count and a size are numbers of the flavour's units. A size includes the place
 * of the terminator, a count or length does not. Strings end in a zero unit unless told otherwise.
 *
 * Any thread may call these at any time on data of its own. Nothing is reported through a KXResult;
 * a null string is the caller's fault except where told. Only the four that duplicate allocate.
 */
#ifndef KXCORE7_STR_H
#define KXCORE7_STR_H

#include "export.h"
#include "types.h"

KX_EXTERN_C_BEGIN

/* --- Length ----------------------------------------------------------------------------------- */

/* Units before the terminator. UTF16 counts units as well, not code points. */
KX_API size_t KXStrLenA(const char* str);
KX_API size_t KXStrLenW(const char16_t* str);
KX_API size_t KXStrLenUTF16(const char16_t* str);

/* Units before the terminator, at most maxCount; nothing behind those is read. */
KX_API size_t KXStrNLenA(const char* str, size_t maxCount);
KX_API size_t KXStrNLenW(const char16_t* str, size_t maxCount);
KX_API size_t KXStrNLenUTF16(const char16_t* str, size_t maxCount);

/* Code points: a pair counts once, and so does a lone surrogate. 0 for null. */
KX_API size_t KXCountCharUTF16(const char16_t* str);

/* --- Duplicates ------------------------------------------------------------------------------- */

/*
 * A new string with the same text, or with its first maxCount units; always terminated. Null for
 * null. The caller releases it by KXStrFreeA or KXStrFreeW and by nothing else.
 * Exhausted memory throws std::bad_alloc through the call; it never gives null.
 */
KX_API char* KXStrDupA(const char* str);
KX_API char16_t* KXStrDupW(const char16_t* str);
KX_API char* KXStrNDupA(const char* str, size_t maxCount);
KX_API char16_t* KXStrNDupW(const char16_t* str, size_t maxCount);

/* Both release any duplicate, and accept null. */
KX_API void KXStrFreeA(void* str);
KX_API void KXStrFreeW(void* str);

/* --- Copy and append -------------------------------------------------------------------------- */

/* Copies, or appends, through the terminator and without a bound. dst. */
KX_API char* KXStrCpyA(char* dst, const char* src);
KX_API char16_t* KXStrCpyW(char16_t* dst, const char16_t* src);
KX_API char* KXStrCatA(char* dst, const char* src);
KX_API char16_t* KXStrCatW(char16_t* dst, const char16_t* src);

/*
 * Copies the count narrow strings that follow into dst, one behind the other and without a bound;
 * null and empty ones are passed over. The bytes written without terminator. A null dst gives 0.
 */
KX_API size_t KXStrCpyCatA(char* dst, int count, ...);

/*
 * Copies at most count units and pads with zeros up to count; no terminator if src has count units
 * or more. dst.
 */
KX_API char* KXStrNCpyA(char* dst, const char* src, size_t count);
KX_API char16_t* KXStrNCpyW(char16_t* dst, const char16_t* src, size_t count);

/* Appends at most count units and a terminator; count does not bound the buffer. dst. */
KX_API char* KXStrNCatA(char* dst, const char* src, size_t count);
KX_API char16_t* KXStrNCatW(char16_t* dst, const char16_t* src, size_t count);

/*
 * Copies n units, the smaller of dstSize - 1 and count, and always terminates at dst[n]. dst; that
 * text was cut is not told. A and W fill up to n with zeros; UTF16 stops behind the terminator and
 * leaves the rest up to n as it was. A dstSize of 0 protects nothing: then count alone is the
 * bound.
 */
KX_API char* KXStrNZCpyA(char* dst, size_t dstSize, const char* src, size_t count);
KX_API char16_t* KXStrNZCpyW(char16_t* dst, size_t dstSize, const char16_t* src, size_t count);
KX_API char16_t* KXStrNZCpyUTF16(char16_t* dst, size_t dstSize, const char16_t* src, size_t count);

/*
 * Appends at most count units within a buffer of dstSize units and always terminates; a buffer
 * without a terminator loses its last unit to it. Where the appended text begins, not dst, so that
 * a caller can go on from there. With a dstSize of 0 a terminator is stored in front of dst.
 */
KX_API char* KXStrNZCatA(char* dst, size_t dstSize, const char* src, size_t count);
KX_API char16_t* KXStrNZCatW(char16_t* dst, size_t dstSize, const char16_t* src, size_t count);
KX_API char16_t* KXStrNZCatUTF16(char16_t* dst, size_t dstSize, const char16_t* src, size_t count);

/* --- Comparison ------------------------------------------------------------------------------- */

/*
 * Below, at or above 0 as a sorts before, with or behind b.
 * A, W     unsigned units; exactly -1, 0 or 1
 * UCS2     unsigned units; the difference of the first two that differ
 * UTF16    code points: a pair sorts behind every single unit
 */
KX_API int KXStrCmpA(const char* a, const char* b);
KX_API int KXStrCmpW(const char16_t* a, const char16_t* b);
KX_API int KXStrCmpUCS2(const char16_t* a, const char16_t* b);
KX_API int KXStrCmpUTF16(const char16_t* a, const char16_t* b);

/* The same over at most count units; only the sign tells, in A and W too. */
KX_API int KXStrNCmpA(const char* a, const char* b, size_t count);
KX_API int KXStrNCmpW(const char16_t* a, const char16_t* b, size_t count);
KX_API int KXStrNCmpUTF16(const char16_t* a, const char16_t* b, size_t count);

/*
 * The same without regard to case, by the rules of the flavour as told above.
 * A        while both are ASCII, upper case is compared, so that _ sorts behind Z and before a;
 *          from the first other byte on the locale compares what is left, ASCII included
 * W        the locale compares all of it, ASCII included: in a Turkish locale I and i may differ
 */
KX_API int KXStrICmpA(const char* a, const char* b);
KX_API int KXStrICmpW(const char16_t* a, const char16_t* b);
KX_API int KXStrICmpUCS2(const char16_t* a, const char16_t* b);
KX_API int KXStrICmpUTF16(const char16_t* a, const char16_t* b);

/*
 * The same over at most count units. UTF16 takes no notice of count and always compares at most
 * three units, which its callers have come to rely on.
 */
KX_API int KXStrNICmpA(const char* a, const char* b, size_t count);
KX_API int KXStrNICmpW(const char16_t* a, const char16_t* b, size_t count);
KX_API int KXStrNICmpUTF16(const char16_t* a, const char16_t* b, size_t count);

/* --- Search ----------------------------------------------------------------------------------- */

/*
 * The first, or with R the last, ch in str; null if there is none. The terminator can be found.
 * UCS2     a surrogate is found only where it is not half of a pair
 * UTF16    ch is a code point, and one above U+FFFF is found as its pair; above U+10FFFF null
 */
KX_API char* KXStrChrA(const char* str, char ch);
KX_API char16_t* KXStrChrW(const char16_t* str, char16_t ch);
KX_API char16_t* KXStrChrUCS2(const char16_t* str, char16_t ch);
KX_API char16_t* KXStrChrUTF16(const char16_t* str, char32_t ch);
KX_API char* KXStrRChrA(const char* str, char ch);
KX_API char16_t* KXStrRChrW(const char16_t* str, char16_t ch);
KX_API char16_t* KXStrRChrUCS2(const char16_t* str, char16_t ch);
KX_API char16_t* KXStrRChrUTF16(const char16_t* str, char32_t ch);

/*
 * Where substring first stands in str; null if nowhere. An empty one stands at the start.
 * UTF16    never begins or ends inside a pair
 */
KX_API char* KXStrStrA(const char* str, const char* substring);
KX_API char16_t* KXStrStrW(const char16_t* str, const char16_t* substring);
KX_API char16_t* KXStrStrUTF16(const char16_t* str, const char16_t* substring);

/* --- Tokens ----------------------------------------------------------------------------------- */

/*
 * The next token of the text at *cursor, or null when there is none left. Delimiters in front of it
 * are passed over, the one behind it is overwritten by a terminator, and *cursor goes behind that;
 * it becomes null with the last token. *cursor is the only state, so that loops may be nested and
 * delimiters differ from call to call.
 */
KX_API char* KXStrTokA(char** cursor, const char* delimiters);
KX_API char16_t* KXStrTokW(char16_t** cursor, const char16_t* delimiters);

/* --- Case of a whole string, in place --------------------------------------------------------- */

/*
 * str. ASCII at its start is changed by this library; from the first other unit on the locale
 * changes all that is left, ASCII included.
 */
KX_API char* KXStrToLowerA(char* str);
KX_API char16_t* KXStrToLowerW(char16_t* str);
KX_API char* KXStrToUpperA(char* str);
KX_API char16_t* KXStrToUpperW(char16_t* str);

/*
 * str, changed by ICU under its default locale; text may grow (U+00DF becomes SS).
 * The buffer has to have room for twice the string's length in units, and all of that is read and
 * changed, past the terminator too: the room is what the text grows into, and what stood at its end
 * is lost then. Failures, text that outgrows the room among them, are not told.
 */
KX_API char16_t* KXStrToLowerUTF16(char16_t* str);
KX_API char16_t* KXStrToUpperUTF16(char16_t* str);

KX_EXTERN_C_END

#endif
