/*
 * Calendar time: one record for a date and time, its conversions, the clock in three precisions,
 * and the time zone.
 *
 * Any thread may call these. KXTimeGetPreciseTimestamp and KXTimeGetTimeOfDay need the library to
 * have started; the others work at any time. No pointer and no field range is checked.
 */
#ifndef KXCORE7_CALENDAR_H
#define KXCORE7_CALENDAR_H

#include <time.h>

#include "export.h"
#include "types.h"

typedef struct KXTimeRecord {
    uint16_t year;         /* full, for example 2015 */
    uint16_t month;        /* 1 to 12 */
    uint16_t dayOfWeek;    /* 0 (Sunday) to 6 */
    uint16_t dayOfMonth;   /* 1 to 31 */
    uint16_t hour;         /* 0 to 23 */
    uint16_t minute;       /* 0 to 59 */
    uint16_t second;       /* 0 to 59 */
    uint16_t milliseconds; /* 0 to 999 */
} KXTimeRecord;

typedef struct KXTimeOfDay {
    uint64_t seconds;     /* since 1970-01-01 00:00:00 UTC */
    uint64_t nanoseconds; /* within that second, 0 to 999999999 */
} KXTimeOfDay;

typedef struct KXTimeZoneInfo {
    int32_t offset;            /* seconds to add to local time to get UTC: positive west of
                                  Greenwich, daylight saving counted in */
    int16_t daylight;          /* 1 if daylight saving is in force now, else 0 */
    char16_t standardName[32]; /* name of the zone in standard time, terminated, cut at 31 */
    char16_t daylightName[32]; /* name of the zone in daylight time, terminated, cut at 31 */
} KXTimeZoneInfo;

KX_EXTERN_C_BEGIN

/* The time now, local and UTC. Always 0. */
KX_API KXResult KXTimeGetLocal(KXTimeRecord* out);
KX_API KXResult KXTimeGetSystem(KXTimeRecord* out);

/*
 * Nanoseconds since 1970-01-01 00:00:00 UTC, in steps of 100; a clock at or before that moment
 * gives 1. Always 0.
 */
KX_API KXResult KXTimeGetPreciseTimestamp(uint64_t* out);

/* The same moment as seconds and nanoseconds. Always 0. */
KX_API KXResult KXTimeGetTimeOfDay(KXTimeOfDay* out);

/*
 * The time zone and its state now.
 * Failure of the system's call: its code, and *out is all zero.
 */
KX_API KXResult KXTimeGetZone(KXTimeZoneInfo* out);

/*
 * The record as a tm. tm_isdst is the zone's state now, not on the date converted; tm_yday is not
 * written; milliseconds are dropped. Always 0.
 */
KX_API KXResult KXTimeToTM(const KXTimeRecord* time, struct tm* out);

/* The tm as a record with 0 milliseconds; tm_yday and tm_isdst are ignored. Always 0. */
KX_API KXResult KXTimeFromTM(const struct tm* time, KXTimeRecord* out);

/*
 * The record, taken as local time, as 32-bit seconds since 1970-01-01 00:00:00 UTC.
 * Out of range (before 1970 or after January 2038): KX_E_FAIL, and *out has all bits set.
 */
KX_API KXResult KXTimeToPosix(const KXTimeRecord* time, int32_t* out);

/*
 * 32-bit seconds since 1970-01-01 00:00:00 UTC as a record in local time.
 * Negative seconds: KX_E_FAIL, and *out is all zero.
 */
KX_API KXResult KXTimeFromPosix(int32_t seconds, KXTimeRecord* out);

KX_EXTERN_C_END

#endif
