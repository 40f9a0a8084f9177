// SQLite storage of one keychain file.
//
// Durability: the database runs in WAL mode with synchronous=NORMAL and every
// change is one transaction. A commit is in the write-ahead log (the
// operating system's file cache) before the call returns, so an add that
// returned success survives the process being killed at any point; a power
// failure may lose the last commits but never leaves a damaged file.
// Several processes share a file through SQLite's locking; writers take the
// write lock up front (BEGIN IMMEDIATE) and wait up to kBusyTimeoutMs.
//
// Damage: SQLite reports much of it (a page that is not a valid B-tree page,
// an index entry whose row is missing), and the rest is caught here: every
// row is checked for the storage types this code writes, for id order and
// against the values the query asked for, and a secret only opens under the
// names and row it was sealed with. Any of these ends a walk with
// errSecInvalidKeychain (errSecDecode for a secret, in the layers above), so
// damage never reads as "no such item".
#include "store.h"

#include <Security/SecBase.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "environment.h"

namespace secimpl {

namespace {

constexpr int kBusyTimeoutMs = 15000;
constexpr const char* kFormat = "keychain-store";

const char* kSchemaSql =
    "CREATE TABLE keychain("
    " id INTEGER PRIMARY KEY CHECK (id = 1),"
    " format TEXT NOT NULL, schema INTEGER NOT NULL, uuid BLOB NOT NULL,"
    " kdf TEXT NOT NULL, opslimit INTEGER NOT NULL, memlimit INTEGER NOT NULL,"
    " salt BLOB NOT NULL, wrapped_key BLOB NOT NULL, header_check BLOB NOT NULL,"
    " lock_interval INTEGER NOT NULL, lock_on_sleep INTEGER NOT NULL);"
    "CREATE TABLE items("
    " id INTEGER PRIMARY KEY AUTOINCREMENT,"  // ids are never reused: they are item identities
    " class INTEGER NOT NULL,"
    " a_acct BLOB NOT NULL DEFAULT x'', a_svce BLOB NOT NULL DEFAULT x'',"
    " a_srvr BLOB NOT NULL DEFAULT x'', a_sdmn BLOB NOT NULL DEFAULT x'',"
    " a_path BLOB NOT NULL DEFAULT x'', a_atyp BLOB NOT NULL DEFAULT x'',"
    " a_ptcl INTEGER NOT NULL DEFAULT 0, a_port INTEGER NOT NULL DEFAULT 0,"
    " a_labl BLOB, a_desc BLOB, a_icmt BLOB, a_gena BLOB, a_cdat BLOB, a_mdat BLOB,"
    " a_crtr INTEGER, a_type INTEGER, a_scrp INTEGER, a_invi INTEGER, a_nega INTEGER,"
    " a_cusi INTEGER, secret BLOB);"
    // The unique keys of the two password classes; they also serve lookups.
    "CREATE UNIQUE INDEX genp_key ON items(a_svce, a_acct) WHERE class = 1734700656;"
    "CREATE UNIQUE INDEX inet_key ON items(a_srvr, a_acct, a_sdmn, a_ptcl, a_atyp, a_port, a_path)"
    " WHERE class = 1768842612;";

// A connection is only ever used under its keychain's lock (WithStore), so
// SQLite's own lock around every call on it would be a second one: without it
// a find makes some ninety fewer lock calls.
constexpr int kOpenThreading = SQLITE_OPEN_NOMUTEX;

std::string Column(sqlite3_stmt* st, int i) {
  const void* p = sqlite3_column_blob(st, i);
  int n = sqlite3_column_bytes(st, i);
  return p && n > 0 ? std::string(static_cast<const char*>(p), size_t(n)) : std::string();
}

// The item columns in the order ReadRow takes them, from the table named by
// `from` ("" or "t.").
std::string BuildSelectList(bool withSecret, const std::string& from) {
  std::string s = from + "id, " + from + "class, " + from + (withSecret ? "secret" : "secret IS NOT NULL");
  int n = 0;
  const AttrDesc* attrs = AllAttrs(&n);
  for (int i = 0; i < n; ++i) s += ", " + from + attrs[i].column;
  return s;
}

const std::string& SelectList(bool withSecret, bool joined = false) {
  static const std::string lists[4] = {BuildSelectList(false, ""), BuildSelectList(true, ""),
                                       BuildSelectList(false, "t."), BuildSelectList(true, "t.")};
  return lists[(joined ? 2 : 0) + (withSecret ? 1 : 0)];
}

bool IsBytes(const AttrDesc& d) { return d.kind == AttrKind::Blob || d.kind == AttrKind::Date; }

// Big-endian, so that the binding does not depend on the machine.
void AppendBE(std::string* s, uint64_t v, int bytes) {
  char b[8];
  for (int i = 0; i < bytes; ++i) b[i] = char((v >> (8 * (bytes - 1 - i))) & 0xff);
  s->append(b, size_t(bytes));
}

// Whether a row read by ReadRow has the value a filter asks for, as SQL
// compares it: an identifying attribute the class lacks is stored empty (or
// 0), any other absent one is NULL and equals nothing.
bool Matches(const ItemRow& row, const Filter& f) {
  auto it = row.attrs.find(f.attr->tag);
  if (it == row.attrs.end()) return f.attr->key && (IsBytes(*f.attr) ? f.bytes.empty() : f.number == 0);
  if (IsBytes(*f.attr)) return it->second == f.bytes;
  uint32_t v = 0;
  if (it->second.size() != sizeof v) return false;
  memcpy(&v, it->second.data(), sizeof v);
  return v == uint32_t(f.number);
}

int MapSqlite(int code) {
  switch (code & 0xff) {
    case SQLITE_OK:
    case SQLITE_DONE:
    case SQLITE_ROW: return errSecSuccess;
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
    case SQLITE_FORMAT:
    case SQLITE_SCHEMA:
    case SQLITE_ERROR: return errSecInvalidKeychain;
    case SQLITE_CONSTRAINT: return errSecDuplicateItem;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH: return errSecWrPerm;
    case SQLITE_FULL: return errSecDiskFull;
    case SQLITE_NOMEM: return errSecAllocate;
    case SQLITE_BUSY:
    case SQLITE_LOCKED: return errSecDatabaseLocked;
    case SQLITE_CANTOPEN: return errSecNoSuchKeychain;
    case SQLITE_TOOBIG: return errSecDataTooLarge;
    default: return errSecIO;
  }
}

void Configure(sqlite3* db) {
  sqlite3_busy_timeout(db, BusyTimeoutMs(kBusyTimeoutMs));
  sqlite3_exec(db, "PRAGMA synchronous=NORMAL; PRAGMA secure_delete=ON;", nullptr, nullptr, nullptr);
}

}  // namespace

std::string HeaderDigestInput(const KeychainHeader& h) {
  std::string s = kFormat;
  s += '\0';
  s += std::to_string(h.schema) + '\0' + h.uuid + "argon2id13" + '\0';
  s += std::to_string(h.kdf.opslimit) + '\0' + std::to_string(h.kdf.memlimit) + '\0';
  s += h.kdf.salt + h.wrappedKey;
  // A damaged lock interval would lock the keychain at every use.
  if (h.schema >= 2) s += '\0' + std::to_string(h.lockInterval) + '\0' + (h.lockOnSleep ? '1' : '0');
  return s;
}

std::string ItemBinding(const std::string& uuid, int schema, const ItemRow& row) {
  std::string ad;
  ad.reserve(64 + uuid.size());
  ad = schema >= 2 ? "item2" : "item";
  ad += uuid;
  AppendBE(&ad, row.itemClass, 4);
  AppendBE(&ad, uint64_t(row.id), 8);
  if (schema < 2) return ad;
  // The identifying attributes as the store keeps them: absent is empty (or
  // 0), and each value is length-prefixed so that no two sets of names
  // serialise alike.
  const bool internet = row.itemClass == kClassInternetPassword;
  int n = 0;
  const AttrDesc* attrs = AllAttrs(&n);
  for (int i = 0; i < n; ++i) {
    const AttrDesc& d = attrs[i];
    if (!d.key || !(internet ? d.inet : d.genp)) continue;
    auto it = row.attrs.find(d.tag);
    const std::string empty;
    const std::string& v = it == row.attrs.end() ? empty : it->second;
    AppendBE(&ad, d.tag, 4);
    if (IsBytes(d)) {
      AppendBE(&ad, v.size(), 4);
      ad += v;
    } else {
      int64_t num = 0;
      DecodeInteger(v.data(), uint32_t(v.size()), d.kind, &num);
      AppendBE(&ad, uint64_t(num), 8);
    }
  }
  return ad;
}

Store::~Store() {
  for (auto& kv : stmts_) sqlite3_finalize(kv.second);
  sqlite3_close_v2(db_);
}

int Store::Create(const std::string& path, const KeychainHeader& h) {
  // O_EXCL: an existing file, of whatever kind, is never touched.
  int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd < 0) {
    if (errno == EEXIST) return errSecDuplicateKeychain;
    if (errno == ENOENT || errno == ENOTDIR) return errSecNoSuchKeychain;
    if (errno == ENOSPC) return errSecDiskFull;
    return errSecWrPerm;
  }
  fchmod(fd, 0600);
  close(fd);

