/*
 * The result codes of every function of the library, and the translation of native errors.
 *
 * Any thread may call this at any time, before the library has started and after it has stopped.
 */
#ifndef KXCORE7_RESULT_H
#define KXCORE7_RESULT_H

#include "export.h"
#include "types.h"

#if defined(__cplusplus)
#define KX_RESULT(code) static_cast<KXResult>(code)
#else
#define KX_RESULT(code) ((KXResult)(code))
#endif

/* Success. */
#define KX_S_OK KX_RESULT(0)
/* The operation is not supported by this object or on this system. */
#define KX_E_NOTIMPL KX_RESULT(0x80004001u)
/* A pointer that must denote a live heap block does not. */
#define KX_E_POINTER KX_RESULT(0x80004003u)
/* A conversion object could not be put into stop mode. */
#define KX_E_ABORT KX_RESULT(0x80004004u)
/* Unspecified failure; also a try-operation that did not get its lock. */
#define KX_E_FAIL KX_RESULT(0x80004005u)
/* The calling module has not announced itself, or has left. */
#define KX_CO_E_INIT_TLS KX_RESULT(0x80004006u)
/* A registry key of an unknown kind was asked for. */
#define KX_CO_E_INIT_SHARED_ALLOCATOR KX_RESULT(0x80004007u)
/* The caller's output buffer is too small. */
#define KX_CO_E_INIT_CLASS_CACHE KX_RESULT(0x80004009u)
/* The class is not registered. */
#define KX_REGDB_E_CLASSNOTREG KX_RESULT(0x80040154u)
/* A file, path, registry key or registry value was not found. */
#define KX_ERROR_FILE_NOT_FOUND KX_RESULT(0x80070002u)
/* Access was refused, or the object is in use in a way that forbids it. */
#define KX_E_ACCESSDENIED KX_RESULT(0x80070005u)
/* The handle is bad. */
#define KX_E_HANDLE KX_RESULT(0x80070006u)
/* Memory is exhausted. */
#define KX_E_OUTOFMEMORY KX_RESULT(0x8007000Eu)
/* End of a file or of an iteration. */
#define KX_ERROR_HANDLE_EOF KX_RESULT(0x80070026u)
/* A bad argument. */
#define KX_E_INVALIDARG KX_RESULT(0x80070057u)
/* The object exists already. */
#define KX_ERROR_ALREADY_EXISTS KX_RESULT(0x800700B7u)
/* A timed wait ran out. */
#define KX_ERROR_TIMEOUT KX_RESULT(0x800705B4u)
/* An invalid, truncated or illegal character sequence in a conversion. */
#define KX_E_ENC_INVALID KX_RESULT(0x8BB34101u)
/* The conversion object has no open converter. */
#define KX_E_ENC_NOT_OPEN KX_RESULT(0x8BB34103u)

KX_EXTERN_C_BEGIN

/*
 * The result code for a native error, a number as Windows leaves it as a thread's last error:
 * 0 is 0; 2 and 3 are KX_ERROR_FILE_NOT_FOUND; 5 and 32 are KX_E_ACCESSDENIED; 6 is KX_E_HANDLE;
 * 14 is KX_E_OUTOFMEMORY; 183 is KX_ERROR_ALREADY_EXISTS; 258 is KX_ERROR_TIMEOUT.
 * Every other number is KX_E_FAIL: the table is short on purpose. Cannot fail.
 */
KX_API KXResult KXResultFromNative(uint32_t nativeError);

KX_EXTERN_C_END

#endif
