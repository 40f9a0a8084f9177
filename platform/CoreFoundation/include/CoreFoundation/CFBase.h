/* Core scalar types, the polymorphic CFType functions, allocators and CFNull. */
#ifndef KC_CFBASE_H
#define KC_CFBASE_H

#include <MacTypes.h>
#include <stdarg.h>

#ifdef __cplusplus
#define CF_EXTERN_C_BEGIN extern "C" {
#define CF_EXTERN_C_END }
#define CF_EXPORT extern "C" __attribute__((visibility("default")))
#else
#define CF_EXTERN_C_BEGIN
#define CF_EXTERN_C_END
#define CF_EXPORT extern __attribute__((visibility("default")))
#endif

#define CF_INLINE static __inline__ __attribute__((always_inline))
#define CF_RETURNS_RETAINED
#define CF_RETURNS_NOT_RETAINED
#define CF_RELEASES_ARGUMENT
#define CF_CONSUMED

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

CF_EXTERN_C_BEGIN

typedef signed long CFIndex;
typedef unsigned long CFTypeID;
typedef unsigned long CFOptionFlags;
typedef unsigned long CFHashCode;

typedef const void *CFTypeRef;

typedef const struct __CFString *CFStringRef;
typedef struct __CFString *CFMutableStringRef;
typedef const struct __CFAllocator *CFAllocatorRef;
typedef CFTypeRef CFPropertyListRef;

typedef CFIndex CFComparisonResult;
enum {
  kCFCompareLessThan = -1,
  kCFCompareEqualTo = 0,
  kCFCompareGreaterThan = 1
};

typedef CFComparisonResult (*CFComparatorFunction)(const void *val1, const void *val2, void *context);

enum { kCFNotFound = -1 };

typedef struct {
  CFIndex location;
  CFIndex length;
} CFRange;

CF_INLINE CFRange CFRangeMake(CFIndex loc, CFIndex len) {
  CFRange range;
  range.location = loc;
  range.length = len;
  return range;
}

/* Null singleton */
typedef const struct __CFNull *CFNullRef;
CF_EXPORT CFTypeID CFNullGetTypeID(void);
CF_EXPORT const CFNullRef kCFNull;

/* Allocators. kCFAllocatorDefault (NULL) means the system default. */
CF_EXPORT const CFAllocatorRef kCFAllocatorDefault;
CF_EXPORT const CFAllocatorRef kCFAllocatorSystemDefault;
CF_EXPORT const CFAllocatorRef kCFAllocatorMalloc;
CF_EXPORT const CFAllocatorRef kCFAllocatorMallocZone;
CF_EXPORT const CFAllocatorRef kCFAllocatorNull;

CF_EXPORT CFTypeID CFAllocatorGetTypeID(void);
CF_EXPORT CFAllocatorRef CFAllocatorGetDefault(void);
CF_EXPORT void *CFAllocatorAllocate(CFAllocatorRef allocator, CFIndex size, CFOptionFlags hint);
CF_EXPORT void *CFAllocatorReallocate(CFAllocatorRef allocator, void *ptr, CFIndex newsize, CFOptionFlags hint);
CF_EXPORT void CFAllocatorDeallocate(CFAllocatorRef allocator, void *ptr);
CF_EXPORT CFIndex CFAllocatorGetPreferredSizeForSize(CFAllocatorRef allocator, CFIndex size, CFOptionFlags hint);

/* Polymorphic functions */
CF_EXPORT CFTypeID CFGetTypeID(CFTypeRef cf);
CF_EXPORT CFStringRef CFCopyTypeIDDescription(CFTypeID type_id);
CF_EXPORT CFTypeRef CFRetain(CFTypeRef cf);
CF_EXPORT void CFRelease(CFTypeRef cf);
CF_EXPORT CFTypeRef CFMakeCollectable(CFTypeRef cf);
CF_EXPORT CFIndex CFGetRetainCount(CFTypeRef cf);
CF_EXPORT Boolean CFEqual(CFTypeRef cf1, CFTypeRef cf2);
CF_EXPORT CFHashCode CFHash(CFTypeRef cf);
CF_EXPORT CFStringRef CFCopyDescription(CFTypeRef cf);
CF_EXPORT CFAllocatorRef CFGetAllocator(CFTypeRef cf);

CF_EXTERN_C_END

#endif /* KC_CFBASE_H */
