// CFDictionary and CFMutableDictionary: keys by value, add/set/replace
// rules, callbacks and ownership, enumeration and scale.
#include <chrono>
#include <set>
#include <string>

#include "cf_test.h"

namespace cf_test {
namespace {

using CFDictionaries = CFTest;

CFMutableDictionaryRef NewTypeDict() {
  return CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
}

TEST_F(CFDictionaries, NumberOneAndStringOneAreTwoKeys) {
  int32_t one = 1;
  Owned<CFNumberRef> n(CFNumberCreate(nullptr, kCFNumberSInt32Type, &one));
  CFMutableDictionaryRef d = NewTypeDict();
  CFDictionarySetValue(d, n, CFSTR("number"));
  CFDictionarySetValue(d, CFSTR("1"), CFSTR("string"));
  EXPECT_EQ(2, CFDictionaryGetCount(d));
  // Keys match by value, across number types.
  double oneDouble = 1.0;
  Owned<CFNumberRef> nd(CFNumberCreate(nullptr, kCFNumberDoubleType, &oneDouble));
  EXPECT_EQ(CFSTR("number"), CFDictionaryGetValue(d, nd));
  Owned<CFStringRef> key(NewString("1"));
  EXPECT_EQ(CFSTR("string"), CFDictionaryGetValue(d, key));
  CFRelease(d);
}

TEST_F(CFDictionaries, KeysOfDifferentKindsButEqualValueFindEachOther) {
  CFMutableDictionaryRef d = NewTypeDict();
  CFMutableStringRef mutableKey = CFStringCreateMutable(nullptr, 0);
  CFStringAppend(mutableKey, CFSTR("caf\xC3\xA9"));
  CFDictionarySetValue(d, mutableKey, kCFBooleanTrue);
  const UniChar units[] = {'c', 'a', 'f', 0xE9};
  Owned<CFStringRef> fromUnits(CFStringCreateWithCharacters(nullptr, units, 4));
  EXPECT_EQ(kCFBooleanTrue, CFDictionaryGetValue(d, fromUnits));
  EXPECT_EQ(kCFBooleanTrue, CFDictionaryGetValue(d, CFSTR("caf\xC3\xA9")));
  Owned<CFDateRef> date(CFDateCreate(nullptr, 5)), sameDate(CFDateCreate(nullptr, 5));
  Owned<CFDataRef> data(CFDataCreate(nullptr, reinterpret_cast<const UInt8*>("ab"), 2));
  Owned<CFDataRef> sameData(CFDataCreate(nullptr, reinterpret_cast<const UInt8*>("ab"), 2));
  CFDictionarySetValue(d, date, CFSTR("date"));
  CFDictionarySetValue(d, data, CFSTR("data"));
  EXPECT_EQ(CFSTR("date"), CFDictionaryGetValue(d, sameDate));
  EXPECT_EQ(CFSTR("data"), CFDictionaryGetValue(d, sameData));
  EXPECT_EQ(3, CFDictionaryGetCount(d));
  CFRelease(mutableKey);
  CFRelease(d);
}

TEST_F(CFDictionaries, AddKeepsSetReplacesReplaceOnlyReplaces) {
  CFMutableDictionaryRef d = NewTypeDict();
  CFDictionaryAddValue(d, CFSTR("k"), CFSTR("first"));
  CFDictionaryAddValue(d, CFSTR("k"), CFSTR("second"));
  EXPECT_EQ(CFSTR("first"), CFDictionaryGetValue(d, CFSTR("k")));
  CFDictionarySetValue(d, CFSTR("k"), CFSTR("third"));
  EXPECT_EQ(CFSTR("third"), CFDictionaryGetValue(d, CFSTR("k")));
  CFDictionaryReplaceValue(d, CFSTR("absent"), CFSTR("x"));
  EXPECT_FALSE(CFDictionaryContainsKey(d, CFSTR("absent")));
  CFDictionaryReplaceValue(d, CFSTR("k"), CFSTR("fourth"));
  EXPECT_EQ(CFSTR("fourth"), CFDictionaryGetValue(d, CFSTR("k")));
  EXPECT_EQ(1, CFDictionaryGetCount(d));
  EXPECT_EQ(1, CFDictionaryGetCountOfKey(d, CFSTR("k")));
  EXPECT_EQ(0, CFDictionaryGetCountOfKey(d, CFSTR("absent")));
  EXPECT_TRUE(CFDictionaryContainsValue(d, CFSTR("fourth")));
  const void* v = nullptr;
  EXPECT_TRUE(CFDictionaryGetValueIfPresent(d, CFSTR("k"), &v));
  EXPECT_EQ(CFSTR("fourth"), v);
  EXPECT_FALSE(CFDictionaryGetValueIfPresent(d, CFSTR("absent"), &v));
  CFDictionaryRemoveValue(d, CFSTR("k"));
  EXPECT_EQ(0, CFDictionaryGetCount(d));
  CFRelease(d);
}

TEST_F(CFDictionaries, CallbacksRetainAndReleaseKeysAndValues) {
  CFStringRef key = NewString("key");
  CFStringRef value = NewString("value");
  CFStringRef other = NewString("other");
  CFMutableDictionaryRef d = NewTypeDict();
  CFDictionarySetValue(d, key, value);
  EXPECT_EQ(2, CFGetRetainCount(key));
  EXPECT_EQ(2, CFGetRetainCount(value));
  CFDictionarySetValue(d, key, other);
  EXPECT_EQ(1, CFGetRetainCount(value));
  EXPECT_EQ(2, CFGetRetainCount(other));
  CFDictionaryRef copy = CFDictionaryCreateCopy(nullptr, d);
  EXPECT_TRUE(CFEqual(copy, d));
  EXPECT_EQ(CFHash(copy), CFHash(d));
  CFDictionaryRemoveAllValues(d);
  EXPECT_EQ(2, CFGetRetainCount(other));  // held by the copy
  CFRelease(copy);
  CFRelease(d);
  EXPECT_EQ(1, CFGetRetainCount(key));
  EXPECT_EQ(1, CFGetRetainCount(other));
  CFRelease(key);
  CFRelease(value);
  CFRelease(other);
}

TEST_F(CFDictionaries, CopyStringKeyCallbacksCopyMutableKeys) {
  CFMutableDictionaryRef d =
      CFDictionaryCreateMutable(nullptr, 0, &kCFCopyStringDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
  CFMutableStringRef key = CFStringCreateMutable(nullptr, 0);
  CFStringAppend(key, CFSTR("name"));
  CFDictionarySetValue(d, key, kCFBooleanTrue);
  CFStringAppend(key, CFSTR("-changed"));  // the dictionary holds its own copy
  EXPECT_EQ(kCFBooleanTrue, CFDictionaryGetValue(d, CFSTR("name")));
  EXPECT_EQ(nullptr, CFDictionaryGetValue(d, key));
  EXPECT_EQ(1, CFGetRetainCount(key));
  CFRelease(key);
  CFRelease(d);
}

TEST_F(CFDictionaries, NullCallbacksUsePointerIdentity) {
  static char a[] = "same", b[] = "same";
  CFMutableDictionaryRef d = CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr);
  CFDictionarySetValue(d, a, b);
  CFDictionarySetValue(d, b, a);
  EXPECT_EQ(2, CFDictionaryGetCount(d));
  EXPECT_EQ(b, CFDictionaryGetValue(d, a));
  CFDictionaryRef copy = CFDictionaryCreateMutableCopy(nullptr, 0, d);
  EXPECT_EQ(a, CFDictionaryGetValue(copy, b));
  CFRelease(copy);
  CFRelease(d);
}

TEST_F(CFDictionaries, EnumerationVisitsEveryEntryOnce) {
  const void* keys[] = {CFSTR("a"), CFSTR("b"), CFSTR("c")};
  const void* values[] = {kCFBooleanTrue, kCFBooleanFalse, kCFNull};
  Owned<CFDictionaryRef> d(CFDictionaryCreate(nullptr, keys, values, 3, &kCFTypeDictionaryKeyCallBacks,
                                              &kCFTypeDictionaryValueCallBacks));
  const void* gotKeys[3];
  const void* gotValues[3];
  CFDictionaryGetKeysAndValues(d, gotKeys, gotValues);
  std::set<std::string> seen;
  for (int i = 0; i < 3; ++i) {
    std::string k = UTF8(static_cast<CFStringRef>(gotKeys[i]));
    seen.insert(k);
    EXPECT_EQ(CFDictionaryGetValue(d, gotKeys[i]), gotValues[i]) << k;
  }
  EXPECT_EQ((std::set<std::string>{"a", "b", "c"}), seen);
  std::set<std::string> applied;
  CFDictionaryApplyFunction(d, [](const void* k, const void*, void* ctx) {
    static_cast<std::set<std::string>*>(ctx)->insert(UTF8(static_cast<CFStringRef>(k)));
  }, &applied);
  EXPECT_EQ(seen, applied);
  CFDictionaryGetKeysAndValues(d, nullptr, gotValues);  // keys not wanted
  CFDictionarySetValue(const_cast<CFMutableDictionaryRef>(d.get()), CFSTR("d"), kCFNull);  // immutable
  EXPECT_EQ(3, CFDictionaryGetCount(d));
}

TEST_F(CFDictionaries, ManyKeysStayFastAndFindable) {
  CFMutableDictionaryRef d = NewTypeDict();
  const int kCount = 20000;
  auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kCount; ++i) {
    CFNumberRef n = CFNumberCreate(nullptr, kCFNumberIntType, &i);
    CFDictionarySetValue(d, n, n);
    CFRelease(n);
  }
  for (int i = 0; i < kCount; ++i) {
    CFNumberRef n = CFNumberCreate(nullptr, kCFNumberIntType, &i);
    ASSERT_TRUE(CFDictionaryContainsKey(d, n)) << i;
    CFRelease(n);
  }
  double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EXPECT_EQ(kCount, CFDictionaryGetCount(d));
  // A linear scan would need about 2 * 10^8 comparisons here.
  EXPECT_LT(seconds, 5.0);
  CFRelease(d);
}

}  // namespace
}  // namespace cf_test
