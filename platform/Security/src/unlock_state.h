// Which keychains this process has unlocked: their keys, in guarded memory,
// and when each was last used. Entries are keyed by path and bound to the
// file's identity, so a file replaced under the same path counts as locked.
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
void RememberKey(const std::string& path, const std::string& uuid, const SecretKey& key);
void ForgetKey(const std::string& path);
void ForgetAllKeys();

}  // namespace secimpl
