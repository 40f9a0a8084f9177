// Searches by attribute and whole listings. A search object owns one
// framework search; "AllItems" runs a search to its end and hands back every
// item at once.
#include "search/keychain_search.h"

#include <Security/Security.h>

#include "convert/keychain_list.h"
#include "convert/ostype.h"
#include "frame/host_arrays.h"
#include "frame/host_functions.h"
#include "frame/instance_data.h"
#include "frame/plugin_state.h"
#include "search/attribute_list.h"

namespace {

constexpr const char *kItemClassName = "KeychainItemZNQ";

REALobject CreateSearch(CFTypeRef keychainOrArray, REALstring itemClass, REALarray attributeKeys,
                        REALarray attributeValues) {
  const SecItemClass classCode = REALstringToOSType(itemClass);
  SecKeychainAttributeList *list = BuildList(attributeKeys, attributeValues);
  SecKeychainSearchRef search = nullptr;
  Lasterror = SecKeychainSearchCreateFromAttributes(keychainOrArray, classCode, list, &search);
  REALobject result = WrapReference("KeychainSearchZNQ", search);
  FreeAttributeList(list);
  return result;
}

}  // namespace

REALobject rbSecKeychainSearchCreateFromAttributes(REALobject keychain, REALstring itemClass,
                                                   REALarray attributeKeys, REALarray attributeValues) {
  Lasterror = -1;
  return CreateSearch(ArgumentHandle(keychain), itemClass, attributeKeys, attributeValues);
}

// An empty host array is an empty framework array, not the default list.
REALobject rbSecKeychainSearchCreateFromAttributes2(REALarray keychains, REALstring itemClass,
                                                    REALarray attributeKeys, REALarray attributeValues) {
  Lasterror = -1;
  CFMutableArrayRef list = CopyKeychainList(keychains);
  REALobject result = CreateSearch(list, itemClass, attributeKeys, attributeValues);
  if (list != nullptr) CFRelease(list);
  return result;
}

REALobject rbSecKeychainSearchCopyNext(REALobject instance) {
  KeychainData *data = KeychainSearchDataOf(instance);
  data->Lasterror = -1;
  if (data->Handle == 0) return nullptr;
  SecKeychainItemRef item = nullptr;
  data->Lasterror = SecKeychainSearchCopyNext(reinterpret_cast<SecKeychainSearchRef>(data->Handle), &item);
  return WrapReference(kItemClassName, item);
}

void KeychainSearchDestructor(REALobject instance) { ReleaseHandle(KeychainSearchDataOf(instance)); }

// The listing ends at the framework's not-found status. Any other failure
// ends it too, with the items found so far, and that status stays in
// LastError: a keychain that cannot be read to its end says so instead of
// passing for a shorter one.
REALarray AllItems(REALobject keychain, REALstring itemClass) {
  Lasterror = -1;
  REALarray result = REALCreateArray(kREALArrayObject, -1);
  const SecItemClass classCode = REALstringToOSType(itemClass);
  SecKeychainSearchRef search = nullptr;
  Lasterror = SecKeychainSearchCreateFromAttributes(ArgumentHandle(keychain), classCode, nullptr, &search);
  if (Lasterror != 0) {
    if (search != nullptr) CFRelease(search);
    return result;
  }
  for (;;) {
    SecKeychainItemRef item = nullptr;
    const OSStatus status = SecKeychainSearchCopyNext(search, &item);
    if (status == errSecItemNotFound) break;
    if (status != 0) {
      if (item != nullptr) CFRelease(item);
      Lasterror = status;
      break;
    }
    REALobject entry = WrapReference(kItemClassName, item);
    if (result != nullptr) REALInsertArrayValueObject(result, REALGetArrayUBound(result) + 1, entry);
    REALUnlockObject(entry);
  }
  CFRelease(search);
  return result;
}
