// Attribute searches over one keychain or several, their items one by one,
// and whole listings by item class, as a host program runs them through the
// module, KeychainZNQ and KeychainSearchZNQ against real keychains.
#include <set>

#include "keychain_class_fixture.h"
#include "search_fault_injector.h"

namespace kc_plugin_test {
namespace {

// A UInt32 attribute (port, protocol) given as text is its four bytes in
// memory, as a program reads them out of a memory block.
std::string NativeBytes(uint32_t value) { return std::string(reinterpret_cast<const char *>(&value), 4); }

class SearchesAndListings : public KeychainClassTest {
 protected:
  void SetUp() override {
    KeychainClassTest::SetUp();
    FailSearchStepsAfter(-1, 0);
    work_ = CreateKeychain("work.keychain", "");
    home_keychain_ = CreateKeychain("home.keychain", "");
    AddGeneric(work_, "mail", "ann", "w1");
    AddGeneric(work_, "mail", "bob", "w2");
    AddGeneric(work_, "chat", "ann", "w3");
    AddGeneric(work_, "mail", "", "w4");
    AddGeneric(home_keychain_, "mail", "ann", "h1");
    AddInternet(work_, "intranet.example", 443, "htps", "ann");
    AddInternet(work_, "intranet.example", 80, "http", "ann");
    AddInternet(work_, "wiki.example", 80, "http", "bob");
    Value labelled = Method(work_, decl::kFindGenericItem, {Text("chat"), Text("ann")});
    AssignMethod(labelled, decl::kLabel, {}, Text("team chat"));
  }
  void TearDown() override {
    FailSearchStepsAfter(-1, 0);
    work_.reset();
    home_keychain_.reset();
    KeychainClassTest::TearDown();
  }

  void AddGeneric(const Value &keychain, const char *service, const char *account, const char *secret) {
    ASSERT_FALSE(Method(keychain, decl::kAddGenericText, {Text(service), Text(account), Text(secret)}).isNil());
  }
  void AddInternet(const Value &keychain, const char *server, RBInteger port, const char *protocol,
                   const char *account) {
    ASSERT_FALSE(Method(keychain, decl::kAddInternetText,
                        {Text(server), Text(""), Text(account), Text(""), Value::Integer(port), Text(protocol),
                         Text("dflt"), Text("pw")})
                     .isNil());
  }

  Value Strings(const std::vector<std::string> &texts) {
    std::vector<Value> elements;
    for (const std::string &t : texts) elements.push_back(host().String(t, kREALEncodingUnknown));
    return host().Array(kREALArrayString, elements);
  }

  // Every item a search yields, described as "keychain:service/account" for
  // generic items and "keychain:server:port/account" for internet items,
  // then the search's status after its last step.
  std::multiset<std::string> Drain(const Value &search, RBInteger *finalStatus) {
    std::multiset<std::string> found;
    for (int guard = 0; guard < 100; ++guard) {
      Value item = Method(search, decl::kNextItem);
      if (item.isNil()) break;
      EXPECT_EQ(Property(search, "Lasterror"), 0);
      found.insert(Describe(item));
    }
    *finalStatus = Property(search, "Lasterror");
    return found;
  }

  std::string Describe(const Value &item) {
    const std::string keychain = host().StringBytes(Method(Method(item, decl::kKeychain), decl::kName));
    const std::string account = Bytes(Method(item, decl::kAccount));
    if (host().StringBytes(Method(item, decl::kItemClass)) == "genp")
      return keychain + ":" + Bytes(Method(item, decl::kService)) + "/" + account;
    const std::string port = Bytes(Method(item, decl::kAttributeData, {Text("port")}));
    uint32_t number = 0;
    if (port.size() == 4) memcpy(&number, port.data(), 4);
    return keychain + ":" + Bytes(Method(item, decl::kAttributeText, {Text("srvr")})) + ":" +
           std::to_string(number) + "/" + account;
  }

  std::string Bytes(const Value &v) { return v.isNil() ? "" : KeychainClassTest::Bytes(v); }

