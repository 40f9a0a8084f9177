// The query name accessors. The constants are weak imports: on a system
// whose Security library lacks one, its address is null and the accessor
// answers nil, as the item queries answer for a missing function.
#include "query/query_names.h"

#include <Security/Security.h>

#include "convert/string_convert.h"

namespace {

// A new host string on every call; nothing is cached.
REALstring QueryName(const CFStringRef *constant) {
  return constant != nullptr ? CFString2RBString(*constant) : nullptr;
}

}  // namespace

#define KC_DEFINE_QUERY_NAME_ACCESSOR(name) \
  REALstring get##name() { return QueryName(&name); }
KC_QUERY_NAMES(KC_DEFINE_QUERY_NAME_ACCESSOR)
#undef KC_DEFINE_QUERY_NAME_ACCESSOR
