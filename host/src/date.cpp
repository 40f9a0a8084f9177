// The built-in Date class: integer fields Year, Month, Day, Hour, Minute and
// Second, kept as GMT and stored as given (programs and plug-ins set each
// field by name).
#include "runtime.h"

namespace plugin_host {

namespace {
int* Field(ObjState* st, std::string_view name) {
  static const std::string_view kNames[] = {"year", "month", "day", "hour", "minute", "second"};
  for (size_t i = 0; i < 6; ++i) {
    if (!SameName(name, kNames[i])) continue;
    DateFields& d = st->X().date;
    int* const fields[] = {&d.year, &d.month, &d.day, &d.hour, &d.minute, &d.second};
    return fields[i];
  }
  return nullptr;
}
}  // namespace

bool DateProperty(ObjState* st, const std::string& name, Value* out) {
  int* f = Field(st, name);
  if (f == nullptr) return false;
  *out = Value::Integer(*f);
  return true;
}

bool SetDateProperty(ObjState* st, std::string_view name, const Value& v) {
  int* f = Field(st, name);
  int64_t i;
  if (f == nullptr || !ValueToInt64(v, &i)) return false;
  *f = static_cast<int>(i);
  return true;
}

}  // namespace plugin_host
