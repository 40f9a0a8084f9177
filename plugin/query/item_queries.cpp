// The eight item operations. Every key an operation adds or removes is added
// to or removed from its converted copy of the query; the caller's host
// dictionary is never touched. The item query functions are weak imports:
// each operation tests its own before converting anything.
#include "query/item_queries.h"

#include <Security/Security.h>

#include <initializer_list>

#include "convert/cf_to_variant.h"
#include "convert/dictionary_methods.h"
#include "convert/memory_block.h"
#include "convert/variant_to_cf.h"
#include "frame/exceptions.h"
#include "frame/host_arrays.h"
#include "frame/host_functions.h"
#include "frame/instance_data.h"
#include "frame/plugin_state.h"

namespace {

void RaiseNil(const char *message) { RaiseException("NilObjectException", message, 0); }

// A by-reference result slot is emptied before anything else, so it is nil
// on every path that does not fill it.
template <typename Slot>
void ClearSlot(Slot *slot) {
  if (slot == nullptr || *slot == nullptr) return;
  REALUnlockObject(*slot);
  *slot = nullptr;
}

// The shaped operations force one return key (a caller's own value for it
// stays) and drop the other three.
void ReturnOnly(CFMutableDictionaryRef query, CFStringRef wanted) {
  CFDictionaryAddValue(query, wanted, kCFBooleanTrue);
  for (CFStringRef key : {kSecReturnData, kSecReturnAttributes, kSecReturnRef, kSecReturnPersistentRef})
    if (key != wanted) CFDictionaryRemoveValue(query, key);
}

bool IsArrayWithElements(CFTypeRef value) {
  return value != nullptr && CFGetTypeID(value) == CFArrayGetTypeID() &&
         CFArrayGetCount(static_cast<CFArrayRef>(value)) > 0;
}

// Keychain, item and search references come back as this plug-in's own
// objects; everything else as the general conversion makes it.
REALobject GetCFTypeAsVariantSpecial(CFTypeRef value) {
  const CFTypeID type = CFGetTypeID(value);
  const char *className = nullptr;
  if (type == SecKeychainGetTypeID())
    className = "KeychainZNQ";
  else if (type == SecKeychainItemGetTypeID())
    className = "KeychainItemZNQ";
  else if (type == SecKeychainSearchGetTypeID())
    className = "KeychainSearchZNQ";
  else
    return GetCFTypeAsVariant(value);
  // The caller keeps its own reference; the object takes one more.
  CFRetain(value);
  return WrapReference(className, value);
}

// The converted query, or null after raising the exception for it.
CFMutableDictionaryRef ConvertQuery(REALobject query) {
  CFMutableDictionaryRef converted = NewCFDictionary(query);
  if (converted == nullptr) RaiseNil("query is nil");
  return converted;
}

}  // namespace

RBBoolean DeleteItem(REALobject query) {
  Lasterror = -1;
  if (query == nullptr) {
    RaiseNil("query is nil");
    return false;
  }
  if (&SecItemDelete == nullptr) return false;
  CFMutableDictionaryRef q = ConvertQuery(query);
  if (q == nullptr) return false;
  Lasterror = SecItemDelete(q);
  CFRelease(q);
  return Lasterror == 0;
}

RBBoolean UpdateItem(REALobject query, REALobject attributesToUpdate) {
  Lasterror = -1;
  if (query == nullptr) {
    RaiseNil("query is nil");
    return false;
  }
  if (attributesToUpdate == nullptr) {
    RaiseNil("attributesToUpdate is nil");
    return false;
  }
  if (&SecItemUpdate == nullptr) return false;
  CFMutableDictionaryRef q = ConvertQuery(query);
  if (q == nullptr) return false;
  CFMutableDictionaryRef a = NewCFDictionary(attributesToUpdate);
  if (a == nullptr) {
    CFRelease(q);
    return false;
  }
  Lasterror = SecItemUpdate(q, a);
  CFRelease(a);
  CFRelease(q);
  return Lasterror == 0;
}

RBBoolean CopyMatching(REALobject query, REALobject *result) {
  Lasterror = -1;
  ClearSlot(result);
  if (query == nullptr) {
    RaiseNil("query is nil");
    return false;
  }
  if (&SecItemCopyMatching == nullptr) return false;
  CFMutableDictionaryRef q = ConvertQuery(query);
  if (q == nullptr) return false;
  CFTypeRef found = nullptr;
  Lasterror = SecItemCopyMatching(q, &found);
  if (found != nullptr) {
    REALobject converted = GetCFTypeAsVariantSpecial(found);
    if (result != nullptr)
      *result = converted;
    else
      REALUnlockObject(converted);
    CFRelease(found);
  }
  CFRelease(q);
  return Lasterror == 0;
}

