// SecKeychain calls on the keychain environment: default keychains, search
// lists, preference domains and user interaction.
#include <Security/SecKeychain.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "domain_prefs.h"
#include "keychain_lists.h"
#include "keychain_object.h"
#include "session.h"

using namespace secimpl;

namespace {

bool ValidSavedDomain(SecPreferencesDomain d) { return d >= 0 && d <= 2; }

// A default must be a keychain file that exists and that we own and may read
// and write.
OSStatus CheckCanBeDefault(SecKeychainRef kc) {
  struct stat st;
  if (stat(KeychainPath(kc).c_str(), &st) != 0) return errSecWrPerm;
  if (st.st_uid != geteuid() || (st.st_mode & 0600) != 0600) return errSecWrPerm;
  return errSecSuccess;
}

CFArrayRef MakeArray(const std::vector<SecKeychainRef>& list) {
  CFMutableArrayRef array = CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks);
  if (!array) return nullptr;
  for (SecKeychainRef kc : list) CFArrayAppendValue(array, kc);
  return array;
}

// Paths of an array of keychains: errSecParam when it is no array,
// errSecInvalidKeychain when it holds anything but keychains.
OSStatus PathsOf(CFArrayRef searchList, std::vector<std::string>* out) {
  if (!searchList || CFGetTypeID(searchList) != CFArrayGetTypeID()) return errSecParam;
  for (CFIndex i = 0, n = CFArrayGetCount(searchList); i < n; ++i) {
    CFTypeRef v = CFArrayGetValueAtIndex(searchList, i);
    if (!IsKeychain(v)) return errSecInvalidKeychain;
    const std::string& p = KeychainPath((SecKeychainRef)v);
    if (std::find(out->begin(), out->end(), p) == out->end()) out->push_back(p);
  }
  return errSecSuccess;
}

OSStatus CopyPathList(const std::vector<std::string>& paths, CFArrayRef* out) {
  std::vector<SecKeychainRef> list;
  for (const std::string& p : paths) {
    SecKeychainRef kc = CopyKeychainForPath(p);
    if (kc) list.push_back(kc);
  }
  *out = MakeArray(list);
  ReleaseKeychains(&list);
  return *out ? errSecSuccess : errSecAllocate;
}

}  // namespace

