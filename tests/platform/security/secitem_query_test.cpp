// The item-query calls: what SecItemAdd stores, the shapes SecItemCopyMatching
// returns, and how many items SecItemUpdate and SecItemDelete touch.
#include <string.h>

#include "keychain_fixture.h"

// The library wipes every copy of a secret it makes. To see the wipes, this
// program defines the wipe function itself and exports it, so the library
// binds to it; it records whether a watched secret was among the bytes wiped.
namespace {
std::string gWatchedSecret;
bool gWatchedSecretWiped = false;
}  // namespace

extern "C" void sodium_memzero(void* p, size_t n) {
  if (!gWatchedSecret.empty() && memmem(p, n, gWatchedSecret.data(), gWatchedSecret.size()))
    gWatchedSecretWiped = true;
  explicit_bzero(p, n);
}

namespace sectest {
namespace {

class ItemQueries : public KeychainTest {
 protected:
  void SetUp() override {
    KeychainTest::SetUp();
    kc_ = Create("q.keychain");
    CFArrayRef list = CFArrayCreate(nullptr, (const void**)&kc_, 1, &kCFTypeArrayCallBacks);
    SecKeychainSetSearchList(list);
    CFRelease(list);
    SecKeychainSetDefault(kc_);  // where SecItemAdd puts items by default
  }
  void TearDown() override {
    CFRelease(kc_);
    KeychainTest::TearDown();
  }
  SecKeychainRef kc_ = nullptr;
};

// A mutable dictionary built up in a test, released with the builder.
class Dict {
 public:
  Dict() : d_(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                        &kCFTypeDictionaryValueCallBacks)) {}
  ~Dict() { CFRelease(d_); }
  Dict& Set(CFStringRef key, CFTypeRef value) {
    CFDictionarySetValue(d_, key, value);
    return *this;
  }
  Dict& Str(CFStringRef key, const char* text) {
    CFStringRef s = CFStringCreateWithCString(nullptr, text, kCFStringEncodingUTF8);
    Set(key, s);
    CFRelease(s);
    return *this;
  }
  Dict& Data(CFStringRef key, const std::string& bytes) {
    CFDataRef d = CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes.data()), CFIndex(bytes.size()));
    Set(key, d);
    CFRelease(d);
    return *this;
  }
  Dict& Int(CFStringRef key, int v) {
    CFNumberRef n = CFNumberCreate(nullptr, kCFNumberIntType, &v);
    Set(key, n);
    CFRelease(n);
    return *this;
  }
  CFDictionaryRef get() const { return d_; }

 private:
  CFMutableDictionaryRef d_;
};

std::string DataText(CFTypeRef d) {
  if (!d || CFGetTypeID(d) != CFDataGetTypeID()) return "<not data>";
  return std::string(reinterpret_cast<const char*>(CFDataGetBytePtr((CFDataRef)d)),
                     size_t(CFDataGetLength((CFDataRef)d)));
}

std::string StrValue(CFDictionaryRef d, CFStringRef key) {
  CFTypeRef v = CFDictionaryGetValue(d, key);
  if (!v) return "<absent>";
  if (CFGetTypeID(v) != CFStringGetTypeID()) return "<not string>";
  return ToStd((CFStringRef)v);
}

OSStatus AddGenp(const char* service, const char* account, const char* secret) {
  Dict d;
  d.Set(kSecClass, kSecClassGenericPassword).Str(kSecAttrService, service).Str(kSecAttrAccount, account);
  d.Data(kSecValueData, secret);
  return SecItemAdd(d.get(), nullptr);
}

