// The shared plug-in test fixture.
#include "plugin_fixture.h"

#include <Security/SecLiveContent.h>
#include <Security/Security.h>

namespace kc_plugin_test {

void PluginTest::SetUp() { StartHost(HostOptions()); }

void PluginTest::StartHost(const HostOptions &options) {
  if (host_) ExpectNothingLeaked();
  host_.reset();
  cfBefore_ = std::make_unique<kc_test::CFLiveObjectsSnapshot>();
  host_ = std::make_unique<Host>(options);
  std::string error;
  ASSERT_TRUE(host_->Load(KC_PLUGIN_PATH, &error)) << error;
  baseObjects_ = host_->LiveObjects();
  baseStrings_ = host_->LiveStrings();
  baseContent_ = SecLiveContentGetCount();
}

void PluginTest::TearDown() {
  if (host_) ExpectNothingLeaked();
  host_.reset();
}

void PluginTest::ExpectNothingLeaked() {
  EXPECT_EQ(host_->LiveObjects(), baseObjects_) << "host objects leaked";
  EXPECT_EQ(host_->LiveStrings(), baseStrings_) << "host strings leaked";
  EXPECT_EQ(host_->BadReleases(), 0u);
  for (const std::string &problem : host_->Problems()) ADD_FAILURE() << problem;
  EXPECT_EQ(cfBefore_->DiffNow(), "") << "CoreFoundation objects leaked";
  // Secrets and attribute values the framework handed over were freed, and
  // so wiped.
  EXPECT_EQ(SecLiveContentGetCount(), baseContent_) << "framework content buffers leaked";
}

Value PluginTest::Shared(const std::string &declaration, const std::vector<Arg> &args) {
  CallResult r = host_->CallShared(kModule, declaration, args);
  EXPECT_TRUE(r.ok) << declaration << ": " << r.error;
  return std::move(r.value);
}

Value PluginTest::Method(const Value &object, const std::string &declaration,
                         const std::vector<Arg> &args) {
  CallResult r = host_->CallMethod(object, declaration, args);
  EXPECT_TRUE(r.ok) << declaration << ": " << r.error;
  return std::move(r.value);
}

void PluginTest::AssignMethod(const Value &object, const std::string &declaration,
                              const std::vector<Arg> &args, const Value &value) {
  CallResult r = host_->AssignMethod(object, declaration, args, value);
  EXPECT_TRUE(r.ok) << declaration << ": " << r.error;
}

RBInteger PluginTest::LastError() {
  CallResult r = host_->GetModuleProperty(kModule, "LastError");
  EXPECT_TRUE(r.ok) << r.error;
  return r.value.integer();
}

RBInteger PluginTest::Property(const Value &object, const std::string &name) {
  CallResult r = host_->GetProperty(object, name);
  EXPECT_TRUE(r.ok) << name << ": " << r.error;
  return r.value.kind() == plugin_host::Kind::Boolean ? r.value.boolean() : r.value.integer();
}

std::string PluginTest::KeychainPath(const std::string &fileName) const {
  return home_.root() + "/" + fileName;
}

Value PluginTest::NewKeychain(const std::string &fileName) {
  const std::string path = KeychainPath(fileName);
  SecKeychainRef created = nullptr;
  OSStatus status = SecKeychainCreate(path.c_str(), 0, "", false, nullptr, &created);
  EXPECT_EQ(status, 0) << "creating " << path;
  if (created) CFRelease(created);
  Value keychain = Shared(decl::kOpenPath, {Text(path)});
  EXPECT_FALSE(keychain.isNil());
  Method(keychain, decl::kUnlockWith, {Text("")});
  return keychain;
}

}  // namespace kc_plugin_test
