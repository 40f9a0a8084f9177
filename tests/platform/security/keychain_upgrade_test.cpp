// Files of the first store format (data/landed-format.keychain, written by
// the library as it first landed): they open and read as before, move to the
// current binding on their first unlock, and lose nothing when the process
// is killed at any point of that move.
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <iostream>

#include "keychain_damage.h"

namespace sectest {
namespace {

class KeychainUpgrade : public KeychainTest {
 protected:
  // A private copy of the kept file, so the original is never changed.
  std::string CopyOfLanded(const std::string& name) {
    std::string bytes = ReadFile(std::string(KEYCHAIN_TEST_DATA) + "/landed-format.keychain");
    EXPECT_GT(bytes.size(), 0u);
    EXPECT_TRUE(WriteFile(PathIn(name), bytes));
    return PathIn(name);
  }
};

constexpr int kLandedItems = 59;

// Every item of the kept file, as data/README.md lists them.
std::vector<StoredItem> LandedGeneric() {
  std::vector<StoredItem> items;
  for (int i = 0; i < 40; ++i)
    items.push_back({false, "service-" + std::to_string(i % 4), "account-" + std::to_string(i),
                     i == 3 ? std::string("bin\0ary\xff", 8) : "secret-" + std::to_string(i * 7919)});
  items.push_back({false, "empty", "password", ""});
  items.push_back({false, "renamed", "after", "moved-item"});
  return items;
}

// Reads every item of the kept file back; "" when all are there and right.
std::string CheckLanded(SecKeychainRef kc) {
  for (const StoredItem& i : LandedGeneric()) {
    OSStatus status = 0;
    std::string got = FindSecret(kc, i.service, i.account, &status);
    if (status != errSecSuccess || got != i.secret) return i.account + ": " + got;
  }
  OSStatus status = 0;
  SecKeychainItemRef item = nullptr;
  status = SecKeychainFindGenericPassword(kc, 6, "nodata", 4, "item", nullptr, nullptr, &item);
  if (status != errSecSuccess) return "nodata: " + std::to_string(status);
  UInt32 length = 99;
  void* data = nullptr;
  status = SecKeychainItemCopyContent(item, nullptr, nullptr, &length, &data);
  CFRelease(item);
  if (status != errSecSuccess || length != 0 || data) return "nodata has data";
  const SecProtocolType protos[] = {kSecProtocolTypeHTTPS, kSecProtocolTypeFTP, kSecProtocolTypeIMAP,
                                    kSecProtocolTypeSSH};
  const SecAuthenticationType auths[] = {kSecAuthenticationTypeDefault, kSecAuthenticationTypeHTMLForm,
                                         kSecAuthenticationTypeHTTPBasic, kSecAuthenticationTypeNTLM};
  for (int i = 0; i < 16; ++i) {
    std::string server = "host" + std::to_string(i % 5) + ".example.org", domain = i % 2 ? "realm" : "";
    std::string account = "user-" + std::to_string(i), path = "/p/" + std::to_string(i % 3);
    void* secret = nullptr;
    status = SecKeychainFindInternetPassword(
        kc, UInt32(server.size()), server.data(), UInt32(domain.size()), domain.data(), UInt32(account.size()),
        account.data(), UInt32(path.size()), path.data(), UInt16(i % 3 ? 443 + i : 0), protos[i % 4],
        auths[(i / 4) % 4], &length, &secret, nullptr);
    if (status != errSecSuccess) return account + ": status " + std::to_string(status);
    std::string got(static_cast<const char*>(secret), length);
    SecKeychainItemFreeContent(nullptr, secret);
    if (got != "inet-secret-" + std::to_string(i * 31)) return account + ": " + got;
  }
  return "";
}

int CountItems(SecKeychainRef kc) {
  SecKeychainSearchRef search = nullptr;
  if (SecKeychainSearchCreateFromAttributes(kc, 0x0A, nullptr, &search) != errSecSuccess) return -1;
  int n = 0;
  SecKeychainItemRef item = nullptr;
  while (SecKeychainSearchCopyNext(search, &item) == errSecSuccess) {
    ++n;
    CFRelease(item);
  }
  CFRelease(search);
  return n;
}

TEST_F(KeychainUpgrade, LandedFormatReadsAsBeforeAndIsUpgradedOnFirstUnlock) {
  const std::string path = CopyOfLanded("landed.keychain");
  SecKeychainRef kc = nullptr;
  ASSERT_EQ(SecKeychainOpen(path.c_str(), &kc), errSecSuccess);
  // Locked, the old file is searched as ever and stays as it is.
  EXPECT_EQ(CountItems(kc), kLandedItems);
  EXPECT_EQ(QueryInt(path, "SELECT schema FROM keychain"), 1);
  ASSERT_EQ(SecKeychainUnlock(kc, 6, "landed", true), errSecSuccess);
  EXPECT_EQ(QueryInt(path, "SELECT schema FROM keychain"), 2);
  EXPECT_EQ(CheckLanded(kc), "");
  EXPECT_EQ(CountItems(kc), kLandedItems);
  CFRelease(kc);

  // The new binding is in force: names swapped in the file no longer carry
  // a secret over, and a fresh process reads everything back.
  Tamper(path,
         "UPDATE items SET a_acct = CAST('x' AS BLOB) WHERE a_acct = CAST('account-1' AS BLOB);"
         "UPDATE items SET a_acct = CAST('account-1' AS BLOB) WHERE a_acct = CAST('account-5' AS BLOB);"
         "UPDATE items SET a_acct = CAST('account-5' AS BLOB) WHERE a_acct = CAST('x' AS BLOB);");
  SecKeychainLockAll();
  ASSERT_EQ(SecKeychainOpen(path.c_str(), &kc), errSecSuccess);
  ASSERT_EQ(SecKeychainUnlock(kc, 6, "landed", true), errSecSuccess);
  OSStatus status = 0;
  FindSecret(kc, "service-1", "account-1", &status);
  EXPECT_EQ(status, errSecDecode);
  EXPECT_EQ(FindSecret(kc, "service-2", "account-2"), "secret-15838");
  CFRelease(kc);
}

// One secret that no longer opens is reported, and holds back neither the
// upgrade nor any other item.
TEST_F(KeychainUpgrade, DamagedSecretStaysDamagedAndTheRestIsUpgraded) {
  const std::string path = CopyOfLanded("damaged.keychain");
  Tamper(path,
         "UPDATE items SET secret = CAST(substr(secret, 1, 30) || "
         "CASE WHEN substr(secret, 31, 1) = x'00' THEN x'01' ELSE x'00' END || substr(secret, 32) AS BLOB)"
         " WHERE a_acct = CAST('account-7' AS BLOB)");
  SecKeychainRef kc = nullptr;
  ASSERT_EQ(SecKeychainOpen(path.c_str(), &kc), errSecSuccess);
  ASSERT_EQ(SecKeychainUnlock(kc, 6, "landed", true), errSecSuccess);
  EXPECT_EQ(QueryInt(path, "SELECT schema FROM keychain"), 2);
  OSStatus status = 0;
  FindSecret(kc, "service-3", "account-7", &status);
  EXPECT_EQ(status, errSecDecode);
  for (const StoredItem& i : LandedGeneric()) {
    if (i.account == "account-7") continue;
    EXPECT_EQ(FindSecret(kc, i.service, i.account), i.secret) << i.account;
  }
  CFRelease(kc);
}

// A file whose upgrade cannot be done (one row this code never writes) still
// unlocks and reads under its first binding; when another process upgrades
// it later, this one follows without a new unlock.
TEST_F(KeychainUpgrade, FileLeftInTheFirstFormatReadsAndFollowsALaterUpgrade) {
  const std::string path = CopyOfLanded("stuck.keychain");
  Tamper(path, "UPDATE items SET a_labl = 'text' WHERE a_acct = CAST('account-9' AS BLOB)");
  SecKeychainRef kc = nullptr;
  ASSERT_EQ(SecKeychainOpen(path.c_str(), &kc), errSecSuccess);
  ASSERT_EQ(SecKeychainUnlock(kc, 6, "landed", true), errSecSuccess);
  EXPECT_EQ(QueryInt(path, "SELECT schema FROM keychain"), 1);
  EXPECT_EQ(FindSecret(kc, "service-0", "account-0"), "secret-0");
  OSStatus status = 0;
  FindSecret(kc, "service-1", "account-9", &status);
  EXPECT_EQ(status, errSecInvalidKeychain);

  Tamper(path, "UPDATE items SET a_labl = CAST(a_labl AS BLOB) WHERE a_acct = CAST('account-9' AS BLOB)");
  const std::string command = std::string(KEYCHAIN_WRITER_PATH) + " '" + path + "' landed none 0";
  ASSERT_EQ(system(command.c_str()), 0);
  ASSERT_EQ(QueryInt(path, "SELECT schema FROM keychain"), 2);
  EXPECT_EQ(FindSecret(kc, "service-1", "account-9"), "secret-71271");
  EXPECT_EQ(FindSecret(kc, "renamed", "after"), "moved-item");
  CFRelease(kc);
}

// A child unlocks a copy and is killed by a timer at a random moment of the
// unlock and upgrade; whatever the moment, the copy opens afterwards with
// every item, and the next unlock finishes the upgrade.
TEST_F(KeychainUpgrade, KillAtAnyPointOfTheUpgradeLosesNothing) {
  // How long an unlock with its upgrade takes in a forked child, to aim the kills.
  const std::string timed = CopyOfLanded("timed.keychain");
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  pid_t timer = fork();
  ASSERT_GE(timer, 0);
  if (timer == 0) {
    SecKeychainRef child = nullptr;
    SecKeychainOpen(timed.c_str(), &child);
    auto start = std::chrono::steady_clock::now();
    OSStatus s = SecKeychainUnlock(child, 6, "landed", true);
    long ns = long(std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - start)
                       .count());
    _exit(s == errSecSuccess && write(fds[1], &ns, sizeof ns) == sizeof ns ? 0 : 1);
  }
  long spanNs = 0;
  ASSERT_EQ(read(fds[0], &spanNs, sizeof spanNs), ssize_t(sizeof spanNs));
  close(fds[0]);
  close(fds[1]);
  waitpid(timer, nullptr, 0);
  ASSERT_EQ(QueryInt(timed, "SELECT schema FROM keychain"), 2);
  SecKeychainRef kc = nullptr;

