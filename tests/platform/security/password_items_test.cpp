// Adding, finding, reading, changing and deleting generic and internet
// passwords with the classic calls.
#include <cstring>
#include <ctime>

#include "keychain_fixture.h"

namespace sectest {
namespace {

class PasswordItems : public KeychainTest {};

OSStatus AddInternet(SecKeychainRef kc, const char* server, const char* domain, const char* account,
                     const char* path, UInt16 port, SecProtocolType proto, SecAuthenticationType auth,
                     const std::string& secret, SecKeychainItemRef* item = nullptr) {
  auto len = [](const char* s) { return s ? UInt32(strlen(s)) : 0u; };
  return SecKeychainAddInternetPassword(kc, len(server), server, len(domain), domain, len(account),
                                        account, len(path), path, port, proto, auth,
                                        UInt32(secret.size()), secret.data(), item);
}

UInt32 ReadUInt32(SecKeychainItemRef item, UInt32 tag) {
  std::string v;
  if (ReadAttr(item, tag, &v) != errSecSuccess || v.size() != 4) return 0xdeadbeef;
  UInt32 out;
  memcpy(&out, v.data(), 4);
  return out;
}

TEST_F(PasswordItems, GenericAddSetsDefaultsAndFindReturnsTheSecret) {
  SecKeychainRef kc = Create("g.keychain");
  SecKeychainItemRef item = nullptr;
  time_t before = time(nullptr);
  ASSERT_EQ(AddGeneric(kc, "mail", "alice", "s3cret", &item), errSecSuccess);
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(CFGetTypeID(item), SecKeychainItemGetTypeID());

  std::string label, created, modified;
  EXPECT_EQ(ReadAttr(item, kSecLabelItemAttr, &label), errSecSuccess);
  EXPECT_EQ(label, "mail");
  EXPECT_EQ(ReadUInt32(item, kSecCreatorItemAttr), 0x6161706Cu);  // 'aapl'
  ASSERT_EQ(ReadAttr(item, kSecCreationDateItemAttr, &created), errSecSuccess);
  ASSERT_EQ(ReadAttr(item, kSecModDateItemAttr, &modified), errSecSuccess);
  ASSERT_EQ(created.size(), 16u);
  EXPECT_EQ(created[14], 'Z');
  EXPECT_EQ(created[15], '\0');
  char expectYear[16];
  struct tm tmv;
  gmtime_r(&before, &tmv);
  snprintf(expectYear, sizeof expectYear, "%04d", tmv.tm_year + 1900);
  EXPECT_EQ(created.substr(0, 4), expectYear);
  EXPECT_EQ(created, modified);

  SecItemClass cls = 0;
  UInt32 len = 0;
  void* data = nullptr;
  ASSERT_EQ(SecKeychainItemCopyContent(item, &cls, nullptr, &len, &data), errSecSuccess);
  EXPECT_EQ(cls, kSecGenericPasswordItemClass);
  EXPECT_EQ(std::string(static_cast<char*>(data), len), "s3cret");
  EXPECT_EQ(SecKeychainItemFreeContent(nullptr, data), errSecSuccess);

  // Find by service alone, by account alone, by both; NULL or empty means any.
  EXPECT_EQ(FindSecret(kc, "mail", ""), "s3cret");
  EXPECT_EQ(FindSecret(kc, "", "alice"), "s3cret");
  EXPECT_EQ(FindSecret(kc, "mail", "alice"), "s3cret");
  EXPECT_EQ(FindSecret(kc, "Mail", "alice"), "status -25300");  // exact, case-sensitive
  EXPECT_EQ(FindSecret(kc, "mail", "alic"), "status -25300");

  // The found item equals the added one.
  SecKeychainItemRef found = nullptr;
  ASSERT_EQ(SecKeychainFindGenericPassword(kc, 4, "mail", 5, "alice", nullptr, nullptr, &found),
            errSecSuccess);
  EXPECT_TRUE(CFEqual(found, item));
  CFRelease(found);
  CFRelease(item);
  CFRelease(kc);
}

TEST_F(PasswordItems, DuplicatesAreRefusedPerClassKeyAndLeaveOutputUntouched) {
  SecKeychainRef kc = Create("dup.keychain");
  ASSERT_EQ(AddGeneric(kc, "svc", "acct", "one"), errSecSuccess);
  SecKeychainItemRef sentinel = reinterpret_cast<SecKeychainItemRef>(0x1);
  EXPECT_EQ(AddGeneric(kc, "svc", "acct", "two", &sentinel), errSecDuplicateItem);
  EXPECT_EQ(sentinel, reinterpret_cast<SecKeychainItemRef>(0x1));
  EXPECT_EQ(AddGeneric(kc, "svc", "other", "three"), errSecSuccess);
  EXPECT_EQ(AddGeneric(kc, "", "", "no keys"), errSecSuccess);
  EXPECT_EQ(AddGeneric(kc, "", "", "no keys again"), errSecDuplicateItem);

  // Internet items: any differing key attribute makes a new item.
  const SecProtocolType http = kSecProtocolTypeHTTP;
  const SecAuthenticationType dflt = kSecAuthenticationTypeDefault;
  ASSERT_EQ(AddInternet(kc, "example.org", nullptr, "bob", "/a", 80, http, dflt, "p"), errSecSuccess);
  EXPECT_EQ(AddInternet(kc, "example.org", nullptr, "bob", "/a", 80, http, dflt, "q"), errSecDuplicateItem);
  EXPECT_EQ(AddInternet(kc, "example.org", nullptr, "bob", "/a", 443, http, dflt, "q"), errSecSuccess);
  EXPECT_EQ(AddInternet(kc, "example.org", nullptr, "bob", "/b", 80, http, dflt, "q"), errSecSuccess);
  EXPECT_EQ(AddInternet(kc, "example.org", "realm", "bob", "/a", 80, http, dflt, "q"), errSecSuccess);
  EXPECT_EQ(AddInternet(kc, "example.org", nullptr, "bob", "/a", 80, kSecProtocolTypeHTTPS, dflt, "q"),
            errSecSuccess);
  EXPECT_EQ(AddInternet(kc, "example.org", nullptr, "bob", "/a", 80, http,
                        kSecAuthenticationTypeHTMLForm, "q"),
            errSecSuccess);
  // Label and comment are not part of the key.
  SecKeychainItemRef item = nullptr;
  ASSERT_EQ(SecKeychainFindGenericPassword(kc, 3, "svc", 4, "acct", nullptr, nullptr, &item),
            errSecSuccess);
  char label[] = "another label";
  SecKeychainAttribute attr = {kSecLabelItemAttr, UInt32(strlen(label)), label};
  SecKeychainAttributeList list = {1, &attr};
  EXPECT_EQ(SecKeychainItemModifyAttributesAndData(item, &list, 0, nullptr), errSecSuccess);
  EXPECT_EQ(AddGeneric(kc, "svc", "acct", "still dup"), errSecDuplicateItem);
  CFRelease(item);
  CFRelease(kc);
}

TEST_F(PasswordItems, InternetAttributesHaveTheirWidthsAndWildcards) {
  SecKeychainRef kc = Create("inet.keychain");
  SecKeychainItemRef item = nullptr;
  ASSERT_EQ(AddInternet(kc, "host.example", "", "carol", "/x", 8080, kSecProtocolTypeFTP,
                        kSecAuthenticationTypeNTLM, "pw", &item),
            errSecSuccess);
  std::string label, domain, atyp;
  EXPECT_EQ(ReadAttr(item, kSecLabelItemAttr, &label), errSecSuccess);
  EXPECT_EQ(label, "host.example");
  EXPECT_EQ(ReadUInt32(item, kSecPortItemAttr), 8080u);
  EXPECT_EQ(ReadUInt32(item, kSecProtocolItemAttr), UInt32(kSecProtocolTypeFTP));
  ASSERT_EQ(ReadAttr(item, kSecAuthenticationTypeItemAttr, &atyp), errSecSuccess);
  EXPECT_EQ(atyp, "ntlm");  // the four bytes spell the code in reading order
  EXPECT_EQ(ReadAttr(item, kSecSecurityDomainItemAttr, &domain), errSecSuccess);
  EXPECT_EQ(domain.size(), 0u);
  std::string none;
  EXPECT_EQ(ReadAttr(item, kSecServiceItemAttr, &none), errSecNoSuchAttr);
  EXPECT_EQ(ReadAttr(item, 0x7a7a7a7a, &none), errSecNoSuchAttr);

  auto find = [&](const char* server, UInt16 port, SecProtocolType proto, SecAuthenticationType auth,
                  const char* path) {
    UInt32 len = 0;
    void* data = nullptr;
    OSStatus s = SecKeychainFindInternetPassword(
        kc, server ? UInt32(strlen(server)) : 0, server, 0, nullptr, 0, nullptr,
        path ? UInt32(strlen(path)) : 0, path, port, proto, auth, &len, &data, nullptr);
    if (s == errSecSuccess) SecKeychainItemFreeContent(nullptr, data);
    return s;
  };
  EXPECT_EQ(find("host.example", 0, 0, 0, nullptr), errSecSuccess);
  EXPECT_EQ(find(nullptr, 8080, kSecProtocolTypeFTP, kSecAuthenticationTypeNTLM, "/x"), errSecSuccess);
  EXPECT_EQ(find("host.example", 8081, 0, 0, nullptr), errSecItemNotFound);
  EXPECT_EQ(find("host.example", 0, kSecProtocolTypeHTTP, 0, nullptr), errSecItemNotFound);
  // 'dflt' is a real value, not a wildcard.
  EXPECT_EQ(find("host.example", 0, 0, kSecAuthenticationTypeDefault, nullptr), errSecItemNotFound);
  EXPECT_EQ(find("host.example", 0, 0, 0, "/y"), errSecItemNotFound);
  CFRelease(item);
  CFRelease(kc);
}

TEST_F(PasswordItems, ContentModificationChangesKeysDataAndModificationDate) {
  SecKeychainRef kc = Create("m.keychain");
  SecKeychainItemRef item = nullptr;
  ASSERT_EQ(AddGeneric(kc, "old-svc", "old-acct", "old-pw", &item), errSecSuccess);
  // Backdate the modification date so the re-stamp is visible.
  char past[] = "20000101000000Z";
  SecKeychainAttribute back = {kSecModDateItemAttr, 16, past};
  SecKeychainAttributeList backList = {1, &back};
  ASSERT_EQ(SecKeychainItemModifyContent(item, &backList, 0, nullptr), errSecSuccess);
  std::string mdat;
  ReadAttr(item, kSecModDateItemAttr, &mdat);
  EXPECT_EQ(mdat, std::string(past, 16));

  char svc[] = "new-svc", acct[] = "new-acct", label[] = "new-label";
  SecKeychainAttribute attrs[] = {{kSecServiceItemAttr, 7, svc},
                                  {kSecAccountItemAttr, 8, acct},
                                  {kSecLabelItemAttr, 9, label}};
  SecKeychainAttributeList list = {3, attrs};
  ASSERT_EQ(SecKeychainItemModifyAttributesAndData(item, &list, 6, "new-pw"), errSecSuccess);
  EXPECT_EQ(FindSecret(kc, "old-svc", ""), "status -25300");
  EXPECT_EQ(FindSecret(kc, "new-svc", "new-acct"), "new-pw");
  ReadAttr(item, kSecModDateItemAttr, &mdat);
  EXPECT_NE(mdat, std::string(past, 16));

  // Data is replaced only when a pointer is given; empty data is allowed.
  ASSERT_EQ(SecKeychainItemModifyContent(item, nullptr, 0, nullptr), errSecSuccess);
  EXPECT_EQ(FindSecret(kc, "new-svc", "new-acct"), "new-pw");
  ASSERT_EQ(SecKeychainItemModifyContent(item, nullptr, 0, ""), errSecSuccess);
  EXPECT_EQ(FindSecret(kc, "new-svc", "new-acct"), "");

  // A change that collides with another item's key is refused.
  ASSERT_EQ(AddGeneric(kc, "other", "acct", "x"), errSecSuccess);
  char other[] = "other", plain[] = "acct";
  SecKeychainAttribute clash[] = {{kSecServiceItemAttr, 5, other}, {kSecAccountItemAttr, 4, plain}};
  SecKeychainAttributeList clashList = {2, clash};
  EXPECT_EQ(SecKeychainItemModifyContent(item, &clashList, 0, nullptr), errSecDuplicateItem);
  EXPECT_EQ(FindSecret(kc, "new-svc", "new-acct"), "");

  // Bad tags, bad dates and NULL items are refused without changes.
  SecKeychainAttribute bad = {kSecServerItemAttr, 1, other};
  SecKeychainAttributeList badList = {1, &bad};
  EXPECT_EQ(SecKeychainItemModifyContent(item, &badList, 0, nullptr), errSecNoSuchAttr);
  SecKeychainAttribute badDate = {kSecCreationDateItemAttr, 3, other};
  SecKeychainAttributeList badDateList = {1, &badDate};
  EXPECT_EQ(SecKeychainItemModifyContent(item, &badDateList, 0, nullptr), errSecParam);
  EXPECT_EQ(SecKeychainItemModifyContent(nullptr, nullptr, 1, "x"), errSecInvalidItemRef);
  CFRelease(item);
  CFRelease(kc);
}

TEST_F(PasswordItems, EmptyAndMissingDataAndBinarySecretsRoundTrip) {
  SecKeychainRef kc = Create("bin.keychain");
  std::string binary("\0\x01\xff\0zero\0", 9);
  ASSERT_EQ(AddGeneric(kc, "bin", "a", binary), errSecSuccess);
  EXPECT_EQ(FindSecret(kc, "bin", "a"), binary);

  ASSERT_EQ(SecKeychainAddGenericPassword(kc, 5, "empty", 1, "a", 0, "", nullptr), errSecSuccess);
  UInt32 len = 99;
  void* data = nullptr;
  ASSERT_EQ(SecKeychainFindGenericPassword(kc, 5, "empty", 0, nullptr, &len, &data, nullptr),
            errSecSuccess);
  EXPECT_EQ(len, 0u);
  SecKeychainItemFreeContent(nullptr, data);

  ASSERT_EQ(SecKeychainAddGenericPassword(kc, 6, "nodata", 1, "a", 0, nullptr, nullptr), errSecSuccess);
  len = 99;
  data = reinterpret_cast<void*>(0x1);
  ASSERT_EQ(SecKeychainFindGenericPassword(kc, 6, "nodata", 0, nullptr, &len, &data, nullptr),
            errSecSuccess);
  EXPECT_EQ(len, 0u);
  EXPECT_EQ(data, nullptr);

  EXPECT_EQ(SecKeychainAddGenericPassword(kc, 3, "bad", 1, "a", 4, nullptr, nullptr), errSecParam);

  // 16 MiB of every byte value.
  std::string big(16u << 20, '\0');
  for (size_t i = 0; i < big.size(); ++i) big[i] = char((i * 131) & 0xff);
  ASSERT_EQ(AddGeneric(kc, "big", "a", big), errSecSuccess);
  EXPECT_TRUE(FindSecret(kc, "big", "a") == big);
  CFRelease(kc);
}

TEST_F(PasswordItems, DeletedItemReferencesStayValidAndReportTheLoss) {
  SecKeychainRef kc = Create("del.keychain");
  SecKeychainItemRef item = nullptr;
  ASSERT_EQ(AddGeneric(kc, "svc", "acct", "pw", &item), errSecSuccess);
  SecKeychainRef owner = nullptr;
  ASSERT_EQ(SecKeychainItemCopyKeychain(item, &owner), errSecSuccess);
  EXPECT_EQ(owner, kc);
  CFRelease(owner);
  EXPECT_EQ(SecKeychainItemCopyKeychain(item, nullptr), errSecParam);

  ASSERT_EQ(SecKeychainItemDelete(item), errSecSuccess);
  EXPECT_EQ(FindSecret(kc, "svc", "acct"), "status -25300");
  UInt32 len = 0;
  void* data = nullptr;
  EXPECT_EQ(SecKeychainItemCopyContent(item, nullptr, nullptr, &len, &data), errSecInvalidItemRef);
  EXPECT_EQ(SecKeychainItemDelete(item), errSecInvalidItemRef);
  EXPECT_EQ(SecKeychainItemModifyContent(item, nullptr, 1, "x"), errSecInvalidItemRef);
  CFDataRef ref = nullptr;
  EXPECT_EQ(SecKeychainItemCreatePersistentReference(item, &ref), errSecItemNotFound);
  EXPECT_EQ(SecKeychainItemDelete(nullptr), errSecInvalidItemRef);
  EXPECT_EQ(SecKeychainItemDelete((SecKeychainItemRef)kc), errSecInvalidItemRef);
  // The same key can be added again; the old reference does not see the new item.
  ASSERT_EQ(AddGeneric(kc, "svc", "acct", "pw2"), errSecSuccess);
  EXPECT_EQ(SecKeychainItemCopyContent(item, nullptr, nullptr, &len, &data), errSecInvalidItemRef);
  CFRelease(item);
  CFRelease(kc);
}

TEST_F(PasswordItems, PersistentReferencesResolveAcrossObjectsAndFailCleanly) {
  SecKeychainRef kc = Create("pr.keychain");
  SecKeychainItemRef item = nullptr;
  ASSERT_EQ(AddGeneric(kc, "svc", "acct", "pw", &item), errSecSuccess);
  CFDataRef ref = nullptr;
  ASSERT_EQ(SecKeychainItemCreatePersistentReference(item, &ref), errSecSuccess);
  CFRelease(item);
  CFRelease(kc);  // every object of this keychain is gone now

  SecKeychainItemRef back = nullptr;
  ASSERT_EQ(SecKeychainItemCopyFromPersistentReference(ref, &back), errSecSuccess);
  UInt32 len = 0;
  void* data = nullptr;
  ASSERT_EQ(SecKeychainItemCopyContent(back, nullptr, nullptr, &len, &data), errSecSuccess);
  EXPECT_EQ(std::string(static_cast<char*>(data), len), "pw");
  SecKeychainItemFreeContent(nullptr, data);

  // Corrupted, truncated and foreign blobs resolve to nothing.
  std::string blob(reinterpret_cast<const char*>(CFDataGetBytePtr(ref)), size_t(CFDataGetLength(ref)));
  std::string flipped = blob;
  flipped[20] ^= 0x55;  // inside the keychain identity
  for (const std::string& b : {flipped, blob.substr(0, 10), std::string("garbage")}) {
    CFDataRef d = CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(b.data()), CFIndex(b.size()));
    SecKeychainItemRef none = nullptr;
    EXPECT_EQ(SecKeychainItemCopyFromPersistentReference(d, &none), errSecItemNotFound);
    EXPECT_EQ(none, nullptr);
    CFRelease(d);
  }
  EXPECT_EQ(SecKeychainItemCopyFromPersistentReference(nullptr, &back), errSecParam);
  EXPECT_EQ(SecKeychainItemCopyFromPersistentReference(ref, nullptr), errSecParam);

