/* Hashed collections that count how often each value was added. */
#ifndef KC_CFBAG_H
#define KC_CFBAG_H

#include <CoreFoundation/CFBase.h>

CF_EXTERN_C_BEGIN

typedef const void *(*CFBagRetainCallBack)(CFAllocatorRef allocator, const void *value);
typedef void (*CFBagReleaseCallBack)(CFAllocatorRef allocator, const void *value);
typedef CFStringRef (*CFBagCopyDescriptionCallBack)(const void *value);
typedef Boolean (*CFBagEqualCallBack)(const void *value1, const void *value2);
typedef CFHashCode (*CFBagHashCallBack)(const void *value);

typedef struct {
  CFIndex version;
  CFBagRetainCallBack retain;
  CFBagReleaseCallBack release;
  CFBagCopyDescriptionCallBack copyDescription;
  CFBagEqualCallBack equal;
  CFBagHashCallBack hash;
} CFBagCallBacks;

CF_EXPORT const CFBagCallBacks kCFTypeBagCallBacks;
CF_EXPORT const CFBagCallBacks kCFCopyStringBagCallBacks;

typedef void (*CFBagApplierFunction)(const void *value, void *context);

typedef const struct __CFBag *CFBagRef;
typedef struct __CFBag *CFMutableBagRef;

CF_EXPORT CFTypeID CFBagGetTypeID(void);
CF_EXPORT CFBagRef CFBagCreate(CFAllocatorRef allocator, const void **values, CFIndex numValues, const CFBagCallBacks *callBacks);
CF_EXPORT CFBagRef CFBagCreateCopy(CFAllocatorRef allocator, CFBagRef theBag);
CF_EXPORT CFMutableBagRef CFBagCreateMutable(CFAllocatorRef allocator, CFIndex capacity, const CFBagCallBacks *callBacks);
CF_EXPORT CFMutableBagRef CFBagCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity, CFBagRef theBag);
/* Counts every occurrence. */
CF_EXPORT CFIndex CFBagGetCount(CFBagRef theBag);
CF_EXPORT CFIndex CFBagGetCountOfValue(CFBagRef theBag, const void *value);
CF_EXPORT Boolean CFBagContainsValue(CFBagRef theBag, const void *value);
CF_EXPORT const void *CFBagGetValue(CFBagRef theBag, const void *value);
CF_EXPORT void CFBagGetValues(CFBagRef theBag, const void **values);
CF_EXPORT void CFBagApplyFunction(CFBagRef theBag, CFBagApplierFunction applier, void *context);
CF_EXPORT void CFBagAddValue(CFMutableBagRef theBag, const void *value);
/* Removes one occurrence. */
CF_EXPORT void CFBagRemoveValue(CFMutableBagRef theBag, const void *value);
CF_EXPORT void CFBagRemoveAllValues(CFMutableBagRef theBag);

CF_EXTERN_C_END

#endif /* KC_CFBAG_H */
