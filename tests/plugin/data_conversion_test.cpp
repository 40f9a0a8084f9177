// Bytes, files and codes between the host and the keychain: memory blocks in
// and out (by-reference blocks replaced, empty ones nil), persistent
// references, folder items as POSIX paths, and attribute names as
// four-character codes.
#include <sys/stat.h>

#include "plugin_fixture.h"

namespace kc_plugin_test {
namespace {


class DataConversion : public PluginTest {};

TEST_F(DataConversion, PasswordBlocksAreNewOnEveryFindAndNilWhenEmpty) {
  Value keychain = Shared(decl::kDefault);
  const std::string binary("\x00\x01\xFF secret", 10);
  Value item = Method(keychain, decl::kAddGenericBlock, {Text("blocks"), Text("acct"), host().MemoryBlock(binary)});
  ASSERT_FALSE(item.isNil());

  Value password = host().MemoryBlock("old");
  const REALobject old = password.object();
  Value found = Method(keychain, decl::kFindGenericPassword, {Text("blocks"), Text("acct"), Arg::ByRef(password)});
  ASSERT_FALSE(found.isNil());
  EXPECT_NE(password.object(), old) << "the old block is replaced, not reused";
  EXPECT_EQ(host().MemoryBlockBytes(password), binary);

  // A failed search leaves the variable nil.
  Method(keychain, decl::kFindGenericPassword, {Text("blocks"), Text("nobody"), Arg::ByRef(password)});
  EXPECT_EQ(LastError(), -25300);
  EXPECT_TRUE(password.isNil());

  // A nil block leaves the secret as it is (no data is no change)...
  AssignMethod(item, decl::kPassword, {}, Value());
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  EXPECT_EQ(host().MemoryBlockBytes(Method(item, decl::kPassword)), binary);

  // ...and an empty password is found, but gives no block.
  Value empty = Method(keychain,
                       decl::kAddGenericText,
                       {Text("blocks-empty"), Text("acct"), Text("")});
  ASSERT_FALSE(empty.isNil());
  password = host().MemoryBlock("old");
  found = Method(keychain, decl::kFindGenericPassword, {Text("blocks-empty"), Text("acct"), Arg::ByRef(password)});
  EXPECT_FALSE(found.isNil());
  EXPECT_EQ(LastError(), 0);
  EXPECT_TRUE(password.isNil());
  Method(empty, decl::kDelete);

  AssignMethod(item, decl::kPassword, {}, host().MemoryBlock("new"));
  EXPECT_EQ(host().MemoryBlockBytes(Method(item, decl::kPassword)), "new");
  Method(item, decl::kDelete);
}

TEST_F(DataConversion, PersistentReferencesRoundTripAndEmptyDataReachesTheFramework) {
  Value keychain = Shared(decl::kDefault);
  Value item = Method(keychain, decl::kAddGenericBlock, {Text("persist"), Text("acct"), host().MemoryBlock("pw")});
  ASSERT_FALSE(item.isNil());
  Value reference = Method(item, decl::kPersistentReference);
  ASSERT_FALSE(reference.isNil());
  EXPECT_EQ(Property(item, "Lasterror"), 0);

  Value again = Shared(decl::kFromReference, {reference});
  EXPECT_EQ(LastError(), 0);
  ASSERT_FALSE(again.isNil());
  EXPECT_NE(again.object(), item.object());
  EXPECT_EQ(host().StringBytes(Method(again, decl::kService)), "persist");

  // An empty block is empty data, not a missing argument: the framework
  // answers, so the status is its own.
  Value none = Shared(decl::kFromReference, {host().MemoryBlock("")});
  EXPECT_TRUE(none.isNil());
  EXPECT_NE(LastError(), -1);
  EXPECT_NE(LastError(), 0);
  Method(item, decl::kDelete);
}

TEST_F(DataConversion, FolderItemsOpenTheKeychainAtTheirDecomposedPath) {
  Value byPath = NewKeychain("files.keychain");
  Value path = Method(byPath, decl::kPath);
  ASSERT_FALSE(path.isNil());

  // An existing file.
  Value opened = Shared(decl::kOpenFile, {host().FolderItem(host().StringBytes(path))});
  EXPECT_EQ(LastError(), 0);
  ASSERT_FALSE(opened.isNil());
  EXPECT_EQ(host().StringBytes(Method(opened, decl::kPath)), host().StringBytes(path));
  EXPECT_EQ(host().StringBytes(Method(opened, decl::kName)), "files");

  // A file that does not exist yet, named with a composed U+00E9: the path
  // handed to the framework carries it decomposed (e, U+0301).
  const std::string composed = home_.root() + "/caf\xC3\xA9.keychain";
  Value missing = Shared(decl::kOpenFile, {host().FolderItem(composed)});
  EXPECT_EQ(LastError(), 0);
  ASSERT_FALSE(missing.isNil());
  EXPECT_EQ(host().StringBytes(Method(missing, decl::kPath)),
            home_.root() + "/cafe\xCC\x81.keychain");

  EXPECT_TRUE(Shared(decl::kOpenFile, {Value()}).isNil());
  EXPECT_EQ(LastError(), -1);
}

// Attribute names become four-character codes: longer names are cut to four
// characters, shorter ones padded with spaces.
TEST_F(DataConversion, AttributeNamesAreFourCharacterCodes) {
  Value keychain = Shared(decl::kDefault);
  Value item = Method(keychain, decl::kAddGenericBlock, {Text("codes"), Text("acct"), host().MemoryBlock("pw")});
  ASSERT_FALSE(item.isNil());
  AssignMethod(item, decl::kLabel, {}, Text("my label"));

  EXPECT_EQ(host().StringBytes(Method(item, decl::kAttributeText, {Text("labl")})),
            "my label");
  EXPECT_EQ(host().StringBytes(Method(item, decl::kAttributeText, {Text("lablx")})),
            "my label");
  EXPECT_EQ(host().MemoryBlockBytes(
                Method(item, decl::kAttributeData, {Text("acct")})),
            "acct");
  // "lab" is "lab " and "" is four spaces: attributes no item has.
  for (const char *name : {"lab", ""}) {
    EXPECT_TRUE(Method(item, decl::kAttributeText, {Text(name)}).isNil());
    EXPECT_NE(Property(item, "Lasterror"), 0) << name;
    EXPECT_NE(Property(item, "Lasterror"), -1) << name;
  }

  AssignMethod(item, decl::kAttributeText, {Text("icmt")}, Text("via code"));
  EXPECT_EQ(host().StringBytes(Method(item, decl::kComment)), "via code");
  AssignMethod(item, decl::kAttributeData, {Text("desc")},
               host().MemoryBlock("raw"));
  EXPECT_EQ(host().StringBytes(Method(item, decl::kDescription)), "raw");
  Method(item, decl::kDelete);
}

}  // namespace
}  // namespace kc_plugin_test
