// Shared setup of the Security tests.
#include "keychain_fixture.h"

#include <fstream>
#include <sstream>
#include <vector>

namespace sectest {

void KeychainTest::SetUp() {
  home_ = std::make_unique<kc_test::IsolatedKeychainHome>();
  env_ = std::make_unique<kc_test::ScopedEnv>();
  env_->Set("KEYCHAIN_KDF_PROFILE", "minimal");
  SecKeychainSetUserInteractionAllowed(true);
  SecKeychainSetPreferenceDomain(kSecPreferencesDomainUser);
  live_ = std::make_unique<kc_test::CFLiveObjectsSnapshot>();
  liveContent_ = SecLiveContentGetCount();
}

void KeychainTest::TearDown() {
  SecKeychainLockAll();
  EXPECT_EQ(live_->DiffNow(), "") << "objects outlived the test";
  EXPECT_EQ(SecLiveContentGetCount(), liveContent_) << "content buffers (secrets, attributes) were not freed";
  env_.reset();
  home_.reset();
}

SecKeychainRef KeychainTest::Create(const std::string& name, const std::string& password) {
  SecKeychainRef kc = nullptr;
  OSStatus status = SecKeychainCreate(PathIn(name).c_str(), UInt32(password.size()), password.data(),
                                      false, nullptr, &kc);
  EXPECT_EQ(status, errSecSuccess) << "creating " << name;
  return kc;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

bool WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), std::streamsize(bytes.size()));
  return bool(out);
}

std::string FindSecret(CFTypeRef keychainOrArray, const std::string& service,
                       const std::string& account, OSStatus* statusOut) {
  UInt32 length = 0;
  void* data = nullptr;
  OSStatus status = SecKeychainFindGenericPassword(
      keychainOrArray, UInt32(service.size()), service.data(), UInt32(account.size()), account.data(),
      &length, &data, nullptr);
  if (statusOut) *statusOut = status;
  if (status != errSecSuccess) return "status " + std::to_string(status);
  std::string secret(static_cast<const char*>(data), length);
  SecKeychainItemFreeContent(nullptr, data);
  return secret;
}

OSStatus AddGeneric(SecKeychainRef kc, const std::string& service, const std::string& account,
                    const std::string& secret, SecKeychainItemRef* item) {
  return SecKeychainAddGenericPassword(kc, UInt32(service.size()), service.data(),
                                       UInt32(account.size()), account.data(),
                                       UInt32(secret.size()), secret.data(), item);
}

OSStatus ReadAttr(SecKeychainItemRef item, UInt32 tag, std::string* out) {
  SecKeychainAttribute attr = {tag, 0, nullptr};
  SecKeychainAttributeList list = {1, &attr};
  OSStatus status = SecKeychainItemCopyContent(item, nullptr, &list, nullptr, nullptr);
  if (status != errSecSuccess) return status;
  out->assign(attr.data ? static_cast<const char*>(attr.data) : "", attr.length);
  SecKeychainItemFreeContent(&list, nullptr);
  return status;
}

std::string ToStd(CFStringRef s) {
  if (!s) return "<null>";
  CFIndex max = CFStringGetMaximumSizeForEncoding(CFStringGetLength(s), kCFStringEncodingUTF8) + 1;
  std::vector<char> buf(size_t(max), 0);
  if (!CFStringGetCString(s, buf.data(), max, kCFStringEncodingUTF8)) return "<unconvertible>";
  return buf.data();
}

}  // namespace sectest
