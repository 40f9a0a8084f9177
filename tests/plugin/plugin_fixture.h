// What every plug-in test shares: a host that has loaded the plug-in, in a
// private keychain home, and the check that the test leaked no host value
// and no CoreFoundation object.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "declarations.h"
#include "plugin_host/host.h"
#include "support/cf_live_objects.h"
#include "support/scoped_env.h"

namespace kc_plugin_test {

using plugin_host::Arg;
using plugin_host::CallResult;
using plugin_host::Host;
using plugin_host::HostOptions;
using plugin_host::Value;

constexpr const char *kModule = "KeychainManagerZNQ";

// A test with a fresh keychain home and a host that has loaded the plug-in.
// TearDown checks that the host holds no more values than after loading and
// that no CoreFoundation object and no framework content buffer outlived the
// test; values a test keeps must therefore be gone by then (locals of the
// test body are).
class PluginTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Replaces the host with one made from options and loads the plug-in.
  void StartHost(const HostOptions &options);

 public:
  // Public so that table-driven checks (lambdas) can use them.
  Host &host() { return *host_; }

  // Calls that must be accepted by the host; the result is the method's.
  Value Shared(const std::string &declaration, const std::vector<Arg> &args = {});
  Value Method(const Value &object, const std::string &declaration,
               const std::vector<Arg> &args = {});
  void AssignMethod(const Value &object, const std::string &declaration,
                    const std::vector<Arg> &args, const Value &value);
  RBInteger LastError();
  RBInteger Property(const Value &object, const std::string &name);

  Value Text(const std::string &utf8) { return host_->String(utf8); }
  std::string KeychainPath(const std::string &fileName) const;
  // A new keychain with an empty password, opened and unlocked through the plug-in.
  Value NewKeychain(const std::string &fileName);

 protected:
  kc_test::IsolatedKeychainHome home_;

 private:
  void ExpectNothingLeaked();

  std::unique_ptr<Host> host_;
  size_t baseObjects_ = 0;
  size_t baseStrings_ = 0;
  uint32_t baseContent_ = 0;
  std::unique_ptr<kc_test::CFLiveObjectsSnapshot> cfBefore_;
};

}  // namespace kc_plugin_test
