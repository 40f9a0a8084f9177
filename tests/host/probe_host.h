// What the host runtime's tests share: a host that has loaded the probe
// plug-in, and the check that a test left no host value and no
// CoreFoundation object behind.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "plugin_host/host.h"

#ifdef HOST_TEST_WITH_CF_SNAPSHOT
#include "support/cf_live_objects.h"
#endif

namespace host_test {

using plugin_host::Arg;
using plugin_host::CallResult;
using plugin_host::Host;
using plugin_host::HostOptions;
using plugin_host::Kind;
using plugin_host::Value;

constexpr const char* kModule = "ProbeModule";

class ProbeTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Replaces the host with one made from options and loads the probe.
  void StartHost(const HostOptions& options);
  Host& host() { return *host_; }

  // Calls that the host must accept; the result is the method's.
  Value Shared(const std::string& declaration, const std::vector<Arg>& args = {});
  Value Method(const Value& object, const std::string& declaration,
               const std::vector<Arg>& args = {});
  Value Text(const std::string& utf8) { return host_->String(utf8); }
  RBInteger Int(const std::string& declaration, const std::vector<Arg>& args = {}) {
    return Shared(declaration, args).integer();
  }

  // Set by tests that leave faults on purpose.
  size_t expectedBadReleases_ = 0;

 private:
  std::unique_ptr<Host> host_;
#ifdef HOST_TEST_WITH_CF_SNAPSHOT
  std::unique_ptr<kc_test::CFLiveObjectsSnapshot> cf_;
#endif
};

}  // namespace host_test
