/*
 * What this machine and its system are, and who uses them.
 *
 * Any thread may call these.
 */
#ifndef KXCORE7_SYSTEMINFO_H
#define KXCORE7_SYSTEMINFO_H

#include "export.h"
#include "types.h"

/* Without gaps between the fields. What each holds on Linux is told in docs/system.md. */
typedef struct KXSystemInfo {
    /* Memory, in bytes. */
    uint64_t totalPhysical;
    uint64_t availPhysical;
    uint64_t totalVirtual; /* the process's address space */
    uint64_t availVirtual;
    uint32_t allocationGranularity; /* where a new mapping may begin, in bytes */
    uint32_t pageSize;
    /* Processors, by the system's numbers. */
    uint16_t processorType;
    uint16_t processorLevel;
    uint16_t processorRevision;
    uint16_t processorCount; /* logical ones */
    /* The system. */
    uint16_t platformId; /* 2, unless it is a Windows of old */
    uint16_t reserved;   /* 0 */
    uint16_t majorVersion;
    uint16_t minorVersion;
    uint16_t buildNumber;
} KXSystemInfo;

KX_EXTERN_C_BEGIN

/*
 * Fills the caller's record, whole, whatever size says; larger numbers than a field holds are cut
 * to their low bits. A failure: the system did not tell its version; the fields up to
 * processorCount are filled, the others as they were.
 */
KX_API KXResult KXGetSystemInfo(KXSystemInfo* info, uint32_t size);

/*
 * Writes the name of the user whose rights the process has, and a terminator.
 * KX_E_FAIL: it takes more than size units, or the system has no name for the user.
 */
KX_API KXResult KXGetUserName(char16_t* name, uint32_t size);

KX_EXTERN_C_END

#endif
