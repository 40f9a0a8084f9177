// A lookup and a durable add measured through the whole stack (a host program
// calling the plug-in through the host runtime, down to Keychain Services and
// the keychain file), and beside them, in the same run, the floor: the same
// lookup done directly as one prepared indexed query on a table of the same
// shape plus one authenticated decryption of a secret of the same size, and
// one WAL commit of the same row. The ratios between them are what matter.
#include <Security/Security.h>
#include <benchmark/benchmark.h>
#include <sodium.h>
#include <sqlite3.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "bench_host.h"
#include "bench_support.h"
#include "plugin_host/host.h"

namespace {

using plugin_host::Arg;
using plugin_host::Host;
using plugin_host::Value;

using kc_bench::KeychainObject;
using kc_bench::kModule;
using kc_bench::TheHost;

constexpr int kLookupKeys = 4096;

// Random accounts of the keychain of n items, the same for every lookup
// benchmark of that size.
std::vector<std::string> LookupAccounts(long n) {
  std::mt19937 rng(42);
  std::vector<std::string> accounts;
  for (int i = 0; i < kLookupKeys; ++i) accounts.push_back(kc_bench::Account(long(rng() % uint32_t(n))));
  return accounts;
}

void BM_StackFindGenericPassword(benchmark::State &state) {
  const long n = state.range(0);
  Host &host = TheHost();
  Value keychain = KeychainObject(kc_bench::Populated(n));
  const std::string find = host.DeclarationOf(kModule, "FindGenericPassword",
                                              {"KeychainZNQ", "string", "string", "byref memoryblock"});
  std::vector<Value> accounts;
  for (const std::string &a : LookupAccounts(n)) accounts.push_back(host.String(a));
  Value service = host.String("service");
  size_t next = 0;
  for (auto _ : state) {
    Value secret;
    Value item = host.CallShared(kModule, find, {keychain, service, accounts[next++ % kLookupKeys], Arg::ByRef(secret)}).value;
    if (item.isNil() || secret.isNil()) state.SkipWithError("the find failed");
  }
}
BENCHMARK(BM_StackFindGenericPassword)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)->ReportAggregatesOnly(true);

void BM_StackAddGenericPassword(benchmark::State &state) {
  const long n = state.range(0);
  Host &host = TheHost();
  Value keychain = KeychainObject(kc_bench::Populated(n));
  const std::string add =
      host.DeclarationOf(kModule, "AddGenericPassword", {"KeychainZNQ", "string", "string", "string"});
  Value service = host.String("added");
  Value secret = host.String("secret-1234");
  static long counter = 0;
  for (auto _ : state) {
    Value account = host.String("added-" + std::to_string(n) + "-" + std::to_string(counter++));
    if (host.CallShared(kModule, add, {keychain, service, account, secret}).value.isNil())
      state.SkipWithError("the add failed");
  }
}
BENCHMARK(BM_StackAddGenericPassword)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond)->Repetitions(3)
    ->ReportAggregatesOnly(true);

void BM_StackUnlock(benchmark::State &state) {
  Host &host = TheHost();
  static const std::string path = kc_bench::Home() + "/stack-unlock.keychain";
  static SecKeychainRef made = [] {
    SecKeychainRef k = nullptr;
    SecKeychainCreate(path.c_str(), 5, "bench", false, nullptr, &k);
    return k;
  }();
  Value keychain = KeychainObject(made);
  const std::string lock = host.DeclarationOf("KeychainZNQ", "Lock", {});
  const std::string unlock = host.DeclarationOf("KeychainZNQ", "Unlock", {"string"});
  Value password = host.String("bench");
  for (auto _ : state) {
    host.CallMethod(keychain, lock);
    host.CallMethod(keychain, unlock, {password});
    if (host.GetProperty(keychain, "Lasterror").value.integer() != 0) state.SkipWithError("the unlock failed");
  }
}
BENCHMARK(BM_StackUnlock)->Unit(benchmark::kMillisecond)->Iterations(5);

// ---- The floor ----------------------------------------------------------------

// A database of n rows of the keychain's item table, each secret sealed under
// one key; opened as the keychain opens its file (WAL, synchronous=NORMAL).
struct Floor {
  sqlite3 *db = nullptr;
  sqlite3_stmt *find = nullptr;
  sqlite3_stmt *insert = nullptr;
  unsigned char key[crypto_aead_xchacha20poly1305_ietf_KEYBYTES];
};

