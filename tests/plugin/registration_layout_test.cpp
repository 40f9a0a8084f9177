// The module and class records as a host reads them, on every host
// generation: the layout version chosen from the host version, the short
// form older hosts get (converted words first, stored zeros after them), the
// rounded instance size, and every declaration, property and constant.
#include <cmath>
#include <optional>

#include "plugin_fixture.h"

namespace kc_plugin_test {
namespace {

struct ExpectedMethod {
  const char *declaration;
  bool hasSetter;
};

const std::vector<ExpectedMethod> kModuleMethods = {
      {"FindInternetPassword(keychain as KeychainZNQ, serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, byref password as memoryblock) as KeychainItemZNQ", false},
      {"FindGenericPassword(keychain as KeychainZNQ, serviceName as string, accountName as string, byref password as memoryblock) as KeychainItemZNQ", false},
      {"FindInternetItem(keychain as KeychainZNQ, serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string) as KeychainItemZNQ", false},
      {"FindGenericItem(keychain as KeychainZNQ, serviceName as string, accountName as string) as KeychainItemZNQ", false},
      {"AddGenericPassword(keychain as KeychainZNQ, serviceName as string, accountName as string, password as memoryblock) as KeychainItemZNQ", false},
      {"AddInternetPassword(keychain as KeychainZNQ, serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, password as memoryblock) as KeychainItemZNQ", false},
      {"AddGenericPassword(keychain as KeychainZNQ, serviceName as string, accountName as string, password as string) as KeychainItemZNQ", false},
      {"AddInternetPassword(keychain as KeychainZNQ, serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, password as string) as KeychainItemZNQ", false},
      {"ErrorMessageString(error as integer) as string", false},
      {"ItemFromPersistentReference(data as memoryblock) as KeychainItemZNQ", false},
      {"Open(file as folderitem) as KeychainZNQ", false},
      {"Open(path as string) as KeychainZNQ", false},
      {"Default as KeychainZNQ", false},
      {"Version as integer", false},
};
const std::vector<ExpectedMethod> kKeychainMethods = {
      {"IsUnlocked as boolean", false},
      {"FindInternetPassword(serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, byref password as memoryblock) as KeychainItemZNQ", false},
      {"FindGenericPassword(serviceName as string, accountName as string, byref password as memoryblock) as KeychainItemZNQ", false},
      {"FindInternetItem(serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string) as KeychainItemZNQ", false},
      {"FindGenericItem(serviceName as string, accountName as string) as KeychainItemZNQ", false},
      {"AddGenericPassword(serviceName as string, accountName as string, password as memoryblock) as KeychainItemZNQ", false},
      {"AddInternetPassword(serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, password as memoryblock) as KeychainItemZNQ", false},
      {"AddGenericPassword(serviceName as string, accountName as string, password as string) as KeychainItemZNQ", false},
      {"AddInternetPassword(serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, password as string) as KeychainItemZNQ", false},
      {"Path as string", false},
      {"Name as string", false},
      {"Status as integer", false},
      {"Unlock(password as string)", false},
      {"Unlock", false},
      {"Delete", false},
      {"Lock", false},
      {"SetDefault", false},
      {"Settings as KeychainSettingsZNQ", true},
};
const std::vector<ExpectedMethod> kItemMethods = {
      {"Delete", false},
      {"Password as memoryblock", true},
      {"AttributeData(attributeName as string) as memoryblock", true},
      {"AttributeText(attributeName as string) as string", true},
      {"Label as string", true},
      {"Description as string", true},
      {"Account as string", true},
      {"Comment as string", true},
      {"Service as string", true},
      {"ItemClass as string", false},
      {"Keychain as KeychainZNQ", false},
      {"PersistentReference as Memoryblock", false},
};
const std::vector<std::string> kModuleConstants = {
      "ErrorNone = 0",
      "ErrorInvalidParameter = -50",
      "ErrorFailedToAllocated = -108",
      "ErrorNotAvailable = -25291",
      "ErrorAuthorizationFailed = -25293",
      "ErrorDuplicatedItem = -25299",
      "ErrorNotFound = -25300",
      "ErrorInteractionNotAllowed = -25308",
      "ErrorFailedToDecode = -26275",
      "kSecPreferencesDomainUser = 0",
      "kSecPreferencesDomainSystem = 1",
      "kSecPreferencesDomainCommon = 2",
      "kSecPreferencesDomainDynamic = 3",
      "kSecInternetPasswordItemClass = \"inet\"",
      "kSecGenericPasswordItemClass = \"genp\"",
      "kSecAppleSharePasswordItemClass = \"ashp\"",
};
const std::vector<std::string> kKeychainConstants = {
      "StatusUnlocked = 1",
      "StatusReadable = 2",
      "StatusWritable = 4",
};
const std::vector<std::string> kItemConstants = {
      "kSecCreationDateItemAttr = \"cdat\"",
      "kSecModDateItemAttr = \"mdat\"",
      "kSecDescriptionItemAttr = \"desc\"",
      "kSecCommentItemAttr = \"icmt\"",
      "kSecCreatorItemAttr = \"crtr\"",
      "kSecTypeItemAttr = \"type\"",
      "kSecScriptCodeItemAttr = \"scrp\"",
      "kSecLabelItemAttr = \"labl\"",
      "kSecInvisibleItemAttr = \"invi\"",
      "kSecNegativeItemAttr = \"nega\"",
      "kSecCustomIconItemAttr = \"cusi\"",
      "kSecAccountItemAttr = \"acct\"",
      "kSecServiceItemAttr = \"svce\"",
      "kSecGenericItemAttr = \"gena\"",
      "kSecSecurityDomainItemAttr = \"sdmn\"",
      "kSecServerItemAttr = \"srvr\"",
      "kSecAuthenticationTypeItemAttr = \"atyp\"",
      "kSecPortItemAttr = \"port\"",
      "kSecPathItemAttr = \"path\"",
      "kSecVolumeItemAttr = \"vlme\"",
      "kSecAddressItemAttr = \"addr\"",
      "kSecSignatureItemAttr = \"ssig\"",
      "kSecProtocolItemAttr = \"ptcl\"",
      "kSecCertificateType = \"ctyp\"",
      "kSecCertificateEncoding = \"cenc\"",
      "kSecCrlType = \"crtp\"",
      "kSecCrlEncoding = \"crnc\"",
      "kSecAlias = \"alis\"",
};

constexpr const char *kClasses[] = {"KeychainZNQ", "KeychainItemZNQ", "KeychainSettingsZNQ",
                                    "KeychainSearchZNQ"};

// Five words of instance data, registered rounded up to a multiple of 16.
constexpr size_t kRegisteredDataSize = (5 * sizeof(void *) + 15) / 16 * 16;

struct Generation {
  std::optional<double> version;
  int layout;
};
const Generation kGenerations[] = {
    {std::nullopt, 9}, {2011.9, 9},  {2012.0, 10},  {2012.9, 10}, {2013.0, 11},
    {2013.02, 11},     {2013.03, 12}, {2013.9, 12}, {2014.0, 12},
};

std::string Describe(const Generation &g) {
  return g.version ? "host " + std::to_string(*g.version) : "host without a version";
}

void ExpectMethods(const plugin_host::DefinitionInfo &def, const std::vector<ExpectedMethod> &want) {
  ASSERT_EQ(def.methods.size(), want.size()) << def.name;
  for (size_t i = 0; i < want.size(); ++i) {
    EXPECT_EQ(def.methods[i].declaration, want[i].declaration) << def.name << " method " << i;
    EXPECT_EQ(def.methods[i].hasSetter, want[i].hasSetter) << want[i].declaration;
    EXPECT_EQ(def.methods[i].flags, 4u) << want[i].declaration;
  }
}

const RBWord *Words(RBWord pointer) { return reinterpret_cast<const RBWord *>(pointer); }
std::string TextAt(RBWord pointer) { return reinterpret_cast<const char *>(pointer); }

class RegistrationTest : public PluginTest {};

TEST_F(RegistrationTest, LayoutVersionFollowsHostVersionAndRecordsReadAlikeOnEveryGeneration) {
  for (const Generation &g : kGenerations) {
    SCOPED_TRACE(Describe(g));
    HostOptions options;
    options.version = g.version;
    StartHost(options);
    EXPECT_EQ(host().announcedLayoutVersion(), g.layout);

    const plugin_host::DefinitionInfo *module = host().Module(kModule);
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(module->layoutVersion, g.layout);
    ExpectMethods(*module, kModuleMethods);
    EXPECT_EQ(module->constants, kModuleConstants);
    ASSERT_EQ(module->properties.size(), 1u);
    EXPECT_EQ(module->properties[0].name, "LastError");
    EXPECT_EQ(module->properties[0].type, "Integer");
    EXPECT_TRUE(module->properties[0].readOnly);
    EXPECT_FALSE(module->properties[0].storedGetter);

    for (const char *name : kClasses) {
      const plugin_host::DefinitionInfo *cls = host().Class(name);
      ASSERT_NE(cls, nullptr) << name;
      EXPECT_EQ(cls->layoutVersion, g.layout) << name;
      EXPECT_EQ(cls->dataSize, kRegisteredDataSize) << name;
      EXPECT_EQ(cls->flags, 4u) << name;
      EXPECT_EQ(cls->superName, "") << name;
    }
    ExpectMethods(*host().Class("KeychainZNQ"), kKeychainMethods);
    ExpectMethods(*host().Class("KeychainItemZNQ"), kItemMethods);
    EXPECT_TRUE(host().Class("KeychainSettingsZNQ")->methods.empty());
    EXPECT_TRUE(host().Class("KeychainSearchZNQ")->methods.empty());
    EXPECT_EQ(host().Class("KeychainZNQ")->constants, kKeychainConstants);
    EXPECT_EQ(host().Class("KeychainItemZNQ")->constants, kItemConstants);

    // The records work: a module method runs, and a settings object is
    // built by its constructor.
    Value version = Shared("Version as integer");
    EXPECT_EQ(LastError(), 0);
    EXPECT_GT(version.integer(), 0);
    Value settings = host().NewInstance("KeychainSettingsZNQ");
    ASSERT_FALSE(settings.isNil());
    EXPECT_EQ(Property(settings, "version"), 1);
  }
}

TEST_F(RegistrationTest, ShortLayoutFillsFirstWordsAndKeepsStoredZerosAfterThem) {
  for (const Generation &g : {kGenerations[1], kGenerations[2], kGenerations[4], kGenerations[8]}) {
    SCOPED_TRACE(Describe(g));
    HostOptions options;
    options.version = g.version;
    StartHost(options);
    const bool isShort = g.layout == 9;
    const size_t methodWords = isShort ? 4 : 6;
    const size_t constantWords = isShort ? 3 : 5;
    const size_t propertyWords = isShort ? 10 : 12;

    const RBWord *module = host().Module(kModule)->record;
    EXPECT_EQ(module[0], static_cast<RBWord>(g.layout));
    EXPECT_EQ(TextAt(module[1]), kModule);
    for (int w = 12; w < 16; ++w) EXPECT_EQ(module[w], 0u) << "module word " << w;
    ASSERT_EQ(module[3], kModuleMethods.size());
    for (size_t i = 0; i < kModuleMethods.size(); ++i)
      EXPECT_EQ(TextAt(Words(module[2])[i * methodWords + 2]), kModuleMethods[i].declaration);
    ASSERT_EQ(module[5], kModuleConstants.size());
    for (size_t i = 0; i < kModuleConstants.size(); ++i)
      EXPECT_EQ(TextAt(Words(module[4])[i * constantWords]), kModuleConstants[i]);
    EXPECT_EQ(module[7], 1u);
    EXPECT_EQ(TextAt(Words(module[6])[1]), "LastError");
    EXPECT_EQ(module[8], 0u);
    EXPECT_EQ(module[10], 0u);

    for (const char *name : kClasses) {
      const RBWord *cls = host().Class(name)->record;
      EXPECT_EQ(cls[0], static_cast<RBWord>(g.layout)) << name;
      EXPECT_EQ(TextAt(cls[1]), name);
      EXPECT_EQ(cls[3], kRegisteredDataSize) << name;
      EXPECT_EQ(cls[4], static_cast<RBWord>(kREALObjectHeaderSize)) << name << ": offset the host wrote";
      EXPECT_EQ(cls[20], 4u) << name;
      for (int w = 25; w < 29; ++w) EXPECT_EQ(cls[w], 0u) << name << " word " << w;
      // The second property is at the short or long stride.
      ASSERT_GE(cls[8], 2u);
      const RBWord *second = Words(cls[7]) + propertyWords;
      EXPECT_EQ(second[3], 6u) << name << ": flags of the second property";
      EXPECT_EQ(second[4], static_cast<RBWord>(-1)) << name;
    }
    const RBWord *item = host().Class("KeychainItemZNQ")->record;
    ASSERT_EQ(item[10], kItemMethods.size());
    for (size_t i = 0; i < kItemMethods.size(); ++i)
      EXPECT_EQ(TextAt(Words(item[9])[i * methodWords + 2]), kItemMethods[i].declaration);
    ASSERT_EQ(item[19], kItemConstants.size());
    for (size_t i = 0; i < kItemConstants.size(); ++i)
      EXPECT_EQ(TextAt(Words(item[18])[i * constantWords]), kItemConstants[i]);
  }
}

TEST_F(RegistrationTest, FieldPropertiesSitAtTheirWordOffsets) {
  const size_t word = sizeof(void *);
  for (const char *name : {"KeychainZNQ", "KeychainItemZNQ", "KeychainSearchZNQ"}) {
    const auto &props = host().Class(name)->properties;
    ASSERT_EQ(props.size(), 2u) << name;
    EXPECT_EQ(props[0].name, "Handle");
    EXPECT_EQ(props[0].param, 0u);
    EXPECT_EQ(props[1].name, "Lasterror");
    EXPECT_EQ(props[1].param, word);
    for (const auto &p : props) {
      EXPECT_EQ(p.type, "Integer");
      EXPECT_TRUE(p.storedGetter && p.storedSetter) << p.name;
      EXPECT_EQ(p.flags, 6u);
    }
  }
  const auto &settings = host().Class("KeychainSettingsZNQ")->properties;
  ASSERT_EQ(settings.size(), 4u);
  const std::pair<const char *, size_t> order[] = {
      {"version", 0}, {"lockInterval", 2 * word}, {"lockOnSleep", word}, {"useLockInterval", 3 * word}};
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(settings[i].name, order[i].first);
    EXPECT_EQ(settings[i].param, order[i].second) << order[i].first;
  }
  EXPECT_EQ(settings[2].type, "Boolean");
  EXPECT_EQ(settings[3].type, "Boolean");

