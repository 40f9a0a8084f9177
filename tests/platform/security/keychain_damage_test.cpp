// Damaged and tampered keychain files: damage is reported with a status and
// never read as "no such item", a secret never comes back under names it was
// not stored with, and a damaged keychain in a search list does not hide the
// others.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "keychain_damage.h"

namespace sectest {
namespace {

class KeychainDamage : public KeychainTest {
 protected:
  void SetUp() override {
    KeychainTest::SetUp();
    SecKeychainSetUserInteractionAllowed(false);  // a locked keychain must not pass for damage
  }

  // A closed keychain file holding `items`, password "secret".
  std::string Build(const std::string& name, const std::vector<StoredItem>& items) {
    SecKeychainRef kc = Create(name);
    for (const StoredItem& i : items) EXPECT_EQ(AddItem(kc, i), errSecSuccess) << i.account;
    CFRelease(kc);  // the last connection closes, and the log is folded into the file
    return PathIn(name);
  }

  // Opens and unlocks as a fresh process would; the test owns the ref.
  SecKeychainRef Reopen(const std::string& path, OSStatus* unlock = nullptr) {
    SecKeychainLockAll();
    SecKeychainRef kc = nullptr;
    EXPECT_EQ(SecKeychainOpen(path.c_str(), &kc), errSecSuccess);
    OSStatus s = SecKeychainUnlock(kc, 6, "secret", true);
    if (unlock) *unlock = s;
    return kc;
  }
};

std::string SecretOf(CFTypeRef keychains, const StoredItem& i, OSStatus* status) {
  return FindSecret(keychains, i.service, i.account, status);
}

// What SecItemCopyMatching answers when asked for one generic password's
// attributes (no secret that could fail to open) in one keychain.
OSStatus AttributesStatus(SecKeychainRef kc, CFStringRef service, CFStringRef account) {
  CFMutableDictionaryRef q = CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                       &kCFTypeDictionaryValueCallBacks);
  CFArrayRef list = CFArrayCreate(nullptr, (const void**)&kc, 1, &kCFTypeArrayCallBacks);
  CFDictionarySetValue(q, kSecClass, kSecClassGenericPassword);
  CFDictionarySetValue(q, kSecAttrService, service);
  CFDictionarySetValue(q, kSecAttrAccount, account);
  CFDictionarySetValue(q, kSecMatchSearchList, list);
  CFDictionarySetValue(q, kSecReturnAttributes, kCFBooleanTrue);
  CFTypeRef result = nullptr;
  const OSStatus status = SecItemCopyMatching(q, &result);
  if (result) CFRelease(result);
  CFRelease(list);
  CFRelease(q);
  return status;
}

TEST_F(KeychainDamage, ZeroedIndexRootsAreReportedNeverReadAsAbsence) {
  const std::vector<StoredItem> items = MakeItems(80, 16);
  const std::string path = Build("index.keychain", items);
  for (const char* index : {"genp_key", "inet_key"})
    ASSERT_TRUE(OverwritePage(path, RootPage(path, index), std::string(PageSize(path), '\0')));
  SecKeychainRef kc = Reopen(path);
  Readback r = ReadEverything(kc, items);
  EXPECT_EQ(r.wrong, "");
  // Every find goes through a damaged index; walks read the table and are whole.
  EXPECT_EQ(r.damagedFinds, int(items.size()));
  EXPECT_EQ(r.listing, Outcome::Exact);
  CFRelease(kc);
}

TEST_F(KeychainDamage, ZeroedItemLeafIsReportedByFindsListingsAndSearches) {
  const std::vector<StoredItem> items = MakeItems(80, 16);
  const std::string path = Build("leaf.keychain", items);
  std::vector<uint32_t> leaves = LeafPages(path, RootPage(path, "items"));
  ASSERT_GE(leaves.size(), 3u);
  ASSERT_TRUE(OverwritePage(path, leaves[1], std::string(PageSize(path), '\0')));
  SecKeychainRef kc = Reopen(path);
  Readback r = ReadEverything(kc, items);
  EXPECT_EQ(r.wrong, "");
  EXPECT_GT(r.damagedFinds, 0) << "the items of the lost page";
  EXPECT_GT(r.exactFinds, 0) << "the items of the other pages";
  EXPECT_EQ(r.listing, Outcome::Damage) << "an error, not a shorter list";
  EXPECT_EQ(r.search, Outcome::Damage);
  CFRelease(kc);
}

// Each copy has one page zeroed or overwritten with random bytes: a lost or
// garbled write. KEYCHAIN_DAMAGE_COPIES and KEYCHAIN_DAMAGE_SEED change the
// run (bench/README.md has the figures of a long one).
TEST_F(KeychainDamage, RandomPageDamageNeverLosesOrMisattributesAnItem) {
  const char* copiesEnv = getenv("KEYCHAIN_DAMAGE_COPIES");
  const char* seedEnv = getenv("KEYCHAIN_DAMAGE_SEED");
  const int copies = copiesEnv ? atoi(copiesEnv) : 500;
  const unsigned seed = seedEnv ? unsigned(strtoul(seedEnv, nullptr, 10)) : 20261123u;
  const std::vector<StoredItem> items = MakeItems(80, 16);
  const std::string pristine = ReadFile(Build("pristine.keychain", items));
  const size_t pageSize = PageSize(PathIn("pristine.keychain"));
  ASSERT_GT(pageSize, 0u);
  const uint32_t pages = uint32_t(pristine.size() / pageSize);
  std::mt19937 rng(seed);
  int intact = 0, reported = 0, wrong = 0, exactFinds = 0, damagedFinds = 0;
  for (int copy = 0; copy < copies; ++copy) {
    const std::string path = PathIn("copy.keychain");
    ASSERT_TRUE(WriteFile(path, pristine));
    const uint32_t page = 1 + uint32_t(rng() % pages);
    const bool zero = rng() % 2 == 0;
    std::string bytes(pageSize, '\0');
    if (!zero)
      for (char& b : bytes) b = char(rng() & 0xff);
    ASSERT_TRUE(OverwritePage(path, page, bytes));
    SecKeychainRef kc = Reopen(path);
    Readback r = ReadEverything(kc, items);
    CFRelease(kc);
    exactFinds += r.exactFinds;
    damagedFinds += r.damagedFinds;
    if (!r.wrong.empty()) {
      ++wrong;
      ADD_FAILURE() << "copy " << copy << " (seed " << seed << "), page " << page << (zero ? " zeroed" : " garbled")
                    << ": " << r.wrong;
    } else if (r.AllExact()) {
      ++intact;
    } else {
      ++reported;
    }
    SecKeychainLockAll();
    for (const char* suffix : {"", "-wal", "-shm"}) unlink((path + suffix).c_str());
  }
  std::cout << "damaged copies: " << copies << " (seed " << seed << ", " << pages << " pages): " << intact
            << " read back whole, " << reported << " reported damage, " << wrong << " wrong; finds: " << exactFinds
            << " exact, " << damagedFinds << " damage status\n";
  EXPECT_EQ(wrong, 0);
  EXPECT_GT(reported, 0);
}

// An interior page of the item table that names one leaf twice: the walk
// sees rows again (and loses the other leaf's), and finds of the lost rows
// land on a page that lacks them.
TEST_F(KeychainDamage, ItemPageNamedTwiceIsReported) {
  const std::vector<StoredItem> items = MakeItems(80, 16);
  const std::string path = Build("twice.keychain", items);
  const uint32_t root = RootPage(path, "items");
  std::string page = ReadFile(path).substr((root - 1) * PageSize(path), PageSize(path));
  ASSERT_EQ(page[0], char(0x05)) << "the item table spans several pages";
  const size_t first = (uint8_t(page[12]) << 8) | uint8_t(page[13]), second = (uint8_t(page[14]) << 8) | uint8_t(page[15]);
  page.replace(second, 4, page.substr(first, 4));  // the second child is now the first one
  ASSERT_TRUE(OverwritePage(path, root, page));
  SecKeychainRef kc = Reopen(path);
  Readback r = ReadEverything(kc, items);
  EXPECT_EQ(r.wrong, "");
  EXPECT_GT(r.damagedFinds, 0);
  EXPECT_EQ(r.listing, Outcome::Damage);
  EXPECT_EQ(r.search, Outcome::Damage);
  CFRelease(kc);
}

// Rows this code never writes (a class it does not store, a name stored as
// text) end a listing with a status instead of dropping out of it.
TEST_F(KeychainDamage, RowsOfAnUnknownClassOrTypeAreReportedByWalks) {
  for (const char* damage : {"UPDATE items SET class = 7 WHERE a_acct = CAST('account-2' AS BLOB)",
                             "UPDATE items SET a_acct = 'account-4' WHERE a_acct = CAST('account-4' AS BLOB)"}) {
    const std::vector<StoredItem> items = MakeItems(10, 2);
    const std::string path = Build("rows.keychain", items);
    Tamper(path, damage);
    SecKeychainRef kc = Reopen(path);
    Readback whole = ReadEverything(kc, items);
    EXPECT_EQ(whole.listing, Outcome::Damage) << damage;
    EXPECT_EQ(whole.search, Outcome::Damage) << damage;
    CFRelease(kc);
    SecKeychainLockAll();
    for (const char* suffix : {"", "-wal", "-shm"}) unlink((path + suffix).c_str());
  }
}

TEST_F(KeychainDamage, NamesSwappedBetweenRowsNeverHandOverTheOtherSecret) {
  std::vector<StoredItem> items = MakeItems(10, 0);
  items.push_back({false, "svc-a", "same", "secret-a"});
  items.push_back({false, "svc-b", "same", "secret-b"});
  const std::string path = Build("swap.keychain", items);
  // Anyone who can write the file, without reading a secret, swaps two
  // accounts, two services, and two ports of internet passwords.
  SecKeychainRef kc = Create("ports.keychain");
  for (UInt16 port : {1, 2}) {
    std::string secret = "port-" + std::to_string(port);
    ASSERT_EQ(SecKeychainAddInternetPassword(kc, 4, "host", 0, nullptr, 3, "ann", 0, nullptr, port, 0, 0,
                                             UInt32(secret.size()), secret.data(), nullptr),
              errSecSuccess);
  }
  CFRelease(kc);
  Tamper(path,
         "UPDATE items SET a_acct = CAST('x' AS BLOB) WHERE a_acct = CAST('account-1' AS BLOB);"
         "UPDATE items SET a_acct = CAST('account-1' AS BLOB) WHERE a_acct = CAST('account-2' AS BLOB);"
         "UPDATE items SET a_acct = CAST('account-2' AS BLOB) WHERE a_acct = CAST('x' AS BLOB);"
         "UPDATE items SET a_svce = CAST('x' AS BLOB) WHERE a_svce = CAST('svc-a' AS BLOB);"
         "UPDATE items SET a_svce = CAST('svc-a' AS BLOB) WHERE a_svce = CAST('svc-b' AS BLOB);"
         "UPDATE items SET a_svce = CAST('svc-b' AS BLOB) WHERE a_svce = CAST('x' AS BLOB);");
  Tamper(PathIn("ports.keychain"),
         "UPDATE items SET a_port = 3 WHERE a_port = 1; UPDATE items SET a_port = 1 WHERE a_port = 2;"
         "UPDATE items SET a_port = 2 WHERE a_port = 3;");
  kc = Reopen(path);
  for (size_t swapped : {size_t(1), size_t(2), items.size() - 2, items.size() - 1}) {
    OSStatus status = 0;
    std::string got = SecretOf(kc, items[swapped], &status);
    EXPECT_EQ(status, errSecDecode) << items[swapped].service << "/" << items[swapped].account << " gave " << got;
  }
  OSStatus status = 0;
  EXPECT_EQ(SecretOf(kc, items[3], &status), items[3].secret);
  Readback r = ReadEverything(kc, items);
  EXPECT_EQ(r.wrong, "");
  EXPECT_EQ(r.listing, Outcome::Damage);
  CFRelease(kc);
  SecKeychainRef ports = Reopen(PathIn("ports.keychain"));
  for (UInt16 port : {1, 2}) {
    UInt32 length = 0;
    void* data = nullptr;
    EXPECT_EQ(SecKeychainFindInternetPassword(ports, 4, "host", 0, nullptr, 3, "ann", 0, nullptr, port, 0, 0, &length,
                                              &data, nullptr),
              errSecDecode)
        << "port " << port;
    SecKeychainItemFreeContent(nullptr, data);
  }
  CFRelease(ports);
}

TEST_F(KeychainDamage, IndexEntryPointingAtAnotherRowIsCaught) {
  const std::vector<StoredItem> items = MakeItems(10, 0);
  const std::string path = Build("pointer.keychain", items);
  // The index entry ("svc", "account-3") names row 4; make it name row 5,
  // the row of account-4. Same length, so the page stays well formed.
  const uint32_t root = RootPage(path, "genp_key");
  std::string page(PageSize(path), '\0');
  {
    std::string file = ReadFile(path);
    page = file.substr((root - 1) * page.size(), page.size());
  }
  const std::string entry = std::string("svcaccount-3") + char(4);
  size_t at = page.find(entry);
  ASSERT_NE(at, std::string::npos);
  page[at + entry.size() - 1] = char(5);
  ASSERT_TRUE(OverwritePage(path, root, page));

  SecKeychainRef kc = Reopen(path);
  OSStatus status = 0;
  std::string got = SecretOf(kc, items[3], &status);
  EXPECT_EQ(status, errSecInvalidKeychain) << "gave " << got;
  EXPECT_EQ(SecretOf(kc, items[4], &status), items[4].secret);
  // Attributes alone (no secret to fail) must not come back under the wrong names either.
  EXPECT_EQ(AttributesStatus(kc, CFSTR("svc"), CFSTR("account-3")), errSecInvalidKeychain);
  CFRelease(kc);
}

// The same, when the names agree and only the class differs: a generic
// password's entry names an internet password's row.
TEST_F(KeychainDamage, IndexEntryPointingAtARowOfAnotherClassIsCaught) {
  SecKeychainRef kc = Create("classes.keychain");
  for (const StoredItem& i : MakeItems(4, 0)) ASSERT_EQ(AddItem(kc, i), errSecSuccess);
  ASSERT_EQ(AddGeneric(kc, "", "shared", "generic"), errSecSuccess);  // row 5
  ASSERT_EQ(SecKeychainAddInternetPassword(kc, 0, nullptr, 0, nullptr, 6, "shared", 0, nullptr, 0, 0, 0, 8, "internet",
                                           nullptr),
            errSecSuccess);  // row 6
  CFRelease(kc);
  const std::string path = PathIn("classes.keychain");
  const uint32_t root = RootPage(path, "genp_key");
  std::string page = ReadFile(path).substr((root - 1) * PageSize(path), PageSize(path));
  const std::string entry = std::string("shared") + char(5);
  size_t at = page.find(entry);
  ASSERT_NE(at, std::string::npos);
  page[at + entry.size() - 1] = char(6);
  ASSERT_TRUE(OverwritePage(path, root, page));

  kc = Reopen(path);
  EXPECT_EQ(AttributesStatus(kc, CFSTR(""), CFSTR("shared")), errSecInvalidKeychain);
  CFRelease(kc);
}

TEST_F(KeychainDamage, RenamedItemsKeepTheirSecretsUnderTheirNewNames) {
  SecKeychainRef kc = Create("rename.keychain");
  SecKeychainItemRef item = nullptr;
  ASSERT_EQ(AddGeneric(kc, "svc", "old", "kept", &item), errSecSuccess);
  ASSERT_EQ(SecKeychainAddInternetPassword(kc, 4, "host", 0, nullptr, 3, "ann", 0, nullptr, 80, 0, 0, 4, "inet",
                                           nullptr),
            errSecSuccess);
  SecKeychainAttribute renamed = {kSecAccountItemAttr, 3, (void*)"new"};
  SecKeychainAttributeList attrs = {1, &renamed};
  ASSERT_EQ(SecKeychainItemModifyAttributesAndData(item, &attrs, 0, nullptr), errSecSuccess);
  CFRelease(item);
  CFMutableDictionaryRef q = CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                       &kCFTypeDictionaryValueCallBacks);
  CFMutableDictionaryRef change = CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                            &kCFTypeDictionaryValueCallBacks);
  CFArrayRef list = CFArrayCreate(nullptr, (const void**)&kc, 1, &kCFTypeArrayCallBacks);
  CFDictionarySetValue(q, kSecClass, kSecClassInternetPassword);
  CFDictionarySetValue(q, kSecMatchSearchList, list);
  int port = 8080;
  CFNumberRef n = CFNumberCreate(nullptr, kCFNumberIntType, &port);
  CFDictionarySetValue(change, kSecAttrPort, n);
  CFDictionarySetValue(change, kSecAttrServer, CFSTR("moved"));
  CFRelease(n);
  EXPECT_EQ(SecItemUpdate(q, change), errSecSuccess);
  CFRelease(list);
  CFRelease(change);
  CFRelease(q);

  // A fresh unlock reads what the file holds, under the new names only.
  SecKeychainLockAll();
  ASSERT_EQ(SecKeychainUnlock(kc, 6, "secret", true), errSecSuccess);
  EXPECT_EQ(FindSecret(kc, "svc", "new"), "kept");
  EXPECT_EQ(FindSecret(kc, "svc", "old"), "status -25300");
  UInt32 length = 0;
  void* data = nullptr;
  ASSERT_EQ(SecKeychainFindInternetPassword(kc, 5, "moved", 0, nullptr, 3, "ann", 0, nullptr, 8080, 0, 0, &length,
                                            &data, nullptr),
            errSecSuccess);
  EXPECT_EQ(std::string(static_cast<const char*>(data), length), "inet");
  SecKeychainItemFreeContent(nullptr, data);
  CFRelease(kc);
}

