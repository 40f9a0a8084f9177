// The SecKeychainItemRef type: a keychain (retained) and an item identity in
// it. The object stays valid while it lives; the item itself may vanish.
#pragma once

#include <Security/SecBase.h>

#include <cstdint>

namespace secimpl {

CFTypeID ItemTypeID();
bool IsItem(CFTypeRef cf);
SecKeychainItemRef CreateItemRef(SecKeychainRef kc, int64_t id, uint32_t itemClass);
SecKeychainRef ItemKeychain(SecKeychainItemRef item);
int64_t ItemId(SecKeychainItemRef item);
uint32_t ItemClassOf(SecKeychainItemRef item);

}  // namespace secimpl
