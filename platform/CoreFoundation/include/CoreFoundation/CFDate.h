/* Absolute times, dates and Gregorian calendar conversions. */
#ifndef KC_CFDATE_H
#define KC_CFDATE_H

#include <CoreFoundation/CFBase.h>

CF_EXTERN_C_BEGIN

typedef double CFTimeInterval;
typedef CFTimeInterval CFAbsoluteTime;

/* Seconds from 1970-01-01 00:00:00 GMT to the reference date 2001-01-01 00:00:00 GMT. */
CF_EXPORT const CFTimeInterval kCFAbsoluteTimeIntervalSince1970;
CF_EXPORT const CFTimeInterval kCFAbsoluteTimeIntervalSince1904;

CF_EXPORT CFAbsoluteTime CFAbsoluteTimeGetCurrent(void);

typedef const struct __CFDate *CFDateRef;

CF_EXPORT CFTypeID CFDateGetTypeID(void);
CF_EXPORT CFDateRef CFDateCreate(CFAllocatorRef allocator, CFAbsoluteTime at);
CF_EXPORT CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef theDate);
CF_EXPORT CFTimeInterval CFDateGetTimeIntervalSinceDate(CFDateRef theDate, CFDateRef otherDate);
CF_EXPORT CFComparisonResult CFDateCompare(CFDateRef theDate, CFDateRef otherDate, void *context);

typedef const struct __CFTimeZone *CFTimeZoneRef;

typedef struct {
  SInt32 year;
  SInt8 month;
  SInt8 day;
  SInt8 hour;
  SInt8 minute;
  double second;
} CFGregorianDate;

typedef struct {
  SInt32 years;
  SInt32 months;
  SInt32 days;
  SInt32 hours;
  SInt32 minutes;
  double seconds;
} CFGregorianUnits;

typedef CFOptionFlags CFGregorianUnitFlags;
enum {
  kCFGregorianUnitsYears = (1UL << 0),
  kCFGregorianUnitsMonths = (1UL << 1),
  kCFGregorianUnitsDays = (1UL << 2),
  kCFGregorianUnitsHours = (1UL << 3),
  kCFGregorianUnitsMinutes = (1UL << 4),
  kCFGregorianUnitsSeconds = (1UL << 5),
  kCFGregorianAllUnits = 0x00FFFFFF
};

/* A NULL time zone means GMT. */
CF_EXPORT Boolean CFGregorianDateIsValid(CFGregorianDate gdate, CFOptionFlags unitFlags);
CF_EXPORT CFAbsoluteTime CFGregorianDateGetAbsoluteTime(CFGregorianDate gdate, CFTimeZoneRef tz);
CF_EXPORT CFGregorianDate CFAbsoluteTimeGetGregorianDate(CFAbsoluteTime at, CFTimeZoneRef tz);
CF_EXPORT SInt32 CFAbsoluteTimeGetDayOfWeek(CFAbsoluteTime at, CFTimeZoneRef tz);
CF_EXPORT SInt32 CFAbsoluteTimeGetDayOfYear(CFAbsoluteTime at, CFTimeZoneRef tz);

CF_EXTERN_C_END

#endif /* KC_CFDATE_H */
