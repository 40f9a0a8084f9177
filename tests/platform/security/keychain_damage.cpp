// Damaging and checking keychain files for the reliability tests.
#include "keychain_damage.h"

#include <sqlite3.h>

#include <fstream>
#include <set>
#include <tuple>

namespace sectest {

namespace {

uint32_t BE(const std::string& b, size_t at, int n) {
  uint32_t v = 0;
  for (int i = 0; i < n; ++i) v = (v << 8) | uint8_t(b[at + size_t(i)]);
  return v;
}

std::string ReadPage(const std::string& path, uint32_t page) {
  size_t size = PageSize(path);
  std::ifstream in(path, std::ios::binary);
  std::string bytes(size, '\0');
  in.seekg(std::streamoff((page - 1) * size));
  in.read(&bytes[0], std::streamsize(size));
  return in ? bytes : std::string();
}

using Key = std::tuple<bool, std::string, std::string>;  // internet, service or server, account

Key KeyOf(const StoredItem& i) { return Key{i.internet, i.service, i.account}; }

std::string Text(CFTypeRef v) {
  if (!v) return "";
  if (CFGetTypeID(v) == CFDataGetTypeID())
    return std::string(reinterpret_cast<const char*>(CFDataGetBytePtr((CFDataRef)v)),
                       size_t(CFDataGetLength((CFDataRef)v)));
  return CFGetTypeID(v) == CFStringGetTypeID() ? ToStd((CFStringRef)v) : "";
}

Outcome Judge(OSStatus status, Readback* r, const std::string& what) {
  if (IsDamageStatus(status)) return Outcome::Damage;
  if (r->wrong.empty()) r->wrong = what + ": status " + std::to_string(status);
  return Outcome::Wrong;
}

OSStatus FindOne(SecKeychainRef kc, const StoredItem& i, std::string* secret) {
  UInt32 length = 0;
  void* data = nullptr;
  OSStatus s =
      i.internet
          ? SecKeychainFindInternetPassword(kc, UInt32(i.service.size()), i.service.data(), 0, nullptr,
                                            UInt32(i.account.size()), i.account.data(), 0, nullptr, 0, 0, 0,
                                            &length, &data, nullptr)
          : SecKeychainFindGenericPassword(kc, UInt32(i.service.size()), i.service.data(),
                                           UInt32(i.account.size()), i.account.data(), &length, &data, nullptr);
  if (s == errSecSuccess) {
    secret->assign(static_cast<const char*>(data), length);
    SecKeychainItemFreeContent(nullptr, data);
  }
  return s;
}

// Every item of both classes through SecItemCopyMatching, names and secrets.
Outcome List(SecKeychainRef kc, const std::map<Key, std::string>& stored, Readback* r) {
  std::map<Key, std::string> got;
  for (bool internet : {false, true}) {
    CFArrayRef list = CFArrayCreate(nullptr, (const void**)&kc, 1, &kCFTypeArrayCallBacks);
    CFMutableDictionaryRef q = CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                         &kCFTypeDictionaryValueCallBacks);
    CFDictionarySetValue(q, kSecClass, internet ? kSecClassInternetPassword : kSecClassGenericPassword);
    CFDictionarySetValue(q, kSecMatchSearchList, list);
    CFDictionarySetValue(q, kSecMatchLimit, kSecMatchLimitAll);
    CFDictionarySetValue(q, kSecReturnAttributes, kCFBooleanTrue);
    CFDictionarySetValue(q, kSecReturnData, kCFBooleanTrue);
    CFTypeRef result = nullptr;
    OSStatus s = SecItemCopyMatching(q, &result);
    CFRelease(q);
    CFRelease(list);
    if (s != errSecSuccess) return Judge(s, r, "listing");
    for (CFIndex n = 0; n < CFArrayGetCount((CFArrayRef)result); ++n) {
      CFDictionaryRef d = (CFDictionaryRef)CFArrayGetValueAtIndex((CFArrayRef)result, n);
      Key k{internet, Text(CFDictionaryGetValue(d, internet ? kSecAttrServer : kSecAttrService)),
            Text(CFDictionaryGetValue(d, kSecAttrAccount))};
      got[k] = Text(CFDictionaryGetValue(d, kSecValueData));
    }
    CFRelease(result);
  }
  if (got == stored) return Outcome::Exact;
  if (r->wrong.empty())
    r->wrong = "listing of " + std::to_string(got.size()) + " items, not the " + std::to_string(stored.size()) +
               " stored, and no error";
  return Outcome::Wrong;
}

// A search over every class, each item's names and secret read back.
Outcome Walk(SecKeychainRef kc, const std::map<Key, std::string>& stored, Readback* r) {
  SecKeychainSearchRef search = nullptr;
  OSStatus s = SecKeychainSearchCreateFromAttributes(kc, 0x0A, nullptr, &search);
  if (s != errSecSuccess) return Judge(s, r, "search");
  std::set<Key> seen;
  bool damaged = false;
  Outcome out = Outcome::Exact;
  SecKeychainItemRef item = nullptr;
  while ((s = SecKeychainSearchCopyNext(search, &item)) == errSecSuccess) {
    SecItemClass cls = 0;
    UInt32 length = 0;
    void* data = nullptr;
    OSStatus c = SecKeychainItemCopyContent(item, &cls, nullptr, &length, &data);
    std::string secret = c == errSecSuccess && data ? std::string(static_cast<const char*>(data), length) : "";
    SecKeychainItemFreeContent(nullptr, data);
    bool internet = cls == kSecInternetPasswordItemClass;
    std::string name, account;
    if (c == errSecSuccess) c = ReadAttr(item, internet ? kSecServerItemAttr : kSecServiceItemAttr, &name);
    if (c == errSecSuccess) c = ReadAttr(item, kSecAccountItemAttr, &account);
    CFRelease(item);
    Key k{internet, name, account};
    if (c != errSecSuccess) {
      damaged = true;
      if (Judge(c, r, "search item") == Outcome::Wrong) out = Outcome::Wrong;
      continue;
    }
    auto it = stored.find(k);
    if (it == stored.end() || it->second != secret || !seen.insert(k).second) {
      if (r->wrong.empty()) r->wrong = "search gave " + account + " with a secret not its own";
      out = Outcome::Wrong;
    }
  }
  CFRelease(search);
  if (out == Outcome::Wrong) return out;
  if (s != errSecItemNotFound) return Judge(s, r, "search end");
  if (seen.size() == stored.size()) return damaged ? Outcome::Damage : Outcome::Exact;
  if (damaged) return Outcome::Damage;  // the missing ones were reported one by one
  if (r->wrong.empty())
    r->wrong = "search ended after " + std::to_string(seen.size()) + " of " + std::to_string(stored.size()) +
               " items with \"no more items\"";
  return Outcome::Wrong;
}

}  // namespace

