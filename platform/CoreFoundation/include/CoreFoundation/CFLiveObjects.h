/* Live-object accounting: how many instances of each type exist right now.
   Immortal objects (constant strings, Booleans, kCFNull, allocators,
   predefined character sets, the main bundle) are not counted. */
#ifndef KC_CFLIVEOBJECTS_H
#define KC_CFLIVEOBJECTS_H

#include <CoreFoundation/CFBase.h>

CF_EXTERN_C_BEGIN

/* Highest type ID registered so far; IDs start at 1. */
CF_EXPORT CFTypeID CFLiveObjectsGetMaxTypeID(void);
CF_EXPORT CFIndex CFLiveObjectsGetCount(CFTypeID typeID);
CF_EXPORT CFIndex CFLiveObjectsGetTotalCount(void);
/* The class name, or NULL for an unknown type ID. */
CF_EXPORT const char *CFLiveObjectsGetTypeName(CFTypeID typeID);

CF_EXTERN_C_END

#endif /* KC_CFLIVEOBJECTS_H */
