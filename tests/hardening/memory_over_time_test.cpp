// A long-lived host program: a million finds through one host leave its
// resident memory flat once the first hundred thousand have warmed it up.
#include <unistd.h>

#include <cstdio>

#include "plugin_fixture.h"

namespace kc_plugin_test {
namespace {

size_t ResidentBytes() {
  long pages = 0, resident = 0;
  FILE* f = std::fopen("/proc/self/statm", "r");
  if (f == nullptr) return 0;
  if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = 0;
  std::fclose(f);
  return size_t(resident) * size_t(sysconf(_SC_PAGESIZE));
}

class MemoryOverTime : public PluginTest {};

TEST_F(MemoryOverTime, AMillionFindsThroughOneHostLeaveResidentMemoryFlat) {
#ifdef KC_SANITIZED_BUILD
  GTEST_SKIP() << "the sanitizer keeps freed memory in its own quarantine";
#endif
  Value keychain = NewKeychain("long-lived.keychain");
  Value added = Method(keychain, decl::kAddGenericText, {Text("svc"), Text("acct"), Text("pw")});
  ASSERT_FALSE(added.isNil());
  const Value service = Text("svc"), account = Text("acct");
  size_t warm = 0;
  for (int call = 1; call <= 1000000; ++call) {
    Value password;
    CallResult r = host().CallShared(kModule, decl::kFindGenericPasswordM,
                                     {keychain, service, account, Arg::ByRef(password)});
    if (!r.ok || r.value.isNil() || host().MemoryBlockBytes(password) != "pw")
      FAIL() << "find " << call << " failed: " << r.error;
    if (call == 100000) warm = ResidentBytes();
  }
  const size_t after = ResidentBytes();
  ASSERT_GT(warm, 0u);
  RecordProperty("ResidentGrowthBytes", std::to_string(after > warm ? after - warm : 0));
  EXPECT_LT(after, warm + (4u << 20)) << "resident memory grew from " << warm << " to " << after;
}

}  // namespace
}  // namespace kc_plugin_test
