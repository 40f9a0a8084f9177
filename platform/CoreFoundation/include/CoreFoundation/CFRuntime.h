/* Type registration for frameworks that define their own CF types. */
#ifndef KC_CFRUNTIME_H
#define KC_CFRUNTIME_H

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDictionary.h>

CF_EXTERN_C_BEGIN

/* First member of every instance struct. Managed by the runtime only. */
typedef struct __CFRuntimeBase {
  uintptr_t _cfisa;      /* type ID */
  int64_t _rc;           /* retain count, changed atomically */
  uint32_t _flags;       /* immortal and mutability bits */
  uint32_t _reserved;
  const void *_allocator;
} CFRuntimeBase;

typedef struct __CFRuntimeClass {
  CFIndex version;
  const char *className;
  void (*init)(CFTypeRef cf);
  CFTypeRef (*copy)(CFAllocatorRef allocator, CFTypeRef cf);
  void (*finalize)(CFTypeRef cf);
  Boolean (*equal)(CFTypeRef cf1, CFTypeRef cf2);
  CFHashCode (*hash)(CFTypeRef cf);
  CFStringRef (*copyFormattingDesc)(CFTypeRef cf, CFDictionaryRef formatOptions);
  CFStringRef (*copyDebugDesc)(CFTypeRef cf);
} CFRuntimeClass;

#define _kCFRuntimeNotATypeID 0

/* cls must stay valid for the life of the process. Returns the new type ID,
   or _kCFRuntimeNotATypeID when the table is full or cls is NULL. */
CF_EXPORT CFTypeID _CFRuntimeRegisterClass(const CFRuntimeClass *cls);
CF_EXPORT const CFRuntimeClass *_CFRuntimeGetClassWithTypeID(CFTypeID typeID);
/* A new instance with retain count 1 whose extraBytes after the
   CFRuntimeBase are zero-filled; category is ignored. */
CF_EXPORT CFTypeRef _CFRuntimeCreateInstance(CFAllocatorRef allocator, CFTypeID typeID, CFIndex extraBytes, unsigned char *category);
/* Retains cf only while it is still alive: returns cf with one more retain,
   or NULL when its last release has already begun (its count reached 0 and
   finalize is about to run or running). For caches that hand out objects
   they do not own, such as a registry emptied by the objects' finalize. */
CF_EXPORT CFTypeRef _CFTryRetain(CFTypeRef cf);

CF_EXTERN_C_END

#endif /* KC_CFRUNTIME_H */
