/*
 * Text files in UTF-16, a line at a time, over ICU's streams. Reading goes by the byte-order mark;
 * writing puts one in front.
 *
 * A file belongs to one thread at a time.
 */
#ifndef KXCORE7_TEXTFILE_H
#define KXCORE7_TEXTFILE_H

#include "export.h"
#include "types.h"

KX_EXTERN_C_BEGIN

/* An open text file; 0 is none. */
typedef uintptr_t KXTextFileHandle;

/*
 * Opens a file as fopen does, path and mode in narrow text; 0 if it can't be opened. On Windows the
 * mode has to have a "b": the runtime would change single bytes of 16-bit units.
 */
KX_API KXTextFileHandle KXFileOpenUTF16(const char* path, const char* mode);

/* Writes what is left, and closes. 0 is ignored. */
KX_API void KXFileCloseUTF16(KXTextFileHandle file);

/*
 * Reads a line of at most count - 1 units and a terminator; buffer, or null when nothing is left.
 * What is longer comes with the next calls, and nothing tells. Lines end in LF, CR, CR LF, VT, FF,
 * U+0085, U+2028 or U+2029; of these CR and LF are taken away, the others stay at the end.
 */
KX_API char16_t* KXFileGetLineUTF16(char16_t* buffer, int count, KXTextFileHandle file);

/*
 * Writes a line, CR and LF, on every system; the units that ICU wrote, fewer where it could not.
 * ICU has written what it has handed to the runtime, so a device that is full is not noticed.
 */
KX_API int KXFileWriteLineUTF16(const char16_t* line, KXTextFileHandle file);

KX_EXTERN_C_END

#endif
