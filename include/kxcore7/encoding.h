/*
 * Conversion between encodings by name and wide text, and among UTF-8, UTF-16 and UTF-32. ICU's
 * converters do the work; names are those that ICU knows ("windows-1252", "Shift_JIS"), as wide
 * text of less than 128 ASCII characters.
 *
 * A name that ICU does not know is opened as ISO-8859-1, and nobody is told. A null name stands for
 * ICU's default converter, once KXEncUtilInit was called; before, there is no converter.
 *
 * Results are KX_S_OK or
 *   KX_E_ENC_INVALID          stop mode: text that is ill-formed, cut off, or not in the encoding
 *   KX_CO_E_INIT_CLASS_CACHE  the target is full: call again with more room and the rest
 *   KX_E_ENC_NOT_OPEN         the object has no converter
 *   KX_E_FAIL                 anything else, such as a bad argument
 *
 * An object belongs to one thread at a time. The one-shot calls may come from any thread.
 */
#ifndef KXCORE7_ENCODING_H
#define KXCORE7_ENCODING_H

#include "export.h"
#include "types.h"

KX_EXTERN_C_BEGIN

/*
 * Tells ICU where its data lies, in a directory in narrow text; null or "" for where ICU looks by
 * itself. The number of converters there are, of which the low 16 bits are returned; 0 means that
 * ICU found no data. To be called before converters are used, by one thread.
 */
KX_API uint32_t KXEncUtilInit(const char* dataDirectory);

/* --- Streams ---------------------------------------------------------------------------------- */

/* A converter in the making of text; 0 is none. */
typedef uintptr_t KXEncHandle;

/*
 * A new object, which the caller closes; the two names are one function. It is returned also where
 * no converter could be opened. Exhausted memory throws std::bad_alloc through the call.
 */
KX_API KXEncHandle KXEncToW_Open(const char16_t* encodingName);
KX_API KXEncHandle KXEncFromW_Open(const char16_t* encodingName);

/* Releases the object; the two names are one function. 0 is ignored. */
KX_API void KXEncToW_Close(KXEncHandle handle);
KX_API void KXEncFromW_Close(KXEncHandle handle);

/*
 * What happens to text that can't be converted; the two names are one function.
 *   1 to 0x10FFFE   this code point is converted in its place, in the direction from wide text;
 *                   0 stands for U+FFFD. Wide text gets ICU's own substitute, as before any call.
 *   negative        stop mode: conversion ends there with KX_E_ENC_INVALID, in both directions
 *   0x10FFFF, more  KX_E_ENC_INVALID, and nothing changes
 * KX_E_ENC_INVALID too for a code point that the encoding does not have; KX_E_FAIL, or KX_E_ABORT
 * for stop mode, where there is no converter.
 */
KX_API KXResult KXEncToW_SetSubstitutionChar(KXEncHandle handle, int substitution);
KX_API KXResult KXEncFromW_SetSubstitutionChar(KXEncHandle handle, int substitution);

/*
 * Converts from *source up to sourceLimit into *target up to targetLimit. Both cursors go behind
 * what was read and written, also on failure. A character that is cut off at sourceLimit is kept
 * for the next call.
 * Without a converter KXEncToW_* give KX_E_ENC_NOT_OPEN, while KXEncFromW_* end the process by
 * std::terminate: who writes text has to know that it goes somewhere.
 */
KX_API KXResult KXEncToW_Convert(KXEncHandle handle, const char** source, const char* sourceLimit,
                                 char16_t** target, const char16_t* targetLimit);
KX_API KXResult KXEncFromW_Convert(KXEncHandle handle, const char16_t** source,
                                   const char16_t* sourceLimit, char** target,
                                   const char* targetLimit);

/*
 * Ends the text: writes what the converter still holds. A character that was cut off is
 * KX_E_ENC_INVALID in stop mode. When the target is full, call again with more room.
 */
KX_API KXResult KXEncToW_Flush(KXEncHandle handle, char16_t** target, const char16_t* targetLimit);
KX_API KXResult KXEncFromW_Flush(KXEncHandle handle, char** target, const char* targetLimit);

/* --- At once ---------------------------------------------------------------------------------- */

/*
 * Converts all of *sourceLength bytes from one encoding to another, into target of *targetLength
 * bytes; no terminator is read or written. The lengths become the bytes read and written, also on
 * failure, except where the substitution or an encoding is refused: then they stay.
 * substitution is as above, for both encodings. A target that is too small gives
 * KX_CO_E_INIT_CLASS_CACHE, with up to 1024 wide units read that were not written.
 */
KX_API KXResult KXEncConvert(const char* source, size_t* sourceLength,
                             const char16_t* sourceEncoding, char* target, size_t* targetLength,
                             const char16_t* targetEncoding, int substitution);

/*
 * Between the forms of Unicode. A negative srcLength means terminated text. *dstLength becomes the
 * length of the whole result, which is more than dstCapacity when that is too small; it may be null
 * in the four between UTF-8 and 16 bits, not in the two with UTF-32. A terminator is written where
 * it fits.
 * substitution is the code point in place of each ill-formed sequence; a negative one makes such
 * text KX_E_ENC_INVALID, a surrogate or one above 0x10FFFF is KX_E_FAIL.
 */
KX_API KXResult KXEncUTF16ToUTF8(char* dst, int dstCapacity, int* dstLength, const char16_t* src,
                                 int srcLength, int substitution);
KX_API KXResult KXEncUTF8ToUTF16(char16_t* dst, int dstCapacity, int* dstLength, const char* src,
                                 int srcLength, int substitution);
KX_API KXResult KXEncUTF32ToUTF8(char* dst, int dstCapacity, int* dstLength, const char32_t* src,
                                 int srcLength, int substitution);
KX_API KXResult KXEncUTF8ToUTF32(char32_t* dst, int dstCapacity, int* dstLength, const char* src,
                                 int srcLength, int substitution);

/* KXEncUTF16ToUTF8 and KXEncUTF8ToUTF16, as wide text calls them. */
KX_API KXResult KXWToUTF8(char* dst, int dstCapacity, int* dstLength, const char16_t* src,
                          int srcLength, int substitution);
KX_API KXResult KXUTF8ToW(char16_t* dst, int dstCapacity, int* dstLength, const char* src,
                          int srcLength, int substitution);

KX_EXTERN_C_END

#endif