  Value work_, home_keychain_;
};

TEST_F(SearchesAndListings, AttributeSearchesFindExactlyTheMatchingItems) {
  struct Case {
    const char *what;
    const char *itemClass;
    std::vector<std::string> keys, values;
    std::multiset<std::string> want;
  };
  const Case cases[] = {
      {"account", "genp", {"acct"}, {"ann"}, {"work:mail/ann", "work:chat/ann"}},
      {"service and account", "genp", {"svce", "acct"}, {"mail", "bob"}, {"work:mail/bob"}},
      {"label", "genp", {"labl"}, {"team chat"}, {"work:chat/ann"}},
      {"no keys: the whole class", "genp", {}, {}, {"work:mail/ann", "work:mail/bob", "work:chat/ann", "work:mail/"}},
      {"a key without its value matches the empty attribute", "genp", {"svce", "acct"}, {"mail"}, {"work:mail/"}},
      {"surplus values are not read", "genp", {"svce"}, {"chat", "mail", "x"}, {"work:chat/ann"}},
      {"server", "inet", {"srvr"}, {"intranet.example"}, {"work:intranet.example:443/ann", "work:intranet.example:80/ann"}},
      {"port as its bytes", "inet", {"port"}, {NativeBytes(80)}, {"work:intranet.example:80/ann", "work:wiki.example:80/bob"}},
      {"protocol as its bytes", "inet", {"ptcl", "acct"}, {NativeBytes(Code("htps")), "ann"}, {"work:intranet.example:443/ann"}},
      {"nothing matches", "inet", {"srvr"}, {"nowhere.example"}, {}},
      {"an empty class matches nothing", "", {}, {}, {}},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.what);
    Value search = Shared(decl::kSearchCreate, {work_, Text(c.itemClass), Strings(c.keys), Strings(c.values)});
    EXPECT_EQ(LastError(), 0);
    ASSERT_FALSE(search.isNil());
    EXPECT_EQ(host().ClassName(search), "KeychainSearchZNQ");
    EXPECT_EQ(RetainCountOf(search), 1);
    RBInteger status = 0;
    EXPECT_EQ(Drain(search, &status), c.want);
    EXPECT_EQ(status, errSecItemNotFound) << "the step after the last item";
    // A search that has run out stays out.
    EXPECT_TRUE(Method(search, decl::kNextItem).isNil());
    EXPECT_EQ(Property(search, "Lasterror"), errSecItemNotFound);
  }

  // An empty key is four blanks, which no item has: the framework refuses
  // the search, and no object is made.
  Value refused = Shared(decl::kSearchCreate, {work_, Text("genp"), Strings({""}), Strings({"ann"})});
  EXPECT_TRUE(refused.isNil());
  EXPECT_EQ(LastError(), errSecNoSuchAttr);

