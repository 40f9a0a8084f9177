// The dictionary-driven item queries as a host program uses them: queries
// built from the "kSec... as string" names and ordinary host values, against
// real keychains, read back every way, shared with the classic finds, and
// refused with the documented status or exception. The item query stand-in
// passes every call on to the framework and shows what reached it.
#include <ctime>
#include <set>

#include "item_query_stand_in.h"
#include "keychain_class_fixture.h"

namespace kc_plugin_test {
namespace {

using plugin_host::Kind;
using plugin_host::StandInClass;

class ItemQueries : public KeychainClassTest {
 protected:
  void SetUp() override {
    KeychainClassTest::SetUp();
    HostOptions options;
    options.standIns = {StandInClass{"CFObjectZNQ", true, 8 * sizeof(void *)}};
    StartHost(options);
    keychain_ = CreateKeychain("queries.keychain", "");
    // Queries search the search list; this keychain is all of it.
    Shared(decl::kSetSearchList, {host().Array(kREALArrayObject, {keychain_})});
    ASSERT_EQ(LastError(), 0);
  }
  void TearDown() override {
    keychain_.reset();
    ForgetItemQueries();
    KeychainClassTest::TearDown();
  }

  // The text of a query name, as its accessor gives it.
  Value Name(const std::string &name) { return Shared(decl::QueryNameDeclaration(name)); }

  // A host Dictionary of query names and values; a Value that is no object is
  // boxed in a variant.
  Value Query(const std::vector<std::pair<std::string, Value>> &entries) {
    Value dict = host().Dictionary();
    for (const auto &[name, value] : entries) {
      Value boxed = value.kind() == Kind::Object || value.isNil() ? value : host().Variant(value);
      EXPECT_TRUE(host().DictionarySet(dict, host().Variant(Name(name)), boxed)) << name;
    }
    return dict;
  }

  Value Generic(const std::string &service, const std::string &account) {
    return Query({{"kSecClass", Name("kSecClassGenericPassword")},
                  {"kSecAttrService", Text(service)},
                  {"kSecAttrAccount", Text(account)}});
  }

  // The value under a query name in a host Dictionary the plug-in returned.
  Value Entry(const Value &dict, const std::string &name) {
    return host().DictionaryLookup(dict, host().Variant(Name(name)));
  }
  std::string EntryText(const Value &dict, const std::string &name) {
    Value v = host().VariantValue(Entry(dict, name));
    return v.kind() == Kind::String ? host().StringBytes(v) : "<none>";
  }

  // What the framework was given last, by the framework's own constant.
  CFTypeRef Sent(CFStringRef key) { return CFDictionaryGetValue(LastItemQuery().query, key); }

  // The secret the classic find gives, "" for an item without one, "<none>"
  // when no item is found.
  std::string ClassicGeneric(const Value &keychain, const std::string &service, const std::string &account) {
    Value password;
    Value item = Method(keychain, decl::kFindGenericPassword, {Text(service), Text(account), Arg::ByRef(password)});
    if (item.isNil()) return "<none>";
    return password.isNil() ? "" : host().MemoryBlockBytes(password);
  }

