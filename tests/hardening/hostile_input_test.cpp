// Hostile input through the plug-in: every registered method is called with
// every kind of bad value in each of its parameters (nil, empty and 1 MiB
// strings, strings in every host encoding with bytes invalid in it, extreme
// integers, objects of the wrong class, malformed dictionaries and arrays).
// Each call must be accepted, must raise nothing but the nil-argument
// exceptions, must leave a status the framework knows (or -1, no framework
// call), and must leak nothing.
#include <Security/Security.h>

#include <cctype>
#include <cstring>
#include <limits>

#include "plugin_fixture.h"

namespace kc_plugin_test {
namespace {

using plugin_host::StandInClass;

struct Param {
  std::string type;  // lower case, "()" appended for arrays
  bool byRef = false;
};

// The parameters of a declaration as a host program would read them.
std::vector<Param> ParamsOf(const std::string& declaration) {
  std::vector<Param> out;
  const size_t open = declaration.find_first_of(" (");
  if (open == std::string::npos || declaration[open] != '(') return out;
  size_t close = open;
  for (int depth = 0; close < declaration.size(); ++close) {
    depth += declaration[close] == '(' ? 1 : declaration[close] == ')' ? -1 : 0;
    if (depth == 0) break;
  }
  std::string inside = declaration.substr(open + 1, close - open - 1);
  for (char& c : inside) c = char(std::tolower(static_cast<unsigned char>(c)));
  for (size_t start = 0; start < inside.size();) {
    size_t comma = inside.find(", ", start);
    std::string p = inside.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
    out.push_back({p.substr(p.rfind(" as ") + 4) + (p.find("()") != std::string::npos ? "()" : ""),
                   p.rfind("byref ", 0) == 0});
    start = comma == std::string::npos ? inside.size() : comma + 2;
  }
  return out;
}

std::string ResultType(const std::string& declaration) {
  size_t as = declaration.rfind(" as ");
  const size_t close = declaration.rfind(')');
  if (as == std::string::npos || (close != std::string::npos && as < close)) return "";
  std::string t = declaration.substr(as + 4);
  for (char& c : t) c = char(std::tolower(static_cast<unsigned char>(c)));
  return t;
}

struct Labeled {
  std::string label;
  Value value;
  bool refused = false;  // the host itself refuses it, as a typed language does
};

class HostileInput : public PluginTest {
 protected:
  void SetUp() override {
    HostOptions options;
    options.standIns = {StandInClass{"CFObjectZNQ", true, 8 * sizeof(void*)}};
    StartHost(options);
    keychain_ = NewKeychain("hostile.keychain");
    item_ = Method(keychain_, decl::kAddGenericText, {Text("svc"), Text("acct"), Text("pw")});
    search_ = Shared(decl::kSearchCreate, {keychain_, Text("genp"), Strings({}), Strings({})});
    wrapper_ = host().NewInstance("CFObjectZNQ");
    CFStringRef held = CFSTR("not a keychain");
    CFRetain(held);
    std::memcpy(host().InstanceData(wrapper_), &held, sizeof held);
    // A dictionary that holds itself; TearDown breaks the cycle.
    cycle_ = Dict({{Name("kSecClass"), Name("kSecClassGenericPassword")}});
    ASSERT_TRUE(host().DictionarySet(cycle_, Boxed(Text("me")), cycle_));
    ASSERT_FALSE(item_.isNil());
    ASSERT_FALSE(search_.isNil());
  }
  void TearDown() override {
    host().DictionarySet(cycle_, Boxed(Text("me")), Value());
    keychain_ = item_ = search_ = wrapper_ = cycle_ = Value();
    PluginTest::TearDown();
  }

  Value Strings(const std::vector<std::string>& texts) {
    std::vector<Value> v;
    for (const std::string& t : texts) v.push_back(Text(t));
    return host().Array(3, v);
  }
  // Keys and values of a Dictionary are variants: strings and scalars go in boxed.
  Value Boxed(const Value& v) { return v.kind() == plugin_host::Kind::Object || v.isNil() ? v : host().Variant(v); }
  Value Dict(const std::vector<std::pair<Value, Value>>& entries) {
    Value d = host().Dictionary();
    for (const auto& [k, v] : entries) EXPECT_TRUE(host().DictionarySet(d, Boxed(k), Boxed(v)));
    return d;
  }
  Value Name(const std::string& queryName) { return Shared(decl::QueryNameDeclaration(queryName)); }