// One keychain of a search list is damaged: the others are still searched,
// and what may be in the damaged one is never reported absent.
TEST_F(KeychainDamage, DamagedKeychainInASearchListHidesNothingElse) {
  const std::vector<StoredItem> lost = MakeItems(80, 0);
  SecKeychainRef building = Create("damaged.keychain");
  for (const StoredItem& i : lost) ASSERT_EQ(AddItem(building, i), errSecSuccess);
  SecKeychainItemRef lostItem = nullptr;
  ASSERT_EQ(SecKeychainFindGenericPassword(building, 3, "svc", 9, "account-5", nullptr, nullptr, &lostItem),
            errSecSuccess);
  CFDataRef lostRef = nullptr;
  ASSERT_EQ(SecKeychainItemCreatePersistentReference(lostItem, &lostRef), errSecSuccess);
  CFRelease(lostItem);
  CFRelease(building);
  const std::string damagedPath = PathIn("damaged.keychain");
  std::vector<uint32_t> leaves = LeafPages(damagedPath, RootPage(damagedPath, "items"));
  ASSERT_GE(leaves.size(), 2u);
  for (uint32_t leaf : leaves) ASSERT_TRUE(OverwritePage(damagedPath, leaf, std::string(PageSize(damagedPath), '\0')));
  SecKeychainRef damaged = Reopen(damagedPath);
  SecKeychainRef sound = Create("sound.keychain");
  const StoredItem kept{false, "other", "kept", "kept-secret"};
  ASSERT_EQ(AddItem(sound, kept), errSecSuccess);
  SecKeychainRef pair[] = {damaged, sound};
  CFArrayRef list = CFArrayCreate(nullptr, (const void**)pair, 2, &kCFTypeArrayCallBacks);

  OSStatus status = 0;
  EXPECT_EQ(SecretOf(list, kept, &status), kept.secret);
  SecretOf(list, lost[5], &status);
  EXPECT_EQ(status, errSecInvalidKeychain) << "an item of the damaged keychain";
  SecKeychainItemRef item = nullptr;
  EXPECT_EQ(SecKeychainItemCopyFromPersistentReference(lostRef, &item), errSecInvalidKeychain);
  CFMutableDictionaryRef byRef = CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                           &kCFTypeDictionaryValueCallBacks);
  CFDictionarySetValue(byRef, kSecValuePersistentRef, lostRef);
  CFTypeRef result = nullptr;
  EXPECT_EQ(SecItemCopyMatching(byRef, &result), errSecInvalidKeychain);
  CFRelease(byRef);
  CFRelease(lostRef);

  // A search delivers the sound keychain's item, then says the walk was not whole.
  SecKeychainSearchRef search = nullptr;
  ASSERT_EQ(SecKeychainSearchCreateFromAttributes(list, kSecGenericPasswordItemClass, nullptr, &search), errSecSuccess);
  std::vector<std::string> accounts;
  while ((status = SecKeychainSearchCopyNext(search, &item)) == errSecSuccess) {
    std::string account;
    ReadAttr(item, kSecAccountItemAttr, &account);
    accounts.push_back(account);
    CFRelease(item);
  }
  EXPECT_EQ(accounts, std::vector<std::string>{"kept"});
  EXPECT_EQ(status, errSecInvalidKeychain);
  EXPECT_EQ(SecKeychainSearchCopyNext(search, &item), errSecInvalidKeychain) << "every time it is asked";
  CFRelease(search);

  // Item queries: one match is one match; "all of them" is not a shorter list.
  CFMutableDictionaryRef q = CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                       &kCFTypeDictionaryValueCallBacks);
  CFDictionarySetValue(q, kSecClass, kSecClassGenericPassword);
  CFDictionarySetValue(q, kSecMatchSearchList, list);
  CFDictionarySetValue(q, kSecAttrService, CFSTR("other"));
  EXPECT_EQ(SecItemCopyMatching(q, &result), errSecSuccess);
  if (result) CFRelease(result);
  result = nullptr;
  CFDictionaryRemoveValue(q, kSecAttrService);
  CFDictionarySetValue(q, kSecMatchLimit, kSecMatchLimitAll);
  EXPECT_EQ(SecItemCopyMatching(q, &result), errSecInvalidKeychain);
  EXPECT_EQ(result, nullptr);
  EXPECT_EQ(SecItemDelete(q), errSecInvalidKeychain) << "nothing is deleted from a list that reads wrong";
  EXPECT_EQ(SecretOf(sound, kept, &status), kept.secret);
  CFRelease(q);
  CFRelease(list);

  // When every keychain failed, the answer is the last one's failure, as
  // Apple's search does; a missing file is no failure, it holds nothing.
  SecKeychainRef newer = Create("newer.keychain");
  CFRelease(newer);
  Tamper(PathIn("newer.keychain"), "UPDATE keychain SET schema = schema + 1");
  SecKeychainRef missing = nullptr;
  ASSERT_EQ(SecKeychainOpen(PathIn("missing.keychain").c_str(), &missing), errSecSuccess);
  ASSERT_EQ(SecKeychainOpen(PathIn("newer.keychain").c_str(), &newer), errSecSuccess);
  SecKeychainRef failing[] = {damaged, newer, missing};
  list = CFArrayCreate(nullptr, (const void**)failing, 3, &kCFTypeArrayCallBacks);
  FindSecret(list, "svc", "account-0", &status);
  EXPECT_EQ(status, errSecWrongSecVersion);
  CFRelease(list);
  SecKeychainRef reversed[] = {newer, damaged};
  list = CFArrayCreate(nullptr, (const void**)reversed, 2, &kCFTypeArrayCallBacks);
  FindSecret(list, "svc", "account-0", &status);
  EXPECT_EQ(status, errSecInvalidKeychain);
  CFRelease(list);
  SecKeychainRef absent[] = {missing, sound};
  list = CFArrayCreate(nullptr, (const void**)absent, 2, &kCFTypeArrayCallBacks);
  FindSecret(list, "svc", "account-0", &status);
  EXPECT_EQ(status, errSecItemNotFound);
  CFRelease(list);
  for (SecKeychainRef k : {damaged, sound, newer, missing}) CFRelease(k);
}

}  // namespace
}  // namespace sectest
