// String contents, normalization, comparison, searching, editing,
// formatting and constant strings.
#include <climits>

#include "cf_test.h"

namespace cf_test {
namespace {

using CFStrings = CFTest;

CFMutableStringRef Mutable(const char* utf8) {
  Owned<CFStringRef> s(NewString(utf8));
  return CFStringCreateMutableCopy(nullptr, 0, s);
}

TEST_F(CFStrings, NormalizationFormsDCKDandKC) {
  CFMutableStringRef s = Mutable("\xC3\xA9");  // é precomposed
  CFStringNormalize(s, kCFStringNormalizationFormD);
  EXPECT_EQ(std::vector<UniChar>({0x65, 0x301}), Units(s));
  char utf8[8];
  ASSERT_TRUE(CFStringGetCString(s, utf8, sizeof utf8, kCFStringEncodingUTF8));
  EXPECT_STREQ("\x65\xCC\x81", utf8);
  CFStringNormalize(s, kCFStringNormalizationFormC);
  EXPECT_EQ(std::vector<UniChar>({0xE9}), Units(s));
  CFRelease(s);

  // The "fi" ligature only changes under the compatibility forms.
  s = Mutable("\xEF\xAC\x81");
  CFStringNormalize(s, kCFStringNormalizationFormC);
  EXPECT_EQ(std::vector<UniChar>({0xFB01}), Units(s));
  CFStringNormalize(s, kCFStringNormalizationFormKD);
  EXPECT_EQ(std::vector<UniChar>({'f', 'i'}), Units(s));
  CFRelease(s);
  s = Mutable("\xE2\x84\xAB");  // Angstrom sign
  CFStringNormalize(s, kCFStringNormalizationFormKC);
  EXPECT_EQ(std::vector<UniChar>({0xC5}), Units(s));
  CFRelease(s);

  // Immutable strings are left alone.
  Owned<CFStringRef> fixed(NewString("\xC3\xA9"));
  CFStringNormalize(const_cast<CFMutableStringRef>(fixed.get()), kCFStringNormalizationFormD);
  EXPECT_EQ(1, CFStringGetLength(fixed));
}

TEST_F(CFStrings, CompareIsLiteralUnlessAskedOtherwise) {
  Owned<CFStringRef> a(NewString("abc")), A(NewString("ABC")), file2(NewString("file2")), file10(NewString("file10"));
  EXPECT_EQ(kCFCompareEqualTo, CFStringCompare(a, CFSTR("abc"), 0));
  EXPECT_EQ(kCFCompareGreaterThan, CFStringCompare(a, A, 0));
  EXPECT_EQ(kCFCompareLessThan, CFStringCompare(A, a, 0));
  EXPECT_EQ(kCFCompareEqualTo, CFStringCompare(a, A, kCFCompareCaseInsensitive));
  EXPECT_EQ(kCFCompareGreaterThan, CFStringCompare(file2, file10, 0));
  EXPECT_EQ(kCFCompareLessThan, CFStringCompare(file2, file10, kCFCompareNumerically));
  EXPECT_EQ(kCFCompareLessThan, CFStringCompare(CFSTR("ab"), CFSTR("abc"), 0));
  Owned<CFStringRef> accented(NewString("caf\xC3\xA9"));
  EXPECT_EQ(kCFCompareEqualTo, CFStringCompare(accented, CFSTR("cafe"), kCFCompareDiacriticInsensitive));
  EXPECT_NE(kCFCompareEqualTo, CFStringCompare(accented, CFSTR("cafe"), 0));
}

TEST_F(CFStrings, FindPrefixAndSuffix) {
  Owned<CFStringRef> s(NewString("one two one"));
  CFRange r = CFStringFind(s, CFSTR("one"), 0);
  EXPECT_EQ(0, r.location);
  EXPECT_EQ(3, r.length);
  r = CFStringFind(s, CFSTR("one"), kCFCompareBackwards);
  EXPECT_EQ(8, r.location);
  r = CFStringFind(s, CFSTR("TWO"), kCFCompareCaseInsensitive);
  EXPECT_EQ(4, r.location);
  EXPECT_EQ(kCFNotFound, CFStringFind(s, CFSTR("two"), kCFCompareAnchored).location);
  EXPECT_EQ(kCFNotFound, CFStringFind(s, CFSTR("three"), 0).location);
  EXPECT_EQ(kCFNotFound, CFStringFind(s, CFSTR(""), 0).location);
  EXPECT_TRUE(CFStringHasPrefix(s, CFSTR("one ")));
  EXPECT_FALSE(CFStringHasPrefix(s, CFSTR("two")));
  EXPECT_TRUE(CFStringHasSuffix(s, CFSTR(" one")));
  EXPECT_FALSE(CFStringHasSuffix(s, CFSTR("one two one and more")));
  CFRange found;
  EXPECT_TRUE(CFStringFindWithOptions(s, CFSTR("one"), CFRangeMake(1, 10), 0, &found));
  EXPECT_EQ(8, found.location);
}

TEST_F(CFStrings, MutableStringsEditInPlace) {
  CFMutableStringRef s = CFStringCreateMutable(nullptr, 0);
  CFStringAppend(s, CFSTR("hello"));
  CFStringAppendCString(s, " w\xC3\xB6rld", kCFStringEncodingUTF8);
  const UniChar bang[] = {'!', '!'};
  CFStringAppendCharacters(s, bang, 2);
  EXPECT_EQ("hello w\xC3\xB6rld!!", UTF8(s));
  CFStringAppend(s, s);  // appending to itself doubles it
  EXPECT_EQ(26, CFStringGetLength(s));
  CFStringDelete(s, CFRangeMake(13, 13));
  CFStringInsert(s, 0, CFSTR(">"));
  CFStringReplace(s, CFRangeMake(1, 5), CFSTR("bye"));
  EXPECT_EQ(">bye w\xC3\xB6rld!!", UTF8(s));
  CFStringDelete(s, CFRangeMake(5, 100));  // out of range: nothing happens
  EXPECT_EQ(">bye w\xC3\xB6rld!!", UTF8(s));
  CFStringUppercase(s, nullptr);
  EXPECT_EQ(">BYE W\xC3\x96RLD!!", UTF8(s));
  CFStringReplaceAll(s, CFSTR("  padded \n"));
  CFStringTrimWhitespace(s);
  EXPECT_EQ("padded", UTF8(s));
  // A copy does not follow later edits.
  Owned<CFStringRef> copy(CFStringCreateCopy(nullptr, s));
  CFStringAppend(s, CFSTR("+"));
  EXPECT_EQ("padded", UTF8(copy));
  CFRelease(s);

  // Immutable strings refuse edits.
  Owned<CFStringRef> fixed(NewString("fixed"));
  CFStringAppend(const_cast<CFMutableStringRef>(fixed.get()), CFSTR("!"));
  EXPECT_EQ("fixed", UTF8(fixed));
  Owned<CFStringRef> same(CFStringCreateCopy(nullptr, fixed));
  EXPECT_EQ(fixed.get(), same.get());
}

TEST_F(CFStrings, FormatHandlesPrintfConversionsAndObjects) {
  Owned<CFStringRef> name(NewString("w\xC3\xB6rld"));
  int32_t answer = 42;
  Owned<CFNumberRef> n(CFNumberCreate(nullptr, kCFNumberSInt32Type, &answer));
  Owned<CFStringRef> s(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%@ %d %5.2f|%-4s|%ld %@ %x %% %@ %llu"),
                                                name.get(), -7, 3.14159, "ab", -1234567890L, n.get(), 255,
                                                kCFBooleanTrue, 18446744073709551615ULL));
  EXPECT_EQ("w\xC3\xB6rld -7  3.14|ab  |-1234567890 42 ff % true 18446744073709551615", UTF8(s));
  Owned<CFStringRef> nul(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("[%@] [%s] [%C]"), nullptr,
                                                  static_cast<const char*>(nullptr), 0xE9));
  EXPECT_EQ("[(null)] [(null)] [\xC3\xA9]", UTF8(nul));
  CFMutableStringRef m = CFStringCreateMutable(nullptr, 0);
  CFStringAppendFormat(m, nullptr, CFSTR("%03d-"), 7);
  CFStringAppendFormat(m, nullptr, CFSTR("%*d"), 4, 1);
  EXPECT_EQ("007-   1", UTF8(m));
  CFRelease(m);
}

