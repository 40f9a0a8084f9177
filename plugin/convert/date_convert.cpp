// Host Date objects to CFDate, through their calendar fields.
#include "convert/date_convert.h"

#include "frame/host_functions.h"

CFDateRef RBDate2CFDate(REALobject date) {
  if (date == nullptr) return nullptr;
  int32_t year, month, day, hour, minute, second;
  if (!REALGetPropValueInt32(date, "Year", &year) || !REALGetPropValueInt32(date, "Month", &month) ||
      !REALGetPropValueInt32(date, "Day", &day) || !REALGetPropValueInt32(date, "Hour", &hour) ||
      !REALGetPropValueInt32(date, "Minute", &minute) ||
      !REALGetPropValueInt32(date, "Second", &second))
    return nullptr;
  CFGregorianDate fields;
  fields.year = year;
  fields.month = static_cast<SInt8>(month);
  fields.day = static_cast<SInt8>(day);
  fields.hour = static_cast<SInt8>(hour);
  fields.minute = static_cast<SInt8>(minute);
  fields.second = static_cast<double>(second);
  // Without a time zone the fields are read as GMT, the zone the opposite
  // conversion writes them in.
  return CFDateCreate(kCFAllocatorDefault, CFGregorianDateGetAbsoluteTime(fields, nullptr));
}
