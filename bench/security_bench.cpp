// Keychain Services benchmarks: lookups at growing keychain sizes, durable
// adds, full attribute walks, item queries returning every match, and
// unlocking. Everything runs in a private folder, never the user's keychains.
#include <Security/Security.h>
#include <benchmark/benchmark.h>
#include <sodium.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"

namespace {

using kc_bench::Account;
using kc_bench::Home;
using kc_bench::Populated;
using kc_bench::ResidentKiB;

void BM_FindGenericPassword(benchmark::State& state) {
  long n = state.range(0);
  SecKeychainRef kc = Populated(n);
  std::mt19937 rng(42);
  std::vector<std::string> accounts;
  for (int i = 0; i < 4096; ++i) accounts.push_back(Account(long(rng() % uint32_t(n))));
  size_t next = 0;
  for (auto _ : state) {
    const std::string& a = accounts[next++ & 4095];
    UInt32 len = 0;
    void* data = nullptr;
    SecKeychainItemRef item = nullptr;
    OSStatus s = SecKeychainFindGenericPassword(kc, 7, "service", UInt32(a.size()), a.data(), &len, &data, &item);
    if (s != errSecSuccess) state.SkipWithError("find failed");
    SecKeychainItemFreeContent(nullptr, data);
    CFRelease(item);
  }
}
BENCHMARK(BM_FindGenericPassword)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)->ReportAggregatesOnly(true);

void BM_AddGenericPassword(benchmark::State& state) {
  SecKeychainRef kc = Populated(0);
  static long counter = 0;
  for (auto _ : state) {
    std::string acct = "added-" + std::to_string(counter++);
    OSStatus s = SecKeychainAddGenericPassword(kc, 7, "service", UInt32(acct.size()), acct.data(), 6, "secret",
                                               nullptr);
    if (s != errSecSuccess) state.SkipWithError("add failed");
  }
}
BENCHMARK(BM_AddGenericPassword)->Unit(benchmark::kMicrosecond)->Repetitions(3)->ReportAggregatesOnly(true);

void BM_SearchWalk(benchmark::State& state) {
  long n = state.range(0);
  SecKeychainRef kc = Populated(n);
  long growth = 0;
  for (auto _ : state) {
    long before = ResidentKiB(), peak = before;
    SecKeychainSearchRef search = nullptr;
    SecKeychainSearchCreateFromAttributes(kc, kSecGenericPasswordItemClass, nullptr, &search);
    SecKeychainItemRef item = nullptr;
    long seen = 0;
    while (SecKeychainSearchCopyNext(search, &item) == errSecSuccess) {
      CFRelease(item);
      if ((++seen & 4095) == 0) peak = std::max(peak, ResidentKiB());
    }
    CFRelease(search);
    if (seen != n) state.SkipWithError("walk missed items");
    growth = std::max(growth, peak - before);
  }
  state.counters["rss_growth_KiB"] = double(growth);
  state.counters["items"] = double(n);
}
BENCHMARK(BM_SearchWalk)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_CopyMatchingAllAttributes(benchmark::State& state) {
  long n = state.range(0);
  SecKeychainRef kc = Populated(n);
  CFArrayRef list = CFArrayCreate(nullptr, (const void**)&kc, 1, &kCFTypeArrayCallBacks);
  CFMutableDictionaryRef q = CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                       &kCFTypeDictionaryValueCallBacks);
  CFDictionarySetValue(q, kSecClass, kSecClassGenericPassword);
  CFDictionarySetValue(q, kSecMatchSearchList, list);
  CFDictionarySetValue(q, kSecMatchLimit, kSecMatchLimitAll);
  CFDictionarySetValue(q, kSecReturnAttributes, kCFBooleanTrue);
  for (auto _ : state) {
    CFTypeRef r = nullptr;
    if (SecItemCopyMatching(q, &r) != errSecSuccess || CFArrayGetCount((CFArrayRef)r) != n)
      state.SkipWithError("copy matching failed");
    if (r) CFRelease(r);
  }
  CFRelease(q);
  CFRelease(list);
}
BENCHMARK(BM_CopyMatchingAllAttributes)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_Unlock(benchmark::State& state) {
  static SecKeychainRef kc = [] {
    std::string path = Home() + "/unlock.keychain";
    SecKeychainRef k = nullptr;
    SecKeychainCreate(path.c_str(), 5, "bench", false, nullptr, &k);
    return k;
  }();
  for (auto _ : state) {
    SecKeychainLock(kc);
    if (SecKeychainUnlock(kc, 5, "bench", true) != errSecSuccess) state.SkipWithError("unlock failed");
  }
  state.counters["argon2id_ops"] = double(crypto_pwhash_OPSLIMIT_INTERACTIVE);
  state.counters["argon2id_MiB"] = double(crypto_pwhash_MEMLIMIT_INTERACTIVE >> 20);
}
BENCHMARK(BM_Unlock)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
