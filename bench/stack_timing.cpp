// Stores and then looks up N generic passwords through the whole stack (a
// host program calling the plug-in through the host runtime, down to the
// keychain file), the same way keyring_timing does through libsecret, and
// prints the median time of each kind of call in microseconds:
// "store <median> lookup <median>". compare-keyring.sh runs both. A second
// line gives the process's resident memory at the end of the session and at
// its highest, in KiB: "resident <now> peak <highest>".
#include <Security/Security.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "plugin_host/host.h"

namespace {

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

long StatusKiB(const char *field) {
  FILE *f = fopen("/proc/self/status", "r");
  if (f == nullptr) return -1;
  char line[256];
  long kib = -1;
  const size_t n = strlen(field);
  while (fgets(line, sizeof line, f) != nullptr) {
    if (strncmp(line, field, n) == 0) kib = atol(line + n);
  }
  fclose(f);
  return kib;
}

double Now() {
  return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

int main(int argc, char **argv) {
  using plugin_host::Arg;
  using plugin_host::Value;
  const long n = argc > 1 ? atol(argv[1]) : 1000;
  const char *keychainPath = argc > 2 ? argv[2] : nullptr;
  const char *module = "KeychainManagerZNQ";
  plugin_host::Host host;
  std::string error;
  if (!host.Load(KC_PLUGIN_PATH, &error)) {
    fprintf(stderr, "cannot load the plug-in: %s\n", error.c_str());
    return 1;
  }
  if (keychainPath != nullptr) {
    SecKeychainRef made = nullptr;
    SecKeychainCreate(keychainPath, 5, "bench", false, nullptr, &made);
    if (made != nullptr) CFRelease(made);
  }
  Value keychain = keychainPath != nullptr
                       ? host.CallShared(module, host.DeclarationOf(module, "Open", {"string"}), {host.String(keychainPath)}).value
                       : host.CallShared(module, host.DeclarationOf(module, "Default", {})).value;
  host.CallMethod(keychain, host.DeclarationOf("KeychainZNQ", "Unlock", {"string"}), {host.String("bench")});
  const std::string add = host.DeclarationOf(module, "AddGenericPassword", {"KeychainZNQ", "string", "string", "string"});
  const std::string find =
      host.DeclarationOf(module, "FindGenericPassword", {"KeychainZNQ", "string", "string", "byref memoryblock"});
  Value service = host.String("service");
  std::vector<double> store, lookup;
  for (long i = 0; i < n; ++i) {
    Value account = host.String("account-" + std::to_string(i));
    Value secret = host.String("secret-" + std::to_string(i));
    const double t0 = Now();
    Value item = host.CallShared(module, add, {keychain, service, account, secret}).value;
    store.push_back(Now() - t0);
    if (item.isNil()) {
      fprintf(stderr, "store failed\n");
      return 1;
    }
  }
  std::mt19937 rng(42);
  for (long i = 0; i < n; ++i) {
    Value account = host.String("account-" + std::to_string(long(rng() % uint32_t(n))));
    Value password;
    const double t0 = Now();
    Value item = host.CallShared(module, find, {keychain, service, account, Arg::ByRef(password)}).value;
    lookup.push_back(Now() - t0);
    if (item.isNil() || password.isNil()) {
      fprintf(stderr, "lookup failed\n");
      return 1;
    }
  }
  printf("store %.1f lookup %.1f\n", Median(store), Median(lookup));
  printf("resident %ld peak %ld\n", StatusKiB("VmRSS:"), StatusKiB("VmHWM:"));
  return 0;
}
