// The built-in Date class: integer fields Year, Month, Day, Hour, Minute and
// Second, kept as GMT and stored as given (programs and plug-ins set each
// field by name).
#include "runtime.h"

namespace plugin_host {

namespace {
int* Field(ObjState* st, std::string_view name) {
  // Plug-ins set these six for every date they convert: the length picks
  // the one or two names to compare.
  int which = -1;
  switch (name.size()) {
    case 3: which = SameName(name, "day") ? 2 : -1; break;
    case 4: which = SameName(name, "year") ? 0 : SameName(name, "hour") ? 3 : -1; break;
    case 5: which = SameName(name, "month") ? 1 : -1; break;
    case 6: which = SameName(name, "minute") ? 4 : SameName(name, "second") ? 5 : -1; break;
    default: break;
  }
  if (which < 0) return nullptr;
  DateFields& d = st->Extra().date;
  int* const fields[] = {&d.year, &d.month, &d.day, &d.hour, &d.minute, &d.second};
  return fields[which];
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
