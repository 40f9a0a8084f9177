// Where keychains and domain preferences live. The environment is read at
// every call, so a process may point it elsewhere at any time.
#pragma once

#include <string>

namespace secimpl {

// The folders of the user (0), system (1) and common (2) domains; the dynamic
// domain (3) has none and gets the empty string.
std::string DomainDir(int domain);
// An absolute path as given; a relative name inside the current domain's folder.
std::string ResolveKeychainPath(const char* name);
// Creates a folder and its missing parents with mode 0700.
bool MakeDirs(const std::string& dir);
std::string ParentDir(const std::string& path);
// How long, in milliseconds, a call waits for another process's write lock on
// a keychain file before it reports the file busy: KEYCHAIN_BUSY_TIMEOUT_MS
// when it holds a positive number (the tests shorten the wait with it, to see
// that status without waiting it out), otherwise fallback.
int BusyTimeoutMs(int fallback);

}  // namespace secimpl