  sqlite3* db = nullptr;
  int rc = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | kOpenThreading, nullptr);
  int status = errSecSuccess;
  if (rc != SQLITE_OK) {
    status = MapSqlite(rc);
  } else {
    Configure(db);
    sqlite3_exec(db, "PRAGMA journal_mode=WAL;", nullptr, nullptr, nullptr);
    std::string sql = std::string("BEGIN IMMEDIATE;") + kSchemaSql;
    rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr);
    sqlite3_stmt* st = nullptr;
    if (rc == SQLITE_OK)
      rc = sqlite3_prepare_v2(db,
                              "INSERT INTO keychain VALUES (1, ?, ?, ?, 'argon2id13', ?, ?, ?, ?, ?, ?, ?)",
                              -1, &st, nullptr);
    if (rc == SQLITE_OK) {
      std::string check = Digest(HeaderDigestInput(h));
      sqlite3_bind_text(st, 1, kFormat, -1, SQLITE_STATIC);
      sqlite3_bind_int(st, 2, h.schema);
      sqlite3_bind_blob(st, 3, h.uuid.data(), int(h.uuid.size()), SQLITE_TRANSIENT);
      sqlite3_bind_int64(st, 4, int64_t(h.kdf.opslimit));
      sqlite3_bind_int64(st, 5, int64_t(h.kdf.memlimit));
      sqlite3_bind_blob(st, 6, h.kdf.salt.data(), int(h.kdf.salt.size()), SQLITE_TRANSIENT);
      sqlite3_bind_blob(st, 7, h.wrappedKey.data(), int(h.wrappedKey.size()), SQLITE_TRANSIENT);
      sqlite3_bind_blob(st, 8, check.data(), int(check.size()), SQLITE_TRANSIENT);
      sqlite3_bind_int64(st, 9, h.lockInterval);
      sqlite3_bind_int(st, 10, h.lockOnSleep ? 1 : 0);
      rc = sqlite3_step(st);
      if (rc == SQLITE_DONE) rc = SQLITE_OK;
    }
    sqlite3_finalize(st);
    if (rc == SQLITE_OK) rc = sqlite3_exec(db, "COMMIT;", nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) {
      status = MapSqlite(rc);
      if (status == errSecInvalidKeychain) status = errSecIO;
    }
  }
  sqlite3_close_v2(db);
  if (status != errSecSuccess) {
    // Only our own half-made file is removed.
    unlink(path.c_str());
    unlink((path + "-wal").c_str());
    unlink((path + "-shm").c_str());
  }
  return status;
}

