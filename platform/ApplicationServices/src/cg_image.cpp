// CGImage: a bitmap's geometry and pixel format over a data provider,
// checked when the image is made so that reading its pixels stays inside the
// provider's bytes.
#include <CoreGraphics/CGImage.h>

#include <cstdlib>
#include <cstring>

#include "cg_internal.h"

struct CGImage {
  CFRuntimeBase base;
  size_t width;
  size_t height;
  size_t bitsPerComponent;
  size_t bitsPerPixel;
  size_t bytesPerRow;
  CGColorSpaceRef space;
  CGBitmapInfo bitmapInfo;
  CGDataProviderRef provider;
  CGFloat* decode;  // 2 per colour component, or NULL
  bool shouldInterpolate;
  CGColorRenderingIntent intent;
};

namespace {

void ImageFinalize(CFTypeRef cf) {
  const auto* image = static_cast<const CGImage*>(cf);
  CGColorSpaceRelease(image->space);
  CGDataProviderRelease(image->provider);
  std::free(image->decode);
}

const CFRuntimeClass kImageClass = {0, "CGImage", nullptr, nullptr, ImageFinalize, nullptr, nullptr, nullptr, nullptr};

const CGImage* AsImage(CGImageRef image) { return kc_as::IsKind(image, CGImageGetTypeID()) ? image : nullptr; }

bool ValidComponentSize(size_t bits) {
  switch (bits) {
    case 1:
    case 2:
    case 4:
    case 5:
    case 8:
    case 16:
    case 32:
      return true;
    default:
      return false;
  }
}

// Components stored per pixel: colour components plus one for alpha or for
// the skipped byte.
size_t StoredComponents(size_t colorComponents, CGImageAlphaInfo alpha) {
  if (alpha == kCGImageAlphaOnly) return 1;
  return colorComponents + (alpha == kCGImageAlphaNone ? 0 : 1);
}

bool FormatIsValid(size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel, size_t bytesPerRow,
                   CGColorSpaceRef space, CGBitmapInfo bitmapInfo, size_t* bytesNeeded) {
  const CGImageAlphaInfo alpha = bitmapInfo & kCGBitmapAlphaInfoMask;
  const CGBitmapInfo order = bitmapInfo & kCGBitmapByteOrderMask;
  if (width == 0 || height == 0 || !ValidComponentSize(bitsPerComponent) || alpha > kCGImageAlphaOnly) return false;
  if ((bitmapInfo & ~(kCGBitmapAlphaInfoMask | kCGBitmapFloatComponents | kCGBitmapByteOrderMask)) != 0) return false;
  if (order > kCGBitmapByteOrder32Big) return false;
  if ((bitmapInfo & kCGBitmapFloatComponents) && bitsPerComponent != 16 && bitsPerComponent != 32) return false;
  const size_t colors = CGColorSpaceGetNumberOfComponents(space);
  if (colors == 0 && alpha != kCGImageAlphaOnly) return false;
  size_t minPixelBits, rowBits, lastRowStart;
  if (__builtin_mul_overflow(StoredComponents(colors, alpha), bitsPerComponent, &minPixelBits) ||
      bitsPerPixel < minPixelBits) {
    return false;
  }
  if (__builtin_mul_overflow(width, bitsPerPixel, &rowBits) || bytesPerRow < rowBits / 8 + (rowBits % 8 ? 1 : 0)) {
    return false;
  }
  if (__builtin_mul_overflow(bytesPerRow, height - 1, &lastRowStart) ||
      __builtin_add_overflow(lastRowStart, rowBits / 8 + (rowBits % 8 ? 1 : 0), bytesNeeded)) {
    return false;
  }
  return true;
}

}  // namespace

CFTypeID CGImageGetTypeID(void) {
  static const CFTypeID typeID = _CFRuntimeRegisterClass(&kImageClass);
  return typeID;
}

CGImageRef CGImageCreate(size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel,
                         size_t bytesPerRow, CGColorSpaceRef space, CGBitmapInfo bitmapInfo,
                         CGDataProviderRef provider, const CGFloat* decode, bool shouldInterpolate,
                         CGColorRenderingIntent intent) {
  const bool alphaOnly = (bitmapInfo & kCGBitmapAlphaInfoMask) == kCGImageAlphaOnly;
  if ((!space && !alphaOnly) || (space && !kc_as::IsKind(space, CGColorSpaceGetTypeID()))) return nullptr;
  size_t needed = 0;
  if (!FormatIsValid(width, height, bitsPerComponent, bitsPerPixel, bytesPerRow, space, bitmapInfo, &needed)) {
    return nullptr;
  }
  const UInt8* bytes;
  size_t available;
  if (!kc_as::ProviderBytes(provider, &bytes, &available) || available < needed) return nullptr;

  const size_t decodeCount = 2 * CGColorSpaceGetNumberOfComponents(space);
  CGFloat* decodeCopy = nullptr;
  if (decode && decodeCount > 0) {
    decodeCopy = static_cast<CGFloat*>(std::malloc(decodeCount * sizeof(CGFloat)));
    if (!decodeCopy) return nullptr;
    std::memcpy(decodeCopy, decode, decodeCount * sizeof(CGFloat));
  }
  auto* image = static_cast<CGImage*>(kc_as::CreateCGInstance(CGImageGetTypeID(), sizeof(CGImage)));
  if (!image) {
    std::free(decodeCopy);
    return nullptr;
  }
  image->width = width;
  image->height = height;
  image->bitsPerComponent = bitsPerComponent;
  image->bitsPerPixel = bitsPerPixel;
  image->bytesPerRow = bytesPerRow;
  image->space = CGColorSpaceRetain(space);
  image->bitmapInfo = bitmapInfo;
  image->provider = CGDataProviderRetain(provider);
  image->decode = decodeCopy;
  image->shouldInterpolate = shouldInterpolate;
  image->intent = intent;
  return image;
}

CGImageRef CGImageRetain(CGImageRef image) {
  if (image) CFRetain(image);
  return image;
}

void CGImageRelease(CGImageRef image) {
  if (image) CFRelease(image);
}

size_t CGImageGetWidth(CGImageRef image) {
  const CGImage* i = AsImage(image);
  return i ? i->width : 0;
}

size_t CGImageGetHeight(CGImageRef image) {
  const CGImage* i = AsImage(image);
  return i ? i->height : 0;
}

size_t CGImageGetBitsPerComponent(CGImageRef image) {
  const CGImage* i = AsImage(image);
  return i ? i->bitsPerComponent : 0;
}

size_t CGImageGetBitsPerPixel(CGImageRef image) {
  const CGImage* i = AsImage(image);
  return i ? i->bitsPerPixel : 0;
}

size_t CGImageGetBytesPerRow(CGImageRef image) {
  const CGImage* i = AsImage(image);
  return i ? i->bytesPerRow : 0;
}

CGBitmapInfo CGImageGetBitmapInfo(CGImageRef image) {
  const CGImage* i = AsImage(image);
  return i ? i->bitmapInfo : 0;
}

CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image) {
  const CGImage* i = AsImage(image);
  return i ? (i->bitmapInfo & kCGBitmapAlphaInfoMask) : CGImageAlphaInfo{kCGImageAlphaNone};
}

CGColorSpaceRef CGImageGetColorSpace(CGImageRef image) {
  const CGImage* i = AsImage(image);
  return i ? i->space : nullptr;
}

CGDataProviderRef CGImageGetDataProvider(CGImageRef image) {
  const CGImage* i = AsImage(image);
  return i ? i->provider : nullptr;
}
