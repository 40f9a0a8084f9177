// Whole-stack benchmarks: a host program calling the plug-in through the host
// runtime, down to Keychain Services, beside the same work done through
// Keychain Services alone in the same run, so the ratio between them is
// measured under the same conditions.
#include <Security/Security.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>
#include <vector>

#include "bench_host.h"
#include "bench_support.h"
#include "plugin_host/host.h"

namespace {

using plugin_host::Host;
using plugin_host::Value;

using kc_bench::KeychainObject;
using kc_bench::kModule;
using kc_bench::TheHost;

// AllItems through the plug-in: one call returns every item as an object.
void BM_PluginAllItems(benchmark::State &state) {
  const long n = state.range(0);
  Host &host = TheHost();
  Value keychain = KeychainObject(kc_bench::Populated(n));
  const std::string allItems = host.DeclarationOf(kModule, "AllItems", {"KeychainZNQ", "string"});
  Value itemClass = host.String("genp");
  long growth = 0;
  for (auto _ : state) {
    const long before = kc_bench::ResidentKiB();
    Value items = host.CallShared(kModule, allItems, {keychain, itemClass}).value;
    growth = std::max(growth, kc_bench::ResidentKiB() - before);
    if (host.ArrayUBound(items) != n - 1) state.SkipWithError("the listing missed items");
  }
  state.counters["rss_growth_KiB"] = double(growth);
  state.counters["bytes_per_item"] = double(growth) * 1024 / double(n);
}
BENCHMARK(BM_PluginAllItems)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(3);

// The same listing through Keychain Services alone: every item reference kept
// until the listing is complete, as the host array keeps its objects.
void BM_SecurityAllItems(benchmark::State &state) {
  const long n = state.range(0);
  SecKeychainRef keychain = kc_bench::Populated(n);
  long growth = 0;
  for (auto _ : state) {
    const long before = kc_bench::ResidentKiB();
    std::vector<SecKeychainItemRef> items;
    SecKeychainSearchRef search = nullptr;
    SecKeychainSearchCreateFromAttributes(keychain, kSecGenericPasswordItemClass, nullptr, &search);
    SecKeychainItemRef item = nullptr;
    while (SecKeychainSearchCopyNext(search, &item) == errSecSuccess) items.push_back(item);
    CFRelease(search);
    growth = std::max(growth, kc_bench::ResidentKiB() - before);
    if (long(items.size()) != n) state.SkipWithError("the listing missed items");
    for (SecKeychainItemRef i : items) CFRelease(i);
  }
  state.counters["rss_growth_KiB"] = double(growth);
  state.counters["bytes_per_item"] = double(growth) * 1024 / double(n);
}
BENCHMARK(BM_SecurityAllItems)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(3);

// An attribute search walked item by item through KeychainSearchZNQ.
void BM_PluginSearchWalk(benchmark::State &state) {
  const long n = state.range(0);
  Host &host = TheHost();
  Value keychain = KeychainObject(kc_bench::Populated(n));
  const std::string create = host.DeclarationOf(
      kModule, "SearchCreateFromAttributes", {"KeychainZNQ", "string", "string()", "string()"});
  const std::string next = host.DeclarationOf("KeychainSearchZNQ", "NextItem", {});
  Value keys = host.Array(kREALArrayString, {host.String("svce")});
  Value values = host.Array(kREALArrayString, {host.String("service")});
  Value itemClass = host.String("genp");
  for (auto _ : state) {
    Value search = host.CallShared(kModule, create, {keychain, itemClass, keys, values}).value;
    long seen = 0;
    while (!host.CallMethod(search, next).value.isNil()) ++seen;
    if (seen != n) state.SkipWithError("the walk missed items");
  }
}
BENCHMARK(BM_PluginSearchWalk)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(3);

// The same search walked through Keychain Services alone.
void BM_SecuritySearchWalk(benchmark::State &state) {
  const long n = state.range(0);
  SecKeychainRef keychain = kc_bench::Populated(n);
  SecKeychainAttribute service = {kSecServiceItemAttr, 7, const_cast<char *>("service")};
  SecKeychainAttributeList list = {1, &service};
  for (auto _ : state) {
    SecKeychainSearchRef search = nullptr;
    SecKeychainSearchCreateFromAttributes(keychain, kSecGenericPasswordItemClass, &list, &search);
    SecKeychainItemRef item = nullptr;
    long seen = 0;
    while (SecKeychainSearchCopyNext(search, &item) == errSecSuccess) {
      CFRelease(item);
      ++seen;
    }
    CFRelease(search);
    if (seen != n) state.SkipWithError("the walk missed items");
  }
}
BENCHMARK(BM_SecuritySearchWalk)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(3);

// A host Dictionary query for every generic password of a keychain, built
// from the query names as a host program builds it.
Value AllGenericQuery(Host &host, const Value &keychain, bool everyMatch) {
  auto name = [&](const char *n) {
    return host.Variant(host.CallShared(kModule, host.DeclarationOf(kModule, n, {}), {}).value);
  };
  Value query = host.Dictionary();
  host.DictionarySet(query, name("kSecClass"), name("kSecClassGenericPassword"));
  host.DictionarySet(query, name("kSecMatchSearchList"), host.Array(kREALArrayObject, {keychain}));
  if (everyMatch) host.DictionarySet(query, name("kSecMatchLimit"), name("kSecMatchLimitAll"));
  return query;
}

// Every item's attributes as host Dictionaries, and every item as a
// KeychainItemZNQ, through the plug-in.
void PluginCopyMatching(benchmark::State &state, const char *operation) {
  const long n = state.range(0);
  Host &host = TheHost();
  Value keychain = KeychainObject(kc_bench::Populated(n));
  Value query = AllGenericQuery(host, keychain, true);
  const std::string declaration = host.DeclarationOf(kModule, operation, {"dictionary"});
  for (auto _ : state) {
    Value result = host.CallShared(kModule, declaration, {query}).value;
    if (host.ArrayUBound(result) != n - 1) state.SkipWithError("the query missed items");
  }
}
void BM_PluginCopyMatchingDictionaries(benchmark::State &state) { PluginCopyMatching(state, "CopyMatchingDictionaries"); }
void BM_PluginCopyMatchingItems(benchmark::State &state) { PluginCopyMatching(state, "CopyMatchingItems"); }
BENCHMARK(BM_PluginCopyMatchingDictionaries)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PluginCopyMatchingItems)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

