// Shared setup of the Security tests: a private keychain home, the cheap key
// derivation profile, no way to ask a person anything, and a check that no
// CoreFoundation or Security object, and no content buffer, outlives the test.
#pragma once

#include <CoreFoundation/CFLiveObjects.h>
#include <Security/SecLiveContent.h>
#include <Security/Security.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/cf_live_objects.h"
#include "support/scoped_env.h"

namespace sectest {

class KeychainTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Creates a keychain file under the test folder; the test owns the ref.
  SecKeychainRef Create(const std::string& name, const std::string& password = "secret");
  std::string PathIn(const std::string& name) const { return home_->root() + "/" + name; }
  const kc_test::IsolatedKeychainHome& home() const { return *home_; }

 private:
  std::unique_ptr<kc_test::IsolatedKeychainHome> home_;
  std::unique_ptr<kc_test::ScopedEnv> env_;
  std::unique_ptr<kc_test::CFLiveObjectsSnapshot> live_;
  UInt32 liveContent_ = 0;
};

// Reads a whole file; empty when it cannot be read.
std::string ReadFile(const std::string& path);
bool WriteFile(const std::string& path, const std::string& bytes);
// The secret of a generic password, or the failing status as text.
std::string FindSecret(CFTypeRef keychainOrArray, const std::string& service,
                       const std::string& account, OSStatus* status = nullptr);
OSStatus AddGeneric(SecKeychainRef kc, const std::string& service, const std::string& account,
                    const std::string& secret, SecKeychainItemRef* item = nullptr);
// Reads one attribute of an item as bytes.
OSStatus ReadAttr(SecKeychainItemRef item, UInt32 tag, std::string* out);
std::string ToStd(CFStringRef s);

}  // namespace sectest
