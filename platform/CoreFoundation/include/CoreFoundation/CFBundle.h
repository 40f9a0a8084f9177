/* Bundles: a folder on disk, and the running program's main bundle. */
#ifndef KC_CFBUNDLE_H
#define KC_CFBUNDLE_H

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFString.h>
#include <CoreFoundation/CFURL.h>

CF_EXTERN_C_BEGIN

typedef struct __CFBundle *CFBundleRef;

CF_EXPORT const CFStringRef kCFBundleInfoDictionaryVersionKey;
CF_EXPORT const CFStringRef kCFBundleExecutableKey;
CF_EXPORT const CFStringRef kCFBundleIdentifierKey;
CF_EXPORT const CFStringRef kCFBundleVersionKey;
CF_EXPORT const CFStringRef kCFBundleDevelopmentRegionKey;
CF_EXPORT const CFStringRef kCFBundleNameKey;

CF_EXPORT CFTypeID CFBundleGetTypeID(void);
/* The bundle of the running program: the folder holding its executable.
   It lives as long as the process and is not counted as a live object. */
CF_EXPORT CFBundleRef CFBundleGetMainBundle(void);
/* A bundle for an existing folder; NULL when the URL names no folder. */
CF_EXPORT CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef bundleURL);
CF_EXPORT CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle);
/* NULL: bundles here carry no information property list. */
CF_EXPORT CFStringRef CFBundleGetIdentifier(CFBundleRef bundle);
CF_EXPORT CFDictionaryRef CFBundleGetInfoDictionary(CFBundleRef bundle);
CF_EXPORT CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle, CFStringRef key);

CF_EXTERN_C_END

#endif /* KC_CFBUNDLE_H */
