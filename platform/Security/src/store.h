// One keychain file: an SQLite database holding the keychain header (key
// derivation parameters, the wrapped keychain key, lock settings) and the
// items, with their secrets sealed by the caller under the associated data
// the store names (ItemBinding). Every row read is checked before it is
// handed out; a file that cannot be read says so with a status. Knows
// nothing of locking, passwords in the clear, or CoreFoundation.
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

// Schema 1 bound a secret to the keychain, the item class and the row only;
// schema 2 binds it to the item's identifying attributes too, and its header
// check covers the lock settings. Files of schema 1 are upgraded on unlock.
constexpr int kSchemaVersion = 2;

struct KeychainHeader {
  int schema = kSchemaVersion;
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
  int schema = 0;      // of the file as this process knew it when the row was read
};

// One exact-match condition of a search; integers are compared as numbers.
struct Filter {
  const AttrDesc* attr;
  std::string bytes;
  int64_t number = 0;
};

// One batch of a walk.
struct FoundRows {
  std::vector<ItemRow> rows;  // the matches
  int scanned = 0;            // rows read; fewer than the limit means the walk is over
  int64_t lastId = 0;         // where the next batch starts
};

// Seals a secret under `ad`, the binding of the row as it will be stored.
using SealFn = std::function<int(const std::string& ad, std::string* sealed)>;
// Opens a secret sealed under oldAd and seals it again under newAd;
// errSecDecode when it does not open.
using ResealFn = std::function<int(const std::string& sealed, const std::string& oldAd,
                                   const std::string& newAd, std::string* out)>;

// The associated data of an item's secret in a file of `schema`: the
// keychain, the item class, the row and (from schema 2) every attribute that
// identifies the item, so that a secret shown under another row or other
// names does not open.
std::string ItemBinding(const std::string& uuid, int schema, const ItemRow& row);

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

  // The binding a secret of `row` is sealed under now.
  std::string Binding(const ItemRow& row) const { return ItemBinding(header_.uuid, header_.schema, row); }

  // row->id is set on success; without `seal` the item has no secret.
  int Insert(ItemRow* row, const SealFn* seal);
  // Rewrites the attributes. With `seal` the secret is replaced; otherwise a
  // change of the item's binding (its identifying attributes) re-seals the
  // stored secret through `reseal`, in the same transaction.
  int Update(const ItemRow& row, const SealFn* seal, const ResealFn& reseal);
  int Delete(int64_t id);
  // errSecInvalidItemRef when the row does not exist.
  int Get(int64_t id, bool withSecret, ItemRow* out);
  // Items of a class (or of every class) that match all filters, with an id
  // above `afterId`, in id order, from at most `limit` rows. Every row is
  // checked against the query in code, so a damaged index cannot hand back
  // another row. On a failure the matches read before it stay in `out` and
  // the status says why the walk cannot go on (never "no more items").
  int Find(uint32_t itemClass, const std::vector<Filter>& filters, int64_t afterId, int limit,
           bool withSecret, FoundRows* out);

  // Moves a schema 1 file to the current binding in one transaction: every
  // secret is re-sealed through `reseal`; one that does not open is left as
  // it is (it keeps failing as damaged). Nothing to do on a current file.
  int UpgradeBinding(const ResealFn& reseal);

 private:
  explicit Store(sqlite3* db) : db_(db) {}
  sqlite3_stmt* Prepare(const std::string& sql);
  int Exec(const char* sql);
  int Bind(sqlite3_stmt* st, const ItemRow& row, int firstIndex);
  int ReadRow(sqlite3_stmt* st, bool withSecret, ItemRow* out);
  int RefreshSchema();
  int WriteSecret(int64_t id, const std::string& sealed);
  int Fail(int sqliteCode);
  int Abort(int status);

  sqlite3* db_;
  std::map<std::string, sqlite3_stmt*> stmts_;      // by text; owns them
  std::map<std::string, sqlite3_stmt*> findStmts_;  // Find's, by shape
  KeychainHeader header_;
};

// Serialises the header fields that the digest protects (by h.schema).
std::string HeaderDigestInput(const KeychainHeader& h);

}  // namespace secimpl
