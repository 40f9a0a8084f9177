// Child process of the concurrency and crash tests: unlocks a keychain and
// adds generic passwords "<prefix>-<n>", printing "<n>\n" after each add that
// returned success.
#include <Security/Security.h>

#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
  if (argc != 5) {
    fprintf(stderr, "usage: keychain_writer <keychain> <password> <prefix> <count>\n");
    return 2;
  }
  SecKeychainRef kc = nullptr;
  if (SecKeychainOpen(argv[1], &kc) != errSecSuccess) return 3;
  std::string password = argv[2];
  if (SecKeychainUnlock(kc, UInt32(password.size()), password.data(), true) != errSecSuccess) return 4;
  long count = strtol(argv[4], nullptr, 10);
  for (long i = 0; i < count; ++i) {
    std::string account = std::string(argv[3]) + "-" + std::to_string(i);
    std::string secret = "secret-" + account;
    OSStatus s = SecKeychainAddGenericPassword(kc, 7, "service", UInt32(account.size()),
                                               account.data(), UInt32(secret.size()),
                                               secret.data(), nullptr);
    if (s != errSecSuccess) {
      fprintf(stderr, "add %ld failed: %d\n", i, int(s));
      return 5;
    }
    printf("%ld\n", i);
    fflush(stdout);
  }
  CFRelease(kc);
  return 0;
}
