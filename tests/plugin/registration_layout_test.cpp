// The module and class records as a host reads them, on every host
// generation: the layout version chosen from the host version, the short
// form older hosts get (converted words first, stored zeros after them), the
// rounded instance size, and every declaration, property and constant.
#include <cmath>
#include <optional>

#include "host_generations.h"
#include "plugin_fixture.h"

namespace kc_plugin_test {
namespace {

constexpr const char *kClasses[] = {"KeychainZNQ", "KeychainItemZNQ", "KeychainSettingsZNQ",
                                    "KeychainSearchZNQ"};

// Five words of instance data, registered rounded up to a multiple of 16.
constexpr size_t kRegisteredDataSize = (5 * sizeof(void *) + 15) / 16 * 16;

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

class RegistrationOnEveryHost : public PluginTest,
                                public ::testing::WithParamInterface<HostGeneration> {
 protected:
  void SetUp() override {
    HostOptions options;
    options.version = GetParam().version;
    StartHost(options);
  }
};

TEST_P(RegistrationOnEveryHost, LayoutVersionFollowsHostVersionAndRecordsReadAlike) {
  const int layout = GetParam().layout;
  EXPECT_EQ(host().announcedLayoutVersion(), layout);

  const plugin_host::DefinitionInfo *module = host().Module(kModule);
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(module->layoutVersion, layout);
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
    EXPECT_EQ(cls->layoutVersion, layout) << name;
    EXPECT_EQ(cls->dataSize, kRegisteredDataSize) << name;
    EXPECT_EQ(cls->flags, 4u) << name;
    EXPECT_EQ(cls->superName, "") << name;
  }
  ExpectMethods(*host().Class("KeychainZNQ"), kKeychainMethods);
  ExpectMethods(*host().Class("KeychainItemZNQ"), kItemMethods);
  ExpectMethods(*host().Class("KeychainSearchZNQ"), kSearchMethods);
  EXPECT_TRUE(host().Class("KeychainSettingsZNQ")->methods.empty());
  EXPECT_EQ(host().Class("KeychainZNQ")->constants, kKeychainConstants);
  EXPECT_EQ(host().Class("KeychainItemZNQ")->constants, kItemConstants);
  EXPECT_TRUE(host().Class("KeychainSearchZNQ")->constants.empty());
  EXPECT_TRUE(host().Class("KeychainSettingsZNQ")->constants.empty());

  // The records work: a module method runs, and a settings object is built
  // by its constructor.
  Value version = Shared(decl::kVersion);
  EXPECT_EQ(LastError(), 0);
  EXPECT_GT(version.integer(), 0);
  Value settings = host().NewInstance("KeychainSettingsZNQ");
  ASSERT_FALSE(settings.isNil());
  EXPECT_EQ(Property(settings, "version"), 1);
}

// The short layout fills the first words of each record with the converted
// form and keeps the stored zeros after them; the long layouts differ from
// the stored records only in word 0.
TEST_P(RegistrationOnEveryHost, RecordWordsMatchTheLayout) {
  const int layout = GetParam().layout;
  const bool isShort = layout == 9;
  const size_t methodWords = isShort ? 4 : 6;
  const size_t constantWords = isShort ? 3 : 5;
  const size_t propertyWords = isShort ? 10 : 12;

  const RBWord *module = host().Module(kModule)->record;
  EXPECT_EQ(module[0], static_cast<RBWord>(layout));
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
    EXPECT_EQ(cls[0], static_cast<RBWord>(layout)) << name;
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

INSTANTIATE_TEST_SUITE_P(Generations, RegistrationOnEveryHost, ::testing::ValuesIn(kHostGenerations),
                         HostGenerationName);

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
  Value keychain = Shared(decl::kDefault);
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