  // The well-formed value of a type, for the parameters not under attack.
  Value Benign(const std::string& type) {
    if (type == "string") return Text("svc");
    if (type == "integer") return Value::Integer(0);
    if (type == "memoryblock") return host().MemoryBlock("pw");
    if (type == "keychainznq") return keychain_;
    if (type == "dictionary") return Dict({{Name("kSecClass"), Name("kSecClassGenericPassword")}});
    if (type == "folderitem") return host().FolderItem(KeychainPath("hostile.keychain"));
    if (type == "string()") return Strings({"acct"});
    if (type == "keychainznq()") return host().Array(4, {keychain_});
    return Value();  // by-reference variants and blocks start nil
  }

  std::vector<Labeled> Hostile(const std::string& type) {
    const std::string mib(1 << 20, 'A');
    std::vector<Labeled> v = {{"nil", Value()}};
    if (type == "string") {
      v.push_back({"empty", Text("")});
      v.push_back({"1 MiB", Text(mib)});
      // Bytes that are not valid text in the encoding the string claims.
      const std::pair<uint32_t, std::string> bad[] = {
          {kREALEncodingUTF8, "\xC3\x28\xFF\xFE\xED\xA0\x80"}, {kREALEncodingASCII, "a\x80\xFF"},
          {kREALEncodingUTF16, std::string("\x00\xD8\x41", 3)}, {kREALEncodingUTF16LE, std::string("\x00\xDC", 2)},
          {kREALEncodingUTF16BE, std::string("\xD8\x00\x00", 3)}, {kREALEncodingUTF32, "\xFF\xFF\xFF\xFF"},
          {kREALEncodingMacRoman, std::string("\x00\x81\xFF", 3)}, {kREALEncodingISOLatin1, "\xA0\xFF"},
          {kREALEncodingWindowsLatin1, "\x81\x8D\x9D"}, {kREALEncodingUnknown, std::string("\xFF\x00\x80", 3)},
          {0x12345678u, "no such encoding"}};
      for (const auto& [encoding, bytes] : bad)
        v.push_back({"encoding " + std::to_string(encoding), host().String(bytes, encoding)});
    } else if (type == "integer") {
      for (RBInteger n : {RBInteger(-1), RBInteger(65536), std::numeric_limits<RBInteger>::min(),
                          std::numeric_limits<RBInteger>::max(), RBInteger(INT32_MIN)})
        v.push_back({"integer " + std::to_string(n), Value::Integer(n)});
      v.erase(v.begin());  // an integer is never nil
    } else if (type == "memoryblock") {
      v.push_back({"empty block", host().MemoryBlock("")});
      v.push_back({"1 MiB block", host().MemoryBlock(std::string(1 << 20, '\xFF'))});
      v.push_back({"garbage block", host().MemoryBlock(std::string("ssui\xFF\xFF\xFF\xFF", 8))});
    } else if (type == "keychainznq") {
      v.push_back({"keychain without a reference", host().NewInstance("KeychainZNQ")});
      v.push_back({"item as keychain", item_});
      v.push_back({"search as keychain", search_});
      v.push_back({"string wrapper as keychain", wrapper_});
      v.push_back({"dictionary as keychain", host().Dictionary()});
    } else if (type == "dictionary") {
      Value cls = Name("kSecClass"), genp = Name("kSecClassGenericPassword");
      Value deep = Dict({{Text("leaf"), Text("x")}});
      for (int i = 0; i < 2000; ++i) deep = Dict({{Text("k"), deep}});
      v.push_back({"empty dictionary", host().Dictionary()});
      v.push_back({"keychain as dictionary", keychain_});
      v.push_back({"integer class", Dict({{cls, Value::Integer(12345)}})});
      v.push_back({"search as item", Dict({{cls, genp}, {Name("kSecValueRef"), search_}})});
      v.push_back({"item as keychain", Dict({{cls, genp}, {Name("kSecUseKeychain"), item_}})});
      v.push_back({"items as search list",
                   Dict({{cls, genp}, {Name("kSecMatchSearchList"), host().Array(4, {item_, search_})}})});
      v.push_back({"keychain as item list", Dict({{cls, genp}, {Name("kSecMatchItemList"), host().Array(4, {keychain_})}})});
      v.push_back({"negative limit", Dict({{cls, genp}, {Name("kSecMatchLimit"), Value::Integer(-1)}})});
      v.push_back({"wrong kinds", Dict({{cls, genp},
                                        {Name("kSecReturnData"), keychain_},
                                        {Name("kSecValueData"), Text(mib)},
                                        {Name("kSecAttrAccount"), host().String("\xC3\x28", kREALEncodingUTF8)},
                                        {Name("kSecAttrService"), host().Dictionary()}})});
      v.push_back({"odd keys", Dict({{Value::Integer(7), Text("x")},
                                     {keychain_, item_},
                                     {Text(mib), host().Date({})}})});
      v.push_back({"2000 levels deep", Dict({{cls, genp}, {Name("kSecAttrService"), deep}})});
      v.push_back({"holds itself", cycle_});
    } else if (type == "folderitem") {
      v.push_back({"missing file", host().FolderItem("/nonexistent/\xFF\xFE/x.keychain")});
      v.push_back({"folder", host().FolderItem("/")});
    } else if (type == "string()") {
      v.push_back({"empty array", Strings({})});
      v.push_back({"bad strings", host().Array(3, {Value(), Text(mib), host().String("\xFF", kREALEncodingUTF8)})});
      v.push_back({"objects as strings", host().Array(4, {keychain_, Value()}), true});
    } else if (type == "keychainznq()") {
      v.push_back({"empty array", host().Array(4, {})});
      v.push_back({"wrong objects", host().Array(4, {Value(), item_, search_, wrapper_, host().Dictionary()})});
      v.push_back({"strings as keychains", Strings({"k", ""}), true});
    } else if (type == "variant") {
      v.push_back({"string in the slot", host().Variant(Text("old"))});
    } else if (type == "boolean") {
      v = {{"true", Value::Boolean(true)}, {"false", Value::Boolean(false)}};
    } else {  // any other class: settings, items
      v.push_back({"item", item_});
      v.push_back({"keychain", keychain_});
      v.push_back({"search", search_});
    }
    return v;
  }

