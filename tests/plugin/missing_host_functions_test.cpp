// A host that lacks a function the plug-in uses: each step that needs it
// does nothing, the method still returns (nil, 0 or an empty value), nothing
// leaks, and the name is asked for again on the next call. (What the
// password calls store without the memory block functions is proven with
// the password tests.)
#include <functional>

#include "plugin_fixture.h"

namespace kc_plugin_test {
namespace {


class MissingHostFunctions : public PluginTest {
 public:
  void StartWithout(std::set<std::string> names) {
    HostOptions options;
    options.withheld = std::move(names);
    StartHost(options);
  }

  // Adds "secret" under service/account in the default keychain with all
  // host functions present, so the scenarios below have an item to find.
  void AddSample(const std::string &service) {
    Value item = Shared(decl::kAddGenericTextM, {Value(), Text(service), Text("acct"), Text("secret")});
    ASSERT_EQ(LastError(), 0);
  }
  // Strings that cannot be read reach the framework as empty texts: the
  // item is added with no service and no password.
  void ExpectEmptyTexts() {
    Value item = Shared(decl::kAddGenericTextM, {Value(), Text("unreadable"), Text("acct"), Text("pw")});
    EXPECT_EQ(LastError(), 0);
    ASSERT_FALSE(item.isNil());
    EXPECT_TRUE(Method(item, decl::kService).isNil());
    EXPECT_TRUE(Method(item, decl::kPassword).isNil());
    Method(item, decl::kDelete);
  }
  void DeleteSample(const std::string &service) {
    Value item = Shared(decl::kFindGenericItemM, {Value(), Text(service), Text("acct")});
    if (!item.isNil()) Method(item, decl::kDelete);
  }
};

struct Scenario {
  std::set<std::string> withheld;
  const char *fallback;
  std::function<void(MissingHostFunctions &, Host &)> check;
};

TEST_F(MissingHostFunctions, EachMissingNameFallsBackAsDocumented) {
  AddSample("svc");
  const std::vector<Scenario> scenarios = {
      {{"PluginNewInstance"},
       "methods that make objects return nil, releasing the framework reference",
       [](MissingHostFunctions &t, Host &h) {
         EXPECT_TRUE(t.Shared(decl::kDefault).isNil());
         EXPECT_EQ(t.LastError(), 0);
         Value password;
         Value item = t.Shared(decl::kFindGenericPasswordM, {Value(), t.Text("svc"), t.Text("acct"), Arg::ByRef(password)});
         EXPECT_TRUE(item.isNil());
         EXPECT_EQ(t.LastError(), 0);
         EXPECT_EQ(h.MemoryBlockBytes(password), "secret");
         // Asked again on each call: a failed name is not remembered.
         const int before = h.LookupCount("PluginNewInstance");
         t.Shared(decl::kDefault);
         EXPECT_EQ(h.LookupCount("PluginNewInstance"), before + 1);
       }},
      {{"REALGetRBVersion"}, "layout 9, as for a host with no version",
       [](MissingHostFunctions &t, Host &h) {
         EXPECT_EQ(h.announcedLayoutVersion(), 9);
         EXPECT_EQ(h.Module(kModule)->methods.size(), kModuleMethods.size());
         EXPECT_EQ(t.Shared(decl::kVersion).integer() > 0, true);
       }},
      {{"RegisterPluginVersion"}, "the records are registered all the same",
       [](MissingHostFunctions &, Host &h) {
         EXPECT_NE(h.Module(kModule), nullptr);
         EXPECT_NE(h.Class("KeychainItemZNQ"), nullptr);
       }},
      {{"PluginRegisterClass"}, "no classes, the module still registered",
       [](MissingHostFunctions &t, Host &h) {
         EXPECT_NE(h.Module(kModule), nullptr);
         EXPECT_EQ(h.Class("KeychainZNQ"), nullptr);
         EXPECT_EQ(t.Shared(decl::kVersion).integer() > 0, true);
       }},
      {{"PluginRegisterModule"}, "no module, the classes still registered",
       [](MissingHostFunctions &, Host &h) {
         EXPECT_EQ(h.Module(kModule), nullptr);
         for (const char *name : {"KeychainZNQ", "KeychainItemZNQ", "KeychainSettingsZNQ", "KeychainSearchZNQ"})
           EXPECT_NE(h.Class(name), nullptr) << name;
       }},
      {{"RuntimeRaiseException"}, "nothing raised, the exception object released",
       [](MissingHostFunctions &t, Host &h) {
         EXPECT_TRUE(t.Shared(decl::kFromReference, {Value()}).isNil());
         EXPECT_FALSE(h.TakeException().has_value());
         EXPECT_EQ(t.LastError(), -1);
       }},
      {{"REALSetPropValueString"}, "the exception is raised without its message",
       [](MissingHostFunctions &t, Host &h) {
         t.Shared(decl::kFromReference, {Value()});
         auto e = h.TakeException();
         ASSERT_TRUE(e.has_value());
         EXPECT_EQ(e->className, "NilObjectException");
         EXPECT_EQ(e->message, "");
       }},
      {{"REALSetPropValueInt"}, "the exception is raised with its message",
       [](MissingHostFunctions &t, Host &h) {
         t.Shared(decl::kFromReference, {Value()});
         auto e = h.TakeException();
         ASSERT_TRUE(e.has_value());
         EXPECT_EQ(e->message, "data is nil");
         EXPECT_EQ(e->errorNumber, 0);
       }},
      {{"REALBuildString"}, "strings made by the plug-in are nil",
       [](MissingHostFunctions &t, Host &h) {
         EXPECT_TRUE(t.Shared(decl::kMessage, {Value::Integer(-25300)}).isNil());
         t.Shared(decl::kFromReference, {Value()});
         auto e = h.TakeException();
         ASSERT_TRUE(e.has_value());
         EXPECT_EQ(e->message, "");
       }},
      {{"REALSetStringEncoding"}, "strings come back untagged",
       [](MissingHostFunctions &t, Host &h) {
         Value text = t.Shared(decl::kMessage, {Value::Integer(-25300)});
         ASSERT_FALSE(text.isNil());
         EXPECT_EQ(h.StringEncoding(text), kREALEncodingUnknown);
         Value item = t.Shared(decl::kFindGenericItemM, {Value(), t.Text("svc"), t.Text("acct")});
         ASSERT_FALSE(item.isNil());
         Value cls = t.Method(item, decl::kItemClass);
         EXPECT_EQ(h.StringBytes(cls), "genp");
       }},
      {{"PluginGetStringData"}, "bytes read through StringGetCString and LenB",
       [](MissingHostFunctions &t, Host &h) {
         Value password;
         Value item = t.Shared(decl::kFindGenericPasswordM, {Value(), t.Text("svc"), t.Text("acct"), Arg::ByRef(password)});
         EXPECT_FALSE(item.isNil());
         EXPECT_EQ(h.MemoryBlockBytes(password), "secret");
         EXPECT_GT(h.LookupCount("StringGetCString"), 0);
       }},
      {{"PluginDisposeStringData"}, "the plug-in frees string data itself",
       [](MissingHostFunctions &t, Host &h) {
         Value password;
         Value item = t.Shared(decl::kFindGenericPasswordM, {Value(), t.Text("svc"), t.Text("acct"), Arg::ByRef(password)});
         EXPECT_EQ(h.MemoryBlockBytes(password), "secret");
       }},
      {{"StringGetCString"}, "not needed while the host gives string data",
       [](MissingHostFunctions &t, Host &h) {
         Value password;
         Value item = t.Shared(decl::kFindGenericPasswordM, {Value(), t.Text("svc"), t.Text("acct"), Arg::ByRef(password)});
         EXPECT_EQ(h.MemoryBlockBytes(password), "secret");
         EXPECT_EQ(h.LookupCount("StringGetCString"), 0);
       }},
      {{"PluginGetStringData", "REALLoadGlobalMethod"}, "no way to read bytes: texts are empty",
       [](MissingHostFunctions &t, Host &) { t.ExpectEmptyTexts(); }},
      {{"REALGetStringEncoding"}, "every string counts as one of known encoding",
       [](MissingHostFunctions &t, Host &h) {
         Value password;
         Value item = t.Shared(decl::kFindGenericPasswordM, {Value(), t.Text("svc"), t.Text("acct"), Arg::ByRef(password)});
         EXPECT_EQ(h.MemoryBlockBytes(password), "secret");
       }},
      {{"REALConvertString"}, "an old host cannot convert: texts are empty",
       [](MissingHostFunctions &t, Host &) { t.ExpectEmptyTexts(); }},
      {{"REALFSRefFromFolderItem"}, "folder items go through an FSSpec",
       [](MissingHostFunctions &t, Host &h) {
         Value def = t.Shared(decl::kDefault);
         Value path = t.Method(def, decl::kPath);
         Value file = h.FolderItem(h.StringBytes(path));
         Value opened = t.Shared(decl::kOpenFile, {file});
         EXPECT_EQ(t.LastError(), 0);
         ASSERT_FALSE(opened.isNil());
         EXPECT_EQ(h.StringBytes(t.Method(opened, decl::kPath)), h.StringBytes(path));
       }},
      {{"REALFSRefFromFolderItem", "REALFSSpecFromFolderItem"}, "no path: the framework is asked with none",
       [](MissingHostFunctions &t, Host &h) {
         Value file = h.FolderItem("/tmp");
         EXPECT_TRUE(t.Shared(decl::kOpenFile, {file}).isNil());
         EXPECT_NE(t.LastError(), -1);
         EXPECT_NE(t.LastError(), 0);
       }},
  };

  for (const Scenario &s : scenarios) {
    std::string names;
    for (const auto &n : s.withheld) names += n + " ";
    SCOPED_TRACE("without " + names + "-> " + s.fallback);
    HostOptions options;
    options.withheld = s.withheld;
    if (s.withheld.count("REALConvertString")) options.version = 2011.9;
    StartHost(options);
    s.check(*this, host());
  }
  StartHost(HostOptions());
  DeleteSample("svc");
}

// Names that resolve are asked for once, however often they are used.
TEST_F(MissingHostFunctions, ResolvedNamesAreLookedUpOnce) {
  for (int i = 0; i < 3; ++i) {
    Value keychain = Shared(decl::kDefault);
    ASSERT_FALSE(keychain.isNil());
    Value path = Method(keychain, decl::kPath);
  }
  EXPECT_EQ(host().LookupCount("PluginNewInstance"), 1);
  EXPECT_EQ(host().LookupCount("REALBuildString"), 1);
}

}  // namespace
}  // namespace kc_plugin_test
