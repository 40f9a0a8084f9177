// CFUUID: 16 bytes, random (version 4) or given, with the usual text form.
#include <sys/random.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>

#include "cf_internal.h"

using namespace cf;

struct __CFUUID {
  CFRuntimeBase base;
  UInt8 bytes[16];
};

namespace {

Boolean EqualUUIDs(CFTypeRef a, CFTypeRef b) {
  return memcmp(static_cast<const __CFUUID*>(a)->bytes, static_cast<const __CFUUID*>(b)->bytes, 16) == 0;
}

CFHashCode HashUUID(CFTypeRef cf) { return HashBytes(static_cast<const __CFUUID*>(cf)->bytes, 16); }

std::string Text(const UInt8* b) {
  char text[37];
  snprintf(text, sizeof text, "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", b[0], b[1], b[2],
           b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13], b[14], b[15]);
  return text;
}

CFStringRef DescribeUUID(CFTypeRef cf) { return NewStringFromUTF8(Text(static_cast<const __CFUUID*>(cf)->bytes)); }

CFUUIDRef NewUUID(CFAllocatorRef alloc, const UInt8* bytes) {
  __CFUUID* u = const_cast<__CFUUID*>(static_cast<const __CFUUID*>(
      _CFRuntimeCreateInstance(alloc, kUUIDTypeID, sizeof(__CFUUID) - sizeof(CFRuntimeBase), nullptr)));
  if (u) memcpy(u->bytes, bytes, 16);
  return u;
}

}  // namespace

const CFRuntimeClass cf::kUUIDClass = {0, "CFUUID", nullptr, nullptr, nullptr, EqualUUIDs, HashUUID, nullptr,
                                       DescribeUUID};

CFTypeID CFUUIDGetTypeID(void) { return kUUIDTypeID; }

CFUUIDRef CFUUIDCreate(CFAllocatorRef alloc) {
  UInt8 bytes[16];
  size_t got = 0;
  while (got < sizeof bytes) {
    ssize_t n = getrandom(bytes + got, sizeof bytes - got, 0);
    if (n <= 0) return nullptr;
    got += static_cast<size_t>(n);
  }
  bytes[6] = static_cast<UInt8>((bytes[6] & 0x0F) | 0x40);
  bytes[8] = static_cast<UInt8>((bytes[8] & 0x3F) | 0x80);
  return NewUUID(alloc, bytes);
}

CFUUIDRef CFUUIDCreateWithBytes(CFAllocatorRef alloc, UInt8 byte0, UInt8 byte1, UInt8 byte2, UInt8 byte3, UInt8 byte4,
                                UInt8 byte5, UInt8 byte6, UInt8 byte7, UInt8 byte8, UInt8 byte9, UInt8 byte10,
                                UInt8 byte11, UInt8 byte12, UInt8 byte13, UInt8 byte14, UInt8 byte15) {
  const UInt8 bytes[16] = {byte0, byte1, byte2,  byte3,  byte4,  byte5,  byte6,  byte7,
                           byte8, byte9, byte10, byte11, byte12, byte13, byte14, byte15};
  return NewUUID(alloc, bytes);
}

CFUUIDRef CFUUIDCreateFromUUIDBytes(CFAllocatorRef alloc, CFUUIDBytes bytes) {
  UInt8 raw[16];
  memcpy(raw, &bytes, 16);
  return NewUUID(alloc, raw);
}

CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef alloc, CFStringRef uuidStr) {
  if (!IsA(uuidStr, kStringTypeID)) return nullptr;
  std::string text = ToUTF8(uuidStr);
  if (text.size() != 36) return nullptr;
  UInt8 bytes[16];
  size_t k = 0;
  for (size_t i = 0; i < text.size();) {
    if (i == 8 || i == 13 || i == 18 || i == 23) {
      if (text[i] != '-') return nullptr;
      ++i;
      continue;
    }
    if (!isxdigit(static_cast<unsigned char>(text[i])) || !isxdigit(static_cast<unsigned char>(text[i + 1])))
      return nullptr;
    bytes[k++] = static_cast<UInt8>(std::stoi(text.substr(i, 2), nullptr, 16));
    i += 2;
  }
  return NewUUID(alloc, bytes);
}

CFStringRef CFUUIDCreateString(CFAllocatorRef alloc, CFUUIDRef uuid) {
  if (!IsA(uuid, kUUIDTypeID)) return nullptr;
  std::string text = Text(uuid->bytes);
  return CFStringCreateWithCString(alloc, text.c_str(), kCFStringEncodingASCII);
}

CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef uuid) {
  CFUUIDBytes out;
  memset(&out, 0, sizeof out);
  if (IsA(uuid, kUUIDTypeID)) memcpy(&out, uuid->bytes, 16);
  return out;
}
