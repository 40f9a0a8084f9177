// CGContext over memory: 8-bit gray, alpha-only, RGB and CMYK pixels, a fill
// colour, and rectangle filling and clearing in an untransformed space whose
// origin is the lower left corner.
#include <CoreGraphics/CGBitmapContext.h>
#include <CoreGraphics/CGContext.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "cg_internal.h"

struct CGContext {
  CFRuntimeBase base;
  UInt8* data;
  bool ownsData;
  size_t width;
  size_t height;
  size_t bitsPerPixel;
  size_t bytesPerRow;
  CGColorSpaceRef space;  // NULL for an alpha-only context
  CGBitmapInfo bitmapInfo;
  // Byte offsets inside a pixel; -1 where the format has no such channel.
  int colorOffset[4];
  int alphaOffset;
  size_t colorCount;
  bool premultiplied;
  CGFloat fill[4];  // in the context's colour model
  CGFloat fillAlpha;
};

namespace {

void ContextFinalize(CFTypeRef cf) {
  const auto* c = static_cast<const CGContext*>(cf);
  if (c->ownsData) std::free(c->data);
  CGColorSpaceRelease(c->space);
}

const CFRuntimeClass kContextClass = {0, "CGContext", nullptr, nullptr, ContextFinalize, nullptr, nullptr, nullptr, nullptr};

CGContext* AsContext(CGContextRef c) { return kc_as::IsKind(c, CGContextGetTypeID()) ? c : nullptr; }

// Works out where each channel sits for the supported formats; false for
// any other combination.
bool Layout(CGColorSpaceModel model, CGBitmapInfo info, CGContext* c) {
  const CGImageAlphaInfo alpha = info & kCGBitmapAlphaInfoMask;
  const CGBitmapInfo order = info & kCGBitmapByteOrderMask;
  if (info & ~(kCGBitmapAlphaInfoMask | kCGBitmapByteOrderMask)) return false;  // float components included
  c->alphaOffset = -1;
  if (alpha == kCGImageAlphaOnly) {
    if (order != kCGBitmapByteOrderDefault) return false;
    c->bitsPerPixel = 8;
    c->colorCount = 0;
    c->alphaOffset = 0;
    c->premultiplied = true;
    return true;
  }
  if (model == kCGColorSpaceModelMonochrome) {
    if (alpha != kCGImageAlphaNone || order != kCGBitmapByteOrderDefault) return false;
    c->bitsPerPixel = 8;
    c->colorCount = 1;
    c->colorOffset[0] = 0;
    return true;
  }
  if (model == kCGColorSpaceModelCMYK) {
    if (alpha != kCGImageAlphaNone || (order != kCGBitmapByteOrderDefault && order != kCGBitmapByteOrder32Big)) {
      return false;
    }
    c->bitsPerPixel = 32;
    c->colorCount = 4;
    for (int i = 0; i < 4; ++i) c->colorOffset[i] = i;
    return true;
  }
  if (model != kCGColorSpaceModelRGB) return false;
  if (order != kCGBitmapByteOrderDefault && order != kCGBitmapByteOrder32Big && order != kCGBitmapByteOrder32Little) {
    return false;
  }
  bool first;
  switch (alpha) {
    case kCGImageAlphaPremultipliedLast:
    case kCGImageAlphaNoneSkipLast:
      first = false;
      break;
    case kCGImageAlphaPremultipliedFirst:
    case kCGImageAlphaNoneSkipFirst:
      first = true;
      break;
    default:
      return false;  // unpremultiplied alpha and no padding byte are not drawable
  }
  // In big-endian order the pixel reads ARGB or RGBA; a little-endian 32-bit
  // word stores the same channels in reverse.
  int offsets[4];  // r, g, b, a
  for (int i = 0; i < 3; ++i) offsets[i] = first ? i + 1 : i;
  offsets[3] = first ? 0 : 3;
  if (order == kCGBitmapByteOrder32Little) {
    for (int& o : offsets) o = 3 - o;
  }
  c->bitsPerPixel = 32;
  c->colorCount = 3;
  for (int i = 0; i < 3; ++i) c->colorOffset[i] = offsets[i];
  const bool hasAlpha = alpha == kCGImageAlphaPremultipliedLast || alpha == kCGImageAlphaPremultipliedFirst;
  c->alphaOffset = hasAlpha ? offsets[3] : -1;
  c->premultiplied = hasAlpha;
  return true;
}

CGColorSpaceModel ModelOf(const CGContext* c) {
  return c->colorCount == 0 ? kCGColorSpaceModelUnknown : CGColorSpaceGetModel(c->space);
}

void SetFill(CGContext* c, CGColorSpaceModel model, const CGFloat* components, CGFloat alpha) {
  if (c->colorCount > 0) kc_as::ConvertColor(model, components, ModelOf(c), c->fill);
  c->fillAlpha = alpha;
}

CGFloat Clamp(CGFloat v) {
  if (std::isnan(v) || v < 0.0) return 0.0;
  return v > 1.0 ? 1.0 : v;
}

UInt8 ToByte(CGFloat v) { return static_cast<UInt8>(std::lround(Clamp(v) * 255.0)); }

// The first and one-past-last pixel index whose centre lies in [lo, hi).
void PixelSpan(CGFloat lo, CGFloat hi, size_t limit, size_t* first, size_t* end) {
  const double a = std::ceil(lo - 0.5), b = std::ceil(hi - 0.5);
  *first = a <= 0 ? 0 : (a >= static_cast<double>(limit) ? limit : static_cast<size_t>(a));
  *end = b <= 0 ? 0 : (b >= static_cast<double>(limit) ? limit : static_cast<size_t>(b));
  if (*end < *first) *end = *first;
}

// Calls paint(pixel) for each pixel whose centre is inside rect.
template <typename Paint>
void ForEachPixel(CGContext* c, CGRect rect, Paint paint) {
  CGFloat x0 = rect.origin.x, x1 = rect.origin.x + rect.size.width;
  CGFloat y0 = rect.origin.y, y1 = rect.origin.y + rect.size.height;
  // NaN anywhere (also infinity minus infinity) paints nothing.
  if (std::isnan(x0) || std::isnan(x1) || std::isnan(y0) || std::isnan(y1)) return;
  if (x1 < x0) std::swap(x0, x1);
  if (y1 < y0) std::swap(y0, y1);
  size_t xFirst, xEnd, yFirst, yEnd;
  PixelSpan(x0, x1, c->width, &xFirst, &xEnd);
  PixelSpan(y0, y1, c->height, &yFirst, &yEnd);
  const size_t bytesPerPixel = c->bitsPerPixel / 8;
  for (size_t y = yFirst; y < yEnd; ++y) {
    UInt8* row = c->data + (c->height - 1 - y) * c->bytesPerRow;  // row 0 in memory is the top
    for (size_t x = xFirst; x < xEnd; ++x) paint(row + x * bytesPerPixel);
  }
}

}  // namespace

