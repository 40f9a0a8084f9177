// CGBitmapContext and CGLayer: pixel formats, where filled rectangles land,
// colour conversion into the context's space, blending, images of the
// context, and layers made to match a context.
#include <CoreGraphics/CoreGraphics.h>
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "live_objects_test.h"

namespace kc_as_test {
namespace {

using CGBitmapContextTest = LiveObjectsTest;

struct Pixels {
  std::vector<UInt8> bytes;
  size_t bytesPerRow;
  // Bytes of the pixel at (x, y), with y counted from the bottom row.
  const UInt8* at(size_t x, size_t y, size_t height, size_t bytesPerPixel) const {
    return &bytes[(height - 1 - y) * bytesPerRow + x * bytesPerPixel];
  }
};

TEST_F(CGBitmapContextTest, CGBitmapContext_FillRectCoversPixelCentresFromTheLowerLeft) {
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  Pixels px{std::vector<UInt8>(16 * 4, 0), 16};
  CGContextRef c = CGBitmapContextCreate(px.bytes.data(), 3, 4, 8, 16, space, kCGImageAlphaPremultipliedLast);
  ASSERT_NE(nullptr, c);
  EXPECT_EQ(px.bytes.data(), CGBitmapContextGetData(c));
  CGContextSetRGBFillColor(c, 1, 0, 0, 1);
  // Covers the centres (0.5, 0.5) and (1.5, 0.5) only: 1.6 + 0.4 stops short
  // of 2.5, and 0.4 - 0.4 starts before 0.5.
  CGContextFillRect(c, CGRectMake(0.4, 0.0, 1.6, 1.0));
  for (size_t y = 0; y < 4; ++y) {
    for (size_t x = 0; x < 3; ++x) {
      const UInt8* p = px.at(x, y, 4, 4);
      const bool inside = y == 0 && x < 2;
      EXPECT_EQ(inside ? 255 : 0, p[0]) << x << "," << y;
      EXPECT_EQ(inside ? 255 : 0, p[3]) << x << "," << y;
    }
  }
  // A rectangle given with negative sizes, and one reaching outside, are
  // clipped to the bitmap.
  CGContextSetRGBFillColor(c, 0, 0, 1, 1);
  CGContextFillRect(c, CGRectMake(3.0, 4.0, -1.0, -1.0));
  EXPECT_EQ(255, px.at(2, 3, 4, 4)[2]);
  CGContextFillRect(c, CGRectMake(-100, -100, 1e9, 1e9));
  EXPECT_EQ(255, px.at(0, 0, 4, 4)[2]);
  for (size_t y = 0; y < 4; ++y) EXPECT_EQ(0, px.at(3, y, 4, 4)[2]) << "the padding after row " << y;
  // Rectangles that are not numbers paint nothing.
  CGContextSetRGBFillColor(c, 0, 1, 0, 1);
  CGContextFillRect(c, CGRectMake(INFINITY, 0, -INFINITY, 1));
  CGContextFillRect(c, CGRectMake(0, NAN, 1, 1));
  EXPECT_EQ(0, px.at(0, 0, 4, 4)[1]);
  CGContextClearRect(c, CGRectMake(0, 0, 1, 1));
  EXPECT_EQ(0, px.at(0, 0, 4, 4)[2]);
  EXPECT_EQ(0, px.at(0, 0, 4, 4)[3]);
  EXPECT_EQ(255, px.at(1, 0, 4, 4)[3]);
  CGContextRelease(c);  // the caller's memory stays the caller's
  EXPECT_EQ(255, px.at(1, 0, 4, 4)[2]);
  CGColorSpaceRelease(space);
}

TEST_F(CGBitmapContextTest, CGBitmapContext_ChannelOrderFollowsAlphaAndByteOrder) {
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  struct Case {
    CGBitmapInfo info;
    UInt8 expected[4];  // memory order for opaque (R, G, B) = (10, 20, 30)/255
  } cases[] = {
      {kCGImageAlphaPremultipliedLast, {10, 20, 30, 255}},
      {kCGImageAlphaPremultipliedFirst, {255, 10, 20, 30}},
      {kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Little, {30, 20, 10, 255}},
      {kCGImageAlphaPremultipliedLast | kCGBitmapByteOrder32Little, {255, 30, 20, 10}},
      {kCGImageAlphaNoneSkipLast | kCGBitmapByteOrder32Big, {10, 20, 30, 0}},
      {kCGImageAlphaNoneSkipFirst, {0, 10, 20, 30}},
  };
  for (const Case& k : cases) {
    CGContextRef c = CGBitmapContextCreate(nullptr, 1, 1, 8, 0, space, k.info);
    ASSERT_NE(nullptr, c) << k.info;
    CGContextSetRGBFillColor(c, 10 / 255.0, 20 / 255.0, 30 / 255.0, 1);
    CGContextFillRect(c, CGRectMake(0, 0, 1, 1));
    const UInt8* p = static_cast<const UInt8*>(CGBitmapContextGetData(c));
    for (int i = 0; i < 4; ++i) EXPECT_EQ(k.expected[i], p[i]) << "info " << k.info << " byte " << i;
    CGContextRelease(c);
  }
  CGColorSpaceRelease(space);
}

TEST_F(CGBitmapContextTest, CGBitmapContext_FillColoursConvertAndBlend) {
  CGColorSpaceRef gray = CGColorSpaceCreateDeviceGray();
  CGColorSpaceRef cmyk = CGColorSpaceCreateDeviceCMYK();
  CGColorSpaceRef rgb = CGColorSpaceCreateDeviceRGB();

  CGContextRef g = CGBitmapContextCreate(nullptr, 1, 1, 8, 0, gray, kCGImageAlphaNone);
  CGContextSetRGBFillColor(g, 1, 1, 1, 1);
  CGContextFillRect(g, CGRectMake(0, 0, 1, 1));
  EXPECT_EQ(255, static_cast<UInt8*>(CGBitmapContextGetData(g))[0]);
  // Half-transparent black over white leaves half the light.
  CGContextSetGrayFillColor(g, 0, 0.5);
  CGContextFillRect(g, CGRectMake(0, 0, 1, 1));
  EXPECT_NEAR(128, static_cast<UInt8*>(CGBitmapContextGetData(g))[0], 1);

  CGContextRef k = CGBitmapContextCreate(nullptr, 1, 1, 8, 0, cmyk, kCGImageAlphaNone);
  CGColorRef red = CGColorCreateGenericRGB(1, 0, 0, 1);
  CGContextSetFillColorWithColor(k, red);
  CGContextFillRect(k, CGRectMake(0, 0, 1, 1));
  const UInt8* p = static_cast<const UInt8*>(CGBitmapContextGetData(k));
  EXPECT_EQ(0, p[0]);    // cyan
  EXPECT_EQ(255, p[1]);  // magenta
  EXPECT_EQ(255, p[2]);  // yellow
  EXPECT_EQ(0, p[3]);    // black

  // Premultiplied: half-transparent green over nothing stores half green.
  CGContextRef a = CGBitmapContextCreate(nullptr, 1, 1, 8, 0, rgb, kCGImageAlphaPremultipliedLast);
  CGContextSetRGBFillColor(a, 0, 1, 0, 0.5);
  CGContextFillRect(a, CGRectMake(0, 0, 1, 1));
  p = static_cast<const UInt8*>(CGBitmapContextGetData(a));
  EXPECT_NEAR(128, p[1], 1);
  EXPECT_NEAR(128, p[3], 1);
  EXPECT_EQ(0, p[0]);

  CGContextRef alphaOnly = CGBitmapContextCreate(nullptr, 2, 1, 8, 0, nullptr, kCGImageAlphaOnly);
  ASSERT_NE(nullptr, alphaOnly);
  CGContextSetGrayFillColor(alphaOnly, 0.3, 0.25);
  CGContextFillRect(alphaOnly, CGRectMake(1, 0, 1, 1));
  p = static_cast<const UInt8*>(CGBitmapContextGetData(alphaOnly));
  EXPECT_EQ(0, p[0]);
  EXPECT_NEAR(64, p[1], 1);
  EXPECT_EQ(nullptr, CGBitmapContextGetColorSpace(alphaOnly));

  for (CGContextRef c : {g, k, a, alphaOnly}) CGContextRelease(c);
  CGColorRelease(red);
  for (CGColorSpaceRef s : {gray, cmyk, rgb}) CGColorSpaceRelease(s);
}

TEST_F(CGBitmapContextTest, CGBitmapContext_UnsupportedFormatsAreRefused) {
  CGColorSpaceRef rgb = CGColorSpaceCreateDeviceRGB();
  CGColorSpaceRef gray = CGColorSpaceCreateDeviceGray();
  EXPECT_EQ(nullptr, CGBitmapContextCreate(nullptr, 1, 1, 16, 0, rgb, kCGImageAlphaPremultipliedLast));
  EXPECT_EQ(nullptr, CGBitmapContextCreate(nullptr, 1, 1, 8, 0, rgb, kCGImageAlphaLast));  // unpremultiplied
  EXPECT_EQ(nullptr, CGBitmapContextCreate(nullptr, 1, 1, 8, 0, rgb, kCGImageAlphaNone));  // 24-bit
  EXPECT_EQ(nullptr, CGBitmapContextCreate(nullptr, 1, 1, 8, 0, gray, kCGImageAlphaPremultipliedLast));
  EXPECT_EQ(nullptr, CGBitmapContextCreate(nullptr, 1, 1, 8, 0, nullptr, kCGImageAlphaPremultipliedLast));
  EXPECT_EQ(nullptr, CGBitmapContextCreate(nullptr, 0, 1, 8, 0, rgb, kCGImageAlphaPremultipliedLast));
  EXPECT_EQ(nullptr, CGBitmapContextCreate(nullptr, 4, 1, 8, 15, rgb, kCGImageAlphaPremultipliedLast));
  EXPECT_EQ(nullptr, CGBitmapContextCreate(nullptr, SIZE_MAX / 2, 4, 8, 0, rgb, kCGImageAlphaPremultipliedLast));
  // Drawing into a NULL context, or into something that is not one, does nothing.
  CGContextFillRect(nullptr, CGRectMake(0, 0, 1, 1));
  CGContextSetRGBFillColor(reinterpret_cast<CGContextRef>(rgb), 1, 1, 1, 1);
  EXPECT_EQ(nullptr, CGBitmapContextGetData(reinterpret_cast<CGContextRef>(rgb)));
  EXPECT_EQ(nullptr, CGBitmapContextCreateImage(nullptr));
  CGColorSpaceRelease(rgb);
  CGColorSpaceRelease(gray);
}

TEST_F(CGBitmapContextTest, CGBitmapContextCreateImage_CopiesThePixelsAsTheyAre) {
  CGColorSpaceRef space = CGColorSpaceCreateDeviceGray();
  CGContextRef c = CGBitmapContextCreate(nullptr, 3, 2, 8, 4, space, kCGImageAlphaNone);
  CGContextSetGrayFillColor(c, 1, 1);
  CGContextFillRect(c, CGRectMake(0, 1, 1, 1));  // top-left pixel: byte 0
  CGImageRef image = CGBitmapContextCreateImage(c);
  ASSERT_NE(nullptr, image);
  CGContextFillRect(c, CGRectMake(0, 0, 3, 2));  // later drawing does not reach the image
  EXPECT_EQ(3u, CGImageGetWidth(image));
  EXPECT_EQ(2u, CGImageGetHeight(image));
  EXPECT_EQ(4u, CGImageGetBytesPerRow(image));
  EXPECT_EQ(8u, CGImageGetBitsPerPixel(image));
  EXPECT_EQ(kCGColorSpaceModelMonochrome, CGColorSpaceGetModel(CGImageGetColorSpace(image)));
  CFDataRef bytes = CGDataProviderCopyData(CGImageGetDataProvider(image));
  ASSERT_EQ(8, CFDataGetLength(bytes));
  const UInt8* b = CFDataGetBytePtr(bytes);
  EXPECT_EQ(255, b[0]);
  EXPECT_EQ(0, b[1]);
  EXPECT_EQ(0, b[4]);
  CFRelease(bytes);
  CGContextRelease(c);
  CGImageRelease(image);
  CGColorSpaceRelease(space);
}

TEST_F(CGBitmapContextTest, CGLayer_MatchesItsContextAndOwnsItsOwn) {
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  const CGBitmapInfo info = kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Little;
  CGContextRef c = CGBitmapContextCreate(nullptr, 8, 8, 8, 0, space, info);
  CGColorSpaceRelease(space);
  CGLayerRef layer = CGLayerCreateWithContext(c, CGSizeMake(2.5, 3.0), nullptr);
  ASSERT_NE(nullptr, layer);
  EXPECT_EQ(CGLayerGetTypeID(), CFGetTypeID(layer));
  const CGSize size = CGLayerGetSize(layer);
  EXPECT_EQ(3.0, size.width);
  EXPECT_EQ(3.0, size.height);
  CGContextRef own = CGLayerGetContext(layer);
  ASSERT_NE(nullptr, own);
  EXPECT_NE(c, own);
  EXPECT_EQ(3u, CGBitmapContextGetWidth(own));
  EXPECT_EQ(info, CGBitmapContextGetBitmapInfo(own));
  EXPECT_EQ(kCGColorSpaceModelRGB, CGColorSpaceGetModel(CGBitmapContextGetColorSpace(own)));
  // The layer does not hold the context it was made from.
  EXPECT_EQ(1, CFGetRetainCount(c));
  CGContextRelease(c);
  EXPECT_EQ(1, CFLiveObjectsGetCount(CGContextGetTypeID()));
  CGLayerRelease(layer);

  c = CGBitmapContextCreate(nullptr, 1, 1, 8, 0, nullptr, kCGImageAlphaOnly);
  EXPECT_EQ(nullptr, CGLayerCreateWithContext(nullptr, CGSizeMake(1, 1), nullptr));
  EXPECT_EQ(nullptr, CGLayerCreateWithContext(c, CGSizeMake(0, 1), nullptr));
  EXPECT_EQ(nullptr, CGLayerCreateWithContext(c, CGSizeMake(1, NAN), nullptr));
  EXPECT_EQ(nullptr, CGLayerCreateWithContext(c, CGSizeMake(1e300, 1), nullptr));
  CGLayerRef alphaLayer = CGLayerCreateWithContext(c, CGSizeMake(1, 1), nullptr);
  EXPECT_NE(nullptr, alphaLayer);
  CGLayerRelease(alphaLayer);
  CGContextRelease(c);
  EXPECT_EQ(0.0, CGLayerGetSize(nullptr).width);
  EXPECT_EQ(nullptr, CGLayerGetContext(nullptr));
}

}  // namespace
}  // namespace kc_as_test
