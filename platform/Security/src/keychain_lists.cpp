// Default keychains and search lists, from the domain preference files.
#include "keychain_lists.h"

#include <sys/stat.h>

#include <algorithm>

#include "domain_prefs.h"
#include "environment.h"
#include "keychain_object.h"
#include "login_keychain.h"
#include "session.h"

namespace secimpl {

namespace {

bool FileExists(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0;
}

}  // namespace

OSStatus DefaultKeychainPath(int domain, std::string* path) {
  if (domain == 3) domain = 0;
  DomainPrefs prefs = ReadDomainPrefs(domain);
  if (!prefs.defaultKeychain.empty()) {
    *path = prefs.defaultKeychain;
    return errSecSuccess;
  }
  if (domain != 0) return errSecNoDefaultKeychain;
  std::string dir = DomainDir(0);
  std::string login = LoginKeychainPath();
  if (!FileExists(login)) {
    if (!MakeDirs(dir)) return errSecNoDefaultKeychain;
    OSStatus status = CreateKeychainFile(login, "", 0);
    if (status != errSecSuccess && status != errSecDuplicateKeychain) return status;
  }
  prefs.defaultKeychain = login;
  WriteDomainPrefs(0, prefs);  // as with preference files elsewhere, a failed write is not fatal
  *path = login;
  return errSecSuccess;
}

OSStatus CopyDefaultKeychain(SecKeychainRef* out) {
  std::string path;
  OSStatus status = DefaultKeychainPath(CurrentPreferenceDomain(), &path);
  if (status != errSecSuccess) return status;
  *out = CopyKeychainForPath(path);
  return *out ? errSecSuccess : errSecAllocate;
}

OSStatus CopySearchKeychains(std::vector<SecKeychainRef>* out) {
  int domain = CurrentPreferenceDomain();
  if (domain == 3) domain = 0;
  std::vector<std::string> paths = ReadDomainPrefs(domain).searchList;
  if (paths.empty()) {
    std::string def;
    if (DefaultKeychainPath(domain, &def) == errSecSuccess) paths.push_back(def);
  }
  if (domain != 2) {
    DomainPrefs common = ReadDomainPrefs(2);
    std::vector<std::string> extra = common.searchList;
    if (extra.empty() && !common.defaultKeychain.empty()) extra.push_back(common.defaultKeychain);
    for (const std::string& p : extra)
      if (std::find(paths.begin(), paths.end(), p) == paths.end()) paths.push_back(p);
  }
  for (const std::string& p : paths) {
    SecKeychainRef kc = CopyKeychainForPath(p);
    if (kc) out->push_back(kc);
  }
  return errSecSuccess;
}

OSStatus ResolveKeychains(CFTypeRef keychainOrArray, std::vector<SecKeychainRef>* out) {
  if (!keychainOrArray) return CopySearchKeychains(out);
  if (IsKeychain(keychainOrArray)) {
    out->push_back((SecKeychainRef)CFRetain(keychainOrArray));
    return errSecSuccess;
  }
  if (CFGetTypeID(keychainOrArray) != CFArrayGetTypeID()) return errSecParam;
  CFArrayRef array = (CFArrayRef)keychainOrArray;
  CFIndex n = CFArrayGetCount(array);
  for (CFIndex i = 0; i < n; ++i) {
    CFTypeRef v = CFArrayGetValueAtIndex(array, i);
    if (!IsKeychain(v)) {
      ReleaseKeychains(out);
      return errSecParam;
    }
    out->push_back((SecKeychainRef)CFRetain(v));
  }
  return errSecSuccess;
}

void ReleaseKeychains(std::vector<SecKeychainRef>* list) {
  for (SecKeychainRef kc : *list) CFRelease(kc);
  list->clear();
}

void ForgetKeychainInDomains(const std::string& path) {
  for (int domain = 0; domain < 3; ++domain) {
    DomainPrefs prefs = ReadDomainPrefs(domain);
    bool changed = false;
    if (prefs.defaultKeychain == path) {
      prefs.defaultKeychain.clear();
      changed = true;
    }
    auto end = std::remove(prefs.searchList.begin(), prefs.searchList.end(), path);
    if (end != prefs.searchList.end()) {
      prefs.searchList.erase(end, prefs.searchList.end());
      changed = true;
    }
    if (changed) WriteDomainPrefs(domain, prefs);
  }
}

}  // namespace secimpl