namespace {

// A host object for one element of the framework's array; false to skip the
// element without leaving a gap (nil in *out keeps a place for it).
using ElementMaker = bool (*)(CFTypeRef element, REALobject *out);

// The two operations that answer with an array: the query is shaped for one
// return key, and each element of the framework's array becomes one host
// object. Anything else the framework returns (one object, when the query
// limits the match to one item) adds nothing.
// The return key is passed by its address: on a system without the item
// queries it does not exist, and it is read only after the query function
// has been found.
REALarray ArrayQuery(REALobject query, const CFStringRef *returnKey, ElementMaker make) {
  if (query == nullptr) {
    RaiseNil("query is nil");
    return nullptr;
  }
  REALarray result = REALCreateArray(kREALArrayObject, -1);
  Lasterror = -1;
  if (&SecItemCopyMatching == nullptr) return result;
  CFMutableDictionaryRef q = NewCFDictionary(query);
  if (q == nullptr) return result;
  ReturnOnly(q, *returnKey);
  CFTypeRef found = nullptr;
  Lasterror = SecItemCopyMatching(q, &found);
  if (IsArrayWithElements(found)) {
    CFArrayRef elements = static_cast<CFArrayRef>(found);
    RBInteger position = 0;
    for (CFIndex i = 0; i < CFArrayGetCount(elements); ++i) {
      CFTypeRef element = CFArrayGetValueAtIndex(elements, i);
      REALobject obj = nullptr;
      if (element == nullptr || !make(element, &obj)) continue;
      REALInsertArrayValueObject(result, position++, obj);
      REALUnlockObject(obj);  // the array holds its own reference
    }
  }
  if (found != nullptr) CFRelease(found);
  CFRelease(q);
  return result;
}

// A query for attributes only gets dictionaries; anything else is skipped
// like a missing element.
bool AttributesDictionary(CFTypeRef element, REALobject *out) {
  if (CFGetTypeID(element) != CFDictionaryGetTypeID()) return false;
  *out = REALnewInstance("Dictionary");
  if (*out != nullptr) {
    CFDictionaryApplyFunction(static_cast<CFDictionaryRef>(element), MyCFDictionaryApplierFunction, *out);
    ForgetDictionaryMethods();
  }
  return true;
}

// Certificates, keys and identities are no items of this class.
bool ItemObject(CFTypeRef element, REALobject *out) {
  if (CFGetTypeID(element) != SecKeychainItemGetTypeID()) return false;
  CFRetain(element);  // the framework's array keeps its own
  *out = WrapReference("KeychainItemZNQ", element);
  return true;
}

}  // namespace

REALarray CopyMatchingDics(REALobject query) {
  return ArrayQuery(query, &kSecReturnAttributes, AttributesDictionary);
}

REALarray CopyMatchingItems(REALobject query) { return ArrayQuery(query, &kSecReturnRef, ItemObject); }

// Only one secret makes a memory block; several (an array, for a query of
// every match) leave the result nil with the framework's status.
RBBoolean rbGetPassword(REALobject query, REALmemoryBlock *result) {
  Lasterror = -1;
  ClearSlot(result);
  if (query == nullptr) {
    RaiseNil("query is nil");
    return false;
  }
  if (&SecItemCopyMatching == nullptr) return false;
  CFMutableDictionaryRef q = ConvertQuery(query);
  if (q == nullptr) return false;
  ReturnOnly(q, kSecReturnData);
  CFTypeRef found = nullptr;
  Lasterror = SecItemCopyMatching(q, &found);
  if (found != nullptr && CFGetTypeID(found) == CFDataGetTypeID()) {
    CFDataRef data = static_cast<CFDataRef>(found);
    REALmemoryBlock block = REALBuildMemoryblock(CFDataGetBytePtr(data), static_cast<int32_t>(CFDataGetLength(data)));
    if (result != nullptr)
      *result = block;
    else
      REALUnlockObject(block);
  }
  if (found != nullptr) CFRelease(found);
  CFRelease(q);
  return Lasterror == 0;
}

namespace {

// Both AddItem forms; result is null for the form without one.
RBBoolean AddItem(REALobject keychain, REALobject attributesDictionary, REALobject *result, bool wantsResult) {
  Lasterror = -1;
  ClearSlot(result);
  if (attributesDictionary == nullptr) {
    RaiseNil("attributesDictionary is nil");
    return false;
  }
  if (&SecItemAdd == nullptr) return false;
  const void *keychainRef = ArgumentHandle(keychain);
  CFMutableDictionaryRef attributes = NewCFDictionary(attributesDictionary);
  if (attributes == nullptr) {
    RaiseNil("attributesDictionary is nil");
    return false;
  }
  // The dictionary's own keychain, if it names one, wins.
  if (keychainRef != nullptr) CFDictionaryAddValue(attributes, kSecUseKeychain, keychainRef);
  CFTypeRef added = nullptr;
  Lasterror = SecItemAdd(attributes, wantsResult ? &added : nullptr);
  if (added != nullptr) {
    REALobject converted = GetCFTypeAsVariantSpecial(added);
    if (result != nullptr)
      *result = converted;
    else
      REALUnlockObject(converted);
    CFRelease(added);
  }
  CFRelease(attributes);
  return Lasterror == 0;
}

}  // namespace

RBBoolean AddItemK(REALobject keychain, REALobject attributesDictionary) {
  return AddItem(keychain, attributesDictionary, nullptr, false);
}

RBBoolean AddItemK2(REALobject keychain, REALobject attributesDictionary, REALobject *result) {
  return AddItem(keychain, attributesDictionary, result, true);
}
