// Conversions between host strings and CFString.
#include "convert/string_convert.h"

#include <stdlib.h>
#include <string.h>

#include "frame/host_functions.h"
#include "frame/host_string_data.h"
#include "frame/plugin_state.h"

namespace {

// Strings up to this many UTF-16 units are converted on the stack.
constexpr CFIndex kStackUnits = 99;
constexpr CFIndex kStackCapacity = 600;
constexpr CFIndex kBytesPerUnit = 6;  // the most UTF-8 bytes one unit can need, with room
constexpr long long kMaxBytes = 0x7FFFFFFF;

// Frees a heap buffer on every way out of a function.
struct HeapBuffer {
  char *bytes = nullptr;
  ~HeapBuffer() { free(bytes); }
};

}  // namespace

CFStringRef RBString2CFString(REALstring s) {
  if (s == nullptr) return nullptr;
  if (const struct __CFString *own = REALGetStringCFString(s, 0)) return own;

  uint32_t encoding = REALGetStringEncoding(s);
  if (encoding == kREALEncodingUnknown) encoding = kREALEncodingMacRoman;

  REALstringData raw = {};
  bool rawFilled = false;
  bool locked = false;
  const void *bytes = nullptr;
  RBInteger length = 0;
  if (rbversion_rbversion > 2013.0) {
    if (REALGetStringData(s, kREALEncodingUnknown, &raw)) {
      rawFilled = true;
      bytes = raw.data;
      length = raw.length;
    }
  } else {
    REALLockString(s);
    locked = true;
    StringRecordBytes record = ReadStringRecord(s);
    bytes = record.bytes;
    length = record.length;
  }

  CFStringRef result = nullptr;
  if (bytes != nullptr && length >= 0) {
    if (encoding == kREALEncodingUTF16)
      result = CFStringCreateWithCharacters(kCFAllocatorDefault, static_cast<const UniChar *>(bytes),
                                            static_cast<CFIndex>(length / 2));
    else
      result = CFStringCreateWithCString(kCFAllocatorDefault, static_cast<const char *>(bytes),
                                         static_cast<CFStringEncoding>(encoding));
  }
  if (rawFilled) REALDisposeStringData(&raw);
  if (locked) REALUnlockString(s);
  return result;
}

REALstring CFString2RBString(CFStringRef cf) {
  if (cf == nullptr) return nullptr;
  const CFIndex units = CFStringGetLength(cf);
  if (units <= 0) return nullptr;

  char stackBuffer[kStackCapacity + 1];
  HeapBuffer heap;
  char *buffer;
  CFIndex capacity;
  if (units <= kStackUnits) {
    memset(stackBuffer, 0, sizeof stackBuffer);
    buffer = stackBuffer;
    capacity = kStackCapacity;
  } else {
    const long long bytes = static_cast<long long>(units) * kBytesPerUnit;
    if (bytes > kMaxBytes) return nullptr;
    heap.bytes = static_cast<char *>(calloc(static_cast<size_t>(bytes), 1));
    if (heap.bytes == nullptr) return nullptr;
    buffer = heap.bytes;
    capacity = static_cast<CFIndex>(bytes);
  }
  if (!CFStringGetCString(cf, buffer, capacity, kCFStringEncodingUTF8)) return nullptr;

  const size_t length = strlen(buffer);
  if (length == 0) return nullptr;
  REALstring result = originalREALBuildString(buffer, static_cast<RBInteger>(length));
  if (result != nullptr) REALSetStringEncoding(result, kREALEncodingUTF8);
  return result;
}
