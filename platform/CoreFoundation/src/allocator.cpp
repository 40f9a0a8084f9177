// The predefined allocators. All of them are immortal singletons; the
// default, system and malloc allocators use malloc, and kCFAllocatorNull
// allocates nothing and frees nothing (it marks memory the caller keeps).
#include <cstdlib>

#include "cf_internal.h"

struct __CFAllocator {
  CFRuntimeBase base;
  bool allocates;
};

namespace {
__CFAllocator gSystemDefault = {cf::ImmortalBase(cf::kAllocatorTypeID), true};
__CFAllocator gMalloc = {cf::ImmortalBase(cf::kAllocatorTypeID), true};
__CFAllocator gMallocZone = {cf::ImmortalBase(cf::kAllocatorTypeID), true};
__CFAllocator gNullAllocator = {cf::ImmortalBase(cf::kAllocatorTypeID), false};

CFAllocatorRef Resolve(CFAllocatorRef allocator) {
  return allocator ? allocator : &gSystemDefault;
}
}  // namespace

const CFRuntimeClass cf::kAllocatorClass = {0, "CFAllocator", nullptr, nullptr, nullptr,
                                            nullptr, nullptr, nullptr, nullptr};

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFAllocatorRef kCFAllocatorSystemDefault = &gSystemDefault;
const CFAllocatorRef kCFAllocatorMalloc = &gMalloc;
const CFAllocatorRef kCFAllocatorMallocZone = &gMallocZone;
const CFAllocatorRef kCFAllocatorNull = &gNullAllocator;

CFTypeID CFAllocatorGetTypeID(void) { return cf::kAllocatorTypeID; }

CFAllocatorRef CFAllocatorGetDefault(void) { return &gSystemDefault; }

void* CFAllocatorAllocate(CFAllocatorRef allocator, CFIndex size, CFOptionFlags) {
  if (size <= 0 || !Resolve(allocator)->allocates) return nullptr;
  return malloc(static_cast<size_t>(size));
}

void* CFAllocatorReallocate(CFAllocatorRef allocator, void* ptr, CFIndex newsize, CFOptionFlags hint) {
  if (!Resolve(allocator)->allocates) return nullptr;
  if (!ptr) return CFAllocatorAllocate(allocator, newsize, hint);
  if (newsize <= 0) {
    free(ptr);
    return nullptr;
  }
  return realloc(ptr, static_cast<size_t>(newsize));
}

void CFAllocatorDeallocate(CFAllocatorRef allocator, void* ptr) {
  if (ptr && Resolve(allocator)->allocates) free(ptr);
}

CFIndex CFAllocatorGetPreferredSizeForSize(CFAllocatorRef, CFIndex size, CFOptionFlags) {
  return size < 0 ? 0 : size;
}
