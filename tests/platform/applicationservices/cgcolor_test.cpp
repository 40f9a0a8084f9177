// CGColor and CGColorSpace: components, clamping, equality and the generic
// and device spaces.
#include <CoreGraphics/CoreGraphics.h>
#include <gtest/gtest.h>

#include <cmath>

#include "live_objects_test.h"

namespace kc_as_test {
namespace {

using CGColorTest = LiveObjectsTest;

TEST_F(CGColorTest, CGColor_HexFF8000HasComponentsOneHalfZeroAndOpaqueAlpha) {
  const unsigned rgb = 0x00FF8000;
  CGColorRef color = CGColorCreateGenericRGB(((rgb >> 16) & 0xFF) / 255.0, ((rgb >> 8) & 0xFF) / 255.0,
                                             (rgb & 0xFF) / 255.0, 1.0);
  ASSERT_NE(nullptr, color);
  EXPECT_EQ(CGColorGetTypeID(), CFGetTypeID(color));
  ASSERT_EQ(4u, CGColorGetNumberOfComponents(color));
  const CGFloat* c = CGColorGetComponents(color);
  ASSERT_NE(nullptr, c);
  EXPECT_DOUBLE_EQ(1.0, c[0]);
  EXPECT_DOUBLE_EQ(128.0 / 255.0, c[1]);
  EXPECT_DOUBLE_EQ(0.0, c[2]);
  EXPECT_DOUBLE_EQ(1.0, c[3]);
  EXPECT_DOUBLE_EQ(1.0, CGColorGetAlpha(color));
  CGColorSpaceRef space = CGColorGetColorSpace(color);
  EXPECT_EQ(kCGColorSpaceModelRGB, CGColorSpaceGetModel(space));
  CFStringRef name = CGColorSpaceCopyName(space);
  ASSERT_NE(nullptr, name);
  EXPECT_TRUE(CFEqual(name, kCGColorSpaceGenericRGB));
  CFRelease(name);
  CGColorRelease(color);
}

TEST_F(CGColorTest, CGColor_ComponentsAreClampedToUnitRange) {
  CGColorRef color = CGColorCreateGenericRGB(-0.5, 2.0, NAN, 1.5);
  const CGFloat* c = CGColorGetComponents(color);
  ASSERT_NE(nullptr, c);
  EXPECT_EQ(0.0, c[0]);
  EXPECT_EQ(1.0, c[1]);
  EXPECT_EQ(0.0, c[2]);
  EXPECT_EQ(1.0, CGColorGetAlpha(color));
  CGColorRelease(color);

  CGColorRef gray = CGColorCreateGenericGray(0.25, 0.5);
  EXPECT_EQ(2u, CGColorGetNumberOfComponents(gray));
  EXPECT_EQ(0.5, CGColorGetAlpha(gray));
  CGColorRef cmyk = CGColorCreateGenericCMYK(0.1, 0.2, 0.3, 0.4, 0.5);
  EXPECT_EQ(5u, CGColorGetNumberOfComponents(cmyk));
  EXPECT_EQ(0.4, CGColorGetComponents(cmyk)[3]);
  CGColorRelease(gray);
  CGColorRelease(cmyk);
}

TEST_F(CGColorTest, CGColor_EqualityFollowsSpaceAndEveryComponent) {
  CGColorRef a = CGColorCreateGenericRGB(0.2, 0.4, 0.6, 1.0);
  CGColorRef b = CGColorCreateGenericRGB(0.2, 0.4, 0.6, 1.0);
  CGColorRef translucent = CGColorCreateCopyWithAlpha(a, 0.5);
  CGColorRef copy = CGColorCreateCopy(a);
  CGColorSpaceRef device = CGColorSpaceCreateDeviceRGB();
  const CGFloat same[] = {0.2, 0.4, 0.6, 1.0};
  CGColorRef inDevice = CGColorCreate(device, same);

  EXPECT_NE(a, b);
  EXPECT_TRUE(CGColorEqualToColor(a, b));
  EXPECT_TRUE(CFEqual(a, b));
  EXPECT_EQ(CFHash(a), CFHash(b));
  EXPECT_TRUE(CGColorEqualToColor(a, copy));
  EXPECT_FALSE(CGColorEqualToColor(a, translucent));
  EXPECT_EQ(0.5, CGColorGetAlpha(translucent));
  EXPECT_EQ(0.4, CGColorGetComponents(translucent)[1]);
  EXPECT_FALSE(CGColorEqualToColor(a, inDevice));  // same numbers, another space
  EXPECT_FALSE(CGColorEqualToColor(a, nullptr));
  EXPECT_TRUE(CGColorEqualToColor(nullptr, nullptr));

  for (CGColorRef c : {a, b, translucent, copy, inDevice}) CGColorRelease(c);
  CGColorSpaceRelease(device);
}

TEST_F(CGColorTest, CGColor_NullAndWrongKindsGiveNeutralResults) {
  const CGFloat components[] = {1, 1, 1, 1};
  EXPECT_EQ(nullptr, CGColorCreate(nullptr, components));
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  EXPECT_EQ(nullptr, CGColorCreate(space, nullptr));
  // A colour space is not a colour.
  CGColorRef notAColor = reinterpret_cast<CGColorRef>(space);
  EXPECT_EQ(0u, CGColorGetNumberOfComponents(notAColor));
  EXPECT_EQ(nullptr, CGColorGetComponents(notAColor));
  EXPECT_EQ(nullptr, CGColorCreateCopy(notAColor));
  EXPECT_EQ(0u, CGColorGetNumberOfComponents(nullptr));
  EXPECT_EQ(nullptr, CGColorGetColorSpace(nullptr));
  EXPECT_EQ(0.0, CGColorGetAlpha(nullptr));
  EXPECT_EQ(nullptr, CGColorRetain(nullptr));
  CGColorRelease(nullptr);
  CGColorSpaceRelease(space);
}

TEST_F(CGColorTest, CGColorSpace_ModelsComponentCountsAndNames) {
  struct Case {
    CGColorSpaceRef space;
    CGColorSpaceModel model;
    size_t components;
    CFStringRef name;
  } cases[] = {
      {CGColorSpaceCreateDeviceGray(), kCGColorSpaceModelMonochrome, 1, nullptr},
      {CGColorSpaceCreateDeviceRGB(), kCGColorSpaceModelRGB, 3, nullptr},
      {CGColorSpaceCreateDeviceCMYK(), kCGColorSpaceModelCMYK, 4, nullptr},
      {CGColorSpaceCreateWithName(kCGColorSpaceGenericGray), kCGColorSpaceModelMonochrome, 1, kCGColorSpaceGenericGray},
      {CGColorSpaceCreateWithName(kCGColorSpaceGenericRGB), kCGColorSpaceModelRGB, 3, kCGColorSpaceGenericRGB},
      {CGColorSpaceCreateWithName(kCGColorSpaceGenericCMYK), kCGColorSpaceModelCMYK, 4, kCGColorSpaceGenericCMYK},
  };
  for (const Case& c : cases) {
    ASSERT_NE(nullptr, c.space);
    EXPECT_EQ(c.model, CGColorSpaceGetModel(c.space));
    EXPECT_EQ(c.components, CGColorSpaceGetNumberOfComponents(c.space));
    CFStringRef name = CGColorSpaceCopyName(c.space);
    EXPECT_TRUE(c.name ? (name && CFEqual(name, c.name)) : name == nullptr);
    if (name) CFRelease(name);
  }
  // Two device RGB spaces are equal; device and generic RGB are not.
  CGColorSpaceRef another = CGColorSpaceCreateDeviceRGB();
  EXPECT_TRUE(CFEqual(cases[1].space, another));
  EXPECT_FALSE(CFEqual(cases[1].space, cases[4].space));
  CGColorSpaceRelease(another);
  for (const Case& c : cases) CGColorSpaceRelease(c.space);

  EXPECT_EQ(nullptr, CGColorSpaceCreateWithName(CFSTR("kCGColorSpaceNoSuchSpace")));
  EXPECT_EQ(nullptr, CGColorSpaceCreateWithName(nullptr));
  EXPECT_EQ(kCGColorSpaceModelUnknown, CGColorSpaceGetModel(nullptr));
  EXPECT_EQ(0u, CGColorSpaceGetNumberOfComponents(nullptr));
}

}  // namespace
}  // namespace kc_as_test
