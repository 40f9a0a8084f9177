// Generic and internet passwords added and found through the plug-in, in
// both the module form (keychain as first argument) and the KeychainZNQ form,
// against a real keychain; what reached the keychain is read back directly
// through the framework.
#include <cstring>
#include <deque>

#include "internet_call_recorder.h"
#include "keychain_class_fixture.h"

namespace kc_plugin_test {
namespace {

class PasswordLookup : public KeychainClassTest {
 protected:
  void SetUp() override {
    KeychainClassTest::SetUp();
    keychain_ = CreateKeychain("passwords.keychain", "pw");
  }
  void TearDown() override {
    keychain_.reset();
    held_.clear();
    KeychainClassTest::TearDown();
  }

  SecKeychainRef KeychainRef() { return HandleOf<SecKeychainRef>(keychain_); }

  // Finds an internet password directly; returns the status, fills the secret.
  OSStatus DirectInternet(const std::string &server, UInt16 port, uint32_t protocol, uint32_t auth,
                          std::string *secret, bool *hasData = nullptr) {
    UInt32 length = 0;
    void *data = nullptr;
    SecKeychainItemRef item = nullptr;
    OSStatus status = SecKeychainFindInternetPassword(
        KeychainRef(), static_cast<UInt32>(server.size()), server.data(), 0, nullptr, 0, nullptr, 0,
        nullptr, port, protocol, auth, &length, &data, &item);
    if (hasData) *hasData = data != nullptr;
    if (data) secret->assign(static_cast<const char *>(data), length);
    SecKeychainItemFreeContent(nullptr, data);
    if (item) CFRelease(item);
    return status;
  }

  OSStatus DirectGeneric(const std::string &service, std::string *secret, bool *hasData) {
    UInt32 length = 0;
    void *data = nullptr;
    OSStatus status =
        SecKeychainFindGenericPassword(KeychainRef(), static_cast<UInt32>(service.size()), service.data(), 0,
                                       nullptr, &length, &data, nullptr);
    *hasData = data != nullptr;
    if (data) secret->assign(static_cast<const char *>(data), length);
    SecKeychainItemFreeContent(nullptr, data);
    return status;
  }

  // The arguments naming an internet item with no domain and no path, then
  // any that follow (a password, a by-reference block).
  std::vector<Arg> Inet(const std::string &server, RBInteger port, const std::string &protocol = "http",
                        const std::string &account = "", std::vector<Arg> more = {}) {
    std::vector<Arg> args;
    for (Value v : {Text(server), Text(""), Text(account), Text(""), Value::Integer(port), Text(protocol), Text("dflt")}) {
      held_.push_back(std::move(v));  // an argument refers to its value, which must outlive the call
      args.push_back(held_.back());
    }
    args.insert(args.end(), more.begin(), more.end());
    return args;
  }

  std::string PersistentBytes(const Value &item) {
    return host().MemoryBlockBytes(Method(item, decl::kPersistentReference));
  }