TEST_F(CFStrings, ConstantStringsAreUniquedAndOfferCStringPointers) {
  CFStringRef a = CFSTR("constant");
  EXPECT_EQ(a, CFSTR("constant"));
  EXPECT_STREQ("constant", CFStringGetCStringPtr(a, kCFStringEncodingUTF8));
  EXPECT_STREQ("constant", CFStringGetCStringPtr(a, kCFStringEncodingMacRoman));
  Owned<CFStringRef> dynamic(NewString("constant"));
  EXPECT_NE(a, dynamic.get());
  EXPECT_TRUE(CFEqual(a, dynamic));
  EXPECT_EQ(CFHash(a), CFHash(dynamic));
  CFStringRef accented = CFSTR("caf\xC3\xA9");
  EXPECT_EQ(4, CFStringGetLength(accented));
  // Non-ASCII text has no Mac OS Roman pointer (its bytes are UTF-8).
  EXPECT_EQ(nullptr, CFStringGetCStringPtr(accented, kCFStringEncodingMacRoman));
  CFMutableStringRef m = CFStringCreateMutableCopy(nullptr, 0, a);
  EXPECT_TRUE(CFEqual(a, m));
  CFRelease(m);
  Owned<CFStringRef> desc(CFCopyDescription(a));
  EXPECT_EQ("constant", UTF8(desc));
}

