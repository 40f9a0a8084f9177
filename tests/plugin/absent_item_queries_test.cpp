// The plug-in on a system whose Security library has no item queries: this
// program links no Security library of its own and loads the build without
// the item query calls and constants before the plug-in, so the plug-in's
// weak references to them really are null. Every item operation then
// refuses quietly and every query name is nil, while the keychain calls
// work as before.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "declarations.h"
#include "plugin_host/host.h"
#include "support/scoped_env.h"

namespace kc_plugin_test {
namespace {

using plugin_host::Arg;
using plugin_host::Host;
using plugin_host::Kind;
using plugin_host::Value;

constexpr const char *kModule = "KeychainManagerZNQ";

class AbsentItemQueries : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(dlopen(SECURITY_NOITEMS_PATH, RTLD_NOW | RTLD_GLOBAL), nullptr) << dlerror();
    ASSERT_EQ(dlsym(RTLD_DEFAULT, "SecItemCopyMatching"), nullptr) << "a full Security library is loaded";
    std::string error;
    ASSERT_TRUE(host_.Load(KC_PLUGIN_PATH, &error)) << error;
    baseObjects_ = host_.LiveObjects();
    baseStrings_ = host_.LiveStrings();
  }
  void TearDown() override {
    EXPECT_EQ(host_.LiveObjects(), baseObjects_);
    EXPECT_EQ(host_.LiveStrings(), baseStrings_);
    EXPECT_EQ(host_.BadReleases(), 0u);
  }

  Value Shared(const std::string &declaration, const std::vector<Arg> &args = {}) {
    auto r = host_.CallShared(kModule, declaration, args);
    EXPECT_TRUE(r.ok) << declaration << ": " << r.error;
    return std::move(r.value);
  }
  RBInteger LastError() { return host_.GetModuleProperty(kModule, "LastError").value.integer(); }

  kc_test::IsolatedKeychainHome home_;
  Host host_;
  size_t baseObjects_ = 0, baseStrings_ = 0;
};

TEST_F(AbsentItemQueries, OperationsRefuseQuietlyAndNamesAreNil) {
  for (const std::string &name : decl::kQueryNames)
    EXPECT_TRUE(Shared(decl::QueryNameDeclaration(name)).isNil()) << name;

  Value query = host_.Dictionary();
  Value nil;
  Value slot = host_.MemoryBlock("old");
  struct Case {
    const char *declaration;
    std::vector<Arg> args;
  };
  const Case cases[] = {
      {decl::kDeleteItem, {query}},
      {decl::kUpdateItem, {query, query}},
      {decl::kCopyMatching, {query, Arg::ByRef(slot)}},
      {decl::kGetPassword, {query, Arg::ByRef(slot)}},
      {decl::kAddItem, {nil, query}},
      {decl::kAddItemWithResult, {nil, query, Arg::ByRef(slot)}},
  };
  for (const Case &c : cases) {
    slot = host_.MemoryBlock("old");
    Value r = Shared(c.declaration, c.args);
    EXPECT_EQ(r.kind(), Kind::Boolean) << c.declaration;
    EXPECT_FALSE(r.boolean()) << c.declaration;
    EXPECT_EQ(LastError(), -1) << c.declaration;
    EXPECT_FALSE(host_.TakeException().has_value()) << c.declaration;
    if (c.args.back().slot()) {
      EXPECT_TRUE(slot.isNil()) << c.declaration;
    }
  }
  for (const char *declaration : {decl::kCopyMatchingDictionaries, decl::kCopyMatchingItems}) {
    Value r = Shared(declaration, {query});
    EXPECT_EQ(host_.ArrayUBound(r), -1) << declaration;
    EXPECT_EQ(LastError(), -1) << declaration;
  }
  // A nil query is still refused by name.
  Shared(decl::kDeleteItem, {Value()});
  auto e = host_.TakeException();
  ASSERT_TRUE(e.has_value());
  EXPECT_EQ(e->message, "query is nil");

  // The keychain calls are all there.
  Value keychain = Shared(decl::kDefault);
  ASSERT_FALSE(keychain.isNil());
  EXPECT_FALSE(Shared(decl::kAddGenericTextM, {keychain, host_.String("svc"), host_.String("ann"), host_.String("pw")})
                   .isNil());
  Value password;
  EXPECT_FALSE(Shared(decl::kFindGenericPasswordM, {keychain, host_.String("svc"), host_.String("ann"), Arg::ByRef(password)})
                   .isNil());
  EXPECT_EQ(host_.MemoryBlockBytes(password), "pw");
}

}  // namespace
}  // namespace kc_plugin_test