int Store::Open(const std::string& path, std::unique_ptr<Store>* out) {
  struct stat st;
  if (stat(path.c_str(), &st) != 0) return errSecNoSuchKeychain;
  if (!S_ISREG(st.st_mode)) return errSecInvalidKeychain;
  sqlite3* db = nullptr;
  // No SQLITE_OPEN_CREATE: a file that vanished in between is not recreated.
  int rc = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | kOpenThreading, nullptr);
  if (rc != SQLITE_OK) {
    sqlite3_close_v2(db);
    return rc == SQLITE_CANTOPEN ? errSecNoSuchKeychain : errSecInvalidKeychain;
  }
  Configure(db);
  std::unique_ptr<Store> s(new Store(db));
  int status = s->ReadHeader();
  if (status != errSecSuccess) return status;
  // The item table must have the columns we read and write.
  if (!s->Prepare("SELECT " + SelectList(true) + " FROM items WHERE id = ?1")) return errSecInvalidKeychain;
  *out = std::move(s);
  return errSecSuccess;
}

int Store::ReadHeader() {
  sqlite3_stmt* st = Prepare("SELECT format, schema FROM keychain WHERE id = 1");
  if (!st) return errSecInvalidKeychain;
  int rc = sqlite3_step(st);
  if (rc != SQLITE_ROW) {
    sqlite3_reset(st);
    if ((rc & 0xff) == SQLITE_BUSY) return errSecDatabaseLocked;
    return errSecInvalidKeychain;
  }
  std::string format = Column(st, 0);
  int64_t schema = sqlite3_column_int64(st, 1);
  sqlite3_reset(st);
  if (format != kFormat) return errSecInvalidKeychain;
  if (schema > kSchemaVersion) return errSecWrongSecVersion;
  if (schema < 1) return errSecInvalidKeychain;

  st = Prepare(
      "SELECT uuid, opslimit, memlimit, salt, wrapped_key, header_check, lock_interval, lock_on_sleep, kdf"
      " FROM keychain WHERE id = 1");
  if (!st || sqlite3_step(st) != SQLITE_ROW) {
    if (st) sqlite3_reset(st);
    return errSecInvalidKeychain;
  }
  KeychainHeader h;
  h.schema = int(schema);
  h.uuid = Column(st, 0);
  h.kdf.opslimit = uint64_t(sqlite3_column_int64(st, 1));
  h.kdf.memlimit = uint64_t(sqlite3_column_int64(st, 2));
  h.kdf.salt = Column(st, 3);
  h.wrappedKey = Column(st, 4);
  std::string check = Column(st, 5);
  int64_t interval = sqlite3_column_int64(st, 6);
  h.lockOnSleep = sqlite3_column_int(st, 7) != 0;
  std::string kdf = Column(st, 8);
  sqlite3_reset(st);
  if (interval < 0 || interval > 0xffffffffLL) return errSecInvalidKeychain;
  h.lockInterval = uint32_t(interval);
  if (kdf != "argon2id13" || h.uuid.size() != 16 || !KdfParamsAcceptable(h.kdf) ||
      check != Digest(HeaderDigestInput(h)))
    return errSecInvalidKeychain;
  header_ = h;
  return errSecSuccess;
}

