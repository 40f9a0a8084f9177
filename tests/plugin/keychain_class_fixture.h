// What the keychain class tests share: a fixture that makes keychains cheaply
// and proves with CoreFoundation's own live counts that nothing outlived a
// test, and direct keychain calls that show what the plug-in really stored or
// reported.
#pragma once

#include <Security/Security.h>
#include <sys/stat.h>

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>

#include "plugin_fixture.h"
#include "support/cf_live_objects.h"
#include "support/scoped_env.h"

namespace kc_plugin_test {

constexpr uint32_t kEncodingUTF8 = 0x08000100;
constexpr uint32_t kEncodingASCII = 0x0600;
constexpr uint32_t kEncodingMacRoman = 0;

// A four-character code as the plug-in makes it: first character in the most
// significant byte.
constexpr uint32_t Code(const char (&c)[5]) {
  return (uint32_t(uint8_t(c[0])) << 24) | (uint32_t(uint8_t(c[1])) << 16) |
         (uint32_t(uint8_t(c[2])) << 8) | uint32_t(uint8_t(c[3]));
}

// One CoreFoundation reference, released when the holder goes.
class CFHold {
 public:
  explicit CFHold(CFTypeRef ref = nullptr) : ref_(ref) {}
  ~CFHold() {
    if (ref_) CFRelease(ref_);
  }
  CFHold(const CFHold &) = delete;
  CFHold &operator=(const CFHold &) = delete;
  CFTypeRef get() const { return ref_; }

 private:
  CFTypeRef ref_;
};

// Switches the keychain's user prompts off for one scope; a locked keychain
// then refuses its secrets with errSecAuthFailed instead of asking.
class NoUserInteraction {
 public:
  NoUserInteraction() { SecKeychainSetUserInteractionAllowed(false); }
  ~NoUserInteraction() { SecKeychainSetUserInteractionAllowed(true); }
};

class KeychainClassTest : public PluginTest {
 protected:
  void SetUp() override {
    // Keychain keys derived at the cheapest cost: the tests prove behaviour,
    // not resistance to guessing.
    env_.Set("KEYCHAIN_KDF_PROFILE", "minimal");
    cfSnapshot_ = std::make_unique<kc_test::CFLiveObjectsSnapshot>();
    PluginTest::SetUp();
    baseArrays_ = host().LiveArrays();
  }

  void TearDown() override {
    EXPECT_EQ(host().LiveArrays(), baseArrays_) << "host arrays leaked";
    PluginTest::TearDown();
    // With the host and its copy of the plug-in gone, every framework object
    // the test caused must be gone too.
    EXPECT_EQ(cfSnapshot_->DiffNow(), "") << "CoreFoundation objects outlived the test";
  }

  // A keychain file made directly through the framework with this password
  // (it starts unlocked), opened through the plug-in.
  Value CreateKeychain(const std::string &fileName, const std::string &password) {
    const std::string path = KeychainPath(fileName);
    SecKeychainRef created = nullptr;
    EXPECT_EQ(SecKeychainCreate(path.c_str(), static_cast<UInt32>(password.size()), password.data(),
                                false, nullptr, &created),
              0)
        << path;
    CFHold hold(created);
    Value keychain = Shared(decl::kOpenPath, {Text(path)});
    EXPECT_FALSE(keychain.isNil()) << path;
    return keychain;
  }

  // The framework reference an object holds (its published "Handle").
  template <typename Ref>
  Ref HandleOf(const Value &object) {
    return reinterpret_cast<Ref>(Property(object, "Handle"));
  }

  // The framework's retain count of what an object holds.
  CFIndex RetainCountOf(const Value &object) {
    return CFGetRetainCount(HandleOf<CFTypeRef>(object));
  }

  std::string Bytes(const Value &v) {
    return v.kind() == plugin_host::Kind::String ? host().StringBytes(v) : host().MemoryBlockBytes(v);
  }

  // An askpass program that answers every prompt with this password.
  void AnswerPromptsWith(const std::string &password) {
    const std::string program = home_.root() + "/askpass.sh";
    std::ofstream(program) << "#!/bin/sh\nprintf '%s\\n' '" << password << "'\n";
    chmod(program.c_str(), 0700);
    env_.Set("KEYCHAIN_ASKPASS", program.c_str());
  }

  kc_test::ScopedEnv env_;

 private:
  std::unique_ptr<kc_test::CFLiveObjectsSnapshot> cfSnapshot_;
  size_t baseArrays_ = 0;
};

// Direct framework reads, to see what the plug-in handed over.
inline std::string AttributeBytes(SecKeychainItemRef item, uint32_t tag, OSStatus *status) {
  SecKeychainAttribute attribute = {tag, 0, nullptr};
  SecKeychainAttributeList list = {1, &attribute};
  *status = SecKeychainItemCopyContent(item, nullptr, &list, nullptr, nullptr);
  if (*status != 0) return std::string();
  std::string bytes(static_cast<const char *>(attribute.data), attribute.length);
  SecKeychainItemFreeContent(&list, nullptr);
  return bytes;
}

// The secret as the framework stores it; hasData tells a stored empty secret
// from an item that was given none.
inline std::string SecretBytes(SecKeychainItemRef item, OSStatus *status, bool *hasData) {
  UInt32 length = 0;
  void *data = nullptr;
  *status = SecKeychainItemCopyContent(item, nullptr, nullptr, &length, &data);
  *hasData = data != nullptr;
  if (*status != 0 || data == nullptr) return std::string();
  std::string bytes(static_cast<const char *>(data), length);
  SecKeychainItemFreeContent(nullptr, data);
  return bytes;
}

}  // namespace kc_plugin_test
