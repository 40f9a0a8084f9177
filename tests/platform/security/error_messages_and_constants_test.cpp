// Result-code texts and the values of the kSec constants.
#include <set>

#include "keychain_fixture.h"

extern "C" int SecurityHeadersWorkFromC(void);

namespace sectest {
namespace {

std::string Message(OSStatus status) {
  CFStringRef s = SecCopyErrorMessageString(status, nullptr);
  std::string out = ToStd(s);
  if (s) CFRelease(s);
  return out;
}

TEST(ErrorMessages, EveryReturnedStatusHasItsOwnSentenceAndOthersAFallback) {
  CFIndex live = CFLiveObjectsGetTotalCount();
  EXPECT_EQ(Message(errSecSuccess), "No error.");
  EXPECT_EQ(Message(errSecAuthFailed), "The user name or passphrase you entered is not correct.");
  const OSStatus returned[] = {
      errSecUnimplemented, errSecDiskFull, errSecIO, errSecParam, errSecWrPerm, errSecAllocate,
      errSecUserCanceled, errSecReadOnly, errSecNoSuchKeychain, errSecInvalidKeychain,
      errSecDuplicateKeychain, errSecDuplicateItem, errSecItemNotFound, errSecBufferTooSmall,
      errSecDataTooLarge, errSecNoSuchAttr, errSecInvalidItemRef, errSecInvalidSearchRef,
      errSecNoDefaultKeychain, errSecInteractionNotAllowed, errSecWrongSecVersion,
      errSecInvalidPrefsDomain, errSecVerifyFailed, errSecDatabaseLocked, errSecDecode};
  std::set<std::string> seen;
  for (OSStatus s : returned) {
    std::string m = Message(s);
    EXPECT_EQ(m.find("OSStatus"), std::string::npos) << s;
    EXPECT_GT(m.size(), 10u) << s;
    EXPECT_EQ(m.back(), '.') << s;
    EXPECT_TRUE(seen.insert(m).second) << "two codes share " << m;
  }
  EXPECT_EQ(Message(12345), "OSStatus 12345");
  EXPECT_EQ(Message(100002), "UNIX[No such file or directory]");
  EXPECT_EQ(CFLiveObjectsGetTotalCount(), live);
}

TEST(ItemQueryConstants, ValuesAreAppleStringsIncludingTrailingSpaces) {
  auto is = [](CFStringRef s, const char* text) { return ToStd(s) == text; };
  EXPECT_TRUE(is(kSecClass, "class"));
  EXPECT_TRUE(is(kSecClassInternetPassword, "inet"));
  EXPECT_TRUE(is(kSecClassKey, "keys"));
  EXPECT_TRUE(is(kSecAttrAccess, "acls"));
  EXPECT_TRUE(is(kSecAttrIssuer, "issr"));
  EXPECT_TRUE(is(kSecAttrPublicKeyHash, "pkhh"));
  EXPECT_TRUE(is(kSecAttrRounds, "rounds"));
  EXPECT_TRUE(is(kSecAttrProtocolFTP, "ftp "));
  EXPECT_TRUE(is(kSecAttrProtocolSOCKS, "sox "));
  EXPECT_TRUE(is(kSecAttrProtocolSMB, "smb "));
  EXPECT_TRUE(is(kSecAttrProtocolIPP, "ipp "));
  EXPECT_TRUE(is(kSecAttrProtocolPOP3S, "pops"));
  EXPECT_TRUE(is(kSecAttrAuthenticationTypeMSN, "msna"));
  EXPECT_TRUE(is(kSecAttrKeyClassSymmetric, "2"));
  EXPECT_TRUE(is(kSecAttrKeyTypeAES, "2147483649"));
  EXPECT_TRUE(is(kSecAttrKeyType3DES, "17"));
  EXPECT_TRUE(is(kSecAttrKeyTypeECDSA, "73"));
  EXPECT_TRUE(is(kSecAttrPRFHmacAlgSHA224, "hsha224"));
  EXPECT_TRUE(is(kSecMatchEmailAddressIfPresent, "m_EmailAddressIfPresent"));
  EXPECT_TRUE(is(kSecReturnPersistentRef, "r_PersistentRef"));
  EXPECT_TRUE(is(kSecUseItemList, "u_ItemList"));
  // Same text, distinct names: equal strings.
  EXPECT_TRUE(CFEqual(kSecAttrType, kSecAttrKeyType));
  EXPECT_TRUE(CFEqual(kSecAttrProtocolHTTP, kSecAttrAuthenticationTypeHTTPBasic));
  EXPECT_TRUE(SecurityHeadersWorkFromC());
}

}  // namespace
}  // namespace sectest