sqlite3_stmt* Store::Prepare(const std::string& sql) {
  auto it = stmts_.find(sql);
  if (it != stmts_.end()) {
    sqlite3_reset(it->second);
    sqlite3_clear_bindings(it->second);
    return it->second;
  }
  sqlite3_stmt* st = nullptr;
  if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &st, nullptr) != SQLITE_OK) {
    sqlite3_finalize(st);
    return nullptr;
  }
  stmts_[sql] = st;
  return st;
}

int Store::Exec(const char* sql) { return sqlite3_exec(db_, sql, nullptr, nullptr, nullptr); }

int Store::Fail(int rc) { return Abort(MapSqlite(rc)); }

int Store::Abort(int status) {
  Exec("ROLLBACK;");
  return status;
}

// Brings the cached header up to the file's schema, inside the caller's
// transaction: another process may have upgraded the file since this one
// read its header, and what is sealed now must follow the file.
int Store::RefreshSchema() {
  sqlite3_stmt* st = Prepare("SELECT schema FROM keychain WHERE id = 1");
  if (!st) return errSecInvalidKeychain;
  int rc = sqlite3_step(st);
  int64_t v = rc == SQLITE_ROW ? sqlite3_column_int64(st, 0) : 0;
  sqlite3_reset(st);
  if (rc != SQLITE_ROW) return rc == SQLITE_DONE ? errSecInvalidKeychain : MapSqlite(rc);
  return v == header_.schema ? errSecSuccess : ReadHeader();
}

int Store::WriteSecret(int64_t id, const std::string& sealed) {
  sqlite3_stmt* up = Prepare("UPDATE items SET secret = ?1 WHERE id = ?2");
  if (!up) return errSecInvalidKeychain;
  sqlite3_bind_blob(up, 1, sealed.data(), int(sealed.size()), SQLITE_TRANSIENT);
  sqlite3_bind_int64(up, 2, id);
  int rc = sqlite3_step(up);
  sqlite3_reset(up);
  sqlite3_clear_bindings(up);
  return rc == SQLITE_DONE ? errSecSuccess : MapSqlite(rc);
}

