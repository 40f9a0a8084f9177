// CFTimeZone: fixed offsets from GMT, and named zones whose offsets come
// from ICU's time-zone data.
#include <unicode/ucal.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "cf_internal.h"

using namespace cf;

struct TimeZoneImpl {
  std::string name;
  std::u16string icuID;  // empty for a fixed offset
  double fixedOffset = 0;
};

struct __CFTimeZone {
  CFRuntimeBase base;
  TimeZoneImpl impl;
};

namespace {

const TimeZoneImpl& Impl(CFTimeZoneRef tz) { return const_cast<__CFTimeZone*>(tz)->impl; }

void FinalizeTimeZone(CFTypeRef cf) { const_cast<__CFTimeZone*>(static_cast<CFTimeZoneRef>(cf))->impl.~TimeZoneImpl(); }

Boolean EqualTimeZones(CFTypeRef a, CFTypeRef b) {
  const TimeZoneImpl& x = Impl(static_cast<CFTimeZoneRef>(a));
  const TimeZoneImpl& y = Impl(static_cast<CFTimeZoneRef>(b));
  return x.name == y.name && x.icuID == y.icuID && x.fixedOffset == y.fixedOffset;
}

CFHashCode HashTimeZone(CFTypeRef cf) {
  const std::string& name = Impl(static_cast<CFTimeZoneRef>(cf)).name;
  return HashBytes(name.data(), name.size());
}

CFStringRef DescribeTimeZone(CFTypeRef cf) { return NewStringFromUTF8(Impl(static_cast<CFTimeZoneRef>(cf)).name); }

std::string OffsetName(double seconds) {
  long total = std::lround(seconds / 60.0);
  if (total == 0) return "GMT";
  char text[32];
  long a = std::labs(total);
  snprintf(text, sizeof text, "GMT%c%02ld%02ld", total < 0 ? '-' : '+', a / 60, a % 60);
  return text;
}

CFTimeZoneRef NewFixed(CFAllocatorRef allocator, double seconds) {
  __CFTimeZone* tz = NewInstance<__CFTimeZone>(allocator, kTimeZoneTypeID);
  if (!tz) return nullptr;
  tz->impl.fixedOffset = seconds;
  tz->impl.name = OffsetName(seconds);
  return tz;
}

CFTimeZoneRef NewNamed(CFAllocatorRef allocator, const std::u16string& id) {
  UErrorCode err = U_ZERO_ERROR;
  UChar canonical[128];
  UBool isSystem = false;
  int32_t n = ucal_getCanonicalTimeZoneID(id.data(), static_cast<int32_t>(id.size()), canonical, 128, &isSystem, &err);
  if (U_FAILURE(err) || !isSystem || n <= 0) return nullptr;
  __CFTimeZone* tz = NewInstance<__CFTimeZone>(allocator, kTimeZoneTypeID);
  if (!tz) return nullptr;
  tz->impl.icuID = id;
  for (char16_t c : id) tz->impl.name += static_cast<char>(c < 0x80 ? c : '?');
  return tz;
}

// Parses "GMT", "UTC", "GMT+1", "GMT-0530", "UTC+05:30"; false for anything else.
bool ParseOffsetName(const std::string& name, double* seconds) {
  if (name.size() < 3) return false;
  std::string prefix = name.substr(0, 3);
  if (prefix != "GMT" && prefix != "UTC") return false;
  if (name.size() == 3) {
    *seconds = 0;
    return true;
  }
  char sign = name[3];
  if (sign != '+' && sign != '-') return false;
  std::string digits;
  for (size_t i = 4; i < name.size(); ++i) {
    if (name[i] == ':') continue;
    if (name[i] < '0' || name[i] > '9') return false;
    digits += name[i];
  }
  int hours, minutes = 0;
  if (digits.size() == 1 || digits.size() == 2) hours = atoi(digits.c_str());
  else if (digits.size() == 3 || digits.size() == 4) {
    hours = atoi(digits.substr(0, digits.size() - 2).c_str());
    minutes = atoi(digits.substr(digits.size() - 2).c_str());
  } else return false;
  if (hours > 18 || minutes > 59) return false;
  *seconds = (sign == '-' ? -1 : 1) * (hours * 3600.0 + minutes * 60.0);
  return true;
}

}  // namespace

