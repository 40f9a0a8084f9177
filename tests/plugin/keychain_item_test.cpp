// KeychainItemZNQ driven as a host program drives it: attributes and the
// secret read and written, the item class, persistent
// references (also in a fresh host), deletion and
// what every method reports afterwards. What the plug-in stored is checked
// by reading the item directly through the framework.
#include "keychain_class_fixture.h"

namespace kc_plugin_test {
namespace {

class KeychainItem : public KeychainClassTest {
 protected:
  // A generic password in a fresh keychain of this test.
  Value NewGenericItem(const std::string &service, const std::string &account, const std::string &secret) {
    if (keychain_.isNil()) keychain_ = CreateKeychain("items.keychain", "items");
    Value item = Method(keychain_, decl::kAddGenericBlock,
                        {Text(service), Text(account), host().MemoryBlock(secret)});
    EXPECT_EQ(LastError(), 0);
    EXPECT_FALSE(item.isNil());
    return item;
  }

  std::string Direct(const Value &item, const char (&tag)[5], OSStatus *status) {
    return AttributeBytes(HandleOf<SecKeychainItemRef>(item), Code(tag), status);
  }

  void TearDown() override {
    keychain_.reset();
    KeychainClassTest::TearDown();
  }

  Value keychain_;
};

TEST_F(KeychainItem, NamedAttributesAreStoredAsUTF8AndEmptyOnesReadNil) {
  Value item = NewGenericItem("svc", "ann", "s3cret");
  OSStatus status = 0;

  Value label = Method(item, decl::kLabel);
  EXPECT_EQ(host().StringBytes(label), "svc") << "the keychain labels a new item with its service";
  EXPECT_EQ(host().StringEncoding(label), kEncodingUTF8);
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  for (const char *declaration : {decl::kDescription, decl::kComment}) {
    ASSERT_TRUE(host().SetProperty(item, "Lasterror", Value::Integer(5)).ok);
    EXPECT_TRUE(Method(item, declaration).isNil()) << declaration;
    EXPECT_EQ(Property(item, "Lasterror"), 0) << declaration;
  }

  // Host strings of any encoding are written as their UTF-8 bytes, without a
  // terminator.
  const std::string utf8 = "caf\xC3\xA9 \xE2\x82\xAC";
  AssignMethod(item, decl::kLabel, {}, Text(utf8));
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  EXPECT_EQ(Direct(item, "labl", &status), utf8);
  AssignMethod(item, decl::kDescription, {}, host().String("r\x8Esum\x8E", kEncodingMacRoman));
  EXPECT_EQ(Direct(item, "desc", &status), "r\xC3\xA9sum\xC3\xA9");
  // Longer than any fixed buffer of the conversions.
  const std::string longText = std::string(700, 'x') + "\xE2\x82\xAC";
  AssignMethod(item, decl::kComment, {}, Text(longText));
  EXPECT_EQ(host().StringBytes(Method(item, decl::kComment)), longText);
  AssignMethod(item, decl::kComment, {}, Text("a comment"));
  AssignMethod(item, decl::kAccount, {}, Text("bob"));
  AssignMethod(item, decl::kService, {}, Text("svc2"));
  EXPECT_EQ(Property(item, "Lasterror"), 0);

  const std::vector<std::pair<const char *, std::string>> expected = {
      {decl::kLabel, utf8},       {decl::kDescription, "r\xC3\xA9sum\xC3\xA9"},
      {decl::kComment, "a comment"}, {decl::kAccount, "bob"},
      {decl::kService, "svc2"},
  };
  for (const auto &[declaration, bytes] : expected) {
    Value got = Method(item, declaration);
    EXPECT_EQ(host().StringBytes(got), bytes) << declaration;
    EXPECT_EQ(host().StringEncoding(got), kEncodingUTF8) << declaration;
  }
  // The key attributes really changed in the keychain: the item is found
  // under its new names only.
  EXPECT_FALSE(Method(keychain_, decl::kFindGenericItem, {Text("svc2"), Text("bob")}).isNil());
  EXPECT_TRUE(Method(keychain_, decl::kFindGenericItem, {Text("svc"), Text("ann")}).isNil());

  // An empty or nil text is a zero-length value, which reads back as nil.
  AssignMethod(item, decl::kLabel, {}, Text(""));
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  EXPECT_EQ(Direct(item, "labl", &status), "");
  EXPECT_TRUE(Method(item, decl::kLabel).isNil());
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  AssignMethod(item, decl::kComment, {}, Value());
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  EXPECT_TRUE(Method(item, decl::kComment).isNil());
}

// AttributeText and AttributeData hand back exactly the bytes the keychain
// holds for a four-character code, text or not.
TEST_F(KeychainItem, AttributesByCodeAreTheKeychainsBytes) {
  Value item = NewGenericItem("codes", "ann", "pw");
  AssignMethod(item, decl::kLabel, {}, Text("my label"));
  OSStatus status = 0;

  for (const char *tag : {"labl", "svce", "acct", "cdat", "mdat", "crtr"}) {
    char code[5] = {tag[0], tag[1], tag[2], tag[3], 0};
    const std::string direct = AttributeBytes(HandleOf<SecKeychainItemRef>(item), Code(code), &status);
    ASSERT_EQ(status, 0) << tag;
    ASSERT_FALSE(direct.empty()) << tag;
    Value text = Method(item, decl::kAttributeText, {Text(tag)});
    EXPECT_EQ(Property(item, "Lasterror"), 0) << tag;
    EXPECT_EQ(host().StringBytes(text), direct) << tag;
    EXPECT_EQ(host().StringEncoding(text), kEncodingUTF8) << tag;
    Value data = Method(item, decl::kAttributeData, {Text(tag)});
    EXPECT_EQ(host().MemoryBlockBytes(data), direct) << tag;
  }
  // The class constants are the codes these methods take.
  EXPECT_EQ(host().Constant("KeychainItemZNQ", "kSecCreatorItemAttr"), "\"crtr\"");

  // Binary data, zero bytes included, goes in and out unchanged.
  const std::string binary("\x00\x01\xFE\xFF\x00z", 6);
  AssignMethod(item, decl::kAttributeData, {Text("gena")}, host().MemoryBlock(binary));
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  EXPECT_EQ(Direct(item, "gena", &status), binary);
  EXPECT_EQ(host().MemoryBlockBytes(Method(item, decl::kAttributeData, {Text("gena")})), binary);
  AssignMethod(item, decl::kAttributeData, {Text("gena")}, Value());
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  EXPECT_TRUE(Method(item, decl::kAttributeData, {Text("gena")}).isNil());

  AssignMethod(item, decl::kAttributeText, {Text("icmt")}, Text("via code"));
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  EXPECT_EQ(Direct(item, "icmt", &status), "via code");
  // A longer name is cut to its first four characters...
  EXPECT_EQ(host().StringBytes(Method(item, decl::kAttributeText, {Text("lablx")})), "my label");

  // ...and a shorter one padded with spaces: codes the item does not have
  // get the keychain's refusal and no result.
  for (const char *tag : {"zzzz", "srvr", "lab", ""}) {
    EXPECT_TRUE(Method(item, decl::kAttributeText, {Text(tag)}).isNil()) << tag;
    EXPECT_EQ(Property(item, "Lasterror"), errSecNoSuchAttr) << tag;
    EXPECT_TRUE(Method(item, decl::kAttributeData, {Text(tag)}).isNil()) << tag;
    EXPECT_EQ(Property(item, "Lasterror"), errSecNoSuchAttr) << tag;
    AssignMethod(item, decl::kAttributeText, {Text(tag)}, Text("x"));
    EXPECT_EQ(Property(item, "Lasterror"), errSecNoSuchAttr) << tag;
  }
}

TEST_F(KeychainItem, PasswordIsReadAndWrittenAsBytes) {
  const std::string binary("\x00pass\xFFword\x00", 11);
  Value item = NewGenericItem("secret", "ann", binary);

  Value first = Method(item, decl::kPassword);
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  EXPECT_EQ(host().MemoryBlockBytes(first), binary);
  Value second = Method(item, decl::kPassword);
  EXPECT_NE(first.object(), second.object()) << "each read is a new block";

  AssignMethod(item, decl::kPassword, {}, host().MemoryBlock("n3w"));
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  OSStatus status = 0;
  bool hasData = false;
  EXPECT_EQ(SecretBytes(HandleOf<SecKeychainItemRef>(item), &status, &hasData), "n3w");

  // Nil is no data at all, which leaves the secret as it was.
  AssignMethod(item, decl::kPassword, {}, Value());
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  EXPECT_EQ(host().MemoryBlockBytes(Method(item, decl::kPassword)), "n3w");

  // Locked, with prompts off: attributes still read, the secret does not.
  Method(keychain_, decl::kLock);
  {
    NoUserInteraction quiet;
    EXPECT_TRUE(Method(item, decl::kPassword).isNil());
    EXPECT_EQ(Property(item, "Lasterror"), errSecAuthFailed);
    AssignMethod(item, decl::kPassword, {}, host().MemoryBlock("locked out"));
    EXPECT_NE(Property(item, "Lasterror"), 0);
    EXPECT_EQ(host().StringBytes(Method(item, decl::kLabel)), "secret");
    EXPECT_EQ(Property(item, "Lasterror"), 0);
  }
  Method(keychain_, decl::kUnlockWith, {Text("items")});
  EXPECT_EQ(host().MemoryBlockBytes(Method(item, decl::kPassword)), "n3w");
}

TEST_F(KeychainItem, ItemClassIsItsFourCharacterCodeInASCII) {
  Value generic = NewGenericItem("classes", "ann", "pw");
  Value itemClass = Method(generic, decl::kItemClass);
  EXPECT_EQ(Property(generic, "Lasterror"), 0);
  EXPECT_EQ(host().StringBytes(itemClass), "genp");
  EXPECT_EQ(host().StringEncoding(itemClass), kEncodingASCII);

  Value internet = Method(keychain_, decl::kAddInternetText,
                          {Text("example.org"), Text(""), Text("ann"), Text(""), Value::Integer(443),
                           Text("htps"), Text("dflt"), Text("pw")});
  ASSERT_FALSE(internet.isNil());
  EXPECT_EQ(host().StringBytes(Method(internet, decl::kItemClass)), "inet");
  Method(internet, decl::kDelete);
}

// Internet items carry server, domain and path, and have no service: the
// service property reports the keychain's refusal both ways.
TEST_F(KeychainItem, InternetItemsHaveServerAttributesButNoService) {
  keychain_ = CreateKeychain("items.keychain", "items");
  Value item = Method(keychain_, decl::kAddInternetText,
                      {Text("srv.example"), Text("realm"), Text("ann"), Text("/p"), Value::Integer(8080),
                       Text("http"), Text("dflt"), Text("pw")});
  ASSERT_FALSE(item.isNil());
  EXPECT_EQ(host().StringBytes(Method(item, decl::kLabel)), "srv.example");
  EXPECT_EQ(host().StringBytes(Method(item, decl::kAccount)), "ann");
  const std::vector<std::pair<const char *, std::string>> attributes = {
      {"srvr", "srv.example"}, {"sdmn", "realm"}, {"path", "/p"}};
  for (const auto &[tag, bytes] : attributes) {
    EXPECT_EQ(host().StringBytes(Method(item, decl::kAttributeText, {Text(tag)})), bytes) << tag;
    EXPECT_EQ(Property(item, "Lasterror"), 0) << tag;
  }
  OSStatus status = 0;
  EXPECT_EQ(host().MemoryBlockBytes(Method(item, decl::kAttributeData, {Text("port")})),
            AttributeBytes(HandleOf<SecKeychainItemRef>(item), Code("port"), &status));

  EXPECT_TRUE(Method(item, decl::kService).isNil());
  EXPECT_EQ(Property(item, "Lasterror"), errSecNoSuchAttr);
  AssignMethod(item, decl::kService, {}, Text("svc"));
  EXPECT_EQ(Property(item, "Lasterror"), errSecNoSuchAttr);
  EXPECT_EQ(host().MemoryBlockBytes(Method(item, decl::kPassword)), "pw");
}

// Items from adds, finds and persistent references each own one retain.
TEST_F(KeychainItem, EachItemObjectReleasesItsReferenceExactlyOnce) {
  Value added = NewGenericItem("owned", "ann", "pw");
  Value reference = Method(added, decl::kPersistentReference);
  Value password;
  std::vector<Value> items;
  items.push_back(Method(keychain_, decl::kFindGenericItem, {Text("owned"), Text("ann")}));
  items.push_back(Method(keychain_, decl::kFindGenericPassword, {Text("owned"), Text("ann"), Arg::ByRef(password)}));
  items.push_back(Shared(decl::kFromReference, {reference}));
  items.push_back(std::move(added));
  for (Value &item : items) {
    ASSERT_FALSE(item.isNil());
    CFTypeRef ref = HandleOf<CFTypeRef>(item);
    CFRetain(ref);
    const CFIndex held = CFGetRetainCount(ref);
    item.reset();
    EXPECT_EQ(CFGetRetainCount(ref), held - 1);
    CFRelease(ref);
  }
}

TEST_F(KeychainItem, PersistentReferenceFindsTheSameItemAgain) {
  Value item = NewGenericItem("persist", "ann", "kept");
  Value reference = Method(item, decl::kPersistentReference);
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  ASSERT_FALSE(reference.isNil());

  // The block holds the framework's reference data, byte for byte.
  CFDataRef data = nullptr;
  ASSERT_EQ(SecKeychainItemCreatePersistentReference(HandleOf<SecKeychainItemRef>(item), &data), 0);
  CFHold direct(data);
  EXPECT_EQ(host().MemoryBlockBytes(reference),
            std::string(reinterpret_cast<const char *>(CFDataGetBytePtr(data)), CFDataGetLength(data)));

  Value again = Shared(decl::kFromReference, {reference});
  EXPECT_EQ(LastError(), 0);
  ASSERT_FALSE(again.isNil());
  EXPECT_EQ(host().ClassName(again), "KeychainItemZNQ");
  EXPECT_EQ(Property(again, "Lasterror"), 0);
  AssignMethod(again, decl::kComment, {}, Text("seen twice"));
  EXPECT_EQ(host().StringBytes(Method(item, decl::kComment)), "seen twice");
  EXPECT_EQ(host().MemoryBlockBytes(Method(again, decl::kPassword)), "kept");

  // A second host with its own fresh copy of the plug-in reads it too.
  const std::string bytes = host().MemoryBlockBytes(reference);
  {
    Host other;
    std::string error;
    ASSERT_TRUE(other.Load(KC_PLUGIN_PATH, &error)) << error;
    const size_t baseObjects = other.LiveObjects();
    const size_t baseStrings = other.LiveStrings();
    {
      CallResult found = other.CallShared(kModule, decl::kFromReference, {other.MemoryBlock(bytes)});
      ASSERT_TRUE(found.ok) << found.error;
      ASSERT_FALSE(found.value.isNil());
      CallResult service = other.CallMethod(found.value, decl::kService);
      EXPECT_EQ(other.StringBytes(service.value), "persist");
    }
    EXPECT_EQ(other.LiveObjects(), baseObjects);
    EXPECT_EQ(other.LiveStrings(), baseStrings);
  }
}

// An item object a program makes itself holds no reference: every method
// stops at -1 with an empty result, without asking the framework.
TEST_F(KeychainItem, ObjectWithoutReferenceStopsEveryMethodAtMinusOne) {
  Value item = host().NewInstance("KeychainItemZNQ");
  for (const char *declaration : {decl::kLabel, decl::kPassword, decl::kItemClass, decl::kKeychain,
                                  decl::kPersistentReference}) {
    ASSERT_TRUE(host().SetProperty(item, "Lasterror", Value::Integer(7)).ok);
    EXPECT_TRUE(Method(item, declaration).isNil()) << declaration;
    EXPECT_EQ(Property(item, "Lasterror"), -1) << declaration;
  }
  ASSERT_TRUE(host().SetProperty(item, "Lasterror", Value::Integer(7)).ok);
  AssignMethod(item, decl::kLabel, {}, Text("x"));
  EXPECT_EQ(Property(item, "Lasterror"), -1);
}

// After Delete the object keeps its reference: every later call still goes
// to the framework, and the framework's answer is what the object reports.
TEST_F(KeychainItem, DeletedItemReportsTheFrameworksStatusEverywhere) {
  Value item = NewGenericItem("gone", "ann", "pw");
  Value reference = Method(item, decl::kPersistentReference);
  const RBInteger handle = Property(item, "Handle");
  SecKeychainItemRef ref = HandleOf<SecKeychainItemRef>(item);

  Method(item, decl::kDelete);
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  EXPECT_EQ(Property(item, "Handle"), handle);
  EXPECT_TRUE(Method(keychain_, decl::kFindGenericItem, {Text("gone"), Text("ann")}).isNil());
  EXPECT_EQ(LastError(), errSecItemNotFound);

  OSStatus readStatus = 0;
  AttributeBytes(ref, Code("labl"), &readStatus);
  ASSERT_NE(readStatus, 0);
  bool hasData = false;
  OSStatus secretStatus = 0;
  SecretBytes(ref, &secretStatus, &hasData);
  ASSERT_NE(secretStatus, 0);

  EXPECT_TRUE(Method(item, decl::kLabel).isNil());
  EXPECT_EQ(Property(item, "Lasterror"), readStatus);
  EXPECT_TRUE(Method(item, decl::kAttributeData, {Text("acct")}).isNil());
  EXPECT_EQ(Property(item, "Lasterror"), readStatus);
  EXPECT_TRUE(Method(item, decl::kPassword).isNil());
  EXPECT_EQ(Property(item, "Lasterror"), secretStatus);
  // The class of an item that cannot be read is code 0: four zero bytes.
  Value itemClass = Method(item, decl::kItemClass);
  EXPECT_EQ(host().StringBytes(itemClass), std::string(4, '\0'));
  EXPECT_EQ(Property(item, "Lasterror"), readStatus);

  AssignMethod(item, decl::kLabel, {}, Text("too late"));
  EXPECT_NE(Property(item, "Lasterror"), 0);
  EXPECT_NE(Property(item, "Lasterror"), -1);
  Method(item, decl::kDelete);
  EXPECT_EQ(Property(item, "Lasterror"), SecKeychainItemDelete(ref));

  // Its persistent reference no longer resolves; that is a status, not an
  // exception.
  EXPECT_TRUE(Shared(decl::kFromReference, {reference}).isNil());
  EXPECT_EQ(LastError(), errSecItemNotFound);
  EXPECT_FALSE(host().TakeException().has_value());
}

}  // namespace
}  // namespace kc_plugin_test
