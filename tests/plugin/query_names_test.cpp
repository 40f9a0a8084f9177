// The query names as a host program reads them: each accessor gives the
// framework's constant of its name, as a new UTF-8 host string per call.
#include <Security/Security.h>
#include <dlfcn.h>

#include <set>

#include "item_query_stand_in.h"
#include "plugin_fixture.h"

namespace kc_plugin_test {
namespace {

class QueryNames : public PluginTest {
 protected:
  void TearDown() override {
    ForgetItemQueries();
    PluginTest::TearDown();
  }
};

// The framework's constant of a name, through the library a program links.
CFStringRef FrameworkConstant(const std::string &name) {
  void *address = dlsym(RTLD_DEFAULT, name.c_str());
  return address != nullptr ? *static_cast<const CFStringRef *>(address) : nullptr;
}

std::string Utf8(CFStringRef s) {
  char buffer[256];
  return s != nullptr && CFStringGetCString(s, buffer, sizeof buffer, kCFStringEncodingUTF8) ? buffer : "<none>";
}

TEST_F(QueryNames, EachAccessorGivesItsOwnConstantAsANewString) {
  ASSERT_EQ(decl::kQueryNames.size(), 131u);
  Shared(decl::kVersion);
  std::set<std::string> texts;
  for (const std::string &name : decl::kQueryNames) {
    SCOPED_TRACE(name);
    Value first = Shared(decl::QueryNameDeclaration(name));
    Value second = Shared(decl::QueryNameDeclaration(name));
    ASSERT_FALSE(first.isNil());
    EXPECT_NE(first.string(), second.string()) << "a new string on every call";
    EXPECT_EQ(host().StringBytes(first), Utf8(FrameworkConstant(name)));
    EXPECT_EQ(host().StringBytes(second), host().StringBytes(first));
    EXPECT_EQ(host().StringEncoding(first), kREALEncodingUTF8);
    texts.insert(host().StringBytes(first));
  }
  EXPECT_EQ(LastError(), 0) << "the accessors record no status";
  // Two pairs of names share a value (the attribute type and the key type;
  // the HTTP protocol and HTTP Basic authentication): no other names read
  // alike.
  EXPECT_EQ(texts.size(), 129u);
}

// A query made only of these strings and host Booleans reaches the framework
// as the framework's own constants.
TEST_F(QueryNames, QueriesBuiltFromTheNamesReachTheFrameworkAsItsConstants) {
  Value dict = host().Dictionary();
  host().DictionarySet(dict, host().Variant(Shared("kSecClass as string")),
                       host().Variant(Shared("kSecClassGenericPassword as string")));
  host().DictionarySet(dict, host().Variant(Shared("kSecMatchLimit as string")),
                       host().Variant(Shared("kSecMatchLimitOne as string")));
  host().DictionarySet(dict, host().Variant(Shared("kSecReturnAttributes as string")),
                       host().Variant(Value::Boolean(true)));
  AnswerItemQueriesWith(errSecItemNotFound, nullptr);
  Value result;
  Shared(decl::kCopyMatching, {dict, Arg::ByRef(result)});
  CFDictionaryRef sent = LastItemQuery().query;
  ASSERT_NE(sent, nullptr);
  EXPECT_TRUE(CFEqual(CFDictionaryGetValue(sent, kSecClass), kSecClassGenericPassword));
  EXPECT_TRUE(CFEqual(CFDictionaryGetValue(sent, kSecMatchLimit), kSecMatchLimitOne));
  EXPECT_EQ(CFDictionaryGetValue(sent, kSecReturnAttributes), kCFBooleanTrue);
}

}  // namespace
}  // namespace kc_plugin_test
