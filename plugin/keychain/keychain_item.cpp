// KeychainItemZNQ: the item's secret and attributes, its class, keychain and
// persistent reference, deletion, its destructor; and the module method that
// turns a persistent reference back into an item.
#include "keychain/keychain_item.h"

#include <Security/Security.h>

#include "convert/memory_block.h"
#include "convert/ostype.h"
#include "convert/rb_text.h"
#include "frame/exceptions.h"
#include "frame/host_functions.h"
#include "frame/instance_data.h"
#include "frame/plugin_state.h"

namespace {

constexpr const char *kItemClassName = "KeychainItemZNQ";

constexpr SecKeychainAttrType kLabelTag = kSecLabelItemAttr;
constexpr SecKeychainAttrType kDescriptionTag = kSecDescriptionItemAttr;
constexpr SecKeychainAttrType kAccountTag = kSecAccountItemAttr;
constexpr SecKeychainAttrType kCommentTag = kSecCommentItemAttr;
constexpr SecKeychainAttrType kServiceTag = kSecServiceItemAttr;

SecKeychainItemRef ItemOf(const KeychainData *data) {
  return reinterpret_cast<SecKeychainItemRef>(data->Handle);
}

// Every method starts here: the object's status becomes -1, and the call
// goes on only when the object holds an item.
KeychainData *BeginCall(REALobject instance) {
  KeychainData *data = KeychainItemDataOf(instance);
  data->Lasterror = -1;
  return data->Handle != 0 ? data : nullptr;
}

// Reads one attribute into attribute; true when the framework filled it, in
// which case the caller frees it with SecKeychainItemFreeContent.
bool CopyAttribute(KeychainData *data, SecKeychainAttrType tag, SecKeychainAttribute *attribute,
                   SecKeychainAttributeList *list) {
  *attribute = SecKeychainAttribute{tag, 0, nullptr};
  *list = SecKeychainAttributeList{1, attribute};
  data->Lasterror = SecKeychainItemCopyContent(ItemOf(data), nullptr, list, nullptr, nullptr);
  return data->Lasterror == 0;
}

REALstring AttributeAsText(REALobject instance, SecKeychainAttrType tag) {
  KeychainData *data = BeginCall(instance);
  if (data == nullptr) return nullptr;
  SecKeychainAttribute attribute;
  SecKeychainAttributeList list;
  if (!CopyAttribute(data, tag, &attribute, &list)) return nullptr;
  REALstring result = nullptr;
  if (attribute.data != nullptr && attribute.length != 0) {
    result = originalREALBuildString(attribute.data, static_cast<RBInteger>(attribute.length));
    if (result != nullptr) REALSetStringEncoding(result, kREALEncodingUTF8);
  }
  SecKeychainItemFreeContent(&list, nullptr);
  return result;
}

// The five named properties write through the attributes-and-data call.
void setAttributeValue(REALobject instance, SecKeychainAttrType tag, REALstring value) {
  KeychainData *data = BeginCall(instance);
  if (data == nullptr) return;
  rbText text(value);
  SecKeychainAttribute attribute = {tag, static_cast<UInt32>(text.UTF8Length()),
                                    const_cast<char *>(text.UTF8Text())};
  SecKeychainAttributeList list = {1, &attribute};
  data->Lasterror = SecKeychainItemModifyAttributesAndData(ItemOf(data), &list, 0, nullptr);
}

}  // namespace

REALstring getLabel(REALobject instance) { return AttributeAsText(instance, kLabelTag); }
REALstring getDescription(REALobject instance) { return AttributeAsText(instance, kDescriptionTag); }
REALstring getAccount(REALobject instance) { return AttributeAsText(instance, kAccountTag); }
REALstring getComment(REALobject instance) { return AttributeAsText(instance, kCommentTag); }
REALstring getService(REALobject instance) { return AttributeAsText(instance, kServiceTag); }

void setLabel(REALobject instance, REALstring value) { setAttributeValue(instance, kLabelTag, value); }
void setDescription(REALobject instance, REALstring value) {
  setAttributeValue(instance, kDescriptionTag, value);
}
void setAccount(REALobject instance, REALstring value) { setAttributeValue(instance, kAccountTag, value); }
void setComment(REALobject instance, REALstring value) { setAttributeValue(instance, kCommentTag, value); }
void setService(REALobject instance, REALstring value) { setAttributeValue(instance, kServiceTag, value); }

REALstring CopyAttributeText(REALobject instance, REALstring attributeName) {
  return AttributeAsText(instance, REALstringToOSType(attributeName));
}

// Attributes named by code are written through the content call.
void SetAttributeText(REALobject instance, REALstring attributeName, REALstring value) {
  KeychainData *data = BeginCall(instance);
  if (data == nullptr) return;
  rbText text(value);
  SecKeychainAttribute attribute = {REALstringToOSType(attributeName),
                                    static_cast<UInt32>(text.UTF8Length()),
                                    const_cast<char *>(text.UTF8Text())};
  SecKeychainAttributeList list = {1, &attribute};
  data->Lasterror = SecKeychainItemModifyContent(ItemOf(data), &list, 0, nullptr);
}