int Store::WriteKey(const KdfParams& kdf, const std::string& wrappedKey) {
  int rc = Exec("BEGIN IMMEDIATE;");
  if (rc != SQLITE_OK) return MapSqlite(rc);
  int status = ReadHeader();  // the check covers the settings and schema as they are now
  if (status != errSecSuccess) return Abort(status);
  KeychainHeader h = header_;
  h.kdf = kdf;
  h.wrappedKey = wrappedKey;
  std::string check = Digest(HeaderDigestInput(h));
  sqlite3_stmt* st = Prepare(
      "UPDATE keychain SET opslimit = ?1, memlimit = ?2, salt = ?3, wrapped_key = ?4, header_check = ?5"
      " WHERE id = 1");
  if (!st) return Fail(SQLITE_ERROR);
  sqlite3_bind_int64(st, 1, int64_t(kdf.opslimit));
  sqlite3_bind_int64(st, 2, int64_t(kdf.memlimit));
  sqlite3_bind_blob(st, 3, kdf.salt.data(), int(kdf.salt.size()), SQLITE_TRANSIENT);
  sqlite3_bind_blob(st, 4, wrappedKey.data(), int(wrappedKey.size()), SQLITE_TRANSIENT);
  sqlite3_bind_blob(st, 5, check.data(), int(check.size()), SQLITE_TRANSIENT);
  rc = sqlite3_step(st);
  sqlite3_reset(st);
  if (rc != SQLITE_DONE) return Fail(rc);
  rc = Exec("COMMIT;");
  if (rc != SQLITE_OK) return Fail(rc);
  header_ = h;
  return errSecSuccess;
}

int Store::WriteSettings(uint32_t lockInterval, bool lockOnSleep) {
  int rc = Exec("BEGIN IMMEDIATE;");
  if (rc != SQLITE_OK) return MapSqlite(rc);
  int status = ReadHeader();
  if (status != errSecSuccess) return Abort(status);
  KeychainHeader h = header_;
  h.lockInterval = lockInterval;
  h.lockOnSleep = lockOnSleep;
  std::string check = Digest(HeaderDigestInput(h));
  sqlite3_stmt* st = Prepare(
      "UPDATE keychain SET lock_interval = ?1, lock_on_sleep = ?2, header_check = ?3 WHERE id = 1");
  if (!st) return Fail(SQLITE_ERROR);
  sqlite3_bind_int64(st, 1, lockInterval);
  sqlite3_bind_int(st, 2, lockOnSleep ? 1 : 0);
  sqlite3_bind_blob(st, 3, check.data(), int(check.size()), SQLITE_TRANSIENT);
  rc = sqlite3_step(st);
  sqlite3_reset(st);
  if (rc != SQLITE_DONE) return Fail(rc);
  rc = Exec("COMMIT;");
  if (rc != SQLITE_OK) return Fail(rc);
  header_ = h;
  return errSecSuccess;
}

// Binds every attribute column, in table order, starting at firstIndex.
int Store::Bind(sqlite3_stmt* st, const ItemRow& row, int firstIndex) {
  int n = 0;
  const AttrDesc* attrs = AllAttrs(&n);
  for (int i = 0; i < n; ++i) {
    const AttrDesc& d = attrs[i];
    int idx = firstIndex + i;
    auto it = row.attrs.find(d.tag);
    bool applies = FindAttr(row.itemClass, d.tag) != nullptr;
    if (!applies || it == row.attrs.end()) {
      if (d.key) {
        if (d.kind == AttrKind::Blob)
          sqlite3_bind_blob(st, idx, "", 0, SQLITE_STATIC);
        else
          sqlite3_bind_int64(st, idx, 0);
      } else {
        sqlite3_bind_null(st, idx);
      }
      continue;
    }
    const std::string& v = it->second;
    if (d.kind == AttrKind::Blob || d.kind == AttrKind::Date) {
      sqlite3_bind_blob(st, idx, v.data(), int(v.size()), SQLITE_TRANSIENT);
    } else {
      int64_t num = 0;
      DecodeInteger(v.data(), uint32_t(v.size()), d.kind, &num);
      sqlite3_bind_int64(st, idx, num);
    }
  }
  return n;
}

