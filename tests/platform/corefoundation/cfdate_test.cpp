// Absolute times, dates, Gregorian fields (GMT by default) and time zones.
#include <cmath>

#include "cf_test.h"
#include "support/scoped_env.h"

namespace cf_test {
namespace {

using CFDates = CFTest;

CFGregorianDate Date(SInt32 y, SInt8 mo, SInt8 d, SInt8 h, SInt8 mi, double s) {
  CFGregorianDate g;
  g.year = y;
  g.month = mo;
  g.day = d;
  g.hour = h;
  g.minute = mi;
  g.second = s;
  return g;
}

void ExpectFields(const CFGregorianDate& g, SInt32 y, int mo, int d, int h, int mi, double s) {
  EXPECT_EQ(y, g.year);
  EXPECT_EQ(mo, g.month);
  EXPECT_EQ(d, g.day);
  EXPECT_EQ(h, g.hour);
  EXPECT_EQ(mi, g.minute);
  EXPECT_NEAR(s, g.second, 1e-6);
}

TEST_F(CFDates, AbsoluteTimeZeroIsTheReferenceDateInGMTWhateverTZSays) {
  for (const char* tz : {"UTC", "America/New_York", "Asia/Tokyo", "Pacific/Kiritimati"}) {
    kc_test::ScopedEnv env;
    env.Set("TZ", tz);
    ExpectFields(CFAbsoluteTimeGetGregorianDate(0.0, nullptr), 2001, 1, 1, 0, 0, 0.0);
    EXPECT_EQ(0.0, CFGregorianDateGetAbsoluteTime(Date(2001, 1, 1, 0, 0, 0), nullptr));
  }
  EXPECT_EQ(978307200.0, kCFAbsoluteTimeIntervalSince1970);
  double now = CFAbsoluteTimeGetCurrent();
  EXPECT_GT(now, 7e8);  // after 2023
  EXPECT_LT(now, 3e9);
}

TEST_F(CFDates, FieldsRoundTripIncludingFractionsAndLeapDays) {
  CFAbsoluteTime t = CFGregorianDateGetAbsoluteTime(Date(2010, 3, 4, 5, 6, 7), nullptr);
  EXPECT_EQ(289371967.0, t);
  ExpectFields(CFAbsoluteTimeGetGregorianDate(t, nullptr), 2010, 3, 4, 5, 6, 7);
  ExpectFields(CFAbsoluteTimeGetGregorianDate(59.9, nullptr), 2001, 1, 1, 0, 0, 59.9);
  EXPECT_EQ(59, static_cast<int>(CFAbsoluteTimeGetGregorianDate(59.9, nullptr).second));
  ExpectFields(CFAbsoluteTimeGetGregorianDate(-0.5, nullptr), 2000, 12, 31, 23, 59, 59.5);
  CFAbsoluteTime leap = CFGregorianDateGetAbsoluteTime(Date(2000, 2, 29, 12, 0, 0), nullptr);
  ExpectFields(CFAbsoluteTimeGetGregorianDate(leap, nullptr), 2000, 2, 29, 12, 0, 0);
  ExpectFields(CFAbsoluteTimeGetGregorianDate(leap + 86400, nullptr), 2000, 3, 1, 12, 0, 0);
  // Month 13 rolls into the next year.
  EXPECT_EQ(CFGregorianDateGetAbsoluteTime(Date(2011, 1, 1, 0, 0, 0), nullptr),
            CFGregorianDateGetAbsoluteTime(Date(2010, 13, 1, 0, 0, 0), nullptr));
  ExpectFields(CFAbsoluteTimeGetGregorianDate(CFGregorianDateGetAbsoluteTime(Date(1904, 1, 1, 0, 0, 0), nullptr), nullptr),
               1904, 1, 1, 0, 0, 0);
  EXPECT_EQ(-kCFAbsoluteTimeIntervalSince1904, CFGregorianDateGetAbsoluteTime(Date(1904, 1, 1, 0, 0, 0), nullptr));
  EXPECT_EQ(1, CFAbsoluteTimeGetDayOfWeek(0, nullptr));  // a Monday
  EXPECT_EQ(7, CFAbsoluteTimeGetDayOfWeek(-1, nullptr));
  EXPECT_EQ(60, CFAbsoluteTimeGetDayOfYear(leap, nullptr));
  EXPECT_TRUE(CFGregorianDateIsValid(Date(2000, 2, 29, 0, 0, 0), kCFGregorianAllUnits));
  EXPECT_FALSE(CFGregorianDateIsValid(Date(2001, 2, 29, 0, 0, 0), kCFGregorianAllUnits));
  EXPECT_FALSE(CFGregorianDateIsValid(Date(2001, 1, 1, 24, 0, 0), kCFGregorianAllUnits));
}

TEST_F(CFDates, TimeZonesShiftTheFields) {
  Owned<CFTimeZoneRef> plus2(CFTimeZoneCreateWithTimeIntervalFromGMT(nullptr, 7200));
  ASSERT_NE(nullptr, plus2.get());
  EXPECT_EQ("GMT+0200", UTF8(CFTimeZoneGetName(plus2)));
  ExpectFields(CFAbsoluteTimeGetGregorianDate(0, plus2), 2001, 1, 1, 2, 0, 0);
  EXPECT_EQ(-7200.0, CFGregorianDateGetAbsoluteTime(Date(2001, 1, 1, 0, 0, 0), plus2));
  EXPECT_EQ(nullptr, CFTimeZoneCreateWithTimeIntervalFromGMT(nullptr, 30 * 3600));

  Owned<CFTimeZoneRef> paris(CFTimeZoneCreateWithName(nullptr, CFSTR("Europe/Paris"), true));
  ASSERT_NE(nullptr, paris.get());
  CFAbsoluteTime winter = CFGregorianDateGetAbsoluteTime(Date(2020, 1, 15, 12, 0, 0), nullptr);
  CFAbsoluteTime summer = CFGregorianDateGetAbsoluteTime(Date(2020, 7, 15, 12, 0, 0), nullptr);
  EXPECT_EQ(3600.0, CFTimeZoneGetSecondsFromGMT(paris, winter));
  EXPECT_EQ(7200.0, CFTimeZoneGetSecondsFromGMT(paris, summer));
  EXPECT_TRUE(CFTimeZoneIsDaylightSavingTime(paris, summer));
  ExpectFields(CFAbsoluteTimeGetGregorianDate(summer, paris), 2020, 7, 15, 14, 0, 0);
  EXPECT_EQ(summer, CFGregorianDateGetAbsoluteTime(Date(2020, 7, 15, 14, 0, 0), paris));
  EXPECT_EQ(nullptr, CFTimeZoneCreateWithName(nullptr, CFSTR("Not/AZone"), true));
  Owned<CFTimeZoneRef> named(CFTimeZoneCreateWithName(nullptr, CFSTR("GMT+02:00"), false));
  EXPECT_TRUE(CFEqual(named, plus2));

  kc_test::ScopedEnv env;
  env.Set("TZ", "Asia/Tokyo");
  Owned<CFTimeZoneRef> system(CFTimeZoneCopyDefault());
  ASSERT_NE(nullptr, system.get());
  EXPECT_EQ(9 * 3600.0, CFTimeZoneGetSecondsFromGMT(system, 0));
}

TEST_F(CFDates, DatesCompareAndEqualByTime) {
  Owned<CFDateRef> a(CFDateCreate(nullptr, 100.25)), b(CFDateCreate(nullptr, 100.25)), c(CFDateCreate(nullptr, 200));
  EXPECT_EQ(100.25, CFDateGetAbsoluteTime(a));
  EXPECT_TRUE(CFEqual(a, b));
  EXPECT_EQ(CFHash(a), CFHash(b));
  EXPECT_FALSE(CFEqual(a, c));
  EXPECT_EQ(kCFCompareLessThan, CFDateCompare(a, c, nullptr));
  EXPECT_EQ(kCFCompareGreaterThan, CFDateCompare(c, a, nullptr));
  EXPECT_EQ(kCFCompareEqualTo, CFDateCompare(a, b, nullptr));
  EXPECT_EQ(99.75, CFDateGetTimeIntervalSinceDate(c, a));
  Owned<CFStringRef> text(CFCopyDescription(c));
  EXPECT_EQ("2001-01-01 00:03:20 +0000", UTF8(text));
}

}  // namespace
}  // namespace cf_test
