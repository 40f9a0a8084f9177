// BuildList: one attribute record per key, each value copied into a buffer of
// its own with four zero bytes after it, so any reader finds it terminated.
#include "search/attribute_list.h"

#include <stdlib.h>
#include <string.h>

#include "convert/ostype.h"
#include "convert/rb_text.h"
#include "frame/host_arrays.h"
#include "frame/host_functions.h"

namespace {

constexpr long long kMaxBytes = 0x7FFFFFFF;

// The value's UTF-8 bytes in a new buffer; a record without a buffer (length
// 0, null) when none can be had.
void FillValue(SecKeychainAttribute *record, REALstring value) {
  rbText text(value);
  const int32_t length = text.UTF8Length();
  if (static_cast<long long>(length) + 4 > kMaxBytes) return;
  void *buffer = calloc(static_cast<size_t>(length) + 4, 1);
  if (buffer == nullptr) return;
  memcpy(buffer, text.UTF8Text(), static_cast<size_t>(length));
  record->length = static_cast<UInt32>(length);
  record->data = buffer;
}

}  // namespace

SecKeychainAttributeList *BuildList(REALarray keys, REALarray values) {
  const RBInteger last = REALGetArrayUBound(keys);
  if (last < 0) return nullptr;
  auto *list = static_cast<SecKeychainAttributeList *>(calloc(1, sizeof(SecKeychainAttributeList)));
  if (list == nullptr) return nullptr;
  const RBInteger count = last + 1;
  const RBInteger lastValue = REALGetArrayUBound(values);
  const unsigned long long bytes = static_cast<unsigned long long>(count) * sizeof(SecKeychainAttribute);
  if (bytes == 0 || bytes > static_cast<unsigned long long>(kMaxBytes)) return list;
  auto *records = static_cast<SecKeychainAttribute *>(calloc(static_cast<size_t>(count), sizeof(SecKeychainAttribute)));
  if (records == nullptr) return list;

  for (RBInteger i = 0; i < count; ++i) {
    REALstring key = keys != nullptr ? REALGetArrayString(keys, i) : nullptr;
    REALstring value = values != nullptr && i <= lastValue ? REALGetArrayString(values, i) : nullptr;
    records[i].tag = REALstringToOSType(key);
    FillValue(&records[i], value);
    REALUnlockString(key);
    REALUnlockString(value);
  }
  list->count = static_cast<UInt32>(count);
  list->attr = records;
  return list;
}

void FreeAttributeList(SecKeychainAttributeList *list) {
  if (list == nullptr) return;
  for (UInt32 i = 0; i < list->count; ++i) {
    // Values may be secrets a program searches by; they are wiped first.
    if (list->attr[i].data != nullptr) explicit_bzero(list->attr[i].data, list->attr[i].length);
    free(list->attr[i].data);
  }
  free(list->attr);
  free(list);
}