  Value keychain_;
  std::deque<Value> held_;
};

// One function serves both forms: the same item, the same module status,
// and the keychain object's own status untouched.
TEST_F(PasswordLookup, GenericFormsAgreeAndLeaveTheObjectsStatus) {
  ASSERT_TRUE(host().SetProperty(keychain_, "Lasterror", Value::Integer(4321)).ok);

  Value added = Shared(decl::kAddGenericTextM, {keychain_, Text("mail"), Text("ann"), Text("s3cret")});
  EXPECT_EQ(LastError(), 0);
  ASSERT_FALSE(added.isNil());
  EXPECT_EQ(host().ClassName(added), "KeychainItemZNQ");
  EXPECT_EQ(Property(added, "Lasterror"), 0);

  Value byModule, byObject;
  Value fromModule =
      Shared(decl::kFindGenericPasswordM, {keychain_, Text("mail"), Text("ann"), Arg::ByRef(byModule)});
  const RBInteger moduleStatus = LastError();
  Value fromObject = Method(keychain_, decl::kFindGenericPassword, {Text("mail"), Text("ann"), Arg::ByRef(byObject)});
  EXPECT_EQ(LastError(), moduleStatus);
  EXPECT_EQ(moduleStatus, 0);
  ASSERT_FALSE(fromModule.isNil());
  ASSERT_FALSE(fromObject.isNil());
  EXPECT_EQ(PersistentBytes(fromModule), PersistentBytes(added));
  EXPECT_EQ(PersistentBytes(fromObject), PersistentBytes(added));
  EXPECT_EQ(host().MemoryBlockBytes(byModule), "s3cret");
  EXPECT_EQ(host().MemoryBlockBytes(byObject), "s3cret");

  Value itemM = Shared(decl::kFindGenericItemM, {keychain_, Text("mail"), Text("ann")});
  Value itemO = Method(keychain_, decl::kFindGenericItem, {Text("mail"), Text("ann")});
  EXPECT_EQ(LastError(), 0);
  EXPECT_EQ(PersistentBytes(itemM), PersistentBytes(itemO));

  // Empty names match anything; a name that differs in case does not.
  EXPECT_FALSE(Method(keychain_, decl::kFindGenericItem, {Text(""), Value()}).isNil());
  EXPECT_TRUE(Method(keychain_, decl::kFindGenericItem, {Text("Mail"), Text("ann")}).isNil());
  EXPECT_EQ(LastError(), errSecItemNotFound);

  // Duplicates and misses, both forms, land in LastError only.
  for (bool module : {true, false}) {
    Value dup = module ? Shared(decl::kAddGenericBlockM, {keychain_, Text("mail"), Text("ann"), host().MemoryBlock("x")})
                       : Method(keychain_, decl::kAddGenericBlock, {Text("mail"), Text("ann"), host().MemoryBlock("x")});
    EXPECT_TRUE(dup.isNil());
    EXPECT_EQ(LastError(), errSecDuplicateItem);
    Value miss = module ? Shared(decl::kFindGenericItemM, {keychain_, Text("mail"), Text("bob")})
                        : Method(keychain_, decl::kFindGenericItem, {Text("mail"), Text("bob")});
    EXPECT_TRUE(miss.isNil());
    EXPECT_EQ(LastError(), errSecItemNotFound);
  }
  EXPECT_EQ(Property(keychain_, "Lasterror"), 4321);
}

TEST_F(PasswordLookup, InternetFormsAgreeAndStoreTheGivenCodes) {
  ASSERT_TRUE(host().SetProperty(keychain_, "Lasterror", Value::Integer(77)).ok);
  Value added = Method(keychain_, decl::kAddInternetBlock,
                       {Text("example.org"), Text("realm"), Text("ann"), Text("/login"), Value::Integer(8443),
                        Text("htps"), Text("form"), host().MemoryBlock("web pw")});
  EXPECT_EQ(LastError(), 0);
  ASSERT_FALSE(added.isNil());

  // Codes go over most significant byte first, as the strings read.
  std::string secret;
  EXPECT_EQ(DirectInternet("example.org", 8443, kSecProtocolTypeHTTPS, Code("form"), &secret), 0);
  EXPECT_EQ(secret, "web pw");
  OSStatus status = 0;
  for (const char *tag : {"sdmn", "path", "acct", "srvr"}) {
    char code[5] = {tag[0], tag[1], tag[2], tag[3], 0};
    EXPECT_FALSE(AttributeBytes(HandleOf<SecKeychainItemRef>(added), Code(code), &status).empty()) << tag;
  }

  const std::vector<Value> queryValues = {Text("example.org"), Text("realm"), Text("ann"), Text("/login"),
                                         Value::Integer(8443), Text("htps"), Text("form")};
  const std::vector<Arg> query(queryValues.begin(), queryValues.end());
  Value byModule, byObject;
  std::vector<Arg> moduleArgs = {keychain_};
  moduleArgs.insert(moduleArgs.end(), query.begin(), query.end());
  moduleArgs.push_back(Arg::ByRef(byModule));
  std::vector<Arg> objectArgs = query;
  objectArgs.push_back(Arg::ByRef(byObject));
  Value fromModule = Shared(decl::kFindInternetPasswordM, moduleArgs);
  EXPECT_EQ(LastError(), 0);
  Value fromObject = Method(keychain_, decl::kFindInternetPassword, objectArgs);
  EXPECT_EQ(LastError(), 0);
  ASSERT_FALSE(fromModule.isNil());
  ASSERT_FALSE(fromObject.isNil());
  EXPECT_EQ(PersistentBytes(fromModule), PersistentBytes(added));
  EXPECT_EQ(PersistentBytes(fromObject), PersistentBytes(added));
  EXPECT_EQ(host().MemoryBlockBytes(byModule), "web pw");
  EXPECT_EQ(host().MemoryBlockBytes(byObject), "web pw");

  std::vector<Arg> itemArgs = {keychain_};
  itemArgs.insert(itemArgs.end(), query.begin(), query.end());
  EXPECT_FALSE(Shared(decl::kFindInternetItemM, itemArgs).isNil());
  EXPECT_FALSE(Method(keychain_, decl::kFindInternetItem, query).isNil());
  EXPECT_EQ(LastError(), 0);

  // The same key again is a duplicate, in both overloads.
  EXPECT_TRUE(Method(keychain_, decl::kAddInternetText,
                     {Text("example.org"), Text("realm"), Text("ann"), Text("/login"), Value::Integer(8443),
                      Text("htps"), Text("form"), Text("again")})
                  .isNil());
  EXPECT_EQ(LastError(), errSecDuplicateItem);
  // Another protocol is another item, which is not there.
  EXPECT_TRUE(Method(keychain_, decl::kFindInternetItem,
                     {Text("example.org"), Text(""), Text(""), Text(""), Value::Integer(0), Text("http"), Text("")})
                  .isNil());
  EXPECT_EQ(LastError(), errSecItemNotFound);
  EXPECT_EQ(Property(keychain_, "Lasterror"), 77);
}

// Empty texts reach the framework as an empty text or as no text at all,
// depending on the call: the framework reads both as "none", so only the
// recorded arguments can tell them apart.
TEST_F(PasswordLookup, EmptyTextsReachTheFrameworkInTheFormEachCallTakes) {
  auto expectText = [](const RecordedText &t, bool null, UInt32 length, const char *what) {
    EXPECT_EQ(t.null, null) << what;
    EXPECT_EQ(t.length, length) << what;
  };
  ForgetInternetCalls();
  ASSERT_FALSE(Method(keychain_, decl::kAddInternetText,
                      {Text("text.example"), Text(""), Value(), Text(""), Value::Integer(1), Text("http"),
                       Text("dflt"), Text("pw")})
                   .isNil());
  const RecordedInternetCall &call = LastInternetCall();
  EXPECT_EQ(call.function, "add");
  expectText(call.server, false, 12, "text add: server");
  expectText(call.securityDomain, true, 0, "text add: an empty domain is no domain");
  expectText(call.account, false, 0, "text add: a nil account is an empty text");
  expectText(call.path, true, 0, "text add: an empty path is no path");

  ASSERT_FALSE(Shared(decl::kAddInternetBlockM,
                      {keychain_, Text("block.example"), Value(), Text("ann"), Text(""), Value::Integer(1),
                       Text("http"), Text("dflt"), host().MemoryBlock("pw")})
                   .isNil());
  EXPECT_EQ(call.function, "add");
  expectText(call.securityDomain, false, 0, "block add: an empty domain stays an empty text");
  expectText(call.path, true, 0, "block add: an empty path is no path");

  ASSERT_FALSE(Method(keychain_, decl::kAddInternetText,
                      {Text("full.example"), Text("realm"), Text("ann"), Text("/p"), Value::Integer(1),
                       Text("http"), Text("dflt"), Text("pw")})
                   .isNil());
  expectText(call.securityDomain, false, 5, "text add: a domain");
  expectText(call.path, false, 2, "text add: a path");

  Value password;
  EXPECT_FALSE(Method(keychain_, decl::kFindInternetPassword,
                      {Text("text.example"), Text(""), Text(""), Text(""), Value::Integer(1), Text("http"),
                       Text("dflt"), Arg::ByRef(password)})
                   .isNil());
  EXPECT_EQ(call.function, "find");
  expectText(call.securityDomain, false, 0, "find: an empty domain stays an empty text");
  expectText(call.account, false, 0, "find: an empty account stays an empty text");
  expectText(call.path, true, 0, "find: an empty path is no path");
  EXPECT_FALSE(Shared(decl::kFindInternetItemM, {keychain_, Text("full.example"), Value(), Text("ann"),
                                                Text("/p"), Value::Integer(65537), Text("http"), Text("dflt")})
                   .isNil());
  expectText(call.securityDomain, false, 0, "item find: a nil domain is an empty text");
  expectText(call.path, false, 2, "item find: a path");
  EXPECT_EQ(call.port, 1);
}

// The port is cut to its low 16 bits: 65616 is 80 and -1 is 65535.
TEST_F(PasswordLookup, PortsAreCutToSixteenBits) {
  Value eighty = Method(keychain_, decl::kAddInternetText, Inet("wrap.example", 65616, "http", "ann", {Text("p80")}));
  ASSERT_FALSE(eighty.isNil());
  Value top = Method(keychain_, decl::kAddInternetText, Inet("top.example", -1, "http", "ann", {Text("p65535")}));
  ASSERT_FALSE(top.isNil());

  std::string secret;
  EXPECT_EQ(DirectInternet("wrap.example", 80, 0, 0, &secret), 0);
  EXPECT_EQ(secret, "p80");
  EXPECT_EQ(DirectInternet("top.example", 65535, 0, 0, &secret), 0);
  EXPECT_EQ(secret, "p65535");

  // Finds cut the same way.
  for (RBInteger port : {RBInteger(80), RBInteger(65616), RBInteger(65536 * 7 + 80)}) {
    EXPECT_FALSE(Method(keychain_, decl::kFindInternetItem, Inet("wrap.example", port)).isNil()) << port;
  }
  EXPECT_FALSE(Method(keychain_, decl::kFindInternetItem, Inet("top.example", -1)).isNil());
  EXPECT_TRUE(Method(keychain_, decl::kFindInternetItem, Inet("wrap.example", 81)).isNil());
}

// An empty protocol or authentication type is four blanks, not 0 ("any").
TEST_F(PasswordLookup, EmptyCodesAreFourBlanksNotAny) {
  Value item = Method(keychain_, decl::kAddInternetBlock,
                      {Text("blank.example"), Value(), Text("ann"), Value(), Value::Integer(21), Text(""), Value(),
                       host().MemoryBlock("blank")});
  ASSERT_FALSE(item.isNil());
  OSStatus status = 0;
  EXPECT_EQ(AttributeBytes(HandleOf<SecKeychainItemRef>(item), Code("ptcl"), &status), "    ");
  EXPECT_EQ(AttributeBytes(HandleOf<SecKeychainItemRef>(item), Code("atyp"), &status), "    ");
  EXPECT_EQ(host().MemoryBlockBytes(Method(item, decl::kAttributeData, {Text("ptcl")})), "    ");

  std::string secret;
  EXPECT_EQ(DirectInternet("blank.example", 21, Code("    "), Code("    "), &secret), 0);
  // A find with empty codes asks for blanks too, so it misses an item stored
  // with real ones.
  Value other = Method(keychain_, decl::kAddInternetText, Inet("coded.example", 21, "ftp ", "ann", {Text("x")}));
  ASSERT_FALSE(other.isNil());
  EXPECT_TRUE(Method(keychain_, decl::kFindInternetItem,
                     {Text("coded.example"), Text(""), Text(""), Text(""), Value::Integer(21), Text(""), Text("")})
                  .isNil());
  EXPECT_EQ(LastError(), errSecItemNotFound);
  EXPECT_FALSE(Method(keychain_, decl::kFindInternetItem,
                      {Text("blank.example"), Text(""), Text(""), Text(""), Value::Integer(21), Text(""), Value()})
                   .isNil());
  EXPECT_EQ(LastError(), 0);
}

// The variable's old block is given up before the search, and a found
// password is always a new block; no block for a miss or an empty secret.
TEST_F(PasswordLookup, ByReferenceBlocksAreReplacedNeverReused) {
  Value item = Method(keychain_, decl::kAddGenericText, {Text("byref"), Text("ann"), Text("first")});
  ASSERT_FALSE(item.isNil());

  for (bool internet : {false, true}) {
    if (internet) {
      ASSERT_FALSE(Method(keychain_, decl::kAddInternetText, Inet("byref.example", 0, "http", "ann", {Text("first")})).isNil());
    }
    auto find = [&](const std::string &account, Value &password) {
      return internet ? Method(keychain_, decl::kFindInternetPassword,
                               Inet("byref.example", 0, "http", account, {Arg::ByRef(password)}))
                      : Method(keychain_, decl::kFindGenericPassword, {Text("byref"), Text(account), Arg::ByRef(password)});
    };

    Value password = host().MemoryBlock("old");
    Value oldBlock = password;  // a second lock, to watch the first go
    ASSERT_EQ(host().LockCount(oldBlock), 2);
    EXPECT_FALSE(find("ann", password).isNil());
    EXPECT_NE(password.object(), oldBlock.object()) << internet;
    EXPECT_EQ(host().MemoryBlockBytes(password), "first");
    EXPECT_EQ(host().LockCount(oldBlock), 1) << "the variable's lock on the old block is released";
    EXPECT_EQ(host().LockCount(password), 1);

    Value found = password;
    EXPECT_TRUE(find("bob", password).isNil());
    EXPECT_EQ(LastError(), errSecItemNotFound);
    EXPECT_TRUE(password.isNil()) << internet;
    EXPECT_EQ(host().LockCount(found), 1);
  }

  // An empty secret is found with its item, but gives no block.
  Value empty = Method(keychain_, decl::kAddGenericText, {Text("byref"), Text("nobody"), Text("")});
  ASSERT_FALSE(empty.isNil());
  Value password = host().MemoryBlock("old");
  Value hit = Method(keychain_, decl::kFindGenericPassword, {Text("byref"), Text("nobody"), Arg::ByRef(password)});
  EXPECT_FALSE(hit.isNil());
  EXPECT_EQ(LastError(), 0);
  EXPECT_TRUE(password.isNil());
}

// A text password goes over as its UTF-8 bytes (an empty one as empty data);
// a block as its bytes; a nil block as no data at all.
TEST_F(PasswordLookup, PasswordArgumentsReachTheKeychainAsGiven) {
  struct Case {
    const char *service;
    Value password;
    bool block;
    std::string stored;
    bool hasData;
  };
  const std::string binary("\x00\xFFk\x00", 4);
  std::vector<Case> cases;
  cases.push_back({"roman", host().String("\x8E\x8A", kEncodingMacRoman), false, "\xC3\xA9\xC3\xA4", true});
  cases.push_back({"emptytext", Text(""), false, "", true});
  cases.push_back({"niltext", Value(), false, "", true});
  cases.push_back({"binary", host().MemoryBlock(binary), true, binary, true});
  cases.push_back({"nilblock", Value(), true, "", false});
  for (const Case &c : cases) {
    Value item = Shared(c.block ? decl::kAddGenericBlockM : decl::kAddGenericTextM,
                        {keychain_, Text(c.service), Text("ann"), c.password});
    EXPECT_EQ(LastError(), 0) << c.service;
    ASSERT_FALSE(item.isNil()) << c.service;
    std::string secret;
    bool hasData = false;
    EXPECT_EQ(DirectGeneric(c.service, &secret, &hasData), 0) << c.service;
    EXPECT_EQ(secret, c.stored) << c.service;
    EXPECT_EQ(hasData, c.hasData) << c.service;
  }

  // The same for internet passwords.
  Value nilBlock = Method(keychain_, decl::kAddInternetBlock, Inet("nil.example", 1, "http", "ann", {Value()}));
  ASSERT_FALSE(nilBlock.isNil());
  Value text = Method(keychain_, decl::kAddInternetText, Inet("text.example", 1, "http", "ann", {Text("\xE2\x82\xAC")}));
  ASSERT_FALSE(text.isNil());
  std::string secret;
  bool hasData = true;
  EXPECT_EQ(DirectInternet("nil.example", 1, 0, 0, &secret, &hasData), 0);
  EXPECT_FALSE(hasData);
  EXPECT_EQ(DirectInternet("text.example", 1, 0, 0, &secret, &hasData), 0);
  EXPECT_EQ(secret, "\xE2\x82\xAC");
}

// The finds without a password never ask for the secret, so they work on a
// locked keychain with prompts off; the finds with one are refused there.
TEST_F(PasswordLookup, ItemFindsDoNotReadTheSecret) {
  ASSERT_FALSE(Method(keychain_, decl::kAddGenericText, {Text("vault"), Text("ann"), Text("pw")}).isNil());
  ASSERT_FALSE(Method(keychain_, decl::kAddInternetText, Inet("vault.example", 0, "http", "ann", {Text("pw")})).isNil());
  Method(keychain_, decl::kLock);
  NoUserInteraction quiet;

  EXPECT_FALSE(Method(keychain_, decl::kFindGenericItem, {Text("vault"), Text("ann")}).isNil());
  EXPECT_EQ(LastError(), 0);
  EXPECT_FALSE(Method(keychain_, decl::kFindInternetItem, Inet("vault.example", 0)).isNil());
  EXPECT_EQ(LastError(), 0);

  Value password = host().MemoryBlock("old");
  EXPECT_TRUE(Method(keychain_, decl::kFindGenericPassword, {Text("vault"), Text("ann"), Arg::ByRef(password)}).isNil());
  EXPECT_EQ(LastError(), errSecAuthFailed);
  EXPECT_TRUE(password.isNil());
  password = host().MemoryBlock("old");
  EXPECT_TRUE(Method(keychain_, decl::kFindInternetPassword, Inet("vault.example", 0, "http", "", {Arg::ByRef(password)}))
                  .isNil());
  EXPECT_EQ(LastError(), errSecAuthFailed);
  EXPECT_TRUE(password.isNil());
}

// A nil keychain, or a KeychainZNQ holding no reference, means the default:
// finds search the default search list, adds go to the default keychain.
TEST_F(PasswordLookup, NilKeychainMeansTheDefault) {
  ASSERT_FALSE(Method(keychain_, decl::kAddGenericText, {Text("only here"), Text("ann"), Text("pw")}).isNil());
  EXPECT_TRUE(Shared(decl::kFindGenericItemM, {Value(), Text("only here"), Text("ann")}).isNil())
      << "a keychain outside the search list is not searched";
  EXPECT_EQ(LastError(), errSecItemNotFound);

  Value empty = host().NewInstance("KeychainZNQ");
  const std::vector<std::pair<const char *, Value>> keychains = {{"nil", Value()}, {"no reference", empty}};
  for (const auto &[what, keychain] : keychains) {
    const std::string service = std::string("default ") + what;
    Value item = Shared(decl::kAddGenericTextM, {keychain, Text(service), Text("ann"), Text("pw")});
    EXPECT_EQ(LastError(), 0) << what;
    ASSERT_FALSE(item.isNil()) << what;
    Value home = Method(item, decl::kKeychain);
    EXPECT_EQ(host().StringBytes(Method(home, decl::kPath)), home_.userDomainDir() + "/login.keychain-db") << what;

    Value password;
    EXPECT_FALSE(Shared(decl::kFindGenericPasswordM, {keychain, Text(service), Text("ann"), Arg::ByRef(password)}).isNil())
        << what;
    EXPECT_EQ(LastError(), 0) << what;
    EXPECT_EQ(host().MemoryBlockBytes(password), "pw") << what;
    EXPECT_TRUE(Method(keychain_, decl::kFindGenericItem, {Text(service), Text("ann")}).isNil()) << what;

    Value web = Shared(decl::kAddInternetTextM, {keychain, Text(service + ".example"), Text(""), Text("ann"), Text(""),
                                                 Value::Integer(0), Text("http"), Text("dflt"), Text("w")});
    EXPECT_EQ(LastError(), 0) << what;
    EXPECT_FALSE(Shared(decl::kFindInternetItemM, {keychain, Text(service + ".example"), Text(""), Text(""), Text(""),
                                                   Value::Integer(0), Text("http"), Text("dflt")})
                     .isNil())
        << what;
  }
  EXPECT_EQ(Property(empty, "Lasterror"), 0) << "the argument's own status is not touched";
}

// A host that cannot make objects or read blocks still has every operation
// reach the keychain: adds store the item, password blocks read as empty,
// and a block that cannot be made is an exception while the item stays found.
TEST_F(PasswordLookup, OperationsReachTheKeychainWhenTheHostLacksHelpers) {
  const std::string path = KeychainPath("passwords.keychain");
  auto restart = [&](const char *withheld) {
    keychain_.reset();
    HostOptions options;
    options.withheld = {withheld};
    StartHost(options);
  };
  auto directDefault = [](const char *service, std::string *secret) {
    UInt32 length = 0;
    void *data = nullptr;
    OSStatus status = SecKeychainFindGenericPassword(nullptr, static_cast<UInt32>(strlen(service)), service, 0,
                                                     nullptr, &length, &data, nullptr);
    if (data) secret->assign(static_cast<const char *>(data), length);
    SecKeychainItemFreeContent(nullptr, data);
    return status;
  };

  // No objects: the add happens, only its wrapper is missing.
  restart("PluginNewInstance");
  EXPECT_TRUE(Shared(decl::kAddGenericTextM, {Value(), Text("unwrapped"), Text("ann"), Text("pw")}).isNil());
  EXPECT_EQ(LastError(), 0);
  std::string secret;
  EXPECT_EQ(directDefault("unwrapped", &secret), 0);
  EXPECT_EQ(secret, "pw");
  EXPECT_TRUE(Shared(decl::kAddGenericTextM, {Value(), Text("unwrapped"), Text("ann"), Text("pw")}).isNil());
  EXPECT_EQ(LastError(), errSecDuplicateItem);

  // No block pointer: no data at all. No block size: empty data.
  const std::vector<std::pair<const char *, bool>> blockCases = {{"memoryBlockGetPtr", false},
                                                                 {"memoryBlockGetSize", true}};
  for (const auto &[withheld, hasData] : blockCases) {
    restart(withheld);
    keychain_ = Shared(decl::kOpenPath, {Text(path)});
    ASSERT_FALSE(keychain_.isNil()) << withheld;
    Value item = Method(keychain_, decl::kAddGenericBlock, {Text(withheld), Text("ann"), host().MemoryBlock("abc")});
    EXPECT_EQ(LastError(), 0) << withheld;
    ASSERT_FALSE(item.isNil()) << withheld;
    bool stored = !hasData;
    secret = "unchanged";
    EXPECT_EQ(DirectGeneric(withheld, &secret, &stored), 0) << withheld;
    EXPECT_EQ(stored, hasData) << withheld;
    EXPECT_EQ(secret, hasData ? "" : "unchanged") << withheld;
  }

  // No new blocks: the found password raises, the item is still returned.
  restart("newMemoryBlock");
  keychain_ = Shared(decl::kOpenPath, {Text(path)});
  ASSERT_FALSE(Method(keychain_, decl::kAddGenericText, {Text("no blocks"), Text("ann"), Text("abc")}).isNil());
  Value password = host().MemoryBlock("old");
  Value item = Method(keychain_, decl::kFindGenericPassword, {Text("no blocks"), Text("ann"), Arg::ByRef(password)});
  std::optional<plugin_host::ExceptionInfo> raised = host().TakeException();
  EXPECT_FALSE(item.isNil());
  EXPECT_EQ(LastError(), 0);
  EXPECT_TRUE(password.isNil());
  ASSERT_TRUE(raised.has_value());
  EXPECT_EQ(raised->className, "OutOfMemoryException");
  EXPECT_EQ(raised->message, "Failed to allocate a memoryblock with 3 bytes in size.");
}

// None of the eight operations stops before the framework: with nil for
// every argument each still ends with the framework's status.
TEST_F(PasswordLookup, EveryOperationReachesTheFramework) {
  Value password;
  const Value nil;
  const Value zero = Value::Integer(0);
  const std::vector<std::pair<const char *, std::vector<Arg>>> calls = {
      {decl::kAddGenericTextM, {nil, nil, nil, nil}},
      {decl::kAddGenericBlockM, {nil, nil, nil, nil}},
      {decl::kFindGenericItemM, {nil, nil, nil}},
      {decl::kFindGenericPasswordM, {nil, nil, nil, Arg::ByRef(password)}},
      {decl::kAddInternetTextM, {nil, nil, nil, nil, nil, zero, nil, nil, nil}},
      {decl::kAddInternetBlockM, {nil, nil, nil, nil, nil, zero, nil, nil, nil}},
      {decl::kFindInternetItemM, {nil, nil, nil, nil, nil, zero, nil, nil}},
      {decl::kFindInternetPasswordM, {nil, nil, nil, nil, nil, zero, nil, nil, Arg::ByRef(password)}},
  };
  for (const auto &[declaration, args] : calls) {
    Value result = Shared(declaration, args);
    EXPECT_NE(LastError(), -1) << declaration;
    EXPECT_FALSE(host().TakeException().has_value()) << declaration;
  }
  // The nil adds stored one nameless item of each class, so a second one
  // is a duplicate.
  EXPECT_TRUE(Shared(decl::kAddGenericTextM, {Value(), Value(), Value(), Value()}).isNil());
  EXPECT_EQ(LastError(), errSecDuplicateItem);
}

}  // namespace
}  // namespace kc_plugin_test