  // The one status check every hostile call must pass: -1 (no framework
  // call completed) or a status the framework itself knows.
  static void ExpectKnownStatus(RBInteger status, const std::string& what) {
    if (status == -1 || status == 0) return;
    CFStringRef text = SecCopyErrorMessageString(OSStatus(status), nullptr);
    char buf[64] = "";
    CFStringGetCString(text, buf, sizeof buf, kCFStringEncodingUTF8);
    CFRelease(text);
    EXPECT_NE(std::string(buf).rfind("OSStatus ", 0), 0u) << what << " left status " << status;
  }

  // Calls a method (of owner, or of the module when owner is nil) with the
  // hostile value in one parameter; position params.size() is the value
  // assigned to a property-like method.
  void Attack(const Value& owner, const std::string& declaration, bool hasSetter) {
    const std::vector<Param> params = ParamsOf(declaration);
    const size_t positions = params.size() + (hasSetter ? 1 : 0);
    for (size_t target = 0; target < std::max<size_t>(positions, 1); ++target) {
      const bool assign = hasSetter && target == params.size();
      const std::string type = assign ? ResultType(declaration) : params.empty() ? "" : params[target].type;
      for (Labeled& bad : positions == 0 ? std::vector<Labeled>{{"no arguments", Value()}} : Hostile(type)) {
        std::vector<Value> values;
        for (size_t i = 0; i < params.size(); ++i)
          values.push_back(i == target ? bad.value : Benign(params[i].type));
        std::vector<Arg> args;
        for (size_t i = 0; i < params.size(); ++i)
          args.push_back(params[i].byRef ? Arg::ByRef(values[i]) : Arg(values[i]));
        const std::string what = declaration + " [" + std::to_string(target) + ": " + bad.label + "]";
        CallResult r;
        if (assign)
          r = owner.isNil() ? host().AssignShared(kModule, declaration, args, bad.value)
                            : host().AssignMethod(owner, declaration, args, bad.value);
        else
          r = owner.isNil() ? host().CallShared(kModule, declaration, args)
                            : host().CallMethod(owner, declaration, args);
        ASSERT_NE(r.ok, bad.refused) << what << ": " << r.error;
        if (auto e = host().TakeException()) {
          EXPECT_TRUE(e->className == "NilObjectException" || e->className == "OutOfMemoryException")
              << what << " raised " << e->className;
        }
        ExpectKnownStatus(LastError(), what);
        if (!owner.isNil()) ExpectKnownStatus(Property(owner, "Lasterror"), what);
      }
    }
  }

