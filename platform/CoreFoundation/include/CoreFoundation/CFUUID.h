/* Universally unique identifiers. */
#ifndef KC_CFUUID_H
#define KC_CFUUID_H

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFString.h>

CF_EXTERN_C_BEGIN

typedef const struct __CFUUID *CFUUIDRef;

typedef struct {
  UInt8 byte0, byte1, byte2, byte3, byte4, byte5, byte6, byte7;
  UInt8 byte8, byte9, byte10, byte11, byte12, byte13, byte14, byte15;
} CFUUIDBytes;

CF_EXPORT CFTypeID CFUUIDGetTypeID(void);
/* A new random (version 4) identifier. */
CF_EXPORT CFUUIDRef CFUUIDCreate(CFAllocatorRef alloc);
CF_EXPORT CFUUIDRef CFUUIDCreateWithBytes(CFAllocatorRef alloc, UInt8 byte0, UInt8 byte1, UInt8 byte2, UInt8 byte3, UInt8 byte4, UInt8 byte5, UInt8 byte6, UInt8 byte7, UInt8 byte8, UInt8 byte9, UInt8 byte10, UInt8 byte11, UInt8 byte12, UInt8 byte13, UInt8 byte14, UInt8 byte15);
CF_EXPORT CFUUIDRef CFUUIDCreateFromUUIDBytes(CFAllocatorRef alloc, CFUUIDBytes bytes);
/* Parses "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX" (either case); NULL otherwise. */
CF_EXPORT CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef alloc, CFStringRef uuidStr);
/* Upper-case hexadecimal in the 8-4-4-4-12 form. */
CF_EXPORT CFStringRef CFUUIDCreateString(CFAllocatorRef alloc, CFUUIDRef uuid);
CF_EXPORT CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef uuid);

CF_EXTERN_C_END

#endif /* KC_CFUUID_H */
