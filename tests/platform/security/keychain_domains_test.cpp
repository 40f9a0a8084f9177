// Default keychains, search lists, preference domains and the interaction
// switch, kept in each domain's preference file.
#include <sys/stat.h>
#include <unistd.h>

#include "keychain_fixture.h"

namespace sectest {
namespace {

class KeychainDomains : public KeychainTest {};

std::vector<std::string> Paths(CFArrayRef list) {
  std::vector<std::string> out;
  for (CFIndex i = 0; list && i < CFArrayGetCount(list); ++i) {
    char buf[1024];
    UInt32 len = sizeof buf;
    SecKeychainGetPath((SecKeychainRef)CFArrayGetValueAtIndex(list, i), &len, buf);
    out.push_back(std::string(buf, len));
  }
  return out;
}

TEST_F(KeychainDomains, LoginKeychainIsCreatedOnFirstNeedAndBecomesDefault) {
  std::string login = home().userDomainDir() + "/login.keychain-db";
  EXPECT_NE(access(login.c_str(), F_OK), 0);
  SecKeychainRef def = nullptr;
  ASSERT_EQ(SecKeychainCopyDefault(&def), errSecSuccess);
  EXPECT_EQ(access(login.c_str(), F_OK), 0);
  struct stat st;
  ASSERT_EQ(stat(home().userDomainDir().c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0700u);
  SecKeychainStatus status = 0;
  EXPECT_EQ(SecKeychainGetStatus(def, &status), errSecSuccess);
  // Its password is empty.
  SecKeychainLock(def);
  EXPECT_EQ(SecKeychainUnlock(def, 0, "", true), errSecSuccess);
  // A NULL keychain means the default for adds and status.
  ASSERT_EQ(AddGeneric(nullptr, "svc", "acct", "to default"), errSecSuccess);
  EXPECT_EQ(FindSecret(def, "svc", "acct"), "to default");
  EXPECT_EQ(SecKeychainGetStatus(nullptr, &status), errSecSuccess);

  SecKeychainRef again = nullptr;
  ASSERT_EQ(SecKeychainCopyDomainDefault(kSecPreferencesDomainUser, &again), errSecSuccess);
  EXPECT_EQ(again, def);
  CFRelease(again);
  CFRelease(def);
  EXPECT_EQ(SecKeychainCopyDefault(nullptr), errSecParam);
}

TEST_F(KeychainDomains, SetDefaultNeedsAnExistingOwnedFile) {
  SecKeychainRef kc = Create("mine.keychain");
  ASSERT_EQ(SecKeychainSetDefault(kc), errSecSuccess);
  SecKeychainRef def = nullptr;
  ASSERT_EQ(SecKeychainCopyDefault(&def), errSecSuccess);
  EXPECT_EQ(def, kc);
  CFRelease(def);
  // Adds to a keychain whose file is missing go to the default instead.
  SecKeychainRef ghost = nullptr;
  ASSERT_EQ(SecKeychainOpen(PathIn("ghost.keychain").c_str(), &ghost), errSecSuccess);
  EXPECT_EQ(SecKeychainSetDefault(ghost), errSecWrPerm);
  ASSERT_EQ(AddGeneric(ghost, "svc", "acct", "rerouted"), errSecSuccess);
  EXPECT_EQ(FindSecret(kc, "svc", "acct"), "rerouted");
  chmod(PathIn("mine.keychain").c_str(), 0400);
  EXPECT_EQ(SecKeychainSetDefault(kc), errSecWrPerm);
  SecKeychainStatus st = 0;
  ASSERT_EQ(SecKeychainGetStatus(kc, &st), errSecSuccess);
  EXPECT_EQ(st, 3u);  // unlocked and readable, not writable
  chmod(PathIn("mine.keychain").c_str(), 0600);
  EXPECT_EQ(SecKeychainSetDefault(nullptr), errSecSuccess);
  EXPECT_EQ(SecKeychainSetDefault((SecKeychainRef)kCFBooleanTrue), errSecInvalidKeychain);
  CFRelease(ghost);
  CFRelease(kc);
}

TEST_F(KeychainDomains, SearchListsAreSavedPerDomainAndMergedWithTheCommonList) {
  SecKeychainRef a = Create("a.keychain");
  SecKeychainRef b = Create("b.keychain");
  SecKeychainRef c = Create("c.keychain");
  const void* ab[] = {a, b};
  CFArrayRef list = CFArrayCreate(nullptr, ab, 2, &kCFTypeArrayCallBacks);
  ASSERT_EQ(SecKeychainSetSearchList(list), errSecSuccess);
  CFRelease(list);
  CFArrayRef commonList = CFArrayCreate(nullptr, (const void**)&c, 1, &kCFTypeArrayCallBacks);
  ASSERT_EQ(SecKeychainSetDomainSearchList(kSecPreferencesDomainCommon, commonList), errSecSuccess);

  CFArrayRef got = nullptr;
  ASSERT_EQ(SecKeychainCopySearchList(&got), errSecSuccess);
  EXPECT_EQ(Paths(got), (std::vector<std::string>{PathIn("a.keychain"), PathIn("b.keychain"), PathIn("c.keychain")}));
  CFRelease(got);
  ASSERT_EQ(SecKeychainCopyDomainSearchList(kSecPreferencesDomainUser, &got), errSecSuccess);
  EXPECT_EQ(Paths(got).size(), 2u);
  CFRelease(got);
  ASSERT_EQ(SecKeychainCopyDomainSearchList(kSecPreferencesDomainDynamic, &got), errSecSuccess);
  EXPECT_EQ(CFArrayGetCount(got), 0);
  CFRelease(got);
  // The preference files live in the domains' folders.
  EXPECT_EQ(access((home().userDomainDir() + "/keychain-preferences").c_str(), F_OK), 0);
  EXPECT_EQ(access((home().commonDomainDir() + "/keychain-preferences").c_str(), F_OK), 0);

  // An empty list falls back to the default keychain alone (plus the common list).
  CFArrayRef empty = CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks);
  ASSERT_EQ(SecKeychainSetSearchList(empty), errSecSuccess);
  ASSERT_EQ(SecKeychainCopySearchList(&got), errSecSuccess);
  EXPECT_EQ(Paths(got), (std::vector<std::string>{home().userDomainDir() + "/login.keychain-db", PathIn("c.keychain")}));
  CFRelease(got);
  CFRelease(empty);

  EXPECT_EQ(SecKeychainSetSearchList(nullptr), errSecParam);
  EXPECT_EQ(SecKeychainCopySearchList(nullptr), errSecParam);
  EXPECT_EQ(SecKeychainSetDomainSearchList(kSecPreferencesDomainDynamic, commonList), errSecInvalidPrefsDomain);
  EXPECT_EQ(SecKeychainSetDomainSearchList(7, commonList), errSecInvalidPrefsDomain);
  CFRelease(commonList);
  CFRelease(a);
  CFRelease(b);
  CFRelease(c);
}

TEST_F(KeychainDomains, DomainDefaultsAndThePreferenceDomainAreIndependent) {
  SecKeychainRef sys = Create("system.keychain");
  SecKeychainRef none = nullptr;
  EXPECT_EQ(SecKeychainCopyDomainDefault(kSecPreferencesDomainSystem, &none), errSecNoDefaultKeychain);
  ASSERT_EQ(SecKeychainSetDomainDefault(kSecPreferencesDomainSystem, sys), errSecSuccess);
  SecKeychainRef got = nullptr;
  ASSERT_EQ(SecKeychainCopyDomainDefault(kSecPreferencesDomainSystem, &got), errSecSuccess);
  EXPECT_EQ(got, sys);
  CFRelease(got);
  EXPECT_EQ(SecKeychainCopyDomainDefault(kSecPreferencesDomainDynamic, &got), errSecInvalidPrefsDomain);
  EXPECT_EQ(SecKeychainSetDomainDefault(kSecPreferencesDomainDynamic, sys), errSecInvalidPrefsDomain);

  SecPreferencesDomain domain = -1;
  ASSERT_EQ(SecKeychainGetPreferenceDomain(&domain), errSecSuccess);
  EXPECT_EQ(domain, kSecPreferencesDomainUser);
  ASSERT_EQ(SecKeychainSetPreferenceDomain(kSecPreferencesDomainSystem), errSecSuccess);
  SecKeychainGetPreferenceDomain(&domain);
  EXPECT_EQ(domain, kSecPreferencesDomainSystem);
  ASSERT_EQ(SecKeychainCopyDefault(&got), errSecSuccess);  // the system domain's default now
  EXPECT_EQ(got, sys);
  CFRelease(got);
  EXPECT_EQ(SecKeychainSetPreferenceDomain(kSecPreferencesDomainDynamic), errSecInvalidPrefsDomain);
  EXPECT_EQ(SecKeychainGetPreferenceDomain(nullptr), errSecParam);
  // Clearing the system default.
  ASSERT_EQ(SecKeychainSetDomainDefault(kSecPreferencesDomainSystem, nullptr), errSecSuccess);
  EXPECT_EQ(SecKeychainCopyDefault(&got), errSecNoDefaultKeychain);
  SecKeychainSetPreferenceDomain(kSecPreferencesDomainUser);

  Boolean allowed = 0;
  ASSERT_EQ(SecKeychainGetUserInteractionAllowed(&allowed), errSecSuccess);
  EXPECT_TRUE(allowed);
  SecKeychainSetUserInteractionAllowed(false);
  SecKeychainGetUserInteractionAllowed(&allowed);
  EXPECT_FALSE(allowed);
  EXPECT_EQ(SecKeychainGetUserInteractionAllowed(nullptr), errSecParam);
  CFRelease(sys);
}

}  // namespace
}  // namespace sectest