// Reads one row, refusing what this code never writes: a class that is not
// a password class, an identifying attribute that is missing, a value of
// the wrong storage type.
int Store::ReadRow(sqlite3_stmt* st, bool withSecret, ItemRow* out) {
  // A NULL id or class (the row an index entry names is missing) reads as 0.
  out->id = sqlite3_column_int64(st, 0);
  int64_t cls = sqlite3_column_int64(st, 1);
  if (out->id <= 0 || cls < 0 || cls > 0xffffffffLL || !IsPasswordClass(uint32_t(cls)))
    return errSecInvalidKeychain;
  out->itemClass = uint32_t(cls);
  if (withSecret) {
    out->hasSecret = sqlite3_column_type(st, 2) != SQLITE_NULL;  // what else it holds, opening it tells
    out->sealed = Column(st, 2);
  } else {
    out->hasSecret = sqlite3_column_int(st, 2) != 0;
  }
  out->attrs.clear();
  int n = 0;
  const AttrDesc* attrs = AllAttrs(&n);
  for (int i = 0; i < n; ++i) {
    int col = 3 + i;
    int type = sqlite3_column_type(st, col);
    if (type == SQLITE_NULL && !attrs[i].key) continue;
    if (type != (IsBytes(attrs[i]) ? SQLITE_BLOB : SQLITE_INTEGER)) return errSecInvalidKeychain;
    const bool ofClass = out->itemClass == kClassGenericPassword ? attrs[i].genp : attrs[i].inet;
    if (!ofClass) continue;
    if (IsBytes(attrs[i]))
      out->attrs[attrs[i].tag] = Column(st, col);
    else
      out->attrs[attrs[i].tag] = EncodeUInt32(uint32_t(sqlite3_column_int64(st, col)));
  }
  out->schema = header_.schema;
  return errSecSuccess;
}

int Store::Insert(ItemRow* row, const SealFn* seal) {
  static const std::string kSql = [] {
    int n = 0;
    const AttrDesc* attrs = AllAttrs(&n);
    std::string cols = "class", vals = "?1";
    for (int i = 0; i < n; ++i) {
      cols += std::string(", ") + attrs[i].column;
      vals += ", ?" + std::to_string(i + 2);
    }
    return "INSERT INTO items (" + cols + ") VALUES (" + vals + ")";
  }();
  int rc = Exec("BEGIN IMMEDIATE;");
  if (rc != SQLITE_OK) return MapSqlite(rc);
  int status = RefreshSchema();
  if (status != errSecSuccess) return Abort(status);
  sqlite3_stmt* st = Prepare(kSql);
  if (!st) return Fail(SQLITE_ERROR);
  sqlite3_bind_int64(st, 1, row->itemClass);
  Bind(st, *row, 2);
  rc = sqlite3_step(st);
  sqlite3_reset(st);
  sqlite3_clear_bindings(st);
  if (rc != SQLITE_DONE) return Fail(rc);
  ItemRow stored = *row;
  stored.id = sqlite3_last_insert_rowid(db_);
  if (seal) {
    std::string sealed;
    status = (*seal)(Binding(stored), &sealed);
    if (status == errSecSuccess) status = WriteSecret(stored.id, sealed);
    if (status != errSecSuccess) return Abort(status);
  }
  rc = Exec("COMMIT;");
  if (rc != SQLITE_OK) return Fail(rc);
  row->id = stored.id;
  return errSecSuccess;
}

int Store::Update(const ItemRow& row, const SealFn* seal, const ResealFn& reseal) {
  static const std::string kSql = [] {
    int n = 0;
    const AttrDesc* attrs = AllAttrs(&n);
    std::string sets;
    for (int i = 0; i < n; ++i) {
      if (i) sets += ", ";
      sets += std::string(attrs[i].column) + " = ?" + std::to_string(i + 2);
    }
    return "UPDATE items SET " + sets + " WHERE id = ?1";
  }();
  int rc = Exec("BEGIN IMMEDIATE;");
  if (rc != SQLITE_OK) return MapSqlite(rc);
  int status = RefreshSchema();
  // The row as stored now: its binding is what its secret opens under.
  ItemRow stored;
  if (status == errSecSuccess) status = Get(row.id, true, &stored);
  if (status == errSecSuccess && stored.itemClass != row.itemClass) status = errSecInvalidItemRef;
  if (status != errSecSuccess) return Abort(status);
  sqlite3_stmt* st = Prepare(kSql);
  if (!st) return Fail(SQLITE_ERROR);
  sqlite3_bind_int64(st, 1, row.id);
  Bind(st, row, 2);
  rc = sqlite3_step(st);
  sqlite3_reset(st);
  sqlite3_clear_bindings(st);
  if (rc != SQLITE_DONE) return Fail(rc);
  std::string sealed;
  bool write = false;
  if (seal) {
    status = (*seal)(Binding(row), &sealed);
    write = true;
  } else if (stored.hasSecret) {
    std::string oldAd = ItemBinding(header_.uuid, stored.schema, stored), newAd = Binding(row);
    if (oldAd != newAd) {
      status = reseal(stored.sealed, oldAd, newAd, &sealed);
      write = true;
    }
  }
  if (status == errSecSuccess && write) status = WriteSecret(row.id, sealed);
  if (status != errSecSuccess) return Abort(status);
  rc = Exec("COMMIT;");
  if (rc != SQLITE_OK) return Fail(rc);
  return errSecSuccess;
}

