// Shared by the framework's sources: built-in type IDs, instance creation,
// immortal objects and small helpers. Not installed.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreFoundation/CFRuntime.h>

#include <new>
#include <string>

namespace cf {

// Built-in types have fixed IDs so that statically allocated singletons
// (kCFNull, kCFBooleanTrue, the allocators) carry their type without any
// run-time registration; classes registered later start after the last one.
enum : CFTypeID {
  kAllocatorTypeID = 1,
  kNullTypeID,
  kBooleanTypeID,
  kStringTypeID,
  kDataTypeID,
  kNumberTypeID,
  kDateTypeID,
  kTimeZoneTypeID,
  kArrayTypeID,
  kDictionaryTypeID,
  kSetTypeID,
  kBagTypeID,
  kURLTypeID,
  kCharacterSetTypeID,
  kAttributedStringTypeID,
  kBundleTypeID,
  kUUIDTypeID,
  kErrorTypeID,
  kLastBuiltinTypeID = kErrorTypeID
};

constexpr CFTypeID kMaxTypeID = 1023;

constexpr uint32_t kFlagImmortal = 1u << 0;
constexpr uint32_t kFlagMutable = 1u << 1;

// The built-in classes, defined next to each type.
extern const CFRuntimeClass kAllocatorClass, kNullClass, kBooleanClass, kStringClass, kDataClass,
    kNumberClass, kDateClass, kTimeZoneClass, kArrayClass, kDictionaryClass, kSetClass, kBagClass,
    kURLClass, kCharacterSetClass, kAttributedStringClass, kBundleClass, kUUIDClass, kErrorClass;

// Header of a statically allocated immortal instance.
constexpr CFRuntimeBase ImmortalBase(CFTypeID type) {
  return CFRuntimeBase{type, 1, kFlagImmortal, 0, nullptr};
}

inline bool IsA(CFTypeRef cf, CFTypeID type) {
  return cf != nullptr && static_cast<const CFRuntimeBase*>(cf)->_cfisa == type;
}

inline bool IsMutable(CFTypeRef cf) {
  return (static_cast<const CFRuntimeBase*>(cf)->_flags & kFlagMutable) != 0;
}

inline void SetMutable(CFTypeRef cf) {
  const_cast<CFRuntimeBase*>(static_cast<const CFRuntimeBase*>(cf))->_flags |= kFlagMutable;
}

// Makes a freshly created instance immortal: retain/release no longer change
// it and it leaves the live-object count.
void MakeImmortal(CFTypeRef cf);

// Allocates an instance of T (whose first member is CFRuntimeBase base) and
// constructs T's member `impl` in place; the class's finalize must destroy it.
template <class T>
T* NewInstance(CFAllocatorRef allocator, CFTypeID type) {
  void* mem = const_cast<void*>(_CFRuntimeCreateInstance(
      allocator, type, static_cast<CFIndex>(sizeof(T) - sizeof(CFRuntimeBase)), nullptr));
  if (!mem) return nullptr;
  T* obj = static_cast<T*>(mem);
  new (&obj->impl) decltype(obj->impl)();
  return obj;
}

// Hashing helpers shared by the value types.
CFHashCode HashBytes(const void* bytes, size_t length);

// UTF-8 text of a string (lossless; U+0000 kept as a NUL byte).
std::string ToUTF8(CFStringRef string);
// A new immutable string from UTF-8 (invalid bytes give NULL).
CFStringRef NewStringFromUTF8(const std::string& utf8);
CFStringRef NewStringFromUTF16(const std::u16string& text);
// The string's UTF-16 units (empty for NULL or for a non-string).
const std::u16string& Chars(CFStringRef string);

// Description text: the object's formatting description when its class has
// one (strings, numbers, Booleans), else its debug description.
CFStringRef CopyFormattingDescription(CFTypeRef cf);

// Callbacks that retain and release CF objects, shared by the collections.
const void* RetainCF(CFAllocatorRef allocator, const void* value);
void ReleaseCF(CFAllocatorRef allocator, const void* value);
const void* CopyStringOrRetain(CFAllocatorRef allocator, const void* value);
Boolean EqualCF(const void* a, const void* b);
CFHashCode HashCF(const void* value);
CFStringRef DescribeCF(const void* value);

}  // namespace cf
