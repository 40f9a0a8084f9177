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

}  // namespace secimpl