CFTypeID CGContextGetTypeID(void) {
  static const CFTypeID typeID = _CFRuntimeRegisterClass(&kContextClass);
  return typeID;
}

CGContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent,
                                   size_t bytesPerRow, CGColorSpaceRef space, uint32_t bitmapInfo) {
  if (width == 0 || height == 0 || bitsPerComponent != 8) return nullptr;
  const bool alphaOnly = (bitmapInfo & kCGBitmapAlphaInfoMask) == kCGImageAlphaOnly;
  if (space ? !kc_as::IsKind(space, CGColorSpaceGetTypeID()) : !alphaOnly) return nullptr;
  CGContext layout;
  std::memset(&layout, 0, sizeof layout);
  if (!Layout(CGColorSpaceGetModel(space), bitmapInfo, &layout)) return nullptr;
  size_t minRow, total;
  if (__builtin_mul_overflow(width, layout.bitsPerPixel / 8, &minRow)) return nullptr;
  if (bytesPerRow == 0) bytesPerRow = minRow;
  if (bytesPerRow < minRow || __builtin_mul_overflow(bytesPerRow, height, &total)) return nullptr;

  UInt8* pixels = static_cast<UInt8*>(data);
  const bool owns = pixels == nullptr;
  if (owns && !(pixels = static_cast<UInt8*>(std::calloc(total, 1)))) return nullptr;
  auto* c = static_cast<CGContext*>(kc_as::CreateCGInstance(CGContextGetTypeID(), sizeof(CGContext)));
  if (!c) {
    if (owns) std::free(pixels);
    return nullptr;
  }
  std::memcpy(c->colorOffset, layout.colorOffset, sizeof c->colorOffset);
  c->alphaOffset = layout.alphaOffset;
  c->colorCount = layout.colorCount;
  c->premultiplied = layout.premultiplied;
  c->bitsPerPixel = layout.bitsPerPixel;
  c->data = pixels;
  c->ownsData = owns;
  c->width = width;
  c->height = height;
  c->bytesPerRow = bytesPerRow;
  c->space = alphaOnly ? nullptr : CGColorSpaceRetain(space);
  c->bitmapInfo = bitmapInfo;
  const CGFloat black = 0.0;
  SetFill(c, kCGColorSpaceModelMonochrome, &black, 1.0);
  return c;
}

CGContextRef CGContextRetain(CGContextRef c) {
  if (c) CFRetain(c);
  return c;
}