extern "C" {

OSStatus SecKeychainCopyDefault(SecKeychainRef* keychain) {
  if (!keychain) return errSecParam;
  return CopyDefaultKeychain(keychain);
}

OSStatus SecKeychainSetDefault(SecKeychainRef keychain) {
  if (keychain && !IsKeychain(keychain)) return errSecInvalidKeychain;
  SecKeychainRef kc = nullptr;
  OSStatus status = keychain ? errSecSuccess : CopyDefaultKeychain(&kc);
  if (status != errSecSuccess) return status;
  if (!kc) kc = (SecKeychainRef)CFRetain(keychain);
  status = CheckCanBeDefault(kc);
  if (status == errSecSuccess) {
    int domain = CurrentPreferenceDomain() == 3 ? 0 : CurrentPreferenceDomain();
    DomainPrefs prefs = ReadDomainPrefs(domain);
    prefs.defaultKeychain = KeychainPath(kc);
    if (!WriteDomainPrefs(domain, prefs)) status = errSecWrPerm;
  }
  CFRelease(kc);
  return status;
}

OSStatus SecKeychainCopySearchList(CFArrayRef* searchList) {
  if (!searchList) return errSecParam;
  std::vector<SecKeychainRef> list;
  OSStatus status = CopySearchKeychains(&list);
  if (status == errSecSuccess) {
    *searchList = MakeArray(list);
    if (!*searchList) status = errSecAllocate;
  }
  ReleaseKeychains(&list);
  return status;
}

OSStatus SecKeychainSetSearchList(CFArrayRef searchList) {
  std::vector<std::string> paths;
  OSStatus status = PathsOf(searchList, &paths);
  if (status != errSecSuccess) return status;
  int domain = CurrentPreferenceDomain() == 3 ? 0 : CurrentPreferenceDomain();
  if (domain != 2) {
    // Keychains of the common list are searched anyway and are not saved twice.
    DomainPrefs common = ReadDomainPrefs(2);
    std::vector<std::string> shared = common.searchList;
    if (shared.empty() && !common.defaultKeychain.empty()) shared.push_back(common.defaultKeychain);
    paths.erase(std::remove_if(paths.begin(), paths.end(),
                               [&](const std::string& p) {
                                 return std::find(shared.begin(), shared.end(), p) != shared.end();
                               }),
                paths.end());
  }
  DomainPrefs prefs = ReadDomainPrefs(domain);
  prefs.searchList = paths;
  return WriteDomainPrefs(domain, prefs) ? errSecSuccess : errSecWrPerm;
}

OSStatus SecKeychainCopyDomainDefault(SecPreferencesDomain domain, SecKeychainRef* keychain) {
  if (!ValidSavedDomain(domain)) return errSecInvalidPrefsDomain;
  if (!keychain) return errSecParam;
  std::string path;
  OSStatus status = DefaultKeychainPath(domain, &path);
  if (status != errSecSuccess) return status;
  *keychain = CopyKeychainForPath(path);
  return *keychain ? errSecSuccess : errSecAllocate;
}

OSStatus SecKeychainSetDomainDefault(SecPreferencesDomain domain, SecKeychainRef keychain) {
  if (!ValidSavedDomain(domain)) return errSecInvalidPrefsDomain;
  if (keychain && !IsKeychain(keychain)) return errSecInvalidKeychain;
  DomainPrefs prefs = ReadDomainPrefs(domain);
  if (keychain) {
    OSStatus status = CheckCanBeDefault(keychain);
    if (status != errSecSuccess) return status;
    prefs.defaultKeychain = KeychainPath(keychain);
  } else {
    prefs.defaultKeychain.clear();
  }
  return WriteDomainPrefs(domain, prefs) ? errSecSuccess : errSecWrPerm;
}

OSStatus SecKeychainCopyDomainSearchList(SecPreferencesDomain domain, CFArrayRef* searchList) {
  if (domain < 0 || domain > 3) return errSecInvalidPrefsDomain;
  if (!searchList) return errSecParam;
  // The dynamic domain (removable tokens) never holds anything here.
  std::vector<std::string> paths;
  if (domain != 3) paths = ReadDomainPrefs(domain).searchList;
  return CopyPathList(paths, searchList);
}

OSStatus SecKeychainSetDomainSearchList(SecPreferencesDomain domain, CFArrayRef searchList) {
  if (!ValidSavedDomain(domain)) return errSecInvalidPrefsDomain;
  std::vector<std::string> paths;
  OSStatus status = PathsOf(searchList, &paths);
  if (status != errSecSuccess) return status;
  DomainPrefs prefs = ReadDomainPrefs(domain);
  prefs.searchList = paths;
  return WriteDomainPrefs(domain, prefs) ? errSecSuccess : errSecWrPerm;
}

OSStatus SecKeychainSetPreferenceDomain(SecPreferencesDomain domain) {
  if (!ValidSavedDomain(domain)) return errSecInvalidPrefsDomain;
  SetCurrentPreferenceDomain(domain);
  return errSecSuccess;
}

OSStatus SecKeychainGetPreferenceDomain(SecPreferencesDomain* domain) {
  if (!domain) return errSecParam;
  *domain = CurrentPreferenceDomain();
  return errSecSuccess;
}

OSStatus SecKeychainSetUserInteractionAllowed(Boolean state) {
  SetUserInteractionAllowed(state != 0);
  return errSecSuccess;
}

OSStatus SecKeychainGetUserInteractionAllowed(Boolean* state) {
  if (!state) return errSecParam;
  *state = UserInteractionAllowed() ? 1 : 0;
  return errSecSuccess;
}

}  // extern "C"
