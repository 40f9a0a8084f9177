// Host strings to the keychain's text and back: nil and empty strings become
// empty texts (never a null pointer), framework texts come back as UTF-8
// host strings, and empty framework texts come back as nil.
#include "plugin_fixture.h"

namespace kc_plugin_test {
namespace {


class TextConversion : public PluginTest {};

TEST_F(TextConversion, NilAndEmptyStringsBecomeEmptyTexts) {
  Value keychain = Shared(decl::kDefault);
  ASSERT_FALSE(keychain.isNil());
  // A nil account and a nil password are empty texts to the framework.
  Value item = Method(keychain, decl::kAddGenericText, {Text("nil-args"), Value(), Value()});
  ASSERT_EQ(LastError(), 0);
  ASSERT_FALSE(item.isNil());
  EXPECT_TRUE(Method(item, decl::kAccount).isNil()) << "an empty attribute reads as nil";
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  EXPECT_TRUE(Method(item, decl::kPassword).isNil());
  EXPECT_EQ(Property(item, "Lasterror"), 0);

  // Setting a label to an empty string writes an empty label.
  AssignMethod(item, decl::kLabel, {}, Text("first"));
  EXPECT_EQ(host().StringBytes(Method(item, decl::kLabel)), "first");
  AssignMethod(item, decl::kLabel, {}, Text(""));
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  EXPECT_TRUE(Method(item, decl::kLabel).isNil());
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  AssignMethod(item, decl::kComment, {}, Value());
  EXPECT_EQ(Property(item, "Lasterror"), 0);
  Method(item, decl::kDelete);
}

TEST_F(TextConversion, TextsComeBackAsUTF8HostStrings) {
  Value keychain = Shared(decl::kDefault);
  Value item = Method(keychain, decl::kAddGenericText, {Text("utf8"), Text("acct"), Text("pw")});
  ASSERT_FALSE(item.isNil());
  // Mac OS Roman in, UTF-8 out.
  AssignMethod(item, decl::kDescription, {}, host().String("na\x8Fve", kREALEncodingMacRoman));
  Value description = Method(item, decl::kDescription);
  EXPECT_EQ(host().StringBytes(description), "na\xC3\xA8ve");
  EXPECT_EQ(host().StringEncoding(description), kREALEncodingUTF8);

  // A text longer than the stack buffer of the conversions.
  const std::string longText(700, 'x');
  AssignMethod(item, decl::kComment, {}, Text(longText + "\xE2\x82\xAC"));
  EXPECT_EQ(host().StringBytes(Method(item, decl::kComment)), longText + "\xE2\x82\xAC");

  Value message = Shared(decl::kMessage, {Value::Integer(-25300)});
  ASSERT_FALSE(message.isNil());
  EXPECT_EQ(host().StringEncoding(message), kREALEncodingUTF8);
  EXPECT_FALSE(host().StringBytes(message).empty());
  Method(item, decl::kDelete);
}

// The item class travels as four raw bytes: ASCII codes tagged ASCII.
TEST_F(TextConversion, ItemClassIsItsFourCharacterCode) {
  Value keychain = Shared(decl::kDefault);
  Value generic = Method(keychain, decl::kAddGenericText, {Text("cls"), Text("acct"), Text("pw")});
  Value internet = Method(
      keychain,
      decl::kAddInternetText,
      {Text("example.org"), Text(""), Text("acct"), Text(""), Value::Integer(443), Text("htps"),
       Text("dflt"), Text("pw")});
  ASSERT_FALSE(generic.isNil());
  ASSERT_FALSE(internet.isNil());
  Value genp = Method(generic, decl::kItemClass);
  EXPECT_EQ(host().StringBytes(genp), "genp");
  EXPECT_EQ(host().StringEncoding(genp), kREALEncodingASCII);
  EXPECT_EQ(host().StringBytes(Method(internet, decl::kItemClass)), "inet");
  Method(generic, decl::kDelete);
  Method(internet, decl::kDelete);
}

}  // namespace
}  // namespace kc_plugin_test
