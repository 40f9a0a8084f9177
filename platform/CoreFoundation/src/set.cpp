// CFSet and CFMutableSet: distinct values over the shared hash table.
#include <cstring>

#include "hash_table.h"

using namespace cf;

struct __CFSet {
  CFRuntimeBase base;
  HashTable impl;
};

const CFSetCallBacks kCFTypeSetCallBacks = {0, RetainCF, ReleaseCF, DescribeCF, EqualCF, HashCF};
const CFSetCallBacks kCFCopyStringSetCallBacks = {0, CopyStringOrRetain, ReleaseCF, DescribeCF, EqualCF, HashCF};

namespace {

HashTable& Table(CFSetRef s) { return const_cast<__CFSet*>(s)->impl; }
bool IsSet(CFTypeRef s) { return IsA(s, kSetTypeID); }
bool IsMutableSet(CFSetRef s) { return IsSet(s) && IsMutable(s); }

void FinalizeSet(CFTypeRef cf) { const_cast<__CFSet*>(static_cast<CFSetRef>(cf))->impl.~HashTable(); }
Boolean EqualSets(CFTypeRef a, CFTypeRef b) {
  return Table(static_cast<CFSetRef>(a)).SameContents(Table(static_cast<CFSetRef>(b)));
}
CFHashCode HashSet(CFTypeRef cf) { return static_cast<CFHashCode>(Table(static_cast<CFSetRef>(cf)).distinctCount()); }

__CFSet* NewSet(CFAllocatorRef allocator, const CFSetCallBacks* callBacks, bool isMutable) {
  __CFSet* s = NewInstance<__CFSet>(allocator, kSetTypeID);
  if (!s) return nullptr;
  // Set callbacks have the layout of dictionary key callbacks.
  CFDictionaryKeyCallBacks keys = {0, nullptr, nullptr, nullptr, nullptr, nullptr};
  if (callBacks) memcpy(&keys, callBacks, sizeof keys);
  s->impl.Configure(CFGetAllocator(s), &keys, nullptr);
  if (isMutable) SetMutable(s);
  return s;
}

__CFSet* Copy(CFAllocatorRef allocator, CFSetRef src, bool isMutable) {
  if (!IsSet(src)) return nullptr;
  CFSetCallBacks cb;
  memcpy(&cb, &Table(src).keyCallBacks(), sizeof cb);
  __CFSet* s = NewSet(allocator, &cb, isMutable);
  if (!s) return nullptr;
  Table(src).ForEach([&](const void* v, const HashTable::Entry&) { s->impl.Put(v, nullptr, HashTable::Mode::kAddIfAbsent); });
  return s;
}

}  // namespace

const CFRuntimeClass cf::kSetClass = {0, "CFSet", nullptr, nullptr, FinalizeSet, EqualSets, HashSet, nullptr, nullptr};

CFTypeID CFSetGetTypeID(void) { return kSetTypeID; }

CFSetRef CFSetCreate(CFAllocatorRef allocator, const void** values, CFIndex numValues, const CFSetCallBacks* callBacks) {
  if (numValues < 0 || (numValues > 0 && !values)) return nullptr;
  __CFSet* s = NewSet(allocator, callBacks, false);
  if (!s) return nullptr;
  for (CFIndex i = 0; i < numValues; ++i) s->impl.Put(values[i], nullptr, HashTable::Mode::kAddIfAbsent);
  return s;
}

CFSetRef CFSetCreateCopy(CFAllocatorRef allocator, CFSetRef theSet) { return Copy(allocator, theSet, false); }

CFMutableSetRef CFSetCreateMutable(CFAllocatorRef allocator, CFIndex capacity, const CFSetCallBacks* callBacks) {
  if (capacity < 0) return nullptr;
  return NewSet(allocator, callBacks, true);
}

CFMutableSetRef CFSetCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity, CFSetRef theSet) {
  if (capacity < 0) return nullptr;
  return Copy(allocator, theSet, true);
}

CFIndex CFSetGetCount(CFSetRef theSet) { return IsSet(theSet) ? Table(theSet).distinctCount() : 0; }

CFIndex CFSetGetCountOfValue(CFSetRef theSet, const void* value) {
  return IsSet(theSet) && Table(theSet).Find(value) ? 1 : 0;
}

Boolean CFSetContainsValue(CFSetRef theSet, const void* value) { return CFSetGetCountOfValue(theSet, value) > 0; }

const void* CFSetGetValue(CFSetRef theSet, const void* value) {
  const void* stored = nullptr;
  return IsSet(theSet) && Table(theSet).Find(value, &stored) ? stored : nullptr;
}

Boolean CFSetGetValueIfPresent(CFSetRef theSet, const void* candidate, const void** value) {
  const void* stored = nullptr;
  if (!IsSet(theSet) || !Table(theSet).Find(candidate, &stored)) return false;
  if (value) *value = stored;
  return true;
}

void CFSetGetValues(CFSetRef theSet, const void** values) {
  if (!IsSet(theSet) || !values) return;
  CFIndex i = 0;
  Table(theSet).ForEach([&](const void* v, const HashTable::Entry&) { values[i++] = v; });
}

void CFSetApplyFunction(CFSetRef theSet, CFSetApplierFunction applier, void* context) {
  if (!IsSet(theSet) || !applier) return;
  Table(theSet).ForEach([&](const void* v, const HashTable::Entry&) { applier(v, context); });
}

void CFSetAddValue(CFMutableSetRef theSet, const void* value) {
  if (IsMutableSet(theSet)) Table(theSet).Put(value, nullptr, HashTable::Mode::kAddIfAbsent);
}

void CFSetReplaceValue(CFMutableSetRef theSet, const void* value) {
  if (!IsMutableSet(theSet) || !Table(theSet).Find(value)) return;
  CFSetSetValue(theSet, value);
}

void CFSetSetValue(CFMutableSetRef theSet, const void* value) {
  if (!IsMutableSet(theSet)) return;
  // Retain the new value before the old, possibly identical, one goes.
  HashTable& t = Table(theSet);
  CFDictionaryRetainCallBack retain = t.keyCallBacks().retain;
  CFDictionaryReleaseCallBack release = t.keyCallBacks().release;
  const void* held = retain ? retain(CFGetAllocator(theSet), value) : value;
  t.Remove(value, true);
  t.Put(held, nullptr, HashTable::Mode::kAddIfAbsent);
  if (release) release(CFGetAllocator(theSet), held);
}

void CFSetRemoveValue(CFMutableSetRef theSet, const void* value) {
  if (IsMutableSet(theSet)) Table(theSet).Remove(value, true);
}

void CFSetRemoveAllValues(CFMutableSetRef theSet) {
  if (IsMutableSet(theSet)) Table(theSet).RemoveAll();
}
