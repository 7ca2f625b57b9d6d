/*
 * The layout of every public record, in C and in C++, on every system: programs in other languages
 * and libraries of other compilers rely on it. No record has a gap before its last field.
 */
#include <assert.h>
#include <kxcore7/kxcore7.h>
#include <stddef.h>

#define AT(record, field, offset) static_assert(offsetof(record, field) == (offset), #field)

static_assert(sizeof(KXResult) == 4 && sizeof(KXBool16) == 2, "results and flags");
static_assert(sizeof(char16_t) == 2, "the wide unit");
static_assert(sizeof(KXMutexHandle) == sizeof(void*), "a handle is as wide as a pointer");
static_assert(sizeof(KXLibraryHandle) == sizeof(void*), "likewise");
static_assert(sizeof(KXRegistryEnumHandle) == sizeof(void*), "likewise");
static_assert(sizeof(KXModuleID) == sizeof(void*), "an address");
static_assert(sizeof(KXFileHandle) == sizeof(void*), "the system's own");
static_assert(sizeof(KXDirHandle) == sizeof(void*), "likewise");
static_assert(sizeof(KXSharedMemHandle) == sizeof(void*), "likewise");

static_assert(sizeof(KXTimeRecord) == 16, "KXTimeRecord");
AT(KXTimeRecord, year, 0);
AT(KXTimeRecord, month, 2);
AT(KXTimeRecord, dayOfWeek, 4);
AT(KXTimeRecord, dayOfMonth, 6);
AT(KXTimeRecord, hour, 8);
AT(KXTimeRecord, minute, 10);
AT(KXTimeRecord, second, 12);
AT(KXTimeRecord, milliseconds, 14);

static_assert(sizeof(KXTimeOfDay) == 16, "KXTimeOfDay");
AT(KXTimeOfDay, seconds, 0);
AT(KXTimeOfDay, nanoseconds, 8);

static_assert(sizeof(KXTimeZoneInfo) == 136, "KXTimeZoneInfo");
AT(KXTimeZoneInfo, offset, 0);
AT(KXTimeZoneInfo, daylight, 4);
AT(KXTimeZoneInfo, standardName, 6);
AT(KXTimeZoneInfo, daylightName, 70);

static_assert(sizeof(KXLockStatRecord) == 56, "KXLockStatRecord");
AT(KXLockStatRecord, maxAcquireTime, 0);
AT(KXLockStatRecord, totalAcquireTime, 8);
AT(KXLockStatRecord, acquireCount, 16);
AT(KXLockStatRecord, maxHeldTime, 24);
AT(KXLockStatRecord, totalHeldTime, 32);
AT(KXLockStatRecord, heldCount, 40);
AT(KXLockStatRecord, contentionCount, 48);

static_assert(sizeof(KXDirEntry) == 572, "KXDirEntry");
AT(KXDirEntry, name, 0);
AT(KXDirEntry, alternateName, 520);
AT(KXDirEntry, mode, 548);
AT(KXDirEntry, sizeHigh, 552);
AT(KXDirEntry, sizeLow, 556);
AT(KXDirEntry, creationTime, 560);
AT(KXDirEntry, accessTime, 564);
AT(KXDirEntry, writeTime, 568);

static_assert(sizeof(KXSystemInfo) == 64, "KXSystemInfo");
AT(KXSystemInfo, totalPhysical, 0);
AT(KXSystemInfo, availPhysical, 8);
AT(KXSystemInfo, totalVirtual, 16);
AT(KXSystemInfo, availVirtual, 24);
AT(KXSystemInfo, allocationGranularity, 32);
AT(KXSystemInfo, pageSize, 36);
AT(KXSystemInfo, processorType, 40);
AT(KXSystemInfo, processorLevel, 42);
AT(KXSystemInfo, processorRevision, 44);
AT(KXSystemInfo, processorCount, 46);
AT(KXSystemInfo, platformId, 48);
AT(KXSystemInfo, reserved, 50);
AT(KXSystemInfo, majorVersion, 52);
AT(KXSystemInfo, minorVersion, 54);
AT(KXSystemInfo, buildNumber, 56);

static_assert(sizeof(KXGUID) == 16, "KXGUID");
AT(KXGUID, data1, 0);
AT(KXGUID, data2, 4);
AT(KXGUID, data3, 6);
AT(KXGUID, data4, 8);

static_assert(sizeof(KXOptionRecord) == sizeof(void*) + 8, "KXOptionRecord");
AT(KXOptionRecord, name, 0);
AT(KXOptionRecord, argumentKind, sizeof(void*));
AT(KXOptionRecord, value, sizeof(void*) + 4);

static_assert(sizeof(IKXUnknown) == sizeof(void*), "an object begins with its table");
#if !defined(__cplusplus)
static_assert(sizeof(IKXUnknownTable) == 3 * sizeof(void*), "IKXUnknownTable");
AT(IKXUnknownTable, QueryInterface, 0);
AT(IKXUnknownTable, AddRef, sizeof(void*));
AT(IKXUnknownTable, Release, 2 * sizeof(void*));
static_assert(sizeof(IKXClassFactoryTable) == 4 * sizeof(void*), "IKXClassFactoryTable");
AT(IKXClassFactoryTable, QueryInterface, 0);
AT(IKXClassFactoryTable, AddRef, sizeof(void*));
AT(IKXClassFactoryTable, Release, 2 * sizeof(void*));
AT(IKXClassFactoryTable, CreateInstance, 3 * sizeof(void*));
#endif
