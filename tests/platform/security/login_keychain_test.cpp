// The login keychain is open for its user while its password is empty: it
// opens without asking in a process that has not unlocked it, shows no idle
// lock, and stays locked when locked by call. Other keychains, and the login
// keychain once it has a password, follow the usual rules.
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>

#include "keychain_fixture.h"

namespace sectest {
namespace {

class LoginKeychain : public KeychainTest {
 protected:
  std::string LoginPath() const { return home().userDomainDir() + "/login.keychain-db"; }

  // Puts a keychain with one item at `path` as a new process finds it: this
  // process never unlocked a file there. It is made under another name, with
  // the settings every other keychain gets, and moved into place.
  void Place(const std::string& path, const std::string& password, const std::string& secret) {
    std::string made = PathIn("made-" + std::to_string(placed_++));
    SecKeychainRef kc = nullptr;
    ASSERT_EQ(SecKeychainCreate(made.c_str(), UInt32(password.size()), password.data(), false, nullptr, &kc),
              errSecSuccess);
    ASSERT_EQ(AddGeneric(kc, "svc", "acct", secret), errSecSuccess);
    CFRelease(kc);  // closes the file, so that nothing of it is left in a journal
    mkdir(home().userDomainDir().c_str(), 0700);
    ASSERT_EQ(rename(made.c_str(), path.c_str()), 0);
  }

  static SecKeychainSettings Settings(SecKeychainRef kc) {
    SecKeychainSettings s = {SEC_KEYCHAIN_SETTINGS_VERS1, 9, 9, 0};
    EXPECT_EQ(SecKeychainCopySettings(kc, &s), errSecSuccess);
    return s;
  }

  int placed_ = 0;
};

TEST_F(LoginKeychain, IsCreatedWithoutIdleLockOrLockOnSleep) {
  SecKeychainRef def = nullptr;
  ASSERT_EQ(SecKeychainCopyDefault(&def), errSecSuccess);
  SecKeychainSettings s = Settings(def);
  EXPECT_EQ(s.lockInterval, UInt32(INT_MAX));
  EXPECT_EQ(s.lockOnSleep, 0);
  // What is stored, not only what is in force while it is open.
  SecKeychainLock(def);
  s = Settings(def);
  EXPECT_EQ(s.lockInterval, UInt32(INT_MAX));
  EXPECT_EQ(s.lockOnSleep, 0);
  CFRelease(def);
}

TEST_F(LoginKeychain, OpensWithoutAskingAndStaysLockedWhenLockedByCall) {
  Place(LoginPath(), "", "first");
  // Nobody can be asked here: no askpass program, no terminal.
  EXPECT_EQ(FindSecret(nullptr, "svc", "acct"), "first");
  SecKeychainRef def = nullptr;
  ASSERT_EQ(SecKeychainCopyDefault(&def), errSecSuccess);
  // Made with a 300 s lock interval, which does not hold while it is open.
  SecKeychainSettings s = Settings(def);
  EXPECT_EQ(s.lockInterval, UInt32(INT_MAX));
  EXPECT_EQ(s.lockOnSleep, 0);

  ASSERT_EQ(SecKeychainLock(def), errSecSuccess);
  SecKeychainStatus st = 0;
  EXPECT_EQ(SecKeychainGetStatus(def, &st), errSecSuccess);
  EXPECT_EQ(st, 2u);
  OSStatus status = 0;
  FindSecret(def, "svc", "acct", &status);
  EXPECT_EQ(status, errSecInteractionNotAllowed);
  EXPECT_EQ(SecKeychainUnlock(def, 0, nullptr, false), errSecInteractionNotAllowed);
  EXPECT_EQ(SecKeychainUnlock(def, 0, "", true), errSecSuccess);
  EXPECT_EQ(FindSecret(def, "svc", "acct"), "first");
  CFRelease(def);
  // Unlocked with its password, it is open for its user again: a file that
  // another process puts in its place opens without asking.
  Place(LoginPath(), "", "renewed");
  EXPECT_EQ(FindSecret(nullptr, "svc", "acct"), "renewed");

  ASSERT_EQ(SecKeychainLockAll(), errSecSuccess);
  FindSecret(nullptr, "svc", "acct", &status);
  EXPECT_EQ(status, errSecInteractionNotAllowed);

  // A new login keychain in its place is new to this process.
  auto replace = [&](const std::string& secret) {
    SecKeychainRef login = nullptr;
    ASSERT_EQ(SecKeychainOpen(LoginPath().c_str(), &login), errSecSuccess);
    ASSERT_EQ(SecKeychainDelete(login), errSecSuccess);
    CFRelease(login);
    Place(LoginPath(), "", secret);
  };
  // Asking for its status is a use too.
  replace("second");
  ASSERT_EQ(SecKeychainGetStatus(nullptr, &st), errSecSuccess);
  EXPECT_EQ(st & kSecUnlockStateStatus, 1u);
  // Locking everything before the first use also holds.
  replace("third");
  ASSERT_EQ(SecKeychainLockAll(), errSecSuccess);
  FindSecret(nullptr, "svc", "acct", &status);
  EXPECT_EQ(status, errSecInteractionNotAllowed);
}

TEST_F(LoginKeychain, WithAPasswordOrAnotherPathTheUsualRulesHold) {
  Place(LoginPath(), "pw", "guarded");
  OSStatus status = 0;
  FindSecret(nullptr, "svc", "acct", &status);
  EXPECT_EQ(status, errSecInteractionNotAllowed);
  FindSecret(nullptr, "svc", "acct", &status);  // asked again, and again not opened
  EXPECT_EQ(status, errSecInteractionNotAllowed);
  SecKeychainRef def = nullptr;
  ASSERT_EQ(SecKeychainCopyDefault(&def), errSecSuccess);
  SecKeychainSettings s = Settings(def);
  EXPECT_EQ(s.lockInterval, 300u);
  EXPECT_EQ(s.lockOnSleep, 1);
  ASSERT_EQ(SecKeychainUnlock(def, 2, "pw", true), errSecSuccess);
  EXPECT_EQ(FindSecret(def, "svc", "acct"), "guarded");

  // Setting a password on the open login keychain ends its openness: the
  // stored settings hold again.
  ASSERT_EQ(SecKeychainChangePassword(def, 2, "pw", 0, ""), errSecSuccess);
  EXPECT_EQ(Settings(def).lockInterval, UInt32(INT_MAX));
  ASSERT_EQ(SecKeychainChangePassword(def, 0, "", 3, "new"), errSecSuccess);
  EXPECT_EQ(Settings(def).lockInterval, 300u);
  CFRelease(def);

  // An empty password elsewhere, even under the login keychain's name,
  // opens nothing by itself.
  for (const std::string& path : {PathIn("other.keychain-db"), PathIn("login.keychain-db")}) {
    Place(path, "", "elsewhere");
    SecKeychainRef kc = nullptr;
    ASSERT_EQ(SecKeychainOpen(path.c_str(), &kc), errSecSuccess);
    FindSecret(kc, "svc", "acct", &status);
    EXPECT_EQ(status, errSecInteractionNotAllowed) << path;
    CFRelease(kc);
  }
}

}  // namespace
}  // namespace sectest