void CGContextRelease(CGContextRef c) {
  if (c) CFRelease(c);
}

void CGContextSetRGBFillColor(CGContextRef context, CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha) {
  CGContext* c = AsContext(context);
  const CGFloat rgb[] = {Clamp(red), Clamp(green), Clamp(blue)};
  if (c) SetFill(c, kCGColorSpaceModelRGB, rgb, Clamp(alpha));
}

void CGContextSetGrayFillColor(CGContextRef context, CGFloat gray, CGFloat alpha) {
  CGContext* c = AsContext(context);
  const CGFloat g = Clamp(gray);
  if (c) SetFill(c, kCGColorSpaceModelMonochrome, &g, Clamp(alpha));
}

void CGContextSetFillColorWithColor(CGContextRef context, CGColorRef color) {
  CGContext* c = AsContext(context);
  const CGFloat* components = CGColorGetComponents(color);
  if (!c || !components) return;
  SetFill(c, CGColorSpaceGetModel(CGColorGetColorSpace(color)), components, CGColorGetAlpha(color));
}

void CGContextFillRect(CGContextRef context, CGRect rect) {
  CGContext* c = AsContext(context);
  if (!c) return;
  const CGFloat a = c->fillAlpha;
  // Source over: premultiplied channels take colour * alpha plus what was
  // there times (1 - alpha); formats without alpha blend the same way.
  ForEachPixel(c, rect, [c, a](UInt8* px) {
    for (size_t i = 0; i < c->colorCount; ++i) {
      UInt8& byte = px[c->colorOffset[i]];
      byte = ToByte(c->fill[i] * a + (byte / 255.0) * (1.0 - a));
    }
    if (c->alphaOffset >= 0) {
      UInt8& byte = px[c->alphaOffset];
      byte = ToByte(a + (byte / 255.0) * (1.0 - a));
    }
  });
}

void CGContextClearRect(CGContextRef context, CGRect rect) {
  CGContext* c = AsContext(context);
  if (!c) return;
  const size_t bytesPerPixel = c->bitsPerPixel / 8;
  ForEachPixel(c, rect, [bytesPerPixel](UInt8* px) { std::memset(px, 0, bytesPerPixel); });
}

void* CGBitmapContextGetData(CGContextRef context) {
  CGContext* c = AsContext(context);
  return c ? c->data : nullptr;
}

size_t CGBitmapContextGetWidth(CGContextRef context) {
  CGContext* c = AsContext(context);
  return c ? c->width : 0;
}

size_t CGBitmapContextGetHeight(CGContextRef context) {
  CGContext* c = AsContext(context);
  return c ? c->height : 0;
}

size_t CGBitmapContextGetBitsPerComponent(CGContextRef context) { return AsContext(context) ? 8 : 0; }

size_t CGBitmapContextGetBitsPerPixel(CGContextRef context) {
  CGContext* c = AsContext(context);
  return c ? c->bitsPerPixel : 0;
}

size_t CGBitmapContextGetBytesPerRow(CGContextRef context) {
  CGContext* c = AsContext(context);
  return c ? c->bytesPerRow : 0;
}

CGColorSpaceRef CGBitmapContextGetColorSpace(CGContextRef context) {
  CGContext* c = AsContext(context);
  return c ? c->space : nullptr;
}

CGBitmapInfo CGBitmapContextGetBitmapInfo(CGContextRef context) {
  CGContext* c = AsContext(context);
  return c ? c->bitmapInfo : 0;
}

CGImageAlphaInfo CGBitmapContextGetAlphaInfo(CGContextRef context) {
  CGContext* c = AsContext(context);
  return c ? (c->bitmapInfo & kCGBitmapAlphaInfoMask) : CGImageAlphaInfo{kCGImageAlphaNone};
}

CGImageRef CGBitmapContextCreateImage(CGContextRef context) {
  CGContext* c = AsContext(context);
  if (!c) return nullptr;
  const size_t size = c->bytesPerRow * c->height;
  void* copy = std::malloc(size);
  if (!copy) return nullptr;
  std::memcpy(copy, c->data, size);
  CGDataProviderRef provider =
      CGDataProviderCreateWithData(nullptr, copy, size, [](void*, const void* bytes, size_t) {
        std::free(const_cast<void*>(bytes));
      });
  if (!provider) {
    std::free(copy);
    return nullptr;
  }
  CGImageRef image = CGImageCreate(c->width, c->height, 8, c->bitsPerPixel, c->bytesPerRow, c->space, c->bitmapInfo,
                                   provider, nullptr, false, kCGRenderingIntentDefault);
  CGDataProviderRelease(provider);
  return image;
}
