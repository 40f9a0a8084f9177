// Attribute searches: exact matching, every-class searches, several
// keychains in list order, and exhaustion.
#include <cstring>

#include "keychain_fixture.h"

namespace sectest {
namespace {

class KeychainSearch : public KeychainTest {};

std::vector<std::string> Accounts(SecKeychainSearchRef search) {
  std::vector<std::string> out;
  SecKeychainItemRef item = nullptr;
  while (SecKeychainSearchCopyNext(search, &item) == errSecSuccess) {
    std::string acct;
    ReadAttr(item, kSecAccountItemAttr, &acct);
    out.push_back(acct);
    CFRelease(item);
    item = nullptr;
  }
  return out;
}

std::vector<std::string> Search(CFTypeRef keychains, SecItemClass cls, SecKeychainAttributeList* list,
                                OSStatus* status = nullptr) {
  SecKeychainSearchRef search = nullptr;
  OSStatus s = SecKeychainSearchCreateFromAttributes(keychains, cls, list, &search);
  if (status) *status = s;
  if (s != errSecSuccess) return {};
  std::vector<std::string> out = Accounts(search);
  CFRelease(search);
  return out;
}

TEST_F(KeychainSearch, AttributesMatchExactlyAndAllTogether) {
  SecKeychainRef kc = Create("s.keychain");
  ASSERT_EQ(AddGeneric(kc, "web", "ann", "1"), errSecSuccess);
  ASSERT_EQ(AddGeneric(kc, "web", "bob", "2"), errSecSuccess);
  ASSERT_EQ(AddGeneric(kc, "mail", "ann", "3"), errSecSuccess);
  ASSERT_EQ(AddGeneric(kc, "Web", "cat", "4"), errSecSuccess);
  ASSERT_EQ(SecKeychainAddInternetPassword(kc, 4, "host", 0, nullptr, 3, "dan", 0, nullptr, 0, 0, 0, 1, "5",
                                           nullptr),
            errSecSuccess);

  EXPECT_EQ(Search(kc, kSecGenericPasswordItemClass, nullptr).size(), 4u);
  SecKeychainAttributeList empty = {0, nullptr};
  EXPECT_EQ(Search(kc, kSecGenericPasswordItemClass, &empty).size(), 4u);

  char web[] = "web", ann[] = "ann";
  SecKeychainAttribute svc = {kSecServiceItemAttr, 3, web};
  SecKeychainAttributeList bySvc = {1, &svc};
  EXPECT_EQ(Search(kc, kSecGenericPasswordItemClass, &bySvc), (std::vector<std::string>{"ann", "bob"}));
  SecKeychainAttribute both[] = {{kSecServiceItemAttr, 3, web}, {kSecAccountItemAttr, 3, ann}};
  SecKeychainAttributeList byBoth = {2, both};
  EXPECT_EQ(Search(kc, kSecGenericPasswordItemClass, &byBoth), (std::vector<std::string>{"ann"}));

  // Every class at once, and classes this store does not hold.
  EXPECT_EQ(Search(kc, 0x0A, nullptr).size(), 5u);
  EXPECT_EQ(Search(kc, kSecInternetPasswordItemClass, nullptr), (std::vector<std::string>{"dan"}));
  EXPECT_TRUE(Search(kc, kSecCertificateItemClass, nullptr).empty());

  OSStatus status = 0;
  SecKeychainAttribute wrong = {kSecServerItemAttr, 3, web};
  SecKeychainAttributeList byWrong = {1, &wrong};
  Search(kc, kSecGenericPasswordItemClass, &byWrong, &status);
  EXPECT_EQ(status, errSecNoSuchAttr);
  CFRelease(kc);
}

// A filtered walk longer than one batch of the store delivers every match
// once, in the order the items were added, whichever way each batch is read.
TEST_F(KeychainSearch, FilteredWalksAcrossBatchesDeliverEveryMatchOnceInOrder) {
  SecKeychainRef kc = Create("long.keychain");
  std::vector<std::string> want;
  for (int i = 0; i < 700; ++i) {
    const std::string account = "user" + std::to_string(i);
    const bool web = i % 3 != 2;
    ASSERT_EQ(AddGeneric(kc, web ? "web" : "mail", account.c_str(), "pw"), errSecSuccess);
    if (web) want.push_back(account);
  }
  char web[] = "web";
  SecKeychainAttribute service = {kSecServiceItemAttr, 3, web};
  SecKeychainAttributeList list = {1, &service};
  EXPECT_EQ(Search(kc, kSecGenericPasswordItemClass, &list), want);
  CFRelease(kc);
}

TEST_F(KeychainSearch, SeveralKeychainsAreWalkedInOrderAndExhaustionRepeats) {
  SecKeychainRef a = Create("a.keychain");
  SecKeychainRef b = Create("b.keychain");
  for (int i = 0; i < 300; ++i) ASSERT_EQ(AddGeneric(b, "svc", "b" + std::to_string(i), "x"), errSecSuccess);
  ASSERT_EQ(AddGeneric(a, "svc", "a0", "x"), errSecSuccess);
  const void* both[] = {a, b};
  CFArrayRef list = CFArrayCreate(nullptr, both, 2, &kCFTypeArrayCallBacks);
  SecKeychainSearchRef search = nullptr;
  ASSERT_EQ(SecKeychainSearchCreateFromAttributes(list, kSecGenericPasswordItemClass, nullptr, &search),
            errSecSuccess);
  std::vector<std::string> seen = Accounts(search);
  ASSERT_EQ(seen.size(), 301u);  // more than one internal batch
  EXPECT_EQ(seen.front(), "a0");
  EXPECT_EQ(seen[1], "b0");
  EXPECT_EQ(seen.back(), "b299");
  SecKeychainItemRef item = reinterpret_cast<SecKeychainItemRef>(0x1);
  EXPECT_EQ(SecKeychainSearchCopyNext(search, &item), errSecItemNotFound);
  EXPECT_EQ(SecKeychainSearchCopyNext(search, &item), errSecItemNotFound);
  EXPECT_EQ(item, reinterpret_cast<SecKeychainItemRef>(0x1));
  EXPECT_EQ(SecKeychainSearchCopyNext(search, nullptr), errSecParam);
  EXPECT_EQ(CFGetTypeID(search), SecKeychainSearchGetTypeID());
  CFRelease(search);

  // An empty array searches nothing; a bad element is refused.
  CFArrayRef none = CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks);
  EXPECT_TRUE(Search(none, kSecGenericPasswordItemClass, nullptr).empty());
  CFRelease(none);
  const void* bad[] = {a, kCFBooleanTrue};
  CFArrayRef badList = CFArrayCreate(nullptr, bad, 2, &kCFTypeArrayCallBacks);
  OSStatus status = 0;
  Search(badList, kSecGenericPasswordItemClass, nullptr, &status);
  EXPECT_EQ(status, errSecParam);
  CFRelease(badList);
  EXPECT_EQ(SecKeychainSearchCreateFromAttributes(a, kSecGenericPasswordItemClass, nullptr, nullptr), errSecParam);
  EXPECT_EQ(SecKeychainSearchCopyNext(nullptr, &item), errSecInvalidSearchRef);
  EXPECT_EQ(SecKeychainSearchCopyNext((SecKeychainSearchRef)a, &item), errSecInvalidSearchRef);
  CFRelease(list);
  CFRelease(a);
  CFRelease(b);
}

TEST_F(KeychainSearch, NullKeychainSearchesTheSearchList) {
  SecKeychainRef kc = Create("listed.keychain");
  ASSERT_EQ(AddGeneric(kc, "svc", "listed", "x"), errSecSuccess);
  EXPECT_TRUE(Search(nullptr, kSecGenericPasswordItemClass, nullptr).empty());  // not in the list yet
  CFArrayRef list = CFArrayCreate(nullptr, (const void**)&kc, 1, &kCFTypeArrayCallBacks);
  ASSERT_EQ(SecKeychainSetSearchList(list), errSecSuccess);
  CFRelease(list);
  EXPECT_EQ(Search(nullptr, kSecGenericPasswordItemClass, nullptr), (std::vector<std::string>{"listed"}));
  EXPECT_EQ(FindSecret(nullptr, "svc", "listed"), "x");
  CFRelease(kc);
}

}  // namespace
}  // namespace sectest
