// CFArray and CFMutableArray: callbacks, ownership, editing and searching.
#include "cf_test.h"

namespace cf_test {
namespace {

using CFArrays = CFTest;

TEST_F(CFArrays, TypeCallbacksRetainElementsUntilRemoved) {
  CFStringRef s = NewString("element");
  CFMutableArrayRef a = CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks);
  CFArrayAppendValue(a, s);
  CFArrayAppendValue(a, s);
  EXPECT_EQ(3, CFGetRetainCount(s));
  CFArrayRemoveValueAtIndex(a, 0);
  EXPECT_EQ(2, CFGetRetainCount(s));
  CFArrayRef copy = CFArrayCreateCopy(nullptr, a);
  EXPECT_EQ(3, CFGetRetainCount(s));
  CFRelease(a);
  CFRelease(copy);
  EXPECT_EQ(1, CFGetRetainCount(s));
  CFRelease(s);
}

TEST_F(CFArrays, NullCallbacksStoreRawPointers) {
  static int x = 1, y = 2;
  const void* values[] = {&x, &y, &x};
  Owned<CFArrayRef> a(CFArrayCreate(nullptr, values, 3, nullptr));
  ASSERT_EQ(3, CFArrayGetCount(a));
  EXPECT_EQ(&y, CFArrayGetValueAtIndex(a, 1));
  EXPECT_EQ(2, CFArrayGetCountOfValue(a, CFRangeMake(0, 3), &x));
  EXPECT_EQ(2, CFArrayGetLastIndexOfValue(a, CFRangeMake(0, 3), &x));
  EXPECT_EQ(kCFNotFound, CFArrayGetLastIndexOfValue(a, CFRangeMake(1, 1), &x));  // only inside the range
  EXPECT_EQ(nullptr, CFArrayGetValueAtIndex(a, 3));
  EXPECT_EQ(nullptr, CFArrayGetValueAtIndex(a, -1));
}

TEST_F(CFArrays, EditingKeepsOrderAndIgnoresBadIndices) {
  CFMutableArrayRef a = CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks);
  CFArrayAppendValue(a, CFSTR("b"));
  CFArrayInsertValueAtIndex(a, 0, CFSTR("a"));
  CFArrayInsertValueAtIndex(a, 2, CFSTR("d"));
  CFArrayInsertValueAtIndex(a, 2, CFSTR("c"));
  CFArrayInsertValueAtIndex(a, 9, CFSTR("never"));
  CFArraySetValueAtIndex(a, 4, CFSTR("e"));  // setting at the count appends
  CFArraySetValueAtIndex(a, 9, CFSTR("never"));
  ASSERT_EQ(5, CFArrayGetCount(a));
  const void* got[5];
  CFArrayGetValues(a, CFRangeMake(0, 5), got);
  const char* expected[] = {"a", "b", "c", "d", "e"};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(expected[i], UTF8(static_cast<CFStringRef>(got[i])));
  Owned<CFStringRef> dynamicC(NewString("c"));
  EXPECT_TRUE(CFArrayContainsValue(a, CFRangeMake(0, 5), dynamicC));  // by CFEqual
  EXPECT_EQ(2, CFArrayGetFirstIndexOfValue(a, CFRangeMake(0, 5), dynamicC));
  EXPECT_EQ(kCFNotFound, CFArrayGetFirstIndexOfValue(a, CFRangeMake(3, 2), dynamicC));
  EXPECT_FALSE(CFArrayContainsValue(a, CFRangeMake(0, 9), dynamicC));  // bad range
  CFArrayRemoveValueAtIndex(a, 7);
  CFArrayExchangeValuesAtIndices(a, 0, 4);
  EXPECT_EQ("e", UTF8(static_cast<CFStringRef>(CFArrayGetValueAtIndex(a, 0))));
  CFArraySortValues(a, CFRangeMake(0, 5), [](const void* l, const void* r, void*) {
    return CFStringCompare(static_cast<CFStringRef>(l), static_cast<CFStringRef>(r), 0);
  }, nullptr);
  EXPECT_EQ("a", UTF8(static_cast<CFStringRef>(CFArrayGetValueAtIndex(a, 0))));
  int applied = 0;
  CFArrayApplyFunction(a, CFRangeMake(1, 3), [](const void*, void* n) { ++*static_cast<int*>(n); }, &applied);
  EXPECT_EQ(3, applied);
  CFArrayRemoveAllValues(a);
  EXPECT_EQ(0, CFArrayGetCount(a));
  CFRelease(a);
}

TEST_F(CFArrays, EqualityComparesElementsAndCopiesAreIndependent) {
  Owned<CFStringRef> one(NewString("1"));
  const void* v1[] = {CFSTR("1"), kCFBooleanTrue};
  const void* v2[] = {one.get(), kCFBooleanTrue};
  Owned<CFArrayRef> a(CFArrayCreate(nullptr, v1, 2, &kCFTypeArrayCallBacks));
  Owned<CFArrayRef> b(CFArrayCreate(nullptr, v2, 2, &kCFTypeArrayCallBacks));
  EXPECT_TRUE(CFEqual(a, b));
  EXPECT_EQ(CFHash(a), CFHash(b));
  CFMutableArrayRef m = CFArrayCreateMutableCopy(nullptr, 0, a);
  CFArrayAppendValue(m, kCFNull);
  EXPECT_EQ(2, CFArrayGetCount(a));
  EXPECT_FALSE(CFEqual(a, m));
  CFArrayAppendValue(const_cast<CFMutableArrayRef>(a.get()), kCFNull);  // immutable: refused
  EXPECT_EQ(2, CFArrayGetCount(a));
  Owned<CFStringRef> desc(CFCopyDescription(m));
  EXPECT_NE(std::string::npos, UTF8(desc).find("true"));
  CFRelease(m);
  EXPECT_EQ(nullptr, CFArrayCreate(nullptr, nullptr, 2, &kCFTypeArrayCallBacks));
}

}  // namespace
}  // namespace cf_test
