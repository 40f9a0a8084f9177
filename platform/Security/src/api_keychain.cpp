// SecKeychain calls on one keychain: open, create, delete, lock, unlock,
// password change, settings, status, path and version.
#include <Security/SecKeychain.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "ask_password.h"
#include "domain_prefs.h"
#include "environment.h"
#include "keychain_lists.h"
#include "keychain_object.h"
#include "login_keychain.h"
#include "session.h"
#include "unlock_state.h"

using namespace secimpl;

namespace {

// A NULL keychain means the default one; the result is retained.
OSStatus Target(SecKeychainRef keychain, SecKeychainRef* out) {
  if (!keychain) return CopyDefaultKeychain(out);
  if (!IsKeychain(keychain)) return errSecInvalidKeychain;
  *out = (SecKeychainRef)CFRetain(keychain);
  return errSecSuccess;
}

struct Held {
  SecKeychainRef kc = nullptr;
  ~Held() {
    if (kc) CFRelease(kc);
  }
};

bool IsLoginKeychainPath(const std::string& path) {
  return path.find("/login.keychain") != std::string::npos;
}

// A login keychain joins the user search list and becomes the default when
// there is none; other new keychains are left out of both.
void AdoptLoginKeychain(const std::string& path) {
  DomainPrefs prefs = ReadDomainPrefs(0);
  bool changed = false;
  if (prefs.defaultKeychain.empty()) {
    prefs.defaultKeychain = path;
    changed = true;
  }
  if (!prefs.searchList.empty()) {
    bool present = false;
    for (const std::string& p : prefs.searchList) present = present || p == path;
    if (!present) {
      prefs.searchList.push_back(path);
      changed = true;
    }
  }
  if (changed) WriteDomainPrefs(0, prefs);
}

OSStatus DeleteOne(SecKeychainRef kc) {
  const std::string path = KeychainPath(kc);
  ForgetKeychainInDomains(path);
  CloseStore(kc);
  ForgetKey(path);
  if (unlink(path.c_str()) != 0) return errno == ENOENT ? errSecNoSuchKeychain : errSecWrPerm;
  unlink((path + "-wal").c_str());
  unlink((path + "-shm").c_str());
  return errSecSuccess;
}

}  // namespace

