/*
 * Numbers from text and text from numbers, in narrow text (A) and wide text (W).
 *
 * Reading passes over white space, takes a sign and as much as is a number, and stores where it
 * stopped in *end, unless end is null; text that is no number gives 0 and str. radix is 2 to 36, or
 * 0 for 16 behind "0x", 8 behind "0" and 10 otherwise; any other radix reads nothing.
 * What is out of range gives the nearest number there is, and errno is ERANGE.
 *
 * Any thread may call these at any time. Nothing is allocated.
 */
#ifndef KXCORE7_NUMBER_H
#define KXCORE7_NUMBER_H

#include "export.h"
#include "types.h"

KX_EXTERN_C_BEGIN

/* A decimal number. */
KX_API int32_t KXStrToIA(const char* str);
KX_API int32_t KXStrToIW(const char16_t* str);
KX_API int64_t KXStrToI64W(const char16_t* str);

/* 32 bits on every system, and 64 bits. */
KX_API int32_t KXStrToLA(const char* str, char** end, int radix);
KX_API int32_t KXStrToLW(const char16_t* str, char16_t** end, int radix);
KX_API int64_t KXStrToLLA(const char* str, char** end, int radix);
KX_API int64_t KXStrToLLW(const char16_t* str, char16_t** end, int radix);

/* Unsigned: a minus sign gives the two's complement ("-1" is the largest number). */
KX_API uint32_t KXStrToULA(const char* str, char** end, int radix);
KX_API uint32_t KXStrToULW(const char16_t* str, char16_t** end, int radix);
KX_API uint64_t KXStrToULLA(const char* str, char** end, int radix);

/* Floating point, with the decimal point of the process's locale. */
KX_API double KXStrToDA(const char* str, char** end);
KX_API double KXStrToDW(const char16_t* str, char16_t** end);

/*
 * Writes value and a terminator; buffer. Letters are lower case. A minus sign is written in radix
 * 10 only; in any other a negative value is written as its unsigned two's complement. A radix
 * outside 2 to 36 writes an empty string.
 * The buffer has to have room for 33 units, or 65 for 64 bits; with radix 10 12, or 21, will do.
 */
KX_API char* KXLToStrA(int32_t value, char* buffer, int radix);
KX_API char16_t* KXLToStrW(int32_t value, char16_t* buffer, int radix);
KX_API char* KXInt64ToStrA(int64_t value, char* buffer, int radix);
KX_API char16_t* KXInt64ToStrW(int64_t value, char16_t* buffer, int radix);

KX_EXTERN_C_END

#endif
