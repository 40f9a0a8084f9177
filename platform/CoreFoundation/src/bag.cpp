// CFBag and CFMutableBag: values with occurrence counts over the shared
// hash table. A value is retained once, however often it was added.
#include <cstring>

#include "hash_table.h"

using namespace cf;

struct __CFBag {
  CFRuntimeBase base;
  HashTable impl;
};

const CFBagCallBacks kCFTypeBagCallBacks = {0, RetainCF, ReleaseCF, DescribeCF, EqualCF, HashCF};
const CFBagCallBacks kCFCopyStringBagCallBacks = {0, CopyStringOrRetain, ReleaseCF, DescribeCF, EqualCF, HashCF};

namespace {

HashTable& Table(CFBagRef b) { return const_cast<__CFBag*>(b)->impl; }
bool IsBag(CFTypeRef b) { return IsA(b, kBagTypeID); }
bool IsMutableBag(CFBagRef b) { return IsBag(b) && IsMutable(b); }

void FinalizeBag(CFTypeRef cf) { const_cast<__CFBag*>(static_cast<CFBagRef>(cf))->impl.~HashTable(); }
Boolean EqualBags(CFTypeRef a, CFTypeRef b) {
  return Table(static_cast<CFBagRef>(a)).SameContents(Table(static_cast<CFBagRef>(b)));
}
CFHashCode HashBag(CFTypeRef cf) { return static_cast<CFHashCode>(Table(static_cast<CFBagRef>(cf)).totalCount()); }

__CFBag* NewBag(CFAllocatorRef allocator, const CFBagCallBacks* callBacks, bool isMutable) {
  __CFBag* b = NewInstance<__CFBag>(allocator, kBagTypeID);
  if (!b) return nullptr;
  CFDictionaryKeyCallBacks keys = {0, nullptr, nullptr, nullptr, nullptr, nullptr};
  if (callBacks) memcpy(&keys, callBacks, sizeof keys);
  b->impl.Configure(CFGetAllocator(b), &keys, nullptr);
  if (isMutable) SetMutable(b);
  return b;
}

__CFBag* Copy(CFAllocatorRef allocator, CFBagRef src, bool isMutable) {
  if (!IsBag(src)) return nullptr;
  CFBagCallBacks cb;
  memcpy(&cb, &Table(src).keyCallBacks(), sizeof cb);
  __CFBag* b = NewBag(allocator, &cb, isMutable);
  if (!b) return nullptr;
  Table(src).ForEach([&](const void* v, const HashTable::Entry& e) {
    for (CFIndex i = 0; i < e.count; ++i) b->impl.Put(v, nullptr, HashTable::Mode::kCount);
  });
  return b;
}

}  // namespace

const CFRuntimeClass cf::kBagClass = {0, "CFBag", nullptr, nullptr, FinalizeBag, EqualBags, HashBag, nullptr, nullptr};

CFTypeID CFBagGetTypeID(void) { return kBagTypeID; }

CFBagRef CFBagCreate(CFAllocatorRef allocator, const void** values, CFIndex numValues, const CFBagCallBacks* callBacks) {
  if (numValues < 0 || (numValues > 0 && !values)) return nullptr;
  __CFBag* b = NewBag(allocator, callBacks, false);
  if (!b) return nullptr;
  for (CFIndex i = 0; i < numValues; ++i) b->impl.Put(values[i], nullptr, HashTable::Mode::kCount);
  return b;
}

CFBagRef CFBagCreateCopy(CFAllocatorRef allocator, CFBagRef theBag) { return Copy(allocator, theBag, false); }

CFMutableBagRef CFBagCreateMutable(CFAllocatorRef allocator, CFIndex capacity, const CFBagCallBacks* callBacks) {
  if (capacity < 0) return nullptr;
  return NewBag(allocator, callBacks, true);
}

CFMutableBagRef CFBagCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity, CFBagRef theBag) {
  if (capacity < 0) return nullptr;
  return Copy(allocator, theBag, true);
}

CFIndex CFBagGetCount(CFBagRef theBag) { return IsBag(theBag) ? Table(theBag).totalCount() : 0; }

CFIndex CFBagGetCountOfValue(CFBagRef theBag, const void* value) {
  if (!IsBag(theBag)) return 0;
  const HashTable::Entry* e = Table(theBag).Find(value);
  return e ? e->count : 0;
}

Boolean CFBagContainsValue(CFBagRef theBag, const void* value) { return CFBagGetCountOfValue(theBag, value) > 0; }

const void* CFBagGetValue(CFBagRef theBag, const void* value) {
  const void* stored = nullptr;
  return IsBag(theBag) && Table(theBag).Find(value, &stored) ? stored : nullptr;
}

void CFBagGetValues(CFBagRef theBag, const void** values) {
  if (!IsBag(theBag) || !values) return;
  CFIndex i = 0;
  Table(theBag).ForEach([&](const void* v, const HashTable::Entry& e) {
    for (CFIndex k = 0; k < e.count; ++k) values[i++] = v;
  });
}

void CFBagApplyFunction(CFBagRef theBag, CFBagApplierFunction applier, void* context) {
  if (!IsBag(theBag) || !applier) return;
  Table(theBag).ForEach([&](const void* v, const HashTable::Entry& e) {
    for (CFIndex k = 0; k < e.count; ++k) applier(v, context);
  });
}

void CFBagAddValue(CFMutableBagRef theBag, const void* value) {
  if (IsMutableBag(theBag)) Table(theBag).Put(value, nullptr, HashTable::Mode::kCount);
}

void CFBagRemoveValue(CFMutableBagRef theBag, const void* value) {
  if (IsMutableBag(theBag)) Table(theBag).Remove(value, false);
}

void CFBagRemoveAllValues(CFMutableBagRef theBag) {
  if (IsMutableBag(theBag)) Table(theBag).RemoveAll();
}
