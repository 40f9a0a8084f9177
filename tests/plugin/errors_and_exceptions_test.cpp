// Status and exceptions: the module's "LastError" and each object's
// "Lasterror", nil-argument exceptions, and status texts.
#include "plugin_fixture.h"

namespace kc_plugin_test {
namespace {


class ErrorsAndExceptions : public PluginTest {};

TEST_F(ErrorsAndExceptions, NilDataRaisesNilObjectExceptionAndLeavesMinusOne) {
  Value item = Shared(decl::kFromReference, {Value()});
  EXPECT_TRUE(item.isNil());
  auto e = host().TakeException();
  ASSERT_TRUE(e.has_value());
  EXPECT_EQ(e->className, "NilObjectException");
  EXPECT_EQ(e->message, "data is nil");
  EXPECT_EQ(e->errorNumber, 0);
  EXPECT_EQ(LastError(), -1);

  // "Open" with a nil path is no exception, just -1.
  EXPECT_TRUE(Shared(decl::kOpenPath, {Value()}).isNil());
  EXPECT_EQ(LastError(), -1);
  EXPECT_FALSE(host().TakeException().has_value());
}

TEST_F(ErrorsAndExceptions, FrameworkStatusesLandInTheModuleNotInTheKeychainObject) {
  Value keychain = Shared(decl::kDefault);
  ASSERT_FALSE(keychain.isNil());
  ASSERT_TRUE(host().SetProperty(keychain, "Lasterror", Value::Integer(1234)).ok);

  Value first = Method(keychain, decl::kAddGenericText, {Text("dup"), Text("acct"), Text("pw")});
  EXPECT_EQ(LastError(), 0);
  Value second = Method(keychain, decl::kAddGenericText, {Text("dup"), Text("acct"), Text("pw")});
  EXPECT_TRUE(second.isNil());
  EXPECT_EQ(LastError(), -25299);
  EXPECT_EQ(host().Constant(kModule, "ErrorDuplicatedItem"), "-25299");
  Value none = Method(keychain, decl::kFindGenericItem, {Text("dup"), Text("nobody")});
  EXPECT_TRUE(none.isNil());
  EXPECT_EQ(LastError(), -25300);
  EXPECT_EQ(Property(keychain, "Lasterror"), 1234) << "finds and adds leave the object's status";

  // Status texts do not change the module's status.
  Value success = Shared(decl::kMessage, {Value::Integer(0)});
  EXPECT_FALSE(success.isNil());
  Value notFound = Shared(decl::kMessage, {Value::Integer(-25300)});
  EXPECT_FALSE(notFound.isNil());
  EXPECT_NE(host().StringBytes(success), host().StringBytes(notFound));
  EXPECT_EQ(LastError(), -25300);
  Method(first, decl::kDelete);
}

// Objects a program makes itself hold no reference: every method leaves -1
// in their status and gives an empty result without calling the framework.
TEST_F(ErrorsAndExceptions, ObjectsWithoutAReferenceReportMinusOne) {
  Value keychain = host().NewInstance("KeychainZNQ");
  for (const char *declaration : {decl::kPath, decl::kName, decl::kSettings}) {
    EXPECT_TRUE(Method(keychain, declaration).isNil()) << declaration;
    EXPECT_EQ(Property(keychain, "Lasterror"), -1) << declaration;
  }
  EXPECT_EQ(Method(keychain, decl::kStatus).integer(), 0);
  EXPECT_FALSE(Method(keychain, decl::kIsUnlocked).boolean());
  for (const char *declaration : {decl::kLock, decl::kUnlock, decl::kDelete, decl::kSetDefault}) {
    ASSERT_TRUE(host().SetProperty(keychain, "Lasterror", Value::Integer(7)).ok);
    Method(keychain, declaration);
    EXPECT_EQ(Property(keychain, "Lasterror"), -1) << declaration;
  }

  Value item = host().NewInstance("KeychainItemZNQ");
  for (const char *declaration : {decl::kLabel, decl::kPassword, decl::kItemClass,
                                  decl::kKeychain, decl::kPersistentReference}) {
    EXPECT_TRUE(Method(item, declaration).isNil()) << declaration;
    EXPECT_EQ(Property(item, "Lasterror"), -1) << declaration;
  }
  AssignMethod(item, decl::kLabel, {}, Text("x"));
  EXPECT_EQ(Property(item, "Lasterror"), -1);
}

}  // namespace
}  // namespace kc_plugin_test
