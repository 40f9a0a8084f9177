// SecKeychainItem calls: content, modification, deletion, the item's
// keychain, and persistent references.
#include <Security/SecKeychainItem.h>

#include <cstring>

#include "content_memory.h"
#include "item_attributes.h"
#include "item_object.h"
#include "item_ops.h"
#include "keychain_object.h"
#include "persistent_ref.h"

using namespace secimpl;

namespace {

void FreeAttributeData(SecKeychainAttributeList* list, UInt32 upTo) {
  for (UInt32 i = 0; i < upTo; ++i) {
    FreeContent(list->attr[i].data);
    list->attr[i].data = nullptr;
    list->attr[i].length = 0;
  }
}

OSStatus Modify(SecKeychainItemRef itemRef, const SecKeychainAttributeList* attrList, UInt32 length,
                const void* data) {
  if (!IsItem(itemRef)) return errSecInvalidItemRef;
  bool noAttrs = !attrList || attrList->count == 0;
  if (noAttrs && !data) return errSecSuccess;  // nothing to change
  ItemRow row;
  OSStatus status = LoadItem(itemRef, false, &row);
  if (status != errSecSuccess) return status;
  bool touchedModDate = false;
  status = ApplyAttributes(attrList, &row, &touchedModDate);
  if (status != errSecSuccess) return status;
  if (!touchedModDate) row.attrs[FourCC("mdat")] = FormatDate(NowSeconds());
  return SaveItem(itemRef, &row, data, data ? length : 0, data != nullptr);
}

}  // namespace

extern "C" {

CFTypeID SecKeychainItemGetTypeID(void) { return ItemTypeID(); }

OSStatus SecKeychainItemCopyContent(SecKeychainItemRef itemRef, SecItemClass* itemClass,
                                    SecKeychainAttributeList* attrList, UInt32* length,
                                    void** outData) {
  if (!IsItem(itemRef)) return errSecInvalidItemRef;
  if (attrList && attrList->count && !attrList->attr) return errSecParam;
  bool wantData = length || outData;
  ItemRow row;
  OSStatus status = LoadItem(itemRef, wantData, &row);
  if (status != errSecSuccess) return status;
  if (itemClass) *itemClass = row.itemClass;
  UInt32 filled = 0;
  if (attrList) {
    for (; filled < attrList->count; ++filled) {
      SecKeychainAttribute& a = attrList->attr[filled];
      if (!FindAttr(row.itemClass, a.tag)) {
        FreeAttributeData(attrList, filled);
        return errSecNoSuchAttr;
      }
      auto it = row.attrs.find(a.tag);
      a.length = 0;
      a.data = nullptr;
      if (it != row.attrs.end() && !it->second.empty()) {
        a.data = AllocContent(it->second.data(), it->second.size());
        if (!a.data) {
          FreeAttributeData(attrList, filled);
          return errSecAllocate;
        }
        a.length = UInt32(it->second.size());
      }
    }
  }
  if (wantData) {
    SecureBytes secret;
    status = OpenSecret(ItemKeychain(itemRef), row, &secret);
    void* copy = nullptr;
    if (status == errSecSuccess && outData && row.hasSecret) {
      copy = AllocContent(secret.data(), secret.size());
      if (!copy) status = errSecAllocate;
    }
    if (status != errSecSuccess) {
      if (attrList) FreeAttributeData(attrList, filled);
      return status;
    }
    if (outData) *outData = copy;
    if (length) *length = UInt32(secret.size());
  }
  return errSecSuccess;
}

OSStatus SecKeychainItemFreeContent(SecKeychainAttributeList* attrList, void* data) {
  if (attrList && attrList->attr) FreeAttributeData(attrList, attrList->count);
  FreeContent(data);
  return errSecSuccess;
}

OSStatus SecKeychainItemModifyContent(SecKeychainItemRef itemRef,
                                      const SecKeychainAttributeList* attrList, UInt32 length,
                                      const void* data) {
  return Modify(itemRef, attrList, length, data);
}

OSStatus SecKeychainItemModifyAttributesAndData(SecKeychainItemRef itemRef,
                                                const SecKeychainAttributeList* attrList,
                                                UInt32 length, const void* data) {
  return Modify(itemRef, attrList, length, data);
}

OSStatus SecKeychainItemDelete(SecKeychainItemRef itemRef) {
  if (!IsItem(itemRef)) return errSecInvalidItemRef;
  return DeleteStoredItem(itemRef);
}

OSStatus SecKeychainItemCopyKeychain(SecKeychainItemRef itemRef, SecKeychainRef* keychainRef) {
  if (!keychainRef) return errSecParam;
  if (!IsItem(itemRef)) return errSecInvalidItemRef;
  *keychainRef = (SecKeychainRef)CFRetain(ItemKeychain(itemRef));
  return errSecSuccess;
}

OSStatus SecKeychainItemCreatePersistentReference(SecKeychainItemRef itemRef,
                                                  CFDataRef* persistentItemRef) {
  if (!persistentItemRef || !itemRef) return errSecParam;
  if (!IsItem(itemRef)) return errSecInvalidItemRef;
  return CreatePersistentRef(itemRef, persistentItemRef);
}

OSStatus SecKeychainItemCopyFromPersistentReference(CFDataRef persistentItemRef,
                                                    SecKeychainItemRef* itemRef) {
  if (!persistentItemRef || !itemRef || CFGetTypeID(persistentItemRef) != CFDataGetTypeID())
    return errSecParam;
  return ResolvePersistentRef(persistentItemRef, itemRef);
}

}  // extern "C"