std::vector<StoredItem> MakeItems(int generic, int internet) {
  std::vector<StoredItem> items;
  for (int i = 0; i < generic; ++i)
    items.push_back({false, "svc", "account-" + std::to_string(i), "secret-" + std::to_string(i * 7919 % 1000)});
  for (int i = 0; i < internet; ++i)
    items.push_back({true, "host.example", "user-" + std::to_string(i), "inet-" + std::to_string(i * 31)});
  return items;
}

OSStatus AddItem(SecKeychainRef kc, const StoredItem& i) {
  if (!i.internet) return AddGeneric(kc, i.service, i.account, i.secret);
  return SecKeychainAddInternetPassword(kc, UInt32(i.service.size()), i.service.data(), 0, nullptr,
                                        UInt32(i.account.size()), i.account.data(), 0, nullptr, 0, 0, 0,
                                        UInt32(i.secret.size()), i.secret.data(), nullptr);
}

void Tamper(const std::string& path, const std::string& sql) {
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
  char* err = nullptr;
  EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &err), SQLITE_OK) << (err ? err : "");
  sqlite3_free(err);
  sqlite3_close(db);
}

int64_t QueryInt(const std::string& path, const std::string& sql) {
  sqlite3* db = nullptr;
  int64_t v = -1;
  if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &st, nullptr) == SQLITE_OK && sqlite3_step(st) == SQLITE_ROW)
      v = sqlite3_column_int64(st, 0);
    sqlite3_finalize(st);
  }
  sqlite3_close(db);
  return v;
}

size_t PageSize(const std::string& path) {
  std::string head = ReadFile(path).substr(0, 100);
  if (head.size() < 100) return 0;
  uint32_t v = BE(head, 16, 2);
  return v == 1 ? 65536 : v;
}

uint32_t RootPage(const std::string& path, const std::string& name) {
  return uint32_t(QueryInt(path, "SELECT rootpage FROM sqlite_schema WHERE name = '" + name + "'"));
}

std::vector<uint32_t> LeafPages(const std::string& path, uint32_t root) {
  std::vector<uint32_t> leaves, todo{root};
  while (!todo.empty()) {
    uint32_t page = todo.back();
    todo.pop_back();
    std::string b = ReadPage(path, page);
    if (b.empty()) break;
    size_t hdr = page == 1 ? 100 : 0;
    if (b[hdr] == 0x0D) {
      leaves.push_back(page);
    } else if (b[hdr] == 0x05) {  // interior table page: left children in the cells, then the right one
      uint32_t cells = BE(b, hdr + 3, 2);
      for (uint32_t c = 0; c < cells; ++c) todo.push_back(BE(b, BE(b, hdr + 12 + 2 * c, 2), 4));
      todo.push_back(BE(b, hdr + 8, 4));
    }
  }
  return leaves;
}

bool OverwritePage(const std::string& path, uint32_t page, const std::string& bytes) {
  std::fstream f(path, std::ios::binary | std::ios::in | std::ios::out);
  f.seekp(std::streamoff((page - 1) * bytes.size()));
  f.write(bytes.data(), std::streamsize(bytes.size()));
  return bool(f);
}

bool IsDamageStatus(OSStatus status) { return status == errSecInvalidKeychain || status == errSecDecode; }

bool Readback::AllExact() const {
  return damagedFinds == 0 && wrong.empty() && listing == Outcome::Exact && search == Outcome::Exact;
}

bool Readback::AnyDamage() const {
  return damagedFinds > 0 || listing == Outcome::Damage || search == Outcome::Damage;
}

Readback ReadEverything(SecKeychainRef kc, const std::vector<StoredItem>& items) {
  Readback r;
  std::map<Key, std::string> stored;
  for (const StoredItem& i : items) stored[KeyOf(i)] = i.secret;
  for (const StoredItem& i : items) {
    std::string secret;
    OSStatus s = FindOne(kc, i, &secret);
    if (s == errSecSuccess && secret == i.secret) {
      ++r.exactFinds;
    } else if (s == errSecSuccess) {
      if (r.wrong.empty()) r.wrong = "find of " + i.account + " gave another secret";
    } else if (Judge(s, &r, "find of " + i.account) == Outcome::Damage) {
      ++r.damagedFinds;
    }
  }
  r.listing = List(kc, stored, &r);
  r.search = Walk(kc, stored, &r);
  return r;
}

}  // namespace sectest
