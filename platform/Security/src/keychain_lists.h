// Default keychains and search lists of the preference domains, as paths and
// as keychain objects.
#pragma once

#include <Security/SecBase.h>

#include <string>
#include <vector>

namespace secimpl {

// The domain's default keychain. When the user domain has none, its login
// keychain (login.keychain-db, empty password) is created if missing and
// made the default.
OSStatus DefaultKeychainPath(int domain, std::string* path);
OSStatus CopyDefaultKeychain(SecKeychainRef* out);
// The keychains searched when a call names none: the current domain's saved
// list (or its default alone), then the common domain's.
OSStatus CopySearchKeychains(std::vector<SecKeychainRef>* out);
// NULL means the search list; otherwise one keychain or an array of them.
// The keychains come back retained.
OSStatus ResolveKeychains(CFTypeRef keychainOrArray, std::vector<SecKeychainRef>* out);
void ReleaseKeychains(std::vector<SecKeychainRef>* list);
// Removes a path from every domain's default and saved list.
void ForgetKeychainInDomains(const std::string& path);

}  // namespace secimpl
