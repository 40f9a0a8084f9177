// SecKeychainItemRef objects. Two references to the same stored item are
// equal, whichever call produced them.
#include "item_object.h"

#include <CoreFoundation/CFRuntime.h>

#include "keychain_object.h"

namespace secimpl {

namespace {

struct ItemObject {
  CFRuntimeBase base;
  SecKeychainRef keychain;
  int64_t id;
  uint32_t itemClass;
};

void FinalizeItem(CFTypeRef cf) {
  auto* obj = static_cast<ItemObject*>(const_cast<void*>(cf));
  if (obj->keychain) CFRelease(obj->keychain);
  obj->keychain = nullptr;
}

Boolean EqualItems(CFTypeRef a, CFTypeRef b) {
  auto* x = static_cast<const ItemObject*>(a);
  auto* y = static_cast<const ItemObject*>(b);
  return x->keychain == y->keychain && x->id == y->id;
}

CFHashCode HashItem(CFTypeRef cf) {
  auto* x = static_cast<const ItemObject*>(cf);
  return CFHashCode(x->id) ^ (CFHashCode(reinterpret_cast<uintptr_t>(x->keychain)) >> 4);
}

CFStringRef DescribeItem(CFTypeRef cf) {
  auto* x = static_cast<const ItemObject*>(cf);
  return CFStringCreateWithFormat(kCFAllocatorDefault, nullptr, CFSTR("<SecKeychainItem %p [%lld]>"),
                                  cf, static_cast<long long>(x->id));
}

const CFRuntimeClass kItemClass = {
    0, "SecKeychainItem", nullptr, nullptr, FinalizeItem, EqualItems, HashItem, nullptr, DescribeItem,
};

const ItemObject* Obj(SecKeychainItemRef item) { return reinterpret_cast<const ItemObject*>(item); }

}  // namespace

CFTypeID ItemTypeID() {
  static const CFTypeID id = _CFRuntimeRegisterClass(&kItemClass);
  return id;
}

bool IsItem(CFTypeRef cf) { return cf && CFGetTypeID(cf) == ItemTypeID(); }

SecKeychainItemRef CreateItemRef(SecKeychainRef kc, int64_t id, uint32_t itemClass) {
  auto* obj = (ItemObject*)_CFRuntimeCreateInstance(kCFAllocatorDefault, ItemTypeID(),
                                                    sizeof(ItemObject) - sizeof(CFRuntimeBase), nullptr);
  if (!obj) return nullptr;
  obj->keychain = (SecKeychainRef)CFRetain(kc);
  obj->id = id;
  obj->itemClass = itemClass;
  return reinterpret_cast<SecKeychainItemRef>(obj);
}

SecKeychainRef ItemKeychain(SecKeychainItemRef item) { return Obj(item)->keychain; }
int64_t ItemId(SecKeychainItemRef item) { return Obj(item)->id; }
uint32_t ItemClassOf(SecKeychainItemRef item) { return Obj(item)->itemClass; }

}  // namespace secimpl