TEST_F(ItemQueries, CopyMatchingShapesFollowReturnKeysAndLimits) {
  ASSERT_EQ(AddGenp("svc", "a1", "one"), errSecSuccess);
  ASSERT_EQ(AddGenp("svc", "a2", "two"), errSecSuccess);
  CFTypeRef r = nullptr;

  Dict refOne;
  refOne.Set(kSecClass, kSecClassGenericPassword).Str(kSecAttrService, "svc");
  ASSERT_EQ(SecItemCopyMatching(refOne.get(), &r), errSecSuccess);  // no return key: a ref
  EXPECT_EQ(CFGetTypeID(r), SecKeychainItemGetTypeID());
  CFRelease(r);

  Dict dataOne;
  dataOne.Set(kSecClass, kSecClassGenericPassword).Str(kSecAttrAccount, "a2").Set(kSecReturnData, kCFBooleanTrue);
  ASSERT_EQ(SecItemCopyMatching(dataOne.get(), &r), errSecSuccess);
  EXPECT_EQ(DataText(r), "two");
  CFRelease(r);

  Dict attrsAll;
  attrsAll.Set(kSecClass, kSecClassGenericPassword).Set(kSecReturnAttributes, kCFBooleanTrue);
  attrsAll.Set(kSecMatchLimit, kSecMatchLimitAll);
  ASSERT_EQ(SecItemCopyMatching(attrsAll.get(), &r), errSecSuccess);
  ASSERT_EQ(CFGetTypeID(r), CFArrayGetTypeID());
  EXPECT_EQ(CFArrayGetCount((CFArrayRef)r), 2);
  CFDictionaryRef first = (CFDictionaryRef)CFArrayGetValueAtIndex((CFArrayRef)r, 0);
  EXPECT_EQ(StrValue(first, kSecAttrService), "svc");
  EXPECT_TRUE(CFEqual(CFDictionaryGetValue(first, kSecClass), kSecClassGenericPassword));
  CFRelease(r);

  // Data of every match comes back as an array of data here.
  Dict dataAll;
  dataAll.Set(kSecClass, kSecClassGenericPassword).Set(kSecReturnData, kCFBooleanTrue);
  dataAll.Set(kSecMatchLimit, kSecMatchLimitAll);
  ASSERT_EQ(SecItemCopyMatching(dataAll.get(), &r), errSecSuccess);
  ASSERT_EQ(CFGetTypeID(r), CFArrayGetTypeID());
  EXPECT_EQ(DataText(CFArrayGetValueAtIndex((CFArrayRef)r, 1)), "two");
  CFRelease(r);

  // A numeric limit above one gives an array, even of one element.
  Dict numeric;
  numeric.Set(kSecClass, kSecClassGenericPassword).Str(kSecAttrAccount, "a1").Int(kSecMatchLimit, 5);
  ASSERT_EQ(SecItemCopyMatching(numeric.get(), &r), errSecSuccess);
  ASSERT_EQ(CFGetTypeID(r), CFArrayGetTypeID());
  EXPECT_EQ(CFArrayGetCount((CFArrayRef)r), 1);
  CFRelease(r);

  // Several return keys merge into one dictionary per item.
  Dict all;
  all.Set(kSecClass, kSecClassGenericPassword).Str(kSecAttrAccount, "a1");
  all.Set(kSecReturnData, kCFBooleanTrue).Set(kSecReturnAttributes, kCFBooleanTrue);
  all.Set(kSecReturnRef, kCFBooleanTrue).Set(kSecReturnPersistentRef, kCFBooleanTrue);
  ASSERT_EQ(SecItemCopyMatching(all.get(), &r), errSecSuccess);
  ASSERT_EQ(CFGetTypeID(r), CFDictionaryGetTypeID());
  CFDictionaryRef d = (CFDictionaryRef)r;
  EXPECT_EQ(DataText(CFDictionaryGetValue(d, kSecValueData)), "one");
  EXPECT_EQ(CFGetTypeID(CFDictionaryGetValue(d, kSecValueRef)), SecKeychainItemGetTypeID());
  EXPECT_EQ(CFGetTypeID(CFDictionaryGetValue(d, kSecValuePersistentRef)), CFDataGetTypeID());
  EXPECT_EQ(StrValue(d, kSecAttrAccount), "a1");

  // The persistent reference finds the item again, alone.
  Dict byRef;
  byRef.Set(kSecValuePersistentRef, CFDictionaryGetValue(d, kSecValuePersistentRef));
  byRef.Set(kSecReturnData, kCFBooleanTrue);
  CFTypeRef again = nullptr;
  ASSERT_EQ(SecItemCopyMatching(byRef.get(), &again), errSecSuccess);
  EXPECT_EQ(DataText(again), "one");
  CFRelease(again);
  CFRelease(r);

  Dict zero;
  zero.Set(kSecClass, kSecClassGenericPassword).Int(kSecMatchLimit, 0);
  r = reinterpret_cast<CFTypeRef>(0x1);
  EXPECT_EQ(SecItemCopyMatching(zero.get(), &r), errSecItemNotFound);
  EXPECT_EQ(r, nullptr);
  Dict negative;
  negative.Set(kSecClass, kSecClassGenericPassword).Int(kSecMatchLimit, -1);
  EXPECT_EQ(SecItemCopyMatching(negative.get(), &r), errSecParam);
  Dict none;
  none.Set(kSecClass, kSecClassGenericPassword).Str(kSecAttrService, "nothing");
  EXPECT_EQ(SecItemCopyMatching(none.get(), &r), errSecItemNotFound);
  Dict certs;
  certs.Set(kSecClass, kSecClassCertificate);
  EXPECT_EQ(SecItemCopyMatching(certs.get(), &r), errSecItemNotFound);
}