REALmemoryBlock CopyAttributeData(REALobject instance, REALstring attributeName) {
  KeychainData *data = BeginCall(instance);
  if (data == nullptr) return nullptr;
  SecKeychainAttribute attribute;
  SecKeychainAttributeList list;
  if (!CopyAttribute(data, REALstringToOSType(attributeName), &attribute, &list)) return nullptr;
  REALmemoryBlock block = REALBuildMemoryblock(attribute.data, static_cast<int32_t>(attribute.length));
  SecKeychainItemFreeContent(&list, nullptr);
  return block;
}

void SetAttributeData(REALobject instance, REALstring attributeName, REALmemoryBlock value) {
  KeychainData *data = BeginCall(instance);
  if (data == nullptr) return;
  BlockBytes bytes(value);
  SecKeychainAttribute attribute = {REALstringToOSType(attributeName),
                                    static_cast<UInt32>(bytes.count()),
                                    const_cast<void *>(bytes.bytes())};
  SecKeychainAttributeList list = {1, &attribute};
  data->Lasterror = SecKeychainItemModifyContent(ItemOf(data), &list, 0, nullptr);
}

REALmemoryBlock CopyPassword(REALobject instance) {
  KeychainData *data = BeginCall(instance);
  if (data == nullptr) return nullptr;
  UInt32 length = 0;
  void *secret = nullptr;
  data->Lasterror = SecKeychainItemCopyContent(ItemOf(data), nullptr, nullptr, &length, &secret);
  if (data->Lasterror != 0) return nullptr;
  REALmemoryBlock block = REALBuildMemoryblock(secret, static_cast<int32_t>(length));
  // The framework wipes the secret when it frees its buffer.
  SecKeychainItemFreeContent(nullptr, secret);
  return block;
}

void SetPassword(REALobject instance, REALmemoryBlock value) {
  KeychainData *data = BeginCall(instance);
  if (data == nullptr) return;
  BlockBytes bytes(value);
  data->Lasterror = SecKeychainItemModifyContent(ItemOf(data), nullptr,
                                                 static_cast<UInt32>(bytes.count()), bytes.bytes());
}

// The class code as its four characters, first character first; a failed
// read still gives a string, of four zero bytes.
REALstring getItemClass(REALobject instance) {
  KeychainData *data = BeginCall(instance);
  if (data == nullptr) return nullptr;
  SecItemClass itemClass = 0;
  data->Lasterror = SecKeychainItemCopyContent(ItemOf(data), &itemClass, nullptr, nullptr, nullptr);
  const UInt32 code = static_cast<UInt32>(itemClass);
  const unsigned char bytes[4] = {static_cast<unsigned char>(code >> 24),
                                  static_cast<unsigned char>(code >> 16),
                                  static_cast<unsigned char>(code >> 8),
                                  static_cast<unsigned char>(code)};
  bool ascii = true;
  for (unsigned char b : bytes) ascii = ascii && b < 0x80;
  REALstring result = originalREALBuildString(bytes, 4);
  if (result != nullptr) REALSetStringEncoding(result, ascii ? kREALEncodingASCII : kREALEncodingMacRoman);
  return result;
}

REALobject rbSecKeychainItemCopyKeychain(REALobject instance) {
  KeychainData *data = BeginCall(instance);
  if (data == nullptr) return nullptr;
  SecKeychainRef keychain = nullptr;
  data->Lasterror = SecKeychainItemCopyKeychain(ItemOf(data), &keychain);
  return WrapReference("KeychainZNQ", keychain);
}

REALmemoryBlock rbSecKeychainItemCreatePersistentReference(REALobject instance) {
  KeychainData *data = BeginCall(instance);
  if (data == nullptr) return nullptr;
  CFDataRef reference = nullptr;
  data->Lasterror = SecKeychainItemCreatePersistentReference(ItemOf(data), &reference);
  if (reference == nullptr) return nullptr;
  REALmemoryBlock block = REALBuildMemoryblock(CFDataGetBytePtr(reference),
                                               static_cast<int32_t>(CFDataGetLength(reference)));
  CFRelease(reference);
  return block;
}

// Deleting the item leaves Handle as it is; later calls report what the
// framework says about the deleted item.
void rbSecKeychainItemDelete(REALobject instance) {
  if (KeychainData *data = BeginCall(instance)) data->Lasterror = SecKeychainItemDelete(ItemOf(data));
}

void KeychainItemDestructor(REALobject instance) { ReleaseHandle(KeychainItemDataOf(instance)); }

REALobject rbSecKeychainItemCopyFromPersistentReference(REALmemoryBlock data) {
  Lasterror = -1;
  if (data == nullptr) {
    RaiseException("NilObjectException", "data is nil", 0);
    return nullptr;
  }
  CFDataRef reference = RBMemory2CFData(data);
  if (reference == nullptr) return nullptr;
  SecKeychainItemRef item = nullptr;
  Lasterror = SecKeychainItemCopyFromPersistentReference(reference, &item);
  REALobject result = WrapReference(kItemClassName, item);
  CFRelease(reference);
  return result;
}
