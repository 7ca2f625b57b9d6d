/*
 * The types that every family shares.
 *
 * Wide text is char16_t on every system: one 16-bit unit, the storage of UTF-16, so that u"..."
 * literals serve everywhere. Unless a function says otherwise, a "size" or "capacity" counts units
 * with the terminator and a "count" or "length" counts units without it.
 *
 * A handle is a plain value. It is not checked: a handle that is not live, or of another family,
 * is the caller's fault. Functions that make a handle store KX_INVALID_HANDLE in their output
 * before anything can fail.
 */
#ifndef KXCORE7_TYPES_H
#define KXCORE7_TYPES_H

#include <stddef.h>
#include <stdint.h>
#if !defined(__cplusplus)
#include <uchar.h>
#endif

/* Result of most functions: zero is success, negative is failure. Test the sign. */
typedef int32_t KXResult;

/* A boolean of 16 bits: zero is false, anything else true. */
typedef int16_t KXBool16;

#define KX_INVALID_HANDLE UINTPTR_MAX

#endif