int Store::Delete(int64_t id) {
  sqlite3_stmt* st = Prepare("DELETE FROM items WHERE id = ?1");
  if (!st) return errSecInvalidKeychain;
  sqlite3_bind_int64(st, 1, id);
  int rc = sqlite3_step(st);
  sqlite3_reset(st);
  if (rc != SQLITE_DONE) return MapSqlite(rc);
  return sqlite3_changes(db_) ? errSecSuccess : errSecInvalidItemRef;
}

int Store::Get(int64_t id, bool withSecret, ItemRow* out) {
  sqlite3_stmt* st = Prepare("SELECT " + SelectList(withSecret) + " FROM items WHERE id = ?1");
  if (!st) return errSecInvalidKeychain;
  sqlite3_bind_int64(st, 1, id);
  int rc = sqlite3_step(st);
  int status = errSecSuccess;
  if (rc == SQLITE_ROW) {
    status = ReadRow(st, withSecret, out);
  } else {
    status = rc == SQLITE_DONE ? errSecInvalidItemRef : MapSqlite(rc);
  }
  sqlite3_reset(st);
  return status;
}

int Store::Find(uint32_t itemClass, const std::vector<Filter>& filters, int64_t afterId, int limit,
                bool withSecret, FoundRows* out) {
  // The class is written into the text (not bound) so that SQLite can use the
  // partial unique indexes; statements are cached by their text.
  //
  // A walk goes on in batches after the last id it read. Through an
  // attribute index each later batch would collect and sort every match again
  // (a walk of N matches would cost N * N / batch), so later batches follow
  // the ids instead and stop at the batch's last match: a whole walk then
  // reads each row at most once. A first batch still uses the index, so a
  // selective filter (a find, a narrow search) stays a short index probe.
  //
  // A walk without filters leaves the class to the code below: a row whose
  // class was damaged is then reported, not silently passed over.
  //
  // Through an index SQLite hands back the index's own copies of the indexed
  // columns, so a damaged entry would pass for the row it names. The first
  // batch therefore reads the row again from the table, by its id (t), and
  // the check below compares the table's values; a row the entry names but
  // the table lacks comes back as NULLs and is refused.
  const bool followIds = afterId > 0 && !filters.empty();
  const bool viaIndex = afterId == 0 && !filters.empty();
  //
  // A find is a hot path: its statement is looked up by a few bytes that
  // name its shape rather than by its text.
  int attrCount = 0;
  const AttrDesc* attrs = AllAttrs(&attrCount);
  std::string shape(reinterpret_cast<const char*>(&itemClass), sizeof itemClass);
  shape += char((withSecret ? 1 : 0) | (viaIndex ? 2 : 0) | (followIds ? 4 : 0));
  for (const Filter& f : filters) shape += char(f.attr - attrs);
  sqlite3_stmt* st = nullptr;
  auto known = findStmts_.find(shape);
  if (known != findStmts_.end()) {
    st = known->second;
    sqlite3_reset(st);
    sqlite3_clear_bindings(st);
  } else {
    const bool classInSql = itemClass != kClassAnyRecord && !filters.empty();
    const std::string q = viaIndex ? "i." : "";
    std::string sql = "SELECT " + SelectList(withSecret, viaIndex) + " FROM items" +
                      (viaIndex ? " AS i LEFT JOIN items AS t ON t.id = i.id" : "") +
                      (followIds ? " NOT INDEXED" : "") + " WHERE " + q + "id > ?1";
    if (classInSql) sql += " AND " + q + "class = " + std::to_string(itemClass);
    for (size_t i = 0; i < filters.size(); ++i)
      sql += " AND " + q + filters[i].attr->column + " = ?" + std::to_string(i + 3);
    sql += " ORDER BY " + q + "id LIMIT ?2";
    st = Prepare(sql);
    if (!st) return errSecInvalidKeychain;
    findStmts_[shape] = st;
  }
  sqlite3_bind_int64(st, 1, afterId);
  sqlite3_bind_int(st, 2, limit);
  for (size_t i = 0; i < filters.size(); ++i) {
    const Filter& f = filters[i];
    int idx = int(i) + 3;
    if (IsBytes(*f.attr))
      sqlite3_bind_blob(st, idx, f.bytes.data(), int(f.bytes.size()), SQLITE_TRANSIENT);
    else
      sqlite3_bind_int64(st, idx, f.number);
  }
  out->scanned = 0;
  out->lastId = afterId;
  int status = errSecSuccess;
  int rc = SQLITE_DONE;
  // The step after the last row the batch wants is not taken: a find wants
  // one row, and the reset below ends the statement as DONE would.
  while (status == errSecSuccess && out->scanned < limit && (rc = sqlite3_step(st)) == SQLITE_ROW) {
    ItemRow row;
    status = ReadRow(st, withSecret, &row);
    // Rows come in id order, each once: anything else is a damaged B-tree.
    if (status == errSecSuccess && row.id <= out->lastId) status = errSecInvalidKeychain;
    if (status != errSecSuccess) break;
    ++out->scanned;
    out->lastId = row.id;
    if (itemClass != kClassAnyRecord && row.itemClass != itemClass) {
      if (viaIndex) status = errSecInvalidKeychain;  // an index entry naming a row of another class
      continue;
    }
    // What an index handed back must be what was asked for.
    for (const Filter& f : filters)
      if (!Matches(row, f)) status = errSecInvalidKeychain;
    if (status == errSecSuccess) out->rows.push_back(std::move(row));
  }
  if (status == errSecSuccess && rc != SQLITE_DONE && rc != SQLITE_ROW) status = MapSqlite(rc);
  sqlite3_reset(st);
  sqlite3_clear_bindings(st);
  return status;
}