  Value keychain_;
};

TEST_F(ItemQueries, ItemsAddedFromDictionariesReadBackEveryWay) {
  Value generic = Generic("mail", "ann");
  host().DictionarySet(generic, host().Variant(Name("kSecValueData")), host().MemoryBlock("s3cret"));
  host().DictionarySet(generic, host().Variant(Name("kSecAttrLabel")), host().Variant(Text("Mail")));
  EXPECT_TRUE(Shared(decl::kAddItem, {keychain_, generic}).boolean());
  EXPECT_EQ(LastError(), 0);
  const time_t added = time(nullptr);
  Value internet = Query({{"kSecClass", Name("kSecClassInternetPassword")},
                          {"kSecAttrServer", Text("example.org")},
                          {"kSecAttrPort", Value::Int32(443)},
                          {"kSecAttrProtocol", Name("kSecAttrProtocolHTTPS")},
                          {"kSecAttrAccount", Text("bob")},
                          {"kSecValueData", Text("web pw")}});
  EXPECT_TRUE(Shared(decl::kAddItem, {keychain_, internet}).boolean());
  EXPECT_EQ(LastError(), 0);

  Value secret = host().MemoryBlock("old");
  EXPECT_TRUE(Shared(decl::kGetPassword, {Generic("mail", "ann"), Arg::ByRef(secret)}).boolean());
  EXPECT_EQ(host().MemoryBlockBytes(secret), "s3cret");

  // Attributes come back as host strings, numbers, dates, and the class.
  Value all = Query({{"kSecClass", Name("kSecClassInternetPassword")}, {"kSecMatchLimit", Name("kSecMatchLimitAll")}});
  Value dicts = Shared(decl::kCopyMatchingDictionaries, {all});
  EXPECT_EQ(LastError(), 0);
  ASSERT_EQ(host().ArrayUBound(dicts), 0);
  Value attributes = host().ArrayElement(dicts, 0);
  EXPECT_EQ(host().ClassName(attributes), "Dictionary");
  EXPECT_EQ(EntryText(attributes, "kSecClass"), "inet");
  EXPECT_EQ(EntryText(attributes, "kSecAttrServer"), "example.org");
  EXPECT_EQ(EntryText(attributes, "kSecAttrAccount"), "bob");
  EXPECT_EQ(EntryText(attributes, "kSecAttrProtocol"), host().StringBytes(Name("kSecAttrProtocolHTTPS")));
  Value port = Entry(attributes, "kSecAttrPort");
  EXPECT_EQ(host().VariantType(port), kREALVarInt32);
  EXPECT_EQ(host().VariantValue(port).integer(), 443);
  auto created = host().DateOf(Entry(attributes, "kSecAttrCreationDate"));
  ASSERT_TRUE(created.has_value());
  struct tm gmt;
  gmtime_r(&added, &gmt);
  EXPECT_EQ(created->year, gmt.tm_year + 1900) << "dates come back as GMT fields";
  EXPECT_EQ(created->hour, gmt.tm_hour);
  EXPECT_TRUE(Entry(attributes, "kSecValueData").isNil()) << "dictionaries hold attributes only";

  // Items: as KeychainItemZNQ objects in an array, or one through CopyMatching.
  Value items = Shared(decl::kCopyMatchingItems,
                       {Query({{"kSecClass", Name("kSecClassGenericPassword")}, {"kSecMatchLimit", Name("kSecMatchLimitAll")}})});
  ASSERT_EQ(host().ArrayUBound(items), 0);
  Value item = host().ArrayElement(items, 0);
  EXPECT_EQ(host().ClassName(item), "KeychainItemZNQ");
  EXPECT_EQ(RetainCountOf(item), 1);
  EXPECT_EQ(host().MemoryBlockBytes(Method(item, decl::kPassword)), "s3cret");
  Value one;
  Value byRef = Generic("mail", "ann");
  host().DictionarySet(byRef, host().Variant(Name("kSecReturnRef")), host().Variant(Value::Boolean(true)));
  EXPECT_TRUE(Shared(decl::kCopyMatching, {byRef, Arg::ByRef(one)}).boolean());
  EXPECT_EQ(host().ClassName(one), "KeychainItemZNQ");
  EXPECT_EQ(host().StringBytes(Method(one, decl::kLabel)), "Mail");
  // With every match asked for, the references inside the array are general
  // wrappers: only a whole result becomes this plug-in's own objects.
  host().DictionarySet(byRef, host().Variant(Name("kSecMatchLimit")), host().Variant(Name("kSecMatchLimitAll")));
  Value many;
  EXPECT_TRUE(Shared(decl::kCopyMatching, {byRef, Arg::ByRef(many)}).boolean());
  ASSERT_EQ(host().ArrayUBound(many), 0);
  EXPECT_EQ(host().ClassName(host().ArrayElement(many, 0)), "CFObjectZNQ");

  // Update, then delete; a second delete finds nothing.
  Value change = Query({{"kSecValueData", host().MemoryBlock("changed")}, {"kSecAttrLabel", Text("New")}});
  EXPECT_TRUE(Shared(decl::kUpdateItem, {Generic("mail", "ann"), change}).boolean());
  EXPECT_EQ(LastError(), 0);
  EXPECT_EQ(ClassicGeneric(keychain_, "mail", "ann"), "changed");
  EXPECT_EQ(host().StringBytes(Method(one, decl::kLabel)), "New");
  EXPECT_TRUE(Shared(decl::kDeleteItem, {Generic("mail", "ann")}).boolean());
  EXPECT_EQ(LastError(), 0);
  EXPECT_FALSE(Shared(decl::kDeleteItem, {Generic("mail", "ann")}).boolean());
  EXPECT_EQ(LastError(), errSecItemNotFound);
}

// Keychains, items and keychain lists given as this plug-in's objects reach
// the framework as the references they hold.
TEST_F(ItemQueries, PlugInObjectsInQueriesAreTheirReferences) {
  Value other = CreateKeychain("other.keychain", "");
  // The dictionary's own keychain wins over the argument's.
  Value named = Generic("routed", "ann");
  host().DictionarySet(named, host().Variant(Name("kSecUseKeychain")), other);
  host().DictionarySet(named, host().Variant(Name("kSecValueData")), host().MemoryBlock("r"));
  ASSERT_TRUE(Shared(decl::kAddItem, {keychain_, named}).boolean());
  EXPECT_EQ(Sent(kSecUseKeychain), HandleOf<CFTypeRef>(other));
  EXPECT_EQ(ClassicGeneric(other, "routed", "ann"), "r");
  EXPECT_EQ(ClassicGeneric(keychain_, "routed", "ann"), "<none>");
  // The argument's keychain goes in when the dictionary names none; no
  // keychain argument adds no key.
  Value plain = Generic("plain", "ann");
  ASSERT_TRUE(Shared(decl::kAddItem, {other, plain}).boolean());
  EXPECT_EQ(Sent(kSecUseKeychain), HandleOf<CFTypeRef>(other));
  ASSERT_TRUE(Shared(decl::kAddItem, {host().NewInstance("KeychainZNQ"), Generic("nowhere", "ann")}).boolean());
  EXPECT_EQ(Sent(kSecUseKeychain), nullptr);

  // A search list limits the search to its keychains.
  ASSERT_TRUE(Shared(decl::kAddItem, {keychain_, Generic("routed", "bob")}).boolean());
  Value limited = Query({{"kSecClass", Name("kSecClassGenericPassword")},
                         {"kSecAttrService", Text("routed")},
                         {"kSecMatchLimit", Name("kSecMatchLimitAll")},
                         {"kSecMatchSearchList", host().Array(kREALArrayObject, {other})}});
  Value found = Shared(decl::kCopyMatchingItems, {limited});
  ASSERT_EQ(host().ArrayUBound(found), 0);
  EXPECT_EQ(host().StringBytes(Method(host().ArrayElement(found, 0), decl::kAccount)), "ann");

  // An item object names exactly that item.
  Value item = Method(other, decl::kFindGenericItem, {Text("routed"), Text("ann")});
  ASSERT_FALSE(item.isNil());
  Value byItem = Query({{"kSecValueRef", item}});
  EXPECT_TRUE(Shared(decl::kDeleteItem, {byItem}).boolean());
  EXPECT_EQ(Sent(kSecValueRef), HandleOf<CFTypeRef>(item));
  EXPECT_EQ(ClassicGeneric(other, "routed", "ann"), "<none>");
  EXPECT_EQ(ClassicGeneric(keychain_, "routed", "bob"), "");
}

// The shaped operations set their one return key (a caller's own value
// stays) and drop the others, in their converted copy only; the thin ones
// pass the query on as it is.
TEST_F(ItemQueries, ShapedQueriesChangeOnlyTheirCopyOfTheQuery) {
  auto flag = [&](CFStringRef key) -> std::string {
    CFTypeRef v = Sent(key);
    return v == nullptr ? "absent" : v == kCFBooleanTrue ? "true" : v == kCFBooleanFalse ? "false" : "other";
  };
  Value query = Generic("shape", "ann");
  for (const char *name : {"kSecReturnData", "kSecReturnRef", "kSecReturnPersistentRef"})
    host().DictionarySet(query, host().Variant(Name(name)), host().Variant(Value::Boolean(true)));
  const RBInteger entries = host().DictionaryCount(query);

  Shared(decl::kCopyMatchingDictionaries, {query});
  EXPECT_EQ(flag(kSecReturnAttributes), "true");
  EXPECT_EQ(flag(kSecReturnData), "absent");
  EXPECT_EQ(flag(kSecReturnRef), "absent");
  EXPECT_EQ(flag(kSecReturnPersistentRef), "absent");
  Shared(decl::kCopyMatchingItems, {query});
  EXPECT_EQ(flag(kSecReturnRef), "true");
  EXPECT_EQ(flag(kSecReturnData), "absent");
  EXPECT_EQ(flag(kSecReturnAttributes), "absent");
  Value secret;
  Shared(decl::kGetPassword, {query, Arg::ByRef(secret)});
  EXPECT_EQ(flag(kSecReturnData), "true");
  EXPECT_EQ(flag(kSecReturnRef), "absent");
  EXPECT_EQ(flag(kSecReturnPersistentRef), "absent");
  Value result;
  Shared(decl::kCopyMatching, {query, Arg::ByRef(result)});
  EXPECT_EQ(flag(kSecReturnData), "true");
  EXPECT_EQ(flag(kSecReturnPersistentRef), "true");
  EXPECT_EQ(flag(kSecReturnAttributes), "absent");
  EXPECT_EQ(host().DictionaryCount(query), entries) << "the caller's dictionary is never changed";

  // A caller's own false stays false: asked for nothing, the framework
  // answers with its default, and the array of dictionaries stays empty.
  host().DictionarySet(query, host().Variant(Name("kSecReturnAttributes")), host().Variant(Value::Boolean(false)));
  Shared(decl::kCopyMatchingDictionaries, {query});
  EXPECT_EQ(flag(kSecReturnAttributes), "false");
  EXPECT_EQ(Sent(kSecMatchLimit), nullptr) << "the match limit is the caller's business";
}

// Refusals, in the order the operations check: nil arguments raise
// NilObjectException before anything else but the by-reference slot; a
// framework failure is only a status.
TEST_F(ItemQueries, RefusalsAndFailuresFollowTheDocumentedOrder) {
  struct Case {
    const char *declaration;
    std::vector<Value> args;
    int slot;  // index of a by-reference argument, or -1
    const char *message;
    bool keepsLastError;
  };
  Value dict = Generic("x", "y");
  const Case cases[] = {
      {decl::kDeleteItem, {Value()}, -1, "query is nil", false},
      {decl::kUpdateItem, {Value(), Value()}, -1, "query is nil", false},
      {decl::kUpdateItem, {dict, Value()}, -1, "attributesToUpdate is nil", false},
      {decl::kCopyMatching, {Value(), Value()}, 1, "query is nil", false},
      {decl::kGetPassword, {Value(), Value()}, 1, "query is nil", false},
      {decl::kAddItem, {keychain_, Value()}, -1, "attributesDictionary is nil", false},
      {decl::kAddItemWithResult, {keychain_, Value(), Value()}, 2, "attributesDictionary is nil", false},
      {decl::kCopyMatchingDictionaries, {Value()}, -1, "query is nil", true},
      {decl::kCopyMatchingItems, {Value()}, -1, "query is nil", true},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.declaration);
    Shared(decl::kVersion);
    ASSERT_EQ(LastError(), 0);
    std::vector<Value> values = c.args;
    if (c.slot >= 0) values[c.slot] = host().MemoryBlock("old");
    std::vector<Arg> args(values.begin(), values.end());
    if (c.slot >= 0) args[c.slot] = Arg::ByRef(values[c.slot]);
    Value r = Shared(c.declaration, args);
    EXPECT_TRUE(r.isNil() || (r.kind() == Kind::Boolean && !r.boolean()));
    EXPECT_EQ(LastError(), c.keepsLastError ? 0 : -1);
    if (c.slot >= 0) {
      EXPECT_TRUE(values[c.slot].isNil()) << "the slot is emptied first";
    }
    auto e = host().TakeException();
    ASSERT_TRUE(e.has_value());
    EXPECT_EQ(e->className, "NilObjectException");
    EXPECT_EQ(e->message, c.message);
  }
  EXPECT_EQ(LastItemQuery().function, "") << "no refused call reached the framework";

