/* Strings with one attribute dictionary covering the whole text. */
#ifndef KC_CFATTRIBUTEDSTRING_H
#define KC_CFATTRIBUTEDSTRING_H

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFString.h>

CF_EXTERN_C_BEGIN

typedef const struct __CFAttributedString *CFAttributedStringRef;

CF_EXPORT CFTypeID CFAttributedStringGetTypeID(void);
/* attributes may be NULL (no attributes). */
CF_EXPORT CFAttributedStringRef CFAttributedStringCreate(CFAllocatorRef alloc, CFStringRef str, CFDictionaryRef attributes);
CF_EXPORT CFAttributedStringRef CFAttributedStringCreateCopy(CFAllocatorRef alloc, CFAttributedStringRef aStr);
CF_EXPORT CFStringRef CFAttributedStringGetString(CFAttributedStringRef aStr);
CF_EXPORT CFIndex CFAttributedStringGetLength(CFAttributedStringRef aStr);
/* The attributes at loc; effectiveRange (optional) receives the whole text. */
CF_EXPORT CFDictionaryRef CFAttributedStringGetAttributes(CFAttributedStringRef aStr, CFIndex loc, CFRange *effectiveRange);
CF_EXPORT CFTypeRef CFAttributedStringGetAttribute(CFAttributedStringRef aStr, CFIndex loc, CFStringRef attrName, CFRange *effectiveRange);

CF_EXTERN_C_END

#endif /* KC_CFATTRIBUTEDSTRING_H */
