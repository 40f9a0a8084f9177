// The SecKeychainRef type: one object per keychain path in the process, with
// the open store behind it. The registry of objects does not keep them alive.
#pragma once

#include <Security/SecBase.h>

#include <functional>
#include <string>

#include "crypto.h"
#include "store.h"

namespace secimpl {

CFTypeID KeychainTypeID();
bool IsKeychain(CFTypeRef cf);
// The object for a resolved path, retained; the same object while it lives.
SecKeychainRef CopyKeychainForPath(const std::string& path);
const std::string& KeychainPath(SecKeychainRef kc);

// Runs fn on the keychain's store, opening the file when needed, under the
// keychain's lock. Fails with errSecNoSuchKeychain, errSecInvalidKeychain or
// errSecWrongSecVersion when the file cannot serve.
OSStatus WithStore(SecKeychainRef kc, const std::function<OSStatus(Store&)>& fn);
// Closes the store (before the file is deleted).
void CloseStore(SecKeychainRef kc);

// Checks a password against the file and, when right, unlocks.
OSStatus UnlockWithPassword(SecKeychainRef kc, const void* password, size_t length);
// True when the file can be read and this process holds its key.
bool KeychainIsUnlocked(SecKeychainRef kc);
// The keychain key for reading or writing secrets; asks the user when the
// keychain is locked and interaction is allowed.
// When `uuid` is given it receives the file's identity.
OSStatus ObtainKey(SecKeychainRef kc, SecretKey* key, std::string* uuid = nullptr);
void LockKeychain(SecKeychainRef kc);

// Re-seals with `key`: the form the store asks for.
ResealFn ResealWith(const SecretKey& key);
// Associated data of the wrapped keychain key.
std::string KeyBinding(const std::string& uuid);

}  // namespace secimpl

namespace secimpl {

// Makes a new keychain file (never over an existing one) and unlocks it.
OSStatus CreateKeychainFile(const std::string& path, const void* password, size_t length);
OSStatus ChangeKeychainPassword(SecKeychainRef kc, const void* oldPassword, size_t oldLength,
                                const void* newPassword, size_t newLength);

}  // namespace secimpl