  std::mt19937 rng(std::random_device{}());
  int killedBefore = 0, killedAfter = 0, finished = 0;
  for (int trial = 0; trial < 40; ++trial) {
    const std::string path = CopyOfLanded("killed.keychain");
    const long delayNs = long(rng() % uint32_t(spanNs + spanNs / 5)) + 1;
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      SecKeychainRef child = nullptr;
      if (SecKeychainOpen(path.c_str(), &child) != errSecSuccess) _exit(3);
      struct sigevent ev = {};
      ev.sigev_notify = SIGEV_SIGNAL;
      ev.sigev_signo = SIGKILL;
      timer_t timer;
      if (timer_create(CLOCK_MONOTONIC, &ev, &timer) != 0) _exit(4);
      struct itimerspec when = {};
      when.it_value.tv_sec = delayNs / 1000000000L;
      when.it_value.tv_nsec = delayNs % 1000000000L;
      timer_settime(timer, 0, &when, nullptr);
      _exit(SecKeychainUnlock(child, 6, "landed", true) == errSecSuccess ? 0 : 5);
    }
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    const int64_t schema = QueryInt(path, "SELECT schema FROM keychain");
    if (WIFSIGNALED(status)) {
      (schema == 2 ? killedAfter : killedBefore)++;
    } else {
      ASSERT_EQ(WEXITSTATUS(status), 0);
      ++finished;
    }
    SecKeychainLockAll();
    ASSERT_EQ(SecKeychainOpen(path.c_str(), &kc), errSecSuccess);
    EXPECT_EQ(CountItems(kc), kLandedItems) << "trial " << trial << ", kill after " << delayNs << " ns";
    ASSERT_EQ(SecKeychainUnlock(kc, 6, "landed", true), errSecSuccess);
    EXPECT_EQ(QueryInt(path, "SELECT schema FROM keychain"), 2);
    EXPECT_EQ(CheckLanded(kc), "") << "trial " << trial << ", kill after " << delayNs << " ns";
    CFRelease(kc);
    SecKeychainLockAll();
    for (const char* suffix : {"", "-wal", "-shm"}) unlink((path + suffix).c_str());
  }
  std::cout << "upgrade of " << spanNs / 1000 << " us: killed before its commit " << killedBefore
            << ", after it " << killedAfter << ", not killed " << finished << "\n";
  EXPECT_GT(killedBefore + killedAfter, 0);
}

}  // namespace
}  // namespace sectest
