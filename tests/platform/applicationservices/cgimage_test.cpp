// CGImage: geometry checks against the pixel format and the provider's
// bytes, and the references an image keeps.
#include <CoreGraphics/CoreGraphics.h>
#include <gtest/gtest.h>

#include <cstdint>

#include "live_objects_test.h"

namespace kc_as_test {
namespace {

using CGImageTest = LiveObjectsTest;

CGImageRef MakeImage(size_t width, size_t height, size_t bpc, size_t bpp, size_t bytesPerRow, CGColorSpaceRef space,
                     CGBitmapInfo info, CGDataProviderRef provider) {
  return CGImageCreate(width, height, bpc, bpp, bytesPerRow, space, info, provider, nullptr, false,
                       kCGRenderingIntentDefault);
}

TEST_F(CGImageTest, CGImage_KeepsItsGeometrySpaceAndProvider) {
  static const UInt8 pixels[16] = {0};
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  CGDataProviderRef provider = CGDataProviderCreateWithData(nullptr, pixels, sizeof pixels, nullptr);
  const CGFloat decode[] = {1, 0, 1, 0, 1, 0};
  CGImageRef image = CGImageCreate(2, 2, 8, 32, 8, space, kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Little,
                                   provider, decode, true, kCGRenderingIntentPerceptual);
  CGColorSpaceRelease(space);
  CGDataProviderRelease(provider);
  ASSERT_NE(nullptr, image);
  EXPECT_EQ(2u, CGImageGetWidth(image));
  EXPECT_EQ(2u, CGImageGetHeight(image));
  EXPECT_EQ(8u, CGImageGetBitsPerComponent(image));
  EXPECT_EQ(32u, CGImageGetBitsPerPixel(image));
  EXPECT_EQ(8u, CGImageGetBytesPerRow(image));
  EXPECT_EQ(kCGImageAlphaPremultipliedFirst, CGImageGetAlphaInfo(image));
  EXPECT_EQ(static_cast<CGBitmapInfo>(kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Little),
            CGImageGetBitmapInfo(image));
  // The space and provider outlive the caller's references.
  EXPECT_EQ(kCGColorSpaceModelRGB, CGColorSpaceGetModel(CGImageGetColorSpace(image)));
  CFDataRef bytes = CGDataProviderCopyData(CGImageGetDataProvider(image));
  ASSERT_NE(nullptr, bytes);
  EXPECT_EQ(16, CFDataGetLength(bytes));
  CFRelease(bytes);
  CGImageRelease(image);
  EXPECT_EQ(0, CFLiveObjectsGetCount(CGDataProviderGetTypeID()));
  EXPECT_EQ(0, CFLiveObjectsGetCount(CGColorSpaceGetTypeID()));
}

TEST_F(CGImageTest, CGImage_InconsistentGeometryIsRefused) {
  static const UInt8 pixels[64] = {0};
  CGColorSpaceRef rgb = CGColorSpaceCreateDeviceRGB();
  CGColorSpaceRef gray = CGColorSpaceCreateDeviceGray();
  CGDataProviderRef sixteen = CGDataProviderCreateWithData(nullptr, pixels, 16, nullptr);
  CGDataProviderRef fifteen = CGDataProviderCreateWithData(nullptr, pixels, 15, nullptr);
  const CGBitmapInfo rgba = kCGImageAlphaPremultipliedLast;

  // 2 x 2 RGBA needs 8 + 8 bytes; the last row needs no padding.
  CGImageRef ok = MakeImage(2, 2, 8, 32, 8, rgb, rgba, sixteen);
  EXPECT_NE(nullptr, ok);
  CGImageRelease(ok);
  EXPECT_EQ(nullptr, MakeImage(2, 2, 8, 32, 8, rgb, rgba, fifteen));
  EXPECT_EQ(nullptr, MakeImage(2, 2, 8, 32, 7, rgb, rgba, sixteen));     // rows too short
  EXPECT_EQ(nullptr, MakeImage(2, 2, 8, 24, 8, rgb, rgba, sixteen));     // no room for alpha
  EXPECT_EQ(nullptr, MakeImage(2, 2, 3, 32, 8, rgb, rgba, sixteen));     // no such component size
  EXPECT_EQ(nullptr, MakeImage(0, 2, 8, 32, 8, rgb, rgba, sixteen));
  EXPECT_EQ(nullptr, MakeImage(2, 0, 8, 32, 8, rgb, rgba, sixteen));
  EXPECT_EQ(nullptr, MakeImage(2, 2, 8, 32, 8, nullptr, rgba, sixteen));
  EXPECT_EQ(nullptr, MakeImage(2, 2, 8, 32, 8, rgb, rgba, nullptr));
  EXPECT_EQ(nullptr, MakeImage(2, 2, 8, 32, 8, rgb, 9, sixteen));        // no such alpha info
  EXPECT_EQ(nullptr, MakeImage(2, 2, 8, 32, 8, rgb, rgba | kCGBitmapFloatComponents, sixteen));
  EXPECT_EQ(nullptr, MakeImage(SIZE_MAX / 2, 2, 8, 32, SIZE_MAX, rgb, rgba, sixteen));  // sizes overflow
  // A wrong kind of object in place of the space.
  EXPECT_EQ(nullptr, MakeImage(2, 2, 8, 32, 8, reinterpret_cast<CGColorSpaceRef>(sixteen), rgba, sixteen));

  // 1-bit gray: 10 pixels fit in 2 bytes a row.
  CGImageRef bits = MakeImage(10, 3, 1, 1, 2, gray, kCGImageAlphaNone, sixteen);
  EXPECT_NE(nullptr, bits);
  CGImageRelease(bits);
  EXPECT_EQ(nullptr, MakeImage(17, 1, 1, 1, 2, gray, kCGImageAlphaNone, sixteen));

  EXPECT_EQ(0u, CGImageGetWidth(nullptr));
  EXPECT_EQ(nullptr, CGImageGetColorSpace(nullptr));
  CGDataProviderRelease(sixteen);
  CGDataProviderRelease(fifteen);
  CGColorSpaceRelease(rgb);
  CGColorSpaceRelease(gray);
}

}  // namespace
}  // namespace kc_as_test
