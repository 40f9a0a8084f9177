// Host strings reach the keychain as the same UTF-8 bytes on every host
// generation, whichever way that generation lets the plug-in read them:
// records read directly up to 2013.0, string data from the host after it,
// and "REALConvertString" before 2012.0.
#include <optional>

#include "host_generations.h"
#include "plugin_fixture.h"

namespace kc_plugin_test {
namespace {

struct Sample {
  const char *what;
  std::string bytes;
  uint32_t encoding;
  std::string utf8;  // what the keychain must receive
};

// Every byte from 0x01 to 0x7F: the whole range that raw text may hold and
// still be used as it is.
std::string AsciiRange() {
  std::string bytes;
  for (int b = 1; b <= 0x7F; ++b) bytes.push_back(static_cast<char>(b));
  return bytes;
}

const Sample kSamples[] = {
    {"UTF-8 text", "p\xC3\xA4ss", kREALEncodingUTF8, "p\xC3\xA4ss"},
    {"raw ASCII bytes", "abc", kREALEncodingUnknown, "abc"},
    {"raw bytes 0x01 to 0x7F", AsciiRange(), kREALEncodingUnknown, AsciiRange()},
    {"raw byte 0x80 read as Mac OS Roman", "\x80", kREALEncodingUnknown, "\xC3\x84"},
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
        decl::kAddGenericTextM,
        {Value(), text, account, text});
    EXPECT_EQ(LastError(), 0) << s.what;
    Value password;
    Value found = Shared(
        decl::kFindGenericPasswordM,
        {Value(), text, account, Arg::ByRef(password)});
    EXPECT_EQ(LastError(), 0) << s.what;
    EXPECT_FALSE(found.isNil()) << s.what;
    // The service attribute holds the same bytes as the password.
    if (!found.isNil()) {
      Value service = Method(found, decl::kService);
      EXPECT_EQ(host().StringBytes(service), s.utf8) << s.what;
      EXPECT_EQ(host().StringEncoding(service), kREALEncodingUTF8);
      Method(found, decl::kDelete);
    }
    return password.isNil() ? "" : host().MemoryBlockBytes(password);
  }
};

class StringsOnEveryHost : public HostGenerationStrings,
                           public ::testing::WithParamInterface<HostGeneration> {
 protected:
  void SetUp() override {
    HostOptions options;
    options.version = GetParam().version;
    StartHost(options);
  }
};

TEST_P(StringsOnEveryHost, TextArgumentsReachTheKeychainAsTheSameUTF8Bytes) {
  // Raw text that is all ASCII, up to and including 0x7F, is handed on in
  // place: the plug-in builds no string of its own for it. One byte of 0x80
  // makes it Mac OS Roman text, which needs a new string.
  Value ascii = host().String(AsciiRange(), kREALEncodingUnknown);
  Value item = Shared(decl::kAddGenericTextM, {Value(), ascii, Text("in-place"), ascii});
  EXPECT_EQ(LastError(), 0);
  EXPECT_EQ(host().LookupCount("REALBuildString"), 0) << "raw ASCII was copied into a new string";
  Value high = host().String("\x80", kREALEncodingUnknown);
  Value other = Shared(decl::kAddGenericTextM, {Value(), high, Text("in-place"), high});
  EXPECT_EQ(LastError(), 0);
  EXPECT_GT(host().LookupCount("REALBuildString"), 0) << "0x80 was not taken as Mac OS Roman";
  for (Value *added : {&item, &other})
    if (!added->isNil()) Method(*added, decl::kDelete);

  int round = 0;
  for (const Sample &s : kSamples)
    EXPECT_EQ(RoundTrip(s, "acct" + std::to_string(round++)), s.utf8) << s.what;
  EXPECT_EQ(host().LookupCount("PluginGetStringData") > 0, ConvertsThroughStringData(GetParam()));
  EXPECT_EQ(host().LookupCount("REALConvertString") > 0, !ConvertsThroughStringData(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Generations, StringsOnEveryHost, ::testing::ValuesIn(kHostGenerations),
                         HostGenerationName);

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
      decl::kAddGenericTextM,
      {Value(), Text("svc"), Text("acct"), secret});
  ASSERT_FALSE(item.isNil());
  EXPECT_TRUE(Method(item, decl::kPassword).isNil()) << "an empty password was stored";
  EXPECT_TRUE(Method(item, decl::kService).isNil());
  Method(item, decl::kDelete);
}

}  // namespace
}  // namespace kc_plugin_test