TEST_F(CFStrings, SubstringsSplittingJoiningAndNumbers) {
  Owned<CFStringRef> s(NewString("a,b,,c"));
  Owned<CFStringRef> sub(CFStringCreateWithSubstring(nullptr, s, CFRangeMake(2, 3)));
  EXPECT_EQ("b,,", UTF8(sub));
  EXPECT_EQ(nullptr, CFStringCreateWithSubstring(nullptr, s, CFRangeMake(4, 3)));
  Owned<CFArrayRef> parts(CFStringCreateArrayBySeparatingStrings(nullptr, s, CFSTR(",")));
  ASSERT_EQ(4, CFArrayGetCount(parts));
  EXPECT_EQ("", UTF8(static_cast<CFStringRef>(CFArrayGetValueAtIndex(parts, 2))));
  Owned<CFStringRef> joined(CFStringCreateByCombiningStrings(nullptr, parts, CFSTR(",")));
  EXPECT_TRUE(CFEqual(s, joined));
  EXPECT_EQ(-123, CFStringGetIntValue(CFSTR("  -123xyz")));
  EXPECT_EQ(0, CFStringGetIntValue(CFSTR("abc")));
  EXPECT_EQ(INT_MAX, CFStringGetIntValue(CFSTR("99999999999")));  // out of range: clamped
  EXPECT_EQ(INT_MIN, CFStringGetIntValue(CFSTR("-99999999999")));
  EXPECT_DOUBLE_EQ(2.5, CFStringGetDoubleValue(CFSTR("2.5")));
  UniChar buf[3] = {0, 0, 0};
  CFStringGetCharacters(s, CFRangeMake(4, 5), buf);  // bad range: untouched
  EXPECT_EQ(0, buf[0]);
  EXPECT_EQ(0, CFStringGetCharacterAtIndex(s, 99));
}

}  // namespace
}  // namespace cf_test
