// SQLite storage of one keychain file.
//
// Durability: the database runs in WAL mode with synchronous=NORMAL and every
// change is one transaction. A commit is in the write-ahead log (the
// operating system's file cache) before the call returns, so an add that
// returned success survives the process being killed at any point; a power
// failure may lose the last commits but never leaves a damaged file.
// Several processes share a file through SQLite's locking; writers take the
// write lock up front (BEGIN IMMEDIATE) and wait up to kBusyTimeoutMs.
#include "store.h"

#include <Security/SecBase.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

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

std::string Column(sqlite3_stmt* st, int i) {
  const void* p = sqlite3_column_blob(st, i);
  int n = sqlite3_column_bytes(st, i);
  return p && n > 0 ? std::string(static_cast<const char*>(p), size_t(n)) : std::string();
}

std::string BuildSelectList(bool withSecret) {
  std::string s = "id, class, ";
  s += withSecret ? "secret" : "secret IS NOT NULL";
  int n = 0;
  const AttrDesc* attrs = AllAttrs(&n);
  for (int i = 0; i < n; ++i) {
    s += ", ";
    s += attrs[i].column;
  }
  return s;
}

const std::string& SelectList(bool withSecret) {
  static const std::string with = BuildSelectList(true), without = BuildSelectList(false);
  return withSecret ? with : without;
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
  sqlite3_busy_timeout(db, kBusyTimeoutMs);
  sqlite3_exec(db, "PRAGMA synchronous=NORMAL; PRAGMA secure_delete=ON;", nullptr, nullptr, nullptr);
}

}  // namespace

std::string HeaderDigestInput(const KeychainHeader& h) {
  std::string s = kFormat;
  s += '\0';
  s += std::to_string(kSchemaVersion) + '\0' + h.uuid + "argon2id13" + '\0';
  s += std::to_string(h.kdf.opslimit) + '\0' + std::to_string(h.kdf.memlimit) + '\0';
  s += h.kdf.salt + h.wrappedKey;
  return s;
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
  int rc = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX, nullptr);
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
      sqlite3_bind_int(st, 2, kSchemaVersion);
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
  int rc = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX, nullptr);
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
  if (kdf != "argon2id13" || h.uuid.size() != 16 || !KdfParamsAcceptable(h.kdf) ||
      interval < 0 || interval > 0xffffffffLL || check != Digest(HeaderDigestInput(h)))
    return errSecInvalidKeychain;
  h.lockInterval = uint32_t(interval);
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

int Store::Fail(int rc) {
  Exec("ROLLBACK;");
  return MapSqlite(rc);
}

