// Which keychains this process has unlocked: their keys, in guarded memory,
// and when each was last used; and which it was told to lock. Entries are
// keyed by path and bound to the file's identity, so a file replaced under
// the same path counts as locked.
#pragma once

#include <cstdint>
#include <string>

#include "crypto.h"

namespace secimpl {

// Lock interval that means "never lock by time".
constexpr uint32_t kNoLockInterval = 0x7fffffff;

// True while unlocked; locks (and wipes the key) first when the keychain has
// not been used for `lockInterval` seconds.
bool IsUnlocked(const std::string& path, const std::string& uuid, uint32_t lockInterval);
// Copies the key and counts as a use. False when locked.
bool UseKey(const std::string& path, const std::string& uuid, uint32_t lockInterval, SecretKey* out);
// Unlocks: the key is kept, and an earlier lock by call no longer holds.
void RememberKey(const std::string& path, const std::string& uuid, const SecretKey& key,
                 bool emptyPassword);
// True while unlocked by an empty password.
bool UnlockedByEmptyPassword(const std::string& path);
// Locks by call: wipes the key and remembers that this process asked for
// the keychain to be locked, until it is unlocked with a password again.
void LockKey(const std::string& path);
void LockAllKeys();
bool LockedByCall(const std::string& path);
// Forgets everything about a keychain whose file is gone.
void ForgetKey(const std::string& path);

}  // namespace secimpl
