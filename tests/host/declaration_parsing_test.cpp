// Declarations as the host reads them: names, by-reference and assigned
// parameters, array markers on names and types, case-insensitive type names,
// and the C types each declared type travels as.
#include <gtest/gtest.h>

#include "runtime.h"

namespace plugin_host {
namespace {

TEST(DeclarationParsing, ReadsParametersByRefAssignsArraysAndResults) {
  Declaration d;
  ASSERT_TRUE(ParseDeclaration(
      "FindGenericPassword(keychain as KeychainZNQ, serviceName as string, byref password as "
      "memoryblock) as KeychainItemZNQ",
      &d));
  EXPECT_EQ(d.name, "FindGenericPassword");
  ASSERT_EQ(d.params.size(), 3u);
  EXPECT_EQ(d.params[1].type.category, Category::String);
  EXPECT_TRUE(d.params[2].byRef);
  EXPECT_EQ(d.params[2].type.category, Category::Object);
  EXPECT_EQ(d.result.name, "KeychainItemZNQ");

  ASSERT_TRUE(ParseDeclaration("SetDomainSearchList(domain as integer, list() as KeychainZNQ)", &d));
  EXPECT_TRUE(d.params[1].type.array);
  EXPECT_EQ(d.result.ctype, CType::Void);

  ASSERT_TRUE(ParseDeclaration("AllItems(itemClass as string) as KeychainItemZNQ()", &d));
  EXPECT_TRUE(d.result.array);
  // An array result without parameters: the "()" belongs to the type.
  ASSERT_TRUE(ParseDeclaration("SearchList as KeychainZNQ()", &d));
  EXPECT_EQ(d.name, "SearchList");
  EXPECT_TRUE(d.params.empty());
  EXPECT_EQ(d.result.name, "KeychainZNQ");
  EXPECT_TRUE(d.result.array);

  ASSERT_TRUE(ParseDeclaration("Value(key As Variant, Assigns _value As Variant)", &d));
  EXPECT_TRUE(d.params[1].assigns);
  EXPECT_EQ(d.params[1].name, "_value");

  ASSERT_TRUE(ParseDeclaration("Settings as KeychainSettingsZNQ", &d));
  EXPECT_EQ(d.name, "Settings");
  EXPECT_TRUE(d.params.empty());
  ASSERT_TRUE(ParseDeclaration("LockAll", &d));
  EXPECT_EQ(d.result.ctype, CType::Void);

  // Text that is no declaration is refused rather than guessed at.
  EXPECT_FALSE(ParseDeclaration("Broken(x as ) as integer", &d));
  EXPECT_FALSE(ParseDeclaration("Open(path as string", &d));
  EXPECT_FALSE(ParseDeclaration("", &d));
}

TEST(DeclarationParsing, TypeNamesMapToTheCallingShapeInAnyCase) {
  EXPECT_EQ(ResolveType("INTEGER", false).ctype, CType::Word);
  EXPECT_EQ(ResolveType("Boolean", false).ctype, CType::Bool);
  EXPECT_EQ(ResolveType("int32", false).ctype, CType::I32);
  EXPECT_EQ(ResolveType("Int64", false).ctype, CType::I64);
  EXPECT_EQ(ResolveType("single", false).ctype, CType::Float);
  EXPECT_EQ(ResolveType("Double", false).ctype, CType::Double);
  EXPECT_EQ(ResolveType("Color", false).ctype, CType::Color);
  EXPECT_EQ(ResolveType("String", false).category, Category::String);
  for (const char* cls : {"Variant", "MemoryBlock", "folderitem", "Dictionary", "Date", "KeychainZNQ"}) {
    EXPECT_EQ(ResolveType(cls, false).category, Category::Object) << cls;
  }
  EXPECT_EQ(ResolveType("integer", true).category, Category::Object);
}

TEST(DeclarationParsing, SignaturesMatchIgnoringParameterNamesOnly) {
  Declaration a, b, c;
  ASSERT_TRUE(ParseDeclaration("LenB( s as string ) as integer", &a));
  ASSERT_TRUE(ParseDeclaration("lenb(text As String) As Integer", &b));
  EXPECT_TRUE(SameSignature(a, b));
  ASSERT_TRUE(ParseDeclaration("LenB(byref s as string) as integer", &c));
  EXPECT_FALSE(SameSignature(a, c));
  ASSERT_TRUE(ParseDeclaration("LenB(s as string) as int32", &c));
  EXPECT_FALSE(SameSignature(a, c));
}

}  // namespace
}  // namespace plugin_host