TEST_F(ItemQueries, MalformedQueriesAreRefusedWithParam) {
  ASSERT_EQ(AddGenp("svc", "a", "x"), errSecSuccess);
  CFTypeRef r = nullptr;
  EXPECT_EQ(SecItemCopyMatching(nullptr, &r), errSecParam);
  EXPECT_EQ(SecItemCopyMatching((CFDictionaryRef)kCFBooleanTrue, &r), errSecParam);
  Dict noClass;
  noClass.Str(kSecAttrService, "svc");
  EXPECT_EQ(SecItemCopyMatching(noClass.get(), &r), errSecParam);
  Dict badClass;
  badClass.Str(kSecClass, "nope");
  EXPECT_EQ(SecItemCopyMatching(badClass.get(), &r), errSecParam);
  Dict badService;
  badService.Set(kSecClass, kSecClassGenericPassword).Int(kSecAttrService, 3);
  EXPECT_EQ(SecItemCopyMatching(badService.get(), &r), errSecParam);
  Dict badLimit;
  badLimit.Set(kSecClass, kSecClassGenericPassword).Str(kSecMatchLimit, "some");
  EXPECT_EQ(SecItemCopyMatching(badLimit.get(), &r), errSecParam);
  Dict badKeychain;
  badKeychain.Set(kSecClass, kSecClassGenericPassword).Str(kSecUseKeychain, "x");
  EXPECT_EQ(SecItemCopyMatching(badKeychain.get(), &r), errSecParam);
  Dict badList;
  badList.Set(kSecClass, kSecClassGenericPassword).Set(kSecMatchSearchList, kCFBooleanFalse);
  EXPECT_EQ(SecItemCopyMatching(badList.get(), &r), errSecParam);
  EXPECT_EQ(SecItemDelete(nullptr), errSecParam);
  EXPECT_EQ(SecItemUpdate(noClass.get(), nullptr), errSecParam);
  Dict identity;
  identity.Set(kSecClass, kSecClassIdentity);
  EXPECT_EQ(SecItemAdd(identity.get(), nullptr), errSecParam);
  EXPECT_EQ(r, nullptr);
}