  // Framework failures: a status, a false or an empty array, no exception.
  EXPECT_FALSE(Shared(decl::kDeleteItem, {Generic("absent", "nobody")}).boolean());
  EXPECT_EQ(LastError(), errSecItemNotFound);
  Value none = Shared(decl::kCopyMatchingItems, {Generic("absent", "nobody")});
  EXPECT_EQ(LastError(), errSecItemNotFound);
  EXPECT_EQ(host().ArrayUBound(none), -1);
  ASSERT_TRUE(Shared(decl::kAddItem, {keychain_, Generic("dup", "ann")}).boolean());
  Value result = host().MemoryBlock("old");
  EXPECT_FALSE(Shared(decl::kAddItemWithResult, {keychain_, Generic("dup", "ann"), Arg::ByRef(result)}).boolean());
  EXPECT_EQ(LastError(), errSecDuplicateItem);
  EXPECT_TRUE(result.isNil());
  EXPECT_FALSE(host().TakeException().has_value());

  // Without a match limit the framework answers one dictionary, not an
  // array: the operation succeeds and returns an empty array.
  Value single = Shared(decl::kCopyMatchingDictionaries, {Generic("dup", "ann")});
  EXPECT_EQ(LastError(), 0);
  EXPECT_EQ(host().ArrayUBound(single), -1);
}

// What the framework answers decides what comes back: an added item's
// reference as a KeychainItemZNQ, a keychain as a KeychainZNQ, an array of
// secrets as nothing, elements that are not items skipped without a gap.
TEST_F(ItemQueries, FrameworkAnswersBecomeTheDocumentedHostValues) {
  Value result;
  Value added = Generic("ref", "ann");
  host().DictionarySet(added, host().Variant(Name("kSecReturnRef")), host().Variant(Value::Boolean(true)));
  EXPECT_TRUE(Shared(decl::kAddItemWithResult, {keychain_, added, Arg::ByRef(result)}).boolean());
  EXPECT_EQ(host().ClassName(result), "KeychainItemZNQ");
  EXPECT_EQ(RetainCountOf(result), 1);
  Value itemObject = result;

  AnswerItemQueriesWith(errSecSuccess, HandleOf<CFTypeRef>(keychain_));
  EXPECT_TRUE(Shared(decl::kCopyMatching, {Generic("a", "b"), Arg::ByRef(result)}).boolean());
  EXPECT_EQ(host().ClassName(result), "KeychainZNQ");
  EXPECT_EQ(HandleOf<CFTypeRef>(result), HandleOf<CFTypeRef>(keychain_));

  CFDataRef data = CFDataCreate(nullptr, reinterpret_cast<const UInt8 *>("pw"), 2);
  const void *secrets[] = {data, data};
  CFArrayRef several = CFArrayCreate(nullptr, secrets, 2, &kCFTypeArrayCallBacks);
  AnswerItemQueriesWith(errSecSuccess, several);
  Value block = host().MemoryBlock("old");
  EXPECT_TRUE(Shared(decl::kGetPassword, {Generic("a", "b"), Arg::ByRef(block)}).boolean());
  EXPECT_TRUE(block.isNil()) << "several secrets make no block";

  const void *mixed[] = {data, HandleOf<CFTypeRef>(itemObject), HandleOf<CFTypeRef>(keychain_),
                         HandleOf<CFTypeRef>(itemObject)};
  CFArrayRef elements = CFArrayCreate(nullptr, mixed, 4, &kCFTypeArrayCallBacks);
  AnswerItemQueriesWith(errSecSuccess, elements);
  Value items = Shared(decl::kCopyMatchingItems, {Generic("a", "b")});
  ASSERT_EQ(host().ArrayUBound(items), 1);
  for (RBInteger i = 0; i <= 1; ++i)
    EXPECT_EQ(HandleOf<CFTypeRef>(host().ArrayElement(items, i)), HandleOf<CFTypeRef>(itemObject));
  CFRelease(elements);
  CFRelease(several);
  CFRelease(data);
}

}  // namespace
}  // namespace kc_plugin_test
