// Damaging and checking keychain files for the reliability tests: a stored
// set of items, the pages of its file, and the outcome of reading every
// item back through finds, listings and searches.
#pragma once

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "keychain_fixture.h"

namespace sectest {

struct StoredItem {
  bool internet = false;
  std::string service;  // the server, for an internet password
  std::string account;
  std::string secret;
};

// Generic passwords "svc"/"account-<i>" and internet passwords
// "host.example"/"user-<i>", each with its own secret.
std::vector<StoredItem> MakeItems(int generic, int internet);
OSStatus AddItem(SecKeychainRef kc, const StoredItem& item);

// SQL run on a keychain file behind the library's back.
void Tamper(const std::string& path, const std::string& sql);
int64_t QueryInt(const std::string& path, const std::string& sql);

// The file's page size and the pages of one B-tree (by table or index name):
// its root and, for a table, its leaves.
size_t PageSize(const std::string& path);
uint32_t RootPage(const std::string& path, const std::string& name);
std::vector<uint32_t> LeafPages(const std::string& path, uint32_t root);
bool OverwritePage(const std::string& path, uint32_t page, const std::string& bytes);

enum class Outcome { Exact, Damage, Wrong };
bool IsDamageStatus(OSStatus status);

// What reading every item back gave. `wrong` explains the first answer that
// was neither the stored data nor a damage status (a stored item "not found",
// another item's secret, a listing shorter than the store without a word).
struct Readback {
  int exactFinds = 0, damagedFinds = 0;
  Outcome listing = Outcome::Exact, search = Outcome::Exact;
  std::string wrong;
  bool AllExact() const;
  bool AnyDamage() const;
};
Readback ReadEverything(SecKeychainRef kc, const std::vector<StoredItem>& items);

}  // namespace sectest