// The same queries through Keychain Services alone.
void SecurityCopyMatching(benchmark::State &state, CFStringRef returnKey) {
  const long n = state.range(0);
  SecKeychainRef keychain = kc_bench::Populated(n);
  const void *keychains[] = {keychain};
  CFArrayRef list = CFArrayCreate(nullptr, keychains, 1, &kCFTypeArrayCallBacks);
  CFMutableDictionaryRef q =
      CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
  CFDictionarySetValue(q, kSecClass, kSecClassGenericPassword);
  CFDictionarySetValue(q, kSecMatchSearchList, list);
  CFDictionarySetValue(q, kSecMatchLimit, kSecMatchLimitAll);
  CFDictionarySetValue(q, returnKey, kCFBooleanTrue);
  for (auto _ : state) {
    CFTypeRef r = nullptr;
    if (SecItemCopyMatching(q, &r) != errSecSuccess || CFArrayGetCount(static_cast<CFArrayRef>(r)) != n)
      state.SkipWithError("the query missed items");
    if (r) CFRelease(r);
  }
  CFRelease(q);
  CFRelease(list);
}
void BM_SecurityCopyMatchingAttributes(benchmark::State &state) { SecurityCopyMatching(state, kSecReturnAttributes); }
void BM_SecurityCopyMatchingRefs(benchmark::State &state) { SecurityCopyMatching(state, kSecReturnRef); }
BENCHMARK(BM_SecurityCopyMatchingAttributes)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SecurityCopyMatchingRefs)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

// One secret by service and account, through the dictionary interface and
// through the classic find, both through the plug-in, in the same keychain.
void BM_PluginGetPassword(benchmark::State &state) {
  const long n = state.range(0);
  Host &host = TheHost();
  Value keychain = KeychainObject(kc_bench::Populated(n));
  auto name = [&](const char *k) {
    return host.Variant(host.CallShared(kModule, host.DeclarationOf(kModule, k, {}), {}).value);
  };
  std::vector<Value> queries;
  for (long i = 0; i < 256; ++i) {
    Value query = AllGenericQuery(host, keychain, false);
    host.DictionarySet(query, name("kSecAttrService"), host.Variant(host.String("service")));
    host.DictionarySet(query, name("kSecAttrAccount"), host.Variant(host.String(kc_bench::Account(i * 389 % n))));
    queries.push_back(query);
  }
  const std::string declaration = host.DeclarationOf(kModule, "GetPassword", {"dictionary", "byref Memoryblock"});
  size_t next = 0;
  for (auto _ : state) {
    Value secret;
    if (!host.CallShared(kModule, declaration, {queries[next++ & 255], plugin_host::Arg::ByRef(secret)}).value.boolean())
      state.SkipWithError("the query found nothing");
  }
}
BENCHMARK(BM_PluginGetPassword)->Arg(100000)->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_PluginFindGenericPassword(benchmark::State &state) {
  const long n = state.range(0);
  Host &host = TheHost();
  Value keychain = KeychainObject(kc_bench::Populated(n));
  std::vector<Value> accounts;
  for (long i = 0; i < 256; ++i) accounts.push_back(host.String(kc_bench::Account(i * 389 % n)));
  Value service = host.String("service");
  const std::string declaration = host.DeclarationOf(
      kModule, "FindGenericPassword", {"KeychainZNQ", "string", "string", "byref memoryblock"});
  size_t next = 0;
  for (auto _ : state) {
    Value secret;
    Value item = host.CallShared(kModule, declaration,
                                 {keychain, service, accounts[next++ & 255], plugin_host::Arg::ByRef(secret)}).value;
    if (item.isNil()) state.SkipWithError("the find found nothing");
  }
}
BENCHMARK(BM_PluginFindGenericPassword)->Arg(100000)->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
