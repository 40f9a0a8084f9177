// One keychain file: an SQLite database holding the keychain header (key
// derivation parameters, the wrapped keychain key, lock settings) and the
// items, with their secrets already sealed by the caller. Knows nothing of
// locking, passwords in the clear, or CoreFoundation.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "attributes.h"
#include "crypto.h"

struct sqlite3;
struct sqlite3_stmt;

namespace secimpl {

constexpr int kSchemaVersion = 1;

struct KeychainHeader {
  std::string uuid;        // 16 random bytes, binds sealed data to this file
  KdfParams kdf;
  std::string wrappedKey;  // the keychain key sealed under the password key
  uint32_t lockInterval = 300;
  bool lockOnSleep = true;
};

struct ItemRow {
  int64_t id = 0;
  uint32_t itemClass = 0;
  std::map<uint32_t, std::string> attrs;  // present attributes; integers as 4 native bytes
  bool hasSecret = false;
  std::string sealed;  // filled only when asked for
};

// One exact-match condition of a search; integers are compared as numbers.
struct Filter {
  const AttrDesc* attr;
  std::string bytes;
  int64_t number = 0;
};

// Seals a secret for the item that is about to get `id`.
using SealFn = std::function<int(int64_t id, std::string* sealed)>;

class Store {
 public:
  ~Store();
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  // Statuses are errSec codes. Create never overwrites an existing file.
  static int Create(const std::string& path, const KeychainHeader& header);
  static int Open(const std::string& path, std::unique_ptr<Store>* out);

  const KeychainHeader& header() const { return header_; }
  int ReadHeader();  // picks up changes made by other processes
  int WriteKey(const KdfParams& kdf, const std::string& wrappedKey);
  int WriteSettings(uint32_t lockInterval, bool lockOnSleep);

  int Insert(ItemRow* row, const SealFn& seal);  // row->id is set on success
  // Rewrites the attributes; when `seal` is given the secret is replaced too.
  int Update(const ItemRow& row, const SealFn* seal);
  int Delete(int64_t id);
  int Get(int64_t id, bool withSecret, ItemRow* out);
  // Items of a class (or of every class) that match all filters, with an id
  // above `afterId`, in id order, at most `limit` of them.
  int Find(uint32_t itemClass, const std::vector<Filter>& filters, int64_t afterId, int limit,
           bool withSecret, std::vector<ItemRow>* out);

 private:
  explicit Store(sqlite3* db) : db_(db) {}
  sqlite3_stmt* Prepare(const std::string& sql);
  int Exec(const char* sql);
  int Bind(sqlite3_stmt* st, const ItemRow& row, int firstIndex);
  void ReadRow(sqlite3_stmt* st, bool withSecret, ItemRow* out);
  int Fail(int sqliteCode);

  sqlite3* db_;
  std::map<std::string, sqlite3_stmt*> stmts_;
  KeychainHeader header_;
};

// Serialises the header fields that the digest protects.
std::string HeaderDigestInput(const KeychainHeader& h);

}  // namespace secimpl
