// Host strings reach the keychain as the same UTF-8 bytes on every host
// generation, whichever way that generation lets the plug-in read them:
// records read directly up to 2013.0, string data from the host after it,
// and "REALConvertString" before 2012.0.
#include <optional>

#include "plugin_fixture.h"

namespace kc_plugin_test {
namespace {

const std::optional<double> kVersions[] = {std::nullopt, 2011.9, 2012.0, 2012.9, 2013.0,
                                           2013.02,      2013.03, 2013.9, 2014.0};

struct Sample {
  const char *what;
  std::string bytes;
  uint32_t encoding;
  std::string utf8;  // what the keychain must receive
};

const Sample kSamples[] = {
    {"UTF-8 text", "p\xC3\xA4ss", kREALEncodingUTF8, "p\xC3\xA4ss"},
    {"raw ASCII bytes", "abc", kREALEncodingUnknown, "abc"},
    {"raw byte 0x8E read as Mac OS Roman", "\x8E", kREALEncodingUnknown, "\xC3\xA9"},
    {"Mac OS Roman text", "caf\x8E", kREALEncodingMacRoman, "caf\xC3\xA9"},
    {"UTF-16 text", std::string("h\0i\0", 4), kREALEncodingUTF16, "hi"},
};

class HostGenerationStrings : public PluginTest {
 protected:
  // Adds a generic password whose service, account and password are all the
  // sample, finds it back and returns the password bytes the keychain holds.
  std::string RoundTrip(const Sample &s, const std::string &tag) {
    Value text = host().String(s.bytes, s.encoding);
    Value account = Text(tag);
    Value item = Shared(
        "AddGenericPassword(keychain as KeychainZNQ, serviceName as string, accountName as string, "
        "password as string) as KeychainItemZNQ",
        {Value(), text, account, text});
    EXPECT_EQ(LastError(), 0) << s.what;
    Value password;
    Value found = Shared(
        "FindGenericPassword(keychain as KeychainZNQ, serviceName as string, accountName as string, "
        "byref password as memoryblock) as KeychainItemZNQ",
        {Value(), text, account, Arg::ByRef(password)});
    EXPECT_EQ(LastError(), 0) << s.what;
    EXPECT_FALSE(found.isNil()) << s.what;
    // The service attribute holds the same bytes as the password.
    if (!found.isNil()) {
      Value service = Method(found, "Service as string");
      EXPECT_EQ(host().StringBytes(service), s.utf8) << s.what;
      EXPECT_EQ(host().StringEncoding(service), kREALEncodingUTF8);
      Method(found, "Delete");
    }
    return password.isNil() ? "" : host().MemoryBlockBytes(password);
  }
};

TEST_F(HostGenerationStrings, EveryGenerationPassesTheSameUTF8Bytes) {
  int round = 0;
  for (const auto &version : kVersions) {
    HostOptions options;
    options.version = version;
    StartHost(options);
    SCOPED_TRACE(version ? std::to_string(*version) : std::string("no version"));
    for (const Sample &s : kSamples)
      EXPECT_EQ(RoundTrip(s, "acct" + std::to_string(round++)), s.utf8) << s.what;

    const bool convertsThroughStringData = version && *version >= 2012.0;
    EXPECT_EQ(host().LookupCount("PluginGetStringData") > 0, convertsThroughStringData);
    EXPECT_EQ(host().LookupCount("REALConvertString") > 0, !convertsThroughStringData);
  }
}

// Hosts before 2012.0 let the plug-in read string records itself: they need
// none of the host's string-data functions. Newer hosts are never read that
// way, so without those functions their strings read as empty.
TEST_F(HostGenerationStrings, OlderHostsReadStringRecordsDirectly) {
  for (const auto &version : {std::optional<double>(), std::optional<double>(2011.9)}) {
    HostOptions options;
    options.version = version;
    options.withheld = {"PluginGetStringData", "StringGetCString", "REALLoadGlobalMethod"};
    StartHost(options);
    int round = 0;
    for (const Sample &s : kSamples)
      EXPECT_EQ(RoundTrip(s, "direct" + std::to_string(round++)), s.utf8) << s.what;
    EXPECT_EQ(host().LookupCount("PluginGetStringData"), 0);
  }

  HostOptions newer;
  newer.version = 2014.0;
  newer.withheld = {"PluginGetStringData", "StringGetCString", "REALLoadGlobalMethod"};
  StartHost(newer);
  Value secret = host().String("abc", kREALEncodingUnknown);
  Value item = Shared(
      "AddGenericPassword(keychain as KeychainZNQ, serviceName as string, accountName as string, "
      "password as string) as KeychainItemZNQ",
      {Value(), Text("svc"), Text("acct"), secret});
  ASSERT_FALSE(item.isNil());
  EXPECT_TRUE(Method(item, "Password as memoryblock").isNil()) << "an empty password was stored";
  EXPECT_TRUE(Method(item, "Service as string").isNil());
  Method(item, "Delete");
}

}  // namespace
}  // namespace kc_plugin_test