  // The settings constructor sets the version and nothing else.
  Value s = host().NewInstance("KeychainSettingsZNQ");
  EXPECT_EQ(Property(s, "version"), 1);
  EXPECT_EQ(Property(s, "lockInterval"), 0);
  EXPECT_EQ(Property(s, "lockOnSleep"), 0);
  EXPECT_EQ(Property(s, "useLockInterval"), 0);
  ASSERT_TRUE(host().SetProperty(s, "lockInterval", Value::Integer(300)).ok);
  ASSERT_TRUE(host().SetProperty(s, "useLockInterval", Value::Boolean(true)).ok);
  const RBWord *data = reinterpret_cast<const RBWord *>(host().InstanceData(s));
  EXPECT_EQ(data[2], 300u);
  EXPECT_EQ(reinterpret_cast<const unsigned char *>(data + 3)[0], 1);
}

// A Handle a host program stores is taken as it is, and the destructor
// releases whatever Handle holds then, once.
TEST_F(RegistrationTest, DestructorReleasesTheHandleAProgramAssigned) {
  Value keychain = Shared("Default as KeychainZNQ");
  ASSERT_FALSE(keychain.isNil());
  const RBInteger handle = Property(keychain, "Handle");
  ASSERT_NE(handle, 0);
  CFRetain(reinterpret_cast<CFTypeRef>(handle));
  const CFIndex before = CFGetRetainCount(reinterpret_cast<CFTypeRef>(handle));
  {
    Value other = host().NewInstance("KeychainZNQ");
    ASSERT_TRUE(host().SetProperty(other, "Handle", Value::Integer(handle)).ok);
    EXPECT_EQ(CFGetRetainCount(reinterpret_cast<CFTypeRef>(handle)), before);
  }
  EXPECT_EQ(CFGetRetainCount(reinterpret_cast<CFTypeRef>(handle)), before - 1);

  // An object whose Handle was cleared releases nothing.
  ASSERT_TRUE(host().SetProperty(keychain, "Handle", Value::Integer(0)).ok);
  keychain.reset();
  EXPECT_EQ(CFGetRetainCount(reinterpret_cast<CFTypeRef>(handle)), before - 1);
  CFRelease(reinterpret_cast<CFTypeRef>(handle));
}

}  // namespace
}  // namespace kc_plugin_test
