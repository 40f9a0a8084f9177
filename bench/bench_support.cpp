// The shared benchmark helpers.
#include "bench_support.h"

#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <map>

namespace kc_bench {

const std::string &Home() {
  static std::string home = [] {
    char tmpl[] = "/tmp/kc-bench-XXXXXX";
    std::string dir = mkdtemp(tmpl);
    setenv("HOME", dir.c_str(), 1);
    setenv("XDG_DATA_HOME", (dir + "/data").c_str(), 1);
    setenv("KEYCHAIN_HOME", (dir + "/user").c_str(), 1);
    setenv("KEYCHAIN_SYSTEM_HOME", (dir + "/system").c_str(), 1);
    setenv("KEYCHAIN_COMMON_HOME", (dir + "/common").c_str(), 1);
    unsetenv("KEYCHAIN_ASKPASS");
    return dir;
  }();
  return home;
}

std::string Account(long i) { return "account-" + std::to_string(i); }

SecKeychainRef Populated(long n) {
  static std::map<long, SecKeychainRef> made;
  auto it = made.find(n);
  if (it != made.end()) return it->second;
  setenv("KEYCHAIN_KDF_PROFILE", "minimal", 1);
  std::string path = Home() + "/items-" + std::to_string(n) + ".keychain";
  SecKeychainRef kc = nullptr;
  SecKeychainCreate(path.c_str(), 5, "bench", false, nullptr, &kc);
  unsetenv("KEYCHAIN_KDF_PROFILE");
  for (long i = 0; i < n; ++i) {
    std::string acct = Account(i), secret = "secret-" + std::to_string(i);
    SecKeychainAddGenericPassword(kc, 7, "service", UInt32(acct.size()), acct.data(), UInt32(secret.size()),
                                  secret.data(), nullptr);
  }
  made[n] = kc;
  return kc;
}

long ResidentKiB() {
  long pages = 0, resident = 0;
  FILE *f = fopen("/proc/self/statm", "r");
  if (f) {
    if (fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = 0;
    fclose(f);
  }
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

}  // namespace kc_bench
