/*
 * The whole of kxcore7: one flat set of C functions for what programs need of the operating system,
 * the same on Windows and on Linux. Each header below is one family and can be included alone.
 *
 * There is nothing to initialise: the library starts when it is loaded and stops when it is
 * unloaded or the process ends. It starts no thread of its own.
 */
#ifndef KXCORE7_KXCORE7_H
#define KXCORE7_KXCORE7_H

#include "address.h"
#include "alert.h"
#include "atomic.h"
#include "bytes.h"
#include "calendar.h"
#include "character.h"
#include "component.h"
#include "condition.h"
#include "conversion.h"
#include "counter.h"
#include "current.h"
#include "directory.h"
#include "encoding.h"
#include "event.h"
#include "export.h"
#include "file.h"
#include "guid.h"
#include "library.h"
#include "locale.h"
#include "lockstats.h"
#include "memory.h"
#include "module.h"
#include "mutex.h"
#include "number.h"
#include "option.h"
#include "process.h"
#include "registry.h"
#include "result.h"
#include "rwlock.h"
#include "security.h"
#include "semaphore.h"
#include "sharedmem.h"
#include "str.h"
#include "systeminfo.h"
#include "textfile.h"
#include "thread.h"
#include "types.h"

#endif
