// The user's login keychain: login.keychain-db in the user domain's folder,
// made with an empty password when the user domain first needs a default.
// As macOS's login keychain is open for the whole session, ours is open for
// its user while its password is empty: a process unlocks it on first use
// without asking, and again after a lock by time, so it never stays locked
// for being idle. A lock by call still holds within its process; once a
// password is set, the usual rules apply.
#pragma once

#include <Security/SecBase.h>

#include <string>

namespace secimpl {

std::string LoginKeychainPath();
// Unlocks the login keychain with the empty password unless this process
// locked it by call or already knows the password is not empty. True when
// it unlocked it.
bool OpenLoginKeychainQuietly(SecKeychainRef kc);

}  // namespace secimpl
