// The object runtime: the class table, instance creation, atomic retain
// counts, the polymorphic CFType functions, live-object counts and kCFNull.
//
// Everything here is usable from other libraries' static initializers: the
// built-in classes and every counter are constant-initialized, and the table
// of registered classes is a fixed array of atomics, so there is no static
// constructor to wait for.
#include <CoreFoundation/CFLiveObjects.h>

#include <atomic>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "cf_internal.h"

namespace cf {
namespace {

const CFRuntimeClass* const kBuiltinClasses[kLastBuiltinTypeID + 1] = {
    nullptr,          &kAllocatorClass, &kNullClass,          &kBooleanClass,
    &kStringClass,    &kDataClass,      &kNumberClass,        &kDateClass,
    &kTimeZoneClass,  &kArrayClass,     &kDictionaryClass,    &kSetClass,
    &kBagClass,       &kURLClass,       &kCharacterSetClass,  &kAttributedStringClass,
    &kBundleClass,    &kUUIDClass,      &kErrorClass};

std::atomic<const CFRuntimeClass*> gRegistered[kMaxTypeID + 1];
std::atomic<CFTypeID> gMaxTypeID{kLastBuiltinTypeID};
std::mutex gRegisterLock;
std::atomic<CFIndex> gLiveCounts[kMaxTypeID + 1];

const CFRuntimeClass* ClassOf(CFTypeID type) {
  if (type == 0 || type > kMaxTypeID) return nullptr;
  if (type <= kLastBuiltinTypeID) return kBuiltinClasses[type];
  return gRegistered[type].load(std::memory_order_acquire);
}

CFRuntimeBase* Base(CFTypeRef cf) {
  return const_cast<CFRuntimeBase*>(static_cast<const CFRuntimeBase*>(cf));
}

CFStringRef GenericDescription(CFTypeRef cf) {
  const CFRuntimeClass* cls = ClassOf(CFGetTypeID(cf));
  char text[128];
  snprintf(text, sizeof text, "<%s %p>", cls && cls->className ? cls->className : "CFType", cf);
  return NewStringFromUTF8(text);
}

}  // namespace

void MakeImmortal(CFTypeRef cf) {
  CFRuntimeBase* base = Base(cf);
  if (base->_flags & kFlagImmortal) return;
  base->_flags |= kFlagImmortal;
  if (base->_cfisa <= kMaxTypeID) gLiveCounts[base->_cfisa].fetch_sub(1, std::memory_order_relaxed);
}

CFHashCode HashBytes(const void* bytes, size_t length) {
  // A simple multiplicative byte hash: cheap and good enough for table placement.
  uint64_t h = 1469598103934665603ull;
  const unsigned char* p = static_cast<const unsigned char*>(bytes);
  for (size_t i = 0; i < length; ++i) {
    h ^= p[i];
    h *= 1099511628211ull;
  }
  return static_cast<CFHashCode>(h);
}

CFStringRef CopyFormattingDescription(CFTypeRef cf) {
  if (!cf) return NewStringFromUTF8("(null)");
  const CFRuntimeClass* cls = ClassOf(CFGetTypeID(cf));
  if (cls && cls->copyFormattingDesc) {
    if (CFStringRef s = cls->copyFormattingDesc(cf, nullptr)) return s;
  }
  return CFCopyDescription(cf);
}

const void* RetainCF(CFAllocatorRef, const void* value) { return CFRetain(value); }
void ReleaseCF(CFAllocatorRef, const void* value) { CFRelease(value); }
const void* CopyStringOrRetain(CFAllocatorRef allocator, const void* value) {
  if (IsA(value, kStringTypeID)) return CFStringCreateCopy(allocator, static_cast<CFStringRef>(value));
  return CFRetain(value);
}
Boolean EqualCF(const void* a, const void* b) { return CFEqual(a, b); }
CFHashCode HashCF(const void* value) { return CFHash(value); }
CFStringRef DescribeCF(const void* value) { return CFCopyDescription(value); }

}  // namespace cf

using namespace cf;

// ---- registration and instances -------------------------------------------

CFTypeID _CFRuntimeRegisterClass(const CFRuntimeClass* cls) {
  if (!cls) return _kCFRuntimeNotATypeID;
  std::lock_guard<std::mutex> hold(gRegisterLock);
  CFTypeID next = gMaxTypeID.load(std::memory_order_relaxed) + 1;
  if (next > kMaxTypeID) return _kCFRuntimeNotATypeID;
  gRegistered[next].store(cls, std::memory_order_release);
  gMaxTypeID.store(next, std::memory_order_release);
  return next;
}

const CFRuntimeClass* _CFRuntimeGetClassWithTypeID(CFTypeID typeID) { return ClassOf(typeID); }

CFTypeRef _CFRuntimeCreateInstance(CFAllocatorRef allocator, CFTypeID typeID, CFIndex extraBytes,
                                   unsigned char*) {
  const CFRuntimeClass* cls = ClassOf(typeID);
  if (!cls || extraBytes < 0) return nullptr;
  size_t size = sizeof(CFRuntimeBase) + static_cast<size_t>(extraBytes);
  void* mem = calloc(1, size);
  if (!mem) return nullptr;
  CFRuntimeBase* base = static_cast<CFRuntimeBase*>(mem);
  base->_cfisa = typeID;
  base->_rc = 1;
  base->_allocator = allocator ? allocator : kCFAllocatorSystemDefault;
  gLiveCounts[typeID].fetch_add(1, std::memory_order_relaxed);
  if (cls->init) cls->init(mem);
  return mem;
}

// ---- CFType ----------------------------------------------------------------

