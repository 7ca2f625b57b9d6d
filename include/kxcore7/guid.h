/*
 * 128-bit identifiers, in memory and as text. The text form is what class registrations are made
 * of: "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}".
 *
 * Any thread may call these at any time. No pointer is checked.
 */
#ifndef KXCORE7_GUID_H
#define KXCORE7_GUID_H

#include "export.h"
#include "types.h"

/* 16 bytes without gaps; data1 to data3 in the host's byte order. */
typedef struct KXGUID {
    uint32_t data1;
    uint16_t data2;
    uint16_t data3;
    uint8_t data4[8];
} KXGUID;

/* Where the system's headers have a GUID of their own, they may come before or behind this one. */
#if !defined(KX_SYSTEM_HAS_GUID) && !defined(GUID_DEFINED)
#define GUID_DEFINED
typedef KXGUID GUID;
#endif

/* Units of the text form with its terminator. */
#define KX_GUID_TEXT_SIZE 39

KX_EXTERN_C_BEGIN

/*
 * Reads the text form, with or without braces, in either case. What follows the 36 characters of
 * the body, or the closing brace, is not examined.
 * Any other text: KX_E_INVALIDARG, and *guid is untouched.
 */
KX_API KXResult KXComGUIDFromString(const char16_t* text, KXGUID* guid);

/*
 * Writes the text form, with braces and in upper case, 38 units and a terminator.
 * count is the capacity of text; fewer than KX_GUID_TEXT_SIZE give a cut text with no terminator.
 * Always 0.
 */
KX_API KXResult KXComStringFromGUID(const KXGUID* guid, char16_t* text, size_t count);

/* Makes a new, unique identifier. KX_E_FAIL where the system has nothing to base it on. */
KX_API KXResult KXComGenerateGUID(KXGUID* guid);

/* 1 when all 16 bytes are equal, otherwise 0. */
KX_API int32_t KXComIsEqualGUID(const KXGUID* a, const KXGUID* b);

/*
 * -1, 0 or 1 as a sorts before, equal to or after b, unsigned byte by byte in the order of
 * positions 10 to 15, 8, 9, 6, 7, 4, 5, 0 to 3: the end of the text form decides first.
 */
KX_API int32_t KXComCompareGUID(const KXGUID* a, const KXGUID* b);

KX_EXTERN_C_END

#endif
