/*
 * Single characters: classes and case. Flavour A is a byte of narrow text, flavour W a 16-bit unit
 * of wide text (see str.h).
 *
 * The argument is the character in a full word, of which only the low byte (A) or the low 16 bits
 * (W) count. Below 0x80 the answer is this library's, the same under every locale, except where
 * told; above it is the process's locale that answers.
 *
 * A byte reaches the locale with its sign, as text in char has it. So 0xFF comes as -1, which the C
 * runtime takes for the end of a file: it is in no class, in any locale. What else a negative
 * number is to it differs between systems.
 *
 * Any thread may call these at any time. They cannot fail.
 */
#ifndef KXCORE7_CHARACTER_H
#define KXCORE7_CHARACTER_H

#include "export.h"
#include "types.h"

KX_EXTERN_C_BEGIN

/* Not 0 for a letter, or for a digit. The locale answers for ASCII, too. */
KX_API int KXIsAlphaA(int ch);
KX_API int KXIsAlphaW(int ch);
KX_API int KXIsDigitA(int ch);
KX_API int KXIsDigitW(int ch);

/* Not 0 for white space; in ASCII that is space, form feed, LF, CR, tab and vertical tab. */
KX_API int KXIsSpaceA(int ch);
KX_API int KXIsSpaceW(int ch);

/* The character in the other case, or as it is. Only the low byte, or 16 bits, are defined. */
KX_API int KXToLowerA(int ch);
KX_API int KXToLowerW(int ch);
KX_API int KXToUpperA(int ch);
KX_API int KXToUpperW(int ch);

KX_EXTERN_C_END

#endif
