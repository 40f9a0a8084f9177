// Opening the login keychain without asking, while its password is empty.
#include "login_keychain.h"

#include <map>
#include <mutex>

#include "environment.h"
#include "keychain_object.h"
#include "unlock_state.h"

namespace secimpl {

namespace {

std::mutex& Mutex() {
  static std::mutex* m = new std::mutex;
  return *m;
}

// The wrapped key, per path, that the empty password failed to open: one
// key derivation tells, and a new password brings a new wrapping.
std::map<std::string, std::string>& Refusals() {
  static auto* r = new std::map<std::string, std::string>;
  return *r;
}

bool Refused(const std::string& path, const std::string& wrapped) {
  std::lock_guard<std::mutex> g(Mutex());
  auto it = Refusals().find(path);
  return it != Refusals().end() && it->second == wrapped;
}

}  // namespace

std::string LoginKeychainPath() { return DomainDir(0) + "/login.keychain-db"; }

bool OpenLoginKeychainQuietly(SecKeychainRef kc) {
  const std::string& path = KeychainPath(kc);
  if (path != LoginKeychainPath() || LockedByCall(path)) return false;
  std::string wrapped;
  OSStatus status = WithStore(kc, [&](Store& store) -> OSStatus {
    wrapped = store.header().wrappedKey;
    return errSecSuccess;
  });
  if (status != errSecSuccess || Refused(path, wrapped)) return false;
  status = UnlockWithPassword(kc, "", 0);
  if (status == errSecSuccess) return true;
  if (status == errSecAuthFailed) {
    std::lock_guard<std::mutex> g(Mutex());
    Refusals()[path] = wrapped;
  }
  return false;
}

}  // namespace secimpl
