// CFArray and CFMutableArray: a vector of values that the array's callbacks
// retain on insertion and release on removal (no callbacks: raw pointers).
#include <algorithm>
#include <cstdio>
#include <vector>

#include "cf_internal.h"

using namespace cf;

struct ArrayImpl {
  std::vector<const void*> values;
  CFArrayCallBacks callbacks = {0, nullptr, nullptr, nullptr, nullptr};
};

struct __CFArray {
  CFRuntimeBase base;
  ArrayImpl impl;
};

const CFArrayCallBacks kCFTypeArrayCallBacks = {0, RetainCF, ReleaseCF, DescribeCF, EqualCF};

namespace {

ArrayImpl& Impl(CFArrayRef a) { return const_cast<__CFArray*>(a)->impl; }
bool IsArray(CFTypeRef a) { return IsA(a, kArrayTypeID); }
bool IsMutableArray(CFArrayRef a) { return IsArray(a) && IsMutable(a); }
CFIndex Count(CFArrayRef a) { return static_cast<CFIndex>(Impl(a).values.size()); }

bool ValidRange(CFRange r, CFIndex count) {
  return r.location >= 0 && r.length >= 0 && r.location <= count && r.length <= count - r.location;
}

const void* Retain(CFArrayRef a, const void* v) {
  const CFArrayCallBacks& cb = Impl(a).callbacks;
  return cb.retain ? cb.retain(CFGetAllocator(a), v) : v;
}

void Release(CFArrayRef a, const void* v) {
  const CFArrayCallBacks& cb = Impl(a).callbacks;
  if (cb.release) cb.release(CFGetAllocator(a), v);
}

bool ValuesEqual(CFArrayRef a, const void* x, const void* y) {
  const CFArrayCallBacks& cb = Impl(a).callbacks;
  return x == y || (cb.equal && cb.equal(x, y));
}

void ReleaseAll(CFArrayRef a) {
  std::vector<const void*> old;
  old.swap(Impl(a).values);
  for (const void* v : old) Release(a, v);
}

void FinalizeArray(CFTypeRef cf) {
  CFArrayRef a = static_cast<CFArrayRef>(cf);
  ReleaseAll(a);
  Impl(a).~ArrayImpl();
}

Boolean EqualArrays(CFTypeRef x, CFTypeRef y) {
  CFArrayRef a = static_cast<CFArrayRef>(x), b = static_cast<CFArrayRef>(y);
  if (Count(a) != Count(b)) return false;
  for (size_t i = 0; i < Impl(a).values.size(); ++i)
    if (!ValuesEqual(a, Impl(a).values[i], Impl(b).values[i])) return false;
  return true;
}

CFHashCode HashArray(CFTypeRef cf) { return static_cast<CFHashCode>(Count(static_cast<CFArrayRef>(cf))); }

CFStringRef DescribeArray(CFTypeRef cf) {
  CFArrayRef a = static_cast<CFArrayRef>(cf);
  std::string text = "(";
  for (size_t i = 0; i < Impl(a).values.size(); ++i) {
    const void* v = Impl(a).values[i];
    text += i == 0 ? "\n    " : ",\n    ";
    CFStringRef d = Impl(a).callbacks.copyDescription ? Impl(a).callbacks.copyDescription(v) : nullptr;
    if (d) {
      text += ToUTF8(d);
      CFRelease(d);
    } else {
      char ptr[32];
      snprintf(ptr, sizeof ptr, "<%p>", v);
      text += ptr;
    }
  }
  text += Impl(a).values.empty() ? ")" : "\n)";
  return NewStringFromUTF8(text);
}

__CFArray* NewArray(CFAllocatorRef allocator, const CFArrayCallBacks* callBacks, bool isMutable) {
  __CFArray* a = NewInstance<__CFArray>(allocator, kArrayTypeID);
  if (!a) return nullptr;
  if (callBacks) a->impl.callbacks = *callBacks;
  if (isMutable) SetMutable(a);
  return a;
}

}  // namespace

const CFRuntimeClass cf::kArrayClass = {0, "CFArray", nullptr, nullptr, FinalizeArray, EqualArrays, HashArray,
                                        nullptr, DescribeArray};

CFTypeID CFArrayGetTypeID(void) { return kArrayTypeID; }

CFArrayRef CFArrayCreate(CFAllocatorRef allocator, const void** values, CFIndex numValues, const CFArrayCallBacks* callBacks) {
  if (numValues < 0 || (numValues > 0 && !values)) return nullptr;
  __CFArray* a = NewArray(allocator, callBacks, false);
  if (!a) return nullptr;
  a->impl.values.reserve(static_cast<size_t>(numValues));
  for (CFIndex i = 0; i < numValues; ++i) a->impl.values.push_back(Retain(a, values[i]));
  return a;
}

CFArrayRef CFArrayCreateCopy(CFAllocatorRef allocator, CFArrayRef theArray) {
  if (!IsArray(theArray)) return nullptr;
  const ArrayImpl& src = Impl(theArray);
  return CFArrayCreate(allocator, const_cast<const void**>(src.values.data()), static_cast<CFIndex>(src.values.size()),
                       &src.callbacks);
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex capacity, const CFArrayCallBacks* callBacks) {
  if (capacity < 0) return nullptr;
  return NewArray(allocator, callBacks, true);
}

CFMutableArrayRef CFArrayCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity, CFArrayRef theArray) {
  if (!IsArray(theArray) || capacity < 0) return nullptr;
  __CFArray* a = NewArray(allocator, &Impl(theArray).callbacks, true);
  if (!a) return nullptr;
  for (const void* v : Impl(theArray).values) a->impl.values.push_back(Retain(a, v));
  return a;
}

