// Unlocking and locking keychains, and handing out their keys.
#include <Security/SecBase.h>

#include <cstring>

#include "ask_password.h"
#include "keychain_object.h"
#include "login_keychain.h"
#include "session.h"
#include "unlock_state.h"

namespace secimpl {

namespace {

// Unwraps the keychain key with a password; errSecAuthFailed when wrong.
OSStatus Unwrap(const KeychainHeader& h, const void* password, size_t length, SecretKey* key) {
  SecretKey derived;
  if (!derived.ok() || !key->ok()) return errSecAllocate;
  if (!DeriveKey(password, length, h.kdf, &derived)) return errSecAllocate;
  SecureBytes plain;
  if (!Unseal(derived, h.wrappedKey, KeyBinding(h.uuid), &plain) || plain.size() != kKeyBytes)
    return errSecAuthFailed;
  memcpy(key->data(), plain.data(), kKeyBytes);
  return errSecSuccess;
}

}  // namespace

OSStatus UnlockWithPassword(SecKeychainRef kc, const void* password, size_t length) {
  return WithStore(kc, [&](Store& store) -> OSStatus {
    // Another process may have changed the password since we opened the file.
    OSStatus status = store.ReadHeader();
    if (status != errSecSuccess) return status;
    SecretKey key;
    status = Unwrap(store.header(), password, length, &key);
    if (status != errSecSuccess) return status;
    RememberKey(KeychainPath(kc), store.header().uuid, key, length == 0);
    // A file of the first format moves to the current binding now, the first
    // time its key is at hand. When that cannot be done (a read-only file,
    // damage) the file stays as it was and is read under its own binding.
    store.UpgradeBinding(ResealWith(key));
    return errSecSuccess;
  });
}

bool KeychainIsUnlocked(SecKeychainRef kc) {
  bool unlocked = false;
  WithStore(kc, [&](Store& store) -> OSStatus {
    unlocked = IsUnlocked(KeychainPath(kc), store.header().uuid, store.header().lockInterval);
    return errSecSuccess;
  });
  return unlocked || OpenLoginKeychainQuietly(kc);
}

OSStatus ObtainKey(SecKeychainRef kc, SecretKey* key, std::string* uuid) {
  bool have = false;
  OSStatus status = WithStore(kc, [&](Store& store) -> OSStatus {
    have = UseKey(KeychainPath(kc), store.header().uuid, store.header().lockInterval, key);
    if (uuid) *uuid = store.header().uuid;
    return errSecSuccess;
  });
  if (status != errSecSuccess) return status;
  if (have) return errSecSuccess;
  if (!OpenLoginKeychainQuietly(kc)) {
    // Locked: refused interaction reads as a failed authentication, as on macOS.
    if (!UserInteractionAllowed()) return errSecAuthFailed;
    SecureBytes password;
    status = AskPassword("Password for keychain " + KeychainPath(kc), &password);
    if (status != errSecSuccess) return status;
    status = UnlockWithPassword(kc, password.data(), password.size());
    if (status != errSecSuccess) return status;
  }
  status = WithStore(kc, [&](Store& store) -> OSStatus {
    have = UseKey(KeychainPath(kc), store.header().uuid, store.header().lockInterval, key);
    if (uuid) *uuid = store.header().uuid;
    return errSecSuccess;
  });
  if (status != errSecSuccess) return status;
  return have ? errSecSuccess : errSecAuthFailed;
}

void LockKeychain(SecKeychainRef kc) { LockKey(KeychainPath(kc)); }

}  // namespace secimpl

namespace secimpl {

OSStatus CreateKeychainFile(const std::string& path, const void* password, size_t length) {
  SecretKey key, derived;
  if (!key.ok() || !derived.ok() || !InitCrypto()) return errSecAllocate;
  KeychainHeader h;
  h.uuid.resize(16);
  RandomBytes(&h.uuid[0], h.uuid.size());
  h.kdf = NewKdfParams();
  GenerateKey(&key);
  if (!DeriveKey(password, length, h.kdf, &derived)) return errSecAllocate;
  h.wrappedKey = Seal(derived, key.data(), kKeyBytes, KeyBinding(h.uuid));
  // The login keychain, like macOS's, does not lock by itself.
  bool login = path == LoginKeychainPath();
  h.lockInterval = login ? kNoLockInterval : 300;
  h.lockOnSleep = !login;
  OSStatus status = Store::Create(path, h);
  if (status == errSecSuccess) RememberKey(path, h.uuid, key, length == 0);  // a new keychain starts unlocked
  return status;
}

OSStatus ChangeKeychainPassword(SecKeychainRef kc, const void* oldPassword, size_t oldLength,
                                const void* newPassword, size_t newLength) {
  return WithStore(kc, [&](Store& store) -> OSStatus {
    OSStatus status = store.ReadHeader();
    if (status != errSecSuccess) return status;
    SecretKey key, derived;
    status = Unwrap(store.header(), oldPassword, oldLength, &key);
    if (status != errSecSuccess) return status;
    // Only the wrapping changes; item secrets stay sealed under the same key.
    KdfParams kdf = NewKdfParams();
    if (!DeriveKey(newPassword, newLength, kdf, &derived)) return errSecAllocate;
    status = store.WriteKey(kdf, Seal(derived, key.data(), kKeyBytes, KeyBinding(store.header().uuid)));
    if (status == errSecSuccess) RememberKey(KeychainPath(kc), store.header().uuid, key, newLength == 0);
    return status;
  });
}

}  // namespace secimpl
