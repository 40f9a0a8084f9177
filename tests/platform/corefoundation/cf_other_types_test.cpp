// The remaining types: sets, bags, UUIDs, errors, character sets,
// attributed strings and bundles.
#include <unistd.h>

#include <climits>
#include <set>

#include "cf_test.h"
#include "support/temp_dir.h"

namespace cf_test {
namespace {

using CFOtherTypes = CFTest;

TEST_F(CFOtherTypes, SetsHoldDistinctValuesByEquality) {
  Owned<CFStringRef> dup(NewString("a"));
  const void* values[] = {CFSTR("a"), CFSTR("b"), dup.get()};
  Owned<CFSetRef> s(CFSetCreate(nullptr, values, 3, &kCFTypeSetCallBacks));
  EXPECT_EQ(2, CFSetGetCount(s));
  EXPECT_TRUE(CFSetContainsValue(s, dup));
  EXPECT_FALSE(CFSetContainsValue(s, CFSTR("c")));
  CFMutableSetRef m = CFSetCreateMutableCopy(nullptr, 0, s);
  CFSetAddValue(m, CFSTR("c"));
  CFSetAddValue(m, CFSTR("c"));
  EXPECT_EQ(3, CFSetGetCount(m));
  EXPECT_FALSE(CFEqual(s, m));
  CFSetRemoveValue(m, CFSTR("c"));
  EXPECT_TRUE(CFEqual(s, m));
  EXPECT_EQ(CFHash(s), CFHash(m));
  CFSetSetValue(m, dup);  // replaces the stored "a" with this one
  EXPECT_EQ(dup.get(), CFSetGetValue(m, CFSTR("a")));
  EXPECT_EQ(2, CFGetRetainCount(dup));  // CFSetCreate kept the first "a", not dup
  const void* got[2];
  CFSetGetValues(m, got);
  std::set<std::string> texts = {UTF8(static_cast<CFStringRef>(got[0])), UTF8(static_cast<CFStringRef>(got[1]))};
  EXPECT_EQ((std::set<std::string>{"a", "b"}), texts);
  CFSetRemoveAllValues(m);
  EXPECT_EQ(0, CFSetGetCount(m));
  CFRelease(m);
  EXPECT_EQ(1, CFGetRetainCount(dup));
}

TEST_F(CFOtherTypes, BagsCountEveryOccurrence) {
  CFMutableBagRef b = CFBagCreateMutable(nullptr, 0, &kCFTypeBagCallBacks);
  Owned<CFStringRef> x(NewString("x"));
  CFBagAddValue(b, x);
  CFBagAddValue(b, CFSTR("x"));
  CFBagAddValue(b, CFSTR("y"));
  EXPECT_EQ(3, CFBagGetCount(b));
  EXPECT_EQ(2, CFBagGetCountOfValue(b, CFSTR("x")));
  EXPECT_EQ(0, CFBagGetCountOfValue(b, CFSTR("z")));
  CFBagRef copy = CFBagCreateCopy(nullptr, b);
  EXPECT_TRUE(CFEqual(copy, b));
  CFBagRemoveValue(b, CFSTR("x"));
  EXPECT_EQ(1, CFBagGetCountOfValue(b, x));
  EXPECT_FALSE(CFEqual(copy, b));
  CFBagRemoveValue(b, CFSTR("x"));
  EXPECT_FALSE(CFBagContainsValue(b, x));
  CFRelease(copy);
  CFRelease(b);
  EXPECT_EQ(1, CFGetRetainCount(x));
  const void* values[] = {CFSTR("p"), CFSTR("p")};
  Owned<CFBagRef> fixed(CFBagCreate(nullptr, values, 2, &kCFTypeBagCallBacks));
  EXPECT_EQ(2, CFBagGetCount(fixed));
}

TEST_F(CFOtherTypes, UUIDsAreRandomVersion4AndRoundTripThroughText) {
  Owned<CFUUIDRef> a(CFUUIDCreate(nullptr)), b(CFUUIDCreate(nullptr));
  ASSERT_NE(nullptr, a.get());
  EXPECT_FALSE(CFEqual(a, b));
  CFUUIDBytes bytes = CFUUIDGetUUIDBytes(a);
  EXPECT_EQ(0x40, bytes.byte6 & 0xF0);
  EXPECT_EQ(0x80, bytes.byte8 & 0xC0);
  Owned<CFStringRef> text(CFUUIDCreateString(nullptr, a));
  std::string t = UTF8(text);
  ASSERT_EQ(36u, t.size());
  EXPECT_EQ('-', t[8]);
  EXPECT_EQ(std::string::npos, t.find_first_of("abcdef"));
  Owned<CFUUIDRef> parsed(CFUUIDCreateFromString(nullptr, text));
  EXPECT_TRUE(CFEqual(a, parsed));
  EXPECT_EQ(CFHash(a), CFHash(parsed));
  Owned<CFUUIDRef> fixed(CFUUIDCreateWithBytes(nullptr, 0x12, 0x34, 0x56, 0x78, 0x9a, 0xbc, 0xde, 0xf0, 0, 1, 2, 3, 4,
                                               5, 6, 7));
  EXPECT_EQ("12345678-9ABC-DEF0-0001-020304050607", UTF8(Owned<CFStringRef>(CFUUIDCreateString(nullptr, fixed))));
  Owned<CFUUIDRef> lower(CFUUIDCreateFromString(nullptr, CFSTR("12345678-9abc-def0-0001-020304050607")));
  EXPECT_TRUE(CFEqual(fixed, lower));
  EXPECT_EQ(nullptr, CFUUIDCreateFromString(nullptr, CFSTR("12345678-9abc-def0-0001-02030405060")));
  EXPECT_EQ(nullptr, CFUUIDCreateFromString(nullptr, CFSTR("12345678x9abc-def0-0001-020304050607")));
}

TEST_F(CFOtherTypes, ErrorsKeepDomainCodeAndUserInfo) {
  Owned<CFErrorRef> plain(CFErrorCreate(nullptr, kCFErrorDomainOSStatus, -25300, nullptr));
  ASSERT_NE(nullptr, plain.get());
  EXPECT_TRUE(CFEqual(kCFErrorDomainOSStatus, CFErrorGetDomain(plain)));
  EXPECT_EQ(-25300, CFErrorGetCode(plain));
  Owned<CFDictionaryRef> none(CFErrorCopyUserInfo(plain));
  EXPECT_EQ(0, CFDictionaryGetCount(none));
  EXPECT_NE(std::string::npos, UTF8(Owned<CFStringRef>(CFErrorCopyDescription(plain))).find("-25300"));
  const void* keys[] = {kCFErrorLocalizedDescriptionKey};
  const void* values[] = {CFSTR("The item was not found.")};
  Owned<CFErrorRef> described(CFErrorCreateWithUserInfoKeysAndValues(nullptr, kCFErrorDomainOSStatus, -25300, keys,
                                                                     values, 1));
  EXPECT_EQ("The item was not found.", UTF8(Owned<CFStringRef>(CFErrorCopyDescription(described))));
  EXPECT_FALSE(CFEqual(plain, described));
  Owned<CFErrorRef> again(CFErrorCreate(nullptr, kCFErrorDomainOSStatus, -25300, nullptr));
  EXPECT_TRUE(CFEqual(plain, again));
  EXPECT_EQ(nullptr, CFErrorCreate(nullptr, nullptr, 1, nullptr));
}

TEST_F(CFOtherTypes, CharacterSetsAnswerMembership) {
  CFCharacterSetRef space = CFCharacterSetGetPredefined(kCFCharacterSetWhitespace);
  EXPECT_EQ(space, CFCharacterSetGetPredefined(kCFCharacterSetWhitespace));
  EXPECT_TRUE(CFCharacterSetIsCharacterMember(space, ' '));
  EXPECT_TRUE(CFCharacterSetIsCharacterMember(space, '\t'));
  EXPECT_FALSE(CFCharacterSetIsCharacterMember(space, '\n'));
  EXPECT_TRUE(CFCharacterSetIsCharacterMember(CFCharacterSetGetPredefined(kCFCharacterSetWhitespaceAndNewline), '\n'));
  EXPECT_TRUE(CFCharacterSetIsCharacterMember(CFCharacterSetGetPredefined(kCFCharacterSetDecimalDigit), 0x0663));
  EXPECT_TRUE(CFCharacterSetIsCharacterMember(CFCharacterSetGetPredefined(kCFCharacterSetLetter), 0xE9));
  EXPECT_TRUE(CFCharacterSetIsCharacterMember(CFCharacterSetGetPredefined(kCFCharacterSetUppercaseLetter), 'Q'));
  EXPECT_FALSE(CFCharacterSetIsCharacterMember(CFCharacterSetGetPredefined(kCFCharacterSetLowercaseLetter), 'Q'));
  EXPECT_TRUE(CFCharacterSetIsCharacterMember(CFCharacterSetGetPredefined(kCFCharacterSetDecomposable), 0xE9));
  EXPECT_TRUE(CFCharacterSetIsCharacterMember(CFCharacterSetGetPredefined(kCFCharacterSetNonBase), 0x301));
  EXPECT_EQ(nullptr, CFCharacterSetGetPredefined(99));

  Owned<CFStringRef> chars(NewString("ab\xC3\xA9\xF0\x9D\x84\x9E"));
  Owned<CFCharacterSetRef> set(CFCharacterSetCreateWithCharactersInString(nullptr, chars));
  EXPECT_TRUE(CFCharacterSetIsCharacterMember(set, 'a'));
  EXPECT_TRUE(CFCharacterSetIsCharacterMember(set, 0xE9));
  EXPECT_FALSE(CFCharacterSetIsCharacterMember(set, 'c'));
  EXPECT_TRUE(CFCharacterSetIsLongCharacterMember(set, 0x1D11E));
  Owned<CFCharacterSetRef> inverted(CFCharacterSetCreateInvertedSet(nullptr, set));
  EXPECT_TRUE(CFCharacterSetIsCharacterMember(inverted, 'c'));
  EXPECT_FALSE(CFCharacterSetIsCharacterMember(inverted, 'a'));
  Owned<CFCharacterSetRef> range(CFCharacterSetCreateWithCharactersInRange(nullptr, CFRangeMake('0', 10)));
  EXPECT_TRUE(CFCharacterSetIsCharacterMember(range, '9'));
  EXPECT_FALSE(CFCharacterSetIsCharacterMember(range, ':'));
  CFMutableCharacterSetRef m = CFCharacterSetCreateMutable(nullptr);
  CFCharacterSetAddCharactersInString(m, CFSTR("xy"));
  EXPECT_TRUE(CFCharacterSetIsCharacterMember(m, 'y'));
  CFRelease(m);
}

TEST_F(CFOtherTypes, AttributedStringsKeepTheirTextAndAttributes) {
  CFMutableStringRef text = CFStringCreateMutable(nullptr, 0);
  CFStringAppend(text, CFSTR("styled"));
  const void* keys[] = {CFSTR("weight")};
  const void* values[] = {CFSTR("bold")};
  Owned<CFDictionaryRef> attrs(CFDictionaryCreate(nullptr, keys, values, 1, &kCFTypeDictionaryKeyCallBacks,
                                                  &kCFTypeDictionaryValueCallBacks));
  Owned<CFAttributedStringRef> a(CFAttributedStringCreate(nullptr, text, attrs));
  CFStringAppend(text, CFSTR("!"));  // the attributed string keeps its own copy
  CFRelease(text);
  EXPECT_EQ("styled", UTF8(CFAttributedStringGetString(a)));
  EXPECT_EQ(6, CFAttributedStringGetLength(a));
  CFRange effective;
  EXPECT_EQ(CFSTR("bold"), CFAttributedStringGetAttribute(a, 2, CFSTR("weight"), &effective));
  EXPECT_EQ(0, effective.location);
  EXPECT_EQ(6, effective.length);
  EXPECT_EQ(nullptr, CFAttributedStringGetAttributes(a, 6, nullptr));
  Owned<CFAttributedStringRef> plain(CFAttributedStringCreate(nullptr, CFSTR("styled"), nullptr));
  EXPECT_FALSE(CFEqual(a, plain));
  Owned<CFAttributedStringRef> copy(CFAttributedStringCreateCopy(nullptr, a));
  EXPECT_TRUE(CFEqual(a, copy));
  EXPECT_EQ(nullptr, CFAttributedStringCreate(nullptr, nullptr, nullptr));
}

TEST_F(CFOtherTypes, BundlesNameExistingFoldersOnly) {
  CFBundleRef main = CFBundleGetMainBundle();
  ASSERT_NE(nullptr, main);
  EXPECT_EQ(main, CFBundleGetMainBundle());
  Owned<CFURLRef> mainURL(CFBundleCopyBundleURL(main));
  char exe[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
  ASSERT_GT(n, 0);
  std::string folder(exe, static_cast<size_t>(n));
  folder.erase(folder.rfind('/'));
  UInt8 path[PATH_MAX];
  ASSERT_TRUE(CFURLGetFileSystemRepresentation(mainURL, true, path, sizeof path));
  EXPECT_EQ(folder, reinterpret_cast<char*>(path));
  EXPECT_EQ(nullptr, CFBundleGetIdentifier(main));

  kc_test::TempDir dir;
  Owned<CFStringRef> p(NewString(dir.path().c_str()));
  Owned<CFURLRef> url(CFURLCreateWithFileSystemPath(nullptr, p, kCFURLPOSIXPathStyle, true));
  Owned<CFBundleRef> bundle(CFBundleCreate(nullptr, url));
  ASSERT_NE(nullptr, bundle.get());
  EXPECT_EQ(CFBundleGetTypeID(), CFGetTypeID(bundle));
  EXPECT_NE(nullptr, CFBundleGetInfoDictionary(bundle));
  Owned<CFURLRef> missing(CFURLCreateCopyAppendingPathComponent(nullptr, url, CFSTR("missing"), true));
  EXPECT_EQ(nullptr, CFBundleCreate(nullptr, missing));
}

}  // namespace
}  // namespace cf_test