extern "C" {

CFTypeID SecKeychainGetTypeID(void) { return KeychainTypeID(); }

OSStatus SecKeychainGetVersion(UInt32* returnVers) {
  if (returnVers) *returnVers = 0x02028000;
  return errSecSuccess;
}

OSStatus SecKeychainOpen(const char* pathName, SecKeychainRef* keychain) {
  if (!keychain || !pathName || !*pathName) return errSecParam;
  // The file is not looked at: later calls report a missing or bad file.
  *keychain = CopyKeychainForPath(ResolveKeychainPath(pathName));
  return *keychain ? errSecSuccess : errSecAllocate;
}

OSStatus SecKeychainCreate(const char* pathName, UInt32 passwordLength, const void* password,
                           Boolean promptUser, SecAccessRef initialAccess, SecKeychainRef* keychain) {
  (void)initialAccess;  // access control lists are not kept
  if (!pathName || !*pathName) return errSecParam;
  if (!promptUser && !password) return errSecParam;
  std::string path = ResolveKeychainPath(pathName);
  SecureBytes asked;
  if (promptUser) {
    if (!UserInteractionAllowed()) return errSecInteractionNotAllowed;
    OSStatus status = AskPassword("New password for keychain " + path, &asked);
    if (status != errSecSuccess) return status;
    password = asked.data();
    passwordLength = UInt32(asked.size());
  }
  if (!MakeDirs(ParentDir(path))) return errSecWrPerm;
  OSStatus status = CreateKeychainFile(path, password, passwordLength);
  if (status != errSecSuccess) return status;
  if (IsLoginKeychainPath(path)) AdoptLoginKeychain(path);
  // The file is made before the output pointer is looked at, as on macOS.
  if (!keychain) return errSecParam;
  *keychain = CopyKeychainForPath(path);
  return *keychain ? errSecSuccess : errSecAllocate;
}

OSStatus SecKeychainDelete(SecKeychainRef keychainOrArray) {
  if (!keychainOrArray) return errSecInvalidKeychain;
  CFTypeRef cf = keychainOrArray;
  if (IsKeychain(cf)) return DeleteOne(keychainOrArray);
  if (CFGetTypeID(cf) != CFArrayGetTypeID()) return errSecInvalidKeychain;
  CFArrayRef array = (CFArrayRef)cf;
  OSStatus result = errSecSuccess;
  for (CFIndex i = 0, n = CFArrayGetCount(array); i < n; ++i) {
    CFTypeRef v = CFArrayGetValueAtIndex(array, i);
    OSStatus status = IsKeychain(v) ? DeleteOne((SecKeychainRef)v) : errSecInvalidKeychain;
    if (result == errSecSuccess) result = status;
  }
  return result;
}

OSStatus SecKeychainSetSettings(SecKeychainRef keychain, const SecKeychainSettings* newSettings) {
  if (!newSettings) return errSecParam;
  if (newSettings->version != SEC_KEYCHAIN_SETTINGS_VERS1) return errSecSuccess;
  Held h;
  OSStatus status = Target(keychain, &h.kc);
  if (status != errSecSuccess) return status;
  // useLockInterval is not stored: an interval of INT_MAX means "no timeout".
  return WithStore(h.kc, [&](Store& store) -> OSStatus {
    return store.WriteSettings(newSettings->lockInterval, newSettings->lockOnSleep != 0);
  });
}

OSStatus SecKeychainCopySettings(SecKeychainRef keychain, SecKeychainSettings* outSettings) {
  if (!outSettings) return errSecParam;
  if (outSettings->version != SEC_KEYCHAIN_SETTINGS_VERS1) return errSecSuccess;
  Held h;
  OSStatus status = Target(keychain, &h.kc);
  if (status != errSecSuccess) return status;
  // Reading the settings is a use: it may open the login keychain. Open for
  // its user, it does not stay locked however long it idles (a lock by time
  // is undone by the next use), whatever its stored settings say.
  const std::string& path = KeychainPath(h.kc);
  bool open = KeychainIsUnlocked(h.kc) && path == LoginKeychainPath() && UnlockedByEmptyPassword(path);
  return WithStore(h.kc, [&](Store& store) -> OSStatus {
    OSStatus s = store.ReadHeader();
    if (s != errSecSuccess) return s;
    outSettings->lockInterval = open ? kNoLockInterval : store.header().lockInterval;
    outSettings->lockOnSleep = !open && store.header().lockOnSleep ? 1 : 0;
    return errSecSuccess;
  });
}

OSStatus SecKeychainUnlock(SecKeychainRef keychain, UInt32 passwordLength, const void* password,
                           Boolean usePassword) {
  Held h;
  OSStatus status = Target(keychain, &h.kc);
  if (status != errSecSuccess) return status;
  if (usePassword) {
    if (!password && passwordLength) return errSecParam;
    // The password is checked even when the keychain is already unlocked; a
    // wrong one never succeeds.
    return UnlockWithPassword(h.kc, password, password ? passwordLength : 0);
  }
  status = WithStore(h.kc, [](Store&) -> OSStatus { return errSecSuccess; });
  if (status != errSecSuccess) return status;
  if (KeychainIsUnlocked(h.kc)) return errSecSuccess;
  if (!UserInteractionAllowed()) return errSecAuthFailed;
  SecureBytes asked;
  status = AskPassword("Password for keychain " + KeychainPath(h.kc), &asked);
  if (status != errSecSuccess) return status;
  return UnlockWithPassword(h.kc, asked.data(), asked.size());
}

OSStatus SecKeychainLock(SecKeychainRef keychain) {
  Held h;
  OSStatus status = Target(keychain, &h.kc);
  if (status != errSecSuccess) return status;
  LockKeychain(h.kc);
  return errSecSuccess;
}

OSStatus SecKeychainLockAll(void) {
  LockAllKeys();
  // Also when this process has not opened the login keychain yet.
  LockKey(LoginKeychainPath());
  return errSecSuccess;
}

OSStatus SecKeychainChangePassword(SecKeychainRef keychain, UInt32 oldPasswordLength,
                                   const void* oldPassword, UInt32 newPasswordLength,
                                   const void* newPassword) {
  if ((!oldPassword && oldPasswordLength) || (!newPassword && newPasswordLength)) return errSecParam;
  Held h;
  OSStatus status = Target(keychain, &h.kc);
  if (status != errSecSuccess) return status;
  SecureBytes asked;
  if (!oldPassword) {
    if (!UserInteractionAllowed()) {
      status = WithStore(h.kc, [](Store&) -> OSStatus { return errSecSuccess; });
      if (status != errSecSuccess) return status;
      return KeychainIsUnlocked(h.kc) ? errSecAuthFailed : errSecInteractionNotAllowed;
    }
    status = AskPassword("Current password for keychain " + KeychainPath(h.kc), &asked);
    if (status != errSecSuccess) return status;
    oldPassword = asked.data();
    oldPasswordLength = UInt32(asked.size());
  }
  return ChangeKeychainPassword(h.kc, oldPassword, oldPasswordLength, newPassword,
                                newPassword ? newPasswordLength : 0);
}

OSStatus SecKeychainGetStatus(SecKeychainRef keychain, SecKeychainStatus* keychainStatus) {
  if (!keychainStatus) return errSecParam;
  Held h;
  OSStatus status = Target(keychain, &h.kc);
  if (status != errSecSuccess) return status;
  status = WithStore(h.kc, [](Store&) -> OSStatus { return errSecSuccess; });
  if (status != errSecSuccess) return status;
  if (!KeychainIsUnlocked(h.kc)) {
    *keychainStatus = kSecReadPermStatus;
    return errSecSuccess;
  }
  // The write bit follows the file's permissions (macOS reports it always).
  const std::string& path = KeychainPath(h.kc);
  struct stat st;
  bool writable = stat(path.c_str(), &st) == 0 && (st.st_mode & 0222) != 0 &&
                  access(path.c_str(), W_OK) == 0;
  *keychainStatus = kSecUnlockStateStatus | kSecReadPermStatus | (writable ? kSecWritePermStatus : 0);
  return errSecSuccess;
}

OSStatus SecKeychainGetPath(SecKeychainRef keychain, UInt32* ioPathLength, char* pathName) {
  if (!ioPathLength || !pathName) return errSecParam;
  Held h;
  OSStatus status = Target(keychain, &h.kc);
  if (status != errSecSuccess) return status;
  const std::string& path = KeychainPath(h.kc);
  UInt32 capacity = *ioPathLength;
  *ioPathLength = UInt32(path.size());
  if (path.size() + 1 > capacity) return errSecBufferTooSmall;
  memcpy(pathName, path.c_str(), path.size() + 1);
  return errSecSuccess;
}

}  // extern "C"
