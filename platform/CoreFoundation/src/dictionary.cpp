// CFDictionary and CFMutableDictionary over the shared hash table.
#include <string>
#include <vector>

#include "hash_table.h"

using namespace cf;

struct __CFDictionary {
  CFRuntimeBase base;
  HashTable impl;
};

const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {0, RetainCF, ReleaseCF, DescribeCF, EqualCF, HashCF};
const CFDictionaryKeyCallBacks kCFCopyStringDictionaryKeyCallBacks = {0, CopyStringOrRetain, ReleaseCF, DescribeCF,
                                                                      EqualCF, HashCF};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {0, RetainCF, ReleaseCF, DescribeCF, EqualCF};

namespace {

HashTable& Table(CFDictionaryRef d) { return const_cast<__CFDictionary*>(d)->impl; }
bool IsDict(CFTypeRef d) { return IsA(d, kDictionaryTypeID); }
bool IsMutableDict(CFDictionaryRef d) { return IsDict(d) && IsMutable(d); }

void FinalizeDictionary(CFTypeRef cf) {
  const_cast<__CFDictionary*>(static_cast<CFDictionaryRef>(cf))->impl.~HashTable();
}

Boolean EqualDictionaries(CFTypeRef a, CFTypeRef b) {
  return Table(static_cast<CFDictionaryRef>(a)).SameContents(Table(static_cast<CFDictionaryRef>(b)));
}

CFHashCode HashDictionary(CFTypeRef cf) {
  return static_cast<CFHashCode>(Table(static_cast<CFDictionaryRef>(cf)).distinctCount());
}

std::string Describe(CFDictionaryCopyDescriptionCallBack describe, const void* v) {
  CFStringRef d = describe ? describe(v) : nullptr;
  if (!d) {
    char ptr[32];
    snprintf(ptr, sizeof ptr, "<%p>", v);
    return ptr;
  }
  std::string text = ToUTF8(d);
  CFRelease(d);
  return text;
}

CFStringRef DescribeDictionary(CFTypeRef cf) {
  const HashTable& t = Table(static_cast<CFDictionaryRef>(cf));
  std::string text = "{";
  t.ForEach([&](const void* key, const HashTable::Entry& e) {
    text += "\n    " + Describe(t.keyCallBacks().copyDescription, key) + " = " +
            Describe(t.valueCallBacks().copyDescription, e.value) + ";";
  });
  text += t.distinctCount() ? "\n}" : "}";
  return NewStringFromUTF8(text);
}

__CFDictionary* NewDictionary(CFAllocatorRef allocator, const CFDictionaryKeyCallBacks* keys,
                              const CFDictionaryValueCallBacks* values, bool isMutable) {
  __CFDictionary* d = NewInstance<__CFDictionary>(allocator, kDictionaryTypeID);
  if (!d) return nullptr;
  d->impl.Configure(CFGetAllocator(d), keys, values);
  if (isMutable) SetMutable(d);
  return d;
}

__CFDictionary* Copy(CFAllocatorRef allocator, CFDictionaryRef src, bool isMutable) {
  if (!IsDict(src)) return nullptr;
  const HashTable& from = Table(src);
  __CFDictionary* d = NewDictionary(allocator, &from.keyCallBacks(), &from.valueCallBacks(), isMutable);
  if (!d) return nullptr;
  from.ForEach([&](const void* key, const HashTable::Entry& e) { d->impl.Put(key, e.value, HashTable::Mode::kSet); });
  return d;
}

}  // namespace

const CFRuntimeClass cf::kDictionaryClass = {0, "CFDictionary", nullptr, nullptr, FinalizeDictionary,
                                             EqualDictionaries, HashDictionary, nullptr, DescribeDictionary};

