// SecKeychainSearchRef: an attribute search that walks its keychains in list
// order and reads the store in batches, so memory stays flat however many
// items match.
#include <CoreFoundation/CFRuntime.h>
#include <Security/SecKeychainSearch.h>

#include <deque>

#include "item_attributes.h"
#include "item_object.h"
#include "keychain_lists.h"
#include "keychain_object.h"

using namespace secimpl;

namespace {

constexpr int kBatch = 256;

struct Pending {
  int64_t id;
  uint32_t itemClass;
};

struct SearchImpl {
  std::vector<SecKeychainRef> keychains;  // retained
  uint32_t itemClass = 0;
  std::vector<Filter> filters;
  size_t current = 0;   // index into keychains
  int64_t after = 0;    // last id read from the current keychain
  bool exhausted = false;  // the current keychain has no more batches
  OSStatus failure = errSecSuccess;  // the last keychain that could not be read to its end
  std::deque<Pending> pending;
};

struct SearchObject {
  CFRuntimeBase base;
  SearchImpl* impl;
};

void FinalizeSearch(CFTypeRef cf) {
  auto* obj = static_cast<SearchObject*>(const_cast<void*>(cf));
  if (!obj->impl) return;
  ReleaseKeychains(&obj->impl->keychains);
  delete obj->impl;
  obj->impl = nullptr;
}

const CFRuntimeClass kSearchClass = {
    0, "SecKeychainSearch", nullptr, nullptr, FinalizeSearch, nullptr, nullptr, nullptr, nullptr,
};

CFTypeID SearchTypeID() {
  static const CFTypeID id = _CFRuntimeRegisterClass(&kSearchClass);
  return id;
}

// Refills `pending` from the next keychain that still has matches. A
// keychain that fails is left for the next one, and its failure is kept for
// the end of the walk.
void Refill(SearchImpl* s) {
  while (s->pending.empty() && s->current < s->keychains.size()) {
    if (s->exhausted) {
      ++s->current;
      s->after = 0;
      s->exhausted = false;
      continue;
    }
    FoundRows batch;
    OSStatus status = WithStore(s->keychains[s->current], [&](Store& store) -> OSStatus {
      return store.Find(s->itemClass, s->filters, s->after, kBatch, false, &batch);
    });
    for (const ItemRow& r : batch.rows) s->pending.push_back({r.id, r.itemClass});
    s->after = batch.lastId;
    if (status != errSecSuccess) {
      if (status != errSecNoSuchKeychain) s->failure = status;  // a missing file holds nothing
      s->exhausted = true;
    } else if (batch.scanned < kBatch) {
      s->exhausted = true;
    }
  }
}

}  // namespace

extern "C" {

CFTypeID SecKeychainSearchGetTypeID(void) { return SearchTypeID(); }

OSStatus SecKeychainSearchCreateFromAttributes(CFTypeRef keychainOrArray, SecItemClass itemClass,
                                               const SecKeychainAttributeList* attrList,
                                               SecKeychainSearchRef* searchRef) {
  if (!searchRef) return errSecParam;
  std::vector<Filter> filters;
  OSStatus status = FiltersFromAttributes(itemClass, attrList, &filters);
  if (status == errSecNoSuchAttr && !IsPasswordClass(itemClass) && itemClass != kClassAnyRecord)
    status = errSecSuccess;  // a class this store does not hold simply matches nothing
  if (status != errSecSuccess) return status;
  std::vector<SecKeychainRef> keychains;
  status = ResolveKeychains(keychainOrArray, &keychains);
  if (status != errSecSuccess) return status;
  auto* obj = (SearchObject*)_CFRuntimeCreateInstance(
      kCFAllocatorDefault, SearchTypeID(), sizeof(SearchObject) - sizeof(CFRuntimeBase), nullptr);
  if (!obj) {
    ReleaseKeychains(&keychains);
    return errSecAllocate;
  }
  obj->impl = new SearchImpl;
  obj->impl->keychains.swap(keychains);
  obj->impl->itemClass = itemClass;
  obj->impl->filters.swap(filters);
  if (!IsPasswordClass(itemClass) && itemClass != kClassAnyRecord)
    obj->impl->current = obj->impl->keychains.size();
  *searchRef = reinterpret_cast<SecKeychainSearchRef>(obj);
  return errSecSuccess;
}

OSStatus SecKeychainSearchCopyNext(SecKeychainSearchRef searchRef, SecKeychainItemRef* itemRef) {
  if (!itemRef) return errSecParam;
  if (!searchRef || CFGetTypeID(searchRef) != SearchTypeID()) return errSecInvalidSearchRef;
  SearchImpl* s = reinterpret_cast<SearchObject*>(searchRef)->impl;
  Refill(s);
  // The end of a walk that met damage is that damage, every time it is asked.
  if (s->pending.empty()) return s->failure != errSecSuccess ? s->failure : errSecItemNotFound;
  Pending next = s->pending.front();
  s->pending.pop_front();
  *itemRef = CreateItemRef(s->keychains[s->current], next.id, next.itemClass);
  return *itemRef ? errSecSuccess : errSecAllocate;
}

}  // extern "C"
