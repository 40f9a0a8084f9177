// The wrapping step shared by every method that returns a new keychain, item
// or search object, and the instance-data accessors of the four classes.
#include "frame/instance_data.h"

#include "frame/host_functions.h"
#include "frame/tables.h"

REALobject WrapReference(const char *className, CFTypeRef ref) {
  if (ref == nullptr) return nullptr;
  REALobject obj = REALnewInstance(className);
  if (obj != nullptr) {
    ArgumentData(obj)->Handle = reinterpret_cast<RBWord>(ref);
    CFRetain(ref);
  }
  CFRelease(ref);
  return obj;
}

KeychainData *KeychainDataOf(REALobject instance) {
  return static_cast<KeychainData *>(ClassData(instance, KeychainClass));
}

KeychainData *KeychainItemDataOf(REALobject instance) {
  return static_cast<KeychainData *>(ClassData(instance, KeychainItemClass));
}

KeychainData *KeychainSearchDataOf(REALobject instance) {
  return static_cast<KeychainData *>(ClassData(instance, KeychainSearchClass));
}

KeychainSettingsData *KeychainSettingsDataOf(REALobject instance) {
  return static_cast<KeychainSettingsData *>(ClassData(instance, KeychainSettingsClass));
}

void ReleaseHandle(KeychainData *data) {
  if (data->Handle != 0) CFRelease(reinterpret_cast<CFTypeRef>(data->Handle));
  data->Handle = 0;
}