CFTypeID CFDictionaryGetTypeID(void) { return kDictionaryTypeID; }

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef allocator, const void** keys, const void** values, CFIndex numValues,
                                   const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
  if (numValues < 0 || (numValues > 0 && (!keys || !values))) return nullptr;
  __CFDictionary* d = NewDictionary(allocator, keyCallBacks, valueCallBacks, false);
  if (!d) return nullptr;
  for (CFIndex i = 0; i < numValues; ++i) d->impl.Put(keys[i], values[i], HashTable::Mode::kSet);
  return d;
}

CFDictionaryRef CFDictionaryCreateCopy(CFAllocatorRef allocator, CFDictionaryRef theDict) {
  return Copy(allocator, theDict, false);
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks) {
  if (capacity < 0) return nullptr;
  return NewDictionary(allocator, keyCallBacks, valueCallBacks, true);
}

CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity, CFDictionaryRef theDict) {
  if (capacity < 0) return nullptr;
  return Copy(allocator, theDict, true);
}

CFIndex CFDictionaryGetCount(CFDictionaryRef theDict) { return IsDict(theDict) ? Table(theDict).distinctCount() : 0; }

CFIndex CFDictionaryGetCountOfKey(CFDictionaryRef theDict, const void* key) {
  return IsDict(theDict) && Table(theDict).Find(key) ? 1 : 0;
}

CFIndex CFDictionaryGetCountOfValue(CFDictionaryRef theDict, const void* value) {
  if (!IsDict(theDict)) return 0;
  CFIndex n = 0;
  const HashTable& t = Table(theDict);
  t.ForEach([&](const void*, const HashTable::Entry& e) { n += t.ValuesEqual(e.value, value) ? 1 : 0; });
  return n;
}

Boolean CFDictionaryContainsKey(CFDictionaryRef theDict, const void* key) {
  return CFDictionaryGetCountOfKey(theDict, key) > 0;
}

Boolean CFDictionaryContainsValue(CFDictionaryRef theDict, const void* value) {
  return CFDictionaryGetCountOfValue(theDict, value) > 0;
}

const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key) {
  if (!IsDict(theDict)) return nullptr;
  const HashTable::Entry* e = Table(theDict).Find(key);
  return e ? e->value : nullptr;
}

Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef theDict, const void* key, const void** value) {
  if (!IsDict(theDict)) return false;
  const HashTable::Entry* e = Table(theDict).Find(key);
  if (!e) return false;
  if (value) *value = e->value;
  return true;
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef theDict, const void** keys, const void** values) {
  if (!IsDict(theDict)) return;
  CFIndex i = 0;
  Table(theDict).ForEach([&](const void* key, const HashTable::Entry& e) {
    if (keys) keys[i] = key;
    if (values) values[i] = e.value;
    ++i;
  });
}

void CFDictionaryApplyFunction(CFDictionaryRef theDict, CFDictionaryApplierFunction applier, void* context) {
  if (!IsDict(theDict) || !applier) return;
  Table(theDict).ForEach([&](const void* key, const HashTable::Entry& e) { applier(key, e.value, context); });
}

void CFDictionaryAddValue(CFMutableDictionaryRef theDict, const void* key, const void* value) {
  if (IsMutableDict(theDict)) Table(theDict).Put(key, value, HashTable::Mode::kAddIfAbsent);
}

void CFDictionarySetValue(CFMutableDictionaryRef theDict, const void* key, const void* value) {
  if (IsMutableDict(theDict)) Table(theDict).Put(key, value, HashTable::Mode::kSet);
}

void CFDictionaryReplaceValue(CFMutableDictionaryRef theDict, const void* key, const void* value) {
  if (IsMutableDict(theDict)) Table(theDict).Put(key, value, HashTable::Mode::kReplaceIfPresent);
}

void CFDictionaryRemoveValue(CFMutableDictionaryRef theDict, const void* key) {
  if (IsMutableDict(theDict)) Table(theDict).Remove(key, true);
}

void CFDictionaryRemoveAllValues(CFMutableDictionaryRef theDict) {
  if (IsMutableDict(theDict)) Table(theDict).RemoveAll();
}
