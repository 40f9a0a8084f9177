// The wrapping step every method that returns a new keychain, item or search
// object shares, and the instance-data accessors.
#include "keychain/keychain_wrap.h"

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

KeychainSettingsData *KeychainSettingsDataOf(REALobject instance) {
  return static_cast<KeychainSettingsData *>(ClassData(instance, KeychainSettingsClass));
}

void ReleaseHandle(KeychainData *data) {
  if (data->Handle != 0) CFRelease(reinterpret_cast<CFTypeRef>(data->Handle));
  data->Handle = 0;
}
