// Keychain lists, searches and listings on every kind of host array: hosts up
// to 2013.9 that expose their arrays' storage (read in place), hosts that do
// not or are newer (read through the host's procedures), and hosts that lack
// one of the array functions, each in turn.
#include <set>

#include "keychain_class_fixture.h"

namespace kc_plugin_test {
namespace {

struct ArrayHost {
  const char *name;
  double version;
  bool exposesStorage;
  const char *withheld;  // one host name the resolver refuses, or ""
};

constexpr const char *kCreate = "RuntimeArrayCreateSingleDimBoundedArray";
constexpr const char *kUBound = "RuntimeUBound";
constexpr const char *kInsert = "RuntimeArrayDirectGetInsertProc";
constexpr const char *kGet = "RuntimeArrayDirectGetGetProc";
constexpr const char *kReadString = "RuntimeDirectReadStringArray";

const ArrayHost kArrayHosts[] = {
    {"Storage2013_0", 2013.0, true, ""},
    {"Storage2013_9", 2013.9, true, ""},
    {"NoStorage2013_0", 2013.0, false, ""},
    {"Procedures2014_0", 2014.0, false, ""},
    {"StorageIgnored2014_0", 2014.0, true, ""},
    {"Storage2013_0_NoCreate", 2013.0, true, kCreate},
    {"Storage2013_0_NoUBound", 2013.0, true, kUBound},
    {"Storage2013_0_NoInsert", 2013.0, true, kInsert},
    {"Storage2013_0_NoGet", 2013.0, true, kGet},
    {"Storage2013_0_NoReadString", 2013.0, true, kReadString},
    {"Procedures2014_0_NoCreate", 2014.0, false, kCreate},
    {"Procedures2014_0_NoUBound", 2014.0, false, kUBound},
    {"Procedures2014_0_NoInsert", 2014.0, false, kInsert},
    {"Procedures2014_0_NoGet", 2014.0, false, kGet},
    {"Procedures2014_0_NoReadString", 2014.0, false, kReadString},
};

void PrintTo(const ArrayHost &h, std::ostream *os) { *os << h.name; }

class ArrayHosts : public KeychainClassTest, public ::testing::WithParamInterface<ArrayHost> {
 protected:
  void SetUp() override {
    KeychainClassTest::SetUp();
    HostOptions options;
    options.version = GetParam().version;
    options.arraysExposeStorage = GetParam().exposesStorage;
    if (*GetParam().withheld) options.withheld = {GetParam().withheld};
    StartHost(options);
  }

  bool Lacks(const char *name) const { return std::string(GetParam().withheld) == name; }
  bool InPlace() const { return GetParam().version <= 2013.9 && GetParam().exposesStorage; }
  bool ReadsObjects() const { return InPlace() || !Lacks(kGet); }
  bool ReadsStrings() const { return InPlace() || !Lacks(kReadString); }

  std::vector<std::string> PathsOf(const Value &array) {
    std::vector<std::string> paths;
    for (RBInteger i = 0; i <= host().ArrayUBound(array); ++i)
      paths.push_back(host().StringBytes(Method(host().ArrayElement(array, i), decl::kPath)));
    return paths;
  }
};

TEST_P(ArrayHosts, ListsSearchesAndListingsReadAndFillArrays) {
  Value a = CreateKeychain("a.keychain", "");
  Value b = CreateKeychain("b.keychain", "");
  for (const char *account : {"ann", "bob", "ann2"})
    ASSERT_FALSE(Method(a, decl::kAddGenericText, {Text("svc"), Text(account), Text("pw")}).isNil());

  // A list read element by element: with no upper bound only element 0 is
  // read; without a way to read elements the framework gets an empty list
  // and falls back to the default keychain.
  Shared(decl::kSetSearchList, {host().Array(kREALArrayObject, {b, Value(), a})});
  EXPECT_EQ(LastError(), 0);
  std::vector<std::string> expected = {KeychainPath("b.keychain"), KeychainPath("a.keychain")};
  if (Lacks(kUBound)) expected.pop_back();
  if (!ReadsObjects()) expected = {home_.userDomainDir() + "/login.keychain-db"};
  Value list = Shared(decl::kSearchList);
  EXPECT_EQ(LastError(), 0);
  if (Lacks(kCreate)) {
    EXPECT_TRUE(list.isNil()) << "no array can be made";
  } else if (Lacks(kInsert)) {
    EXPECT_EQ(host().ArrayUBound(list), -1) << "nothing can be inserted";
  } else {
    EXPECT_EQ(PathsOf(list), expected);
  }

  // A search over an array of keychains, keyed by strings read from arrays.
  Value search = Shared(decl::kSearchCreateMany,
                        {host().Array(kREALArrayObject, {a}), Text("genp"),
                         host().Array(kREALArrayString, {Text("acct")}), host().Array(kREALArrayString, {Text("ann")})});
  if (!ReadsStrings()) {
    // The key reads as nil: four blanks, an attribute no item has.
    EXPECT_TRUE(search.isNil());
    EXPECT_EQ(LastError(), errSecNoSuchAttr);
  } else {
    EXPECT_EQ(LastError(), 0);
    ASSERT_FALSE(search.isNil());
    int found = 0;
    while (!Method(search, decl::kNextItem).isNil()) ++found;
    EXPECT_EQ(found, ReadsObjects() ? 1 : 0);
  }

  Value all = Shared(decl::kAllItemsM, {a, Text("genp")});
  EXPECT_EQ(LastError(), 0);
  if (Lacks(kCreate)) {
    EXPECT_TRUE(all.isNil());
  } else {
    EXPECT_EQ(host().ArrayUBound(all), Lacks(kInsert) ? -1 : 2);
  }

  // Arrays read in place never ask the host for their procedures; every
  // other array is read only through them.
  if (InPlace()) {
    EXPECT_EQ(host().LookupCount(kGet), 0);
    EXPECT_EQ(host().LookupCount(kReadString), 0);
  } else {
    EXPECT_GT(host().LookupCount(kGet), 0);
    EXPECT_GT(host().LookupCount(kReadString), 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Hosts, ArrayHosts, ::testing::ValuesIn(kArrayHosts),
                         [](const ::testing::TestParamInfo<ArrayHost> &info) { return info.param.name; });

}  // namespace
}  // namespace kc_plugin_test