  ASSERT_EQ(SecKeychainItemDelete(back), errSecSuccess);
  SecKeychainItemRef gone = nullptr;
  EXPECT_EQ(SecKeychainItemCopyFromPersistentReference(ref, &gone), errSecItemNotFound);
  CFRelease(back);
  CFRelease(ref);
}

TEST_F(PasswordItems, CopyContentReturnsRequestedAttributesAndRejectsUnknownOnes) {
  SecKeychainRef kc = Create("cc.keychain");
  SecKeychainItemRef item = nullptr;
  ASSERT_EQ(AddGeneric(kc, "svc", "", "pw", &item), errSecSuccess);
  SecKeychainAttribute attrs[] = {{kSecAccountItemAttr, 0, nullptr},
                                  {kSecServiceItemAttr, 0, nullptr},
                                  {kSecCommentItemAttr, 0, nullptr}};
  SecKeychainAttributeList list = {3, attrs};
  SecItemClass cls = 0;
  ASSERT_EQ(SecKeychainItemCopyContent(item, &cls, &list, nullptr, nullptr), errSecSuccess);
  EXPECT_EQ(attrs[0].length, 0u);  // empty account
  EXPECT_EQ(attrs[0].data, nullptr);
  EXPECT_EQ(std::string(static_cast<char*>(attrs[1].data), attrs[1].length), "svc");
  EXPECT_EQ(attrs[2].data, nullptr);  // never set
  EXPECT_EQ(SecKeychainItemFreeContent(&list, nullptr), errSecSuccess);
  EXPECT_EQ(SecKeychainItemFreeContent(nullptr, nullptr), errSecSuccess);

  SecKeychainAttribute wrong[] = {{kSecServiceItemAttr, 0, nullptr}, {kSecPortItemAttr, 0, nullptr}};
  SecKeychainAttributeList wrongList = {2, wrong};
  EXPECT_EQ(SecKeychainItemCopyContent(item, nullptr, &wrongList, nullptr, nullptr), errSecNoSuchAttr);
  EXPECT_EQ(wrong[0].data, nullptr);  // nothing is left allocated
  EXPECT_EQ(SecKeychainItemCopyContent(nullptr, &cls, nullptr, nullptr, nullptr), errSecInvalidItemRef);

  // Attributes asked for with the secret of a locked keychain: the secret is
  // refused, and the attributes read first are not left allocated either.
  SecKeychainLock(kc);
  SecKeychainSetUserInteractionAllowed(false);
  UInt32 length = 7;
  void* secret = nullptr;
  EXPECT_EQ(SecKeychainItemCopyContent(item, nullptr, &list, &length, &secret), errSecAuthFailed);
  SecKeychainSetUserInteractionAllowed(true);
  EXPECT_EQ(attrs[1].data, nullptr);
  EXPECT_EQ(attrs[1].length, 0u);
  EXPECT_EQ(secret, nullptr);
  CFRelease(item);
  CFRelease(kc);
}

}  // namespace
}  // namespace sectest
