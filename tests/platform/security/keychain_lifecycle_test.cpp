// Creating, opening, locking, unlocking, re-keying, configuring and deleting
// keychains through the SecKeychain calls.
#include <sys/stat.h>
#include <unistd.h>

#include <climits>

#include "keychain_fixture.h"

namespace sectest {
namespace {

class KeychainLifecycle : public KeychainTest {};

std::string PathOf(SecKeychainRef kc) {
  char buf[1024] = {0};
  UInt32 len = sizeof buf;
  if (SecKeychainGetPath(kc, &len, buf) != errSecSuccess) return "";
  return std::string(buf, len);
}

TEST_F(KeychainLifecycle, CreateStartsUnlockedAndOpenReturnsTheSameObject) {
  SecKeychainRef kc = Create("a.keychain");
  ASSERT_NE(kc, nullptr);
  SecKeychainStatus st = 0;
  EXPECT_EQ(SecKeychainGetStatus(kc, &st), errSecSuccess);
  EXPECT_EQ(st, 7u);

  SecKeychainRef again = nullptr;
  ASSERT_EQ(SecKeychainOpen(PathIn("a.keychain").c_str(), &again), errSecSuccess);
  EXPECT_EQ(again, kc);
  EXPECT_EQ(CFGetRetainCount(kc), 2);
  EXPECT_EQ(CFGetTypeID(kc), SecKeychainGetTypeID());
  CFRelease(again);

  // Creating over an existing file never touches it.
  std::string before = ReadFile(PathIn("a.keychain"));
  SecKeychainRef dup = nullptr;
  EXPECT_EQ(SecKeychainCreate(PathIn("a.keychain").c_str(), 1, "x", false, nullptr, &dup),
            errSecDuplicateKeychain);
  EXPECT_EQ(dup, nullptr);
  EXPECT_EQ(ReadFile(PathIn("a.keychain")), before);
  CFRelease(kc);
}

TEST_F(KeychainLifecycle, CreateRejectsBadArgumentsAndStillMakesTheFileWithoutOutput) {
  SecKeychainRef kc = nullptr;
  EXPECT_EQ(SecKeychainCreate(nullptr, 0, "", false, nullptr, &kc), errSecParam);
  EXPECT_EQ(SecKeychainCreate(PathIn("p").c_str(), 0, nullptr, false, nullptr, &kc), errSecParam);
  EXPECT_NE(access(PathIn("p").c_str(), F_OK), 0);
  // Prompting is impossible here: no askpass program and no terminal.
  EXPECT_EQ(SecKeychainCreate(PathIn("q").c_str(), 0, nullptr, true, nullptr, &kc),
            errSecInteractionNotAllowed);
  // As on macOS the output pointer is checked only after the file exists.
  EXPECT_EQ(SecKeychainCreate(PathIn("r").c_str(), 0, "", false, nullptr, nullptr), errSecParam);
  EXPECT_EQ(access(PathIn("r").c_str(), F_OK), 0);
  EXPECT_EQ(SecKeychainOpen(nullptr, &kc), errSecParam);
  EXPECT_EQ(SecKeychainOpen("x", nullptr), errSecParam);
}

TEST_F(KeychainLifecycle, OpenOfMissingFileSucceedsAndLaterCallsReportIt) {
  SecKeychainRef kc = nullptr;
  ASSERT_EQ(SecKeychainOpen(PathIn("missing.keychain").c_str(), &kc), errSecSuccess);
  SecKeychainStatus st = 0;
  EXPECT_EQ(SecKeychainGetStatus(kc, &st), errSecNoSuchKeychain);
  EXPECT_EQ(SecKeychainUnlock(kc, 1, "x", true), errSecNoSuchKeychain);
  EXPECT_EQ(FindSecret(kc, "svc", "acct"), "status -25300");
  SecKeychainSearchRef search = nullptr;
  ASSERT_EQ(SecKeychainSearchCreateFromAttributes(kc, kSecGenericPasswordItemClass, nullptr, &search),
            errSecSuccess);
  SecKeychainItemRef item = nullptr;
  EXPECT_EQ(SecKeychainSearchCopyNext(search, &item), errSecItemNotFound);
  CFRelease(search);
  EXPECT_EQ(SecKeychainGetStatus(kc, nullptr), errSecParam);
  CFRelease(kc);
}

TEST_F(KeychainLifecycle, LockAndUnlockGuardSecretsButNotAttributes) {
  SecKeychainRef kc = Create("l.keychain", "pw");
  SecKeychainItemRef item = nullptr;
  ASSERT_EQ(AddGeneric(kc, "svc", "acct", "hidden", &item), errSecSuccess);
  ASSERT_EQ(SecKeychainLock(kc), errSecSuccess);
  ASSERT_EQ(SecKeychainLock(kc), errSecSuccess);  // locking twice is fine
  SecKeychainStatus st = 0;
  EXPECT_EQ(SecKeychainGetStatus(kc, &st), errSecSuccess);
  EXPECT_EQ(st, 2u);

  // Attributes stay readable and searchable while locked.
  std::string account;
  EXPECT_EQ(ReadAttr(item, kSecAccountItemAttr, &account), errSecSuccess);
  EXPECT_EQ(account, "acct");
  SecKeychainItemRef found = nullptr;
  EXPECT_EQ(SecKeychainFindGenericPassword(kc, 3, "svc", 0, nullptr, nullptr, nullptr, &found),
            errSecSuccess);
  if (found) CFRelease(found);

  // Secrets need the key: nobody can be asked here, and refusal is AuthFailed.
  OSStatus status = 0;
  FindSecret(kc, "svc", "acct", &status);
  EXPECT_EQ(status, errSecInteractionNotAllowed);
  SecKeychainSetUserInteractionAllowed(false);
  FindSecret(kc, "svc", "acct", &status);
  EXPECT_EQ(status, errSecAuthFailed);
  EXPECT_EQ(SecKeychainUnlock(kc, 0, nullptr, false), errSecAuthFailed);
  // Deleting an item needs the key as much as reading its secret.
  EXPECT_EQ(SecKeychainItemDelete(item), errSecAuthFailed);
  SecKeychainSetUserInteractionAllowed(true);
  EXPECT_EQ(SecKeychainUnlock(kc, 0, nullptr, false), errSecInteractionNotAllowed);
  EXPECT_EQ(SecKeychainItemDelete(item), errSecInteractionNotAllowed);

  EXPECT_EQ(SecKeychainUnlock(kc, 5, "wrong", true), errSecAuthFailed);
  EXPECT_EQ(SecKeychainUnlock(kc, 0, nullptr, true), errSecAuthFailed);  // empty password
  EXPECT_EQ(SecKeychainUnlock(kc, 2, "pw", true), errSecSuccess);
  EXPECT_EQ(FindSecret(kc, "svc", "acct"), "hidden");
  // A wrong password never succeeds, not even on an unlocked keychain.
  EXPECT_EQ(SecKeychainUnlock(kc, 5, "wrong", true), errSecAuthFailed);
  EXPECT_EQ(SecKeychainUnlock(kc, 0, nullptr, false), errSecSuccess);

  EXPECT_EQ(SecKeychainLockAll(), errSecSuccess);
  EXPECT_EQ(SecKeychainGetStatus(kc, &st), errSecSuccess);
  EXPECT_EQ(st, 2u);
  CFRelease(item);
  CFRelease(kc);
}

TEST_F(KeychainLifecycle, AskpassProgramUnlocksAndItsRefusalCancels) {
  SecKeychainRef kc = Create("ask.keychain", "from askpass");
  ASSERT_EQ(AddGeneric(kc, "svc", "acct", "v"), errSecSuccess);
  SecKeychainLock(kc);
  std::string script = PathIn("askpass.sh");
  ASSERT_TRUE(WriteFile(script, "#!/bin/sh\necho 'from askpass'\n"));
  chmod(script.c_str(), 0700);
  std::string refuse = PathIn("refuse.sh");
  ASSERT_TRUE(WriteFile(refuse, "#!/bin/sh\nexit 1\n"));
  chmod(refuse.c_str(), 0700);
  kc_test::ScopedEnv env;
  env.Set("KEYCHAIN_ASKPASS", refuse.c_str());
  OSStatus status = 0;
  FindSecret(kc, "svc", "acct", &status);
  EXPECT_EQ(status, errSecUserCanceled);
  env.Set("KEYCHAIN_ASKPASS", script.c_str());
  EXPECT_EQ(FindSecret(kc, "svc", "acct"), "v");
  SecKeychainStatus st = 0;
  SecKeychainGetStatus(kc, &st);
  EXPECT_EQ(st & kSecUnlockStateStatus, 1u);
  CFRelease(kc);
}

TEST_F(KeychainLifecycle, ChangePasswordRewrapsTheKeyForPasswordsOfAnyLengthAndKeepsItems) {
  SecKeychainRef kc = Create("c.keychain", "old");
  ASSERT_EQ(AddGeneric(kc, "svc", "acct", "kept"), errSecSuccess);
  EXPECT_EQ(SecKeychainChangePassword(kc, 5, "wrong", 3, "new"), errSecAuthFailed);
  EXPECT_EQ(SecKeychainChangePassword(kc, 3, "old", 3, nullptr), errSecParam);
  SecKeychainSetUserInteractionAllowed(false);
  EXPECT_EQ(SecKeychainChangePassword(kc, 0, nullptr, 3, "new"), errSecAuthFailed);
  SecKeychainLock(kc);
  EXPECT_EQ(SecKeychainChangePassword(kc, 0, nullptr, 3, "new"), errSecInteractionNotAllowed);
  SecKeychainSetUserInteractionAllowed(true);
  // The right old password works while locked.
  EXPECT_EQ(SecKeychainChangePassword(kc, 3, "old", 3, "new"), errSecSuccess);
  SecKeychainLock(kc);
  EXPECT_EQ(SecKeychainUnlock(kc, 3, "old", true), errSecAuthFailed);
  EXPECT_EQ(SecKeychainUnlock(kc, 3, "new", true), errSecSuccess);
  EXPECT_EQ(FindSecret(kc, "svc", "acct"), "kept");
  // Each password counts with its own length, longer or shorter than the old.
  const std::string longer = "a much longer password", shorter = "k";
  ASSERT_EQ(SecKeychainChangePassword(kc, 3, "new", UInt32(longer.size()), longer.data()), errSecSuccess);
  SecKeychainLock(kc);
  EXPECT_EQ(SecKeychainUnlock(kc, 3, "a m", true), errSecAuthFailed);
  EXPECT_EQ(SecKeychainUnlock(kc, UInt32(longer.size()), longer.data(), true), errSecSuccess);
  ASSERT_EQ(SecKeychainChangePassword(kc, UInt32(longer.size()), longer.data(), 1, shorter.data()), errSecSuccess);
  SecKeychainLock(kc);
  EXPECT_EQ(SecKeychainUnlock(kc, 1, shorter.data(), true), errSecSuccess);
  EXPECT_EQ(FindSecret(kc, "svc", "acct"), "kept");
  CFRelease(kc);
}

TEST_F(KeychainLifecycle, PathReportsLengthAndRefusesSmallBuffers) {
  SecKeychainRef kc = Create("path.keychain");
  std::string expected = PathIn("path.keychain");
  EXPECT_EQ(PathOf(kc), expected);
  char small[4] = {'z', 'z', 'z', 'z'};
  UInt32 len = sizeof small;
  EXPECT_EQ(SecKeychainGetPath(kc, &len, small), errSecBufferTooSmall);
  EXPECT_EQ(len, expected.size());
  EXPECT_EQ(small[0], 'z');
  // The terminator needs its byte too.
  std::vector<char> tight(expected.size(), 'z');
  len = UInt32(tight.size());
  EXPECT_EQ(SecKeychainGetPath(kc, &len, tight.data()), errSecBufferTooSmall);
  EXPECT_EQ(tight.back(), 'z');
  std::vector<char> exact(expected.size() + 1);
  len = UInt32(exact.size());
  EXPECT_EQ(SecKeychainGetPath(kc, &len, exact.data()), errSecSuccess);
  EXPECT_EQ(std::string(exact.data()), expected);
  EXPECT_EQ(SecKeychainGetPath(kc, nullptr, exact.data()), errSecParam);
  EXPECT_EQ(SecKeychainGetPath(kc, &len, nullptr), errSecParam);

  // A relative name lives in the user domain's folder.
  SecKeychainRef rel = nullptr;
  ASSERT_EQ(SecKeychainOpen("named.keychain", &rel), errSecSuccess);
  EXPECT_EQ(PathOf(rel), home().userDomainDir() + "/named.keychain");
  CFRelease(rel);
  CFRelease(kc);
}

TEST_F(KeychainLifecycle, SettingsAreStoredAndOnlyVersionOneCounts) {
  SecKeychainRef kc = Create("s.keychain");
  SecKeychainSettings s = {SEC_KEYCHAIN_SETTINGS_VERS1, 0, 0, 0};
  ASSERT_EQ(SecKeychainCopySettings(kc, &s), errSecSuccess);
  EXPECT_EQ(s.lockInterval, 300u);
  EXPECT_TRUE(s.lockOnSleep);

  SecKeychainSettings set = {SEC_KEYCHAIN_SETTINGS_VERS1, 0, 1, 1234};
  ASSERT_EQ(SecKeychainSetSettings(kc, &set), errSecSuccess);
  SecKeychainSettings ignored = {0, 1, 1, 99};
  EXPECT_EQ(SecKeychainSetSettings(kc, &ignored), errSecSuccess);
  SecKeychainSettings zero = {0, 0, 0, 0};
  EXPECT_EQ(SecKeychainCopySettings(kc, &zero), errSecSuccess);
  EXPECT_EQ(zero.lockInterval, 0u);  // version 0: nothing filled in

  // Stored in the file: a fresh process view (after closing) sees them.
  CFRelease(kc);
  SecKeychainRef reopened = nullptr;
  ASSERT_EQ(SecKeychainOpen(PathIn("s.keychain").c_str(), &reopened), errSecSuccess);
  SecKeychainSettings back = {SEC_KEYCHAIN_SETTINGS_VERS1, 1, 0, 0};
  ASSERT_EQ(SecKeychainCopySettings(reopened, &back), errSecSuccess);
  EXPECT_EQ(back.lockInterval, 1234u);
  EXPECT_FALSE(back.lockOnSleep);
  EXPECT_EQ(SecKeychainCopySettings(reopened, nullptr), errSecParam);
  CFRelease(reopened);

  UInt32 version = 0;
  EXPECT_EQ(SecKeychainGetVersion(&version), errSecSuccess);
  EXPECT_EQ(version, 0x02028000u);
  EXPECT_EQ(SecKeychainGetVersion(nullptr), errSecSuccess);
}

TEST_F(KeychainLifecycle, LockIntervalLocksAnIdleKeychain) {
  SecKeychainRef kc = Create("idle.keychain");
  SecKeychainSettings set = {SEC_KEYCHAIN_SETTINGS_VERS1, 0, 1, 1};
  ASSERT_EQ(SecKeychainSetSettings(kc, &set), errSecSuccess);
  ASSERT_EQ(SecKeychainUnlock(kc, 6, "secret", true), errSecSuccess);
  SecKeychainStatus st = 0;
  SecKeychainGetStatus(kc, &st);
  EXPECT_EQ(st & kSecUnlockStateStatus, 1u);
  usleep(1300 * 1000);
  SecKeychainGetStatus(kc, &st);
  EXPECT_EQ(st, 2u);

  SecKeychainSettings never = {SEC_KEYCHAIN_SETTINGS_VERS1, 0, 0, INT_MAX};
  ASSERT_EQ(SecKeychainSetSettings(kc, &never), errSecSuccess);
  ASSERT_EQ(SecKeychainUnlock(kc, 6, "secret", true), errSecSuccess);
  usleep(1100 * 1000);
  SecKeychainGetStatus(kc, &st);
  EXPECT_EQ(st & kSecUnlockStateStatus, 1u);
  CFRelease(kc);
}

TEST_F(KeychainLifecycle, DeleteRemovesFileAndListEntriesButKeepsTheReference) {
  SecKeychainRef kc = Create("d.keychain");
  SecKeychainLock(kc);
  CFArrayRef list = CFArrayCreate(nullptr, (const void**)&kc, 1, &kCFTypeArrayCallBacks);
  ASSERT_EQ(SecKeychainSetSearchList(list), errSecSuccess);
  CFRelease(list);
  ASSERT_EQ(SecKeychainSetDefault(kc), errSecSuccess);

  EXPECT_EQ(SecKeychainDelete(kc), errSecSuccess);  // works while locked
  EXPECT_NE(access(PathIn("d.keychain").c_str(), F_OK), 0);
  SecKeychainStatus st = 0;
  EXPECT_EQ(SecKeychainGetStatus(kc, &st), errSecNoSuchKeychain);
  EXPECT_EQ(SecKeychainDelete(kc), errSecNoSuchKeychain);
  EXPECT_EQ(SecKeychainDelete(nullptr), errSecInvalidKeychain);

  // The default and the saved list no longer name it.
  SecKeychainRef def = nullptr;
  ASSERT_EQ(SecKeychainCopyDefault(&def), errSecSuccess);
  EXPECT_NE(def, kc);
  CFArrayRef after = nullptr;
  ASSERT_EQ(SecKeychainCopyDomainSearchList(kSecPreferencesDomainUser, &after), errSecSuccess);
  EXPECT_EQ(CFArrayGetCount(after), 0);
  CFRelease(after);
  CFRelease(def);

  // An array is deleted keychain by keychain; the first failure is the status.
  SecKeychainRef e = Create("e.keychain"), f = Create("f.keychain");
  const void* three[] = {e, kc, f};
  CFArrayRef several = CFArrayCreate(nullptr, three, 3, &kCFTypeArrayCallBacks);
  EXPECT_EQ(SecKeychainDelete((SecKeychainRef)several), errSecNoSuchKeychain);
  EXPECT_NE(access(PathIn("e.keychain").c_str(), F_OK), 0);
  EXPECT_NE(access(PathIn("f.keychain").c_str(), F_OK), 0);
  CFRelease(several);
  CFRelease(e);
  CFRelease(f);
  CFRelease(kc);
}

}  // namespace
}  // namespace sectest
