// REALGetStringData: "PluginGetStringData" where the host has it, otherwise
// the bytes of "StringGetCString" counted by the global method "LenB".
#include "frame/host_string_data.h"

#include <stdlib.h>
#include <string.h>

#include "frame/host_functions.h"

namespace {

constexpr const char *kLenBPrototype = "LenB( s as string ) as integer";

// REALGetStringData's own caches, one per host name.
void *pluginGetStringDataCache;
void *stringGetCStringCache;
void *lenBCache;

// A heap copy of s's bytes with four zero bytes after them.
bool TakeBytes(REALstring s, StringGetCString_fn cString, LenB_method lenB, uint32_t encoding,
               REALstringData *out) {
  const char *text = cString(s);
  RBInteger n = lenB(s);
  if (n < 0) n = 0;
  if (text == nullptr && n > 0) return false;
  char *copy = static_cast<char *>(malloc(static_cast<size_t>(n) + 4));
  if (copy == nullptr) return false;
  if (n > 0) memcpy(copy, text, static_cast<size_t>(n));
  memset(copy + n, 0, 4);
  out->data = copy;
  out->length = n;
  out->encoding = encoding;
  return true;
}

}  // namespace

bool REALGetStringData(REALstring s, uint32_t encoding, REALstringData *out) {
  if (auto getData = reinterpret_cast<PluginGetStringData_fn>(
          Bind(pluginGetStringDataCache, "PluginGetStringData")))
    return getData(s, encoding, out) != 0;

  // Both pieces of the fallback are looked up on every call until found.
  auto cString = reinterpret_cast<StringGetCString_fn>(Bind(stringGetCStringCache, "StringGetCString"));
  if (lenBCache == nullptr) lenBCache = REALLoadFrameworkMethod(kLenBPrototype);
  auto lenB = reinterpret_cast<LenB_method>(lenBCache);
  if (cString == nullptr || lenB == nullptr || s == nullptr) return false;

  if (encoding == kREALEncodingUnknown || REALGetStringEncoding(s) == encoding)
    return TakeBytes(s, cString, lenB, encoding, out);
  REALstring converted = REALConvertString(s, encoding);
  if (converted == nullptr) return false;
  bool ok = TakeBytes(converted, cString, lenB, encoding, out);
  REALUnlockString(converted);
  return ok;
}

StringRecordBytes ReadStringRecord(REALstring s) {
  const REALstringRecord *record = reinterpret_cast<const REALstringRecord *>(s);
  if (record == nullptr || record->buffer == nullptr) return {nullptr, 0};
  return {record->buffer + 1, static_cast<RBInteger>(record->length)};
}