TEST_F(ItemQueries, AddStoresAttributesAndReturnsTheRequestedShape) {
  Dict add;
  add.Set(kSecClass, kSecClassInternetPassword).Str(kSecAttrServer, "example.org");
  add.Str(kSecAttrAccount, "dave").Set(kSecAttrProtocol, kSecAttrProtocolHTTPS);
  add.Set(kSecAttrAuthenticationType, kSecAttrAuthenticationTypeHTMLForm).Int(kSecAttrPort, 443);
  add.Str(kSecValueData, "typed as text").Str(kSecAttrComment, "note");
  add.Str(CFSTR("unknown key"), "ignored");
  add.Set(kSecReturnAttributes, kCFBooleanTrue);
  CFTypeRef r = nullptr;
  gWatchedSecret = "typed as text";
  ASSERT_EQ(SecItemAdd(add.get(), &r), errSecSuccess);
  EXPECT_TRUE(gWatchedSecretWiped) << "the copy of a text secret outlived the call";
  gWatchedSecret.clear();
  ASSERT_EQ(CFGetTypeID(r), CFDictionaryGetTypeID());
  CFDictionaryRef a = (CFDictionaryRef)r;
  EXPECT_TRUE(CFEqual(CFDictionaryGetValue(a, kSecClass), kSecClassInternetPassword));
  EXPECT_TRUE(CFEqual(CFDictionaryGetValue(a, kSecAttrProtocol), kSecAttrProtocolHTTPS));
  EXPECT_TRUE(CFEqual(CFDictionaryGetValue(a, kSecAttrAuthenticationType), kSecAttrAuthenticationTypeHTMLForm));
  int port = 0;
  CFNumberGetValue((CFNumberRef)CFDictionaryGetValue(a, kSecAttrPort), kCFNumberIntType, &port);
  EXPECT_EQ(port, 443);
  EXPECT_EQ(StrValue(a, kSecAttrLabel), "example.org");
  EXPECT_EQ(StrValue(a, kSecAttrComment), "note");
  EXPECT_EQ(CFDictionaryGetValue(a, kSecAttrSecurityDomain), nullptr);  // empty: omitted
  EXPECT_EQ(CFGetTypeID(CFDictionaryGetValue(a, kSecAttrCreationDate)), CFDateGetTypeID());
  CFRelease(r);

  // The classic call sees the same item and the text secret as UTF-8.
  UInt32 len = 0;
  void* data = nullptr;
  ASSERT_EQ(SecKeychainFindInternetPassword(kc_, 11, "example.org", 0, nullptr, 4, "dave", 0, nullptr, 443,
                                            kSecProtocolTypeHTTPS, kSecAuthenticationTypeHTMLForm, &len,
                                            &data, nullptr),
            errSecSuccess);
  EXPECT_EQ(std::string(static_cast<char*>(data), len), "typed as text");
  SecKeychainItemFreeContent(nullptr, data);

  EXPECT_EQ(SecItemAdd(add.get(), nullptr), errSecDuplicateItem);

  // No return key: a reference, in the keychain that kSecUseKeychain names.
  SecKeychainRef other = Create("other.keychain");
  Dict targeted;
  targeted.Set(kSecClass, kSecClassGenericPassword).Str(kSecAttrService, "elsewhere");
  targeted.Set(kSecUseKeychain, other);
  ASSERT_EQ(SecItemAdd(targeted.get(), &r), errSecSuccess);
  SecKeychainRef owner = nullptr;
  ASSERT_EQ(SecKeychainItemCopyKeychain((SecKeychainItemRef)r, &owner), errSecSuccess);
  EXPECT_EQ(owner, other);
  CFRelease(owner);
  CFRelease(r);
  CFRelease(other);

  Dict cert;
  cert.Set(kSecClass, kSecClassCertificate);
  EXPECT_EQ(SecItemAdd(cert.get(), nullptr), errSecUnimplemented);
}

