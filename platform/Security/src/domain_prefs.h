// The per-domain preference file: a domain's default keychain and its saved
// search list, replaced atomically (temporary file, then rename).
#pragma once

#include <string>
#include <vector>

namespace secimpl {

struct DomainPrefs {
  std::string defaultKeychain;            // empty: none
  std::vector<std::string> searchList;   // empty: none saved
};

// A missing or unreadable file reads as empty preferences.
DomainPrefs ReadDomainPrefs(int domain);
// Empty preferences remove the file. Returns false when it cannot be written.
bool WriteDomainPrefs(int domain, const DomainPrefs& prefs);

}  // namespace secimpl