int Store::WriteKey(const KdfParams& kdf, const std::string& wrappedKey) {
  KeychainHeader h = header_;
  h.kdf = kdf;
  h.wrappedKey = wrappedKey;
  std::string check = Digest(HeaderDigestInput(h));
  int rc = Exec("BEGIN IMMEDIATE;");
  if (rc != SQLITE_OK) return MapSqlite(rc);
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
  sqlite3_stmt* st = Prepare("UPDATE keychain SET lock_interval = ?1, lock_on_sleep = ?2 WHERE id = 1");
  if (!st) return errSecInvalidKeychain;
  sqlite3_bind_int64(st, 1, lockInterval);
  sqlite3_bind_int(st, 2, lockOnSleep ? 1 : 0);
  int rc = sqlite3_step(st);
  sqlite3_reset(st);
  if (rc != SQLITE_DONE) return MapSqlite(rc);
  header_.lockInterval = lockInterval;
  header_.lockOnSleep = lockOnSleep;
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

void Store::ReadRow(sqlite3_stmt* st, bool withSecret, ItemRow* out) {
  out->id = sqlite3_column_int64(st, 0);
  out->itemClass = uint32_t(sqlite3_column_int64(st, 1));
  if (withSecret) {
    out->hasSecret = sqlite3_column_type(st, 2) != SQLITE_NULL;
    out->sealed = Column(st, 2);
  } else {
    out->hasSecret = sqlite3_column_int(st, 2) != 0;
  }
  out->attrs.clear();
  int n = 0;
  const AttrDesc* attrs = AllAttrs(&n);
  for (int i = 0; i < n; ++i) {
    int col = 3 + i;
    if (sqlite3_column_type(st, col) == SQLITE_NULL) continue;
    if (!FindAttr(out->itemClass, attrs[i].tag)) continue;
    if (attrs[i].kind == AttrKind::Blob || attrs[i].kind == AttrKind::Date)
      out->attrs[attrs[i].tag] = Column(st, col);
    else
      out->attrs[attrs[i].tag] = EncodeUInt32(uint32_t(sqlite3_column_int64(st, col)));
  }
}

int Store::Insert(ItemRow* row, const SealFn& seal) {
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
  sqlite3_stmt* st = Prepare(kSql);
  if (!st) return Fail(SQLITE_ERROR);
  sqlite3_bind_int64(st, 1, row->itemClass);
  Bind(st, *row, 2);
  rc = sqlite3_step(st);
  sqlite3_reset(st);
  sqlite3_clear_bindings(st);
  if (rc != SQLITE_DONE) return Fail(rc);
  int64_t id = sqlite3_last_insert_rowid(db_);
  if (seal) {
    std::string sealed;
    int status = seal(id, &sealed);
    if (status != errSecSuccess) {
      Exec("ROLLBACK;");
      return status;
    }
    sqlite3_stmt* up = Prepare("UPDATE items SET secret = ?1 WHERE id = ?2");
    if (!up) return Fail(SQLITE_ERROR);
    sqlite3_bind_blob(up, 1, sealed.data(), int(sealed.size()), SQLITE_TRANSIENT);
    sqlite3_bind_int64(up, 2, id);
    rc = sqlite3_step(up);
    sqlite3_reset(up);
    sqlite3_clear_bindings(up);
    if (rc != SQLITE_DONE) return Fail(rc);
  }
  rc = Exec("COMMIT;");
  if (rc != SQLITE_OK) return Fail(rc);
  row->id = id;
  return errSecSuccess;
}

int Store::Update(const ItemRow& row, const SealFn* seal) {
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
  sqlite3_stmt* st = Prepare(kSql);
  if (!st) return Fail(SQLITE_ERROR);
  sqlite3_bind_int64(st, 1, row.id);
  Bind(st, row, 2);
  rc = sqlite3_step(st);
  sqlite3_reset(st);
  sqlite3_clear_bindings(st);
  if (rc != SQLITE_DONE) return Fail(rc);
  if (sqlite3_changes(db_) == 0) {
    Exec("ROLLBACK;");
    return errSecInvalidItemRef;
  }
  if (seal) {
    std::string sealed;
    int status = (*seal)(row.id, &sealed);
    if (status != errSecSuccess) {
      Exec("ROLLBACK;");
      return status;
    }
    sqlite3_stmt* up = Prepare("UPDATE items SET secret = ?1 WHERE id = ?2");
    if (!up) return Fail(SQLITE_ERROR);
    sqlite3_bind_blob(up, 1, sealed.data(), int(sealed.size()), SQLITE_TRANSIENT);
    sqlite3_bind_int64(up, 2, row.id);
    rc = sqlite3_step(up);
    sqlite3_reset(up);
    sqlite3_clear_bindings(up);
    if (rc != SQLITE_DONE) return Fail(rc);
  }
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
  if (rc == SQLITE_ROW) ReadRow(st, withSecret, out);
  sqlite3_reset(st);
  if (rc == SQLITE_ROW) return errSecSuccess;
  if (rc == SQLITE_DONE) return errSecInvalidItemRef;
  return MapSqlite(rc);
}

int Store::Find(uint32_t itemClass, const std::vector<Filter>& filters, int64_t afterId, int limit,
                bool withSecret, std::vector<ItemRow>* out) {
  // The class is written into the text (not bound) so that SQLite can use the
  // partial unique indexes; statements are cached by their text.
  //
  // A walk goes on in batches after the last id it delivered. Through an
  // attribute index each later batch would collect and sort every match again
  // (a walk of N matches would cost N * N / batch), so later batches follow
  // the ids instead and stop at the batch's last match: a whole walk then
  // reads each row at most once. A first batch still uses the index, so a
  // selective filter (a find, a narrow search) stays a short index probe.
  const bool followIds = afterId > 0 && !filters.empty();
  std::string sql = "SELECT " + SelectList(withSecret) + " FROM items" +
                    (followIds ? " NOT INDEXED" : "") + " WHERE id > ?1";
  if (itemClass != kClassAnyRecord) sql += " AND class = " + std::to_string(itemClass);
  for (size_t i = 0; i < filters.size(); ++i)
    sql += std::string(" AND ") + filters[i].attr->column + " = ?" + std::to_string(i + 3);
  sql += " ORDER BY id LIMIT ?2";
  sqlite3_stmt* st = Prepare(sql);
  if (!st) return errSecInvalidKeychain;
  sqlite3_bind_int64(st, 1, afterId);
  sqlite3_bind_int(st, 2, limit);
  for (size_t i = 0; i < filters.size(); ++i) {
    const Filter& f = filters[i];
    int idx = int(i) + 3;
    if (f.attr->kind == AttrKind::Blob || f.attr->kind == AttrKind::Date)
      sqlite3_bind_blob(st, idx, f.bytes.data(), int(f.bytes.size()), SQLITE_TRANSIENT);
    else
      sqlite3_bind_int64(st, idx, f.number);
  }
  int rc;
  while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
    out->emplace_back();
    ReadRow(st, withSecret, &out->back());
  }
  sqlite3_reset(st);
  sqlite3_clear_bindings(st);
  return rc == SQLITE_DONE ? errSecSuccess : MapSqlite(rc);
}

}  // namespace secimpl