  RBInteger StatusOf(const std::string& declaration, const std::vector<Arg>& args) {
    Value result = Shared(declaration, args);
    host().TakeException();
    return LastError();
  }

  Value keychain_, item_, search_, wrapper_, cycle_;
};

TEST_F(HostileInput, EveryModuleMethodSurvivesBadValuesInEveryParameter) {
  for (const ExpectedMethod& m : kModuleMethods) {
    // Locking every keychain would only make the later calls ask for passwords.
    if (m.declaration == decl::kLockAll) continue;
    Attack(Value(), m.declaration, m.hasSetter);
    if (HasFatalFailure()) return;
  }
}

TEST_F(HostileInput, EveryClassMethodSurvivesBadValuesInEveryParameter) {
  const std::pair<const std::vector<ExpectedMethod>*, Value*> classes[] = {
      {&kKeychainMethods, &keychain_}, {&kItemMethods, &item_}, {&kSearchMethods, &search_}};
  for (const auto& [methods, owner] : classes) {
    for (const ExpectedMethod& m : *methods) {
      // Deleting or locking the object under test ends the attack on it.
      if (m.declaration == decl::kDelete || m.declaration == decl::kLock) continue;
      Attack(*owner, m.declaration, m.hasSetter);
      if (HasFatalFailure()) return;
    }
  }
}

// An object of another class where a keychain or an item is expected reaches
// the framework as a reference of the wrong type, which it refuses with
// Apple's status for that call instead of using it.
TEST_F(HostileInput, WrongClassObjectsGetTheFrameworksStatus) {
  Value cls = Name("kSecClass"), genp = Name("kSecClassGenericPassword");
  Value none = Strings({});
  Value slot;
  struct Case {
    std::string what;
    RBInteger status;
  };
  const std::vector<std::pair<Case, RBInteger>> cases = {
      {{"find in an item", errSecParam}, StatusOf(decl::kFindGenericItemM, {item_, Text("svc"), Text("acct")})},
      {{"find in a string", errSecParam}, StatusOf(decl::kFindGenericItemM, {wrapper_, Text("svc"), Text("acct")})},
      {{"search a search", errSecParam}, StatusOf(decl::kSearchCreate, {search_, Text("genp"), none, none})},
      {{"search items", errSecParam}, StatusOf(decl::kSearchCreateMany, {host().Array(4, {keychain_, item_}), Text("genp"), none, none})},
      {{"add to an item", errSecInvalidKeychain}, StatusOf(decl::kAddGenericTextM, {item_, Text("s2"), Text("a2"), Text("pw")})},
      {{"add internet to a search", errSecInvalidKeychain},
       StatusOf(decl::kAddInternetTextM, {search_, Text("h"), Text(""), Text("a"), Text(""), Value::Integer(0), Text("http"), Text("dflt"), Text("pw")})},
      {{"default an item", errSecInvalidKeychain}, StatusOf(decl::kSetDomainDefault, {Value::Integer(0), item_})},
      {{"list an item", errSecInvalidKeychain}, StatusOf(decl::kSetSearchList, {host().Array(4, {keychain_, item_})})},
      {{"domain list a string", errSecInvalidKeychain}, StatusOf(decl::kSetDomainSearchList, {Value::Integer(0), host().Array(4, {wrapper_})})},
      {{"search as the item", errSecParam}, StatusOf(decl::kDeleteItem, {Dict({{cls, genp}, {Name("kSecValueRef"), search_}})})},
      {{"item as the keychain", errSecParam}, StatusOf(decl::kAddItem, {item_, Dict({{cls, genp}, {Name("kSecAttrAccount"), Text("n")}})})},
      {{"items as keychains", errSecParam},
       StatusOf(decl::kCopyMatching, {Dict({{cls, genp}, {Name("kSecMatchSearchList"), host().Array(4, {item_})}}), Arg::ByRef(slot)})},
  };
  for (const auto& [c, status] : cases) EXPECT_EQ(status, c.status) << c.what;
  // Nothing was added anywhere by the refused adds.
  EXPECT_TRUE(Method(keychain_, decl::kFindGenericItem, {Text("s2"), Text("a2")}).isNil());
}

}  // namespace
}  // namespace kc_plugin_test
