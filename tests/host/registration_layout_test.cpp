// Registration: the layout a plug-in picks from the host's version, records
// read in the short (9) and long (10-12) layouts, the instance-data offset
// written into the class record, and what a host without the registration
// functions gets.
#include "probe_host.h"

namespace host_test {
namespace {

using RegistrationLayout = ProbeTest;

TEST_F(RegistrationLayout, EveryLayoutReadsTheSameTablesAndGetsTheOffset) {
  const struct {
    std::optional<double> version;
    int layout;
  } kCases[] = {{2014.0, 12}, {2013.03, 12}, {2013.0, 11}, {2012.0, 10}, {2011.9, 9}, {std::nullopt, 9}};
  for (const auto& c : kCases) {
    HostOptions opt;
    opt.version = c.version;
    StartHost(opt);
    SCOPED_TRACE(c.layout);
    EXPECT_EQ(host().announcedLayoutVersion(), c.layout);
    const plugin_host::DefinitionInfo* mod = host().Module(kModule);
    ASSERT_NE(mod, nullptr);
    EXPECT_EQ(mod->layoutVersion, c.layout);
    EXPECT_EQ(mod->methods.size(), 55u);
    EXPECT_EQ(mod->methods[0].declaration, "Echo(s as string) as string");
    EXPECT_EQ(mod->methods.back().declaration, "Destructed as integer");
    EXPECT_EQ(mod->properties.size(), 2u);
    EXPECT_EQ(mod->properties[1].name, "Counter");
    EXPECT_EQ(host().Constant(kModule, "Name"), std::optional<std::string>("\"probe\""));

    const plugin_host::DefinitionInfo* thing = host().Class("ProbeThing");
    ASSERT_NE(thing, nullptr);
    EXPECT_EQ(thing->layoutVersion, c.layout);
    EXPECT_EQ(thing->dataSize, (5 * sizeof(void*) + 15) / 16 * 16);  // 5 words, rounded up to 16
    EXPECT_EQ(thing->record[4], static_cast<RBWord>(kREALObjectHeaderSize));
    ASSERT_EQ(thing->properties.size(), 7u);
    EXPECT_TRUE(thing->properties[0].storedGetter);
    EXPECT_EQ(thing->properties[1].param, sizeof(RBWord));
    EXPECT_FALSE(thing->properties[4].storedGetter);
    EXPECT_TRUE(thing->properties[5].readOnly);
    ASSERT_EQ(thing->methods.size(), 9u);
    EXPECT_TRUE(thing->methods[3].hasSetter);
    EXPECT_EQ(thing->methods[6].flags, static_cast<RBWord>(kREALFlagConsoleSafe));
    EXPECT_EQ(host().Constant("ProbeThing", "answer"), std::optional<std::string>("42"));
    EXPECT_TRUE(thing->hasConstructor);
    EXPECT_EQ(host().Class("ProbeChild")->superName, "ProbeThing");

    // Tables read in either layout drive the same calls.
    Value t = host().NewInstance("ProbeThing");
    EXPECT_EQ(Method(t, "Add(x as integer) as integer", {Value::Integer(5)}).integer(), 12);
  }
  EXPECT_EQ(host().LookupCount("REALGetRBVersion"), 1);
}

TEST_F(RegistrationLayout, HostWithoutRegistrationFunctionsKnowsNothing) {
  HostOptions opt;
  opt.withheld = {"PluginRegisterClass", "PluginRegisterModule", "RegisterPluginVersion"};
  StartHost(opt);
  EXPECT_EQ(host().announcedLayoutVersion(), -1);
  EXPECT_EQ(host().Module(kModule), nullptr);
  EXPECT_EQ(host().Class("ProbeThing"), nullptr);
  EXPECT_TRUE(host().NewInstance("ProbeThing").isNil());
  EXPECT_FALSE(host().CallShared(kModule, "Constructed as integer").ok);
  EXPECT_EQ(host().LookupCount("PluginRegisterClass"), 4);  // once per class
}

TEST_F(RegistrationLayout, EachHostStartsWithAFreshCopyOfThePlugin) {
  Value a = host().NewInstance("ProbeThing");
  a.reset();
  EXPECT_EQ(Int("Constructed as integer"), 1);
  EXPECT_EQ(Int("Destructed as integer"), 1);
  // A second host loads the plug-in again: its counters start from zero.
  StartHost(HostOptions());
  EXPECT_EQ(Int("Constructed as integer"), 0);
  EXPECT_EQ(host().LookupCount("RegisterPluginVersion"), 1);
}

TEST(RegistrationLoad, MissingFileOrEntryPointIsAClearError) {
  Host host;
  std::string error;
  EXPECT_FALSE(host.Load("/nonexistent/plugin.so", &error));
  EXPECT_NE(error.find("cannot read"), std::string::npos) << error;
  EXPECT_FALSE(host.Load("/etc/hostname", &error));
  EXPECT_NE(error.find("cannot load"), std::string::npos) << error;
}

}  // namespace
}  // namespace host_test
