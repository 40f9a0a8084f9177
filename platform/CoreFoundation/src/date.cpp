// CFDate, the current time, and conversions between absolute times and
// Gregorian calendar fields (proleptic Gregorian, in GMT or a time zone).
#include <cmath>
#include <cstdio>
#include <ctime>

#include "cf_internal.h"

using namespace cf;

struct __CFDate {
  CFRuntimeBase base;
  CFAbsoluteTime time;
};

namespace {

// Days from 1970-01-01 to the given civil date; valid for any year.
int64_t DaysFromCivil(int64_t y, int64_t m, int64_t d) {
  y -= m <= 2;
  int64_t era = (y >= 0 ? y : y - 399) / 400;
  int64_t yoe = y - era * 400;
  int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

void CivilFromDays(int64_t z, int64_t* y, int64_t* m, int64_t* d) {
  z += 719468;
  int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  int64_t doe = z - era * 146097;
  int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  int64_t mp = (5 * doy + 2) / 153;
  *d = doy - (153 * mp + 2) / 5 + 1;
  *m = mp < 10 ? mp + 3 : mp - 9;
  *y = yoe + era * 400 + (*m <= 2);
}

const int64_t kDays1970To2001 = 11323;

bool IsLeap(int64_t y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

int DaysInMonth(int64_t y, int m) {
  static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && IsLeap(y) ? 29 : days[m - 1];
}

double Offset(CFTimeZoneRef tz, CFAbsoluteTime at) { return tz ? CFTimeZoneGetSecondsFromGMT(tz, at) : 0.0; }

// Splits a local time into whole days since the reference date and seconds into that day.
void SplitDays(double local, int64_t* days, double* secondsOfDay) {
  double d = std::floor(local / 86400.0);
  double rem = local - d * 86400.0;
  if (rem >= 86400.0) {
    d += 1;
    rem -= 86400.0;
  }
  if (rem < 0) rem = 0;
  *days = static_cast<int64_t>(d);
  *secondsOfDay = rem;
}

Boolean EqualDates(CFTypeRef a, CFTypeRef b) {
  return static_cast<const __CFDate*>(a)->time == static_cast<const __CFDate*>(b)->time;
}

CFHashCode HashDate(CFTypeRef cf) {
  double t = static_cast<const __CFDate*>(cf)->time;
  return static_cast<CFHashCode>(static_cast<int64_t>(std::isfinite(t) && std::fabs(t) < 9e18 ? t : 0));
}

CFStringRef DescribeDate(CFTypeRef cf) {
  CFGregorianDate g = CFAbsoluteTimeGetGregorianDate(static_cast<const __CFDate*>(cf)->time, nullptr);
  char text[64];
  snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d +0000", static_cast<int>(g.year), g.month, g.day, g.hour,
           g.minute, static_cast<int>(g.second));
  return NewStringFromUTF8(text);
}

}  // namespace

const CFRuntimeClass cf::kDateClass = {0, "CFDate", nullptr, nullptr, nullptr, EqualDates, HashDate,
                                       nullptr, DescribeDate};

const CFTimeInterval kCFAbsoluteTimeIntervalSince1970 = 978307200.0;
const CFTimeInterval kCFAbsoluteTimeIntervalSince1904 = 3061152000.0;

CFAbsoluteTime CFAbsoluteTimeGetCurrent(void) {
  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<double>(now.tv_sec) - kCFAbsoluteTimeIntervalSince1970 + static_cast<double>(now.tv_nsec) * 1e-9;
}

CFTypeID CFDateGetTypeID(void) { return kDateTypeID; }

CFDateRef CFDateCreate(CFAllocatorRef allocator, CFAbsoluteTime at) {
  __CFDate* d = const_cast<__CFDate*>(static_cast<const __CFDate*>(
      _CFRuntimeCreateInstance(allocator, kDateTypeID, sizeof(__CFDate) - sizeof(CFRuntimeBase), nullptr)));
  if (d) d->time = at;
  return d;
}

CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef theDate) {
  return IsA(theDate, kDateTypeID) ? theDate->time : 0.0;
}

CFTimeInterval CFDateGetTimeIntervalSinceDate(CFDateRef theDate, CFDateRef otherDate) {
  return CFDateGetAbsoluteTime(theDate) - CFDateGetAbsoluteTime(otherDate);
}

