// Search lists, domain lists and defaults, the preference domain, the
// interaction switch and locking every keychain, as a host program manages
// them through the module, against real keychains in a private home.
#include <sys/stat.h>

#include "keychain_class_fixture.h"

namespace kc_plugin_test {
namespace {

class KeychainLists : public KeychainClassTest {
 protected:
  void TearDown() override {
    // The preference domain and the interaction switch belong to the
    // process; later hosts in this test program must find them as they were.
    SecKeychainSetPreferenceDomain(kSecPreferencesDomainUser);
    SecKeychainSetUserInteractionAllowed(true);
    KeychainClassTest::TearDown();
  }

  Value Keychains(const std::vector<Value> &elements) { return host().Array(kREALArrayObject, elements); }

  // The path of every element of a host array of keychains, in order; "nil"
  // for a nil element.
  std::vector<std::string> PathsOf(const Value &array) {
    std::vector<std::string> paths;
    for (RBInteger i = 0; i <= host().ArrayUBound(array); ++i) {
      Value keychain = host().ArrayElement(array, i);
      paths.push_back(keychain.isNil() ? "nil" : host().StringBytes(Method(keychain, decl::kPath)));
    }
    return paths;
  }

  std::string LoginPath() { return home_.userDomainDir() + "/login.keychain-db"; }
};

TEST_F(KeychainLists, SearchListKeepsTheKeychainsGivenInOrderAndDropsTheRest) {
  Value a = CreateKeychain("a.keychain", "");
  Value b = CreateKeychain("b.keychain", "");
  Value blank = host().NewInstance("KeychainZNQ");  // holds no keychain
  Value list = Keychains({b, Value(), blank, a});
  Shared(decl::kSetSearchList, {list});
  EXPECT_EQ(LastError(), 0);
  Value got = Shared(decl::kSearchList);
  EXPECT_EQ(LastError(), 0);
  EXPECT_EQ(PathsOf(got), (std::vector<std::string>{KeychainPath("b.keychain"), KeychainPath("a.keychain")}));
  // Each element is a new object holding one retain of its own.
  for (RBInteger i = 0; i <= host().ArrayUBound(got); ++i) {
    Value element = host().ArrayElement(got, i);
    EXPECT_EQ(host().ClassName(element), "KeychainZNQ");
    EXPECT_NE(element.object(), b.object());
    EXPECT_EQ(HandleOf<CFTypeRef>(element), HandleOf<CFTypeRef>(i == 0 ? b : a));
  }
  const CFIndex held = RetainCountOf(a);
  got.reset();
  EXPECT_EQ(RetainCountOf(a), held - 1) << "destroying the array released its objects' retains";

  // An empty list is passed on as an empty list: the framework then falls
  // back to the default keychain alone.
  Shared(decl::kSetSearchList, {Keychains({})});
  EXPECT_EQ(LastError(), 0);
  EXPECT_EQ(PathsOf(Shared(decl::kSearchList)), std::vector<std::string>{LoginPath()});
}

TEST_F(KeychainLists, EachDomainKeepsItsOwnListAndDefault) {
  struct Domain {
    RBInteger code;
    const char *file;
  };
  const Domain domains[] = {{kSecPreferencesDomainUser, "user.keychain"},
                            {kSecPreferencesDomainSystem, "system.keychain"},
                            {kSecPreferencesDomainCommon, "common.keychain"}};
  std::vector<Value> keep;
  for (const Domain &d : domains) {
    keep.push_back(CreateKeychain(d.file, ""));
    Shared(decl::kSetDomainSearchList, {Value::Integer(d.code), Keychains({keep.back()})});
    EXPECT_EQ(LastError(), 0) << d.file;
    Shared(decl::kSetDomainDefault, {Value::Integer(d.code), keep.back()});
    EXPECT_EQ(LastError(), 0) << d.file;
  }
  for (const Domain &d : domains) {
    EXPECT_EQ(PathsOf(Shared(decl::kDomainSearchList, {Value::Integer(d.code)})),
              std::vector<std::string>{KeychainPath(d.file)});
    EXPECT_EQ(LastError(), 0);
    Value def = Shared(decl::kDomainDefault, {Value::Integer(d.code)});
    ASSERT_FALSE(def.isNil()) << d.file;
    EXPECT_EQ(host().StringBytes(Method(def, decl::kPath)), KeychainPath(d.file));
  }
  // The dynamic domain is the process's own: it has no saved list, and
  // assigning one gives the framework's status with nothing changed.
  Value dynamic = Shared(decl::kDomainSearchList, {Value::Integer(kSecPreferencesDomainDynamic)});
  EXPECT_EQ(LastError(), 0);
  EXPECT_EQ(host().ArrayUBound(dynamic), -1);
  Shared(decl::kSetDomainSearchList, {Value::Integer(kSecPreferencesDomainDynamic), Keychains({keep[0]})});
  EXPECT_EQ(LastError(), errSecInvalidPrefsDomain);
  EXPECT_TRUE(Shared(decl::kDomainDefault, {Value::Integer(kSecPreferencesDomainDynamic)}).isNil());
  EXPECT_EQ(LastError(), errSecInvalidPrefsDomain);

  // The preference domain decides which list "SearchList" reads (the common
  // list is searched after every domain's own).
  Value preference = Shared(decl::kPreferenceDomain);
  EXPECT_EQ(preference.integer(), kSecPreferencesDomainUser);
  EXPECT_EQ(PathsOf(Shared(decl::kSearchList)),
            (std::vector<std::string>{KeychainPath("user.keychain"), KeychainPath("common.keychain")}));
  ASSERT_TRUE(host().AssignShared(kModule, decl::kPreferenceDomain, {}, Value::Integer(kSecPreferencesDomainSystem)).ok);
  EXPECT_EQ(LastError(), 0);
  EXPECT_EQ(Shared(decl::kPreferenceDomain).integer(), kSecPreferencesDomainSystem);
  EXPECT_EQ(PathsOf(Shared(decl::kSearchList)),
            (std::vector<std::string>{KeychainPath("system.keychain"), KeychainPath("common.keychain")}));
  Value system = Shared(decl::kDefault);
  EXPECT_EQ(host().StringBytes(Method(system, decl::kPath)), KeychainPath("system.keychain"));
  ASSERT_TRUE(host().AssignShared(kModule, decl::kPreferenceDomain, {}, Value::Integer(7)).ok);
  EXPECT_EQ(LastError(), errSecInvalidPrefsDomain);
  EXPECT_EQ(Shared(decl::kPreferenceDomain).integer(), kSecPreferencesDomainSystem);
}

// Nil lists and keychains that cannot be defaults are refused before the
// framework is asked: "LastError" stays -1 and the exception says why.
TEST_F(KeychainLists, NilListsAndKeychainsRaiseNilObjectException) {
  struct Case {
    const char *declaration;
    std::vector<Value> args;
    const char *message;
  };
  Value blank = host().NewInstance("KeychainZNQ");
  const Case cases[] = {
      {decl::kSetSearchList, {Value()}, "list is nil"},
      {decl::kSetDomainSearchList, {Value::Integer(0), Value()}, "list is nil"},
      {decl::kSetDomainDefault, {Value::Integer(0), Value()}, "keychain is nil"},
      {decl::kSetDomainDefault, {Value::Integer(0), blank}, "keychain is nil"},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.message);
    Shared(decl::kVersion);  // leaves 0 behind
    ASSERT_EQ(LastError(), 0);
    Shared(c.declaration, std::vector<Arg>(c.args.begin(), c.args.end()));
    EXPECT_EQ(LastError(), -1);
    auto e = host().TakeException();
    ASSERT_TRUE(e.has_value());
    EXPECT_EQ(e->className, "NilObjectException");
    EXPECT_EQ(e->message, c.message);
    EXPECT_EQ(e->errorNumber, 0);
  }
  // The default keychain is still the login keychain.
  EXPECT_EQ(host().StringBytes(Method(Shared(decl::kDefault), decl::kPath)), LoginPath());
}

// With interaction off a locked keychain refuses its secrets at once, and
// nobody is asked; "LockAll" locks every keychain this process unlocked.
TEST_F(KeychainLists, InteractionOffRefusesSecretsAndLockAllLocksEverything) {
  const std::string asked = home_.root() + "/asked";
  const std::string program = home_.root() + "/askpass.sh";
  std::ofstream(program) << "#!/bin/sh\ntouch '" << asked << "'\nprintf 'pw\\n'\n";
  chmod(program.c_str(), 0700);
  env_.Set("KEYCHAIN_ASKPASS", program.c_str());

  Value first = CreateKeychain("first.keychain", "pw");
  Value second = CreateKeychain("second.keychain", "pw");
  ASSERT_FALSE(Method(first, decl::kAddGenericText, {Text("svc"), Text("ann"), Text("secret")}).isNil());
  Value item = Method(first, decl::kFindGenericItem, {Text("svc"), Text("ann")});
  ASSERT_FALSE(item.isNil());
  for (const Value &k : {first, second}) {
    Method(k, decl::kUnlockWith, {Text("pw")});
    ASSERT_TRUE(Method(k, decl::kIsUnlocked).boolean());
  }

  Shared(decl::kLockAll);
  EXPECT_EQ(LastError(), 0);
  EXPECT_FALSE(Method(first, decl::kIsUnlocked).boolean());
  EXPECT_FALSE(Method(second, decl::kIsUnlocked).boolean());

  EXPECT_TRUE(Shared(decl::kUserInteractionAllowed).boolean());
  ASSERT_TRUE(host().AssignShared(kModule, decl::kUserInteractionAllowed, {}, Value::Boolean(false)).ok);
  EXPECT_EQ(LastError(), 0);
  EXPECT_FALSE(Shared(decl::kUserInteractionAllowed).boolean());
  EXPECT_EQ(LastError(), 0);
  Value password = host().MemoryBlock("old");
  EXPECT_TRUE(Method(first, decl::kFindGenericPassword, {Text("svc"), Text("ann"), Arg::ByRef(password)}).isNil());
  EXPECT_EQ(LastError(), errSecAuthFailed);
  EXPECT_TRUE(password.isNil());
  EXPECT_TRUE(Method(item, decl::kPassword).isNil());
  EXPECT_EQ(Property(item, "Lasterror"), errSecAuthFailed);
  EXPECT_FALSE(Method(first, decl::kIsUnlocked).boolean());
  struct stat st;
  EXPECT_NE(stat(asked.c_str(), &st), 0) << "somebody was asked for a password";

  // With interaction back on, the same read asks and succeeds.
  ASSERT_TRUE(host().AssignShared(kModule, decl::kUserInteractionAllowed, {}, Value::Boolean(true)).ok);
  EXPECT_EQ(host().MemoryBlockBytes(Method(item, decl::kPassword)), "secret");
  EXPECT_EQ(stat(asked.c_str(), &st), 0);
}

}  // namespace
}  // namespace kc_plugin_test