const CFRuntimeClass cf::kTimeZoneClass = {0, "CFTimeZone", nullptr, nullptr, FinalizeTimeZone, EqualTimeZones,
                                           HashTimeZone, nullptr, DescribeTimeZone};

CFTypeID CFTimeZoneGetTypeID(void) { return kTimeZoneTypeID; }

CFTimeZoneRef CFTimeZoneCreateWithTimeIntervalFromGMT(CFAllocatorRef allocator, CFTimeInterval ti) {
  if (!std::isfinite(ti) || std::fabs(ti) > 18 * 3600.0) return nullptr;
  return NewFixed(allocator, ti);
}

CFTimeZoneRef CFTimeZoneCreateWithName(CFAllocatorRef allocator, CFStringRef name, Boolean) {
  if (!IsA(name, kStringTypeID)) return nullptr;
  std::string text = ToUTF8(name);
  double seconds;
  if (ParseOffsetName(text, &seconds)) return NewFixed(allocator, seconds);
  return NewNamed(allocator, Chars(name));
}

CFTimeZoneRef CFTimeZoneCopySystem(void) {
  // The system zone is read afresh each time (TZ, then the host's setting).
  UErrorCode err = U_ZERO_ERROR;
  UChar id[128];
  int32_t n = ucal_getHostTimeZone(id, 128, &err);
  if (U_SUCCESS(err) && n > 0 && n < 128) {
    std::u16string zone(id, id + n);
    std::string ascii;
    for (char16_t c : zone) ascii += static_cast<char>(c < 0x80 ? c : '?');
    double seconds;
    if (ParseOffsetName(ascii, &seconds)) return NewFixed(nullptr, seconds);
    if (CFTimeZoneRef tz = NewNamed(nullptr, zone)) return tz;
  }
  return NewFixed(nullptr, 0);
}

CFTimeZoneRef CFTimeZoneCopyDefault(void) { return CFTimeZoneCopySystem(); }

CFStringRef CFTimeZoneGetName(CFTimeZoneRef tz) {
  if (!IsA(tz, kTimeZoneTypeID)) return nullptr;
  // Names are few and live for the process, so they are uniqued constants.
  return __CFStringMakeConstantString(Impl(tz).name.c_str());
}

CFTimeInterval CFTimeZoneGetSecondsFromGMT(CFTimeZoneRef tz, CFAbsoluteTime at) {
  if (!IsA(tz, kTimeZoneTypeID)) return 0;
  const TimeZoneImpl& impl = Impl(tz);
  if (impl.icuID.empty()) return impl.fixedOffset;
  UErrorCode err = U_ZERO_ERROR;
  UCalendar* cal = ucal_open(impl.icuID.data(), static_cast<int32_t>(impl.icuID.size()), "", UCAL_GREGORIAN, &err);
  if (U_FAILURE(err)) return 0;
  ucal_setMillis(cal, (at + kCFAbsoluteTimeIntervalSince1970) * 1000.0, &err);
  int32_t zone = ucal_get(cal, UCAL_ZONE_OFFSET, &err);
  int32_t dst = ucal_get(cal, UCAL_DST_OFFSET, &err);
  ucal_close(cal);
  return U_SUCCESS(err) ? (zone + dst) / 1000.0 : 0;
}

Boolean CFTimeZoneIsDaylightSavingTime(CFTimeZoneRef tz, CFAbsoluteTime at) {
  if (!IsA(tz, kTimeZoneTypeID) || Impl(tz).icuID.empty()) return false;
  const TimeZoneImpl& impl = Impl(tz);
  UErrorCode err = U_ZERO_ERROR;
  UCalendar* cal = ucal_open(impl.icuID.data(), static_cast<int32_t>(impl.icuID.size()), "", UCAL_GREGORIAN, &err);
  if (U_FAILURE(err)) return false;
  ucal_setMillis(cal, (at + kCFAbsoluteTimeIntervalSince1970) * 1000.0, &err);
  bool inDst = ucal_inDaylightTime(cal, &err);
  ucal_close(cal);
  return U_SUCCESS(err) && inDst;
}