CFComparisonResult CFDateCompare(CFDateRef theDate, CFDateRef otherDate, void*) {
  double a = CFDateGetAbsoluteTime(theDate), b = CFDateGetAbsoluteTime(otherDate);
  return a < b ? kCFCompareLessThan : a > b ? kCFCompareGreaterThan : kCFCompareEqualTo;
}

Boolean CFGregorianDateIsValid(CFGregorianDate gdate, CFOptionFlags unitFlags) {
  if ((unitFlags & kCFGregorianUnitsMonths) && (gdate.month < 1 || gdate.month > 12)) return false;
  if (unitFlags & kCFGregorianUnitsDays) {
    if (gdate.day < 1 || gdate.day > 31) return false;
    if (gdate.month >= 1 && gdate.month <= 12 && gdate.day > DaysInMonth(gdate.year, gdate.month)) return false;
  }
  if ((unitFlags & kCFGregorianUnitsHours) && (gdate.hour < 0 || gdate.hour > 23)) return false;
  if ((unitFlags & kCFGregorianUnitsMinutes) && (gdate.minute < 0 || gdate.minute > 59)) return false;
  if ((unitFlags & kCFGregorianUnitsSeconds) && !(gdate.second >= 0 && gdate.second < 60)) return false;
  return true;
}

CFAbsoluteTime CFGregorianDateGetAbsoluteTime(CFGregorianDate gdate, CFTimeZoneRef tz) {
  // Out-of-range months roll into neighbouring years; other fields simply add up.
  int64_t month0 = static_cast<int64_t>(gdate.month) - 1;
  int64_t year = gdate.year + (month0 >= 0 ? month0 / 12 : -((11 - month0) / 12));
  int64_t month = month0 - (year - gdate.year) * 12 + 1;
  int64_t days = DaysFromCivil(year, month, 1) + (gdate.day - 1) - kDays1970To2001;
  double local = static_cast<double>(days) * 86400.0 + gdate.hour * 3600.0 + gdate.minute * 60.0 + gdate.second;
  if (!tz) return local;
  // The offset belongs to the instant, which depends on the offset: settle it in two steps.
  double guess = local - Offset(tz, local);
  return local - Offset(tz, guess);
}

CFGregorianDate CFAbsoluteTimeGetGregorianDate(CFAbsoluteTime at, CFTimeZoneRef tz) {
  CFGregorianDate g = {2001, 1, 1, 0, 0, 0.0};
  if (!std::isfinite(at) || std::fabs(at) > 1e15) return g;
  int64_t days;
  double rem;
  SplitDays(at + Offset(tz, at), &days, &rem);
  int64_t y, m, d;
  CivilFromDays(days + kDays1970To2001, &y, &m, &d);
  g.year = static_cast<SInt32>(y);
  g.month = static_cast<SInt8>(m);
  g.day = static_cast<SInt8>(d);
  int hour = static_cast<int>(rem / 3600.0);
  rem -= hour * 3600.0;
  int minute = static_cast<int>(rem / 60.0);
  rem -= minute * 60.0;
  g.hour = static_cast<SInt8>(hour);
  g.minute = static_cast<SInt8>(minute);
  g.second = rem;
  return g;
}

SInt32 CFAbsoluteTimeGetDayOfWeek(CFAbsoluteTime at, CFTimeZoneRef tz) {
  if (!std::isfinite(at)) return 0;
  int64_t days;
  double rem;
  SplitDays(at + Offset(tz, at), &days, &rem);
  // The reference date was a Monday (1); Sunday is 7.
  return static_cast<SInt32>(((days % 7) + 7) % 7 + 1);
}

SInt32 CFAbsoluteTimeGetDayOfYear(CFAbsoluteTime at, CFTimeZoneRef tz) {
  if (!std::isfinite(at)) return 0;
  int64_t days;
  double rem;
  SplitDays(at + Offset(tz, at), &days, &rem);
  int64_t y, m, d;
  CivilFromDays(days + kDays1970To2001, &y, &m, &d);
  return static_cast<SInt32>(days + kDays1970To2001 - DaysFromCivil(y, 1, 1) + 1);
}
