// CFNumber sizes, types, lossy conversions, cross-type equality, and CFBoolean.
#include <cmath>
#include <cstdint>

#include "cf_test.h"

namespace cf_test {
namespace {

using CFNumbers = CFTest;

template <class T>
CFNumberRef Make(CFNumberType type, T value) {
  return CFNumberCreate(nullptr, type, &value);
}

TEST_F(CFNumbers, ByteSizeAndTypeFollowTheCreatingType) {
  Owned<CFNumberRef> minusOne(Make<int32_t>(kCFNumberSInt32Type, -1));
  EXPECT_EQ(4, CFNumberGetByteSize(minusOne));
  EXPECT_EQ(kCFNumberSInt32Type, CFNumberGetType(minusOne));
  EXPECT_FALSE(CFNumberIsFloatType(minusOne));
  Owned<CFNumberRef> big(Make<int64_t>(kCFNumberSInt64Type, int64_t(1) << 40));
  EXPECT_EQ(8, CFNumberGetByteSize(big));
  Owned<CFNumberRef> half(Make<double>(kCFNumberDoubleType, 1.5));
  EXPECT_TRUE(CFNumberIsFloatType(half));
  EXPECT_EQ(kCFNumberFloat64Type, CFNumberGetType(half));
  Owned<CFNumberRef> longNumber(Make<long>(kCFNumberLongType, 3));
  EXPECT_EQ(static_cast<CFIndex>(sizeof(long)), CFNumberGetByteSize(longNumber));
  Owned<CFNumberRef> longLong(Make<long long>(kCFNumberLongLongType, 3));
  EXPECT_EQ(8, CFNumberGetByteSize(longLong));
  Owned<CFNumberRef> c(Make<char>(kCFNumberCharType, 'x'));
  EXPECT_EQ(1, CFNumberGetByteSize(c));
  Owned<CFNumberRef> f(Make<float>(kCFNumberFloatType, 0.25f));
  EXPECT_EQ(4, CFNumberGetByteSize(f));
  EXPECT_EQ(nullptr, CFNumberCreate(nullptr, 99, &f));
  EXPECT_EQ(nullptr, CFNumberCreate(nullptr, kCFNumberIntType, nullptr));
}

TEST_F(CFNumbers, GetValueReportsLossyConversions) {
  Owned<CFNumberRef> big(Make<int64_t>(kCFNumberSInt64Type, int64_t(1) << 40));
  int32_t i32 = 0;
  EXPECT_FALSE(CFNumberGetValue(big, kCFNumberSInt32Type, &i32));
  int64_t i64 = 0;
  EXPECT_TRUE(CFNumberGetValue(big, kCFNumberLongLongType, &i64));
  EXPECT_EQ(int64_t(1) << 40, i64);
  double d = 0;
  EXPECT_TRUE(CFNumberGetValue(big, kCFNumberDoubleType, &d));
  EXPECT_EQ(1099511627776.0, d);

  Owned<CFNumberRef> half(Make<double>(kCFNumberDoubleType, 1.5));
  EXPECT_FALSE(CFNumberGetValue(half, kCFNumberSInt32Type, &i32));
  EXPECT_EQ(1, i32);  // the approximate value is still stored
  float f = 0;
  EXPECT_TRUE(CFNumberGetValue(half, kCFNumberFloatType, &f));
  EXPECT_EQ(1.5f, f);
  Owned<CFNumberRef> third(Make<double>(kCFNumberDoubleType, 1.0 / 3.0));
  EXPECT_FALSE(CFNumberGetValue(third, kCFNumberFloat32Type, &f));

  Owned<CFNumberRef> minusOne(Make<int32_t>(kCFNumberSInt32Type, -1));
  int8_t i8 = 0;
  EXPECT_TRUE(CFNumberGetValue(minusOne, kCFNumberSInt8Type, &i8));
  EXPECT_EQ(-1, i8);
  Owned<CFNumberRef> x300(Make<int16_t>(kCFNumberSInt16Type, 300));
  EXPECT_FALSE(CFNumberGetValue(x300, kCFNumberCharType, &i8));
  Owned<CFNumberRef> odd(Make<int64_t>(kCFNumberSInt64Type, (int64_t(1) << 60) + 1));
  EXPECT_FALSE(CFNumberGetValue(odd, kCFNumberFloat64Type, &d));  // 2^60 + 1 has no exact double
  EXPECT_FALSE(CFNumberGetValue(kCFNumberNaN, kCFNumberSInt32Type, &i32));
  EXPECT_FALSE(CFNumberGetValue(half, 99, &d));
}

TEST_F(CFNumbers, EqualValuesAreEqualAcrossTypesAndHashAlike) {
  Owned<CFNumberRef> i(Make<int32_t>(kCFNumberSInt32Type, 3));
  Owned<CFNumberRef> l(Make<int64_t>(kCFNumberSInt64Type, 3));
  Owned<CFNumberRef> d(Make<double>(kCFNumberDoubleType, 3.0));
  Owned<CFNumberRef> d35(Make<double>(kCFNumberDoubleType, 3.5));
  EXPECT_TRUE(CFEqual(i, l));
  EXPECT_TRUE(CFEqual(i, d));
  EXPECT_EQ(CFHash(i), CFHash(l));
  EXPECT_EQ(CFHash(i), CFHash(d));
  EXPECT_FALSE(CFEqual(d, d35));
  EXPECT_EQ(kCFCompareLessThan, CFNumberCompare(i, d35, nullptr));
  EXPECT_EQ(kCFCompareGreaterThan, CFNumberCompare(d35, l, nullptr));
  EXPECT_EQ(kCFCompareEqualTo, CFNumberCompare(d, l, nullptr));
  // Large integers compare exactly, beyond double precision.
  Owned<CFNumberRef> a(Make<int64_t>(kCFNumberSInt64Type, INT64_MAX));
  Owned<CFNumberRef> b(Make<int64_t>(kCFNumberSInt64Type, INT64_MAX - 1));
  EXPECT_FALSE(CFEqual(a, b));
  EXPECT_EQ(kCFCompareGreaterThan, CFNumberCompare(a, b, nullptr));
  EXPECT_EQ(kCFCompareLessThan, CFNumberCompare(kCFNumberNegativeInfinity, b, nullptr));
  Owned<CFStringRef> text(CFCopyDescription(d35));
  EXPECT_EQ("3.5", UTF8(text));
}

TEST_F(CFNumbers, BooleansAreTwoDistinctSingletons) {
  EXPECT_TRUE(CFBooleanGetValue(kCFBooleanTrue));
  EXPECT_FALSE(CFBooleanGetValue(kCFBooleanFalse));
  EXPECT_FALSE(CFEqual(kCFBooleanTrue, kCFBooleanFalse));
  EXPECT_EQ(CFBooleanGetTypeID(), CFGetTypeID(kCFBooleanTrue));
  EXPECT_NE(CFNumberGetTypeID(), CFBooleanGetTypeID());
  Owned<CFNumberRef> one(Make<int32_t>(kCFNumberSInt32Type, 1));
  EXPECT_FALSE(CFEqual(one, kCFBooleanTrue));
  EXPECT_FALSE(CFBooleanGetValue(reinterpret_cast<CFBooleanRef>(one.get())));
}

}  // namespace
}  // namespace cf_test