int Store::UpgradeBinding(const ResealFn& reseal) {
  if (header_.schema >= kSchemaVersion) return errSecSuccess;
  int rc = Exec("BEGIN IMMEDIATE;");
  if (rc != SQLITE_OK) return MapSqlite(rc);
  int status = ReadHeader();  // another process may have done it already
  if (status != errSecSuccess) return Abort(status);
  if (header_.schema >= kSchemaVersion) return Abort(errSecSuccess);
  const std::string uuid = header_.uuid;
  constexpr int kUpgradeBatch = 32;
  sqlite3_stmt* st = Prepare("SELECT " + SelectList(true) + " FROM items WHERE id > ?1 ORDER BY id LIMIT " +
                             std::to_string(kUpgradeBatch));
  if (!st) return Fail(SQLITE_ERROR);
  // In batches, with the reading statement reset before the rows are written.
  for (int64_t after = 0;;) {
    std::vector<ItemRow> rows;
    sqlite3_bind_int64(st, 1, after);
    while (status == errSecSuccess && (rc = sqlite3_step(st)) == SQLITE_ROW) {
      rows.emplace_back();
      status = ReadRow(st, true, &rows.back());
      if (status == errSecSuccess && rows.back().id <= after) status = errSecInvalidKeychain;
      after = rows.back().id;
    }
    if (status == errSecSuccess && rc != SQLITE_DONE) status = MapSqlite(rc);
    sqlite3_reset(st);
    if (status != errSecSuccess) return Abort(status);
    for (const ItemRow& row : rows) {
      if (!row.hasSecret) continue;
      std::string sealed;
      status = reseal(row.sealed, ItemBinding(uuid, 1, row), ItemBinding(uuid, kSchemaVersion, row), &sealed);
      if (status == errSecDecode) continue;  // already damaged; it keeps failing under any binding
      if (status == errSecSuccess) status = WriteSecret(row.id, sealed);
      if (status != errSecSuccess) return Abort(status);
    }
    if (rows.size() < size_t(kUpgradeBatch)) break;
  }
  KeychainHeader h = header_;
  h.schema = kSchemaVersion;
  std::string check = Digest(HeaderDigestInput(h));
  sqlite3_stmt* up = Prepare("UPDATE keychain SET schema = ?1, header_check = ?2 WHERE id = 1");
  if (!up) return Fail(SQLITE_ERROR);
  sqlite3_bind_int(up, 1, h.schema);
  sqlite3_bind_blob(up, 2, check.data(), int(check.size()), SQLITE_TRANSIENT);
  rc = sqlite3_step(up);
  sqlite3_reset(up);
  if (rc != SQLITE_DONE) return Fail(rc);
  rc = Exec("COMMIT;");
  if (rc != SQLITE_OK) return Fail(rc);
  header_ = h;
  return errSecSuccess;
}

}  // namespace secimpl