Floor &FloorOf(long n) {
  static std::map<long, Floor> made;
  auto it = made.find(n);
  if (it != made.end()) return it->second;
  Floor &f = made[n];
  crypto_aead_xchacha20poly1305_ietf_keygen(f.key);
  const std::string path = kc_bench::Home() + "/floor-" + std::to_string(n) + ".db";
  sqlite3_open(path.c_str(), &f.db);
  sqlite3_exec(f.db,
               "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;"
               "CREATE TABLE items(id INTEGER PRIMARY KEY AUTOINCREMENT, class INTEGER NOT NULL,"
               " a_acct BLOB NOT NULL DEFAULT x'', a_svce BLOB NOT NULL DEFAULT x'',"
               " a_srvr BLOB NOT NULL DEFAULT x'', a_sdmn BLOB NOT NULL DEFAULT x'',"
               " a_path BLOB NOT NULL DEFAULT x'', a_atyp BLOB NOT NULL DEFAULT x'',"
               " a_ptcl INTEGER NOT NULL DEFAULT 0, a_port INTEGER NOT NULL DEFAULT 0,"
               " a_labl BLOB, a_desc BLOB, a_icmt BLOB, a_gena BLOB, a_cdat BLOB, a_mdat BLOB,"
               " a_crtr INTEGER, a_type INTEGER, a_scrp INTEGER, a_invi INTEGER, a_nega INTEGER,"
               " a_cusi INTEGER, secret BLOB);"
               "CREATE UNIQUE INDEX genp_key ON items(a_svce, a_acct) WHERE class = 1734700656;",
               nullptr, nullptr, nullptr);
  sqlite3_prepare_v2(f.db,
                     "INSERT INTO items(class, a_svce, a_acct, a_labl, a_cdat, a_mdat, a_crtr, secret)"
                     " VALUES (1734700656, ?1, ?2, ?1, ?3, ?3, 1634758764, ?4)",
                     -1, &f.insert, nullptr);
  sqlite3_prepare_v2(f.db, "SELECT * FROM items WHERE class = 1734700656 AND a_svce = ?1 AND a_acct = ?2", -1,
                     &f.find, nullptr);
  sqlite3_exec(f.db, "BEGIN", nullptr, nullptr, nullptr);
  for (long i = 0; i < n; ++i) {
    const std::string account = kc_bench::Account(i), secret = "secret-" + std::to_string(i);
    std::vector<unsigned char> sealed(crypto_aead_xchacha20poly1305_ietf_NPUBBYTES + secret.size() +
                                      crypto_aead_xchacha20poly1305_ietf_ABYTES);
    randombytes_buf(sealed.data(), crypto_aead_xchacha20poly1305_ietf_NPUBBYTES);
    crypto_aead_xchacha20poly1305_ietf_encrypt(sealed.data() + crypto_aead_xchacha20poly1305_ietf_NPUBBYTES, nullptr,
                                               reinterpret_cast<const unsigned char *>(secret.data()), secret.size(),
                                               reinterpret_cast<const unsigned char *>(account.data()), account.size(),
                                               nullptr, sealed.data(), f.key);
    sqlite3_bind_blob(f.insert, 1, "service", 7, SQLITE_STATIC);
    sqlite3_bind_blob(f.insert, 2, account.data(), int(account.size()), SQLITE_TRANSIENT);
    sqlite3_bind_blob(f.insert, 3, "20261123000000Z", 16, SQLITE_STATIC);
    sqlite3_bind_blob(f.insert, 4, sealed.data(), int(sealed.size()), SQLITE_TRANSIENT);
    sqlite3_step(f.insert);
    sqlite3_reset(f.insert);
  }
  sqlite3_exec(f.db, "COMMIT", nullptr, nullptr, nullptr);
  return f;
}

void BM_FloorLookup(benchmark::State &state) {
  const long n = state.range(0);
  Floor &f = FloorOf(n);
  const std::vector<std::string> accounts = LookupAccounts(n);
  unsigned char secret[256];
  size_t next = 0;
  for (auto _ : state) {
    const std::string &account = accounts[next++ % kLookupKeys];
    sqlite3_bind_blob(f.find, 1, "service", 7, SQLITE_STATIC);
    sqlite3_bind_blob(f.find, 2, account.data(), int(account.size()), SQLITE_STATIC);
    bool opened = false;
    if (sqlite3_step(f.find) == SQLITE_ROW) {
      const int column = sqlite3_column_count(f.find) - 1;
      const auto *sealed = static_cast<const unsigned char *>(sqlite3_column_blob(f.find, column));
      const int length = sqlite3_column_bytes(f.find, column);
      unsigned long long opened_length = 0;
      opened = length > int(crypto_aead_xchacha20poly1305_ietf_NPUBBYTES) &&
               crypto_aead_xchacha20poly1305_ietf_decrypt(
                   secret, &opened_length, nullptr, sealed + crypto_aead_xchacha20poly1305_ietf_NPUBBYTES,
                   length - crypto_aead_xchacha20poly1305_ietf_NPUBBYTES,
                   reinterpret_cast<const unsigned char *>(account.data()), account.size(), sealed, f.key) == 0;
    }
    sqlite3_reset(f.find);
    if (!opened) state.SkipWithError("the floor lookup failed");
  }
}
BENCHMARK(BM_FloorLookup)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond)->Repetitions(5)
    ->ReportAggregatesOnly(true);

// One row committed on its own, as a durable add commits it.
void BM_FloorCommit(benchmark::State &state) {
  const long n = state.range(0);
  Floor &f = FloorOf(n);
  static long counter = 0;
  const std::string sealed(64, 'x');
  for (auto _ : state) {
    const std::string account = "floor-" + std::to_string(counter++);
    sqlite3_exec(f.db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
    sqlite3_bind_blob(f.insert, 1, "added", 5, SQLITE_STATIC);
    sqlite3_bind_blob(f.insert, 2, account.data(), int(account.size()), SQLITE_TRANSIENT);
    sqlite3_bind_blob(f.insert, 3, "20261123000000Z", 16, SQLITE_STATIC);
    sqlite3_bind_blob(f.insert, 4, sealed.data(), int(sealed.size()), SQLITE_STATIC);
    const int rc = sqlite3_step(f.insert);
    sqlite3_reset(f.insert);
    if (rc != SQLITE_DONE || sqlite3_exec(f.db, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK)
      state.SkipWithError("the commit failed");
  }
}
BENCHMARK(BM_FloorCommit)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond)->Repetitions(3)
    ->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
