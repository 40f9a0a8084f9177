/* Error objects: a domain, a code and a user-info dictionary. */
#ifndef KC_CFERROR_H
#define KC_CFERROR_H

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFString.h>

CF_EXTERN_C_BEGIN

typedef struct __CFError *CFErrorRef;
typedef CFStringRef CFErrorDomain;

CF_EXPORT const CFStringRef kCFErrorDomainPOSIX;
CF_EXPORT const CFStringRef kCFErrorDomainOSStatus;
CF_EXPORT const CFStringRef kCFErrorDomainMach;
CF_EXPORT const CFStringRef kCFErrorDomainCocoa;

CF_EXPORT const CFStringRef kCFErrorLocalizedDescriptionKey;
CF_EXPORT const CFStringRef kCFErrorLocalizedFailureReasonKey;
CF_EXPORT const CFStringRef kCFErrorLocalizedRecoverySuggestionKey;
CF_EXPORT const CFStringRef kCFErrorDescriptionKey;
CF_EXPORT const CFStringRef kCFErrorUnderlyingErrorKey;

CF_EXPORT CFTypeID CFErrorGetTypeID(void);
CF_EXPORT CFErrorRef CFErrorCreate(CFAllocatorRef allocator, CFErrorDomain domain, CFIndex code, CFDictionaryRef userInfo);
CF_EXPORT CFErrorRef CFErrorCreateWithUserInfoKeysAndValues(CFAllocatorRef allocator, CFErrorDomain domain, CFIndex code, const void *const *userInfoKeys, const void *const *userInfoValues, CFIndex numUserInfoValues);
CF_EXPORT CFErrorDomain CFErrorGetDomain(CFErrorRef err);
CF_EXPORT CFIndex CFErrorGetCode(CFErrorRef err);
CF_EXPORT CFDictionaryRef CFErrorCopyUserInfo(CFErrorRef err);
CF_EXPORT CFStringRef CFErrorCopyDescription(CFErrorRef err);
CF_EXPORT CFStringRef CFErrorCopyFailureReason(CFErrorRef err);
CF_EXPORT CFStringRef CFErrorCopyRecoverySuggestion(CFErrorRef err);

CF_EXTERN_C_END

#endif /* KC_CFERROR_H */
