// Environment changes that last for one test.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "support/temp_dir.h"

namespace kc_test {

// Sets (or, with nullptr, unsets) environment variables and restores their
// previous values when destroyed.
class ScopedEnv {
 public:
  ScopedEnv() = default;
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

  void Set(const char* name, const char* value);

 private:
  struct Saved {
    std::string name;
    bool had;
    std::string value;
  };
  std::vector<Saved> saved_;
};

// Points every folder the keychain store and the host use (HOME,
// XDG_DATA_HOME, KEYCHAIN_HOME, KEYCHAIN_SYSTEM_HOME, KEYCHAIN_COMMON_HOME) into
// a fresh private folder, removes KEYCHAIN_ASKPASS, and gives up the process's
// controlling terminal (for good), so that a test never touches the user's
// real keychains and never waits for a person at a password prompt.
class IsolatedKeychainHome {
 public:
  IsolatedKeychainHome();
  const std::string& root() const { return dir_.path(); }
  std::string userDomainDir() const { return dir_.path() + "/user"; }
  std::string systemDomainDir() const { return dir_.path() + "/system"; }
  std::string commonDomainDir() const { return dir_.path() + "/common"; }

 private:
  TempDir dir_;
  ScopedEnv env_;
};

}  // namespace kc_test
