// Host strings to the keychain's text and back: nil and empty strings become
// empty texts (never a null pointer), framework texts come back as UTF-8
// host strings, and empty framework texts come back as nil.
#include "plugin_fixture.h"

namespace kc_plugin_test {
namespace {

constexpr const char *kAddGenericS =
    "AddGenericPassword(serviceName as string, accountName as string, password as string) as "
    "KeychainItemZNQ";

class TextConversion : public PluginTest {};

TEST_F(TextConversion, NilAndEmptyStringsBecomeEmptyTexts) {
  Value keychain = Shared("Default as KeychainZNQ");
  ASSERT_FALSE(keychain.isNil());
  // A nil account and a nil password are empty texts to the framework.
  Value item = Method(keychain, kAddGenericS, {Text("nil-args"), Value(), Value()});
  ASSERT_EQ(LastError(), 0);
  ASSERT_FALSE(item.isNil());
  EXPECT_TRUE(Method(item, "Account as string").isNil()) << "an empty attribute reads as nil";
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  EXPECT_TRUE(Method(item, "Password as memoryblock").isNil());
  EXPECT_EQ(Property(item, "Lasterror"), 0);

  // Setting a label to an empty string writes an empty label.
  AssignMethod(item, "Label as string", {}, Text("first"));
  EXPECT_EQ(host().StringBytes(Method(item, "Label as string")), "first");
  AssignMethod(item, "Label as string", {}, Text(""));
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  EXPECT_TRUE(Method(item, "Label as string").isNil());
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  AssignMethod(item, "Comment as string", {}, Value());
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  Method(item, "Delete");
}

TEST_F(TextConversion, TextsComeBackAsUTF8HostStrings) {
  Value keychain = Shared("Default as KeychainZNQ");
  Value item = Method(keychain, kAddGenericS, {Text("utf8"), Text("acct"), Text("pw")});
  ASSERT_FALSE(item.isNil());
  // Mac OS Roman in, UTF-8 out.
  AssignMethod(item, "Description as string", {}, host().String("na\x8Fve", kREALEncodingMacRoman));
  Value description = Method(item, "Description as string");
  EXPECT_EQ(host().StringBytes(description), "na\xC3\xA8ve");
  EXPECT_EQ(host().StringEncoding(description), kREALEncodingUTF8);

  // A text longer than the stack buffer of the conversions.
  const std::string longText(700, 'x');
  AssignMethod(item, "Comment as string", {}, Text(longText + "\xE2\x82\xAC"));
  EXPECT_EQ(host().StringBytes(Method(item, "Comment as string")), longText + "\xE2\x82\xAC");

  Value message = Shared("ErrorMessageString(error as integer) as string", {Value::Integer(-25300)});
  ASSERT_FALSE(message.isNil());
  EXPECT_EQ(host().StringEncoding(message), kREALEncodingUTF8);
  EXPECT_FALSE(host().StringBytes(message).empty());
  Method(item, "Delete");
}

// The item class travels as four raw bytes: ASCII codes tagged ASCII.
TEST_F(TextConversion, ItemClassIsItsFourCharacterCode) {
  Value keychain = Shared("Default as KeychainZNQ");
  Value generic = Method(keychain, kAddGenericS, {Text("cls"), Text("acct"), Text("pw")});
  Value internet = Method(
      keychain,
      "AddInternetPassword(serverName as string, securityDomain as string, accountName as string, "
      "path as string, port as integer, protocol as string, authenticationType as string, "
      "password as string) as KeychainItemZNQ",
      {Text("example.org"), Text(""), Text("acct"), Text(""), Value::Integer(443), Text("htps"),
       Text("dflt"), Text("pw")});
  ASSERT_FALSE(generic.isNil());
  ASSERT_FALSE(internet.isNil());
  Value genp = Method(generic, "ItemClass as string");
  EXPECT_EQ(host().StringBytes(genp), "genp");
  EXPECT_EQ(host().StringEncoding(genp), kREALEncodingASCII);
  EXPECT_EQ(host().StringBytes(Method(internet, "ItemClass as string")), "inet");
  Method(generic, "Delete");
  Method(internet, "Delete");
}

}  // namespace
}  // namespace kc_plugin_test
