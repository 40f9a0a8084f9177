// Child process of the mixed-workload test: for a bounded time, adds,
// changes, deletes and reads back its own generic passwords ("w<id>-<k>",
// service "mix") in a keychain other processes use at once, and searches
// the whole keychain. Each write that returned success is printed as it is
// acknowledged ("A account secret", "U account secret", "D account"); a
// secret read back that differs from the last acknowledged one, or a call
// that fails, is printed as "F ..." and ends the run with status 1.
#include <Security/Security.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <string>

namespace {

OSStatus FindOwn(SecKeychainRef kc, const std::string& account, SecKeychainItemRef* item,
                 std::string* secret) {
  UInt32 length = 0;
  void* data = nullptr;
  OSStatus s = SecKeychainFindGenericPassword(kc, 3, "mix", UInt32(account.size()), account.data(),
                                              secret ? &length : nullptr, secret ? &data : nullptr, item);
  if (s == errSecSuccess && secret) secret->assign(static_cast<char*>(data), length);
  if (data) SecKeychainItemFreeContent(nullptr, data);
  return s;
}

int Fail(const char* what, const std::string& account, OSStatus s) {
  printf("F %s %s %d\n", what, account.c_str(), int(s));
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6) {
    fprintf(stderr, "usage: keychain_mixer <keychain> <password> <worker> <milliseconds> <seed>\n");
    return 2;
  }
  SecKeychainRef kc = nullptr;
  const std::string password = argv[2];
  if (SecKeychainOpen(argv[1], &kc) != errSecSuccess ||
      SecKeychainUnlock(kc, UInt32(password.size()), password.data(), true) != errSecSuccess)
    return 3;
  const std::string worker = argv[3];
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(atol(argv[4]));
  std::mt19937 random(unsigned(atol(argv[5])));
  std::map<std::string, std::string> mine;  // account -> last acknowledged secret
  for (long step = 0; std::chrono::steady_clock::now() < end; ++step) {
    const std::string account = "w" + worker + "-" + std::to_string(random() % 20);
    const std::string secret = "s" + std::to_string(step) + "-" + account;
    auto known = mine.find(account);
    const unsigned roll = random() % 8;
    OSStatus s;
    if (known == mine.end()) {
      s = SecKeychainAddGenericPassword(kc, 3, "mix", UInt32(account.size()), account.data(),
                                        UInt32(secret.size()), secret.data(), nullptr);
      if (s != errSecSuccess) return Fail("add", account, s);
      mine[account] = secret;
      printf("A %s %s\n", account.c_str(), secret.c_str());
    } else if (roll < 6) {
      SecKeychainItemRef item = nullptr;
      std::string stored;
      s = FindOwn(kc, account, &item, roll < 2 ? &stored : nullptr);
      if (s != errSecSuccess) return Fail("find", account, s);
      if (roll < 2 && stored != known->second) return Fail("stale", account, 0);
      if (roll >= 2 && roll < 5) {
        s = SecKeychainItemModifyAttributesAndData(item, nullptr, UInt32(secret.size()), secret.data());
        if (s == errSecSuccess) known->second = secret, printf("U %s %s\n", account.c_str(), secret.c_str());
      } else if (roll == 5) {
        s = SecKeychainItemDelete(item);
        if (s == errSecSuccess) mine.erase(known), printf("D %s\n", account.c_str());
      }
      CFRelease(item);
      if (s != errSecSuccess) return Fail("write", account, s);
    } else {
      // A search over every worker's items, read to its end.
      SecKeychainSearchRef search = nullptr;
      s = SecKeychainSearchCreateFromAttributes(kc, kSecGenericPasswordItemClass, nullptr, &search);
      if (s != errSecSuccess) return Fail("search", account, s);
      SecKeychainItemRef item = nullptr;
      while ((s = SecKeychainSearchCopyNext(search, &item)) == errSecSuccess) CFRelease(item);
      CFRelease(search);
      if (s != errSecItemNotFound) return Fail("next", account, s);
    }
    fflush(stdout);
  }
  CFRelease(kc);
  return 0;
}
