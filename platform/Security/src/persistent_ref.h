// Persistent item references: self-describing blobs naming the keychain file,
// its identity, and the item's class and identity, valid across processes.
#pragma once

#include <Security/SecBase.h>

namespace secimpl {

OSStatus CreatePersistentRef(SecKeychainItemRef item, CFDataRef* out);
// errSecItemNotFound for a malformed blob, another file, or a deleted item.
OSStatus ResolvePersistentRef(CFDataRef data, SecKeychainItemRef* out);

}  // namespace secimpl
