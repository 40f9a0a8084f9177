// KeychainZNQ driven as a host program drives it, against real keychain files:
// the default keychain, opening by path and by folder item, locking and
// unlocking, status, path and name, lock settings, deletion, the default
// keychain, and the one reference each object owns.
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <tuple>

#include "keychain_class_fixture.h"

namespace kc_plugin_test {
namespace {

class KeychainObject : public KeychainClassTest {};

// Every object a method makes wraps the keychain it names (the default is
// the login keychain, made on first use) and holds exactly one retain on its
// reference, given back when the host destroys it.
TEST_F(KeychainObject, EachObjectReleasesItsReferenceExactlyOnce) {
  Value created = CreateKeychain("owned.keychain", "pw");
  const std::string path = KeychainPath("owned.keychain");
  Value item = Method(created, decl::kAddGenericText, {Text("svc"), Text("acct"), Text("pw")});
  ASSERT_FALSE(item.isNil());

  const std::string login = home_.userDomainDir() + "/login.keychain-db";
  const std::vector<std::tuple<const char *, std::function<Value()>, std::string>> makers = {
      {"Default", [&] { return Shared(decl::kDefault); }, login},
      {"Open(path)", [&] { return Shared(decl::kOpenPath, {Text(path)}); }, path},
      {"Open(file)", [&] { return Shared(decl::kOpenFile, {host().FolderItem(path)}); }, path},
      {"item Keychain", [&] { return Method(item, decl::kKeychain); }, path},
  };
  for (const auto &[what, make, named] : makers) {
    Value keychain = make();
    ASSERT_FALSE(keychain.isNil()) << what;
    EXPECT_NE(keychain.object(), created.object()) << what;
    EXPECT_EQ(host().StringBytes(Method(keychain, decl::kPath)), named) << what;
    EXPECT_EQ(Property(keychain, "Lasterror"), 0) << what;
    CFTypeRef reference = HandleOf<CFTypeRef>(keychain);
    ASSERT_NE(reference, nullptr) << what;
    CFRetain(reference);
    const CFIndex held = CFGetRetainCount(reference);
    keychain.reset();
    EXPECT_EQ(CFGetRetainCount(reference), held - 1) << what;
    CFRelease(reference);
  }
  Method(item, decl::kDelete);
}

TEST_F(KeychainObject, OpenOfAMissingFileGivesAnObjectWhoseCallsReportIt) {
  const std::string path = KeychainPath("missing.keychain");
  Value keychain = Shared(decl::kOpenPath, {Text(path)});
  EXPECT_EQ(LastError(), 0) << "opening does not look at the file";
  ASSERT_FALSE(keychain.isNil());

  EXPECT_EQ(Method(keychain, decl::kStatus).integer(), 0);
  EXPECT_EQ(Property(keychain, "Lasterror"), errSecNoSuchKeychain);
  EXPECT_FALSE(Method(keychain, decl::kIsUnlocked).boolean());
  EXPECT_EQ(Property(keychain, "Lasterror"), errSecNoSuchKeychain);
  EXPECT_EQ(host().StringBytes(Method(keychain, decl::kPath)), path);
  EXPECT_EQ(Property(keychain, "Lasterror"), 0);
  Method(keychain, decl::kDelete);
  EXPECT_EQ(Property(keychain, "Lasterror"), errSecNoSuchKeychain);

  // No path: no object and no framework call; no exception either.
  EXPECT_TRUE(Shared(decl::kOpenPath, {Value()}).isNil());
  EXPECT_EQ(LastError(), -1);
  EXPECT_FALSE(host().TakeException().has_value());
  // An empty path is still handed to the framework, which answers for it.
  Value empty = Shared(decl::kOpenPath, {Text("")});
  EXPECT_NE(LastError(), -1);
  EXPECT_EQ(empty.isNil(), LastError() != 0);
}

TEST_F(KeychainObject, OpenByFolderItemCallsTheFrameworkEvenWithoutAPath) {
  Value byPath = CreateKeychain("folder.keychain", "");
  Value opened = Shared(decl::kOpenFile, {host().FolderItem(KeychainPath("folder.keychain"))});
  EXPECT_EQ(LastError(), 0);
  ASSERT_FALSE(opened.isNil());
  EXPECT_EQ(host().StringBytes(Method(opened, decl::kPath)), KeychainPath("folder.keychain"));
  EXPECT_EQ(Method(opened, decl::kStatus).integer(), 7);

  // A file not made yet, named with a composed U+00E9: the framework gets
  // its path decomposed (e, U+0301), as the file system would spell it.
  Value accented = Shared(decl::kOpenFile, {host().FolderItem(home_.root() + "/caf\xC3\xA9.keychain")});
  EXPECT_EQ(LastError(), 0);
  ASSERT_FALSE(accented.isNil());
  EXPECT_EQ(host().StringBytes(Method(accented, decl::kPath)), home_.root() + "/cafe\xCC\x81.keychain");

  // A file in a folder that does not exist has no path; the framework is
  // still asked and its refusal is the status.
  Value nowhere = Shared(decl::kOpenFile, {host().FolderItem(home_.root() + "/no/such/dir/x.keychain")});
  EXPECT_TRUE(nowhere.isNil());
  EXPECT_NE(LastError(), 0);
  EXPECT_NE(LastError(), -1);

  EXPECT_TRUE(Shared(decl::kOpenFile, {Value()}).isNil());
  EXPECT_EQ(LastError(), -1);
}

// The name is the path's last component without its last extension; a
// leading dot is part of the name, dots in folder names are not looked at.
TEST_F(KeychainObject, NameIsTheLastComponentWithoutItsExtension) {
  const std::string root = home_.root();
  const std::vector<std::pair<std::string, std::string>> cases = {
      {root + "/login.keychain", "login"},
      {root + "/my.backup.keychain", "my.backup"},
      {root + "/.hidden", ".hidden"},
      {root + "/.hidden.keychain", ".hidden"},
      {root + "/plain", "plain"},
      {root + "/folder.d/plain", "plain"},
      {root + "/trailing.", "trailing"},
      {root + "/caf\xC3\xA9.keychain", "caf\xC3\xA9"},
  };
  for (const auto &[path, name] : cases) {
    Value keychain = Shared(decl::kOpenPath, {Text(path)});
    ASSERT_FALSE(keychain.isNil()) << path;
    Value got = Method(keychain, decl::kName);
    EXPECT_EQ(host().StringBytes(got), name) << path;
    EXPECT_EQ(host().StringEncoding(got), kEncodingUTF8) << path;
    EXPECT_EQ(Property(keychain, "Lasterror"), 0) << path;
  }
}

// Paths are read into a 1024-byte buffer: one of 1023 bytes fits with its
// terminator, one of 1024 does not, and the framework's refusal is reported.
TEST_F(KeychainObject, PathAndNameFitA1024ByteBufferAndReportOverflow) {
  const std::string prefix = home_.root() + "/";
  const std::string fits = prefix + std::string(1023 - prefix.size() - 9, 'a') + ".keychain";
  ASSERT_EQ(fits.size(), 1023u);
  Value keychain = Shared(decl::kOpenPath, {Text(fits)});
  ASSERT_FALSE(keychain.isNil());
  EXPECT_EQ(host().StringBytes(Method(keychain, decl::kPath)), fits);
  EXPECT_EQ(Property(keychain, "Lasterror"), 0);
  EXPECT_EQ(host().StringBytes(Method(keychain, decl::kName)), std::string(1023 - prefix.size() - 9, 'a'));

  const std::string tooLong = prefix + std::string(1024 - prefix.size() - 9, 'b') + ".keychain";
  Value overlong = Shared(decl::kOpenPath, {Text(tooLong)});
  ASSERT_FALSE(overlong.isNil());
  EXPECT_TRUE(Method(overlong, decl::kPath).isNil());
  EXPECT_EQ(Property(overlong, "Lasterror"), errSecBufferTooSmall);
  EXPECT_TRUE(Method(overlong, decl::kName).isNil());
  EXPECT_EQ(Property(overlong, "Lasterror"), errSecBufferTooSmall);
}

TEST_F(KeychainObject, LockAndPasswordUnlockAreCheckedByTheKeychain) {
  // "pässwörd" in UTF-8 on disk; the host string given to Unlock is
  // Mac OS Roman, so only a UTF-8 conversion opens the keychain.
  const std::string utf8Password = "p\xC3\xA4ssw\xC3\xB6rd";
  const std::string romanPassword = "p\x8Assw\x9Ard";
  Value keychain = CreateKeychain("locks.keychain", utf8Password);
  EXPECT_EQ(Method(keychain, decl::kStatus).integer(), 7);

  Method(keychain, decl::kLock);
  EXPECT_EQ(Property(keychain, "Lasterror"), 0);
  EXPECT_EQ(Method(keychain, decl::kStatus).integer(), 2) << "locked: readable only";
  EXPECT_FALSE(Method(keychain, decl::kIsUnlocked).boolean());

  // A wrong, an empty and a nil password are all checked, never prompted for.
  for (const Value &wrong : {Text("wrong"), Text(""), Value(), Text(utf8Password.substr(0, 5))}) {
    Method(keychain, decl::kUnlockWith, {wrong});
    EXPECT_EQ(Property(keychain, "Lasterror"), errSecAuthFailed);
    EXPECT_FALSE(Method(keychain, decl::kIsUnlocked).boolean());
  }

  Method(keychain, decl::kUnlockWith, {host().String(romanPassword, kEncodingMacRoman)});
  EXPECT_EQ(Property(keychain, "Lasterror"), 0);
  EXPECT_EQ(Method(keychain, decl::kStatus).integer(), 7);
  EXPECT_TRUE(Method(keychain, decl::kIsUnlocked).boolean());
}

// decl::kUnlock without a password lets the system ask the user; with prompts
// switched off the keychain refuses.
TEST_F(KeychainObject, UnlockWithoutPasswordAsksTheUser) {
  Value keychain = CreateKeychain("asked.keychain", "spoken");
  Method(keychain, decl::kLock);

  {
    NoUserInteraction quiet;
    Method(keychain, decl::kUnlock);
    EXPECT_EQ(Property(keychain, "Lasterror"), errSecAuthFailed);
  }
  AnswerPromptsWith("not it");
  Method(keychain, decl::kUnlock);
  EXPECT_EQ(Property(keychain, "Lasterror"), errSecAuthFailed);
  EXPECT_FALSE(Method(keychain, decl::kIsUnlocked).boolean());

  AnswerPromptsWith("spoken");
  // The password form never prompts, even when a prompt would succeed.
  Method(keychain, decl::kUnlockWith, {Text("")});
  EXPECT_EQ(Property(keychain, "Lasterror"), errSecAuthFailed);
  Method(keychain, decl::kUnlock);
  EXPECT_EQ(Property(keychain, "Lasterror"), 0);
  EXPECT_TRUE(Method(keychain, decl::kIsUnlocked).boolean());
}

// IsUnlocked looks at the unlocked bit alone: a read-only file is unlocked
// (and may be reported as not writable).
TEST_F(KeychainObject, IsUnlockedFollowsTheUnlockedBitWhateverTheOthers) {
  Value keychain = CreateKeychain("readonly.keychain", "");
  ASSERT_EQ(chmod(KeychainPath("readonly.keychain").c_str(), 0444), 0);
  EXPECT_EQ(Method(keychain, decl::kStatus).integer() & ~RBInteger(kSecWritePermStatus), 3);
  EXPECT_TRUE(Method(keychain, decl::kIsUnlocked).boolean());
  EXPECT_EQ(Property(keychain, "Lasterror"), 0);
  chmod(KeychainPath("readonly.keychain").c_str(), 0600);
}

// Reading passes a version-0 record, which the keychain leaves alone: the
// copy is all zeros, version included. Writing copies the object's fields;
// nil writes the zero record, which the keychain ignores.
TEST_F(KeychainObject, SettingsAreCopiedFieldByFieldBothWays) {
  Value keychain = CreateKeychain("settings.keychain", "");
  const std::string path = KeychainPath("settings.keychain");
  auto stored = [&](SecKeychainSettings *out) {
    SecKeychainRef direct = nullptr;
    ASSERT_EQ(SecKeychainOpen(path.c_str(), &direct), 0);
    CFHold hold(direct);
    *out = SecKeychainSettings{1, 0, 0, 0};
    ASSERT_EQ(SecKeychainCopySettings(direct, out), 0);
  };

  Value read = Method(keychain, decl::kSettings);
  EXPECT_EQ(Property(keychain, "Lasterror"), 0);
  ASSERT_FALSE(read.isNil());
  EXPECT_EQ(host().ClassName(read), "KeychainSettingsZNQ");
  EXPECT_EQ(Property(read, "version"), 0) << "the constructor's 1 is replaced by the record's";
  EXPECT_EQ(Property(read, "lockInterval"), 0);
  EXPECT_EQ(Property(read, "lockOnSleep"), 0);
  EXPECT_EQ(Property(read, "useLockInterval"), 0);

  Value wanted = host().NewInstance("KeychainSettingsZNQ");
  EXPECT_EQ(Property(wanted, "version"), 1);
  ASSERT_TRUE(host().SetProperty(wanted, "lockInterval", Value::Integer(600)).ok);
  ASSERT_TRUE(host().SetProperty(wanted, "lockOnSleep", Value::Boolean(false)).ok);
  ASSERT_TRUE(host().SetProperty(wanted, "useLockInterval", Value::Boolean(true)).ok);
  AssignMethod(keychain, decl::kSettings, {}, wanted);
  EXPECT_EQ(Property(keychain, "Lasterror"), 0);
  SecKeychainSettings now;
  stored(&now);
  EXPECT_EQ(now.lockInterval, 600u);
  EXPECT_FALSE(now.lockOnSleep);

  ASSERT_TRUE(host().SetProperty(wanted, "lockInterval", Value::Integer(1234)).ok);
  ASSERT_TRUE(host().SetProperty(wanted, "lockOnSleep", Value::Boolean(true)).ok);
  AssignMethod(keychain, decl::kSettings, {}, wanted);
  stored(&now);
  EXPECT_EQ(now.lockInterval, 1234u);
  EXPECT_TRUE(now.lockOnSleep);

  // Nil and a version-0 object are zero records the keychain ignores.
  AssignMethod(keychain, decl::kSettings, {}, Value());
  EXPECT_EQ(Property(keychain, "Lasterror"), 0);
  ASSERT_TRUE(host().SetProperty(wanted, "version", Value::Integer(0)).ok);
  ASSERT_TRUE(host().SetProperty(wanted, "lockInterval", Value::Integer(5)).ok);
  AssignMethod(keychain, decl::kSettings, {}, wanted);
  EXPECT_EQ(Property(keychain, "Lasterror"), 0);
  stored(&now);
  EXPECT_EQ(now.lockInterval, 1234u);
  EXPECT_TRUE(now.lockOnSleep);

  // What was written is in force: a one-second interval locks the keychain.
  ASSERT_TRUE(host().SetProperty(wanted, "version", Value::Integer(1)).ok);
  ASSERT_TRUE(host().SetProperty(wanted, "lockInterval", Value::Integer(1)).ok);
  AssignMethod(keychain, decl::kSettings, {}, wanted);
  EXPECT_EQ(Property(keychain, "Lasterror"), 0);
  usleep(1500 * 1000);
  EXPECT_FALSE(Method(keychain, decl::kIsUnlocked).boolean());
}

TEST_F(KeychainObject, DeleteRemovesTheFileButTheObjectKeepsItsReference) {
  Value keychain = CreateKeychain("doomed.keychain", "");
  const std::string path = KeychainPath("doomed.keychain");
  const RBInteger handle = Property(keychain, "Handle");

  Method(keychain, decl::kDelete);
  EXPECT_EQ(Property(keychain, "Lasterror"), 0);
  struct stat st;
  EXPECT_NE(stat(path.c_str(), &st), 0) << "the file is gone";
  EXPECT_EQ(Property(keychain, "Handle"), handle);
  EXPECT_EQ(host().StringBytes(Method(keychain, decl::kPath)), path);
  EXPECT_EQ(Method(keychain, decl::kStatus).integer(), 0);
  EXPECT_EQ(Property(keychain, "Lasterror"), errSecNoSuchKeychain);
  Method(keychain, decl::kDelete);
  EXPECT_EQ(Property(keychain, "Lasterror"), errSecNoSuchKeychain);
}

TEST_F(KeychainObject, SetDefaultMakesTheKeychainTheDefault) {
  Value login = Shared(decl::kDefault);
  ASSERT_FALSE(login.isNil());
  Value keychain = CreateKeychain("chosen.keychain", "");
  Method(keychain, decl::kSetDefault);
  EXPECT_EQ(Property(keychain, "Lasterror"), 0);

  Value now = Shared(decl::kDefault);
  EXPECT_EQ(LastError(), 0);
  EXPECT_EQ(host().StringBytes(Method(now, decl::kPath)), KeychainPath("chosen.keychain"));
  SecKeychainRef direct = nullptr;
  ASSERT_EQ(SecKeychainCopyDefault(&direct), 0);
  CFHold hold(direct);
  EXPECT_EQ(hold.get(), HandleOf<CFTypeRef>(keychain));

  // A keychain that was never created cannot be the default.
  Value phantom = Shared(decl::kOpenPath, {Text(KeychainPath("phantom.keychain"))});
  Method(phantom, decl::kSetDefault);
  EXPECT_NE(Property(phantom, "Lasterror"), 0);
  EXPECT_NE(Property(phantom, "Lasterror"), -1);
  EXPECT_EQ(host().StringBytes(Method(Shared(decl::kDefault), decl::kPath)), KeychainPath("chosen.keychain"));
}

// A KeychainZNQ a program makes itself holds nothing: every class method
// stops at -1 with an empty result, whatever status the object had.
TEST_F(KeychainObject, ObjectWithoutReferenceStopsEveryMethodAtMinusOne) {
  Value keychain = host().NewInstance("KeychainZNQ");
  ASSERT_FALSE(keychain.isNil());
  EXPECT_EQ(Property(keychain, "Handle"), 0);
  auto reset = [&] { ASSERT_TRUE(host().SetProperty(keychain, "Lasterror", Value::Integer(99)).ok); };

  for (const char *declaration : {decl::kPath, decl::kName, decl::kSettings}) {
    reset();
    EXPECT_TRUE(Method(keychain, declaration).isNil()) << declaration;
    EXPECT_EQ(Property(keychain, "Lasterror"), -1) << declaration;
  }
  reset();
  EXPECT_EQ(Method(keychain, decl::kStatus).integer(), 0);
  EXPECT_EQ(Property(keychain, "Lasterror"), -1);
  reset();
  EXPECT_FALSE(Method(keychain, decl::kIsUnlocked).boolean());
  EXPECT_EQ(Property(keychain, "Lasterror"), -1);
  for (const char *declaration : {decl::kLock, decl::kUnlock, decl::kDelete, decl::kSetDefault}) {
    reset();
    Method(keychain, declaration);
    EXPECT_EQ(Property(keychain, "Lasterror"), -1) << declaration;
  }
  reset();
  Method(keychain, decl::kUnlockWith, {Text("pw")});
  EXPECT_EQ(Property(keychain, "Lasterror"), -1);
  reset();
  AssignMethod(keychain, decl::kSettings, {}, host().NewInstance("KeychainSettingsZNQ"));
  EXPECT_EQ(Property(keychain, "Lasterror"), -1);
}

}  // namespace
}  // namespace kc_plugin_test
