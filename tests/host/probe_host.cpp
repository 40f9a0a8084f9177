// The probe-plug-in test fixture.
#include "probe_host.h"

namespace host_test {

void ProbeTest::SetUp() {
#ifdef HOST_TEST_WITH_CF_SNAPSHOT
  cf_ = std::make_unique<kc_test::CFLiveObjectsSnapshot>();
#endif
  StartHost(HostOptions());
}

void ProbeTest::StartHost(const HostOptions& options) {
  host_.reset();
  host_ = std::make_unique<Host>(options);
  std::string error;
  ASSERT_TRUE(host_->Load(PROBE_PLUGIN_PATH, &error)) << error;
}

void ProbeTest::TearDown() {
  // Every value a test made is gone by now: nothing may be left alive.
  EXPECT_EQ(host_->LiveObjects(), 0u);
  EXPECT_EQ(host_->LiveStrings(), 0u);
  EXPECT_EQ(host_->LiveArrays(), 0u);
  EXPECT_EQ(host_->LiveStringData(), 0u);
  EXPECT_EQ(host_->BadReleases(), expectedBadReleases_);
  if (expectedBadReleases_ == 0) {
    for (const std::string& p : host_->Problems()) ADD_FAILURE() << p;
  }
  host_.reset();
#ifdef HOST_TEST_WITH_CF_SNAPSHOT
  EXPECT_EQ(cf_->DiffNow(), "");
#endif
}

Value ProbeTest::Shared(const std::string& declaration, const std::vector<Arg>& args) {
  CallResult r = host_->CallShared(kModule, declaration, args);
  EXPECT_TRUE(r.ok) << declaration << ": " << r.error;
  return std::move(r.value);
}

Value ProbeTest::Method(const Value& object, const std::string& declaration,
                        const std::vector<Arg>& args) {
  CallResult r = host_->CallMethod(object, declaration, args);
  EXPECT_TRUE(r.ok) << declaration << ": " << r.error;
  return std::move(r.value);
}

}  // namespace host_test
