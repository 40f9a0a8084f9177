// Bytes, files and codes between the host and the keychain: memory blocks in
// and out (by-reference blocks replaced, empty ones nil), persistent
// references, folder items as POSIX paths, and attribute names as
// four-character codes.
#include <sys/stat.h>

#include "plugin_fixture.h"

namespace kc_plugin_test {
namespace {

constexpr const char *kAddGenericM =
    "AddGenericPassword(serviceName as string, accountName as string, password as memoryblock) as "
    "KeychainItemZNQ";
constexpr const char *kFindGeneric =
    "FindGenericPassword(serviceName as string, accountName as string, byref password as "
    "memoryblock) as KeychainItemZNQ";
constexpr const char *kFromReference =
    "ItemFromPersistentReference(data as memoryblock) as KeychainItemZNQ";
constexpr const char *kOpenFile = "Open(file as folderitem) as KeychainZNQ";

class DataConversion : public PluginTest {};

TEST_F(DataConversion, PasswordBlocksAreNewOnEveryFindAndNilWhenEmpty) {
  Value keychain = Shared("Default as KeychainZNQ");
  const std::string binary("\x00\x01\xFF secret", 10);
  Value item = Method(keychain, kAddGenericM, {Text("blocks"), Text("acct"), host().MemoryBlock(binary)});
  ASSERT_FALSE(item.isNil());

  Value password = host().MemoryBlock("old");
  const REALobject old = password.object();
  Value found = Method(keychain, kFindGeneric, {Text("blocks"), Text("acct"), Arg::ByRef(password)});
  ASSERT_FALSE(found.isNil());
  EXPECT_NE(password.object(), old) << "the old block is replaced, not reused";
  EXPECT_EQ(host().MemoryBlockBytes(password), binary);

  // A failed search leaves the variable nil.
  Method(keychain, kFindGeneric, {Text("blocks"), Text("nobody"), Arg::ByRef(password)});
  EXPECT_EQ(LastError(), -25300);
  EXPECT_TRUE(password.isNil());

  // A nil block leaves the secret as it is (no data is no change)...
  AssignMethod(item, "Password as memoryblock", {}, Value());
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  EXPECT_EQ(host().MemoryBlockBytes(Method(item, "Password as memoryblock")), binary);

  // ...and an empty password is found, but gives no block.
  Value empty = Method(keychain,
                       "AddGenericPassword(serviceName as string, accountName as string, password as "
                       "string) as KeychainItemZNQ",
                       {Text("blocks-empty"), Text("acct"), Text("")});
  ASSERT_FALSE(empty.isNil());
  password = host().MemoryBlock("old");
  found = Method(keychain, kFindGeneric, {Text("blocks-empty"), Text("acct"), Arg::ByRef(password)});
  EXPECT_FALSE(found.isNil());
  EXPECT_EQ(LastError(), 0);
  EXPECT_TRUE(password.isNil());
  Method(empty, "Delete");

  AssignMethod(item, "Password as memoryblock", {}, host().MemoryBlock("new"));
  EXPECT_EQ(host().MemoryBlockBytes(Method(item, "Password as memoryblock")), "new");
  Method(item, "Delete");
}

TEST_F(DataConversion, PersistentReferencesRoundTripAndEmptyDataReachesTheFramework) {
  Value keychain = Shared("Default as KeychainZNQ");
  Value item = Method(keychain, kAddGenericM, {Text("persist"), Text("acct"), host().MemoryBlock("pw")});
  ASSERT_FALSE(item.isNil());
  Value reference = Method(item, "PersistentReference as Memoryblock");
  ASSERT_FALSE(reference.isNil());
  EXPECT_EQ(Property(item, "Lasterror"), 0);

  Value again = Shared(kFromReference, {reference});
  EXPECT_EQ(LastError(), 0);
  ASSERT_FALSE(again.isNil());
  EXPECT_NE(again.object(), item.object());
  EXPECT_EQ(host().StringBytes(Method(again, "Service as string")), "persist");

  // An empty block is empty data, not a missing argument: the framework
  // answers, so the status is its own.
  Value none = Shared(kFromReference, {host().MemoryBlock("")});
  EXPECT_TRUE(none.isNil());
  EXPECT_NE(LastError(), -1);
  EXPECT_NE(LastError(), 0);
  Method(item, "Delete");
}

TEST_F(DataConversion, FolderItemsOpenTheKeychainAtTheirDecomposedPath) {
  Value byPath = NewKeychain("files.keychain");
  Value path = Method(byPath, "Path as string");
  ASSERT_FALSE(path.isNil());

  // An existing file.
  Value opened = Shared(kOpenFile, {host().FolderItem(host().StringBytes(path))});
  EXPECT_EQ(LastError(), 0);
  ASSERT_FALSE(opened.isNil());
  EXPECT_EQ(host().StringBytes(Method(opened, "Path as string")), host().StringBytes(path));
  EXPECT_EQ(host().StringBytes(Method(opened, "Name as string")), "files");

  // A file that does not exist yet, named with a composed U+00E9: the path
  // handed to the framework carries it decomposed (e, U+0301).
  const std::string composed = home_.root() + "/caf\xC3\xA9.keychain";
  Value missing = Shared(kOpenFile, {host().FolderItem(composed)});
  EXPECT_EQ(LastError(), 0);
  ASSERT_FALSE(missing.isNil());
  EXPECT_EQ(host().StringBytes(Method(missing, "Path as string")),
            home_.root() + "/cafe\xCC\x81.keychain");

  EXPECT_TRUE(Shared(kOpenFile, {Value()}).isNil());
  EXPECT_EQ(LastError(), -1);
}

// Attribute names become four-character codes: longer names are cut to four
// characters, shorter ones padded with spaces.
TEST_F(DataConversion, AttributeNamesAreFourCharacterCodes) {
  Value keychain = Shared("Default as KeychainZNQ");
  Value item = Method(keychain, kAddGenericM, {Text("codes"), Text("acct"), host().MemoryBlock("pw")});
  ASSERT_FALSE(item.isNil());
  AssignMethod(item, "Label as string", {}, Text("my label"));

  EXPECT_EQ(host().StringBytes(Method(item, "AttributeText(attributeName as string) as string", {Text("labl")})),
            "my label");
  EXPECT_EQ(host().StringBytes(Method(item, "AttributeText(attributeName as string) as string", {Text("lablx")})),
            "my label");
  EXPECT_EQ(host().MemoryBlockBytes(
                Method(item, "AttributeData(attributeName as string) as memoryblock", {Text("acct")})),
            "acct");
  // "lab" is "lab " and "" is four spaces: attributes no item has.
  for (const char *name : {"lab", ""}) {
    EXPECT_TRUE(Method(item, "AttributeText(attributeName as string) as string", {Text(name)}).isNil());
    EXPECT_NE(Property(item, "Lasterror"), 0) << name;
    EXPECT_NE(Property(item, "Lasterror"), -1) << name;
  }

  AssignMethod(item, "AttributeText(attributeName as string) as string", {Text("icmt")}, Text("via code"));
  EXPECT_EQ(host().StringBytes(Method(item, "Comment as string")), "via code");
  AssignMethod(item, "AttributeData(attributeName as string) as memoryblock", {Text("desc")},
               host().MemoryBlock("raw"));
  EXPECT_EQ(host().StringBytes(Method(item, "Description as string")), "raw");
  Method(item, "Delete");
}

}  // namespace
}  // namespace kc_plugin_test