CFTypeID CFGetTypeID(CFTypeRef cf) {
  if (!cf) return 0;
  return static_cast<const CFRuntimeBase*>(cf)->_cfisa;
}

CFTypeRef CFRetain(CFTypeRef cf) {
  if (!cf) return nullptr;
  CFRuntimeBase* base = Base(cf);
  if (base->_flags & kFlagImmortal) return cf;
  __atomic_fetch_add(&base->_rc, 1, __ATOMIC_RELAXED);
  return cf;
}

CFTypeRef _CFTryRetain(CFTypeRef cf) {
  if (!cf) return nullptr;
  CFRuntimeBase* base = Base(cf);
  if (base->_flags & kFlagImmortal) return cf;
  int64_t count = __atomic_load_n(&base->_rc, __ATOMIC_RELAXED);
  while (count > 0) {
    if (__atomic_compare_exchange_n(&base->_rc, &count, count + 1, true, __ATOMIC_ACQUIRE,
                                    __ATOMIC_RELAXED))
      return cf;
  }
  return nullptr;
}

void CFRelease(CFTypeRef cf) {
  if (!cf) return;
  CFRuntimeBase* base = Base(cf);
  if (base->_flags & kFlagImmortal) return;
  if (__atomic_fetch_sub(&base->_rc, 1, __ATOMIC_ACQ_REL) != 1) return;
  CFTypeID type = base->_cfisa;
  const CFRuntimeClass* cls = ClassOf(type);
  if (cls && cls->finalize) cls->finalize(cf);
  if (type <= kMaxTypeID) gLiveCounts[type].fetch_sub(1, std::memory_order_relaxed);
  free(base);
}

CFTypeRef CFMakeCollectable(CFTypeRef cf) { return cf; }

CFIndex CFGetRetainCount(CFTypeRef cf) {
  if (!cf) return 0;
  const CFRuntimeBase* base = static_cast<const CFRuntimeBase*>(cf);
  // Immortal objects report a huge count, as constant objects do on macOS.
  if (base->_flags & kFlagImmortal) return LONG_MAX >> 3;
  return static_cast<CFIndex>(__atomic_load_n(&base->_rc, __ATOMIC_RELAXED));
}

Boolean CFEqual(CFTypeRef cf1, CFTypeRef cf2) {
  if (cf1 == cf2) return true;
  if (!cf1 || !cf2) return false;
  CFTypeID type = CFGetTypeID(cf1);
  if (type != CFGetTypeID(cf2)) return false;
  const CFRuntimeClass* cls = ClassOf(type);
  return cls && cls->equal ? cls->equal(cf1, cf2) : false;
}

CFHashCode CFHash(CFTypeRef cf) {
  if (!cf) return 0;
  const CFRuntimeClass* cls = ClassOf(CFGetTypeID(cf));
  if (cls && cls->hash) return cls->hash(cf);
  return static_cast<CFHashCode>(reinterpret_cast<uintptr_t>(cf) >> 4);
}

CFStringRef CFCopyDescription(CFTypeRef cf) {
  if (!cf) return nullptr;
  const CFRuntimeClass* cls = ClassOf(CFGetTypeID(cf));
  if (cls && cls->copyDebugDesc) {
    if (CFStringRef s = cls->copyDebugDesc(cf)) return s;
  }
  if (cls && cls->copyFormattingDesc) {
    if (CFStringRef s = cls->copyFormattingDesc(cf, nullptr)) return s;
  }
  return GenericDescription(cf);
}

CFStringRef CFCopyTypeIDDescription(CFTypeID type_id) {
  const CFRuntimeClass* cls = ClassOf(type_id);
  if (!cls || !cls->className) return nullptr;
  return CFStringCreateWithCString(nullptr, cls->className, kCFStringEncodingUTF8);
}

CFAllocatorRef CFGetAllocator(CFTypeRef cf) {
  if (!cf) return kCFAllocatorSystemDefault;
  const void* a = static_cast<const CFRuntimeBase*>(cf)->_allocator;
  return a ? static_cast<CFAllocatorRef>(a) : kCFAllocatorSystemDefault;
}

// ---- live objects ------------------------------------------------------------

CFTypeID CFLiveObjectsGetMaxTypeID(void) { return gMaxTypeID.load(std::memory_order_acquire); }

CFIndex CFLiveObjectsGetCount(CFTypeID typeID) {
  if (typeID == 0 || typeID > kMaxTypeID) return 0;
  return gLiveCounts[typeID].load(std::memory_order_relaxed);
}

CFIndex CFLiveObjectsGetTotalCount(void) {
  CFIndex total = 0;
  CFTypeID max = CFLiveObjectsGetMaxTypeID();
  for (CFTypeID t = 1; t <= max; ++t) total += gLiveCounts[t].load(std::memory_order_relaxed);
  return total;
}

const char* CFLiveObjectsGetTypeName(CFTypeID typeID) {
  if (typeID > CFLiveObjectsGetMaxTypeID()) return nullptr;
  const CFRuntimeClass* cls = ClassOf(typeID);
  return cls ? cls->className : nullptr;
}

// ---- CFNull --------------------------------------------------------------------

struct __CFNull {
  CFRuntimeBase base;
};

namespace {
__CFNull gNull = {ImmortalBase(kNullTypeID)};

CFStringRef NullDescription(CFTypeRef) { return CFSTR("<null>"); }
}  // namespace

const CFRuntimeClass cf::kNullClass = {0, "CFNull", nullptr, nullptr, nullptr, nullptr, nullptr,
                                       nullptr, NullDescription};
const CFNullRef kCFNull = &gNull;

CFTypeID CFNullGetTypeID(void) { return kNullTypeID; }
