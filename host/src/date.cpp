// The built-in Date class: integer fields Year, Month, Day, Hour, Minute and
// Second, kept as GMT and stored as given (programs and plug-ins set each
// field by name).
#include "runtime.h"

namespace plugin_host {

namespace {
int* Field(ObjState* st, std::string_view name) {
  if (SameName(name, "year")) return &st->X().date.year;
  if (SameName(name, "month")) return &st->X().date.month;
  if (SameName(name, "day")) return &st->X().date.day;
  if (SameName(name, "hour")) return &st->X().date.hour;
  if (SameName(name, "minute")) return &st->X().date.minute;
  if (SameName(name, "second")) return &st->X().date.second;
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
