// KeychainSearchZNQ: the object that owns one attribute search reference.
#include "keychain/keychain_methods.h"
#include "keychain/keychain_wrap.h"
#include "frame/tables.h"

void KeychainSearchDestructor(REALobject instance) {
  ReleaseHandle(static_cast<KeychainData *>(ClassData(instance, KeychainSearchClass)));
}