  // A search object a program makes itself holds no search.
  Value blank = host().NewInstance("KeychainSearchZNQ");
  EXPECT_TRUE(Method(blank, decl::kNextItem).isNil());
  EXPECT_EQ(Property(blank, "Lasterror"), -1);
}

TEST_F(SearchesAndListings, SearchesOverSeveralKeychainsFollowTheirOrder) {
  Value both = host().Array(kREALArrayObject, {home_keychain_, Value(), work_});
  Value search = Shared(decl::kSearchCreateMany, {both, Text("genp"), Strings({"acct"}), Strings({"ann"})});
  EXPECT_EQ(LastError(), 0);
  ASSERT_FALSE(search.isNil());
  std::vector<std::string> order;
  for (Value item = Method(search, decl::kNextItem); !item.isNil(); item = Method(search, decl::kNextItem))
    order.push_back(Describe(item));
  ASSERT_EQ(order.size(), 3u);
  EXPECT_EQ(order[0], "home:mail/ann") << "the first keychain of the array is searched first";
  EXPECT_EQ(std::multiset<std::string>(order.begin() + 1, order.end()),
            (std::multiset<std::string>{"work:mail/ann", "work:chat/ann"}));
  EXPECT_EQ(Property(search, "Lasterror"), errSecItemNotFound);

  // An empty array is an empty list, not the default search list: nothing
  // is found, although the login keychain holds a match.
  Value login = Shared(decl::kDefault);
  ASSERT_FALSE(Method(login, decl::kAddGenericText, {Text("mail"), Text("ann"), Text("l")}).isNil());
  Value none = Shared(decl::kSearchCreateMany,
                      {host().Array(kREALArrayObject, {}), Text("genp"), Strings({"acct"}), Strings({"ann"})});
  ASSERT_FALSE(none.isNil());
  EXPECT_TRUE(Method(none, decl::kNextItem).isNil());
  EXPECT_EQ(Property(none, "Lasterror"), errSecItemNotFound);

  // A nil keychain is the default search list.
  Value defaults = Shared(decl::kSearchCreate, {Value(), Text("genp"), Strings({"acct"}), Strings({"ann"})});
  RBInteger status = 0;
  EXPECT_EQ(Drain(defaults, &status), std::multiset<std::string>{"login:mail/ann"});
}

// "AllItems" gives every item of a class as one array, in both forms, and
// each element is a new object holding the only retain of its item.
TEST_F(SearchesAndListings, AllItemsListsEveryItemOnceWithOneRetainEach) {
  ASSERT_TRUE(host().SetProperty(work_, "Lasterror", Value::Integer(55)).ok);
  Value fromObject = Method(work_, decl::kAllItems, {Text("genp")});
  EXPECT_EQ(LastError(), 0);
  Value fromModule = Shared(decl::kAllItemsM, {work_, Text("genp")});
  EXPECT_EQ(LastError(), 0);
  EXPECT_EQ(Property(work_, "Lasterror"), 55) << "the object's own status is not touched";
  for (const Value *list : {&fromObject, &fromModule}) {
    ASSERT_EQ(host().ArrayElementType(*list), kREALArrayObject);
    std::multiset<std::string> found;
    for (RBInteger i = 0; i <= host().ArrayUBound(*list); ++i) {
      Value item = host().ArrayElement(*list, i);
      EXPECT_EQ(host().ClassName(item), "KeychainItemZNQ");
      EXPECT_EQ(RetainCountOf(item), 1);
      EXPECT_EQ(host().LockCount(item), 2) << "the array's lock and this reader's";
      found.insert(Describe(item));
    }
    EXPECT_EQ(found, (std::multiset<std::string>{"work:mail/ann", "work:mail/bob", "work:chat/ann", "work:mail/"}));
  }
  EXPECT_EQ(host().ArrayUBound(Shared(decl::kAllItemsM, {work_, Text("inet")})), 2);

  // A class without items gives an empty array and success.
  Value none = Shared(decl::kAllItemsM, {home_keychain_, Text("inet")});
  EXPECT_EQ(LastError(), 0);
  ASSERT_FALSE(none.isNil());
  EXPECT_EQ(host().ArrayUBound(none), -1);
  // A nil keychain lists the default search list.
  EXPECT_EQ(host().ArrayUBound(Shared(decl::kAllItemsM, {Value(), Text("genp")})), -1);
  EXPECT_EQ(LastError(), 0);
}

// A search step that fails part-way ends the listing: the items found so far
// come back, the failure stays in "LastError", and nothing is leaked or
// retried.
TEST_F(SearchesAndListings, AFailingSearchStepEndsTheListingAndReportsIt) {
  const long before = SearchStepsTaken();
  FailSearchStepsAfter(2, errSecInvalidKeychain);
  Value partial = Shared(decl::kAllItemsM, {work_, Text("genp")});
  EXPECT_EQ(LastError(), errSecInvalidKeychain);
  ASSERT_FALSE(partial.isNil());
  EXPECT_EQ(host().ArrayUBound(partial), 1);
  EXPECT_EQ(SearchStepsTaken() - before, 2);
  FailSearchStepsAfter(-1, 0);

  // The search object reports the same failure through its own status.
  Value search = Shared(decl::kSearchCreate, {work_, Text("genp"), Strings({}), Strings({})});
  FailSearchStepsAfter(0, errSecInvalidKeychain);
  EXPECT_TRUE(Method(search, decl::kNextItem).isNil());
  EXPECT_EQ(Property(search, "Lasterror"), errSecInvalidKeychain);
}

}  // namespace
}  // namespace kc_plugin_test
