/*
 * How a program tells a person that something is badly wrong, also when it is a service with no
 * screen; assertions; and debug output that is always on.
 *
 * Any thread may call these at any time, also before the library has started and after it has
 * stopped. A thread that asks a person by KX_ALERT_DIALOG holds the process's debug lock until the
 * answer: other threads that ask or trace wait so long. Nothing here allocates.
 *
 * Formats are wide and mean the same on every system: "%s" and "%ls" take wide text (char16_t),
 * "%hs" and "%S" narrow text in the process's locale, likewise for "c"; the numeric conversions of
 * the C library are all there, "I32" and "I64" are widths as well, and "%n" is ignored. A message
 * longer than 511 units is cut.
 */
#ifndef KXCORE7_ALERT_H
#define KXCORE7_ALERT_H

#include "export.h"
#include "types.h"

/* Ask the person at the console: abort, retry (break into a debugger) or ignore. */
#define KX_ALERT_DIALOG 0x1u
/* Execute the processor's breakpoint instruction at once. */
#define KX_ALERT_BREAK 0x2u
/* Hold the calling thread, burning its processor, until a debugger sets the release flag. */
#define KX_ALERT_WAIT 0x4u
/* Write an entry to the system's event log. */
#define KX_ALERT_EVENTLOG 0x8u

KX_EXTERN_C_BEGIN

/*
 * Raises an alert by the methods given, a sum of KX_ALERT_*: first the break, then the event log,
 * then the question, then the wait. Method 0 stands for the process's default; if that is 0 too,
 * nothing happens. A null title is logged as such and shown as "KXErrorAlert".
 * An answer of abort ends the process. Failing methods are passed over.
 */
KX_API void KXErrorAlert(uint32_t method, const char16_t* title, const char16_t* format, ...);

/* Replaces the default method, 0 at first, for the whole process. Always 0. */
KX_API KXResult KXErrorAlertSetMethod(uint32_t method);

/*
 * Reports a failed assertion: traces it, then raises an alert by the default method, or by
 * KX_ALERT_BREAK where none is set. It tests nothing itself, and returns where the alert does.
 * The texts are narrow, in the process's locale.
 */
KX_API void KXAssert(const char* expression, const char* file, int32_t line);

/* Writes "[0x...]" with the thread's id, then the formatted text, to the debug output. */
KX_API void KXTrace(const char16_t* format, ...);

KX_EXTERN_C_END

#endif
