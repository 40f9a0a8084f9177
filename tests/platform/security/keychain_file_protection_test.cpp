// What the keychain file protects and how it resists damage: file mode,
// secrets never in the clear, ciphertexts bound to their item, key
// derivation parameters stored, and corrupt, foreign, truncated or newer
// files refused without being overwritten.
#include <sqlite3.h>
#include <sys/stat.h>

#include "keychain_damage.h"

namespace sectest {
namespace {

class KeychainFile : public KeychainTest {};

OSStatus StatusOf(const std::string& path) {
  SecKeychainRef kc = nullptr;
  if (SecKeychainOpen(path.c_str(), &kc) != errSecSuccess) return -1;
  SecKeychainStatus st = 0;
  OSStatus s = SecKeychainGetStatus(kc, &st);
  CFRelease(kc);
  return s;
}

TEST_F(KeychainFile, FileIsPrivateAndNeverHoldsSecretsInTheClear) {
  const std::string marker = "MARKER-7f3a9c1e-plaintext-must-not-appear";
  SecKeychainRef kc = Create("p.keychain", "keychain-password-4d2b");
  ASSERT_EQ(AddGeneric(kc, "svc", "acct", marker), errSecSuccess);
  ASSERT_EQ(AddGeneric(kc, "svc2", "acct", marker + marker), errSecSuccess);
  std::string path = PathIn("p.keychain");
  struct stat st;
  ASSERT_EQ(stat(path.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
  // Look while the write-ahead log may still hold the newest pages, then after closing.
  for (int round = 0; round < 2; ++round) {
    for (const std::string& f : {path, path + "-wal"}) {
      std::string bytes = ReadFile(f);
      EXPECT_EQ(bytes.find(marker), std::string::npos) << f;
      EXPECT_EQ(bytes.find("keychain-password-4d2b"), std::string::npos) << "the keychain password leaked into " << f;
    }
    CFRelease(kc);
    kc = nullptr;
    if (round == 0) {
      ASSERT_EQ(SecKeychainOpen(path.c_str(), &kc), errSecSuccess);
    }
  }
}

TEST_F(KeychainFile, KeyDerivationParametersAreStoredPerFile) {
  std::string cheap = PathIn("cheap.keychain");
  SecKeychainRef kc = Create("cheap.keychain");
  CFRelease(kc);
  EXPECT_EQ(QueryInt(cheap, "SELECT opslimit FROM keychain"), 1);
  EXPECT_EQ(QueryInt(cheap, "SELECT memlimit FROM keychain"), 8192);
  {
    kc_test::ScopedEnv env;
    env.Set("KEYCHAIN_KDF_PROFILE", nullptr);
    kc = Create("normal.keychain", "pw");
    CFRelease(kc);
  }
  std::string normal = PathIn("normal.keychain");
  EXPECT_EQ(QueryInt(normal, "SELECT opslimit FROM keychain"), 2);
  EXPECT_EQ(QueryInt(normal, "SELECT memlimit FROM keychain"), 64 << 20);
  // The stored parameters are the ones used, whatever the environment says now.
  SecKeychainLockAll();
  ASSERT_EQ(SecKeychainOpen(normal.c_str(), &kc), errSecSuccess);
  EXPECT_EQ(SecKeychainUnlock(kc, 2, "pw", true), errSecSuccess);
  CFRelease(kc);
}

TEST_F(KeychainFile, CorruptForeignTruncatedAndEmptyFilesAreInvalidAndUntouched) {
  SecKeychainRef kc = Create("good.keychain");
  for (int i = 0; i < 50; ++i) ASSERT_EQ(AddGeneric(kc, "svc", std::to_string(i), "pw"), errSecSuccess);
  CFRelease(kc);
  std::string good = ReadFile(PathIn("good.keychain"));
  ASSERT_GT(good.size(), 8192u);

  std::string garbage(4096, '\0');
  for (size_t i = 0; i < garbage.size(); ++i) garbage[i] = char((i * 7919) & 0xff);
  ASSERT_TRUE(WriteFile(PathIn("garbage.keychain"), garbage));
  ASSERT_TRUE(WriteFile(PathIn("truncated.keychain"), good.substr(0, good.size() / 3)));
  ASSERT_TRUE(WriteFile(PathIn("empty.keychain"), ""));
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(PathIn("foreign.db").c_str(), &db), SQLITE_OK);
  sqlite3_exec(db, "CREATE TABLE notes(x); INSERT INTO notes VALUES (1);", nullptr, nullptr, nullptr);
  sqlite3_close(db);

  for (const char* name : {"garbage.keychain", "truncated.keychain", "empty.keychain", "foreign.db"}) {
    std::string path = PathIn(name);
    std::string before = ReadFile(path);
    SecKeychainRef k = nullptr;
    ASSERT_EQ(SecKeychainOpen(path.c_str(), &k), errSecSuccess) << name;
    SecKeychainStatus st = 0;
    OSStatus status = SecKeychainGetStatus(k, &st);
    EXPECT_EQ(status, errSecInvalidKeychain) << name;
    EXPECT_EQ(SecKeychainUnlock(k, 6, "secret", true), status) << name;
    EXPECT_EQ(AddGeneric(k, "s", "a", "x"), status == errSecSuccess ? errSecSuccess : status) << name;
    // The only keychain searched cannot be read: that is the answer, not "no such item".
    EXPECT_EQ(FindSecret(k, "svc", "1"), "status " + std::to_string(status)) << name;
    CFRelease(k);
    EXPECT_EQ(ReadFile(path), before) << name << " was modified";
  }
}

TEST_F(KeychainFile, NewerSchemaIsRefusedAsWrongVersion) {
  SecKeychainRef kc = Create("new.keychain");
  CFRelease(kc);
  Tamper(PathIn("new.keychain"), "UPDATE keychain SET schema = schema + 1");
  EXPECT_EQ(StatusOf(PathIn("new.keychain")), errSecWrongSecVersion);
}

TEST_F(KeychainFile, WrongPasswordAndDamagedHeaderAreToldApart) {
  SecKeychainRef kc = Create("h.keychain", "right");
  CFRelease(kc);
  SecKeychainLockAll();
  ASSERT_EQ(SecKeychainOpen(PathIn("h.keychain").c_str(), &kc), errSecSuccess);
  EXPECT_EQ(SecKeychainUnlock(kc, 5, "wrong", true), errSecAuthFailed);
  CFRelease(kc);
  // Flip one byte of the wrapped key: that is damage, not a wrong password.
  Tamper(PathIn("h.keychain"),
         "UPDATE keychain SET wrapped_key = substr(wrapped_key, 1, 30) || "
         "CASE WHEN substr(wrapped_key, 31, 1) = x'00' THEN x'01' ELSE x'00' END || substr(wrapped_key, 32)");
  ASSERT_EQ(SecKeychainOpen(PathIn("h.keychain").c_str(), &kc), errSecSuccess);
  EXPECT_EQ(SecKeychainUnlock(kc, 5, "right", true), errSecInvalidKeychain);
  CFRelease(kc);
  // So is a changed lock interval, which would lock the keychain at every use.
  kc = Create("s.keychain", "right");
  CFRelease(kc);
  Tamper(PathIn("s.keychain"), "UPDATE keychain SET lock_interval = 0");
  ASSERT_EQ(SecKeychainOpen(PathIn("s.keychain").c_str(), &kc), errSecSuccess);
  EXPECT_EQ(SecKeychainUnlock(kc, 5, "right", true), errSecInvalidKeychain);
  CFRelease(kc);
}

TEST_F(KeychainFile, CiphertextMovedToAnotherItemIsNeverReturned) {
  SecKeychainRef kc = Create("mv.keychain");
  ASSERT_EQ(AddGeneric(kc, "svc", "victim", "victim-secret"), errSecSuccess);
  ASSERT_EQ(AddGeneric(kc, "svc", "thief", "thief-secret"), errSecSuccess);
  Tamper(PathIn("mv.keychain"),
         "UPDATE items SET secret = (SELECT secret FROM items WHERE a_acct = CAST('victim' AS BLOB))"
         " WHERE a_acct = CAST('thief' AS BLOB)");
  OSStatus status = 0;
  std::string got = FindSecret(kc, "svc", "thief", &status);
  EXPECT_EQ(status, errSecDecode);
  EXPECT_NE(got, "victim-secret");
  EXPECT_EQ(FindSecret(kc, "svc", "victim"), "victim-secret");
  CFRelease(kc);
}

}  // namespace
}  // namespace sectest