CFIndex CFArrayGetCount(CFArrayRef theArray) { return IsArray(theArray) ? Count(theArray) : 0; }

CFIndex CFArrayGetCountOfValue(CFArrayRef theArray, CFRange range, const void* value) {
  if (!IsArray(theArray) || !ValidRange(range, Count(theArray))) return 0;
  CFIndex n = 0;
  for (CFIndex i = range.location; i < range.location + range.length; ++i)
    if (ValuesEqual(theArray, Impl(theArray).values[static_cast<size_t>(i)], value)) ++n;
  return n;
}

Boolean CFArrayContainsValue(CFArrayRef theArray, CFRange range, const void* value) {
  return CFArrayGetFirstIndexOfValue(theArray, range, value) != kCFNotFound;
}

const void* CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx) {
  if (!IsArray(theArray) || idx < 0 || idx >= Count(theArray)) return nullptr;
  return Impl(theArray).values[static_cast<size_t>(idx)];
}

void CFArrayGetValues(CFArrayRef theArray, CFRange range, const void** values) {
  if (!IsArray(theArray) || !values || !ValidRange(range, Count(theArray))) return;
  for (CFIndex i = 0; i < range.length; ++i) values[i] = Impl(theArray).values[static_cast<size_t>(range.location + i)];
}

void CFArrayApplyFunction(CFArrayRef theArray, CFRange range, CFArrayApplierFunction applier, void* context) {
  if (!IsArray(theArray) || !applier || !ValidRange(range, Count(theArray))) return;
  for (CFIndex i = range.location; i < range.location + range.length && i < Count(theArray); ++i)
    applier(Impl(theArray).values[static_cast<size_t>(i)], context);
}

CFIndex CFArrayGetFirstIndexOfValue(CFArrayRef theArray, CFRange range, const void* value) {
  if (!IsArray(theArray) || !ValidRange(range, Count(theArray))) return kCFNotFound;
  for (CFIndex i = range.location; i < range.location + range.length; ++i)
    if (ValuesEqual(theArray, Impl(theArray).values[static_cast<size_t>(i)], value)) return i;
  return kCFNotFound;
}

CFIndex CFArrayGetLastIndexOfValue(CFArrayRef theArray, CFRange range, const void* value) {
  if (!IsArray(theArray) || !ValidRange(range, Count(theArray))) return kCFNotFound;
  for (CFIndex i = range.location + range.length - 1; i >= range.location; --i)
    if (ValuesEqual(theArray, Impl(theArray).values[static_cast<size_t>(i)], value)) return i;
  return kCFNotFound;
}

void CFArrayAppendValue(CFMutableArrayRef theArray, const void* value) {
  if (!IsMutableArray(theArray)) return;
  Impl(theArray).values.push_back(Retain(theArray, value));
}

void CFArrayInsertValueAtIndex(CFMutableArrayRef theArray, CFIndex idx, const void* value) {
  if (!IsMutableArray(theArray) || idx < 0 || idx > Count(theArray)) return;
  auto& values = Impl(theArray).values;
  values.insert(values.begin() + idx, Retain(theArray, value));
}

void CFArraySetValueAtIndex(CFMutableArrayRef theArray, CFIndex idx, const void* value) {
  if (!IsMutableArray(theArray) || idx < 0 || idx > Count(theArray)) return;
  if (idx == Count(theArray)) {
    CFArrayAppendValue(theArray, value);
    return;
  }
  const void* retained = Retain(theArray, value);
  const void* old = Impl(theArray).values[static_cast<size_t>(idx)];
  Impl(theArray).values[static_cast<size_t>(idx)] = retained;
  Release(theArray, old);
}

void CFArrayRemoveValueAtIndex(CFMutableArrayRef theArray, CFIndex idx) {
  if (!IsMutableArray(theArray) || idx < 0 || idx >= Count(theArray)) return;
  auto& values = Impl(theArray).values;
  const void* old = values[static_cast<size_t>(idx)];
  values.erase(values.begin() + idx);
  Release(theArray, old);
}

void CFArrayRemoveAllValues(CFMutableArrayRef theArray) {
  if (IsMutableArray(theArray)) ReleaseAll(theArray);
}

void CFArrayAppendArray(CFMutableArrayRef theArray, CFArrayRef otherArray, CFRange otherRange) {
  if (!IsMutableArray(theArray) || !IsArray(otherArray) || !ValidRange(otherRange, Count(otherArray))) return;
  std::vector<const void*> items(Impl(otherArray).values.begin() + otherRange.location,
                                 Impl(otherArray).values.begin() + otherRange.location + otherRange.length);
  for (const void* v : items) CFArrayAppendValue(theArray, v);
}

void CFArrayExchangeValuesAtIndices(CFMutableArrayRef theArray, CFIndex idx1, CFIndex idx2) {
  if (!IsMutableArray(theArray) || idx1 < 0 || idx2 < 0 || idx1 >= Count(theArray) || idx2 >= Count(theArray)) return;
  std::swap(Impl(theArray).values[static_cast<size_t>(idx1)], Impl(theArray).values[static_cast<size_t>(idx2)]);
}

void CFArraySortValues(CFMutableArrayRef theArray, CFRange range, CFComparatorFunction comparator, void* context) {
  if (!IsMutableArray(theArray) || !comparator || !ValidRange(range, Count(theArray))) return;
  auto begin = Impl(theArray).values.begin() + range.location;
  std::stable_sort(begin, begin + range.length, [&](const void* a, const void* b) {
    return comparator(a, b, context) == kCFCompareLessThan;
  });
}