TEST_F(ItemQueries, UpdateAndDeleteTouchTheFirstMatchUnlessAllAreAsked) {
  for (const char* acct : {"u1", "u2", "u3"}) ASSERT_EQ(AddGenp("upd", acct, "old"), errSecSuccess);
  Dict query;
  query.Set(kSecClass, kSecClassGenericPassword).Str(kSecAttrService, "upd");
  Dict change;
  change.Data(kSecValueData, "new").Str(kSecAttrComment, "changed").Set(kSecClass, kSecClassInternetPassword);
  ASSERT_EQ(SecItemUpdate(query.get(), change.get()), errSecSuccess);
  EXPECT_EQ(FindSecret(kc_, "upd", "u1"), "new");
  EXPECT_EQ(FindSecret(kc_, "upd", "u2"), "old");

  Dict everything;
  everything.Set(kSecClass, kSecClassGenericPassword).Str(kSecAttrService, "upd");
  everything.Set(kSecMatchLimit, kSecMatchLimitAll);
  ASSERT_EQ(SecItemUpdate(everything.get(), change.get()), errSecSuccess);
  EXPECT_EQ(FindSecret(kc_, "upd", "u3"), "new");

  Dict textData;
  textData.Str(kSecValueData, "text is refused here");
  EXPECT_EQ(SecItemUpdate(query.get(), textData.get()), errSecParam);
  Dict clash;
  clash.Str(kSecAttrAccount, "u2");
  EXPECT_EQ(SecItemUpdate(query.get(), clash.get()), errSecDuplicateItem);
  Dict nothing;
  nothing.Set(kSecClass, kSecClassGenericPassword).Str(kSecAttrService, "absent");
  EXPECT_EQ(SecItemUpdate(nothing.get(), change.get()), errSecItemNotFound);

  ASSERT_EQ(SecItemDelete(query.get()), errSecSuccess);
  EXPECT_EQ(FindSecret(kc_, "upd", "u1"), "status -25300");
  EXPECT_EQ(FindSecret(kc_, "upd", "u2"), "new");
  ASSERT_EQ(SecItemDelete(everything.get()), errSecSuccess);
  EXPECT_EQ(SecItemDelete(everything.get()), errSecItemNotFound);
}

TEST_F(ItemQueries, ItemListsAndSearchListsNarrowTheMatches) {
  SecKeychainRef other = Create("o.keychain");
  ASSERT_EQ(AddGeneric(other, "shared", "x", "in other"), errSecSuccess);
  SecKeychainItemRef mine = nullptr;
  ASSERT_EQ(AddGeneric(kc_, "shared", "x", "in mine", &mine), errSecSuccess);

  // Only the search list is searched unless kSecMatchSearchList says otherwise.
  Dict plain;
  plain.Set(kSecClass, kSecClassGenericPassword).Str(kSecAttrService, "shared").Set(kSecReturnData, kCFBooleanTrue);
  CFTypeRef r = nullptr;
  ASSERT_EQ(SecItemCopyMatching(plain.get(), &r), errSecSuccess);
  EXPECT_EQ(DataText(r), "in mine");
  CFRelease(r);
  CFArrayRef list = CFArrayCreate(nullptr, (const void**)&other, 1, &kCFTypeArrayCallBacks);
  Dict restricted;
  restricted.Set(kSecClass, kSecClassGenericPassword).Set(kSecMatchSearchList, list).Set(kSecReturnData, kCFBooleanTrue);
  ASSERT_EQ(SecItemCopyMatching(restricted.get(), &r), errSecSuccess);
  EXPECT_EQ(DataText(r), "in other");
  CFRelease(r);
  CFRelease(list);

  // kSecValueRef names exactly one item; deleting through it leaves the other.
  Dict byItem;
  byItem.Set(kSecValueRef, mine);
  ASSERT_EQ(SecItemDelete(byItem.get()), errSecSuccess);
  EXPECT_EQ(SecItemCopyMatching(byItem.get(), &r), errSecItemNotFound);
  EXPECT_EQ(FindSecret(other, "shared", "x"), "in other");
  CFRelease(mine);
  CFRelease(other);
}

}  // namespace
}  // namespace sectest
